// The registry of bookmarks: registering, entitlements, records, tear-down, threads. The bookmark calls below it are a
// stand-in, so that every answer of a sandbox can be had.
#include "BookmarkSupport.h"

#include "Support/DiskSupport.h"

#include <VKQtPathUtils.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace BookmarkTest;
using namespace Qt::StringLiterals;
using BookmarkStandIn::dataOf;
using BookmarkStandIn::openScopes;
using BookmarkStandIn::stops;

class VKBookmarkManagerTest : public BookmarkTest::Test {
    Q_OBJECT

private Q_SLOTS:
    void init() { begin(); }
    void cleanup() { end(); }

    void nothingOutsideASandbox();
    void sharedInstance();

    void registering();
    void registeringAgain_data();
    void registeringAgain();
    void registeringNothing();
    void registeringTakesTheStoredToken();
    void folderFlag();
    void recordsRetainTheirData();
    void recordsByEqualUrls();
    void entitledPaths_data();
    void entitledPaths();

    void entitlements();
    void recordValues();
    void destroyingARecord();
    void destroyingALooseRecord();
    void tearDown();
    void tearDownOutsideTheSandbox();
    void threads();
    void sandboxIsAskedOnEveryCall();
};

void VKBookmarkManagerTest::nothingOutsideASandbox() {
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed);
    const CoreKit::LogCapture log;
    const OwnedManager manager = makeManager();
    const Url url = urlOf("/photos/a.jpg");
    BookmarkStandIn::grant("/photos/a.jpg");
    manager->addBookmark(url.get(), dataOf("/photos/a.jpg").get(), false);
    manager->addBookmark(filePath("/photos/a.jpg"), true);
    manager->addBookmarkData(url.get(), nullptr, true);
    manager->addBookmarkData(nullptr, nullptr, false); // not even logged
    manager->addEntitledPath(folderPath("/photos"));
    manager->addEntitlements();
    QCOMPARE(manager->getBookmarkData(url.get(), true), nullptr);

    QVERIFY(!manager->checkOutPath(url.get()));
    QVERIFY(manager->checkOutPath(filePath("/photos/a.jpg"))); // unlike the URL's: "go on"
    manager->checkInPath(url.get());
    manager->checkInPath(filePath("/photos/a.jpg"));
    QCOMPARE(stops("file:///photos/a.jpg"), 0);

    CFDataRef token = dataOf("/x").get();
    QCOMPARE(manager->createSecurityToken(url.get(), token), kVKStatusSuccess);
    QCOMPARE(token, nullptr);
    VKQtPath path = filePath("/photos/a.jpg");
    const Data kept = dataOf("/y");
    path.setSecurityToken(kept.get());
    QCOMPARE(manager->createSecurityToken(path, token), kVKStatusSuccess);
    QCOMPARE(token, nullptr);
    QCOMPARE(path.securityToken(), kept.get());

    CFDataRef held = kept.get();
    QVERIFY(manager->hasSandboxAccess(filePath("/anything"), &held));
    QCOMPARE(held, nullptr);
    QCOMPARE(BookmarkStandIn::created() + BookmarkStandIn::resolved(), 0);
}

void VKBookmarkManagerTest::sharedInstance() {
    VKBookmarkManager* const manager = VKBookmarkManager::sharedInstance();
    QCOMPARE(VKBookmarkManager::sharedInstance(), manager);
    manager->addBookmarkData(urlOf("/a").get(), dataOf("/a").get(), false);
    VKBookmarkManager::deleteInstance();
    VKBookmarkManager::deleteInstance(); // none: harmless
    QCOMPARE(VKBookmarkManager::sharedInstance()->getBookmarkData(urlOf("/a").get(), true), nullptr);
}

