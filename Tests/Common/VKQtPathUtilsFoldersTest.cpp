// Where VKQtPathUtils says that things are: well-known and product folders, the user's own, mobile-relative paths,
// and its questions about one item.
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"
#include "VKCoreKit/CoreKitSupport.h"
#include "VKQtPathUtils.h"

#include <QStandardPaths>
#include <QStorageInfo>

#include <cerrno>
#include <cstring>
#include <thread>
#include <vector>

using namespace CoreKit;
using namespace Qt::StringLiterals;

namespace {

const QByteArray kLogSource = "VKQtCore/Source/Common/VKQtPathUtils";

QString home() { return qEnvironmentVariable("HOME"); }
QString makersFolder() { return qEnvironmentVariable("XDG_DATA_HOME") + u"/VK"_s; }
bool hasMacRules() { return std::strcmp(vkTestPlatformRules(), "macos") == 0; }

/// A text that names no file.
VKQtPath noPath() { return VKQtPath(QString(u"/a\0b"_s), false); }

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

/// user-dirs.dirs while the object lives.
class UserDirs {
public:
    explicit UserDirs(const QByteArray& text) : mFile(qgetenv("XDG_CONFIG_HOME") + "/user-dirs.dirs") {
        Disk::makeFile(mFile, text);
    }
    UserDirs(const UserDirs&) = delete;
    UserDirs& operator=(const UserDirs&) = delete;
    ~UserDirs() { ::unlink(mFile.constData()); }

private:
    QByteArray mFile;
};

QString toMobile(const QString& text, bool folder = false) {
    VKQtPath out(u"/before"_s, !folder);
    const VKStatus status = VKQtPathUtils::createMobileRelativePath(VKQtPath(text, folder), out);
    return status == kVKStatusSuccess && out.isFolder() == folder ? out.path() : u"wrong"_s;
}

QString fromMobile(const QString& text, bool folder = false) {
    VKQtPath out(u"/before"_s, !folder);
    const VKStatus status = VKQtPathUtils::createFullPathFromMobileRelativePath(VKQtPath(text, folder), out);
    return status == kVKStatusSuccess && out.isFolder() == folder ? out.path() : u"wrong"_s;
}

} // namespace

class VKQtPathUtilsFoldersTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void oneInstance();
    void beforeInitialize(); // has to stay in front of the tests that initialize
    void initializeWithoutCloud();
    void initializeThatFails();
    void mobilePaths_data();
    void mobilePaths();
    void mobileRootMoves();
    void wellKnownFolders();
    void applicationData();
    void productFolders();
    void whoOwnsAFolder();
    void cachedForEver();
    void systemFolders();
    void commonAndExtras();
    void manyThreads();
    void usersFolders();
    void desktopAndPictures_data();
    void desktopAndPictures();
    void displayStrings_data();
    void displayStrings();
    void displayStringsInTheUsersLanguage();
    void cloudPaths();
    void sidecars();
    void writable();
    void bytesFree();
    void accessErrors();
    void existence();
    void plusRaw();
    void plusRawThatFails();
};

void VKQtPathUtilsFoldersTest::oneInstance() {
    QVERIFY(VKQtPathUtils::instance() != nullptr);
    QCOMPARE(VKQtPathUtils::instance(), VKQtPathUtils::instance());
    const VKQtPathUtils another;
    QVERIFY(&another != VKQtPathUtils::instance());
}

void VKQtPathUtilsFoldersTest::beforeInitialize() {
    QCOMPARE(toMobile(u"/cloud/a.jpg"_s), u"/cloud/a.jpg"_s);
    QCOMPARE(fromMobile(u"/relative-mobile/a.jpg"_s), u"/relative-mobile/a.jpg"_s);
}

void VKQtPathUtilsFoldersTest::initializeWithoutCloud() {
    LogCapture log;
    QCOMPARE(VKQtPathUtils::initialize(), kVKStatusCancelled);
    QCOMPARE(log.take().size(), 0);
    QCOMPARE(toMobile(u"/cloud/a.jpg"_s), u"/cloud/a.jpg"_s);
}

