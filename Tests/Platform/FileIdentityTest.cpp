// Which descriptions are of one item: by rule, and on real file systems.
#include "Platform/FileIdentity.h"
#include "Support/DiskSupport.h"
#include "Support/LoopFileSystem.h"
#include "Support/VKTest.h"

#include <cerrno>
#include <optional>

using namespace VKPlatform;

namespace {

FileIdentity photo() {
    FileIdentity identity;
    identity.kind = FileKind::File;
    identity.inode = 12;
    identity.born = FileTime{1700000000, 5};
    identity.modified = FileTime{1700000100, 7};
    identity.sizeBytes = 1000;
    identity.handleType = 1;
    identity.handle = "inode and generation";
    identity.mountId = 77;
    identity.boot = "this run";
    return identity;
}

FileIdentity changed(void (*change)(FileIdentity&), FileIdentity identity = photo()) {
    change(identity);
    return identity;
}

FileIdentity ofMount() {
    return changed([](FileIdentity& identity) {
        identity.scope = IdentityScope::Mount;
        identity.born.reset();
    });
}

FileIdentity withoutHandle() {
    return changed([](FileIdentity& identity) {
        identity.handle.clear();
        identity.handleType = 0;
    });
}

FileIdentity bare() {
    return changed([](FileIdentity& identity) { identity.born.reset(); }, withoutHandle());
}

/// A file system of that type, "tmpfs" among them, in a folder of its own.
class MountedType {
public:
    explicit MountedType(const QByteArray& type) : mFolder(VKTest::makeFolder().toUtf8() + "/mount") {
        Disk::makeFolder(mFolder);
        if (type == "tmpfs") {
            mMemory.emplace(mFolder, "size=1m");
        } else {
            mDisk.emplace(type.constData(), mFolder);
        }
    }

    [[nodiscard]] bool isMounted() const { return mDisk ? mDisk->isMounted() : mMemory->isMounted(); }
    [[nodiscard]] const QByteArray& folder() const { return mFolder; }

private:
    QByteArray mFolder;
    std::optional<Disk::TemporaryFileSystem> mMemory;
    std::optional<Disk::LoopFileSystem> mDisk;
};

} // namespace

class FileIdentityTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void sameItems_data();
    void sameItems();
    void scopes_data();
    void scopes();
    void kinds_data();
    void kinds();
    void whatDoesNotMatter_data();
    void whatDoesNotMatter();
    void inodesGivenOutAgain_data();
    void inodesGivenOutAgain();
    void notThere();
    void longPaths();
    void pathsWithoutLinks();
};

void FileIdentityTest::sameItems_data() {
    QTest::addColumn<FileIdentity>("recorded");
    QTest::addColumn<FileIdentity>("now");
    QTest::addColumn<bool>("isSame");
    QTest::newRow("unchanged") << photo() << photo() << true;
    QTest::newRow("written to") << photo() << changed([](FileIdentity& identity) {
        identity.sizeBytes = 0;
        identity.modified = FileTime{1800000000, 0};
    }) << true;
    QTest::newRow("mounted elsewhere") << photo() << changed([](FileIdentity& identity) {
        identity.mountId = 78;
        identity.boot = "another run";
    }) << true;
    QTest::newRow("another inode") << photo() << changed([](FileIdentity& identity) { ++identity.inode; })
                                   << false;
    QTest::newRow("another kind") << photo()
                                  << changed([](FileIdentity& identity) { identity.kind = FileKind::Folder; })
                                  << false;
    QTest::newRow("born at another second")
        << photo() << changed([](FileIdentity& identity) { ++identity.born->seconds; }) << false;
    QTest::newRow("born at another nanosecond")
        << photo() << changed([](FileIdentity& identity) { ++identity.born->nanoseconds; }) << false;
    QTest::newRow("another generation")
        << photo() << changed([](FileIdentity& identity) { identity.handle += '2'; }) << false;
    QTest::newRow("another type of handle")
        << photo() << changed([](FileIdentity& identity) { ++identity.handleType; }) << false;
    QTest::newRow("no handle now") << photo() << withoutHandle() << true;
    QTest::newRow("no handle then") << withoutHandle() << photo() << true;
    QTest::newRow("no birth time now")
        << photo() << changed([](FileIdentity& identity) { identity.born.reset(); }) << true;
    QTest::newRow("the inode alone, unchanged") << bare() << bare() << true;
    QTest::newRow("the inode alone, another size")
        << bare() << changed([](FileIdentity& identity) { ++identity.sizeBytes; }, bare()) << false;
    QTest::newRow("the inode alone, another time")
        << bare() << changed([](FileIdentity& identity) { ++identity.modified.nanoseconds; }, bare())
        << false;
    QTest::newRow("of a mount, the same one") << ofMount() << ofMount() << true;
    QTest::newRow("of a mount, written to")
        << ofMount() << changed([](FileIdentity& identity) { ++identity.sizeBytes; }, ofMount()) << false;
    const auto withBirth = [](FileIdentity& identity) { identity.born = FileTime{1, 2}; };
    QTest::newRow("of a mount, born then, written to")
        << changed(withBirth, ofMount())
        << changed([](FileIdentity& identity) { ++identity.sizeBytes; }, changed(withBirth, ofMount()))
        << true;
    QTest::newRow("of a mount, born another time") << changed(withBirth, ofMount()) << ofMount() << false;
    QTest::newRow("of a mount, now another")
        << ofMount() << changed([](FileIdentity& identity) { ++identity.mountId; }, ofMount()) << false;
    QTest::newRow("of a mount, another run")
        << ofMount() << changed([](FileIdentity& identity) { identity.boot = "another run"; }, ofMount())
        << false;
    QTest::newRow("of a mount, another generation")
        << ofMount() << changed([](FileIdentity& identity) { identity.handle += '2'; }, ofMount()) << false;
    const auto unknown = [](FileIdentity& identity) { identity.mountId = 0; };
    QTest::newRow("of a mount that is not known")
        << changed(unknown, ofMount()) << changed(unknown, ofMount()) << false;
    const auto noRun = [](FileIdentity& identity) { identity.boot.clear(); };
    QTest::newRow("of a run that is not known")
        << changed(noRun, ofMount()) << changed(noRun, ofMount()) << false;
}

