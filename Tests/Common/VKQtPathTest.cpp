// The path value as its header states it: the canonical form, components, joins, comparison, kinds and the
// life of a value, under each platform's rules.
#include "VKQtPath.h"

#include "VKQtSysInfo.h"

#include "Support/VKTest.h"

#include <type_traits>

namespace {

const bool kMac = QLatin1String(vkTestPlatformRules()) == QLatin1String("macos");

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

class VKQtPathTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void rulesAreLinked();
    void startsEmpty();
    void constructors();
    void normalization_data();
    void normalization();
    void canonicalTextIsShared();
    void filenames_data();
    void filenames();
    void baseNames_data();
    void baseNames();
    void suffixes_data();
    void suffixes();
    void containers_data();
    void containers();
    void components_data();
    void components();
    void ancestors_data();
    void ancestors();
    void joins_data();
    void joins();
    void joinWithItself();
    void lastComponent_data();
    void lastComponent();
    void replacing_data();
    void replacing();
};

void VKQtPathTest::rulesAreLinked() { QCOMPARE(VKQtSysInfo::isMacPlatform(), kMac); }

void VKQtPathTest::startsEmpty() {
    const VKQtPath path;
    QVERIFY(path.path().isEmpty());
    QVERIFY(!path.isFolder());
    QCOMPARE(path.volumeID(), 0U);
    QVERIFY(!path.hasVolumeID());
    QVERIFY(path.securityToken() == nullptr);
    QCOMPARE(path.length(), 0);
    QCOMPARE(VKQtPath::kCanonicalPathSeparator, QStringLiteral("/"));
    QVERIFY(std::has_virtual_destructor_v<VKQtPath>);
    QVERIFY((std::is_base_of_v<CBaseCore, VKQtPath>));
}

void VKQtPathTest::constructors() {
    const VKQtPath text(QStringLiteral("C:\\Photos\\"), true);
    QCOMPARE(text.path(), QStringLiteral("C:/Photos"));
    QVERIFY(text.isFolder());
    QVERIFY(!text.hasVolumeID());

    const VKQtPath withVolume(QStringLiteral("/a/"), false, 7);
    QCOMPARE(withVolume.path(), QStringLiteral("/a"));
    QVERIFY(!withVolume.isFolder());
    QCOMPARE(withVolume.volumeID(), 7U);
    QVERIFY(withVolume.hasVolumeID());

    QVERIFY(VKQtPath(QStringLiteral("/a"), false, 0).hasVolumeID());
}