void VKBookmarkManagerTest::registering() {
    const OwnedManager manager = makeManager();
    const Url url = urlOf("/photos/a.jpg");
    const Data data = dataOf("/photos/a.jpg");
    manager->addBookmark(url.get(), data.get(), false);
    const Record* const record = manager->getBookmarkData(url.get(), true);
    QVERIFY(record != nullptr);
    QCOMPARE(record->bookmark, data.get());
    QCOMPARE(record->count, 0);
    QVERIFY(!record->entitled);
    QVERIFY(!record->isFolder);
    QCOMPARE(manager->getBookmarkData(url.get(), false), record);
    QCOMPARE(manager->getBookmarkData(nullptr, true), nullptr);
    QCOMPARE(manager->getBookmarkData(urlOf("/photos/b.jpg").get(), true), nullptr);

    VKQtPath path = filePath("/photos/b.jpg");
    const Data ofPath = dataOf("/photos/b.jpg");
    path.setSecurityToken(ofPath.get());
    manager->addBookmark(path, true);
    const Record* const second = manager->getBookmarkData(urlOf("/photos/b.jpg").get(), true);
    QVERIFY(second != nullptr);
    QCOMPARE(second->bookmark, ofPath.get());
    QVERIFY(second->entitled);
}

void VKBookmarkManagerTest::registeringAgain_data() {
    QTest::addColumn<bool>("firstEntitled");
    QTest::addColumn<bool>("secondEntitled");
    QTest::addColumn<bool>("secondHasData");
    QTest::addColumn<bool>("entitled");
    QTest::newRow("new data") << false << false << true << false;
    QTest::newRow("no data keeps the first") << false << false << false << false;
    QTest::newRow("becomes entitled") << false << true << true << true;
    QTest::newRow("becomes entitled, no data") << false << true << false << true;
    QTest::newRow("never becomes unentitled") << true << false << true << true;
}

void VKBookmarkManagerTest::registeringAgain() {
    QFETCH(bool, firstEntitled);
    QFETCH(bool, secondEntitled);
    QFETCH(bool, secondHasData);
    QFETCH(bool, entitled);
    const OwnedManager manager = makeManager();
    const Url url = urlOf("/photos/a.jpg");
    const Data first = dataOf("/one");
    const Data second = dataOf("/two");
    manager->addBookmarkData(url.get(), first.get(), firstEntitled);
    Record* const record = manager->getBookmarkData(url.get(), true);
    record->count = 7;
    manager->addBookmarkData(url.get(), secondHasData ? second.get() : nullptr, secondEntitled);
    QCOMPARE(manager->getBookmarkData(url.get(), true), record);
    QCOMPARE(record->bookmark, secondHasData ? second.get() : first.get());
    QCOMPARE(record->entitled, entitled);
    QCOMPARE(record->count, 7);
    record->count = 0;
    QCOMPARE(CFGetRetainCount(first.get()), CFIndex{secondHasData ? 1 : 2});
    QCOMPARE(CFGetRetainCount(second.get()), CFIndex{secondHasData ? 2 : 1});
}

void VKBookmarkManagerTest::registeringNothing() {
    const OwnedManager manager = makeManager();
    CoreKit::LogCapture log;
    manager->addBookmark(nullptr, dataOf("/a").get(), false);
    QList<CoreKit::LogLine> lines = log.take();
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines.first().status, kVKStatusBadArgument);
    QCOMPARE(lines.first().source, QByteArray("VKQtCore/Source/Common/VKBookmarkManager"));

    manager->addBookmark(VKQtPath(), false); // it has no URL: the same
    lines = log.take();
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines.first().status, kVKStatusBadArgument);

    manager->addBookmarkData(CoreKit::makeWebUrl().get(), dataOf("/a").get(), false);
    manager->addEntitledPath(VKQtPath());
    QVERIFY(log.take().isEmpty());
    QCOMPARE(manager->getBookmarkData(CoreKit::makeWebUrl().get(), true), nullptr);
}

void VKBookmarkManagerTest::registeringTakesTheStoredToken() {
    VKBookmarkManager* const shared = VKBookmarkManager::sharedInstance();
    const Data data = dataOf("/photos/a.jpg");
    shared->addBookmarkData(urlOf("/photos/a.jpg").get(), data.get(), false);
    // What the process holds for the path serves another registry too.
    const OwnedManager manager = makeManager();
    manager->addBookmarkData(urlOf("/photos/a.jpg").get(), nullptr, false);
    manager->addBookmarkData(urlOf("/photos/b.jpg").get(), nullptr, false);
    QCOMPARE(manager->getBookmarkData(urlOf("/photos/a.jpg").get(), true)->bookmark, data.get());
    QCOMPARE(manager->getBookmarkData(urlOf("/photos/b.jpg").get(), true)->bookmark, nullptr);
    QCOMPARE(BookmarkStandIn::created(), 0);
}

