// getdents64 into one large block. A record is: 64-bit inode, 64-bit offset, 16-bit record length, 8-bit
// type, name.
#include "Platform/FolderListing.h"
#include "Platform/Linux/StatxDetails.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace VKPlatform {

namespace {

constexpr std::size_t kBlockBytes = std::size_t{256} * 1024;
constexpr std::size_t kLengthOffset = 16;
constexpr std::size_t kTypeOffset = 18;
constexpr std::size_t kNameOffset = 19;

FileKind kindOfType(unsigned char type) {
    switch (type) {
    case DT_REG:
        return FileKind::File;
    case DT_DIR:
        return FileKind::Folder;
    case DT_LNK:
        return FileKind::Link;
    case DT_UNKNOWN:
        return FileKind::Unknown;
    default:
        return FileKind::Special;
    }
}

bool isDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

} // namespace

int FolderListing::open(const QByteArray& path) {
    FileDescriptor folder(::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const int error = folder.isOpen() ? 0 : errno;
    start(std::move(folder));
    return error;
}

int FolderListing::openAt(const FileDescriptor& folder) {
    FileDescriptor opened(::openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const int error = opened.isOpen() ? 0 : errno;
    start(std::move(opened));
    return error;
}

void FolderListing::start(FileDescriptor folder) {
    mFolder = std::move(folder);
    mFilled = 0;
    mPosition = 0;
    mError = 0;
    if (mFolder.isOpen() && mBlock == nullptr) {
        mBlock = std::make_unique_for_overwrite<std::byte[]>(kBlockBytes);
    }
}

bool FolderListing::take(Entry& entry) {
    const std::byte* record = mBlock.get() + mPosition;
    std::uint16_t length = 0;
    std::memcpy(&length, record + kLengthOffset, sizeof length);
    mPosition += length;
    const char* name = reinterpret_cast<const char*>(record + kNameOffset);
    if (isDotOrDotDot(name)) {
        return false;
    }
    entry.name = QByteArrayView(name, static_cast<qsizetype>(::strnlen(name, length - kNameOffset)));
    entry.kind = kindOfType(std::to_integer<unsigned char>(record[kTypeOffset]));
    return true;
}

bool FolderListing::refillAndTake(Entry& entry) {
    while (mFolder.isOpen()) {
        const long got = ::syscall(SYS_getdents64, mFolder.get(), mBlock.get(), kBlockBytes);
        if (got <= 0) {
            mError = got < 0 ? errno : 0;
            mFolder.close();
            mFilled = 0;
            mPosition = 0;
            break;
        }
        mFilled = static_cast<std::size_t>(got);
        mPosition = 0;
        while (mPosition < mFilled) {
            if (take(entry)) {
                return true;
            }
        }
    }
    return false;
}

int FolderListing::details(const Entry& entry, LinkRule links, FileDetails& out) const {
    if (!mFolder.isOpen()) {
        return EBADF;
    }
    return statxDetails(mFolder.get(), entry.name.data(), links, out);
}

} // namespace VKPlatform