void FileIdentityTest::sameItems() {
    QFETCH(const FileIdentity, recorded);
    QFETCH(const FileIdentity, now);
    QTEST(isSameItem(recorded, now), "isSame");
}

void FileIdentityTest::scopes_data() {
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<bool>("isLasting");
    QTest::newRow("ext4") << QByteArray("ext4") << true;
    QTest::newRow("xfs") << QByteArray("xfs") << true;
    QTest::newRow("btrfs") << QByteArray("btrfs") << true;
    QTest::newRow("exfat") << QByteArray("exfat") << false;
}

void FileIdentityTest::scopes() {
    QFETCH(const QByteArray, type);
    const QByteArray folder = makeFolder().toUtf8() + "/mount";
    Disk::makeFolder(folder);
    const Disk::LoopFileSystem disk(type.constData(), folder);
    VKTEST_NEEDS(disk.isMounted(), "root and loop devices");
    QTEST(scopeOf(folder) == IdentityScope::Lasting, "isLasting");
    FileIdentity first;
    FileIdentity second;
    Disk::makeFile(folder + "/a.jpg", "photo");
    QCOMPARE(identify(folder + "/a.jpg", first), 0);
    QVERIFY(!first.handle.isEmpty());
    QCOMPARE(first.born.has_value(), scopeOf(folder) == IdentityScope::Lasting);
    QCOMPARE(::rename(Disk::text(folder + "/a.jpg"), Disk::text(folder + "/b.jpg")), 0);
    QCOMPARE(identify(folder + "/b.jpg", second), 0);
    QVERIFY(isSameItem(first, second));
    QCOMPARE(scopeOf("/nowhere/at/all"), IdentityScope::Mount);
    QCOMPARE(scopeOfMagic(0x65735546), IdentityScope::Mount); // any file system in user space
    QCOMPARE(scopeOfMagic(0x4d44), IdentityScope::Mount);     // FAT
    QCOMPARE(scopeOfMagic(0x2011bab0), IdentityScope::Mount); // exFAT
    QCOMPARE(scopeOfMagic(0xef53), IdentityScope::Lasting);   // ext4
}

void FileIdentityTest::kinds_data() {
    QTest::addColumn<QByteArray>("what");
    QTest::addColumn<FileKind>("kind");
    QTest::newRow("file") << QByteArray("file") << FileKind::File;
    QTest::newRow("folder") << QByteArray("folder") << FileKind::Folder;
    QTest::newRow("link") << QByteArray("link") << FileKind::Link;
    QTest::newRow("fifo") << QByteArray("fifo") << FileKind::Special;
}

void FileIdentityTest::kinds() {
    QFETCH(const QByteArray, what);
    const QByteArray path = makeFolder().toUtf8() + "/a";
    if (what == "file") {
        Disk::makeFile(path, "photo");
    } else if (what == "folder") {
        Disk::makeFolder(path);
    } else if (what == "link") {
        Disk::makeLink(path, "nowhere");
    } else {
        Disk::makeFifo(path);
    }
    FileIdentity identity;
    QCOMPARE(identify(path, identity), 0);
    QTEST(identity.kind, "kind");
    QVERIFY(identity.inode != 0);
    QVERIFY(identity.modified.seconds > 1600000000);
    QCOMPARE(identity.handle.size() <= kMostHandleBytes, true);
    if (what == "file") {
        QCOMPARE(identity.sizeBytes, 5U);
    }
    FileIdentity again;
    QCOMPARE(identify(path, again), 0);
    QCOMPARE(again, identity);
    QVERIFY(isSameItem(identity, again));
}

