// URLs made from paths and from bytes, and the ways back to them.
#include "CFURLTestSupport.h"

#include <QDir>

#include <unistd.h>

using namespace CFTest;

class CFURLPathTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void fromPaths_data();
    void fromPaths();
    void noUrlFromPath_data();
    void noUrlFromPath();
    void windowsPaths_data();
    void windowsPaths();
    void relativePaths();
    void relativePathWithAColon();
    void currentFolderIsFixedAtCreation();
    void currentFolderThatIsGone();
    void escapesInPaths();
    void allBytesComeBack();
    void undecodableBytes();
    void noUrlFromBytes();
    void pathsComeBack_data();
    void pathsComeBack();
    void longPaths();
};

void CFURLPathTest::fromPaths_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("isDirectory");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("back");
    const auto row = [](const char* name, const char* path, bool isDirectory, const char* text,
                        const char* back) {
        QTest::newRow(name) << e(path) << isDirectory << e(text) << e(back);
    };
    row("file", "/a b/\u00E9.jpg", false, "file:///a%20b/%C3%A9.jpg", "/a b/\u00E9.jpg");
    row("folder", "/a b/\u00E9.jpg", true, "file:///a%20b/%C3%A9.jpg/", "/a b/\u00E9.jpg");
    row("decomposed stays", "/e\u0301", false, "file:///e%CC%81", "/e\u0301");
    row("the flag wins over the slash", "/a/", false, "file:///a", "/a");
    row("folder without slash", "/a", true, "file:///a/", "/a");
    row("folder with slash", "/a/", true, "file:///a/", "/a");
    row("two slashes, file", "/a//", false, "file:///a", "/a");
    row("two slashes, folder", "/a//", true, "file:///a//", "/a/");
    row("root as a folder", "/", true, "file:///", "/");
    row("root as a file", "/", false, "file:///", "/");
    row("double root as a file", "//", false, "file:///", "/");
    row("double root as a folder", "//", true, "file:////", "/");
    row("server-like path", "//server/share", false, "file:////server/share", "//server/share");
    row("nothing is collapsed", "/a//b/./../c", false, "file:///a//b/./../c", "/a//b/./../c");
    row("percent", "/a%41b", false, "file:///a%2541b", "/a%41b");
    row("colon", "/a:b", false, "file:///a:b", "/a:b");
    row("query and fragment marks", "/a?b#c;d", false, "file:///a%3Fb%23c%3Bd", "/a?b#c;d");
}

void CFURLPathTest::fromPaths() {
    QFETCH(QString, path);
    QFETCH(bool, isDirectory);
    QFETCH(QString, text);
    QFETCH(QString, back);
    const auto url = fromPath(path, isDirectory);
    QVERIFY(url != nullptr);
    QCOMPARE(textOf(url), text);
    QCOMPARE(pathOf(url), back);
    QCOMPARE(bool(CFURLHasDirectoryPath(url.get())), isDirectory);
    QCOMPARE(representation(url), back.toUtf8());
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), back.toUtf8());
    QVERIFY(CFURLGetBaseURL(url.get()) == nullptr);
    QVERIFY(CFURLCopyHostName(url.get()) == nullptr);
    QCOMPARE(takeText(CFURLCopyScheme(url.get())), QStringLiteral("file"));
    QVERIFY(CFEqual(url.get(), fromBytes(path.toUtf8(), isDirectory).get()));
    QVERIFY(CFEqual(url.get(), fromText(text).get()));
}

void CFURLPathTest::noUrlFromPath_data() {
    QTest::addColumn<QString>("spelled");
    QTest::addColumn<int>("style");
    QTest::newRow("empty") << "" << int(kCFURLPOSIXPathStyle);
    QTest::newRow("NUL") << "/a<0000>b" << int(kCFURLPOSIXPathStyle);
    QTest::newRow("unpaired high surrogate") << "/a<D800>" << int(kCFURLPOSIXPathStyle);
    QTest::newRow("unpaired low surrogate") << "/<DC00>a" << int(kCFURLPOSIXPathStyle);
    QTest::newRow("NUL, Windows") << "C:\\a<0000>" << int(kCFURLWindowsPathStyle);
    QTest::newRow("empty, Windows") << "" << int(kCFURLWindowsPathStyle);
    QTest::newRow("HFS style") << "/a" << int(kCFURLHFSPathStyle);
    QTest::newRow("unknown style") << "/a" << 7;
}

void CFURLPathTest::noUrlFromPath() {
    QFETCH(QString, spelled);
    QFETCH(int, style);
    for (const bool isDirectory : {false, true}) {
        QVERIFY(fromPath(units(spelled), isDirectory, style) == nullptr);
    }
}

