// The whole content of a file at once. errno on failure, 0 otherwise. Any thread.
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>

namespace VKPlatform {

/// Reads to the end, wherever that is by then: a file that grows or shrinks meanwhile, and one whose length the
/// system does not tell (it says 0 for those that it makes up), give what was there. EFBIG when that is more
/// than the limit, before more than that is read; EISDIR for a folder; EOPNOTSUPP for a fifo, socket or
/// device, which is not waited for; ENOMEM. `out` changes only on success. A link is followed.
[[nodiscard]] int readWholeFile(const QByteArray& path, std::uint64_t limitBytes, QByteArray& out);

/// Replaces the content, or creates the file, as AtomicFile does.
[[nodiscard]] int writeWholeFile(const QByteArray& path, QByteArrayView content);

} // namespace VKPlatform
