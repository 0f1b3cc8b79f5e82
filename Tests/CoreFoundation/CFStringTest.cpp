// Text: encodings, units, order, normalization, constants, sharing with QString.
#include "CFTestSupport.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

using namespace CFTest;

namespace {

Owned<CFStringRef> fromBytes(const QByteArray& bytes, CFStringEncoding encoding, bool external = false) {
    return own(CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(bytes.constData()),
                                       bytes.size(), encoding, Boolean(external)));
}

QString normalized(const QString& text, CFStringNormalizationForm form) {
    const auto string = own(CFStringCreateMutableCopy(nullptr, 0, makeString(text).get()));
    CFStringNormalize(string.get(), form);
    return CFStringCopyQString(string.get());
}

// "0041 030A" as text.
QString fromCodePoints(const QString& listed) {
    QString text;
    for (const QString& number : listed.split(u' ', Qt::SkipEmptyParts)) {
        text += QChar::fromUcs4(number.toUInt(nullptr, 16));
    }
    return text;
}

bool hasUnknownCharacter(const QString& text) {
    const QList<uint> characters = text.toUcs4();
    return std::any_of(characters.begin(), characters.end(),
                       [](uint ucs4) { return QChar::category(ucs4) == QChar::Other_NotAssigned; });
}

} // namespace

class CFStringTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void decodes_data();
    void decodes();
    void invalidArguments();
    void utf16Bytes_data();
    void utf16Bytes();
    void unitsAreKept_data();
    void unitsAreKept();
    void partsOfUnits();
    void writesCStrings_data();
    void writesCStrings();
    void cStringIntoNoRoom();
    void maximumSizes_data();
    void maximumSizes();
    void compares_data();
    void compares();
    void compareIsAnOrder();
    void readsIntegers_data();
    void readsIntegers();
    void normalizes_data();
    void normalizes();
    void consortiumsNormalizationTests();
    void consortiumsCaseFoldings();
    void copies();
    void constants();
    void sharesWithQString();
};

void CFStringTest::decodes_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("encoding");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QString>("text");
    const auto row = [](const char* name, const char* bytes, CFStringEncoding encoding,
                        const char16_t* text) {
        QTest::newRow(name) << QByteArray(bytes) << int(encoding) << (text != nullptr)
                            << (text != nullptr ? QStringView(text).toString() : QString());
    };
    row("ASCII as UTF-8", "abc", kCFStringEncodingUTF8, u"abc");
    row("empty", "", kCFStringEncodingUTF8, u"");
    row("two, three and four bytes", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", kCFStringEncodingUTF8,
        u"\u00E9\u20AC\U0001F600");
    row("a leading byte order mark goes",
        "\xEF\xBB\xBF"
        "a",
        kCFStringEncodingUTF8, u"a");
    row("only the first mark goes", "\xEF\xBB\xBF\xEF\xBB\xBF", kCFStringEncodingUTF8, u"\uFEFF");
    row("a mark in the middle stays", "a\xEF\xBB\xBF", kCFStringEncodingUTF8, u"a\uFEFF");
    row("U+FFFF", "\xEF\xBF\xBF", kCFStringEncodingUTF8, u"\xFFFF");
    row("byte FF", "a\xFF", kCFStringEncodingUTF8, nullptr);
    row("two bytes cut", "a\xC3", kCFStringEncodingUTF8, nullptr);
    row("three bytes cut", "\xE2\x82", kCFStringEncodingUTF8, nullptr);
    row("overlong", "\xC0\xAF", kCFStringEncodingUTF8, nullptr);
    row("surrogate", "\xED\xA0\x80", kCFStringEncodingUTF8, nullptr);
    row("above U+10FFFF", "\xF4\x90\x80\x80", kCFStringEncodingUTF8, nullptr);
    row("five bytes", "\xF8\x88\x80\x80\x80", kCFStringEncodingUTF8, nullptr);
    row("lone continuation", "\x80", kCFStringEncodingUTF8, nullptr);
    row("ASCII", "abc", kCFStringEncodingASCII, u"abc");
    row("Latin-1", "\xE9", kCFStringEncodingISOLatin1, u"\u00E9");
    row("unknown encoding", "abc", 0x7777, nullptr);
}

