// The security token of a path, its bookmark dictionary, and the token that the process holds for it. The
// bookmark calls below are a stand-in, so that every answer of a sandbox can be had.
#include "BookmarkStandIn.h"

#include "Support/VKTest.h"
#include "VKCoreKit/CoreKitSupport.h"

#include <VKBookmark.h>
#include <VKBookmarkManager.h>
#include <VKCoreKit/VKUtils.h>
#include <VKQtPath.h>
#include <VKQtPathUtils.h>

#include <memory>

using namespace Qt::StringLiterals;
using BookmarkStandIn::dataOf;

namespace {

using Data = VKCFRef<CFDataRef>;
using Info = VKCFRef<CFMutableDictionaryRef>;

Info makeInfo() {
    return Info::adopt(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                 &kCFTypeDictionaryValueCallBacks));
}

QString nameIn(const Info& info) {
    return CFStringCopyQString(static_cast<CFStringRef>(CFDictionaryGetValue(info.get(), CFSTR("name"))));
}

} // namespace

class VKQtPathTokenTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void makesAToken();
    void takesTheRegisteredToken();
    void failsWithTheErrorsCode();
    void outsideASandbox();
    void noUrl();

    void dictionary_data();
    void dictionary();
    void dictionaryWithAToken();
    void isABookmark();

    void readsADictionary_data();
    void readsADictionary();
    void readsTheToken();
    void withoutKind();
    void withoutName();
    void oddTypes();
    void dropsWhatBelongsToTheOldText();
    void roundTrip();

    void loadsTheStoredToken();
    void loadsNothing();
    void makesNoManager();

private:
    std::unique_ptr<BookmarkStandIn::Process> mProcess;
};

void VKQtPathTokenTest::init() {
    VKTest::init();
    BookmarkStandIn::reset();
    mProcess = std::make_unique<BookmarkStandIn::Process>(VKSandboxAnswer::Sandboxed);
}

void VKQtPathTokenTest::cleanup() {
    VKBookmarkManager::deleteInstance();
    mProcess.reset();
}

void VKQtPathTokenTest::makesAToken() {
    VKQtPath path(u"/photos/a.jpg"_s, false);
    const Data old = dataOf("/old");
    path.setSecurityToken(old.get());
    CFDataRef out = nullptr;
    QCOMPARE(path.makeSecurityToken(out), kVKStatusSuccess);
    QCOMPARE(CFDataCopyQByteArray(out), QByteArray("item:/photos/a.jpg"));
    QCOMPARE(path.securityToken(), out);
    QCOMPARE(CFGetRetainCount(out), CFIndex{1}); // the path's: it is lent
    QCOMPARE(CFGetRetainCount(old.get()), CFIndex{1});
    QCOMPARE(BookmarkStandIn::lastOptions(), CFOptionFlags{2048});
}

void VKQtPathTokenTest::takesTheRegisteredToken() {
    const Data data = dataOf("/elsewhere");
    VKBookmarkManager::sharedInstance()->addBookmarkData(CoreKit::makeUrl("/photos", true).get(), data.get(),
                                                         false);
    VKQtPath path(u"/photos"_s, true);
    CFDataRef out = nullptr;
    QCOMPARE(path.makeSecurityToken(out), kVKStatusSuccess);
    QCOMPARE(out, data.get());
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex{3}); // this test's, the registry's, the path's
    path.clear();
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex{2});
}

void VKQtPathTokenTest::failsWithTheErrorsCode() {
    BookmarkStandIn::failAt("/photos/a.jpg", 13);
    VKQtPath path(u"/photos/a.jpg"_s, false);
    const Data old = dataOf("/old");
    path.setSecurityToken(old.get());
    CFDataRef out = old.get();
    QCOMPARE(path.makeSecurityToken(out), VKStatus{13});
    QCOMPARE(out, nullptr);
    QCOMPARE(path.securityToken(), nullptr);
    QCOMPARE(CFGetRetainCount(old.get()), CFIndex{1});
}

void VKQtPathTokenTest::outsideASandbox() {
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed);
    VKQtPath path(u"/photos/a.jpg"_s, false);
    const Data old = dataOf("/old");
    path.setSecurityToken(old.get());
    CFDataRef out = old.get();
    QCOMPARE(path.makeSecurityToken(out), kVKStatusSuccess);
    QCOMPARE(out, nullptr);
    QCOMPARE(path.securityToken(), nullptr);
    QCOMPARE(BookmarkStandIn::created(), 0);
}

void VKQtPathTokenTest::noUrl() {
    VKQtPath path;
    const Data old = dataOf("/old");
    path.setSecurityToken(old.get());
    CFDataRef out = old.get();
    QCOMPARE(path.makeSecurityToken(out), kVKStatusSuccess);
    QCOMPARE(out, nullptr);
    QCOMPARE(path.securityToken(), old.get()); // nothing is changed
}

void VKQtPathTokenTest::dictionary_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("folder");
    QTest::newRow("file") << u"/photos/é.jpg"_s << false;
    QTest::newRow("folder") << u"/photos"_s << true;
    QTest::newRow("empty") << QString() << false;
}

