// Versions: of texts, of library names, of property lists, and of real bundles and libraries on disk.
#include "Support/DiskSupport.h"
#include "VKCoreKit/CoreKitSupport.h"
#include "VKCoreKit/VKVersionRules.h"

#include <QLibraryInfo>

#include <cerrno>

using namespace CoreKit;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(VKVersionInfo)

namespace {

QByteArray plist(const QByteArray& dictionary) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n<dict>\n" +
           dictionary + "</dict>\n</plist>\n";
}

QByteArray stringValue(const char* key, const char* value) {
    return QByteArray("<key>") + key + "</key>\n<string>" + value + "</string>\n";
}

const QByteArray kBoth =
    stringValue("CFBundleShortVersionString", "5.2.1") + stringValue("CFBundleVersion", "430");

struct Answer {
    VKStatus status = kVKStatusSuccess;
    QString text;
    VKVersionInfo info;
};

Answer versionOf(const QByteArray& path) {
    Answer answer;
    VKCFRef<CFStringRef> text;
    answer.info = {7, 7, 7, 7};
    answer.status = VKFileMgrGetFileVersionInfoCopy(makeUrl(path).get(), text.out(), &answer.info);
    answer.text = text ? CFStringCopyQString(text.get()) : u"none"_s;
    return answer;
}

} // namespace

class VKFileMgrVersionTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void numbers_data();
    void numbers();
    void libraryNames_data();
    void libraryNames();
    void bundles_data();
    void bundles();
    void propertyLists_data();
    void propertyLists();
    void damage_data();
    void damage();
    void sizeLimit_data();
    void sizeLimit();
    void depthLimit_data();
    void depthLimit();
    void places_data();
    void places();
    void firstPlaceWins();
    void libraries_data();
    void libraries();
    void failures_data();
    void failures();
    void bothOutsMayBeNull();
    void propertyListThatIsAFifo();
    void realLibrary();
};

void VKFileMgrVersionTest::numbers_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<VKVersionInfo>("expected");
    QTest::newRow("three") << u"5.2.1"_s << VKVersionInfo{5, 2, 1, 0};
    QTest::newRow("one") << u"5"_s << VKVersionInfo{5, 0, 0, 0};
    QTest::newRow("four") << u"1.2.3.4"_s << VKVersionInfo{1, 2, 3, 4};
    QTest::newRow("five") << u"1.2.3.4.5"_s << VKVersionInfo{1, 2, 3, 4};
    QTest::newRow("beta") << u"5.2b3"_s << VKVersionInfo{5, 2, 0, 0};
    QTest::newRow("word behind") << u"5.2 (430)"_s << VKVersionInfo{5, 2, 0, 0};
    QTest::newRow("word in front") << u"v5.2"_s << VKVersionInfo();
    QTest::newRow("two dots") << u"5..2"_s << VKVersionInfo{5, 0, 0, 0};
    QTest::newRow("empty") << QString() << VKVersionInfo();
    QTest::newRow("dot") << u"."_s << VKVersionInfo();
    QTest::newRow("minus") << u"-5"_s << VKVersionInfo();
    QTest::newRow("leading zeros") << u"007.08"_s << VKVersionInfo{7, 8, 0, 0};
    QTest::newRow("largest") << u"2147483647.1"_s << VKVersionInfo{2147483647, 1, 0, 0};
    QTest::newRow("too large") << u"2147483648.1"_s << VKVersionInfo{0, 1, 0, 0};
    QTest::newRow("far too large") << QString(u"1." + QString(500, u'9')) << VKVersionInfo{1, 0, 0, 0};
    QTest::newRow("other digits") << u"٥.٢"_s << VKVersionInfo();
}

void VKFileMgrVersionTest::numbers() {
    QFETCH(QString, text);
    QFETCH(VKVersionInfo, expected);
    QCOMPARE(versionNumbers(text), expected);
}

