// The exact bytes that property lists are written as, and other programs' opinion of them.
#include "PropertyListSupport.h"

#include "Support/DiskSupport.h"

#include <QTemporaryDir>

#include <limits>

using namespace CFTest;

class CFPropertyListFormatTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void aBookmarkDocument();
    void numbers_data();
    void numbers();
    void dates_data();
    void dates();
    void texts_data();
    void texts();
    void emptyContainers();
    void keysAreSortedByUnit();
    void dataLines_data();
    void dataLines();
    void refused();
    void depth();
    void othersReadOurs();
    void weReadTheirs();
};

void CFPropertyListFormatTest::aBookmarkDocument() {
    QByteArray bytes;
    for (char i = 0; i < 100; ++i) {
        bytes += i;
    }
    const auto dictionary = makeDictionary();
    setValue(dictionary, QStringLiteral("name"),
             makeString(QStringLiteral("/Users/a/\u00E9 & <b>.jpg")).get());
    setValue(dictionary, QStringLiteral("data"), own(CFDataCreateWithQByteArray(bytes)).get());
    setValue(dictionary, QStringLiteral("file"), makeInteger(1).get());
    setValue(dictionary, QStringLiteral("refcon"), makeInteger(-5).get());
    setValue(dictionary, QStringLiteral("fileIsRemoved"), makeInteger(0).get());
    QCOMPARE(writeList(dictionary.get()),
             QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                        "<plist version=\"1.0\">\n"
                        "<dict>\n"
                        "\t<key>data</key>\n"
                        "\t<data>\n"
                        "\tAAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEy\n"
                        "\tMzQ1Njc4OTo7PD0+P0BBQkNERUZHSElKS0xNTk9QUVJTVFVWV1hZWltcXV5fYGFiYw==\n"
                        "\t</data>\n"
                        "\t<key>file</key>\n"
                        "\t<integer>1</integer>\n"
                        "\t<key>fileIsRemoved</key>\n"
                        "\t<integer>0</integer>\n"
                        "\t<key>name</key>\n"
                        "\t<string>/Users/a/\xC3\xA9 &amp; &lt;b&gt;.jpg</string>\n"
                        "\t<key>refcon</key>\n"
                        "\t<integer>-5</integer>\n"
                        "</dict>\n"
                        "</plist>\n"));
}

void CFPropertyListFormatTest::numbers_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("one") << 1.0 << QByteArray("1");
    QTest::newRow("a tenth") << 0.1 << QByteArray("0.10000000000000001");
    QTest::newRow("exact") << 1.5 << QByteArray("1.5");
    QTest::newRow("negative") << -2.25 << QByteArray("-2.25");
    QTest::newRow("15 zeros") << 1e15 << QByteArray("1000000000000000");
    QTest::newRow("exponent") << 1e17 << QByteArray("1e+17");
    QTest::newRow("larger") << 1e20 << QByteArray("1e+20");
    QTest::newRow("small") << 1e-7 << QByteArray("9.9999999999999995e-08");
    QTest::newRow("a third") << 1.0 / 3 << QByteArray("0.33333333333333331");
    QTest::newRow("a float") << double(0.1F) << QByteArray("0.10000000149011612");
    QTest::newRow("the least") << 5e-324 << QByteArray("4.9406564584124654e-324");
    QTest::newRow("zero") << 0.0 << QByteArray("0.0");
    QTest::newRow("negative zero") << -0.0 << QByteArray("0.0");
    QTest::newRow("infinity") << std::numeric_limits<double>::infinity() << QByteArray("+infinity");
    QTest::newRow("negative infinity") << -std::numeric_limits<double>::infinity() << QByteArray("-infinity");
    QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << QByteArray("nan");
}

void CFPropertyListFormatTest::numbers() {
    QFETCH(double, value);
    QFETCH(QByteArray, text);
    QCOMPARE(writeBody(makeReal(value).get()), "<real>" + text + "</real>\n");
    const SInt64 least = std::numeric_limits<SInt64>::min();
    QCOMPARE(writeBody(makeInteger(least).get()), QByteArray("<integer>-9223372036854775808</integer>\n"));
    QCOMPARE(writeBody(kCFBooleanTrue) + writeBody(kCFBooleanFalse), QByteArray("<true/>\n<false/>\n"));
}

