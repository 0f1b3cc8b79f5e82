// A file's new content, written beside the old one and put in its place only when all of it is stored. Until
// commit() succeeds the old file is whole; an abandoned one leaves nothing. Functions give errno on failure
// and 0 otherwise. One thread at a time.
#pragma once

#include "Platform/FileDescriptor.h"

#include <QByteArray>
#include <QByteArrayView>

#include <cstddef>
#include <cstdint>

namespace VKPlatform {

class AtomicFile {
public:
    AtomicFile() noexcept = default;
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Abandons what was not committed.
    ~AtomicFile();

    /// Creates the temporary sibling ".name.XXXXXX" of `target` by exclusive creation. A symbolic link is
    /// honoured: the file it names (which need not exist) is the target. The mode, the access lists, the user
    /// attributes and, as far as permitted, the owner of an existing file are kept; a new file gets 0666 less
    /// the process's mask. EISDIR for a folder, EOPNOTSUPP for a fifo, socket or device, EACCES for a file
    /// without write permission (a rename would replace it all the same), EBUSY when one is open here already.
    [[nodiscard]] int open(const QByteArray& target);

    [[nodiscard]] bool isOpen() const noexcept { return mFile.isOpen(); }

    /// Stores all the bytes at the offset, which may leave a hole. A failure leaves the file open: what
    /// was stored before stays, and commit() would put it in place.
    [[nodiscard]] int writeAt(std::int64_t offset, const void* data, std::size_t size);

    /// Fills the buffer from the offset; `count` tells how much there was.
    [[nodiscard]] int readAt(std::int64_t offset, void* buffer, std::size_t size, std::size_t& count) const;

    /// Flushes to the disk, closes, and renames into place; then flushes the folder. Nothing is open
    /// afterwards. On failure the old file stands and nothing else is left, with one exception: when only the
    /// folder's flush fails, the new content is in place already and may not survive a power cut.
    [[nodiscard]] int commit();

    /// Removes what was written. Nothing is open afterwards.
    void abandon() noexcept;

private:
    [[nodiscard]] int openTemporary(unsigned mode);
    [[nodiscard]] int finish();

    FileDescriptor mFolder;
    FileDescriptor mFile;
    QByteArray mName;
    QByteArray mTemporaryName;
};

/// The temporary name for a file: "." name "." suffix, the name cut (not inside a UTF-8 sequence) so that the
/// whole is no longer than `limit` bytes. Pure.
[[nodiscard]] QByteArray temporaryFileName(QByteArrayView name, QByteArrayView suffix, qsizetype limit);

} // namespace VKPlatform
