// Three streams behind one handle: bytes in memory, a file that is read, a file that is being replaced.
#include "VKCoreKit/VKStream.h"

#include "Platform/AtomicFile.h"
#include "Platform/ReadableFile.h"
#include "VKCoreKit/CBaseCore.h"
#include "VKCoreKit/VKLog.h"

#include <CoreFoundation/CFQt.h>

#include <QByteArray>
#include <QtEndian>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

namespace {

constexpr std::size_t kBlockBytes = std::size_t{64} * 1024;
constexpr char kSource[] = "VKQtCore/Source/VKCoreKit/VKStream";

} // namespace

class VKStream : public CBaseCore {
public:
    /// The stream's length, 0 to 2^63 - 1.
    [[nodiscard]] virtual std::uint64_t length() const = 0;
    /// Both ends are within length().
    [[nodiscard]] virtual VKStatus readAt(std::uint64_t position, void* buffer, std::size_t size) = 0;
    /// `position` is within length(), and position + size no more than 2^63 - 1.
    [[nodiscard]] virtual VKStatus writeAt(std::uint64_t position, const void* buffer, std::size_t size) = 0;
    [[nodiscard]] virtual VKStatus content(QByteArray& bytes) = 0;
    [[nodiscard]] virtual VKStatus close() = 0;
    /// The status that every call answers: of a stream that is closed.
    [[nodiscard]] virtual VKStatus usable() const = 0;

    [[nodiscard]] std::uint64_t available() const { return length() - mPosition; }

    VKStatus seek(std::uint64_t position) {
        if (position > length()) {
            return kVKStatusEndOfStream;
        }
        mPosition = position;
        return kVKStatusSuccess;
    }

    VKStatus read(void* buffer, std::size_t size) {
        if (size > available()) {
            return kVKStatusEndOfStream;
        }
        const VKStatus status = size == 0 ? kVKStatusSuccess : readAt(mPosition, buffer, size);
        mPosition += status == kVKStatusSuccess ? size : 0;
        return status;
    }

    VKStatus write(const void* buffer, std::size_t size) {
        constexpr auto kLongest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
        if (size > kLongest - mPosition) {
            return EFBIG;
        }
        const VKStatus status = writeAt(mPosition, buffer, size);
        mPosition += status == kVKStatusSuccess ? size : 0;
        return status;
    }

    [[nodiscard]] std::uint64_t position() const { return mPosition; }

protected:
    /// All the bytes by readAt(), for the files.
    [[nodiscard]] VKStatus readAll(QByteArray& bytes) {
        bytes = QByteArray(static_cast<qsizetype>(length()), Qt::Uninitialized);
        return bytes.isEmpty() ? kVKStatusSuccess : readAt(0, bytes.data(), length());
    }

private:
    std::uint64_t mPosition = 0;
};

namespace {

class MemoryStream final : public VKStream {
public:
    [[nodiscard]] std::uint64_t length() const override { return static_cast<std::uint64_t>(mBytes.size()); }

    [[nodiscard]] VKStatus readAt(std::uint64_t position, void* buffer, std::size_t size) override {
        std::memcpy(buffer, mBytes.constData() + position, size);
        return kVKStatusSuccess;
    }

    [[nodiscard]] VKStatus writeAt(std::uint64_t position, const void* buffer, std::size_t size) override {
        const auto at = static_cast<qsizetype>(position);
        const auto overwritten = std::min(static_cast<qsizetype>(size), mBytes.size() - at);
        const auto* from = static_cast<const char*>(buffer);
        // Everything that needs memory comes first: without it nothing has changed. append() grows in steps.
        if (overwritten != 0) {
            mBytes.detach();
        }
        mBytes.append(from + overwritten, static_cast<qsizetype>(size) - overwritten);
        if (overwritten != 0) {
            std::memcpy(mBytes.data() + at, from, static_cast<std::size_t>(overwritten));
        }
        return kVKStatusSuccess;
    }

    [[nodiscard]] VKStatus content(QByteArray& bytes) override {
        bytes = mBytes;
        return kVKStatusSuccess;
    }

    [[nodiscard]] VKStatus close() override { return kVKStatusSuccess; }
    [[nodiscard]] VKStatus usable() const override { return kVKStatusSuccess; }

private:
    QByteArray mBytes;
};

class FileReadStream final : public VKStream {
public:
    [[nodiscard]] int open(const QByteArray& path) { return mFile.open(path); }

    [[nodiscard]] std::uint64_t length() const override { return static_cast<std::uint64_t>(mFile.size()); }

