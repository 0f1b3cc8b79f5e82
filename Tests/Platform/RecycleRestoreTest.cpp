// Out of the bin: places, records that others wrote, what is refused; and the list of what is in a bin.
#include "Platform/RecycleBin.h"

#include "RecycleSupport.h"

#include <memory>

using namespace VKPlatform;
using namespace Recycle;

class RecycleRestoreTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void toATarget();
    void missingFoldersAreMade();
    void madeFoldersGoAfterAFailure();
    void placeTaken_data();
    void placeTaken();
    void intoAFolderBelowAFile();
    void noLongerInTheBin();
    void records_data();
    void records();
    void recordThatIsNoFile_data();
    void recordThatIsNoFile();
    void recordLimit_data();
    void recordLimit();
    void withoutARecord();
    void whatIsNotInABin_data();
    void whatIsNotInABin();
    void anothersBin();
    void folderIntoItself();
    void folderSizes();
    void folderSizesLimit_data();
    void folderSizesLimit();

    void listing();
    void listingStops();
    void listingOfWhatIsNoBin();
    void binsOfAFolder();

private:
    [[nodiscard]] QByteArray path(const QByteArray& name) const { return mRoot + '/' + name; }
    [[nodiscard]] QByteArray bin() const { return mHome->bin(); }
    /// Makes and recycles a file.
    [[nodiscard]] QByteArray recycledFile(const QByteArray& name, const QByteArray& content = "abc");
    /// An item as another program would leave it in the home bin.
    [[nodiscard]] QByteArray foreignItem(const QByteArray& name, const QByteArray& record);

    std::unique_ptr<Volume> mVolume; // declared first: gone last
    std::unique_ptr<Home> mHome;
    QByteArray mBase;
    QByteArray mRoot;
};

void RecycleRestoreTest::initTestCase() {
    mBase = makeFolder(QStringLiteral("base")).toUtf8();
    if (mountPrivately()) { // so that no bin is made or met at the root of the machine's own volume
        mVolume = std::make_unique<Volume>("tmpfs");
        QVERIFY(mVolume->isMounted());
        mBase = mVolume->folder();
    }
}

void RecycleRestoreTest::init() {
    VKTest::init();
    mRoot = mBase + "/photos";
    Disk::makeFolder(mRoot);
    Disk::makeFolder(mBase + "/home");
    mHome = std::make_unique<Home>(mBase + "/home");
}

void RecycleRestoreTest::cleanup() {
    mHome.reset();
    for (const QByteArray& name : Disk::namesIn(mBase)) {
        Disk::removeTree(mBase + '/' + name);
    }
}

QByteArray RecycleRestoreTest::recycledFile(const QByteArray& name, const QByteArray& content) {
    Disk::makeFile(path(name), content);
    QByteArray recycled;
    Disk::must(recycle(path(name), &recycled) == 0, "recycle", path(name));
    return recycled;
}

QByteArray RecycleRestoreTest::foreignItem(const QByteArray& name, const QByteArray& record) {
    Disk::must(Shell::outputOf("mkdir -p " + bin() + "/files " + bin() + "/info").status == 0, "mkdir",
               bin());
    Disk::makeFile(bin() + "/files/" + name, "abc");
    Disk::makeFile(bin() + "/info/" + name + ".trashinfo", record);
    return bin() + "/files/" + name;
}

void RecycleRestoreTest::toATarget() {
    const QByteArray recycled = recycledFile("a");
    QCOMPARE(restoreItem(recycled, path("new/b")), 0);
    QCOMPARE(Disk::contentOf(path("new/b")), QByteArray("abc"));
    QVERIFY(!Disk::exists(path("a")));
    QVERIFY(Disk::namesIn(bin() + "/files").isEmpty());
    QVERIFY(Disk::namesIn(bin() + "/info").isEmpty());
}

void RecycleRestoreTest::missingFoldersAreMade() {
    Disk::makeFolder(path("x"));
    Disk::makeFolder(path("x/y"));
    const QByteArray recycled = recycledFile("x/y/a");
    Disk::removeTree(path("x"));
    QCOMPARE(restoreItem(recycled, QByteArray()), 0);
    QCOMPARE(Disk::contentOf(path("x/y/a")), QByteArray("abc"));
}

void RecycleRestoreTest::madeFoldersGoAfterAFailure() {
    const QByteArray recycled = recycledFile("a");
    QCOMPARE(restoreItem(recycled, path("x/y/" + QByteArray(256, 'n'))), ENAMETOOLONG);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList());
    QCOMPARE(recordedPath(recycled), path("a"));
    QCOMPARE(restoreItem(recycled, QByteArray()), 0);
}

