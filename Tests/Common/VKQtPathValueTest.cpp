// The path as a value: comparison, kinds, setting and copying, what it owns, containers, logs, hostile sizes.
#include "VKQtPath.h"

#include "Support/VKTest.h"

#include <QDebug>
#include <QDir>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <functional>
#include <type_traits>

// The cached full volume has no accessor of its own; its rules are part of setting and copying.
auto& cachedVolumeOf(VKQtPath& path);
template <auto Member>
struct CachedVolumeOpener {
    friend auto& cachedVolumeOf(VKQtPath& path) { return path.*Member; }
};
template struct CachedVolumeOpener<&VKQtPath::mFullVolumeCache>;

namespace {

// Says how many of its kind were deleted.
class CountedPath : public VKQtPath {
public:
    explicit CountedPath(int* deleted)
        : VKQtPath(QStringLiteral("/Volumes/Cached"), true), mDeleted(deleted) {}
    ~CountedPath() override { ++*mDeleted; }

private:
    int* mDeleted;
};

VKCFRef<CFDataRef> makeToken() {
    const UInt8 bytes[] = {1, 2, 3};
    return VKCFRef<CFDataRef>::adopt(CFDataCreate(nullptr, bytes, 3));
}

QStringList textsOf(const QList<VKQtPath>& paths) {
    QStringList texts;
    for (const VKQtPath& path : paths) {
        texts << path.path();
    }
    return texts;
}

// A path whose text is exactly this one, canonical or not.
VKQtPath rawPath(const QString& text, bool folder = false) {
    VKQtPath path(QString(), folder);
    path.replace(0, 0, text);
    return path;
}

} // namespace

class VKQtPathValueTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void platformForms();
    void comparison();
    void textTests();
    void folderPrefix_data();
    void folderPrefix();
    void kinds_data();
    void kinds();
    void resourcePaths();
    void settingTheText();
    void tokens();
    void copies();
    void moves();
    void assignmentKeepsTheCachedVolume();
    void settersDropTheCachedVolume();
    void counting();
    void inContainers();
    void listing();
    void debugText();
    void hugeTexts();
    void replacingKeepsTheRest();
    void joinKeepsTheVolume();
    void containerCarriesTheVolume();
    void ancestorsCarryTheVolume();
    void lastComponentKeepsTheVolume();
};

void VKQtPathValueTest::platformForms() {
    const VKQtPath path(QStringLiteral("/a b/c.jpg"), false, 2);
    QCOMPARE(path.platformSpecificPath(), QDir::toNativeSeparators(path.path()));
    QCOMPARE(path.info().filePath(), path.path());
    QCOMPARE(path.makeQUrl(), QUrl::fromLocalFile(QStringLiteral("/a b/c.jpg")));
    QVERIFY(VKQtPath(QStringLiteral("//srv/x"), true).isUNC());
    QVERIFY(VKQtPath(QStringLiteral("//"), true).isUNC());
    QVERIFY(!VKQtPath(QStringLiteral("/srv//x"), true).isUNC());
    QVERIFY(!VKQtPath(QStringLiteral("/"), true).isUNC());
    QVERIFY(!VKQtPath().isUNC());

    QCOMPARE(path.absolutePath().path(), QStringLiteral("/a b"));
    QVERIFY(!path.absolutePath().isFolder());
    QVERIFY(!path.absolutePath().hasVolumeID());
    QVERIFY(VKQtPath(QStringLiteral("/a/b"), true).absolutePath().isFolder());
    QCOMPARE(VKQtPath(QStringLiteral("b.jpg"), false).absolutePath().path(), QDir::currentPath());
    QCOMPARE(VKQtPath(QStringLiteral(":/a/b"), false).absolutePath().path(), QStringLiteral(":/a"));
    QCOMPARE(VKQtPath().absolutePath().path(), QString());
}

