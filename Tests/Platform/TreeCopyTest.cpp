// Copies of whole folders: what is copied and in which order, everything kept, nothing outside touched, and an
// end at any moment.
#include "Platform/TreeCopy.h"

#include "Platform/CopyTestSupport.h"
#include "Platform/FileRemoval.h"
#include "Support/ShellCommand.h"

#include <atomic>
#include <thread>

using namespace VKPlatform;
using namespace CopyTest;

namespace {

/// Writes down what it is told; ends the copy where it was told to.
class Recorder final : public TreeWatcher {
public:
    int folderMade(std::size_t number) override {
        mRightThread = mRightThread && std::this_thread::get_id() == mThread;
        folders.push_back(number);
        return folders.size() == endAtFolder ? EINTR : 0;
    }
    int itemCopied(std::size_t number) override {
        mRightThread = mRightThread && std::this_thread::get_id() == mThread;
        items.push_back(number);
        return items.size() == endAtItem ? EINTR : 0;
    }
    int bytesCopied(std::uint64_t more) override {
        mRightThread = mRightThread && std::this_thread::get_id() == mThread && more >= bytes;
        bytes = more;
        return 0;
    }
    [[nodiscard]] bool isCancelled() const override {
        return cancelled || (checksUntilCancelled > 0 && --checksUntilCancelled == 0);
    }

    /// Each number once, in order, on this thread.
    [[nodiscard]] bool isInOrder() const { return mRightThread && isCounted(folders) && isCounted(items); }

    std::vector<std::size_t> folders;
    std::vector<std::size_t> items;
    std::uint64_t bytes = 0;
    std::size_t endAtFolder = 0;
    std::size_t endAtItem = 0;
    std::atomic<bool> cancelled = false;
    mutable int checksUntilCancelled = 0; ///< 0: never

private:
    static bool isCounted(const std::vector<std::size_t>& numbers) {
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            if (numbers[i] != i) {
                return false;
            }
        }
        return true;
    }

    const std::thread::id mThread = std::this_thread::get_id();
    bool mRightThread = true;
};

/// All steps but the last into a folder that is made for it.
int copyUnfinished(TreeCopy& copy, const QByteArray& from, const QByteArray& to) {
    int error = copy.scan(from, false);
    if (error == 0) {
        error = ::mkdir(to.constData(), 0700) == 0 ? copy.openTarget(to, true) : errno;
    }
    if (error == 0) {
        error = copy.makeFolders();
    }
    return error == 0 ? copy.copyItems() : error;
}

int copyShown(const QByteArray& from, const QByteArray& to, Recorder& recorder) {
    TreeCopy copy(TreeScope::Shown, {}, recorder);
    const int error = copyUnfinished(copy, from, to);
    return error == 0 ? copy.finishFolders() : error;
}

} // namespace

class TreeCopyTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();

    void order_data();
    void order();
    void hiddenNames_data();
    void hiddenNames();

    void everythingIsKept_data();
    void everythingIsKept();
    void whatIsShown();
    void wholeTree();
    void specialFilesInAWholeTree();
    void linksAreNotFollowed();
    void missingSources_data();
    void missingSources();
    void reportsInOrder();
    void targetInsideTheSource();
    void existingTarget();
    void existingFolderWithListForNewItems();
    void existingNamesInTheTarget_data();
    void existingNamesInTheTarget();
    void deepTree();
    void unreadableFolder();
    void scanIsEndedWithinAFolder_data();
    void scanIsEndedWithinAFolder();
    void whatIsLeftCanBeRemoved();
    void names_data();
    void names();
    void watcherEndsIt_data();
    void watcherEndsIt();

private:
    [[nodiscard]] QByteArray at(const char* name) const { return mRoot + '/' + name; }

    QByteArray mRoot;
    FileSystems mSystems;
};

