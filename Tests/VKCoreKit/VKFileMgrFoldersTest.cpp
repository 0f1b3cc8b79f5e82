// Well-known folders: the machine's own, those that were told, subfolders, and the user's own folders.
#include "Support/DiskSupport.h"
#include "VKCoreKit/CoreKitSupport.h"

#include <cerrno>
#include <thread>
#include <vector>

using namespace CoreKit;
using namespace Qt::StringLiterals;

namespace {

/// The folder's bytes, or "status N".
QByteArray folder(VKFolderType type, CFStringRef subfolder = nullptr) {
    VKCFRef<CFURLRef> url;
    const VKStatus status = VKFileMgrGetFolderPathCopy(nullptr, type, subfolder, url.out());
    if (status != kVKStatusSuccess) {
        return url ? QByteArray("a URL after a failure") : QByteArray("status " + QByteArray::number(status));
    }
    return CFURLHasDirectoryPath(url.get()) ? CFURLCopyFileSystemBytes(url.get()) : "no folder URL";
}

QByteArray userFolder(VKUserFolder kind) {
    VKCFRef<CFURLRef> url;
    const VKStatus status = VKFileMgrGetUserFolderCopy(kind, url.out());
    return status == kVKStatusSuccess ? CFURLCopyFileSystemBytes(url.get())
                                      : "status " + QByteArray::number(status);
}

/// Puts a well-known folder elsewhere while the object lives.
class ToldFolder {
public:
    ToldFolder(VKFolderType type, const QByteArray& path) : mType(type) {
        VKFileMgrSetFolderPath(type, makeUrl(path, true).get());
    }
    ToldFolder(const ToldFolder&) = delete;
    ToldFolder& operator=(const ToldFolder&) = delete;
    ~ToldFolder() { VKFileMgrSetFolderPath(mType, nullptr); }

private:
    VKFolderType mType;
};

} // namespace

class VKFileMgrFoldersTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void machinesOwn_data();
    void machinesOwn();
    void unknownNumbers();
    void badArguments();
    void toldFolders_data();
    void toldFolders();
    void cloudDocumentsAreNotMade();
    void urlThatNamesNoFile();
    void folderThatCannotBeMade();
    void subfolders_data();
    void subfolders();
    void subfolderUnderAnotherSpelling();
    void subfolderOfAnUndecodableFolder();
    void temporaryItems();
    void withoutHome();
    void usersOwn();
    void factoryContent();
    void manyThreads();
};

void VKFileMgrFoldersTest::machinesOwn_data() {
    QTest::addColumn<int>("type");
    QTest::addColumn<QByteArray>("place");
    QTest::newRow("application data") << 2 << QByteArray(qgetenv("XDG_DATA_HOME") + "/VK");
    QTest::newRow("caches") << 4 << QByteArray(qgetenv("XDG_CACHE_HOME") + "/VK");
    QTest::newRow("temporary items") << 14 << qgetenv("TMPDIR");
    QTest::newRow("raw work folder") << 16 << QByteArray(qgetenv("XDG_DATA_HOME") + "/VK");
    QTest::newRow("cloud documents") << 6 << QByteArray("status 1007");
}

void VKFileMgrFoldersTest::machinesOwn() {
    QFETCH(int, type);
    QFETCH(QByteArray, place);
    QCOMPARE(folder(static_cast<VKFolderType>(type)), place);
    QVERIFY(place.startsWith("status") || Disk::exists(place));
}

void VKFileMgrFoldersTest::unknownNumbers() {
    for (const int type : {-1, 0, 1, 3, 5, 7, 15, 17, 1000}) {
        QCOMPARE(folder(static_cast<VKFolderType>(type)), QByteArray("status 1007"));
    }
    const QByteArray place = makeFolder().toUtf8();
    const ToldFolder told(static_cast<VKFolderType>(99), place);
    QCOMPARE(folder(static_cast<VKFolderType>(99)), place);
}