void VKQtPathTest::normalization_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<QString>("expected");

    QTest::newRow("empty") << "" << false << "";
    QTest::newRow("empty folder") << "" << true << "";
    QTest::newRow("root") << "/" << true << "/";
    QTest::newRow("root as a file") << "/" << false << "/";
    QTest::newRow("two slashes stay") << "//" << true << "//";
    QTest::newRow("three slashes lose one") << "///" << true << "//";
    QTest::newRow("trailing slash goes") << "/a/" << true << "/a";
    QTest::newRow("trailing slash of a file goes too") << "/a/" << false << "/a";
    QTest::newRow("only one of two trailing slashes") << "/a//" << true << "/a/";
    QTest::newRow("two characters keep their slash") << "a/" << true << "a/";
    QTest::newRow("three characters lose it") << "ab/" << true << "ab";
    QTest::newRow("backslashes become slashes") << "C:\\Photos\\x" << false << "C:/Photos/x";
    QTest::newRow("trailing backslash goes") << "C:\\Photos\\" << false << "C:/Photos";
    QTest::newRow("two trailing backslashes") << "a\\\\" << false << "a/";
    QTest::newRow("one backslash") << "\\" << false << "/";
    QTest::newRow("UNC in backslashes") << "\\\\srv\\share" << true << "//srv/share";
    QTest::newRow("drive folder gets its slash") << "C:" << true << "C:/";
    QTest::newRow("drive as a file stays") << "C:" << false << "C:";
    QTest::newRow("drive folder with slash") << "C:/" << true << "C:/";
    QTest::newRow("drive file with slash loses it") << "C:/" << false << "C:";
    QTest::newRow("drive folder with backslash") << "C:\\" << true << "C:/";
    QTest::newRow("drive with two slashes") << "C://" << true << "C:/";
    QTest::newRow("any letter before a colon is a drive") << "::" << true << "::/";
    QTest::newRow("a slash before a colon, too") << "/:" << true << "/:/";
    QTest::newRow("three characters with colon are none") << "ab:" << true << "ab:";
    QTest::newRow("colon alone is none") << ":" << true << ":";
    QTest::newRow("dots stay") << "/a/./../b" << false << "/a/./../b";
    QTest::newRow("tilde stays") << "~/a" << false << "~/a";
    QTest::newRow("relative stays") << "a/b" << false << "a/b";
    QTest::newRow("doubled slashes inside stay") << "/a//b" << false << "/a//b";
    QTest::newRow("case stays") << "/A/b.JPG" << false << "/A/b.JPG";
    QTest::newRow("decomposed is composed")
        << QStringLiteral("/e\u0301.jpg") << false << QStringLiteral("/\u00E9.jpg");
    QTest::newRow("composed stays") << QStringLiteral("/\u00E9.jpg") << false
                                    << QStringLiteral("/\u00E9.jpg");
    QTest::newRow("composed after its slash went")
        << QStringLiteral("e\u0301/") << false << QStringLiteral("\u00E9");
    QTest::newRow("composing leaves a two-character text with a slash")
        << QStringLiteral("e\u0301//") << false << QStringLiteral("\u00E9/");
    QTest::newRow("a drive is told before composing")
        << QStringLiteral("e\u0301:") << true << QStringLiteral("\u00E9:");
    QTest::newRow("Kelvin sign is a K") << QStringLiteral("/\u212A") << false << "/K";
    QTest::newRow("Angstrom sign") << QStringLiteral("/\u212B") << false << QStringLiteral("/\u00C5");
    QTest::newRow("hangul") << QStringLiteral("/\u1100\u1161") << false << QStringLiteral("/\uAC00");
    QTest::newRow("compatibility forms stay")
        << QStringLiteral("/\uFB01") << false << QStringLiteral("/\uFB01");
    QTest::newRow("a full-width backslash is none")
        << QStringLiteral("/\uFF3C") << false << QStringLiteral("/\uFF3C");
    QTest::newRow("a mark after a slash stays one")
        << QStringLiteral("/\u0338a") << false << QStringLiteral("/\u0338a");
    QTest::newRow("NUL stays") << QString(QChar(u'\0')) + QStringLiteral("\\a") << false
                               << QString(QChar(u'\0')) + QStringLiteral("/a");
    QTest::newRow("lone surrogate stays") << QString(QChar(u'\xD800')) + QStringLiteral("\\a/") << false
                                          << QString(QChar(u'\xD800')) + QStringLiteral("/a");
    QTest::newRow("byte order mark stays")
        << QStringLiteral("\uFEFF/a") << false << QStringLiteral("\uFEFF/a");
    QTest::newRow("longer than two blocks")
        << QString(40, u'x') + QStringLiteral("\\") + QString(40, u'y') << false
        << QString(40, u'x') + QStringLiteral("/") + QString(40, u'y');
}

void VKQtPathTest::normalization() {
    QFETCH(const QString, text);
    QFETCH(const bool, folder);
    QFETCH(const QString, expected);
    QCOMPARE(VKQtPath().normalize(text, folder), expected);
    QCOMPARE(VKQtPath(QStringLiteral("/other"), true, 3).normalize(text, folder), expected);
    QCOMPARE(VKQtPath(text, folder).path(), expected);
    QCOMPARE(VKQtPath(text, folder).isFolder(), folder);
    QCOMPARE(VKQtPath(text, folder).length(), static_cast<int>(expected.size()));
}