namespace {

/// A tree with folders of several modes and depths and with links.
void makeAlbum(const QByteArray& root) {
    Disk::makeFolder(root);
    for (const char* folder : {"/2024", "/2024/June", "/2024/June/raw", "/2025", "/empty"}) {
        Disk::makeFolder(root + folder);
    }
    int size = 0;
    for (const char* file : {"/index.txt", "/2024/a.jpg", "/2024/B.jpg", "/2024/June/c.jpg",
                             "/2024/June/raw/d.nef", "/2024/June/raw/e.nef", "/2025/f.jpg"}) {
        makePhoto(root + file, size += 10'000);
    }
    Disk::makeLink(root + "/newest", "2025/f.jpg");
    Disk::makeLink(root + "/2025/all", "../2024");
    Disk::makeLink(root + "/2025/gone", "nowhere");
    Disk::must(::chmod(Disk::text(root + "/2024/June"), 0500) == 0, "chmod", root);
    Disk::must(::chmod(Disk::text(root + "/empty"), 01777) == 0, "chmod", root);
    (void)Disk::setAttribute(root + "/2025", "user.label", "red");
    for (const char* folder : {"/2025/all", "/2025/gone", "/newest", "/2024/June/raw", "/2024/June", "/2024",
                               "/2025", "/empty", ""}) {
        Disk::setTime(root + folder, 1'111'111'111, 222'222'222);
    }
}

} // namespace

void TreeCopyTest::initTestCase() {
    mRoot = makeFolder(QStringLiteral("tree")).toUtf8();
    mSystems.mount(makeFolder(QStringLiteral("systems")).toUtf8());
}

void TreeCopyTest::cleanupTestCase() { mSystems.unmount(); }

void TreeCopyTest::cleanup() {
    mSystems.clear();
    Disk::removeTree(mRoot);
    Disk::makeFolder(mRoot);
}

void TreeCopyTest::order_data() {
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QByteArray>("second");
    QTest::addColumn<int>("sign");
    QTest::newRow("letters") << QByteArray("a.jpg") << QByteArray("b.jpg") << -1;
    QTest::newRow("case is ignored") << QByteArray("B.jpg") << QByteArray("a.jpg") << 1;
    QTest::newRow("only case differs") << QByteArray("A.jpg") << QByteArray("a.jpg") << 0;
    QTest::newRow("digits by their characters") << QByteArray("img10") << QByteArray("img9") << -1;
    QTest::newRow("outside ASCII") << QByteArray("\xC3\x84.jpg") << QByteArray("\xC3\xA4.jpg") << 0;
    QTest::newRow("underscore is before letters") << QByteArray("_z") << QByteArray("A") << -1;
}

void TreeCopyTest::order() {
    QFETCH(QByteArray, first);
    QFETCH(QByteArray, second);
    QFETCH(int, sign);
    const int compared = QString::compare(listingKey(first), listingKey(second));
    QCOMPARE((compared > 0) - (compared < 0), sign);
}

void TreeCopyTest::hiddenNames_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("hidden");
    QTest::newRow("hidden") << QByteArray(".a") << true;
    QTest::newRow("two dots") << QByteArray("..a") << true;
    QTest::newRow("shown") << QByteArray("a.") << false;
    QTest::newRow("none") << QByteArray() << false;
}

void TreeCopyTest::hiddenNames() {
    QFETCH(QByteArray, name);
    QFETCH(bool, hidden);
    QCOMPARE(isHiddenName(name), hidden);
}

void TreeCopyTest::everythingIsKept_data() { mSystems.addPairRows(FileSystems::Pairs::WithHoles); }

void TreeCopyTest::everythingIsKept() {
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    VKTEST_NEEDS(mSystems.has(from) && mSystems.has(to), "root, loop devices and the file system's tools");
    const QByteArray source = mSystems.newFolder(from) + "/album";
    const QByteArray target = mSystems.newFolder(to) + "/copy";
    makeAlbum(source);
    const QByteArrayList before = Disk::recordsBelow(source, Disk::kAllParts);
    Recorder recorder;
    QCOMPARE(copyShown(source, target, recorder), 0);
    const unsigned parts = mSystems.partsKeptBy(from) & mSystems.partsKeptBy(to);
    QCOMPARE(Disk::recordsBelow(target, parts), Disk::recordsBelow(source, parts));
    QCOMPARE(Disk::recordOf(target, parts), Disk::recordOf(source, parts));
    QCOMPARE(Disk::recordsBelow(source, Disk::kAllParts), before);
    QVERIFY(recorder.isInOrder());
    QCOMPARE(recorder.folders.size(), std::size_t(5));
    QCOMPARE(recorder.items.size(), std::size_t(10));

    const QByteArray moved = mSystems.newFolder(to) + "/moved";
    CountingWatcher watcher;
    QCOMPARE(copyTree(source, moved, {CopyFlush::ToDisk, CopyOwner::Keep}, &watcher), 0);
    QCOMPARE(Disk::recordsBelow(moved, parts), Disk::recordsBelow(source, parts));
    QCOMPARE(Disk::recordOf(moved, parts), Disk::recordOf(source, parts));
    QCOMPARE(watcher.bytes, quint64(recorder.bytes));
}

void TreeCopyTest::whatIsShown() {
    const QByteArray source = at("source");
    Disk::makeFolder(source);
    for (const char* folder : {"/shown", "/.hidden"}) {
        Disk::makeFolder(source + folder);
        Disk::makeFile(source + folder + "/a.jpg", "a");
        Disk::makeFile(source + folder + "/.b.jpg", "b");
        Disk::makeFifo(source + folder + "/fifo");
        Disk::makeSocket(source + folder + "/socket");
    }
    Disk::makeLink(source + "/.link", "shown");
    Recorder recorder;
    QCOMPARE(copyShown(source, at("copy"), recorder), 0);
    QCOMPARE(Disk::namesIn(at("copy")), QByteArrayList{"shown"});
    QCOMPARE(Disk::namesIn(at("copy/shown")), QByteArrayList{"a.jpg"});
}

void TreeCopyTest::wholeTree() {
    makeAlbum(at("album"));
    Disk::makeFolder(at("album/.hidden"));
    Disk::makeFile(at("album/.hidden/.a"), "a");
    QCOMPARE(copyTree(at("album"), at("copy"), {}, nullptr), 0);
    QCOMPARE(Disk::recordsBelow(at("copy"), Disk::kAllParts),
             Disk::recordsBelow(at("album"), Disk::kAllParts));

    const QByteArrayList before = Disk::recordsBelow(mRoot, Disk::kAllParts);
    QCOMPARE(copyTree(at("album"), at("copy"), {}, nullptr), EEXIST);
    QCOMPARE(copyTree(at("gone"), at("copy 2"), {}, nullptr), ENOENT);
    QCOMPARE(copyTree(at("album/index.txt"), at("copy 2"), {}, nullptr), ENOTDIR);
    QCOMPARE(copyTree(at("album/2025/all"), at("copy 2"), {}, nullptr), ENOTDIR);
    QCOMPARE(copyTree(at("album"), at("gone/copy"), {}, nullptr), ENOENT);
    QCOMPARE(Disk::recordsBelow(mRoot, Disk::kAllParts), before);
}

void TreeCopyTest::specialFilesInAWholeTree() {
    makeAlbum(at("album"));
    Disk::makeFifo(at("album/2025/.fifo"));
    QCOMPARE(copyTree(at("album"), at("copy"), {}, nullptr), EOPNOTSUPP);
    QVERIFY(!Disk::exists(at("copy")));
}

void TreeCopyTest::linksAreNotFollowed() {
    Disk::makeFolder(at("outside"));
    makePhoto(at("outside/a.jpg"), 10);
    Disk::makeFolder(at("album"));
    Disk::makeLink(at("album/folder"), "../outside");
    Disk::makeLink(at("album/file"), "../outside/a.jpg");
    Disk::makeLink(at("album/itself"), ".");
    // The source itself may be one.
    Disk::makeLink(at("link"), "album");
    Recorder recorder;
    QCOMPARE(copyShown(at("link"), at("copy"), recorder), 0);
    QCOMPARE(Disk::recordsBelow(at("copy"), Disk::kAllParts),
             Disk::recordsBelow(at("album"), Disk::kAllParts));
    QCOMPARE(Disk::namesIn(at("copy")), (QByteArrayList{"file", "folder", "itself"}));
}

void TreeCopyTest::missingSources_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("nothing") << QByteArray("gone");
    QTest::newRow("below nothing") << QByteArray("gone/album");
    QTest::newRow("a file") << QByteArray("file");
    QTest::newRow("below a file") << QByteArray("file/album");
    QTest::newRow("a link to nothing") << QByteArray("dangling");
}

