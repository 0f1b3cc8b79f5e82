// String copies, checksums, identifiers and integers in dictionaries.
#include "VKCoreKit/VKUtils.h"

#include "CoreKitSupport.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSet>

#include <climits>
#include <cstdlib>
#include <memory>

using namespace CoreKit;

namespace {

using String = VKCFRef<CFStringRef>;

struct Free {
    void operator()(UniChar* units) const { std::free(units); }
};

/// The definition, bit by bit: reflected, polynomial 0x04C11DB7.
std::uint32_t crcByDefinition(std::uint32_t seed, const QByteArray& bytes) {
    std::uint32_t crc = ~seed;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~crc;
}

std::uint32_t crcOf(std::uint32_t seed, const QByteArray& bytes) {
    return VKUtilsCRC32Std(seed, bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

VKCFRef<CFMutableDictionaryRef> makeDictionary() {
    return VKCFRef<CFMutableDictionaryRef>::adopt(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

} // namespace

class VKUtilsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void unicharCopies_data();
    void unicharCopies();
    void precomposing_data();
    void precomposing();
    void crcVectors_data();
    void crcVectors();
    void crcLaws();
    void crcOfStrings();
    void identifiers();
    void integersInDictionaries();
    void whatIsNoInteger();
    void listsAsXml();
    void countedObjectsInArrays();
    void contains_data();
    void contains();
    void videoCard();
    void nulls();
};

void VKUtilsTest::unicharCopies_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing") << QString();
    QTest::newRow("ASCII") << QStringLiteral("abc");
    QTest::newRow("decomposed stays so") << QStringLiteral("e\u0301");
    QTest::newRow("above the basic plane") << QStringLiteral("\U0001F600");
    QTest::newRow("embedded NUL") << QStringLiteral("a\0b");
    QTest::newRow("unpaired surrogate") << QString(QChar(0xD800));
    QTest::newRow("leading mark") << QStringLiteral("\uFEFFa");
}

void VKUtilsTest::unicharCopies() {
    QFETCH(QString, text);
    const std::unique_ptr<UniChar, Free> units(VKUtilsGetUniCharStringCopy(makeString(text).get()));
    QVERIFY(units != nullptr);
    for (qsizetype i = 0; i < text.size(); ++i) {
        QCOMPARE(units.get()[i], text.at(i).unicode());
    }
    QCOMPARE(units.get()[text.size()], UniChar{0});
}

void VKUtilsTest::precomposing_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("nothing") << QStringLiteral("") << QStringLiteral("");
    QTest::newRow("decomposed") << QStringLiteral("cafe\u0301") << QStringLiteral("caf\u00E9");
    QTest::newRow("composed") << QStringLiteral("\u00E9") << QStringLiteral("\u00E9");
    QTest::newRow("marks out of order") << QStringLiteral("a\u0302\u0323") << QStringLiteral("\u1EAD");
    QTest::newRow("Hangul in pieces") << QStringLiteral("\u1112\u1161\u11AB") << QStringLiteral("\uD55C");
    QTest::newRow("Kelvin sign") << QStringLiteral("300\u212A") << QStringLiteral("300K");
    QTest::newRow("excluded from composition") << QStringLiteral("\u0958") << QStringLiteral("\u0915\u093C");
    QTest::newRow("a ligature is no canonical matter")
        << QStringLiteral("\uFB01") << QStringLiteral("\uFB01");
    QTest::newRow("embedded NUL") << QStringLiteral("e\u0301\0e\u0301") << QStringLiteral("\u00E9\0\u00E9");
    QTest::newRow("unpaired surrogate") << QString(QChar(0xDC00)) << QString(QChar(0xDC00));
}

void VKUtilsTest::precomposing() {
    QFETCH(QString, text);
    QFETCH(QString, expected);
    const QString once = takeText(VKUtilsCreatePrecomposedStringWithCanonicalMapping(makeString(text).get()));
    QCOMPARE(once, expected);
    QCOMPARE(takeText(VKUtilsCreatePrecomposedStringWithCanonicalMapping(makeString(once).get())), once);
}

void VKUtilsTest::crcVectors_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<quint32>("crc");
    QTest::newRow("nothing") << QByteArray("") << 0U;
    QTest::newRow("the check value") << QByteArray("123456789") << 0xCBF43926U;
    QTest::newRow("one letter") << QByteArray("a") << 0xE8B7BE43U;
    QTest::newRow("abc") << QByteArray("abc") << 0x352441C2U;
    QTest::newRow("one zero") << QByteArray(1, '\0') << 0xD202EF8DU;
    QTest::newRow("32 zeros") << QByteArray(32, '\0') << 0x190A55ADU;
    QTest::newRow("32 ones") << QByteArray(32, '\xFF') << 0xFF6CAB0BU;
    QTest::newRow("a sentence") << QByteArray("The quick brown fox jumps over the lazy dog") << 0x414FA339U;
}

