// Bookmarks on real file systems: what is found again, and what must never be found.
#include "Platform/Bookmarks.h"
#include "Platform/BookmarkData.h"
#include "Platform/MountTable.h"
#include "Platform/Sandbox.h"
#include "Platform/VolumeIdentity.h"
#include "Support/DiskSupport.h"
#include "Support/LoopFileSystem.h"
#include "Support/MountSupport.h"
#include "Support/VKTest.h"

#include <QScopeGuard>

#include <cerrno>
#include <memory>

using namespace VKPlatform;

namespace {

/// What resolving gives, in one line: "fresh PATH", "stale PATH/" for a folder, "error 2".
QByteArray resolved(const QByteArray& data, const SearchLimits& limits = {}) {
    ResolvedBookmark item;
    const int error = resolveBookmark(data, limits, item);
    if (error != 0) {
        return "error " + QByteArray::number(error);
    }
    return (item.isStale ? "stale " : "fresh ") + item.path + (item.isFolder ? "/" : "");
}

QByteArray fresh(const QByteArray& path) { return "fresh " + path; }
QByteArray stale(const QByteArray& path) { return "stale " + path; }
QByteArray failed(int error) { return "error " + QByteArray::number(error); }

QByteArray bookmarkOf(const QByteArray& path) {
    QByteArray data;
    Disk::must(createBookmark(path, data) == 0, "bookmark", path);
    return data;
}

void rename(const QByteArray& from, const QByteArray& to) {
    Disk::must(::rename(from.constData(), to.constData()) == 0, "rename", from);
}

void remove(const QByteArray& path) { Disk::must(::unlink(path.constData()) == 0, "unlink", path); }

/// As an editor saves.
void replace(const QByteArray& path) {
    Disk::makeFile(path + ".new", "saved");
    rename(path + ".new", path);
}

/// A volume of the given type that can be taken away and come back elsewhere.
class Card {
public:
    Card(const QByteArray& type, const QByteArray& folder) : mType(type) {
        if (type == "tmpfs") {
            mDisk = nullptr;
            return;
        }
        const QByteArray make = type == "ext4"    ? "mkfs.ext4 -q -F -m 0"
                                : type == "xfs"   ? "mkfs.xfs -q"
                                : type == "btrfs" ? "mkfs.btrfs -q"
                                                  : "mkfs.exfat";
        mDisk = std::make_unique<Mounts::LoopDisk>(folder + "/card", make, type == "xfs" ? 300 : 120);
    }
    Card(const Card&) = delete;
    Card& operator=(const Card&) = delete;
    ~Card() { takeOut(); }

    bool mountAt(const QByteArray& place) {
        if (!Disk::exists(place)) {
            Disk::makeFolder(place);
        }
        if (mType == "tmpfs") {
            return Disk::isRoot() &&
                   remember(place, ::mount("vktest", Disk::text(place), "tmpfs", 0, "size=4m") == 0);
        }
        if (!Disk::isRoot() || !mDisk->isReady()) {
            return false;
        }
        return remember(place, mType == "exfat" ? Disk::runs("mount.exfat-fuse -o nonempty " +
                                                             mDisk->device() + " '" + place + '\'')
                                                : ::mount(Disk::text(mDisk->device()), Disk::text(place),
                                                          Disk::text(mType), 0, nullptr) == 0);
    }

    void takeOut() {
        if (!mPlace.isEmpty() && ::umount2(Disk::text(mPlace), 0) != 0) {
            ::umount2(Disk::text(mPlace), MNT_DETACH);
        }
        mPlace.clear();
    }

private:
    bool remember(const QByteArray& place, bool isMounted) {
        mPlace = isMounted ? place : QByteArray();
        return isMounted;
    }

    QByteArray mType;
    QByteArray mPlace;
    std::unique_ptr<Mounts::LoopDisk> mDisk;
};

bool tellsMounts(const QByteArray& path) {
    FileIdentity identity;
    return identify(path, identity) == 0 && identity.mountId != 0;
}

/// Whether the system knows an identifier for the volume at the place.
bool hasIdentifier(const QByteArray& place) {
    std::vector<MountEntry> mounts;
    const MountEntry* const mount = mountedFileSystems(mounts) == 0 ? mountAt(mounts, place) : nullptr;
    return mount != nullptr && !volumeUuid(*mount).isEmpty();
}

} // namespace

class BookmarksTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void follows_data();
    void follows();
    void remounted_data();
    void remounted();
    void changedWhileAway_data();
    void changedWhileAway();
    void anotherCardAtThePlace_data();
    void anotherCardAtThePlace();
    void inodesGivenOutAgain_data();
    void inodesGivenOutAgain();
    void neverAnotherKind();
    void anotherTookItsName();
    void toAnotherVolume();
    void throughLinks();
    void partsOfAVolume();
    void mountsInFront_data();
    void mountsInFront();
    void notAllowed();
    void limitsReachTheSearch();
    void requests_data();
    void requests();
    void longestPath();
    void hostileData_data();
    void hostileData();
    void inASandbox();
};

void BookmarksTest::follows_data() {
    QTest::addColumn<QByteArray>("type");
    for (const char* type : {"ext4", "xfs", "btrfs", "tmpfs", "exfat"}) {
        QTest::newRow(type) << QByteArray(type);
    }
}

void BookmarksTest::follows() {
    QFETCH(const QByteArray, type);
    const QByteArray folder = makeFolder().toUtf8();
    Card card(type, folder);
    const QByteArray top = folder + "/mount";
    VKTEST_NEEDS(card.mountAt(top), "root, loop devices and the file systems' programs");
    Disk::makeFolder(top + "/2026");
    Disk::makeFolder(top + "/2026/Summer");
    const QByteArray photo = top + "/2026/a.jpg";
    Disk::makeFile(photo, "photo");
    Disk::makeFile(top + "/2026/other.jpg", "photo");
    QByteArray file = bookmarkOf(photo);
    QByteArray album = bookmarkOf(top + "/2026");
    const QByteArray whole = bookmarkOf(top);
    QCOMPARE(resolved(file), fresh(photo));
    QCOMPARE(resolved(album), fresh(top + "/2026/"));
    QCOMPARE(resolved(whole), fresh(top + '/'));

    Disk::makeFile(photo, "another content");
    Disk::makeFile(top + "/2026/new.jpg");
    if (type == "exfat") {
        // Nothing but the content proves what a number means: the place is known, the item is not.
        QCOMPARE(resolved(file), stale(photo));
        file = bookmarkOf(photo);
        album = bookmarkOf(top + "/2026");
    }
    QCOMPARE(resolved(file), fresh(photo));
    QCOMPARE(resolved(album), fresh(top + "/2026/"));

    rename(photo, top + "/2026/b.jpg");
    if (type == "exfat" && !tellsMounts(top)) {
        // Linux before 6.8: nothing proves that the numbers still are those of the bookmark's mount.
        QCOMPARE(resolved(file), failed(ENOENT));
        return;
    }
    QCOMPARE(resolved(file), stale(top + "/2026/b.jpg"));
    rename(top + "/2026/b.jpg", top + "/2026/Summer/b.jpg");
    QCOMPARE(resolved(file), stale(top + "/2026/Summer/b.jpg"));
    rename(top + "/2026/Summer/b.jpg", top + "/c.jpg");
    QCOMPARE(resolved(file), stale(top + "/c.jpg"));
    if (type == "exfat") {
        album = bookmarkOf(top + "/2026"); // its content has changed
    }
    rename(top + "/2026", top + "/2027");
    QCOMPARE(resolved(album), stale(top + "/2027/"));
    rename(top + "/c.jpg", top + "/2027/a.jpg");
    QCOMPARE(resolved(file), stale(top + "/2027/a.jpg"));
    rename(top + "/2027", top + "/2026");
    QCOMPARE(resolved(file), fresh(photo));

    replace(photo);
    QCOMPARE(resolved(file), stale(photo));
    QCOMPARE(resolved(bookmarkOf(photo)), fresh(photo));
    remove(photo);
    QCOMPARE(resolved(file), failed(ENOENT));
}

void BookmarksTest::remounted_data() { follows_data(); }

