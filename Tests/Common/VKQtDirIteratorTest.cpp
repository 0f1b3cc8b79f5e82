// What a listing delivers: the filter's rules under each platform's rules, the fields of an entry, its end.
#include "Common/DirIteratorSupport.h"
#include "Common/PathFilterSupport.h"
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <VKQtDirIterator.h>

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <type_traits>

using DirIteratorSupport::listed;
using DirIteratorSupport::Listing;
using DirIteratorSupport::namesOf;
using DirIteratorSupport::setModified;

namespace {

const bool kMacRules = QByteArray(vkTestPlatformRules()) == "macos";
const QString kNoChange;

/// The birth time as the kernel tells it, in milliseconds; nothing where there is none.
std::optional<qint64> bornMs(const QByteArray& path) {
    struct statx record;
    Disk::must(::statx(AT_FDCWD, path.constData(), 0, STATX_BTIME, &record) == 0, "statx", path);
    if ((record.stx_mask & STATX_BTIME) == 0) {
        return std::nullopt;
    }
    return record.stx_btime.tv_sec * 1000 + record.stx_btime.tv_nsec / 1000000;
}

/// An entry whose fields all hold something that no listing here delivers.
VKQtDirIterator::Entry usedEntry() {
    VKQtDirIterator::Entry entry;
    entry.path = VKQtPath(QStringLiteral("/used"), true, 99);
    entry.size = 12345;
    entry.created = QDateTime::fromMSecsSinceEpoch(1, Qt::UTC);
    entry.modified = QDateTime::fromMSecsSinceEpoch(2, Qt::UTC);
    entry.isLink = true;
    return entry;
}

} // namespace

class VKQtDirIteratorTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void photosAndFoldersOnly();
    void neverBelowTheFolder();
    void filterRules_data();
    void filterRules();
    void rootOfTheSystem();
    void afterTheEnd();
    void emptyFolder();
    void folderAndFilterAreCopied();
    void spellingsOfTheRoot();
    void relativeRoot();
    void volumeIsCarriedAndTokenIsNot();

    void sizes();
    void modificationDates_data();
    void modificationDates();
    void creationDates();
    void noCreationDate();
    void withoutDetails();
    void detailsChangedMeanwhile();
    void fieldsAreSetAnew();
    void interface();

private:
    [[nodiscard]] QString text(const char* name) const {
        return QString(QString::fromUtf8(mRoot) + QString::fromUtf8(name));
    }
    [[nodiscard]] VKQtPath rootPath() const { return VKQtPath(QString::fromUtf8(mRoot), true); }

    QByteArray mRoot; // with its "/"
};

void VKQtDirIteratorTest::init() {
    VKTest::init();
    mRoot = makeFolder(QStringLiteral("listed")).toUtf8() + '/';
}

void VKQtDirIteratorTest::cleanup() { Disk::removeTree(mRoot); }

void VKQtDirIteratorTest::photosAndFoldersOnly() {
    Disk::makeFile(mRoot + "a.jpg", "photo");
    Disk::makeFile(mRoot + "b.txt");
    Disk::makeFolder(mRoot + "sub");
    Disk::makeFile(mRoot + "sub/c.jpg");
    const Listing listing = listed(rootPath(), VKQtPathFilter());
    QCOMPARE(listing.status, VKStatus{0});
    QCOMPARE(namesOf(listing), (QStringList{QStringLiteral("a.jpg"), QStringLiteral("sub")}));
    const VKQtDirIterator::Entry photo = listing.entries.value(QStringLiteral("a.jpg"));
    QCOMPARE(photo.path.path(), text("a.jpg"));
    QVERIFY(!photo.path.isFolder());
    QCOMPARE(photo.size, 5);
    QVERIFY(!photo.isLink);
    const VKQtDirIterator::Entry folder = listing.entries.value(QStringLiteral("sub"));
    QCOMPARE(folder.path.path(), text("sub"));
    QVERIFY(folder.path.isFolder());
    QCOMPARE(folder.size, 0);
    QVERIFY(!folder.isLink);
}

