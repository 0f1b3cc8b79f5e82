// What the tests of the recycle bin share: a home folder of the test's own, volumes on real file systems, and
// what a bin looks like.
#pragma once

#include "Platform/RecycleBin.h"
#include "Platform/RecycleRules.h"
#include "Support/DiskSupport.h"
#include "Support/ShellCommand.h"
#include "Support/VKTest.h"

#include <sched.h>

namespace Recycle {

/// HOME in a new folder, without a data folder, while the object lives.
class Home {
public:
    explicit Home(const QByteArray& folder = VKTest::makeFolder(QStringLiteral("home")).toUtf8())
        : mFolder(folder) {
        qputenv("HOME", mFolder);
        qunsetenv("XDG_DATA_HOME");
    }
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;
    ~Home() {
        qputenv("HOME", mBefore);
        qputenv("XDG_DATA_HOME", mDataBefore);
    }

    [[nodiscard]] const QByteArray& folder() const { return mFolder; }
    [[nodiscard]] QByteArray bin() const { return mFolder + "/.local/share/Trash"; }

private:
    // The order matters: these look before the constructor sets.
    QByteArray mBefore = qgetenv("HOME");
    QByteArray mDataBefore = qgetenv("XDG_DATA_HOME");
    QByteArray mFolder;
};

/// Mounts of this program are its own from here on, and gone with it. Needs root.
inline bool mountPrivately() {
    return Disk::isRoot() && ::unshare(CLONE_NEWNS) == 0 &&
           ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// A new file system of the type in a file of its own, mounted at a new folder while the object lives.
class Volume {
public:
    explicit Volume(const QByteArray& type, const QByteArray& options = QByteArray())
        : mFolder(VKTest::makeFolder(QStringLiteral("volume")).toUtf8()), mImage(mFolder + ".image") {
        const QByteArray command =
            type == "tmpfs" ? "mount -t tmpfs -o size=16m vktest " + mFolder : makingCommand(type, options);
        mMounted = Shell::outputOf("{ " + command + "; } >/dev/null 2>&1").status == 0;
    }
    Volume(const Volume&) = delete;
    Volume& operator=(const Volume&) = delete;
    ~Volume() {
        if (mMounted) {
            ::umount2(mFolder.constData(), MNT_DETACH);
        }
        ::unlink(mImage.constData());
    }

    [[nodiscard]] bool isMounted() const { return mMounted; }
    [[nodiscard]] const QByteArray& folder() const { return mFolder; }
    [[nodiscard]] QByteArray ownBin() const { return mFolder + "/.Trash-" + QByteArray::number(::geteuid()); }

    /// Fails while somebody has something open on it.
    [[nodiscard]] bool unmount() {
        mMounted = ::umount2(mFolder.constData(), 0) != 0;
        return !mMounted;
    }

private:
    [[nodiscard]] QByteArray makingCommand(const QByteArray& type, const QByteArray& options) const {
        const QByteArray size = type == "xfs"     ? "320M"
                                : type == "btrfs" ? "128M"
                                                  : "16M"; // the least they take
        const QByteArray mounting =
            "mount -o loop" + (options.isEmpty() ? QByteArray() : QByteArray("," + options));
        const QByteArray make = type == "ext4"    ? "mkfs.ext4 -q "
                                : type == "exfat" ? "mkfs.exfat "
                                                  : QByteArray("mkfs." + type + " -q ");
        const QByteArray device = "device=$(losetup -f --show " + mImage + ") && mount.exfat-fuse $device " +
                                  mFolder + " && losetup -d $device";
        const QByteArray mount =
            type == "exfat" ? device : QByteArray(mounting + ' ' + mImage + ' ' + mFolder);
        return "truncate -s " + size + ' ' + mImage + " && " + make + mImage + " && " + mount;
    }

    QByteArray mFolder;
    QByteArray mImage;
    bool mMounted = false;
};

inline int recycle(const QByteArray& path, QByteArray* recycled = nullptr) {
    QByteArray place;
    const int error = VKPlatform::recycleItem(path, place);
    if (recycled != nullptr) {
        *recycled = place;
    }
    return error;
}

/// The record's text of an item of a bin.
inline QByteArray recordOf(const QByteArray& recycled) {
    const QByteArray bin = VKPlatform::folderOf(VKPlatform::folderOf(recycled)).toByteArray();
    return Disk::contentOf(bin + "/info/" + VKPlatform::lastNameOf(recycled).toByteArray() + ".trashinfo");
}

/// The path in the record; empty when there is none.
inline QByteArray recordedPath(const QByteArray& recycled) {
    return VKPlatform::parseTrashRecord(recordOf(recycled)).path;
}

/// The names in a folder; none when there is no such folder.
inline QByteArrayList namesIfThere(const QByteArray& folder) {
    return Disk::exists(folder) ? Disk::namesIn(folder) : QByteArrayList();
}

} // namespace Recycle
