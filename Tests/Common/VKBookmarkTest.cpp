// One bookmark: creating, the kept form, resolving, checkouts, ownership. The bookmark calls below it are a
// stand-in, so that every answer of a sandbox can be had.
#include "BookmarkStandIn.h"

#include "Support/DiskSupport.h"
#include "Support/VKTest.h"
#include "VKCoreKit/CoreKitSupport.h"

#include <VKBookmark.h>
#include <VKBookmarkManager.h>
#include <VKCoreKit/VKUtils.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using BookmarkStandIn::dataOf;
using BookmarkStandIn::openScopes;

namespace {

using Data = VKCFRef<CFDataRef>;
using Url = VKCFRef<CFURLRef>;
using Info = VKCFRef<CFMutableDictionaryRef>;

struct BookmarkReleaser {
    void operator()(VKBookmark* bookmark) const { bookmark->Release(); }
};
using Owned = std::unique_ptr<VKBookmark, BookmarkReleaser>;

Owned makeBookmark() { return Owned(new VKBookmark); }

Info makeInfo() {
    return Info::adopt(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                 &kCFTypeDictionaryValueCallBacks));
}

/// A dictionary as a former run kept it; null data is left out.
Info makeInfo(const QString& path, CFDataRef data, int file) {
    Info info = makeInfo();
    CFDictionarySetValue(info.get(), kBookmarkPath, CoreKit::makeString(path).get());
    if (data != nullptr) {
        CFDictionarySetValue(info.get(), kBookmarkData, data);
    }
    VKUtilsCFDictionarySetValueInt(info.get(), kBookmarkFile, file);
    VKUtilsCFDictionarySetValueInt(info.get(), kBookmarkRefcon, 42);
    return info;
}

QByteArray textOf(CFURLRef url) {
    return url != nullptr ? CFStringCopyQString(CFURLGetString(url)).toUtf8() : QByteArray("(null)");
}

VKBookmarkManager::BookmarkData* recordOf(const QByteArray& path, bool isFolder = false) {
    return VKBookmarkManager::sharedInstance()->getBookmarkData(CoreKit::makeUrl(path, isFolder).get(), true);
}

/// Loaded from its kept form; granted and registered.
Owned makeLoaded(const QByteArray& path) {
    BookmarkStandIn::grant(path);
    Owned bookmark = makeBookmark();
    const Info info = makeInfo(QString::fromUtf8(path), dataOf(path).get(), 1);
    return bookmark->load(info.get()) == kVKStatusSuccess ? std::move(bookmark) : Owned();
}

} // namespace

class VKBookmarkTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void newObject();
    void copies();
    void initClears();
    void fieldsOwnWhatTheyHold();

    void creating_data();
    void creating();
    void creatingFromAUrl();
    void creatingFails();
    void creatingFromNoPath_data();
    void creatingFromNoPath();
    void creatingOutsideASandbox();

    void resolvingWithoutData_data();
    void resolvingWithoutData();
    void resolvingWithData();
    void resolvingOutsideASandbox();
    void resolvingFailsOnce();
    void resolvingFailsSilently();
    void settingTheUrl();

    void info();
    void infoWithoutPathAndData();
    void keptForm();
    void roundTrip_data();
    void roundTrip();
    void savingAppends();
    void savingNoUnicode();

    void loadingWithoutName();
    void loadingWithoutKind();
    void loadingOddTypes();
    void loadingNumbers_data();
    void loadingNumbers();
    void loadingRegisters();
    void loadingWithoutDataMakesAFolderUrl();
    void loadingTwice();
    void loadingTwiceChecksIn();
    void loadingBytes_data();
    void loadingBytes();
    void loadingFormerFiles();

    void checkouts();
    void checkoutsOutsideASandbox();
    void checkoutRefusedForEver();
    void entitledIsRefused();
    void checkinOutsideTheSandbox();
    void destructorChecksIn();
    void destructorAfterTheManager();
    void sandboxAccess();
    void comparing_data();
    void comparing();
    void sortsAsACallBack();
    void referencesBalance();

private:
    std::unique_ptr<BookmarkStandIn::Process> mProcess;
};

void VKBookmarkTest::init() {
    VKTest::init();
    BookmarkStandIn::reset();
    mProcess = std::make_unique<BookmarkStandIn::Process>(VKSandboxAnswer::Sandboxed);
}

void VKBookmarkTest::cleanup() {
    VKBookmarkManager::deleteInstance();
    mProcess.reset();
}

void VKBookmarkTest::newObject() {
    const Owned bookmark = makeBookmark();
    QCOMPARE(bookmark->path(), QString());
    QVERIFY(bookmark->makePath().path().isEmpty());
    QCOMPARE(bookmark->data(), nullptr);
    QCOMPARE(bookmark->resolveUrlPath(), nullptr);
    QCOMPARE(bookmark->refcon(), 0);
    QCOMPARE(bookmark->checkoutCount(), 0);
    QVERIFY(!bookmark->isFile());
    QVERIFY(!bookmark->checkoutRefused());
    QVERIFY(!bookmark->fileIsRemoved());
    QCOMPARE(bookmark->AddRef(), 2U);
    QCOMPARE(bookmark->Release(), 1U);

    const Owned named(new VKBookmark(CFSTR("/photos/a")));
    QCOMPARE(named->path(), u"/photos/a"_s);
    QVERIFY(named->makePath().isFolder());
}