void TreeCopyTest::missingSources() {
    QFETCH(QByteArray, name);
    Disk::makeFile(at("file"));
    Disk::makeLink(at("dangling"), "gone");
    Recorder recorder;
    QCOMPARE(copyShown(mRoot + '/' + name, at("copy"), recorder), 0);
    QVERIFY(Disk::namesIn(at("copy")).isEmpty());
    QVERIFY(recorder.folders.empty() && recorder.items.empty());
}

void TreeCopyTest::reportsInOrder() {
    Disk::makeFolder(at("album"));
    // Long and short ones, so that the two threads overtake each other.
    quint64 bytes = 0;
    for (int i = 0; i < 300; ++i) {
        const qint64 size = i % 17 == 0 ? 3'000'000 : i % 5;
        bytes += quint64(size);
        makePhoto(at("album/") + QByteArray::number(i), size);
    }
    Recorder recorder;
    TreeCopy sized(TreeScope::Shown, {}, recorder);
    QCOMPARE(sized.scan(at("album"), true), 0);
    QCOMPARE(sized.bytes(), std::uint64_t(bytes));
    QCOMPARE(sized.items(), std::size_t(300));
    QCOMPARE(copyShown(at("album"), at("copy"), recorder), 0);
    QVERIFY(recorder.isInOrder());
    QCOMPARE(recorder.items.size(), std::size_t(300));
    QCOMPARE(recorder.bytes, std::uint64_t(bytes));
}

