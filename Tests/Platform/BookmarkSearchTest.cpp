// The search for a moved item: its order, its borders and its limits.
#include "Platform/BookmarkSearch.h"
#include "Support/DiskSupport.h"
#include "Support/LoopFileSystem.h"
#include "Support/VKTest.h"

#include <cerrno>
#include <limits>

using namespace VKPlatform;

namespace {

FileIdentity identityOf(const QByteArray& path) {
    FileIdentity identity;
    Disk::must(identify(path, identity) == 0, "identify", path);
    return identity;
}

SearchLimits limitsOf(std::size_t entries) {
    SearchLimits limits;
    limits.entries = entries;
    limits.time = std::chrono::hours(1);
    return limits;
}

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

struct Found {
    int error = -1;
    QByteArray path;
    std::size_t searched = 0;
};

Found search(const FileIdentity& wanted, const QByteArray& top, const QByteArray& lastPath,
             const SearchLimits& limits = limitsOf(kNoLimit)) {
    BookmarkSearch search(wanted, limits);
    Found found;
    found.error = search.findBelow(top, lastPath, found.path);
    found.searched = search.searched();
    return found;
}

void makeFolders(const QByteArray& path) { Disk::runs("mkdir -p '" + path + '\''); }

} // namespace

class BookmarkSearchTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void places_data();
    void places();
    void nearestFirst();
    void eachEntryOnce();
    void theTopItself();
    void linksAreNotFollowed();
    void otherMountsAreNotEntered();
    void unreadableFoldersArePassedOver();
    void entryLimit_data();
    void entryLimit();
    void oneAccountForSeveralPlaces();
    void timeLimit();
    void cancelled();
    void deepTrees();

private:
    QByteArray mTop;
};

void BookmarkSearchTest::init() {
    VKTest::init();
    mTop = makeFolder().toUtf8();
}

void BookmarkSearchTest::places_data() {
    QTest::addColumn<QByteArray>("last");
    QTest::addColumn<QByteArray>("now");
    QTest::newRow("renamed") << QByteArray("/a/b/old.jpg") << QByteArray("/a/b/new.jpg");
    QTest::newRow("into a folder beside it") << QByteArray("/a/b/old.jpg") << QByteArray("/a/b/c/old.jpg");
    QTest::newRow("one up") << QByteArray("/a/b/old.jpg") << QByteArray("/a/old.jpg");
    QTest::newRow("to the top") << QByteArray("/a/b/old.jpg") << QByteArray("/old.jpg");
    QTest::newRow("across") << QByteArray("/a/b/old.jpg") << QByteArray("/x/y/z/new.jpg");
    QTest::newRow("its folder renamed") << QByteArray("/gone/old.jpg") << QByteArray("/x/old.jpg");
    QTest::newRow("all folders renamed") << QByteArray("/gone/too/old.jpg") << QByteArray("/x/y/old.jpg");
    QTest::newRow("a name that is not UTF-8")
        << QByteArray("/a/b/old.jpg") << QByteArray("/x/Caf\xe9/\xff.jpg");
    QTest::newRow("from the top") << QByteArray("/old.jpg") << QByteArray("/a/b/c/new.jpg");
}

void BookmarkSearchTest::places() {
    QFETCH(const QByteArray, last);
    QFETCH(const QByteArray, now);
    for (const char* folder : {"/a/b/c", "/x/y/z", "/x/Caf\xe9"}) {
        makeFolders(mTop + folder);
    }
    for (const char* other : {"/a/1.jpg", "/a/b/2.jpg", "/a/b/c/3.jpg", "/x/4.jpg", "/x/y/z/5.jpg"}) {
        Disk::makeFile(mTop + other, "photo");
    }
    Disk::makeFile(mTop + now, "photo");
    const Found found = search(identityOf(mTop + now), mTop, mTop + last);
    QCOMPARE(found.error, 0);
    QCOMPARE(found.path, QByteArray(mTop + now));

    // A folder in its stead is not it, and when it is deleted nothing is.
    const FileIdentity wanted = identityOf(mTop + now);
    QCOMPARE(::unlink(Disk::text(mTop + now)), 0);
    Disk::makeFolder(mTop + now);
    const Found nothing = search(wanted, mTop, mTop + last);
    QCOMPARE(nothing.error, ENOENT);
    QVERIFY(nothing.path.isEmpty());
}