void VKFileMgrVersionTest::libraryNames_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("version");
    QTest::newRow("real name") << u"libz.so.1.2.13"_s << u"1.2.13"_s;
    QTest::newRow("name of its interface") << u"libz.so.1"_s << u"1"_s;
    QTest::newRow("in front of the ending") << u"libbfd-2.40.so"_s << u"2.40"_s;
    QTest::newRow("both: the one behind") << u"libfoo-2.40.so.3"_s << u"3"_s;
    QTest::newRow("dashes in the name") << u"lib-x-y-1.0.so"_s << u"1.0"_s;
    QTest::newRow("ending twice") << u"a.so.1.so.2"_s << u"2"_s;
    QTest::newRow("other platform") << u"libz.1.2.dylib"_s << u"1.2"_s;
    QTest::newRow("without") << u"libz.so"_s << QString();
    QTest::newRow("other platform, without") << u"libz.dylib"_s << QString();
    QTest::newRow("word") << u"libz.so.old"_s << QString();
    QTest::newRow("half a word") << u"libz.so.1.2rc1"_s << QString();
    QTest::newRow("two dots") << u"libz.so.1..2"_s << QString();
    QTest::newRow("final dot") << u"libz.so.1."_s << QString();
    QTest::newRow("nothing behind") << u"libz.so."_s << QString();
    QTest::newRow("no name") << u".so.1"_s << QString();
    QTest::newRow("word after the dash") << u"lib-abc.so"_s << QString();
    QTest::newRow("photo") << u"photo-2.jpg"_s << QString();
    QTest::newRow("capitals") << u"LIBZ.SO.1"_s << QString();
    QTest::newRow("empty") << QString() << QString();
}

void VKFileMgrVersionTest::libraryNames() {
    QFETCH(QString, name);
    QFETCH(QString, version);
    QCOMPARE(versionInLibraryName(name), version);
}

void VKFileMgrVersionTest::bundles_data() {
    QTest::addColumn<QString>("shortVersion");
    QTest::addColumn<QString>("version");
    QTest::addColumn<VKVersionInfo>("expected");
    QTest::newRow("build is one number") << u"5.2.1"_s << u"430"_s << VKVersionInfo{5, 2, 1, 430};
    QTest::newRow("build is the fourth") << u"5.2.1"_s << u"5.2.1.430"_s << VKVersionInfo{5, 2, 1, 430};
    QTest::newRow("build says no more") << u"5.2.1"_s << u"5.2.1"_s << VKVersionInfo{5, 2, 1, 0};
    QTest::newRow("four already") << u"5.2.1.9"_s << u"430"_s << VKVersionInfo{5, 2, 1, 9};
    QTest::newRow("shown alone") << u"5.2"_s << QString() << VKVersionInfo{5, 2, 0, 0};
    QTest::newRow("build alone") << QString() << u"5.2.1.430"_s << VKVersionInfo{5, 2, 1, 430};
    QTest::newRow("one number alone is the major one")
        << QString() << u"430"_s << VKVersionInfo{430, 0, 0, 0};
    QTest::newRow("word") << u"beta"_s << u"430"_s << VKVersionInfo{0, 0, 0, 430};
}

void VKFileMgrVersionTest::bundles() {
    QFETCH(QString, shortVersion);
    QFETCH(QString, version);
    QFETCH(VKVersionInfo, expected);
    QCOMPARE(bundleNumbers({shortVersion, version}), expected);
}

void VKFileMgrVersionTest::propertyLists_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("shortVersion");
    QTest::addColumn<QString>("version");
    QTest::newRow("both") << plist(kBoth) << u"5.2.1"_s << u"430"_s;
    QTest::newRow("none") << plist(QByteArray()) << QString() << QString();
    QTest::newRow("empty dictionary as one tag")
        << QByteArray("<plist version=\"1.0\"><dict/></plist>") << QString() << QString();
    QTest::newRow("blanks around the text")
        << plist(stringValue("CFBundleVersion", " 4 \n")) << QString() << u"4"_s;
    QTest::newRow("predefined entities")
        << plist(stringValue("CFBundleVersion", "&lt;&#52;&amp;")) << QString() << u"<4&"_s;
    QTest::newRow("character data section")
        << plist(stringValue("CFBundleVersion", "<![CDATA[4.2]]>")) << QString() << u"4.2"_s;
    QTest::newRow("comments") << plist("<!-- a -->" + stringValue("CFBundleVersion", "4<!-- b -->.2"))
                              << QString() << u"4.2"_s;
    QTest::newRow("other values around")
        << plist("<key>a</key><array><dict><key>CFBundleVersion</key><string>9</string></dict></array>" +
                 kBoth + "<key>b</key><true/><key>c</key><dict/>")
        << u"5.2.1"_s << u"430"_s;
    QTest::newRow("a number where a string belongs")
        << plist("<key>CFBundleVersion</key><integer>430</integer>") << QString() << QString();
    QTest::newRow("the last of two counts")
        << plist(stringValue("CFBundleVersion", "1") + stringValue("CFBundleVersion", "2")) << QString()
        << u"2"_s;
    const QString wide =
        u"\uFEFF"_s +
        QString::fromUtf8(plist(stringValue("CFBundleVersion", "4"))).remove(u" encoding=\"UTF-8\""_s);
    QTest::newRow("UTF-16") << QByteArray(reinterpret_cast<const char*>(wide.utf16()), 2 * wide.size())
                            << QString() << u"4"_s;
}

