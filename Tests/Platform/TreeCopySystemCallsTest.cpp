// What a copied file costs, call by call: the program runs itself under strace, copies a tree there and reads the
// record.
#include "Platform/TreeCopy.h"

#include "Platform/CopyTestSupport.h"
#include "Support/ShellCommand.h"

#include <QCoreApplication>
#include <QStandardPaths>

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>

using namespace VKPlatform;
using namespace CopyTest;

namespace {

const char* const kCopyMode = "--copy-the-tree";
const char* const kMark = "the copy begins or ends";

void mark() {
    // A call that nothing else makes, so that the record shows where the copy lies in it.
    if (::access(kMark, F_OK) == 0) {
        std::abort();
    }
}

/// The traced program.
int copyTheTree(const char* from, const char* to) {
    class Silent final : public TreeWatcher {
    public:
        int folderMade(std::size_t /*number*/) override { return 0; }
        int itemCopied(std::size_t /*number*/) override { return 0; }
        int bytesCopied(std::uint64_t /*bytes*/) override { return 0; }
        [[nodiscard]] bool isCancelled() const override { return false; }
    } watcher;
    Disk::makeFolder(to);
    mark();
    TreeCopy copy(TreeScope::Shown, {}, watcher);
    int error = copy.scan(from, false);
    if (error == 0) {
        error = copy.openTarget(to, true);
    }
    if (error == 0) {
        error = copy.makeFolders();
    }
    if (error == 0) {
        error = copy.copyItems();
    }
    if (error == 0) {
        error = copy.finishFolders();
    }
    mark();
    return error;
}

using Counts = std::map<QByteArray, int>;

/// How often each call stands between the two marks; of a call that another thread interrupted in the record, the
/// first half counts.
Counts countCalls(const QByteArray& record) {
    Counts counts;
    int marks = 0;
    for (const QByteArray& line : record.split('\n')) {
        if (line.contains(kMark)) {
            ++marks;
        }
        const qsizetype bracket = line.indexOf('(');
        if (marks != 1 || bracket < 0 || line.contains("resumed>") || line.contains(kMark)) {
            continue;
        }
        QByteArray name = line.first(bracket);
        name = name.sliced(name.lastIndexOf(' ') + 1);
        ++counts[name];
    }
    return counts;
}

} // namespace

class TreeCopySystemCallsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { mSystems.unmount(); }
    void counting();
    void callsOfAFile_data();
    void callsOfAFile();

private:
    QByteArray mRoot;
    FileSystems mSystems;
};

void TreeCopySystemCallsTest::initTestCase() {
    mRoot = makeFolder(QStringLiteral("traced")).toUtf8();
    mSystems.mount(makeFolder(QStringLiteral("systems")).toUtf8());
}

void TreeCopySystemCallsTest::counting() {
    const QByteArray begin = QByteArray("12 access(\"") + kMark + "\", F_OK) = -1 ENOENT\n";
    const Counts counts = countCalls("12 read(3, \"\", 9) = 0\n" + begin +
                                     "12 openat(4, \"a (1).jpg\", O_RDONLY <unfinished ...>\n"
                                     "13 close(7) = 0\n"
                                     "12 <... openat resumed>) = 3\n"
                                     "12 close(3) = 0\n" +
                                     begin + "12 close(4) = 0\n");
    QCOMPARE(counts, (Counts{{"openat", 1}, {"close", 2}}));
}

void TreeCopySystemCallsTest::callsOfAFile_data() {
    QTest::addColumn<QByteArray>("system");
    QTest::addColumn<QByteArray>("copying");
    QTest::newRow("in the kernel") << QByteArray("ext4") << QByteArray("copy_file_range");
    QTest::newRow("cloning") << QByteArray("xfs") << QByteArray("ioctl");
}

void TreeCopySystemCallsTest::callsOfAFile() {
    QFETCH(QByteArray, system);
    QFETCH(QByteArray, copying);
    VKTEST_NEEDS(!QStandardPaths::findExecutable(QStringLiteral("strace")).isEmpty(), "strace");
    VKTEST_NEEDS(mSystems.has(system), "root, loop devices and the file system's tools");
    constexpr int kFiles = 200;
    const QByteArray folder = mSystems.newFolder(system);
    Disk::makeFolder(folder + "/album");
    for (int i = 0; i < kFiles; ++i) {
        Disk::makeFile(folder + "/album/" + QByteArray::number(i) + ".jpg", contentOfSize(20'000));
    }
    const QByteArray program = QCoreApplication::applicationFilePath().toUtf8();
    const QByteArray command = "strace -f -o '" + mRoot + "/record' '" + program + "' " + kCopyMode + " '" +
                               folder + "/album' '" + folder + "/copy'";
    QCOMPARE(Shell::outputOf(command).status, 0);
    QCOMPARE(Disk::namesIn(folder + "/copy").size(), kFiles);
    const Counts counts = countCalls(Disk::contentOf(mRoot + "/record"));
    // For each file these nine (fstat is newfstatat to the kernel); what the two threads and the folders cost besides is the same for any number of files.
    const Counts perFile = {{"openat", 2}, {"newfstatat", 1}, {copying, 1},    {"flistxattr", 1},
                            {"fchmod", 1}, {"close", 2},      {"utimensat", 1}};
    int total = 0;
    constexpr int kForTheFolder = 40;
    for (const auto& [name, count] : counts) {
        const auto expected = perFile.find(name);
        // What the threads tell each other depends on who is first; it is no work on the file system.
        if (name == "futex") {
            continue;
        }
        total += count;
        const int each = expected == perFile.end() ? 0 : expected->second;
        const QByteArray text = name + ' ' + QByteArray::number(count);
        QVERIFY2(count >= each * kFiles && count <= each * kFiles + kForTheFolder, text);
    }
    QVERIFY2(total <= 11 * kFiles, QByteArray::number(total));
}

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], kCopyMode) == 0) {
        return copyTheTree(argv[2], argv[3]);
    }
    return vkTestRun(argc, argv,
                     [] { return std::unique_ptr<QObject>(std::make_unique<TreeCopySystemCallsTest>()); });
}
#include "TreeCopySystemCallsTest.moc"