/// Two names of one file: the one that is nearer to the old place is found.
void BookmarkSearchTest::nearestFirst() {
    makeFolders(mTop + "/a/b/c/d");
    const char* const nearest[] = {"/a/b/1.jpg", "/a/b/c/2.jpg", "/a/b/c/d/3.jpg", "/a/4.jpg", "/5.jpg"};
    Disk::makeFile(mTop + nearest[0], "photo");
    for (const char* name : nearest) {
        if (name != nearest[0]) {
            QCOMPARE(::link(Disk::text(mTop + nearest[0]), Disk::text(mTop + name)), 0);
        }
    }
    const FileIdentity wanted = identityOf(mTop + nearest[0]);
    for (const char* name : nearest) {
        const Found found = search(wanted, mTop, mTop + "/a/b/old.jpg");
        QCOMPARE(found.path, QByteArray(mTop + name));
        QCOMPARE(::unlink(Disk::text(mTop + name)), 0);
    }
}

void BookmarkSearchTest::eachEntryOnce() {
    makeFolders(mTop + "/a/b/c");
    makeFolders(mTop + "/x/y");
    Disk::makeFile(mTop + "/a/b/1.jpg");
    Disk::makeFile(mTop + "/x/2.jpg");
    FileIdentity wanted = identityOf(mTop + "/x/2.jpg");
    ++wanted.born->seconds;
    const Found found = search(wanted, mTop, mTop + "/a/b/c/old.jpg");
    QCOMPARE(found.error, ENOENT);
    // There are seven; what was searched already is not entered again on the way up.
    QCOMPARE(found.searched, std::size_t(7));
}

void BookmarkSearchTest::theTopItself() {
    Disk::makeFolder(mTop + "/a");
    const Found found = search(identityOf(mTop + "/a"), mTop, mTop);
    QCOMPARE(found.path, QByteArray(mTop + "/a"));
    // A path that does not lie there at all.
    QCOMPARE(search(identityOf(mTop + "/a"), mTop, "/somewhere/else").path, QByteArray(mTop + "/a"));
}

void BookmarkSearchTest::linksAreNotFollowed() {
    const QByteArray elsewhere = makeFolder().toUtf8();
    Disk::makeFile(elsewhere + "/a.jpg", "photo");
    Disk::makeLink(mTop + "/link", elsewhere);
    Disk::makeLink(mTop + "/a.jpg", elsewhere + "/a.jpg");
    Disk::makeLink(mTop + "/loop", ".");
    QCOMPARE(search(identityOf(elsewhere + "/a.jpg"), mTop, mTop + "/old.jpg").error, ENOENT);
    // A link that is the item itself is found.
    QCOMPARE(search(identityOf(mTop + "/a.jpg"), mTop, mTop + "/old.jpg").path, QByteArray(mTop + "/a.jpg"));
}

void BookmarkSearchTest::otherMountsAreNotEntered() {
    makeFolders(mTop + "/a/mount");
    const Disk::TemporaryFileSystem disk(mTop + "/a/mount", "size=1m");
    VKTEST_NEEDS(disk.isMounted(), "root, to mount a file system");
    Disk::makeFile(mTop + "/a/mount/a.jpg", "photo");
    const FileIdentity wanted = identityOf(mTop + "/a/mount/a.jpg");
    QCOMPARE(search(wanted, mTop, mTop + "/old.jpg").error, ENOENT);
    QCOMPARE(search(wanted, mTop + "/a/mount", mTop + "/a/mount/old.jpg").error, 0);
}