void VKFileMgrVersionTest::propertyLists() {
    QFETCH(QByteArray, text);
    QFETCH(QString, shortVersion);
    QFETCH(QString, version);
    const std::optional<VKBundleVersions> versions = parseInfoPlist(text);
    QVERIFY(versions.has_value());
    QCOMPARE(versions->shortVersion, shortVersion);
    QCOMPARE(versions->version, version);
}

void VKFileMgrVersionTest::damage_data() {
    QTest::addColumn<QByteArray>("text");
    const auto row = [](const char* reason, const QByteArray& text) { QTest::newRow(reason) << text; };
    row("empty", QByteArray());
    row("cut short", plist(kBoth).chopped(12));
    row("cut inside the value", plist(kBoth).first(plist(kBoth).indexOf("5.2")));
    row("binary kind", QByteArray("bplist00\xd1\x01\x02", 11));
    row("another root", "<html><dict/></html>");
    row("another root type", "<plist><array/></plist>");
    row("no root type", "<plist></plist>");
    row("two root types", "<plist><dict/><dict/></plist>");
    row("second document", plist(kBoth) + "<plist><dict/></plist>");
    row("words behind", plist(kBoth) + "words");
    row("words between", plist("words" + kBoth));
    row("value without a key", plist("<string>5</string>"));
    row("key without a value", plist("<key>CFBundleVersion</key>"));
    row("key in place of a value", plist("<key>CFBundleVersion</key><key>a</key>"));
    row("element inside the value", plist("<key>CFBundleVersion</key><string>5<b/></string>"));
    row("element inside the key", plist("<key>CF<b/></key><string>5</string>"));
    row("crossed tags", "<plist><dict></plist></dict>");
    row("unknown entity", plist(stringValue("CFBundleVersion", "&build;")));
    row("own entity",
        "<!DOCTYPE plist [<!ENTITY build \"430\">]>" + plist(kBoth).sliced(plist(kBoth).indexOf("<plist")));
    row("own entity in use", "<!DOCTYPE plist [<!ENTITY build \"430\">]><plist><dict>" +
                                 stringValue("CFBundleVersion", "&build;") + "</dict></plist>");
    row("entity that reads a file",
        "<!DOCTYPE plist [<!ENTITY f SYSTEM \"file:///etc/passwd\">]><plist><dict>" +
            stringValue("CFBundleVersion", "&f;") + "</dict></plist>");
    row("entities that grow",
        "<!DOCTYPE p [<!ENTITY a \"xxxxxxxxxx\"><!ENTITY b \"&a;&a;&a;&a;\">]><plist><dict>" +
            stringValue("CFBundleVersion", "&b;") + "</dict></plist>");
    row("tag over the limit", "<plist a='" + QByteArray(1024, 'x') + "'><dict/></plist>");
    row("not UTF-8", plist(stringValue("CFBundleVersion", "\xe9\xff")));
}

void VKFileMgrVersionTest::damage() {
    QFETCH(QByteArray, text);
    QCOMPARE(parseInfoPlist(text).has_value(), false);
    const QByteArray bundle = makeFolder().toUtf8();
    Disk::makeFile(bundle + "/Info.plist", text);
    const Answer answer = versionOf(bundle);
    QCOMPARE(answer.status, kVKStatusNotUnderstood);
    QCOMPARE(answer.text, u"none"_s);
    QCOMPARE(answer.info, (VKVersionInfo{7, 7, 7, 7}));
}

