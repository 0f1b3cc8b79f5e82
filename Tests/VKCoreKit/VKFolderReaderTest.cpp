// Folders entry by entry, with names as text and as bytes.
#include "VKCoreKit/VKFolderReader.h"

#include "CoreKitSupport.h"
#include "Support/DiskSupport.h"

#include <QMap>

#include <cerrno>
#include <type_traits>

using namespace CoreKit;

namespace {

static_assert(std::is_nothrow_move_constructible_v<VKFolderReader>);
static_assert(std::is_nothrow_move_assignable_v<VKFolderReader>);
static_assert(!std::is_copy_constructible_v<VKFolderReader> && !std::is_copy_assignable_v<VKFolderReader>);

struct Seen {
    QString name;
    VKItemKind kind;

    friend bool operator==(const Seen&, const Seen&) = default;
};

/// What the reader still delivers, by the bytes of the names.
QMap<QByteArray, Seen> rest(VKFolderReader& reader) {
    QMap<QByteArray, Seen> all;
    for (VKFolderEntry entry; reader.next(entry);) {
        all.insert(entry.rawName.toByteArray(), Seen{entry.name, entry.kind});
    }
    return all;
}

} // namespace

class VKFolderReaderTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void namesAndKinds();
    void bytesFirst();
    void emptyFolder();
    void linkToAFolder();
    void oneRecordForAll();
    void manyEntries();
    void details();
    void detailsOfWhatIsGone();
    void detailsOfNothing();
    void whatDoesNotOpen_data();
    void whatDoesNotOpen();
    void unreadableFolder();
    void folderThatVanishes();
    void notOpen();
    void anotherFolder();
    void failedOpeningLeavesNothing();
    void moving();

private:
    /// A reader at the beginning of the test's folder.
    [[nodiscard]] VKFolderReader opened() const {
        VKFolderReader reader;
        Disk::must(reader.open(makeUrl(mRoot, true).get()) == kVKStatusSuccess, "open", mRoot);
        return reader;
    }

    QByteArray mRoot; ///< ends in "/"
};

void VKFolderReaderTest::initTestCase() { mRoot = makeFolder(QStringLiteral("reader")).toUtf8() + '/'; }

void VKFolderReaderTest::cleanup() {
    Disk::removeTree(mRoot);
    Disk::makeFolder(mRoot);
}

void VKFolderReaderTest::namesAndKinds() {
    Disk::makeFile(mRoot + "a.jpg", "abc");
    Disk::makeFile(mRoot + ".hidden");
    Disk::makeFile(mRoot + "...");
    Disk::makeFile(mRoot + "e\xCC\x81");
    Disk::makeFile(mRoot + "lat\xE9");
    Disk::makeFile(mRoot + "back\\slash");
    Disk::makeFolder(mRoot + "folder");
    Disk::makeLink(mRoot + "link", "folder");
    Disk::makeLink(mRoot + "dangling", "nothing");
    Disk::makeFifo(mRoot + "fifo");
    VKFolderReader reader = opened();
    const QMap<QByteArray, Seen> expected{
        {"a.jpg", {QStringLiteral("a.jpg"), VKItemKind::File}},
        {".hidden", {QStringLiteral(".hidden"), VKItemKind::File}},
        {"...", {QStringLiteral("..."), VKItemKind::File}},
        {"e\xCC\x81", {QStringLiteral("e\u0301"), VKItemKind::File}},
        {"lat\xE9", {QStringLiteral("lat\uFFFD"), VKItemKind::File}},
        {"back\\slash", {QStringLiteral("back\\slash"), VKItemKind::File}},
        {"folder", {QStringLiteral("folder"), VKItemKind::Folder}},
        {"link", {QStringLiteral("link"), VKItemKind::Link}},
        {"dangling", {QStringLiteral("dangling"), VKItemKind::Link}},
        {"fifo", {QStringLiteral("fifo"), VKItemKind::Special}},
    };
    const QMap<QByteArray, Seen> seen = rest(reader);
    QCOMPARE(seen.keys(), expected.keys());
    QVERIFY(seen == expected);
    QCOMPARE(reader.status(), kVKStatusSuccess);
}

void VKFolderReaderTest::bytesFirst() {
    Disk::makeFile(mRoot + "lat\xE9");
    VKFolderReader reader = opened();
    QCOMPARE(reader.lastName(), QString());
    VKFolderEntry entry;
    entry.name = QStringLiteral("kept");
    QVERIFY(reader.nextRaw(entry));
    QCOMPARE(entry.rawName.toByteArray(), QByteArray("lat\xE9"));
    QCOMPARE(entry.kind, VKItemKind::File);
    QCOMPARE(entry.name, QStringLiteral("kept"));
    QCOMPARE(reader.lastName(), QStringLiteral("lat\uFFFD"));
    QVERIFY(!reader.nextRaw(entry));
    QCOMPARE(reader.lastName(), QString());
    QCOMPARE(VKFolderReader().lastName(), QString());
}