void VKBookmarkTest::copies() {
    Owned original = makeLoaded("/photos/a.jpg");
    QVERIFY(original);
    original->setFileIsRemoved(true);
    original->checkout();
    QCOMPARE(original->checkoutCount(), 1);
    const int resolvedBefore = BookmarkStandIn::resolved();
    {
        const Owned copy(new VKBookmark(*original));
        QCOMPARE(copy->path(), original->path());
        QCOMPARE(copy->data(), original->data());
        QCOMPARE(copy->isFile(), true);
        QCOMPARE(copy->refcon(), 42);
        QCOMPARE(copy->checkoutCount(), 0);
        QVERIFY(!copy->checkoutRefused());
        QVERIFY(!copy->fileIsRemoved());
        QCOMPARE(textOf(copy->resolveUrlPath()), QByteArray("file:///photos/a.jpg"));
        QCOMPARE(BookmarkStandIn::resolved(), resolvedBefore + 1); // it found its URL by itself
    }
    QCOMPARE(openScopes("file:///photos/a.jpg"), 1); // the copy had nothing to check in
}

void VKBookmarkTest::initClears() {
    const Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    bookmark->checkout();
    bookmark->checkout();
    bookmark->setFileIsRemoved(true);
    bookmark->init();
    QCOMPARE(openScopes("file:///photos/a.jpg"), 0);
    QCOMPARE(bookmark->path(), QString());
    QCOMPARE(bookmark->data(), nullptr);
    QCOMPARE(bookmark->resolveUrlPath(), nullptr);
    QCOMPARE(bookmark->refcon(), 0);
    QCOMPARE(bookmark->checkoutCount(), 0);
    QVERIFY(!bookmark->isFile() && !bookmark->fileIsRemoved() && !bookmark->checkoutRefused());
}

void VKBookmarkTest::fieldsOwnWhatTheyHold() {
    const auto path = CoreKit::makeString(u"/photos/some text of its own"_s);
    const auto other = CoreKit::makeString(u"/photos/another one"_s);
    const Data data = dataOf("/a");
    const Url url = CoreKit::makeUrl("/photos/a");
    {
        const Owned bookmark = makeBookmark();
        for (int i = 0; i < 2; ++i) { // the same again holds one reference
            bookmark->setPath(path.get());
            bookmark->setData(data.get());
            bookmark->setUrlPath(url.get());
            QCOMPARE(CFGetRetainCount(path.get()), CFIndex{2});
            QCOMPARE(CFGetRetainCount(data.get()), CFIndex{2});
            QCOMPARE(CFGetRetainCount(url.get()), CFIndex{2});
        }
        QCOMPARE(bookmark->resolveUrlPath(), url.get());
        bookmark->setUrlPath(bookmark->resolveUrlPath());
        QCOMPARE(bookmark->resolveUrlPath(), url.get());
        bookmark->setPath(other.get());
        QCOMPARE(CFGetRetainCount(path.get()), CFIndex{1});
        bookmark->setPath(u"/text"_s);
        QCOMPARE(bookmark->path(), u"/text"_s);
        QCOMPARE(CFGetRetainCount(other.get()), CFIndex{1});
        bookmark->setData(nullptr);
        QCOMPARE(CFGetRetainCount(data.get()), CFIndex{1});
        bookmark->setPath(path.get());
        bookmark->setPath(CFStringRef{nullptr});
        QCOMPARE(bookmark->path(), QString());
        bookmark->setPath(path.get());
        bookmark->setData(data.get());
    }
    QCOMPARE(CFGetRetainCount(path.get()), CFIndex{1});
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex{1});
    QCOMPARE(CFGetRetainCount(url.get()), CFIndex{1});
}

void VKBookmarkTest::creating_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("isFolder");
    QTest::addColumn<QByteArray>("url");
    QTest::newRow("file") << u"/photos/a b.jpg"_s << false << QByteArray("file:///photos/a%20b.jpg");
    QTest::newRow("folder") << u"/photos"_s << true << QByteArray("file:///photos/");
    QTest::newRow("composed text") << u"/Café"_s << true << QByteArray("file:///Caf%C3%A9/");
}

void VKBookmarkTest::creating() {
    QFETCH(QString, path);
    QFETCH(bool, isFolder);
    QFETCH(QByteArray, url);
    const auto string = CoreKit::makeString(path);
    for (const bool fromString : {false, true}) {
        VKBookmark* made = nullptr;
        QCOMPARE(fromString ? VKBookmark::create(string.get(), isFolder, made)
                            : VKBookmark::create(path, isFolder, made),
                 kVKStatusSuccess);
        const Owned bookmark(made);
        QCOMPARE(bookmark->path(), path);
        QCOMPARE(bookmark->isFile(), !isFolder);
        QCOMPARE(bookmark->makePath().isFolder(), isFolder);
        QCOMPARE(textOf(bookmark->resolveUrlPath()), url);
        QCOMPARE(CFDataCopyQByteArray(bookmark->data()), QByteArray("item:" + path.toUtf8()));
        QCOMPARE(CFGetRetainCount(bookmark->data()), CFIndex{1});
        QCOMPARE(BookmarkStandIn::resolved(), 0); // the URL is known
        QCOMPARE(BookmarkStandIn::lastOptions(), CFOptionFlags{2048});
    }
    QCOMPARE(CFGetRetainCount(string.get()), CFIndex{1});
    QCOMPARE(recordOf(path.toUtf8(), isFolder), nullptr); // not registered
}