void CFURLPathTest::windowsPaths_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("posix");
    QTest::newRow("drive") << "C:\\a b\\c.jpg"
                           << "file:///C:/a%20b/c.jpg"
                           << "/C:/a b/c.jpg";
    QTest::newRow("share") << "\\\\srv\\share\\f"
                           << "file://///srv/share/f"
                           << "///srv/share/f";
    QTest::newRow("drive root") << "C:\\"
                                << "file:///C:"
                                << "/C:";
}

void CFURLPathTest::windowsPaths() {
    QFETCH(QString, path);
    QFETCH(QString, text);
    QFETCH(QString, posix);
    const auto url = fromPath(path, false, kCFURLWindowsPathStyle);
    QCOMPARE(textOf(url), text);
    QCOMPARE(pathOf(url), posix);
    QCOMPARE(pathOf(url, kCFURLWindowsPathStyle), path);
    QVERIFY(CFURLCopyFileSystemPath(url.get(), kCFURLHFSPathStyle) == nullptr);
    QVERIFY(CFURLCopyFileSystemPath(url.get(), 7) == nullptr);
}

void CFURLPathTest::relativePaths() {
    const QString folder = makeFolder(QStringLiteral("current"));
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder));
    const auto file = fromPath(QStringLiteral("a b"));
    const auto subfolder = fromPath(QStringLiteral("sub"), true);
    const auto parent = fromPath(QStringLiteral("../a"));
    const auto dot = fromPath(QStringLiteral("."));
    const auto tilde = fromPath(QStringLiteral("~/a"));
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(textOf(file), QStringLiteral("a%20b"));
    QCOMPARE(pathOf(file), QStringLiteral("a b"));
    QCOMPARE(CFStringCopyQString(CFURLGetString(CFURLGetBaseURL(file.get()))),
             QString(u"file://" + folder + u'/'));
    QCOMPARE(representation(file), (folder + QStringLiteral("/a b")).toUtf8());
    QCOMPARE(representation(file, false), QByteArray("a b"));
    QCOMPARE(takeText(CFURLCopyScheme(file.get())), QStringLiteral("file"));
    QCOMPARE(textOf(subfolder), QStringLiteral("sub/"));
    QVERIFY(CFURLHasDirectoryPath(own(CFURLCopyAbsoluteURL(subfolder.get())).get()));
    QCOMPARE(representation(subfolder), (folder + QStringLiteral("/sub")).toUtf8());
    QCOMPARE(representation(parent), (QDir::cleanPath(folder + QStringLiteral("/../a"))).toUtf8());
    QCOMPARE(CFURLCopyFileSystemBytes(dot.get()), folder.toUtf8());
    QCOMPARE(representation(tilde), (folder + QStringLiteral("/~/a")).toUtf8());
}

// "a:b" as a URL's text would be scheme "a".
void CFURLPathTest::relativePathWithAColon() {
    const auto url = fromPath(QStringLiteral("a:b/c:d"));
    QCOMPARE(pathOf(url), QStringLiteral("a:b/c:d"));
    QVERIFY(representation(url).endsWith("/a:b/c:d"));
    QVERIFY(CFEqual(url.get(), fromText(textOf(url), CFURLGetBaseURL(url.get())).get()));
}

void CFURLPathTest::currentFolderIsFixedAtCreation() {
    const QString folder = makeFolder(QString::fromUtf8("f\u00F6lder"));
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder));
    const auto url = fromPath(QStringLiteral("a"));
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), (folder + QStringLiteral("/a")).toUtf8());
}

void CFURLPathTest::currentFolderThatIsGone() {
    const QString folder = makeFolder();
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder));
    QCOMPARE(::rmdir(folder.toUtf8().constData()), 0);
    const auto url = fromPath(QStringLiteral("a"));
    QVERIFY(QDir::setCurrent(before));
    QVERIFY(url != nullptr);
    QVERIFY(CFURLGetBaseURL(url.get()) == nullptr);
    QCOMPARE(representation(url), QByteArray("a"));
}

void CFURLPathTest::escapesInPaths() {
    const QByteArray kept("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~!$&'()*+,:=@/");
    for (int byte = 1; byte < 256; ++byte) {
        const QByteArray path = QByteArray("/x") + char(byte) + 'x';
        const QString expected = kept.contains(char(byte))
                                     ? QString(QLatin1Char(char(byte)))
                                     : QStringLiteral("%%1").arg(byte, 2, 16, QLatin1Char('0')).toUpper();
        QCOMPARE(textOf(fromBytes(path)), QString(u"file:///x" + expected + u'x'));
    }
}

void CFURLPathTest::allBytesComeBack() {
    QByteArray all("/");
    for (int byte = 1; byte < 256; ++byte) {
        const QByteArray path = QByteArray("/") + char(byte) + 'x' + char(byte);
        const auto url = fromBytes(path);
        QVERIFY(url != nullptr);
        const QByteArray expected = byte == '/' ? QByteArray("//x") : path;
        QCOMPARE(representation(url), expected);
        QCOMPARE(CFURLCopyFileSystemBytes(url.get()), expected);
        all += char(byte);
    }
    QCOMPARE(CFURLCopyFileSystemBytes(fromBytes(all).get()), all);
    QCOMPARE(CFURLCopyFileSystemBytes(fromBytes(all, true).get()), all);
}