void VKQtPathUtilsFoldersTest::initializeThatFails() {
    VKFileMgrSetFolderPath(kVKFolderCloudDocuments, makeWebUrl().get());
    LogCapture log;
    QCOMPARE(VKQtPathUtils::initialize(), kVKStatusNotConvertible);
    VKFileMgrSetFolderPath(kVKFolderCloudDocuments, nullptr);
    const QList<LogLine> lines = log.take();
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines[0].status, kVKStatusNotConvertible);
    QCOMPARE(lines[0].source, kLogSource);
    QVERIFY(lines[0].line > 0);
    QCOMPARE(toMobile(u"/cloud/a.jpg"_s), u"/cloud/a.jpg"_s);
}

void VKQtPathUtilsFoldersTest::mobilePaths_data() {
    QTest::addColumn<QString>("full");
    QTest::addColumn<QString>("relative");
    QTest::newRow("below") << u"/h/Cloud/Documents/a.jpg"_s << u"/relative-mobile/Documents/a.jpg"_s;
    QTest::newRow("the root") << u"/h/Cloud"_s << u"/relative-mobile"_s;
    QTest::newRow("outside") << u"/h/a.jpg"_s << u"/h/a.jpg"_s;
    QTest::newRow("inside, not at the beginning") << u"/x/h/Cloud/a"_s << u"/x/h/Cloud/a"_s;
    QTest::newRow("other case") << u"/H/cloud/a"_s << u"/H/cloud/a"_s;
    QTest::newRow("every occurrence")
        << u"/h/Cloud/x/h/Cloud/y"_s << u"/relative-mobile/x/relative-mobile/y"_s;
    QTest::newRow("text, not components") << u"/h/Clouds/a"_s << u"/relative-mobiles/a"_s;
    QTest::newRow("empty") << u""_s << u""_s;
}

void VKQtPathUtilsFoldersTest::mobilePaths() {
    QFETCH(QString, full);
    QFETCH(QString, relative);
    const ToldFolder cloud(kVKFolderCloudDocuments, "/h/Cloud/Documents");
    LogCapture log;
    QCOMPARE(VKQtPathUtils::initialize(), kVKStatusSuccess);
    QCOMPARE(log.take().size(), 0);
    for (const bool folder : {false, true}) {
        QCOMPARE(toMobile(full, folder), relative);
        QCOMPARE(fromMobile(relative, folder), full);
    }
    // In place.
    VKQtPath path(full, true);
    QCOMPARE(VKQtPathUtils::createMobileRelativePath(path, path), kVKStatusSuccess);
    QCOMPARE(path.path(), relative);
    QVERIFY(path.isFolder());
}

void VKQtPathUtilsFoldersTest::mobileRootMoves() {
    {
        const ToldFolder cloud(kVKFolderCloudDocuments, "/one/Documents");
        QCOMPARE(VKQtPathUtils::initialize(), kVKStatusSuccess);
    }
    QCOMPARE(fromMobile(u"/relative-mobile/a"_s), u"/one/a"_s);
    {
        const ToldFolder cloud(kVKFolderCloudDocuments, "/two/Documents");
        QCOMPARE(VKQtPathUtils::initialize(), kVKStatusSuccess);
    }
    QCOMPARE(fromMobile(u"/relative-mobile/a"_s), u"/two/a"_s);
    // A failure leaves the root as it was.
    QCOMPARE(VKQtPathUtils::initialize(), kVKStatusCancelled);
    QCOMPARE(fromMobile(u"/relative-mobile/a"_s), u"/two/a"_s);
}

