// Whole files by URL: limits, what an existing file keeps, and what happens to it when the writer is stopped.
#include "VKCoreKit/VKFileMgr.h"

#include "CoreKitSupport.h"
#include "Support/DiskSupport.h"
#include "Support/FaultInjection.h"
#include "Support/LoopFileSystem.h"
#include "Support/OddNames.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/xattr.h>

using namespace CoreKit;

class VKFileMgrContentsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void writtenIsReadEqual_data();
    void writtenIsReadEqual();
    void wrongArguments();
    void statuses();
    void readLimit();
    void names_data();
    void names();
    void keepsWhatTheFileHas_data();
    void keepsWhatTheFileHas();
    void newFileHasWhatItsFolderSays();
    void linkIsHonoured();
    void exfat();
    void memoryIsShort();
    void fullVolume();
    void readOnlyVolume();
    void otherUser();
    void twoProcesses();
    void killedWriters();

private:
    QByteArray mRoot;
};

namespace {

VKCFRef<CFDataRef> dataOf(const QByteArray& bytes) {
    return VKCFRef<CFDataRef>::adopt(CFDataCreateWithQByteArray(bytes));
}

VKStatus writeTo(const QByteArray& path, const QByteArray& bytes) {
    return VKFileMgrWriteFileContents(dataOf(bytes).get(), makeUrl(path).get());
}

QByteArray attributeOf(const QByteArray& path, const char* name) {
    QByteArray value(1024, Qt::Uninitialized);
    const ssize_t size =
        ::getxattr(path.constData(), name, value.data(), static_cast<std::size_t>(value.size()));
    return size < 0 ? QByteArray() : value.first(size);
}

} // namespace

void VKFileMgrContentsTest::init() {
    VKTest::init();
    mRoot = makeFolder(QStringLiteral("contents")).toUtf8();
}

void VKFileMgrContentsTest::cleanup() {
    VKFileMgrSetReadLimit(std::uint64_t{2} << 30);
    Disk::removeTree(mRoot);
}

void VKFileMgrContentsTest::writtenIsReadEqual_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("one byte") << QByteArray("x");
    QTest::newRow("NULs") << QByteArray("a\0b\0", 4);
    QTest::newRow("a page") << QByteArray(4096, 'p');
    QTest::newRow("a megabyte and one") << QByteArray((1 << 20) + 1, 'm');
}

void VKFileMgrContentsTest::writtenIsReadEqual() {
    QFETCH(QByteArray, bytes);
    QCOMPARE(writeTo(mRoot + "/a", bytes), kVKStatusSuccess);
    VKCFRef<CFDataRef> data;
    QCOMPARE(VKFileMgrGetFileContentsCopy(makeUrl(mRoot + "/a").get(), data.out()), kVKStatusSuccess);
    QCOMPARE(CFDataCopyQByteArray(data.get()), bytes);
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex(1));
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a"});
}

