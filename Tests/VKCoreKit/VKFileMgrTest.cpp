// From a path's text to the URL with the bytes on disk and back, and what the disk says about it.
#include "VKCoreKit/VKFileMgr.h"

#include "CoreKitSupport.h"
#include "Platform/OnDiskName.h"
#include "Support/DiskSupport.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

using namespace CoreKit;

namespace {

const QByteArray kComposed("\xC3\xA9");
const QByteArray kDecomposed("e\xCC\x81");

VKCFRef<CFURLRef> representationOf(const QString& path, bool isFolder = false) {
    return VKCFRef<CFURLRef>::adopt(
        VKFileMgrCreateFileSystemRepresentation(makeString(path).get(), isFolder));
}

/// Both ways back to text, which agree; a null QString for null.
QString textOf(CFURLRef url) {
    const QString text = takeText(VKFileMgrGetFileSystemRepresentationCopy(url));
    UniChar* const units = VKFileMgrGetFileSystemRepresentationUnicharCopy(url);
    const QString copied =
        units == nullptr ? QString() : QString::fromUtf16(reinterpret_cast<char16_t*>(units));
    std::free(units); // NOLINT: as callers are told to
    return text == copied && text.isNull() == copied.isNull() ? text : QStringLiteral("they differ");
}

} // namespace

class VKFileMgrTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void spelling_data();
    void spelling();
    void textsWithoutUrl_data();
    void textsWithoutUrl();
    void folderFlag_data();
    void folderFlag();
    void relativePath();
    void parentInARelativePath_data();
    void parentInARelativePath();
    void backToText_data();
    void backToText();
    void everyItemIsReachedThroughItsText();
    void fortyComponents();
    void urlsThatNameNoFile();

    void existence_data();
    void existence();
    void existenceBelowAClosedFolder();

    void kinds_data();
    void kinds();
    void times_data();
    void times();
    void creationTime();
    void detailsOfNothing();
    void local();

private:
    QByteArray mRoot; ///< ends in "/"
};

void VKFileMgrTest::initTestCase() { mRoot = makeFolder(QStringLiteral("files")).toUtf8() + '/'; }

void VKFileMgrTest::cleanup() {
    Disk::removeTree(mRoot);
    Disk::makeFolder(mRoot);
}

void VKFileMgrTest::spelling_data() {
    QTest::addColumn<QByteArrayList>("folders");
    QTest::addColumn<QByteArrayList>("files");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    const QByteArrayList none;
    const QString e = QStringLiteral("\u00E9");
    QTest::newRow("ASCII") << none << QByteArrayList{"a b.jpg"} << QStringLiteral("a b.jpg")
                           << QByteArray("a b.jpg");
    QTest::newRow("what URLs escape")
        << none << none << QStringLiteral("100%?#&;.jpg") << QByteArray("100%?#&;.jpg");
    QTest::newRow("missing: form C") << none << none << QStringLiteral("e\u0301") << kComposed;
    QTest::newRow("composed") << none << QByteArrayList{kComposed} << e << kComposed;
    QTest::newRow("decomposed on disk") << none << QByteArrayList{kDecomposed} << e << kDecomposed;
    QTest::newRow("decomposed on disk, decomposed text")
        << none << QByteArrayList{kDecomposed} << QStringLiteral("e\u0301") << kDecomposed;
    QTest::newRow("both: form C wins") << none << QByteArrayList{kDecomposed, kComposed} << e << kComposed;
    QTest::newRow("not UTF-8") << none << QByteArrayList{"lat\xE9.jpg"} << QStringLiteral("lat\uFFFD.jpg")
                               << QByteArray("lat\xE9.jpg");
    QTest::newRow("two that show the same: none is taken")
        << none << QByteArrayList{"lat\xE9", "lat\xE8"} << QStringLiteral("lat\uFFFD")
        << QByteArray("lat\xEF\xBF\xBD");
    QTest::newRow("missing tail under an oddly spelled parent")
        << QByteArrayList{kDecomposed, kDecomposed + "/b\xE9"} << none
        << QStringLiteral("\u00E9/b\uFFFD/ne\u0301w/a.jpg")
        << QByteArray(kDecomposed + "/b\xE9/n" + kComposed + "w/a.jpg");
    QTest::newRow("Kelvin sign") << none << QByteArrayList{"300\xE2\x84\xAA"} << QStringLiteral("300K")
                                 << QByteArray("300\xE2\x84\xAA");
}

