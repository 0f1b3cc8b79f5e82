// Volumes: what is mounted that a person would call one, what is known about each, and the system's word when
// that changes. The list is the kernel's mount table: a dead server is never waited for longer than half a
// second, and no automatic mount is set off. Any thread.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKStatus.h>

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

/// One volume. Texts show U+FFFD for bytes that are not UTF-8; the URL holds the bytes.
struct VKVolume {
    VKCFRef<CFURLRef> url; ///< the folder where it is mounted
    QString place;         ///< the same as text, as paths show it
    QString name;          ///< that a person knows it by; never empty
    QString type;          ///< of the file system, as the system calls it: "ext4", "fuse.sshfs"
    QString source;        ///< the device or the share
    QString uuid;          ///< see VKFileMgrGetVolumeUUIDCopy(); empty when it has none
    bool isSystem = false; ///< the one that holds the system: "/"
    bool isNetwork = false;
    bool isReadOnly = false;  ///< mounted so
    bool isRemovable = false; ///< see VKVolumeGetEjectable()
    bool isOnline = false;    ///< false when a server does not answer within half a second, or has gone
    bool isSpaceKnown = false;
    std::uint64_t totalBytes = 0;
    std::uint64_t freeBytes = 0; ///< that this process may still use
};

/// How much VKVolumesGetList() finds out. Places asks nobody but the kernel.
enum class VKVolumeDetail : std::uint8_t {
    Places,     ///< url, place, type, source, isSystem, isNetwork, isReadOnly
    Everything, ///< also the device manager, the disk service and each file system
};

/// The volumes in the order of the mount table. `*volumes` is empty after a failure: 1005 for null, otherwise
/// the errno.
///
/// "/" is always one. Left out are file systems without files of a user (proc, tmpfs ...), what desktops and
/// containers mount for themselves, the folders of the system (/boot, /usr, /var, /run but /run/media ...),
/// hidden folders, and second mounts of one file system. The mount options x-gvfs-hide and x-gvfs-show decide
/// against all of that but "/".
VKCORE_EXPORT VKStatus VKVolumesGetList(VKVolumeDetail detail, std::vector<VKVolume>* volumes);

/// The URL of the volume that is mounted at exactly this place, by the mount table alone: no file system is asked,
/// so that a dead server's volume has one. Null when nothing is mounted there. The caller releases it.
VKCORE_EXPORT CFURLRef VKVolumesCreateURL(CFStringRef place);

/// By what a volume can be known again, best first.
struct VKVolumeIdentity {
    VKCFRef<CFURLRef> root;   ///< the folder where the volume is mounted as a whole, if it is
    QString uuid;             ///< as VKFileMgrGetVolumeUUIDCopy() tells it
    QByteArray networkSource; ///< the server and share of a network volume; empty for others
    bool hasMedium = false;   ///< it lies on a device of this machine, which a marker could be written on
};

/// The identity of the volume that holds the item, which need not be its root. 1005 for null pointers, 1002
/// when the URL names no file, 2 when there is no such item or its volume cannot be told. `*identity` changes
/// only on success. Below the root of a volume that another program or machine serves nothing is looked up: the
/// path's text decides, whether or not the item exists.
VKCORE_EXPORT VKStatus VKVolumeGetIdentity(CFURLRef url, VKVolumeIdentity* identity);

/// The content of the marker file ".browse" in a volume's root: its first 255 bytes, up to the first zero byte.
/// Statuses: 1005 for null, 1002 when the URL names no file, otherwise the errno, 2 when there is no marker.
VKCORE_EXPORT VKStatus VKVolumeReadMarker(CFURLRef root, QByteArray* content);

/// Creates the marker with an identifier. It appears whole or not at all; 17 when there is one already, so that
/// of several processes exactly one succeeds and the others read its marker.
VKCORE_EXPORT VKStatus VKVolumeCreateMarker(CFURLRef root, const QByteArray& identifier);

/// Whether the user can take out the volume that holds the item: its drive or the medium in it is removable, by the
/// desktop's disk service (asked for half a second at most), else by what the kernel says of the device. Statuses
/// and look-up are those of VKVolumeGetIdentity(). `*ejectable` changes only on success; a volume without a device
/// of its own is not ejectable.
VKCORE_EXPORT VKStatus VKVolumeGetEjectable(CFURLRef url, bool* ejectable);

/// Called once, on a thread of the library's, when the unmounting has ended: 0, 16 the volume is in use, 1 no
/// right to, 22 nothing is mounted there, 125 the user refused, or another errno.
using VKVolumeUnmountObserver = void (*)(VKStatus status, void* context);

/// Starts to unmount the volume and does not wait. Its data are stored first, which may take long; never by
/// force. `done` may be null. Statuses of the start: 1005 for a null URL, 1002 when it names no file, 11 when
/// no thread can be had; `done` is then not called. "/" is never unmounted (16, through `done`). A program that
/// ends before `done` is called may take the request along.
VKCORE_EXPORT VKStatus VKVolumeUnmount(CFURLRef url, VKVolumeUnmountObserver done, void* context);

/// Tells when something was mounted or unmounted, also what is no volume. Driven by the system's notifications. One
/// thread at a time.
class VKCORE_EXPORT VKVolumeWatch {
public:
    VKVolumeWatch() noexcept;
    ~VKVolumeWatch();
    VKVolumeWatch(const VKVolumeWatch&) = delete;
    VKVolumeWatch& operator=(const VKVolumeWatch&) = delete;

    /// Starts to watch: 0, or the errno.
    [[nodiscard]] VKStatus open();

    /// A descriptor for poll() or a QSocketNotifier of type Read: readable after a change until acknowledge().
    /// Nothing is to be read from it, and it stays the watch's own. -1 before open().
    [[nodiscard]] int descriptor() const noexcept;

    /// Takes note of all changes so far. Call it before the list is asked for again, so that none is missed.
    void acknowledge();

private:
    struct State;
    std::unique_ptr<State> mState;
};