void VKFolderReaderTest::emptyFolder() {
    VKFolderReader reader = opened();
    VKFolderEntry entry;
    QVERIFY(!reader.next(entry));
    QVERIFY(!reader.next(entry));
    QCOMPARE(reader.status(), kVKStatusSuccess);
}

void VKFolderReaderTest::linkToAFolder() {
    Disk::makeFolder(mRoot + "folder");
    Disk::makeFile(mRoot + "folder/a");
    Disk::makeLink(mRoot + "link", "folder");
    VKFolderReader reader;
    QCOMPARE(reader.open(makeUrl(mRoot + "link").get()), kVKStatusSuccess);
    QCOMPARE(rest(reader).keys(), QByteArrayList{"a"});
}

void VKFolderReaderTest::oneRecordForAll() {
    // A text that the caller keeps is not written over by the next entry.
    Disk::makeFile(mRoot + "first");
    Disk::makeFile(mRoot + "other");
    VKFolderReader reader = opened();
    VKFolderEntry entry;
    QVERIFY(reader.next(entry));
    const QString kept = entry.name;
    const QString expected(kept.constData(), kept.size());
    QVERIFY(reader.next(entry));
    QCOMPARE(kept, expected);
    QVERIFY(entry.name != kept);
    QCOMPARE(entry.name.toUtf8(), entry.rawName.toByteArray());
}

void VKFolderReaderTest::manyEntries() {
    // More than one block of the kernel's; long and short names by turns in one record.
    QByteArrayList names;
    for (int i = 0; i < 3000; ++i) {
        const QByteArray name = QByteArray::number(i) + QByteArray(i % 2 == 0 ? 0 : 200, 'x');
        Disk::makeFile(mRoot + name);
        names.append(name);
    }
    std::sort(names.begin(), names.end());
    VKFolderReader reader = opened();
    QByteArrayList seen;
    for (VKFolderEntry entry; reader.next(entry);) {
        QCOMPARE(entry.name.toUtf8(), entry.rawName.toByteArray());
        QCOMPARE(entry.kind, VKItemKind::File);
        seen.append(entry.name.toUtf8());
    }
    std::sort(seen.begin(), seen.end());
    QCOMPARE(seen, names);
}

void VKFolderReaderTest::details() {
    Disk::makeFile(mRoot + "lat\xE9", "abc");
    Disk::makeFolder(mRoot + "folder");
    Disk::makeLink(mRoot + "link", "lat\xE9");
    VKFolderReader reader = opened();
    int links = 0;
    int entries = 0;
    for (VKFolderEntry entry; reader.next(entry); ++entries) {
        const auto url = makeUrl(mRoot + entry.rawName.toByteArray());
        for (const bool follow : {false, true}) {
            VKItemDetails here;
            VKItemDetails byPath;
            QCOMPARE(reader.details(follow, here), kVKStatusSuccess);
            QCOMPARE(VKFileMgrGetItemDetails(url.get(), follow, &byPath), kVKStatusSuccess);
            QCOMPARE(here.kind, byPath.kind);
            QCOMPARE(here.kind, follow && entry.kind == VKItemKind::Link ? VKItemKind::File : entry.kind);
            QCOMPARE(here.sizeInBytes, byPath.sizeInBytes);
            QCOMPARE(here.modifiedMs, byPath.modifiedMs);
            QCOMPARE(here.modifiedKnown, byPath.modifiedKnown);
            QCOMPARE(here.createdMs, byPath.createdMs);
            QCOMPARE(here.createdKnown, byPath.createdKnown);
            links += entry.kind == VKItemKind::Link ? 1 : 0;
        }
    }
    QCOMPARE(entries, 3);
    QCOMPARE(links, 2);
}

void VKFolderReaderTest::detailsOfWhatIsGone() {
    Disk::makeLink(mRoot + "a", "nothing");
    VKFolderReader reader = opened();
    VKFolderEntry entry;
    QVERIFY(reader.next(entry));
    VKItemDetails details;
    details.sizeInBytes = 4711;
    QCOMPARE(reader.details(true, details), VKStatus{ENOENT});
    QCOMPARE(::unlink(Disk::text(mRoot + "a")), 0);
    QCOMPARE(reader.details(false, details), VKStatus{ENOENT});
    QCOMPARE(details.sizeInBytes, 4711);
    // An entry that vanished is no reason to end the listing.
    QVERIFY(!reader.next(entry));
    QCOMPARE(reader.status(), kVKStatusSuccess);
}

void VKFolderReaderTest::detailsOfNothing() {
    Disk::makeFile(mRoot + "a");
    VKFolderReader reader = opened();
    VKItemDetails details;
    QCOMPARE(reader.details(false, details), kVKStatusBadArgument);
    VKFolderEntry entry;
    QVERIFY(reader.next(entry));
    QCOMPARE(reader.details(false, details), kVKStatusSuccess);
    QVERIFY(!reader.next(entry));
    QCOMPARE(reader.details(false, details), kVKStatusBadArgument);
}

