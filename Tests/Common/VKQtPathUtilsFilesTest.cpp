// What VKQtPathUtils does to files and folders: statuses, what is logged, and what lies on the disk afterwards.
#include "Common/PathUtilsSupport.h"
#include "Support/DiskSupport.h"
#include "Support/LoopFileSystem.h"
#include "Support/VKTest.h"
#include "VKCoreKit/CoreKitSupport.h"
#include "VKQtLocale.h"
#include "VKQtPathUtils.h"

#include <CoreFoundation/CFQt.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/inotify.h>
#include <vector>

using namespace CoreKit;
using namespace PathUtils;
using namespace Qt::StringLiterals;

namespace {

/// Names that a careless step loses: each with the text that shows it.
struct OddName {
    const char* reason;
    QByteArray bytes;
    QString text;
};

const std::vector<OddName>& oddNames() {
    static const std::vector<OddName> sNames = {
        {"plain", "a.jpg", u"a.jpg"_s},
        {"newline", "a\nb.jpg", u"a\nb.jpg"_s},
        {"percent sign", "100%41.jpg", u"100%41.jpg"_s},
        {"blank at the end", "a.jpg ", u"a.jpg "_s},
        {"composed", "Caf\xc3\xa9.jpg", u"Café.jpg"_s},
        {"decomposed", "Cafe\xcc\x81.jpg", u"Café.jpg"_s},
        {"not UTF-8", "lat\xe9.jpg", u"lat\uFFFD.jpg"_s},
        {"backslash", "a\\b.jpg", u"a\uFFFDb.jpg"_s},
        {"255 bytes", QByteArray(251, 'n') + ".jpg", QString(251, u'n') + u".jpg"_s},
    };
    return sNames;
}

void addOddNames() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    for (const OddName& name : oddNames()) {
        QTest::newRow(name.reason) << name.bytes << name.text;
    }
}

/// A text that can name no file.
VKQtPath noPath() { return VKQtPath(QString(u"/a\0b"_s), false); }

/// The names that items of a folder got while the object lived, in order.
class WatchedNames {
public:
    explicit WatchedNames(const QByteArray& folder) : mQueue(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        Disk::must(::inotify_add_watch(mQueue, folder.constData(), IN_MOVED_TO | IN_CREATE) >= 0, "watch",
                   folder);
    }
    WatchedNames(const WatchedNames&) = delete;
    WatchedNames& operator=(const WatchedNames&) = delete;
    ~WatchedNames() { ::close(mQueue); }

    [[nodiscard]] QByteArrayList take() const {
        alignas(inotify_event) std::array<char, 16384> block{};
        QByteArrayList names;
        const ssize_t size = ::read(mQueue, block.data(), block.size());
        for (ssize_t at = 0; at < size;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(block.data() + at);
            names.append(QByteArray(event->name));
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
        return names;
    }

private:
    int mQueue;
};

} // namespace

class VKQtPathUtilsFilesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void makesFolders();
    void deletesByFlag();
    void copiesAndMoves_data() { addOddNames(); }
    void copiesAndMoves();
    void neverOverwrites();
    void namesNoFile();
    void caseOnlyRename_data();
    void caseOnlyRename();
    void caseOnlyRenameOntoAnotherFile();
    void caseOnlyRenameThatFails();
    void renameOntoItself();
    void recyclesAndRestores_data() { addOddNames(); }
    void recyclesAndRestores();
    void restoresToATarget();
    void recycleStatuses();
    void noBin();
    void uniqueNames_data();
    void uniqueNames();
    void uniqueNamesInTheUsersLanguage();
    void uniqueNameWithoutAPlace();
    void uniqueNameOfOddNames_data() { addOddNames(); }
    void uniqueNameOfOddNames();
    void appendsComponents_data();
    void appendsComponents();
    void directories();
    void directoriesOfNothing();
    void writesAndReads_data() { addOddNames(); }
    void writesAndReads();
    void writeStatuses();
    void readStatuses();
    void versions();
    void factoryContent();
};
void VKQtPathUtilsFilesTest::makesFolders() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    LogCapture log;
    VKQtPath nested = folderPath(folder, u"a/b/c"_s);
    QCOMPARE(VKQtPathUtils::createFolder(nested), kVKStatusSuccess);
    QCOMPARE(VKQtPathUtils::createDirectory(nested), kVKStatusSuccess);
    QCOMPARE(snapshot(bytes), QByteArray("a/\na/b/\na/b/c/\n"));
    QCOMPARE(loggedStatuses(log), QList<int>());
    Disk::makeFile(bytes + "/file", "content");
    VKQtPath file = folderPath(folder, u"file"_s);
    QCOMPARE(VKQtPathUtils::createFolder(file), VKStatus(EEXIST));
    const QList<LogLine> first = log.take();
    QCOMPARE(VKQtPathUtils::createDirectory(file), VKStatus(EEXIST));
    const QList<LogLine> second = log.take();
    QCOMPARE(first.size(), 1);
    QCOMPARE(second.size(), 1);
    QCOMPARE(first[0].status, VKStatus(EEXIST));
    QCOMPARE(first[0].source, kLogSource);
    QVERIFY(first[0].line != second[0].line);
    QCOMPARE(Disk::contentOf(bytes + "/file"), QByteArray("content"));
}

void VKQtPathUtilsFilesTest::deletesByFlag() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    makeTree(bytes + "/tree");
    Disk::makeFile(bytes + "/file", "content");
    LogCapture log;
    VKQtPath asFile = filePath(folder, u"tree"_s);
    QCOMPARE(VKQtPathUtils::deleteItem(asFile), VKStatus(EISDIR));
    VKQtPath missing = filePath(folder, u"none"_s);
    QCOMPARE(VKQtPathUtils::deleteItem(missing), VKStatus(ENOENT));
    VKQtPath nothing = noPath();
    QCOMPARE(VKQtPathUtils::deleteItem(nothing), kVKStatusBadArgument);
    VKQtPath tree = folderPath(folder, u"tree"_s);
    QCOMPARE(VKQtPathUtils::deleteItem(tree), kVKStatusSuccess);
    QCOMPARE(snapshot(bytes), QByteArray("file=content\n"));
    VKQtPath file = filePath(folder, u"file"_s);
    QCOMPARE(VKQtPathUtils::deleteItem(file), kVKStatusSuccess);
    QCOMPARE(snapshot(bytes), QByteArray());
    QVERIFY(Disk::exists("/etc"));
    QCOMPARE(loggedStatuses(log), QList<int>());
}

void VKQtPathUtilsFilesTest::copiesAndMoves() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    const QString folder = makeFolder();
    const QByteArray place = folder.toUtf8() + '/';
    Disk::makeFile(place + bytes, "content");
    LogCapture log;
    VKQtPath item = filePath(folder, text);
    VKQtPath copy = filePath(folder, u"copy.jpg"_s);
    QCOMPARE(VKQtPathUtils::copyFile(item, copy), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(place + "copy.jpg"), QByteArray("content"));
    VKQtPath moved = filePath(folder, u"moved.jpg"_s);
    QCOMPARE(VKQtPathUtils::moveFile(item, moved), kVKStatusSuccess);
    QCOMPARE(snapshot(place), QByteArray("copy.jpg=content\nmoved.jpg=content\n"));
    QCOMPARE(loggedStatuses(log), QList<int>());
}

void VKQtPathUtilsFilesTest::neverOverwrites() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::makeFile(bytes + "/a", "one");
    Disk::makeFile(bytes + "/b", "two");
    const QByteArray before = snapshot(bytes);
    LogCapture log;
    VKQtPath a = filePath(folder, u"a"_s);
    VKQtPath b = filePath(folder, u"b"_s);
    QCOMPARE(VKQtPathUtils::copyFile(a, b), VKStatus(EEXIST));
    QCOMPARE(VKQtPathUtils::moveFile(a, b), VKStatus(EEXIST));
    QCOMPARE(loggedStatuses(log), QList<int>({EEXIST, EEXIST}));
    QCOMPARE(snapshot(bytes), before);
    VKQtPath none = filePath(folder, u"none"_s);
    QCOMPARE(VKQtPathUtils::copyFile(none, none), VKStatus(ENOENT));
    QCOMPARE(VKQtPathUtils::moveFile(none, b), VKStatus(ENOENT));
    QCOMPARE(loggedStatuses(log), QList<int>({ENOENT, ENOENT}));
    QCOMPARE(snapshot(bytes), before);
}

