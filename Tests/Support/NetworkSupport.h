// A network of a test program's own, in which it is alone: interfaces, cables and routes made with `ip`. It goes with
// the program.
#pragma once

#include "Support/DiskSupport.h"
#include "Support/ShellCommand.h"

#include <QByteArray>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace Networks {

inline bool gIsOwn = false;

/// From here on the program's network is its own, and has a loopback interface that is up; so are its mounts. To be
/// called before threads start, again for a new one. Without the right to, nothing happens, and isOwn() tells.
inline void enterOwnNamespace() {
    if (::unshare(CLONE_NEWNET | CLONE_NEWNS) != 0) {
        return;
    }
    Disk::must(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "make private", "/");
    gIsOwn = Shell::outputOf("ip link set lo up 2>&1").status == 0;
}

inline bool isOwn() { return gIsOwn; }

/// The kernel takes an IPv6 address up after `ip` has ended, also one that is not tried first.
inline bool becomesOwn(const QByteArray& address) {
    for (int tries = 0; tries < 5'000; ++tries) {
        if (Shell::outputOf("ip -6 route get " + address + " 2>&1").text.startsWith("local ")) {
            return true;
        }
    }
    return false;
}

/// The kernel says that a cable is in, or out, after `ip` has ended: until then an interface with a carrier has not the
/// state of one that works, or the other way round.
inline bool cablesAreTold() {
    for (const QByteArray& link : Shell::outputOf("ip -o link show up type veth").text.split('\n')) {
        const bool works = link.contains(" state UP ") || link.contains(" state DORMANT ");
        if (!link.isEmpty() && works != link.contains(",LOWER_UP")) {
            return false;
        }
    }
    return true;
}

inline bool cablesAreToldSoon() {
    for (int tries = 0; tries < 5'000; ++tries) {
        if (cablesAreTold()) {
            return true;
        }
    }
    return false;
}

/// `ip COMMAND`, and so for each line of several; what it does to cables has been told, and "nodad" addresses are in
/// use when it returns. A test whose network cannot be made must not pass.
inline void ip(const QByteArray& commands) {
    for (const QByteArray& command : commands.split('\n')) {
        const Shell::Output done = Shell::outputOf("ip " + command + " 2>&1");
        const bool isOwnSoon = command.endsWith(" nodad");
        if (done.status != 0 || (isOwnSoon && !becomesOwn(command.split(' ')[2].split('/')[0]))) {
            std::fprintf(stderr, "ip %s: %s\n", command.constData(), done.text.constData());
            std::abort();
        }
    }
    Disk::must(!commands.contains("link ") || cablesAreToldSoon(), "wait for", "the cables");
}

/// An interface "v0" and its cable, whose other end is "v1". Both are up; v0 has 10.9.0.2/24.
class Cable {
public:
    Cable() {
        ip("link add v0 type veth peer name v1\nlink set v1 up\naddr add 10.9.0.2/24 dev v0\n"
           "link set v0 up");
    }
    Cable(const Cable&) = delete;
    Cable& operator=(const Cable&) = delete;
    ~Cable() { ip("link del v0"); }

    static void pullOut() { ip("link set v1 down"); }
    static void putIn() { ip("link set v1 up"); }
};

/// The same with a default route by 10.9.0.1, where nobody is.
class Uplink : public Cable {
public:
    Uplink() { ip("route add default via 10.9.0.1"); }
};

/// A tunnel "tun9" with 10.8.0.2/24 that works while the object lives. Needs /dev/net/tun.
class Tunnel {
public:
    Tunnel() : mDevice(::open("/dev/net/tun", O_RDWR | O_CLOEXEC)) {
        ifreq request = {};
        std::memcpy(request.ifr_name, "tun9", 5);
        request.ifr_flags = IFF_TUN | IFF_NO_PI;
        Disk::must(mDevice >= 0 && ::ioctl(mDevice, TUNSETIFF, &request) == 0, "make", "tun9");
        ip("addr add 10.8.0.2/24 dev tun9\nlink set tun9 up");
    }
    Tunnel(const Tunnel&) = delete;
    Tunnel& operator=(const Tunnel&) = delete;
    ~Tunnel() { ::close(mDevice); }

    [[nodiscard]] static bool canBeMade() { return isOwn() && Disk::exists("/dev/net/tun"); }

private:
    int mDevice;
};

} // namespace Networks

/// VKTEST_MAIN in a network of the program's own.
#define VKTEST_MAIN_WITH_OWN_NETWORK(Class)                                                                  \
    int main(int argc, char** argv) {                                                                        \
        Networks::enterOwnNamespace();                                                                       \
        return vkTestRun(argc, argv, [] { return std::unique_ptr<QObject>(std::make_unique<Class>()); });    \
    }