void VKFileMgrVersionTest::sizeLimit_data() {
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("one less") << kInfoPlistSizeLimit - 1 << kVKStatusSuccess;
    QTest::newRow("the limit") << kInfoPlistSizeLimit << kVKStatusSuccess;
    QTest::newRow("one more") << kInfoPlistSizeLimit + 1 << VKStatus(EFBIG);
}

void VKFileMgrVersionTest::sizeLimit() {
    QFETCH(qsizetype, size);
    QFETCH(VKStatus, status);
    QByteArray text = plist(kBoth);
    text += QByteArray(size - text.size(), '\n');
    QCOMPARE(parseInfoPlist(text).has_value(), status == kVKStatusSuccess);
    const QByteArray bundle = makeFolder().toUtf8();
    Disk::makeFile(bundle + "/Info.plist", text);
    QCOMPARE(versionOf(bundle).status, status);
}

void VKFileMgrVersionTest::depthLimit_data() {
    QTest::addColumn<int>("depth");
    QTest::addColumn<bool>("read");
    QTest::newRow("one less") << kInfoPlistDepthLimit - 1 << true;
    QTest::newRow("the limit") << kInfoPlistDepthLimit << true;
    QTest::newRow("one more") << kInfoPlistDepthLimit + 1 << false;
    QTest::newRow("very deep") << 100000 << false;
}

void VKFileMgrVersionTest::depthLimit() {
    QFETCH(int, depth);
    QFETCH(bool, read);
    // The list and its dictionary are two levels already.
    const QByteArray arrays =
        QByteArray("<array>").repeated(depth - 2) + QByteArray("</array>").repeated(depth - 2);
    QCOMPARE(parseInfoPlist(plist("<key>a</key>" + arrays)).has_value(), read);
}

void VKFileMgrVersionTest::places_data() {
    QTest::addColumn<QByteArray>("folder");
    QTest::newRow("application") << QByteArray("/Contents");
    QTest::newRow("framework") << QByteArray("/Resources");
    QTest::newRow("without inner folders") << QByteArray();
}

void VKFileMgrVersionTest::places() {
    QFETCH(QByteArray, folder);
    const QByteArray bundle = makeFolder().toUtf8() + "/App\xe9.app";
    Disk::makeFolder(bundle);
    QCOMPARE(versionOf(bundle).status, kVKStatusCancelled);
    if (!folder.isEmpty()) {
        Disk::makeFolder(bundle + folder);
    }
    Disk::makeFile(bundle + folder + "/Info.plist", plist(kBoth));
    const Answer answer = versionOf(bundle);
    QCOMPARE(answer.status, kVKStatusSuccess);
    QCOMPARE(answer.text, u"5.2.1"_s);
    QCOMPARE(answer.info, (VKVersionInfo{5, 2, 1, 430}));
    Disk::makeFile(bundle + folder + "/Info.plist", plist(stringValue("CFBundleVersion", "9.1")));
    QCOMPARE(versionOf(bundle).text, u"9.1"_s);
    Disk::makeFile(bundle + folder + "/Info.plist", plist(QByteArray()));
    QCOMPARE(versionOf(bundle).status, kVKStatusCancelled);
}

void VKFileMgrVersionTest::firstPlaceWins() {
    const QByteArray bundle = makeFolder().toUtf8();
    Disk::makeFolder(bundle + "/Contents");
    Disk::makeFile(bundle + "/Contents/Info.plist", plist(kBoth));
    Disk::makeFile(bundle + "/Info.plist", "damage");
    QCOMPARE(versionOf(bundle).text, u"5.2.1"_s);
    // A file of that name is no folder to look into.
    const QByteArray other = makeFolder().toUtf8();
    Disk::makeFile(other + "/Contents");
    Disk::makeFile(other + "/Info.plist", plist(kBoth));
    QCOMPARE(versionOf(other).status, kVKStatusSuccess);
}