void VKQtPathValueTest::comparison() {
    const VKQtPath upper(QStringLiteral("/A/b"), false, 1);
    const VKQtPath lower(QStringLiteral("/a/B"), true, 2);
    QVERIFY(upper == lower);
    QVERIFY(!(upper != lower));
    QVERIFY2(upper < lower && !(lower < upper), "equal and yet ordered");
    QVERIFY(upper.compare(lower, Qt::CaseSensitive) < 0);
    QVERIFY(lower.compare(upper, Qt::CaseSensitive) > 0);
    QCOMPARE(upper.compare(lower, Qt::CaseInsensitive), 0);
    QVERIFY(upper == QStringLiteral("/a/b"));
    QVERIFY(QStringLiteral("/a/b") == upper);
    QVERIFY(upper != QStringLiteral("/a/b/"));
    QVERIFY2(upper != QStringLiteral("\\A\\b"), "a QString is taken as it stands");
    QVERIFY(VKQtPath() == QString());
    QVERIFY(VKQtPath() == QStringLiteral(""));
    QVERIFY(!(upper < upper));
    QCOMPARE(VKQtPath(QStringLiteral("e\u0301"), false), VKQtPath(QStringLiteral("\u00C9"), false));
    QVERIFY2(VKQtPath(QStringLiteral("\u00DF"), false) != VKQtPath(QStringLiteral("ss"), false),
             "texts of different lengths are never equal");
    QVERIFY2(rawPath(QStringLiteral("/\u212A")) == VKQtPath(QStringLiteral("/k"), false),
             "the Kelvin sign folds to k");
}

void VKQtPathValueTest::textTests() {
    const VKQtPath path(QStringLiteral("/Photos/Img.JPG"), false);
    QVERIFY(path.contains(QStringLiteral("Img")));
    QVERIFY2(!path.contains(QStringLiteral("img")), "case-sensitive");
    QVERIFY(path.contains(QString()));
    QVERIFY(VKQtPath().contains(QString()));
    QVERIFY(path.contains(VKQtPath(QStringLiteral("Photos"), false)));
    QVERIFY(path.contains(VKQtPath()));
    QVERIFY(!VKQtPath().contains(path));

    QVERIFY(path.startsWith(QStringLiteral("/PHOTOS/i")));
    QVERIFY(path.startsWith(path.path()));
    QVERIFY(!path.startsWith(QString()));
    QVERIFY(!path.startsWith(QStringLiteral("/Photos/Img.JPGx")));
    QVERIFY(!path.startsWith(QStringLiteral("Photos")));
    QVERIFY(!VKQtPath().startsWith(QString()));

    QVERIFY(path.endsWith(QStringLiteral("img.jpg")));
    QVERIFY(path.endsWith(path.path()));
    QVERIFY(!path.endsWith(QString()));
    QVERIFY(!path.endsWith(QStringLiteral("x/Photos/Img.JPG")));
    QVERIFY(!path.endsWith(QStringLiteral("Img")));
}

void VKQtPathValueTest::folderPrefix_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<bool>("prefixFolder");
    QTest::addColumn<bool>("expected");
    QTest::newRow("below") << "/a/b/c" << false << "/a/b" << true << true;
    QTest::newRow("the folder itself") << "/a/b" << true << "/a/b" << true << true;
    QTest::newRow("a file of the same name is not in the folder")
        << "/a/b" << false << "/a/b" << true << false;
    QTest::newRow("a longer name") << "/a/bc" << false << "/a/b" << true << false;
    QTest::newRow("a file is a prefix of a longer name") << "/a/bc" << false << "/a/b" << false << true;
    QTest::newRow("a file is a prefix of the folder") << "/a/b" << true << "/a/b" << false << true;
    QTest::newRow("case counts") << "/A/b/c" << false << "/a/b" << true << false;
    QTest::newRow("root") << "/a" << false << "/" << true << true;
    QTest::newRow("root in itself") << "/" << true << "/" << true << true;
    QTest::newRow("drive root") << "C:/x" << false << "C:/" << true << true;
    QTest::newRow("file prefix that ends with a slash") << "/a/b" << true << "/a/b//" << false << true;
    QTest::newRow("file prefix with a slash, of a file") << "/a/b" << false << "/a/b//" << false << false;
    QTest::newRow("folder prefix that ends with a slash") << "/a/b/c" << false << "/a/b//" << true << true;
    QTest::newRow("folder prefix one longer") << "/a" << true << "/ab" << true << false;
    QTest::newRow("file prefix one longer") << "/a" << true << "/ab" << false << false;
    QTest::newRow("empty prefix") << "/a" << true << "" << true << false;
    QTest::newRow("empty text") << "" << true << "/" << true << false;
    QTest::newRow("both empty") << "" << false << "" << false << false;
}