void VKQtPathUtilsFilesTest::namesNoFile() {
    const QString folder = makeFolder();
    Disk::makeFile(folder.toUtf8() + "/a", "one");
    VKQtPath file = filePath(folder, u"a"_s);
    VKQtPath none = noPath();
    VKQtPath empty;
    LogCapture log;
    QCOMPARE(VKQtPathUtils::createFolder(none), kVKStatusBadArgument);
    QCOMPARE(VKQtPathUtils::createDirectory(empty), kVKStatusBadArgument);
    QCOMPARE(VKQtPathUtils::copyFile(none, file), kVKStatusBadArgument);
    QCOMPARE(VKQtPathUtils::copyFile(file, none), kVKStatusBadArgument);
    QCOMPARE(VKQtPathUtils::moveFile(none, file), kVKStatusBadArgument);
    QCOMPARE(VKQtPathUtils::moveFile(file, empty), kVKStatusBadArgument);
    QCOMPARE(VKQtPathUtils::recyleItem(none, empty), kVKStatusBadArgument);
    QCOMPARE(loggedStatuses(log), QList<int>(7, int(kVKStatusBadArgument)));
    QCOMPARE(VKQtPathUtils::canRecycleItem(none), false);
    QCOMPARE(snapshot(folder.toUtf8()), QByteArray("a=one\n"));
}

void VKQtPathUtilsFilesTest::caseOnlyRename_data() {
    QTest::addColumn<QByteArray>("fileSystem");
    QTest::addColumn<bool>("folder");
    QTest::newRow("case told apart") << QByteArray() << false;
    QTest::newRow("case told apart, folder") << QByteArray() << true;
    QTest::newRow("case ignored") << QByteArray("exfat") << false;
    QTest::newRow("case ignored, folder") << QByteArray("exfat") << true;
}

void VKQtPathUtilsFilesTest::caseOnlyRename() {
    QFETCH(QByteArray, fileSystem);
    QFETCH(bool, folder);
    const QString place = makeFolder();
    const QByteArray bytes = place.toUtf8();
    std::unique_ptr<Disk::LoopFileSystem> mounted;
    if (!fileSystem.isEmpty()) {
        mounted = std::make_unique<Disk::LoopFileSystem>(fileSystem.constData(), bytes);
        VKTEST_NEEDS(mounted->isMounted(), "root, loop devices and exfat in user space");
    }
    if (folder) {
        Disk::makeFolder(bytes + "/photo.jpg");
        Disk::makeFile(bytes + "/photo.jpg/inside", "content");
    } else {
        Disk::makeFile(bytes + "/photo.jpg", "content");
    }
    VKQtPath from(place + u"/photo.jpg"_s, folder);
    VKQtPath to(place + u"/Photo.jpg"_s, folder);
    const WatchedNames names(bytes);
    LogCapture log;
    QCOMPARE(VKQtPathUtils::moveFile(from, to), kVKStatusSuccess);
    QCOMPARE(loggedStatuses(log), QList<int>());
    QCOMPARE(Disk::namesIn(bytes), QByteArrayList({"Photo.jpg"}));
    QCOMPARE(Disk::contentOf(bytes + (folder ? "/Photo.jpg/inside" : "/Photo.jpg")), QByteArray("content"));
    // Through a free name beside it, not inside. Where a rename cannot be exclusive, a name is first created.
    QByteArrayList taken = names.take();
    taken.erase(std::unique(taken.begin(), taken.end()), taken.end());
    QCOMPARE(taken.size(), 2);
    QVERIFY2(taken[0].startsWith("photo.jpg copy"), taken[0].constData());
    QCOMPARE(taken[1], QByteArray("Photo.jpg"));
}