void BookmarksTest::remounted() {
    QFETCH(const QByteArray, type);
    const QByteArray folder = makeFolder().toUtf8();
    Card card(type, folder);
    const QByteArray top = folder + "/mount";
    VKTEST_NEEDS(card.mountAt(top), "root, loop devices and the file systems' programs");
    Disk::makeFolder(top + "/2026");
    Disk::makeFile(top + "/2026/a.jpg", "photo");
    const QByteArray file = bookmarkOf(top + "/2026/a.jpg");
    const QByteArray whole = bookmarkOf(top);
    const bool isKnown = hasIdentifier(top);
    card.takeOut();
    QCOMPARE(resolved(file), failed(ENOENT));
    if (type == "tmpfs") {
        // Nothing of it comes back, and a new one is not it.
        QVERIFY(card.mountAt(top));
        QCOMPARE(resolved(file), failed(ENOENT));
        return;
    }
    // The folder below the mount is not the volume, and what lies in it is not what lay there.
    QVERIFY(resolved(whole).startsWith("error "));
    Disk::makeFolder(top + "/2026");
    Disk::makeFile(top + "/2026/a.jpg", "photo");
    QCOMPARE(resolved(file), failed(ENOENT));

    QVERIFY(card.mountAt(top));
    const bool isLasting = type != "exfat";
    QCOMPARE(resolved(file), isLasting ? fresh(top + "/2026/a.jpg") : stale(top + "/2026/a.jpg"));
    card.takeOut();
    const QByteArray elsewhere = folder + "/elsewhere";
    QVERIFY(card.mountAt(elsewhere));
    const bool isFound = isLasting || isKnown;
    QCOMPARE(resolved(file), isFound ? stale(elsewhere + "/2026/a.jpg") : failed(ENOENT));
    QCOMPARE(resolved(whole), isFound ? stale(elsewhere + '/') : failed(ENOENT));
    rename(elsewhere + "/2026/a.jpg", elsewhere + "/b.jpg");
    QCOMPARE(resolved(file), isLasting ? stale(elsewhere + "/b.jpg") : failed(ENOENT));
}

void BookmarksTest::changedWhileAway_data() { follows_data(); }

/// On another machine the photo is renamed and others come, before the volume is here again: on a file system that
/// numbers its files anew at each mount nothing may be taken for it.
void BookmarksTest::changedWhileAway() {
    QFETCH(const QByteArray, type);
    if (type == "tmpfs") {
        return; // does not come back
    }
    const QByteArray folder = makeFolder().toUtf8();
    Card card(type, folder);
    const QByteArray top = folder + "/mount";
    VKTEST_NEEDS(card.mountAt(top), "root, loop devices and the file systems' programs");
    Disk::makeFile(top + "/a.jpg", "photo");
    const QByteArray file = bookmarkOf(top + "/a.jpg");
    card.takeOut();
    QVERIFY(card.mountAt(folder + "/other machine"));
    rename(folder + "/other machine/a.jpg", folder + "/other machine/z.jpg");
    for (int i = 0; i < 5; ++i) {
        Disk::makeFile(folder + "/other machine/" + QByteArray::number(i) + ".jpg", "photo");
    }
    card.takeOut();
    QVERIFY(card.mountAt(top));
    // Someone looks at the others first, so that they get the numbers.
    for (const QByteArray& name : Disk::namesIn(top)) {
        QVERIFY(name == "lost+found" || Disk::contentOf(top + '/' + name) == "photo");
    }
    QCOMPARE(resolved(file), type == "exfat" ? failed(ENOENT) : stale(top + "/z.jpg"));
}

void BookmarksTest::anotherCardAtThePlace_data() { follows_data(); }

