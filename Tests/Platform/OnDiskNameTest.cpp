// From a path's text to the bytes on disk, on real folders.
#include "Platform/OnDiskName.h"

#include "Platform/Utf8.h"
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

using namespace VKPlatform;

namespace {

// "é" precomposed and decomposed, and other names that one file system tells apart and one text does not.
const QByteArray kComposed("\xC3\xA9");
const QByteArray kDecomposed("e\xCC\x81");

} // namespace

class OnDiskNameTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void onlyThreeCharactersHideBehindAscii();
    void oneSpelling_data();
    void oneSpelling();
    void displayed_data();
    void displayed();
    void textsWithoutBytes_data();
    void textsWithoutBytes();
    void spelling_data();
    void spelling();
    void everyNameIsFoundThroughWhatItShows();
    void plainTextsAreCopied_data();
    void plainTextsAreCopied();
    void relativePaths();
    void slashesAndDots();
    void linkedParents();
    void lastLinkIsNotFollowed();
    void fileInTheMiddle();
    void fortyComponents();
    void thousandsOfComponents();
    void aMillionSlashes();
    void undecodableNameOfFullLength();
    void anotherUsersFolder();
    void emptyText();

private:
    [[nodiscard]] QByteArray found(const QString& text) const {
        const std::optional<QByteArray> bytes = onDiskPath(QString(decodeUtf8(mRoot) + text));
        return bytes && bytes->startsWith(mRoot) ? bytes->mid(mRoot.size()) : QByteArray("?");
    }

    QByteArray mRoot;
};

void OnDiskNameTest::initTestCase() { mRoot = makeFolder(QStringLiteral("names")).toUtf8() + '/'; }

// A folder of its own for each test.
void OnDiskNameTest::cleanup() {
    Disk::removeTree(mRoot);
    initTestCase();
}

void OnDiskNameTest::onlyThreeCharactersHideBehindAscii() {
    // A text whose form C is ASCII consists of characters whose own form C is ASCII, because ASCII characters
    // neither decompose nor compose with each other. So single characters prove it for all texts.
    QString hiding;
    for (char32_t point = 0x80; point <= QChar::LastValidCodePoint; ++point) {
        if (QChar::isSurrogate(point)) {
            continue;
        }
        const QString form = QString::fromUcs4(&point, 1).normalized(QString::NormalizationForm_C);
        const bool ascii = std::all_of(form.begin(), form.end(), [](QChar c) { return c.unicode() < 0x80; });
        if (ascii) {
            hiding += QString::fromUcs4(&point, 1) + form;
        }
    }
    QCOMPARE(hiding, QStringLiteral("\u037E;\u1FEF`\u212AK"));
    for (char32_t point = 0; point < 0x80; ++point) {
        const QString text = QString::fromUcs4(&point, 1);
        QCOMPARE(text.normalized(QString::NormalizationForm_D), text);
    }
}

void OnDiskNameTest::oneSpelling_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("one");
    QTest::newRow("nothing") << QString() << true;
    QTest::newRow("plain") << QStringLiteral("/a b/~!@#$%^&*()_+|{}:\"<>?[]',.") << true;
    QTest::newRow("small k") << QStringLiteral("kilo") << true;
    QTest::newRow("Kelvin") << QStringLiteral("300K") << false;
    QTest::newRow("Greek question mark") << QStringLiteral("a;b") << false;
    QTest::newRow("varia") << QStringLiteral("`") << false;
    QTest::newRow("last ASCII") << QString(QChar(0x7F)) << true;
    QTest::newRow("first above") << QString(QChar(0x80)) << false;
}

void OnDiskNameTest::oneSpelling() {
    QFETCH(QString, text);
    QFETCH(bool, one);
    QCOMPARE(hasOneSpelling(QStringView(text)), one);
    QCOMPARE(hasOneSpelling(QByteArrayView(text.toUtf8())), one);
}