void VKQtPathValueTest::folderPrefix() {
    QFETCH(const QString, text);
    QFETCH(const bool, folder);
    QFETCH(const QString, prefix);
    QFETCH(const bool, prefixFolder);
    QFETCH(const bool, expected);
    QCOMPARE(VKQtPath(text, folder).startsWith(VKQtPath(prefix, prefixFolder)), expected);
}

void VKQtPathValueTest::kinds_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("kind");
    QTest::newRow("jpg") << "/a.jpg"
                         << "JPG";
    QTest::newRow("jpeg in capitals") << "/A/B.JPEG"
                                      << "JPG";
    QTest::newRow("suffix over components") << "/a.b/cjpg"
                                            << "JPG";
    QTest::newRow("suffix that only ends so") << "x.ajpeg"
                                              << "JPG";
    QTest::newRow("no dot") << "/photo"
                            << "";
    QTest::newRow("no dot before jpg") << "/a/jpg"
                                       << "";
    QTest::newRow("jpg alone") << "jpg"
                               << "";
    QTest::newRow("dot and jpg alone") << ".jpg"
                                       << "JPG";
    QTest::newRow("png") << "a.png"
                         << "PNG";
    QTest::newRow("gif") << "a.Gif"
                         << "GIF";
    QTest::newRow("tif") << "x.TIF"
                         << "Tiff";
    QTest::newRow("tiff") << "x.tiff"
                          << "Tiff";
    QTest::newRow("heic") << "x.HEIC"
                          << "Heic";
    QTest::newRow("dng") << "x.dng"
                         << "DNG";
    QTest::newRow("xmp") << "x.xmp"
                         << "XMP";
    QTest::newRow("psd") << "x.psd"
                         << "Photoshop";
    QTest::newRow("psb") << "x.PSB"
                         << "Photoshop";
    QTest::newRow("vkx") << "x.vkx"
                         << "VKX";
    QTest::newRow("vkphoto") << "x.VKPhoto"
                             << "VKPhoto";
    QTest::newRow("dot after the kind") << "x.jpg."
                                        << "";
    QTest::newRow("dot inside the kind") << "x.j.pg"
                                         << "";
    QTest::newRow("the start only") << "x.jpgx"
                                    << "";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("video: exact") << "/p/clip.MOV"
                                  << "Video";
    QTest::newRow("video: mts") << "/p/clip.mts"
                                << "Video";
    QTest::newRow("video is no ending") << "/p/clip.xmov"
                                        << "";
    QTest::newRow("video suffix over components") << "/p.x/mov"
                                                  << "";
    QTest::newRow("video without dot") << "/p/mov"
                                       << "";
    QTest::newRow("dot at the end") << "/p/mov."
                                    << "";
    QTest::newRow("not a letter that looks so") << QStringLiteral("x.jp\u01F5") << "";
}

