// The kept form of a bookmark: what is saved, what is loaded from files of this release, of former ones and of none.
#include "BookmarkSupport.h"

#include <limits>

using namespace BookmarkTest;
using namespace Qt::StringLiterals;
using BookmarkStandIn::dataOf;
using BookmarkStandIn::openScopes;

class VKBookmarkInfoTest : public BookmarkTest::Test {
    Q_OBJECT

private Q_SLOTS:
    void init() { begin(); }
    void cleanup() { end(); }

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
};

void VKBookmarkInfoTest::info() {
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

void VKBookmarkInfoTest::infoWithoutPathAndData() {
    const Info info = Info::adopt(makeBookmark()->getInfoCopy());
    QCOMPARE(CFDictionaryGetCount(info.get()), CFIndex{3});
    QVERIFY(!CFDictionaryContainsKey(info.get(), CFSTR("name")));
    QVERIFY(!CFDictionaryContainsKey(info.get(), CFSTR("data")));
}

void VKBookmarkInfoTest::keptForm() {
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

void VKBookmarkInfoTest::roundTrip_data() {
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

void VKBookmarkInfoTest::roundTrip() {
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

void VKBookmarkInfoTest::savingAppends() {
    const Owned bookmark = makeBookmark();
    bookmark->setPath(u"/a"_s);
    QByteArray once;
    QCOMPARE(bookmark->save(once), kVKStatusSuccess);
    QByteArray bytes = "before";
    QCOMPARE(bookmark->save(bytes), kVKStatusSuccess);
    QCOMPARE(bytes, "before" + once);
}

void VKBookmarkInfoTest::savingNoUnicode() {
    const Owned bookmark = makeBookmark();
    bookmark->setPath(QString(u"/a"_s + QChar(0xd800)));
    QByteArray bytes = "before";
    QCOMPARE(bookmark->save(bytes), kVKStatusNotConvertible);
    QCOMPARE(bytes, QByteArray("before"));
}

void VKBookmarkInfoTest::loadingWithoutName() {
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

void VKBookmarkInfoTest::loadingWithoutKind() {
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

void VKBookmarkInfoTest::loadingOddTypes() {
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

void VKBookmarkInfoTest::loadingNumbers_data() {
    QTest::addColumn<int>("file");
    QTest::addColumn<bool>("isFile");
    QTest::newRow("folder") << 0 << false;
    QTest::newRow("file") << 1 << true;
    QTest::newRow("anything but 0 is a file") << 2 << true;
    QTest::newRow("negative") << -1 << true;
}

void VKBookmarkInfoTest::loadingNumbers() {
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

void VKBookmarkInfoTest::loadingRegisters() {
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

void VKBookmarkInfoTest::loadingWithoutDataMakesAFolderUrl() {
    const Owned bookmark = makeBookmark();
    QCOMPARE(bookmark->load(makeInfo(u"/photos/a.jpg"_s, nullptr, 1).get()), kVKStatusSuccess);
    QVERIFY(bookmark->isFile());
    QCOMPARE(textOf(bookmark->resolveUrlPath()), QByteArray("file:///photos/a.jpg/"));
    QVERIFY(recordOf("/photos/a.jpg", true) != nullptr);
    // Now it knows better.
    QCOMPARE(bookmark->load(makeInfo(u"/photos/a.jpg"_s, nullptr, 1).get()), kVKStatusSuccess);
    QCOMPARE(textOf(bookmark->resolveUrlPath()), QByteArray("file:///photos/a.jpg"));
}

void VKBookmarkInfoTest::loadingTwice() {
    const Owned bookmark = makeLoaded("/photos/a.jpg");
    QVERIFY(bookmark);
    QCOMPARE(textOf(bookmark->resolveUrlPath()), QByteArray("file:///photos/a.jpg"));
    QCOMPARE(bookmark->load(makeInfo(u"/photos/b.jpg"_s, dataOf("/photos/b.jpg").get(), 1).get()),
             kVKStatusSuccess);
    QCOMPARE(textOf(bookmark->resolveUrlPath()), QByteArray("file:///photos/b.jpg"));
    QCOMPARE(recordOf("/photos/b.jpg")->count, 0);
}

void VKBookmarkInfoTest::loadingTwiceChecksIn() {
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

void VKBookmarkInfoTest::loadingBytes_data() {
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

void VKBookmarkInfoTest::loadingBytes() {
    QFETCH(QByteArray, xml);
    QFETCH(VKStatus, status);
    const Owned bookmark = makeBookmark();
    QCOMPARE(bookmark->load(xml), status);
    if (status == kVKBookmarkNotAList) {
        QCOMPARE(bookmark->path(), QString());
    }
}

void VKBookmarkInfoTest::loadingFormerFiles() {
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

VKTEST_MAIN(VKBookmarkInfoTest)
#include "VKBookmarkInfoTest.moc"
