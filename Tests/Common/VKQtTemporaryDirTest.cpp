// The temporary folder: made, removed with everything, and what stands in for it when none can be made.
#include "VKQtTemporaryDir.h"
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"
#include "VKCoreKit/CoreKitSupport.h"

#include <type_traits>

using namespace Qt::StringLiterals;

static_assert(!std::is_copy_constructible_v<VKQtTemporaryDir>);

namespace {

/// $TMPDIR while the object lives.
class TemporaryPlace {
public:
    explicit TemporaryPlace(const QByteArray& folder) : mBefore(qgetenv("TMPDIR")) {
        qputenv("TMPDIR", folder);
    }
    TemporaryPlace(const TemporaryPlace&) = delete;
    TemporaryPlace& operator=(const TemporaryPlace&) = delete;
    ~TemporaryPlace() { qputenv("TMPDIR", mBefore); }

private:
    QByteArray mBefore;
};

QByteArray bytesOf(const VKQtPath& path) { return path.path().toUtf8(); }

} // namespace

class VKQtTemporaryDirTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void makesAndRemoves();
    void twoAreTwo();
    void removesEverything();
    void removesNothingBehindALink();
    void staysGone();
    void leavesWhatIsMounted();
    void fallsBack_data();
    void fallsBack();
    void fallsBackToWhatWasTold();
    void noFallbackEither();
};

void VKQtTemporaryDirTest::makesAndRemoves() {
    QByteArray folder;
    {
        const VKQtTemporaryDir temporary;
        const VKQtPath path = temporary.getTemporaryPath();
        folder = bytesOf(path);
        QVERIFY(path.isFolder() && !path.hasVolumeID());
        QVERIFY(folder.startsWith(QByteArray(qgetenv("TMPDIR") + '/')));
        QCOMPARE(Disk::modeOf(folder), 0700U);
        QCOMPARE(Disk::namesIn(folder), QByteArrayList());
        QCOMPARE(temporary.getTemporaryPath().path(), path.path());
    }
    QVERIFY(!Disk::exists(folder));
}

void VKQtTemporaryDirTest::twoAreTwo() {
    const VKQtTemporaryDir first;
    const VKQtTemporaryDir second;
    QVERIFY(first.getTemporaryPath() != second.getTemporaryPath());
}

void VKQtTemporaryDirTest::removesEverything() {
    QByteArray folder;
    {
        const VKQtTemporaryDir temporary;
        folder = bytesOf(temporary.getTemporaryPath());
        Disk::makeFolder(folder + "/sub");
        Disk::makeFile(folder + "/sub/lat\xe9.jpg", "content");
        Disk::makeFolder(folder + "/Cafe\xcc\x81");
        Disk::makeFolder(folder + "/a\\b");
        Disk::makeFile(folder + "/.hidden");
        Disk::makeFifo(folder + "/fifo");
        QVERIFY(::chmod(Disk::text(folder + "/sub/lat\xe9.jpg"), 0) == 0);
    }
    QVERIFY(!Disk::exists(folder));
}

void VKQtTemporaryDirTest::removesNothingBehindALink() {
    const QByteArray elsewhere = makeFolder().toUtf8();
    Disk::makeFile(elsewhere + "/photo.jpg", "mine");
    {
        const VKQtTemporaryDir temporary;
        Disk::makeLink(bytesOf(temporary.getTemporaryPath()) + "/link", elsewhere);
    }
    QCOMPARE(Disk::contentOf(elsewhere + "/photo.jpg"), QByteArray("mine"));
}

void VKQtTemporaryDirTest::staysGone() {
    const VKQtTemporaryDir temporary;
    QCOMPARE(temporary.getTemporaryPath().remove(), kVKStatusSuccess);
    QVERIFY(!temporary.getTemporaryPath().exists());
}

void VKQtTemporaryDirTest::leavesWhatIsMounted() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount");
    QByteArray folder;
    std::unique_ptr<Disk::TemporaryFileSystem> mounted;
    {
        const VKQtTemporaryDir temporary;
        folder = bytesOf(temporary.getTemporaryPath());
        Disk::makeFolder(folder + "/card");
        mounted = std::make_unique<Disk::TemporaryFileSystem>(folder + "/card", "size=1m");
        QVERIFY(mounted->isMounted());
        Disk::makeFile(folder + "/card/photo.jpg", "mine");
    }
    QCOMPARE(Disk::contentOf(folder + "/card/photo.jpg"), QByteArray("mine"));
    mounted.reset();
    Disk::removeTree(folder);
}

void VKQtTemporaryDirTest::fallsBack_data() {
    QTest::addColumn<QByteArray>("place");
    QTest::addColumn<QByteArray>("fallback");
    // The system's own, because nothing can be made below these.
    QTest::newRow("below a file") << QByteArray("/dev/null/x") << QByteArray("/tmp");
    QTest::newRow("in the kernel's file system") << QByteArray("/proc/self") << QByteArray("/proc/self");
}

void VKQtTemporaryDirTest::fallsBack() {
    QFETCH(QByteArray, place);
    QFETCH(QByteArray, fallback);
    const TemporaryPlace moved(place);
    {
        const VKQtTemporaryDir temporary;
        const VKQtPath path = temporary.getTemporaryPath();
        QCOMPARE(bytesOf(path), fallback);
        QVERIFY(path.isFolder() && !path.hasVolumeID());
    }
    QVERIFY(Disk::exists(fallback));
}

void VKQtTemporaryDirTest::fallsBackToWhatWasTold() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/inside", "mine");
    VKFileMgrSetFolderPath(kVKFolderTemporaryItems, CoreKit::makeUrl(folder, true).get());
    const TemporaryPlace moved("/dev/null/x");
    {
        const VKQtTemporaryDir temporary;
        QCOMPARE(bytesOf(temporary.getTemporaryPath()), folder);
    }
    VKFileMgrSetFolderPath(kVKFolderTemporaryItems, nullptr);
    // Never deleted, nor anything in it.
    QCOMPARE(Disk::contentOf(folder + "/inside"), QByteArray("mine"));
}

void VKQtTemporaryDirTest::noFallbackEither() {
    VKFileMgrSetFolderPath(kVKFolderTemporaryItems, CoreKit::makeUrl("/dev/null/x", true).get());
    const TemporaryPlace moved("/dev/null/x");
    const VKQtTemporaryDir temporary;
    QCOMPARE(temporary.getTemporaryPath().path(), QString());
    VKFileMgrSetFolderPath(kVKFolderTemporaryItems, nullptr);
}

VKTEST_MAIN(VKQtTemporaryDirTest)
#include "VKQtTemporaryDirTest.moc"