/// Two cards with the same folders and names, as cameras make them.
void BookmarksTest::anotherCardAtThePlace() {
    QFETCH(const QByteArray, type);
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFolder(folder + "/1");
    Disk::makeFolder(folder + "/2");
    Card first(type, folder + "/1");
    Card second(type, folder + "/2");
    const QByteArray top = folder + "/mount";
    VKTEST_NEEDS(second.mountAt(top), "root, loop devices and the file systems' programs");
    if (type == "tmpfs") {
        return; // does not come back
    }
    Disk::makeFile(top + "/a.jpg", "of the second");
    second.takeOut();
    QVERIFY(first.mountAt(top));
    Disk::makeFile(top + "/a.jpg", "of the first");
    const QByteArray file = bookmarkOf(top + "/a.jpg");
    first.takeOut();
    QVERIFY(second.mountAt(top));
    QCOMPARE(resolved(file), failed(ENOENT));
    const QByteArray elsewhere = folder + "/elsewhere";
    QVERIFY(first.mountAt(elsewhere));
    if (type != "exfat" || hasIdentifier(elsewhere)) {
        QCOMPARE(resolved(file), stale(elsewhere + "/a.jpg"));
    }
}

void BookmarksTest::inodesGivenOutAgain_data() { follows_data(); }

void BookmarksTest::inodesGivenOutAgain() {
    QFETCH(const QByteArray, type);
    const QByteArray folder = makeFolder().toUtf8();
    Card card(type, folder);
    const QByteArray top = folder + "/mount";
    VKTEST_NEEDS(card.mountAt(top), "root, loop devices and the file systems' programs");
    Disk::makeFile(top + "/a.jpg", "photo");
    const QByteArray file = bookmarkOf(top + "/a.jpg");
    remove(top + "/a.jpg");
    for (int i = 0; i < 50; ++i) {
        Disk::makeFile(top + '/' + QByteArray::number(i) + ".jpg", "photo");
    }
    QCOMPARE(resolved(file), failed(ENOENT));
}

void BookmarksTest::neverAnotherKind() {
    const QByteArray folder = makeFolder().toUtf8();
    const Disk::TemporaryFileSystem disk(folder, "size=1m");
    VKTEST_NEEDS(disk.isMounted(), "root, to mount a file system");
    Disk::makeFile(folder + "/a");
    const QByteArray file = bookmarkOf(folder + "/a");
    remove(folder + "/a");
    Disk::makeFolder(folder + "/a");
    QCOMPARE(resolved(file), failed(ENOENT));
    const QByteArray album = bookmarkOf(folder + "/a");
    QCOMPARE(::rmdir(Disk::text(folder + "/a")), 0);
    Disk::makeFolder(folder + "/other");
    Disk::makeLink(folder + "/a", "other");
    QCOMPARE(resolved(album), failed(ENOENT));
}

/// An editor that keeps a copy renames the old file and writes a new one: the document is where its name is.
void BookmarksTest::anotherTookItsName() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/a.txt", "old");
    const QByteArray file = bookmarkOf(folder + "/a.txt");
    rename(folder + "/a.txt", folder + "/a.txt~");
    Disk::makeFile(folder + "/a.txt", "new");
    QCOMPARE(resolved(file), stale(folder + "/a.txt"));
}

void BookmarksTest::toAnotherVolume() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFolder(folder + "/one");
    Disk::makeFolder(folder + "/two");
    const Disk::TemporaryFileSystem one(folder + "/one", "size=1m");
    const Disk::TemporaryFileSystem two(folder + "/two", "size=1m");
    VKTEST_NEEDS(one.isMounted() && two.isMounted(), "root, to mount file systems");
    Disk::makeFile(folder + "/one/a.jpg", "photo");
    const QByteArray file = bookmarkOf(folder + "/one/a.jpg");
    remove(folder + "/one/a.jpg");
    Disk::makeFile(folder + "/two/a.jpg", "photo");
    QCOMPARE(resolved(file), failed(ENOENT));
}

void BookmarksTest::throughLinks() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFolder(folder + "/real");
    Disk::makeFile(folder + "/real/a.jpg", "photo");
    Disk::makeLink(folder + "/link", "real");
    const QByteArray file = bookmarkOf(folder + "/link/a.jpg");
    QCOMPARE(resolved(file), fresh(folder + "/link/a.jpg"));
    // It lies where it lies; the link is only a way to it.
    rename(folder + "/real/a.jpg", folder + "/real/b.jpg");
    QCOMPARE(resolved(file), stale(folder + "/real/b.jpg"));
    rename(folder + "/real/b.jpg", folder + "/real/a.jpg");
    remove(folder + "/link");
    QCOMPARE(resolved(file), stale(folder + "/real/a.jpg"));

    // A link that is the item itself.
    Disk::makeLink(folder + "/link", "real");
    const QByteArray link = bookmarkOf(folder + "/link");
    QCOMPARE(resolved(link), fresh(folder + "/link/"));
    rename(folder + "/link", folder + "/renamed");
    QCOMPARE(resolved(link), stale(folder + "/renamed/"));
    rename(folder + "/real", folder + "/away");
    QCOMPARE(resolved(link), stale(folder + "/renamed"));
}