void TreeCopyTest::targetInsideTheSource() {
    makeAlbum(at("album"));
    const QByteArrayList before = Disk::recordsBelow(at("album"), Disk::kKindAndContent);
    Recorder recorder;
    QCOMPARE(copyShown(at("album"), at("album/2025/copy"), recorder), 0);
    QCOMPARE(Disk::recordsBelow(at("album/2025/copy"), Disk::kKindAndContent), before);
}

void TreeCopyTest::existingTarget() {
    makeAlbum(at("album"));
    Disk::makeFolder(at("copy"));
    Disk::makeFolder(at("copy/2024"));
    Disk::makeFile(at("copy/2024/mine.txt"), "mine");
    Disk::setTime(at("copy/2024"), 5, 5);
    Recorder recorder;
    TreeCopy copy(TreeScope::Shown, {}, recorder);
    QCOMPARE(copy.scan(at("album"), false), 0);
    QCOMPARE(copy.openTarget(at("copy"), false), 0);
    QCOMPARE(copy.makeFolders(), 0);
    QCOMPARE(copy.copyItems(), 0);
    Disk::setTime(at("copy/2024"), 5, 5);
    Disk::setTime(at("copy"), 6, 6);
    QCOMPARE(copy.finishFolders(), 0);
    QCOMPARE(Disk::contentOf(at("copy/2024/mine.txt")), QByteArray("mine"));
    // What was there keeps its own time and mode.
    QVERIFY(Disk::recordOf(at("copy/2024"), Disk::kTimes).endsWith(" 5.5"));
    QVERIFY(Disk::recordOf(at("copy"), Disk::kTimes).endsWith(" 6.6"));
    QCOMPARE(Disk::recordOf(at("copy/2025"), Disk::kCopiedParts),
             Disk::recordOf(at("album/2025"), Disk::kCopiedParts));
}

