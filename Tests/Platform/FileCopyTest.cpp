// The copy of one file or link: like its source in everything, never in another's place, whole or not there.
#include "Platform/FileCopy.h"

#include "Platform/CopyTestSupport.h"

#include <sys/resource.h>

using namespace VKPlatform;
using namespace CopyTest;

class FileCopyTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();

    void attributes_data();
    void attributes();
    void steps_data();
    void steps();
    void stepsFollowTheSpeed();
    void stepOfADiskThatBecomesSlow();
    void attributesWithoutRoom_data();
    void attributesWithoutRoom();
    void modes_data();
    void modes();

    void sizes_data();
    void sizes();
    void names_data();
    void names();
    void fileSystems_data();
    void fileSystems();
    void holes_data();
    void holes();
    void largeAttributes();
    void attributesTooLongForTheTarget();
    void attributesOnAFullDisk();
    void accessLists();
    void listsOfTheFolderAreNotTheCopys();
    void accessTime();
    void setUserBits();
    void ownersAreKeptOnRequest();
    void links_data();
    void links();
    void refused_data();
    void refused();
    void existingDestination_data();
    void existingDestination();
    void ontoItself();
    void madeUpByTheKernel();
    void longPath();
    void otherUsers();

private:
    [[nodiscard]] QByteArray at(const char* name) const { return mRoot + '/' + name; }

    QByteArray mRoot;
    FileSystems mSystems;
};

void FileCopyTest::initTestCase() {
    mRoot = makeFolder(QStringLiteral("copy")).toUtf8();
    mSystems.mount(makeFolder(QStringLiteral("systems")).toUtf8());
}

void FileCopyTest::cleanupTestCase() { mSystems.unmount(); }

void FileCopyTest::cleanup() {
    mSystems.clear();
    Disk::removeTree(mRoot);
    Disk::makeFolder(mRoot);
}

void FileCopyTest::attributes_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("copied");
    QTest::newRow("user's") << QByteArray("user.xmp") << true;
    QTest::newRow("user's, shortest") << QByteArray("user.x") << true;
    QTest::newRow("user's without a name") << QByteArray("user.") << false;
    QTest::newRow("begins alike") << QByteArray("users.x") << false;
    QTest::newRow("access list") << QByteArray("system.posix_acl_access") << true;
    QTest::newRow("access list for new items") << QByteArray("system.posix_acl_default") << true;
    QTest::newRow("another of the system's") << QByteArray("system.sockprotoname") << false;
    QTest::newRow("capabilities") << QByteArray("security.capability") << false;
    QTest::newRow("label") << QByteArray("security.selinux") << false;
    QTest::newRow("administrator's") << QByteArray("trusted.overlay.opaque") << false;
    QTest::newRow("none") << QByteArray() << false;
}

void FileCopyTest::attributes() {
    QFETCH(QByteArray, name);
    QFETCH(bool, copied);
    QCOMPARE(isCopiedAttribute(name), copied);
}

void FileCopyTest::steps_data() {
    QTest::addColumn<quint64>("step");
    QTest::addColumn<qint64>("milliseconds");
    QTest::addColumn<quint64>("next");
    const quint64 smallest = kSmallestCopyStep;
    const quint64 largest = kLargestCopyStep;
    const quint64 first = kFirstCopyStep;
    QTest::newRow("fast: twice as much") << first << qint64(1) << first * 2;
    QTest::newRow("fast, the largest already") << largest << qint64(0) << largest;
    QTest::newRow("fast, from the smallest") << smallest << qint64(0) << smallest * 2;
    QTest::newRow("about right") << first << qint64(20) << first;
    QTest::newRow("at the lower edge") << first << qint64(10) << first;
    QTest::newRow("at the upper edge") << first << qint64(40) << first;
    QTest::newRow("slow") << first << qint64(41) << first / 2;
    QTest::newRow("slower") << first << qint64(100) << first / 4;
    QTest::newRow("hardly moving") << first << qint64(60000) << smallest;
    QTest::newRow("slow, the smallest already") << smallest << qint64(60000) << smallest;
}

