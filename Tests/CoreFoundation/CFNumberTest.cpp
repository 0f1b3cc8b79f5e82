// Numbers: what is lost in conversion, equality and order across types, shared small integers; booleans.
#include "CFTestSupport.h"

#include <cmath>
#include <cstring>
#include <limits>

using namespace CFTest;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

Owned<CFNumberRef> integer(SInt64 value) { return own(CFNumberCreate(nullptr, kCFNumberSInt64Type, &value)); }
Owned<CFNumberRef> real(double value) { return own(CFNumberCreate(nullptr, kCFNumberDoubleType, &value)); }
Owned<CFNumberRef> narrowReal(float value) {
    return own(CFNumberCreate(nullptr, kCFNumberFloatType, &value));
}

template <class Integer>
SInt64 readAs(const UInt8* memory) {
    Integer value = 0;
    std::memcpy(&value, memory, sizeof value);
    return SInt64{value};
}

SInt64 readInteger(const UInt8* memory, CFIndex size) {
    switch (size) {
    case 1:
        return readAs<SInt8>(memory);
    case 2:
        return readAs<SInt16>(memory);
    case 4:
        return readAs<SInt32>(memory);
    default:
        return readAs<SInt64>(memory);
    }
}

// The bytes of a variable of the type, as a number tells that is made from one; 100 is none of the shared integers.
CFIndex sizeOf(CFNumberType type) {
    const SInt64 probe = 100;
    return CFNumberGetByteSize(own(CFNumberCreate(nullptr, type, &probe)).get());
}

Owned<CFNumberRef> parse(const QString& text) {
    if (text.endsWith(u'f') && text != u"inf") {
        return narrowReal(text.chopped(1).toFloat());
    }
    bool isInteger = false;
    const SInt64 value = text.toLongLong(&isInteger);
    return isInteger ? integer(value) : real(text.toDouble());
}

} // namespace

class CFNumberTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void toIntegers_data();
    void toIntegers();
    void toReals_data();
    void toReals();
    void typesAreKept_data();
    void typesAreKept();
    void smallIntegersAreShared();
    void ordered();
    void equality_data();
    void equality();
    void lossless();
    void booleans();
};

void CFNumberTest::toIntegers_data() {
    QTest::addColumn<QString>("number");
    QTest::addColumn<int>("type");
    QTest::addColumn<qint64>("written");
    QTest::addColumn<bool>("lossless");
    const auto row = [](const char* name, const char* number, CFNumberType type, qint64 written,
                        bool lossless) {
        QTest::newRow(name) << QString::fromLatin1(number) << int(type) << written << lossless;
    };
    constexpr qint64 kLeast32 = std::numeric_limits<SInt32>::min();
    constexpr qint64 kLeast64 = std::numeric_limits<SInt64>::min();
    row("1.5 is cut", "1.5", kCFNumberSInt32Type, 1, false);
    row("-1.5 is cut towards zero", "-1.5", kCFNumberSInt32Type, -1, false);
    row("1.0 is 1", "1.0", kCFNumberIntType, 1, true);
    row("300 in 8 bits", "300", kCFNumberSInt8Type, 44, false);
    row("70000 in 16 bits", "70000", kCFNumberSInt16Type, 4464, false);
    row("127 in 8 bits", "127", kCFNumberSInt8Type, 127, true);
    row("-128 in 8 bits", "-128", kCFNumberCharType, -128, true);
    row("-129 in 8 bits", "-129", kCFNumberCharType, 127, false);
    row("32767 in 16 bits", "32767", kCFNumberShortType, 32767, true);
    row("2^31 in 32 bits", "2147483648", kCFNumberSInt32Type, kLeast32, false);
    row("2^31-1 in 32 bits", "2147483647", kCFNumberSInt32Type, 2147483647, true);
    row("2^31 as real in 32 bits", "2147483648.0", kCFNumberSInt32Type, kLeast32, false);
    row("-2^31 as real in 32 bits", "-2147483648.0", kCFNumberSInt32Type, kLeast32, true);
    row("1e10 in 32 bits", "1e10", kCFNumberSInt32Type, kLeast32, false);
    row("1e10 in 64 bits", "1e10", kCFNumberSInt64Type, 10000000000, true);
    row("1e19 in 64 bits", "1e19", kCFNumberLongLongType, kLeast64, false);
    row("2^63 in 64 bits", "9223372036854775808.0", kCFNumberLongType, kLeast64, false);
    row("-2^63 in 64 bits", "-9223372036854775808.0", kCFNumberCFIndexType, kLeast64, true);
    row("NaN in 32 bits", "nan", kCFNumberSInt32Type, kLeast32, false);
    row("NaN in 64 bits", "nan", kCFNumberSInt64Type, kLeast64, false);
    row("infinity in 32 bits", "inf", kCFNumberSInt32Type, kLeast32, false);
    row("infinity in 64 bits", "inf", kCFNumberNSIntegerType, kLeast64, false);
    row("largest in 64 bits", "9223372036854775807", kCFNumberSInt64Type, std::numeric_limits<SInt64>::max(),
        true);
}