void VKQtPathTest::canonicalTextIsShared() {
    for (const QString& text :
         {QStringLiteral("/photos/2024/img_0001.jpg"), QStringLiteral("/"), QStringLiteral("C:/")}) {
        const QString own = text + QString();
        QCOMPARE(static_cast<const void*>(VKQtPath(own, true).path().constData()),
                 static_cast<const void*>(own.constData()));
    }
}

void VKQtPathTest::filenames_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<QString>("expected");
    QTest::newRow("file") << "/a/b.jpg" << false << "b.jpg";
    QTest::newRow("folder") << "/a/b" << true << "b";
    QTest::newRow("root") << "/" << true << "";
    QTest::newRow("root as a file") << "/" << false << "";
    QTest::newRow("file without slash") << "Photos" << false << "Photos";
    QTest::newRow("folder without slash") << "Photos" << true << "";
    QTest::newRow("empty") << "" << false << "";
    QTest::newRow("trailing slash that stayed") << "/a//" << false << "";
    QTest::newRow("drive root") << "C:/" << true << "";
    QTest::newRow("drive as a file") << "C:" << false << "C:";
    QTest::newRow("long name") << QString(QStringLiteral("/") + QString(100, u'n')) << false
                               << QString(100, u'n');
}

void VKQtPathTest::filenames() {
    QFETCH(const QString, text);
    QFETCH(const bool, folder);
    QFETCH(const QString, expected);
    QCOMPARE(VKQtPath(text, folder).filename(), expected);
}

void VKQtPathTest::baseNames_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("one dot") << "/a/b.jpg"
                             << "b";
    QTest::newRow("two dots") << "/p/a.tar.gz"
                              << "a.tar";
    QTest::newRow("hidden") << ".profile"
                            << "";
    QTest::newRow("hidden below a folder") << "/p/.profile"
                                           << "";
    QTest::newRow("no dot") << "/a/b"
                            << "b";
    QTest::newRow("dot in the folder only") << "/a.b/c"
                                            << "c";
    QTest::newRow("nothing after the slash") << "/a//"
                                             << "";
    QTest::newRow("no slash") << "b.jpg"
                              << "b";
    QTest::newRow("neither") << "b"
                             << "b";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("dot at the end") << "/a/b."
                                    << "b";
    QTest::newRow("dots only") << "/a/.."
                               << ".";
}

void VKQtPathTest::baseNames() {
    QFETCH(const QString, text);
    QFETCH(const QString, expected);
    QCOMPARE(VKQtPath(text, false).baseName(), expected);
    QCOMPARE(VKQtPath(text, true).baseName(), expected);
    QCOMPARE(VKQtPath::computeBaseName(VKQtPath(text, false).path()), expected);
}

void VKQtPathTest::suffixes_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("lower-cased") << "/A/B.JPG"
                                 << "jpg";
    QTest::newRow("spans components") << "/a.b/c"
                                      << "b/c";
    QTest::newRow("of a folder in the middle") << "/x.y/z"
                                               << "y/z";
    QTest::newRow("none") << "/a/b"
                          << "";
    QTest::newRow("dot at the end") << "/a."
                                    << "";
    QTest::newRow("last of several") << "a.tar.GZ"
                                     << "gz";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("hidden") << "/.profile"
                            << "profile";
    QTest::newRow("letters beyond ASCII") << QStringLiteral("a.\u00C9X") << QStringLiteral("\u00E9x");
    QTest::newRow("one letter becomes two") << QStringLiteral("a.\u0130") << QStringLiteral("i\u0307");
    QTest::newRow("what lies beside the letters") << "a.@Z[`z{"
                                                  << "@z[`z{";
    QTest::newRow("letters beyond the first plane")
        << QString(QStringLiteral("a.") + QString::fromUcs4(U"\U00010400"))
        << QString::fromUcs4(U"\U00010428");
}

void VKQtPathTest::suffixes() {
    QFETCH(const QString, text);
    QFETCH(const QString, expected);
    QCOMPARE(VKQtPath(text, false).suffix(), expected);
    QCOMPARE(VKQtPath(text, true).suffix(), expected);
}