void TreeCopyTest::existingFolderWithListForNewItems() {
    for (const char* folder : {"album", "album/1", "album/2", "copy", "copy/2"}) {
        Disk::makeFolder(at(folder));
    }
    Disk::makeFile(at("album/1/a"), "a");
    Disk::makeFile(at("album/2/b"), "b");
    VKTEST_NEEDS(Shell::outputOf("setfacl -d -m u:65534:rwx '" + at("copy/2") + '\'').status == 0,
                 "setfacl and a file system with access lists");
    Recorder recorder;
    TreeCopy copy(TreeScope::Shown, {}, recorder);
    QCOMPARE(copy.scan(at("album"), false), 0);
    QCOMPARE(copy.openTarget(at("copy"), false), 0);
    QCOMPARE(copy.makeFolders(), 0);
    QCOMPARE(copy.copyItems(), 0);
    QCOMPARE(copy.finishFolders(), 0);
    for (const char* file : {"1/a", "2/b"}) {
        QCOMPARE(Disk::recordOf(at("copy") + '/' + file, Disk::kAllParts),
                 Disk::recordOf(at("album") + '/' + file, Disk::kAllParts));
    }
}

void TreeCopyTest::existingNamesInTheTarget_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("isLink");
    QTest::newRow("a file where a folder comes") << QByteArray("2024") << false;
    QTest::newRow("a link where a folder comes") << QByteArray("2024") << true;
    QTest::newRow("a file where a file comes") << QByteArray("index.txt") << false;
    QTest::newRow("a link where a file comes") << QByteArray("index.txt") << true;
    QTest::newRow("a file where a link comes") << QByteArray("newest") << false;
}

void TreeCopyTest::existingNamesInTheTarget() {
    QFETCH(QByteArray, name);
    QFETCH(bool, isLink);
    makeAlbum(at("album"));
    Disk::makeFolder(at("outside"));
    Disk::makeFolder(at("copy"));
    const QByteArray taken = at("copy/") + name;
    if (isLink) {
        Disk::makeLink(taken, "../outside");
    } else {
        Disk::makeFile(taken, "what was there");
    }
    const QByteArray before = Disk::recordOf(taken, Disk::kAllParts);
    Recorder recorder;
    TreeCopy copy(TreeScope::Shown, {}, recorder);
    QCOMPARE(copy.scan(at("album"), false), 0);
    QCOMPARE(copy.openTarget(at("copy"), false), 0);
    const int error = copy.makeFolders();
    QCOMPARE(error == 0 ? copy.copyItems() : error, EEXIST);
    QCOMPARE(Disk::recordOf(taken, Disk::kAllParts), before);
    QVERIFY(Disk::namesIn(at("outside")).isEmpty());
}

void TreeCopyTest::deepTree() {
    // Deeper than descriptors are kept, and longer together than a path may be.
    const QByteArray name(150, 'd');
    constexpr int kDepth = 60;
    QByteArray path = at("album");
    Disk::makeFolder(path);
    {
        const Disk::WorkingFolder start(path);
        for (int i = 0; i < kDepth; ++i) {
            Disk::makeFile("a" + QByteArray::number(i), QByteArray::number(i));
            Disk::makeFolder("side");
            Disk::makeFile("side/b", "b");
            Disk::makeFolder(name);
            QCOMPARE(::chdir(name.constData()), 0);
        }
    }
    const qsizetype descriptors = Disk::openDescriptors();
    Recorder recorder;
    QCOMPARE(copyShown(path, at("copy"), recorder), 0);
    QCOMPARE(recorder.folders.size(), std::size_t(2 * kDepth));
    QCOMPARE(recorder.items.size(), std::size_t(2 * kDepth));
    QCOMPARE(Disk::openDescriptors(), descriptors);
    const Disk::WorkingFolder start(at("copy"));
    for (int i = 0; i < kDepth; ++i) {
        QCOMPARE(Disk::contentOf("a" + QByteArray::number(i)), QByteArray::number(i));
        QCOMPARE(Disk::contentOf("side/b"), QByteArray("b"));
        QCOMPARE(::chdir(name.constData()), 0);
    }
}

void TreeCopyTest::unreadableFolder() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    QCOMPARE(::chmod(mRoot.constData(), 0777), 0);
    makeAlbum(at("album"));
    QCOMPARE(::chmod(at("album/2025").constData(), 0700), 0);
    // A copy that silently lacks photos would be believed to be whole.
    QCOMPARE(Disk::asOtherUser([&] {
                 Recorder recorder;
                 return copyShown(at("album"), at("copy"), recorder);
             }),
             EACCES);
    QVERIFY(!Disk::exists(at("copy")));
}