void VKQtPathUtilsFilesTest::caseOnlyRenameOntoAnotherFile() {
    const QString place = makeFolder();
    const QByteArray bytes = place.toUtf8();
    Disk::makeFile(bytes + "/photo.jpg", "one");
    Disk::makeFile(bytes + "/Photo.jpg", "two");
    const QByteArray before = snapshot(bytes);
    VKQtPath from = filePath(place, u"photo.jpg"_s);
    VKQtPath to = filePath(place, u"Photo.jpg"_s);
    LogCapture log;
    QCOMPARE(VKQtPathUtils::moveFile(from, to), VKStatus(EEXIST));
    QCOMPARE(loggedStatuses(log), QList<int>({EEXIST}));
    QCOMPARE(snapshot(bytes), before);
}

void VKQtPathUtilsFilesTest::caseOnlyRenameThatFails() {
    const QString place = makeFolder();
    const QByteArray bytes = place.toUtf8();
    Disk::makeFolder(bytes + "/sub");
    Disk::makeFile(bytes + "/sub/a.jpg", "one");
    VKQtPath from = filePath(place, u"sub/a.jpg"_s);
    VKQtPath to = filePath(place, u"SUB/a.jpg"_s);
    LogCapture log;
    QCOMPARE(VKQtPathUtils::moveFile(from, to), VKStatus(ENOENT));
    QCOMPARE(loggedStatuses(log), QList<int>({ENOENT}));
    QCOMPARE(snapshot(bytes), QByteArray("sub/\nsub/a.jpg=one\n"));
    // Nothing there to begin with.
    VKQtPath none = filePath(place, u"none"_s);
    VKQtPath upper = filePath(place, u"NONE"_s);
    QCOMPARE(VKQtPathUtils::moveFile(none, upper), VKStatus(ENOENT));
    QCOMPARE(snapshot(bytes), QByteArray("sub/\nsub/a.jpg=one\n"));
}

void VKQtPathUtilsFilesTest::renameOntoItself() {
    const QString place = makeFolder();
    Disk::makeFile(place.toUtf8() + "/a.jpg", "one");
    VKQtPath path = filePath(place, u"a.jpg"_s);
    LogCapture log;
    const VKStatus direct = VKFileMgrMoveFile(VKCFRef<CFURLRef>::adopt(path.createCFUrl()).get(),
                                              VKCFRef<CFURLRef>::adopt(path.createCFUrl()).get());
    // One step, so exactly what the core library answers.
    QCOMPARE(VKQtPathUtils::moveFile(path, path), direct);
    QCOMPARE(snapshot(place.toUtf8()), QByteArray("a.jpg=one\n"));
}

void VKQtPathUtilsFilesTest::recyclesAndRestores() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    const QString folder = makeFolder();
    const QByteArray place = folder.toUtf8() + '/';
    Disk::makeFile(place + bytes, "content");
    VKQtPath item = filePath(folder, text);
    LogCapture log;
    QVERIFY(VKQtPathUtils::canRecycleItem(item));
    VKQtPath recycled(u"/before"_s, true);
    QCOMPARE(VKQtPathUtils::recyleItem(item, recycled), kVKStatusSuccess);
    QCOMPARE(snapshot(place), QByteArray());
    QVERIFY(!recycled.isFolder());
    QVERIFY2(recycled.path().contains(u"/Trash/files/"_s), qPrintable(recycled.path()));
    QVERIFY(recycled.exists());
    VKQtPath remembered;
    QCOMPARE(VKQtPathUtils::restoreRecycledItem(recycled, remembered), kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(place), QByteArrayList({bytes}));
    QCOMPARE(Disk::contentOf(place + bytes), QByteArray("content"));
    QCOMPARE(loggedStatuses(log), QList<int>());
}

