// Listings of folders as they are: links, pipes, names in every encoding, entries and folders that vanish,
// folders that may not be read.
#include "Common/DirIteratorSupport.h"
#include "Common/PathFilterSupport.h"
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKQtDirIterator.h>

#include <QSet>

#include <fcntl.h>
#include <sys/stat.h>

using DirIteratorSupport::listed;
using DirIteratorSupport::Listing;
using DirIteratorSupport::namesOf;
using DirIteratorSupport::setModified;

namespace {

std::unique_ptr<VKQtDirIterator> iteratorOf(const VKQtPath& root, const VKQtPathFilter& filter) {
    return std::unique_ptr<VKQtDirIterator>(VKQtDirIterator::makeIterator(root, filter));
}

/// The bytes of the item that operations on the path meet.
QByteArray bytesOf(const VKQtPath& path) {
    const auto url = VKCFRef<CFURLRef>::adopt(path.createCFUrl());
    return url ? CFURLCopyFileSystemBytes(url.get()) : QByteArray();
}

bool existsThrough(const VKQtPath& path) {
    const auto url = VKCFRef<CFURLRef>::adopt(path.createCFUrl());
    return url && VKFileMgrPathExists(url.get());
}

} // namespace

class VKQtDirIteratorFoldersTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void rootsThatListNothing_data();
    void rootsThatListNothing();
    void rootThroughALink();

    void linksAreWhatTheyName();
    void linksThatLeadNowhere();
    void linksByTheFilter_data();
    void linksByTheFilter();
    void pipesAndSocketsAreFiles();

    void namesAreFoundAgain_data();
    void namesAreFoundAgain();
    void namesThatNobodyCanTellApart();
    void oddNamesAllTheWay();

    void vanishedEntriesAreLeftOut();
    void vanishedEntriesWithoutDetails();
    void replacedEntries();
    void removedWhileListed();
    void folderRemovedMeanwhile();

    void unreadableFolder();
    void unsearchableFolder();

private:
    [[nodiscard]] VKQtPath rootPath() const { return VKQtPath(QString::fromUtf8(mRoot), true); }
    void makeMany(int count) const {
        for (int i = 0; i < count; ++i) {
            Disk::makeFile(mRoot + "photo " + QByteArray::number(i) + (i % 2 == 0 ? ".jpg" : ".txt"));
        }
    }

    QByteArray mRoot; // with its "/"
};

void VKQtDirIteratorFoldersTest::init() {
    VKTest::init();
    mRoot = makeFolder(QStringLiteral("listed")).toUtf8() + '/';
}

void VKQtDirIteratorFoldersTest::cleanup() {
    if (Disk::exists(mRoot)) {
        Disk::removeTree(mRoot);
    }
}

void VKQtDirIteratorFoldersTest::rootsThatListNothing_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("missing") << QStringLiteral("missing") << VKStatus{2};
    QTest::newRow("below a missing one") << QStringLiteral("missing/sub") << VKStatus{2};
    QTest::newRow("a file") << QStringLiteral("file.jpg") << VKStatus{20};
    QTest::newRow("below a file") << QStringLiteral("file.jpg/sub") << VKStatus{20};
    QTest::newRow("a pipe, without waiting for a writer") << QStringLiteral("pipe") << VKStatus{20};
    QTest::newRow("a link to nothing") << QStringLiteral("dangling") << VKStatus{2};
    QTest::newRow("a link to itself") << QStringLiteral("loop") << VKStatus{40};
    QTest::newRow("a name that is too long") << QString(256, u'x') << VKStatus{36};
    QTest::newRow("a path that is too long") << QString(5000, u'/') + QStringLiteral("x") << VKStatus{36};
    QTest::newRow("a NUL") << QStringLiteral("a\0b") << VKStatus{1002};
    QTest::newRow("an unpaired surrogate") << QString(QChar(0xD800)) << VKStatus{1002};
}