void VKQtPathValueTest::kinds() {
    QFETCH(const QString, text);
    QFETCH(const QString, kind);
    const VKQtPath path(text, false);
    const QHash<QString, bool> answers{
        {QStringLiteral("JPG"), path.isJPG()},    {QStringLiteral("PNG"), path.isPNG()},
        {QStringLiteral("GIF"), path.isGIF()},    {QStringLiteral("Tiff"), path.isTiff()},
        {QStringLiteral("Heic"), path.isHeic()},  {QStringLiteral("DNG"), path.isDNG()},
        {QStringLiteral("XMP"), path.isXMP()},    {QStringLiteral("Photoshop"), path.isPhotoshop()},
        {QStringLiteral("VKX"), path.isVKX()},    {QStringLiteral("VKPhoto"), path.isVKPhoto()},
        {QStringLiteral("Video"), path.isVideo()}};
    for (auto answer = answers.begin(); answer != answers.end(); ++answer) {
        QVERIFY2(answer.value() == (answer.key() == kind), qPrintable(answer.key()));
    }
    // A Kelvin sign is lower-cased to "k", but only a text that was not made canonical can hold one.
    QVERIFY(rawPath(QStringLiteral("x.v\u212Ax")).isVKX());
    QVERIFY(rawPath(QStringLiteral("x.V\u212APHOTO")).isVKPhoto());
}

void VKQtPathValueTest::resourcePaths() {
    QVERIFY(VKQtPath(QStringLiteral(":/Kestrel/VKConfig"), false).isQRCPath());
    QVERIFY(VKQtPath(QStringLiteral(":/"), false).isQRCPath());
    QVERIFY(!VKQtPath(QStringLiteral("/:/a"), false).isQRCPath());
    QVERIFY(!VKQtPath(QStringLiteral("qrc:/a"), false).isQRCPath());
    QVERIFY(!VKQtPath(QStringLiteral(":"), false).isQRCPath());
}

void VKQtPathValueTest::settingTheText() {
    VKQtPath path(QStringLiteral("/a"), true, 5);
    path.setPath(QStringLiteral("b\\c"), false);
    QCOMPARE(path.path(), QStringLiteral("b/c"));
    QVERIFY(!path.isFolder());
    QVERIFY(!path.hasVolumeID());
    QCOMPARE(path.volumeID(), 5U);

    path.setPath(QStringLiteral("/d"), true, 0);
    QVERIFY(path.hasVolumeID());
    QCOMPARE(path.volumeID(), 0U);

    VKQtPath other(QStringLiteral("/other"), false, 77);
    other.replace(0, 1, QStringLiteral("\\"));
    path.setPath(QStringLiteral("/d"), true, 6);
    path.setPath(other);
    QCOMPARE(path.path(), QStringLiteral("\\other"));
    QVERIFY(!path.isFolder());
    QCOMPARE(path.volumeID(), 6U);
    QVERIFY(path.hasVolumeID());

    path.setPath(path);
    QCOMPARE(path.path(), QStringLiteral("\\other"));
    path.setPath(path.path(), true);
    QCOMPARE(path.path(), QStringLiteral("/other"));

    path.clear();
    QVERIFY(path == VKQtPath());
    QVERIFY(!path.isFolder() && !path.hasVolumeID() && path.volumeID() == 0);
    QCOMPARE(VKQtPath(QStringLiteral("/temporary"), false).path(), QStringLiteral("/temporary"));
}

