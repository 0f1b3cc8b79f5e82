// Into the home bin: which items, under which names, with which records, and what is refused.
#include "Platform/RecycleBin.h"

#include "RecycleSupport.h"

#include <algorithm>
#include <climits>
#include <memory>

using namespace VKPlatform;
using namespace Recycle;

class RecycleBinTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void everythingIsMade();
    void itemsComeBack_data();
    void itemsComeBack();
    void namesComeBack_data();
    void namesComeBack();
    void manyOfOneName();
    void nothingIsOverwritten();
    void longNames_data();
    void longNames();
    void missing_data();
    void missing();
    void refused_data();
    void refused();
    void linksOnTheWay();
    void environmentIsReadAtTheCall();
    void noHomeFolder();
    void unusableBin_data();
    void unusableBin();
    void binGoneMeanwhile_data();
    void binGoneMeanwhile();
    void folderReplacedMeanwhile();
    void askingMakesNothing();
    void dateOfDeletion();

private:
    [[nodiscard]] QByteArray path(const QByteArray& name) const { return mRoot + '/' + name; }
    [[nodiscard]] QByteArray bin() const { return mHome->bin(); }

    std::unique_ptr<Volume> mVolume; // declared first: gone last
    std::unique_ptr<Home> mHome;
    QByteArray mBase;
    QByteArray mRoot;
};

void RecycleBinTest::initTestCase() {
    mBase = makeFolder(QStringLiteral("base")).toUtf8();
    if (mountPrivately()) { // so that no bin is made at the root of the machine's own volume
        mVolume = std::make_unique<Volume>("tmpfs");
        QVERIFY(mVolume->isMounted());
        mBase = mVolume->folder();
    }
}

void RecycleBinTest::init() {
    VKTest::init();
    mRoot = mBase + "/photos";
    Disk::makeFolder(mRoot);
    Disk::makeFolder(mBase + "/home");
    mHome = std::make_unique<Home>(mBase + "/home");
}

void RecycleBinTest::cleanup() {
    mHome.reset();
    for (const QByteArray& name : Disk::namesIn(mBase)) {
        Disk::removeTree(mBase + '/' + name);
    }
}

void RecycleBinTest::everythingIsMade() {
    Disk::makeFile(path("a b.jpg"), "photo");
    QByteArray recycled;
    QCOMPARE(recycle(path("a b.jpg"), &recycled), 0);
    QCOMPARE(recycled, bin() + "/files/a b.jpg");
    QCOMPARE(Disk::contentOf(recycled), QByteArray("photo"));
    QVERIFY(!Disk::exists(path("a b.jpg")));
    for (const char* folder : {"/.local", "/.local/share", "/.local/share/Trash", "/.local/share/Trash/files",
                               "/.local/share/Trash/info"}) {
        QCOMPARE(Disk::modeOf(mHome->folder() + folder), 0700U);
    }
    const QByteArray record = bin() + "/info/a b.jpg.trashinfo";
    QCOMPARE(Disk::modeOf(record), 0600U);
    QVERIFY(Disk::contentOf(record).startsWith(
        QByteArray("[Trash Info]\nPath=" + mRoot + "/a%20b.jpg\nDeletionDate=2")));
    QCOMPARE(Disk::namesIn(bin()), (QByteArrayList{"files", "info"}));
}

void RecycleBinTest::itemsComeBack_data() {
    QTest::addColumn<QByteArray>("name");
    for (const char* name : {"file", "empty", "closed", "folder", "empty folder", "link", "dangling", "loop",
                             "folder-link", "fifo", "socket"}) {
        QTest::newRow(name) << QByteArray(name);
    }
}