void VKQtDirIteratorFoldersTest::rootsThatListNothing() {
    QFETCH(QString, name);
    QFETCH(VKStatus, status);
    Disk::makeFile(mRoot + "file.jpg");
    Disk::makeFifo(mRoot + "pipe");
    Disk::makeLink(mRoot + "dangling", "nothing");
    Disk::makeLink(mRoot + "loop", "loop");
    const QString text = QString::fromUtf8(mRoot) + name;
    for (const VKQtPath& root : {VKQtPath(text, true), VKQtPath(text, false)}) {
        const auto iterator = iteratorOf(root, everything());
        VKQtDirIterator::Entry entry;
        for (int i = 0; i < 3; ++i) {
            QVERIFY(!iterator->next(entry));
            QCOMPARE(iterator->status(), status);
        }
    }
    // An empty path is no folder, and not the working folder either.
    const auto iterator = iteratorOf(VKQtPath(), everything());
    VKQtDirIterator::Entry entry;
    QVERIFY(!iterator->next(entry));
    QCOMPARE(iterator->status(), VKStatus{1002});
}

void VKQtDirIteratorFoldersTest::rootThroughALink() {
    Disk::makeFolder(mRoot + "real");
    Disk::makeFile(mRoot + "real/a.jpg");
    Disk::makeLink(mRoot + "link", "real");
    const VKQtPath root(QString::fromUtf8(mRoot) + QStringLiteral("link"), true);
    const Listing listing = listed(root, VKQtPathFilter());
    QCOMPARE(namesOf(listing), QStringList{QStringLiteral("a.jpg")});
    QVERIFY(!listing.entries.first().isLink);
}

void VKQtDirIteratorFoldersTest::linksAreWhatTheyName() {
    Disk::makeFolder(mRoot + "outside");
    Disk::makeFile(mRoot + "outside/target.txt", "content");
    Disk::makeFolder(mRoot + "outside/folder");
    Disk::makeFolder(mRoot + "here");
    Disk::makeLink(mRoot + "here/a.jpg", "../outside/target.txt");
    Disk::makeLink(mRoot + "here/sub", "../outside/folder");
    Disk::makeLink(mRoot + "here/second.jpg", "a.jpg");
    Disk::makeLink(mRoot + "here/up", "..");
    setModified(mRoot + "outside/target.txt", 1000000000);
    setModified(mRoot + "outside/folder", 1100000000);
    const VKQtPath root(QString::fromUtf8(mRoot) + QStringLiteral("here"), true);

    for (const bool details : {true, false}) {
        const Listing listing = listed(root, VKQtPathFilter(), details);
        QCOMPARE(namesOf(listing), (QStringList{QStringLiteral("a.jpg"), QStringLiteral("second.jpg"),
                                                QStringLiteral("sub"), QStringLiteral("up")}));
        for (const VKQtDirIterator::Entry& entry : listing.entries) {
            const bool folder = !entry.path.filename().endsWith(u".jpg");
            QVERIFY(entry.isLink);
            QCOMPARE(entry.path.isFolder(), folder);
            QCOMPARE(entry.size, folder || !details ? 0 : 7);
            QCOMPARE(entry.modified.isValid(), details);
        }
    }
    const Listing listing = listed(root, VKQtPathFilter());
    const auto modified = [&listing](const QString& name) {
        return listing.entries.value(name).modified.toMSecsSinceEpoch();
    };
    QCOMPARE(modified(QStringLiteral("a.jpg")), 1000000000000);
    QCOMPARE(modified(QStringLiteral("second.jpg")), 1000000000000);
    QCOMPARE(modified(QStringLiteral("sub")), 1100000000000);
}