void VKFileMgrFoldersTest::badArguments() {
    QCOMPARE(VKFileMgrGetFolderPathCopy(nullptr, kVKFolderUserAppData, nullptr, nullptr),
             kVKStatusBadArgument);
    QCOMPARE(VKFileMgrGetUserFolderCopy(VKUserFolder::Music, nullptr), kVKStatusBadArgument);
    CFURLRef url = reinterpret_cast<CFURLRef>(1);
    QCOMPARE(VKFileMgrGetFolderPathCopy(nullptr, kVKFolderCloudDocuments, nullptr, &url), kVKStatusCancelled);
    QCOMPARE(url, nullptr);
    // The domain is the platform's and changes nothing here.
    int domain = 0;
    VKCFRef<CFURLRef> byDomain;
    QCOMPARE(VKFileMgrGetFolderPathCopy(&domain, kVKFolderUserAppData, nullptr, byDomain.out()),
             kVKStatusSuccess);
    QCOMPARE(CFURLCopyFileSystemBytes(byDomain.get()), folder(kVKFolderUserAppData));
}

void VKFileMgrFoldersTest::toldFolders_data() {
    QTest::addColumn<int>("type");
    for (const int type : {2, 4, 14, 16}) {
        QTest::addRow("%d", type) << type;
    }
}

void VKFileMgrFoldersTest::toldFolders() {
    QFETCH(int, type);
    const auto kind = static_cast<VKFolderType>(type);
    const QByteArray before = folder(kind);
    const QByteArray place = makeFolder().toUtf8() + "/made/for it";
    {
        const ToldFolder told(kind, place);
        QCOMPARE(folder(kind), place);
        QVERIFY(Disk::exists(place));
        const QByteArray other = makeFolder().toUtf8();
        const ToldFolder toldAgain(kind, other);
        QCOMPARE(folder(kind), other);
    }
    QCOMPARE(folder(kind), before);
}

void VKFileMgrFoldersTest::cloudDocumentsAreNotMade() {
    const QByteArray place = makeFolder().toUtf8() + "/cloud/Documents";
    const ToldFolder told(kVKFolderCloudDocuments, place);
    QCOMPARE(folder(kVKFolderCloudDocuments), place);
    QVERIFY(!Disk::exists(place));
}

void VKFileMgrFoldersTest::urlThatNamesNoFile() {
    VKFileMgrSetFolderPath(kVKFolderUserCaches, makeWebUrl().get());
    QCOMPARE(folder(kVKFolderUserCaches), QByteArray("status 1002"));
    VKFileMgrSetFolderPath(kVKFolderUserCaches, nullptr);
}

void VKFileMgrFoldersTest::folderThatCannotBeMade() {
    const QByteArray file = makeFolder().toUtf8() + "/file";
    Disk::makeFile(file, "content");
    const ToldFolder told(kVKFolderUserCaches, file);
    QCOMPARE(folder(kVKFolderUserCaches), "status " + QByteArray::number(EEXIST));
    QCOMPARE(Disk::contentOf(file), QByteArray("content"));
}

void VKFileMgrFoldersTest::subfolders_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("end");
    QTest::newRow("plain") << u"+raw"_s << QByteArray("/+raw");
    QTest::newRow("two") << u"a/b"_s << QByteArray("/a/b");
    QTest::newRow("percent sign and blank") << u"a %41"_s << QByteArray("/a %41");
    QTest::newRow("decomposed: made composed") << u"Cafe\u0301"_s << QByteArray("/Caf\xc3\xa9");
    QTest::newRow("empty is none") << u""_s << QByteArray();
}

void VKFileMgrFoldersTest::subfolders() {
    QFETCH(QString, name);
    QFETCH(QByteArray, end);
    const QByteArray base = folder(kVKFolderUserCaches);
    QCOMPARE(folder(kVKFolderUserCaches, makeString(name).get()), base + end);
    QVERIFY(end.isEmpty() || !Disk::exists(base + end));
}

void VKFileMgrFoldersTest::subfolderUnderAnotherSpelling() {
    const QByteArray place = makeFolder().toUtf8();
    const ToldFolder told(kVKFolderUserCaches, place);
    Disk::makeFolder(place + "/Cafe\xcc\x81");
    QCOMPARE(folder(kVKFolderUserCaches, makeString(u"Café"_s).get()), place + "/Cafe\xcc\x81");
    Disk::makeFolder(place + "/lat\xe9");
    QCOMPARE(folder(kVKFolderUserCaches, makeString(u"lat\uFFFD"_s).get()), place + "/lat\xe9");
    QCOMPARE(folder(kVKFolderUserCaches, makeString(QString(QChar(0xDC00))).get()),
             QByteArray("status 1002"));
    QCOMPARE(folder(kVKFolderUserCaches, makeString(u"a\0b"_s).get()), QByteArray("status 1002"));
}