void VKBookmarkManagerTest::folderFlag() {
    const QByteArray folder = makeFolder(u"flags"_s).toUtf8();
    Disk::makeFile(folder + "/a.jpg");
    Disk::makeLink(folder + "/link", folder);
    const OwnedManager manager = makeManager();
    const std::pair<QByteArray, bool> rows[] = {
        {folder, true}, {folder + "/a.jpg", false}, {folder + "/link", true}, {folder + "/none", false}};
    for (const auto& [path, isFolder] : rows) {
        // The disk decides, whatever the URL says.
        for (const bool urlSays : {true, false}) {
            const Url url = urlOf(path, urlSays);
            manager->addBookmarkData(url.get(), dataOf(path).get(), false);
            QCOMPARE(manager->getBookmarkData(url.get(), true)->isFolder, isFolder);
        }
    }
}

void VKBookmarkManagerTest::recordsRetainTheirData() {
    const Data data = dataOf("/a");
    const Url url = urlOf("/a");
    {
        const OwnedManager manager = makeManager();
        manager->addBookmarkData(url.get(), data.get(), false);
        QCOMPARE(CFGetRetainCount(data.get()), CFIndex{2});
        QCOMPARE(CFGetRetainCount(url.get()), CFIndex{2});
        manager->addBookmarkData(url.get(), data.get(), false); // the same again
        QCOMPARE(CFGetRetainCount(data.get()), CFIndex{2});
        manager->addBookmarkData(url.get(), nullptr, false);
        QCOMPARE(CFGetRetainCount(data.get()), CFIndex{2});
    }
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex{1});
    QCOMPARE(CFGetRetainCount(url.get()), CFIndex{1});
}

void VKBookmarkManagerTest::recordsByEqualUrls() {
    const OwnedManager manager = makeManager();
    manager->addBookmarkData(urlOf("/a", false).get(), dataOf("/a").get(), false);
    QVERIFY(manager->getBookmarkData(urlOf("/a", false).get(), true) != nullptr);
    QCOMPARE(manager->getBookmarkData(urlOf("/a", true).get(), true), nullptr);
    QCOMPARE(manager->getBookmarkData(urlOf("/A", false).get(), true), nullptr);
}

void VKBookmarkManagerTest::entitledPaths_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("registered");
    QTest::newRow("folder") << u"/photos"_s << true;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("names no file") << QString(u"/a"_s + QChar(u'\0') + u"b"_s) << false;
}

void VKBookmarkManagerTest::entitledPaths() {
    QFETCH(QString, path);
    QFETCH(bool, registered);
    const CoreKit::LogCapture log;
    const OwnedManager manager = makeManager();
    const VKQtPath value(path, true);
    manager->addEntitledPath(value);
    const Url url = Url::adopt(value.createCFUrl());
    const Record* const record = manager->getBookmarkData(url.get(), true);
    QCOMPARE(record != nullptr, registered);
    if (record != nullptr) {
        QVERIFY(record->entitled);
    }
}