void VKQtDirIteratorFoldersTest::linksThatLeadNowhere() {
    Disk::makeFile(mRoot + "file");
    Disk::makeLink(mRoot + "dangling.jpg", "nothing");
    Disk::makeLink(mRoot + "loop.jpg", "loop.jpg");
    Disk::makeLink(mRoot + "below a file.jpg", "file/x");
    Disk::makeLink(mRoot + "dangling", "nothing");
    const QStringList names = {QStringLiteral("below a file.jpg"), QStringLiteral("dangling.jpg"),
                               QStringLiteral("loop.jpg")};
    for (const QString& name : names) {
        setModified(mRoot + name.toUtf8(), 1200000000);
    }
    for (const bool details : {true, false}) {
        const Listing listing = listed(rootPath(), VKQtPathFilter(), details);
        QCOMPARE(listing.status, VKStatus{0});
        QCOMPARE(namesOf(listing), names);
        for (const VKQtDirIterator::Entry& entry : listing.entries) {
            QVERIFY(entry.isLink);
            QVERIFY(!entry.path.isFolder());
            QCOMPARE(entry.size, 0);
            QCOMPARE(entry.modified.isValid(), details);
            QCOMPARE(entry.modified.isValid() ? entry.modified.toMSecsSinceEpoch() : 0,
                     details ? 1200000000000 : 0);
            QCOMPARE(entry.created.isValid(), details);
        }
    }
    QVERIFY(listed(rootPath(), filterWith(QStringLiteral("-files"))).entries.isEmpty());
}

void VKQtDirIteratorFoldersTest::linksByTheFilter_data() {
    QTest::addColumn<QString>("changes");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<bool>("kept");
    const QString none;
    QTest::newRow("the link's own extension counts")
        << none << QByteArray("a.jpg") << QByteArray("t.txt") << true;
    QTest::newRow("not the target's") << none << QByteArray("a.txt") << QByteArray("t.jpg") << false;
    QTest::newRow("all files accepted")
        << QStringLiteral("+all") << QByteArray("a.txt") << QByteArray("t.jpg") << true;
    QTest::newRow("files off, to a file")
        << QStringLiteral("-files") << QByteArray("a.jpg") << QByteArray("t.jpg") << false;
    QTest::newRow("files off, to a folder")
        << QStringLiteral("-files") << QByteArray("a.txt") << QByteArray("folder") << true;
    QTest::newRow("folders off, to a folder")
        << QStringLiteral("-folders") << QByteArray("a.jpg") << QByteArray("folder") << false;
    QTest::newRow("folders off, to a file")
        << QStringLiteral("-folders") << QByteArray("a.jpg") << QByteArray("t.txt") << true;
    QTest::newRow("to a folder, any name") << none << QByteArray("a.txt") << QByteArray("folder") << true;
    QTest::newRow("to a folder, an excluded ending")
        << none << QByteArray("a.lrdata") << QByteArray("folder") << false;
    QTest::newRow("to an excluded folder, another name")
        << none << QByteArray("a") << QByteArray("x.lrdata") << true;
    QTest::newRow("to a file, an excluded ending, all files accepted")
        << QStringLiteral("+all") << QByteArray("a.lrdata") << QByteArray("t.txt") << true;
    QTest::newRow("hidden") << none << QByteArray(".a.jpg") << QByteArray("t.jpg") << false;
    QTest::newRow("to a hidden file") << none << QByteArray("a.jpg") << QByteArray(".t.jpg") << true;
    QTest::newRow("hidden ones wanted")
        << QStringLiteral("+hidden") << QByteArray(".a.jpg") << QByteArray("t.jpg") << true;
}

void VKQtDirIteratorFoldersTest::linksByTheFilter() {
    QFETCH(QString, changes);
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, target);
    QFETCH(bool, kept);
    Disk::makeFolder(mRoot + "here");
    Disk::makeFolder(mRoot + "folder");
    Disk::makeFolder(mRoot + "x.lrdata");
    for (const char* file : {"t.txt", "t.jpg", ".t.jpg"}) {
        Disk::makeFile(mRoot + file);
    }
    Disk::makeLink(mRoot + "here/" + name, "../" + target);
    const VKQtPath root(QString::fromUtf8(mRoot) + QStringLiteral("here"), true);
    const QStringList expected = kept ? QStringList{QString::fromUtf8(name)} : QStringList();
    QCOMPARE(namesOf(listed(root, filterWith(changes))), expected);
    QCOMPARE(namesOf(listed(root, filterWith(changes), false)), expected);
}

