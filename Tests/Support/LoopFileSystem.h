// Real file systems of a test's own, in an image file on a loop device, and folders that are mounted a second
// time. Need root; a test asks isMounted() and names what is missing.
#pragma once

#include "Support/DiskSupport.h"
#include "Support/ShellCommand.h"

#include <QByteArray>
#include <QTest>

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>
#include <utility>

namespace Disk {

inline bool runs(const QByteArray& command) { return Shell::outputOf(command + " >/dev/null").status == 0; }

/// The column "type", and a row for each kind of LoopFileSystem that keeps all that belongs to a file.
inline void addFileSystemRows() {
    QTest::addColumn<QByteArray>("type");
    for (const char* type : {"ext4", "xfs", "btrfs"}) {
        QTest::newRow(type) << QByteArray(type);
    }
}

/// "ext4", "xfs", "btrfs" or "exfat" (in user space; names are compared without case), mounted on `folder`,
/// which has to be there, as long as the object lives. Its image is a sparse file beside the folder. The top
/// folder may be written by everybody. `prepare` is a command that changes the image before it is mounted; the
/// image's name is put behind it.
class LoopFileSystem {
public:
    LoopFileSystem(const char* type, QByteArray folder, const QByteArray& prepare = "true")
        : mFolder(std::move(folder)), mImage(mFolder + ".img") {
        const QByteArray kind(type);
        // xfs takes no less than 300 MB; the others are quicker small.
        const QByteArray size = kind == "xfs" ? "300M" : kind == "btrfs" ? "120M" : "48M";
        const QByteArray options = kind == "ext4" ? " -q -F -m 0 " : kind == "xfs" ? " -q " : " ";
        const QByteArray make = "mkfs." + kind + options;
        if (!isRoot() ||
            !runs("truncate -s " + size + " '" + mImage + "' && " + make + '\'' + mImage + "'") ||
            !runs(prepare + " '" + mImage + '\'')) {
            return;
        }
        mDevice = Shell::outputOf("losetup --find --show '" + mImage + '\'').text.trimmed();
        if (mDevice.isEmpty()) {
            return;
        }
        mMounted = kind == "exfat"
                       ? runs("mount.exfat-fuse -o allow_other " + mDevice + " '" + mFolder + '\'')
                       : ::mount(mDevice.constData(), mFolder.constData(), type, 0, nullptr) == 0;
        if (mMounted) {
            ::chmod(mFolder.constData(), 0777);
        }
    }
    LoopFileSystem(const LoopFileSystem&) = delete;
    LoopFileSystem& operator=(const LoopFileSystem&) = delete;
    ~LoopFileSystem() {
        if (mMounted) {
            // At once where that is possible, so that a server in user space has written everything.
            if (::umount2(mFolder.constData(), 0) != 0) {
                ::umount2(mFolder.constData(), MNT_DETACH);
            }
        }
        if (!mDevice.isEmpty()) {
            runs("losetup --detach " + mDevice);
        }
        ::unlink(mImage.constData());
    }

    [[nodiscard]] bool isMounted() const { return mMounted; }

    /// Makes it read-only; false when the system refuses.
    [[nodiscard]] bool becomeReadOnly() {
        return ::mount(mDevice.constData(), mFolder.constData(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) ==
               0;
    }

private:
    QByteArray mFolder;
    QByteArray mImage;
    QByteArray mDevice;
    bool mMounted = false;
};

/// An existing folder or file that shows at a second place too, which has to be there, as long as the object
/// lives.
class BindMount {
public:
    BindMount(const QByteArray& what, QByteArray where)
        : mWhere(std::move(where)),
          mMounted(::mount(what.constData(), mWhere.constData(), nullptr, MS_BIND, nullptr) == 0) {}
    BindMount(const BindMount&) = delete;
    BindMount& operator=(const BindMount&) = delete;
    ~BindMount() {
        if (mMounted) {
            ::umount2(mWhere.constData(), MNT_DETACH);
        }
    }

    [[nodiscard]] bool isMounted() const { return mMounted; }

private:
    QByteArray mWhere;
    bool mMounted;
};

} // namespace Disk