void OnDiskNameTest::displayed_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("text");
    QTest::newRow("ASCII") << QByteArray("a.jpg") << QStringLiteral("a.jpg");
    QTest::newRow("composed") << kComposed << QStringLiteral("\u00E9");
    QTest::newRow("decomposed") << kDecomposed << QStringLiteral("\u00E9");
    QTest::newRow("two marks out of order") << QByteArray("a\xCC\x82\xCC\xA3") << QStringLiteral("\u1EAD");
    QTest::newRow("Hangul in pieces")
        << QByteArray("\xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB") << QStringLiteral("\uD55C");
    QTest::newRow("Kelvin") << QByteArray("\xE2\x84\xAA") << QStringLiteral("K");
    QTest::newRow("excluded from composition")
        << QByteArray("\xE0\xA5\x98") << QStringLiteral("\u0915\u093C");
    QTest::newRow("Latin-1") << QByteArray("caf\xE9") << QStringLiteral("caf\uFFFD");
    QTest::newRow("backslash") << QByteArray("a\\b\\") << QStringLiteral("a\uFFFDb\uFFFD");
    QTest::newRow("mark after a backslash") << QByteArray("\\\xCC\x81") << QStringLiteral("\uFFFD\u0301");
}

void OnDiskNameTest::displayed() {
    QFETCH(QByteArray, name);
    QFETCH(QString, text);
    QCOMPARE(displayedName(name), text);
}

void OnDiskNameTest::textsWithoutBytes_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("NUL in ASCII") << QStringLiteral("/tmp/a\0b");
    QTest::newRow("NUL after non-ASCII") << QStringLiteral("\u00E9\0b");
    QTest::newRow("only a NUL") << QString(QChar(0));
    QTest::newRow("high surrogate") << QStringLiteral("/tmp/") + QString(QChar(0xD800));
    QTest::newRow("low surrogate") << QStringLiteral("/tmp/") + QString(QChar(0xDC00)) + QStringLiteral("x");
}

void OnDiskNameTest::textsWithoutBytes() {
    QFETCH(QString, text);
    QVERIFY(!onDiskPath(text).has_value());
}