void VKQtPathUtilsFilesTest::restoresToATarget() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    makeTree(bytes + "/tree");
    const QByteArray tree = snapshot(bytes + "/tree");
    Disk::makeFile(bytes + "/taken", "mine");
    LogCapture log;
    VKQtPath item = folderPath(folder, u"tree"_s);
    VKQtPath recycled;
    QCOMPARE(VKQtPathUtils::recyleItem(item, recycled), kVKStatusSuccess);
    QVERIFY(recycled.isFolder());
    QVERIFY(!Disk::exists(bytes + "/tree"));
    VKQtPath taken = folderPath(folder, u"taken"_s);
    QCOMPARE(VKQtPathUtils::restoreRecycledItem(recycled, taken), VKStatus(EEXIST));
    // A target that can be no file is not the same as none.
    VKQtPath none = noPath();
    QCOMPARE(VKQtPathUtils::restoreRecycledItem(recycled, none), kVKStatusBadArgument);
    QCOMPARE(loggedStatuses(log), QList<int>({EEXIST, int(kVKStatusBadArgument)}));
    QVERIFY(recycled.exists());
    QCOMPARE(snapshot(bytes), QByteArray("taken=mine\n"));
    VKQtPath target = folderPath(folder, u"back"_s);
    QCOMPARE(VKQtPathUtils::restoreRecycledItem(recycled, target), kVKStatusSuccess);
    QCOMPARE(snapshot(bytes + "/back"), tree);
    QVERIFY(!recycled.exists());
    QCOMPARE(VKQtPathUtils::restoreRecycledItem(recycled, target), VKStatus(ENOENT));
    QCOMPARE(loggedStatuses(log), QList<int>({ENOENT}));
}

void VKQtPathUtilsFilesTest::recycleStatuses() {
    const QString folder = makeFolder();
    LogCapture log;
    VKQtPath missing = filePath(folder, u"none"_s);
    VKQtPath recycled(u"/before"_s, true);
    QCOMPARE(VKQtPathUtils::recyleItem(missing, recycled), VKStatus(ENOENT));
    QCOMPARE(recycled.path(), u"/before"_s);
    QCOMPARE(loggedStatuses(log), QList<int>());
    VKQtPath notInABin = filePath(folder, u"none"_s);
    VKQtPath target;
    QCOMPARE(VKQtPathUtils::restoreRecycledItem(notInABin, target), kVKStatusBadArgument);
    QCOMPARE(loggedStatuses(log), QList<int>({int(kVKStatusBadArgument)}));
}

void VKQtPathUtilsFilesTest::noBin() {
    // The kernel's own file system takes no folder of ours.
    VKQtPath item(u"/proc/sys/kernel/ostype"_s, false);
    VKQtPath recycled;
    LogCapture log;
    QCOMPARE(VKQtPathUtils::canRecycleItem(item), false);
    QCOMPARE(VKQtPathUtils::recyleItem(item, recycled), kVKStatusCancelled);
    QCOMPARE(loggedStatuses(log), QList<int>());
}

void VKQtPathUtilsFilesTest::uniqueNames_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isFile");
    QTest::addColumn<QString>("unique");
    QTest::newRow("free") << u"new.jpg"_s << true << u"new.jpg"_s;
    QTest::newRow("taken") << u"photo.jpg"_s << true << u"photo copy.jpg"_s;
    QTest::newRow("taken twice") << u"twice.jpg"_s << true << u"twice copy 2.jpg"_s;
    QTest::newRow("folder") << u"folder.1"_s << false << u"folder.1 copy"_s;
}

