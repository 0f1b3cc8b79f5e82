// The recycle bin by URLs and statuses: what each call gives, and what is shown of a bin.
#include "VKCoreKit/VKFileMgr.h"

#include "CoreKitSupport.h"
#include "Platform/RecycleSupport.h"

#include <cerrno>
#include <memory>

using namespace CoreKit;
using Recycle::Home;
using Recycle::Volume;

namespace {

struct Shown {
    QByteArray path;
    QByteArray original;
    VKItemKind kind;
    bool isFolderUrl;
    bool deletedKnown;
    std::int64_t deletedMs;
};

struct Bag {
    QList<Shown> items;
    qsizetype most = 1000;
};

bool keepItem(const VKRecycledItem& item, void* context) {
    auto* const bag = static_cast<Bag*>(context);
    bag->items.append(Shown{CFURLCopyFileSystemBytes(item.url), CFURLCopyFileSystemBytes(item.original),
                            item.kind, CFURLHasDirectoryPath(item.url) != 0, item.deletedKnown,
                            item.deletedMs});
    return bag->items.size() < bag->most;
}

} // namespace

class VKFileMgrRecycleTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void roundTrip_data();
    void roundTrip();
    void toATarget();
    void withoutWantingTheUrl();
    void recycleStatuses_data();
    void recycleStatuses();
    void restoreStatuses();
    void wrongArguments();
    void spelledOnDisk();
    void listing();
    void listingStopsAcrossBins();

private:
    [[nodiscard]] QByteArray path(const QByteArray& name) const { return mBase + "/photos/" + name; }

    std::unique_ptr<Volume> mVolume;
    std::unique_ptr<Home> mHome;
    QByteArray mBase;
};

void VKFileMgrRecycleTest::initTestCase() {
    mBase = makeFolder(QStringLiteral("base")).toUtf8();
    if (Recycle::mountPrivately()) { // so that no bin is met at the root of the machine's own volume
        mVolume = std::make_unique<Volume>("tmpfs");
        QVERIFY(mVolume->isMounted());
        mBase = mVolume->folder();
    }
}

void VKFileMgrRecycleTest::init() {
    VKTest::init();
    Disk::makeFolder(mBase + "/photos");
    Disk::makeFolder(mBase + "/home");
    mHome = std::make_unique<Home>(mBase + "/home");
}

void VKFileMgrRecycleTest::cleanup() {
    mHome.reset();
    for (const QByteArray& name : Disk::namesIn(mBase)) {
        Disk::removeTree(mBase + '/' + name);
    }
}

void VKFileMgrRecycleTest::roundTrip_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("isFolder");
    QTest::newRow("file") << QByteArray("a.jpg") << false;
    QTest::newRow("folder") << QByteArray("folder") << true;
    QTest::newRow("percent and line break") << QByteArray("a%20\nb.jpg") << false;
    QTest::newRow("decomposed") << QByteArray("cafe\xCC\x81.jpg") << false;
    QTest::newRow("not UTF-8") << QByteArray("lat\xE9.jpg") << false;
    QTest::newRow("255 bytes, not UTF-8") << QByteArray(255, '\xE9') << true;
}

void VKFileMgrRecycleTest::roundTrip() {
    QFETCH(QByteArray, name);
    QFETCH(bool, isFolder);
    isFolder ? Disk::makeFolder(path(name)) : Disk::makeFile(path(name), "abc");
    const auto url = makeUrl(path(name), isFolder);
    QVERIFY(VKFileMgrCanRecycleItem(url.get()));
    VKCFRef<CFURLRef> recycled;
    QCOMPARE(VKFileMgrRecycleItemCopy(url.get(), recycled.out()), kVKStatusSuccess);
    QVERIFY(recycled);
    QCOMPARE(CFURLHasDirectoryPath(recycled.get()) != 0, isFolder);
    QVERIFY(VKFileMgrPathExists(recycled.get()) && !VKFileMgrPathExists(url.get()));
    QVERIFY(CFURLCopyFileSystemBytes(recycled.get()).startsWith(QByteArray(mHome->bin() + "/files/")));
    QCOMPARE(VKFileMgrRestoreRecycledItem(recycled.get(), nullptr), kVKStatusSuccess);
    QVERIFY(VKFileMgrPathExists(url.get()) && !VKFileMgrPathExists(recycled.get()));
    QCOMPARE(VKFileMgrRestoreRecycledItem(recycled.get(), nullptr), static_cast<VKStatus>(ENOENT));
}