void VKQtDirIteratorFoldersTest::pipesAndSocketsAreFiles() {
    Disk::makeFifo(mRoot + "pipe.jpg");
    Disk::makeFifo(mRoot + "pipe");
    Disk::makeSocket(mRoot + "socket.jpg");
    Disk::makeLink(mRoot + "link.jpg", "pipe");
    const QStringList names = {QStringLiteral("link.jpg"), QStringLiteral("pipe.jpg"),
                               QStringLiteral("socket.jpg")};
    for (const bool details : {true, false}) {
        const Listing listing = listed(rootPath(), VKQtPathFilter(), details);
        QCOMPARE(namesOf(listing), names);
        for (const VKQtDirIterator::Entry& entry : listing.entries) {
            QVERIFY(!entry.path.isFolder());
            QCOMPARE(entry.size, 0);
            QCOMPARE(entry.modified.isValid(), details);
            QCOMPARE(entry.isLink, entry.path.filename() == u"link.jpg");
        }
    }
    QVERIFY(listed(rootPath(), filterWith(QStringLiteral("-files"))).entries.isEmpty());
}

void VKQtDirIteratorFoldersTest::namesAreFoundAgain_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("shown");
    QTest::newRow("ASCII") << QByteArray("a b.jpg") << QStringLiteral("a b.jpg");
    QTest::newRow("composed") << QByteArray("caf\xC3\xA9.jpg") << QStringLiteral("caf\u00E9.jpg");
    QTest::newRow("decomposed") << QByteArray("cafe\xCC\x81.jpg") << QStringLiteral("caf\u00E9.jpg");
    QTest::newRow("Hangul, decomposed")
        << QByteArray("\xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB.jpg") << QStringLiteral("\uD55C.jpg");
    QTest::newRow("not Latin") << QByteArray("\xE6\x9D\xB1\xE4\xBA\xAC.jpg")
                               << QStringLiteral("\u6771\u4EAC.jpg");
    QTest::newRow("outside the first plane")
        << QByteArray("\xF0\x9F\x93\xB7.jpg") << QStringLiteral("\U0001F4F7.jpg");
    QTest::newRow("Latin-1") << QByteArray("caf\xE9.jpg") << QStringLiteral("caf\uFFFD.jpg");
    QTest::newRow("nothing but bytes")
        << QByteArray("\xFF\xFE\x80.jpg") << QStringLiteral("\uFFFD\uFFFD\uFFFD.jpg");
    QTest::newRow("undecodable and decomposed") << QByteArray("\xE9"
                                                              "e\xCC\x81.jpg")
                                                << QStringLiteral("\uFFFD\u00E9.jpg");
    QTest::newRow("an encoded surrogate")
        << QByteArray("\xED\xA0\x80.jpg") << QStringLiteral("\uFFFD\uFFFD\uFFFD.jpg");
    QTest::newRow("a byte order mark in front") << QByteArray("\xEF\xBB\xBF"
                                                              "a.jpg")
                                                << QStringLiteral("\uFEFFa.jpg");
    QTest::newRow("a mark without a letter") << QByteArray("\xCC\xB8.jpg") << QStringLiteral("\u0338.jpg");
    QTest::newRow("Kelvin sign") << QByteArray("300\xE2\x84\xAA.jpg") << QStringLiteral("300K.jpg");
    QTest::newRow("backslash") << QByteArray("a\\b.jpg") << QStringLiteral("a\uFFFDb.jpg");
    QTest::newRow("backslash in front") << QByteArray("\\.jpg") << QStringLiteral("\uFFFD.jpg");
    QTest::newRow("backslash and dots") << QByteArray("..\\x.jpg") << QStringLiteral("..\uFFFDx.jpg");
    QTest::newRow("backslash and undecodable")
        << QByteArray("\\\xE9.jpg") << QStringLiteral("\uFFFD\uFFFD.jpg");
    QTest::newRow("line break") << QByteArray("two\nlines.jpg") << QStringLiteral("two\nlines.jpg");
    QTest::newRow("a real replacement character")
        << QByteArray("a\xEF\xBF\xBD.jpg") << QStringLiteral("a\uFFFD.jpg");
    QTest::newRow("the longest name, undecodable")
        << QByteArray(QByteArray(251, '\xE9') + ".jpg") << QString(QString(251, QChar(0xFFFD)) + u".jpg");
    QTest::newRow("percent, hash and question mark")
        << QByteArray("100%25#?.jpg") << QStringLiteral("100%25#?.jpg");
    QTest::newRow("extension after an undecodable byte")
        << QByteArray("\xE9.JPG") << QStringLiteral("\uFFFD.JPG");
}