    [[nodiscard]] VKStatus readAt(std::uint64_t position, void* buffer, std::size_t size) override {
        if (position >= mBlockStart && position + size <= mBlockStart + mBlockSize) {
            std::memcpy(buffer, mBlock.data() + (position - mBlockStart), size);
            return kVKStatusSuccess;
        }
        if (size >= kBlockBytes) {
            return fill(position, buffer, size, size, size);
        }
        mBlock.resize(kBlockBytes);
        mBlockSize = 0;
        mBlockStart = position;
        const VKStatus status = fill(position, mBlock.data(), mBlock.size(), size, mBlockSize);
        if (status == kVKStatusSuccess) {
            std::memcpy(buffer, mBlock.data(), size);
        }
        return status;
    }

    [[nodiscard]] VKStatus writeAt(std::uint64_t, const void*, std::size_t) override { return EBADF; }
    [[nodiscard]] VKStatus content(QByteArray& bytes) override { return readAll(bytes); }

    [[nodiscard]] VKStatus close() override {
        mFile.close();
        return kVKStatusSuccess;
    }

    [[nodiscard]] VKStatus usable() const override { return mFile.isOpen() ? kVKStatusSuccess : EBADF; }

private:
    /// Reads up to `size` bytes, at least `needed`; the file may have become shorter than it was.
    [[nodiscard]] VKStatus fill(std::uint64_t position, void* buffer, std::size_t size, std::size_t needed,
                                std::size_t& got) {
        const int error = mFile.readAt(static_cast<std::int64_t>(position), buffer, size, got);
        if (error != 0) {
            got = 0;
            return static_cast<VKStatus>(error);
        }
        return got < needed ? kVKStatusEndOfStream : kVKStatusSuccess;
    }

    VKPlatform::ReadableFile mFile;
    std::vector<char> mBlock;
    std::uint64_t mBlockStart = 0;
    std::size_t mBlockSize = 0;
};

class FileWriteStream final : public VKStream {
public:
    FileWriteStream() = default;
    FileWriteStream(const FileWriteStream&) = delete;
    FileWriteStream& operator=(const FileWriteStream&) = delete;

    ~FileWriteStream() override {
        if (const VKStatus status = closeFile(); status != kVKStatusSuccess) {
            VKLogEvent(status, kSource, __LINE__);
        }
    }

    [[nodiscard]] int open(const QByteArray& path) { return mFile.open(path); }

    [[nodiscard]] std::uint64_t length() const override { return mLength; }

    [[nodiscard]] VKStatus readAt(std::uint64_t position, void* buffer, std::size_t size) override {
        if (const VKStatus status = flush(); status != kVKStatusSuccess) {
            return status;
        }
        std::size_t got = 0;
        const int error = mFile.readAt(static_cast<std::int64_t>(position), buffer, size, got);
        if (error != 0) {
            return static_cast<VKStatus>(error);
        }
        return got < size ? kVKStatusEndOfStream : kVKStatusSuccess;
    }

    [[nodiscard]] VKStatus writeAt(std::uint64_t position, const void* buffer, std::size_t size) override {
        if (mFailure != kVKStatusSuccess) {
            return mFailure;
        }
        const bool follows = position == mPendingStart + mPending.size();
        if (!follows || mPending.size() + size > kBlockBytes) {
            if (const VKStatus status = flush(); status != kVKStatusSuccess) {
                return status;
            }
            mPendingStart = position;
        }
        if (size >= kBlockBytes) {
            if (const VKStatus status = store(position, buffer, size); status != kVKStatusSuccess) {
                return status;
            }
            mPendingStart = position + size;
        } else if (size != 0) {
            const auto* from = static_cast<const char*>(buffer);
            mPending.insert(mPending.end(), from, from + size);
        }
        mLength = std::max(mLength, position + size);
        return kVKStatusSuccess;
    }

    [[nodiscard]] VKStatus content(QByteArray& bytes) override { return readAll(bytes); }
    [[nodiscard]] VKStatus close() override { return closeFile(); }
    [[nodiscard]] VKStatus usable() const override { return mFile.isOpen() ? kVKStatusSuccess : EBADF; }

private:
    /// Once something could not be stored the content has a gap and is never put in place.
    [[nodiscard]] VKStatus store(std::uint64_t position, const void* bytes, std::size_t size) {
        if (mFailure == kVKStatusSuccess) {
            mFailure = static_cast<VKStatus>(mFile.writeAt(static_cast<std::int64_t>(position), bytes, size));
        }
        return mFailure;
    }

    [[nodiscard]] VKStatus flush() {
        const VKStatus status =
            mPending.empty() ? mFailure : store(mPendingStart, mPending.data(), mPending.size());
        mPendingStart += mPending.size();
        mPending.clear();
        return status;
    }

    [[nodiscard]] VKStatus closeFile() {
        if (!mFile.isOpen()) {
            return kVKStatusSuccess;
        }
        if (const VKStatus status = flush(); status != kVKStatusSuccess) {
            mFile.abandon();
            return status;
        }
        return static_cast<VKStatus>(mFile.commit());
    }