void CFStringTest::decodes() {
    QFETCH(QByteArray, bytes);
    QFETCH(int, encoding);
    QFETCH(bool, valid);
    QFETCH(QString, text);
    const auto fromC = own(CFStringCreateWithCString(nullptr, bytes.constData(), CFStringEncoding(encoding)));
    QCOMPARE(fromC != nullptr, valid);
    for (const bool external : {false, true}) {
        const auto string = fromBytes(bytes, CFStringEncoding(encoding), external);
        QCOMPARE(string != nullptr, valid);
        if (valid) {
            QCOMPARE(CFStringCopyQString(string.get()), text);
            QVERIFY(CFEqual(string.get(), fromC.get()));
        }
    }
}

void CFStringTest::invalidArguments() {
    const UniChar unit = u'a';
    const UInt8 byte = 'a';
    QVERIFY(CFStringCreateWithCharacters(nullptr, &unit, -1) == nullptr);
    QVERIFY(CFStringCreateWithBytes(nullptr, &byte, -1, kCFStringEncodingUTF8, 0) == nullptr);
    QVERIFY(CFStringCreateWithCString(nullptr, "a", kCFStringEncodingUTF16) == nullptr);
    QCOMPARE(
        CFStringGetLength(own(CFStringCreateWithBytes(nullptr, nullptr, 0, kCFStringEncodingUTF8, 0)).get()),
        0L);
    QCOMPARE(CFStringGetLength(own(CFStringCreateWithCharacters(nullptr, nullptr, 0)).get()), 0L);
}

void CFStringTest::utf16Bytes_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("encoding");
    QTest::addColumn<bool>("external");
    QTest::addColumn<QString>("text");
    const int any = kCFStringEncodingUTF16;
    const char16_t hostUnits[] = {0xFEFF, u'a'};
    const QByteArray host(reinterpret_cast<const char*>(hostUnits), 4);
    QTest::newRow("host order, mark kept") << host << any << false << QStringLiteral("\uFEFFa");
    QTest::newRow("little mark obeyed") << QByteArray("\xFF\xFE"
                                                      "a\0",
                                                      4)
                                        << any << true << QStringLiteral("a");
    QTest::newRow("big mark obeyed") << QByteArray("\xFE\xFF\0a", 4) << any << true << QStringLiteral("a");
    QTest::newRow("without a mark big-endian") << QByteArray("\0a", 2) << any << true << QStringLiteral("a");
    QTest::newRow("odd last byte") << QByteArray("\0a\0", 3) << any << true << QStringLiteral("a");
    QTest::newRow("one byte") << QByteArray("a") << any << true << QStringLiteral("");
    QTest::newRow("named big-endian")
        << QByteArray("\0a", 2) << int(kCFStringEncodingUTF16BE) << false << QStringLiteral("a");
    QTest::newRow("named little-endian")
        << QByteArray("a\0", 2) << int(kCFStringEncodingUTF16LE) << true << QStringLiteral("a");
    QTest::newRow("empty") << QByteArray("") << any << true << QStringLiteral("");
}

void CFStringTest::utf16Bytes() {
    QFETCH(QByteArray, bytes);
    QFETCH(int, encoding);
    QFETCH(bool, external);
    QFETCH(QString, text);
    const auto string = fromBytes(bytes, CFStringEncoding(encoding), external);
    QVERIFY(string != nullptr);
    QCOMPARE(CFStringCopyQString(string.get()), text);
}

void CFStringTest::unitsAreKept_data() {
    QTest::addColumn<QString>("spelled");
    QTest::addColumn<qsizetype>("length");
    QTest::newRow("empty") << "" << qsizetype(0);
    QTest::newRow("outside the basic plane") << "<D83D><DE00>" << qsizetype(2);
    QTest::newRow("unpaired surrogate") << "A<D800>B" << qsizetype(3);
    QTest::newRow("NUL") << "a<0000>b" << qsizetype(3);
    QTest::newRow("byte order mark") << "<FEFF>a" << qsizetype(2);
}