void VKFileMgrTest::spelling() {
    QFETCH(QByteArrayList, folders);
    QFETCH(QByteArrayList, files);
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    for (const QByteArray& folder : std::as_const(folders)) {
        Disk::makeFolder(mRoot + folder);
    }
    for (const QByteArray& file : std::as_const(files)) {
        Disk::makeFile(mRoot + file);
    }
    const auto url = representationOf(QString::fromUtf8(mRoot) + text);
    QVERIFY(url);
    QCOMPARE(CFGetRetainCount(url.get()), CFIndex{1});
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), mRoot + bytes);
    QVERIFY(!CFURLHasDirectoryPath(url.get()));
}

void VKFileMgrTest::textsWithoutUrl_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QStringLiteral("");
    QTest::newRow("NUL") << QStringLiteral("/tmp/a\0b");
    QTest::newRow("NUL after non-ASCII") << QStringLiteral("/tmp/\u00E9\0");
    QTest::newRow("high surrogate") << QString(QStringLiteral("/tmp/") + QChar(0xD800));
    QTest::newRow("low surrogate") << QString(QStringLiteral("/tmp/") + QChar(0xDC00) + u'a');
}

void VKFileMgrTest::textsWithoutUrl() {
    QFETCH(QString, text);
    QVERIFY(!representationOf(text, false));
    QVERIFY(!representationOf(text, true));
}

void VKFileMgrTest::folderFlag_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isFolder");
    QTest::addColumn<QString>("url");
    QTest::addColumn<bool>("ends");
    QTest::newRow("file") << QStringLiteral("/a/b c") << false << QStringLiteral("file:///a/b%20c") << false;
    QTest::newRow("folder") << QStringLiteral("/a/b c") << true << QStringLiteral("file:///a/b%20c/") << true;
    QTest::newRow("root") << QStringLiteral("/") << true << QStringLiteral("file:///") << true;
    QTest::newRow("bytes that are not ASCII")
        << QStringLiteral("/\u00E9") << true << QStringLiteral("file:///%C3%A9/") << true;
    QTest::newRow("backslashes are characters")
        << QStringLiteral("/a\\b") << false << QStringLiteral("file:///a%5Cb") << false;
}

void VKFileMgrTest::folderFlag() {
    QFETCH(QString, text);
    QFETCH(bool, isFolder);
    QFETCH(QString, url);
    QFETCH(bool, ends);
    const auto made = representationOf(text, isFolder);
    QCOMPARE(CFStringCopyQString(CFURLGetString(made.get())), url);
    QCOMPARE(bool(CFURLHasDirectoryPath(made.get())), ends);
    QCOMPARE(textOf(made.get()), text);
}

void VKFileMgrTest::relativePath() {
    Disk::makeFile(mRoot + kDecomposed);
    VKCFRef<CFURLRef> url;
    {
        const Disk::WorkingFolder working(mRoot);
        url = representationOf(QStringLiteral("\u00E9"));
    }
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), mRoot + kDecomposed);
}