    VKPlatform::AtomicFile mFile;
    std::vector<char> mPending;
    std::uint64_t mPendingStart = 0;
    std::uint64_t mLength = 0;
    VKStatus mFailure = kVKStatusSuccess;
};

/// Memory that is not to be had is a status at this boundary, as everything that fails.
template <typename Call>
VKStatus withoutThrowing(Call call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    } catch (const std::length_error&) {
        return ENOMEM;
    }
}

/// The call on a stream that is there and open.
template <typename Call>
VKStatus onStream(const VKStream* stream, Call call) {
    if (stream == nullptr) {
        return kVKStatusBadArgument;
    }
    const VKStatus status = stream->usable();
    return status == kVKStatusSuccess ? withoutThrowing(call) : status;
}

template <typename Stream>
VKStatus createFileStream(const QByteArray& path, VKStream** out) {
    return withoutThrowing([&] {
        auto stream = std::make_unique<Stream>();
        const int error = stream->open(path);
        if (error == 0) {
            *out = stream.release();
        }
        return static_cast<VKStatus>(error);
    });
}

} // namespace

VKStatus VKStreamCreateMemory(VKStream** out) {
    if (out == nullptr) {
        return kVKStatusBadArgument;
    }
    *out = nullptr;
    return withoutThrowing([&] {
        *out = new MemoryStream;
        return kVKStatusSuccess;
    });
}

VKStatus VKStreamCreateFile(CFURLRef file, bool write, VKStream** out) {
    if (out == nullptr) {
        return kVKStatusBadArgument;
    }
    *out = nullptr;
    if (file == nullptr) {
        return kVKStatusBadArgument;
    }
    const QByteArray path = CFURLCopyFileSystemBytes(file);
    if (path.isNull()) {
        return kVKStatusNotConvertible;
    }
    return write ? createFileStream<FileWriteStream>(path, out) : createFileStream<FileReadStream>(path, out);
}

VKStream* VKStreamRetain(VKStream* stream) {
    if (stream != nullptr) {
        stream->AddRef();
    }
    return stream;
}

void VKStreamRelease(VKStream* stream) {
    if (stream != nullptr) {
        stream->Release();
    }
}

VKStatus VKStreamClose(VKStream* stream) {
    return stream == nullptr ? kVKStatusBadArgument : withoutThrowing([&] { return stream->close(); });
}

VKStatus VKStreamSetPosition(VKStream* stream, std::uint64_t position) {
    return onStream(stream, [&] { return stream->seek(position); });
}

VKStatus VKStreamGetPosition(VKStream* stream, std::uint64_t* position) {
    return onStream(stream, [&] {
        if (position == nullptr) {
            return kVKStatusBadArgument;
        }
        *position = stream->position();
        return kVKStatusSuccess;
    });
}

VKStatus VKStreamGetAvailable(VKStream* stream, std::uint64_t* bytes) {
    return onStream(stream, [&] {
        if (bytes == nullptr) {
            return kVKStatusBadArgument;
        }
        *bytes = stream->available();
        return kVKStatusSuccess;
    });
}

VKStatus VKStreamRead(VKStream* stream, void* buffer, std::size_t size) {
    if (buffer == nullptr && size != 0) {
        return kVKStatusBadArgument;
    }
    return onStream(stream, [&] { return stream->read(buffer, size); });
}

VKStatus VKStreamWrite(VKStream* stream, const void* buffer, std::size_t size) {
    if (buffer == nullptr && size != 0) {
        return kVKStatusBadArgument;
    }
    return onStream(stream, [&] { return stream->write(buffer, size); });
}

VKStatus VKStreamReadUInt32(VKStream* stream, std::uint32_t* value) {
    if (value == nullptr) {
        return kVKStatusBadArgument;
    }
    std::uint32_t stored = 0;
    const VKStatus status = VKStreamRead(stream, &stored, sizeof stored);
    if (status == kVKStatusSuccess) {
        *value = qFromBigEndian(stored);
    }
    return status;
}

VKStatus VKStreamWriteUInt32(VKStream* stream, std::uint32_t value) {
    const std::uint32_t stored = qToBigEndian(value);
    return VKStreamWrite(stream, &stored, sizeof stored);
}

VKStatus VKStreamGetDataCopy(VKStream* stream, CFDataRef* data) {
    if (data == nullptr) {
        return kVKStatusBadArgument;
    }
    *data = nullptr;
    return onStream(stream, [&] {
        QByteArray bytes;
        const VKStatus status = stream->content(bytes);
        if (status == kVKStatusSuccess) {
            *data = CFDataCreateWithQByteArray(bytes);
        }
        return status;
    });
}
