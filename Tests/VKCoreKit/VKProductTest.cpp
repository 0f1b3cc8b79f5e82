// Products: which are known, under which names, and where their folders lie.
#include "Support/DiskSupport.h"
#include "VKCoreKit/CoreKitSupport.h"

#include <cerrno>
#include <thread>
#include <vector>

using namespace CoreKit;
using namespace Qt::StringLiterals;

namespace {

QByteArray supportFolder(VKProductRef product, bool user, int kind, VKStatus expected = kVKStatusSuccess) {
    VKCFRef<CFURLRef> url;
    const VKStatus status = VKProductGetSupportURLCopy(product, user, kind, 0, 1, url.out());
    if (status != expected) {
        return "status " + QByteArray::number(status);
    }
    return CFURLCopyFileSystemBytes(url.get());
}

VKProductRef registered(const QString& name, const QString& part = QString()) {
    const VKCFRef<CFStringRef> partName = part.isEmpty() ? VKCFRef<CFStringRef>() : makeString(part);
    return VKProductRegister(makeString(name).get(), partName.get()) == kVKStatusSuccess
               ? VKProductGetProduct(makeString(name).get(), partName.get())
               : nullptr;
}

QByteArray makersFolder() { return qgetenv("XDG_DATA_HOME") + "/VK"; }

} // namespace

class VKProductTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void kestrelIsKnown();
    void names_data();
    void names();
    void nullNames();
    void partsAndProducts();
    void caseAndForm();
    void userFolders_data();
    void userFolders();
    void madeForThisUserAlone();
    void notMadeWhenNotAsked();
    void sharedFolders();
    void firstSharedFolderWins();
    void badArguments();
    void folderThatCannotBeMade();
    void movedFolder();
    void undecodableHome();
    void tarn();
    void manyThreads();
};

void VKProductTest::kestrelIsKnown() {
    const VKProductRef kestrel = VKProductGetProduct(kVKProductKestrel, nullptr);
    QVERIFY(kestrel != nullptr);
    QCOMPARE(VKProductGetProduct(CFSTR("Kestrel"), nullptr), kestrel);
    QCOMPARE(CFStringCopyQString(kVKProductKestrel), u"Kestrel"_s);
    // The same string each time, which nobody releases.
    const CFStringRef first = kVKProductKestrel;
    const CFStringRef second = kVKProductKestrel;
    QCOMPARE(first, second);
    QCOMPARE(VKProductRegister(kVKProductKestrel, nullptr), kVKStatusSuccess);
    QCOMPARE(VKProductGetProduct(kVKProductKestrel, nullptr), kestrel);
}

void VKProductTest::names_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("good");
    QTest::newRow("plain") << u"Merlin"_s << true;
    QTest::newRow("blanks and dots") << u"Merlin 2.0 ."_s << true;
    QTest::newRow("umlaut") << u"Mäusebussard"_s << true;
    QTest::newRow("255 bytes") << QString(255, u'n') << true;
    QTest::newRow("256 bytes") << QString(256, u'n') << false;
    QTest::newRow("254 bytes of two each") << QString(127, u'ä') << true;
    QTest::newRow("256 bytes of two each") << QString(128, u'ä') << false;
    QTest::newRow("three dots") << u"..."_s << true;
    QTest::newRow("empty") << u""_s << false;
    QTest::newRow("this folder") << u"."_s << false;
    QTest::newRow("folder above") << u".."_s << false;
    QTest::newRow("separator") << u"a/b"_s << false;
    QTest::newRow("backslash, a separator in paths") << u"a\\b"_s << false;
    QTest::newRow("NUL") << QString(u"a\0b"_s) << false;
    QTest::newRow("unpaired surrogate") << QString(QChar(0xD800)) << false;
}

void VKProductTest::names() {
    QFETCH(QString, name);
    QFETCH(bool, good);
    const auto string = makeString(name);
    QCOMPARE(VKProductRegister(string.get(), nullptr), good ? kVKStatusSuccess : kVKStatusBadArgument);
    QCOMPARE(VKProductGetProduct(string.get(), nullptr) != nullptr, good);
    QCOMPARE(VKProductRegister(kVKProductKestrel, string.get()),
             good ? kVKStatusSuccess : kVKStatusBadArgument);
    QCOMPARE(VKProductGetProduct(kVKProductKestrel, string.get()) != nullptr, good);
}

