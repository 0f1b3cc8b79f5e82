// Reading property lists: what is accepted as what, what is refused, and the limits.
#include "PropertyListSupport.h"

#include <QRandomGenerator>
#include <QStringEncoder>

#include <cmath>
#include <limits>

using namespace CFTest;

class CFPropertyListTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void values_data();
    void values();
    void reals_data();
    void reals();
    void dates_data();
    void dates();
    void documents_data();
    void documents();
    void refused_data();
    void refused();
    void everyTruncationIsRefused();
    void duplicateKeys();
    void encodings_data();
    void encodings();
    void sizeLimit();
    void depthLimit_data();
    void depthLimit();
    void mutability();
    void ownership();
    void whatIsWrittenReadsBack();
};

namespace {

/// A value as Python would show it, for rows.
QString shown(CFTypeRef value) { // NOLINT(misc-no-recursion)
    const CFTypeID type = CFGetTypeID(value);
    if (type == CFStringGetTypeID()) {
        return u'\'' + CFStringCopyQString(static_cast<CFStringRef>(value)) + u'\'';
    }
    if (type == CFDataGetTypeID()) {
        return u'b' + QString::fromLatin1(CFDataCopyQByteArray(static_cast<CFDataRef>(value)).toHex());
    }
    if (type == CFNumberGetTypeID()) {
        SInt64 integer = 0;
        CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberSInt64Type, &integer);
        return QString::number(integer);
    }
    if (type == CFBooleanGetTypeID()) {
        return value == kCFBooleanTrue ? QStringLiteral("True") : QStringLiteral("False");
    }
    if (type == CFArrayGetTypeID()) {
        QStringList elements;
        const auto array = static_cast<CFArrayRef>(value);
        for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
            elements << shown(CFArrayGetValueAtIndex(array, i));
        }
        return u'[' + elements.join(u',') + u']';
    }
    if (type == CFDictionaryGetTypeID()) {
        const auto dictionary = static_cast<CFDictionaryRef>(value);
        std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(dictionary)));
        CFDictionaryGetKeysAndValues(dictionary, keys.data(), nullptr);
        QStringList pairs;
        for (const void* key : keys) {
            pairs << shown(key) + u':' + shown(CFDictionaryGetValue(dictionary, key));
        }
        pairs.sort();
        return u'{' + pairs.join(u',') + u'}';
    }
    return QStringLiteral("another type");
}

} // namespace

