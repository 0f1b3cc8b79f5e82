// Several processes and threads at one bin, and processes that are killed in the middle: no item is lost, none
// is there twice, and each record belongs to its item.
#include "Platform/RecycleBin.h"

#include "RecycleSupport.h"

#include <csignal>
#include <memory>
#include <thread>

using namespace VKPlatform;
using namespace Recycle;

class RecycleRacesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void killedWhileRecycling();
    void killedWhileRestoring();
    void sameNames_data();
    void sameNames();
    void sameItem();
    void restoringTheSameItem();
    void whileFoldersOfTheBinVanish();
    void threads();

private:
    [[nodiscard]] QByteArray bin() const { return mHome->bin(); }
    /// A folder of files whose content is their path.
    [[nodiscard]] QByteArray makeFiles(const char* name, int count) const;
    /// Each file is in its folder or in the bin with a record of its own: how many are in the bin.
    [[nodiscard]] int checkedCount(const QByteArrayList& folders, int count) const;

    std::unique_ptr<Volume> mVolume; // declared first: gone last
    std::unique_ptr<Home> mHome;
    QByteArray mBase;
    QByteArray mRoot;
};

namespace {

/// A child process that starts its work when go() is called, and that tells of each step of it.
class Child {
public:
    using Step = std::function<bool(int)>;

    /// Runs step(0), step(1)... until one answers false; each true one is told of.
    explicit Child(const Step& step) {
        Disk::must(::pipe2(mGo, O_CLOEXEC) == 0 && ::pipe2(mSteps, O_CLOEXEC) == 0, "pipe", QByteArray());
        mProcess = ::fork();
        Disk::must(mProcess >= 0, "fork", QByteArray());
        if (mProcess == 0) {
            ::close(mGo[1]);
            char byte = 0;
            static_cast<void>(::read(mGo[0], &byte, 1));
            for (int number = 0; step(number); ++number) {
                static_cast<void>(::write(mSteps[1], &byte, 1));
            }
            ::_exit(0);
        }
        ::close(mGo[0]);
        ::close(mSteps[1]);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        go();
        wait();
        ::close(mSteps[0]);
    }

    void go() {
        if (mGo[1] >= 0) {
            ::close(mGo[1]);
            mGo[1] = -1;
        }
    }
    /// False when the child ended before so many steps.
    bool waitForSteps(int count) const {
        char byte = 0;
        while (count > 0 && ::read(mSteps[0], &byte, 1) == 1) {
            --count;
        }
        return count == 0;
    }
    void kill() const { ::kill(mProcess, SIGKILL); }
    /// Steps that were not waited for.
    int wait() {
        int steps = 0;
        char byte = 0;
        while (::read(mSteps[0], &byte, 1) == 1) {
            ++steps;
        }
        if (mProcess > 0) {
            Disk::must(::waitpid(mProcess, nullptr, 0) == mProcess, "waitpid", QByteArray());
            mProcess = 0;
        }
        return steps;
    }

private:
    int mGo[2] = {-1, -1};
    int mSteps[2] = {-1, -1};
    pid_t mProcess = 0;
};

QByteArray fileName(int number) { return "IMG_" + QByteArray::number(number) + ".jpg"; }

} // namespace

void RecycleRacesTest::initTestCase() {
    mBase = makeFolder(QStringLiteral("base")).toUtf8();
    if (mountPrivately()) { // so that no bin is made or met at the root of the machine's own volume
        mVolume = std::make_unique<Volume>("tmpfs");
        QVERIFY(mVolume->isMounted());
        mBase = mVolume->folder();
    }
}

void RecycleRacesTest::init() {
    VKTest::init();
    mRoot = mBase + "/photos";
    Disk::makeFolder(mRoot);
    Disk::makeFolder(mBase + "/home");
    mHome = std::make_unique<Home>(mBase + "/home");
}

void RecycleRacesTest::cleanup() {
    mHome.reset();
    for (const QByteArray& name : Disk::namesIn(mBase)) {
        Disk::removeTree(mBase + '/' + name);
    }
}