void VKQtDirIteratorTest::neverBelowTheFolder() {
    Disk::makeFolder(mRoot + "a");
    Disk::makeFolder(mRoot + "a/b");
    Disk::makeFile(mRoot + "a/c.jpg");
    Disk::makeFile(mRoot + "a/b/d.jpg");
    QCOMPARE(namesOf(listed(rootPath(), everything())), QStringList{QStringLiteral("a")});
}

void VKQtDirIteratorTest::filterRules_data() {
    QTest::addColumn<QString>("changes");
    QTest::addColumn<QByteArrayList>("files");
    QTest::addColumn<QByteArrayList>("folders");
    QTest::addColumn<QStringList>("expected");
    const auto names = [](const char* list) {
        return QString::fromUtf8(list).split(u'|', Qt::SkipEmptyParts);
    };
    const QByteArrayList none;
    QTest::newRow("extensions in any case")
        << kNoChange << QByteArrayList{"a.JPG", "b.Mov", "c.jp", "d.xjpg", "jpg", "e."} << none
        << names("a.JPG|b.Mov");
    QTest::newRow("hidden entries are left out")
        << kNoChange << QByteArrayList{".DS_Store", ".a.jpg", "...jpg", "b.jpg"}
        << QByteArrayList{".x", "..x", "y"} << names("b.jpg|y");
    QTest::newRow("hidden entries still pass the filter")
        << QStringLiteral("+hidden") << QByteArrayList{".DS_Store", ".a.jpg", ".jpg", "b.jpg"}
        << QByteArrayList{".x", "..x", "y"} << names("..x|.a.jpg|.jpg|.x|b.jpg|y");
    QTest::newRow("all of them") << QStringLiteral("+hidden +all") << QByteArrayList{".DS_Store", "a"}
                                 << QByteArrayList{".x"} << names(".DS_Store|.x|a");
    QTest::newRow("folders off") << QStringLiteral("-folders") << QByteArrayList{"a.jpg", "b.txt"}
                                 << QByteArrayList{"x", "y.jpg"} << names("a.jpg");
    QTest::newRow("files off") << QStringLiteral("-files") << QByteArrayList{"a.jpg"}
                               << QByteArrayList{"x", "y.jpg"} << names("x|y.jpg");
    QTest::newRow("files off comes before accepting all")
        << QStringLiteral("-files +all") << QByteArrayList{"a.jpg"} << QByteArrayList{"x"} << names("x");
    QTest::newRow("both off") << QStringLiteral("-files -folders +all +hidden") << QByteArrayList{"a.jpg"}
                              << QByteArrayList{"x"} << QStringList();
    QTest::newRow("all files accepted")
        << QStringLiteral("+all") << QByteArrayList{"a", "b.txt", "c.jpg"} << none << names("a|b.txt|c.jpg");
    QTest::newRow("endings exclude no files")
        << QStringLiteral("+all") << QByteArrayList{"x.lrcat", "x.framework", "a.lrdata.jpg"} << none
        << names("a.lrdata.jpg|x.framework|x.lrcat");
    QTest::newRow("only the last extension counts")
        << kNoChange << QByteArrayList{"x.jpg.lrcat", "a.lrdata.jpg"} << none << names("a.lrdata.jpg");
    QTest::newRow("endings exclude folders")
        << kNoChange << none << QByteArrayList{"F.aplibrary", "F.LRDATA", "F.framework", "F.lrcat", "F"}
        << names("F");
    QTest::newRow("videos off leaves video files, deliberately")
        << QStringLiteral("-videos") << QByteArrayList{"clip.mov", "a.jpg"} << none
        << names("a.jpg|clip.mov");
    QTest::newRow("videos off drops folders that end in such letters")
        << QStringLiteral("-videos") << none << QByteArrayList{"remov", "x.mp4", "y"} << names("y");
    QTest::newRow("a folder with such a name is a folder")
        << kNoChange << none << QByteArrayList{"Foo.app", "Foo.jpg"} << names("Foo.app|Foo.jpg");
    QTest::newRow("packages off changes nothing: there are none here")
        << QStringLiteral("-packages") << none << QByteArrayList{"Foo.app", "Foo.jpg"}
        << names("Foo.app|Foo.jpg");
    const QByteArrayList excluded = {"Windows",
                                     "__MACOSX",
                                     "Program Files (x86)",
                                     "lr5cat",
                                     "windows",
                                     "invalidpath",
                                     "Photo Booth Library",
                                     ".app",
                                     ".pkg",
                                     "Invalidpath",
                                     "MyWindows"};
    QTest::newRow("folder names of the platform")
        << QStringLiteral("+hidden") << none << excluded
        << (kMacRules ? names("Invalidpath|MyWindows|Program Files (x86)|Windows|__MACOSX|lr5cat|windows")
                      : names(".app|.pkg|Invalidpath|MyWindows|Photo Booth Library|invalidpath|windows"));
    QTest::newRow("files of these names")
        << QStringLiteral("+all") << QByteArrayList{"Windows", "invalidpath"} << none
        << names("Windows|invalidpath");
    QTest::newRow("names of global folders elsewhere")
        << kNoChange << none << QByteArrayList{"usr", "Volumes"} << names("Volumes|usr");
}