void VKQtPathUtilsFoldersTest::wellKnownFolders() {
    QString out;
    QCOMPARE(VKQtPathUtils::getFolderPath(nullptr, kVKFolderUserAppData, QString(), out), kVKStatusSuccess);
    QCOMPARE(out, makersFolder());
    QCOMPARE(VKQtPathUtils::getFolderPath(nullptr, kVKFolderUserAppData, u""_s, out), kVKStatusSuccess);
    QCOMPARE(out, makersFolder());
    QCOMPARE(VKQtPathUtils::getFolderPath(nullptr, kVKFolderUserCaches, u"thumbs/small"_s, out),
             kVKStatusSuccess);
    QCOMPARE(out, qEnvironmentVariable("XDG_CACHE_HOME") + u"/VK/thumbs/small"_s);
    LogCapture log;
    out = u"before"_s;
    QCOMPARE(VKQtPathUtils::getFolderPath(nullptr, kVKFolderCloudDocuments, QString(), out),
             kVKStatusCancelled);
    QCOMPARE(VKQtPathUtils::getFolderPath(nullptr, static_cast<VKFolderType>(77), QString(), out),
             kVKStatusCancelled);
    QCOMPARE(VKQtPathUtils::getFolderPath(nullptr, kVKFolderUserCaches, QString(u"a\0b"_s), out),
             kVKStatusNotConvertible);
    QCOMPARE(out, u"before"_s);
    QCOMPARE(log.take().size(), 0);
}

void VKQtPathUtilsFoldersTest::applicationData() {
    QCOMPARE(VKQtPathUtils::getUserAppDataPath(), makersFolder());
    const auto url = VKCFRef<CFURLRef>::adopt(VKQtPathUtils::getAppDataPathName());
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), makersFolder().toUtf8());
    QCOMPARE(CFGetRetainCount(url.get()), CFIndex(1));
    const ToldFolder blocked(kVKFolderUserAppData, "/dev/null/x");
    QCOMPARE(VKQtPathUtils::getUserAppDataPath(), QString());
    QCOMPARE(VKQtPathUtils::getAppDataPathName(), nullptr);
}

void VKQtPathUtilsFoldersTest::productFolders() {
    QCOMPARE(VKProductRegister(kVKProductKestrel, CFSTR("Tools")), kVKStatusSuccess);
    for (const bool cache : {false, true, false}) {
        QCOMPARE(VKQtPathUtils::getUserAppDataPathForProduct(u"Kestrel"_s, QString(), cache),
                 makersFolder() + u"/Kestrel"_s);
        QCOMPARE(VKQtPathUtils::getUserAppDataPathForProduct(u"Kestrel"_s, u"Tools"_s, cache),
                 makersFolder() + u"/Kestrel/Tools"_s);
        QCOMPARE(VKQtPathUtils::getUserAppDataPathForProduct(u"Nobody"_s, QString(), cache), QString());
        QCOMPARE(VKQtPathUtils::getUserAppDataPathForProduct(u"Kestrel"_s, u"Nobody"_s, cache), QString());
        QCOMPARE(VKQtPathUtils::getUserAppDataPathForProduct(QString(), QString(), cache), QString());
    }
    QCOMPARE(VKQtPathUtils::getUserAppDataPathForProduct(kVKProductKestrel), makersFolder() + u"/Kestrel"_s);
    QCOMPARE(VKQtPathUtils::getUserAppDataPathForProduct(CFSTR("Nobody")), QString());
    QCOMPARE(VKQtPathUtils::getUserAppDataPathForProduct(CFStringRef(nullptr)), QString());
    QVERIFY(Disk::exists((makersFolder() + u"/Kestrel/Tools"_s).toUtf8()));
}