void RecycleRestoreTest::placeTaken_data() {
    QTest::addColumn<QByteArray>("what");
    QTest::addColumn<bool>("remembered");
    for (const char* what : {"file", "folder", "full folder", "link", "dangling", "fifo"}) {
        for (const bool remembered : {true, false}) {
            QTest::addRow("%s at the %s place", what, remembered ? "remembered" : "given")
                << QByteArray(what) << remembered;
        }
    }
}

void RecycleRestoreTest::placeTaken() {
    QFETCH(QByteArray, what);
    QFETCH(bool, remembered);
    const QByteArray recycled = recycledFile("a");
    const QByteArray place = path(remembered ? "a" : "b");
    if (what == "file") {
        Disk::makeFile(place, "other");
    } else if (what == "fifo") {
        Disk::makeFifo(place);
    } else if (what.endsWith("folder")) {
        Disk::makeFolder(place);
        if (what != "folder") {
            Disk::makeFile(place + "/inner", "other");
        }
    } else {
        Disk::makeLink(place, what == "link" ? "." : "nothing");
    }
    struct stat was;
    struct stat is;
    QCOMPARE(::lstat(place.constData(), &was), 0);
    QCOMPARE(restoreItem(recycled, remembered ? QByteArray() : place), EEXIST);
    QCOMPARE(::lstat(place.constData(), &is), 0);
    QCOMPARE(is.st_ino, was.st_ino);
    QCOMPARE(is.st_ctim.tv_nsec, was.st_ctim.tv_nsec);
    QCOMPARE(Disk::contentOf(recycled), QByteArray("abc"));
    QCOMPARE(recordedPath(recycled), path("a"));
}

void RecycleRestoreTest::intoAFolderBelowAFile() {
    const QByteArray recycled = recycledFile("a");
    Disk::makeFile(path("file"));
    QCOMPARE(restoreItem(recycled, path("file/b")), ENOTDIR);
    QCOMPARE(restoreItem(recycled, path("file/b/c")), ENOTDIR);
    QCOMPARE(Disk::contentOf(recycled), QByteArray("abc"));
    QCOMPARE(restoreItem(recycled, QByteArray()), 0);
}

void RecycleRestoreTest::noLongerInTheBin() {
    const QByteArray recycled = recycledFile("a");
    QCOMPARE(::unlink(recycled.constData()), 0);
    QCOMPARE(restoreItem(recycled, QByteArray()), ENOENT);
    QCOMPARE(restoreItem(recycled, path("new/b")), ENOENT);
    QVERIFY(!Disk::exists(path("new")));
    QCOMPARE(Shell::outputOf("rm -r " + bin()).status, 0);
    QCOMPARE(restoreItem(recycled, QByteArray()), ENOENT);
}

void RecycleRestoreTest::records_data() {
    QTest::addColumn<QByteArray>("path");  // "@" is the folder of the test, "~" the home folder
    QTest::addColumn<QByteArray>("place"); // empty: none is told
    const auto row = [](const char* why, const char* path, const char* place) {
        QTest::newRow(why) << QByteArray(path) << QByteArray(place);
    };
    row("absolute", "@/a%20b", "@/a b");
    row("not coded", "@/caf\xC3\xA9", "@/caf\xC3\xA9");
    row("small digits", "@/lat%e9", "@/lat\xE9");
    row("relative to the data folder", "a/b", "~/.local/share/a/b");
    row("up", "@/../../x", "");
    row("up, coded", "@/%2e%2e/x", "");
    row("up, relative", "../x", "");
    row("root", "/", "");
    row("nothing", "", "");
    row("broken code", "@/100%", "");
    row("coded NUL", "@/a%00b", "");
}

void RecycleRestoreTest::records() {
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, place);
    path.replace("@", mRoot);
    place.replace("@", mRoot).replace("~", mHome->folder());
    const QByteArray recycled =
        foreignItem("item", "[Trash Info]\nPath=" + path + "\nDeletionDate=2020-01-01T00:00:00\n");
    QCOMPARE(restoreItem(recycled, QByteArray()), place.isEmpty() ? ENODATA : 0);
    QCOMPARE(Disk::contentOf(place.isEmpty() ? recycled : place), QByteArray("abc"));
    QCOMPARE(Disk::namesIn(bin() + "/info").isEmpty(), !place.isEmpty());
}

void RecycleRestoreTest::recordThatIsNoFile_data() {
    QTest::addColumn<QByteArray>("what");
    for (const char* what : {"fifo", "folder", "link", "socket"}) {
        QTest::newRow(what) << QByteArray(what);
    }
}