void OnDiskNameTest::spelling_data() {
    QTest::addColumn<QByteArrayList>("folders");
    QTest::addColumn<QByteArrayList>("files");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");

    const QByteArrayList none;
    const QString eacute = QStringLiteral("\u00E9");
    QTest::newRow("composed") << none << QByteArrayList{kComposed} << eacute << kComposed;
    QTest::newRow("decomposed") << none << QByteArrayList{kDecomposed} << eacute << kDecomposed;
    QTest::newRow("both: form C wins")
        << none << QByteArrayList{kDecomposed, kComposed} << eacute << kComposed;
    QTest::newRow("neither: form C") << none << QByteArrayList{"e"} << eacute << kComposed;
    QTest::newRow("text given decomposed")
        << none << QByteArrayList{kDecomposed} << QStringLiteral("e\u0301") << kDecomposed;
    QTest::newRow("text given decomposed, both there")
        << none << QByteArrayList{kDecomposed, kComposed} << QStringLiteral("e\u0301") << kComposed;
    QTest::newRow("Latin-1") << none << QByteArrayList{"caf\xE9.jpg"} << QStringLiteral("caf\uFFFD.jpg")
                             << QByteArray("caf\xE9.jpg");
    QTest::newRow("a real replacement character wins")
        << none << QByteArrayList{"caf\xE9.jpg", "caf\xEF\xBF\xBD.jpg"} << QStringLiteral("caf\uFFFD.jpg")
        << QByteArray("caf\xEF\xBF\xBD.jpg");
    QTest::newRow("two that show the same: none is taken")
        << none << QByteArrayList{"caf\xE9.jpg", "caf\xE8.jpg"} << QStringLiteral("caf\uFFFD.jpg")
        << QByteArray("caf\xEF\xBF\xBD.jpg");
    QTest::newRow("two decomposed orders: none is taken")
        << none << QByteArrayList{"a\xCC\x82\xCC\xA3", "a\xCC\xA3\xCC\x82"} << QStringLiteral("\u1EAD")
        << QByteArray("\xE1\xBA\xAD");
    QTest::newRow("two folders that show the same: nothing below is met")
        << QByteArrayList{"\xE9", "\xE8"} << QByteArrayList{"\xE9/a.jpg"} << QStringLiteral("\uFFFD/a.jpg")
        << QByteArray("\xEF\xBF\xBD/a.jpg");
    QTest::newRow("backslash") << none << QByteArrayList{"a\\b"} << QStringLiteral("a\uFFFDb")
                               << QByteArray("a\\b");
    QTest::newRow("backslash as it is")
        << none << QByteArrayList{"a\\b"} << QStringLiteral("a\\b") << QByteArray("a\\b");
    QTest::newRow("folder with a backslash")
        << QByteArrayList{"\\"} << QByteArrayList{"\\/x"} << QStringLiteral("\uFFFD/x") << QByteArray("\\/x");
    QTest::newRow("a backslash is not a byte beside another: none is taken")
        << none << QByteArrayList{"a\\b", "a\xE9\x62"} << QStringLiteral("a\uFFFDb")
        << QByteArray("a\xEF\xBF\xBD\x62");
    QTest::newRow("a real replacement character wins over a backslash")
        << none << QByteArrayList{"a\\b", "a\xEF\xBF\xBD\x62"} << QStringLiteral("a\uFFFDb")
        << QByteArray("a\xEF\xBF\xBD\x62");
    QTest::newRow("Kelvin sign") << none << QByteArrayList{"300\xE2\x84\xAA"} << QStringLiteral("300K")
                                 << QByteArray("300\xE2\x84\xAA");
    QTest::newRow("letter K wins over the sign")
        << none << QByteArrayList{"300\xE2\x84\xAA", "300K"} << QStringLiteral("300K") << QByteArray("300K");
    QTest::newRow("Greek question mark")
        << none << QByteArrayList{"a\xCD\xBE"} << QStringLiteral("a;") << QByteArray("a\xCD\xBE");
    QTest::newRow("varia") << none << QByteArrayList{"\xE1\xBF\xAF"} << QStringLiteral("`")
                           << QByteArray("\xE1\xBF\xAF");
    QTest::newRow("excluded from composition")
        << none << QByteArrayList{"\xE0\xA5\x98"} << QStringLiteral("\u0915\u093C")
        << QByteArray("\xE0\xA5\x98");
    QTest::newRow("a mark at the start of a name")
        << none << QByteArrayList{"\xEF\xBB\xBF\xFF"} << QStringLiteral("\uFEFF\uFFFD")
        << QByteArray("\xEF\xBB\xBF\xFF");
    QTest::newRow("parent decomposed, child there")
        << QByteArrayList{kDecomposed} << QByteArrayList{kDecomposed + "/a.jpg"}
        << eacute + QStringLiteral("/a.jpg") << QByteArray(kDecomposed + "/a.jpg");
    QTest::newRow("parent decomposed, plain tail missing")
        << QByteArrayList{kDecomposed} << none << eacute + QStringLiteral("/new/b.jpg")
        << QByteArray(kDecomposed + "/new/b.jpg");
    QTest::newRow("parent decomposed, odd tail missing: form C")
        << QByteArrayList{kDecomposed} << none << eacute + u'/' + eacute + u'/' + eacute
        << QByteArray(kDecomposed + '/' + kComposed + '/' + kComposed);
    QTest::newRow("parent decomposed, child decomposed")
        << QByteArrayList{kDecomposed} << QByteArrayList{kDecomposed + '/' + kDecomposed}
        << eacute + u'/' + eacute << QByteArray(kDecomposed + '/' + kDecomposed);
    QTest::newRow("parent composed wins although the child is in the other")
        << QByteArrayList{kDecomposed, kComposed} << QByteArrayList{kDecomposed + "/" + kDecomposed}
        << eacute + u'/' + eacute << QByteArray(kComposed + '/' + kComposed);
    QTest::newRow("plain parent missing")
        << none << QByteArrayList{kDecomposed} << QStringLiteral("none/") + eacute
        << QByteArray("none/" + kComposed);
    QTest::newRow("odd, plain, odd") << QByteArrayList{kDecomposed, kDecomposed + "/x"}
                                     << QByteArrayList{kDecomposed + "/x/" + kDecomposed}
                                     << eacute + QStringLiteral("/x/") + eacute
                                     << QByteArray(kDecomposed + "/x/" + kDecomposed);
    QTest::newRow("name of another case is another name")
        << none << QByteArrayList{"E\xCC\x81"} << eacute << kComposed;
}