/// The same file system, of which other parts are mounted later: a subvolume, a folder.
void BookmarksTest::partsOfAVolume() {
    const QByteArray folder = makeFolder().toUtf8();
    const QByteArray top = folder + "/mount";
    Disk::makeFolder(top);
    Disk::makeFolder(folder + "/part");
    auto disk = std::make_unique<Mounts::LoopDisk>(folder + "/disk", "mkfs.ext4 -q -F", 48);
    VKTEST_NEEDS(Disk::isRoot() && disk->isReady(), "root and loop devices");
    QCOMPARE(::mount(Disk::text(disk->device()), Disk::text(top), "ext4", 0, nullptr), 0);
    Disk::makeFolder(top + "/Photos");
    Disk::makeFile(top + "/Photos/a.jpg", "photo");
    Disk::makeFile(top + "/b.jpg", "photo");
    const QByteArray inside = bookmarkOf(top + "/Photos/a.jpg");
    const QByteArray outside = bookmarkOf(top + "/b.jpg");
    QByteArray throughPart;
    {
        const Disk::BindMount part(top + "/Photos", folder + "/part");
        QVERIFY(part.isMounted());
        throughPart = bookmarkOf(folder + "/part/a.jpg");
        QCOMPARE(::umount2(Disk::text(top), MNT_DETACH), 0);
        QCOMPARE(resolved(inside), stale(folder + "/part/a.jpg"));
        QCOMPARE(resolved(outside), failed(ENOENT));
        QCOMPARE(resolved(throughPart), fresh(folder + "/part/a.jpg"));
    }
    QCOMPARE(::mount(Disk::text(disk->device()), Disk::text(top), "ext4", 0, nullptr), 0);
    QCOMPARE(resolved(throughPart), stale(top + "/Photos/a.jpg"));
    QCOMPARE(::umount2(Disk::text(top), 0), 0);
}

void BookmarksTest::mountsInFront_data() {
    QTest::addColumn<QByteArray>("make");
    QTest::newRow("of a file system without an identifier")
        << QByteArray("mkfs.ext4 -q -F -U 00000000-0000-0000-0000-000000000000");
    QTest::newRow("of a file system with one") << QByteArray("mkfs.ext4 -q -F");
}

/// Something else is mounted over the folder of the item.
void BookmarksTest::mountsInFront() {
    QFETCH(const QByteArray, make);
    const QByteArray place = makeFolder().toUtf8();
    const Mounts::LoopDisk holder(place + "/disk", make, 8);
    VKTEST_NEEDS(Disk::isRoot() && holder.isReady(), "root and loop devices");
    const Mounts::Mounted mounted(holder.device(), place + "/m");
    QVERIFY2(mounted.isMounted(), mounted.message());
    const QByteArray& folder = mounted.place();
    Disk::makeFolder(folder + "/a");
    Disk::makeFile(folder + "/a/1.jpg", "photo");
    const QByteArray file = bookmarkOf(folder + "/a/1.jpg");
    {
        const Disk::TemporaryFileSystem disk(folder + "/a", "size=1m");
        VKTEST_NEEDS(disk.isMounted(), "root, to mount a file system");
        Disk::makeFile(folder + "/a/1.jpg", "photo");
        const QByteArray answer = resolved(file, {.entries = 10, .time = kSearchPatience, .isCancelled = {}});
        QVERIFY2(answer.startsWith("error "), answer.constData());
    }
    QCOMPARE(resolved(file), fresh(folder + "/a/1.jpg"));
}