void RecycleRestoreTest::recordThatIsNoFile() {
    QFETCH(QByteArray, what);
    const QByteArray recycled = recycledFile("a");
    const QByteArray record = bin() + "/info/a.trashinfo";
    QCOMPARE(::rename(record.constData(), path("record").constData()), 0);
    if (what == "fifo") { // opening one waits for a writer, unless that is asked for
        Disk::makeFifo(record);
    } else if (what == "folder") {
        Disk::makeFolder(record);
    } else if (what == "socket") {
        Disk::makeSocket(record);
    } else {
        Disk::makeLink(record, path("record"));
    }
    QCOMPARE(restoreItem(recycled, QByteArray()), ENODATA);
    QCOMPARE(Disk::contentOf(recycled), QByteArray("abc"));
}

void RecycleRestoreTest::recordLimit_data() {
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<int>("error");
    QTest::newRow("limit - 1") << kTrashRecordLimitBytes - 1 << 0;
    QTest::newRow("limit") << kTrashRecordLimitBytes << 0;
    QTest::newRow("limit + 1") << kTrashRecordLimitBytes + 1 << ENODATA;
}

void RecycleRestoreTest::recordLimit() {
    QFETCH(qsizetype, size);
    QFETCH(int, error);
    QByteArray record = "[Trash Info]\nPath=" + path("back") + "\n#";
    record.append(QByteArray(size - record.size(), 'x'));
    QCOMPARE(restoreItem(foreignItem("item", record), QByteArray()), error);
    QCOMPARE(Disk::exists(path("back")), error == 0);
}

void RecycleRestoreTest::withoutARecord() {
    const QByteArray recycled = recycledFile("a");
    QCOMPARE(::unlink(QByteArray(bin() + "/info/a.trashinfo").constData()), 0);
    QCOMPARE(restoreItem(recycled, QByteArray()), ENODATA);
    QCOMPARE(Disk::contentOf(recycled), QByteArray("abc"));
    QCOMPARE(restoreItem(recycled, path("b")), 0);
    QCOMPARE(Disk::contentOf(path("b")), QByteArray("abc"));
}

void RecycleRestoreTest::whatIsNotInABin_data() {
    QTest::addColumn<QByteArray>("path"); // "~" is the bin
    for (const char* path : {"", "/", "~", "~/files", "~/info", "~/info/a.trashinfo", "~/files/", "~/files/.",
                             "~/files/..", "~/files/folder/inner", "~/a", "a"}) {
        QTest::newRow(path) << QByteArray(path);
    }
}

void RecycleRestoreTest::whatIsNotInABin() {
    QFETCH(QByteArray, path);
    const QByteArray recycled = recycledFile("a");
    Disk::makeFolder(bin() + "/files/folder");
    Disk::makeFile(bin() + "/files/folder/inner");
    path.replace("~", bin());
    QCOMPARE(restoreItem(path, this->path("b")), EBADF);
    // Folders that only look like one.
    Disk::makeFolder(this->path("files"));
    Disk::makeFolder(this->path("info"));
    Disk::makeFile(this->path("files/x"));
    QCOMPARE(restoreItem(this->path("files/x"), this->path("b")), EBADF);
    QVERIFY(!Disk::exists(this->path("b")));
    QVERIFY(Disk::exists(recycled));
}

void RecycleRestoreTest::anothersBin() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to give a bin away");
    const QByteArray recycled = recycledFile("a");
    QCOMPARE(Shell::outputOf("chown -R 4242 " + bin()).status, 0);
    QCOMPARE(restoreItem(recycled, QByteArray()), EPERM);
    QCOMPARE(listRecycleBin(bin(), [](const RecycledItem&) { return true; }), EPERM);
    QVERIFY(Disk::exists(recycled));
    QVERIFY(!recycleBins().contains(bin()));
}

void RecycleRestoreTest::folderIntoItself() {
    Disk::makeFolder(path("folder"));
    QByteArray recycled;
    QCOMPARE(recycle(path("folder"), &recycled), 0);
    QCOMPARE(restoreItem(recycled, recycled + "/inner"), EINVAL);
    QCOMPARE(restoreItem(recycled, recycled + "/more/inner"), EINVAL);
    QCOMPARE(Disk::namesIn(recycled), QByteArrayList());
    QCOMPARE(restoreItem(recycled, QByteArray()), 0);
}

