// What the tests of the core library share: owned strings and URLs, and a log that can be looked at.
#pragma once

#include "CoreFoundation/CFQt.h"
#include "Support/VKTest.h"
#include "VKCoreKit/VKCoreKit.h"

#include <QList>

#include <mutex>

namespace CoreKit {

inline VKCFRef<CFStringRef> makeString(const QString& text) {
    return VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(text));
}

/// The text of a new string, whose reference is given back here; a null QString for null.
inline QString takeText(CFStringRef string) {
    return CFStringCopyQString(VKCFRef<CFStringRef>::adopt(string).get());
}

/// A file URL that holds just these bytes.
inline VKCFRef<CFURLRef> makeUrl(const QByteArray& path, bool isFolder = false) {
    return VKCFRef<CFURLRef>::adopt(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.constData()), path.size(), isFolder));
}

/// A URL that names no file.
inline VKCFRef<CFURLRef> makeWebUrl() {
    return VKCFRef<CFURLRef>::adopt(
        CFURLCreateWithString(kCFAllocatorDefault, CFSTR("https://example.org/a"), nullptr));
}

/// A record that outlives the call it was handed to.
struct LogLine {
    LogLevelType level;
    QByteArray category;
    QString text;
    VKStatus status;
    QByteArray source;
    int line;

    friend bool operator==(const LogLine&, const LogLine&) = default;
};

/// Receives what is logged, from any thread, while the object lives; the default handler comes back after it.
class LogCapture {
public:
    LogCapture() { VKLogSetHandler(&LogCapture::receive, this); }
    ~LogCapture() { VKLogSetHandler(nullptr, nullptr); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// What came since the last call.
    [[nodiscard]] QList<LogLine> take() {
        const std::lock_guard lock(mMutex);
        return std::exchange(mLines, {});
    }

private:
    static void receive(const VKLogRecord& record, void* context) {
        auto* const self = static_cast<LogCapture*>(context);
        const std::lock_guard lock(self->mMutex);
        self->mLines.append(LogLine{record.level, QByteArray(record.category), record.text, record.status,
                                    QByteArray(record.source), record.line});
    }

    std::mutex mMutex;
    QList<LogLine> mLines;
};

} // namespace CoreKit