void CFPropertyListTest::values_data() {
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("value"); // empty: refused
    const auto row = [](const char* name, const char* xml, const QString& value) {
        QTest::newRow(name) << QByteArray(xml) << value;
    };
    row("string", "<string>a</string>", QStringLiteral("'a'"));
    row("empty string", "<string></string>", QStringLiteral("''"));
    row("self-closed string", "<string/>", QStringLiteral("''"));
    row("white space is kept", "<string> a\n\tb </string>", QStringLiteral("' a\n\tb '"));
    row("line ends are kept", "<string>a\r\nb\rc</string>", QStringLiteral("'a\r\nb\rc'"));
    row("entities", "<string>&lt;&gt;&amp;&quot;&apos;&#65;&#x42;</string>", QStringLiteral("'<>&\"'AB'"));
    row("entity outside the basic plane", "<string>&#x1F600;</string>", QStringLiteral("'\U0001F600'"));
    row("character section", "<string>a<![CDATA[<b>&amp;]]>c</string>", QStringLiteral("'a<b>&amp;c'"));
    row("unknown entity", "<string>&nbsp;</string>", {});
    row("bare ampersand", "<string>a & b</string>", {});
    row("entity that is a surrogate", "<string>&#xD800;</string>", {});
    row("entity beyond Unicode", "<string>&#x110000;</string>", {});
    row("entity of no digits", "<string>&#xZZ;</string>", {});
    row("element in a string", "<string>a<b/></string>", {});
    row("comment in a string", "<string>a<!-- b --></string>", {});
    row("key stands for a string", "<key>a</key>", QStringLiteral("'a'"));

    row("integer", "<integer>42</integer>", QStringLiteral("42"));
    row("plus", "<integer>+5</integer>", QStringLiteral("5"));
    row("zeros in front", "<integer>007</integer>", QStringLiteral("7"));
    row("negative zero", "<integer>-0</integer>", QStringLiteral("0"));
    row("hexadecimal", "<integer>0x1F</integer>", QStringLiteral("31"));
    row("hexadecimal in capitals", "<integer>0XFF</integer>", QStringLiteral("255"));
    row("negative hexadecimal", "<integer>-0x10</integer>", QStringLiteral("-16"));
    row("space after the sign", "<integer>- 5</integer>", QStringLiteral("-5"));
    row("space in front", "<integer> \n5</integer>", QStringLiteral("5"));
    row("space behind", "<integer>5 </integer>", {});
    row("largest", "<integer>9223372036854775807</integer>", QStringLiteral("9223372036854775807"));
    row("one more", "<integer>9223372036854775808</integer>", {});
    row("least", "<integer>-9223372036854775808</integer>", QStringLiteral("-9223372036854775808"));
    row("one less", "<integer>-9223372036854775809</integer>", {});
    row("beyond unsigned", "<integer>18446744073709551616</integer>", {});
    row("empty integer", "<integer></integer>", {});
    row("self-closed integer", "<integer/>", {});
    row("letters", "<integer>abc</integer>", {});
    row("letters behind", "<integer>12abc</integer>", {});
    row("two numbers", "<integer>1 2</integer>", {});
    row("a fraction", "<integer>1.5</integer>", {});
    row("an exponent", "<integer>1e3</integer>", {});
    row("two signs", "<integer>--5</integer>", {});
    row("a sign", "<integer>-</integer>", {});
    row("no hexadecimal digits", "<integer>0x</integer>", {});
    row("other digits", "<integer>\xD9\xA3</integer>", {});
    row("comment in an integer", "<integer>1<!-- --></integer>", {});

    row("true", "<true/>", QStringLiteral("True"));
    row("false with a space", "<false />", QStringLiteral("False"));
    row("opened and closed", "<true></true>", QStringLiteral("True"));
    row("true with a text", "<true>x</true>", {});

    row("data", "<data>YWJj</data>", QStringLiteral("b616263"));
    row("padding", "<data>YQ==</data>", QStringLiteral("b61"));
    row("lines and tabs", "<data>\n\tYW\n\tJj\n</data>", QStringLiteral("b616263"));
    row("other characters are skipped", "<data>Y*W#J!j</data>", QStringLiteral("b616263"));
    row("an incomplete group is dropped", "<data>YWJjZ</data>", QStringLiteral("b616263"));
    row("two paddings", "<data>YQ==YQ==</data>", QStringLiteral("b6161"));
    row("no data", "<data></data>", QStringLiteral("b"));

    row("array", "<array><true/><string>a</string></array>", QStringLiteral("[True,'a']"));
    row("empty array", "<array/>", QStringLiteral("[]"));
    row("text in an array", "<array>a<true/></array>", {});
    row("comments and instructions between elements", "<array><!-- a --><true/><?b c?></array>",
        QStringLiteral("[True]"));
    row("dictionary", "<dict><key>a</key><integer>1</integer></dict>", QStringLiteral("{'a':1}"));
    row("empty dictionary", "<dict/>", QStringLiteral("{}"));
    row("empty key", "<dict><key/><true/></dict>", QStringLiteral("{'':True}"));
    row("value without a key", "<dict><true/></dict>", {});
    row("key without a value", "<dict><key>a</key></dict>", {});
    row("key after a key", "<dict><key>a</key><key>b</key></dict>", {});
    row("text in a dictionary", "<dict>x<key>a</key><true/></dict>", {});
    row("two spellings are two keys", "<dict><key>\xC3\xA9</key><true/><key>e\xCC\x81</key><false/></dict>",
        QStringLiteral("{'e\u0301':False,'\u00E9':True}"));
    row("wrong case", "<String>a</String>", {});
    row("another language", "<html/>", {});
    row("a value of a wrong element deep inside", "<array><array><real>x</real></array></array>", {});
}

void CFPropertyListTest::values() {
    QFETCH(QByteArray, xml);
    QFETCH(QString, value);
    QString problem;
    const auto list = readList(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + xml + "</plist>\n", &problem);
    QCOMPARE(list ? shown(list.get()) : QString(), value);
    QCOMPARE(problem.isEmpty(), !value.isEmpty());
    QVERIFY(problem.isEmpty() || problem.contains(QStringLiteral(" on line ")));
}

