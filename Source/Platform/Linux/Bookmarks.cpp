// Puts identity, volume, search and portal together.
#include "Platform/Bookmarks.h"

#include "Platform/BookmarkData.h"
#include "Platform/DocumentPortal.h"
#include "Platform/MountFacts.h"
#include "Platform/MountTable.h"
#include "Platform/Sandbox.h"
#include "Platform/VolumeIdentity.h"

#include <QStringBuilder>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <unistd.h>
#include <vector>

namespace VKPlatform {

namespace {

bool isNotThere(int error) { return error == ENOENT || error == ENOTDIR; }

VolumeMark markOf(const MountEntry& mount) { return {volumeUuid(mount), mount.type, mount.source}; }

/// What follows `folder` in `path`, with its "/"; nothing when the path does not lie in it.
std::optional<QByteArray> below(const QByteArray& path, const QByteArray& folder) {
    if (folder == "/") {
        return path == "/" ? QByteArray() : path;
    }
    if (!path.startsWith(folder) || (path.size() > folder.size() && path.at(folder.size()) != '/')) {
        return std::nullopt;
    }
    return path.sliced(folder.size());
}

/// `rest`, which is empty or begins with "/", behind a folder.
QByteArray under(const QByteArray& folder, const QByteArray& rest) {
    if (rest.isEmpty()) {
        return folder;
    }
    return folder == "/" ? rest : folder + rest;
}

std::vector<MountEntry> mountsNow() {
    std::vector<MountEntry> mounts;
    return mountedFileSystems(mounts) == 0 ? reachableMounts(mounts) : std::vector<MountEntry>();
}

bool isFolder(const QByteArray& path, FileKind kind) {
    FileDetails details;
    return kind == FileKind::Folder ||
           (kind == FileKind::Link && fileDetails(path, LinkRule::Follow, details) == 0 &&
            details.kind == FileKind::Folder);
}

void describeVolume(BookmarkRecord& record) {
    const std::optional<MountEntry> mount = mountHolding(mountsNow(), record.path);
    if (!mount) {
        return;
    }
    record.volume = markOf(*mount);
    const QByteArray path = pathWithoutLinks(record.path);
    if (const auto rest = below(path, mount->place); rest && !path.isEmpty()) {
        record.pathOnVolume = under(mount->root, *rest);
    }
}

/// Whether the mark belongs to one volume alone: every tmpfs is "tmpfs" from "tmpfs".
bool isUnique(const VolumeMark& volume) {
    return !volume.uuid.isEmpty() || isNetworkFileSystem(volume.type, volume.source);
}

/// A place where the bookmark's volume is mounted, and what the bookmark's path would be there.
struct VolumePlace {
    QByteArray top;
    QByteArray path;
};

/// The places of the bookmark's volume, the one that holds its old path first.
std::vector<VolumePlace> placesOf(const BookmarkRecord& record) {
    std::vector<VolumePlace> places;
    for (const MountEntry& mount : mountsNow()) {
        // Most entries of a mount table are of another type: only the others' identifiers are asked for.
        if (record.volume.type != mount.type || !isSameVolume(record.volume, markOf(mount))) {
            continue;
        }
        if (const auto rest = below(record.pathOnVolume, mount.root)) {
            places.push_back({mount.place, under(mount.place, *rest)});
        }
    }
    std::stable_partition(places.begin(), places.end(), [&](const VolumePlace& place) {
        return below(record.path, place.top).has_value();
    });
    return places;
}

class Resolver {
public:
    Resolver(const BookmarkRecord& record, const SearchLimits& limits) : mRecord(record), mLimits(limits) {}

    [[nodiscard]] int atItsPath(ResolvedBookmark& out) {
        mError = identify(mRecord.path, mNow);
        if (mError == 0 && isSameItem(mRecord.identity, mNow)) {
            return answer(mRecord.path, mNow.kind, false, out);
        }
        return mError == 0 ? ENOENT : mError;
    }

    /// After atItsPath() did not find it.
    [[nodiscard]] int elsewhere(ResolvedBookmark& out) {
        if (mError != 0 && !isNotThere(mError)) {
            return mError;
        }
        if (mError == 0 && isReplacedAtItsPath()) {
            return answer(mRecord.path, mNow.kind, true, out);
        }
        if (mRecord.pathOnVolume.isEmpty()) {
            return ENOENT;
        }
        const std::vector<VolumePlace> places = placesOf(mRecord);
        for (const VolumePlace& place : places) {
            if (isAt(place)) {
                return answer(place.path, mRecord.identity.kind, true, out);
            }
        }
        return search(places, out);
    }

private:
    static int answer(const QByteArray& path, FileKind kind, bool isStale, ResolvedBookmark& out) {
        out = {path, isFolder(path, kind), isStale};
        return 0;
    }

    /// Whether the path lies on the bookmark's volume, and not on one that is mounted in front of it.
    [[nodiscard]] bool isOnItsVolume(const QByteArray& path) const {
        const std::optional<MountEntry> mount = mountHolding(mountsNow(), path);
        return mount && isSameVolume(mRecord.volume, markOf(*mount));
    }

    [[nodiscard]] bool isReplacedAtItsPath() const {
        return mNow.kind == mRecord.identity.kind && isOnItsVolume(mRecord.path);
    }

