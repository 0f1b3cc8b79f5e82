// URLs from text: parts, resolving, equality by text, components.
#include "CFURLTestSupport.h"

#include <algorithm>

using namespace CFTest;

class CFURLTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void fromTexts_data();
    void fromTexts();
    void noUrlFromText_data();
    void noUrlFromText();
    void folderTexts_data();
    void folderTexts();
    void textIsKept();
    void resolves_data();
    void resolves();
    void resolvingChains();
    void basesAreOwned();
    void representationNeedsRoom();
    void fileSystemBytes_data();
    void fileSystemBytes();
    void equality_data();
    void equality();
    void absoluteEquality();
    void components_data();
    void components();
    void appends_data();
    void appends();
    void deletesLast_data();
    void deletesLast();
};

void CFURLTest::fromTexts_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("path"); // null: none
    QTest::addColumn<QString>("scheme");
    QTest::addColumn<QString>("host");
    const auto row = [](const char* text, const char* path, const char* scheme, const char* host) {
        const auto nullable = [](const char* column) { return column != nullptr ? e(column) : QString(); };
        QTest::newRow(*text != '\0' ? text : "empty")
            << e(text) << nullable(path) << nullable(scheme) << nullable(host);
    };
    row("", nullptr, nullptr, nullptr);
    row("a", "a", nullptr, nullptr);
    row("/a/b", "/a/b", nullptr, nullptr);
    row("%41", "A", nullptr, nullptr);
    row("#", nullptr, nullptr, nullptr);
    row("?", nullptr, nullptr, nullptr);
    row("?q#f", nullptr, nullptr, nullptr);
    row("x:", nullptr, "x", nullptr);
    row("1x:", "1x:", nullptr, nullptr);
    row("file:a", nullptr, "file", nullptr);
    row("file:", nullptr, "file", nullptr);
    row("file://", nullptr, "file", nullptr);
    row("mailto:a@b", nullptr, "mailto", nullptr);
    row("http://h:abc/", "/", "http", "h");
    row("http://[::1", nullptr, "http", "::1");
    row("http://[::1]:8080/p", "/p", "http", "::1");
    row("http://user:word@h:80/p?q#f", "/p", "http", "h");
    row("http://h?q", nullptr, "http", "h");
    row("file:///a", "/a", "file", nullptr);
    row("file:/a", "/a", "file", nullptr);
    row("file://localhost/a", "/a", "file", "localhost");
    row("file://host/a", "/a", "file", "host");
    row("FILE:///A", "/A", "FILE", nullptr);
    row("//server/share", "/share", nullptr, "server");
    row("file:///%41", "/A", "file", nullptr);
    row("file:///a%2Fb", "/a/b", "file", nullptr);
    row("file:///a+b%2bc", "/a+b+c", "file", nullptr);
    row("svn+ssh://h/a", "/a", "svn+ssh", "h");
    row("file:///a;b?c#d", "/a;b", "file", nullptr);
}

void CFURLTest::fromTexts() {
    QFETCH(QString, text);
    QFETCH(QString, path);
    QFETCH(QString, scheme);
    QFETCH(QString, host);
    const auto url = fromText(text);
    QVERIFY(url != nullptr);
    QCOMPARE(textOf(url), text);
    const QString gotPath = pathOf(url);
    QCOMPARE(gotPath, path.size() > 1 && path.endsWith(u'/') ? path.chopped(1) : path);
    QCOMPARE(gotPath.isNull(), path.isNull());
    const QByteArray bytes = representation(url);
    QCOMPARE(bytes.isNull(), path.isNull());
    QCOMPARE(bytes, gotPath.toUtf8());
    const QString gotScheme = takeText(CFURLCopyScheme(url.get()));
    QCOMPARE(gotScheme, scheme);
    QCOMPARE(gotScheme.isNull(), scheme.isNull());
    const QString gotHost = takeText(CFURLCopyHostName(url.get()));
    QCOMPARE(gotHost, host);
    QCOMPARE(gotHost.isNull(), host.isNull());
}