void CFNumberTest::toIntegers() {
    QFETCH(QString, number);
    QFETCH(int, type);
    QFETCH(qint64, written);
    QFETCH(bool, lossless);
    const auto value = parse(number);
    // Guard bytes around the variable: only its own bytes may be written.
    UInt8 memory[24];
    std::memset(memory, 0xA5, sizeof memory);
    QCOMPARE(bool(CFNumberGetValue(value.get(), type, memory + 8)), lossless);
    const CFIndex size = sizeOf(type);
    const SInt64 got = readInteger(memory + 8, size);
    QCOMPARE(got, written);
    for (CFIndex i = 0; i < 24; ++i) {
        if (i < 8 || i >= 8 + size) {
            QCOMPARE(int(memory[i]), 0xA5);
        }
    }
}

void CFNumberTest::toReals_data() {
    QTest::addColumn<QString>("number");
    QTest::addColumn<bool>("losslessFloat");
    QTest::addColumn<bool>("losslessDouble");
    QTest::newRow("0.1") << "0.1" << false << true;
    QTest::newRow("0.1 in 32 bits") << "0.1f" << true << true;
    QTest::newRow("2^53+1") << "9007199254740993" << false << false;
    QTest::newRow("2^53") << "9007199254740992" << true << true;
    QTest::newRow("16777217") << "16777217" << false << true;
    QTest::newRow("2^63-1") << "9223372036854775807" << false << false;
    QTest::newRow("-2^63") << "-9223372036854775808" << true << true;
    QTest::newRow("infinity") << "inf" << true << true;
    QTest::newRow("NaN") << "nan" << false << true;
    QTest::newRow("beyond 32 bits") << "1e300" << false << true;
    QTest::newRow("-0.0") << "-0.0" << true << true;
}

void CFNumberTest::toReals() {
    QFETCH(QString, number);
    QFETCH(bool, losslessFloat);
    QFETCH(bool, losslessDouble);
    const auto value = parse(number);
    float narrow = 7;
    double wide = 7;
    QCOMPARE(bool(CFNumberGetValue(value.get(), kCFNumberFloat32Type, &narrow)), losslessFloat);
    QCOMPARE(bool(CFNumberGetValue(value.get(), kCFNumberCGFloatType, &wide)), losslessDouble);
    if (number == u"nan") {
        QVERIFY(std::isnan(narrow) && std::isnan(wide));
        return;
    }
    const double expected =
        number.endsWith(u'f') && number != u"inf" ? double(number.chopped(1).toFloat()) : number.toDouble();
    QVERIFY(wide == expected && std::signbit(wide) == std::signbit(expected));
    QVERIFY(narrow == static_cast<float>(expected));
}