void CFPropertyListTest::reals_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<double>("value");
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    const auto row = [](const char* text, double value) {
        QTest::newRow(text) << QByteArray(text) << true << value;
    };
    row("0", 0);
    row("1", 1);
    row(".5", 0.5);
    row("5.", 5);
    row("+1.5", 1.5);
    row("-1.5e10", -1.5e10);
    row("1e400", kInfinity);
    row("-1e400", -kInfinity);
    row("1e-400", 0);
    row(" 1", 1);
    for (const char* text : {"nan", "NaN", "NAN"}) {
        row(text, kNaN);
    }
    for (const char* text : {"inf", "+inf", "infinity", "+Infinity", "INF"}) {
        row(text, kInfinity);
    }
    row("-inf", -kInfinity);
    row("-infinity", -kInfinity);
    for (const char* text :
         {"", "0x10", "1,5", "1.5x", "-nan", "1 ", "--1", "e5", ".", "+", "1e", "nan(1)", "infinit", "+-1"}) {
        QTest::addRow("refused: \"%s\"", text) << QByteArray(text) << false << 0.0;
    }
}

void CFPropertyListTest::reals() {
    QFETCH(QByteArray, text);
    QFETCH(bool, accepted);
    QFETCH(double, value);
    const auto list = readList("<plist><real>" + text + "</real></plist>");
    QCOMPARE(static_cast<bool>(list), accepted);
    if (!accepted) {
        return;
    }
    const auto number = static_cast<CFNumberRef>(list.get());
    QCOMPARE(CFNumberGetType(number), kCFNumberFloat64Type);
    QVERIFY(CFEqual(number, makeReal(value).get()));
}

void CFPropertyListTest::dates_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("same"); // the same moment; empty: refused
    const auto row = [](const char* text, const char* same) {
        QTest::newRow(text) << QByteArray(text) << QByteArray(same);
    };
    row("2001-01-01T00:00:00Z", "2001-01-01T00:00:00Z");
    row("2023-02-29T00:00:00Z", "2023-03-01T00:00:00Z");
    row("2023-13-01T00:00:00Z", "2024-01-01T00:00:00Z");
    row("2023-00-05T00:00:00Z", "2023-01-05T00:00:00Z");
    row("2023-03-00T00:00:00Z", "2023-02-28T00:00:00Z");
    row("2023-01-01T25:00:00Z", "2023-01-02T01:00:00Z");
    row("2023-12-31T23:59:60Z", "2024-01-01T00:00:00Z");
    row("36-04-19T09:46:40Z", "0036-04-19T09:46:40Z");
    row("9999999-01-01T00:00:00Z", "9999999-01-01T00:00:00Z");
    row("-0001-12-31T00:00:00Z", "-1-12-31T00:00:00Z");
    for (const char* text :
         {"", "2001-01-01", "2001-01-01T00:00:00", "2001-01-01T00:00:00+01:00", "2001-01-01T00:00:00.5Z",
          "2001-01-01t00:00:00Z", "2001-01-01T00:00:00z", "2001-01-01 00:00:00Z", " 2001-01-01T00:00:00Z",
          "2001-01-01T00:00:00Z ", "2001-1-01T00:00:00Z", "10000000-01-01T00:00:00Z",
          "9999999-13-01T00:00:00Z", "99999999999999999999-01-01T00:00:00Z", "--1-01-01T00:00:00Z",
          "-01-01T00:00:00Z", "x-01-01T00:00:00Z"}) {
        QTest::addRow("refused: \"%s\"", text) << QByteArray(text) << QByteArray();
    }
}

void CFPropertyListTest::dates() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, same);
    const auto list = readList("<plist><date>" + text + "</date></plist>");
    QCOMPARE(static_cast<bool>(list), !same.isEmpty());
    if (list) {
        const auto expected = readList("<plist><date>" + same + "</date></plist>");
        QVERIFY(expected && CFEqual(list.get(), expected.get()));
    }
}

