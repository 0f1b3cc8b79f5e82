// URLs for copies and for sidecars.
#include "VKCoreKit/VKFileMgr.h"

#include "CoreKitSupport.h"
#include "Support/DiskSupport.h"

#include <fcntl.h>

using namespace CoreKit;
using namespace Qt::StringLiterals;

class VKFileMgrNamesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void uniqueName();
    void besideThePlace();
    void folderFlag();
    void uniqueNameOfNothing();
    void firstNumber();
    void twoProcesses();

    void sidecar_data();
    void sidecar();
    void sidecarOnDisk_data();
    void sidecarOnDisk();
    void sidecarWrongArguments();

private:
    [[nodiscard]] QByteArray unique(const QByteArray& place, const QString& name, bool isFile = true,
                                    int firstNumber = 0) const;

    QByteArray mRoot;
};

void VKFileMgrNamesTest::init() {
    VKTest::init();
    mRoot = makeFolder(QStringLiteral("names")).toUtf8();
}

void VKFileMgrNamesTest::cleanup() { Disk::removeTree(mRoot); }

/// The path below the test's folder; a null one when there is no URL.
QByteArray VKFileMgrNamesTest::unique(const QByteArray& place, const QString& name, bool isFile,
                                      int firstNumber) const {
    const auto url = VKCFRef<CFURLRef>::adopt(
        VKFileMgrCreateUniquePathName(makeUrl(mRoot + place).get(), makeString(name).get(), isFile,
                                      makeString(u"copy"_s).get(), firstNumber));
    const QByteArray path = CFURLCopyFileSystemBytes(url.get());
    return path.startsWith(mRoot) ? path.sliced(mRoot.size()) : QByteArray();
}

void VKFileMgrNamesTest::uniqueName() {
    QCOMPARE(unique("/a.jpg", u"a.jpg"_s), QByteArray("/a.jpg"));
    Disk::makeFile(mRoot + "/a.jpg");
    QCOMPARE(unique("/a.jpg", u"a.jpg"_s), QByteArray("/a copy.jpg"));
    Disk::makeFile(mRoot + "/a copy.jpg");
    QCOMPARE(unique("/a.jpg", u"a.jpg"_s), QByteArray("/a copy 2.jpg"));
    QCOMPARE(unique("/a.jpg", u"b.jpg"_s), QByteArray("/b.jpg"));
    // In another language.
    const auto url = VKCFRef<CFURLRef>::adopt(
        VKFileMgrCreateUniquePathName(makeUrl(mRoot + "/a.jpg").get(), makeString(u"a.jpg"_s).get(), true,
                                      makeString(u"\u30B3\u30D4\u30FC"_s).get(), 0));
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), mRoot + u"/a \u30B3\u30D4\u30FC.jpg"_s.toUtf8());
}

// The place is the item, whether it exists, is a folder, or neither.
void VKFileMgrNamesTest::besideThePlace() {
    Disk::makeFolder(mRoot + "/folder");
    Disk::makeFile(mRoot + "/folder/inside");
    QCOMPARE(unique("/folder", u"folder"_s, false), QByteArray("/folder copy"));
    QCOMPARE(unique("/folder/", u"folder"_s, false), QByteArray("/folder copy"));
    QCOMPARE(unique("/folder/inside", u"inside"_s), QByteArray("/folder/inside copy"));
    QCOMPARE(unique("/none/none", u"a"_s), QByteArray("/none/a"));
}

void VKFileMgrNamesTest::folderFlag() {
    for (const bool isFile : {true, false}) {
        const auto url = VKCFRef<CFURLRef>::adopt(
            VKFileMgrCreateUniquePathName(makeUrl(mRoot + "/a.b").get(), makeString(u"a.b"_s).get(), isFile,
                                          makeString(u"copy"_s).get(), 1));
        const QString text = CFStringCopyQString(CFURLGetString(url.get()));
        QVERIFY2(text.endsWith(isFile ? u"/a%20copy.b"_s : u"/a.b%20copy/"_s), qPrintable(text));
    }
}

void VKFileMgrNamesTest::uniqueNameOfNothing() {
    const auto place = makeUrl(mRoot + "/a");
    const auto name = makeString(u"a"_s);
    const auto word = makeString(u"copy"_s);
    const auto make = [](CFURLRef where, CFStringRef what, CFStringRef copyWord) {
        return VKCFRef<CFURLRef>::adopt(VKFileMgrCreateUniquePathName(where, what, true, copyWord, 0));
    };
    QVERIFY(make(place.get(), name.get(), word.get()));
    QVERIFY(!make(nullptr, name.get(), word.get()));
    QVERIFY(!make(makeWebUrl().get(), name.get(), word.get()));
    QVERIFY(!make(makeUrl("/").get(), name.get(), word.get()));
    QVERIFY(!make(place.get(), nullptr, word.get()));
    QVERIFY(!make(place.get(), name.get(), nullptr));
    for (const QString& bad : {u""_s, u"."_s, u".."_s, u"a/b"_s, u"a\0b"_s, QString(QChar(0xD83D))}) {
        QVERIFY(!make(place.get(), makeString(bad).get(), word.get()));
    }
    QVERIFY(!make(place.get(), name.get(), makeString(QString()).get()));
}