void VKQtPathUtilsFoldersTest::whoOwnsAFolder() {
    VKQtPathUtils utils;
    const auto own =
        VKCFRef<CFURLRef>::adopt(utils.getAppDataPathForProductName(kVKProductKestrel, nullptr, true, false));
    QVERIFY(own);
    QCOMPARE(CFGetRetainCount(own.get()), CFIndex(1));
    const CFURLRef cached = utils.getAppDataPathForProductName(kVKProductKestrel, nullptr, true, true);
    QVERIFY(cached != own.get());
    QCOMPARE(CFGetRetainCount(cached), CFIndex(1));
    QCOMPARE(utils.getAppDataPathForProductName(kVKProductKestrel, nullptr, true, true), cached);
    // Once it is cached the cache's own comes, whatever is asked for.
    QCOMPARE(utils.getAppDataPathForProductName(kVKProductKestrel, nullptr, true, false), cached);
    QCOMPARE(CFGetRetainCount(cached), CFIndex(1));
    QCOMPARE(VKProductRegister(kVKProductKestrel, CFSTR("Tools")), kVKStatusSuccess);
    for (const bool cache : {false, true}) {
        const auto first = VKCFRef<CFURLRef>::adopt(
            utils.getAppDataPathForProductName(kVKProductKestrel, CFSTR("Tools"), true, cache));
        const auto second = VKCFRef<CFURLRef>::adopt(
            utils.getAppDataPathForProductName(kVKProductKestrel, CFSTR("Tools"), true, cache));
        QVERIFY(first && second && first.get() != second.get());
        QCOMPARE(CFGetRetainCount(first.get()), CFIndex(1));
    }
    QCOMPARE(utils.getAppDataPathForProductName(nullptr, nullptr, true, true), nullptr);
    QCOMPARE(utils.getAppDataPathForProductName(CFSTR("Nobody"), nullptr, true, true), nullptr);
    QCOMPARE(utils.getAppDataPathForProductName(CFSTR("Nobody"), CFSTR("x"), true, true), nullptr);
}

void VKQtPathUtilsFoldersTest::cachedForEver() {
    QCOMPARE(VKProductRegister(CFSTR("Osprey"), nullptr), kVKStatusSuccess);
    const QString before = VKQtPathUtils::getUserAppDataPathForProduct(CFSTR("Osprey"));
    QCOMPARE(before, makersFolder() + u"/Osprey"_s);
    const QByteArray elsewhere = makeFolder().toUtf8();
    const ToldFolder moved(kVKFolderUserAppData, elsewhere);
    QCOMPARE(VKQtPathUtils::getUserAppDataPathForProduct(CFSTR("Osprey")), before);
    QCOMPARE(VKQtPathUtils::getUserAppDataPathForProduct(u"Osprey"_s, QString(), true), before);
    // A product that was unknown, or whose folder failed, is asked for again.
    QCOMPARE(VKQtPathUtils::getUserAppDataPathForProduct(CFSTR("Merlin")), QString());
    QCOMPARE(VKProductRegister(CFSTR("Merlin"), nullptr), kVKStatusSuccess);
    QCOMPARE(VKQtPathUtils::getUserAppDataPathForProduct(CFSTR("Merlin")),
             QString::fromUtf8(elsewhere) + u"/Merlin"_s);
}

void VKQtPathUtilsFoldersTest::systemFolders() {
    const QByteArray share = makeFolder(u"share"_s).toUtf8();
    qputenv("XDG_DATA_DIRS", share);
    QCOMPARE(VKQtPathUtils::getSystemDataPathForProduct(kVKProductKestrel), QString());
    QVERIFY(::mkdir(Disk::text(share + "/VK"), 0755) == 0 &&
            ::mkdir(Disk::text(share + "/VK/Kestrel"), 0755) == 0);
    const QString place = QString::fromUtf8(share) + u"/VK/Kestrel"_s;
    QCOMPARE(VKQtPathUtils::getSystemDataPathForProduct(kVKProductKestrel), place);
    QCOMPARE(VKQtPathUtils::getSystemDataPathForProduct(u"Kestrel"_s), place);
    // Kept apart from the user's.
    QVERIFY(VKQtPathUtils::getUserAppDataPathForProduct(kVKProductKestrel) != place);
    qunsetenv("XDG_DATA_DIRS");
    QCOMPARE(VKQtPathUtils::getSystemDataPathForProduct(u"Kestrel"_s), place);
    QCOMPARE(VKQtPathUtils::getSystemDataPathForProduct(u"Nobody"_s), QString());
}

