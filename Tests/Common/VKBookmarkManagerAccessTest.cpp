// What the registry of bookmarks gives: checkouts, tokens, the access question. The bookmark calls below it are a
// stand-in.
#include "BookmarkSupport.h"

#include <VKCoreKit/VKFileMgr.h>

using namespace BookmarkTest;
using namespace Qt::StringLiterals;
using BookmarkStandIn::dataOf;
using BookmarkStandIn::openScopes;
using BookmarkStandIn::stops;

class VKBookmarkManagerAccessTest : public BookmarkTest::Test {
    Q_OBJECT

private Q_SLOTS:
    void init() { begin(); }
    void cleanup() { end(); }

    void checkout();
    void checkoutRefused_data();
    void checkoutRefused();
    void checkoutGoesWhereTheItemIs();
    void checkoutOfPaths();
    void checkinWithoutACheckout();
    void checkinOfAnEntitledUrl();
    void checkinOfNothing();
    void securityToken();
    void securityTokenOfARegisteredUrl();
    void securityTokenFails();
    void securityTokenOfAPath();
    void access_data();
    void access();
    void accessWithCheckouts();
    void accessGivesTheToken();
    void idleRecordsDoNotEndTheSearch();
};

void VKBookmarkManagerAccessTest::checkout() {
    const OwnedManager manager = makeManager();
    const Url url = urlOf("/photos/a.jpg");
    BookmarkStandIn::grant("/photos/a.jpg");
    manager->addBookmarkData(url.get(), dataOf("/photos/a.jpg").get(), false);
    const Record* const record = manager->getBookmarkData(url.get(), true);
    QVERIFY(manager->checkOutPath(url.get()));
    QVERIFY(manager->checkOutPath(url.get()));
    QCOMPARE(record->count, 2);
    QCOMPARE(BookmarkStandIn::lastOptions(), CFOptionFlags{1024});
    QCOMPARE(openScopes(textOf(url)), 2);
    manager->checkInPath(url.get());
    QCOMPARE(record->count, 1);
    QCOMPARE(openScopes(textOf(url)), 1);
    manager->checkInPath(url.get());
    QCOMPARE(record->count, 0);
    QCOMPARE(openScopes(textOf(url)), 0);
}

void VKBookmarkManagerAccessTest::checkoutRefused_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("not registered") << QByteArray("/photos/unknown.jpg");
    QTest::newRow("entitled: there is nothing to start") << QByteArray("/photos/entitled.jpg");
    QTest::newRow("without data") << QByteArray("/photos/bare.jpg");
    QTest::newRow("does not resolve") << QByteArray("/photos/lost.jpg");
    QTest::newRow("the grant does not stand") << QByteArray("/photos/revoked.jpg");
}

void VKBookmarkManagerAccessTest::checkoutRefused() {
    QFETCH(QByteArray, path);
    CoreKit::LogCapture log;
    for (const char* const granted : {"/photos/unknown.jpg", "/photos/entitled.jpg", "/photos/bare.jpg",
                                      "/photos/lost.jpg", "/photos/revoked.jpg"}) {
        BookmarkStandIn::grant(granted);
    }
    BookmarkStandIn::revoke("/photos/revoked.jpg");
    BookmarkStandIn::failAt("/photos/lost.jpg", 2);
    const OwnedManager manager = makeManager();
    manager->addBookmarkData(urlOf("/photos/entitled.jpg").get(), dataOf("/photos/entitled.jpg").get(), true);
    manager->addBookmarkData(urlOf("/photos/bare.jpg").get(), nullptr, false);
    manager->addBookmarkData(urlOf("/photos/lost.jpg").get(), dataOf("/photos/lost.jpg").get(), false);
    manager->addBookmarkData(urlOf("/photos/revoked.jpg").get(), dataOf("/photos/revoked.jpg").get(), false);
    const Url url = urlOf(path);
    QVERIFY(!manager->checkOutPath(url.get()));
    QCOMPARE(openScopes(textOf(url)), 0);
    if (const Record* const record = manager->getBookmarkData(url.get(), true)) {
        QCOMPARE(record->count, 0);
    }
    QVERIFY(log.take().isEmpty()); // a refusal is an answer, not a failure
}