void VKBookmarkTest::creatingFromAUrl() {
    const Url url = CoreKit::makeUrl("/photos/lat\xe9.jpg");
    VKBookmark* made = nullptr;
    QCOMPARE(VKBookmark::create(url.get(), false, made), kVKStatusSuccess);
    Owned bookmark(made);
    QCOMPARE(bookmark->resolveUrlPath(), url.get());
    QCOMPARE(CFGetRetainCount(url.get()), CFIndex{2});
    QCOMPARE(bookmark->path(), u"/photos/lat\ufffd.jpg"_s);
    QCOMPARE(CFDataCopyQByteArray(bookmark->data()), QByteArray("item:/photos/lat\xe9.jpg"));
    bookmark.reset();
    QCOMPARE(CFGetRetainCount(url.get()), CFIndex{1});
}

void VKBookmarkTest::creatingFails() {
    BookmarkStandIn::failAt("/photos/a.jpg", 2);
    const Url url = CoreKit::makeUrl("/photos/a.jpg");
    const Owned before = makeBookmark();
    VKBookmark* out = before.get();
    QCOMPARE(VKBookmark::create(url.get(), false, out), VKStatus{2});
    QCOMPARE(out, before.get());
    QCOMPARE(CFGetRetainCount(url.get()), CFIndex{1});
}

void VKBookmarkTest::creatingFromNoPath_data() {
    QTest::addColumn<QString>("path");
    QTest::newRow("empty") << QString();
    QTest::newRow("NUL") << QString(u"/a"_s + QChar(u'\0') + u"b"_s);
    QTest::newRow("unpaired surrogate") << QString(u"/a"_s + QChar(0xd800));
}

void VKBookmarkTest::creatingFromNoPath() {
    QFETCH(QString, path);
    for (const VKSandboxAnswer answer : {VKSandboxAnswer::Sandboxed, VKSandboxAnswer::Unsandboxed}) {
        VKProcessSetSandboxed(answer);
        const Owned before = makeBookmark();
        VKBookmark* out = before.get();
        QCOMPARE(VKBookmark::create(path, false, out), kVKStatusNotConvertible);
        QCOMPARE(VKBookmark::create(CFStringRef{nullptr}, false, out), kVKStatusNotConvertible);
        QCOMPARE(VKBookmark::create(CFURLRef{nullptr}, false, out), kVKStatusNotConvertible);
        QCOMPARE(VKBookmark::create(CoreKit::makeWebUrl().get(), false, out), kVKStatusNotConvertible);
        QCOMPARE(out, before.get());
    }
}

void VKBookmarkTest::creatingOutsideASandbox() {
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed);
    VKBookmark* made = nullptr;
    QCOMPARE(VKBookmark::create(u"/photos/a.jpg"_s, false, made), kVKStatusSuccess);
    const Owned bookmark(made);
    QCOMPARE(bookmark->path(), u"/photos/a.jpg"_s);
    QCOMPARE(bookmark->data(), nullptr);
    QVERIFY(bookmark->isFile());
}

void VKBookmarkTest::resolvingWithoutData_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("isFile");
    QTest::addColumn<QByteArray>("url");
    QTest::newRow("file") << u"/photos/a.jpg"_s << true << QByteArray("file:///photos/a.jpg");
    QTest::newRow("folder") << u"/photos"_s << false << QByteArray("file:///photos/");
    QTest::newRow("text that names no file")
        << QString(u"/a"_s + QChar(0xd800)) << true << QByteArray("(null)");
    QTest::newRow("empty text") << u""_s << true << QByteArray("(null)");
}

void VKBookmarkTest::resolvingWithoutData() {
    QFETCH(QString, path);
    QFETCH(bool, isFile);
    QFETCH(QByteArray, url);
    const Owned bookmark = makeBookmark();
    QCOMPARE(bookmark->load(makeInfo(u"/x"_s, nullptr, isFile ? 1 : 0).get()), kVKStatusSuccess);
    bookmark->setUrlPath(nullptr);
    bookmark->setPath(path);
    QCOMPARE(textOf(bookmark->resolveUrlPath()), url);
    QCOMPARE(bookmark->resolveUrlPath(), bookmark->resolveUrlPath());
    QCOMPARE(BookmarkStandIn::resolved(), 0);
}

void VKBookmarkTest::resolvingWithData() {
    BookmarkStandIn::move("/photos/old.jpg", "/photos/new.jpg");
    const Owned bookmark = makeBookmark();
    bookmark->setPath(u"/photos/old.jpg"_s);
    bookmark->setData(dataOf("/photos/old.jpg").get());
    const CFURLRef url = bookmark->resolveUrlPath();
    QCOMPARE(textOf(url), QByteArray("file:///photos/new.jpg"));
    QCOMPARE(CFGetRetainCount(url), CFIndex{1});
    QCOMPARE(BookmarkStandIn::lastOptions(), CFOptionFlags{1024});
    BookmarkStandIn::move("/photos/old.jpg", "/photos/newer.jpg");
    QCOMPARE(bookmark->resolveUrlPath(), url); // once
    QCOMPARE(BookmarkStandIn::resolved(), 1);
    QCOMPARE(bookmark->makePath().path(), u"/photos/old.jpg"_s); // not resolved
}