void RecycleBinTest::itemsComeBack() {
    QFETCH(QByteArray, name);
    Disk::makeFile(path("file"), "abc");
    Disk::makeFile(path("empty"));
    Disk::makeFile(path("closed"), "abc");
    ::chmod(path("closed").constData(), 0);
    Disk::makeFolder(path("folder"));
    Disk::makeFile(path("folder/inner"), "abc");
    Disk::makeFolder(path("empty folder"));
    Disk::makeLink(path("link"), "file");
    Disk::makeLink(path("dangling"), "nothing");
    Disk::makeLink(path("loop"), "loop");
    Disk::makeLink(path("folder-link"), "folder");
    Disk::makeFifo(path("fifo"));
    Disk::makeSocket(path("socket"));
    const QByteArrayList before = Disk::namesIn(mRoot);
    const QByteArray item = mRoot + '/' + name;
    struct stat was;
    QCOMPARE(::lstat(item.constData(), &was), 0);

    QVERIFY(canRecycleItem(item));
    QByteArray recycled;
    QCOMPARE(recycle(item, &recycled), 0);
    QByteArrayList others = before;
    others.removeOne(name);
    QCOMPARE(Disk::namesIn(mRoot), others);
    struct stat is;
    QCOMPARE(::lstat(recycled.constData(), &is), 0);
    QCOMPARE(is.st_ino, was.st_ino);
    QCOMPARE(recordedPath(recycled), item);

    QCOMPARE(restoreItem(recycled, QByteArray()), 0);
    QCOMPARE(Disk::namesIn(mRoot), before);
    QCOMPARE(::lstat(item.constData(), &is), 0);
    QCOMPARE(is.st_ino, was.st_ino);
    QCOMPARE(is.st_mode, was.st_mode);
    QVERIFY(Disk::namesIn(bin() + "/files").isEmpty());
    QVERIFY(Disk::namesIn(bin() + "/info").isEmpty());
}

void RecycleBinTest::namesComeBack_data() {
    QTest::addColumn<QByteArray>("name");
    const auto row = [](const char* why, const QByteArray& name) { QTest::newRow(why) << name; };
    row("percent code", "a%20b.jpg");
    row("percent at the end", "100%");
    row("line break", "a\nPath=b\r\n.jpg");
    row("composed", "caf\xC3\xA9.jpg");
    row("decomposed", "cafe\xCC\x81.jpg");
    row("not UTF-8", "lat\xE9.jpg");
    row("all bytes", [] {
        QByteArray name;
        for (int byte = 1; byte < 256; ++byte) {
            name += byte == '/' ? QByteArray() : QByteArray(1, static_cast<char>(byte));
        }
        return name;
    }());
    row("245 bytes", QByteArray(245, 'x'));
    row("255 bytes", QByteArray(251, 'x') + ".jpg");
    row("255 bytes, not UTF-8", QByteArray(255, '\xE9'));
    row("like a record", "a.trashinfo");
    row("dot file", ".hidden");
    row("three dots", "...");
    row("blanks", "  ");
    row("option", "-rf");
    row("like the bin's own", "files");
    row("another user's bin", ".Trash-77777");
}

void RecycleBinTest::namesComeBack() {
    QFETCH(QByteArray, name);
    const QByteArray folder = mRoot + "/\xFF [" + QByteArray("e\xCC\x81]");
    Disk::makeFolder(folder);
    const QByteArray item = folder + '/' + name;
    for (const char* content : {"first", "second"}) { // the second meets the name taken
        Disk::makeFile(item, content);
        QCOMPARE(recycle(item), 0);
    }
    const QByteArrayList taken = Disk::namesIn(bin() + "/files");
    QCOMPARE(taken.size(), 2);
    QCOMPARE(Disk::namesIn(bin() + "/info").size(), 2);
    QByteArrayList contents;
    for (const QByteArray& inBin : taken) {
        const QByteArray recycled = bin() + "/files/" + inBin;
        QCOMPARE(recordedPath(recycled), item);
        QCOMPARE(restoreItem(recycled, QByteArray()), 0);
        QCOMPARE(Disk::namesIn(folder), QByteArrayList{name});
        contents.append(Disk::contentOf(item));
        QCOMPARE(::unlink(item.constData()), 0);
    }
    std::sort(contents.begin(), contents.end());
    QCOMPARE(contents, (QByteArrayList{"first", "second"}));
}

void RecycleBinTest::manyOfOneName() {
    constexpr int kCount = 60; // beyond the numbers in order
    QByteArrayList places;
    for (int i = 0; i < kCount; ++i) {
        Disk::makeFile(path("IMG_1.jpg"), QByteArray::number(i));
        QByteArray recycled;
        QCOMPARE(recycle(path("IMG_1.jpg"), &recycled), 0);
        QVERIFY(!places.contains(recycled));
        places.append(recycled);
    }
    QCOMPARE(places.at(0), bin() + "/files/IMG_1.jpg");
    QCOMPARE(places.at(1), bin() + "/files/IMG_1.2.jpg");
    for (int i = 0; i < kCount; ++i) {
        QCOMPARE(Disk::contentOf(places.at(i)), QByteArray::number(i));
        QCOMPARE(recordedPath(places.at(i)), path("IMG_1.jpg"));
    }
}