void VKBookmarkManagerAccessTest::checkoutGoesWhereTheItemIs() {
    const OwnedManager manager = makeManager();
    const Url url = urlOf("/photos/old.jpg");
    manager->addBookmarkData(url.get(), dataOf("/photos/old.jpg").get(), false);
    BookmarkStandIn::move("/photos/old.jpg", "/photos/new.jpg");
    BookmarkStandIn::grant("/photos/old.jpg");
    QVERIFY(!manager->checkOutPath(url.get()));
    BookmarkStandIn::grant("/photos/new.jpg");
    QVERIFY(manager->checkOutPath(url.get()));
    QCOMPARE(openScopes("file:///photos/new.jpg"), 1);
    // The way back is by the URL that was registered.
    manager->checkInPath(url.get());
    QCOMPARE(stops("file:///photos/old.jpg"), 1);
    QCOMPARE(stops("file:///photos/new.jpg"), 0);
}

void VKBookmarkManagerAccessTest::checkoutOfPaths() {
    const OwnedManager manager = makeManager();
    BookmarkStandIn::grant("/photos");
    manager->addBookmarkData(urlOf("/photos", true).get(), dataOf("/photos").get(), false);
    QVERIFY(manager->checkOutPath(folderPath("/photos")));
    QVERIFY(!manager->checkOutPath(filePath("/photos"))); // another URL
    QVERIFY(manager->checkOutPath(VKQtPath()));           // no URL can be made: "go on"
    const Record* const record = manager->getBookmarkData(urlOf("/photos", true).get(), true);
    QCOMPARE(record->count, 1);
    manager->checkInPath(VKQtPath());
    manager->checkInPath(filePath("/photos"));
    QCOMPARE(record->count, 1);
    manager->checkInPath(folderPath("/photos"));
    QCOMPARE(record->count, 0);
}

void VKBookmarkManagerAccessTest::checkinWithoutACheckout() {
    const OwnedManager manager = makeManager();
    const Url url = urlOf("/photos/a.jpg");
    manager->addBookmarkData(url.get(), dataOf("/photos/a.jpg").get(), false);
    manager->checkInPath(url.get());
    QCOMPARE(manager->getBookmarkData(url.get(), true)->count, 0);
    QCOMPARE(stops(textOf(url)), 1);
    BookmarkStandIn::grant("/photos/a.jpg");
    QVERIFY(manager->checkOutPath(url.get()));
    QCOMPARE(manager->getBookmarkData(url.get(), true)->count, 1);
}

void VKBookmarkManagerAccessTest::checkinOfAnEntitledUrl() {
    const OwnedManager manager = makeManager();
    const Url url = urlOf("/photos/a.jpg");
    manager->addBookmarkData(url.get(), nullptr, true);
    manager->getBookmarkData(url.get(), true)->count = 3;
    manager->checkInPath(url.get());
    QCOMPARE(manager->getBookmarkData(url.get(), true)->count, 3);
    QCOMPARE(stops(textOf(url)), 1);
    manager->getBookmarkData(url.get(), true)->count = 0;
}

void VKBookmarkManagerAccessTest::checkinOfNothing() {
    const OwnedManager manager = makeManager();
    manager->checkInPath(CFURLRef{nullptr});
    manager->checkInPath(urlOf("/not/registered").get());
    QCOMPARE(stops("file:///not/registered"), 0);
}

void VKBookmarkManagerAccessTest::securityToken() {
    const OwnedManager manager = makeManager();
    CFDataRef token = nullptr;
    QCOMPARE(manager->createSecurityToken(urlOf("/photos/a.jpg").get(), token), kVKStatusSuccess);
    const Data owned = Data::adopt(token);
    QCOMPARE(CFDataCopyQByteArray(owned.get()), QByteArray("item:/photos/a.jpg"));
    QCOMPARE(CFGetRetainCount(owned.get()), CFIndex{1});
    QCOMPARE(BookmarkStandIn::lastOptions(), CFOptionFlags{2048});
    // Making one registers nothing.
    QCOMPARE(manager->getBookmarkData(urlOf("/photos/a.jpg").get(), true), nullptr);
}