void OnDiskNameTest::spelling() {
    QFETCH(QByteArrayList, folders);
    QFETCH(QByteArrayList, files);
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    for (const QByteArray& folder : folders) {
        Disk::makeFolder(mRoot + folder);
    }
    for (const QByteArray& file : files) {
        Disk::makeFile(mRoot + file);
    }
    QCOMPARE(found(text), bytes);
    // What is found is found again through what it shows.
    QCOMPARE(found(displayedName(bytes)), bytes);
}

void OnDiskNameTest::everyNameIsFoundThroughWhatItShows() {
    const QByteArrayList names = {"a.jpg",
                                  "caf\xC3\xA9.jpg",
                                  "nai\xCC\x88ve",
                                  "\xFF\xFE",
                                  "300\xE2\x84\xAA",
                                  "K",
                                  "with\nline",
                                  "\xE6\x9D\xB1\xE4\xBA\xAC",
                                  "l\xE9t\xE9",
                                  "-rf",
                                  "with\\backslash",
                                  "\\e\xCC\x81",
                                  " ",
                                  "\xED\xA0\x80"};
    for (const QByteArray& name : names) {
        Disk::makeFile(mRoot + name, name);
    }
    for (const QByteArray& name : Disk::namesIn(mRoot)) {
        QCOMPARE(found(displayedName(name)), name);
        QCOMPARE(Disk::contentOf(mRoot + found(displayedName(name))), name);
    }
}

void OnDiskNameTest::plainTextsAreCopied_data() {
    QTest::addColumn<QString>("text");
    for (const char* text :
         {"/", "//", "a", "a/", "../x/./y", "/no/such/folder//at/all/", "C:/a", "~", "//srv/share"}) {
        QTest::newRow(text) << QString::fromUtf8(text);
    }
}

void OnDiskNameTest::plainTextsAreCopied() {
    QFETCH(QString, text);
    QCOMPARE(onDiskPath(text), std::optional<QByteArray>(text.toUtf8()));
}

void OnDiskNameTest::relativePaths() {
    Disk::makeFolder(mRoot + kDecomposed);
    Disk::makeFile(mRoot + kDecomposed + "/300\xE2\x84\xAA");
    const Disk::WorkingFolder working(mRoot);
    const std::optional<QByteArray> child = onDiskPath(u"\u00E9/300K");
    const std::optional<QByteArray> here = onDiskPath(u"./\u00E9");
    const std::optional<QByteArray> alone = onDiskPath(u"\u00E9");
    const std::optional<QByteArray> up = onDiskPath(u"\u00E9/../\u00E9/300K");
    const std::optional<QByteArray> missing = onDiskPath(u"\u00EA");
    QCOMPARE(child, std::optional<QByteArray>(kDecomposed + "/300\xE2\x84\xAA"));
    QCOMPARE(here, std::optional<QByteArray>("./" + kDecomposed));
    QCOMPARE(alone, std::optional<QByteArray>(kDecomposed));
    QCOMPARE(up, std::optional<QByteArray>(kDecomposed + "/../" + kDecomposed + "/300\xE2\x84\xAA"));
    QCOMPARE(missing, std::optional<QByteArray>("\xC3\xAA"));
}