QByteArray RecycleRacesTest::makeFiles(const char* name, int count) const {
    const QByteArray folder = mRoot + '/' + name;
    Disk::makeFolder(folder);
    for (int i = 0; i < count; ++i) {
        const QByteArray path = folder + '/' + fileName(i);
        Disk::makeFile(path, path);
    }
    return folder;
}

int RecycleRacesTest::checkedCount(const QByteArrayList& folders, int count) const {
    QByteArrayList missing;
    for (const QByteArray& folder : folders) {
        for (int i = 0; i < count; ++i) {
            const QByteArray path = folder + '/' + fileName(i);
            if (!Disk::exists(path)) {
                missing.append(path);
            } else if (Disk::contentOf(path) != path) {
                return -1;
            }
        }
    }
    const qsizetype recycled = missing.size();
    for (const QByteArray& name : namesIfThere(bin() + "/files")) {
        const QByteArray place = bin() + "/files/" + name;
        const QByteArray told = recordedPath(place);
        // Each record tells its own item's place, and each item is missed at one place.
        if (told != Disk::contentOf(place) || missing.removeAll(told) != 1) {
            return -2;
        }
    }
    return missing.isEmpty() ? static_cast<int>(recycled) : -3;
}

void RecycleRacesTest::killedWhileRecycling() {
    constexpr int kFiles = 60;
    constexpr int kRounds = 25;
    for (int round = 0; round < kRounds; ++round) {
        const QByteArray folder = makeFiles("killed", kFiles);
        Child child(
            [&](int number) { return number < kFiles && recycle(folder + '/' + fileName(number)) == 0; });
        child.go();
        QVERIFY(child.waitForSteps(round * 2)); // and then wherever it is by now
        child.kill();
        child.wait();
        const int count = checkedCount({folder}, kFiles);
        QVERIFY2(count >= round * 2, QByteArray::number(count));
        for (const QByteArray& name : namesIfThere(bin() + "/files")) {
            QCOMPARE(restoreItem(bin() + "/files/" + name, QByteArray()), 0);
        }
        QCOMPARE(checkedCount({folder}, kFiles), 0);
        QVERIFY2(namesIfThere(bin() + "/info").size() <= 1, "at most the record that was being used stays");
        Disk::removeTree(folder);
        if (Disk::exists(bin())) {
            Disk::removeTree(bin());
        }
    }
}

void RecycleRacesTest::killedWhileRestoring() {
    constexpr int kFiles = 60;
    constexpr int kRounds = 25;
    for (int round = 0; round < kRounds; ++round) {
        const QByteArray folder = makeFiles("killed", kFiles);
        for (int i = 0; i < kFiles; ++i) {
            QCOMPARE(recycle(folder + '/' + fileName(i)), 0);
        }
        Disk::removeTree(folder);
        Child child([&](int number) {
            return number < kFiles && restoreItem(bin() + "/files/" + fileName(number), QByteArray()) == 0;
        });
        child.go();
        QVERIFY(child.waitForSteps(round * 2));
        child.kill();
        child.wait();
        const int count = checkedCount({folder}, kFiles);
        QVERIFY2(count >= 0 && count <= kFiles - round * 2, QByteArray::number(count));
        Disk::removeTree(bin());
        if (Disk::exists(folder)) {
            Disk::removeTree(folder);
        }
    }
}

void RecycleRacesTest::sameNames_data() {
    QTest::addColumn<bool>("binExists");
    QTest::newRow("bin is there") << true;
    QTest::newRow("both make the bin") << false;
}

void RecycleRacesTest::sameNames() {
    QFETCH(bool, binExists);
    constexpr int kFiles = 300;
    const QByteArrayList folders{makeFiles("one", kFiles), makeFiles("two", kFiles),
                                 makeFiles("three", kFiles)};
    if (binExists) {
        QCOMPARE(Shell::outputOf("mkdir -p " + bin() + "/files " + bin() + "/info").status, 0);
    }
    {
        std::vector<std::unique_ptr<Child>> children;
        for (const QByteArray& folder : folders) {
            children.push_back(std::make_unique<Child>([=](int number) {
                return number < kFiles && recycle(folder + '/' + fileName(number)) == 0;
            }));
        }
        for (const auto& child : children) {
            child->go();
        }
        for (const auto& child : children) {
            QCOMPARE(child->wait(), kFiles);
        }
    }
    QCOMPARE(checkedCount(folders, kFiles), 3 * kFiles);
    QCOMPARE(Disk::namesIn(bin() + "/info").size(), 3 * kFiles);
}