void VKBookmarkManagerAccessTest::securityTokenOfARegisteredUrl() {
    const OwnedManager manager = makeManager();
    const Data data = dataOf("/elsewhere");
    manager->addBookmarkData(urlOf("/a").get(), data.get(), false);
    manager->addBookmarkData(urlOf("/bare").get(), nullptr, false);
    CFDataRef token = nullptr;
    QCOMPARE(manager->createSecurityToken(urlOf("/a").get(), token), kVKStatusSuccess);
    QCOMPARE(token, data.get());
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex{3});
    CFRelease(token);
    QCOMPARE(BookmarkStandIn::created(), 0);
    QCOMPARE(manager->createSecurityToken(urlOf("/bare").get(), token), kVKStatusSuccess);
    QCOMPARE(CFDataCopyQByteArray(Data::adopt(token).get()), QByteArray("item:/bare"));
}

void VKBookmarkManagerAccessTest::securityTokenFails() {
    const OwnedManager manager = makeManager();
    CoreKit::LogCapture log;
    BookmarkStandIn::failAt("/photos/a.jpg", 13);
    const Data old = dataOf("/old");
    CFDataRef token = old.get();
    QCOMPARE(manager->createSecurityToken(urlOf("/photos/a.jpg").get(), token), VKStatus{13});
    QCOMPARE(token, nullptr);
    token = old.get();
    QCOMPARE(manager->createSecurityToken(CFURLRef{nullptr}, token), kVKStatusBadArgument);
    QCOMPARE(token, nullptr);
    VKQtPath path = filePath("/photos/a.jpg");
    path.setSecurityToken(old.get());
    QCOMPARE(manager->createSecurityToken(path, token), VKStatus{13});
    QCOMPARE(token, nullptr);
    QCOMPARE(path.securityToken(), old.get());
    QVERIFY(log.take().isEmpty());
}

void VKBookmarkManagerAccessTest::securityTokenOfAPath() {
    const OwnedManager manager = makeManager();
    VKQtPath path = filePath("/photos/a.jpg");
    CFDataRef token = nullptr;
    QCOMPARE(manager->createSecurityToken(path, token), kVKStatusSuccess);
    QVERIFY(token != nullptr);
    QCOMPARE(path.securityToken(), token);
    QCOMPARE(CFGetRetainCount(token), CFIndex{2}); // the caller's and the path's
    CFRelease(token);
    path.clear();
    QCOMPARE(manager->createSecurityToken(path, token), kVKStatusSuccess);
    QCOMPARE(token, nullptr);
}

void VKBookmarkManagerAccessTest::access_data() {
    QTest::addColumn<VKQtPath>("path");
    QTest::addColumn<bool>("reachable");
    QTest::newRow("the folder itself") << folderPath("/photos") << true;
    QTest::newRow("a file in it") << filePath("/photos/a.jpg") << true;
    QTest::newRow("deep in it") << filePath("/photos/2026/a.jpg") << true;
    QTest::newRow("equal without case") << folderPath("/PHOTOS") << true;
    QTest::newRow("inside with another case") << filePath("/PHOTOS/a.jpg") << false;
    QTest::newRow("a longer name is not inside") << filePath("/photos2/a.jpg") << false;
    QTest::newRow("the folder above") << folderPath("/") << false;
    QTest::newRow("another folder") << folderPath("/music") << false;
    QTest::newRow("a file that is registered") << filePath("/docs/one.jpg") << true;
    QTest::newRow("its text continued: files are compared as text") << filePath("/docs/one.jpg.xmp") << true;
    QTest::newRow("beside it") << filePath("/docs/two.jpg") << false;
    QTest::newRow("an empty path") << VKQtPath() << true;
}