void FileIdentityTest::whatDoesNotMatter_data() {
    Disk::addFileSystemRows();
    QTest::newRow("tmpfs") << QByteArray("tmpfs");
}

void FileIdentityTest::whatDoesNotMatter() {
    QFETCH(const QByteArray, type);
    const MountedType mounted(type);
    VKTEST_NEEDS(mounted.isMounted(), "root and loop devices");
    const QByteArray folder = mounted.folder();
    const QByteArray path = folder + "/a.jpg";
    Disk::makeFile(path, "photo");
    FileIdentity before;
    QCOMPARE(identify(path, before), 0);
    Disk::makeFile(path, "another content"); // the same file, written anew
    QCOMPARE(::chmod(Disk::text(path), 0600), 0);
    QCOMPARE(::link(Disk::text(path), Disk::text(folder + "/hard")), 0);
    QCOMPARE(::unlink(Disk::text(path)), 0);
    FileIdentity after;
    QCOMPARE(identify(folder + "/hard", after), 0);
    QVERIFY(after != before);
    QVERIFY(isSameItem(before, after));
}

void FileIdentityTest::inodesGivenOutAgain_data() { whatDoesNotMatter_data(); }

/// Files are made and deleted until one gets the inode number of the first: it has to be told apart.
void FileIdentityTest::inodesGivenOutAgain() {
    QFETCH(const QByteArray, type);
    const MountedType mounted(type);
    VKTEST_NEEDS(mounted.isMounted(), "root and loop devices");
    const QByteArray folder = mounted.folder();
    const QByteArray path = folder + "/a.jpg";
    Disk::makeFile(path, "photo");
    FileIdentity first;
    QCOMPARE(identify(path, first), 0);
    bool isInodeReused = false;
    for (int i = 0; i < 100 && !isInodeReused; ++i) {
        QCOMPARE(::unlink(Disk::text(path)), 0);
        Disk::makeFile(path, "photo");
        FileIdentity next;
        QCOMPARE(identify(path, next), 0);
        QVERIFY(!isSameItem(first, next));
        isInodeReused = next.inode == first.inode;
        // Neither of the two marks alone is relied on.
        FileIdentity withoutBirth = next;
        withoutBirth.born.reset();
        QVERIFY(!isSameItem(first, withoutBirth));
        FileIdentity withoutItsHandle = next;
        withoutItsHandle.handle.clear();
        QVERIFY(!isSameItem(first, withoutItsHandle));
    }
    // btrfs and tmpfs count on; ext4 and xfs give numbers out again at once, or this would have tested nothing.
    QVERIFY(isInodeReused || (type != "ext4" && type != "xfs"));
}

void FileIdentityTest::notThere() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/a");
    FileIdentity identity;
    QCOMPARE(identify(folder + "/b", identity), ENOENT);
    QCOMPARE(identify(folder + "/a/b", identity), ENOTDIR);
    QCOMPARE(identify(QByteArray(), identity), ENOENT);
    QCOMPARE(identity, FileIdentity());
}

void FileIdentityTest::longPaths() {
    const QByteArray top = makeFolder().toUtf8();
    QByteArray path = top;
    {
        const Disk::WorkingFolder working(top);
        while (path.size() < 5000) {
            const QByteArray name(200, 'n');
            Disk::makeFolder(name);
            QCOMPARE(::chdir(name.constData()), 0);
            path += '/' + name;
        }
        Disk::makeFile("a.jpg", "photo");
    }
    FileIdentity identity;
    QCOMPARE(identify(path + "/a.jpg", identity), 0);
    QCOMPARE(identity.sizeBytes, 5U);
    QVERIFY(pathWithoutLinks(path + "/a.jpg").isEmpty());
}

void FileIdentityTest::pathsWithoutLinks() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFolder(folder + "/real");
    Disk::makeFile(folder + "/real/a.jpg");
    Disk::makeLink(folder + "/link", "real");
    const QByteArray real = pathWithoutLinks(folder);
    QCOMPARE(pathWithoutLinks(folder + "/link/a.jpg"), QByteArray(real + "/real/a.jpg"));
    QCOMPARE(pathWithoutLinks(folder + "/link"), QByteArray(real + "/link")); // the item is the link
    QCOMPARE(pathWithoutLinks("/"), "/");
    QVERIFY(pathWithoutLinks(folder + "/nowhere").isEmpty());
}

VKTEST_MAIN(FileIdentityTest)
#include "FileIdentityTest.moc"