void VKQtPathTokenTest::dictionary() {
    QFETCH(QString, text);
    QFETCH(bool, folder);
    const Info info = Info::adopt(VKQtPath(text, folder, 7).makeVKBookmarkData());
    QCOMPARE(CFGetRetainCount(info.get()), CFIndex{1});
    QCOMPARE(CFDictionaryGetCount(info.get()), CFIndex{4});
    QCOMPARE(nameIn(info).isEmpty(), text.isEmpty());
    QCOMPARE(nameIn(info) + u""_s, text + u""_s);
    QCOMPARE(VKUtilsCFDictionaryGetValueInt(info.get(), CFSTR("file")), folder ? 0 : 1);
    QCOMPARE(VKUtilsCFDictionaryGetValueInt(info.get(), CFSTR("refcon")), 1);
    QVERIFY(CFDictionaryContainsKey(info.get(), CFSTR("fileIsRemoved")));
    QCOMPARE(VKUtilsCFDictionaryGetValueInt(info.get(), CFSTR("fileIsRemoved")), 0);
    QVERIFY(!CFDictionaryContainsKey(info.get(), CFSTR("data")));
}

void VKQtPathTokenTest::dictionaryWithAToken() {
    VKQtPath path(u"/photos/a.jpg"_s, false);
    const Data token = dataOf("/photos/a.jpg");
    path.setSecurityToken(token.get());
    {
        const Info info = Info::adopt(path.makeVKBookmarkData());
        QCOMPARE(static_cast<CFDataRef>(CFDictionaryGetValue(info.get(), CFSTR("data"))), token.get());
        QCOMPARE(CFGetRetainCount(token.get()), CFIndex{3});
    }
    QCOMPARE(CFGetRetainCount(token.get()), CFIndex{2});
}

void VKQtPathTokenTest::isABookmark() {
    VKQtPath path(u"/photos/a.jpg"_s, false);
    path.setSecurityToken(dataOf("/photos/a.jpg").get());
    const Info info = Info::adopt(path.makeVKBookmarkData());
    VKBookmark bookmark;
    QCOMPARE(bookmark.load(info.get()), kVKStatusSuccess);
    QCOMPARE(bookmark.path(), path.path());
    QCOMPARE(bookmark.data(), path.securityToken());
    QVERIFY(bookmark.isFile());
    QCOMPARE(bookmark.refcon(), 1);
    const Info again = Info::adopt(bookmark.getInfoCopy());
    QVERIFY(CFEqual(info.get(), again.get()));
}

void VKQtPathTokenTest::readsADictionary_data() {
    QTest::addColumn<int>("file");
    QTest::addColumn<bool>("folder");
    QTest::newRow("file") << 1 << false;
    QTest::newRow("folder") << 0 << true;
    QTest::newRow("anything but 1 is a folder") << 2 << true;
}

void VKQtPathTokenTest::readsADictionary() {
    QFETCH(int, file);
    QFETCH(bool, folder);
    const Info info = makeInfo();
    CFDictionarySetValue(info.get(), kBookmarkPath, CFSTR("/photos\\e\u0301/"));
    VKUtilsCFDictionarySetValueInt(info.get(), kBookmarkFile, file);
    VKQtPath path(u"/before"_s, !folder, 9);
    path.setSecurityToken(dataOf("/before").get());
    QCOMPARE(path.fromVKBookmarkData(info.get()), kVKStatusSuccess);
    QCOMPARE(path.path(), u"/photos/\u00e9"_s); // canonical, as every text
    QCOMPARE(path.isFolder(), folder);
    QCOMPARE(path.securityToken(), nullptr);
    QVERIFY(!path.hasVolumeID());
    QCOMPARE(path.volumeID(), 9U);
}

void VKQtPathTokenTest::readsTheToken() {
    const Info info = makeInfo();
    const Data token = dataOf("/photos");
    CFDictionarySetValue(info.get(), kBookmarkPath, CFSTR("/photos"));
    CFDictionarySetValue(info.get(), kBookmarkData, token.get());
    VKUtilsCFDictionarySetValueInt(info.get(), kBookmarkFile, 0);
    {
        VKQtPath path;
        QCOMPARE(path.fromVKBookmarkData(info.get()), kVKStatusSuccess);
        QCOMPARE(path.fromVKBookmarkData(info.get()), kVKStatusSuccess);
        QCOMPARE(path.securityToken(), token.get());
        QCOMPARE(CFGetRetainCount(token.get()), CFIndex{3});
    }
    QCOMPARE(CFGetRetainCount(token.get()), CFIndex{2});
}

void VKQtPathTokenTest::withoutKind() {
    const Info info = makeInfo();
    CFDictionarySetValue(info.get(), kBookmarkPath, CFSTR("/photos"));
    VKQtPath path(u"/before"_s, true);
    QCOMPARE(path.fromVKBookmarkData(info.get()), kVKStatusIncompleteBookmark);
    QCOMPARE(path.fromVKBookmarkData(nullptr), kVKStatusIncompleteBookmark);
    QCOMPARE(path.path(), u"/before"_s);
    QVERIFY(path.isFolder());
}