void VKBookmarkManagerTest::entitlements() {
    const OwnedManager manager = makeManager();
    QString appData;
    QString caches;
    QCOMPARE(VKQtPathUtils::getFolderPath(nullptr, kVKFolderUserAppData, QString(), appData),
             kVKStatusSuccess);
    QCOMPARE(VKQtPathUtils::getFolderPath(nullptr, kVKFolderUserCaches, QString(), caches), kVKStatusSuccess);
    const VKQtPath pictures = VKQtPathUtils::picturesPath();
    for (const VKQtPath& folder : {VKQtPath(appData, true), VKQtPath(caches, true), pictures}) {
        QVERIFY(!folder.path().isEmpty());
        const Url url = Url::adopt(folder.createCFUrl());
        const Record* const record = manager->getBookmarkData(url.get(), true);
        QVERIFY2(record != nullptr && record->entitled, qPrintable(folder.path()));
        QCOMPARE(record->bookmark, nullptr);
        QVERIFY(manager->hasSandboxAccess(folder, nullptr));
        QVERIFY(!manager->checkOutPath(folder));
    }
    QVERIFY(manager->hasSandboxAccess(VKQtPath(appData + u"/x/y.json"_s, false), nullptr));
    QVERIFY(!manager->hasSandboxAccess(VKQtPathUtils::homePath(), nullptr));
}

void VKBookmarkManagerTest::recordValues() {
    const Data data = dataOf("/a");
    Record* const record = VKBookmarkManager::createBookmarkData(data.get(), true, true);
    QCOMPARE(record->bookmark, data.get());
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex{2});
    QCOMPARE(record->count, 0);
    QVERIFY(record->entitled);
    QVERIFY(record->isFolder);
    const auto value = Data::adopt(
        CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(&record), sizeof record));
    QCOMPARE(VKBookmarkManager::getBookmarkFromCFDataRef(value.get()), record);
    QCOMPARE(VKBookmarkManager::getBookmarkFromCFDataRef(nullptr), nullptr);
    QCOMPARE(VKBookmarkManager::getBookmarkFromCFDataRef(data.get()), nullptr);
    const OwnedManager manager = makeManager();
    manager->destroyBookmarkData(nullptr, record);
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex{1});
    manager->destroyBookmarkData(nullptr, nullptr);
}

void VKBookmarkManagerTest::destroyingARecord() {
    const OwnedManager manager = makeManager();
    const Url url = urlOf("/photos/a.jpg");
    const Data data = dataOf("/photos/a.jpg");
    BookmarkStandIn::grant("/photos/a.jpg");
    manager->addBookmarkData(url.get(), data.get(), false);
    QVERIFY(manager->checkOutPath(url.get()));
    QVERIFY(manager->checkOutPath(url.get()));
    QVERIFY(manager->hasSandboxAccess(filePath("/photos/a.jpg"), nullptr));
    manager->destroyBookmarkData(url.get(), manager->getBookmarkData(url.get(), true));
    manager->addBookmarkData(urlOf("/photos/b.jpg").get(), nullptr, true); // as many as before
    QCOMPARE(openScopes(textOf(url)), 0);
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex{1});
    QCOMPARE(manager->getBookmarkData(url.get(), true), nullptr);
    QVERIFY(!manager->hasSandboxAccess(filePath("/photos/a.jpg"), nullptr));
    QVERIFY(manager->hasSandboxAccess(filePath("/photos/b.jpg"), nullptr));
}

void VKBookmarkManagerTest::destroyingALooseRecord() {
    const OwnedManager manager = makeManager();
    const Url url = urlOf("/photos/a.jpg");
    manager->addBookmarkData(url.get(), dataOf("/photos/a.jpg").get(), false);
    Record* const registered = manager->getBookmarkData(url.get(), true);
    registered->count = 5;
    Record* const loose = VKBookmarkManager::createBookmarkData(nullptr, false, false);
    loose->count = 2;
    manager->destroyBookmarkData(url.get(), loose);
    // The registry's own record of the URL is another one.
    QCOMPARE(manager->getBookmarkData(url.get(), true), registered);
    QCOMPARE(registered->count, 5);
    QCOMPARE(stops(textOf(url)), 2);
    registered->count = 0;
}

void VKBookmarkManagerTest::tearDown() {
    OwnedManager manager = makeManager();
    const Url first = urlOf("/photos/a.jpg");
    const Url idle = urlOf("/photos/b.jpg");
    BookmarkStandIn::grant("/photos/a.jpg");
    const Data data = dataOf("/photos/a.jpg");
    manager->addBookmarkData(first.get(), data.get(), false);
    manager->addBookmarkData(idle.get(), data.get(), false);
    for (int i = 0; i < 3; ++i) {
        QVERIFY(manager->checkOutPath(first.get()));
    }
    manager.reset();
    QCOMPARE(openScopes(textOf(first)), 0);
    QCOMPARE(stops(textOf(first)), 3);
    QCOMPARE(stops(textOf(idle)), 0);
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex{1});
    QCOMPARE(CFGetRetainCount(first.get()), CFIndex{1});
}