void VKBookmarkTest::resolvingOutsideASandbox() {
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed);
    const Owned bookmark = makeBookmark();
    bookmark->setData(dataOf("/photos/a.jpg").get());
    QCOMPARE(textOf(bookmark->resolveUrlPath()), QByteArray("file:///photos/a.jpg"));
    QCOMPARE(BookmarkStandIn::lastOptions(), CFOptionFlags{0});
}

void VKBookmarkTest::resolvingFailsOnce() {
    BookmarkStandIn::failAt("/photos/a.jpg", 2);
    const Owned bookmark = makeBookmark();
    bookmark->setPath(u"/photos/a.jpg"_s);
    bookmark->setData(dataOf("/photos/a.jpg").get());
    CoreKit::LogCapture log;
    QCOMPARE(bookmark->resolveUrlPath(), nullptr);
    QCOMPARE(bookmark->resolveUrlPath(), nullptr);
    const QList<CoreKit::LogLine> lines = log.take();
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines.first().status, VKStatus{2});
    QCOMPARE(lines.first().source, QByteArray("VKQtCore/Source/Common/VKBookmark"));
    QCOMPARE(BookmarkStandIn::resolved(), 1);
    bookmark->setUrlPath(nullptr); // asks again
    QCOMPARE(bookmark->resolveUrlPath(), nullptr);
    QCOMPARE(BookmarkStandIn::resolved(), 2);
    QCOMPARE(log.take().size(), 1);
}

void VKBookmarkTest::resolvingFailsSilently() {
    CoreKit::LogCapture log;
    for (const CFIndex code : {CFIndex{0}, CFIndex{1007}}) {
        BookmarkStandIn::failAt("/photos/a.jpg", code);
        const Owned bookmark = makeBookmark();
        bookmark->setData(dataOf("/photos/a.jpg").get());
        QCOMPARE(bookmark->resolveUrlPath(), nullptr);
    }
    QVERIFY(log.take().isEmpty());
}

void VKBookmarkTest::settingTheUrl() {
    const Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    bookmark->checkout();
    QCOMPARE(openScopes("file:///photos/a.jpg"), 1);
    bookmark->setUrlPath(CoreKit::makeUrl("/photos/b.jpg").get());
    QCOMPARE(openScopes("file:///photos/a.jpg"), 0);
    QCOMPARE(bookmark->checkoutCount(), 0);
    QCOMPARE(textOf(bookmark->resolveUrlPath()), QByteArray("file:///photos/b.jpg"));
}

void VKBookmarkTest::info() {
    const Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    bookmark->setRefcon(-7);
    bookmark->setFileIsRemoved(true);
    const Info info = Info::adopt(bookmark->getInfoCopy());
    QCOMPARE(CFGetRetainCount(info.get()), CFIndex{1});
    QCOMPARE(CFDictionaryGetCount(info.get()), CFIndex{5});
    QCOMPARE(CFStringCopyQString(static_cast<CFStringRef>(CFDictionaryGetValue(info.get(), CFSTR("name")))),
             u"/photos/a.jpg"_s);
    QVERIFY(!CFDictionaryContainsKey(info.get(), CFSTR("path")));
    QCOMPARE(static_cast<CFDataRef>(CFDictionaryGetValue(info.get(), CFSTR("data"))), bookmark->data());
    QCOMPARE(VKUtilsCFDictionaryGetValueInt(info.get(), CFSTR("file")), 1);
    QCOMPARE(VKUtilsCFDictionaryGetValueInt(info.get(), CFSTR("refcon")), -7);
    QCOMPARE(VKUtilsCFDictionaryGetValueInt(info.get(), CFSTR("fileIsRemoved")), 1);
}

void VKBookmarkTest::infoWithoutPathAndData() {
    const Info info = Info::adopt(makeBookmark()->getInfoCopy());
    QCOMPARE(CFDictionaryGetCount(info.get()), CFIndex{3});
    QVERIFY(!CFDictionaryContainsKey(info.get(), CFSTR("name")));
    QVERIFY(!CFDictionaryContainsKey(info.get(), CFSTR("data")));
}

void VKBookmarkTest::keptForm() {
    const Owned bookmark = makeBookmark();
    bookmark->setPath(u"/a & b"_s);
    bookmark->setData(Data::adopt(CFDataCreateWithQByteArray("abc")).get());
    QByteArray xml;
    QCOMPARE(bookmark->save(xml), kVKStatusSuccess);
    QCOMPARE(xml, QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                             "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                             "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                             "<plist version=\"1.0\">\n"
                             "<dict>\n"
                             "\t<key>data</key>\n"
                             "\t<data>\n"
                             "\tYWJj\n"
                             "\t</data>\n"
                             "\t<key>file</key>\n"
                             "\t<integer>0</integer>\n"
                             "\t<key>fileIsRemoved</key>\n"
                             "\t<integer>0</integer>\n"
                             "\t<key>name</key>\n"
                             "\t<string>/a &amp; b</string>\n"
                             "\t<key>refcon</key>\n"
                             "\t<integer>0</integer>\n"
                             "</dict>\n"
                             "</plist>\n"));
}