void VKQtPathTest::containers_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<QString>("expected");
    QTest::newRow("file") << "/a/b.jpg" << false << "/a";
    QTest::newRow("folder") << "/a/b" << true << "/a";
    QTest::newRow("directly below the root") << "/a" << false << "/";
    QTest::newRow("root has no container") << "/" << true << "";
    QTest::newRow("empty") << "" << false << "";
    QTest::newRow("no folder in the text") << "b.jpg" << false << "b.jpg";
    QTest::newRow("drive root has no container") << "C:/" << true << "";
    QTest::newRow("any drive-like text") << "?:/" << true << "";
    QTest::newRow("below a drive root") << "C:/x" << false << "C:/";
    QTest::newRow("folder below a drive root") << "C:/x" << true << "C:/";
    QTest::newRow("below a drive with more slashes") << "C:////x" << false << "C:/";
    QTest::newRow("drive as a file") << "C:" << false << "C:/";
    QTest::newRow("relative") << "a/b/c" << false << "a/b";
    QTest::newRow("one slash further goes") << "/a//b" << false << "/a";
    QTest::newRow("two slashes further go") << "/a///b" << false << "/a";
    QTest::newRow("the third stays") << "/a////b" << false << "/a/";
    QTest::newRow("volume below /Volumes") << "/Volumes/x" << true << "/Volumes";
    QTest::newRow("the case of /Volumes counts") << "/volumes/x" << true << "/volumes";
    QTest::newRow("UNC share") << "//srv/share" << true << "//srv";
    QTest::newRow("UNC server") << "//srv" << true << "/";
    QTest::newRow("two slashes") << "//" << true << "/";
    QTest::newRow("composed letters") << QStringLiteral("/\u00E9/x") << false << QStringLiteral("/\u00E9");
}

void VKQtPathTest::containers() {
    QFETCH(const QString, text);
    QFETCH(const bool, folder);
    QFETCH(const QString, expected);
    const VKQtPath container = VKQtPath(text, folder).pathOnly();
    QCOMPARE(container.path(), expected);
    const bool driveRoot =
        VKQtPath(text, folder).path().size() == 3 && text.contains(u":/") && expected.isEmpty();
    QCOMPARE(container.isFolder(), !driveRoot);
}

void VKQtPathTest::components_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("empty") << "" << QStringList();
    QTest::newRow("root") << "/" << QStringList{QStringLiteral("/")};
    QTest::newRow("absolute") << "/a/b"
                              << QStringList{QStringLiteral("/"), QStringLiteral("a"), QStringLiteral("b")};
    QTest::newRow("relative") << "a/b" << QStringList{QStringLiteral("a"), QStringLiteral("b")};
    QTest::newRow("UNC") << "//server/share"
                         << QStringList{QStringLiteral("/"), QStringLiteral("server"),
                                        QStringLiteral("share")};
    QTest::newRow("drive") << "C:/x" << QStringList{QStringLiteral("C:/"), QStringLiteral("x")};
    QTest::newRow("drive as a file") << "C:" << QStringList{QStringLiteral("C:/")};
    QTest::newRow("any first element that ends with a colon")
        << "abc:/x" << QStringList{QStringLiteral("abc:/"), QStringLiteral("x")};
    QTest::newRow("a colon further on means nothing")
        << "/C:/x" << QStringList{QStringLiteral("/"), QStringLiteral("C:"), QStringLiteral("x")};
    QTest::newRow("empty ones are left out")
        << "a///b//" << QStringList{QStringLiteral("a"), QStringLiteral("b")};
    QTest::newRow("slashes only") << "////" << QStringList{QStringLiteral("/")};
    QTest::newRow("more than the usual number")
        << "1/2/3/4/5/6/7/8/9/10/11/12/13/14"
        << QStringLiteral("1 2 3 4 5 6 7 8 9 10 11 12 13 14").split(u' ');
}

void VKQtPathTest::components() {
    QFETCH(const QString, text);
    QFETCH(const QStringList, expected);
    QCOMPARE(VKQtPath(text, false).split(), expected);
}

