// Pins the environment before the application object exists, so that nothing has read it yet.
#include "Support/VKTest.h"

#include <QDir>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <clocale>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>

namespace {

QString gScratch;

void setEnvironment(const char* name, const QString& value) { qputenv(name, value.toLocal8Bit()); }

bool pinEnvironment(const QString& scratch) {
    const QString home = scratch + QStringLiteral("/home");
    struct Folder {
        const char* variable;
        QString path;
    };
    const Folder folders[] = {
        {"HOME", home},
        {"XDG_DATA_HOME", home + QStringLiteral("/.local/share")},
        {"XDG_CONFIG_HOME", home + QStringLiteral("/.config")},
        {"XDG_CACHE_HOME", home + QStringLiteral("/.cache")},
        {"XDG_STATE_HOME", home + QStringLiteral("/.local/state")},
        {"XDG_RUNTIME_DIR", scratch + QStringLiteral("/run")},
        {"TMPDIR", scratch + QStringLiteral("/tmp")},
    };
    for (const Folder& folder : folders) {
        if (!QDir().mkpath(folder.path)) {
            return false;
        }
        setEnvironment(folder.variable, folder.path);
    }
    QFile::setPermissions(scratch + QStringLiteral("/run"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qunsetenv("XDG_DATA_DIRS");
    qunsetenv("XDG_CONFIG_DIRS");
    qunsetenv("LANGUAGE");
    // The servers are on this machine.
    for (const char* proxy : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}) {
        qunsetenv(proxy);
    }
    // What a test makes can be read by the other users that it becomes.
    ::umask(022);
    // Not UTC, and with summer time, so that a mix-up of local time and UTC shows.
    qputenv("TZ", "Europe/Berlin");
    qputenv("LC_ALL", "C.UTF-8");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    std::setlocale(LC_ALL, "C.UTF-8");
    tzset();
    return true;
}

} // namespace

QString VKTest::scratchFolder() { return gScratch; }

QString VKTest::makeFolder(const QString& nameHint) {
    QTemporaryDir folder(gScratch + u'/' + nameHint + QStringLiteral("-XXXXXX"));
    folder.setAutoRemove(false);
    return folder.isValid() ? folder.path() : QString();
}

bool VKTest::skipsAreFailures() { return qEnvironmentVariableIsSet("VKQT_NO_SKIPS"); }

void VKTest::init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }

std::unique_ptr<QCoreApplication> vkTestMakeGuiApplication(int& argc, char** argv) {
    return std::make_unique<QGuiApplication>(argc, argv);
}

int vkTestRun(int argc, char** argv, const std::function<std::unique_ptr<QObject>()>& make,
              VKTestApplicationMaker makeApplication) {
    QTemporaryDir scratch(QDir::tempPath() + QStringLiteral("/vktest-XXXXXX"));
    // Qt would leave behind what has a name that is not UTF-8.
    scratch.setAutoRemove(false);
    if (!scratch.isValid() || !pinEnvironment(scratch.path())) {
        std::fprintf(stderr, "No temporary folder for the test: %s\n", qPrintable(scratch.errorString()));
        return 99;
    }
    gScratch = scratch.path();
    std::unique_ptr<QCoreApplication> application = makeApplication(argc, argv);
    std::unique_ptr<QObject> test = make();
    const int failures = QTest::qExec(test.get(), argc, argv);
    test.reset();
    application.reset();
    std::error_code error;
    std::filesystem::remove_all(gScratch.toStdString(), error);
    if (error) {
        std::fprintf(stderr, "The test's folder %s stays: %s\n", qPrintable(gScratch),
                     error.message().c_str());
        return failures == 0 ? 98 : failures;
    }
    return failures;
}