void VKQtPathUtilsFoldersTest::commonAndExtras() {
    QCOMPARE(VKQtPathUtils::getCommonFolderPath(true), makersFolder() + u"/Kestrel/Common"_s);
    QCOMPARE(VKQtPathUtils::getExtrasFolderPath(true), makersFolder() + u"/Kestrel/Extras"_s);
    const QByteArray share = makeFolder(u"share"_s).toUtf8();
    qputenv("XDG_DATA_DIRS", share);
    QCOMPARE(VKQtPathUtils::getCommonFolderPath(false), QString());
    QCOMPARE(VKQtPathUtils::getExtrasFolderPath(false), QString());
    Disk::makeFolder(share + "/VK");
    Disk::makeFolder(share + "/VK/Kestrel");
    Disk::makeFolder(share + "/VK/Kestrel/Common");
    QCOMPARE(VKQtPathUtils::getCommonFolderPath(false), QString::fromUtf8(share) + u"/VK/Kestrel/Common"_s);
    QCOMPARE(VKQtPathUtils::getExtrasFolderPath(false), QString());
    qunsetenv("XDG_DATA_DIRS");
}

void VKQtPathUtilsFoldersTest::manyThreads() {
    for (int i = 0; i < 20; ++i) {
        QCOMPARE(VKProductRegister(makeString(u"P%1"_s.arg(i)).get(), nullptr), kVKStatusSuccess);
    }
    VKQtPathUtils utils;
    std::vector<std::vector<CFURLRef>> found(8, std::vector<CFURLRef>(20, nullptr));
    std::vector<std::thread> threads;
    for (auto& urls : found) {
        threads.emplace_back([&utils, &urls] {
            for (int round = 0; round < 5; ++round) {
                for (std::size_t i = 0; i < urls.size(); ++i) {
                    urls[i] = utils.getAppDataPathForProductName(makeString(u"P%1"_s.arg(i)).get(), nullptr,
                                                                 true, true);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const auto& urls : found) {
        QCOMPARE(urls, found.front());
        QVERIFY(urls.front() != nullptr);
    }
}

void VKQtPathUtilsFoldersTest::usersFolders() {
    QCOMPARE(VKQtPathUtils::homePath().path(), home());
    QVERIFY(VKQtPathUtils::homePath().isFolder());
    QCOMPARE(VKQtPathUtils::desktopPath().path(),
             QStandardPaths::writableLocation(QStandardPaths::DesktopLocation));
    QCOMPARE(VKQtPathUtils::picturesPath().path(),
             QStandardPaths::writableLocation(QStandardPaths::PicturesLocation));
    QVERIFY(VKQtPathUtils::desktopPath().isFolder() && VKQtPathUtils::picturesPath().isFolder());
    QVERIFY(!VKQtPathUtils::picturesPath().exists());
    const UserDirs dirs("XDG_PICTURES_DIR=\"$HOME/Bilder/\"\nXDG_DESKTOP_DIR=\"$HOME/\"\n");
    QCOMPARE(VKQtPathUtils::picturesPath().path(), home() + u"/Bilder"_s);
    QCOMPARE(VKQtPathUtils::desktopPath().path(), QString());
}

void VKQtPathUtilsFoldersTest::desktopAndPictures_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("desktop");
    QTest::addColumn<bool>("pictures");
    QTest::newRow("desktop") << home() + u"/Desktop"_s << true << false;
    QTest::newRow("on the desktop") << home() + u"/Desktop/a/b.jpg"_s << true << false;
    QTest::newRow("pictures") << home() + u"/Pictures/x"_s << false << true;
    QTest::newRow("mere text") << home() + u"/Desktop2"_s << true << false;
    QTest::newRow("anywhere in the text") << u"/mnt"_s + home() + u"/Pictures/x"_s << false << true;
    QTest::newRow("other case") << home() + u"/desktop"_s << false << false;
    QTest::newRow("another desktop") << u"/other/Desktop"_s << false << false;
    QTest::newRow("empty") << QString() << false << false;
    QTest::newRow("both") << home() + u"/Desktop"_s + home() + u"/Pictures"_s << true << true;
}

void VKQtPathUtilsFoldersTest::desktopAndPictures() {
    QFETCH(QString, path);
    QFETCH(bool, desktop);
    QFETCH(bool, pictures);
    QCOMPARE(VKQtPathUtils::isDesktopPath(path), desktop);
    QCOMPARE(VKQtPathUtils::isPicturesPath(path), pictures);
    const UserDirs off("XDG_PICTURES_DIR=\"$HOME/\"\nXDG_DESKTOP_DIR=\"$HOME/\"\n");
    QVERIFY(!VKQtPathUtils::isDesktopPath(path));
    QVERIFY(!VKQtPathUtils::isPicturesPath(path));
}

void VKQtPathUtilsFoldersTest::displayStrings_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("shown");
    const QString bare = home().sliced(1);
    QTest::newRow("on the desktop") << home() + u"/Desktop/x.jpg"_s << bare + u"/Desktop/x.jpg"_s;
    QTest::newRow("in pictures") << home() + u"/Pictures/x.jpg"_s << bare + u"/Pictures/x.jpg"_s;
    QTest::newRow("empty components go") << home() + u"/Desktop//a/"_s << bare + u"/Desktop/a"_s;
    QTest::newRow("neither: unchanged") << u"/srv/Pictures//x.jpg"_s << u"/srv/Pictures//x.jpg"_s;
    QTest::newRow("lower case") << home() + u"/desktop/x"_s << home() + u"/desktop/x"_s;
    QTest::newRow("empty") << QString() << QString();
}

void VKQtPathUtilsFoldersTest::displayStrings() {
    QFETCH(QString, path);
    QFETCH(QString, shown);
    QCOMPARE(VKQtPathUtils::getSystemPathDisplayString(path), shown);
}

void VKQtPathUtilsFoldersTest::displayStringsInTheUsersLanguage() {
    // A folder whose own name is another, reached through one that is called by the English word.
    const UserDirs dirs(
        "XDG_PICTURES_DIR=\"$HOME/Pictures/Bilder\"\nXDG_DESKTOP_DIR=\"$HOME/Desktop/Tisch\"\n");
    const QString bare = home().sliced(1);
    const QString pictures =
        hasMacRules() ? QStandardPaths::displayName(QStandardPaths::PicturesLocation) : u"Bilder"_s;
    const QString desktop =
        hasMacRules() ? QStandardPaths::displayName(QStandardPaths::DesktopLocation) : u"Tisch"_s;
    QCOMPARE(VKQtPathUtils::getSystemPathDisplayString(home() + u"/Pictures/Bilder/Desktop/pictures/x"_s),
             bare + u'/' + pictures + u"/Bilder/Desktop/pictures/x"_s);
    QCOMPARE(VKQtPathUtils::getSystemPathDisplayString(home() + u"/Desktop/Tisch/Pictures/x"_s),
             bare + u'/' + desktop + u"/Tisch/Pictures/x"_s);
    QCOMPARE(VKQtPathUtils::getSystemPathDisplayString(home() + u"/Desktop/x"_s), home() + u"/Desktop/x"_s);
}

void VKQtPathUtilsFoldersTest::cloudPaths() {
    const QString inside = u"/Users/a/Library/Mobile Documents/x.jpg"_s;
    QVERIFY(VKQtPathUtils::isICloudPath(VKQtPath(inside, false)));
    QVERIFY(VKQtPathUtils::isICloudPath(VKQtPath(u"/Library/Mobile Documents"_s, true)));
    QVERIFY(!VKQtPathUtils::isICloudPath(VKQtPath(inside.toLower(), false)));
    QVERIFY(!VKQtPathUtils::isICloudPath(VKQtPath(u"Library/Mobile Documents"_s, true)));
    QVERIFY(!VKQtPathUtils::isICloudPath(VKQtPath()));
}

void VKQtPathUtilsFoldersTest::sidecars() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::makeFile(bytes + "/Cafe\xcc\x81.NEF");
    const VKQtPath image(folder + u"/Café.NEF"_s, false);
    VKQtPath sidecar(u"/before"_s, true);
    QCOMPARE(VKQtPathUtils::makeSidecarFilePath(image, sidecar), kVKStatusSuccess);
    QCOMPARE(sidecar.path(), folder + u"/Café.xmp"_s);
    QVERIFY(!sidecar.isFolder());
    QVERIFY(!VKQtPathUtils::hasSidecarFile(image));
    Disk::makeFile(bytes + "/Cafe\xcc\x81.xmp");
    QVERIFY(VKQtPathUtils::hasSidecarFile(image));
    QVERIFY(sidecar.exists());
    LogCapture log;
    VKQtPath out(u"/before"_s, true);
    QCOMPARE(VKQtPathUtils::makeSidecarFilePath(VKQtPath(), out), kVKStatusSuccess);
    QCOMPARE(VKQtPathUtils::makeSidecarFilePath(noPath(), out), kVKStatusSuccess);
    QVERIFY(VKQtPathUtils::makeSidecarFilePath(VKQtPath(u"/"_s, true), out) != kVKStatusSuccess);
    QCOMPARE(out.path(), u"/before"_s);
    QVERIFY(!VKQtPathUtils::hasSidecarFile(VKQtPath()));
    QVERIFY(!VKQtPathUtils::hasSidecarFile(noPath()));
    QVERIFY(!VKQtPathUtils::hasSidecarFile(VKQtPath(u"/"_s, true)));
    QCOMPARE(log.take().size(), 0);
}

void VKQtPathUtilsFoldersTest::writable() {
    const QString folder = makeFolder();
    Disk::makeFolder(folder.toUtf8() + "/lat\xe9");
    LogCapture log;
    bool answer = false;
    QCOMPARE(VKQtPathUtils::dirPathWriteable(folder + u"/lat\uFFFD"_s, answer), kVKStatusSuccess);
    QVERIFY(answer);
    for (const QString& text : QStringList{QString(), u"/a\0b"_s}) {
        answer = true;
        QCOMPARE(VKQtPathUtils::dirPathWriteable(text, answer), kVKStatusSuccess);
        QVERIFY(!answer);
    }
    answer = true;
    QCOMPARE(VKQtPathUtils::dirPathWriteable(folder + u"/none"_s, answer), VKStatus(ENOENT));
    QVERIFY(!answer);
    QCOMPARE(log.take().size(), 0);
}

void VKQtPathUtilsFoldersTest::bytesFree() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount");
    const QString folder = makeFolder();
    const Disk::TemporaryFileSystem mounted(folder.toUtf8(), "size=1m");
    QVERIFY(mounted.isMounted());
    unsigned long long bytes = 7;
    VKQtPath path(folder, true);
    QCOMPARE(VKQtPathUtils::getBytesFreeFromPath(path, bytes), kVKStatusSuccess);
    QVERIFY(bytes > 0 && bytes <= 1024 * 1024);
    const unsigned long long empty = bytes;
    Disk::makeFile(folder.toUtf8() + "/file", QByteArray(256 * 1024, 'x'));
    VKQtPath inside(folder + u"/not yet/there.jpg"_s, false);
    QCOMPARE(VKQtPathUtils::getBytesFreeFromPath(inside, bytes), kVKStatusSuccess);
    QCOMPARE(empty - bytes, 256ULL * 1024);
    VKQtPath none = noPath();
    QCOMPARE(VKQtPathUtils::getBytesFreeFromPath(none, bytes), kVKStatusSuccess);
    QCOMPARE(bytes, 0ULL);
}

