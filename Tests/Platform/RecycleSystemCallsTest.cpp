// What recycling a file asks of the kernel, call by call: the program runs itself under strace, recycles files
// there and reads the record.
#include "Platform/RecycleBin.h"

#include "RecycleSupport.h"

#include <QStandardPaths>

#include <cstdio>
#include <cstring>
#include <memory>

using namespace VKPlatform;
using namespace Recycle;

namespace {

const char* const kRecycleMode = "--recycle";
const char* const kMark = "a file is recycled next";

/// The traced program: recycles the files that are named, with a mark before each.
int recycleFiles(int count, char** names) {
    for (int i = 0; i < count; ++i) {
        // A call that nothing else makes, so that the record shows where each file begins.
        if (::access(kMark, F_OK) == 0 || recycle(names[i]) != 0) {
            return 1;
        }
    }
    return ::access(kMark, F_OK) == 0 ? 1 : 0; // what ends the program comes after the last mark
}

/// The names of the calls after each mark.
QList<QByteArrayList> parseRecord(const QByteArray& text) {
    QList<QByteArrayList> files;
    for (const QByteArray& line : text.split('\n')) {
        const qsizetype end = line.indexOf('(');
        if (line.contains(kMark)) {
            files.append(QByteArrayList());
        } else if (!files.isEmpty() && end > 0 && !line.startsWith("exit")) {
            files.last().append(line.first(end).split(' ').last());
        }
    }
    return files;
}

} // namespace

class RecycleSystemCallsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void parsing();
    void calls_data();
    void calls();
};

void RecycleSystemCallsTest::parsing() {
    const QByteArray mark = "access(\"" + QByteArray(kMark) + "\", F_OK) = -1 ENOENT (No such file)\n";
    QCOMPARE(parseRecord("read(3, \"\", 9) = 0\n" + mark + "statx(1, \"\") = 0\n12 close(3) = 0\n" + mark +
                         "exit_group(0) = ?\n"),
             (QList<QByteArrayList>{{"statx", "close"}, {}}));
}

void RecycleSystemCallsTest::calls_data() {
    QTest::addColumn<QByteArrayList>("folders");
    QTest::addColumn<QByteArray>("type"); // of the volume; empty: at home
    QTest::newRow("at home, one folder") << QByteArrayList{"a"} << QByteArray();
    QTest::newRow("at home, folders in turn") << QByteArrayList{"a", "b", "c"} << QByteArray();
    for (const int count : {15, 16, 17}) { // sixteen folders are remembered
        QByteArrayList folders;
        for (int i = 0; i < count; ++i) {
            folders.append(QByteArray::number(i));
        }
        QTest::addRow("at home, %d folders in turn", count) << folders << QByteArray();
    }
    QTest::newRow("on a card, folders in turn") << QByteArrayList{"a", "b"} << QByteArray("ext4");
}

void RecycleSystemCallsTest::calls() {
    QFETCH(QByteArrayList, folders);
    QFETCH(QByteArray, type);
    VKTEST_NEEDS(!QStandardPaths::findExecutable(QStringLiteral("strace")).isEmpty(), "strace");
    VKTEST_NEEDS(type.isEmpty() || mountPrivately(), "root, to mount a volume");
    const std::unique_ptr<Volume> volume = type.isEmpty() ? nullptr : std::make_unique<Volume>(type);
    QVERIFY(volume == nullptr || volume->isMounted());
    const Home home;
    const QByteArray base =
        volume == nullptr ? makeFolder(QStringLiteral("traced")).toUtf8() : volume->folder();
    constexpr int kFiles = 40;
    QByteArray names;
    for (int i = 0; i < kFiles; ++i) {
        const QByteArray folder = base + '/' + folders.at(i % folders.size());
        if (!Disk::exists(folder)) {
            Disk::makeFolder(folder);
        }
        const QByteArray item = folder + "/IMG_" + QByteArray::number(i);
        Disk::makeFile(item, "abc");
        names += ' ' + item;
    }
    const QByteArray record = home.folder() + "/record";
    const QByteArray self = QCoreApplication::applicationFilePath().toUtf8();
    const Shell::Output output =
        Shell::outputOf("strace -f -e trace=%file,%process,%creds,read,write,close -o " + record + ' ' +
                        self + ' ' + kRecycleMode + names + " 2>&1");
    QVERIFY2(output.status == 0, output.text);
    const QList<QByteArrayList> files = parseRecord(Disk::contentOf(record));
    QCOMPARE(files.size(), kFiles + 1);
    for (qsizetype i = folders.size(); i < kFiles; ++i) { // the bin is found and made before
        const QByteArrayList least{"statx", "statx", "openat", "write", "close", "renameat2"};
        if (folders.size() <= 16) {
            QCOMPARE(files.at(i), least);
        } else { // the folder is looked at anew, the bin is known all the same
            QVERIFY(files.at(i).size() > least.size() && !files.at(i).contains("mkdir"));
        }
    }
}

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], kRecycleMode) == 0) {
        return recycleFiles(argc - 2, argv + 2);
    }
    return vkTestRun(argc, argv, [] { return std::make_unique<RecycleSystemCallsTest>(); });
}

#include "RecycleSystemCallsTest.moc"
