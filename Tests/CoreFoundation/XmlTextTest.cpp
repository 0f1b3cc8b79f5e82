// What of an XML text is refused before a parser sees it.
#include "CoreFoundation/XmlText.h"

#include "Support/VKTest.h"

using namespace Qt::StringLiterals;
using CoreFoundation::kMostTagCharacters;

namespace {

constexpr auto kDeclarations = "The document type has declarations of its own";
constexpr auto kTooLong = "A tag is too long";
constexpr auto kNoEncoding = "The encoding is not known";
constexpr auto kNotValid = "The text is not valid in its encoding";

/// A tag of so many characters.
QByteArray tagOf(qsizetype size) { return "<a b='" + QByteArray(size - 9, 'x') + "'/>"; }

} // namespace

class XmlTextTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void markup_data();
    void markup();
    void decoded();
};

void XmlTextTest::markup_data() {
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QByteArray>("problem");
    const auto row = [](const char* reason, const QByteArray& xml, const char* problem = "") {
        QTest::newRow(reason) << xml << QByteArray(problem);
    };
    const QByteArray bomb("<!DOCTYPE p [<!ENTITY % a 'x'>]>");
    row("nothing", QByteArray());
    row("no markup", "a > b ' \" [");
    row("list",
        "<?xml version=\"1.0\"?><!DOCTYPE plist PUBLIC \"a\" \"b\"><plist version='1.0'><true/></plist>");
    row("declarations", bomb, kDeclarations);
    row("no declarations in the brackets", "<!DOCTYPE p []><a/>", kDeclarations);
    row("bracket in a literal", "<!DOCTYPE p SYSTEM \"[\"><a/>");
    row("declarations behind a literal", "<!DOCTYPE p SYSTEM \"'>\" [<!ENTITY % a 'x'>]><a/>", kDeclarations);
    row("declarations in a comment", "<!-- " + bomb + " --><a/>");
    row("declarations in character data", "<a><![CDATA[" + bomb + "]]></a>");
    row("declarations in an instruction", "<?a " + bomb + "?><a/>");
    row("declarations behind a comment", "<!-- ' -->" + bomb, kDeclarations);
    row("declarations behind a comment that begins like its end", "<!--><a '-->" + bomb, kDeclarations);
    row("declarations behind an instruction", "<?a '?>" + bomb, kDeclarations);
    row("declarations behind an apostrophe", "<a>don't" + bomb, kDeclarations);
    row("bracket in a tag", "<a b='['/>");
    row("tag below the limit", tagOf(kMostTagCharacters - 1));
    row("tag at the limit", tagOf(kMostTagCharacters));
    row("tag over the limit", tagOf(kMostTagCharacters + 1), kTooLong);
    row("end of a tag in its attributes", "<a b='>' c='" + QByteArray(kMostTagCharacters, 'x') + "'/>",
        kTooLong);
    row("second tag over the limit", "<a>" + tagOf(kMostTagCharacters + 1) + "</a>", kTooLong);
    row("document type over the limit", "<!DOCTYPE p SYSTEM '" + QByteArray(kMostTagCharacters, 'x') + "'>",
        kTooLong);
    row("long text", "<a>" + QByteArray(2 * kMostTagCharacters, 'x') + "</a>");
    row("long comment", "<!--" + QByteArray(2 * kMostTagCharacters, 'x') + "--><a/>");
    row("tag cut off", "<a b='");
    row("comment cut off", "<!-- ");
    row("encoding that nobody knows", "<?xml version=\"1.0\" encoding=\"klingon\"?><a/>", kNoEncoding);
    row("invalid bytes", "<a>\xFF</a>", kNotValid);
}

void XmlTextTest::markup() {
    QFETCH(QByteArray, xml);
    QFETCH(QByteArray, problem);
    QString text = u"as it was"_s;
    QCOMPARE(QByteArray(CoreFoundation::decodeXml(xml, text)), problem);
    QCOMPARE(text, problem.isEmpty() ? QString::fromUtf8(xml) : u"as it was"_s);
}

void XmlTextTest::decoded() {
    QString text;
    QVERIFY(CoreFoundation::decodeXml("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE9</a>", text) ==
            nullptr);
    QVERIFY(text.endsWith(u"<a>\u00E9</a>"));
    const QString wide = u"\uFEFF<a>\u20AC</a>"_s;
    const QByteArrayView bytes(reinterpret_cast<const char*>(wide.utf16()), 2 * wide.size());
    QVERIFY(CoreFoundation::decodeXml(bytes, text) == nullptr);
    QCOMPARE(text, wide.sliced(1));
}

VKTEST_MAIN(XmlTextTest)
#include "XmlTextTest.moc"