void CFPropertyListFormatTest::dates_data() {
    QTest::addColumn<double>("seconds");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("the epoch") << 0.0 << QByteArray("2001-01-01T00:00:00Z");
    QTest::newRow("rounded down") << 0.999 << QByteArray("2001-01-01T00:00:00Z");
    QTest::newRow("rounded down before the epoch") << -0.5 << QByteArray("2000-12-31T23:59:59Z");
    QTest::newRow("1970") << -978307200.0 << QByteArray("1970-01-01T00:00:00Z");
    QTest::newRow("a leap day") << -26352000.0 << QByteArray("2000-03-02T00:00:00Z");
    QTest::newRow("the leap day itself") << -26524800.0 << QByteArray("2000-02-29T00:00:00Z");
    QTest::newRow("year 36") << -62000000000.0 << QByteArray("0036-04-19T09:46:40Z");
    QTest::newRow("year 11507") << 300000000000.0 << QByteArray("11507-08-17T05:20:00Z");
    QTest::newRow("year 0") << -63145440000.0 << QByteArray("0000-01-02T00:00:00Z");
    QTest::newRow("before year 0") << -63145612800.0 << QByteArray("-0001-12-31T00:00:00Z");
}

void CFPropertyListFormatTest::dates() {
    QFETCH(double, seconds);
    QFETCH(QByteArray, text);
    const auto date = own(CFDateCreate(nullptr, seconds));
    QCOMPARE(writeBody(date.get()), "<date>" + text + "</date>\n");
    const auto back = readList("<plist><date>" + text + "</date></plist>");
    QVERIFY(back);
    QCOMPARE(CFDateGetAbsoluteTime(static_cast<CFDateRef>(back.get())), std::floor(seconds));
}

void CFPropertyListFormatTest::texts_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("empty") << QString() << QByteArray();
    QTest::newRow("only three characters are escaped")
        << QStringLiteral("a&b<c>d\"e'f") << QByteArray("a&amp;b&lt;c&gt;d\"e'f");
    QTest::newRow("end of a character section") << QStringLiteral("]]>") << QByteArray("]]&gt;");
    QTest::newRow("line ends as they are")
        << QStringLiteral("a\r\nb\nc\rd\te") << QByteArray("a\r\nb\nc\rd\te");
    QTest::newRow("control characters as they are")
        << QStringLiteral("\u0001\u001F\u007F") << QByteArray("\x01\x1F\x7F");
    QTest::newRow("no XML either") << QStringLiteral("\uFFFE\uFFFF")
                                   << QByteArray("\xEF\xBF\xBE\xEF\xBF\xBF");
    QTest::newRow("composed and decomposed stay") << QStringLiteral("\u00E9e\u0301")
                                                  << QByteArray("\xC3\xA9"
                                                                "e\xCC\x81");
    QTest::newRow("outside the basic plane")
        << QStringLiteral("\U0001F600") << QByteArray("\xF0\x9F\x98\x80");
    QTest::newRow("white space at the ends") << QStringLiteral(" \n a \t") << QByteArray(" \n a \t");
    QTest::newRow("looks like a stand-in")
        << QStringLiteral("\uFDD0\uFDEF") << QByteArray("\xEF\xB7\x90\xEF\xB7\xAF");
}

void CFPropertyListFormatTest::texts() {
    QFETCH(QString, text);
    QFETCH(QByteArray, written);
    QCOMPARE(writeBody(makeString(text).get()), "<string>" + written + "</string>\n");
    const auto dictionary = makeDictionary();
    setValue(dictionary, text, makeString(text).get());
    QString problem;
    const auto back = readList(writeList(dictionary.get()), &problem);
    QVERIFY2(back && CFEqual(back.get(), dictionary.get()), qPrintable(problem));
}

void CFPropertyListFormatTest::emptyContainers() {
    QCOMPARE(writeBody(makeDictionary().get()), QByteArray("<dict/>\n"));
    QCOMPARE(writeBody(own(CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks)).get()),
             QByteArray("<array/>\n"));
    QCOMPARE(writeBody(own(CFDataCreate(nullptr, nullptr, 0)).get()), QByteArray("<data>\n</data>\n"));
}