void VKQtPathUtilsFoldersTest::accessErrors() {
    for (int error = -20; error < 50; ++error) {
        QCOMPARE(VKQtPathUtils::isFileAccessError(error), error == EACCES);
    }
    QVERIFY(!VKQtPathUtils::isFileAccessError(1013));
}

void VKQtPathUtilsFoldersTest::existence() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::makeFile(bytes + "/file");
    Disk::makeFolder(bytes + "/Cafe\xcc\x81");
    Disk::makeLink(bytes + "/link", "Cafe\xcc\x81");
    Disk::makeLink(bytes + "/dangling", "nowhere");
    const auto check = [&folder](const QString& name, bool exists, bool isFolder) {
        QCOMPARE(VKQtPathUtils::pathExists(folder + name, false), exists);
        QCOMPARE(VKQtPathUtils::pathExists(folder + name, true), exists);
        QCOMPARE(VKQtPathUtils::isFolder(folder + name), isFolder);
    };
    check(u"/file"_s, true, false);
    check(u"/Café"_s, true, true);
    check(u"/Cafe\u0301"_s, true, true);
    check(u"/link"_s, true, true);
    check(u"/dangling"_s, true, false);
    check(u"/none"_s, false, false);
    for (const QString& text : QStringList{QString(), u"/a\0b"_s}) {
        QVERIFY(!VKQtPathUtils::pathExists(text, true));
        QVERIFY(!VKQtPathUtils::isFolder(text));
    }
    QVERIFY(VKQtPathUtils::isFolder(u"/"_s));
}