void VKBookmarkTest::roundTrip_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("hasData");
    QTest::addColumn<bool>("isFile");
    QTest::addColumn<int>("refcon");
    QTest::addColumn<bool>("removed");
    QTest::newRow("file") << u"/photos/a.jpg"_s << true << true << 0 << false;
    QTest::newRow("folder without data") << u"/photos"_s << false << false << 1 << false;
    QTest::newRow("removed") << u"/photos/a.jpg"_s << true << true << 5 << true;
    QTest::newRow("smallest number") << u"/a"_s << true << true << std::numeric_limits<int>::min() << false;
    QTest::newRow("largest number") << u"/a"_s << true << true << std::numeric_limits<int>::max() << true;
    QTest::newRow("any letter") << u"/Фото/写真 <&>\"'/é.jpg"_s << true << true << -1 << false;
}

void VKBookmarkTest::roundTrip() {
    QFETCH(QString, path);
    QFETCH(bool, hasData);
    QFETCH(bool, isFile);
    QFETCH(int, refcon);
    QFETCH(bool, removed);
    const Data data = hasData ? dataOf(path.toUtf8()) : Data();
    const Owned first = makeBookmark();
    QCOMPARE(first->load(makeInfo(path, data.get(), isFile ? 1 : 0).get()), kVKStatusSuccess);
    first->setRefcon(refcon);
    first->setFileIsRemoved(removed);
    QByteArray xml;
    QCOMPARE(first->save(xml), kVKStatusSuccess);
    const Owned second = makeBookmark();
    QCOMPARE(second->load(xml), kVKStatusSuccess);
    QCOMPARE(second->path(), path);
    QCOMPARE(CFDataCopyQByteArray(second->data()), CFDataCopyQByteArray(data.get()));
    QCOMPARE(second->data() != nullptr, hasData);
    QCOMPARE(second->isFile(), isFile);
    QCOMPARE(second->refcon(), refcon);
    QCOMPARE(second->fileIsRemoved(), removed);
    QByteArray again;
    QCOMPARE(second->save(again), kVKStatusSuccess);
    QCOMPARE(again, xml);
}

void VKBookmarkTest::savingAppends() {
    const Owned bookmark = makeBookmark();
    bookmark->setPath(u"/a"_s);
    QByteArray once;
    QCOMPARE(bookmark->save(once), kVKStatusSuccess);
    QByteArray bytes = "before";
    QCOMPARE(bookmark->save(bytes), kVKStatusSuccess);
    QCOMPARE(bytes, "before" + once);
}

void VKBookmarkTest::savingNoUnicode() {
    const Owned bookmark = makeBookmark();
    bookmark->setPath(QString(u"/a"_s + QChar(0xd800)));
    QByteArray bytes = "before";
    QCOMPARE(bookmark->save(bytes), kVKStatusNotConvertible);
    QCOMPARE(bytes, QByteArray("before"));
}

void VKBookmarkTest::loadingWithoutName() {
    const Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    const CFURLRef url = bookmark->resolveUrlPath();
    const Info info = makeInfo();
    CFDictionarySetValue(info.get(), CFSTR("path"), CFSTR("/not/the/key"));
    VKUtilsCFDictionarySetValueInt(info.get(), kBookmarkFile, 0);
    QCOMPARE(bookmark->load(info.get()), kVKStatusIncompleteBookmark);
    QCOMPARE(bookmark->load(CFDictionaryRef{nullptr}), kVKStatusIncompleteBookmark);
    QCOMPARE(bookmark->path(), u"/photos/a.jpg"_s); // nothing changed
    QCOMPARE(bookmark->resolveUrlPath(), url);
    QVERIFY(bookmark->isFile());
    QCOMPARE(bookmark->refcon(), 42);
}

void VKBookmarkTest::loadingWithoutKind() {
    const Owned bookmark = makeBookmark();
    const Info info = makeInfo(u"/photos/a.jpg"_s, dataOf("/photos/a.jpg").get(), 1);
    CFDictionaryRemoveValue(info.get(), kBookmarkFile);
    QCOMPARE(bookmark->load(info.get()), kVKStatusIncompleteBookmark);
    // Partly loaded, and registered.
    QCOMPARE(bookmark->path(), u"/photos/a.jpg"_s);
    QCOMPARE(CFDataCopyQByteArray(bookmark->data()), QByteArray("item:/photos/a.jpg"));
    QVERIFY(recordOf("/photos/a.jpg") != nullptr);
    QVERIFY(!bookmark->isFile());
    QCOMPARE(bookmark->refcon(), 0);
}

void VKBookmarkTest::loadingOddTypes() {
    const Owned bookmark = makeBookmark();
    const Info number = makeInfo(u"/a"_s, nullptr, 1);
    VKUtilsCFDictionarySetValueInt(number.get(), kBookmarkPath, 5);
    QCOMPARE(bookmark->load(number.get()), kVKStatusIncompleteBookmark);
    const Info odd = makeInfo(u"/photos/a.jpg"_s, nullptr, 1);
    CFDictionarySetValue(odd.get(), kBookmarkData, CFSTR("no data"));
    CFDictionarySetValue(odd.get(), kBookmarkFile, CFSTR("1"));
    CFDictionarySetValue(odd.get(), kBookmarkRefcon, CFSTR("1"));
    CFDictionarySetValue(odd.get(), kBookmarkFileIsRemoved, CFSTR("1"));
    QCOMPARE(bookmark->load(odd.get()), kVKStatusSuccess);
    QCOMPARE(bookmark->data(), nullptr);
    QVERIFY(!bookmark->isFile());
    QCOMPARE(bookmark->refcon(), 0);
    QVERIFY(!bookmark->fileIsRemoved());
}