void VKQtDirIteratorFoldersTest::namesAreFoundAgain() {
    QFETCH(QByteArray, name);
    QFETCH(QString, shown);
    const QByteArray content = "content of " + name;
    for (const bool isFolder : {false, true}) {
        const QByteArray item = mRoot + name;
        Disk::makeFile(mRoot + "other.jpg");
        if (isFolder) {
            Disk::makeFolder(item);
            Disk::makeFile(item + "/inside.jpg", content);
        } else {
            Disk::makeFile(item, content);
        }
        for (const bool details : {true, false}) {
            const Listing listing = listed(rootPath(), filterWith(QStringLiteral("+hidden")), details);
            QCOMPARE(listing.entries.size(), 2);
            QVERIFY(listing.entries.contains(shown));
            const VKQtDirIterator::Entry entry = listing.entries.value(shown);
            QCOMPARE(entry.path.isFolder(), isFolder);
            QCOMPARE(entry.size, isFolder || !details ? 0 : content.size());
            QVERIFY(existsThrough(entry.path));
            QCOMPARE(bytesOf(entry.path), item);
            if (isFolder) {
                const Listing inside = listed(entry.path, VKQtPathFilter());
                QCOMPARE(namesOf(inside), QStringList{QStringLiteral("inside.jpg")});
                QCOMPARE(Disk::contentOf(bytesOf(inside.entries.first().path)), content);
            } else {
                QCOMPARE(Disk::contentOf(bytesOf(entry.path)), content);
            }
        }
        Disk::removeTree(item);
    }
}

void VKQtDirIteratorFoldersTest::namesThatNobodyCanTellApart() {
    Disk::makeFile(mRoot + "caf\xE9.jpg", "one");
    Disk::makeFile(mRoot + "caf\\.jpg", "another");
    const QString shown = QStringLiteral("caf\uFFFD.jpg");
    Listing listing = listed(rootPath(), VKQtPathFilter());
    QCOMPARE(namesOf(listing), (QStringList{shown, shown}));
    QSet<qint64> sizes;
    for (const VKQtDirIterator::Entry& entry : listing.entries) {
        // Either could be the wrong photo.
        QVERIFY(!existsThrough(entry.path));
        sizes.insert(entry.size);
    }
    QCOMPARE(sizes, (QSet<qint64>{3, 7}));
    // One that is written as it shows is the one that is meant.
    Disk::makeFile(mRoot + "caf\xEF\xBF\xBD.jpg", "the third");
    listing = listed(rootPath(), VKQtPathFilter());
    QCOMPARE(listing.entries.size(), 3);
    for (const VKQtDirIterator::Entry& entry : listing.entries) {
        QCOMPARE(Disk::contentOf(bytesOf(entry.path)), QByteArray("the third"));
    }
}