void VKUtilsTest::crcVectors() {
    QFETCH(QByteArray, bytes);
    QFETCH(quint32, crc);
    QCOMPARE(crcOf(0, bytes), crc);
    QCOMPARE(crcByDefinition(0, bytes), crc);
    for (qsizetype cut = 0; cut <= bytes.size(); ++cut) {
        QCOMPARE(crcOf(crcOf(0, bytes.first(cut)), bytes.sliced(cut)), crc);
    }
    if (!bytes.contains('\xFF')) {
        QCOMPARE(VKUtilsCRC32(0, makeString(QString::fromUtf8(bytes)).get()), crc);
    }
}

void VKUtilsTest::crcLaws() {
    QRandomGenerator random(20260101);
    QByteArray bytes;
    for (int size = 0; size < 700; ++size) {
        const std::uint32_t whole = crcOf(0, bytes);
        QCOMPARE(whole, crcByDefinition(0, bytes));
        const qsizetype cut = random.bounded(int(bytes.size()) + 1);
        QCOMPARE(crcOf(crcOf(0, bytes.first(cut)), bytes.sliced(cut)), whole);
        bytes.append(char(random.bounded(256)));
    }
    const QByteArray large(1000003, 'x');
    QCOMPARE(crcOf(0, large), crcByDefinition(0, large));
    // At every alignment.
    for (std::size_t offset = 0; offset < 64; ++offset) {
        QCOMPARE(VKUtilsCRC32Std(7, large.constData() + offset, 100),
                 crcByDefinition(7, large.sliced(qsizetype(offset), 100)));
    }
}

void VKUtilsTest::crcOfStrings() {
    QCOMPARE(VKUtilsCRC32(0, makeString(QStringLiteral("\u00E9")).get()), crcByDefinition(0, "\xC3\xA9"));
    QCOMPARE(VKUtilsCRC32(0, makeString(QStringLiteral("\uFEFFa")).get()), crcByDefinition(0, "\xEF\xBB\xBF"
                                                                                              "a"));
    QCOMPARE(VKUtilsCRC32(0, makeString(QStringLiteral("a\0b")).get()),
             crcByDefinition(0, QByteArray("a\0b", 3)));
    QCOMPARE(VKUtilsCRC32(9, makeString(QStringLiteral("\U0001F600")).get()),
             crcByDefinition(9, "\xF0\x9F\x98\x80"));
    const QString lonely = QString(QStringLiteral("\U0001F600")) + QString(QChar(0xD83D));
    QCOMPARE(VKUtilsCRC32(0, makeString(lonely).get()), crcByDefinition(0, "\xF0\x9F\x98\x80\xEF\xBF\xBD"));
    QCOMPARE(VKUtilsCRC32(0, makeString(QString(QChar(0xDE00))).get()), crcByDefinition(0, "\xEF\xBF\xBD"));
    QCOMPARE(VKUtilsCRC32(5, makeString(QString()).get()), 5U);
}

void VKUtilsTest::identifiers() {
    static const QRegularExpression sForm(
        QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}$"));
    QSet<QString> seen;
    for (int i = 0; i < 1000; ++i) {
        const String identifier = String::adopt(VKUtilsCreateUniqueIDString());
        const QString text = CFStringCopyQString(identifier.get());
        QVERIFY2(sForm.match(text).hasMatch(), qPrintable(text));
        seen.insert(text);
    }
    QCOMPARE(seen.size(), 1000);
}