void VKBookmarkTest::loadingNumbers_data() {
    QTest::addColumn<int>("file");
    QTest::addColumn<bool>("isFile");
    QTest::newRow("folder") << 0 << false;
    QTest::newRow("file") << 1 << true;
    QTest::newRow("anything but 0 is a file") << 2 << true;
    QTest::newRow("negative") << -1 << true;
}

void VKBookmarkTest::loadingNumbers() {
    QFETCH(int, file);
    QFETCH(bool, isFile);
    const Owned bookmark = makeBookmark();
    bookmark->setFileIsRemoved(true);
    const Info info = makeInfo(u"/photos/a.jpg"_s, nullptr, file);
    QCOMPARE(bookmark->load(info.get()), kVKStatusSuccess);
    QCOMPARE(bookmark->isFile(), isFile);
    QCOMPARE(bookmark->refcon(), 42);
    QVERIFY(!bookmark->fileIsRemoved()); // absent means not
    VKUtilsCFDictionarySetValueInt(info.get(), kBookmarkFileIsRemoved, 2);
    QCOMPARE(bookmark->load(info.get()), kVKStatusSuccess);
    QVERIFY(bookmark->fileIsRemoved());
}

void VKBookmarkTest::loadingRegisters() {
    BookmarkStandIn::move("/photos/old.jpg", "/photos/new.jpg");
    const Owned bookmark = makeBookmark();
    const Data data = dataOf("/photos/old.jpg");
    QCOMPARE(bookmark->load(makeInfo(u"/photos/old.jpg"_s, data.get(), 1).get()), kVKStatusSuccess);
    const VKBookmarkManager::BookmarkData* const record = recordOf("/photos/new.jpg");
    QVERIFY(record != nullptr);
    QCOMPARE(record->bookmark, data.get());
    QVERIFY(!record->entitled);
    QCOMPARE(recordOf("/photos/old.jpg"), nullptr);

    BookmarkStandIn::failAt("/photos/lost.jpg", 2);
    CoreKit::LogCapture log;
    QCOMPARE(bookmark->load(makeInfo(u"/photos/lost.jpg"_s, dataOf("/photos/lost.jpg").get(), 1).get()),
             kVKStatusSuccess); // kept for a time when it can be found
    QCOMPARE(log.take().size(), 1);
    QCOMPARE(recordOf("/photos/lost.jpg"), nullptr);
}

void VKBookmarkTest::loadingWithoutDataMakesAFolderUrl() {
    const Owned bookmark = makeBookmark();
    QCOMPARE(bookmark->load(makeInfo(u"/photos/a.jpg"_s, nullptr, 1).get()), kVKStatusSuccess);
    QVERIFY(bookmark->isFile());
    QCOMPARE(textOf(bookmark->resolveUrlPath()), QByteArray("file:///photos/a.jpg/"));
    QVERIFY(recordOf("/photos/a.jpg", true) != nullptr);
    // Now it knows better.
    QCOMPARE(bookmark->load(makeInfo(u"/photos/a.jpg"_s, nullptr, 1).get()), kVKStatusSuccess);
    QCOMPARE(textOf(bookmark->resolveUrlPath()), QByteArray("file:///photos/a.jpg"));
}

void VKBookmarkTest::loadingTwice() {
    const Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    QCOMPARE(textOf(bookmark->resolveUrlPath()), QByteArray("file:///photos/a.jpg"));
    QCOMPARE(bookmark->load(makeInfo(u"/photos/b.jpg"_s, dataOf("/photos/b.jpg").get(), 1).get()),
             kVKStatusSuccess);
    QCOMPARE(textOf(bookmark->resolveUrlPath()), QByteArray("file:///photos/b.jpg"));
    QCOMPARE(recordOf("/photos/b.jpg")->count, 0);
}

void VKBookmarkTest::loadingTwiceChecksIn() {
    const Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    bookmark->checkout();
    bookmark->checkout();
    QCOMPARE(recordOf("/photos/a.jpg")->count, 2);
    BookmarkStandIn::grant("/photos/b.jpg");
    QCOMPARE(bookmark->load(makeInfo(u"/photos/b.jpg"_s, dataOf("/photos/b.jpg").get(), 1).get()),
             kVKStatusSuccess);
    QCOMPARE(bookmark->checkoutCount(), 0);
    QCOMPARE(recordOf("/photos/a.jpg")->count, 0);
    QCOMPARE(openScopes("file:///photos/a.jpg"), 0);
    bookmark->checkout();
    QCOMPARE(openScopes("file:///photos/b.jpg"), 1);
}