void VKProductTest::nullNames() {
    QCOMPARE(VKProductRegister(nullptr, nullptr), kVKStatusBadArgument);
    QCOMPARE(VKProductRegister(nullptr, CFSTR("Part")), kVKStatusBadArgument);
    QCOMPARE(VKProductGetProduct(nullptr, nullptr), nullptr);
    QCOMPARE(VKProductGetProduct(CFSTR("Nobody"), nullptr), nullptr);
    QCOMPARE(VKProductGetProduct(kVKProductKestrel, CFSTR("Nobody")), nullptr);
    QCOMPARE(VKProductGetProduct(kVKProductKestrel, CFSTR("")), nullptr);
}

void VKProductTest::partsAndProducts() {
    QVERIFY(registered(u"Osprey"_s, u"Tools"_s) != nullptr);
    QCOMPARE(VKProductGetProduct(CFSTR("Osprey"), nullptr), nullptr);
    QVERIFY(registered(u"Osprey"_s) != nullptr);
    QVERIFY(VKProductGetProduct(CFSTR("Osprey"), nullptr) !=
            VKProductGetProduct(CFSTR("Osprey"), CFSTR("Tools")));
}

void VKProductTest::caseAndForm() {
    const VKProductRef product = registered(u"Hühnerhabicht"_s);
    QVERIFY(product != nullptr);
    QCOMPARE(VKProductGetProduct(makeString(u"Hu\u0308hnerhabicht"_s).get(), nullptr), product);
    QCOMPARE(VKProductGetProduct(makeString(u"HÜHNERHABICHT"_s).get(), nullptr), nullptr);
}

void VKProductTest::userFolders_data() {
    QTest::addColumn<QString>("part");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QByteArray>("place");
    QTest::newRow("application data") << QString() << 1 << QByteArray("/Kite");
    QTest::newRow("extras") << QString() << 2 << QByteArray("/Kite/Extras");
    QTest::newRow("common") << QString() << 19 << QByteArray("/Kite/Common");
    QTest::newRow("part") << u"Wing"_s << 1 << QByteArray("/Kite/Wing");
    QTest::newRow("extras of a part") << u"Wing"_s << 2 << QByteArray("/Kite/Wing/Extras");
}

void VKProductTest::userFolders() {
    QFETCH(QString, part);
    QFETCH(int, kind);
    QFETCH(QByteArray, place);
    const VKProductRef product = registered(u"Kite"_s, part);
    const QByteArray folder = makersFolder() + place;
    QCOMPARE(supportFolder(product, true, kind), folder);
    QVERIFY(Disk::exists(folder));
    VKCFRef<CFURLRef> url;
    QCOMPARE(VKProductGetSupportURLCopy(product, true, kind, 0, 1, url.out()), kVKStatusSuccess);
    QVERIFY(CFURLHasDirectoryPath(url.get()));
}

void VKProductTest::madeForThisUserAlone() {
    const QByteArray folder = supportFolder(registered(u"Private"_s), true, 1);
    QCOMPARE(Disk::modeOf(folder), 0700U);
    QCOMPARE(Disk::modeOf(makersFolder()), 0700U);
}

void VKProductTest::notMadeWhenNotAsked() {
    VKCFRef<CFURLRef> url;
    QCOMPARE(VKProductGetSupportURLCopy(registered(u"Lazy"_s), true, 1, 0, 0, url.out()), kVKStatusSuccess);
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), makersFolder() + "/Lazy");
    QVERIFY(!Disk::exists(makersFolder() + "/Lazy"));
}

void VKProductTest::sharedFolders() {
    const QByteArray base = makeFolder(u"share"_s).toUtf8();
    qputenv("XDG_DATA_DIRS", base);
    const VKProductRef product = registered(u"Shared"_s);
    QCOMPARE(supportFolder(product, false, 1, ENOENT), QByteArray());
    Disk::makeFolder(base + "/VK");
    QCOMPARE(supportFolder(product, false, 1, ENOENT), QByteArray());
    Disk::makeFile(base + "/VK/Shared");
    QCOMPARE(supportFolder(product, false, 1, ENOENT), QByteArray());
    QVERIFY(::unlink(Disk::text(base + "/VK/Shared")) == 0);
    Disk::makeFolder(base + "/VK/Shared");
    QCOMPARE(supportFolder(product, false, 1), base + "/VK/Shared");
    // Nothing is ever made there.
    QCOMPARE(supportFolder(product, false, 2, ENOENT), QByteArray());
    QCOMPARE(Disk::namesIn(base + "/VK/Shared"), QByteArrayList());
    qunsetenv("XDG_DATA_DIRS");
}