void VKFileMgrContentsTest::wrongArguments() {
    const auto url = makeUrl(mRoot + "/a");
    CFDataRef data = dataOf("x").get();
    QCOMPARE(VKFileMgrWriteFileContents(nullptr, url.get()), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrWriteFileContents(dataOf("x").get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrWriteFileContents(dataOf("x").get(), makeWebUrl().get()), kVKStatusNotConvertible);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList());
    QCOMPARE(VKFileMgrGetFileContentsCopy(nullptr, &data), kVKStatusBadArgument);
    QVERIFY(data == nullptr);
    QCOMPARE(VKFileMgrGetFileContentsCopy(makeWebUrl().get(), &data), kVKStatusNotConvertible);
    QCOMPARE(VKFileMgrGetFileContentsCopy(url.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrGetFileContentsWithLimitCopy(url.get(), 1, nullptr), kVKStatusBadArgument);
}

void VKFileMgrContentsTest::statuses() {
    Disk::makeFolder(mRoot + "/folder");
    Disk::makeFifo(mRoot + "/fifo");
    Disk::makeFile(mRoot + "/file", "old");
    CFDataRef data = nullptr;
    const auto read = [&](const char* name) {
        return VKFileMgrGetFileContentsCopy(makeUrl(mRoot + name).get(), &data);
    };
    QCOMPARE(read("/none"), VKStatus(2));
    QCOMPARE(read("/folder"), VKStatus(21));
    QCOMPARE(read("/fifo"), VKStatus(95));
    QCOMPARE(read("/file/a"), VKStatus(20));
    QVERIFY(data == nullptr);
    QCOMPARE(writeTo(mRoot + "/folder", "new"), VKStatus(21));
    QCOMPARE(writeTo(mRoot + "/fifo", "new"), VKStatus(95));
    QCOMPARE(writeTo(mRoot + "/none/a", "new"), VKStatus(2));
    QCOMPARE(Disk::namesIn(mRoot), (QByteArrayList{"fifo", "file", "folder"}));
}

void VKFileMgrContentsTest::readLimit() {
    Disk::makeFile(mRoot + "/a", QByteArray(1000, 'x'));
    const auto url = makeUrl(mRoot + "/a");
    for (const std::uint64_t limit : {999U, 1000U, 1001U}) {
        VKFileMgrSetReadLimit(limit);
        VKCFRef<CFDataRef> data;
        QCOMPARE(VKFileMgrGetFileContentsCopy(url.get(), data.out()),
                 limit < 1000 ? VKStatus(27) : kVKStatusSuccess);
        QCOMPARE(data.get() == nullptr, limit < 1000);
        VKFileMgrSetReadLimit(1);
        QCOMPARE(VKFileMgrGetFileContentsWithLimitCopy(url.get(), limit, data.out()),
                 limit < 1000 ? VKStatus(27) : kVKStatusSuccess);
    }
    // The limit at first: 2 GiB.
    VKFileMgrSetReadLimit(std::uint64_t{2} << 30);
    QCOMPARE(::truncate(Disk::text(mRoot + "/a"), (std::int64_t{2} << 30) + 1), 0);
    VKCFRef<CFDataRef> data;
    QCOMPARE(VKFileMgrGetFileContentsCopy(url.get(), data.out()), VKStatus(27));
}

void VKFileMgrContentsTest::names_data() { addOddNameRows(); }

void VKFileMgrContentsTest::names() {
    QFETCH(QByteArray, name);
    Disk::makeFile(mRoot + '/' + name, "old");
    const QString text =
        takeText(VKFileMgrGetFileSystemRepresentationCopy(makeUrl(mRoot + '/' + name).get()));
    const auto url =
        VKCFRef<CFURLRef>::adopt(VKFileMgrCreateFileSystemRepresentation(makeString(text).get(), false));
    QCOMPARE(VKFileMgrWriteFileContents(dataOf("new").get(), url.get()), kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{name});
    QCOMPARE(Disk::contentOf(mRoot + '/' + name), QByteArray("new"));
    VKCFRef<CFDataRef> data;
    QCOMPARE(VKFileMgrGetFileContentsCopy(url.get(), data.out()), kVKStatusSuccess);
    QCOMPARE(CFDataCopyQByteArray(data.get()), QByteArray("new"));
}

void VKFileMgrContentsTest::keepsWhatTheFileHas_data() { Disk::addFileSystemRows(); }

void VKFileMgrContentsTest::keepsWhatTheFileHas() {
    QFETCH(QByteArray, type);
    Disk::makeFolder(mRoot + "/volume");
    const Disk::LoopFileSystem volume(type.constData(), mRoot + "/volume");
    VKTEST_NEEDS(volume.isMounted(), "root, loop devices and the tools of the file system");
    const QByteArray path = mRoot + "/volume/a.xmp";
    Disk::makeFile(path, "old");
    QCOMPARE(::chmod(path.constData(), 0640), 0);
    QVERIFY(Disk::runs("setfacl -m u:65534:rw '" + path + '\''));
    QCOMPARE(::setxattr(path.constData(), "user.rating", "5", 1, 0), 0);
    QCOMPARE(::setxattr(path.constData(), "user.empty", "", 0, 0), 0);
    const QByteArray large(500, 'v');
    QCOMPARE(::setxattr(path.constData(), "user.large", large.constData(), 500, 0), 0);
    const QByteArray list = attributeOf(path, "system.posix_acl_access");
    QVERIFY(!list.isEmpty());
    const unsigned mode = Disk::modeOf(path);
    QCOMPARE(writeTo(path, "new"), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(path), QByteArray("new"));
    QCOMPARE(Disk::modeOf(path), mode);
    QCOMPARE(attributeOf(path, "system.posix_acl_access"), list);
    QCOMPARE(attributeOf(path, "user.rating"), QByteArray("5"));
    QVERIFY(!attributeOf(path, "user.empty").isNull());
    QCOMPARE(attributeOf(path, "user.large"), large);
    // A file without a list in a folder that would give it one.
    QVERIFY(Disk::runs("setfacl -d -m u:65534:rwx '" + mRoot + "/volume'"));
    Disk::makeFile(mRoot + "/volume/plain", "old");
    QVERIFY(Disk::runs("setfacl -b '" + mRoot + "/volume/plain'"));
    QCOMPARE(::chmod(Disk::text(mRoot + "/volume/plain"), 0600), 0);
    QCOMPARE(writeTo(mRoot + "/volume/plain", "new"), kVKStatusSuccess);
    QVERIFY(attributeOf(mRoot + "/volume/plain", "system.posix_acl_access").isEmpty());
    QCOMPARE(Disk::modeOf(mRoot + "/volume/plain"), 0600U);
}

void VKFileMgrContentsTest::newFileHasWhatItsFolderSays() {
    const mode_t before = ::umask(0027);
    const VKStatus status = writeTo(mRoot + "/a", "new");
    ::umask(before);
    QCOMPARE(status, kVKStatusSuccess);
    QCOMPARE(Disk::modeOf(mRoot + "/a"), 0640U);
}

void VKFileMgrContentsTest::linkIsHonoured() {
    Disk::makeFolder(mRoot + "/real");
    Disk::makeFile(mRoot + "/real/a", "old");
    Disk::makeLink(mRoot + "/link", "real/a");
    QCOMPARE(writeTo(mRoot + "/link", "new"), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(mRoot + "/real/a"), QByteArray("new"));
    QCOMPARE(Disk::namesIn(mRoot + "/real"), QByteArrayList{"a"});
    char target[16] = {};
    QCOMPARE(::readlink(Disk::text(mRoot + "/link"), target, sizeof target), ssize_t(6));
}

// A file system that keeps neither modes nor attributes, and ignores case.
void VKFileMgrContentsTest::exfat() {
    const Disk::LoopFileSystem exfat("exfat", mRoot);
    VKTEST_NEEDS(exfat.isMounted(), "root, loop devices and exfat in user space");
    QCOMPARE(writeTo(mRoot + "/Photo.xmp", "old"), kVKStatusSuccess);
    QCOMPARE(writeTo(mRoot + "/Photo.xmp", "new"), kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"Photo.xmp"});
    QCOMPARE(Disk::contentOf(mRoot + "/photo.XMP"), QByteArray("new"));
    QCOMPARE(writeTo(mRoot + "/photo.xmp", "newer"), kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(mRoot).size(), 1);
    QCOMPARE(Disk::contentOf(mRoot + "/Photo.xmp"), QByteArray("newer"));
}