void RecycleRestoreTest::folderSizes() {
    Disk::makeFolder(path("a b"));
    Disk::makeFile(path("file"));
    QByteArray folder;
    QByteArray file;
    QCOMPARE(recycle(path("a b"), &folder), 0);
    QCOMPARE(recycle(path("file"), &file), 0);
    QVERIFY2(!Disk::exists(bin() + "/directorysizes"), "sizes are not written here");
    const QByteArray others = "4096 1700000000 other\n12 1700000000 file\n";
    Disk::makeFile(bin() + "/directorysizes", "8192 1700000000 a%20b\n" + others);
    QCOMPARE(restoreItem(folder, QByteArray()), 0);
    QCOMPARE(Disk::contentOf(bin() + "/directorysizes"), others);
    QCOMPARE(restoreItem(file, QByteArray()), 0);
    QCOMPARE(Disk::contentOf(bin() + "/directorysizes"), others);
    QCOMPARE(Disk::namesIn(bin()), (QByteArrayList{"directorysizes", "files", "info"}));
}

void RecycleRestoreTest::folderSizesLimit_data() {
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<bool>("kept");
    QTest::newRow("limit - 1") << kFolderSizesLimitBytes - 1 << false;
    QTest::newRow("limit") << kFolderSizesLimitBytes << false;
    QTest::newRow("limit + 1") << kFolderSizesLimitBytes + 1 << true;
}

void RecycleRestoreTest::folderSizesLimit() {
    QFETCH(qsizetype, size);
    QFETCH(bool, kept);
    Disk::makeFolder(path("a"));
    QByteArray folder;
    QCOMPARE(recycle(path("a"), &folder), 0);
    QByteArray text = "8192 1700000000 a\n1 1 ";
    text.append(QByteArray(size - text.size(), 'x'));
    Disk::makeFile(bin() + "/directorysizes", text);
    QCOMPARE(restoreItem(folder, QByteArray()), 0);
    QCOMPARE(Disk::contentOf(bin() + "/directorysizes").size(), kept ? size : size - 18);
}

void RecycleRestoreTest::listing() {
    const QByteArray plain = recycledFile("lat\xE9");
    Disk::makeFolder(path("folder"));
    QByteArray folder;
    QCOMPARE(recycle(path("folder"), &folder), 0);
    const QByteArray dated =
        foreignItem("dated", "[Trash Info]\nPath=/x/y\nDeletionDate=2026-07-04T18:05:09\n");
    const QByteArray broken = foreignItem("broken", "nonsense");
    Disk::makeFile(bin() + "/info/gone.trashinfo", "[Trash Info]\nPath=/gone\n"); // no item: not listed
    Disk::makeLink(bin() + "/files/alone", "nothing");                            // no record: listed

    QList<RecycledItem> items;
    QCOMPARE(listRecycleBin(bin(),
                            [&](const RecycledItem& item) {
                                items.append(item);
                                return true;
                            }),
             0);
    QCOMPARE(items.size(), 5);
    const auto found = [&](const QByteArray& place) {
        const auto item = std::find_if(items.begin(), items.end(),
                                       [&](const RecycledItem& each) { return each.path == place; });
        return item == items.end() ? RecycledItem() : *item;
    };
    QCOMPARE(found(plain).originalPath, path("lat\xE9"));
    QVERIFY(found(plain).kind == FileKind::File);
    QVERIFY(found(plain).deletedMs.has_value());
    QVERIFY(found(folder).kind == FileKind::Folder);
    QCOMPARE(found(dated).originalPath, QByteArray("/x/y"));
    QCOMPARE(found(dated).deletedMs, std::optional(std::int64_t{1783181109000})); // summer time in Berlin
    QVERIFY(found(broken).kind == FileKind::File);
    QVERIFY(found(broken).originalPath.isEmpty() && !found(broken).deletedMs);
    QVERIFY(found(bin() + "/files/alone").kind == FileKind::Link);
}

void RecycleRestoreTest::listingStops() {
    for (const char* name : {"a", "b", "c"}) {
        QVERIFY(!recycledFile(name).isEmpty());
    }
    int shown = 0;
    QCOMPARE(listRecycleBin(bin(), [&](const RecycledItem&) { return ++shown < 2; }), 0);
    QCOMPARE(shown, 2);
}

void RecycleRestoreTest::listingOfWhatIsNoBin() {
    const auto take = [](const RecycledItem&) { return true; };
    QCOMPARE(listRecycleBin(mRoot, take), EBADF);
    QCOMPARE(listRecycleBin(bin(), take), ENOENT);
    QVERIFY(recycleBinsFor(mRoot).isEmpty());
}

void RecycleRestoreTest::binsOfAFolder() {
    QVERIFY(!recycledFile("a").isEmpty());
    QVERIFY(recycleBins().contains(bin()));
    QVERIFY(recycleBinsFor(mRoot).contains(bin()));
    QVERIFY(recycleBinsFor(path("none")).isEmpty());
    QVERIFY(!recycleBinsFor("/proc").contains(bin()));
}

VKTEST_MAIN(RecycleRestoreTest)
#include "RecycleRestoreTest.moc"