void CFPropertyListTest::documents_data() {
    QTest::addColumn<QByteArray>("xml");
    const QByteArray doctype("<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                             "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">");
    const QByteArray declaration("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    const QByteArray list("<plist version=\"1.0\"><true/></plist>");
    QTest::newRow("complete") << declaration + '\n' + doctype + '\n' + list + '\n';
    QTest::newRow("no document type") << declaration + list;
    QTest::newRow("no declaration") << doctype + list;
    QTest::newRow("no version") << QByteArray("<plist><true/></plist>");
    QTest::newRow("another version") << QByteArray("<plist version=\"7\"><true/></plist>");
    QTest::newRow("no wrapper") << QByteArray("<true/>");
    QTest::newRow("byte-order mark") << "\xEF\xBB\xBF" + declaration + list;
    QTest::newRow("white space in front") << " \n\t" + declaration + list;
    QTest::newRow("comments outside") << "<!-- a -->" + list + "<!-- b -->\n";
    QTest::newRow("attributes") << QByteArray("<plist><true a=\"b\"/></plist>");
    QTest::newRow("attribute with a prefix that nothing declares")
        << QByteArray("<plist><true a:b=\"c\"/></plist>");
    QTest::newRow("name space") << QByteArray("<plist xmlns=\"a\" xmlns:b=\"c\"><true/></plist>");
    QTest::newRow("space in a tag") << QByteArray("<plist ><true ></true ></plist >");
    QTest::newRow("line ends of another system") << QByteArray(
        declaration + "\r\n" + doctype + "\r\n<plist version=\"1.0\">\r\n<true/>\r\n</plist>\r\n");
    QTest::newRow("line end in a tag") << QByteArray("<plist\r\nversion=\"1.0\"><true/></plist>");
    QTest::newRow("single quotes") << QByteArray(
        "<?xml version='1.0' encoding='utf-8'?><plist><true/></plist>");
}

void CFPropertyListTest::documents() {
    QFETCH(QByteArray, xml);
    QString problem;
    const auto list = readList(xml, &problem);
    QVERIFY2(list && list.get() == kCFBooleanTrue, qPrintable(problem));
}

void CFPropertyListTest::refused_data() {
    QTest::addColumn<QByteArray>("xml");
    const auto row = [](const char* name, const QByteArray& xml) { QTest::newRow(name) << xml; };
    row("nothing", {});
    row("white space", " \n ");
    row("no XML", "hello");
    row("another text form", "{ a = b; }");
    row("JSON", "{\"a\":1}");
    row("the binary form", "bplist00\xD0\x08");
    row("NULs", QByteArray(100, '\0'));
    row("declaration alone", "<?xml version=\"1.0\"?>");
    row("document type alone", "<!DOCTYPE plist SYSTEM \"a\">");
    row("empty list", "<plist></plist>");
    row("self-closed list", "<plist/>");
    row("two roots", "<plist><true/><true/></plist>");
    row("two documents", "<plist><true/></plist><plist><true/></plist>");
    row("text behind", "<plist><true/></plist>junk");
    row("NUL behind", QByteArray("<plist><true/></plist>\0", 23));
    row("text in front", "junk<plist><true/></plist>");
    row("text before the value", "<plist>junk<true/></plist>");
    row("text behind the value", "<plist><true/>junk</plist>");
    row("list in a list", "<plist><plist><true/></plist></plist>");
    row("space before a name", "<plist>< true/></plist>");
    row("mismatched end", "<plist><array></dict></plist>");
    row("entity declarations", "<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><string>&a;</string></plist>");
    row("many entities", "<!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\"><!ENTITY c "
                         "\"&b;&b;&b;&b;\">]><plist><string>&c;&c;&c;</string></plist>");
    row("file as an entity",
        "<!DOCTYPE plist [<!ENTITY a SYSTEM \"/etc/passwd\">]><plist><string>&a;</string></plist>");
    row("empty internal subset", "<!DOCTYPE plist []><plist><true/></plist>");
    row("tag over the limit", "<plist a='" + QByteArray(1024, 'x') + "'><true/></plist>");
    row("invalid UTF-8", "<plist><string>\xFF</string></plist>");
    row("overlong UTF-8", "<plist><string>\xC0\xAF</string></plist>");
    row("surrogate in UTF-8", "<plist><string>\xED\xA0\x80</string></plist>");
    row("unknown encoding", "<?xml version=\"1.0\" encoding=\"klingon\"?><plist><true/></plist>");
    row("encoding without a name", "<?xml version=\"1.0\" encoding=?><plist><true/></plist>");
    row("control character between elements", "<plist>\x01<true/></plist>");
    row("namespace prefix", "<plist xmlns:a=\"b\"><a:true/></plist>");
}

