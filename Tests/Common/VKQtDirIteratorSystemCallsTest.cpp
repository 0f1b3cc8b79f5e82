// What a listing asks of the kernel, call by call: the program runs itself under strace, lists a folder there
// and reads the record.
#include "Common/PathFilterSupport.h"
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <VKQtDirIterator.h>

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace {

const char* const kListMode = "--list-the-folder";
const char* const kFolder = "listed";
const char* const kMark = "the listing begins or ends";

void mark() {
    // A call that nothing else makes, so that the record shows where the listing lies in it.
    if (::access(kMark, F_OK) == 0) {
        std::abort();
    }
}

/// The traced program: lists a folder below the working folder and prints how many entries there were.
int listTheFolder(const QString& changes, bool details) {
    const VKQtPath folder(QString::fromUtf8(kFolder), true);
    const VKQtPathFilter filter = filterWith(changes);
    int count = 0;
    mark();
    const std::unique_ptr<VKQtDirIterator> iterator(VKQtDirIterator::makeIterator(folder, filter));
    iterator->setFetchDetails(details);
    for (VKQtDirIterator::Entry entry; iterator->next(entry);) {
        ++count;
    }
    mark();
    std::printf("%d %u\n", count, iterator->status());
    return 0;
}

/// The calls between the two marks, in order, as "name of the call" or, for statx, "statx name of the entry".
struct Record {
    QStringList calls;
    int marks = 0;
};

Record parseRecord(const QString& text) {
    static const QRegularExpression sCall(QStringLiteral("^(?:\\d+ +)?(\\w+)\\("));
    static const QRegularExpression sStatx(QStringLiteral("statx\\(\\d+, \"([^\"]*)\""));
    Record record;
    for (const QString& line : text.split(u'\n', Qt::SkipEmptyParts)) {
        const QRegularExpressionMatch call = sCall.match(line);
        if (!call.hasMatch()) {
            continue;
        }
        if (line.contains(QString::fromUtf8(kMark))) {
            ++record.marks;
        } else if (record.marks == 1) {
            const QRegularExpressionMatch statx = sStatx.match(line);
            record.calls.append(statx.hasMatch() ? QString(QStringLiteral("statx ") + statx.captured(1))
                                                 : call.captured(1));
        }
    }
    return record;
}

} // namespace

class VKQtDirIteratorSystemCallsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void parsing_data();
    void parsing();
    void calls_data();
    void calls();
    void manyEntriesInFewReads();

private:
    /// Runs this program under strace in mRoot; false with mFailure set when that did not go well.
    bool trace(const QString& changes, bool details);

    QByteArray mRoot; // with its "/"
    QString mStrace;
    QString mFailure;
    Record mRecord;
    int mDelivered = 0;
};

void VKQtDirIteratorSystemCallsTest::initTestCase() {
    mRoot = makeFolder(QStringLiteral("traced")).toUtf8() + '/';
    mStrace = QStandardPaths::findExecutable(QStringLiteral("strace"));
    const QByteArray folder = mRoot + kFolder + '/';
    Disk::makeFolder(folder);
    for (const char* name : {"a.jpg", "b.JPG", "c.mov", "d.txt", "e", ".hidden.jpg", ".hidden.txt"}) {
        Disk::makeFile(folder + name);
    }
    for (const char* name : {"sub", "sub.jpg", "sub.lrdata", ".hiddensub"}) {
        Disk::makeFolder(folder + name);
    }
    Disk::makeLink(folder + "to file.jpg", "a.jpg");
    Disk::makeLink(folder + "to file.txt", "d.txt");
    Disk::makeLink(folder + "to sub", "sub");
    Disk::makeLink(folder + "to sub.lrdata", "sub");
    Disk::makeFifo(folder + "pipe.jpg");
    Disk::makeFifo(folder + "pipe");
}

bool VKQtDirIteratorSystemCallsTest::trace(const QString& changes, bool details) {
    const QString record = QString::fromUtf8(mRoot) + QStringLiteral("record");
    QProcess process;
    process.setWorkingDirectory(QString::fromUtf8(mRoot));
    process.start(mStrace,
                  {QStringLiteral("-f"), QStringLiteral("-s"), QStringLiteral("300"), QStringLiteral("-e"),
                   QStringLiteral("trace=%file,%%stat,getdents64,read,close"), QStringLiteral("-o"), record,
                   QCoreApplication::applicationFilePath(), QString::fromUtf8(kListMode), changes,
                   details ? QStringLiteral("details") : QStringLiteral("names")});
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        mFailure = process.errorString() + u' ' + QString::fromUtf8(process.readAllStandardError());
        return false;
    }
    const QString output = QString::fromUtf8(process.readAllStandardOutput());
    QFile file(record);
    if (!file.open(QIODevice::ReadOnly)) {
        mFailure = file.errorString();
        return false;
    }
    mRecord = parseRecord(QString::fromUtf8(file.readAll()));
    mDelivered = output.section(u' ', 0, 0).toInt();
    mFailure = output;
    return mRecord.marks == 2 && output.endsWith(u" 0\n");
}