// What the kernel takes a path for decides, not what is left of its text.
void VKFileMgrTest::parentInARelativePath_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("exists");
    QTest::addColumn<int>("sizeInBytes");
    QTest::newRow("behind a link") << QStringLiteral("link/../a.jpg") << true << 2;
    QTest::newRow("behind a folder") << QStringLiteral("real/../a.jpg") << true << 1;
    QTest::newRow("behind nothing") << QStringLiteral("nothing/../a.jpg") << false << 0;
    QTest::newRow("at the start") << QStringLiteral("../here/a.jpg") << true << 1;
    QTest::newRow("an oddly spelled name behind a link") << QStringLiteral("link/../\u00E9") << true << 3;
    QTest::newRow("two dots of a name") << QStringLiteral("b..jpg") << true << 4;
}

void VKFileMgrTest::parentInARelativePath() {
    QFETCH(QString, text);
    QFETCH(bool, exists);
    QFETCH(int, sizeInBytes);
    for (const QByteArray folder : {"here", "here/real", "here/real/sub"}) {
        Disk::makeFolder(mRoot + folder);
    }
    const QByteArray link = mRoot + "here/link";
    QCOMPARE(::symlink("real/sub", link.constData()), 0);
    Disk::makeFile(mRoot + "here/a.jpg", "1");
    Disk::makeFile(mRoot + "here/real/a.jpg", "22");
    Disk::makeFile(mRoot + "here/real/" + kDecomposed, "333");
    Disk::makeFile(mRoot + "here/b..jpg", "4444");
    VKCFRef<CFURLRef> url;
    {
        const Disk::WorkingFolder working(mRoot + "here");
        url = representationOf(text);
    }
    QCOMPARE(VKFileMgrPathExists(url.get()), exists);
    VKItemDetails details;
    QCOMPARE(VKFileMgrGetItemDetails(url.get(), false, &details), VKStatus(exists ? 0 : ENOENT));
    QCOMPARE(details.sizeInBytes, std::int64_t{sizeInBytes});
}

void VKFileMgrTest::backToText_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("ASCII") << QByteArray("/a/b.jpg") << QStringLiteral("/a/b.jpg");
    QTest::newRow("folder has no final slash") << QByteArray("/a/b/") << QStringLiteral("/a/b");
    QTest::newRow("root") << QByteArray("/") << QStringLiteral("/");
    QTest::newRow("not normalised") << QByteArray("/" + kDecomposed) << QStringLiteral("/e\u0301");
    QTest::newRow("not UTF-8") << QByteArray("/lat\xE9") << QStringLiteral("/lat\uFFFD");
    QTest::newRow("encoded surrogate")
        << QByteArray("/\xED\xA0\x80") << QStringLiteral("/\uFFFD\uFFFD\uFFFD");
    QTest::newRow("beyond the first plane")
        << QByteArray("/\xF0\x9F\x93\xB7") << QStringLiteral("/\U0001F4F7");
    QTest::newRow("byte order mark stays") << QByteArray("/\xEF\xBB\xBF\x61") << QStringLiteral("/\uFEFFa");
    QTest::newRow("backslash stays") << QByteArray("/a\\b") << QStringLiteral("/a\\b");
    QTest::newRow("percent sign") << QByteArray("/100%25") << QStringLiteral("/100%25");
}

void VKFileMgrTest::backToText() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    QCOMPARE(textOf(makeUrl(bytes, bytes.endsWith('/')).get()), text);
}

void VKFileMgrTest::everyItemIsReachedThroughItsText() {
    const QByteArrayList names{"plain.jpg",        kDecomposed,         "lat\xE9", "300\xE2\x84\xAA",
                               "\xF0\x9F\x93\xB7", "\xEF\xBB\xBF mark", "a%20b",   " ",
                               "\xFF\xFE",         "x\xCC\xA3\xCC\x82"};
    for (const QByteArray& name : names) {
        Disk::makeFile(mRoot + name, name);
    }
    for (const QByteArray& name : names) {
        const QString shown = QString::fromUtf8(mRoot) + VKPlatform::displayedName(name);
        const auto url = representationOf(shown);
        QCOMPARE(CFURLCopyFileSystemBytes(url.get()), mRoot + name);
        QVERIFY(VKFileMgrPathExists(url.get()));
        QCOMPARE(textOf(url.get()).normalized(QString::NormalizationForm_C), shown);
    }
}