void CFPropertyListTest::refused() {
    QFETCH(QByteArray, xml);
    QString problem;
    QVERIFY(!readList(xml, &problem));
    QVERIFY(!problem.isEmpty() && problem != QStringLiteral("another error"));
    // Nobody has to ask for the error, and the format stays as it was.
    const auto data = own(CFDataCreateWithQByteArray(xml));
    CFPropertyListFormat format = 7;
    QVERIFY(CFPropertyListCreateWithData(nullptr, data.get(), 0, &format, nullptr) == nullptr);
    QCOMPARE(format, 7);
    QVERIFY(CFPropertyListCreateWithData(nullptr, nullptr, 0, nullptr, nullptr) == nullptr);
}

void CFPropertyListTest::everyTruncationIsRefused() {
    const QByteArray xml(
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a&amp;</key><array><integer>1"
        "</integer><data>YQ==</data><date>2001-01-01T00:00:00Z</date></array></dict></plist>");
    QVERIFY(readList(xml));
    for (qsizetype length = 0; length < xml.size(); ++length) {
        QVERIFY2(!readList(xml.first(length)), xml.first(length).constData());
    }
}

void CFPropertyListTest::duplicateKeys() {
    const auto list =
        readList("<dict><key>a</key><integer>1</integer><key>a</key><integer>2</integer></dict>");
    QCOMPARE(shown(list.get()), QStringLiteral("{'a':2}"));
}

void CFPropertyListTest::encodings_data() {
    QTest::addColumn<QByteArray>("xml");
    const QString body = QStringLiteral("<plist><string>\u00E9</string></plist>");
    QTest::newRow("UTF-8") << "<?xml version=\"1.0\" encoding=\"utf-8\"?>" + body.toUtf8();
    QTest::newRow("Latin 1") << "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + body.toLatin1();
    const QString utf16 = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-16\"?>") + body;
    QTest::newRow("UTF-16, least byte first")
        << QByteArray(QStringEncoder(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom)(utf16));
    QTest::newRow("UTF-16, most byte first")
        << QByteArray(QStringEncoder(QStringConverter::Utf16BE, QStringConverter::Flag::WriteBom)(utf16));
}

void CFPropertyListTest::encodings() {
    QFETCH(QByteArray, xml);
    QString problem;
    const auto list = readList(xml, &problem);
    QVERIFY2(list, qPrintable(problem));
    QCOMPARE(shown(list.get()), QStringLiteral("'\u00E9'"));
}

void CFPropertyListTest::sizeLimit() {
    const QByteArray xml("<plist><true/></plist>");
    for (const CFIndex size :
         {kCFPropertyListByteLimit - 1, kCFPropertyListByteLimit, kCFPropertyListByteLimit + 1}) {
        const QByteArray padded = xml + QByteArray(size - xml.size(), '\n');
        QCOMPARE(static_cast<bool>(readList(padded)), size <= kCFPropertyListByteLimit);
    }
}

void CFPropertyListTest::depthLimit_data() {
    QTest::addColumn<QByteArray>("opening");
    QTest::addColumn<QByteArray>("closing");
    QTest::newRow("arrays") << QByteArray("<array>") << QByteArray("</array>");
    QTest::newRow("dictionaries") << QByteArray("<dict><key>a</key>") << QByteArray("</dict>");
}

void CFPropertyListTest::depthLimit() {
    QFETCH(QByteArray, opening);
    QFETCH(QByteArray, closing);
    for (const CFIndex depth : {kCFPropertyListDepthLimit - 1, kCFPropertyListDepthLimit,
                                kCFPropertyListDepthLimit + 1, CFIndex{100000}}) {
        const QByteArray xml =
            "<plist>" + opening.repeated(depth) + "<true/>" + closing.repeated(depth) + "</plist>";
        QCOMPARE(static_cast<bool>(readList(xml)), depth <= kCFPropertyListDepthLimit);
    }
}