void VKFileMgrContentsTest::memoryIsShort() {
    VKTEST_NEEDS_ALLOCATION_FAULTS();
    Disk::makeFile(mRoot + "/a", "old");
    const auto url = makeUrl(mRoot + "/a");
    const auto data = dataOf("new");
    Faults::Loop faults(Faults::kAllocations, ENOMEM);
    while (faults.next()) {
        VKStatus status = 0;
        {
            const Faults::Armed armed = faults.arm();
            status = VKFileMgrWriteFileContents(data.get(), url.get());
        }
        QCOMPARE(status, faults.wasMet() ? VKStatus(ENOMEM) : kVKStatusSuccess);
        QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a"});
        QCOMPARE(Disk::contentOf(mRoot + "/a"), faults.wasMet() ? QByteArray("old") : QByteArray("new"));
    }
    QVERIFY(faults.met() > 2);
}

void VKFileMgrContentsTest::fullVolume() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    const Disk::TemporaryFileSystem memory(mRoot, "size=1m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    Disk::makeFile(mRoot + "/a", "old");
    QCOMPARE(writeTo(mRoot + "/a", QByteArray(3 << 20, 'x')), VKStatus(28));
    QCOMPARE(writeTo(mRoot + "/b", QByteArray(3 << 20, 'x')), VKStatus(28));
    QCOMPARE(Disk::contentOf(mRoot + "/a"), QByteArray("old"));
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a"});
    QCOMPARE(writeTo(mRoot + "/a", QByteArray(900 << 10, 'y')), kVKStatusSuccess);
}

void VKFileMgrContentsTest::readOnlyVolume() {
    Disk::LoopFileSystem ext4("ext4", mRoot);
    VKTEST_NEEDS(ext4.isMounted(), "root and loop devices");
    Disk::makeFile(mRoot + "/a", "old");
    QVERIFY(ext4.becomeReadOnly());
    QCOMPARE(writeTo(mRoot + "/a", "new"), VKStatus(EROFS));
    QCOMPARE(writeTo(mRoot + "/b", "new"), VKStatus(EROFS));
    VKCFRef<CFDataRef> data;
    QCOMPARE(VKFileMgrGetFileContentsCopy(makeUrl(mRoot + "/a").get(), data.out()), kVKStatusSuccess);
    QCOMPARE(CFDataCopyQByteArray(data.get()), QByteArray("old"));
}