void OnDiskNameTest::slashesAndDots() {
    Disk::makeFolder(mRoot + kDecomposed);
    Disk::makeFolder(mRoot + kDecomposed + "/b");
    Disk::makeFile(mRoot + kDecomposed + "/b/" + kDecomposed);
    const QString e = QStringLiteral("\u00E9");
    const QByteArray& d = kDecomposed;
    QCOMPARE(found(e + u'/'), d + '/');
    QCOMPARE(found(e + QStringLiteral("//")), d + "//");
    QCOMPARE(found(u'/' + e + QStringLiteral("//b///") + e), '/' + d + "//b///" + d);
    QCOMPARE(found(QStringLiteral(".//./") + e + QStringLiteral("/./b/../b/") + e),
             ".//./" + d + "/./b/../b/" + d);
    QCOMPARE(found(e + QStringLiteral("/b/") + e + u'/'), d + "/b/" + d + '/');
    QCOMPARE(found(e + QStringLiteral("//c//") + e), d + "//c//" + kComposed);
}

void OnDiskNameTest::linkedParents() {
    Disk::makeFolder(mRoot + "real");
    Disk::makeFile(mRoot + "real/" + kDecomposed);
    Disk::makeLink(mRoot + "link", "real");
    Disk::makeLink(mRoot + "lin\xCC\x83k", "real");
    QCOMPARE(found(QStringLiteral("link/") + QStringLiteral("\u00E9")), "link/" + kDecomposed);
    QCOMPARE(found(QStringLiteral("li\u00F1k/\u00E9")), "lin\xCC\x83k/" + kDecomposed);
}

void OnDiskNameTest::lastLinkIsNotFollowed() {
    Disk::makeLink(mRoot + kDecomposed, "nothing");
    QCOMPARE(found(QStringLiteral("\u00E9")), kDecomposed);
    Disk::makeLink(mRoot + kComposed, "nothing");
    QCOMPARE(found(QStringLiteral("\u00E9")), kComposed);
    // A link to nothing in the middle is what the text names: nothing else is looked for.
    QCOMPARE(found(QStringLiteral("\u00E9/\u00E9")), kComposed + '/' + kComposed);
}

void OnDiskNameTest::fileInTheMiddle() {
    Disk::makeFile(mRoot + kDecomposed);
    QCOMPARE(found(QStringLiteral("\u00E9/\u00E9/a")), kDecomposed + '/' + kComposed + "/a");
    Disk::makeFile(mRoot + kComposed);
    QCOMPARE(found(QStringLiteral("\u00E9/\u00E9/a")), kComposed + '/' + kComposed + "/a");
    QCOMPARE(found(QStringLiteral("\u00E9/")), kComposed + '/');
}

void OnDiskNameTest::fortyComponents() {
    QString text;
    QByteArray bytes;
    for (int i = 0; i < 40; ++i) {
        const QByteArray name = i % 3 == 0 ? kDecomposed : i % 3 == 1 ? QByteArray("plain") : kComposed;
        bytes += (i == 0 ? "" : "/") + name;
        Disk::makeFolder(mRoot + bytes);
        text += (i == 0 ? QString() : QStringLiteral("/")) + displayedName(name);
    }
    QCOMPARE(found(text), bytes);
    QCOMPARE(found(text + QStringLiteral("/new \u00E9.jpg")), bytes + "/new " + kComposed + ".jpg");
}

void OnDiskNameTest::thousandsOfComponents() {
    // Deeper than a path that the kernel takes in one piece: made and removed from the inside.
    constexpr int kDepth = 3000;
    const auto nameAt = [](int depth) { return depth % 100 == 0 ? kDecomposed : QByteArray("d"); };
    {
        const Disk::WorkingFolder working(mRoot);
        for (int i = 0; i < kDepth; ++i) {
            Disk::makeFolder(nameAt(i));
            QCOMPARE(::chdir(nameAt(i).constData()), 0);
        }
        Disk::makeFile("300\xE2\x84\xAA");
    }

    QByteArray bytes;
    QString text;
    for (int i = 0; i < kDepth; ++i) {
        bytes += nameAt(i) + '/';
        text += displayedName(nameAt(i)) + u'/';
    }
    QCOMPARE(found(text + QStringLiteral("300K")), bytes + "300\xE2\x84\xAA");
    QCOMPARE(found(text + QStringLiteral("\u00E9")), bytes + kComposed);

    // Remove it again, which a recursive removal by path cannot.
    const Disk::WorkingFolder working(mRoot);
    for (int i = 0; i < kDepth; ++i) {
        QCOMPARE(::chdir(nameAt(i).constData()), 0);
    }
    QCOMPARE(::unlink("300\xE2\x84\xAA"), 0);
    for (int i = kDepth - 1; i >= 0; --i) {
        QCOMPARE(::chdir(".."), 0);
        QCOMPARE(::rmdir(nameAt(i).constData()), 0);
    }
}