void VKFileMgrVersionTest::libraries_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("text");
    QTest::addColumn<VKVersionInfo>("info");
    QTest::newRow("real name") << QByteArray("libv.so.5.2.1") << u"5.2.1"_s << VKVersionInfo{5, 2, 1, 0};
    QTest::newRow("link for building") << QByteArray("libv.so") << u"5.2.1"_s << VKVersionInfo{5, 2, 1, 0};
    QTest::newRow("link for running") << QByteArray("libv.so.5") << u"5.2.1"_s << VKVersionInfo{5, 2, 1, 0};
    QTest::newRow("undecodable name") << QByteArray("lib\xe9.so.3") << u"3"_s << VKVersionInfo{3, 0, 0, 0};
}

void VKFileMgrVersionTest::libraries() {
    QFETCH(QByteArray, name);
    QFETCH(QString, text);
    QFETCH(VKVersionInfo, info);
    const QByteArray folder = makeFolder().toUtf8() + '/';
    Disk::makeFile(folder + "libv.so.5.2.1");
    Disk::makeLink(folder + "libv.so.5", "libv.so.5.2.1");
    Disk::makeLink(folder + "libv.so", "libv.so.5");
    Disk::makeFile(folder + "lib\xe9.so.3");
    const Answer answer = versionOf(folder + name);
    QCOMPARE(answer.status, kVKStatusSuccess);
    QCOMPARE(answer.text, text);
    QCOMPARE(answer.info, info);
}

void VKFileMgrVersionTest::failures_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("nothing there") << QByteArray("/none.so.1") << VKStatus(ENOENT);
    QTest::newRow("dangling link") << QByteArray("/dangling.so.1") << VKStatus(ENOENT);
    QTest::newRow("photo") << QByteArray("/photo.jpg") << kVKStatusCancelled;
    QTest::newRow("fifo") << QByteArray("/fifo.so.1") << kVKStatusCancelled;
    QTest::newRow("plain folder") << QByteArray("/folder.so.1") << kVKStatusCancelled;
    QTest::newRow("below a file") << QByteArray("/photo.jpg/x") << VKStatus(ENOTDIR);
}

void VKFileMgrVersionTest::failures() {
    QFETCH(QByteArray, name);
    QFETCH(VKStatus, status);
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/photo.jpg");
    Disk::makeFifo(folder + "/fifo.so.1");
    Disk::makeFolder(folder + "/folder.so.1");
    Disk::makeLink(folder + "/dangling.so.1", "nowhere");
    const Answer answer = versionOf(folder + name);
    QCOMPARE(answer.status, status);
    QCOMPARE(answer.text, u"none"_s);
    QCOMPARE(answer.info, (VKVersionInfo{7, 7, 7, 7}));
}

void VKFileMgrVersionTest::bothOutsMayBeNull() {
    const QByteArray file = makeFolder().toUtf8() + "/lib.so.1";
    Disk::makeFile(file);
    QCOMPARE(VKFileMgrGetFileVersionInfoCopy(makeUrl(file).get(), nullptr, nullptr), kVKStatusSuccess);
    CFStringRef text = reinterpret_cast<CFStringRef>(1);
    QCOMPARE(VKFileMgrGetFileVersionInfoCopy(nullptr, &text, nullptr), kVKStatusBadArgument);
    QCOMPARE(text, nullptr);
    QCOMPARE(VKFileMgrGetFileVersionInfoCopy(makeWebUrl().get(), nullptr, nullptr), kVKStatusNotConvertible);
}

void VKFileMgrVersionTest::propertyListThatIsAFifo() {
    const QByteArray bundle = makeFolder().toUtf8();
    Disk::makeFifo(bundle + "/Info.plist");
    QCOMPARE(versionOf(bundle).status, VKStatus(EOPNOTSUPP));
}

void VKFileMgrVersionTest::realLibrary() {
    // The framework that this program runs on, found by its link.
    const QByteArray library = QLibraryInfo::path(QLibraryInfo::LibrariesPath).toUtf8() + "/libQt6Core.so.6";
    const Answer answer = versionOf(library);
    QCOMPARE(answer.status, kVKStatusSuccess);
    QCOMPARE(answer.text, QString::fromLatin1(qVersion()));
    QCOMPARE(answer.info.major, 6);
}

VKTEST_MAIN(VKFileMgrVersionTest)
#include "VKFileMgrVersionTest.moc"