void VKFolderReaderTest::whatDoesNotOpen_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("nothing") << QByteArray("none") << VKStatus{ENOENT};
    QTest::newRow("file") << QByteArray("file") << VKStatus{ENOTDIR};
    QTest::newRow("below a file") << QByteArray("file/a") << VKStatus{ENOTDIR};
    QTest::newRow("link to a file") << QByteArray("link") << VKStatus{ENOTDIR};
    QTest::newRow("link to nothing") << QByteArray("dangling") << VKStatus{ENOENT};
    QTest::newRow("fifo") << QByteArray("fifo") << VKStatus{ENOTDIR};
    QTest::newRow("name too long") << QByteArray(256, 'x') << VKStatus{ENAMETOOLONG};
}

void VKFolderReaderTest::whatDoesNotOpen() {
    QFETCH(QByteArray, name);
    QFETCH(VKStatus, status);
    Disk::makeFile(mRoot + "file");
    Disk::makeLink(mRoot + "link", "file");
    Disk::makeLink(mRoot + "dangling", "nothing");
    Disk::makeFifo(mRoot + "fifo");
    VKFolderReader reader;
    QCOMPARE(reader.open(makeUrl(mRoot + name).get()), status);
    VKFolderEntry entry;
    QVERIFY(!reader.next(entry));
}

void VKFolderReaderTest::unreadableFolder() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot + "x");
    Disk::makeFolder(mRoot + "closed");
    Disk::makeFile(mRoot + "closed/a");
    QCOMPARE(::chmod(Disk::text(mRoot + "closed"), 0711), 0);
    const auto url = makeUrl(mRoot + "closed");
    const int status = Disk::asOtherUser([&url] {
        VKFolderReader reader;
        const VKStatus answer = reader.open(url.get());
        VKFolderEntry entry;
        return reader.next(entry) ? 255 : static_cast<int>(answer);
    });
    QCOMPARE(status, EACCES);
}

void VKFolderReaderTest::folderThatVanishes() {
    Disk::makeFolder(mRoot + "folder");
    VKFolderReader reader;
    QCOMPARE(reader.open(makeUrl(mRoot + "folder").get()), kVKStatusSuccess);
    QCOMPARE(::rmdir(Disk::text(mRoot + "folder")), 0);
    VKFolderEntry entry;
    QVERIFY(!reader.next(entry));
    QCOMPARE(reader.status(), VKStatus{ENOENT});
    QVERIFY(!reader.next(entry));
    QCOMPARE(reader.status(), VKStatus{ENOENT});
}

void VKFolderReaderTest::notOpen() {
    VKFolderReader reader;
    VKFolderEntry entry;
    VKItemDetails details;
    QVERIFY(!reader.next(entry));
    QCOMPARE(reader.status(), kVKStatusSuccess);
    QCOMPARE(reader.details(false, details), kVKStatusBadArgument);
    reader.close();
    QCOMPARE(reader.open(nullptr), kVKStatusBadArgument);
    QCOMPARE(reader.open(makeWebUrl().get()), kVKStatusNotConvertible);
    Disk::makeFile(mRoot + "a");
    reader = opened();
    reader.close();
    QVERIFY(!reader.next(entry));
    reader.close();
}

void VKFolderReaderTest::anotherFolder() {
    Disk::makeFolder(mRoot + "b");
    Disk::makeFile(mRoot + "b/inner");
    VKFolderReader reader = opened();
    VKFolderEntry entry;
    QVERIFY(reader.next(entry));
    QCOMPARE(reader.open(makeUrl(mRoot + "b").get()), kVKStatusSuccess);
    VKItemDetails details;
    QCOMPARE(reader.details(false, details), kVKStatusBadArgument);
    QCOMPARE(rest(reader).keys(), QByteArrayList{"inner"});
}

void VKFolderReaderTest::failedOpeningLeavesNothing() {
    Disk::makeFile(mRoot + "a");
    Disk::makeFile(mRoot + "b");
    VKFolderReader reader = opened();
    VKFolderEntry entry;
    QVERIFY(reader.next(entry));
    QCOMPARE(reader.open(makeUrl(mRoot + "none").get()), VKStatus{ENOENT});
    QVERIFY(!reader.next(entry));
}

void VKFolderReaderTest::moving() {
    Disk::makeFile(mRoot + "a");
    Disk::makeFile(mRoot + "b");
    VKFolderReader reader = opened();
    VKFolderEntry entry;
    QVERIFY(reader.next(entry));
    const QByteArray first = entry.rawName.toByteArray();
    VKFolderReader moved = std::move(reader);
    // The name's bytes move with the reader.
    QCOMPARE(entry.rawName.toByteArray(), first);
    VKItemDetails details;
    QCOMPARE(moved.details(false, details), kVKStatusSuccess);
    QCOMPARE(rest(moved).size(), 1);
    QVERIFY(!reader.next(entry)); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move): promised
}

VKTEST_MAIN(VKFolderReaderTest)
#include "VKFolderReaderTest.moc"