void CFStringTest::unitsAreKept() {
    QFETCH(QString, spelled);
    QFETCH(qsizetype, length);
    const QString text = units(spelled);
    std::vector<UniChar> characters;
    for (const QChar unit : text) {
        characters.push_back(unit.unicode());
    }
    const auto string =
        own(CFStringCreateWithCharacters(nullptr, characters.data(), CFIndex(characters.size())));
    QCOMPARE(CFStringGetLength(string.get()), CFIndex(length));
    QCOMPARE(CFStringCopyQString(string.get()), text);
    QVERIFY(CFEqual(string.get(), makeString(text).get()));
    std::vector<UniChar> read(characters.size());
    CFStringGetCharacters(string.get(), CFRangeMake(0, length), read.data());
    QVERIFY(read == characters);
    for (CFIndex i = 0; i < length; ++i) {
        QCOMPARE(CFStringGetCharacterAtIndex(string.get(), i), characters[std::size_t(i)]);
    }
}

void CFStringTest::partsOfUnits() {
    UniChar read[4] = {9, 9, 9, 9};
    CFStringGetCharacters(CFSTR("abc"), CFRangeMake(1, 2), read);
    QCOMPARE(read[0], UniChar(u'b'));
    QCOMPARE(read[1], UniChar(u'c'));
    QCOMPARE(read[2], UniChar(9));
    CFStringGetCharacters(CFSTR("abc"), CFRangeMake(3, 0), read);
    QCOMPARE(read[0], UniChar(u'b'));
    QCOMPARE(CFStringGetCharacterAtIndex(CFSTR("abc"), 3), UniChar(0));
    QCOMPARE(CFStringGetCharacterAtIndex(CFSTR("abc"), -1), UniChar(0));
}

void CFStringTest::writesCStrings_data() {
    QTest::addColumn<QString>("spelled");
    QTest::addColumn<int>("encoding");
    QTest::addColumn<bool>("possible");
    QTest::addColumn<QByteArray>("bytes");
    const int utf8 = kCFStringEncodingUTF8;
    QTest::newRow("ASCII text") << "abc" << utf8 << true << QByteArray("abc");
    QTest::newRow("empty") << "" << utf8 << true << QByteArray("");
    QTest::newRow("two bytes") << "<00E9>" << utf8 << true << QByteArray("\xC3\xA9");
    QTest::newRow("NUL is copied through") << "a<0000>b" << utf8 << true << QByteArray("a\0b", 3);
    QTest::newRow("byte order mark stays") << "<FEFF>" << utf8 << true << QByteArray("\xEF\xBB\xBF");
    QTest::newRow("unpaired surrogate") << "A<D800>" << utf8 << false << QByteArray();
    QTest::newRow("not ASCII") << "a<00E9>" << int(kCFStringEncodingASCII) << false << QByteArray();
    QTest::newRow("Latin-1") << "a<00E9>" << int(kCFStringEncodingISOLatin1) << true << QByteArray("a\xE9");
    QTest::newRow("not Latin-1") << "<0100>" << int(kCFStringEncodingISOLatin1) << false << QByteArray();
    QTest::newRow("unknown encoding") << "a" << 0x7777 << false << QByteArray();
}

void CFStringTest::writesCStrings() {
    QFETCH(QString, spelled);
    QFETCH(int, encoding);
    QFETCH(bool, possible);
    QFETCH(QByteArray, bytes);
    const auto string = makeString(units(spelled));
    // Every size up to two more than needed; the byte behind the size is never written.
    for (CFIndex size = 1; size <= bytes.size() + 2; ++size) {
        QByteArray buffer(size + 1, 'x');
        const bool fits = possible && size > bytes.size();
        QCOMPARE(bool(CFStringGetCString(string.get(), buffer.data(), size, CFStringEncoding(encoding))),
                 fits);
        QCOMPARE(buffer.back(), 'x');
        if (fits) {
            QCOMPARE(buffer.first(bytes.size()), bytes);
            QCOMPARE(buffer[bytes.size()], '\0');
        } else {
            QCOMPARE(buffer[0], '\0');
        }
    }
}