void CFURLTest::noUrlFromText_data() {
    QTest::addColumn<QString>("text");
    for (const char* bad : {" ", "\t", "^", "|", "<", ">", "\"", "\\", "{", "}", "`", "\x01", "\x7F",
                            "\u00E9", "%", "%4", "%zz", "%4g"}) {
        QTest::newRow(qPrintable(QString(u"\"" + e(bad) + u"\""))) << QString(u"file:///a" + e(bad));
    }
    QTest::newRow("percent before another") << "file:///%%41";
    QTest::newRow("NUL") << units(QStringLiteral("file:///a<0000>b"));
    QTest::newRow("unpaired surrogate") << units(QStringLiteral("file:///a<D800>"));
    QTest::newRow("in the host") << "http://a b/";
    QTest::newRow("in the query") << "file:///a?b c";
    QTest::newRow("in the fragment") << "file:///a#b%";
}

void CFURLTest::noUrlFromText() {
    QFETCH(QString, text);
    QVERIFY(fromText(text) == nullptr);
    QVERIFY(fromText(text, fromText(QStringLiteral("file:///x/y")).get()) == nullptr);
    QVERIFY(CFURLCreateWithString(nullptr, nullptr, nullptr) == nullptr);
}

void CFURLTest::folderTexts_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isFolder");
    QTest::newRow("file") << "file:///a" << false;
    QTest::newRow("slash") << "file:///a/" << true;
    QTest::newRow("root") << "file:///" << true;
    QTest::newRow("dot") << "file:///." << true;
    QTest::newRow("dot in a folder") << "/a/." << true;
    QTest::newRow("two dots alone") << ".." << true;
    QTest::newRow("two dots") << "file:///a/.." << true;
    QTest::newRow("three dots") << "file:///a/..." << false;
    QTest::newRow("name that ends in a dot") << "file:///a." << false;
    QTest::newRow("slash in the query only") << "file:///a?b/" << false;
    QTest::newRow("empty") << "" << false;
}

void CFURLTest::folderTexts() {
    QFETCH(QString, text);
    QFETCH(bool, isFolder);
    QCOMPARE(bool(CFURLHasDirectoryPath(fromText(text).get())), isFolder);
}

void CFURLTest::textIsKept() {
    const auto text = makeString(QStringLiteral("file:///a"));
    const auto url = own(CFURLCreateWithString(nullptr, text.get(), nullptr));
    QCOMPARE(CFURLGetString(url.get()), text.get());
    QCOMPARE(CFGetRetainCount(text.get()), 2L);
    const auto changing = own(CFStringCreateMutableCopy(nullptr, 0, text.get()));
    const auto fromChanging = own(CFURLCreateWithString(nullptr, changing.get(), nullptr));
    QVERIFY(CFURLGetString(fromChanging.get()) != changing.get());
    QVERIFY(CFEqual(fromChanging.get(), url.get()));
    const auto absolute = own(CFURLCopyAbsoluteURL(url.get()));
    QCOMPARE(absolute.get(), url.get());
    QCOMPARE(CFGetRetainCount(url.get()), 2L);
}

void CFURLTest::resolves_data() {
    QTest::addColumn<QString>("base");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("absolute");
    const auto row = [](const char* base, const char* text, const char* absolute) {
        QTest::newRow(qPrintable(e(text) + QStringLiteral(" in ") + e(base)))
            << e(base) << e(text) << e(absolute);
    };
    row("file:///x/y", "a", "file:///x/a");
    row("file:///x/y/", "a", "file:///x/y/a");
    row("file:///x/y", "", "file:///x/y");
    row("file:///x/y", "?q", "file:///x/y?q");
    row("file:///x/y?p#g", "?q", "file:///x/y?q");
    row("file:///x/y?p#g", "#f", "file:///x/y?p#f");
    row("file:///x/y", "/a", "file:///a");
    row("file:///x/y", "//h2/z", "file://h2/z");
    row("file:///w/", "../a", "file:///a");
    row("file:///w/", "../../a", "file:///../a");
    row("file:///w/", "./a", "file:///w/a");
    row("file:///w/", ".", "file:///w/");
    row("file:///w/v", "..", "file:///");
    row("file:///w/v/", "..", "file:///w/");
    row("file:///w/", "a/./b/../c", "file:///w/a/c");
    row("file:///w/", "a/", "file:///w/a/");
    row("file:///w/", "a//b", "file:///w/a//b");
    row("file:///w/", "%2E%2E/a", "file:///w/%2E%2E/a");
    row("http://h", "a", "http://h/a");
    row("http://h/a?q#f", "b?r#g", "http://h/b?r#g");
    row("http://h/a", "b/../c?d/../e", "http://h/c?d/../e");
    row("file:/", ".//x", "file:/.//x");
    row("a/b", "c", "a/c");
    row("a", "./c:d", "./c:d");
}