void VKFileMgrRecycleTest::toATarget() {
    Disk::makeFile(path("a"), "abc");
    Disk::makeFile(path("taken"), "other");
    VKCFRef<CFURLRef> recycled;
    QCOMPARE(VKFileMgrRecycleItemCopy(makeUrl(path("a")).get(), recycled.out()), kVKStatusSuccess);
    QCOMPARE(VKFileMgrRestoreRecycledItem(recycled.get(), makeUrl(path("taken")).get()),
             static_cast<VKStatus>(EEXIST));
    QCOMPARE(Disk::contentOf(path("taken")), QByteArray("other"));
    QCOMPARE(VKFileMgrRestoreRecycledItem(recycled.get(), makeUrl(path("new/b")).get()), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(path("new/b")), QByteArray("abc"));
}

void VKFileMgrRecycleTest::withoutWantingTheUrl() {
    Disk::makeFile(path("a"));
    QCOMPARE(VKFileMgrRecycleItemCopy(makeUrl(path("a")).get(), nullptr), kVKStatusSuccess);
    QVERIFY(!Disk::exists(path("a")));
}

void VKFileMgrRecycleTest::recycleStatuses_data() {
    QTest::addColumn<QByteArray>("path"); // "@" is the folder of photos, "~" the home folder
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("missing") << QByteArray("@/none") << VKStatus{ENOENT};
    QTest::newRow("no folder") << QByteArray("@/none/a") << VKStatus{ENOENT};
    QTest::newRow("below a file") << QByteArray("@/a/b") << VKStatus{ENOTDIR};
    QTest::newRow("no bin") << QByteArray("/proc/self/status") << kVKStatusCancelled;
    QTest::newRow("root") << QByteArray("/") << VKStatus{EBUSY};
    QTest::newRow("home") << QByteArray("~") << VKStatus{EBUSY};
    QTest::newRow("mount point") << QByteArray("/proc") << VKStatus{EBUSY};
}

void VKFileMgrRecycleTest::recycleStatuses() {
    QFETCH(QByteArray, path);
    QFETCH(VKStatus, status);
    Disk::makeFile(this->path("a"));
    path.replace("@", QByteArray(mBase + "/photos")).replace("~", QByteArray(mBase + "/home"));
    const auto url = makeUrl(path);
    CFURLRef recycled = url.get(); // anything but null
    QCOMPARE(VKFileMgrRecycleItemCopy(url.get(), &recycled), status);
    QVERIFY(recycled == nullptr);
    QVERIFY(!VKFileMgrCanRecycleItem(url.get()));
}