void VKFileMgrTest::fortyComponents() {
    QByteArray bytes = mRoot;
    QString text = QString::fromUtf8(mRoot);
    for (int i = 0; i < 40; ++i) {
        const QByteArray name = i % 3 == 0   ? kDecomposed
                                : i % 3 == 1 ? QByteArray("lat\xE9")
                                             : QByteArray("a");
        bytes += (i == 0 ? "" : "/") + name;
        text += (i == 0 ? QString() : QStringLiteral("/")) + VKPlatform::displayedName(name);
        Disk::makeFolder(bytes);
    }
    const auto url = representationOf(text, true);
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), bytes);
    QVERIFY(VKFileMgrPathExists(url.get()));
}

void VKFileMgrTest::urlsThatNameNoFile() {
    const auto web = makeWebUrl();
    QVERIFY(web);
    for (CFURLRef const url : {static_cast<CFURLRef>(nullptr), web.get()}) {
        QVERIFY(VKFileMgrGetFileSystemRepresentationCopy(url) == nullptr);
        QVERIFY(VKFileMgrGetFileSystemRepresentationUnicharCopy(url) == nullptr);
        QVERIFY(!VKFileMgrPathExists(url));
    }
    QVERIFY(VKFileMgrCreateFileSystemRepresentation(nullptr, false) == nullptr);
    QVERIFY(VKFileMgrCreateFileSystemRepresentation(nullptr, true) == nullptr);
}

void VKFileMgrTest::existence_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("exists");
    QTest::newRow("file") << QByteArray("file") << true;
    QTest::newRow("folder") << QByteArray("folder") << true;
    QTest::newRow("link") << QByteArray("link") << true;
    QTest::newRow("link to nothing") << QByteArray("dangling") << true;
    QTest::newRow("link to itself") << QByteArray("loop") << true;
    QTest::newRow("fifo") << QByteArray("fifo") << true;
    QTest::newRow("below a link to a folder") << QByteArray("folder-link/inner") << true;
    QTest::newRow("nothing") << QByteArray("none") << false;
    QTest::newRow("below nothing") << QByteArray("none/a") << false;
    QTest::newRow("below a file") << QByteArray("file/a") << false;
    QTest::newRow("below a link to nothing") << QByteArray("dangling/a") << false;
    QTest::newRow("name too long") << QByteArray(256, 'x') << false;
    QTest::newRow("path too long") << QByteArray("folder/").repeated(PATH_MAX / 7 + 1) << false;
}

void VKFileMgrTest::existence() {
    QFETCH(QByteArray, name);
    QFETCH(bool, exists);
    Disk::makeFile(mRoot + "file", "abc");
    Disk::makeFolder(mRoot + "folder");
    Disk::makeFile(mRoot + "folder/inner");
    Disk::makeLink(mRoot + "link", "file");
    Disk::makeLink(mRoot + "folder-link", "folder");
    Disk::makeLink(mRoot + "dangling", "nothing");
    Disk::makeLink(mRoot + "loop", "loop");
    Disk::makeFifo(mRoot + "fifo");
    QCOMPARE(VKFileMgrPathExists(makeUrl(mRoot + name).get()), exists);
    VKItemDetails details;
    QCOMPARE(VKFileMgrGetItemDetails(makeUrl(mRoot + name).get(), false, &details) == kVKStatusSuccess,
             exists);
}