void VKFileMgrNamesTest::firstNumber() {
    QCOMPARE(unique("/a.jpg", u"a.jpg"_s, true, 1), QByteArray("/a copy.jpg"));
    QCOMPARE(unique("/a.jpg", u"a.jpg"_s, true, 7), QByteArray("/a copy 7.jpg"));
    QCOMPARE(unique("/a.jpg", u"a.jpg"_s, true, -1), QByteArray());
}

// Each makes a hundred copies, exclusively and with another try where the name was taken meanwhile: none is lost.
void VKFileMgrNamesTest::twoProcesses() {
    constexpr int kCopies = 100;
    const auto start = [this] {
        const pid_t child = ::fork();
        if (child == 0) {
            for (int made = 0; made < kCopies;) {
                const QByteArray path = mRoot + unique("/a.jpg", u"a.jpg"_s);
                const int file = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
                made += file >= 0 ? 1 : 0;
                ::close(file);
            }
            ::_exit(0);
        }
        return child;
    };
    const pid_t children[] = {start(), start()};
    for (const pid_t child : children) {
        int status = -1;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QCOMPARE(status, 0);
    }
    const QByteArrayList names = Disk::namesIn(mRoot);
    QCOMPARE(names.size(), 2 * kCopies);
    QVERIFY(names.contains("a.jpg") && names.contains("a copy.jpg") && names.contains("a copy 199.jpg"));
}

void VKFileMgrNamesTest::sidecar_data() {
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<QByteArray>("sidecar");
    const auto row = [](const char* image, const char* sidecar) {
        QTest::newRow(image) << QByteArray(image) << QByteArray(sidecar);
    };
    row("/a.jpg", "/a.xmp");
    row("/A.JPEG", "/A.xmp");
    row("/a.b.cr2", "/a.b.xmp");
    row("/a", "/a.xmp");
    row("/a.", "/a.xmp");
    row("/.hidden", "/.hidden.xmp");
    row("/.hidden.jpg", "/.hidden.xmp");
    row("/folder.jpg/a", "/folder.jpg/a.xmp");
    row("/a.xmp", "/a.xmp");
    row("/a b%20\n.jpg", "/a b%20\n.xmp");
}

void VKFileMgrNamesTest::sidecar() {
    QFETCH(QByteArray, image);
    QFETCH(QByteArray, sidecar);
    VKCFRef<CFURLRef> url;
    QCOMPARE(VKFileMgrCreateSidecarPathForImage(makeUrl(mRoot + image).get(), url.out()), kVKStatusSuccess);
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), mRoot + sidecar);
    QVERIFY(!CFStringCopyQString(CFURLGetString(url.get())).endsWith(u'/'));
}

void VKFileMgrNamesTest::sidecarOnDisk_data() {
    QTest::addColumn<QByteArrayList>("onDisk");
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<QByteArray>("sidecar");
    const QByteArray composed = "/\xC3\xA9";
    const QByteArray decomposed = "/e\xCC\x81";
    QTest::newRow("decomposed beside a composed image")
        << QByteArrayList{decomposed + ".xmp"} << composed + ".jpg" << decomposed + ".xmp";
    QTest::newRow("composed beside a decomposed image")
        << QByteArrayList{composed + ".xmp"} << decomposed + ".jpg" << composed + ".xmp";
    QTest::newRow("none: in form C") << QByteArrayList{} << decomposed + ".jpg" << composed + ".xmp";
    QTest::newRow("both: form C") << QByteArrayList{composed + ".xmp", decomposed + ".xmp"}
                                  << decomposed + ".jpg" << composed + ".xmp";
    QTest::newRow("not UTF-8") << QByteArrayList{"/lat\xE9.xmp"} << QByteArray("/lat\xE9.jpg")
                               << QByteArray("/lat\xE9.xmp");
    QTest::newRow("not UTF-8, another one reads the same")
        << QByteArrayList{"/lat\xE9.xmp", "/lat\xE8.xmp"} << QByteArray("/lat\xE9.jpg")
        << QByteArray("/lat\xE9.xmp");
}

void VKFileMgrNamesTest::sidecarOnDisk() {
    QFETCH(QByteArrayList, onDisk);
    QFETCH(QByteArray, image);
    QFETCH(QByteArray, sidecar);
    for (const QByteArray& name : onDisk) {
        Disk::makeFile(mRoot + name);
    }
    VKCFRef<CFURLRef> url;
    QCOMPARE(VKFileMgrCreateSidecarPathForImage(makeUrl(mRoot + image).get(), url.out()), kVKStatusSuccess);
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), mRoot + sidecar);
    QCOMPARE(VKFileMgrPathExists(url.get()), !onDisk.isEmpty());
}

void VKFileMgrNamesTest::sidecarWrongArguments() {
    CFURLRef url = makeUrl("/x").get();
    QCOMPARE(VKFileMgrCreateSidecarPathForImage(nullptr, &url), kVKStatusBadArgument);
    QVERIFY(url == nullptr);
    QCOMPARE(VKFileMgrCreateSidecarPathForImage(makeWebUrl().get(), &url), kVKStatusNotConvertible);
    QCOMPARE(VKFileMgrCreateSidecarPathForImage(makeUrl("/").get(), &url), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrCreateSidecarPathForImage(makeUrl("/a").get(), nullptr), kVKStatusBadArgument);
    QVERIFY(url == nullptr);
}

VKTEST_MAIN(VKFileMgrNamesTest)
#include "VKFileMgrNamesTest.moc"
