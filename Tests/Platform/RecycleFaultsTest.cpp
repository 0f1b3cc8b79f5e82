// Whatever fails on the way into the bin or out of it, the item is whole in one of the two places, and a call
// that fails leaves nothing behind. Every system call is made to fail in its turn.
#include "Platform/RecycleBin.h"

#include "RecycleSupport.h"
#include "Support/FaultInjection.h"

#include <memory>

using namespace VKPlatform;
using namespace Recycle;

class RecycleFaultsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void recycling_data();
    void recycling();
    void restoring_data();
    void restoring();
    void cleaningUpFails();
    void recordsRemoval();
    void shortWrites();
    void withoutExclusiveRename_data();
    void withoutExclusiveRename();
    void nowhereToRename();
    void everyNameTaken();
    void shortNamesOnly_data();
    void shortNamesOnly();

private:
    void prepare(const QByteArray& kind);
    [[nodiscard]] QByteArray path(const QByteArray& name) const { return mBase + "/photos/" + name; }
    [[nodiscard]] QByteArray state() const {
        return Shell::outputOf("cd " + mBase + " && find . -printf '%p %y %s %m %i\\n' | sort").text;
    }
    void clear() {
        for (const QByteArray& name : Disk::namesIn(mBase)) {
            Disk::removeTree(mBase + '/' + name);
        }
    }
    /// Everything called "a", "back" or so in the folder, with the content of the item.
    [[nodiscard]] qsizetype copiesOfTheItem() const {
        return Shell::outputOf("grep -rlx 'the only photo' " + mBase).text.count('\n');
    }

    std::unique_ptr<Volume> mVolume;
    std::unique_ptr<Home> mHome;
    QByteArray mBase;
};

namespace {

struct Group {
    const char* name;
    Faults::CallSet calls;
};
constexpr Group kGroups[] = {{"changes", Faults::kChanges},
                             {"opens", Faults::kOpens},
                             {"closes", Faults::kCloses},
                             {"reads", Faults::kReads}};
constexpr int kErrors[] = {EIO, ENOSPC, EACCES, EINVAL};

void addRows(std::initializer_list<const char*> kinds) {
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<unsigned>("calls");
    QTest::addColumn<int>("error");
    QTest::addColumn<bool>("binExists");
    for (const char* kind : kinds) {
        for (const Group& group : kGroups) {
            for (const int error : kErrors) {
                for (const bool binExists : {true, false}) {
                    QTest::addRow("%s, %s, error %d, %s", kind, group.name, error,
                                  binExists ? "a known bin" : "no bin")
                        << QByteArray(kind) << group.calls << error << binExists;
                }
            }
        }
    }
}

} // namespace

void RecycleFaultsTest::initTestCase() {
    mBase = makeFolder(QStringLiteral("base")).toUtf8();
    VKTEST_NEEDS(mountPrivately(), "root, so that no bin is made on the machine's own volume");
    mVolume = std::make_unique<Volume>("tmpfs");
    QVERIFY(mVolume->isMounted());
    mBase = mVolume->folder();
}

void RecycleFaultsTest::init() {
    VKTest::init();
    mHome = std::make_unique<Home>(mBase + "/home");
}

void RecycleFaultsTest::cleanup() {
    mHome.reset();
    clear();
}

void RecycleFaultsTest::prepare(const QByteArray& kind) {
    clear();
    Disk::makeFolder(mBase + "/home");
    Disk::makeFolder(mBase + "/photos");
    if (kind == "folder") {
        Disk::makeFolder(path("a"));
        Disk::makeFile(path("a/inner"), "the only photo\n");
    } else {
        Disk::makeFile(path("a"), "the only photo\n");
    }
}

void RecycleFaultsTest::recycling_data() { addRows({"file", "folder"}); }

void RecycleFaultsTest::recycling() {
    QFETCH(QByteArray, kind);
    QFETCH(unsigned, calls);
    QFETCH(int, error);
    QFETCH(bool, binExists);
    Faults::Loop faults(calls, error);
    while (faults.next()) {
        prepare(kind);
        if (binExists) {
            Disk::makeFile(path("first"));
            QCOMPARE(recycle(path("first")), 0);
        }
        const QByteArray before = state();
        QByteArray recycled;
        int result = 0;
        {
            const Faults::Armed armed = faults.arm();
            result = recycleItem(path("a"), recycled);
        }
        const QByteArray where = faults.failedCall();
        QCOMPARE(copiesOfTheItem(), 1);
        if (result == 0) {
            QVERIFY2(!Disk::exists(path("a")) && Disk::exists(recycled), where);
            const QByteArray told = recordedPath(recycled);
            QVERIFY2(told == path("a") || told == "photos/a", QByteArray(where + ": " + told));
            QCOMPARE(restoreItem(recycled, QByteArray()), 0);
        } else {
            QVERIFY2(recycled.isEmpty(), where);
            QCOMPARE(state(), before);
        }
        QVERIFY2(Disk::exists(path("a")), where);
    }
    QVERIFY(faults.met() > 0);
}