void VKQtPathUtilsFilesTest::uniqueNames() {
    QFETCH(QString, name);
    QFETCH(bool, isFile);
    QFETCH(QString, unique);
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    for (const char* file : {"/photo.jpg", "/twice.jpg", "/twice copy.jpg"}) {
        Disk::makeFile(bytes + file);
    }
    Disk::makeFolder(bytes + "/folder.1");
    VKQtPath where = filePath(folder, u"photo.jpg"_s);
    const VKQtPath path = VKQtPathUtils::createPathWithUniqueName(where, name, isFile);
    QCOMPARE(path.path(), folder + u'/' + unique);
    QCOMPARE(path.isFolder(), !isFile);
    QVERIFY(!path.exists());
    VKQtPath out(u"/before"_s, isFile);
    QCOMPARE(VKQtPathUtils::createPathWithUniqueName2(where, name, isFile, out), kVKStatusSuccess);
    QCOMPARE(out.path(), path.path());
    QCOMPARE(out.isFolder(), !isFile);
}

void VKQtPathUtilsFilesTest::uniqueNamesInTheUsersLanguage() {
    const QString folder = makeFolder();
    Disk::makeFile(folder.toUtf8() + "/a.jpg");
    VKQtPath where = filePath(folder, u"a.jpg"_s);
    QVERIFY(VKQtLocale::installTranslations(QLocale(u"de_DE"_s)));
    const VKQtPath german = VKQtPathUtils::createPathWithUniqueName(where, u"a.jpg"_s, true);
    QVERIFY(VKQtLocale::installTranslations(QLocale(u"ja_JP"_s)));
    const VKQtPath japanese = VKQtPathUtils::createPathWithUniqueName(where, u"a.jpg"_s, true);
    QVERIFY(VKQtLocale::installTranslations(QLocale::c()));
    QCOMPARE(german.filename(), u"a Kopie.jpg"_s);
    QCOMPARE(japanese.filename(), u"a コピー.jpg"_s);
    QCOMPARE(VKQtPathUtils::createPathWithUniqueName(where, u"a.jpg"_s, true).filename(), u"a copy.jpg"_s);
}

void VKQtPathUtilsFilesTest::uniqueNameWithoutAPlace() {
    VKQtPath none = noPath();
    VKQtPath where(makeFolder() + u"/a"_s, false);
    LogCapture log;
    QCOMPARE(VKQtPathUtils::createPathWithUniqueName(none, u"a"_s, true).path(), QString());
    QCOMPARE(VKQtPathUtils::createPathWithUniqueName(where, QString(), true).path(), QString());
    QCOMPARE(loggedStatuses(log), QList<int>());
    VKQtPath out(u"/before"_s, false);
    QCOMPARE(VKQtPathUtils::createPathWithUniqueName2(none, u"a"_s, true, out), kVKStatusOutOfRange);
    QCOMPARE(VKQtPathUtils::createPathWithUniqueName2(where, QString(), true, out), kVKStatusOutOfRange);
    QCOMPARE(loggedStatuses(log), QList<int>({1006, 1006}));
    QCOMPARE(out.path(), u"/before"_s);
}

void VKQtPathUtilsFilesTest::uniqueNameOfOddNames() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    const QString folder = makeFolder();
    Disk::makeFile(folder.toUtf8() + '/' + bytes, "content");
    VKQtPath where = filePath(folder, text);
    VKQtPath copy = VKQtPathUtils::createPathWithUniqueName(where, where.filename(), true);
    QVERIFY(!copy.path().isEmpty() && !copy.exists());
    QCOMPARE(VKQtPathUtils::copyFile(where, copy), kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(folder.toUtf8()).size(), 2);
    QVERIFY(copy.exists());
    QVERIFY(VKQtPathUtils::createPathWithUniqueName(where, where.filename(), true) != copy);
}

void VKQtPathUtilsFilesTest::appendsComponents_data() {
    QTest::addColumn<QString>("base");
    QTest::addColumn<QString>("component");
    QTest::addColumn<QString>("expected");
    QTest::newRow("slash there") << u"a/"_s << u"b"_s << u"a/b"_s;
    QTest::newRow("slash missing") << u"a"_s << u"b"_s << u"a/b"_s;
    QTest::newRow("one too many stays") << u"a/"_s << u"/b"_s << u"a//b"_s;
    QTest::newRow("empty base") << u""_s << u"b"_s << u"/b"_s;
    QTest::newRow("empty component") << u"a"_s << u""_s << u"a/"_s;
    QTest::newRow("backslash is no slash") << u"a\\"_s << u"b"_s << u"a\\/b"_s;
}