void CFURLPathTest::undecodableBytes() {
    const auto url = fromBytes("/\xFF\xFE");
    QCOMPARE(textOf(url), QStringLiteral("file:///%FF%FE"));
    QVERIFY(CFURLCopyFileSystemPath(url.get(), kCFURLPOSIXPathStyle) == nullptr);
    QVERIFY(CFURLCopyLastPathComponent(url.get()) == nullptr);
    QVERIFY(CFURLCopyPathExtension(url.get()) == nullptr);
    QCOMPARE(representation(url), QByteArray("/\xFF\xFE"));
    const auto below = own(CFURLCreateCopyAppendingPathComponent(nullptr, url.get(), CFSTR("a"), 0));
    QCOMPARE(CFURLCopyFileSystemBytes(below.get()), QByteArray("/\xFF\xFE/a"));
    const auto twin = own(CFURLCreateCopyDeletingLastPathComponent(nullptr, below.get()));
    QCOMPARE(CFURLCopyFileSystemBytes(twin.get()), QByteArray("/\xFF\xFE"));
    // A base made from bytes lends them to what is resolved against it.
    const auto folder = fromBytes("/\xFF", true);
    QCOMPARE(CFURLCopyFileSystemBytes(fromText(QStringLiteral("a"), folder.get()).get()),
             QByteArray("/\xFF/a"));
}

void CFURLPathTest::noUrlFromBytes() {
    QVERIFY(CFURLCreateFromFileSystemRepresentation(nullptr, nullptr, 0, 0) == nullptr);
    QVERIFY(CFURLCreateFromFileSystemRepresentation(nullptr, nullptr, 4, 0) == nullptr);
    QVERIFY(fromBytes("") == nullptr);
    QVERIFY(fromBytes(QByteArray("/a\0b", 4)) == nullptr);
    QVERIFY(CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const UInt8*>("/a"), -1, 0) ==
            nullptr);
}

void CFURLPathTest::pathsComeBack_data() {
    QTest::addColumn<QString>("path");
    QTest::newRow("ASCII") << "/Users/a/Pictures/IMG_0001.jpg";
    QTest::newRow("one letter") << "/a";
    QTest::newRow("root") << "/";
    QTest::newRow("precomposed") << e("/\u00E9/\u00F6.jpg");
    QTest::newRow("decomposed") << e("/e\u0301/o\u0308.jpg");
    QTest::newRow("outside the basic plane") << e("/\U0001F600.jpg");
    QTest::newRow("replacement character") << e("/\uFFFD");
    QTest::newRow("byte order mark") << e("/\uFEFFa");
    QTest::newRow("control characters") << QStringLiteral("/a\tb\nc\u007F");
    QTest::newRow("escapes of its own") << "/%41%2F%00%";
    QTest::newRow("backslash") << "/a\\b";
    QTest::newRow("dots") << "/./../...";
    QTest::newRow("spaces at the ends") << "/ a ";
    QTest::newRow("brackets and bars") << "/[a]{b}|c^d`e<f>";
    QTest::newRow("relative") << "a/b";
    QTest::newRow("relative with a colon") << "c:d";
}

void CFURLPathTest::pathsComeBack() {
    QFETCH(QString, path);
    const auto file = fromPath(path, false);
    const auto folder = fromPath(path, true);
    QCOMPARE(pathOf(file), path);
    QCOMPARE(pathOf(folder), path);
    QCOMPARE(representation(file, false), path.toUtf8());
    QVERIFY(CFEqual(fromPath(pathOf(file), false).get(), file.get()));
    // The text alone makes an equal URL that names the same file.
    const auto again = fromText(textOf(file), CFURLGetBaseURL(file.get()));
    QVERIFY(CFEqual(again.get(), file.get()));
    QCOMPARE(CFURLCopyFileSystemBytes(again.get()), CFURLCopyFileSystemBytes(file.get()));
}

void CFURLPathTest::longPaths() {
    const QString path = QString(u'/' + QString(100000, u'a')).repeated(20);
    const auto url = fromPath(path);
    QCOMPARE(pathOf(url), path);
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), path.toUtf8());
    QVERIFY(representation(url).isNull());
    const QString slashes(1000000, u'/');
    QCOMPARE(textOf(fromPath(slashes)), QStringLiteral("file:///"));
    const auto base = fromText(QStringLiteral("file:///w/"));
    const QString ups = QStringLiteral("../").repeated(300000);
    QCOMPARE(absoluteText(fromText(ups, base.get())), QString(u"file:///" + ups.chopped(3)));
}

VKTEST_MAIN(CFURLPathTest)
#include "CFURLPathTest.moc"
