// The base of every test class: a test fails on a warning that it did not expect, and programs start in a
// pinned environment (time zone, locale, home, XDG folders, no proxies, usual rights, offscreen platform) under a
// temporary folder.
#pragma once

#include <QObject>
#include <QString>
#include <QTest>

#include <functional>
#include <memory>

class VKTest : public QObject {
    Q_OBJECT

public:
    /// A folder of this program's own, empty at start, removed at its end. Also the parent of $HOME.
    [[nodiscard]] static QString scratchFolder();

    /// Makes a new empty folder below scratchFolder() and gives its path.
    [[nodiscard]] static QString makeFolder(const QString& nameHint = QStringLiteral("folder"));

    /// True where a skipped real-system test is a failure (VKQT_NO_SKIPS is set, as CI does).
    [[nodiscard]] static bool skipsAreFailures();

protected Q_SLOTS:
    void init();
};

/// The platform rules that this program was linked with: "host", "macos" or "windows".
const char* vkTestPlatformRules();

class QCoreApplication;
using VKTestApplicationMaker = std::unique_ptr<QCoreApplication> (*)(int& argc, char** argv);

/// A QGuiApplication. WidgetsTest.h has the one for tests with widgets.
std::unique_ptr<QCoreApplication> vkTestMakeGuiApplication(int& argc, char** argv);

/// Runs the test class that `make` creates, in the pinned environment. The value for main() to return.
int vkTestRun(int argc, char** argv, const std::function<std::unique_ptr<QObject>()>& make,
              VKTestApplicationMaker makeApplication = &vkTestMakeGuiApplication);

/// The main function of a test program.
#define VKTEST_MAIN(Class)                                                                                   \
    int main(int argc, char** argv) {                                                                        \
        return vkTestRun(argc, argv, [] { return std::unique_ptr<QObject>(std::make_unique<Class>()); });    \
    }

/// Leaves a test that this machine cannot run: skipped with the reason, or failed where skips are failures.
#define VKTEST_NEEDS(condition, reason)                                                                      \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            if (VKTest::skipsAreFailures()) {                                                                \
                QFAIL(qPrintable(QStringLiteral("needs ") + QStringLiteral(reason)));                        \
            }                                                                                                \
            QSKIP("needs " reason);                                                                          \
        }                                                                                                    \
    } while (false)
