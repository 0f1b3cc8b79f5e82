// What resolving an unmoved bookmark asks of the kernel, call by call: the program runs itself under strace and
// reads the record.
#include "Platform/Bookmarks.h"
#include "Platform/DocumentPortal.h"
#include "Platform/Sandbox.h"
#include "Support/DiskSupport.h"
#include "Support/LoopFileSystem.h"
#include "Support/PortalSupport.h"
#include "Support/VKTest.h"

#include <memory>

using namespace VKPlatform;

namespace {

constexpr char kMark[] = "resolving begins or ends";

void mark() {
    // A call that nothing else makes, so that the record shows where resolving lies in it.
    if (::access(kMark, F_OK) == 0) {
        std::abort();
    }
}

/// The traced program: resolves the bookmark in a file, and again, and answers whether it was fresh.
int resolveTwice(const QByteArray& file, bool inSandbox) {
    const QByteArray data = Disk::contentOf(file);
    if (inSandbox) {
        setSandboxAnswer(SandboxAnswer::Sandboxed);
    }
    ResolvedBookmark item;
    int error = resolveBookmark(data, {}, item); // what is looked at once, as which run of the system this is
    mark();
    error |= resolveBookmark(data, {}, item);
    mark();
    return error == 0 && !item.isStale ? 0 : 1;
}

/// The names of the calls between the marks.
QByteArrayList callsIn(const QByteArray& record) {
    QByteArrayList calls;
    int marks = 0;
    for (const QByteArray& line : record.split('\n')) {
        const qsizetype end = line.indexOf('(');
        if (line.contains(kMark)) {
            ++marks;
        } else if (marks == 1 && end > 0) {
            calls.append(line.first(end).split(' ').last());
        }
    }
    return marks == 2 ? calls : QByteArrayList{"no record"};
}

} // namespace

class BookmarksSystemCallsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void unmoved_data();
    void unmoved();
    void document();

private:
    static QByteArrayList trace(const QByteArray& folder, const QByteArray& data, const char* mode);
};

QByteArrayList BookmarksSystemCallsTest::trace(const QByteArray& folder, const QByteArray& data,
                                               const char* mode) {
    const QByteArray file = folder + "/data";
    const QByteArray record = folder + "/record";
    Disk::makeFile(file, data);
    const Shell::Output output = Shell::outputOf("strace -o '" + record + "' '" + Portal::thisProgram() +
                                                 "' " + mode + " '" + file + "' 2>&1");
    return output.status == 0 ? callsIn(Disk::contentOf(record)) : QByteArrayList{"failed", output.text};
}

void BookmarksSystemCallsTest::unmoved_data() {
    QTest::addColumn<QByteArray>("type");
    for (const char* type : {"ext4", "btrfs", "exfat"}) {
        QTest::newRow(type) << QByteArray(type);
    }
}

void BookmarksSystemCallsTest::unmoved() {
    QFETCH(const QByteArray, type);
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFolder(folder + "/mount");
    const Disk::LoopFileSystem disk(type.constData(), folder + "/mount");
    VKTEST_NEEDS(disk.isMounted() && Disk::exists("/usr/bin/strace"), "root, loop devices and strace");
    const QByteArray photo = folder + "/mount/a.jpg";
    Disk::makeFile(photo, "photo");
    FileIdentity identity;
    QCOMPARE(identify(photo, identity), 0);
    VKTEST_NEEDS(type != "exfat" || identity.mountId != 0,
                 "Linux 6.8, which numbers mounts once and for all");
    QByteArray data;
    QCOMPARE(createBookmark(photo, data), 0);
    const QByteArrayList calls = trace(folder, data, "resolve");
    QCOMPARE(calls, (QByteArrayList{"openat", "statx", "name_to_handle_at", "close"}));
}

void BookmarksSystemCallsTest::document() {
    VKTEST_NEEDS(Disk::exists("/usr/bin/strace"), "strace");
    const QByteArray folder = makeFolder().toUtf8();
    const QByteArray documents = qgetenv("XDG_RUNTIME_DIR") + "/doc";
    Disk::makeFolder(documents);
    Disk::makeFolder(documents + "/9c3e");
    Disk::makeFile(documents + "/9c3e/a.jpg");
    QByteArray data;
    QCOMPARE(createBookmark(documents + "/9c3e/a.jpg", data), 0);
    const QByteArrayList calls = trace(folder, data, "resolve-in-sandbox");
    Disk::removeTree(documents);
    QVERIFY2(calls.size() <= 5 && !calls.isEmpty() && calls.first() != "failed", calls.join(' ').constData());
    QCOMPARE(calls.count("openat"), 0);
}

int main(int argc, char** argv) {
    if (argc == 3 && QByteArray(argv[1]).startsWith("resolve")) {
        return resolveTwice(argv[2], QByteArray(argv[1]).endsWith("sandbox"));
    }
    return vkTestRun(argc, argv, [] { return std::make_unique<BookmarksSystemCallsTest>(); });
}

#include "BookmarksSystemCallsTest.moc"
