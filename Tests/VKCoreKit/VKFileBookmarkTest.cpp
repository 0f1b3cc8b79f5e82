// Bookmark data with statuses, outside a sandbox; the grants of real sandboxes have a test of their own.
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <VKCoreKit/VKCoreKit.h>

#include <CoreFoundation/CFQt.h>

#include <cerrno>

namespace {

using Url = VKCFRef<CFURLRef>;
using Data = VKCFRef<CFDataRef>;
using String = VKCFRef<CFStringRef>;

String stringOf(const QByteArray& text) {
    return String::adopt(CFStringCreateWithQString(QString::fromUtf8(text)));
}

Data bookmarkOf(const QByteArray& path) {
    CFDataRef data = nullptr;
    const VKStatus status = VKFileMgrCreateBookmarkFromChooser(stringOf("file://" + path).get(), &data);
    Disk::must(status == 0, "bookmark", path);
    return Data::adopt(data);
}

} // namespace

class VKFileBookmarkTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void chosenUrls_data();
    void chosenUrls();
    void resolves();
    void cancelled();
    void badArguments();
    void withdrawnWithoutAGrant();
};

void VKFileBookmarkTest::chosenUrls_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("file") << QByteArray("file:///etc/passwd") << kVKStatusSuccess;
    QTest::newRow("with a host") << QByteArray("file://localhost/etc/passwd") << kVKStatusSuccess;
    QTest::newRow("folder") << QByteArray("file:///etc/") << kVKStatusSuccess;
    QTest::newRow("escaped") << QByteArray("file:///%65tc/passwd") << kVKStatusSuccess;
    QTest::newRow("not there") << QByteArray("file:///etc/nothing") << VKStatus(ENOENT);
    QTest::newRow("another scheme") << QByteArray("smb://nas/a.jpg") << kVKStatusNotConvertible;
    QTest::newRow("no URL") << QByteArray("a b") << kVKStatusNotConvertible;
    QTest::newRow("empty") << QByteArray() << kVKStatusNotConvertible;
}

void VKFileBookmarkTest::chosenUrls() {
    QFETCH(const QByteArray, text);
    QFETCH(const VKStatus, status);
    CFDataRef data = nullptr;
    QCOMPARE(VKFileMgrCreateBookmarkFromChooser(stringOf(text).get(), &data), status);
    const Data owned = Data::adopt(data);
    QCOMPARE(bool(owned), status == kVKStatusSuccess);
}

void VKFileBookmarkTest::resolves() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/a.jpg");
    const Data data = bookmarkOf(folder + "/a.jpg");
    CFURLRef url = nullptr;
    bool isStale = true;
    QCOMPARE(VKFileMgrResolveBookmark(data.get(), nullptr, &url, &isStale), kVKStatusSuccess);
    QCOMPARE(CFURLCopyFileSystemBytes(Url::adopt(url).get()), QByteArray(folder + "/a.jpg"));
    QVERIFY(!isStale);
    QCOMPARE(::rename(Disk::text(folder + "/a.jpg"), Disk::text(folder + "/b.jpg")), 0);
    QCOMPARE(VKFileMgrResolveBookmark(data.get(), nullptr, &url, nullptr), kVKStatusSuccess);
    QCOMPARE(CFURLCopyFileSystemBytes(Url::adopt(url).get()), QByteArray(folder + "/b.jpg"));
}

void VKFileBookmarkTest::cancelled() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/a.jpg");
    const Data data = bookmarkOf(folder + "/a.jpg");
    VKProgress* const progress = VKProgressCreate(nullptr, nullptr);
    VKProgressSetCancel(progress, true);
    CFURLRef url = nullptr;
    bool isStale = true;
    // What needs no search is not cancelled.
    QCOMPARE(VKFileMgrResolveBookmark(data.get(), progress, &url, &isStale), kVKStatusSuccess);
    CFRelease(url);
    url = nullptr;
    QCOMPARE(::rename(Disk::text(folder + "/a.jpg"), Disk::text(folder + "/b.jpg")), 0);
    QCOMPARE(VKFileMgrResolveBookmark(data.get(), progress, &url, &isStale), kVKStatusCancelled);
    QVERIFY(url == nullptr);
    QVERIFY(!isStale);
    VKProgressSetCancel(progress, false);
    QCOMPARE(VKFileMgrResolveBookmark(data.get(), progress, &url, &isStale), kVKStatusSuccess);
    CFRelease(url);
    QVERIFY(isStale);
    VKProgressRelease(progress);
}

void VKFileBookmarkTest::badArguments() {
    const String text = stringOf("file:///etc/passwd");
    const Data data = bookmarkOf("/etc/passwd");
    const Data none = Data::adopt(CFDataCreateWithQByteArray("none"));
    CFDataRef made = nullptr;
    CFURLRef url = nullptr;
    QCOMPARE(VKFileMgrCreateBookmarkFromChooser(nullptr, &made), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrCreateBookmarkFromChooser(text.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrResolveBookmark(nullptr, nullptr, &url, nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrResolveBookmark(data.get(), nullptr, nullptr, nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrResolveBookmark(none.get(), nullptr, &url, nullptr), VKStatus(EINVAL));
    QCOMPARE(VKFileMgrGrantBookmark(nullptr, text.get(), VKFileRights::Read, &made), kVKStatusBadArgument);
    const Url file = Url::adopt(CFURLCreateWithString(nullptr, text.get(), nullptr));
    QCOMPARE(VKFileMgrGrantBookmark(file.get(), nullptr, VKFileRights::Read, &made), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrGrantBookmark(file.get(), text.get(), VKFileRights::Read, nullptr),
             kVKStatusBadArgument);
    QCOMPARE(VKFileMgrGrantBookmark(file.get(), stringOf("").get(), VKFileRights::Read, &made),
             VKStatus(EINVAL));
    QCOMPARE(VKFileMgrWithdrawBookmark(nullptr, text.get()), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrWithdrawBookmark(data.get(), nullptr), kVKStatusBadArgument);
    QVERIFY(made == nullptr);
    QVERIFY(url == nullptr);
}

void VKFileBookmarkTest::withdrawnWithoutAGrant() {
    QCOMPARE(VKFileMgrWithdrawBookmark(bookmarkOf("/etc/passwd").get(), stringOf("org.example.Photo").get()),
             VKStatus(EINVAL));
}

VKTEST_MAIN(VKFileBookmarkTest)
#include "VKFileBookmarkTest.moc"