void VKQtPathUtilsFilesTest::appendsComponents() {
    QFETCH(QString, base);
    QFETCH(QString, component);
    QFETCH(QString, expected);
    QCOMPARE(VKQtPathUtils::createCopyAppendingQTNormalizePathComponent(base, component), expected);
}

void VKQtPathUtilsFilesTest::directories() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    QStringList expected;
    for (const OddName& name : oddNames()) {
        if (qstrcmp(name.reason, "composed") != 0) {
            Disk::makeFolder(bytes + '/' + name.bytes);
            expected.append(name.text);
        }
    }
    Disk::makeFolder(bytes + "/Album.app");
    expected.append(u"Album.app"_s);
    Disk::makeFolder(bytes + "/.hidden");
    Disk::makeFolder(bytes + "/a.jpg/below");
    Disk::makeFile(bytes + "/file");
    Disk::makeFifo(bytes + "/fifo");
    Disk::makeLink(bytes + "/link", "a.jpg");
    QList<QString> names = {u"before"_s};
    VKQtPathUtils::getDirectories(folder, names);
    // Each name leads back to its folder.
    for (QString& name : names) {
        QVERIFY2(VKQtPathUtils::isFolder(folder + u'/' + name), qPrintable(name));
        name = name.normalized(QString::NormalizationForm_C);
    }
    names.sort();
    expected.sort();
    QCOMPARE(names, expected);
}

void VKQtPathUtilsFilesTest::directoriesOfNothing() {
    const QString folder = makeFolder();
    Disk::makeFile(folder.toUtf8() + "/file");
    LogCapture log;
    const QStringList texts = {folder + u"/none"_s, folder + u"/file"_s, QString(), u"/a\0b"_s, folder};
    for (const QString& text : texts) {
        QList<QString> names = {u"before"_s};
        VKQtPathUtils::getDirectories(text, names);
        QCOMPARE(names, QList<QString>());
    }
    QCOMPARE(loggedStatuses(log), QList<int>());
}

void VKQtPathUtilsFilesTest::writesAndReads() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    const QString folder = makeFolder();
    const QByteArray place = folder.toUtf8() + '/' + bytes;
    Disk::makeFile(place, "old");
    VKQtPath file = filePath(folder, text);
    LogCapture log;
    for (const QByteArray& content : {QByteArray("new\0content", 11), QByteArray(""), QByteArray()}) {
        QCOMPARE(VKQtPathUtils::writeFileContents(content, file), kVKStatusSuccess);
        QCOMPARE(Disk::contentOf(place), content);
        CFDataRef data = nullptr;
        QCOMPARE(VKQtPathUtils::readFileContentsCopy(file, data), kVKStatusSuccess);
        QCOMPARE(CFDataCopyQByteArray(VKCFRef<CFDataRef>::adopt(data).get()), content);
    }
    const auto data = VKCFRef<CFDataRef>::adopt(CFDataCreateWithQByteArray("by data"));
    QCOMPARE(VKQtPathUtils::writeFileContents(data.get(), file), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(place), QByteArray("by data"));
    QCOMPARE(Disk::namesIn(folder.toUtf8()), QByteArrayList({bytes}));
    QCOMPARE(loggedStatuses(log), QList<int>());
}

void VKQtPathUtilsFilesTest::writeStatuses() {
    const QString folder = makeFolder();
    VKQtPath file = filePath(folder, u"file"_s);
    VKQtPath self(folder, true);
    VKQtPath missing = filePath(folder, u"none/file"_s);
    VKQtPath none = noPath();
    LogCapture log;
    QCOMPARE(VKQtPathUtils::writeFileContents(static_cast<CFDataRef>(nullptr), file), kVKStatusBadArgument);
    QCOMPARE(VKQtPathUtils::writeFileContents(QByteArray("x"), none), kVKStatusBadArgument);
    QCOMPARE(VKQtPathUtils::writeFileContents(QByteArray("x"), self), VKStatus(EISDIR));
    QCOMPARE(VKQtPathUtils::writeFileContents(QByteArray("x"), missing), VKStatus(ENOENT));
    QCOMPARE(loggedStatuses(log), QList<int>({1005, 1005, EISDIR, ENOENT}));
    QCOMPARE(snapshot(folder.toUtf8()), QByteArray());
}

