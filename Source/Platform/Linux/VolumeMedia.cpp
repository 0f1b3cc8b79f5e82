// From the device's numbers to its folder below /sys, up from a partition to its disk, down from a mapped
// device to what it is made of.
#include "Platform/VolumeMedia.h"

#include "Platform/FileDescriptor.h"

#include <QStringBuilder>

#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

/// Mapped devices upon mapped devices: deeper than anyone builds them.
constexpr int kMostLevels = 8;

struct Free {
    void operator()(char* text) const { std::free(text); }
    void operator()(DIR* folder) const { ::closedir(folder); }
};

/// The first bytes of a small file, without the line's end.
QByteArray firstWord(const QByteArray& path) {
    const FileDescriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC));
    char buffer[64];
    const ssize_t got = file.isOpen() ? ::read(file.get(), buffer, sizeof buffer) : -1;
    return got > 0 ? QByteArray(buffer, got).trimmed() : QByteArray();
}

QByteArray realPath(const QByteArray& path) {
    const std::unique_ptr<char, Free> real(::realpath(path.constData(), nullptr));
    return real == nullptr ? QByteArray() : QByteArray(real.get());
}

bool exists(const QByteArray& path) { return ::access(path.constData(), F_OK) == 0; }

bool isRemovable(QByteArray folder, int level);

bool isMadeOfRemovable(const QByteArray& folder, int level) {
    const QByteArray parts = folder + "/slaves";
    const std::unique_ptr<DIR, Free> entries(::opendir(parts.constData()));
    while (const dirent* entry = entries == nullptr ? nullptr : ::readdir(entries.get())) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != ".." && isRemovable(realPath(parts + '/' + name), level + 1)) {
            return true;
        }
    }
    return false;
}

bool isRemovable(QByteArray folder, int level) {
    if (folder.isEmpty() || level >= kMostLevels) {
        return false;
    }
    if (exists(folder + "/partition")) {
        folder.truncate(folder.lastIndexOf('/'));
    }
    return firstWord(folder + "/removable") == "1" || folder.contains("/usb") ||
           firstWord(folder + "/device/type") == "SD" || isMadeOfRemovable(folder, level);
}

} // namespace

bool isRemovableDevice(DeviceNumber device, const QByteArray& system) {
    return isRemovable(realPath(system + "/dev/block/" + QByteArray::number(device.major) + ':' +
                                QByteArray::number(device.minor)),
                       0);
}

} // namespace VKPlatform
