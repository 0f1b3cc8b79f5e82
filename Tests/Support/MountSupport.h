// Real file systems for tests: on loop devices, bound, network ones without a network. Each is taken away when
// its object goes. They need root, and stand in the test's own folder only.
#pragma once

#include "Support/DiskSupport.h"
#include "Support/ShellCommand.h"

#include <QByteArray>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace Mounts {

/// From here on the program's mounts are its own, and those of other programs stay theirs. So is what a device manager
/// tells: that of the machine, or of another test, tells of a loop device what it held before. Without the right to,
/// nothing happens: such a program mounts nothing either.
inline void enterOwnNamespace() {
    if (::unshare(CLONE_NEWNS) != 0) {
        return;
    }
    Disk::must(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "make private", "/");
    for (const char* told : {"/dev/disk", "/run/udev"}) {
        if (::mkdir(told, 0755) == 0 || errno == EEXIST) {
            Disk::must(::mount("vktest", told, "tmpfs", 0, "mode=755") == 0, "cover", told);
        }
    }
}

/// What `mount OPTIONS PLACE` mounted.
class Mounted {
public:
    Mounted(const QByteArray& options, QByteArray place) : mPlace(std::move(place)) {
        if (!Disk::exists(mPlace)) {
            Disk::makeFolder(mPlace);
        }
        mResult = Shell::outputOf("mount " + options + " '" + mPlace + "' 2>&1");
    }
    Mounted(const Mounted&) = delete;
    Mounted& operator=(const Mounted&) = delete;
    ~Mounted() {
        if (isMounted() && ::umount2(mPlace.constData(), 0) != 0) {
            ::umount2(mPlace.constData(), MNT_DETACH);
        }
    }

    [[nodiscard]] bool isMounted() const { return mResult.status == 0; }
    /// Why not.
    [[nodiscard]] const char* message() const { return mResult.text.constData(); }
    [[nodiscard]] const QByteArray& place() const { return mPlace; }

private:
    QByteArray mPlace;
    Shell::Output mResult;
};

/// A file system in a file beside `place`, on a loop device of its own. `make` is the program that makes it,
/// with its options: "mkfs.ext4 -q -L Card".
class LoopDisk {
public:
    LoopDisk(const QByteArray& place, const QByteArray& make, int megabytes) : mImage(place + ".img") {
        Disk::makeFile(mImage);
        Disk::must(::truncate(mImage.constData(), off_t(megabytes) << 20) == 0, "truncate", mImage);
        const Shell::Output made = Shell::outputOf(make + " '" + mImage + "' 2>&1");
        mMessage = made.text;
        if (made.status != 0) {
            return;
        }
        const Shell::Output set = Shell::outputOf("losetup -f --show '" + mImage + "' 2>&1");
        mMessage = set.text;
        if (set.status == 0) {
            mDevice = set.text.trimmed();
        }
    }
    LoopDisk(const LoopDisk&) = delete;
    LoopDisk& operator=(const LoopDisk&) = delete;
    ~LoopDisk() {
        if (isReady()) {
            Shell::outputOf("losetup -d " + mDevice + " 2>&1");
        }
    }

    [[nodiscard]] bool isReady() const { return !mDevice.isEmpty(); }
    [[nodiscard]] const char* message() const { return mMessage.constData(); }
    [[nodiscard]] const QByteArray& device() const { return mDevice; }

private:
    QByteArray mImage;
    QByteArray mDevice;
    QByteArray mMessage;
};

/// A network file system whose server is a program on this machine: type "fuse.sshfs", source
/// "anna@nas:FOLDER/server".
class NetworkDisk {
public:
    explicit NetworkDisk(const QByteArray& folder) : mFolder(folder) {
        Disk::makeFolder(folder + "/server");
        Disk::makeFolder(folder + "/mount");
        Disk::makeFile(folder + "/connect",
                       "#!/bin/sh\necho $$ >'" + folder + "/pid'\nexec /usr/lib/openssh/sftp-server\n");
        Disk::must(::chmod(Disk::text(folder + "/connect"), 0755) == 0, "chmod", folder);
        mResult = Shell::outputOf("sshfs -o ssh_command='" + folder + "/connect' '" + source() + "' '" +
                                  place() + "' 2>&1");
    }
    NetworkDisk(const NetworkDisk&) = delete;
    NetworkDisk& operator=(const NetworkDisk&) = delete;
    ~NetworkDisk() {
        if (!isMounted()) {
            return;
        }
        // A stopped server would keep whoever waits for it.
        signalServer(SIGCONT);
        ::umount2(place().constData(), MNT_DETACH);
        signalServer(SIGKILL);
    }

    /// What has to be installed.
    [[nodiscard]] static bool canBeMade() {
        return Disk::isRoot() && Disk::exists("/dev/fuse") && Disk::exists("/usr/bin/sshfs") &&
               Disk::exists("/usr/lib/openssh/sftp-server");
    }

    [[nodiscard]] bool isMounted() const { return mResult.status == 0; }
    [[nodiscard]] const char* message() const { return mResult.text.constData(); }
    [[nodiscard]] QByteArray place() const { return mFolder + "/mount"; }
    [[nodiscard]] QByteArray source() const { return "anna@nas:" + mFolder + "/server"; }

    /// Ends the program between the kernel and the server: the mount stays, with nobody behind it.
    void killClient() const {
        for (const QByteArray& name : Disk::namesIn("/proc")) {
            const QByteArray words = Disk::contentOf("/proc/" + name + "/cmdline");
            if (name.toInt() > 1 && words.startsWith("sshfs") && words.contains(place())) {
                ::kill(static_cast<pid_t>(name.toInt()), SIGKILL);
            }
        }
    }

    /// SIGSTOP makes it a server that does not answer.
    void signalServer(int number) const {
        const pid_t pid = static_cast<pid_t>(Disk::contentOf(mFolder + "/pid").trimmed().toInt());
        if (pid > 1) {
            ::kill(pid, number);
        }
    }

private:
    QByteArray mFolder;
    Shell::Output mResult;
};

} // namespace Mounts

/// VKTEST_MAIN in a mount namespace of the program's own.
#define VKTEST_MAIN_WITH_OWN_MOUNTS(Class)                                                                   \
    int main(int argc, char** argv) {                                                                        \
        Mounts::enterOwnNamespace();                                                                         \
        return vkTestRun(argc, argv, [] { return std::unique_ptr<QObject>(std::make_unique<Class>()); });    \
    }