void VKFileMgrTest::existenceBelowAClosedFolder() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot + "x");
    Disk::makeFolder(mRoot + "closed");
    Disk::makeFile(mRoot + "closed/a");
    QCOMPARE(::chmod(Disk::text(mRoot + "closed"), 0700), 0);
    const QByteArray root = mRoot;
    const int seen = Disk::asOtherUser([&root] {
        VKItemDetails details;
        const bool closed = VKFileMgrPathExists(makeUrl(root + "closed").get());
        const bool inner = VKFileMgrPathExists(makeUrl(root + "closed/a").get());
        const VKStatus status = VKFileMgrGetItemDetails(makeUrl(root + "closed/a").get(), false, &details);
        return (closed ? 1 : 0) | (inner ? 2 : 0) | static_cast<int>(status << 2U);
    });
    QCOMPARE(seen, 1 | (EACCES << 2));
    QVERIFY(VKFileMgrPathExists(makeUrl(mRoot + "closed/a").get()));
}

void VKFileMgrTest::kinds_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("follow");
    QTest::addColumn<VKStatus>("status");
    QTest::addColumn<VKItemKind>("kind");
    QTest::addColumn<qint64>("size"); // -1: whatever the file system says
    const auto row = [](const char* name, bool follow, int status, VKItemKind kind, qint64 size) {
        QTest::addRow("%s, %s", name, follow ? "followed" : "itself")
            << QByteArray(name) << follow << static_cast<VKStatus>(status) << kind << size;
    };
    for (const bool follow : {false, true}) {
        row("file", follow, 0, VKItemKind::File, 3);
        row("empty", follow, 0, VKItemKind::File, 0);
        row("sparse", follow, 0, VKItemKind::File, qint64{5} << 30);
        row("folder", follow, 0, VKItemKind::Folder, -1);
        row("fifo", follow, 0, VKItemKind::Special, -1);
        row("none", follow, ENOENT, VKItemKind::Unknown, 0);
        row("file/a", follow, ENOTDIR, VKItemKind::Unknown, 0);
    }
    row("link", false, 0, VKItemKind::Link, 4);
    row("link", true, 0, VKItemKind::File, 3);
    row("folder-link", false, 0, VKItemKind::Link, 6);
    row("folder-link", true, 0, VKItemKind::Folder, -1);
    row("dangling", false, 0, VKItemKind::Link, 7);
    row("dangling", true, ENOENT, VKItemKind::Unknown, 0);
    row("loop", false, 0, VKItemKind::Link, 4);
    row("loop", true, ELOOP, VKItemKind::Unknown, 0);
}

void VKFileMgrTest::kinds() {
    QFETCH(QByteArray, name);
    QFETCH(bool, follow);
    QFETCH(VKStatus, status);
    QFETCH(VKItemKind, kind);
    QFETCH(qint64, size);
    Disk::makeFile(mRoot + "file", "abc");
    Disk::makeFile(mRoot + "empty");
    Disk::makeFile(mRoot + "sparse");
    QCOMPARE(::truncate(Disk::text(mRoot + "sparse"), off_t{5} << 30), 0);
    Disk::makeFolder(mRoot + "folder");
    Disk::makeLink(mRoot + "link", "file");
    Disk::makeLink(mRoot + "folder-link", "folder");
    Disk::makeLink(mRoot + "dangling", "nothing");
    Disk::makeLink(mRoot + "loop", "loop");
    Disk::makeFifo(mRoot + "fifo");

    VKItemDetails details;
    details.sizeInBytes = 4711;
    QCOMPARE(VKFileMgrGetItemDetails(makeUrl(mRoot + name).get(), follow, &details), status);
    QCOMPARE(details.kind, kind);
    QCOMPARE(details.modifiedKnown, status == kVKStatusSuccess);
    if (status != kVKStatusSuccess) {
        QCOMPARE(details.sizeInBytes, 4711);
    } else if (size >= 0) {
        QCOMPARE(details.sizeInBytes, size);
    }
}

