// One bookmark: creating, resolving, checkouts, ownership. The bookmark calls below it are a stand-in, so that every
// answer of a sandbox can be had.
#include "BookmarkSupport.h"

#include <algorithm>
#include <vector>

using namespace BookmarkTest;
using namespace Qt::StringLiterals;
using BookmarkStandIn::dataOf;
using BookmarkStandIn::openScopes;

class VKBookmarkTest : public BookmarkTest::Test {
    Q_OBJECT

private Q_SLOTS:
    void init() { begin(); }
    void cleanup() { end(); }

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
};

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