void VKQtDirIteratorSystemCallsTest::parsing_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("calls");
    const QString begin = QStringLiteral("12 access(\"") + QString::fromUtf8(kMark) +
                          QStringLiteral("\", F_OK) = -1 ENOENT (No such file or directory)\n");
    QTest::newRow("nothing between the marks") << QString(begin + begin) << QStringList();
    QTest::newRow("only what lies between")
        << QString(QStringLiteral("12 read(3, \"\", 9) = 0\n") + begin +
                   QStringLiteral("12 openat(AT_FDCWD, \"x\", O_RDONLY) = 3\n"
                                  "12 statx(3, \"a.jpg\", AT_STATX_SYNC_AS_STAT, STATX_ALL, {...}) = 0\n") +
                   begin + QStringLiteral("12 close(3) = 0\n"))
        << QStringList{QStringLiteral("openat"), QStringLiteral("statx a.jpg")};
    QTest::newRow("without a process number, and failing")
        << QString(begin.mid(3) +
                   QStringLiteral("statx(3, \"gone\", 0, 0, 0x7) = -1 ENOENT (No such file)\n"))
        << QStringList{QStringLiteral("statx gone")};
}

void VKQtDirIteratorSystemCallsTest::parsing() {
    QFETCH(QString, text);
    QFETCH(QStringList, calls);
    QCOMPARE(parseRecord(text).calls, calls);
}

void VKQtDirIteratorSystemCallsTest::calls_data() {
    QTest::addColumn<QString>("changes");
    QTest::addColumn<bool>("details");
    QTest::addColumn<QStringList>("asked");
    QTest::addColumn<int>("delivered");
    const auto names = [](const char* list) {
        return QString::fromUtf8(list).split(u'|', Qt::SkipEmptyParts);
    };
    const QString none;
    QTest::newRow("one for each entry that is delivered, and for a link that could be a folder")
        << none << true << names("a.jpg|b.JPG|c.mov|pipe.jpg|sub|sub.jpg|to file.jpg|to file.txt|to sub")
        << 8;
    QTest::newRow("plain files and folders need none without details")
        << none << false << names("to file.jpg|to file.txt|to sub") << 8;
    QTest::newRow("files only: links whose name no file may have need none")
        << QStringLiteral("-folders") << true << names("a.jpg|b.JPG|c.mov|pipe.jpg|to file.jpg") << 5;
    QTest::newRow("files only, without details")
        << QStringLiteral("-folders") << false << names("to file.jpg") << 5;
    QTest::newRow("folders only: any link may be one")
        << QStringLiteral("-files") << true << names("sub|sub.jpg|to file.jpg|to file.txt|to sub") << 3;
    QTest::newRow("nothing is wanted, so nothing is asked")
        << QStringLiteral("-files -folders") << true << QStringList() << 0;
    QTest::newRow("everything")
        << QStringLiteral("+hidden +all") << true
        << names(".hidden.jpg|.hidden.txt|.hiddensub|a.jpg|b.JPG|c.mov|d.txt|e|pipe|pipe.jpg|sub|sub.jpg|"
                 "to file.jpg|to file.txt|to sub|to sub.lrdata")
        << 15;
    QTest::newRow("everything, without details")
        << QStringLiteral("+hidden +all") << false << names("to file.jpg|to file.txt|to sub|to sub.lrdata")
        << 15;
}

void VKQtDirIteratorSystemCallsTest::calls() {
    QFETCH(QString, changes);
    QFETCH(bool, details);
    QFETCH(QStringList, asked);
    QFETCH(int, delivered);
    VKTEST_NEEDS(!mStrace.isEmpty(), "strace");
    QVERIFY2(trace(changes, details), qPrintable(mFailure));
    QCOMPARE(mDelivered, delivered);
    QStringList entries;
    QStringList others;
    for (const QString& call : mRecord.calls) {
        const bool statx = call.startsWith(u"statx ");
        (statx ? entries : others).append(statx ? call.mid(6) : call);
    }
    std::sort(entries.begin(), entries.end());
    QCOMPARE(entries, asked);
    // A relative folder is looked up once. One block holds the names; the second read says that there are no
    // more. Nothing else touches files.
    const QStringList expected = {QStringLiteral("getcwd"), QStringLiteral("openat"),
                                  QStringLiteral("getdents64"), QStringLiteral("getdents64"),
                                  QStringLiteral("close")};
    QCOMPARE(others, expected);
}

void VKQtDirIteratorSystemCallsTest::manyEntriesInFewReads() {
    VKTEST_NEEDS(!mStrace.isEmpty(), "strace");
    constexpr int kCount = 5000;
    const QByteArray folder = mRoot + kFolder + '/';
    for (int i = 0; i < kCount; ++i) {
        const QByteArray name = folder + "many " + QByteArray::number(i) + ".jpg";
        Disk::must(::link(Disk::text(folder + "a.jpg"), name.constData()) == 0, "link", name);
    }
    QVERIFY2(trace(QStringLiteral("-folders"), true), qPrintable(mFailure));
    QCOMPARE(mDelivered, kCount + 5);
    const qsizetype reads = mRecord.calls.count(QStringLiteral("getdents64"));
    QVERIFY2(reads <= 4, qPrintable(QString::number(reads)));
    const auto isStatx = [](const QString& call) { return call.startsWith(u"statx "); };
    QCOMPARE(std::count_if(mRecord.calls.cbegin(), mRecord.calls.cend(), isStatx), kCount + 5);
}

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], kListMode) == 0) {
        return listTheFolder(QString::fromUtf8(argv[2]), std::strcmp(argv[3], "details") == 0);
    }
    return vkTestRun(argc, argv, [] {
        return std::unique_ptr<QObject>(std::make_unique<VKQtDirIteratorSystemCallsTest>());
    });
}
#include "VKQtDirIteratorSystemCallsTest.moc"