void RecycleBinTest::nothingIsOverwritten() {
    Disk::makeFile(path("first"));
    QCOMPARE(recycle(path("first")), 0);
    Disk::makeFile(bin() + "/files/a.jpg", "without a record");
    Disk::makeFile(bin() + "/info/a.2.jpg.trashinfo", "without an item");
    Disk::makeFolder(bin() + "/files/a.3.jpg");
    Disk::makeFile(path("a.jpg"), "mine");
    QByteArray recycled;
    QCOMPARE(recycle(path("a.jpg"), &recycled), 0);
    QCOMPARE(recycled, bin() + "/files/a.4.jpg");
    QCOMPARE(Disk::contentOf(recycled), QByteArray("mine"));
    QCOMPARE(Disk::contentOf(bin() + "/files/a.jpg"), QByteArray("without a record"));
    QCOMPARE(Disk::namesIn(bin() + "/info"),
             (QByteArrayList{"a.2.jpg.trashinfo", "a.4.jpg.trashinfo", "first.trashinfo"}));
}

void RecycleBinTest::longNames_data() {
    QTest::addColumn<int>("size");
    QTest::newRow("limit - 1") << 244;
    QTest::newRow("limit") << 245;
    QTest::newRow("limit + 1") << 246;
    QTest::newRow("the longest") << 255;
}

void RecycleBinTest::longNames() {
    QFETCH(int, size);
    const QByteArray name(size, 'n');
    Disk::makeFile(path(name));
    QByteArray recycled;
    QCOMPARE(recycle(path(name), &recycled), 0);
    QCOMPARE(lastNameOf(recycled).size(), std::min(size, 245));
    QCOMPARE(recordedPath(recycled), path(name));
}

void RecycleBinTest::missing_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("error");
    QTest::newRow("nothing there") << QByteArray("none") << ENOENT;
    QTest::newRow("no folder") << QByteArray("none/a") << ENOENT;
    QTest::newRow("below a file") << QByteArray("file/a") << ENOTDIR;
    QTest::newRow("below a link to nothing") << QByteArray("dangling/a") << ENOENT;
    QTest::newRow("name too long") << QByteArray(256, 'x') << ENAMETOOLONG;
    QTest::newRow("path too long") << QByteArray(QByteArray("x/").repeated(PATH_MAX) + "a") << ENAMETOOLONG;
}

void RecycleBinTest::missing() {
    QFETCH(QByteArray, name);
    QFETCH(int, error);
    Disk::makeFile(path("file"));
    Disk::makeLink(path("dangling"), "nothing");
    QCOMPARE(recycle(path(name)), error);
    QVERIFY(!canRecycleItem(path(name)));
    QCOMPARE(recycle(QByteArray()), ENOENT);
    QVERIFY2(!Disk::exists(mHome->folder() + "/.local"), "a bin was made for nothing");
}

void RecycleBinTest::refused_data() {
    QTest::addColumn<QByteArray>("path"); // "~" is the home folder
    for (const char* path : {"/", "~", "~/..", "~/.", "~/.local", "~/.local/share", "~/.local/share/Trash",
                             "~/.local/share/Trash/files", "~/.local/share/Trash/info",
                             "~/.local/share/Trash/files/first", "~/.local/share/Trash/files/folder/inner",
                             "~/.local/share/Trash/info/first.trashinfo", "/proc", "/tmp"}) {
        QTest::newRow(path) << QByteArray(path);
    }
    QTest::newRow("through a link") << QByteArray("~/to-home");
}

void RecycleBinTest::refused() {
    QFETCH(QByteArray, path);
    Disk::makeFile(this->path("first"), "abc");
    QCOMPARE(recycle(this->path("first")), 0);
    Disk::makeFolder(this->path("folder"));
    Disk::makeFile(this->path("folder/inner"), "abc");
    QCOMPARE(recycle(this->path("folder")), 0);
    if (path == "~/to-home") {
        Disk::makeLink(this->path("up"), folderOf(mHome->folder()).toByteArray());
        path = this->path("up/") + lastNameOf(mHome->folder()).toByteArray();
    }
    path.replace("~", mHome->folder());
    QCOMPARE(recycle(path), EBUSY);
    QVERIFY(!canRecycleItem(path));
    QCOMPARE(Disk::namesIn(bin() + "/files"), (QByteArrayList{"first", "folder"}));
    QCOMPARE(Disk::namesIn(bin() + "/info"), (QByteArrayList{"first.trashinfo", "folder.trashinfo"}));
    QCOMPARE(Disk::contentOf(bin() + "/files/folder/inner"), QByteArray("abc"));
}