void RecycleRacesTest::sameItem() {
    constexpr int kFiles = 300;
    const QByteArray folder = makeFiles("shared", kFiles);
    int done[2] = {};
    {
        // A step is one file that this process got; the other's turn is a file that is missing.
        const auto step = [&](int) {
            for (int i = 0; i < kFiles; ++i) {
                const int error = recycle(folder + '/' + fileName(i));
                if (error == 0) {
                    return true;
                }
                if (error != ENOENT) {
                    return false;
                }
            }
            return false;
        };
        Child one(step);
        Child two(step);
        one.go();
        two.go();
        done[0] = one.wait();
        done[1] = two.wait();
    }
    QCOMPARE(done[0] + done[1], kFiles);
    QCOMPARE(checkedCount({folder}, kFiles), kFiles);
    QCOMPARE(Disk::namesIn(bin() + "/info").size(), kFiles);
}

void RecycleRacesTest::restoringTheSameItem() {
    constexpr int kFiles = 300;
    const QByteArray folder = makeFiles("shared", kFiles);
    for (int i = 0; i < kFiles; ++i) {
        QCOMPARE(recycle(folder + '/' + fileName(i)), 0);
    }
    Disk::removeTree(folder);
    int done[2] = {};
    {
        const auto step = [&](int number) {
            if (number >= kFiles) {
                return false;
            }
            const int error = restoreItem(bin() + "/files/" + fileName(number), QByteArray());
            return error == 0 || error == ENOENT || error == EEXIST;
        };
        Child one(step);
        Child two(step);
        one.go();
        two.go();
        done[0] = one.wait();
        done[1] = two.wait();
    }
    QCOMPARE(done[0], kFiles);
    QCOMPARE(done[1], kFiles);
    QCOMPARE(checkedCount({folder}, kFiles), 0);
    QVERIFY(Disk::namesIn(bin() + "/info").isEmpty());
}

void RecycleRacesTest::whileFoldersOfTheBinVanish() {
    constexpr int kFiles = 300;
    const QByteArray folder = makeFiles("swept", kFiles);
    int failures = 0;
    {
        // Another program that empties the bin removes its folders whenever they are empty.
        Child sweeper([&](int) {
            for (const char* part : {"/files", "/info", ""}) {
                ::rmdir(QByteArray(bin() + part).constData());
            }
            return Disk::exists(folder);
        });
        sweeper.go();
        for (int i = 0; i < kFiles; ++i) {
            QByteArray recycled;
            const QByteArray item = folder + '/' + fileName(i);
            const int error = recycle(item, &recycled);
            if (error == 0) {
                QCOMPARE(Disk::contentOf(recycled), item);
                QCOMPARE(restoreItem(recycled, QByteArray()), 0);
            } else {
                QCOMPARE(error, EAGAIN);
                ++failures;
            }
            QCOMPARE(Disk::contentOf(item), item);
        }
        Disk::removeTree(folder);
    }
    QVERIFY2(failures < kFiles, "the bin was never found again");
}

void RecycleRacesTest::threads() {
    constexpr int kFiles = 100;
    constexpr int kThreads = 4;
    QByteArrayList folders;
    for (int i = 0; i < kThreads; ++i) {
        folders.append(makeFiles(QByteArray::number(i).constData(), kFiles));
    }
    std::atomic<int> failed = 0;
    {
        std::vector<std::jthread> threads;
        for (const QByteArray& folder : folders) {
            threads.emplace_back([&failed, folder] {
                for (int i = 0; i < kFiles; ++i) {
                    failed += recycle(folder + '/' + fileName(i)) == 0 ? 0 : 1;
                }
            });
        }
    }
    QCOMPARE(failed.load(), 0);
    QCOMPARE(checkedCount(folders, kFiles), kThreads * kFiles);
}

VKTEST_MAIN(RecycleRacesTest)
#include "RecycleRacesTest.moc"