void VKQtPathUtilsFoldersTest::plusRaw() {
    const QByteArray work = makeFolder().toUtf8();
    const ToldFolder told(kVKFolderRawWork, work);
    LogCapture log;
    for (int round = 0; round < 2; ++round) {
        VKQtPath out(u"/before"_s, false);
        QCOMPARE(VKQtPathUtils::createPlusRawDirectory(out), kVKStatusSuccess);
        QCOMPARE(out.path(), QString::fromUtf8(work) + u"/+raw"_s);
        QVERIFY(out.isFolder());
        QCOMPARE(Disk::namesIn(work), QByteArrayList({"+raw"}));
    }
    QCOMPARE(log.take().size(), 0);
}

void VKQtPathUtilsFoldersTest::plusRawThatFails() {
    LogCapture log;
    VKQtPath out(u"/before"_s, false);
    {
        const ToldFolder told(kVKFolderRawWork, "/dev/null/x");
        QVERIFY(VKQtPathUtils::createPlusRawDirectory(out) != kVKStatusSuccess);
        const QList<LogLine> lines = log.take();
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines[0].source, kLogSource);
    }
    QCOMPARE(out.path(), u"/before"_s);
    // The folder itself cannot be made: its name is one that the disk has as a link to nowhere.
    const QByteArray work = makeFolder().toUtf8();
    const ToldFolder told(kVKFolderRawWork, work);
    Disk::makeLink(work + "/+raw", "nowhere/at all");
    QCOMPARE(VKQtPathUtils::createPlusRawDirectory(out), kVKStatusSuccess);
    QVERIFY(::unlink(Disk::text(work + "/+raw")) == 0);
    const Disk::TemporaryFileSystem full(work, "size=1m,nr_inodes=1");
    VKTEST_NEEDS(full.isMounted(), "root, to mount");
    QCOMPARE(VKQtPathUtils::createPlusRawDirectory(out), VKStatus(ENOSPC));
    const QList<LogLine> lines = log.take();
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines[0].status, VKStatus(ENOSPC));
    QCOMPARE(lines[0].source, kLogSource);
}

VKTEST_MAIN(VKQtPathUtilsFoldersTest)
#include "VKQtPathUtilsFoldersTest.moc"