void VKFileMgrFoldersTest::subfolderOfAnUndecodableFolder() {
    const QByteArray place = makeFolder().toUtf8();
    // Two folders whose names read the same: the text leads to neither, the bytes do.
    for (const char* name : {"/x\xe9", "/x\xe8"}) {
        Disk::makeFolder(place + name);
        const ToldFolder told(kVKFolderUserCaches, place + name);
        QCOMPARE(folder(kVKFolderUserCaches, CFSTR("sub")), place + name + "/sub");
        QCOMPARE(folder(kVKFolderUserCaches, makeString(u"süb"_s).get()), place + name +
                                                                              "/s\xc3\xbc"
                                                                              "b");
    }
}

void VKFileMgrFoldersTest::temporaryItems() {
    const QByteArray before = qgetenv("TMPDIR");
    for (const char* value : {"", "relative", "/dev/null/x"}) {
        qputenv("TMPDIR", value);
        QCOMPARE(folder(kVKFolderTemporaryItems), QByteArray("/tmp"));
    }
    qputenv("TMPDIR", before);
}

void VKFileMgrFoldersTest::withoutHome() {
    // The user database answers then, as long as the variables of their own do not.
    const QByteArray home = qgetenv("HOME");
    qunsetenv("HOME");
    const QByteArray data = folder(kVKFolderUserAppData);
    qputenv("HOME", home);
    QCOMPARE(data, QByteArray(qgetenv("XDG_DATA_HOME") + "/VK"));
}

void VKFileMgrFoldersTest::usersOwn() {
    const QByteArray file = qgetenv("XDG_CONFIG_HOME") + "/user-dirs.dirs";
    const QByteArray home = qgetenv("HOME");
    QCOMPARE(userFolder(VKUserFolder::Desktop), QByteArray(home + "/Desktop"));
    QCOMPARE(userFolder(VKUserFolder::Documents), QByteArray(home + "/Documents"));
    QCOMPARE(userFolder(VKUserFolder::Downloads), QByteArray(home + "/Downloads"));
    QCOMPARE(userFolder(VKUserFolder::Music), QByteArray(home + "/Music"));
    QCOMPARE(userFolder(VKUserFolder::Pictures), QByteArray(home + "/Pictures"));
    QCOMPARE(userFolder(VKUserFolder::Videos), QByteArray(home + "/Videos"));
    QVERIFY(!Disk::exists(home + "/Music"));
    Disk::makeFile(file, "XDG_PICTURES_DIR=\"$HOME/Bilder\xe9\"\nXDG_DESKTOP_DIR=\"$HOME/\"\n");
    QCOMPARE(userFolder(VKUserFolder::Pictures), QByteArray(home + "/Bilder\xe9"));
    QCOMPARE(userFolder(VKUserFolder::Desktop), QByteArray("status 1007"));
    QVERIFY(::unlink(file.constData()) == 0);
}

void VKFileMgrFoldersTest::factoryContent() {
    QCOMPARE(VKFileMgrGetFactoryContentLocationCopy(), nullptr);
    const auto url = makeUrl("/opt/suite", true);
    VKFileMgrSetFactoryContentLocation(url.get());
    const auto got = VKCFRef<CFURLRef>::adopt(VKFileMgrGetFactoryContentLocationCopy());
    QVERIFY(CFEqual(got.get(), url.get()));
    QCOMPARE(CFGetRetainCount(url.get()), CFIndex(got.get() == url.get() ? 3 : 2));
    VKFileMgrSetFactoryContentLocation(nullptr);
    QCOMPARE(VKFileMgrGetFactoryContentLocationCopy(), nullptr);
}

void VKFileMgrFoldersTest::manyThreads() {
    const QByteArray one = makeFolder().toUtf8();
    const QByteArray two = makeFolder().toUtf8();
    const ToldFolder told(kVKFolderRawWork, one);
    std::vector<std::thread> threads;
    std::vector<int> odd(6, 0);
    for (std::size_t i = 0; i < odd.size(); ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 200; ++round) {
                if (i % 2 == 0) {
                    VKFileMgrSetFolderPath(kVKFolderRawWork, makeUrl(round % 2 == 0 ? one : two, true).get());
                } else {
                    const QByteArray place = folder(kVKFolderRawWork);
                    odd[i] += place != one && place != two ? 1 : 0;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(odd, std::vector<int>(6, 0));
}

VKTEST_MAIN(VKFileMgrFoldersTest)
#include "VKFileMgrFoldersTest.moc"
