// Where this user's folders lie: the base folders that programs keep their data in, and those that the desktop
// keeps for the user's own files (Pictures, Desktop, ...), whose place and name the user decides.
//
// The base folders follow the freedesktop.org base directory specification, the others "user-dirs.dirs" of
// xdg-user-dirs, of which a line is XDG_PICTURES_DIR="$HOME/Bilder". Paths are bytes, absolute, without a "/" at
// the end. Nothing is cached: the environment and the file are looked at by each call. Any thread.
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QByteArrayView>

#include <cstdint>
#include <optional>

namespace VKPlatform {

/// $HOME if it is absolute, otherwise what the user database says. Empty when neither tells.
[[nodiscard]] QByteArray homeFolder();

/// $XDG_DATA_HOME, $XDG_CONFIG_HOME, $XDG_CACHE_HOME, or the folder in the home folder that stands for them.
/// Empty without a home folder.
[[nodiscard]] QByteArray userDataFolder();
[[nodiscard]] QByteArray userSettingsFolder();
[[nodiscard]] QByteArray userCacheFolder();

/// $XDG_DATA_DIRS, the most important one first: /usr/local/share and /usr/share where it says nothing.
[[nodiscard]] QByteArrayList sharedDataFolders();

/// $TMPDIR if it is absolute and there, or can be made; otherwise /tmp.
[[nodiscard]] QByteArray temporaryFolder();

/// Makes the folder and those above it that are missing, for this user alone (mode 0700). errno, 0 when it is
/// there, ENOTDIR or EEXIST when something else is. Folders made before a failure stay: they are empty and
/// another program may use them already.
[[nodiscard]] int makePrivateFolder(const QByteArray& path);

/// 0 when there is a folder or a link to one; ENOTDIR for anything else; otherwise errno.
[[nodiscard]] int isFolderThere(const QByteArray& path);

enum class UserFolder : std::uint8_t { Desktop, Documents, Downloads, Music, Pictures, Videos };

/// The user's folder of that kind, which need not exist. Nothing when the user has switched it off, or without a
/// home folder. Without a word about it in user-dirs.dirs, or without that file, the folder with the English
/// name in the home folder.
[[nodiscard]] std::optional<QByteArray> userFolder(UserFolder kind);

// The rules, pure.

/// The longest user-dirs.dirs that is read; what is longer counts as none at all.
inline constexpr qsizetype kUserFoldersFileLimit = qsizetype{64} * 1024;
/// The longest path in it: what a system call takes.
inline constexpr qsizetype kUserFolderPathLimit = 4095;

struct UserFolderSetting {
    enum class State : std::uint8_t {
        NotSet,
        SwitchedOff, ///< the home folder itself
        Set,
    };
    State state = State::NotSet;
    QByteArray path = {}; ///< only when set

    friend bool operator==(const UserFolderSetting&, const UserFolderSetting&) = default;
};

/// What the text of user-dirs.dirs says about one kind. The last line that can be understood decides; `home` has
/// no "/" at its end, but for the root.
///
///     XDG_PICTURES_DIR="$HOME/Bilder"   -> /home/a/Bilder      XDG_PICTURES_DIR="/srv/p/"  -> /srv/p
///     XDG_PICTURES_DIR="$HOME/"         -> switched off        XDG_PICTURES_DIR="rel"      -> not set
///     XDG_PICTURES_DIR="$HOME/a \"b\""  -> /home/a/a "b"       # XDG_PICTURES_DIR="/x"     -> not set
[[nodiscard]] UserFolderSetting parseUserFolder(QByteArrayView text, UserFolder kind, const QByteArray& home);

/// The value of a base folder variable if it is absolute, otherwise `fallback`; without "/" at its end.
[[nodiscard]] QByteArray absoluteFolder(QByteArrayView value, const QByteArray& fallback);

/// The absolute ones of the paths between ":", in order, each once; `fallback` when there is none.
[[nodiscard]] QByteArrayList absoluteFolders(QByteArrayView value, const QByteArrayList& fallback);

} // namespace VKPlatform