void VKQtDirIteratorFoldersTest::oddNamesAllTheWay() {
    const QByteArrayList names = {"e\xCC\x81", "caf\xE9", "a\\b", "300\xE2\x84\xAA", "plain"};
    QByteArray bytes = mRoot;
    for (const QByteArray& name : names) {
        bytes += name;
        Disk::makeFolder(bytes);
        bytes += '/';
    }
    Disk::makeFile(bytes + "\xFF.jpg", "found");
    VKQtPath here = rootPath();
    for (qsizetype depth = 0; depth < names.size(); ++depth) {
        const Listing listing = listed(here, VKQtPathFilter());
        QCOMPARE(listing.status, VKStatus{0});
        QCOMPARE(listing.entries.size(), 1);
        here = listing.entries.first().path;
        QVERIFY(here.isFolder());
    }
    QCOMPARE(here.path(), QString::fromUtf8(mRoot) + QStringLiteral("\u00E9/caf\uFFFD/a\uFFFDb/300K/plain"));
    const Listing last = listed(here, VKQtPathFilter());
    QCOMPARE(namesOf(last), QStringList{QStringLiteral("\uFFFD.jpg")});
    QCOMPARE(bytesOf(last.entries.first().path), bytes + "\xFF.jpg");
}

void VKQtDirIteratorFoldersTest::vanishedEntriesAreLeftOut() {
    for (const char* name : {"a.jpg", "b.jpg", "c.jpg", "d.jpg"}) {
        Disk::makeFile(mRoot + name);
    }
    Disk::makeFolder(mRoot + "sub");
    Disk::makeLink(mRoot + "link.jpg", "a.jpg");
    // The first call reads all the names in one block; what is removed then is known but gone.
    const auto iterator = iteratorOf(rootPath(), VKQtPathFilter());
    VKQtDirIterator::Entry entry;
    QVERIFY(iterator->next(entry));
    const QByteArrayList names = Disk::namesIn(mRoot);
    QCOMPARE(names.size(), 6);
    for (const QByteArray& name : names) {
        Disk::removeTree(mRoot + name);
    }
    QVERIFY(!iterator->next(entry));
    QCOMPARE(iterator->status(), VKStatus{0});
}

void VKQtDirIteratorFoldersTest::vanishedEntriesWithoutDetails() {
    for (const char* name : {"a.jpg", "b.jpg", "c.jpg"}) {
        Disk::makeFile(mRoot + name);
    }
    for (const char* name : {"link.jpg", "second.jpg"}) {
        Disk::makeLink(mRoot + name, "a.jpg");
    }
    const auto iterator = iteratorOf(rootPath(), VKQtPathFilter());
    iterator->setFetchDetails(false);
    VKQtDirIterator::Entry entry;
    QVERIFY(iterator->next(entry));
    int delivered = 1;
    int files = entry.isLink ? 0 : 1;
    for (const QByteArray& name : Disk::namesIn(mRoot)) {
        Disk::removeTree(mRoot + name);
    }
    // Files are told by the folder alone, so they were there when it was read; links have to be asked.
    for (; iterator->next(entry); ++delivered) {
        QVERIFY(!entry.isLink);
        ++files;
    }
    QCOMPARE(files, 3);
    QVERIFY(delivered <= 4);
    QCOMPARE(iterator->status(), VKStatus{0});
}

void VKQtDirIteratorFoldersTest::replacedEntries() {
    for (const char* name : {"a.jpg", "b.jpg", "c.jpg"}) {
        Disk::makeFile(mRoot + name, "content");
    }
    Disk::makeFolder(mRoot + "outside");
    Disk::makeFile(mRoot + "outside/t.txt", "longer content");
    const auto iterator = iteratorOf(rootPath(), filterWith(QStringLiteral("-folders")));
    VKQtDirIterator::Entry entry;
    QVERIFY(iterator->next(entry));
    const QByteArray first = entry.path.filename().toUtf8();
    QByteArrayList rest = {"a.jpg", "b.jpg", "c.jpg"};
    rest.removeOne(first);
    QCOMPARE(rest.size(), 2);
    for (const QByteArray& name : rest) {
        Disk::removeTree(mRoot + name);
    }
    // A link now: listed as what it names. A folder now: not wanted.
    Disk::makeLink(mRoot + rest.at(0), "outside/t.txt");
    Disk::makeFolder(mRoot + rest.at(1));
    QVERIFY(iterator->next(entry));
    QCOMPARE(entry.path.filename().toUtf8(), rest.at(0));
    QVERIFY(entry.isLink);
    QCOMPARE(entry.size, 14);
    QVERIFY(!iterator->next(entry));
}