void VKProductTest::firstSharedFolderWins() {
    const QByteArray first = makeFolder(u"first"_s).toUtf8();
    const QByteArray second = makeFolder(u"second"_s).toUtf8();
    qputenv("XDG_DATA_DIRS", "relative:" + first + ':' + second);
    const VKProductRef product = registered(u"Twice"_s);
    Disk::makeFolder(second + "/VK");
    Disk::makeFolder(second + "/VK/Twice");
    QCOMPARE(supportFolder(product, false, 1), second + "/VK/Twice");
    Disk::makeFolder(first + "/VK");
    Disk::makeFolder(first + "/VK/Twice");
    QCOMPARE(supportFolder(product, false, 1), first + "/VK/Twice");
    qunsetenv("XDG_DATA_DIRS");
}

void VKProductTest::badArguments() {
    const VKProductRef kestrel = VKProductGetProduct(kVKProductKestrel, nullptr);
    QCOMPARE(VKProductGetSupportURLCopy(kestrel, true, 1, 0, 1, nullptr), kVKStatusBadArgument);
    CFURLRef url = reinterpret_cast<CFURLRef>(1);
    QCOMPARE(VKProductGetSupportURLCopy(nullptr, true, 1, 0, 1, &url), kVKStatusBadArgument);
    QCOMPARE(url, nullptr);
    for (const int kind : {0, 3, 18, 20, -1}) {
        url = reinterpret_cast<CFURLRef>(1);
        QCOMPARE(VKProductGetSupportURLCopy(kestrel, true, kind, 0, 1, &url), kVKStatusCancelled);
        QCOMPARE(url, nullptr);
    }
    QCOMPARE(VKProductGetTarnUrlCopy(1, 0, nullptr), kVKStatusBadArgument);
    QCOMPARE(VKProductGetTarnUrlCopy(0, 0, nullptr), kVKStatusBadArgument);
}

void VKProductTest::folderThatCannotBeMade() {
    const VKProductRef product = registered(u"Blocked"_s);
    QCOMPARE(supportFolder(VKProductGetProduct(kVKProductKestrel, nullptr), true, 1),
             makersFolder() + "/Kestrel");
    Disk::makeFile(makersFolder() + "/Blocked", "mine");
    CFURLRef url = reinterpret_cast<CFURLRef>(1);
    QCOMPARE(VKProductGetSupportURLCopy(product, true, 1, 0, 1, &url), VKStatus(EEXIST));
    QCOMPARE(url, nullptr);
    QCOMPARE(Disk::contentOf(makersFolder() + "/Blocked"), QByteArray("mine"));
}

void VKProductTest::movedFolder() {
    const QByteArray elsewhere = makeFolder(u"elsewhere"_s).toUtf8();
    VKFileMgrSetFolderPath(kVKFolderUserAppData, makeUrl(elsewhere, true).get());
    QCOMPARE(supportFolder(registered(u"Moved"_s), true, 1), elsewhere + "/Moved");
    VKFileMgrSetFolderPath(kVKFolderUserAppData, nullptr);
    QCOMPARE(supportFolder(registered(u"Moved"_s), true, 1), makersFolder() + "/Moved");
}

void VKProductTest::undecodableHome() {
    const QByteArray data = makeFolder().toUtf8() + "/caf\xe9";
    const QByteArray before = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", data);
    const QByteArray product = supportFolder(registered(u"Bücher"_s), true, 2);
    qputenv("XDG_DATA_HOME", before);
    QCOMPARE(product, data + "/VK/B\xc3\xbc"
                             "cher/Extras");
    QVERIFY(Disk::exists(product));
}

void VKProductTest::tarn() {
    VKCFRef<CFURLRef> url;
    QCOMPARE(VKProductGetTarnUrlCopy(1, 0, url.out()), kVKStatusSuccess);
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), makersFolder());
    QVERIFY(Disk::exists(makersFolder()));
    const QByteArray base = makeFolder(u"share"_s).toUtf8();
    qputenv("XDG_DATA_DIRS", base);
    QCOMPARE(VKProductGetTarnUrlCopy(0, 0, url.out()), VKStatus(ENOENT));
    QVERIFY(!url);
    Disk::makeFolder(base + "/VK");
    QCOMPARE(VKProductGetTarnUrlCopy(0, 0, url.out()), kVKStatusSuccess);
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), base + "/VK");
    qunsetenv("XDG_DATA_DIRS");
}

void VKProductTest::manyThreads() {
    std::vector<std::thread> threads;
    std::vector<VKProductRef> found(8, nullptr);
    for (std::size_t i = 0; i < found.size(); ++i) {
        threads.emplace_back([i, &found] {
            for (int round = 0; round < 50; ++round) {
                registered(u"Thread"_s + QString::number(round));
                found[i] = registered(u"Race"_s);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const VKProductRef product : found) {
        QVERIFY(product != nullptr);
        QCOMPARE(product, found.front());
    }
}

VKTEST_MAIN(VKProductTest)
#include "VKProductTest.moc"