void VKFileMgrRecycleTest::restoreStatuses() {
    Disk::makeFile(path("a"), "abc");
    VKCFRef<CFURLRef> recycled;
    QCOMPARE(VKFileMgrRecycleItemCopy(makeUrl(path("a")).get(), recycled.out()), kVKStatusSuccess);
    QCOMPARE(VKFileMgrRestoreRecycledItem(makeUrl(path("a")).get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrRestoreRecycledItem(makeUrl(mHome->bin() + "/files/none").get(), nullptr),
             static_cast<VKStatus>(ENOENT));
    Disk::makeFile(mHome->bin() + "/info/a.trashinfo", "[Trash Info]\nPath=../../etc/passwd\n");
    QCOMPARE(VKFileMgrRestoreRecycledItem(recycled.get(), nullptr), kVKStatusNotUnderstood);
    QCOMPARE(VKFileMgrRestoreRecycledItem(recycled.get(), makeUrl(path("a")).get()), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(path("a")), QByteArray("abc"));
}

void VKFileMgrRecycleTest::wrongArguments() {
    const auto web = makeWebUrl();
    const auto file = makeUrl(path("a"));
    CFURLRef recycled = nullptr;
    Bag bag;
    QCOMPARE(VKFileMgrRecycleItemCopy(nullptr, &recycled), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrRecycleItemCopy(web.get(), &recycled), kVKStatusNotConvertible);
    QVERIFY(recycled == nullptr);
    QVERIFY(!VKFileMgrCanRecycleItem(nullptr));
    QVERIFY(!VKFileMgrCanRecycleItem(web.get()));
    QCOMPARE(VKFileMgrRestoreRecycledItem(nullptr, file.get()), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrRestoreRecycledItem(web.get(), nullptr), kVKStatusNotConvertible);
    QCOMPARE(VKFileMgrRestoreRecycledItem(file.get(), web.get()), kVKStatusNotConvertible);
    QCOMPARE(VKFileMgrListRecycledItems(nullptr, nullptr, nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrListRecycledItems(web.get(), &keepItem, &bag), kVKStatusNotConvertible);
    QVERIFY(bag.items.isEmpty());
}

/// From the text that is shown to the name on disk, into the bin and back, with the bytes as they were.
void VKFileMgrRecycleTest::spelledOnDisk() {
    for (const QByteArray& name : {QByteArray("cafe\xCC\x81.jpg"), QByteArray("lat\xE9.jpg")}) {
        Disk::makeFile(path(name), name);
        const QString shown = QString::fromUtf8(path(QByteArray())) +
                              QString::fromUtf8(name).normalized(QString::NormalizationForm_C);
        const auto url =
            VKCFRef<CFURLRef>::adopt(VKFileMgrCreateFileSystemRepresentation(makeString(shown).get(), false));
        VKCFRef<CFURLRef> recycled;
        QCOMPARE(VKFileMgrRecycleItemCopy(url.get(), recycled.out()), kVKStatusSuccess);
        QCOMPARE(VKFileMgrRestoreRecycledItem(recycled.get(), nullptr), kVKStatusSuccess);
        QCOMPARE(Disk::contentOf(path(name)), name);
    }
    QCOMPARE(Disk::namesIn(mBase + "/photos").size(), 2);
}

void VKFileMgrRecycleTest::listing() {
    Disk::makeFile(path("lat\xE9"), "abc");
    Disk::makeFolder(path("folder"));
    QCOMPARE(VKFileMgrRecycleItemCopy(makeUrl(path("lat\xE9")).get(), nullptr), kVKStatusSuccess);
    QCOMPARE(VKFileMgrRecycleItemCopy(makeUrl(path("folder"), true).get(), nullptr), kVKStatusSuccess);
    Disk::makeFile(mHome->bin() + "/files/unknown");
    Bag bag;
    QCOMPARE(VKFileMgrListRecycledItems(makeUrl(mBase + "/photos", true).get(), &keepItem, &bag),
             kVKStatusSuccess);
    QCOMPARE(bag.items.size(), 3);
    for (const Shown& item : bag.items) {
        const bool unknown = item.path.endsWith("/unknown");
        QVERIFY(item.path.startsWith(QByteArray(mHome->bin() + "/files/")));
        QCOMPARE(item.original.isNull(), unknown);
        QCOMPARE(item.deletedKnown, !unknown);
        QCOMPARE(item.deletedMs == 0, unknown);
        QCOMPARE(item.isFolderUrl, item.original == path("folder"));
        QVERIFY(item.kind == (item.isFolderUrl ? VKItemKind::Folder : VKItemKind::File));
        QVERIFY(unknown || item.original == path(item.path.mid(item.path.lastIndexOf('/') + 1)));
    }
    Bag none;
    QCOMPARE(VKFileMgrListRecycledItems(makeUrl(path("none"), true).get(), &keepItem, &none),
             kVKStatusSuccess);
    QVERIFY(none.items.isEmpty());
}

void VKFileMgrRecycleTest::listingStopsAcrossBins() {
    VKTEST_NEEDS(mVolume != nullptr, "root, to mount volumes");
    const Volume card("tmpfs");
    QVERIFY(card.isMounted());
    for (const QByteArray& item : {path("a"), QByteArray(card.folder() + "/b")}) {
        Disk::makeFile(item);
        QCOMPARE(VKFileMgrRecycleItemCopy(makeUrl(item).get(), nullptr), kVKStatusSuccess);
    }
    Bag all;
    QCOMPARE(VKFileMgrListRecycledItems(nullptr, &keepItem, &all), kVKStatusSuccess);
    QByteArrayList originals;
    for (const Shown& item : all.items) {
        originals.append(item.original);
    }
    QVERIFY(originals.contains(path("a")) && originals.contains(card.folder() + "/b"));
    Bag one;
    one.most = 1;
    QCOMPARE(VKFileMgrListRecycledItems(nullptr, &keepItem, &one), kVKStatusSuccess);
    QCOMPARE(one.items.size(), 1);
}

VKTEST_MAIN(VKFileMgrRecycleTest)
#include "VKFileMgrRecycleTest.moc"