void VKQtDirIteratorTest::filterRules() {
    QFETCH(QString, changes);
    QFETCH(QByteArrayList, files);
    QFETCH(QByteArrayList, folders);
    QFETCH(QStringList, expected);
    for (const QByteArray& name : files) {
        Disk::makeFile(mRoot + name);
    }
    for (const QByteArray& name : folders) {
        Disk::makeFolder(mRoot + name);
    }
    const VKQtPathFilter filter = filterWith(changes);
    const Listing listing = listed(rootPath(), filter);
    QCOMPARE(namesOf(listing), expected);
    QCOMPARE(namesOf(listed(rootPath(), filter, false)), expected);
    for (const VKQtDirIterator::Entry& entry : listing.entries) {
        const bool folder = folders.contains(entry.path.filename().toUtf8());
        QCOMPARE(entry.path.isFolder(), folder);
        QVERIFY(folder ? !filter.isDirectoryFiltered(entry.path)
                       : !filter.isFileNameFiltered(entry.path.filename()));
    }
}

void VKQtDirIteratorTest::rootOfTheSystem() {
    const QStringList names = namesOf(listed(VKQtPath(QStringLiteral("/"), true), everything()));
    QVERIFY(names.contains(QStringLiteral("tmp")));
    QVERIFY(QFileInfo(QStringLiteral("/usr")).isDir());
    QCOMPARE(names.contains(QStringLiteral("usr")), !kMacRules);
    QCOMPARE(names.contains(QStringLiteral("var")), !kMacRules);
}

void VKQtDirIteratorTest::afterTheEnd() {
    Disk::makeFile(mRoot + "a.jpg");
    const std::unique_ptr<VKQtDirIterator> iterator(
        VKQtDirIterator::makeIterator(rootPath(), VKQtPathFilter()));
    VKQtDirIterator::Entry entry;
    QVERIFY(iterator->next(entry));
    QVERIFY(!iterator->next(entry));
    Disk::makeFile(mRoot + "b.jpg");
    for (int i = 0; i < 5; ++i) {
        QVERIFY(!iterator->next(entry));
        QCOMPARE(iterator->status(), VKStatus{0});
    }
    QCOMPARE(listed(rootPath(), VKQtPathFilter()).entries.size(), 2);
}

void VKQtDirIteratorTest::emptyFolder() {
    const Listing listing = listed(rootPath(), everything());
    QVERIFY(listing.entries.isEmpty());
    QCOMPARE(listing.status, VKStatus{0});
}

void VKQtDirIteratorTest::folderAndFilterAreCopied() {
    Disk::makeFile(mRoot + "a.jpg");
    Disk::makeFile(mRoot + "b.txt");
    VKQtPath folder = rootPath();
    VKQtPathFilter filter;
    const std::unique_ptr<VKQtDirIterator> iterator(VKQtDirIterator::makeIterator(folder, filter));
    folder.setPath(QStringLiteral("/nowhere"), true);
    filter.mAcceptAllFiles = true;
    filter.mExtensions = QStringList{QStringLiteral("txt")};
    VKQtDirIterator::Entry entry;
    QVERIFY(iterator->next(entry));
    QCOMPARE(entry.path.path(), text("a.jpg"));
    QVERIFY(!iterator->next(entry));
}