void CFStringTest::cStringIntoNoRoom() {
    char buffer[] = "x";
    QVERIFY(!CFStringGetCString(CFSTR(""), buffer, 0, kCFStringEncodingUTF8));
    QVERIFY(!CFStringGetCString(CFSTR("a"), buffer, -1, kCFStringEncodingUTF8));
    QVERIFY(!CFStringGetCString(CFSTR("a"), nullptr, 0, kCFStringEncodingUTF8));
    QCOMPARE(buffer[0], 'x');
}

void CFStringTest::maximumSizes_data() {
    QTest::addColumn<qint64>("length");
    QTest::addColumn<int>("encoding");
    QTest::addColumn<qint64>("size");
    constexpr qint64 kMost = std::numeric_limits<qint64>::max();
    QTest::newRow("UTF-8") << qint64(10) << int(kCFStringEncodingUTF8) << qint64(30);
    QTest::newRow("ASCII") << qint64(10) << int(kCFStringEncodingASCII) << qint64(10);
    QTest::newRow("UTF-16") << qint64(10) << int(kCFStringEncodingUTF16) << qint64(20);
    QTest::newRow("nothing") << qint64(0) << int(kCFStringEncodingUTF8) << qint64(0);
    QTest::newRow("overflow") << kMost << int(kCFStringEncodingUTF8) << qint64(-1);
    QTest::newRow("largest") << kMost / 3 << int(kCFStringEncodingUTF8) << (kMost / 3) * 3;
    QTest::newRow("one too many") << kMost / 3 + 1 << int(kCFStringEncodingUTF8) << qint64(-1);
    QTest::newRow("negative") << qint64(-1) << int(kCFStringEncodingUTF8) << qint64(-1);
    QTest::newRow("unknown encoding") << qint64(1) << 0x7777 << qint64(-1);
}

void CFStringTest::maximumSizes() {
    QFETCH(qint64, length);
    QFETCH(int, encoding);
    QFETCH(qint64, size);
    QCOMPARE(qint64(CFStringGetMaximumSizeForEncoding(CFIndex(length), CFStringEncoding(encoding))), size);
}

void CFStringTest::compares_data() {
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::addColumn<int>("options");
    QTest::addColumn<int>("order");
    const auto row = [](const char* name, const char* first, const char* second, CFOptionFlags options,
                        int order) {
        QTest::newRow(name) << QString::fromUtf8(first) << QString::fromUtf8(second) << int(options) << order;
    };
    constexpr CFOptionFlags kCase = kCFCompareCaseInsensitive;
    constexpr CFOptionFlags kCanonical = kCFCompareNonliteral;
    constexpr CFOptionFlags kNumbers = kCFCompareNumerically;
    row("a and b", "a", "b", 0, -1);
    row("upper case first", "B", "a", 0, -1);
    row("prefix first", "a", "ab", 0, -1);
    row("empty first", "", "a", 0, -1);
    row("digits are units", "a10", "a9", 0, -1);
    row("NULs are units", "a<0000>b", "a<0000>c", 0, -1);
    row("a NUL is longer", "a", "a<0000>", 0, -1);
    row("accent after f", "<00E9>", "f", 0, 1);
    row("composed after decomposed", "<00E9>", "e<0301>", 0, 1);
    row("surrogates below halfwidth", "<D83D><DE00>", "<FF61>", 0, -1);
    row("surrogates below private use", "<D83D><DE00>", "<E000>", 0, -1);
    row("unpaired surrogates by unit", "<D800>", "<DC00>", 0, -1);
    row("ss before sharp s", "ss", "<00DF>", 0, -1);
    row("same", "same", "same", 0, 0);
    row("canonically equal", "<00E9>", "e<0301>", kCanonical, 0);
    row("Angstrom sign", "<212B>", "<00C5>", kCanonical, 0);
    row("accent before f", "<00E9>", "f", kCanonical, -1);
    row("code point order", "<D83D><DE00>", "<E000>", kCanonical, 1);
    row("case is kept by canonical", "A", "a", kCanonical, -1);
    row("case", "ABC", "abc", kCase, 0);
    row("case but not canonical", "<00E9>", "e<0301>", kCase, 1);
    row("sharp s", "<00DF>", "ss", kCase, 0);
    row("capital sharp s", "<1E9E>", "ss", kCase, 0);
    row("dotted capital i", "<0130>", "i<0307>", kCase, 0);
    row("dotless i is none", "<0131>", "i", kCase, 1);
    row("fi ligature", "<FB01>", "fi", kCase, 0);
    row("Angstrom sign by folding", "<212B>", "<00C5>", kCase, 0);
    row("both", "<00C9>", "e<0301>", kCase | kCanonical, 0);
    row("numbers", "a10", "a9", kNumbers, 1);
    row("leading zeros", "a010", "a10", kNumbers, 0);
    row("zero and none", "a0", "a", kNumbers, 1);
    row("all zeros", "a000b", "a0b", kNumbers, 0);
    row("behind numbers", "a10b", "a010c", kNumbers, -1);
    row("numbers longer than any integer", "99999999999999999999999", "100000000000000000000000", kNumbers,
        -1);
    row("number against letter", "a1", "ab", kNumbers, -1);
    row("numbers and case", "IMG_10", "img_9", kNumbers | kCase, 1);
}

