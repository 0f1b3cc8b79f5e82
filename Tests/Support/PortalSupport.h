// A user's session of the test's own: message bus, document portal, and applications in sandboxes as Flatpak makes
// them. Everything ends with its object; processes are ended by their numbers.
#pragma once

#include "Support/DiskSupport.h"

#include <QByteArray>
#include <QByteArrayList>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

extern char** environ;

namespace Portal {

/// A program that runs with pipes to its input and from its output.
class Program {
public:
    explicit Program(const QByteArrayList& words) {
        std::array<int, 2> in = {};
        std::array<int, 2> out = {};
        Disk::must(::pipe2(in.data(), O_CLOEXEC) == 0 && ::pipe2(out.data(), O_CLOEXEC) == 0, "pipe",
                   words.first());
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        std::vector<char*> arguments;
        for (const QByteArray& word : words) {
            arguments.push_back(const_cast<char*>(word.constData()));
        }
        arguments.push_back(nullptr);
        if (::posix_spawnp(&mPid, arguments.front(), &actions, nullptr, arguments.data(), environ) != 0) {
            mPid = -1;
        }
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(in[0]);
        ::close(out[1]);
        mInput = in[1];
        mOutput = out[0];
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program() { end(SIGKILL); }

    /// The next line of its output, without its end; empty when there is none within half a minute.
    [[nodiscard]] QByteArray readLine() {
        while (!mRead.contains('\n')) {
            pollfd ready = {mOutput, POLLIN, 0};
            std::array<char, 4096> block = {};
            constexpr int kMilliseconds = 30000;
            const ssize_t got =
                ::poll(&ready, 1, kMilliseconds) == 1 ? ::read(mOutput, block.data(), block.size()) : 0;
            if (got <= 0) {
                return QByteArray();
            }
            mRead.append(block.data(), got);
        }
        const qsizetype end = mRead.indexOf('\n');
        const QByteArray line = mRead.first(end);
        mRead.remove(0, end + 1);
        return line;
    }

    /// Writes a line and waits for the answer's.
    [[nodiscard]] QByteArray ask(const QByteArray& line) {
        const QByteArray sent = line + '\n';
        return ::write(mInput, sent.constData(), static_cast<std::size_t>(sent.size())) == sent.size()
                   ? readLine()
                   : QByteArray();
    }

    void end(int signal) {
        if (mPid > 0) {
            ::kill(mPid, signal);
            int status = 0;
            ::waitpid(mPid, &status, 0);
            ::close(mInput);
            ::close(mOutput);
        }
        mPid = -1;
    }

    /// Closes its input and waits for it: what wait() tells.
    [[nodiscard]] int finish() {
        int status = -1;
        ::close(mInput);
        ::waitpid(mPid, &status, 0);
        ::close(mOutput);
        mPid = -1;
        return status;
    }

private:
    pid_t mPid = -1;
    int mInput = -1;
    int mOutput = -1;
    QByteArray mRead;
};

/// Whether something is mounted at the place.
inline bool isMounted(const QByteArray& place) {
    return Disk::contentOf("/proc/self/mountinfo").contains(QByteArray(' ' + place + ' '));
}

/// Waits until a mount is there, or is not, woken by the kernel's word on changes of the mount table.
inline bool waitForMount(const QByteArray& place, bool isThere) {
    const int table = ::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC);
    bool isDone = isMounted(place) == isThere;
    pollfd changed = {table, POLLPRI | POLLERR, 0};
    constexpr int kMilliseconds = 30000;
    while (!isDone && ::poll(&changed, 1, kMilliseconds) > 0) {
        isDone = isMounted(place) == isThere;
    }
    ::close(table);
    return isDone;
}

/// The bus and the portal, for this process and those that it starts. $XDG_RUNTIME_DIR and $HOME have to be the
/// test's own.
class Session {
public:
    Session()
        : mBus({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address=1",
                "--address=unix:path=" + qgetenv("XDG_RUNTIME_DIR") + "/bus"}),
          mDocuments(qgetenv("XDG_RUNTIME_DIR") + "/doc") {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + qgetenv("XDG_RUNTIME_DIR") + "/bus");
        mIsUp = !mBus.readLine().isEmpty();
        if (mIsUp) {
            startPortal();
        }
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() {
        stopPortal();
        mBus.end(SIGTERM);
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }

    [[nodiscard]] static bool canBeMade() {
        return Disk::exists("/usr/bin/dbus-daemon") && Disk::exists("/usr/libexec/xdg-document-portal") &&
               Disk::exists("/usr/bin/bwrap") && Disk::exists("/dev/fuse");
    }

    [[nodiscard]] bool isUp() const { return mIsUp; }
    [[nodiscard]] const QByteArray& documents() const { return mDocuments; }

    void stopPortal() {
        if (mPortal != nullptr) {
            mPortal->end(SIGTERM);
            mPortal.reset();
            if (isMounted(mDocuments)) {
                ::umount2(mDocuments.constData(), MNT_DETACH);
            }
        }
    }

    void startPortal() {
        mPortal = std::make_unique<Program>(QByteArrayList{"/usr/libexec/xdg-document-portal", "-r"});
        mIsUp = waitForMount(mDocuments, true);
    }

private:
    Program mBus;
    QByteArray mDocuments;
    std::unique_ptr<Program> mPortal;
    bool mIsUp = false;
};

inline QByteArray thisProgram() {
    std::array<char, 4096> target = {};
    const ssize_t size = ::readlink("/proc/self/exe", target.data(), target.size());
    Disk::must(size > 0, "readlink", "/proc/self/exe");
    return QByteArray(target.data(), size);
}

/// What a sanitizer's runtime has to find in the sandbox too: the list that TSAN_OPTIONS names.
inline QByteArrayList sanitizerFiles() {
    constexpr QByteArrayView kKey("suppressions=");
    const QByteArray options = qgetenv("TSAN_OPTIONS");
    const qsizetype key = options.indexOf(kKey);
    if (key < 0) {
        return {};
    }
    const QByteArray rest = options.sliced(key + kKey.size());
    const QByteArray file = rest.first(rest.indexOf(':') < 0 ? rest.size() : rest.indexOf(':'));
    return {"--ro-bind", file, file};
}

/// The words that run `program`, which becomes /app/program, as an application in a sandbox: it sees the system's
/// programs, and of the user's files only its documents. `folder` takes the file that says so.
inline QByteArrayList sandboxed(const QByteArray& application, const QByteArray& folder,
                                const QByteArray& program, const QByteArrayList& arguments) {
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    const QByteArray info = folder + "/flatpak-info-" + application;
    Disk::makeFile(info, "[Application]\nname=" + application +
                             "\nruntime=runtime/org.example.Platform/x86_64/1\n\n[Instance]\ninstance-id=1\n"
                             "app-path=/app\nruntime-path=/usr\nflatpak-version=1.14.10\n\n"
                             "[Context]\nshared=network;\n");
    return QByteArrayList{"bwrap",          "--ro-bind",
                          "/usr",           "/usr",
                          "--symlink",      "usr/lib",
                          "/lib",           "--symlink",
                          "usr/lib64",      "/lib64",
                          "--symlink",      "usr/bin",
                          "/bin",           "--ro-bind",
                          "/etc",           "/etc",
                          "--proc",         "/proc",
                          "--dev",          "/dev",
                          "--tmpfs",        "/tmp",
                          "--ro-bind",      info,
                          "/.flatpak-info", "--ro-bind",
                          program,          "/app/program",
                          "--dir",          runtime,
                          "--bind",         runtime + "/doc/by-app/" + application,
                          runtime + "/doc", "--bind",
                          runtime + "/bus", runtime + "/bus",
                          "--unshare-pid",  "--die-with-parent"} +
           sanitizerFiles() + QByteArrayList{"/app/program"} + arguments;
}

} // namespace Portal