void VKQtDirIteratorTest::spellingsOfTheRoot() {
    Disk::makeFile(mRoot + "a.jpg");
    const QString plain = rootPath().path();
    // The flag of the root says nothing about what is there, and one more slash is the same folder.
    for (const VKQtPath& root : {VKQtPath(plain, false), VKQtPath(plain, true),
                                 VKQtPath(QString(plain + QStringLiteral("//")), true),
                                 VKQtPath(QString(plain + QStringLiteral("/.")), true)}) {
        const Listing listing = listed(root, VKQtPathFilter());
        QCOMPARE(listing.status, VKStatus{0});
        QCOMPARE(listing.entries.size(), 1);
        VKQtPath expected = root;
        expected.append(QStringLiteral("a.jpg"), false);
        QCOMPARE(listing.entries.first().path.path(), expected.path());
    }
}

void VKQtDirIteratorTest::relativeRoot() {
    Disk::makeFolder(mRoot + "sub");
    Disk::makeFile(mRoot + "sub/a.jpg");
    const Disk::WorkingFolder working(mRoot);
    const Listing listing = listed(VKQtPath(QStringLiteral("sub"), true), VKQtPathFilter());
    QCOMPARE(listing.entries.size(), 1);
    QCOMPARE(listing.entries.first().path.path(), QStringLiteral("sub/a.jpg"));
}

void VKQtDirIteratorTest::volumeIsCarriedAndTokenIsNot() {
    Disk::makeFile(mRoot + "a.jpg");
    Disk::makeFolder(mRoot + "sub");
    VKQtPath root(rootPath().path(), true, 42);
    const UInt8 bytes[] = {1, 2, 3};
    const auto token = VKCFRef<CFDataRef>::adopt(CFDataCreate(kCFAllocatorDefault, bytes, 3));
    root.setSecurityToken(token.get());
    const Listing with = listed(root, VKQtPathFilter());
    QCOMPARE(with.entries.size(), 2);
    for (const VKQtDirIterator::Entry& entry : with.entries) {
        QVERIFY(entry.path.hasVolumeID());
        QCOMPARE(entry.path.volumeID(), 42U);
        QVERIFY(entry.path.securityToken() == nullptr);
    }
    for (const VKQtDirIterator::Entry& entry : listed(rootPath(), VKQtPathFilter()).entries) {
        QVERIFY(!entry.path.hasVolumeID());
        QCOMPARE(entry.path.volumeID(), 0U);
    }
}

void VKQtDirIteratorTest::sizes() {
    Disk::makeFile(mRoot + "empty.jpg");
    Disk::makeFile(mRoot + "large.jpg", QByteArray(70000, 'x'));
    Disk::makeFile(mRoot + "sparse.jpg");
    const qint64 hugeBytes = 5LL * 1024 * 1024 * 1024 + 1;
    Disk::must(::truncate(Disk::text(mRoot + "sparse.jpg"), hugeBytes) == 0, "truncate", mRoot);
    Disk::makeFolder(mRoot + "folder");
    Disk::makeFile(mRoot + "folder/x", QByteArray(100, 'x'));
    const Listing listing = listed(rootPath(), VKQtPathFilter());
    QCOMPARE(listing.entries.value(QStringLiteral("empty.jpg")).size, 0);
    QCOMPARE(listing.entries.value(QStringLiteral("large.jpg")).size, 70000);
    QCOMPARE(listing.entries.value(QStringLiteral("sparse.jpg")).size, hugeBytes);
    QCOMPARE(listing.entries.value(QStringLiteral("folder")).size, 0);
}