void CFStringTest::compares() {
    QFETCH(QString, first);
    QFETCH(QString, second);
    QFETCH(int, options);
    QFETCH(int, order);
    const auto a = makeString(units(first));
    const auto b = makeString(units(second));
    QCOMPARE(CFStringCompare(a.get(), b.get(), CFOptionFlags(options)), CFComparisonResult(order));
    QCOMPARE(CFStringCompare(b.get(), a.get(), CFOptionFlags(options)), CFComparisonResult(-order));
    QCOMPARE(CFStringCompare(a.get(), a.get(), CFOptionFlags(options)), kCFCompareEqualTo);
    if (options == 0) {
        QCOMPARE(bool(CFEqual(a.get(), b.get())), order == 0);
    }
}

// Transitive over all the texts of the rows, under every option.
void CFStringTest::compareIsAnOrder() {
    std::vector<Owned<CFStringRef>> strings;
    for (const char* text :
         {"",       "a",      "A",      "b",      "a0",     "a00",     "a9",     "a10",
          "a010",   "a1b",    "ss",     "<00DF>", "<00E9>", "e<0301>", "<00C9>", "<D83D><DE00>",
          "<E000>", "<FF61>", "<D800>", "<DC00>", "9",      "10"}) {
        strings.push_back(makeString(units(QString::fromLatin1(text))));
    }
    for (const CFOptionFlags options : {0UL, 1UL, 16UL, 17UL, 64UL, 65UL, 80UL, 81UL}) {
        for (const auto& a : strings) {
            for (const auto& b : strings) {
                const CFComparisonResult ab = CFStringCompare(a.get(), b.get(), options);
                for (const auto& c : strings) {
                    if (ab <= 0 && CFStringCompare(b.get(), c.get(), options) <= 0) {
                        QVERIFY(CFStringCompare(a.get(), c.get(), options) <= 0);
                    }
                }
            }
        }
    }
}

void CFStringTest::readsIntegers_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("value");
    QTest::newRow("plain") << "123" << 123;
    QTest::newRow("stops at junk") << "12abc" << 12;
    QTest::newRow("white space first") << " \t\n7" << 7;
    QTest::newRow("negative") << "-7" << -7;
    QTest::newRow("plus") << "+7" << 7;
    QTest::newRow("too large") << "99999999999" << std::numeric_limits<int>::max();
    QTest::newRow("too small") << "-99999999999" << std::numeric_limits<int>::min();
    QTest::newRow("smallest") << "-2147483648" << std::numeric_limits<int>::min();
    QTest::newRow("longer than any integer") << QString(1000, u'9') << std::numeric_limits<int>::max();
    QTest::newRow("hexadecimal is not read") << "0x10" << 0;
    QTest::newRow("fraction") << "1.9" << 1;
    QTest::newRow("empty") << "" << 0;
    QTest::newRow("sign alone") << "-" << 0;
    QTest::newRow("no digits") << "abc" << 0;
}

