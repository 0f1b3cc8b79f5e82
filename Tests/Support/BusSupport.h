// A system bus of the test's own, the real disk service on it, and a stand-in with drives that this machine lacks.
#pragma once

#include "Support/DiskSupport.h"
#include "Support/MountSupport.h"
#include "Support/ProcessSupport.h"
#include "Support/ShellCommand.h"

#include <QByteArray>

#include <memory>

namespace Bus {

/// Asks until the command succeeds, as long as the program lives, for a minute at most.
inline bool comesTrue(const QByteArray& command, const Processes::Running& program) {
    // One that has ended is there until its end is taken, without its words.
    const QByteArray words = "/proc/" + QByteArray::number(program.pid()) + "/cmdline";
    return Shell::outputOf("timeout 60 sh -c 'until " + command + "; do grep -q . " + words +
                           " || exit 1; done' >/dev/null 2>&1")
               .status == 0;
}

/// As long as the object lives, the system bus of this program and its children is one of its own.
class SystemBus {
public:
    explicit SystemBus(const QByteArray& folder)
        : mFolder(folder), mBefore(qgetenv("DBUS_SYSTEM_BUS_ADDRESS")) {
        Disk::makeFile(
            folder + "/bus.conf",
            "<busconfig><type>system</type><listen>unix:path=" + folder +
                "/bus</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow user=\"*\"/>"
                "<allow own=\"*\"/><allow send_destination=\"*\"/><allow send_type=\"method_call\"/>"
                "<allow receive_sender=\"*\"/></policy></busconfig>\n");
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + folder + "/bus");
        mDaemon = std::make_unique<Processes::Running>(
            QByteArrayList{"dbus-daemon", "--config-file=" + folder + "/bus.conf", "--nofork", "--nopidfile"},
            folder + "/bus.log");
        // The client waits for nothing; the socket appears with the daemon.
        mReady = comesTrue("gdbus call --system --dest org.freedesktop.DBus --object-path / "
                           "--method org.freedesktop.DBus.GetId",
                           *mDaemon);
    }
    SystemBus(const SystemBus&) = delete;
    SystemBus& operator=(const SystemBus&) = delete;
    ~SystemBus() {
        mDaemon.reset();
        if (mBefore.isNull()) {
            qunsetenv("DBUS_SYSTEM_BUS_ADDRESS");
        } else {
            qputenv("DBUS_SYSTEM_BUS_ADDRESS", mBefore);
        }
    }

    [[nodiscard]] static bool canBeMade() {
        return Disk::exists("/usr/bin/dbus-daemon") && Disk::exists("/usr/bin/gdbus");
    }

    [[nodiscard]] bool isReady() const { return mReady; }
    [[nodiscard]] const QByteArray& folder() const { return mFolder; }
    [[nodiscard]] Processes::Running& daemon() { return *mDaemon; }

    /// Waits until a service has the name on the bus.
    [[nodiscard]] static bool waitFor(const QByteArray& name) {
        return Shell::outputOf("gdbus wait --system --timeout 60 " + name + " 2>&1").status == 0;
    }

private:
    QByteArray mFolder;
    QByteArray mBefore;
    bool mReady = false;
    std::unique_ptr<Processes::Running> mDaemon;
};

/// The number of a device as the service tells it.
inline QByteArray numberOf(const QByteArray& device) {
    struct stat record;
    Disk::must(::stat(device.constData(), &record) == 0, "stat", device);
    return QByteArray::number(qulonglong(record.st_rdev));
}

/// The stand-in: one disk with the device number, mounted at the place. `behaviour` is what Unmount does: "ok"
/// unmounts, "busy", "dismissed" and "forbidden" refuse, "silent" never answers anything.
class FakeDiskService {
public:
    FakeDiskService(const SystemBus& bus, const QByteArrayList& words)
        : mService(QByteArrayList{"/usr/bin/python3", VKQT_FAKE_DISK_SERVICE} + words,
                   bus.folder() + "/fake.log"),
          mReady(SystemBus::waitFor("org.freedesktop.UDisks2")) {}

    [[nodiscard]] static bool canBeMade() {
        return SystemBus::canBeMade() &&
               Shell::outputOf("/usr/bin/python3 -c 'import dbus, gi' 2>&1").status == 0;
    }

    [[nodiscard]] bool isReady() const { return mReady; }
    [[nodiscard]] Processes::Running& process() { return mService; }

private:
    Processes::Running mService;
    bool mReady;
};

/// A file system on a loop device, mounted at "m" in the folder, and a system bus on which the stand-in tells of it.
/// Needs root.
class ServedDisk {
public:
    ServedDisk(const QByteArray& folder, const QByteArray& behaviour, const QByteArrayList& properties = {},
               const char* format = "mkfs.ext4 -q")
        : mDisk(folder + "/disk", format, 8), mMounted(mDisk.device(), folder + "/m"), mBus(folder),
          mService(mBus, QByteArrayList{numberOf(mDisk.device()), mMounted.place(), behaviour} + properties) {
    }

    [[nodiscard]] static bool canBeMade() {
        return FakeDiskService::canBeMade() && Disk::isRoot() && Disk::exists("/dev/loop-control");
    }

    [[nodiscard]] bool isReady() const { return mMounted.isMounted() && mService.isReady(); }
    [[nodiscard]] QByteArray message() const { return mMounted.message(); }
    [[nodiscard]] QByteArray place() const { return mMounted.place(); }

private:
    Mounts::LoopDisk mDisk;
    Mounts::Mounted mMounted;
    SystemBus mBus;
    FakeDiskService mService;
};

#define VKTEST_NEEDS_SERVED_DISK()                                                                           \
    VKTEST_NEEDS(Bus::ServedDisk::canBeMade(),                                                               \
                 "dbus-daemon, gdbus, python3-dbus, python3-gi, root and loop devices")

/// The device manager and the real disk service. Needs root, and mounts of the program's own: the manager writes to
/// /dev/disk and /run/udev.
class RealDiskService {
public:
    explicit RealDiskService(const SystemBus& bus)
        : mDeviceManager({"/lib/systemd/systemd-udevd"}, bus.folder() + "/udevd.log"),
          mDeviceManagerReady(comesTrue("udevadm control --ping", mDeviceManager)),
          mService({"/usr/libexec/udisks2/udisksd"}, bus.folder() + "/udisksd.log"),
          mReady(mDeviceManagerReady && SystemBus::waitFor("org.freedesktop.UDisks2")) {}
    RealDiskService(const RealDiskService&) = delete;
    RealDiskService& operator=(const RealDiskService&) = delete;
    ~RealDiskService() { settle(); }

    [[nodiscard]] static bool canBeMade() {
        return SystemBus::canBeMade() && Disk::isRoot() && Disk::exists("/usr/libexec/udisks2/udisksd") &&
               Disk::exists("/lib/systemd/systemd-udevd") && Disk::exists("/dev/loop-control");
    }

    [[nodiscard]] bool isReady() const { return mReady; }

    /// Until the device manager knows of every device that there is.
    static void settle() { Shell::outputOf("udevadm settle 2>&1"); }

private:
    Processes::Running mDeviceManager;
    bool mDeviceManagerReady;
    Processes::Running mService;
    bool mReady;
};

} // namespace Bus