void VKQtDirIteratorTest::modificationDates_data() {
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<int>("nanoseconds");
    QTest::addColumn<qint64>("milliseconds");
    QTest::newRow("with milliseconds") << qint64{1700000000} << 123000000 << qint64{1700000000123};
    QTest::newRow("finer is rounded down") << qint64{1700000000} << 999999999 << qint64{1700000000999};
    QTest::newRow("no fraction") << qint64{1700000000} << 0 << qint64{1700000000000};
    QTest::newRow("summer") << qint64{1690000000} << 1000000 << qint64{1690000000001};
    QTest::newRow("in the hour that summer time leaves out")
        << qint64{1679794200} << 0 << qint64{1679794200000};
    QTest::newRow("the first second") << qint64{0} << 1000000 << qint64{1};
    QTest::newRow("before 1970") << qint64{-1} << 250000000 << qint64{-750};
    QTest::newRow("after 2038") << qint64{4102444800} << 5000000 << qint64{4102444800005};
}

void VKQtDirIteratorTest::modificationDates() {
    QFETCH(qint64, seconds);
    QFETCH(int, nanoseconds);
    QFETCH(qint64, milliseconds);
    Disk::makeFile(mRoot + "a.jpg", "x");
    Disk::makeFolder(mRoot + "sub");
    setModified(mRoot + "a.jpg", seconds, nanoseconds);
    setModified(mRoot + "sub", seconds, nanoseconds);
    const Listing listing = listed(rootPath(), VKQtPathFilter());
    QCOMPARE(listing.entries.size(), 2);
    for (const VKQtDirIterator::Entry& entry : listing.entries) {
        QVERIFY(entry.modified.isValid());
        QCOMPARE(entry.modified.timeSpec(), Qt::UTC);
        QCOMPARE(entry.modified.toMSecsSinceEpoch(), milliseconds);
    }
}

void VKQtDirIteratorTest::creationDates() {
    Disk::makeFile(mRoot + "a.jpg", "x");
    Disk::makeFolder(mRoot + "sub");
    setModified(mRoot + "a.jpg", 1000000000, 0);
    VKTEST_NEEDS(bornMs(mRoot).has_value(), "a temporary folder on a file system with birth times");
    const Listing listing = listed(rootPath(), VKQtPathFilter());
    QCOMPARE(listing.entries.size(), 2);
    for (const VKQtDirIterator::Entry& entry : listing.entries) {
        QVERIFY(entry.created.isValid());
        QCOMPARE(entry.created.timeSpec(), Qt::UTC);
        QCOMPARE(entry.created.toMSecsSinceEpoch(),
                 bornMs(mRoot + entry.path.filename().toUtf8()).value_or(0));
    }
    const VKQtDirIterator::Entry photo = listing.entries.value(QStringLiteral("a.jpg"));
    QVERIFY(photo.created > photo.modified);
}

void VKQtDirIteratorTest::noCreationDate() {
    // The kernel's own view of its settings is a file system without birth times, on every machine.
    const QString folder = QStringLiteral("/proc/sys/kernel");
    QVERIFY(!bornMs(folder.toUtf8()).has_value());
    const std::unique_ptr<VKQtDirIterator> iterator(
        VKQtDirIterator::makeIterator(VKQtPath(folder, true), everything()));
    int count = 0;
    for (VKQtDirIterator::Entry entry = usedEntry(); iterator->next(entry); entry = usedEntry()) {
        ++count;
        QVERIFY(!entry.created.isValid());
        QVERIFY(entry.created.isNull());
        QVERIFY(entry.modified.isValid());
        QCOMPARE(entry.size, 0);
        QVERIFY(!entry.isLink);
    }
    QVERIFY(count > 5);
}