void VKUtilsTest::integersInDictionaries() {
    const auto dictionary = makeDictionary();
    const String key = makeString(QStringLiteral("file"));
    QCOMPARE(VKUtilsCFDictionaryGetValueInt(dictionary.get(), key.get()), 0);
    for (const int value : {0, 1, -5, INT_MAX, INT_MIN}) {
        VKUtilsCFDictionarySetValueInt(dictionary.get(), key.get(), value);
        QCOMPARE(VKUtilsCFDictionaryGetValueInt(dictionary.get(), key.get()), value);
        QCOMPARE(CFDictionaryGetCount(dictionary.get()), CFIndex{1});
        // The dictionary alone holds the number; a small one that lives for ever is not counted.
        const CFIndex count = CFGetRetainCount(CFDictionaryGetValue(dictionary.get(), key.get()));
        QVERIFY(count == 1 || count == 1152921504606846975);
    }
}

void VKUtilsTest::whatIsNoInteger() {
    const auto dictionary = makeDictionary();
    const String key = makeString(QStringLiteral("file"));
    const auto setNumber = [&](CFNumberType type, const void* value) {
        const auto number = VKCFRef<CFNumberRef>::adopt(CFNumberCreate(kCFAllocatorDefault, type, value));
        CFDictionarySetValue(dictionary.get(), key.get(), number.get());
    };
    CFDictionarySetValue(dictionary.get(), key.get(), key.get());
    QCOMPARE(VKUtilsCFDictionaryGetValueInt(dictionary.get(), key.get()), 0);
    CFDictionarySetValue(dictionary.get(), key.get(), kCFBooleanTrue);
    QCOMPARE(VKUtilsCFDictionaryGetValueInt(dictionary.get(), key.get()), 0);
    // As a property list gives integers: 64 bits wide.
    const SInt64 fits = -7;
    setNumber(kCFNumberSInt64Type, &fits);
    QCOMPARE(VKUtilsCFDictionaryGetValueInt(dictionary.get(), key.get()), -7);
    for (const SInt64 tooLarge : {SInt64{1} << 40, SInt64{INT_MAX} + 1, SInt64{INT_MIN} - 1}) {
        setNumber(kCFNumberSInt64Type, &tooLarge);
        QCOMPARE(VKUtilsCFDictionaryGetValueInt(dictionary.get(), key.get()), 0);
    }
    for (const double real : {2.5, 1e30, qQNaN(), qInf()}) {
        setNumber(kCFNumberDoubleType, &real);
        QCOMPARE(VKUtilsCFDictionaryGetValueInt(dictionary.get(), key.get()), 0);
    }
    const double whole = -2.0;
    setNumber(kCFNumberDoubleType, &whole);
    QCOMPARE(VKUtilsCFDictionaryGetValueInt(dictionary.get(), key.get()), -2);
}

void VKUtilsTest::listsAsXml() {
    const auto dictionary = makeDictionary();
    VKUtilsCFDictionarySetValueInt(dictionary.get(), CFSTR("file"), 1);
    const auto xml = VKCFRef<CFDataRef>::adopt(VKUtilsCreateXMLData(nullptr, dictionary.get()));
    QVERIFY(xml);
    QVERIFY(CFDataCopyQByteArray(xml.get()).endsWith(
        "<plist version=\"1.0\">\n<dict>\n\t<key>file</key>\n\t<integer>1</integer>\n"
        "</dict>\n</plist>\n"));
    QVERIFY(VKUtilsCreateXMLData(nullptr, nullptr) == nullptr);
}