void RecycleBinTest::linksOnTheWay() {
    Disk::makeFolder(path("real"));
    Disk::makeFile(path("real/a"), "1");
    Disk::makeFile(path("real/b"), "2");
    Disk::makeLink(path("way"), "real");
    QByteArray recycled;
    QCOMPARE(recycle(path("way/a"), &recycled), 0);
    QCOMPARE(recordedPath(recycled), path("real/a"));
    QCOMPARE(recycle(path("real/./b"), &recycled), 0);
    QCOMPARE(recordedPath(recycled), path("real/b"));
    // The link leads elsewhere now.
    Disk::makeFolder(path("other"));
    Disk::makeFile(path("other/a"), "3");
    QCOMPARE(::unlink(path("way").constData()), 0);
    Disk::makeLink(path("way"), "other");
    QCOMPARE(recycle(path("way/a"), &recycled), 0);
    QCOMPARE(recordedPath(recycled), path("other/a"));
}

void RecycleBinTest::environmentIsReadAtTheCall() {
    const QByteArray other = mBase + "/data";
    Disk::makeFolder(other);
    Disk::makeFile(path("a"));
    Disk::makeFile(path("b"));
    Disk::makeFile(path("c"));
    QByteArray recycled;
    QCOMPARE(recycle(path("a"), &recycled), 0);
    QCOMPARE(recycled, bin() + "/files/a");
    qputenv("XDG_DATA_HOME", other + "/deep/er/");
    QCOMPARE(recycle(path("b"), &recycled), 0);
    QCOMPARE(recycled, other + "/deep/er/Trash/files/b");
    QCOMPARE(Disk::modeOf(other + "/deep"), 0700U);
    qputenv("XDG_DATA_HOME", "relative/is/ignored");
    QCOMPARE(recycle(path("c"), &recycled), 0);
    QCOMPARE(recycled, bin() + "/files/c");
}

void RecycleBinTest::noHomeFolder() {
    qputenv("HOME", mHome->folder() + "/gone");
    Disk::makeFile(path("a"), "abc");
    QVERIFY(!Disk::exists(mHome->folder() + "/gone"));
    QByteArray recycled;
    const int error = recycle(path("a"), &recycled);
    QVERIFY2(!Disk::exists(mHome->folder() + "/gone"), "the home folder itself was made");
    // The bin at the root of the volume takes it, where this user may make one.
    QCOMPARE(error, Disk::isRoot() ? 0 : EOPNOTSUPP);
    if (error == 0) {
        QCOMPARE(restoreItem(recycled, QByteArray()), 0);
    }
    QCOMPARE(Disk::contentOf(path("a")), QByteArray("abc"));
}

void RecycleBinTest::unusableBin_data() {
    QTest::addColumn<QByteArray>("part");
    QTest::addColumn<QByteArray>("what");
    for (const char* part : {"", "/files", "/info"}) {
        for (const char* what : {"link", "dangling", "file", "foreign"}) {
            QTest::addRow("Trash%s is %s", part, what) << QByteArray(part) << QByteArray(what);
        }
    }
}

void RecycleBinTest::unusableBin() {
    QFETCH(QByteArray, part);
    QFETCH(QByteArray, what);
    VKTEST_NEEDS(Disk::isRoot() || what != "foreign", "root, to give a folder away");
    const QByteArray elsewhere = path("elsewhere");
    for (const char* folder : {"", "/files", "/info"}) {
        Disk::makeFolder(elsewhere + folder);
    }
    QCOMPARE(Shell::outputOf("mkdir -p " + bin()).status, 0);
    const QByteArray odd = bin() + part;
    if (what != "foreign" && part.isEmpty()) {
        QCOMPARE(::rmdir(odd.constData()), 0);
    }
    if (what == "link") {
        Disk::makeLink(odd, elsewhere);
    } else if (what == "dangling") {
        Disk::makeLink(odd, elsewhere + "/none");
    } else if (what == "file") {
        Disk::makeFile(odd, "x");
    } else {
        QCOMPARE(Shell::outputOf("mkdir -p " + odd + " && chown 4242 " + odd).status, 0);
    }
    Disk::makeFile(path("a"), "abc");
    QByteArray recycled;
    const int error = recycle(path("a"), &recycled);
    QCOMPARE(error, Disk::isRoot() ? 0 : EOPNOTSUPP);
    QVERIFY2(!recycled.startsWith(mHome->folder()), recycled.constData());
    QVERIFY(Disk::namesIn(elsewhere + "/files").isEmpty());
    QCOMPARE(Disk::namesIn(elsewhere), (QByteArrayList{"files", "info"}));
    if (error == 0) { // in the bin at the root of the volume
        QCOMPARE(restoreItem(recycled, QByteArray()), 0);
    }
    QCOMPARE(Disk::contentOf(path("a")), QByteArray("abc"));
}

