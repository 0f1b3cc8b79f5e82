// The environment, the user database and user-dirs.dirs.
#include "Platform/UserFolders.h"

#include "Platform/ReadableFile.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

constexpr mode_t kPrivate = 0700;

QByteArrayView variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? QByteArrayView() : QByteArrayView(value);
}

QByteArray homeInUserDatabase() {
    std::array<char, 16384> buffer{};
    passwd record{};
    passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &record, buffer.data(), buffer.size(), &found) != 0 || found == nullptr ||
        found->pw_dir == nullptr) {
        return QByteArray();
    }
    return absoluteFolder(found->pw_dir, QByteArray());
}

QByteArray inHome(const char* name) {
    const QByteArray home = homeFolder();
    if (home.isEmpty()) {
        return QByteArray();
    }
    return (home == "/" ? QByteArray() : home) + '/' + name;
}

const char* englishName(UserFolder kind) {
    switch (kind) {
    case UserFolder::Desktop:
        return "Desktop";
    case UserFolder::Documents:
        return "Documents";
    case UserFolder::Downloads:
        return "Downloads";
    case UserFolder::Music:
        return "Music";
    case UserFolder::Pictures:
        return "Pictures";
    case UserFolder::Videos:
        return "Videos";
    }
    return "";
}

/// The text of user-dirs.dirs; empty when there is none or it is too long to be one.
QByteArray userFoldersText() {
    const QByteArray settings = userSettingsFolder();
    ReadableFile file;
    if (settings.isEmpty() || file.open(settings + "/user-dirs.dirs") != 0) {
        return QByteArray();
    }
    // One byte more than the limit, which then tells: the size of the file may change while it is read.
    QByteArray text(kUserFoldersFileLimit + 1, Qt::Uninitialized);
    std::size_t count = 0;
    if (file.readAt(0, text.data(), static_cast<std::size_t>(text.size()), count) != 0) {
        return QByteArray();
    }
    text.truncate(static_cast<qsizetype>(count));
    return text;
}

/// 0 when it was made or was there already.
int makeOneFolder(const char* path) {
    if (::mkdir(path, kPrivate) == 0) {
        return 0;
    }
    // A folder that is there may answer EROFS or EACCES before EEXIST on some file systems.
    const int error = errno;
    return isFolderThere(path) == 0 ? 0 : error;
}

} // namespace

QByteArray homeFolder() {
    const QByteArray home = absoluteFolder(variable("HOME"), QByteArray());
    return home.isEmpty() ? homeInUserDatabase() : home;
}

QByteArray userDataFolder() { return absoluteFolder(variable("XDG_DATA_HOME"), inHome(".local/share")); }

QByteArray userSettingsFolder() { return absoluteFolder(variable("XDG_CONFIG_HOME"), inHome(".config")); }

QByteArray userCacheFolder() { return absoluteFolder(variable("XDG_CACHE_HOME"), inHome(".cache")); }

QByteArrayList sharedDataFolders() {
    return absoluteFolders(variable("XDG_DATA_DIRS"), {"/usr/local/share", "/usr/share"});
}

QByteArray temporaryFolder() {
    const QByteArray folder = absoluteFolder(variable("TMPDIR"), "/tmp");
    return makePrivateFolder(folder) == 0 ? folder : QByteArray("/tmp");
}

int makePrivateFolder(const QByteArray& path) {
    if (path.isEmpty()) {
        return ENOENT;
    }
    if (isFolderThere(path) == 0) {
        return 0;
    }
    QByteArray part = path;
    for (qsizetype slash = path.indexOf('/', 1); slash > 0; slash = path.indexOf('/', slash + 1)) {
        part[slash] = '\0';
        const int error = makeOneFolder(part.constData());
        if (error != 0) {
            return error;
        }
        part[slash] = '/';
    }
    return makeOneFolder(part.constData());
}

int isFolderThere(const QByteArray& path) {
    struct stat record;
    if (::stat(path.constData(), &record) != 0) {
        return errno;
    }
    return S_ISDIR(record.st_mode) ? 0 : ENOTDIR;
}

std::optional<QByteArray> userFolder(UserFolder kind) {
    const QByteArray home = homeFolder();
    if (home.isEmpty()) {
        return std::nullopt;
    }
    UserFolderSetting setting = parseUserFolder(userFoldersText(), kind, home);
    switch (setting.state) {
    case UserFolderSetting::State::Set:
        return std::move(setting.path);
    case UserFolderSetting::State::SwitchedOff:
        return std::nullopt;
    case UserFolderSetting::State::NotSet:
        break;
    }
    return inHome(englishName(kind));
}

} // namespace VKPlatform