void VKQtPathTest::ancestors_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<QStringList>("expected");
    const auto list = [](const char* texts) {
        return QString::fromLatin1(texts).split(u' ', Qt::SkipEmptyParts);
    };
    QTest::newRow("file") << "/Users/a/b.jpg" << false << list("/ /Users /Users/a");
    QTest::newRow("folder is its own last") << "/a/b" << true << list("/ /a /a/b");
    QTest::newRow("root") << "/" << true << list("/");
    QTest::newRow("file in the root") << "/a" << false << list("/");
    QTest::newRow("empty") << "" << true << list("");
    QTest::newRow("root as a file") << "/" << false << list("");
    QTest::newRow("relative") << "a/b/c" << false << (kMac ? list("/a /a/b") : list("a a/b"));
    QTest::newRow("file without folder") << "b.jpg" << false << (kMac ? list("/b.jpg") : list("b.jpg"));
    QTest::newRow("drive") << "C:/x/y" << false << (kMac ? list("/C: /C:/x") : list("C:/ C:/x"));
    QTest::newRow("drive root") << "C:/" << true << (kMac ? list("/C:") : list("C:/"));
    QTest::newRow("UNC loses a slash") << "//srv/share/x" << false << list("/ /srv /srv/share");
}

void VKQtPathTest::ancestors() {
    QFETCH(const QString, text);
    QFETCH(const bool, folder);
    QFETCH(const QStringList, expected);
    QCOMPARE(textsOf(VKQtPath(text, folder).parents()), expected);
}

void VKQtPathTest::joins_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("part");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << "/a"
                           << "b"
                           << "/a/b";
    QTest::newRow("to the root") << "/"
                                 << "a"
                                 << "/a";
    QTest::newRow("to an empty path") << ""
                                      << "a" << (kMac ? "/a" : "a");
    QTest::newRow("part with a slash to the root") << "/"
                                                   << "/a"
                                                   << "//a";
    QTest::newRow("part with a slash") << "a"
                                       << "/b" << (kMac ? "a/b" : "a//b");
    QTest::newRow("part with a slash to an empty path") << ""
                                                        << "/a"
                                                        << "/a";
    QTest::newRow("empty part") << "/a"
                                << ""
                                << "/a";
    QTest::newRow("empty part to an empty path") << ""
                                                 << "" << (kMac ? "/" : "");
    QTest::newRow("slash that stayed") << "/a//"
                                       << "b"
                                       << "/a/b";
    QTest::newRow("drive") << "C:/"
                           << "x"
                           << "C:/x";
    QTest::newRow("backslashes in the part") << "/a"
                                             << "b\\c\\"
                                             << "/a/b/c";
    QTest::newRow("backslash at the start of the part is no slash yet") << "a"
                                                                        << "\\b"
                                                                        << "a//b";
    QTest::newRow("trailing slash of the part goes") << "/a"
                                                     << "b/"
                                                     << "/a/b";
    QTest::newRow("the part is composed") << "/a" << QStringLiteral("e\u0301") << QStringLiteral("/a/\u00E9");
    QTest::newRow("dots stay") << "/a"
                               << "../b"
                               << "/a/../b";
}

void VKQtPathTest::joins() {
    QFETCH(const QString, text);
    QFETCH(const QString, part);
    QFETCH(const QString, expected);
    for (const bool folder : {false, true}) {
        VKQtPath path(text, text == u"C:/");
        path.append(part, folder);
        QCOMPARE(path.path(), expected);
        QCOMPARE(path.isFolder(), folder);

        VKQtPath fromCF(text, text == u"C:/");
        const auto cfPart = VKCFRef<CFStringRef>::adopt(CFStringCreateWithCharacters(
            nullptr, reinterpret_cast<const UniChar*>(part.utf16()), part.size()));
        fromCF.append(cfPart.get(), folder);
        QCOMPARE(fromCF.path(), expected);
        QCOMPARE(fromCF.isFolder(), folder);

        VKQtPath fromPath(text, text == u"C:/");
        fromPath.append(rawPath(part, folder));
        QCOMPARE(fromPath.path(), expected);
        QCOMPARE(fromPath.isFolder(), folder);
    }
}