void VKQtDirIteratorTest::withoutDetails() {
    Disk::makeFile(mRoot + "a.jpg", "content");
    Disk::makeFolder(mRoot + "sub");
    Disk::makeLink(mRoot + "link.jpg", "a.jpg");
    Disk::makeLink(mRoot + "sublink", "sub");
    const std::unique_ptr<VKQtDirIterator> iterator(
        VKQtDirIterator::makeIterator(rootPath(), VKQtPathFilter()));
    QVERIFY(iterator->fetchDetails());
    iterator->setFetchDetails(false);
    QVERIFY(!iterator->fetchDetails());
    QStringList names;
    for (VKQtDirIterator::Entry entry = usedEntry(); iterator->next(entry); entry = usedEntry()) {
        const QString name = entry.path.filename();
        names.append(name);
        QCOMPARE(entry.size, 0);
        QVERIFY(entry.created.isNull());
        QVERIFY(entry.modified.isNull());
        QCOMPARE(entry.path.path(), text(name.toUtf8().constData()));
        QCOMPARE(entry.path.isFolder(), name.startsWith(u"sub"));
        QCOMPARE(entry.isLink, name.contains(u"link"));
    }
    std::sort(names.begin(), names.end());
    QCOMPARE(names, (QStringList{QStringLiteral("a.jpg"), QStringLiteral("link.jpg"), QStringLiteral("sub"),
                                 QStringLiteral("sublink")}));
}

void VKQtDirIteratorTest::detailsChangedMeanwhile() {
    for (const char* name : {"a.jpg", "b.jpg", "c.jpg"}) {
        Disk::makeFile(mRoot + name, "content");
    }
    const std::unique_ptr<VKQtDirIterator> iterator(
        VKQtDirIterator::makeIterator(rootPath(), VKQtPathFilter()));
    VKQtDirIterator::Entry entry;
    for (const bool details : {true, false, true}) {
        iterator->setFetchDetails(details);
        QVERIFY(iterator->next(entry));
        QCOMPARE(entry.size, details ? 7 : 0);
        QCOMPARE(entry.modified.isValid(), details);
    }
    QVERIFY(!iterator->next(entry));
}

void VKQtDirIteratorTest::fieldsAreSetAnew() {
    Disk::makeFile(mRoot + "large.jpg", "content");
    Disk::makeFile(mRoot + "empty.jpg");
    Disk::makeFolder(mRoot + "sub");
    Disk::makeLink(mRoot + "link.jpg", "large.jpg");
    const Listing fresh = listed(rootPath(), VKQtPathFilter());
    const std::unique_ptr<VKQtDirIterator> iterator(
        VKQtDirIterator::makeIterator(rootPath(), VKQtPathFilter()));
    int count = 0;
    for (VKQtDirIterator::Entry entry = usedEntry(); iterator->next(entry); entry = usedEntry()) {
        ++count;
        const VKQtDirIterator::Entry other = fresh.entries.value(entry.path.filename());
        QCOMPARE(entry.path.path(), other.path.path());
        QCOMPARE(entry.path.isFolder(), other.path.isFolder());
        QCOMPARE(entry.path.hasVolumeID(), false);
        QCOMPARE(entry.size, other.size);
        QCOMPARE(entry.created, other.created);
        QCOMPARE(entry.modified, other.modified);
        QCOMPARE(entry.isLink, other.isLink);
    }
    QCOMPARE(count, 4);
}

void VKQtDirIteratorTest::interface() {
    static_assert(std::is_abstract_v<VKQtDirIterator> && std::has_virtual_destructor_v<VKQtDirIterator>);
    static_assert(!std::is_copy_constructible_v<VKQtDirIterator>);
    const VKQtDirIterator::Entry entry;
    QVERIFY(entry.path.path().isEmpty());
    QCOMPARE(entry.size, 0);
    QVERIFY(entry.created.isNull());
    QVERIFY(entry.modified.isNull());
    QVERIFY(!entry.isLink);
    // Making one touches nothing: the folder may come into being before the first next().
    Disk::removeTree(mRoot);
    const std::unique_ptr<VKQtDirIterator> iterator(
        VKQtDirIterator::makeIterator(rootPath(), VKQtPathFilter()));
    QCOMPARE(iterator->status(), VKStatus{0});
    QVERIFY(iterator->fetchDetails());
    Disk::makeFolder(mRoot);
    Disk::makeFile(mRoot + "a.jpg");
    VKQtDirIterator::Entry found;
    QVERIFY(iterator->next(found));
}

VKTEST_MAIN(VKQtDirIteratorTest)
#include "VKQtDirIteratorTest.moc"