void VKUtilsTest::countedObjectsInArrays() {
    auto* const object = new CBaseCore;
    {
        const auto array = VKCFRef<CFMutableArrayRef>::adopt(
            CFArrayCreateMutable(kCFAllocatorDefault, 0, VKUtilsGetArrayCallbacks()));
        CFArrayAppendValue(array.get(), object);
        CFArrayAppendValue(array.get(), object);
        QCOMPARE(CFArrayGetValueAtIndex(array.get(), 1), static_cast<const void*>(object));
        QCOMPARE(object->AddRef(), 4U);
        QCOMPARE(object->Release(), 3U);
    }
    QCOMPARE(object->Release(), 0U);
}

void VKUtilsTest::contains_data() {
    QTest::addColumn<QString>("string");
    QTest::addColumn<QString>("part");
    QTest::addColumn<bool>("anyCase");
    QTest::addColumn<bool>("exact");
    const auto row = [](const char* name, const char* string, const char* part, bool anyCase, bool exact) {
        QTest::newRow(name) << QString::fromUtf8(string) << QString::fromUtf8(part) << anyCase << exact;
    };
    row("in another case", "NVIDIA Corporation GA104", "nvidia", true, false);
    row("as it stands", "Mesa Intel HD Graphics 3000 (SNB GT2)", "Intel HD Graphics 3000", true, true);
    row("at the end", "by nvidia", "nvidia", true, true);
    row("the whole", "nvidia", "nvidia", true, true);
    row("another number", "Intel HD Graphics 4000", "Intel HD Graphics 3000", false, false);
    row("longer than the string", "nvidi", "nvidia", false, false);
    row("letters that are not ASCII", "ÄRGER", "ärger", true, false);
    row("the empty part", "nvidia", "", true, true);
    row("both empty", "", "", true, true);
    row("in the empty string", "", "nvidia", false, false);
}

void VKUtilsTest::contains() {
    QFETCH(QString, string);
    QFETCH(QString, part);
    const String whole = makeString(string);
    const String piece = makeString(part);
    QTEST(VKUtilsCFStringContains(whole.get(), piece.get(), 0), "anyCase");
    QTEST(VKUtilsCFStringContains(whole.get(), piece.get(), kVKUtilsContainsExact), "exact");
    QCOMPARE(kVKUtilsContainsAnyCase, 0U);
    QVERIFY(!VKUtilsCFStringContains(nullptr, piece.get(), 0));
    QVERIFY(!VKUtilsCFStringContains(whole.get(), nullptr, 0));
    QVERIFY(!VKUtilsCFStringContains(nullptr, nullptr, 0));
}

void VKUtilsTest::videoCard() {
    const auto card = VKCFRef<CFStringRef>::adopt(VKUtilsGetVideoCardCopy());
    const auto fact = VKCFRef<CFStringRef>::adopt(VKMachineGetFactCopy(VKMachineFact::GraphicsCard));
    QCOMPARE(CFStringCopyQString(card.get()), CFStringCopyQString(fact.get()));
    QCOMPARE(card.get() == nullptr, fact.get() == nullptr);
}

void VKUtilsTest::nulls() {
    const String key = makeString(QStringLiteral("key"));
    const auto dictionary = makeDictionary();
    QVERIFY(VKUtilsGetUniCharStringCopy(nullptr) == nullptr);
    QVERIFY(VKUtilsCreatePrecomposedStringWithCanonicalMapping(nullptr) == nullptr);
    QCOMPARE(VKUtilsCRC32(3, nullptr), 3U);
    QCOMPARE(VKUtilsCRC32Std(3, nullptr, 0), 3U);
    QCOMPARE(VKUtilsCRC32Std(3, nullptr, 10), 3U);
    QCOMPARE(VKUtilsCRC32Std(3, "x", 0), 3U);
    VKUtilsCFDictionarySetValueInt(nullptr, key.get(), 1);
    VKUtilsCFDictionarySetValueInt(dictionary.get(), nullptr, 1);
    QCOMPARE(CFDictionaryGetCount(dictionary.get()), CFIndex{0});
    QCOMPARE(VKUtilsCFDictionaryGetValueInt(nullptr, key.get()), 0);
    QCOMPARE(VKUtilsCFDictionaryGetValueInt(dictionary.get(), nullptr), 0);
}

VKTEST_MAIN(VKUtilsTest)
#include "VKUtilsTest.moc"