void CFPropertyListFormatTest::keysAreSortedByUnit() {
    const QStringList sorted{QString(),
                             QStringLiteral("10"),
                             QStringLiteral("9"),
                             QStringLiteral("A"),
                             QStringLiteral("B"),
                             QStringLiteral("Z"),
                             QStringLiteral("_"),
                             QStringLiteral("a"),
                             QStringLiteral("a b"),
                             QStringLiteral("a-b"),
                             QStringLiteral("a10"),
                             QStringLiteral("a9"),
                             QStringLiteral("aa"),
                             QStringLiteral("b"),
                             QStringLiteral("e"),
                             QStringLiteral("z"),
                             QStringLiteral("\u00E9"),
                             QStringLiteral("\U0001F600"),
                             QStringLiteral("\uFF21")};
    const auto dictionary = makeDictionary();
    for (auto key = sorted.crbegin(); key != sorted.crend(); ++key) {
        setValue(dictionary, *key, kCFBooleanTrue);
    }
    QByteArray expected("<dict>\n");
    for (const QString& key : sorted) {
        expected += "\t<key>" + key.toUtf8() + "</key>\n\t<true/>\n";
    }
    QCOMPARE(writeBody(dictionary.get()), expected + "</dict>\n");
}

void CFPropertyListFormatTest::dataLines_data() {
    QTest::addColumn<int>("depth");
    QTest::addColumn<int>("perLine");
    QTest::addColumn<int>("tabs");
    for (int depth = 0; depth <= 11; ++depth) {
        QTest::addRow("depth %d", depth) << depth << 76 - 8 * std::min(depth, 8) << std::min(depth, 8);
    }
}

void CFPropertyListFormatTest::dataLines() {
    QFETCH(int, depth);
    QFETCH(int, perLine);
    QFETCH(int, tabs);
    const QByteArray bytes(200, 'x');
    CFTypeRef value = CFDataCreateWithQByteArray(bytes);
    for (int i = 0; i < depth; ++i) {
        const void* const element = value;
        value = CFArrayCreate(nullptr, &element, 1, &kCFTypeArrayCallBacks);
        CFRelease(element);
    }
    const auto list = own(value);
    const QByteArrayList lines = writeBody(list.get()).split('\n');
    QCOMPARE(lines.at(depth), QByteArray(depth, '\t') + "<data>");
    const QByteArray base64 = bytes.toBase64();
    QCOMPARE(lines.at(depth + 1), QByteArray(tabs, '\t') + base64.first(perLine));
    const auto back = readList(writeList(list.get()));
    QVERIFY(back && CFEqual(back.get(), list.get()));
}

void CFPropertyListFormatTest::refused() {
    const auto url = own(CFURLCreateWithString(nullptr, CFSTR("file:///a"), nullptr));
    const auto badKey = makeDictionary();
    CFDictionarySetValue(badKey.get(), makeInteger(1).get(), kCFBooleanTrue);
    const auto badValue = makeDictionary();
    setValue(badValue, QStringLiteral("url"), url.get());
    const UniChar lone[] = {'A', 0xD800, 'B'};
    const auto unpaired = own(CFStringCreateWithCharacters(nullptr, lone, 3));
    const auto far = own(CFDateCreate(nullptr, 1e30));
    const auto noDate = own(CFDateCreate(nullptr, std::numeric_limits<double>::quiet_NaN()));
    for (const CFTypeRef value :
         {CFTypeRef(nullptr), CFTypeRef(url.get()), CFTypeRef(badKey.get()), CFTypeRef(badValue.get()),
          CFTypeRef(unpaired.get()), CFTypeRef(far.get()), CFTypeRef(noDate.get())}) {
        CFErrorRef error = nullptr;
        QVERIFY(CFPropertyListCreateData(nullptr, value, kCFPropertyListXMLFormat_v1_0, 0, &error) ==
                nullptr);
        const auto owned = own(error);
        QVERIFY(owned);
        QCOMPARE(CFErrorGetCode(error), kCFPropertyListWriteStreamError);
        QVERIFY(CFEqual(CFErrorGetDomain(error), kCFErrorDomainCocoa));
        QVERIFY(writeList(value).isNull());
    }
    CFErrorRef error = nullptr;
    QVERIFY(CFPropertyListCreateData(nullptr, kCFBooleanTrue, 200, 0, &error) == nullptr);
    QCOMPARE(CFErrorGetCode(own(error).get()), kCFPropertyListWriteStreamError);
}

void CFPropertyListFormatTest::depth() {
    CFTypeRef value = CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks);
    for (CFIndex containers = 1; containers <= kCFPropertyListDepthLimit + 1; ++containers) {
        if (containers >= kCFPropertyListDepthLimit - 1) {
            QCOMPARE(!writeList(value).isNull(), containers <= kCFPropertyListDepthLimit);
        }
        const void* const element = value;
        value = CFArrayCreate(nullptr, &element, 1, &kCFTypeArrayCallBacks);
        CFRelease(element);
    }
    CFRelease(value);
}