void VKQtPathValueTest::tokens() {
    const auto token = makeToken();
    const auto second = makeToken();
    const CFIndex before = CFGetRetainCount(token.get());
    {
        VKQtPath path(QStringLiteral("/a"), false);
        path.setSecurityToken(token.get());
        QVERIFY(path.securityToken() == token.get());
        QCOMPARE(CFGetRetainCount(token.get()), before + 1);
        path.setSecurityToken(path.securityToken());
        QCOMPARE(CFGetRetainCount(token.get()), before + 1);

        VKQtPath copy(path);
        QCOMPARE(CFGetRetainCount(token.get()), before + 2);
        copy = path;
        QCOMPARE(CFGetRetainCount(token.get()), before + 2);
        copy.setPath(path);
        QCOMPARE(CFGetRetainCount(token.get()), before + 2);
        const VKQtPath& same = copy;
        copy = same;
        copy.setPath(same);
        QVERIFY(copy.securityToken() == token.get());
        QCOMPARE(CFGetRetainCount(token.get()), before + 2);

        const VKQtPath moved(std::move(copy));
        QCOMPARE(CFGetRetainCount(token.get()), before + 2);
        QVERIFY(moved.securityToken() == token.get());

        VKQtPath other(QStringLiteral("/b"), false);
        other.setSecurityToken(second.get());
        QCOMPARE(CFGetRetainCount(second.get()), before + 1);
        other.setPath(path);
        QCOMPARE(CFGetRetainCount(second.get()), before);
        other.setPath(VKQtPath());
        QVERIFY(other.securityToken() == nullptr);
        QCOMPARE(CFGetRetainCount(token.get()), before + 2);

        other.setSecurityToken(token.get());
        other.setPath(QStringLiteral("/c"), false);
        QVERIFY(other.securityToken() == nullptr);
        other.setSecurityToken(token.get());
        other.setPath(QStringLiteral("/c"), false, 1);
        QVERIFY(other.securityToken() == nullptr);
        other.setSecurityToken(token.get());
        other.append(QStringLiteral("x"), false);
        QVERIFY(other.securityToken() == nullptr);
        other.setSecurityToken(token.get());
        other.setSecurityToken(nullptr);
        QVERIFY(other.securityToken() == nullptr);
        other.setSecurityToken(token.get());
        other.clear();
        QVERIFY(other.securityToken() == nullptr);
        QCOMPARE(CFGetRetainCount(token.get()), before + 2);
    }
    QCOMPARE(CFGetRetainCount(token.get()), before);
    QCOMPARE(CFGetRetainCount(second.get()), before);
}

void VKQtPathValueTest::copies() {
    static_assert(std::is_nothrow_copy_constructible_v<VKQtPath> &&
                  std::is_nothrow_copy_assignable_v<VKQtPath>);
    static_assert(std::is_nothrow_move_constructible_v<VKQtPath> &&
                  std::is_nothrow_move_assignable_v<VKQtPath>);
    static_assert(std::is_nothrow_destructible_v<VKQtPath>);
    VKQtPath path(QStringLiteral("/a/b"), true, 3);
    const VKQtPath copy(path);
    QCOMPARE(copy.path(), path.path());
    QVERIFY(copy.isFolder() && copy.hasVolumeID());
    QCOMPARE(copy.volumeID(), 3U);
    path.append(QStringLiteral("c"), false);
    QCOMPARE(copy.path(), QStringLiteral("/a/b"));

    VKQtPath assigned(QStringLiteral("/old"), false);
    assigned = copy;
    QCOMPARE(assigned.path(), QStringLiteral("/a/b"));
    QVERIFY(assigned.isFolder() && assigned.hasVolumeID());
    const VKQtPath& same = assigned;
    assigned = same;
    QCOMPARE(assigned.path(), QStringLiteral("/a/b"));
}

void VKQtPathValueTest::moves() {
    VKQtPath path(QStringLiteral("/a/b"), true, 3);
    int deleted = 0;
    cachedVolumeOf(path).reset(new CountedPath(&deleted));
    VKQtPath moved(std::move(path));
    QCOMPARE(moved.path(), QStringLiteral("/a/b"));
    QVERIFY(moved.isFolder() && moved.hasVolumeID() && moved.volumeID() == 3);
    QVERIFY2(cachedVolumeOf(moved) != nullptr, "the cache belongs to the text and goes with it");
    QVERIFY(path.path().isEmpty()); // NOLINT: a moved-from path is an empty one
    QVERIFY(!path.isFolder() && !path.hasVolumeID() && path.volumeID() == 0);
    QVERIFY(cachedVolumeOf(path) == nullptr);
    path.setPath(QStringLiteral("/again"), false);
    QCOMPARE(path.path(), QStringLiteral("/again"));

    VKQtPath& same = moved;
    moved = std::move(same);
    QCOMPARE(moved.path(), QStringLiteral("/a/b"));
    QCOMPARE(deleted, 0);
    path = std::move(moved);
    QCOMPARE(path.path(), QStringLiteral("/a/b"));
    QVERIFY(path.isFolder() && path.volumeID() == 3);
    QVERIFY(moved.path().isEmpty() && !moved.hasVolumeID()); // NOLINT: as above
    QCOMPARE(deleted, 1);
}