void RecycleFaultsTest::restoring_data() { addRows({"file", "folder"}); }

void RecycleFaultsTest::restoring() {
    QFETCH(QByteArray, kind);
    QFETCH(unsigned, calls);
    QFETCH(int, error);
    QFETCH(bool, binExists); // here: whether the remembered place is asked for
    Faults::Loop faults(calls, error);
    while (faults.next()) {
        prepare(kind);
        QByteArray recycled;
        QCOMPARE(recycle(path("a"), &recycled), 0);
        const QByteArray sizes = "1 2 other\n3 4 a\n";
        const QByteArray list = mHome->bin() + "/directorysizes";
        Disk::makeFile(list, sizes);
        Disk::removeTree(mBase + "/photos");
        const QByteArray before = state();
        const QByteArray place = binExists ? path("a") : QByteArray(mBase + "/x/y/back");
        int result = 0;
        {
            const Faults::Armed armed = faults.arm();
            result = restoreItem(recycled, binExists ? QByteArray() : place);
        }
        const QByteArray where = faults.failedCall();
        QCOMPARE(copiesOfTheItem(), 1);
        if (result == 0) {
            QVERIFY2(Disk::exists(place) && !Disk::exists(recycled), where);
            const QByteArray left = Disk::contentOf(list);
            QVERIFY2(left == sizes || left == "1 2 other\n", left);
        } else {
            QCOMPARE(state(), before);
            QCOMPARE(restoreItem(recycled, QByteArray()), 0);
        }
        QCOMPARE(Disk::namesIn(mHome->bin()), (QByteArrayList{"directorysizes", "files", "info"}));
    }
    // A file that is given its place needs nothing opened.
    QVERIFY(faults.met() > 0 || (kind == "file" && !binExists));
}

/// Where even the removal of what was made fails there may be debris, but never a second or no item.
void RecycleFaultsTest::cleaningUpFails() {
    const Faults::Unsupported noRename("renameat2", EACCES);
    Faults::Loop faults(Faults::kRemovals, EIO);
    while (faults.next()) {
        prepare("file");
        {
            const Faults::Armed armed = faults.arm();
            QByteArray recycled;
            QCOMPARE(recycleItem(path("a"), recycled), EACCES);
        }
        QCOMPARE(copiesOfTheItem(), 1);
        QCOMPARE(Disk::contentOf(path("a")), QByteArray("the only photo\n"));
    }
    QVERIFY(faults.met() > 0);
}

/// The item is back, so the call has succeeded; the record that stays has no item, and the name is not used
/// for another.
void RecycleFaultsTest::recordsRemoval() {
    prepare("file");
    QByteArray recycled;
    QCOMPARE(recycle(path("a"), &recycled), 0);
    {
        const Faults::Armed armed(Faults::kRemovals, 0, EIO);
        QCOMPARE(restoreItem(recycled, QByteArray()), 0);
    }
    QCOMPARE(QByteArray(Faults::failedCall()), QByteArray("unlink"));
    QCOMPARE(Disk::namesIn(mHome->bin() + "/info"), QByteArrayList{"a.trashinfo"});
    QCOMPARE(listRecycleBin(mHome->bin(), [](const RecycledItem&) { return false; }), 0);
    QCOMPARE(recycle(path("a"), &recycled), 0);
    QCOMPARE(recycled, mHome->bin() + "/files/a.2");
}

void RecycleFaultsTest::shortWrites() {
    prepare("file");
    const Faults::ShortWrites few(7);
    QByteArray recycled;
    QCOMPARE(recycle(path("a"), &recycled), 0);
    QVERIFY(recordOf(recycled).endsWith('\n'));
    QCOMPARE(recordedPath(recycled), path("a"));
    QCOMPARE(recordOf(recycled).count('\n'), 3);
}

void RecycleFaultsTest::withoutExclusiveRename_data() {
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<int>("error");
    for (const char* kind : {"file", "folder", "link", "fifo"}) {
        for (const int error : {EINVAL, ENOSYS, EOPNOTSUPP}) {
            QTest::addRow("%s, error %d", kind, error) << QByteArray(kind) << error;
        }
    }
}