void CFNumberTest::typesAreKept_data() {
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("held");
    QTest::addColumn<int>("size");
    QTest::newRow("8 bits") << int(kCFNumberSInt8Type) << 1 << 1;
    QTest::newRow("16 bits") << int(kCFNumberSInt16Type) << 2 << 2;
    QTest::newRow("32 bits") << int(kCFNumberSInt32Type) << 3 << 4;
    QTest::newRow("64 bits") << int(kCFNumberSInt64Type) << 4 << 8;
    QTest::newRow("float 32") << int(kCFNumberFloat32Type) << 5 << 4;
    QTest::newRow("float 64") << int(kCFNumberFloat64Type) << 6 << 8;
    QTest::newRow("char") << int(kCFNumberCharType) << 1 << 1;
    QTest::newRow("short") << int(kCFNumberShortType) << 2 << 2;
    QTest::newRow("int") << int(kCFNumberIntType) << 3 << 4;
    QTest::newRow("long") << int(kCFNumberLongType) << 4 << 8;
    QTest::newRow("long long") << int(kCFNumberLongLongType) << 4 << 8;
    QTest::newRow("float") << int(kCFNumberFloatType) << 5 << 4;
    QTest::newRow("double") << int(kCFNumberDoubleType) << 6 << 8;
    QTest::newRow("CFIndex") << int(kCFNumberCFIndexType) << 4 << 8;
    QTest::newRow("NSInteger") << int(kCFNumberNSIntegerType) << 4 << 8;
    QTest::newRow("CGFloat") << int(kCFNumberCGFloatType) << 6 << 8;
}

void CFNumberTest::typesAreKept() {
    QFETCH(int, type);
    QFETCH(int, held);
    QFETCH(int, size);
    // The bytes 0x42 in a variable of any type: never one of the shared integers.
    UInt8 variable[8];
    std::memset(variable, 0x42, sizeof variable);
    const auto number = own(CFNumberCreate(nullptr, type, variable));
    QCOMPARE(CFNumberGetType(number.get()), CFNumberType(held));
    QCOMPARE(CFNumberGetByteSize(number.get()), CFIndex(size));
    QCOMPARE(bool(CFNumberIsFloatType(number.get())), held >= 5);
    UInt8 read[8] = {};
    QVERIFY(CFNumberGetValue(number.get(), type, read));
    QCOMPARE(std::memcmp(read, variable, std::size_t(size)), 0);
}

void CFNumberTest::smallIntegersAreShared() {
    for (SInt64 value = -3; value <= 14; ++value) {
        const auto wide = integer(value);
        const auto narrow = static_cast<SInt8>(value);
        const auto other = own(CFNumberCreate(nullptr, kCFNumberSInt8Type, &narrow));
        const bool isShared = value >= -1 && value <= 12;
        QCOMPARE(wide.get() == other.get(), isShared);
        QCOMPARE(CFNumberGetType(wide.get()), isShared ? kCFNumberSInt32Type : kCFNumberSInt64Type);
        QCOMPARE(CFNumberGetType(other.get()), isShared ? kCFNumberSInt32Type : kCFNumberSInt8Type);
        QVERIFY(CFEqual(wide.get(), other.get()));
        QCOMPARE(CFHash(wide.get()), CFHash(other.get()));
    }
}

