// The probe of the library, and the process around it.
#include "GraphicsProbe.h"

#include "Command.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreImage/VKCoreImageHardwareInfo.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKMachine.h>
#include <VKQtSysInfo.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>

#include <csignal>

namespace VKTool {

namespace {

using namespace Qt::StringLiterals;

// More than this is no answer.
constexpr qint64 kLongestAnswer = qint64{1024} * 1024;

QJsonValue orNull(const QString& text) {
    return text.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QJsonArray cardLines() {
    const auto report = VKCFRef<CFStringRef>::adopt(VKMachineGetFactCopy(VKMachineFact::GraphicsReport));
    return QJsonArray::fromStringList(CFStringCopyQString(report.get()).split(u'\n', Qt::SkipEmptyParts));
}

// What can be known without a driver.
QJsonObject withoutDriver() {
    QJsonObject members = {{u"card"_s, orNull(VKQtSysInfo::videoCard())}, {u"cards"_s, cardLines()}};
    for (const QString& key : {u"windowSystem"_s, u"resolution"_s, u"refreshRate"_s, u"vendor"_s,
                               u"renderer"_s, u"version"_s, u"shadingLanguage"_s, u"maxTextureSize"_s}) {
        members.insert(key, QJsonValue::Null);
    }
    members.insert(u"problems"_s, QJsonArray());
    return members;
}

QString sentenceFor(VKStatus status) {
    switch (status) {
    case kVKStatusSuccess:
        return QString();
    case kVKStatusNotConvertible:
        return u"there is no OpenGL here: no display, or no driver for it"_s;
    case kVKStatusNotUnderstood:
        return u"the driver is too old: it has no OpenGL 3.3"_s;
    default:
        return u"the driver reports the OpenGL error 0x"_s +
               QString::number(status, 16).rightJustified(4, u'0');
    }
}

// The framework's own stand-ins for a screen have an imaginary one.
bool hasScreen(const QString& windowSystem) {
    return windowSystem != u"offscreen"_s && windowSystem != u"minimal"_s && windowSystem != u"vnc"_s;
}

QJsonArray problems() {
    QJsonArray names;
    if (VKCoreImageHardwareInfo::nvida2013MacProblem()) {
        names.append(u"NVIDIA driver of macOS 10.13 and later"_s);
    }
    if (VKCoreImageHardwareInfo::intelHD3000Problem()) {
        names.append(u"Intel HD Graphics 3000"_s);
    }
    return names;
}

GraphicsAnswers failed(const QString& sentence) {
    GraphicsAnswers answers = {.members = withoutDriver(), .failure = sentence};
    answers.members.insert(u"error"_s, sentence);
    return answers;
}

QString deathOf(const QProcess& process) {
    if (process.exitStatus() == QProcess::CrashExit) {
        // The framework ends so where it finds no display, and some drivers where they find a fault of their own.
        if (process.exitCode() == SIGABRT) {
            return u"the display could not be opened, or the graphics driver gave up (signal 6)"_s;
        }
        return u"the program that asked the graphics driver died (signal %1)"_s.arg(process.exitCode());
    }
    return u"the program that asked the graphics driver ended without an answer"_s;
}

} // namespace

GraphicsAnswers askGraphicsHere() {
    GraphicsAnswers answers = {.members = withoutDriver(),
                               .failure = sentenceFor(VKCoreImageHardwareInfo::validateOpenGL())};
    QJsonObject& members = answers.members;
    const QString windowSystem = QGuiApplication::platformName();
    members.insert(u"windowSystem"_s, orNull(windowSystem));
    if (hasScreen(windowSystem) && VKQtSysInfo::refreshRate() > 0) {
        members.insert(u"resolution"_s, VKQtSysInfo::resolution());
        members.insert(u"refreshRate"_s, VKQtSysInfo::refreshRate());
    }
    members.insert(u"card"_s, orNull(VKQtSysInfo::videoCard()));
    members.insert(u"vendor"_s, orNull(VKQtSysInfo::openGLVendor()));
    members.insert(u"renderer"_s, orNull(VKCoreImageHardwareInfo::openGLRenderer()));
    members.insert(u"version"_s, orNull(VKQtSysInfo::openGLVersion()));
    members.insert(u"shadingLanguage"_s, orNull(VKCoreImageHardwareInfo::openGLShadingLanguageVersion()));
    if (const int size = VKCoreImageHardwareInfo::openGLMaxTextureSize(); size > 0) {
        members.insert(u"maxTextureSize"_s, size);
    }
    members.insert(u"problems"_s, problems());
    members.insert(u"error"_s, orNull(answers.failure));
    return answers;
}

GraphicsAnswers askGraphicsElsewhere(std::chrono::milliseconds bound, bool verbose) {
    QProcess process;
    if (verbose) {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    } else {
        process.setStandardErrorFile(QProcess::nullDevice());
    }
    process.setStandardInputFile(QProcess::nullDevice());
    bool isTooMuch = false;
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process, [&] {
        if (process.bytesAvailable() > kLongestAnswer) {
            isTooMuch = true;
            process.kill();
        }
    });
    QStringList arguments = {u"graphics"_s, u"--here"_s, u"--json"_s};
    if (verbose) {
        arguments << u"--verbose"_s;
    }
    process.start(QCoreApplication::applicationFilePath(), arguments, QIODevice::ReadOnly);
    const bool isFinished = process.waitForFinished(static_cast<int>(bound.count()));
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
        return failed(u"the graphics driver did not answer in time"_s);
    }
    const QJsonArray answer = QJsonDocument::fromJson(process.readAllStandardOutput()).array();
    if (!isFinished || isTooMuch || process.exitStatus() != QProcess::NormalExit || answer.size() != 1) {
        return failed(deathOf(process));
    }
    const QJsonObject members = answer.first().toObject();
    return {.members = members, .failure = members.value(u"error"_s).toString()};
}

} // namespace VKTool