namespace {

/// A list with every type, whose texts any XML parser accepts.
Owned<CFMutableDictionaryRef> everyType() {
    auto list = makeDictionary();
    setValue(list, QStringLiteral("text"), makeString(QStringLiteral("\u00E9 <&> \U0001F600")).get());
    setValue(list, QStringLiteral("data"), own(CFDataCreateWithQByteArray(QByteArray(1000, '\xE9'))).get());
    setValue(list, QStringLiteral("integer"), makeInteger(std::numeric_limits<SInt64>::min()).get());
    setValue(list, QStringLiteral("real"), makeReal(0.1).get());
    setValue(list, QStringLiteral("true"), kCFBooleanTrue);
    setValue(list, QStringLiteral("false"), kCFBooleanFalse);
    setValue(list, QStringLiteral("date"), own(CFDateCreate(nullptr, 700000000)).get());
    const void* const elements[] = {kCFBooleanTrue, kCFBooleanFalse};
    setValue(list, QStringLiteral("array"),
             own(CFArrayCreate(nullptr, elements, 2, &kCFTypeArrayCallBacks)).get());
    setValue(list, QStringLiteral("empty"), makeDictionary().get());
    return list;
}

QByteArray bytesOf(const QString& file) {
    QFile opened(file);
    return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray();
}

bool storeBytes(const QString& file, const QByteArray& bytes) {
    QFile opened(file);
    return opened.open(QIODevice::WriteOnly) && opened.write(bytes) == bytes.size();
}

} // namespace

void CFPropertyListFormatTest::othersReadOurs() {
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("ours.plist"));
    QVERIFY(storeBytes(file, writeList(everyType().get())));
    const Shell::Output seen = Shell::outputOf("/usr/bin/python3 -c 'import plistlib, sys\n"
                                               "d = plistlib.load(open(sys.argv[1], \"rb\"))\n"
                                               "for k in sorted(d): print(k, ascii(d[k]))' '" +
                                               file.toUtf8() + "'");
    QCOMPARE(seen.status, 0);
    QCOMPARE(seen.text, "array [True, False]\n"
                        "data b'" +
                            QByteArray("\\xe9").repeated(1000) +
                            "'\n"
                            "date datetime.datetime(2023, 3, 8, 20, 26, 40)\n"
                            "empty {}\n"
                            "false False\n"
                            "integer -9223372036854775808\n"
                            "real 0.1\n"
                            "text '\\xe9 <&> \\U0001f600'\n"
                            "true True\n");
    const Shell::Output converted = Shell::outputOf(
        "plistutil -i '" + file.toUtf8() + "' -f bin -o '" + file.toUtf8() + ".bin' && plistutil -i '" +
        file.toUtf8() + ".bin' -f xml -o '" + file.toUtf8() + ".xml'");
    QCOMPARE(converted.status, 0);
    // That program's lists hold neither this integer's sign nor fractions of the date in every version: the rest
    // has to come back.
    const auto back = readList(bytesOf(file + QStringLiteral(".xml")));
    QVERIFY(back);
    const auto dictionary = static_cast<CFDictionaryRef>(back.get());
    const auto ours = everyType();
    for (const char* key : {"text", "data", "real", "true", "false", "array", "empty", "date"}) {
        const auto name = makeString(QString::fromLatin1(key));
        const void* const value = CFDictionaryGetValue(dictionary, name.get());
        QVERIFY2(value != nullptr && CFEqual(value, CFDictionaryGetValue(ours.get(), name.get())), key);
    }
}

void CFPropertyListFormatTest::weReadTheirs() {
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("theirs.plist"));
    const Shell::Output made =
        Shell::outputOf("/usr/bin/python3 -c 'import plistlib, sys, datetime\n"
                        "plistlib.dump({\"text\": \"\\u00e9 <&> \\U0001f600\", \"data\": b\"\\xe9\" * 1000, "
                        "\"integer\": -2**63,\n"
                        "  \"real\": 0.1, \"true\": True, \"false\": False, \"date\": "
                        "datetime.datetime(2023, 3, 8, 20, 26, 40),\n"
                        "  \"array\": [True, False], \"empty\": {}}, open(sys.argv[1], \"wb\"))' '" +
                        file.toUtf8() + "'");
    QCOMPARE(made.status, 0);
    QString problem;
    const auto theirs = readList(bytesOf(file), &problem);
    QVERIFY2(theirs, qPrintable(problem));
    QVERIFY(CFEqual(theirs.get(), everyType().get()));
}

VKTEST_MAIN(CFPropertyListFormatTest)
#include "CFPropertyListFormatTest.moc"