void RecycleBinTest::binGoneMeanwhile_data() {
    QTest::addColumn<QByteArray>("command");
    QTest::newRow("removed") << QByteArray("rm -r Trash");
    QTest::newRow("emptied") << QByteArray("rm -r Trash/files/* Trash/info/*");
    QTest::newRow("parts removed") << QByteArray("rm -r Trash/files Trash/info");
    QTest::newRow("records removed") << QByteArray("rm -r Trash/info");
    QTest::newRow("items removed") << QByteArray("rm -r Trash/files");
    QTest::newRow("put aside") << QByteArray("mv Trash Old");
    QTest::newRow("items put aside") << QByteArray("mv Trash/files Trash/old && mkdir Trash/files");
    QTest::newRow("made anew") << QByteArray("mv Trash Old && mkdir -m 700 Trash Trash/info Trash/files");
    QTest::newRow("data folder removed") << QByteArray("cd .. && rm -r share");
}

void RecycleBinTest::binGoneMeanwhile() {
    QFETCH(QByteArray, command);
    Disk::makeFile(path("a"), "1");
    Disk::makeFile(path("b"), "2");
    QCOMPARE(recycle(path("a")), 0);
    QCOMPARE(Shell::outputOf("cd " + mHome->folder() + "/.local/share && " + command).status, 0);
    QByteArray recycled;
    QCOMPARE(recycle(path("b"), &recycled), 0);
    QCOMPARE(recycled, bin() + "/files/b");
    QCOMPARE(Disk::contentOf(recycled), QByteArray("2"));
    QCOMPARE(recordedPath(recycled), path("b"));
    QCOMPARE(restoreItem(recycled, QByteArray()), 0);
    QCOMPARE(Disk::contentOf(path("b")), QByteArray("2"));
}

void RecycleBinTest::folderReplacedMeanwhile() {
    Disk::makeFolder(path("folder"));
    Disk::makeFile(path("folder/a"), "1");
    QCOMPARE(recycle(path("folder/a")), 0);
    QCOMPARE(::rename(path("folder").constData(), path("moved").constData()), 0);
    Disk::makeFolder(path("folder"));
    Disk::makeFile(path("folder/a"), "2");
    Disk::makeFile(path("moved/a"), "3");
    QByteArray recycled;
    QCOMPARE(recycle(path("folder/a"), &recycled), 0);
    QCOMPARE(Disk::contentOf(recycled), QByteArray("2"));
    QCOMPARE(recordedPath(recycled), path("folder/a"));
    QCOMPARE(Disk::contentOf(path("moved/a")), QByteArray("3"));
}

void RecycleBinTest::askingMakesNothing() {
    Disk::makeFile(path("a"));
    QVERIFY(canRecycleItem(path("a")));
    QVERIFY(!Disk::exists(mHome->folder() + "/.local"));
    QCOMPARE(recycle(path("a")), 0);
    const QByteArrayList before = Disk::namesIn(bin());
    QVERIFY(!canRecycleItem(path("a")));
    QCOMPARE(Disk::namesIn(bin()), before);
}

void RecycleBinTest::dateOfDeletion() {
    Disk::makeFile(path("a"));
    const std::int64_t before = static_cast<std::int64_t>(::time(nullptr)) * 1000;
    QCOMPARE(recycle(path("a")), 0);
    const std::int64_t after = static_cast<std::int64_t>(::time(nullptr)) * 1000;
    int shown = 0;
    QCOMPARE(listRecycleBin(bin(),
                            [&](const RecycledItem& item) {
                                ++shown;
                                return item.deletedMs && *item.deletedMs >= before &&
                                       *item.deletedMs <= after;
                            }),
             0);
    QCOMPARE(shown, 1);
}

VKTEST_MAIN(RecycleBinTest)
#include "RecycleBinTest.moc"