void VKBookmarkTest::loadingBytes_data() {
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<VKStatus>("status");
    const QByteArray open = "<plist version=\"1.0\">";
    const QByteArray close = "</plist>";
    QTest::newRow("whole")
        << open + "<dict><key>name</key><string>/a</string><key>file</key><integer>1</integer></dict>" + close
        << VKStatus{0};
    QTest::newRow("no kind") << open + "<dict><key>name</key><string>/a</string></dict>" + close
                             << VKStatus{1009};
    QTest::newRow("no name") << open + "<dict><key>file</key><integer>1</integer></dict>" + close
                             << VKStatus{1009};
    QTest::newRow("empty dictionary") << open + "<dict/>" + close << static_cast<VKStatus>(-1);
    QTest::newRow("array") << open + "<array/>" + close << static_cast<VKStatus>(-1);
    QTest::newRow("text") << open + "<string>name</string>" + close << static_cast<VKStatus>(-1);
    QTest::newRow("cut short") << open + "<dict><key>name</key><string>/a" << static_cast<VKStatus>(-1);
    QTest::newRow("no XML") << QByteArray("bplist00") << static_cast<VKStatus>(-1);
    QTest::newRow("no bytes") << QByteArray() << static_cast<VKStatus>(-1);
    QTest::newRow("empty, not null") << QByteArray("") << static_cast<VKStatus>(-1);
}

void VKBookmarkTest::loadingBytes() {
    QFETCH(QByteArray, xml);
    QFETCH(VKStatus, status);
    const Owned bookmark = makeBookmark();
    QCOMPARE(bookmark->load(xml), status);
    if (status == kVKBookmarkNotAList) {
        QCOMPARE(bookmark->path(), QString());
    }
}

void VKBookmarkTest::loadingFormerFiles() {
    // What earlier releases wrote, key by key.
    const QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                           "<plist version=\"1.0\">\n<dict>\n"
                           "\t<key>name</key>\n\t<string>/Users/a/Pictures</string>\n"
                           "\t<key>refcon</key>\n\t<integer>12</integer>\n"
                           "\t<key>file</key>\n\t<integer>0</integer>\n</dict>\n</plist>\n";
    const Owned bookmark = makeBookmark();
    QCOMPARE(bookmark->load(xml), kVKStatusSuccess);
    QCOMPARE(bookmark->makePath().path(), u"/Users/a/Pictures"_s);
    QVERIFY(bookmark->makePath().isFolder());
    QCOMPARE(bookmark->refcon(), 12);
}

void VKBookmarkTest::checkouts() {
    const Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    QCOMPARE(bookmark->checkout(), kVKStatusSuccess);
    QCOMPARE(bookmark->checkout(), kVKStatusSuccess);
    QCOMPARE(bookmark->checkoutCount(), 2);
    QCOMPARE(bookmark->checkin(), kVKStatusSuccess);
    QVERIFY(VKBookmark::hasSandboxAccess(u"/photos/a.jpg"_s, false)); // still
    QCOMPARE(openScopes("file:///photos/a.jpg"), 1);
    QCOMPARE(bookmark->checkin(), kVKStatusSuccess);
    QCOMPARE(openScopes("file:///photos/a.jpg"), 0);
    QCOMPARE(bookmark->checkoutCount(), 0);
    QVERIFY(!VKBookmark::hasSandboxAccess(u"/photos/a.jpg"_s, false));
    QCOMPARE(bookmark->checkin(), kVKStatusSuccess); // none is outstanding
    QCOMPARE(bookmark->checkoutCount(), 0);
    QCOMPARE(BookmarkStandIn::stops("file:///photos/a.jpg"), 2);
}

void VKBookmarkTest::checkoutsOutsideASandbox() {
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed);
    const Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    QCOMPARE(bookmark->checkout(), kVKStatusSuccess);
    QCOMPARE(bookmark->checkoutCount(), 0);
    QVERIFY(!bookmark->checkoutRefused());
    QCOMPARE(bookmark->checkin(), kVKStatusSuccess);
    QCOMPARE(openScopes("file:///photos/a.jpg"), 0);
}

void VKBookmarkTest::checkoutRefusedForEver() {
    const Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    BookmarkStandIn::revoke("/photos/a.jpg");
    QCOMPARE(bookmark->checkout(), kVKStatusSuccess);
    QVERIFY(bookmark->checkoutRefused());
    BookmarkStandIn::grant("/photos/a.jpg");
    QCOMPARE(bookmark->checkout(), kVKStatusSuccess);
    QCOMPARE(bookmark->checkoutCount(), 0);
    QCOMPARE(recordOf("/photos/a.jpg")->count, 0);
    QVERIFY(bookmark->checkoutRefused());
    // A new object for the same item is free to try.
    const Owned copy(new VKBookmark(*bookmark));
    QCOMPARE(copy->checkout(), kVKStatusSuccess);
    QCOMPARE(copy->checkoutCount(), 1);
}

void VKBookmarkTest::entitledIsRefused() {
    VKBookmarkManager::sharedInstance()->addEntitledPath(VKQtPath(u"/photos/a.jpg"_s, false));
    const Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    QVERIFY(VKBookmark::hasSandboxAccess(u"/photos/a.jpg"_s, false));
    bookmark->checkout();
    QVERIFY(bookmark->checkoutRefused());
    QCOMPARE(bookmark->checkoutCount(), 0);
}

void VKBookmarkTest::checkinOutsideTheSandbox() {
    const Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    bookmark->checkout();
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed);
    bookmark->checkin();
    QCOMPARE(bookmark->checkoutCount(), 0);
    QCOMPARE(openScopes("file:///photos/a.jpg"), 1); // the manager ends it with itself
    VKBookmarkManager::deleteInstance();
    QCOMPARE(openScopes("file:///photos/a.jpg"), 0);
}