void CFPropertyListTest::mutability() {
    const QByteArray xml("<dict><key>a</key><array><string>s</string><data>YQ==</data></array></dict>");
    const auto containers = readList(xml, nullptr, kCFPropertyListMutableContainers);
    const auto dictionary = static_cast<CFMutableDictionaryRef>(const_cast<void*>(containers.get()));
    CFDictionarySetValue(dictionary, CFSTR("b"), kCFBooleanTrue);
    QCOMPARE(CFDictionaryGetCount(dictionary), 2);
    const auto leaves = readList(xml, nullptr, kCFPropertyListMutableContainersAndLeaves);
    const auto array = static_cast<CFMutableArrayRef>(
        const_cast<void*>(CFDictionaryGetValue(static_cast<CFDictionaryRef>(leaves.get()), CFSTR("a"))));
    CFArrayAppendValue(array, kCFBooleanTrue);
    const auto text = static_cast<CFMutableStringRef>(const_cast<void*>(CFArrayGetValueAtIndex(array, 0)));
    CFStringNormalize(text, kCFStringNormalizationFormC);
    const auto data = static_cast<CFMutableDataRef>(const_cast<void*>(CFArrayGetValueAtIndex(array, 1)));
    const UInt8 byte = 'b';
    CFDataAppendBytes(data, &byte, 1);
    QCOMPARE(shown(leaves.get()), QStringLiteral("{'a':['s',b6162,True]}"));
}

void CFPropertyListTest::ownership() {
    CFPropertyListFormat format = 0;
    const auto data = own(CFDataCreateWithQByteArray("<array><string>abc</string></array>"));
    const auto list = own(CFPropertyListCreateWithData(nullptr, data.get(), 0, &format, nullptr));
    QCOMPARE(format, kCFPropertyListXMLFormat_v1_0);
    QCOMPARE(CFGetRetainCount(list.get()), 1);
    QCOMPARE(CFGetRetainCount(CFArrayGetValueAtIndex(static_cast<CFArrayRef>(list.get()), 0)), 1);
}

namespace {

/// Random trees: a value of any type, with containers up to a depth.
Owned<CFTypeRef> randomValue(QRandomGenerator& random, int depth) { // NOLINT(misc-no-recursion)
    switch (random.bounded(depth > 0 ? 8 : 6)) {
    case 0: {
        QString text;
        for (int i = random.bounded(12); i > 0; --i) {
            constexpr char16_t kUnits[] = u"a&<>\"'\r\n\t\u0001\u00E9\u0301\uFFFE ]";
            text += QChar(kUnits[random.bounded(15)]);
        }
        return Owned<CFTypeRef>(CFStringCreateWithQString(text));
    }
    case 1: {
        QByteArray bytes(random.bounded(100), '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random.bounded(256));
        }
        return Owned<CFTypeRef>(CFDataCreateWithQByteArray(bytes));
    }
    case 2: {
        const auto integer = static_cast<SInt64>(random.generate64() >> random.bounded(64));
        return Owned<CFTypeRef>(CFNumberCreate(nullptr, kCFNumberSInt64Type, &integer));
    }
    case 3: {
        // -0.0 is written like 0.0, and is another number.
        const double real = std::ldexp(random.generateDouble() + 0.5, random.bounded(2000) - 1000);
        return Owned<CFTypeRef>(CFNumberCreate(nullptr, kCFNumberDoubleType, &real));
    }
    case 4:
        return Owned<CFTypeRef>(CFDateCreate(nullptr, static_cast<double>(random.generate64() >> 24) - 5e11));
    case 5:
        return Owned<CFTypeRef>(random.bounded(2) == 0 ? kCFBooleanTrue : kCFBooleanFalse);
    case 6: {
        const CFMutableArrayRef array = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
        for (int i = random.bounded(5); i > 0; --i) {
            CFArrayAppendValue(array, randomValue(random, depth - 1).get());
        }
        return Owned<CFTypeRef>(array);
    }
    default: {
        auto dictionary = makeDictionary();
        for (int i = random.bounded(5); i > 0; --i) {
            setValue(dictionary, QString::number(random.bounded(100)), randomValue(random, depth - 1).get());
        }
        return Owned<CFTypeRef>(dictionary.release());
    }
    }
}

} // namespace

void CFPropertyListTest::whatIsWrittenReadsBack() {
    QRandomGenerator random(20240501);
    for (int i = 0; i < 2000; ++i) {
        const auto value = randomValue(random, 5);
        const QByteArray xml = writeList(value.get());
        QString problem;
        const auto back = readList(xml, &problem);
        QVERIFY2(back, qPrintable(problem + QString::fromUtf8(xml)));
        QVERIFY2(CFEqual(back.get(), value.get()), xml.constData());
        QCOMPARE(writeList(back.get()), xml);
    }
}

VKTEST_MAIN(CFPropertyListTest)
#include "CFPropertyListTest.moc"