void VKQtPathValueTest::assignmentKeepsTheCachedVolume() {
    int deleted = 0;
    {
        VKQtPath path(QStringLiteral("/a"), true);
        cachedVolumeOf(path).reset(new CountedPath(&deleted));
        const VKQtPath* const cached = cachedVolumeOf(path).get();
        VKQtPath other(QStringLiteral("/b"), true);
        VKQtPath copy(path);
        QVERIFY2(cachedVolumeOf(copy) == nullptr, "a copy starts without one");
        path = other;
        QVERIFY2(cachedVolumeOf(path).get() == cached, "copying over a path leaves its cache");
        path = VKQtPath(QStringLiteral("/c"), true);
        QVERIFY2(cachedVolumeOf(path).get() == cached, "so does moving");
        other = path;
        QVERIFY(cachedVolumeOf(other) == nullptr);
        QCOMPARE(deleted, 0);
    }
    QCOMPARE(deleted, 1);
}

void VKQtPathValueTest::settersDropTheCachedVolume() {
    const auto text = VKCFRef<CFStringRef>::adopt(VKQtPath(QStringLiteral("/x"), false).createCFString());
    const auto url = VKCFRef<CFURLRef>::adopt(VKQtPath(QStringLiteral("/x"), false).createCFUrl());
    const std::function<void(VKQtPath&)> setters[] = {
        [](VKQtPath& path) { path.setPath(QStringLiteral("/x"), false); },
        [](VKQtPath& path) { path.setPath(QStringLiteral("/x"), false, 1); },
        [&](VKQtPath& path) { path.setPath(text.get(), false); },
        [&](VKQtPath& path) { path.setPath(url.get(), false, 1); },
        [&](VKQtPath& path) { path.setPath(url.get(), false, 0); },
        [](VKQtPath& path) { path.setPath(VKQtPath(QStringLiteral("/x"), false)); },
        [](VKQtPath& path) { path.append(QStringLiteral("x"), false); },
        [](VKQtPath& path) { path.deleteLastPathComponent(); },
        [](VKQtPath& path) { path.clear(); },
        [](VKQtPath& path) { path.setPath(path.path(), false); },
    };
    int expected = 0;
    int deleted = 0;
    for (const auto& set : setters) {
        VKQtPath path(QStringLiteral("/a/b"), true);
        cachedVolumeOf(path).reset(new CountedPath(&deleted));
        set(path);
        QCOMPARE(deleted, ++expected);
        QVERIFY(cachedVolumeOf(path) == nullptr);
    }
    // A text that belongs to the cached path itself outlives it.
    VKQtPath path(QStringLiteral("/a/b"), true);
    cachedVolumeOf(path).reset(new CountedPath(&deleted));
    path.setPath(cachedVolumeOf(path)->path(), true);
    QCOMPARE(path.path(), QStringLiteral("/Volumes/Cached"));
    path.setSecurityToken(nullptr);
    cachedVolumeOf(path).reset(new CountedPath(&deleted));
    path.setSecurityToken(makeToken().get());
    QVERIFY2(cachedVolumeOf(path) != nullptr, "a token changes no text");
}

void VKQtPathValueTest::counting() {
    auto* const path = new VKQtPath(QStringLiteral("/a"), false);
    QCOMPARE(path->AddRef(), 2U);
    const VKQtPath copy(*path);
    QCOMPARE(path->Release(), 1U);
    VKQtPath counted(copy);
    QCOMPARE(counted.AddRef(), 2U);
    QCOMPARE(counted.Release(), 1U);
    QCOMPARE(path->Release(), 0U);
}