void BookmarkSearchTest::unreadableFoldersArePassedOver() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mTop);
    QCOMPARE(::chmod(Disk::text(mTop), 0755), 0);
    makeFolders(mTop + "/a");
    makeFolders(mTop + "/b");
    Disk::makeFile(mTop + "/a/1.jpg", "photo");
    Disk::makeFile(mTop + "/b/2.jpg", "photo");
    const FileIdentity hidden = identityOf(mTop + "/a/1.jpg");
    const FileIdentity shown = identityOf(mTop + "/b/2.jpg");
    QCOMPARE(::chmod(Disk::text(mTop + "/a"), 0700), 0);
    QCOMPARE(Disk::asOtherUser([&] { return search(hidden, mTop, mTop + "/old.jpg").error; }), ENOENT);
    QCOMPARE(Disk::asOtherUser([&] { return search(shown, mTop, mTop + "/old.jpg").error; }), 0);
}

void BookmarkSearchTest::entryLimit_data() {
    QTest::addColumn<int>("over");
    QTest::newRow("limit - 1") << -1;
    QTest::newRow("limit") << 0;
    QTest::newRow("limit + 1") << 1;
}

void BookmarkSearchTest::entryLimit() {
    QFETCH(const int, over);
    constexpr int kLimit = 600; // more than is looked at between two looks at the clock
    for (int i = 0; i < kLimit + over; ++i) {
        Disk::makeFile(mTop + '/' + QByteArray::number(i));
    }
    FileIdentity wanted = identityOf(mTop + "/0");
    ++wanted.born->seconds;
    const Found found = search(wanted, mTop, mTop + "/old.jpg", limitsOf(kLimit));
    QCOMPARE(found.error, over <= 0 ? ENOENT : ETIMEDOUT);
    QCOMPARE(found.searched, std::size_t(kLimit + std::min(over, 0)));
}

void BookmarkSearchTest::oneAccountForSeveralPlaces() {
    makeFolders(mTop + "/a");
    makeFolders(mTop + "/b");
    Disk::makeFile(mTop + "/a/1");
    Disk::makeFile(mTop + "/a/2");
    Disk::makeFile(mTop + "/b/3");
    const FileIdentity wanted = identityOf(mTop + "/b/3");
    const SearchLimits limits = limitsOf(2);
    BookmarkSearch search(wanted, limits);
    QByteArray found;
    QCOMPARE(search.findBelow(mTop + "/a", mTop + "/a/old", found), ENOENT);
    QCOMPARE(search.findBelow(mTop + "/b", mTop + "/b/old", found), ETIMEDOUT);
}

void BookmarkSearchTest::timeLimit() {
    Disk::makeFile(mTop + "/a.jpg");
    SearchLimits limits;
    limits.time = std::chrono::milliseconds(0);
    const Found found = search(identityOf(mTop + "/a.jpg"), mTop, mTop + "/old.jpg", limits);
    QCOMPARE(found.error, ETIMEDOUT);
    QCOMPARE(found.searched, std::size_t(0));
}

void BookmarkSearchTest::cancelled() {
    for (int i = 0; i < 1000; ++i) {
        Disk::makeFile(mTop + '/' + QByteArray::number(i));
    }
    FileIdentity wanted = identityOf(mTop + "/0");
    ++wanted.born->seconds;
    int looks = 0;
    SearchLimits limits = limitsOf(kNoLimit);
    limits.isCancelled = [&looks] { return ++looks == 3; };
    const Found found = search(wanted, mTop, mTop + "/old.jpg", limits);
    QCOMPARE(found.error, ECANCELED);
    QCOMPARE(looks, 3);
    // At the folder's begin, and then often enough.
    QCOMPARE(found.searched, std::size_t(512));
}

/// Deeper than a path that the system takes at once.
void BookmarkSearchTest::deepTrees() {
    QByteArray path = mTop;
    FileIdentity wanted;
    {
        const Disk::WorkingFolder working(mTop);
        while (path.size() < 6000) {
            const QByteArray name(200, 'n');
            Disk::makeFolder(name);
            QCOMPARE(::chdir(name.constData()), 0);
            path += '/' + name;
        }
        Disk::makeFile("a.jpg", "photo");
        QCOMPARE(identify("a.jpg", wanted), 0);
    }
    const Found found = search(wanted, mTop, mTop + "/old.jpg");
    QCOMPARE(found.error, 0);
    QCOMPARE(found.path, QByteArray(path + "/a.jpg"));
}

VKTEST_MAIN(BookmarkSearchTest)
#include "BookmarkSearchTest.moc"