void BookmarksTest::notAllowed() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    const QByteArray folder = makeFolder().toUtf8();
    Disk::openForOthers(folder);
    Disk::makeFolder(folder + "/a");
    Disk::makeFile(folder + "/a/1.jpg", "photo");
    const QByteArray file = bookmarkOf(folder + "/a/1.jpg");
    QCOMPARE(::chmod(Disk::text(folder), 0755), 0);
    QCOMPARE(::chmod(Disk::text(folder + "/a"), 0700), 0);
    const auto codeAsOther = [&] {
        return Disk::asOtherUser([&] {
            ResolvedBookmark item;
            return resolveBookmark(file, {}, item);
        });
    };
    QCOMPARE(codeAsOther(), EACCES);
    QCOMPARE(::chmod(Disk::text(folder + "/a"), 0755), 0);
    QCOMPARE(codeAsOther(), 0);
    QCOMPARE(Disk::asOtherUser([&] {
                 QByteArray data;
                 return createBookmark(folder + "/a/1.jpg", data);
             }),
             0);
}

void BookmarksTest::limitsReachTheSearch() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/a.jpg", "photo");
    const QByteArray file = bookmarkOf(folder + "/a.jpg");
    rename(folder + "/a.jpg", folder + "/b.jpg");
    QCOMPARE(resolved(file, {.entries = 0, .time = kSearchPatience, .isCancelled = {}}), failed(ETIMEDOUT));
    QCOMPARE(resolved(file, {.entries = 1, .time = kSearchPatience, .isCancelled = {}}),
             stale(folder + "/b.jpg"));
    QCOMPARE(resolved(file, {.entries = 1, .time = std::chrono::milliseconds(0), .isCancelled = {}}),
             failed(ETIMEDOUT));
    QCOMPARE(resolved(file, {.entries = 1, .time = kSearchPatience, .isCancelled = [] { return true; }}),
             failed(ECANCELED));
    // Without a search there is nothing to cancel.
    rename(folder + "/b.jpg", folder + "/a.jpg");
    QCOMPARE(
        resolved(file,
                 {.entries = 0, .time = std::chrono::milliseconds(0), .isCancelled = [] { return true; }}),
        fresh(folder + "/a.jpg"));
}

void BookmarksTest::requests_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<int>("error");
    QTest::newRow("not there") << QByteArray("/nowhere/at/all") << ENOENT;
    QTest::newRow("below a file") << QByteArray("/etc/passwd/a") << ENOTDIR;
    QTest::newRow("relative") << QByteArray("etc/passwd") << EINVAL;
    QTest::newRow("empty") << QByteArray() << EINVAL;
    QTest::newRow("a NUL") << QByteArray("/etc\0x", 6) << EINVAL;
    QTest::newRow("the root") << QByteArray("/") << 0;
    QTest::newRow("a device") << QByteArray("/dev/null") << 0;
    QTest::newRow("a file that the kernel makes up") << QByteArray("/proc/version") << 0;
}

void BookmarksTest::requests() {
    QFETCH(const QByteArray, path);
    QFETCH(const int, error);
    QByteArray data("untouched");
    QCOMPARE(createBookmark(path, data), error);
    QCOMPARE(data == "untouched", error != 0);
    if (error == 0) {
        QCOMPARE(resolved(data), fresh(path == "/" ? QByteArray("//") : path));
    }
}

void BookmarksTest::longestPath() {
    const QByteArray top = makeFolder().toUtf8();
    QByteArray path = top;
    {
        const Disk::WorkingFolder working(top);
        while (path.size() + 201 <= kMostBookmarkPathBytes) {
            const QByteArray name(200, 'n');
            Disk::makeFolder(name);
            QCOMPARE(::chdir(name.constData()), 0);
            path += '/' + name;
        }
        const qsizetype room = kMostBookmarkPathBytes - path.size() - 1;
        QVERIFY(room > 1 && room < 255);
        for (const qsizetype over : {-1, 0, 1}) {
            Disk::makeFile(QByteArray(room + over, 'a'), "photo");
            const QByteArray item = path + '/' + QByteArray(room + over, 'a');
            QByteArray data;
            QCOMPARE(createBookmark(item, data), over <= 0 ? 0 : ENAMETOOLONG);
            if (over <= 0) {
                QCOMPARE(resolved(data), fresh(item));
            }
        }
    }
}