void OnDiskNameTest::aMillionSlashes() {
    Disk::makeFile(mRoot + kDecomposed);
    const QString slashes(1000000, u'/');
    QCOMPARE(found(slashes + QStringLiteral("\u00E9")), QByteArray(1000000, '/') + kDecomposed);
    QCOMPARE(found(slashes), QByteArray(1000000, '/'));
    QCOMPARE(onDiskPath(QString(slashes + QStringLiteral("K"))),
             std::optional<QByteArray>(QByteArray(1000000, '/') + 'K'));
    // Ten thousand missing components that could each be spelled otherwise.
    QString missing;
    for (int i = 0; i < 10000; ++i) {
        missing += QStringLiteral("K/");
    }
    QCOMPARE(found(missing), missing.toUtf8());
}

void OnDiskNameTest::undecodableNameOfFullLength() {
    const QByteArray name(255, '\xE9');
    Disk::makeFile(mRoot + name);
    QCOMPARE(found(QString(255, QChar(0xFFFD))), name);
    Disk::makeFolder(mRoot + QByteArray(255, '\xE8').replace(0, 1, "x"));
    const QByteArray folder = QByteArray(255, '\xE8').replace(0, 1, "x");
    Disk::makeFile(mRoot + folder + "/a.jpg");
    QCOMPARE(found(u'x' + QString(254, QChar(0xFFFD)) + QStringLiteral("/a.jpg")), folder + "/a.jpg");
    // Too long in every spelling: form C, and the operation says why.
    QCOMPARE(found(QString(256, QChar(0xFFFD))), QByteArray(QString(256, QChar(0xFFFD)).toUtf8()));
}

void OnDiskNameTest::anotherUsersFolder() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    Disk::makeFolder(mRoot + "closed");
    Disk::makeFile(mRoot + "closed/" + kDecomposed);
    Disk::makeFolder(mRoot + "blind");
    Disk::makeFile(mRoot + "blind/" + kDecomposed);
    Disk::makeFile(mRoot + "blind/\xC3\xAA");
    QCOMPARE(::chmod(Disk::text(mRoot + "closed"), 0700), 0);
    QCOMPARE(::chmod(Disk::text(mRoot + "blind"), 0711), 0);
    QCOMPARE(::chmod(mRoot.constData(), 0755), 0);

    QCOMPARE(found(QStringLiteral("closed/\u00E9")), "closed/" + kDecomposed);
    const int asOther = Disk::asOtherUser([this] {
        const bool closed = found(QStringLiteral("closed/\u00E9")) == "closed/" + kComposed;
        const bool deeper =
            found(QStringLiteral("closed/\u00E9/\u00E9")) == "closed/" + kComposed + '/' + kComposed;
        const bool unlisted = found(QStringLiteral("blind/\u00E9")) == "blind/" + kComposed;
        const bool exact = found(QStringLiteral("blind/\u00EA")) == "blind/\xC3\xAA";
        return (closed ? 1 : 0) + (deeper ? 2 : 0) + (unlisted ? 4 : 0) + (exact ? 8 : 0);
    });
    QCOMPARE(asOther, 15);
}

void OnDiskNameTest::emptyText() {
    const std::optional<QByteArray> bytes = onDiskPath(QStringView());
    QVERIFY(bytes.has_value());
    QVERIFY(bytes->isEmpty());
    QVERIFY(!bytes->isNull());
}

VKTEST_MAIN(OnDiskNameTest)
#include "OnDiskNameTest.moc"
