// Counting, types, equality across types, values that live for ever, and the end of programs that misuse a value.
#include "CFTestSupport.h"

#include <atomic>
#include <thread>
#include <vector>

using namespace CFTest;

namespace {

constexpr CFIndex kForever = 1152921504606846975;

CFTypeRef wrongly(CFTypeRef value) { return value; }

} // namespace

class CFBaseTest : public VKTest {
    Q_OBJECT

public:
    static Misuses misuses();

private Q_SLOTS:
    void countsReferences();
    void countsInThreads();
    void lastReleaseInAnyThread();
    void foreverValues_data();
    void foreverValues();
    void typesAreTold();
    void equalityNeedsTheSameType();
    void equalMeansEqualHash();
    void misuseStops_data();
    void misuseStops();
};

void CFBaseTest::countsReferences() {
    const auto string = makeString(QStringLiteral("counted"));
    QCOMPARE(CFGetRetainCount(string.get()), 1L);
    QCOMPARE(CFRetain(string.get()), static_cast<CFTypeRef>(string.get()));
    QCOMPARE(CFGetRetainCount(string.get()), 2L);
    CFRelease(string.get());
    QCOMPARE(CFGetRetainCount(string.get()), 1L);
}

void CFBaseTest::countsInThreads() {
    const auto string = makeString(QStringLiteral("shared between threads"));
    constexpr int kThreads = 4;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    std::atomic<int> misread = 0;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&string, &misread] {
            for (int i = 0; i < 20000; ++i) {
                CFRetain(string.get());
                if (CFStringGetLength(string.get()) != 22 || CFGetRetainCount(string.get()) < 2) {
                    ++misread;
                }
                CFRelease(string.get());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(misread.load(), 0);
    QCOMPARE(CFGetRetainCount(string.get()), 1L);
}

// Each round a value is given up by two threads at once; one of them has to destroy it, after the other is done.
void CFBaseTest::lastReleaseInAnyThread() {
    for (int round = 0; round < 500; ++round) {
        const auto element = makeString(QStringLiteral("element %1").arg(round));
        const void* const values[] = {element.get()};
        const CFArrayRef array = CFArrayCreate(nullptr, values, 1, &kCFTypeArrayCallBacks);
        CFRetain(array);
        QCOMPARE(CFGetRetainCount(element.get()), 2L);
        std::thread other([array] {
            static_cast<void>(CFArrayGetCount(array));
            CFRelease(array);
        });
        static_cast<void>(CFArrayGetCount(array));
        CFRelease(array);
        other.join();
        QCOMPARE(CFGetRetainCount(element.get()), 1L);
    }
}

void CFBaseTest::foreverValues_data() {
    QTest::addColumn<quintptr>("value");
    const int one = 1;
    const auto row = [](const char* name, CFTypeRef value) {
        QTest::newRow(name) << reinterpret_cast<quintptr>(value);
    };
    row("true", kCFBooleanTrue);
    row("false", kCFBooleanFalse);
    row("constant string", CFSTR("constant"));
    row("empty constant string", CFSTR(""));
    row("empty string", CFStringCreateWithCharacters(nullptr, nullptr, 0));
    row("small integer", CFNumberCreate(nullptr, kCFNumberIntType, &one));
    row("malloc allocator", kCFAllocatorMalloc);
    row("null allocator", kCFAllocatorNull);
}

void CFBaseTest::foreverValues() {
    QFETCH(quintptr, value);
    const auto object = reinterpret_cast<CFTypeRef>(value);
    QCOMPARE(CFGetRetainCount(object), kForever);
    for (int i = 0; i < 3; ++i) {
        CFRelease(object);
    }
    CFRetain(object);
    QCOMPARE(CFGetRetainCount(object), kForever);
    QVERIFY(CFEqual(object, object));
}

void CFBaseTest::typesAreTold() {
    const auto data = own(CFDataCreate(nullptr, nullptr, 0));
    const auto array = own(CFArrayCreate(nullptr, nullptr, 0, nullptr));
    const auto dictionary = own(CFDictionaryCreate(nullptr, nullptr, nullptr, 0, nullptr, nullptr));
    const auto url = own(CFURLCreateWithString(nullptr, CFSTR("file:///a"), nullptr));
    const auto uuid = own(CFUUIDCreate(nullptr));
    const auto date = own(CFDateCreate(nullptr, 0));
    const double real = 0.5;
    const auto number = own(CFNumberCreate(nullptr, kCFNumberDoubleType, &real));
    const std::vector<std::pair<CFTypeRef, CFTypeID>> typed = {
        {CFSTR("a"), CFStringGetTypeID()},      {data.get(), CFDataGetTypeID()},
        {array.get(), CFArrayGetTypeID()},      {dictionary.get(), CFDictionaryGetTypeID()},
        {url.get(), CFURLGetTypeID()},          {uuid.get(), CFUUIDGetTypeID()},
        {date.get(), CFDateGetTypeID()},        {number.get(), CFNumberGetTypeID()},
        {kCFBooleanTrue, CFBooleanGetTypeID()},
    };
    for (const auto& [value, type] : typed) {
        QCOMPARE(CFGetTypeID(value), type);
        for (const auto& [otherValue, otherType] : typed) {
            QCOMPARE(type == otherType, value == otherValue);
        }
    }
}

void CFBaseTest::equalityNeedsTheSameType() {
    const auto textData = own(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>("a"), 1));
    const auto url = own(CFURLCreateWithString(nullptr, CFSTR("a"), nullptr));
    const int one = 1;
    const int zero = 0;
    const auto oneNumber = own(CFNumberCreate(nullptr, kCFNumberIntType, &one));
    const auto zeroNumber = own(CFNumberCreate(nullptr, kCFNumberIntType, &zero));
    const auto array = own(CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks));
    const auto dictionary = own(CFDictionaryCreate(
        nullptr, nullptr, nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    QVERIFY(!CFEqual(CFSTR("a"), textData.get()));
    QVERIFY(!CFEqual(CFSTR("a"), url.get()));
    QVERIFY(!CFEqual(oneNumber.get(), kCFBooleanTrue));
    QVERIFY(!CFEqual(zeroNumber.get(), kCFBooleanFalse));
    QVERIFY(!CFEqual(array.get(), dictionary.get()));
    QVERIFY(!CFEqual(kCFBooleanTrue, kCFBooleanFalse));
}

// Over values of every type, among them pairs that are equal without being the same.
void CFBaseTest::equalMeansEqualHash() {
    std::vector<Owned<CFTypeRef>> values;
    const auto add = [&values](CFTypeRef value) { values.emplace_back(value); };
    for (const char16_t* text : {u"", u"a", u"b", u"\u00E9", u"e\u0301"}) {
        add(CFStringCreateWithQString(QString::fromUtf16(text)));
        add(CFStringCreateMutableCopy(nullptr, 0,
                                      own(CFStringCreateWithQString(QString::fromUtf16(text))).get()));
    }
    for (const double real :
         {0.0, -0.0, 1.0, 1.5, 9007199254740992.0, 9.3e18, -9.3e18, qQNaN(), -qQNaN(), qInf()}) {
        add(CFNumberCreate(nullptr, kCFNumberDoubleType, &real));
        const float narrow = static_cast<float>(real);
        add(CFNumberCreate(nullptr, kCFNumberFloatType, &narrow));
        add(CFDateCreate(nullptr, real));
    }
    for (const SInt64 integer : {SInt64(0), SInt64(1), SInt64(13), (SInt64(1) << 53), (SInt64(1) << 53) + 1,
                                 std::numeric_limits<SInt64>::max(), std::numeric_limits<SInt64>::min()}) {
        add(CFNumberCreate(nullptr, kCFNumberSInt64Type, &integer));
        const auto narrow = static_cast<SInt16>(integer);
        add(CFNumberCreate(nullptr, kCFNumberSInt16Type, &narrow));
    }
    const QByteArray longBytes(100, 'x');
    for (const QByteArray& bytes : {QByteArray(), QByteArray("a"), longBytes, QByteArray(longBytes + 'y')}) {
        add(CFDataCreateWithQByteArray(bytes));
        const CFMutableDataRef data = CFDataCreateMutable(nullptr, 0);
        CFDataAppendBytes(data, reinterpret_cast<const UInt8*>(bytes.constData()), bytes.size());
        add(data);
    }
    for (const char16_t* text : {u"file:///a", u"file:///a/", u"FILE:///a", u"a", u"?q"}) {
        const auto string = makeString(QString::fromUtf16(text));
        const auto base = own(CFURLCreateWithString(nullptr, CFSTR("file:///x/y"), nullptr));
        add(CFURLCreateWithString(nullptr, string.get(), nullptr));
        add(CFURLCreateWithString(nullptr, string.get(), base.get()));
    }
    add(CFURLCreateWithFileSystemPath(nullptr, CFSTR("/a"), kCFURLPOSIXPathStyle, 0));
    add(CFUUIDCreateFromString(nullptr, CFSTR("DEADBEEF")));
    add(CFUUIDCreateFromString(nullptr, CFSTR("{deadbeef}")));
    add(kCFBooleanTrue);
    add(kCFBooleanFalse);
    int equalPairs = 0;
    for (const auto& first : values) {
        QVERIFY(CFEqual(first.get(), first.get()));
        for (const auto& second : values) {
            QCOMPARE(CFEqual(first.get(), second.get()), CFEqual(second.get(), first.get()));
            if (CFEqual(first.get(), second.get())) {
                QCOMPARE(CFHash(first.get()), CFHash(second.get()));
                equalPairs += first != second ? 1 : 0;
            }
        }
    }
    QVERIFY2(equalPairs > 30, qPrintable(QString::number(equalPairs)));
}

Misuses CFBaseTest::misuses() {
    static const auto sData = own(CFDataCreate(nullptr, nullptr, 0));
    static const auto sArray = own(CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks));
    static const auto sDictionary = own(CFDictionaryCreate(
        nullptr, nullptr, nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    return {
        {QStringLiteral("release null"), [] { CFRelease(nullptr); }},
        {QStringLiteral("retain null"), [] { CFRetain(nullptr); }},
        {QStringLiteral("count of null"), [] { static_cast<void>(CFGetRetainCount(nullptr)); }},
        {QStringLiteral("equal to null"), [] { static_cast<void>(CFEqual(CFSTR("a"), nullptr)); }},
        {QStringLiteral("null equal to"), [] { static_cast<void>(CFEqual(nullptr, CFSTR("a"))); }},
        {QStringLiteral("hash of null"), [] { static_cast<void>(CFHash(nullptr)); }},
        {QStringLiteral("type of null"), [] { static_cast<void>(CFGetTypeID(nullptr)); }},
        {QStringLiteral("data as string"),
         [] { static_cast<void>(CFStringGetLength(static_cast<CFStringRef>(wrongly(sData.get())))); }},
        {QStringLiteral("string as URL"),
         [] { static_cast<void>(CFURLGetString(static_cast<CFURLRef>(wrongly(CFSTR("a"))))); }},
        {QStringLiteral("boolean as number"),
         [] {
             int value = 0;
             CFNumberGetValue(static_cast<CFNumberRef>(wrongly(kCFBooleanTrue)), kCFNumberIntType, &value);
         }},
        {QStringLiteral("null string"), [] { static_cast<void>(CFStringGetLength(nullptr)); }},
        {QStringLiteral("null data"), [] { static_cast<void>(CFDataGetLength(nullptr)); }},
        {QStringLiteral("array as string in Qt bridge"),
         [] { static_cast<void>(CFStringCopyQString(static_cast<CFStringRef>(wrongly(sArray.get())))); }},
        {QStringLiteral("index at the count"),
         [] { static_cast<void>(CFArrayGetValueAtIndex(sArray.get(), 0)); }},
        {QStringLiteral("index below 0"),
         [] { static_cast<void>(CFArrayGetValueAtIndex(sArray.get(), -1)); }},
        {QStringLiteral("null element"),
         [] { CFArrayAppendValue(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks), nullptr); }},
        {QStringLiteral("append to an immutable array"),
         [] { CFArrayAppendValue(const_cast<CFMutableArrayRef>(sArray.get()), CFSTR("a")); }},
        {QStringLiteral("set in an immutable dictionary"),
         [] {
             CFDictionarySetValue(const_cast<CFMutableDictionaryRef>(sDictionary.get()), CFSTR("a"),
                                  CFSTR("b"));
         }},
        {QStringLiteral("null key"),
         [] { static_cast<void>(CFDictionaryGetValue(sDictionary.get(), nullptr)); }},
        {QStringLiteral("null value"),
         [] {
             CFDictionarySetValue(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                            &kCFTypeDictionaryValueCallBacks),
                                  CFSTR("a"), nullptr);
         }},
        {QStringLiteral("append to immutable data"),
         [] { CFDataAppendBytes(const_cast<CFMutableDataRef>(sData.get()), nullptr, 0); }},
        {QStringLiteral("beyond a fixed capacity"),
         [] {
             const CFMutableDataRef data = CFDataCreateMutable(nullptr, 4);
             CFDataAppendBytes(data, reinterpret_cast<const UInt8*>("12345"), 5);
         }},
        {QStringLiteral("longer than a fixed capacity"),
         [] { CFDataSetLength(CFDataCreateMutable(nullptr, 4), 5); }},
        {QStringLiteral("longer than memory"),
         [] { CFDataSetLength(CFDataCreateMutable(nullptr, 0), std::numeric_limits<CFIndex>::max()); }},
        {QStringLiteral("negative length"), [] { CFDataSetLength(CFDataCreateMutable(nullptr, 0), -1); }},
        {QStringLiteral("data from null"), [] { static_cast<void>(CFDataCreate(nullptr, nullptr, 3)); }},
        {QStringLiteral("range beyond the string"),
         [] {
             UniChar units[4];
             CFStringGetCharacters(CFSTR("abc"), CFRangeMake(2, 2), units);
         }},
        {QStringLiteral("range that overflows"),
         [] {
             UniChar units[4];
             CFStringGetCharacters(CFSTR("abc"), CFRangeMake(1, std::numeric_limits<CFIndex>::max()), units);
         }},
        {QStringLiteral("normalize an immutable string"),
         [] { CFStringNormalize(const_cast<CFMutableStringRef>(CFSTR("a")), kCFStringNormalizationFormC); }},
        {QStringLiteral("unknown normalization form"),
         [] { CFStringNormalize(CFStringCreateMutableCopy(nullptr, 0, CFSTR("a")), 4); }},
        {QStringLiteral("unknown number type"),
         [] {
             const int value = 0;
             static_cast<void>(CFNumberCreate(nullptr, 17, &value));
         }},
        {QStringLiteral("null path"),
         [] { static_cast<void>(CFURLCreateWithFileSystemPath(nullptr, nullptr, kCFURLPOSIXPathStyle, 0)); }},
    };
}