void CFStringTest::readsIntegers() {
    QFETCH(QString, text);
    QFETCH(int, value);
    QCOMPARE(CFStringGetIntValue(makeString(text).get()), SInt32(value));
}

void CFStringTest::normalizes_data() {
    QTest::addColumn<QString>("spelled");
    QTest::addColumn<int>("form");
    QTest::addColumn<QString>("result");
    constexpr int kD = kCFStringNormalizationFormD;
    constexpr int kKD = kCFStringNormalizationFormKD;
    constexpr int kC = kCFStringNormalizationFormC;
    constexpr int kKC = kCFStringNormalizationFormKC;
    QTest::newRow("composes") << "e<0301>" << kC << "<00E9>";
    QTest::newRow("decomposes") << "<00E9>" << kD << "e<0301>";
    QTest::newRow("Angstrom sign, C") << "<212B>" << kC << "<00C5>";
    QTest::newRow("Angstrom sign, D") << "<212B>" << kD << "A<030A>";
    QTest::newRow("ligature, C") << "<FB01>" << kC << "<FB01>";
    QTest::newRow("ligature, KC") << "<FB01>" << kKC << "fi";
    QTest::newRow("ligature, KD") << "<FB01>" << kKD << "fi";
    QTest::newRow("Hangul, C") << "<1100><1161>" << kC << "<AC00>";
    QTest::newRow("Hangul, D") << "<AC00>" << kD << "<1100><1161>";
    QTest::newRow("excluded from composition") << "<0958>" << kC << "<0915><093C>";
    QTest::newRow("excluded, outside the basic plane") << "<D834><DD5E>" << kC << "<D834><DD57><D834><DD65>";
    QTest::newRow("compatibility ideograph") << "<F94F>" << kC << "<7D2F>";
    QTest::newRow("unified ideograph") << "<FA0E>" << kC << "<FA0E>";
    QTest::newRow("marks are ordered") << "q<0307><0323>" << kC << "q<0323><0307>";
    QTest::newRow("singleton mark") << "<0341>" << kC << "<0301>";
    QTest::newRow("blocked and ordered") << "a<0315><0300><05AE><0300>b" << kC << "<00E0><05AE><0300><0315>b";
    QTest::newRow("unpaired surrogate passes") << "<D800>e<0301><DC00>" << kC << "<D800><00E9><DC00>";
    QTest::newRow("NUL passes") << "<0000>e<0301><0000>" << kC << "<0000><00E9><0000>";
    QTest::newRow("empty") << "" << kC << "";
}

void CFStringTest::normalizes() {
    QFETCH(QString, spelled);
    QFETCH(int, form);
    QFETCH(QString, result);
    const QString once = normalized(units(spelled), form);
    QCOMPARE(once, units(result));
    QVERIFY(!once.isNull());
    QCOMPARE(normalized(once, form), once);
}

// Columns of the file: source; NFC; NFD; NFKC; NFKD, with the invariants that its header states. The framework's
// character tables may be a version older than the file: lines with characters that it does not know are counted.
void CFStringTest::consortiumsNormalizationTests() {
    const QString file = QStringLiteral("/usr/share/unicode/NormalizationTest.txt.bz2");
    VKTEST_NEEDS(QFile::exists(file), "the package unicode-data");
    const Shell::Output unpacked = Shell::outputOf("bzip2 -dc " + QFile::encodeName(file));
    QCOMPARE(unpacked.status, 0);
    int checked = 0;
    int tooNew = 0;
    for (const QByteArray& line : unpacked.text.split('\n')) {
        const QStringList columns = QString::fromUtf8(line.left(line.indexOf('#'))).split(u';');
        if (columns.size() < 6) {
            continue;
        }
        QString c[5];
        for (int i = 0; i < 5; ++i) {
            c[i] = fromCodePoints(columns[i]);
        }
        if (hasUnknownCharacter(c[0])) {
            ++tooNew;
            continue;
        }
        for (int i = 0; i < 5; ++i) {
            const bool isCompatible = i >= 3;
            QVERIFY2(normalized(c[i], kCFStringNormalizationFormC) == c[isCompatible ? 3 : 1],
                     line.constData());
            QVERIFY2(normalized(c[i], kCFStringNormalizationFormD) == c[isCompatible ? 4 : 2],
                     line.constData());
            QVERIFY2(normalized(c[i], kCFStringNormalizationFormKC) == c[3], line.constData());
            QVERIFY2(normalized(c[i], kCFStringNormalizationFormKD) == c[4], line.constData());
        }
        ++checked;
    }
    QVERIFY2(checked > 18000, qPrintable(QString::number(checked)));
    QVERIFY2(tooNew < 100, qPrintable(QString::number(tooNew)));
    qInfo("%d lines checked, %d with characters that Qt %s does not know", checked, tooNew, qVersion());
}

