// What the tests of the core library share: owned strings, URLs and streams, and a log that can be looked at.
#pragma once

#include "CoreFoundation/CFQt.h"
#include "Support/VKTest.h"
#include "VKCoreKit/VKCoreKit.h"

#include <QList>

#include <memory>
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

struct StreamReleaser {
    void operator()(VKStream* stream) const { VKStreamRelease(stream); }
};

/// One reference to a stream.
using OwnedStream = std::unique_ptr<VKStream, StreamReleaser>;

inline OwnedStream makeMemoryStream() {
    VKStream* stream = nullptr;
    return VKStreamCreateMemory(&stream) == kVKStatusSuccess ? OwnedStream(stream) : OwnedStream();
}

/// Null when the file does not open.
inline OwnedStream makeFileStream(const QByteArray& path, bool write) {
    VKStream* stream = nullptr;
    const VKStatus status = VKStreamCreateFile(makeUrl(path).get(), write, &stream);
    return status == kVKStatusSuccess ? OwnedStream(stream) : OwnedStream();
}

inline VKStatus writeBytes(const OwnedStream& stream, const QByteArray& bytes) {
    return VKStreamWrite(stream.get(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

/// Fills the array with the next bytes.
inline VKStatus readBytes(const OwnedStream& stream, QByteArray& bytes) {
    return VKStreamRead(stream.get(), bytes.data(), static_cast<std::size_t>(bytes.size()));
}

/// The whole content; a null QByteArray when it cannot be had.
inline QByteArray contentOf(const OwnedStream& stream) {
    VKCFRef<CFDataRef> data;
    return VKStreamGetDataCopy(stream.get(), data.out()) == kVKStatusSuccess
               ? CFDataCopyQByteArray(data.get())
               : QByteArray();
}

/// The largest number stands for a stream that does not tell.
inline std::uint64_t positionOf(const OwnedStream& stream) {
    std::uint64_t position = 0;
    return VKStreamGetPosition(stream.get(), &position) == kVKStatusSuccess ? position : UINT64_MAX;
}

inline std::uint64_t availableIn(const OwnedStream& stream) {
    std::uint64_t bytes = 0;
    return VKStreamGetAvailable(stream.get(), &bytes) == kVKStatusSuccess ? bytes : UINT64_MAX;
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
