// Over the two classes that know the system's calls.
#include "Platform/WholeFile.h"
#include "Platform/AtomicFile.h"
#include "Platform/ReadableFile.h"

#include <algorithm>
#include <cerrno>
#include <new>

namespace VKPlatform {

namespace {

constexpr std::uint64_t kFirstBlockBytes = 4096;
/// What one array holds at most, with its end and its head.
constexpr std::uint64_t kArrayBytes = (std::uint64_t{1} << 62) - 1;

/// Reads until there is no more; `limit` is within what an array holds.
int readAll(const ReadableFile& file, std::uint64_t limit, QByteArray& out) {
    const auto told = static_cast<std::uint64_t>(std::max<std::int64_t>(file.size(), 0));
    if (told > limit) {
        return EFBIG;
    }
    QByteArray content;
    // One byte more than the file is said to hold, so that a single read mostly finds the end, too.
    std::uint64_t wanted = std::min(told == 0 ? kFirstBlockBytes : told + 1, limit + 1);
    std::uint64_t have = 0;
    for (;;) {
        content.resize(static_cast<qsizetype>(wanted));
        std::size_t count = 0;
        const int error =
            file.readAt(static_cast<std::int64_t>(have), content.data() + have, wanted - have, count);
        if (error != 0) {
            return error;
        }
        have += count;
        if (have < wanted) {
            break;
        }
        if (have > limit) {
            return EFBIG;
        }
        wanted = std::min(wanted * 2, limit + 1);
    }
    content.truncate(static_cast<qsizetype>(have));
    out = std::move(content);
    return 0;
}

} // namespace

int readWholeFile(const QByteArray& path, std::uint64_t limitBytes, QByteArray& out) {
    ReadableFile file;
    if (const int error = file.open(path); error != 0) {
        return error;
    }
    try {
        return readAll(file, std::min(limitBytes, kArrayBytes), out);
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

int writeWholeFile(const QByteArray& path, QByteArrayView content) {
    AtomicFile file;
    int error = file.open(path);
    if (error == 0) {
        error = file.writeAt(0, content.data(), static_cast<std::size_t>(content.size()));
    }
    return error == 0 ? file.commit() : error;
}

} // namespace VKPlatform
