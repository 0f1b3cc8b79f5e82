// user-dirs.dirs and the variables of the base folders, as any program or user may have written them: what comes out
// is absolute, and a setting that is written down reads back.

#include "FuzzSupport.h"

#include "Platform/UserFolders.h"

namespace {

using namespace VKPlatform;
using State = UserFolderSetting::State;

QString shown(QByteArrayView bytes) { return QString::fromLatin1(bytes.toByteArray().toPercentEncoding()); }

QByteArray quoted(QByteArray path) { return path.replace("\\", "\\\\").replace("\"", "\\\""); }

void checkPath(const QByteArray& path, const QByteArray& evidence) {
    require(path.startsWith('/') && !path.contains('\0') && path.size() <= kUserFolderPathLimit &&
                (path == "/" || !path.endsWith('/')),
            "a folder is absolute, without a final slash", {shown(path), shown(evidence)});
}

void checkSettings(const QByteArray& text, const QByteArray& home) {
    for (const UserFolder kind : {UserFolder::Desktop, UserFolder::Documents, UserFolder::Downloads,
                                  UserFolder::Music, UserFolder::Pictures, UserFolder::Videos}) {
        const UserFolderSetting setting = parseUserFolder(text, kind, home);
        require((setting.state == State::Set) == !setting.path.isEmpty(),
                "a path when it is set, and only then", {shown(text)});
        require(text.size() <= kUserFoldersFileLimit || setting.state == State::NotSet,
                "a text beyond the limit says nothing");
        if (setting.state != State::Set) {
            continue;
        }
        checkPath(setting.path, text);
        require(setting.path != home, "the home folder is no folder of its own", {shown(text)});
        // A line break inside quotes is not read, so that no path has one.
        require(!setting.path.contains('\n') || home.contains('\n'), "a path is on one line", {shown(text)});
        const QByteArray line = "XDG_PICTURES_DIR=\"" + quoted(setting.path) + "\"\n";
        if (!setting.path.contains('\n')) {
            require(parseUserFolder(line, UserFolder::Pictures, home) == setting, "a setting reads back",
                    {shown(line)});
        }
        // What follows on lines of its own changes nothing, unless it is understood.
        const UserFolderSetting after =
            parseUserFolder(QByteArray(text + "\n# XDG_MUSIC_DIR=\"/x\"\n"), kind, home);
        require(text.size() + 23 > kUserFoldersFileLimit || after == setting, "a comment changes nothing",
                {shown(text)});
    }
}

void checkVariables(const QByteArray& value) {
    const QByteArray folder = absoluteFolder(value, "/fall/back");
    require(folder.startsWith('/') && (folder == "/" || !folder.endsWith('/')), "a base folder is absolute",
            {shown(value)});
    require(absoluteFolder(folder, {}) == folder, "once more changes nothing", {shown(value)});
    const QByteArrayList folders = absoluteFolders(value, {"/fall/back"});
    require(!folders.isEmpty(), "there is always a shared folder", {shown(value)});
    for (const QByteArray& one : folders) {
        require(one.startsWith('/') && !one.contains(':') && folders.count(one) == 1,
                "each is absolute and there once", {shown(value)});
    }
    require(absoluteFolders(folders.join(':'), {}) == folders, "the list reads back", {shown(value)});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const QByteArray home = absoluteFolder(input.bytes(), "/home/a");
    const QByteArray text = input.rest();
    if (!home.contains('\0') && home.size() < kUserFolderPathLimit) {
        checkSettings(text, home);
    }
    checkVariables(text);
    return 0;
}