void VKQtPathTest::joinWithItself() {
    VKQtPath path(QStringLiteral("/a"), true);
    path.append(path);
    QCOMPARE(path.path(), kMac ? QStringLiteral("/a/a") : QStringLiteral("/a//a"));
    path.setPath(QStringLiteral("/b"), false);
    path.append(path.path(), true);
    QCOMPARE(path.path(), kMac ? QStringLiteral("/b/b") : QStringLiteral("/b//b"));
}

void VKQtPathTest::lastComponent_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("changes");
    QTest::newRow("file") << "/Users/a/b.jpg"
                          << "/Users/a" << true;
    QTest::newRow("below the root") << "/a"
                                    << "/" << true;
    QTest::newRow("root stays") << "/"
                                << "/" << false;
    QTest::newRow("one component stays") << "a"
                                         << "a" << false;
    QTest::newRow("empty stays") << ""
                                 << "" << false;
    QTest::newRow("relative") << "a/b" << (kMac ? "/a" : "a") << true;
    QTest::newRow("UNC") << "//srv/share/x"
                         << "//srv/share" << true;
    QTest::newRow("UNC server") << "//srv"
                                << "//" << true;
    QTest::newRow("two slashes stay") << "//"
                                      << "//" << false;
    QTest::newRow("below a drive") << "C:/x" << (kMac ? "/C:" : "C:/") << true;
    QTest::newRow("further below a drive") << "C:/x/y" << (kMac ? "/C:/x" : "C:/x") << true;
    QTest::newRow("drive stays") << "C:/"
                                 << "C:" << false;
    QTest::newRow("doubled slashes go") << "/a//b//c"
                                        << "/a/b" << true;
    QTest::newRow("a folder that looks like a drive") << "/:/x/y"
                                                      << "/:/x" << true;
    QTest::newRow("what is left looks like a drive") << "/:/x"
                                                     << "/:/" << true;
    QTest::newRow("a scheme") << "abc:/x" << (kMac ? "/abc:" : "abc:") << true;
}

void VKQtPathTest::lastComponent() {
    QFETCH(const QString, text);
    QFETCH(const QString, expected);
    QFETCH(const bool, changes);
    VKQtPath path(text, false);
    path.deleteLastPathComponent();
    QCOMPARE(path.path(), expected);
    QCOMPARE(path.isFolder(), changes);
}

void VKQtPathTest::replacing_data() {
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("end");
    QTest::addColumn<QString>("with");
    QTest::addColumn<QString>("expected");
    QTest::newRow("the second number is a position") << 1 << 3 << "XYZ"
                                                     << "/XYZcd";
    QTest::newRow("insertion") << 2 << 2 << "-"
                               << "/a-bcd";
    QTest::newRow("to the end") << 3 << 5 << ""
                                << "/ab";
    QTest::newRow("end beyond the text") << 3 << 99 << "Z"
                                         << "/abZ";
    QTest::newRow("start beyond the text") << 99 << 99 << "Z"
                                           << "/abcdZ";
    QTest::newRow("end before start repeats") << 3 << 1 << "-"
                                              << "/ab-abcd";
    QTest::newRow("negative start keeps all") << -1 << 5 << "Z"
                                              << "/abcdZ";
    QTest::newRow("negative end keeps all") << 0 << -1 << "Z"
                                            << "Z/abcd";
    QTest::newRow("not normalised") << 0 << 5 << "\\a\\"
                                    << "\\a\\";
}

void VKQtPathTest::replacing() {
    QFETCH(const int, start);
    QFETCH(const int, end);
    QFETCH(const QString, with);
    QFETCH(const QString, expected);
    VKQtPath path(QStringLiteral("/abcd"), false);
    path.replace(start, end, with);
    QCOMPARE(path.path(), expected);
}

VKTEST_MAIN(VKQtPathTest)
#include "VKQtPathTest.moc"