void VKQtPathUtilsFilesTest::readStatuses() {
    const QString folder = makeFolder();
    Disk::makeFile(folder.toUtf8() + "/file", "12345");
    VKQtPath file = filePath(folder, u"file"_s);
    VKQtPath self(folder, true);
    VKQtPath missing = filePath(folder, u"none"_s);
    LogCapture log;
    CFDataRef data = reinterpret_cast<CFDataRef>(1);
    QCOMPARE(VKQtPathUtils::readFileContentsCopy(missing, data), VKStatus(ENOENT));
    QCOMPARE(data, nullptr);
    QCOMPARE(VKQtPathUtils::readFileContentsCopy(self, data), VKStatus(EISDIR));
    VKFileMgrSetReadLimit(4);
    QCOMPARE(VKQtPathUtils::readFileContentsCopy(file, data), VKStatus(EFBIG));
    QCOMPARE(data, nullptr);
    VKFileMgrSetReadLimit(5);
    QCOMPARE(VKQtPathUtils::readFileContentsCopy(file, data), kVKStatusSuccess);
    CFRelease(data);
    VKFileMgrSetReadLimit(std::uint64_t{2} << 30U);
    QCOMPARE(loggedStatuses(log), QList<int>({ENOENT, EISDIR, EFBIG}));
}

void VKQtPathUtilsFilesTest::versions() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::makeFile(bytes + "/libv.so.1.2.3");
    Disk::makeFile(bytes + "/photo.jpg");
    QString text = u"before"_s;
    VKVersionInfo info = {9, 9, 9, 9};
    LogCapture log;
    QCOMPARE(VKQtPathUtils::getFileVersionInfo(QString(), false, text, info), kVKStatusBadArgument);
    QCOMPARE(loggedStatuses(log), QList<int>({1005}));
    QCOMPARE(VKQtPathUtils::getFileVersionInfo(QString(u"/a\0b"_s), false, text, info), kVKStatusSuccess);
    QCOMPARE(VKQtPathUtils::getFileVersionInfo(folder + u"/photo.jpg"_s, false, text, info),
             kVKStatusCancelled);
    QCOMPARE(VKQtPathUtils::getFileVersionInfo(folder, true, text, info), kVKStatusCancelled);
    QCOMPARE(loggedStatuses(log), QList<int>());
    QCOMPARE(VKQtPathUtils::getFileVersionInfo(folder + u"/none"_s, false, text, info), VKStatus(ENOENT));
    QCOMPARE(loggedStatuses(log), QList<int>({ENOENT}));
    QCOMPARE(text, u"before"_s);
    QCOMPARE(info, (VKVersionInfo{9, 9, 9, 9}));
    QCOMPARE(VKQtPathUtils::getFileVersionInfo(folder + u"/libv.so.1.2.3"_s, false, text, info),
             kVKStatusSuccess);
    QCOMPARE(text, u"1.2.3"_s);
    QCOMPARE(info, (VKVersionInfo{1, 2, 3, 0}));
}

void VKQtPathUtilsFilesTest::factoryContent() {
    const VKQtPath folder(makeFolder(), true);
    VKQtPathUtils::setFactoryContentLocation(folder);
    const auto url = VKCFRef<CFURLRef>::adopt(VKFileMgrGetFactoryContentLocationCopy());
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), folder.path().toUtf8());
    VKQtPathUtils::setFactoryContentLocation(VKQtPath());
    QCOMPARE(VKFileMgrGetFactoryContentLocationCopy(), nullptr);
}

VKTEST_MAIN(VKQtPathUtilsFilesTest)
#include "VKQtPathUtilsFilesTest.moc"