void CFURLTest::resolves() {
    QFETCH(QString, base);
    QFETCH(QString, text);
    QFETCH(QString, absolute);
    const auto baseUrl = fromText(base);
    const auto url = fromText(text, baseUrl.get());
    QCOMPARE(textOf(url), text);
    QCOMPARE(CFURLGetBaseURL(url.get()), baseUrl.get());
    QCOMPARE(absoluteText(url), absolute);
    const auto resolved = own(CFURLCopyAbsoluteURL(url.get()));
    QVERIFY(CFURLGetBaseURL(resolved.get()) == nullptr);
    // Resolved text reads back as what it says: same path, same scheme.
    QCOMPARE(CFURLCopyFileSystemBytes(fromText(absolute).get()), CFURLCopyFileSystemBytes(url.get()));
}

void CFURLTest::resolvingChains() {
    const auto root = fromText(QStringLiteral("file:///r/"));
    const auto middle = fromText(QStringLiteral("m/"), root.get());
    const auto leaf = fromText(QStringLiteral("l"), middle.get());
    QCOMPARE(absoluteText(leaf), QStringLiteral("file:///r/m/l"));
    QCOMPARE(takeText(CFURLCopyScheme(leaf.get())), QStringLiteral("file"));
    const auto opaque = fromText(QStringLiteral("mailto:x"));
    const auto lost = fromText(QStringLiteral("a"), opaque.get());
    QVERIFY(CFURLCopyAbsoluteURL(lost.get()) == nullptr);
    QVERIFY(representation(lost).isNull());
    QVERIFY(CFURLCopyFileSystemBytes(lost.get()).isNull());
    const auto whole = fromText(QStringLiteral("http://h/a"), root.get());
    QVERIFY(CFURLGetBaseURL(whole.get()) == nullptr);
    // With a base made as a file its own last component gives way, with one made as a folder it stays.
    QCOMPARE(absoluteText(fromText(QStringLiteral("a"), fromPath(QStringLiteral("/x/y"), true).get())),
             QStringLiteral("file:///x/y/a"));
    QCOMPARE(absoluteText(fromText(QStringLiteral("a"), fromPath(QStringLiteral("/x/y")).get())),
             QStringLiteral("file:///x/a"));
}

void CFURLTest::basesAreOwned() {
    auto base = fromText(QStringLiteral("file:///x/"));
    auto url = fromText(QStringLiteral("a"), base.get());
    QCOMPARE(CFGetRetainCount(base.get()), 2L);
    url.reset();
    QCOMPARE(CFGetRetainCount(base.get()), 1L);
    url = fromText(QStringLiteral("a"), base.get());
    base.reset();
    QCOMPARE(absoluteText(url), QStringLiteral("file:///x/a"));
}

void CFURLTest::representationNeedsRoom() {
    const auto url = fromPath(QStringLiteral("/abc"));
    UInt8 buffer[8];
    for (CFIndex size = 1; size <= 6; ++size) {
        if (size == 4) {
            continue; // the path without its NUL: callers must not rely on either answer
        }
        std::fill(std::begin(buffer), std::end(buffer), UInt8('x'));
        QCOMPARE(bool(CFURLGetFileSystemRepresentation(url.get(), 1, buffer, size)), size >= 5);
        QCOMPARE(int(buffer[size >= 5 ? 4 : 0]), 0);
        QCOMPARE(int(buffer[size]), int('x'));
    }
    buffer[0] = 'x';
    QVERIFY(!CFURLGetFileSystemRepresentation(url.get(), 1, buffer, 0));
    QCOMPARE(int(buffer[0]), int('x'));
}

void CFURLTest::fileSystemBytes_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("file") << "file:///a%20b" << QByteArray("/a b");
    QTest::newRow("folder") << "file:///a/" << QByteArray("/a");
    QTest::newRow("scheme in capitals") << "FILE:///a" << QByteArray("/a");
    QTest::newRow("no scheme") << "/a" << QByteArray("/a");
    QTest::newRow("another scheme") << "http://h/p" << QByteArray();
    QTest::newRow("no path") << "file://" << QByteArray();
    QTest::newRow("empty") << "" << QByteArray();
    QTest::newRow("not UTF-8") << "file:///%FF" << QByteArray();
    QTest::newRow("escaped NUL") << "file:///a%00b" << QByteArray();
}