void VKQtPathValueTest::inContainers() {
    QHash<VKQtPath, int> numbers;
    numbers.insert(VKQtPath(QStringLiteral("/A/b"), false), 1);
    numbers.insert(VKQtPath(QStringLiteral("/a/B"), true), 2);
    QCOMPARE(numbers.size(), 1);
    QCOMPARE(numbers.value(VKQtPath(QStringLiteral("/A/B"), false)), 2);
    QSet<VKQtPath> paths;
    for (int i = 0; i < 1000; ++i) {
        paths.insert(VKQtPath(QStringLiteral("/photos/Img%1.jpg").arg(i % 100), false));
        paths.insert(VKQtPath(QStringLiteral("/PHOTOS/img%1.JPG").arg(i % 100), false));
    }
    QCOMPARE(paths.size(), 100);

    const auto token = makeToken();
    const CFIndex before = CFGetRetainCount(token.get());
    {
        QList<VKQtPath> list;
        for (int i = 0; i < 200; ++i) {
            VKQtPath path(QStringLiteral("/%1").arg(i), false);
            path.setSecurityToken(token.get());
            list.insert(i / 2, path);
        }
        QCOMPARE(CFGetRetainCount(token.get()), before + 200);
        list.remove(10, 50);
        const QList<VKQtPath> shared = list;
        list.append(VKQtPath());
        QCOMPARE(shared.size(), 150);
        QCOMPARE(CFGetRetainCount(token.get()), before + 300);
        std::sort(list.begin(), list.end());
        QVERIFY(std::is_sorted(list.begin(), list.end()));
        QVERIFY(list.contains(VKQtPath(QStringLiteral("/199"), true)));
    }
    QCOMPARE(CFGetRetainCount(token.get()), before);
}

void VKQtPathValueTest::listing() {
    QCOMPARE(VKQtPath::dumpVKQtPathList({}), QString());
    QCOMPARE(VKQtPath::dumpVKQtPathList({VKQtPath(QStringLiteral("/a"), true)}), QStringLiteral("/a"));
    QCOMPARE(VKQtPath::dumpVKQtPathList(
                 {VKQtPath(QStringLiteral("/b"), true), VKQtPath(), VKQtPath(QStringLiteral("a, b"), false)}),
             QStringLiteral("/b, , a, b"));
}

void VKQtPathValueTest::debugText() {
    const auto debug = [](const VKQtPath& path) {
        QString text;
        QDebug(&text).nospace() << path << '!';
        return text;
    };
    QCOMPARE(debug(VKQtPath(QStringLiteral("/a b"), true, 7)),
             QStringLiteral("VKQtPath(\"/a b\", folder, volume 7)!"));
    QCOMPARE(debug(VKQtPath(QStringLiteral("/a"), false)), QStringLiteral("VKQtPath(\"/a\")!"));
    QCOMPARE(debug(VKQtPath()), QStringLiteral("VKQtPath(\"\")!"));
}

void VKQtPathValueTest::hugeTexts() {
    constexpr qsizetype kMillion = 1000000;
    const VKQtPath slashes(QString(kMillion, u'\\'), true);
    QCOMPARE(slashes.path(), QString(kMillion - 1, u'/'));
    QCOMPARE(slashes.split(), QStringList{QStringLiteral("/")});
    QCOMPARE(textsOf(slashes.parents()), QStringList{QStringLiteral("/")});
    QCOMPARE(slashes.pathOnly().path(), QString(kMillion - 4, u'/'));
    QVERIFY(slashes.filename().isEmpty() && slashes.suffix().isEmpty() && slashes.baseName().isEmpty());

    VKQtPath components(QStringLiteral("/a").repeated(kMillion / 2), false);
    QCOMPARE(components.split().size(), kMillion / 2 + 1);
    components.deleteLastPathComponent();
    QCOMPARE(components.path(), QStringLiteral("/a").repeated(kMillion / 2 - 1));

    const VKQtPath dots(QString(kMillion, u'.'), false);
    QVERIFY(dots.suffix().isEmpty() && !dots.isJPG());
    QCOMPARE(dots.baseName(), QString(kMillion - 1, u'.'));
    const VKQtPath marks(u'e' + QString(kMillion, QChar(u'\u0301')), false);
    QCOMPARE(marks.length(), static_cast<int>(kMillion));
    QVERIFY(marks == VKQtPath(u'\u00C9' + QString(kMillion - 1, QChar(u'\u0301')), true));
}

