// What the environment's variables and the text of user-dirs.dirs mean.
#include "Platform/UserFolders.h"

namespace VKPlatform {

namespace {

QByteArrayView nameOf(UserFolder kind) {
    switch (kind) {
    case UserFolder::Desktop:
        return "DESKTOP";
    case UserFolder::Documents:
        return "DOCUMENTS";
    case UserFolder::Downloads:
        return "DOWNLOAD";
    case UserFolder::Music:
        return "MUSIC";
    case UserFolder::Pictures:
        return "PICTURES";
    case UserFolder::Videos:
        return "VIDEOS";
    }
    return QByteArrayView();
}

void skipBlanks(QByteArrayView& text) {
    while (!text.isEmpty() && (text.front() == ' ' || text.front() == '\t')) {
        text = text.sliced(1);
    }
}

bool skip(QByteArrayView& text, QByteArrayView expected) {
    if (!text.startsWith(expected)) {
        return false;
    }
    text = text.sliced(expected.size());
    return true;
}

QByteArray withoutFinalSlashes(QByteArray path) {
    while (path.size() > 1 && path.endsWith('/')) {
        path.chop(1);
    }
    return path;
}

/// What stands between the quotes, as the shell reads it: a backslash takes the next character as it is. Nothing
/// when the closing quote is missing.
std::optional<QByteArray> unquoted(QByteArrayView text) {
    QByteArray value;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == '"') {
            return value;
        }
        if (text[i] == '\\' && ++i == text.size()) {
            break;
        }
        value += text[i];
    }
    return std::nullopt;
}

/// The quoted value of a line about this kind, with what stands before it in the quotes as `homeRelative`.
std::optional<QByteArray> valueOf(QByteArrayView line, QByteArrayView name, bool& homeRelative) {
    skipBlanks(line);
    if (!skip(line, "XDG_") || !skip(line, name) || !skip(line, "_DIR")) {
        return std::nullopt;
    }
    skipBlanks(line);
    if (!skip(line, "=")) {
        return std::nullopt;
    }
    skipBlanks(line);
    if (!skip(line, "\"")) {
        return std::nullopt;
    }
    homeRelative = skip(line, "$HOME");
    return unquoted(line);
}

UserFolderSetting settingOf(QByteArrayView line, QByteArrayView name, const QByteArray& home) {
    bool homeRelative = false;
    const std::optional<QByteArray> value = valueOf(line, name, homeRelative);
    if (!value || value->contains('\0')) {
        return {};
    }
    // "$HOMEx" is another variable, which nobody has told.
    const bool understood = value->startsWith('/') || (homeRelative && value->isEmpty());
    if (!understood) {
        return {};
    }
    const QByteArray prefix = homeRelative && home != "/" ? home : QByteArray();
    const QByteArray path = withoutFinalSlashes(prefix + *value);
    if (path.size() > kUserFolderPathLimit) {
        return {};
    }
    if (path.isEmpty() || path == home) {
        return {UserFolderSetting::State::SwitchedOff, {}};
    }
    return {UserFolderSetting::State::Set, path};
}

} // namespace

UserFolderSetting parseUserFolder(QByteArrayView text, UserFolder kind, const QByteArray& home) {
    UserFolderSetting result;
    if (text.size() > kUserFoldersFileLimit) {
        return result;
    }
    while (!text.isEmpty()) {
        const qsizetype end = text.indexOf('\n');
        const QByteArrayView line = end < 0 ? text : text.first(end);
        text = end < 0 ? QByteArrayView() : text.sliced(end + 1);
        UserFolderSetting setting = settingOf(line, nameOf(kind), home);
        if (setting.state != UserFolderSetting::State::NotSet) {
            result = std::move(setting);
        }
    }
    return result;
}

QByteArray absoluteFolder(QByteArrayView value, const QByteArray& fallback) {
    return value.startsWith('/') ? withoutFinalSlashes(value.toByteArray()) : fallback;
}

QByteArrayList absoluteFolders(QByteArrayView value, const QByteArrayList& fallback) {
    QByteArrayList folders;
    for (const QByteArray& part : value.toByteArray().split(':')) {
        const QByteArray folder = absoluteFolder(part, QByteArray());
        if (!folder.isEmpty() && !folders.contains(folder)) {
            folders.append(folder);
        }
    }
    return folders.isEmpty() ? fallback : folders;
}

} // namespace VKPlatform