void TreeCopyTest::scanIsEndedWithinAFolder_data() {
    QTest::addColumn<QByteArray>("begin");
    QTest::newRow("files that are copied") << QByteArray("a");
    QTest::newRow("files that are left out") << QByteArray(".a");
}

void TreeCopyTest::scanIsEndedWithinAFolder() {
    QFETCH(QByteArray, begin);
    Disk::makeFolder(at("from"));
    for (int i = 0; i < 100; ++i) {
        Disk::makeFile(at("from/") + begin + QByteArray::number(i));
    }
    Recorder recorder;
    recorder.checksUntilCancelled = 50;
    TreeCopy copy(TreeScope::Shown, {}, recorder);
    QCOMPARE(copy.scan(at("from"), true), ECANCELED);
}

void TreeCopyTest::whatIsLeftCanBeRemoved() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user, whom modes bind");
    Disk::openForOthers(mRoot);
    QCOMPARE(::chmod(mRoot.constData(), 0777), 0);
    Disk::makeFolder(at("from"));
    Disk::makeFolder(at("from/open"));
    Disk::makeFolder(at("from/read-only"));
    Disk::makeFolder(at("from/read-only/deep"));
    Disk::makeFile(at("from/read-only/a.jpg"), "a");
    Disk::makeFile(at("from/read-only/deep/b.jpg"), "b");
    for (const char* folder : {"from/read-only/deep", "from/read-only"}) {
        QCOMPARE(::chmod(at(folder).constData(), 0555), 0);
    }
    const QByteArray from = at("from");
    const QByteArray to = at("to");
    const int result = Disk::asOtherUser([&] {
        Recorder recorder;
        TreeCopy copy(TreeScope::Shown, {}, recorder);
        if (const int error = copyUnfinished(copy, from, to); error != 0) {
            return error;
        }
        // Two folders are finished by then.
        recorder.checksUntilCancelled = 2;
        return copy.finishFolders() == ECANCELED ? removeTree(to) : 255;
    });
    QCOMPARE(result, 0);
    QVERIFY(!Disk::exists(to));
}

void TreeCopyTest::names_data() { addNameRows(); }

void TreeCopyTest::names() {
    QFETCH(QByteArray, name);
    Disk::makeFolder(at("album"));
    Disk::makeFolder(at("album/") + name);
    makePhoto(at("album/") + name + '/' + name, 10);
    Disk::makeLink(at("album/") + name + "/link", name);
    QCOMPARE(copyTree(at("album"), at("copy"), {}, nullptr), 0);
    QCOMPARE(Disk::recordsBelow(at("copy"), Disk::kAllParts),
             Disk::recordsBelow(at("album"), Disk::kAllParts));
    QCOMPARE(Disk::namesIn(at("copy")), QByteArrayList{name});
}

void TreeCopyTest::watcherEndsIt_data() {
    QTest::addColumn<int>("folder");
    QTest::addColumn<int>("item");
    QTest::newRow("first folder") << 1 << 0;
    QTest::newRow("last folder") << 5 << 0;
    QTest::newRow("first item") << 0 << 1;
    QTest::newRow("middle item") << 0 << 5;
    QTest::newRow("last item") << 0 << 10;
}

void TreeCopyTest::watcherEndsIt() {
    QFETCH(int, folder);
    QFETCH(int, item);
    makeAlbum(at("album"));
    Recorder recorder;
    recorder.endAtFolder = std::size_t(folder);
    recorder.endAtItem = std::size_t(item);
    QCOMPARE(copyShown(at("album"), at("copy"), recorder), EINTR);
    QVERIFY(recorder.isInOrder());
    // Nothing is told after the answer.
    QCOMPARE(recorder.folders.size(), std::size_t(folder == 0 ? 5 : folder));
    QCOMPARE(recorder.items.size(), std::size_t(item));
}

VKTEST_MAIN(TreeCopyTest)
#include "TreeCopyTest.moc"
