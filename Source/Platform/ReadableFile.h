// A regular file opened for reading at any offset. errno on failure, 0 otherwise. One thread at a time opens
// and closes; reading is for any.
#pragma once

#include "Platform/FileDescriptor.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>

namespace VKPlatform {

class ReadableFile {
public:
    /// EISDIR for a folder, EOPNOTSUPP for a fifo, socket or device, which is not waited for. A link is
    /// followed.
    [[nodiscard]] int open(const QByteArray& path);

    [[nodiscard]] bool isOpen() const noexcept { return mFile.isOpen(); }

    /// The length in bytes when the file was opened.
    [[nodiscard]] std::int64_t size() const noexcept { return mSize; }

    /// Fills the buffer from the offset; `count` tells how much there was before the file's end.
    [[nodiscard]] int readAt(std::int64_t offset, void* buffer, std::size_t size, std::size_t& count) const;

    void close() noexcept { mFile.close(); }

private:
    FileDescriptor mFile;
    std::int64_t mSize = 0;
};

} // namespace VKPlatform