void FileCopyTest::steps() {
    QFETCH(quint64, step);
    QFETCH(qint64, milliseconds);
    QFETCH(quint64, next);
    QCOMPARE(quint64(nextCopyStep(step, milliseconds * 1'000'000)), next);
}

void FileCopyTest::stepsFollowTheSpeed() {
    // Whatever the speed, from 1 MB/s on: before long, a step takes less than 100 ms.
    for (const double bytesPerSecond : {1e6, 1e7, 1e8, 1e9, 1e10}) {
        std::size_t step = kFirstCopyStep;
        for (int i = 0; i < 10; ++i) {
            step = nextCopyStep(step, static_cast<std::int64_t>(double(step) / bytesPerSecond * 1e9));
        }
        QVERIFY2(double(step) / bytesPerSecond < 0.1, qPrintable(QString::number(bytesPerSecond)));
    }
}

void FileCopyTest::stepOfADiskThatBecomesSlow() {
    // Fast as long as there is memory to write to, then as fast as a card: the step at hand is not asked again.
    std::size_t step = kFirstCopyStep;
    for (int i = 0; i < 20; ++i) {
        step = nextCopyStep(step, 0);
    }
    QVERIFY(double(step) / 25e6 < 0.1);
}

void FileCopyTest::attributesWithoutRoom_data() {
    QTest::addColumn<bool>("isEach");
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<qint64>("bytesTogether");
    QTest::addColumn<quint64>("freeBytes");
    QTest::addColumn<bool>("isTooLong");
    constexpr quint64 kRoom = 1 << 20;
    QTest::newRow("fit into a block") << false << qint64(20) << qint64(512) << kRoom << false;
    QTest::newRow("do not") << false << qint64(20) << qint64(513) << kRoom << true;
    QTest::newRow("do not, full disk") << false << qint64(20) << qint64(513) << kRoom - 1 << false;
    QTest::newRow("fits into a node") << true << qint64(3072) << qint64(60'000) << kRoom << false;
    QTest::newRow("does not") << true << qint64(3073) << qint64(3073) << kRoom << true;
    QTest::newRow("does not, full disk") << true << qint64(3073) << qint64(3073) << kRoom - 1 << false;
}

void FileCopyTest::attributesWithoutRoom() {
    QFETCH(bool, isEach);
    QFETCH(qint64, bytes);
    QFETCH(qint64, bytesTogether);
    QFETCH(quint64, freeBytes);
    const AttributeLimit limit = isEach ? AttributeLimit::Each : AttributeLimit::Together;
    QTEST(isTooLongAndNotTheDiskFull({limit, bytes, bytesTogether, freeBytes}), "isTooLong");
}

void FileCopyTest::modes_data() {
    QTest::addColumn<unsigned>("mode");
    QTest::addColumn<bool>("sameOwner");
    QTest::addColumn<unsigned>("copy");
    QTest::newRow("plain") << 0100644U << true << 0644U;
    QTest::newRow("plain, another's") << 0100640U << false << 0640U;
    QTest::newRow("set-user") << 0104755U << true << 04755U;
    QTest::newRow("set-user of another's") << 0106755U << false << 0755U;
    QTest::newRow("sticky of another's") << 0101777U << false << 01777U;
    QTest::newRow("none") << 0100000U << false << 0U;
}

void FileCopyTest::modes() {
    QFETCH(unsigned, mode);
    QFETCH(bool, sameOwner);
    QFETCH(unsigned, copy);
    QCOMPARE(modeOfCopy(mode, sameOwner), copy);
}

void FileCopyTest::sizes_data() {
    QTest::addColumn<qint64>("size");
    for (const qint64 size : {qint64(0), qint64(1), qint64(4096), qint64(kFirstCopyStep) - 1,
                              qint64(kFirstCopyStep), qint64(kFirstCopyStep) + 1, qint64(9'999'999)}) {
        QTest::addRow("%lld bytes", size) << size;
    }
}

void FileCopyTest::sizes() {
    QFETCH(qint64, size);
    makePhoto(at("a"), size);
    CountingWatcher watcher;
    QCOMPARE(copyFile(at("a"), at("b"), {}, &watcher), 0);
    QCOMPARE(Disk::recordOf(at("b"), Disk::kAllParts), Disk::recordOf(at("a"), Disk::kAllParts));
    QCOMPARE(watcher.bytes, quint64(size));
    QVERIFY(watcher.calls >= 1);
    QCOMPARE(Disk::namesIn(mRoot), (QByteArrayList{"a", "b"}));
}

void FileCopyTest::names_data() { addNameRows(); }

void FileCopyTest::names() {
    QFETCH(QByteArray, name);
    makePhoto(at("a"), 10);
    QCOMPARE(copyFile(at("a"), mRoot + '/' + name, {}, nullptr), 0);
    QCOMPARE(copyFile(mRoot + '/' + name, at("b"), {}, nullptr), 0);
    QVERIFY(Disk::namesIn(mRoot).contains(name));
    QCOMPARE(Disk::recordOf(at("b"), Disk::kAllParts), Disk::recordOf(at("a"), Disk::kAllParts));
}

void FileCopyTest::fileSystems_data() { mSystems.addPairRows(); }

void FileCopyTest::fileSystems() {
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    VKTEST_NEEDS(mSystems.has(from) && mSystems.has(to), "root, loop devices and the file system's tools");
    const QByteArray source = mSystems.newFolder(from) + "/a.jpg";
    const QByteArray folder = mSystems.newFolder(to);
    makePhoto(source, 5'000'000);
    QCOMPARE(copyFile(source, folder + "/b.jpg", {}, nullptr), 0);
    const unsigned parts = mSystems.partsKeptBy(from) & mSystems.partsKeptBy(to);
    QCOMPARE(Disk::recordOf(folder + "/b.jpg", parts), Disk::recordOf(source, parts));
    QCOMPARE(Disk::namesIn(folder), QByteArrayList{"b.jpg"});

    // And again: it is there.
    QCOMPARE(copyFile(source, folder + "/b.jpg", {}, nullptr), EEXIST);
    QCOMPARE(copyFile(source, folder + "/c.jpg", {CopyFlush::ToDisk, CopyOwner::Keep}, nullptr), 0);
    QCOMPARE(Disk::recordOf(folder + "/c.jpg", parts), Disk::recordOf(source, parts));
    QCOMPARE(Disk::namesIn(folder), (QByteArrayList{"b.jpg", "c.jpg"}));
}

void FileCopyTest::holes_data() { mSystems.addPairRows(FileSystems::Pairs::WithHoles); }

void FileCopyTest::holes() {
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    VKTEST_NEEDS(mSystems.has(from) && mSystems.has(to), "root, loop devices and the file system's tools");
    const QByteArray source = mSystems.newFolder(from) + '/';
    const QByteArray folder = mSystems.newFolder(to) + '/';
    constexpr qint64 kSize = 4 * 1024 * 1024;
    struct Layout {
        const char* name;
        QList<qint64> data;
    };
    for (const Layout& layout :
         {Layout{"hole first", {kSize - 4096}}, Layout{"hole last", {0}},
          Layout{"holes between", {0, kSize / 2, kSize - 4096}}, Layout{"only a hole", {}}}) {
        const QByteArray a = source + layout.name;
        const QByteArray b = folder + layout.name;
        makeSparse(a, kSize, layout.data);
        CountingWatcher watcher;
        QCOMPARE(copyFile(a, b, {}, &watcher), 0);
        QCOMPARE(watcher.bytes, quint64(kSize));
        QCOMPARE(Disk::recordOf(b, Disk::kCopiedParts), Disk::recordOf(a, Disk::kCopiedParts));
        QVERIFY2(allocatedBytes(b) < kSize / 8, layout.name);
    }
}

void FileCopyTest::largeAttributes() {
    makePhoto(at("a"), 10);
    // More names than fit into a small block, and a value that does not, either.
    int kept = 0;
    for (int i = 0; i < 40; ++i) {
        const QByteArray name = "user." + QByteArray::number(i).rightJustified(30, 'x');
        kept += Disk::setAttribute(at("a"), name.constData(), QByteArray::number(i)) ? 1 : 0;
    }
    kept += Disk::setAttribute(at("a"), "user.large", QByteArray(1500, 'v')) ? 1 : 0;
    QVERIFY(kept > 30);
    QCOMPARE(copyFile(at("a"), at("b"), {}, nullptr), 0);
    QCOMPARE(Disk::attributesOf(at("b")), Disk::attributesOf(at("a")));
    QCOMPARE(Disk::attributesOf(at("b")).count(','), qsizetype(kept)); // and the one of every photo here
}

void FileCopyTest::attributesTooLongForTheTarget() {
    VKTEST_NEEDS(mSystems.has("xfs") && mSystems.has("ext4"),
                 "root, loop devices and the file system's tools");
    const QByteArray source = mSystems.newFolder("xfs") + "/a.jpg";
    const QByteArray folder = mSystems.newFolder("ext4");
    makePhoto(source, 1000);
    QVERIFY(Disk::setAttribute(source, "user.large", QByteArray(10'000, 'v')));
    QVERIFY(Disk::setAttribute(source, "user.title", "Dawn"));
    for (const CopyRules rules : {CopyRules(), CopyRules{CopyFlush::ToDisk, CopyOwner::Keep}}) {
        QCOMPARE(copyFile(source, folder + "/b.jpg", rules, nullptr), 0);
        const QByteArray kept = Disk::attributesOf(folder + "/b.jpg");
        QVERIFY2(kept.contains("user.rating") && kept.contains("user.title"), kept);
        QVERIFY2(!kept.contains("user.large"), kept);
        const unsigned parts = Disk::kKindAndContent | Disk::kModes | Disk::kTimes;
        QCOMPARE(Disk::recordOf(folder + "/b.jpg", parts), Disk::recordOf(source, parts));
        QCOMPARE(::unlink(Disk::text(folder + "/b.jpg")), 0);
    }
}

void FileCopyTest::attributesOnAFullDisk() {
    VKTEST_NEEDS(mSystems.has("xfs") && mSystems.has("ext4"),
                 "root, loop devices and the file system's tools");
    const QByteArray source = mSystems.newFolder("xfs") + "/a.jpg";
    const QByteArray folder = mSystems.newFolder("ext4");
    makePhoto(source, 0);
    QVERIFY(Disk::setAttribute(source, "user.long", QByteArray(700, 'v')));
    QCOMPARE(copyFile(source, folder + "/fits", {}, nullptr), 0);
    QVERIFY(Disk::attributesOf(folder + "/fits").contains("user.long"));
    const int filler = ::open(Disk::text(folder + "/filler"), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const QByteArray block(1024, 'x');
    for (int flushes = 0; flushes < 3; ++flushes) { // what was set aside for writing becomes free by storing
        while (::write(filler, block.constData(), 1024) == 1024) {
        }
        QCOMPARE(::fsync(filler), 0);
    }
    QCOMPARE(::close(filler), 0);
    // This one would fit, if there were room. Equal attributes would share their block.
    QVERIFY(Disk::setAttribute(source, "user.long", QByteArray(700, 'w')));
    QCOMPARE(copyFile(source, folder + "/b.jpg", {}, nullptr), ENOSPC);
    QCOMPARE(Disk::namesIn(folder), (QByteArrayList{"filler", "fits"}));
}

void FileCopyTest::accessLists() {
    makePhoto(at("a"), 10);
    VKTEST_NEEDS(Shell::outputOf("setfacl -m u:65534:rwx,g:65534:r '" + at("a") + '\'').status == 0,
                 "setfacl and a file system with access lists");
    QVERIFY(Disk::attributesOf(at("a")).contains("system.posix_acl_access"));
    QCOMPARE(copyFile(at("a"), at("b"), {}, nullptr), 0);
    QCOMPARE(Disk::recordOf(at("b"), Disk::kAllParts), Disk::recordOf(at("a"), Disk::kAllParts));
}

void FileCopyTest::listsOfTheFolderAreNotTheCopys() {
    makePhoto(at("a"), 10);
    Disk::makeFolder(at("open"));
    VKTEST_NEEDS(Shell::outputOf("setfacl -d -m u:65534:rwx '" + at("open") + '\'').status == 0,
                 "setfacl and a file system with access lists");
    Disk::makeFile(at("open/other"));
    QVERIFY(Disk::attributesOf(at("open/other")).contains("system.posix_acl_access"));
    QCOMPARE(copyFile(at("a"), at("open/b"), {}, nullptr), 0);
    QCOMPARE(Disk::recordOf(at("open/b"), Disk::kAllParts), Disk::recordOf(at("a"), Disk::kAllParts));
}

void FileCopyTest::accessTime() {
    makePhoto(at("a"), 10);
    const timespec times[2] = {{.tv_sec = 987'654'321, .tv_nsec = 123'456'789},
                               {.tv_sec = 1'234'567'890, .tv_nsec = 987'654'321}};
    QCOMPARE(::utimensat(AT_FDCWD, at("a").constData(), times, 0), 0);
    QCOMPARE(copyFile(at("a"), at("b"), {}, nullptr), 0);
    struct stat copy;
    QCOMPARE(::stat(at("b").constData(), &copy), 0);
    QCOMPARE(copy.st_atim.tv_sec, times[0].tv_sec);
    QCOMPARE(copy.st_atim.tv_nsec, times[0].tv_nsec);
    QCOMPARE(copy.st_mtim.tv_sec, times[1].tv_sec);
}

void FileCopyTest::setUserBits() {
    makePhoto(at("mine"), 10);
    QCOMPARE(::chmod(at("mine").constData(), 06755), 0);
    QCOMPARE(copyFile(at("mine"), at("mine 2"), {}, nullptr), 0);
    QCOMPARE(Disk::modeOf(at("mine 2")), 06755U);
    VKTEST_NEEDS(Disk::isRoot(), "root, to own a file of another user");
    QCOMPARE(::chown(at("mine").constData(), 65534, 65534), 0);
    QCOMPARE(::chmod(at("mine").constData(), 06755), 0);
    QCOMPARE(copyFile(at("mine"), at("mine 3"), {}, nullptr), 0);
    QCOMPARE(Disk::modeOf(at("mine 3")), 0755U);
    // Of this user, but lent by another group.
    QCOMPARE(::chown(at("mine").constData(), 0, 65534), 0);
    QCOMPARE(::chmod(at("mine").constData(), 02755), 0);
    QCOMPARE(copyFile(at("mine"), at("mine 4"), {}, nullptr), 0);
    QCOMPARE(Disk::modeOf(at("mine 4")), 0755U);
}

void FileCopyTest::ownersAreKeptOnRequest() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to own a file of another user");
    makePhoto(at("a"), 10);
    Disk::makeLink(at("link"), "a");
    QCOMPARE(::chown(at("a").constData(), 65534, 65533), 0);
    QCOMPARE(::chmod(at("a").constData(), 04711), 0);
    QCOMPARE(::lchown(at("link").constData(), 65534, 65533), 0);
    const CopyRules keep = {CopyFlush::Leave, CopyOwner::Keep};
    QCOMPARE(copyFile(at("a"), at("b"), keep, nullptr), 0);
    QCOMPARE(copyFile(at("link"), at("link b"), keep, nullptr), 0);
    QCOMPARE(Disk::recordOf(at("b"), Disk::kModes | Disk::kOwners),
             Disk::recordOf(at("a"), Disk::kModes | Disk::kOwners));
    QCOMPARE(Disk::recordOf(at("link b"), Disk::kOwners), Disk::recordOf(at("link"), Disk::kOwners));

    // What a user may not give away stays the user's own, without the bits that lend rights.
    Disk::openForOthers(mRoot);
    QCOMPARE(::chmod(mRoot.constData(), 0777), 0);
    QCOMPARE(::chown(at("a").constData(), 0, 0), 0);
    QCOMPARE(::chmod(at("a").constData(), 04755), 0);
    QCOMPARE(Disk::asOtherUser([&] { return copyFile(at("a"), at("c"), keep, nullptr); }), 0);
    QCOMPARE(Disk::modeOf(at("c")), 0755U);
}

void FileCopyTest::links_data() {
    QTest::addColumn<QByteArray>("target");
    QTest::newRow("to a file") << QByteArray("a");
    QTest::newRow("to nothing") << QByteArray("gone");
    QTest::newRow("to a folder") << QByteArray("/");
    QTest::newRow("to itself") << QByteArray("link");
    QTest::newRow("not UTF-8") << QByteArray("caf\xE9");
    QTest::newRow("longest") << QByteArray(4095, 'x');
}

void FileCopyTest::links() {
    QFETCH(QByteArray, target);
    makePhoto(at("a"), 10);
    Disk::makeLink(at("link"), target);
    Disk::setTime(at("link"), 1'000'000'000, 123'456'789);
    QCOMPARE(copyFile(at("link"), at("copy"), {}, nullptr), 0);
    QCOMPARE(Disk::recordOf(at("copy"), Disk::kAllParts), Disk::recordOf(at("link"), Disk::kAllParts));
}

void FileCopyTest::refused_data() {
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<int>("error");
    const QByteArray none;
    QTest::newRow("folder") << QByteArray("folder") << QByteArray("new") << EISDIR;
    QTest::newRow("fifo") << QByteArray("fifo") << QByteArray("new") << EOPNOTSUPP;
    QTest::newRow("socket") << QByteArray("socket") << QByteArray("new") << EOPNOTSUPP;
    QTest::newRow("device") << QByteArray("/dev/null") << QByteArray("new") << EOPNOTSUPP;
    QTest::newRow("missing") << QByteArray("gone") << QByteArray("new") << ENOENT;
    QTest::newRow("no path") << none << QByteArray("new") << ENOENT;
    QTest::newRow("root") << QByteArray("/") << QByteArray("new") << EISDIR;
    QTest::newRow("working folder") << QByteArray(".") << QByteArray("new") << EISDIR;
    QTest::newRow("into a missing folder") << QByteArray("a") << QByteArray("gone/new") << ENOENT;
    QTest::newRow("into a file") << QByteArray("a") << QByteArray("a/new") << ENOTDIR;
    QTest::newRow("to no path") << QByteArray("a") << none << ENOENT;
    QTest::newRow("to the root") << QByteArray("a") << QByteArray("/") << EEXIST;
    QTest::newRow("to the working folder") << QByteArray("a") << QByteArray("folder/.") << EEXIST;
    QTest::newRow("name of 256 bytes") << QByteArray("a") << QByteArray(256, 'n') << ENAMETOOLONG;
}

void FileCopyTest::refused() {
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(int, error);
    makePhoto(at("a"), 10);
    Disk::makeFolder(at("folder"));
    Disk::makeFifo(at("fifo"));
    Disk::makeSocket(at("socket"));
    const QByteArrayList before = Disk::namesIn(mRoot);
    const Disk::WorkingFolder working(mRoot);
    QCOMPARE(copyFile(from, to, {}, nullptr), error);
    QCOMPARE(Disk::namesIn(mRoot), before);
}

void FileCopyTest::existingDestination_data() {
    QTest::addColumn<QByteArray>("to");
    QTest::newRow("file") << QByteArray("file");
    QTest::newRow("folder") << QByteArray("folder");
    QTest::newRow("link to nothing") << QByteArray("dangling");
    QTest::newRow("link to a folder") << QByteArray("link");
    QTest::newRow("fifo") << QByteArray("fifo");
}

void FileCopyTest::existingDestination() {
    QFETCH(QByteArray, to);
    makePhoto(at("a"), 10);
    Disk::makeLink(at("source link"), "a");
    Disk::makeFile(at("file"), "what was there");
    Disk::makeFolder(at("folder"));
    Disk::makeLink(at("dangling"), "gone");
    Disk::makeLink(at("link"), "folder");
    Disk::makeFifo(at("fifo"));
    const QByteArrayList before = Disk::recordsBelow(mRoot, Disk::kAllParts);
    QCOMPARE(copyFile(at("a"), mRoot + '/' + to, {}, nullptr), EEXIST);
    QCOMPARE(copyFile(at("source link"), mRoot + '/' + to, {}, nullptr), EEXIST);
    QCOMPARE(Disk::recordsBelow(mRoot, Disk::kAllParts), before);
}

void FileCopyTest::ontoItself() {
    makePhoto(at("a"), 10);
    const QByteArray before = Disk::recordOf(at("a"), Disk::kAllParts);
    QCOMPARE(copyFile(at("a"), at("a"), {}, nullptr), EEXIST);
    QCOMPARE(Disk::recordOf(at("a"), Disk::kAllParts), before);
}

void FileCopyTest::madeUpByTheKernel() {
    // Such a file says that it is empty.
    QCOMPARE(copyFile("/proc/version", at("version"), {}, nullptr), 0);
    QVERIFY(Disk::contentOf(at("version")).size() > 10);
    QCOMPARE(Disk::contentOf(at("version")), Disk::contentOf("/proc/version"));
}

void FileCopyTest::longPath() {
    const QByteArray name(200, 'd');
    QByteArray path = mRoot;
    {
        const Disk::WorkingFolder start(mRoot);
        for (int i = 0; i < 25; ++i) {
            Disk::makeFolder(name);
            QCOMPARE(::chdir(name.constData()), 0);
            path += '/' + name;
        }
        makePhoto("a", 10);
        QCOMPARE(copyFile(path + "/a", path + "/b", {}, nullptr), 0);
        QCOMPARE(Disk::recordOf("b", Disk::kAllParts), Disk::recordOf("a", Disk::kAllParts));
    }
    QVERIFY(path.size() > PATH_MAX);
}

void FileCopyTest::otherUsers() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    QCOMPARE(::chmod(mRoot.constData(), 0777), 0);
    makePhoto(at("public"), 10);
    QCOMPARE(::chmod(at("public").constData(), 0644), 0);
    makePhoto(at("private"), 10);
    QCOMPARE(::chmod(at("private").constData(), 0600), 0);
    Disk::makeFolder(at("closed"));
    QCOMPARE(Disk::asOtherUser([&] { return copyFile(at("public"), at("copy"), {}, nullptr); }), 0);
    QCOMPARE(Disk::asOtherUser([&] { return copyFile(at("private"), at("no"), {}, nullptr); }), EACCES);
    QCOMPARE(Disk::asOtherUser([&] { return copyFile(at("public"), at("closed/no"), {}, nullptr); }), EACCES);
    QCOMPARE(Disk::recordOf(at("copy"), Disk::kCopiedParts),
             Disk::recordOf(at("public"), Disk::kCopiedParts));
    QVERIFY(!Disk::exists(at("no")));
    QVERIFY(Disk::namesIn(at("closed")).isEmpty());
}

VKTEST_MAIN(FileCopyTest)
#include "FileCopyTest.moc"