void VKQtPathTokenTest::withoutName() {
    const Info info = makeInfo();
    VKUtilsCFDictionarySetValueInt(info.get(), kBookmarkFile, 1);
    VKQtPath path(u"/before"_s, true);
    const Data token = dataOf("/before");
    path.setSecurityToken(token.get());
    QCOMPARE(path.fromVKBookmarkData(info.get()), kVKStatusIncompleteBookmark);
    QVERIFY(!path.isFolder()); // changed already
    QCOMPARE(path.path(), u"/before"_s);
    QCOMPARE(path.securityToken(), token.get());
}

void VKQtPathTokenTest::oddTypes() {
    const Info info = makeInfo();
    VKUtilsCFDictionarySetValueInt(info.get(), kBookmarkPath, 1);
    CFDictionarySetValue(info.get(), kBookmarkFile, CFSTR("1"));
    CFDictionarySetValue(info.get(), kBookmarkData, CFSTR("no data"));
    VKQtPath path(u"/before"_s, false);
    QCOMPARE(path.fromVKBookmarkData(info.get()), kVKStatusIncompleteBookmark);
    QVERIFY(path.isFolder()); // no number counts as 0
    CFDictionarySetValue(info.get(), kBookmarkPath, CFSTR("/photos"));
    QCOMPARE(path.fromVKBookmarkData(info.get()), kVKStatusSuccess);
    QCOMPARE(path.securityToken(), nullptr);
}

void VKQtPathTokenTest::dropsWhatBelongsToTheOldText() {
    const Info info = makeInfo();
    CFDictionarySetValue(info.get(), kBookmarkPath, CFSTR("C:\\"));
    VKUtilsCFDictionarySetValueInt(info.get(), kBookmarkFile, 0);
    VKQtPath path(u"/before"_s, false);
    QCOMPARE(path.fullVolumeCached(), path.fullVolume());
    QCOMPARE(path.fromVKBookmarkData(info.get()), kVKStatusSuccess);
    QCOMPARE(path.path(), u"C:/"_s); // the flag took part in making it canonical
    QCOMPARE(path.fullVolumeCached(), path.fullVolume());
}

void VKQtPathTokenTest::roundTrip() {
    for (const bool folder : {false, true}) {
        VKQtPath path(u"/photos/Фото é.jpg"_s, folder);
        path.setSecurityToken(dataOf("/photos").get());
        const Info info = Info::adopt(path.makeVKBookmarkData());
        VKQtPath back;
        QCOMPARE(back.fromVKBookmarkData(info.get()), kVKStatusSuccess);
        QCOMPARE(back.path(), path.path());
        QCOMPARE(back.isFolder(), folder);
        QCOMPARE(back.securityToken(), path.securityToken());
    }
}

void VKQtPathTokenTest::loadsTheStoredToken() {
    const Data data = dataOf("/photos");
    VKBookmarkManager::sharedInstance()->addBookmarkData(CoreKit::makeUrl("/photos", true).get(), data.get(),
                                                         false);
    VKQtPath path(u"/photos"_s, true);
    path.setSecurityToken(dataOf("/old").get());
    QCOMPARE(VKQtPathUtils::loadSecurityToken(path), kVKStatusSuccess);
    QCOMPARE(path.securityToken(), data.get());
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex{3});
}

void VKQtPathTokenTest::loadsNothing() {
    const Data own = dataOf("/own");
    VKBookmarkManager::sharedInstance()->addBookmarkData(CoreKit::makeUrl("/photos", true).get(), nullptr,
                                                         false);
    for (const QString& text : {u"/photos"_s, u"/photos/in/it"_s, QString()}) {
        VKQtPath path(text, true);
        QCOMPARE(VKQtPathUtils::loadSecurityToken(path), kVKStatusSuccess);
        QCOMPARE(path.securityToken(), nullptr);
        path.setSecurityToken(own.get());
        QCOMPARE(VKQtPathUtils::loadSecurityToken(path), kVKStatusSuccess);
        QCOMPARE(path.securityToken(), own.get());
    }
    QCOMPARE(BookmarkStandIn::created(), 0);
}

void VKQtPathTokenTest::makesNoManager() {
    VKQtPath path(u"/photos"_s, true);
    QCOMPARE(VKQtPathUtils::loadSecurityToken(path), kVKStatusSuccess);
    QCOMPARE(path.securityToken(), nullptr);
    // Had it made one, the entitlements would be registered; a record that is there only later proves nothing
    // else than that the first use is still to come.
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed);
    VKBookmarkManager* const manager = VKBookmarkManager::sharedInstance();
    VKProcessSetSandboxed(VKSandboxAnswer::Sandboxed);
    QVERIFY(!manager->hasSandboxAccess(VKQtPathUtils::picturesPath(), nullptr));
}

VKTEST_MAIN(VKQtPathTokenTest)
#include "VKQtPathTokenTest.moc"