void VKQtDirIteratorFoldersTest::removedWhileListed() {
    makeMany(200);
    const auto iterator = iteratorOf(rootPath(), everything());
    int count = 0;
    for (VKQtDirIterator::Entry entry; iterator->next(entry); ++count) {
        Disk::removeTree(bytesOf(entry.path));
    }
    QCOMPARE(count, 200);
    QVERIFY(Disk::namesIn(mRoot).isEmpty());
}

void VKQtDirIteratorFoldersTest::folderRemovedMeanwhile() {
    makeMany(50);
    const auto iterator = iteratorOf(rootPath(), everything());
    VKQtDirIterator::Entry entry;
    QVERIFY(iterator->next(entry));
    Disk::removeTree(mRoot);
    for (int i = 0; i < 3; ++i) {
        QVERIFY(!iterator->next(entry));
        // The end of the folder could not be read any more: the listing is not a complete one.
        QCOMPARE(iterator->status(), VKStatus{2});
    }
}

void VKQtDirIteratorFoldersTest::unreadableFolder() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    Disk::makeFolder(mRoot + "closed");
    Disk::makeFile(mRoot + "closed/a.jpg");
    Disk::must(::chmod(Disk::text(mRoot + "closed"), 0700) == 0, "chmod", mRoot);
    Disk::must(::chmod(mRoot.constData(), 0755) == 0, "chmod", mRoot);
    const VKQtPath root(QString::fromUtf8(mRoot) + QStringLiteral("closed"), true);
    QCOMPARE(listed(root, VKQtPathFilter()).entries.size(), 1);
    const int asOther = Disk::asOtherUser([&root, this] {
        const Listing closed = listed(root, everything());
        const Listing above = listed(rootPath(), everything());
        const bool nothing = closed.entries.isEmpty() && closed.status == 13;
        const bool shown = above.status == 0 && namesOf(above) == QStringList{QStringLiteral("closed")} &&
                           above.entries.first().modified.isValid();
        return (nothing ? 1 : 0) + (shown ? 2 : 0);
    });
    QCOMPARE(asOther, 3);
}

void VKQtDirIteratorFoldersTest::unsearchableFolder() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    // Its names may be read, but nothing may be asked about them.
    Disk::openForOthers(mRoot);
    Disk::makeFolder(mRoot + "names");
    Disk::makeFile(mRoot + "names/a.jpg", "content");
    Disk::makeFolder(mRoot + "names/sub");
    Disk::makeLink(mRoot + "names/link.jpg", "a.jpg");
    Disk::makeLink(mRoot + "names/link", "sub");
    Disk::must(::chmod(Disk::text(mRoot + "names"), 0744) == 0, "chmod", mRoot);
    Disk::must(::chmod(mRoot.constData(), 0755) == 0, "chmod", mRoot);
    const VKQtPath root(QString::fromUtf8(mRoot) + QStringLiteral("names"), true);
    const int asOther = Disk::asOtherUser([&root] {
        const Listing listing = listed(root, VKQtPathFilter());
        // What the folder itself tells is listed; the link that looks like no photo could be anything.
        const bool names = listing.status == 0 &&
                           namesOf(listing) == QStringList{QStringLiteral("a.jpg"),
                                                           QStringLiteral("link.jpg"), QStringLiteral("sub")};
        bool bare = true;
        for (const VKQtDirIterator::Entry& entry : listing.entries) {
            bare = bare && entry.size == 0 && entry.created.isNull() && entry.modified.isNull();
        }
        const bool kinds = listing.entries.value(QStringLiteral("sub")).path.isFolder() &&
                           !listing.entries.value(QStringLiteral("a.jpg")).path.isFolder() &&
                           listing.entries.value(QStringLiteral("link.jpg")).isLink;
        return (names ? 1 : 0) + (bare ? 2 : 0) + (kinds ? 4 : 0);
    });
    QCOMPARE(asOther, 7);
}

VKTEST_MAIN(VKQtDirIteratorFoldersTest)
#include "VKQtDirIteratorFoldersTest.moc"