void CFBaseTest::misuseStops_data() {
    QTest::addColumn<QString>("message");
    const QList<std::pair<const char*, const char*>> rows = {
        {"release null", "CFRelease: expected a value, got null"},
        {"retain null", "CFRetain: expected a value, got null"},
        {"count of null", "CFGetRetainCount: expected a value, got null"},
        {"equal to null", "CFEqual: expected a value, got null"},
        {"null equal to", "CFEqual: expected a value, got null"},
        {"hash of null", "CFHash: expected a value, got null"},
        {"type of null", "CFGetTypeID: expected a value, got null"},
        {"data as string", "CFStringGetLength: expected CFString, got CFData"},
        {"string as URL", "CFURLGetString: expected CFURL, got CFString"},
        {"boolean as number", "CFNumberGetValue: expected CFNumber, got CFBoolean"},
        {"null string", "CFStringGetLength: expected CFString, got null"},
        {"null data", "CFDataGetLength: expected CFData, got null"},
        {"array as string in Qt bridge", "CFStringCopyQString: expected CFString, got CFArray"},
        {"index at the count", "CFArrayGetValueAtIndex: the index is outside the array"},
        {"index below 0", "CFArrayGetValueAtIndex: the index is outside the array"},
        {"null element", "CFArrayAppendValue: expected a value, got null"},
        {"append to an immutable array", "CFArrayAppendValue: the value is immutable"},
        {"set in an immutable dictionary", "CFDictionarySetValue: the value is immutable"},
        {"null key", "CFDictionaryGetValue: expected a key, got null"},
        {"null value", "CFDictionarySetValue: expected a value, got null"},
        {"append to immutable data", "CFDataAppendBytes: the value is immutable"},
        {"beyond a fixed capacity", "CFDataAppendBytes: the data's fixed capacity is exceeded"},
        {"longer than a fixed capacity", "CFDataSetLength: the data's fixed capacity is exceeded"},
        {"longer than memory", "CFDataSetLength: no memory for this length"},
        {"negative length", "CFDataSetLength: negative length"},
        {"data from null", "CFDataCreate: no bytes"},
        {"range beyond the string", "CFStringGetCharacters: the range is not inside the string"},
        {"range that overflows", "CFStringGetCharacters: the range is not inside the string"},
        {"normalize an immutable string", "CFStringNormalize: the value is immutable"},
        {"unknown normalization form", "CFStringNormalize: unknown normalization form"},
        {"unknown number type", "CFNumberCreate: unknown number type"},
        {"null path", "CFURLCreateWithFileSystemPath: expected CFString, got null"},
    };
    QCOMPARE(rows.size(), misuses().size());
    for (const auto& [name, message] : rows) {
        QTest::newRow(name) << QString::fromLatin1(message);
    }
}

void CFBaseTest::misuseStops() {
    QFETCH(QString, message);
    const QString written = stderrOfMisuse(QString::fromLatin1(QTest::currentDataTag()));
    QCOMPARE(written.section(u'\n', 0, 0), message);
}

CFTEST_MAIN_WITH_MISUSES(CFBaseTest)
#include "CFBaseTest.moc"