void BookmarksTest::hostileData_data() {
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("answer");
    const QByteArray real = bookmarkOf("/etc/passwd");
    QTest::newRow("empty") << QByteArray() << failed(EINVAL);
    QTest::newRow("cut") << real.chopped(1) << failed(EINVAL);
    BookmarkRecord record;
    QCOMPARE(decodeBookmark(real, record), 0);
    record.path = "/etc/../etc/passwd";
    QTest::newRow("dots lead nowhere new") << encodeBookmark(record).value() << fresh("/etc/../etc/passwd");
    record = BookmarkRecord();
    record.path = "/nowhere/at/all";
    record.identity.kind = FileKind::File;
    record.volume = {"0F5E", "ext4", ""};
    record.pathOnVolume = "/../../etc/passwd";
    QTest::newRow("an unknown volume") << encodeBookmark(record).value() << failed(ENOENT);
    record.path = "/dev/null";
    QTest::newRow("an unknown volume, something at the path")
        << encodeBookmark(record).value() << failed(ENOENT);
}

void BookmarksTest::hostileData() {
    QFETCH(const QByteArray, data);
    QTEST(resolved(data), "answer");
}

/// The portal's folder played by a plain one.
void BookmarksTest::inASandbox() {
    const QByteArray documents = qgetenv("XDG_RUNTIME_DIR") + "/doc";
    Disk::makeFolder(documents);
    Disk::makeFolder(documents + "/9c3e");
    Disk::makeFolder(documents + "/9c3e/Photos");
    const QByteArray shown = documents + "/9c3e/Photos";
    const QByteArray plain = makeFolder().toUtf8() + "/a.jpg";
    Disk::makeFile(plain, "photo");
    setSandboxAnswer(SandboxAnswer::Sandboxed);
    const auto after = qScopeGuard([&] {
        setSandboxAnswer(SandboxAnswer::Detect);
        Disk::removeTree(documents);
    });
    const QByteArray album = bookmarkOf(shown);
    BookmarkRecord record;
    QCOMPARE(decodeBookmark(album, record), 0);
    QCOMPARE(record.token, "portal:1:9c3e:Photos");
    QVERIFY(record.path.isEmpty());
    QCOMPARE(resolved(album), fresh(shown + '/'));
    QVERIFY(mayReach(shown));
    QVERIFY(mayReach(plain));
    QVERIFY(!mayReach(plain + ".not"));
    QVERIFY(!mayReach(documents + "/9c3e/Other"));

    // Another folder takes its place: grants go by name.
    rename(shown, documents + "/9c3e/Other");
    QCOMPARE(resolved(album), failed(ENOENT));
    QVERIFY(!mayReach(shown));
    Disk::makeFolder(shown);
    QCOMPARE(resolved(album), fresh(shown + '/'));
    QCOMPARE(createBookmark(documents + "/9c3e/no.jpg", record.path), ENOENT);

    // What the application reaches without a grant is found as outside.
    const QByteArray file = bookmarkOf(plain);
    QCOMPARE(resolved(file), fresh(plain));
    rename(plain, plain + ".jpg");
    QCOMPARE(resolved(file), stale(plain + ".jpg"));

    // A bookmark with both: the grant first, then the item itself.
    QCOMPARE(decodeBookmark(bookmarkOf(plain + ".jpg"), record), 0);
    record.token = "portal:1:77:a.jpg";
    const QByteArray both = encodeBookmark(record).value();
    QCOMPARE(resolved(both), fresh(plain + ".jpg"));
    Disk::makeFolder(documents + "/77");
    Disk::makeFile(documents + "/77/a.jpg");
    QCOMPARE(resolved(both), fresh(documents + "/77/a.jpg"));
    Disk::removeTree(documents + "/77");
    remove(plain + ".jpg");
    QCOMPARE(resolved(both), stale(documents + "/77/a.jpg"));
}

VKTEST_MAIN(BookmarksTest)
#include "BookmarksTest.moc"