void RecycleFaultsTest::withoutExclusiveRename() {
    QFETCH(QByteArray, kind);
    QFETCH(int, error);
    const Faults::Unsupported old("renameat2", error);
    prepare(kind == "folder" ? "folder" : "file");
    if (kind == "link" || kind == "fifo") {
        QCOMPARE(::unlink(path("a").constData()), 0);
        kind == "link" ? Disk::makeLink(path("a"), "nothing") : Disk::makeFifo(path("a"));
    }
    struct stat was;
    QCOMPARE(::lstat(path("a").constData(), &was), 0);
    QByteArray recycled;
    QCOMPARE(recycle(path("a"), &recycled), 0);
    struct stat is;
    QCOMPARE(::lstat(recycled.constData(), &is), 0);
    QCOMPARE(is.st_ino, was.st_ino);
    Disk::makeFile(path("a"), "in the way");
    QCOMPARE(restoreItem(recycled, QByteArray()), EEXIST);
    QCOMPARE(Disk::contentOf(path("a")), QByteArray("in the way"));
    Disk::makeFolder(path("folder"));
    QCOMPARE(restoreItem(recycled, path("folder")), EEXIST);
    if (kind == "folder") {
        QCOMPARE(restoreItem(recycled, recycled + "/other"), EINVAL);
        QVERIFY(!Disk::exists(recycled + "/other"));
    }
    QCOMPARE(restoreItem(recycled, path("new/b")), 0);
    QCOMPARE(::lstat(path("new/b").constData(), &is), 0);
    QCOMPARE(is.st_ino, was.st_ino);
    QVERIFY(Disk::namesIn(mHome->bin() + "/info").isEmpty());
    // An item of the name without a record.
    Disk::makeFile(mHome->bin() + "/files/a", "other");
    QCOMPARE(recycle(path("a"), &recycled), 0);
    QCOMPARE(recycled, mHome->bin() + "/files/a.2");
    QCOMPARE(Disk::contentOf(mHome->bin() + "/files/a"), QByteArray("other"));
}

void RecycleFaultsTest::nowhereToRename() {
    prepare("file");
    const Faults::Unsupported other("renameat2", EXDEV);
    const QByteArray before = state();
    QCOMPARE(recycle(path("a")), EOPNOTSUPP);
    QCOMPARE(state(), before);
}

void RecycleFaultsTest::everyNameTaken() {
    prepare("file");
    Disk::makeFile(path("first"));
    QCOMPARE(recycle(path("first")), 0);
    const QByteArray before = state();
    {
        const Faults::Unsupported taken("open", EEXIST);
        const Faults::Unsupported takenAt("openat", EEXIST);
        QCOMPARE(recycle(path("a")), EEXIST);
    }
    QCOMPARE(state(), before);
    // The last name that is tried is used, and no further one is asked for.
    Disk::makeFile(mHome->bin() + "/files/a");
    for (unsigned tries = 1; tries < 10; ++tries) {
        Disk::makeFile(mHome->bin() + "/files/a." + QByteArray::number(tries + 1));
    }
    QByteArray recycled;
    QCOMPARE(recycle(path("a"), &recycled), 0);
    QVERIFY2(recycled.startsWith(QByteArray(mHome->bin() + "/files/a.")), recycled);
    QVERIFY(recycled.mid(mHome->bin().size() + 9).toUInt() > 10);
}

void RecycleFaultsTest::shortNamesOnly_data() {
    QTest::addColumn<int>("size");
    QTest::newRow("limit - 1") << 129;
    QTest::newRow("limit") << 130;
    QTest::newRow("limit + 1") << 131;
    QTest::newRow("the longest") << 255;
}

/// Encrypting file systems take 143 bytes of a name and say so only when they are asked for more.
void RecycleFaultsTest::shortNamesOnly() {
    QFETCH(int, size);
    prepare("file");
    QCOMPARE(recycle(path("a")), 0);
    const QByteArray item = path(QByteArray(size, 'n'));
    Disk::makeFile(item, "abc");
    QByteArray recycled;
    {
        const Faults::Armed armed(Faults::kOpens, 0, ENAMETOOLONG);
        QCOMPARE(recycleItem(item, recycled), 0);
    }
    QCOMPARE(QByteArray(Faults::failedCall()).left(4), QByteArray("open"));
    QCOMPARE(lastNameOf(recycled).size(), std::min(size, 130));
    QCOMPARE(recordedPath(recycled), item);
    QCOMPARE(restoreItem(recycled, QByteArray()), 0);
    QCOMPARE(Disk::contentOf(item), QByteArray("abc"));
}

VKTEST_MAIN(RecycleFaultsTest)
#include "RecycleFaultsTest.moc"