void VKQtPathValueTest::replacingKeepsTheRest() {
    const auto token = makeToken();
    int deleted = 0;
    VKQtPath path(QStringLiteral("/abcd"), true, 3);
    path.setSecurityToken(token.get());
    cachedVolumeOf(path).reset(new CountedPath(&deleted));
    path.replace(0, 1, QStringLiteral("e\u0301"));
    QCOMPARE(path.path(), QStringLiteral("e\u0301abcd"));
    QVERIFY(path.isFolder() && path.hasVolumeID());
    QVERIFY(path.securityToken() == token.get());
    QCOMPARE(deleted, 0);
}

void VKQtPathValueTest::joinKeepsTheVolume() {
    const auto token = makeToken();
    VKQtPath path(QStringLiteral("/a"), true, 4);
    path.setSecurityToken(token.get());
    path.append(VKQtPath(QStringLiteral("b"), false, 6));
    QCOMPARE(path.volumeID(), 4U);
    QVERIFY(path.hasVolumeID());
    QVERIFY(path.securityToken() == nullptr);

    path.setPath(QStringLiteral("/a"), true);
    path.append(QStringLiteral("b"), false);
    QVERIFY(!path.hasVolumeID());
    QCOMPARE(path.volumeID(), 4U);
}

void VKQtPathValueTest::containerCarriesTheVolume() {
    VKQtPath file(QStringLiteral("/a/b"), false, 9);
    const auto token = makeToken();
    file.setSecurityToken(token.get());
    const VKQtPath folder = file.pathOnly();
    QCOMPARE(folder.volumeID(), 9U);
    QVERIFY(folder.hasVolumeID());
    QVERIFY(folder.securityToken() == nullptr);

    file.setPath(QStringLiteral("/a/b"), false);
    QVERIFY2(file.pathOnly().hasVolumeID(), "present also where the path's own is not");
    QCOMPARE(file.pathOnly().volumeID(), 9U);

    const VKQtPath volumes = VKQtPath(QStringLiteral("/Volumes/x"), true, 9).pathOnly();
    QVERIFY(!volumes.hasVolumeID());
    QCOMPARE(volumes.volumeID(), 0U);
    QVERIFY(volumes.isFolder());

    const VKQtPath none = VKQtPath(QStringLiteral("C:/"), true, 9).pathOnly();
    QVERIFY(!none.hasVolumeID());
    QCOMPARE(none.volumeID(), 0U);
    QVERIFY(!none.isFolder());
}

void VKQtPathValueTest::ancestorsCarryTheVolume() {
    VKQtPath file(QStringLiteral("/a/b/c"), false, 5);
    const auto token = makeToken();
    file.setSecurityToken(token.get());
    const QList<VKQtPath> ancestors = file.parents();
    QCOMPARE(ancestors.size(), 3);
    for (const VKQtPath& ancestor : ancestors) {
        QVERIFY(ancestor.isFolder());
        QCOMPARE(ancestor.volumeID(), 5U);
        QVERIFY(ancestor.hasVolumeID());
        QVERIFY(ancestor.securityToken() == nullptr);
    }
}

void VKQtPathValueTest::lastComponentKeepsTheVolume() {
    const auto token = makeToken();
    VKQtPath path(QStringLiteral("/a/b"), false, 8);
    path.setSecurityToken(token.get());
    path.deleteLastPathComponent();
    QCOMPARE(path.volumeID(), 8U);
    QVERIFY(path.hasVolumeID());
    QVERIFY(path.securityToken() == nullptr);

    VKQtPath single(QStringLiteral("/"), false, 8);
    single.setSecurityToken(token.get());
    single.deleteLastPathComponent();
    QVERIFY2(single.securityToken() == token.get(), "nothing changes where no component goes");
}

VKTEST_MAIN(VKQtPathValueTest)
#include "VKQtPathValueTest.moc"
