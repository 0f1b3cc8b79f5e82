// Real files, folders and users for the tests of what touches the disk. Names are bytes. Everything aborts
// the program when the test's own preparation fails, so that no test passes for want of its material.
#pragma once

#include <QByteArray>
#include <QByteArrayList>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace Disk {

/// For system calls with a path that is put together in place.
inline const char* text(const QByteArray& path) { return path.constData(); }

inline void must(bool done, const char* what, const QByteArray& path) {
    if (!done) {
        std::fprintf(stderr, "%s %s: error %d\n", what, path.constData(), errno);
        std::abort();
    }
}

inline void makeFile(const QByteArray& path, const QByteArray& content = QByteArray()) {
    const int file = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    must(file >= 0, "create", path);
    must(::write(file, content.constData(), static_cast<std::size_t>(content.size())) == content.size(),
         "write", path);
    must(::close(file) == 0, "close", path);
}

inline void makeFolder(const QByteArray& path) { must(::mkdir(path.constData(), 0755) == 0, "mkdir", path); }

inline void makeLink(const QByteArray& path, const QByteArray& target) {
    must(::symlink(target.constData(), path.constData()) == 0, "symlink", path);
}

inline void makeFifo(const QByteArray& path) { must(::mkfifo(path.constData(), 0644) == 0, "mkfifo", path); }

inline QByteArray contentOf(const QByteArray& path) {
    const int file = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return QByteArray();
    }
    QByteArray content(0, Qt::Uninitialized);
    char block[4096];
    for (ssize_t got = 0; (got = ::read(file, block, sizeof block)) > 0;) {
        content.append(block, got);
    }
    ::close(file);
    return content;
}

inline bool exists(const QByteArray& path) {
    struct stat record;
    return ::lstat(path.constData(), &record) == 0;
}

inline unsigned modeOf(const QByteArray& path) {
    struct stat record;
    must(::lstat(path.constData(), &record) == 0, "lstat", path);
    return record.st_mode & 07777U;
}

/// Removes a folder with all below it. The framework's own removal leaves names behind that are not UTF-8.
inline void removeTree(const QByteArray& folder) {
    std::error_code error;
    std::filesystem::remove_all(folder.constData(), error);
    must(!error, "remove", folder);
}

/// The names in a folder by the C library's own reader, sorted, without "." and "..".
inline QByteArrayList namesIn(const QByteArray& folder) {
    QByteArrayList names;
    DIR* stream = ::opendir(folder.constData());
    must(stream != nullptr, "opendir", folder);
    while (const dirent* entry = ::readdir(stream)) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..") {
            names.append(name);
        }
    }
    ::closedir(stream);
    std::sort(names.begin(), names.end());
    return names;
}

inline bool isRoot() { return ::geteuid() == 0; }

/// Runs the function in a child process as a user without privileges; its result, 0 to 255.
inline int asOtherUser(const std::function<int()>& function) {
    const pid_t child = ::fork();
    must(child >= 0, "fork", QByteArray());
    if (child == 0) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) {
            ::_exit(254);
        }
        ::_exit(function());
    }
    int status = 0;
    must(::waitpid(child, &status, 0) == child, "waitpid", QByteArray());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 255;
}

/// Lets other users pass through the folders that lead to a test's own.
inline void openForOthers(QByteArray path) {
    while (path.lastIndexOf('/') > 0) {
        struct stat record;
        if (::stat(path.constData(), &record) == 0 && record.st_uid == ::geteuid()) {
            ::chmod(path.constData(), (record.st_mode & 07777U) | 0011U);
        }
        path.truncate(path.lastIndexOf('/'));
    }
}

/// The process's working folder while the object lives.
class WorkingFolder {
public:
    explicit WorkingFolder(const QByteArray& folder)
        : mBefore(::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC)) {
        must(mBefore >= 0 && ::chdir(folder.constData()) == 0, "chdir", folder);
    }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;
    ~WorkingFolder() {
        must(::fchdir(mBefore) == 0, "fchdir", QByteArray());
        ::close(mBefore);
    }

private:
    int mBefore;
};

inline void makeSocket(const QByteArray& path) {
    // From within its folder, because an address is shorter than a path may be.
    const qsizetype slash = path.lastIndexOf('/');
    const WorkingFolder working(path.first(slash));
    const QByteArray name = path.sliced(slash + 1);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    must(static_cast<std::size_t>(name.size()) < sizeof address.sun_path, "name", path);
    std::copy(name.begin(), name.end(), address.sun_path);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    must(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "bind", path);
    ::close(socket);
}

/// A file system of its own in memory, of the given size, as long as the object lives. Needs root.
class TemporaryFileSystem {
public:
    TemporaryFileSystem(QByteArray folder, const char* options)
        : mFolder(std::move(folder)),
          mMounted(::mount("vktest", mFolder.constData(), "tmpfs", 0, options) == 0) {}
    TemporaryFileSystem(const TemporaryFileSystem&) = delete;
    TemporaryFileSystem& operator=(const TemporaryFileSystem&) = delete;
    ~TemporaryFileSystem() {
        if (mMounted) {
            ::umount2(mFolder.constData(), MNT_DETACH);
        }
    }

    [[nodiscard]] bool isMounted() const { return mMounted; }

private:
    QByteArray mFolder;
    bool mMounted;
};

} // namespace Disk