    [[nodiscard]] bool isAt(const VolumePlace& place) const {
        FileIdentity there;
        return identify(place.path, there) == 0 && (isSameItem(mRecord.identity, there) ||
                                                    (there.kind == mRecord.identity.kind &&
                                                     isUnique(mRecord.volume) && isOnItsVolume(place.path)));
    }

    [[nodiscard]] int search(const std::vector<VolumePlace>& places, ResolvedBookmark& out) {
        BookmarkSearch search(mRecord.identity, mLimits);
        for (const VolumePlace& place : places) {
            QByteArray found;
            const int error = search.findBelow(place.top, place.path, found);
            if (error == 0) {
                return answer(found, mRecord.identity.kind, true, out);
            }
            if (error != ENOENT) {
                return error;
            }
        }
        return ENOENT;
    }

    const BookmarkRecord& mRecord;
    const SearchLimits& mLimits;
    FileIdentity mNow;
    int mError = 0;
};

int resolvePath(const BookmarkRecord& record, const SearchLimits& limits, ResolvedBookmark& out) {
    Resolver resolver(record, limits);
    return resolver.atItsPath(out) == 0 ? 0 : resolver.elsewhere(out);
}

/// A bookmark from a sandbox, outside of it.
int resolveOnHost(const DocumentToken& token, ResolvedBookmark& out) {
    QByteArray path;
    if (const int error = hostPathOfDocument(token, path); error != 0) {
        return error;
    }
    FileDetails details;
    if (const int error = fileDetails(path, LinkRule::Keep, details); error != 0) {
        return error;
    }
    out = {path, isFolder(path, details.kind), false};
    return 0;
}

int resolveInSandbox(const BookmarkRecord& record, const DocumentToken& token, ResolvedBookmark& out) {
    const QByteArray folder = documentFolder();
    const QByteArray path = pathOfDocument(token, folder);
    const Grant grant = grantOf(token, folder);
    if (grant == Grant::Stands) {
        FileDetails details;
        const int error = fileDetails(path, LinkRule::Follow, details);
        out = {path, error == 0 && details.kind == FileKind::Folder, false};
        return 0;
    }
    // An application that may reach the host's folders needs no grant.
    if (!record.path.isEmpty() && Resolver(record, {}).atItsPath(out) == 0) {
        return 0;
    }
    if (grant == Grant::ItemIsGone) {
        return ENOENT;
    }
    out = {path, record.identity.kind == FileKind::Folder, true};
    return 0;
}

bool isPossible(const QByteArray& path) { return path.startsWith('/') && !path.contains('\0'); }

/// All that is to be known of an item that lies on an ordinary file system.
int describe(const QByteArray& path, BookmarkRecord& record) {
    FileIdentity identity;
    if (const int error = identify(path, identity); error != 0) {
        return error;
    }
    record.path = path;
    record.identity = identity;
    record.identity.scope = scopeOf(path);
    describeVolume(record);
    return 0;
}

int encode(const BookmarkRecord& record, QByteArray& data) {
    const std::optional<QByteArray> bytes = encodeBookmark(record);
    if (!bytes) {
        return ENAMETOOLONG;
    }
    data = *bytes;
    return 0;
}

} // namespace

int createBookmark(const QByteArray& path, QByteArray& data) {
    if (!isPossible(path)) {
        return EINVAL;
    }
    BookmarkRecord record;
    const std::optional<DocumentToken> token = documentTokenOf(path, documentFolder());
    if (!token) {
        const int error = describe(path, record);
        return error == 0 ? encode(record, data) : error;
    }
    if (const int error = fileExists(path); error != 0) {
        return error;
    }
    QByteArray onHost;
    if (!isSandboxed() && hostPathOfDocument(*token, onHost) == 0 && describe(onHost, record) != 0) {
        record = BookmarkRecord();
    }
    record.token = documentTokenText(*token);
    return encode(record, data);
}

int createBookmarkFor(const QByteArray& application, DocumentRights rights, const QByteArray& path,
                      QByteArray& data) {
    if (!isPossible(path) || application.isEmpty() || application.contains('\0')) {
        return EINVAL;
    }
    BookmarkRecord record;
    if (const int error = describe(path, record); error != 0) {
        return error;
    }
    DocumentToken token;
    if (const int error = grantDocument(path, application, rights, token); error != 0) {
        return error;
    }
    record.token = documentTokenText(token);
    return encode(record, data);
}

int withdrawBookmark(QByteArrayView data, const QByteArray& application) {
    BookmarkRecord record;
    if (const int error = decodeBookmark(data, record); error != 0) {
        return error;
    }
    const std::optional<DocumentToken> token = parseDocumentToken(record.token);
    return token ? revokeDocument(*token, application) : EINVAL;
}

int resolveBookmark(QByteArrayView data, const SearchLimits& limits, ResolvedBookmark& out) {
    BookmarkRecord record;
    if (const int error = decodeBookmark(data, record); error != 0) {
        return error;
    }
    const std::optional<DocumentToken> token = parseDocumentToken(record.token);
    if (token && isSandboxed()) {
        return resolveInSandbox(record, *token, out);
    }
    return token && record.path.isEmpty() ? resolveOnHost(*token, out) : resolvePath(record, limits, out);
}

bool mayReach(const QByteArray& path) {
    if (!isSandboxed()) {
        return true;
    }
    const QByteArray folder = documentFolder();
    if (const auto token = documentTokenOf(path, folder)) {
        return grantOf(*token, folder) == Grant::Stands;
    }
    return ::access(path.constData(), R_OK) == 0;
}

} // namespace VKPlatform