void CFURLTest::fileSystemBytes() {
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    const QByteArray got = CFURLCopyFileSystemBytes(fromText(text).get());
    QCOMPARE(got, bytes);
    QCOMPARE(got.isNull(), bytes.isNull());
    QVERIFY(CFURLCopyFileSystemBytes(nullptr).isNull());
    QCOMPARE(representation(fromText(QStringLiteral("http://h/p"))), QByteArray("/p"));
    QVERIFY(CFURLCopyFileSystemPath(fromText(QStringLiteral("file:///%FF")).get(), kCFURLPOSIXPathStyle) ==
            nullptr);
    QVERIFY(representation(fromText(QStringLiteral("file:///%FF"))).isNull());
}

void CFURLTest::equality_data() {
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::newRow("slash") << "file:///a"
                           << "file:///a/";
    QTest::newRow("host") << "file:///a"
                          << "file://localhost/a";
    QTest::newRow("case of the scheme") << "file:///a"
                                        << "FILE:///a";
    QTest::newRow("no authority") << "file:///a"
                                  << "file:/a";
    QTest::newRow("case of escapes") << "file:///%c3%a9"
                                     << "file:///%C3%A9";
    QTest::newRow("needless escape") << "file:///%41"
                                     << "file:///A";
    QTest::newRow("dots") << "file:///a/./b"
                          << "file:///a/b";
    QTest::newRow("normalization") << "file:///%C3%A9"
                                   << "file:///e%CC%81";
}

void CFURLTest::equality() {
    QFETCH(QString, first);
    QFETCH(QString, second);
    const auto a = fromText(first);
    const auto b = fromText(second);
    QVERIFY(!CFEqual(a.get(), b.get()));
    QVERIFY(CFHash(a.get()) != CFHash(b.get()));
    const auto twin = fromText(first);
    QVERIFY(a.get() != twin.get());
    QVERIFY(CFEqual(a.get(), twin.get()));
    QCOMPARE(CFHash(a.get()), CFHash(twin.get()));
}

void CFURLTest::absoluteEquality() {
    const auto base = fromText(QStringLiteral("file:///x/"));
    const auto otherBase = fromText(QStringLiteral("file:///y/"));
    const auto relative = fromText(QStringLiteral("a"), base.get());
    const auto absolute = fromText(QStringLiteral("file:///x/a"));
    QVERIFY(!CFEqual(relative.get(), absolute.get()));
    QVERIFY(CFEqual(own(CFURLCopyAbsoluteURL(relative.get())).get(), absolute.get()));
    QVERIFY(!CFEqual(relative.get(), fromText(QStringLiteral("a")).get()));
    QVERIFY(!CFEqual(relative.get(), fromText(QStringLiteral("a"), otherBase.get()).get()));
    QVERIFY(CFEqual(relative.get(),
                    fromText(QStringLiteral("a"), fromText(QStringLiteral("file:///x/")).get()).get()));
    QVERIFY(CFEqual(fromPath(QStringLiteral("/a")).get(), fromText(QStringLiteral("file:///a")).get()));
}

void CFURLTest::components_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("isDirectory");
    QTest::addColumn<QString>("last");
    QTest::addColumn<QString>("extension");
    QTest::newRow("two dots") << "/a.tar.gz" << false << "a.tar.gz"
                              << "gz";
    QTest::newRow("hidden") << "/.hidden" << false << ".hidden" << QString();
    QTest::newRow("hidden with extension") << "/.hidden.txt" << false << ".hidden.txt"
                                           << "txt";
    QTest::newRow("final dot") << "/a." << false << "a." << QString();
    QTest::newRow("root") << "/" << true << "/" << QString();
    QTest::newRow("folder") << "/a.jpg" << true << "a.jpg"
                            << "jpg";
    QTest::newRow("dot in the folder only") << "/a.b/c" << false << "c" << QString();
    QTest::newRow("unescaped") << e("/a/b c.\u00E9") << false << e("b c.\u00E9") << e("\u00E9");
    QTest::newRow("parent") << "/a/.." << false << ".." << QString();
    QTest::newRow("relative") << "a.b" << false << "a.b"
                              << "b";
}