void VKBookmarkManagerTest::tearDownOutsideTheSandbox() {
    OwnedManager manager = makeManager();
    const Url url = urlOf("/photos/a.jpg");
    BookmarkStandIn::grant("/photos/a.jpg");
    manager->addBookmarkData(url.get(), dataOf("/photos/a.jpg").get(), false);
    QVERIFY(manager->checkOutPath(url.get()));
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed);
    manager.reset(); // what was started is stopped all the same
    QCOMPARE(openScopes(textOf(url)), 0);
}

void VKBookmarkManagerTest::threads() {
    constexpr int kWorkers = 4;
    constexpr int kRounds = 300;
    const OwnedManager manager = makeManager();
    std::vector<QByteArray> paths;
    for (int i = 0; i < kWorkers; ++i) {
        paths.push_back("/photos/" + QByteArray::number(i) + ".jpg");
        BookmarkStandIn::grant(paths.back());
        manager->addBookmarkData(urlOf(paths.back()).get(), dataOf(paths.back()).get(), false);
    }
    // Each URL has its own thread for checkouts, as is asked of callers; everything else is free.
    std::atomic<int> wrong = 0;
    const auto work = [&](int worker) {
        const Url url = urlOf(paths[static_cast<std::size_t>(worker)]);
        const VKQtPath own(QString::fromUtf8(paths[static_cast<std::size_t>(worker)]), false);
        for (int round = 0; round < kRounds; ++round) {
            wrong += manager->checkOutPath(url.get()) ? 0 : 1;
            wrong += manager->hasSandboxAccess(own, nullptr) ? 0 : 1;
            static_cast<void>(manager->hasSandboxAccess(filePath("/photos/0.jpg"), nullptr));
            const QByteArray other = "/more/" + QByteArray::number(worker) + '-' + QByteArray::number(round);
            manager->addBookmarkData(urlOf(other).get(), dataOf(other).get(), false);
            const Url next = urlOf(paths[static_cast<std::size_t>((worker + 1) % kWorkers)]);
            manager->addBookmarkData(
                next.get(), dataOf(paths[static_cast<std::size_t>((worker + 1) % kWorkers)]).get(), false);
            wrong += manager->getBookmarkData(url.get(), true) != nullptr ? 0 : 1;
            manager->checkInPath(url.get());
        }
    };
    std::vector<std::thread> workers;
    for (int i = 0; i < kWorkers; ++i) {
        workers.emplace_back(work, i);
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    QCOMPARE(wrong.load(), 0);
    for (const QByteArray& path : paths) {
        QCOMPARE(manager->getBookmarkData(urlOf(path).get(), true)->count, 0);
        QCOMPARE(openScopes(textOf(urlOf(path))), 0);
    }
}

void VKBookmarkManagerTest::sandboxIsAskedOnEveryCall() {
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed);
    const OwnedManager manager = makeManager();
    QVERIFY(manager->hasSandboxAccess(filePath("/photos/a.jpg"), nullptr));
    VKProcessSetSandboxed(VKSandboxAnswer::Sandboxed);
    QVERIFY(!manager->hasSandboxAccess(filePath("/photos/a.jpg"), nullptr));
    // Made outside, it has no entitlements.
    QVERIFY(!manager->hasSandboxAccess(VKQtPathUtils::picturesPath(), nullptr));
    manager->addEntitlements();
    QVERIFY(manager->hasSandboxAccess(VKQtPathUtils::picturesPath(), nullptr));
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed);
    QVERIFY(manager->hasSandboxAccess(filePath("/photos/a.jpg"), nullptr));
}

VKTEST_MAIN(VKBookmarkManagerTest)
#include "VKBookmarkManagerTest.moc"