// Every full folding (status C and F) of the consortium's table: a character equals what it folds to.
void CFStringTest::consortiumsCaseFoldings() {
    QFile file(QStringLiteral("/usr/share/unicode/CaseFolding.txt"));
    VKTEST_NEEDS(file.open(QIODevice::ReadOnly), "the package unicode-data");
    int checked = 0;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        const QStringList columns = QString::fromUtf8(line.left(line.indexOf('#'))).split(u';');
        if (columns.size() < 3 || (columns[1].trimmed() != u"C" && columns[1].trimmed() != u"F")) {
            continue;
        }
        const QString source = fromCodePoints(columns[0]);
        const auto character = makeString(source);
        const auto folded = makeString(fromCodePoints(columns[2]));
        QVERIFY2(CFStringCompare(character.get(), folded.get(), kCFCompareCaseInsensitive) ==
                     kCFCompareEqualTo,
                 line.constData());
        QVERIFY(CFStringCompare(character.get(), folded.get(), 0) != kCFCompareEqualTo);
        ++checked;
    }
    QVERIFY2(checked > 1400, qPrintable(QString::number(checked)));
}

void CFStringTest::copies() {
    const auto fixed = makeString(QStringLiteral("text"));
    const auto same = own(CFStringCreateCopy(nullptr, fixed.get()));
    QCOMPARE(same.get(), fixed.get());
    QCOMPARE(CFGetRetainCount(fixed.get()), 2L);
    const auto changing =
        own(CFStringCreateMutableCopy(nullptr, 3, makeString(QStringLiteral("caf\u00E9")).get()));
    const auto frozen = own(CFStringCreateCopy(nullptr, changing.get()));
    QVERIFY(frozen.get() != changing.get());
    QVERIFY(CFEqual(frozen.get(), changing.get()));
    QCOMPARE(CFHash(frozen.get()), CFHash(changing.get()));
    CFStringNormalize(changing.get(), kCFStringNormalizationFormD);
    QCOMPARE(CFStringCopyQString(frozen.get()), QStringLiteral("caf\u00E9"));
    QCOMPARE(CFStringCopyQString(changing.get()), QStringLiteral("cafe\u0301"));
}

void CFStringTest::constants() {
    QCOMPARE(CFSTR("one constant"), CFSTR("one constant"));
    QVERIFY(CFSTR("one constant") != CFSTR("another constant"));
    QVERIFY(CFEqual(CFSTR("one constant"), makeString(QStringLiteral("one constant")).get()));
    QCOMPARE(CFStringCopyQString(CFSTR("\u00E9\U0001F600")), QStringLiteral("\u00E9\U0001F600"));
    QCOMPARE(CFStringGetLength(CFSTR("")), 0L);
    QCOMPARE(makeString(QString()).get(), CFSTR(""));
}

void CFStringTest::sharesWithQString() {
    const QString text(1000, u'x');
    const auto string = makeString(text);
    QCOMPARE(static_cast<const void*>(CFStringCopyQString(string.get()).constData()),
             static_cast<const void*>(text.constData()));
    QVERIFY(CFStringCopyQString(nullptr).isNull());
    const QString empty = CFStringCopyQString(makeString(QString()).get());
    QVERIFY(empty.isEmpty() && !empty.isNull());
}

VKTEST_MAIN(CFStringTest)
#include "CFStringTest.moc"