void CFURLTest::components() {
    QFETCH(QString, path);
    QFETCH(bool, isDirectory);
    QFETCH(QString, last);
    QFETCH(QString, extension);
    const auto url = fromPath(path, isDirectory);
    QCOMPARE(takeText(CFURLCopyLastPathComponent(url.get())), last);
    const QString got = takeText(CFURLCopyPathExtension(url.get()));
    QCOMPARE(got, extension);
    QCOMPARE(got.isNull(), extension.isNull());
    QVERIFY(CFURLCopyLastPathComponent(fromText(QStringLiteral("mailto:a.b")).get()) == nullptr);
}

void CFURLTest::appends_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("component");
    QTest::addColumn<bool>("isDirectory");
    QTest::addColumn<QString>("result");
    const auto row = [](const char* name, const char* text, const char* component, bool isDirectory,
                        const char* result) {
        QTest::newRow(name) << e(text) << e(component) << isDirectory
                            << (result != nullptr ? e(result) : QString());
    };
    row("file", "file:///a/b", "c", false, "file:///a/b/c");
    row("folder", "file:///a/b", "c", true, "file:///a/b/c/");
    row("escaped", "file:///a/b", "c d", false, "file:///a/b/c%20d");
    row("not UTF-16 units but bytes", "file:///a", "\u00E9", false, "file:///a/%C3%A9");
    row("slash before", "file:///a/b", "/c", false, "file:///a/b/c");
    row("slash behind", "file:///a/b", "c/", false, "file:///a/b/c");
    row("to a folder", "file:///a/b/", "c", false, "file:///a/b/c");
    row("to the root", "file:///", "c", false, "file:///c");
    row("percent and question mark", "file:///a", "%41?", false, "file:///a/%2541%3F");
    row("query stays", "http://h/a?q#f", "b", false, "http://h/a/b?q#f");
    row("host alone", "http://h", "b", false, "http://h/b");
    row("relative", "a", "b", true, "a/b/");
    row("nothing, folder", "file:///a", "", true, "file:///a/");
    row("no path", "mailto:a", "b", false, nullptr);
    row("empty", "", "b", false, nullptr);
    row("NUL", "file:///a", "b<0000>", false, nullptr);
    row("unpaired surrogate", "file:///a", "<D800>", false, nullptr);
}

void CFURLTest::appends() {
    QFETCH(QString, text);
    QFETCH(QString, component);
    QFETCH(bool, isDirectory);
    QFETCH(QString, result);
    const auto url = own(CFURLCreateCopyAppendingPathComponent(
        nullptr, fromText(text).get(), makeString(units(component)).get(), Boolean(isDirectory)));
    QCOMPARE(url != nullptr, !result.isNull());
    if (url != nullptr) {
        QCOMPARE(textOf(url), result);
        QCOMPARE(bool(CFURLHasDirectoryPath(url.get())), isDirectory);
    }
}

void CFURLTest::deletesLast_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("result");
    QTest::newRow("file") << "file:///a/b"
                          << "file:///a/";
    QTest::newRow("folder") << "file:///a/b/"
                            << "file:///a/";
    QTest::newRow("below the root") << "file:///a"
                                    << "file:///";
    QTest::newRow("query goes") << "http://h/a/b?q#f"
                                << "http://h/a/";
    QTest::newRow("relative") << "a/b"
                              << "a/";
    QTest::newRow("relative, one component") << "a"
                                             << "./";
    QTest::newRow("parent") << "file:///a/.."
                            << "file:///a/../../";
    QTest::newRow("no path") << "mailto:a" << QString();
}

void CFURLTest::deletesLast() {
    QFETCH(QString, text);
    QFETCH(QString, result);
    const auto url = own(CFURLCreateCopyDeletingLastPathComponent(nullptr, fromText(text).get()));
    QCOMPARE(url != nullptr, !result.isNull());
    if (url != nullptr) {
        QCOMPARE(textOf(url), result);
        QVERIFY(CFURLHasDirectoryPath(url.get()));
    }
}

VKTEST_MAIN(CFURLTest)
#include "CFURLTest.moc"