void VKBookmarkManagerAccessTest::access() {
    QFETCH(VKQtPath, path);
    QFETCH(bool, reachable);
    const OwnedManager manager = makeManager();
    const Url file = urlOf("/docs/one.jpg");
    manager->addBookmarkData(file.get(), nullptr, true);
    // As the record of a folder that exists is.
    const Url folder = urlOf(makeFolder(u"photos"_s).toUtf8(), true);
    manager->addBookmarkData(folder.get(), nullptr, true);
    const QString root = CFStringCopyQString(
        VKCFRef<CFStringRef>::adopt(VKFileMgrGetFileSystemRepresentationCopy(folder.get())).get());
    VKQtPath asked = path;
    if (path.path().startsWith(u"/photos"_s)) {
        asked = VKQtPath(root + path.path().sliced(7), path.isFolder());
    } else if (path.path().startsWith(u"/PHOTOS"_s)) {
        asked = VKQtPath(root.toUpper() + path.path().sliced(7), path.isFolder());
    }
    QCOMPARE(manager->hasSandboxAccess(asked, nullptr), reachable);
}

void VKBookmarkManagerAccessTest::accessWithCheckouts() {
    const OwnedManager manager = makeManager();
    const Url url = urlOf("/photos/a.jpg");
    BookmarkStandIn::grant("/photos/a.jpg");
    manager->addBookmarkData(url.get(), dataOf("/photos/a.jpg").get(), false);
    QVERIFY(!manager->hasSandboxAccess(filePath("/photos/a.jpg"), nullptr));
    QVERIFY(manager->checkOutPath(url.get()));
    QVERIFY(manager->hasSandboxAccess(filePath("/photos/a.jpg"), nullptr));
    QVERIFY(manager->checkOutPath(url.get()));
    manager->checkInPath(url.get());
    QVERIFY(manager->hasSandboxAccess(filePath("/photos/a.jpg"), nullptr));
    manager->checkInPath(url.get());
    QVERIFY(!manager->hasSandboxAccess(filePath("/photos/a.jpg"), nullptr));
}

void VKBookmarkManagerAccessTest::accessGivesTheToken() {
    const OwnedManager manager = makeManager();
    const Data data = dataOf("/photos/a.jpg");
    const Data entitled = dataOf("/docs/a.jpg");
    BookmarkStandIn::grant("/photos/a.jpg");
    manager->addBookmarkData(urlOf("/photos/a.jpg").get(), data.get(), false);
    manager->addBookmarkData(urlOf("/docs/a.jpg").get(), entitled.get(), true);
    CFDataRef token = data.get();
    QVERIFY(!manager->hasSandboxAccess(filePath("/photos/a.jpg"), &token));
    QCOMPARE(token, nullptr);
    QVERIFY(manager->checkOutPath(filePath("/photos/a.jpg")));
    QVERIFY(manager->hasSandboxAccess(filePath("/photos/a.jpg"), &token));
    QCOMPARE(token, data.get());
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex{2}); // lent
    QVERIFY(manager->hasSandboxAccess(filePath("/docs/a.jpg"), &token));
    QCOMPARE(token, entitled.get());
    QVERIFY(manager->hasSandboxAccess(VKQtPath(), &token));
    QCOMPARE(token, nullptr);
}

void VKBookmarkManagerAccessTest::idleRecordsDoNotEndTheSearch() {
    const OwnedManager manager = makeManager();
    // Many idle ones that match, so that the one that decides is not always the first in any order.
    QByteArray path = "/p";
    for (int i = 0; i < 50; ++i) {
        path += "/x";
        manager->addBookmarkData(urlOf(path).get(), dataOf(path).get(), false);
    }
    QVERIFY(!manager->hasSandboxAccess(VKQtPath(QString::fromUtf8(path), false), nullptr));
    manager->addBookmarkData(urlOf("/p").get(), nullptr, true);
    QVERIFY(manager->hasSandboxAccess(VKQtPath(QString::fromUtf8(path), false), nullptr));
}

VKTEST_MAIN(VKBookmarkManagerAccessTest)
#include "VKBookmarkManagerAccessTest.moc"