void CFNumberTest::ordered() {
    std::vector<Owned<CFNumberRef>> ascending;
    ascending.push_back(real(kNaN));
    ascending.push_back(real(-kInfinity));
    ascending.push_back(real(-1e19));
    ascending.push_back(integer(std::numeric_limits<SInt64>::min()));
    ascending.push_back(real(-1.5));
    ascending.push_back(integer(-1));
    ascending.push_back(real(-0.5));
    ascending.push_back(real(-0.0));
    ascending.push_back(integer(0));
    ascending.push_back(real(5e-324));
    ascending.push_back(real(0.1));
    ascending.push_back(narrowReal(0.1F));
    ascending.push_back(integer(1));
    ascending.push_back(real(1.5));
    ascending.push_back(integer(2));
    ascending.push_back(real(9007199254740992.0));
    ascending.push_back(integer((SInt64(1) << 53) + 1));
    ascending.push_back(integer(std::numeric_limits<SInt64>::max()));
    ascending.push_back(real(9223372036854775808.0));
    ascending.push_back(real(kInfinity));
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        for (std::size_t j = 0; j < ascending.size(); ++j) {
            const CFComparisonResult expected = CFComparisonResult(i > j) - CFComparisonResult(i < j);
            const CFComparisonResult order = CFNumberCompare(ascending[i].get(), ascending[j].get(), nullptr);
            QVERIFY2(order == expected,
                     qPrintable(QStringLiteral("%1 against %2: %3").arg(i).arg(j).arg(order)));
            QCOMPARE(bool(CFEqual(ascending[i].get(), ascending[j].get())), i == j);
        }
    }
}

void CFNumberTest::equality_data() {
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::addColumn<bool>("equal");
    QTest::newRow("1 and 1.0") << "1"
                               << "1.0" << true;
    QTest::newRow("100 and 100.0 in 32 bits") << "100"
                                              << "100f" << true;
    QTest::newRow("NaN and NaN") << "nan"
                                 << "nan" << true;
    QTest::newRow("0 and 0.0") << "0"
                               << "0.0" << true;
    QTest::newRow("0.0 and -0.0") << "0.0"
                                  << "-0.0" << false;
    QTest::newRow("0 and -0.0") << "0"
                                << "-0.0" << false;
    QTest::newRow("2^53+1 and 2^53") << "9007199254740993"
                                     << "9007199254740992.0" << false;
    QTest::newRow("0.1 in both widths") << "0.1"
                                        << "0.1f" << false;
    QTest::newRow("0.5 in both widths") << "0.5"
                                        << "0.5f" << true;
    QTest::newRow("2^63-1 and 2^63") << "9223372036854775807"
                                     << "9223372036854775808.0" << false;
}

void CFNumberTest::equality() {
    QFETCH(QString, first);
    QFETCH(QString, second);
    QFETCH(bool, equal);
    const auto a = parse(first);
    const auto b = parse(second);
    QCOMPARE(bool(CFEqual(a.get(), b.get())), equal);
    if (equal) {
        QCOMPARE(CFHash(a.get()), CFHash(b.get()));
    }
}

// What a type can hold comes back from it.
void CFNumberTest::lossless() {
    for (int value = -128; value < 128; ++value) {
        const auto narrow = static_cast<SInt8>(value);
        const auto number = own(CFNumberCreate(nullptr, kCFNumberSInt8Type, &narrow));
        for (const CFNumberType type : {kCFNumberSInt16Type, kCFNumberSInt32Type, kCFNumberSInt64Type}) {
            UInt8 memory[8];
            QVERIFY(CFNumberGetValue(number.get(), type, memory));
            QVERIFY(CFEqual(own(CFNumberCreate(nullptr, type, memory)).get(), number.get()));
        }
        float single = 0;
        QVERIFY(CFNumberGetValue(number.get(), kCFNumberFloatType, &single));
        QCOMPARE(single, static_cast<float>(value));
        QVERIFY(CFEqual(narrowReal(single).get(), number.get()));
    }
}

void CFNumberTest::booleans() {
    QVERIFY(CFBooleanGetValue(kCFBooleanTrue));
    QVERIFY(!CFBooleanGetValue(kCFBooleanFalse));
    QVERIFY(!CFBooleanGetValue(nullptr));
    QVERIFY(CFEqual(kCFBooleanTrue, kCFBooleanTrue));
}

VKTEST_MAIN(CFNumberTest)
#include "CFNumberTest.moc"