void VKFileMgrContentsTest::otherUser() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    QCOMPARE(::chmod(mRoot.constData(), 0777), 0);
    Disk::makeFile(mRoot + "/private", "old");
    QCOMPARE(::chmod(Disk::text(mRoot + "/private"), 0600), 0);
    Disk::makeFile(mRoot + "/readOnly", "old");
    const QByteArray root = mRoot;
    const auto asOther = [](const std::function<VKStatus()>& call) {
        return Disk::asOtherUser([&call] { return static_cast<int>(call()); });
    };
    QCOMPARE(asOther([&] { return writeTo(root + "/private", "new"); }), EACCES);
    QCOMPARE(asOther([&] { return writeTo(root + "/readOnly", "new"); }), EACCES);
    QCOMPARE(asOther([&] {
                 VKCFRef<CFDataRef> data;
                 return VKFileMgrGetFileContentsCopy(makeUrl(root + "/private").get(), data.out());
             }),
             EACCES);
    QCOMPARE(asOther([&] { return writeTo(root + "/own", "new"); }), 0);
    QCOMPARE(Disk::contentOf(mRoot + "/private"), QByteArray("old"));
    QCOMPARE(Disk::namesIn(mRoot), (QByteArrayList{"own", "private", "readOnly"}));
}

namespace {

QByteArray version(char letter) { return QByteArray(300'000, letter); }

/// The file is one of the versions, whole.
bool isWhole(const QByteArray& content) {
    return content.size() == 300'000 && content == version(content.front());
}

} // namespace

// Whoever reads meanwhile sees one whole version.
void VKFileMgrContentsTest::twoProcesses() {
    QCOMPARE(writeTo(mRoot + "/a", version('0')), kVKStatusSuccess);
    const auto start = [this](char letter) {
        const pid_t child = ::fork();
        if (child == 0) {
            int failures = 0;
            for (int round = 0; round < 40; ++round) {
                failures += writeTo(mRoot + "/a", version(letter)) == kVKStatusSuccess ? 0 : 1;
            }
            ::_exit(failures == 0 ? 0 : 1);
        }
        return child;
    };
    const pid_t children[] = {start('1'), start('2')};
    int seen = 0;
    int broken = 0;
    int status = -1;
    while (::waitpid(children[0], &status, WNOHANG) == 0) {
        VKCFRef<CFDataRef> data;
        const VKStatus read = VKFileMgrGetFileContentsCopy(makeUrl(mRoot + "/a").get(), data.out());
        broken += read == kVKStatusSuccess && isWhole(CFDataCopyQByteArray(data.get())) ? 0 : 1;
        ++seen;
    }
    QCOMPARE(status, 0);
    QCOMPARE(::waitpid(children[1], &status, 0), children[1]);
    QCOMPARE(status, 0);
    QVERIFY(seen > 0);
    QCOMPARE(broken, 0);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a"});
}

// Stopped anywhere, the writer leaves a whole file; its hidden temporary one may stay.
void VKFileMgrContentsTest::killedWriters() {
    QCOMPARE(writeTo(mRoot + "/a", version('0')), kVKStatusSuccess);
    for (int round = 0; round < 40; ++round) {
        int ready[2];
        QCOMPARE(::pipe2(ready, O_CLOEXEC), 0);
        const pid_t child = ::fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            for (int n = 0;; ++n) {
                if (writeTo(mRoot + "/a", version(static_cast<char>('a' + n % 26))) != kVKStatusSuccess ||
                    ::write(ready[1], "x", 1) != 1) {
                    ::_exit(1);
                }
            }
        }
        // After some whole writes, and then anywhere in the next one.
        char byte = 0;
        for (int n = 0; n <= round % 3; ++n) {
            QCOMPARE(::read(ready[0], &byte, 1), ssize_t(1));
        }
        QCOMPARE(::kill(child, SIGKILL), 0);
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QVERIFY(WIFSIGNALED(status));
        ::close(ready[0]);
        ::close(ready[1]);
        QVERIFY(isWhole(Disk::contentOf(mRoot + "/a")));
    }
    for (const QByteArray& name : Disk::namesIn(mRoot)) {
        QVERIFY2(name == "a" || name.startsWith(".a."), name.constData());
    }
}

VKTEST_MAIN(VKFileMgrContentsTest)
#include "VKFileMgrContentsTest.moc"
