// What the tests of the counted values share: an owner, short ways to text and back, and programs that have to stop.
#pragma once

#include "CoreFoundation/CFQt.h"
#include "CoreFoundation/CoreFoundation.h"
#include "Support/ShellCommand.h"
#include "Support/VKTest.h"

#include <QCoreApplication>
#include <QFile>
#include <QMap>

#include <csignal>
#include <functional>
#include <memory>
#include <sys/wait.h>

namespace CFTest {

struct Releaser {
    void operator()(CFTypeRef value) const { CFRelease(value); }
};

/// Owns the reference of a Create or Copy call.
template <class Ref>
using Owned = std::unique_ptr<std::remove_pointer_t<Ref>, Releaser>;

template <class Ref>
Owned<Ref> own(Ref value) {
    return Owned<Ref>(value);
}

inline Owned<CFStringRef> makeString(const QString& text) { return own(CFStringCreateWithQString(text)); }

/// The text of a string that is owned here; a null QString for null.
inline QString takeText(CFStringRef string) {
    QString text = CFStringCopyQString(string);
    if (string != nullptr) {
        CFRelease(string);
    }
    return text;
}

/// Text with "<XXXX>" for a UTF-16 unit, so that rows can hold unpaired surrogates and NULs.
inline QString units(const QString& spelled) {
    QString text;
    for (qsizetype i = 0; i < spelled.size(); ++i) {
        if (spelled[i] == u'<' && i + 5 < spelled.size() && spelled[i + 5] == u'>') {
            text += QChar(spelled.sliced(i + 1, 4).toUShort(nullptr, 16));
            i += 5;
        } else {
            text += spelled[i];
        }
    }
    return text;
}

using Misuses = QMap<QString, std::function<void()>>;

/// Main for a program that its own tests start again with "--misuse NAME": runs that misuse, and nothing else.
inline int runMisuse(const Misuses& misuses, const QString& name) {
    const auto found = misuses.constFind(name);
    if (found == misuses.constEnd()) {
        return 3;
    }
    (*found)();
    return 0;
}

/// What the program wrote to stderr when it was started again for the misuse; "" unless it was ended by abort().
inline QString stderrOfMisuse(const QString& name) {
    QByteArray program = QFile::encodeName(QCoreApplication::applicationFilePath());
    program.replace('\'', "'\\''");
    const Shell::Output output = Shell::outputOf(
        QByteArray("exec '" + program + "' --misuse '" + name.toLocal8Bit() + "' 2>&1 >/dev/null"));
    const bool isAborted = WIFSIGNALED(output.status) && WTERMSIG(output.status) == SIGABRT;
    return isAborted ? QString::fromUtf8(output.text) : QString();
}

} // namespace CFTest

/// As VKTEST_MAIN, for a class with a static misuses() whose tests start the program again.
#define CFTEST_MAIN_WITH_MISUSES(Class)                                                                      \
    int main(int argc, char** argv) {                                                                        \
        if (argc == 3 && QByteArrayView(argv[1]) == QByteArrayView("--misuse")) {                            \
            return CFTest::runMisuse(Class::misuses(), QString::fromLocal8Bit(argv[2]));                     \
        }                                                                                                    \
        return vkTestRun(argc, argv, [] { return std::unique_ptr<QObject>(std::make_unique<Class>()); });    \
    }