void VKBookmarkTest::destructorChecksIn() {
    Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    for (int i = 0; i < 3; ++i) {
        bookmark->checkout();
    }
    QCOMPARE(recordOf("/photos/a.jpg")->count, 3);
    bookmark.reset();
    QCOMPARE(recordOf("/photos/a.jpg")->count, 0);
    QCOMPARE(openScopes("file:///photos/a.jpg"), 0);
}

void VKBookmarkTest::destructorAfterTheManager() {
    Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    bookmark->checkout();
    bookmark->checkout();
    VKBookmarkManager::deleteInstance();
    QCOMPARE(openScopes("file:///photos/a.jpg"), 0);
    bookmark.reset();
    QCOMPARE(BookmarkStandIn::stops("file:///photos/a.jpg"), 2); // not twice
}

void VKBookmarkTest::sandboxAccess() {
    QVERIFY(!VKBookmark::hasSandboxAccess(u"/photos/a.jpg"_s, false));
    QVERIFY(VKBookmark::hasSandboxAccess(QString(), false));
    const QString folder = makeFolder();
    VKBookmarkManager::sharedInstance()->addEntitledPath(VKQtPath(folder, true));
    QVERIFY(VKBookmark::hasSandboxAccess(folder, true));
    QVERIFY(VKBookmark::hasSandboxAccess(folder + u"/a.jpg"_s, false));
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed);
    QVERIFY(VKBookmark::hasSandboxAccess(u"/photos/a.jpg"_s, false));
}

void VKBookmarkTest::comparing_data() {
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::addColumn<int>("result");
    QTest::newRow("equal") << u"/a"_s << u"/a"_s << 0;
    QTest::newRow("smaller") << u"/a"_s << u"/b"_s << -1;
    QTest::newRow("greater") << u"/b"_s << u"/a"_s << 1;
    QTest::newRow("case counts") << u"/B"_s << u"/a"_s << -1;
    QTest::newRow("digits are letters") << u"/a10"_s << u"/a9"_s << -1;
    QTest::newRow("a prefix comes first") << u"/a"_s << u"/a/b"_s << -1;
    QTest::newRow("spellings differ") << u"/e\u0301"_s << u"/\u00e9"_s << -1;
    QTest::newRow("no path comes first") << QString() << u"/a"_s << -1;
    QTest::newRow("a path comes second") << u"/a"_s << QString() << 1;
    QTest::newRow("no paths") << QString() << QString() << 0;
}

void VKBookmarkTest::comparing() {
    QFETCH(QString, first);
    QFETCH(QString, second);
    QFETCH(int, result);
    const auto made = [](const QString& path) {
        Owned bookmark = makeBookmark();
        if (!path.isNull()) {
            bookmark->setPath(path);
        }
        return bookmark;
    };
    QCOMPARE(VKBookmark::compare(made(first).get(), made(second).get(), nullptr), CFIndex{result});
}

void VKBookmarkTest::sortsAsACallBack() {
    CFComparisonResult (*const compare)(VKBookmark*, VKBookmark*, void*) = &VKBookmark::compare;
    std::vector<Owned> bookmarks;
    for (const QString& path : {u"/b"_s, u"/a"_s, u"/B"_s, u"/a/b"_s}) {
        bookmarks.push_back(makeBookmark());
        bookmarks.back()->setPath(path);
    }
    std::sort(bookmarks.begin(), bookmarks.end(), [compare](const Owned& first, const Owned& second) {
        return compare(first.get(), second.get(), nullptr) == kCFCompareLessThan;
    });
    QStringList order;
    for (const Owned& bookmark : bookmarks) {
        order << bookmark->path();
    }
    QCOMPARE(order, QStringList({u"/B"_s, u"/a"_s, u"/a/b"_s, u"/b"_s}));
}

void VKBookmarkTest::referencesBalance() {
    const Data data = dataOf("/photos/a.jpg");
    const auto name = CoreKit::makeString(u"/photos/a.jpg"_s);
    const Info info = makeInfo(u"/x"_s, data.get(), 1);
    CFDictionarySetValue(info.get(), kBookmarkPath, name.get());
    BookmarkStandIn::grant("/photos/a.jpg");
    for (int round = 0; round < 3; ++round) {
        const Owned bookmark = makeBookmark();
        QCOMPARE(bookmark->load(info.get()), kVKStatusSuccess);
        bookmark->checkout();
        const Owned copy(new VKBookmark(*bookmark));
        copy->checkout();
        BookmarkStandIn::revoke("/photos/a.jpg");
        const Owned refused(new VKBookmark(*bookmark));
        refused->checkout();
        QVERIFY(refused->checkoutRefused());
        BookmarkStandIn::grant("/photos/a.jpg");
        QByteArray bytes;
        QCOMPARE(refused->save(bytes), kVKStatusSuccess);
    }
    QCOMPARE(openScopes("file:///photos/a.jpg"), 0);
    VKBookmarkManager::deleteInstance();
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex{2}); // this test's and the dictionary's
    QCOMPARE(CFGetRetainCount(name.get()), CFIndex{2});
    QCOMPARE(CFGetRetainCount(info.get()), CFIndex{1});
}

VKTEST_MAIN(VKBookmarkTest)
#include "VKBookmarkTest.moc"