void VKFileMgrTest::times_data() {
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<qint64>("nanoseconds");
    QTest::addColumn<qint64>("milliseconds");
    const auto row = [](const char* name, qint64 seconds, qint64 nanoseconds, qint64 milliseconds) {
        QTest::newRow(name) << seconds << nanoseconds << milliseconds;
    };
    row("the beginning", 0, 0, 0);
    row("rounded down", 1700000000, 123999999, 1700000000123);
    row("one nanosecond before", -1, 999999999, -1);
    row("a second and a half before", -2, 500000000, -1500);
    row("after 2038", 4102444800, 1000000, 4102444800001);
}

void VKFileMgrTest::times() {
    QFETCH(qint64, seconds);
    QFETCH(qint64, nanoseconds);
    QFETCH(qint64, milliseconds);
    Disk::makeFile(mRoot + "a");
    const timespec times[2] = {{0, UTIME_NOW}, {seconds, nanoseconds}};
    QCOMPARE(::utimensat(AT_FDCWD, Disk::text(mRoot + "a"), times, 0), 0);
    VKItemDetails details;
    QCOMPARE(VKFileMgrGetItemDetails(makeUrl(mRoot + "a").get(), false, &details), kVKStatusSuccess);
    QVERIFY(details.modifiedKnown);
    QCOMPARE(details.modifiedMs, milliseconds);
}

void VKFileMgrTest::creationTime() {
    Disk::makeFile(mRoot + "a");
    struct statx record;
    QCOMPARE(::statx(AT_FDCWD, Disk::text(mRoot + "a"), 0, STATX_BTIME, &record), 0);
    VKItemDetails details;
    QCOMPARE(VKFileMgrGetItemDetails(makeUrl(mRoot + "a").get(), false, &details), kVKStatusSuccess);
    const bool known = (record.stx_mask & STATX_BTIME) != 0;
    QCOMPARE(details.createdKnown, known);
    QCOMPARE(details.createdMs,
             known ? record.stx_btime.tv_sec * 1000 + record.stx_btime.tv_nsec / 1000000 : 0);
    // A file of the process table has none.
    QCOMPARE(VKFileMgrGetItemDetails(makeUrl("/proc/self/status").get(), false, &details), kVKStatusSuccess);
    QVERIFY(!details.createdKnown);
    QCOMPARE(details.createdMs, 0);
}

void VKFileMgrTest::detailsOfNothing() {
    VKItemDetails details;
    details.sizeInBytes = 4711;
    bool local = true;
    const auto url = makeUrl(mRoot);
    QCOMPARE(VKFileMgrGetItemDetails(nullptr, false, &details), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrGetItemDetails(url.get(), false, nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrGetItemDetails(makeWebUrl().get(), false, &details), kVKStatusNotConvertible);
    QCOMPARE(details.sizeInBytes, 4711);
    QCOMPARE(VKFileMgrGetLocal(nullptr, &local), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrGetLocal(url.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrGetLocal(makeWebUrl().get(), &local), kVKStatusNotConvertible);
    QCOMPARE(VKFileMgrGetLocal(makeUrl(mRoot + "none").get(), &local), kVKStatusStatFailed);
    QVERIFY(local);
}

void VKFileMgrTest::local() {
    Disk::makeFile(mRoot + "a");
    Disk::makeLink(mRoot + "link", "a");
    Disk::makeLink(mRoot + "dangling", "nothing");
    for (const QByteArray& path : {mRoot, QByteArray(mRoot + "a"), QByteArray(mRoot + "link"),
                                   QByteArray("/"), QByteArray("/proc/self/status")}) {
        bool local = false;
        QCOMPARE(VKFileMgrGetLocal(makeUrl(path).get(), &local), kVKStatusSuccess);
        QVERIFY2(local, path.constData());
    }
    bool local = false;
    QCOMPARE(VKFileMgrGetLocal(makeUrl(mRoot + "dangling").get(), &local), kVKStatusStatFailed);
}

VKTEST_MAIN(VKFileMgrTest)
#include "VKFileMgrTest.moc"
