// Tables: ownership of keys and values, replacing, plain pointers, copied keys, equality.
#include "CFTestSupport.h"

#include <vector>

using namespace CFTest;

namespace {

Owned<CFMutableDictionaryRef> makeDictionary() {
    return own(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                         &kCFTypeDictionaryValueCallBacks));
}

Owned<CFNumberRef> makeNumber(CFIndex value) {
    return own(CFNumberCreate(nullptr, kCFNumberCFIndexType, &value));
}

} // namespace

class CFDictionaryTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void ownsKeysAndValues();
    void addKeepsAndSetReplaces();
    void replacingAValueByItself();
    void removes();
    void manyKeys();
    void createdWithPairs();
    void plainPointers();
    void presentAndNull();
    void copiedKeysDoNotChange();
    void keysAreComparedAsUnits();
    void equality();
};

void CFDictionaryTest::ownsKeysAndValues() {
    const auto key = makeString(QStringLiteral("key"));
    const auto value = makeString(QStringLiteral("value"));
    auto dictionary = makeDictionary();
    CFDictionarySetValue(dictionary.get(), key.get(), value.get());
    QCOMPARE(CFGetRetainCount(key.get()), 2L);
    QCOMPARE(CFGetRetainCount(value.get()), 2L);
    QCOMPARE(CFDictionaryGetValue(dictionary.get(), CFSTR("key")), static_cast<const void*>(value.get()));
    QCOMPARE(CFGetRetainCount(value.get()), 2L);
    dictionary.reset();
    QCOMPARE(CFGetRetainCount(key.get()), 1L);
    QCOMPARE(CFGetRetainCount(value.get()), 1L);
}

void CFDictionaryTest::addKeepsAndSetReplaces() {
    const auto dictionary = makeDictionary();
    const auto key = makeString(QStringLiteral("key"));
    const auto equalKey = makeString(QStringLiteral("key"));
    const auto value = makeString(QStringLiteral("value"));
    const auto other = makeString(QStringLiteral("other"));
    CFDictionaryAddValue(dictionary.get(), key.get(), value.get());
    CFDictionaryAddValue(dictionary.get(), equalKey.get(), other.get());
    QCOMPARE(CFDictionaryGetValue(dictionary.get(), key.get()), static_cast<const void*>(value.get()));
    QCOMPARE(CFGetRetainCount(equalKey.get()), 1L);
    QCOMPARE(CFGetRetainCount(other.get()), 1L);
    // Setting replaces the stored key, too.
    CFDictionarySetValue(dictionary.get(), equalKey.get(), other.get());
    QCOMPARE(CFDictionaryGetCount(dictionary.get()), 1L);
    QCOMPARE(CFDictionaryGetValue(dictionary.get(), key.get()), static_cast<const void*>(other.get()));
    QCOMPARE(CFGetRetainCount(key.get()), 1L);
    QCOMPARE(CFGetRetainCount(value.get()), 1L);
    QCOMPARE(CFGetRetainCount(equalKey.get()), 2L);
    QCOMPARE(CFGetRetainCount(other.get()), 2L);
}

void CFDictionaryTest::replacingAValueByItself() {
    const auto dictionary = makeDictionary();
    CFDictionarySetValue(dictionary.get(), makeString(QStringLiteral("k")).get(),
                         makeString(QStringLiteral("only here")).get());
    const void* key = nullptr;
    const void* value = nullptr;
    CFDictionaryGetKeysAndValues(dictionary.get(), &key, &value);
    CFDictionarySetValue(dictionary.get(), key, value);
    QCOMPARE(CFGetRetainCount(key), 1L);
    QCOMPARE(CFGetRetainCount(value), 1L);
    QCOMPARE(CFStringCopyQString(static_cast<CFStringRef>(value)), QStringLiteral("only here"));
}

void CFDictionaryTest::removes() {
    const auto dictionary = makeDictionary();
    const auto key = makeString(QStringLiteral("key"));
    CFDictionarySetValue(dictionary.get(), key.get(), kCFBooleanTrue);
    CFDictionaryRemoveValue(dictionary.get(), CFSTR("absent"));
    QCOMPARE(CFDictionaryGetCount(dictionary.get()), 1L);
    CFDictionaryRemoveValue(dictionary.get(), CFSTR("key"));
    QCOMPARE(CFDictionaryGetCount(dictionary.get()), 0L);
    QCOMPARE(CFGetRetainCount(key.get()), 1L);
    QVERIFY(!CFDictionaryContainsKey(dictionary.get(), key.get()));
}

void CFDictionaryTest::manyKeys() {
    constexpr CFIndex kMany = 5000;
    const auto dictionary = makeDictionary();
    for (CFIndex i = 0; i < kMany; ++i) {
        CFDictionarySetValue(dictionary.get(), makeString(QString::number(i)).get(), makeNumber(i).get());
    }
    QCOMPARE(CFDictionaryGetCount(dictionary.get()), kMany);
    std::vector<const void*> keys(kMany);
    std::vector<const void*> values(kMany);
    CFDictionaryGetKeysAndValues(dictionary.get(), keys.data(), values.data());
    CFDictionaryGetKeysAndValues(dictionary.get(), nullptr, nullptr);
    for (std::size_t i = 0; i < keys.size(); ++i) {
        CFIndex value = -1;
        QVERIFY(CFNumberGetValue(static_cast<CFNumberRef>(values[i]), kCFNumberCFIndexType, &value));
        QCOMPARE(CFStringGetIntValue(static_cast<CFStringRef>(keys[i])), SInt32(value));
        QCOMPARE(CFDictionaryGetValue(dictionary.get(), keys[i]), values[i]);
    }
}

void CFDictionaryTest::createdWithPairs() {
    const auto twin = makeString(QStringLiteral("a"));
    const void* const keys[] = {CFSTR("a"), CFSTR("b"), twin.get()};
    const void* const values[] = {CFSTR("1"), CFSTR("2"), CFSTR("3")};
    const auto dictionary = own(CFDictionaryCreate(nullptr, keys, values, 3, &kCFTypeDictionaryKeyCallBacks,
                                                   &kCFTypeDictionaryValueCallBacks));
    QCOMPARE(CFDictionaryGetCount(dictionary.get()), 2L);
    QVERIFY(CFEqual(CFDictionaryGetValue(dictionary.get(), twin.get()), CFSTR("1")));
    QCOMPARE(CFGetRetainCount(twin.get()), 1L);
    QVERIFY(CFDictionaryCreate(nullptr, keys, values, -1, &kCFTypeDictionaryKeyCallBacks,
                               &kCFTypeDictionaryValueCallBacks) == nullptr);
}

void CFDictionaryTest::plainPointers() {
    const int numbers[] = {1, 1};
    const auto dictionary = own(CFDictionaryCreateMutable(nullptr, 1, nullptr, nullptr));
    CFDictionarySetValue(dictionary.get(), &numbers[0], nullptr);
    CFDictionarySetValue(dictionary.get(), nullptr, &numbers[1]);
    QCOMPARE(CFDictionaryGetCount(dictionary.get()), 2L);
    QVERIFY(CFDictionaryContainsKey(dictionary.get(), &numbers[0]));
    QVERIFY(!CFDictionaryContainsKey(dictionary.get(), &numbers[1]));
    QCOMPARE(CFDictionaryGetValue(dictionary.get(), nullptr), static_cast<const void*>(&numbers[1]));
}

void CFDictionaryTest::presentAndNull() {
    const int number = 0;
    const auto dictionary = own(CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr));
    CFDictionarySetValue(dictionary.get(), &number, nullptr);
    const void* value = &number;
    QVERIFY(CFDictionaryGetValueIfPresent(dictionary.get(), &number, &value));
    QVERIFY(value == nullptr);
    QVERIFY(CFDictionaryGetValueIfPresent(dictionary.get(), &number, nullptr));
    value = &number;
    QVERIFY(!CFDictionaryGetValueIfPresent(dictionary.get(), &value, &value));
    QCOMPARE(value, static_cast<const void*>(&number));
}

void CFDictionaryTest::copiedKeysDoNotChange() {
    const auto dictionary = own(CFDictionaryCreateMutable(nullptr, 0, &kCFCopyStringDictionaryKeyCallBacks,
                                                          &kCFTypeDictionaryValueCallBacks));
    const auto decomposed = makeString(QStringLiteral("e\u0301"));
    const auto key = own(CFStringCreateMutableCopy(nullptr, 0, decomposed.get()));
    CFDictionarySetValue(dictionary.get(), key.get(), kCFBooleanTrue);
    CFStringNormalize(key.get(), kCFStringNormalizationFormC);
    QVERIFY(CFDictionaryContainsKey(dictionary.get(), decomposed.get()));
    QVERIFY(!CFDictionaryContainsKey(dictionary.get(), key.get()));
    QCOMPARE(CFGetRetainCount(key.get()), 1L);
    const auto fixed = makeString(QStringLiteral("fixed"));
    CFDictionarySetValue(dictionary.get(), fixed.get(), kCFBooleanTrue);
    QCOMPARE(CFGetRetainCount(fixed.get()), 2L);
}

void CFDictionaryTest::keysAreComparedAsUnits() {
    const auto dictionary = makeDictionary();
    CFDictionarySetValue(dictionary.get(), CFSTR("\u00E9"), CFSTR("composed"));
    CFDictionarySetValue(dictionary.get(), CFSTR("e\u0301"), CFSTR("decomposed"));
    QCOMPARE(CFDictionaryGetCount(dictionary.get()), 2L);
    QVERIFY(CFEqual(CFDictionaryGetValue(dictionary.get(), CFSTR("\u00E9")), CFSTR("composed")));
}

void CFDictionaryTest::equality() {
    const auto first = makeDictionary();
    const auto second = own(CFDictionaryCreateMutable(nullptr, 0, &kCFCopyStringDictionaryKeyCallBacks,
                                                      &kCFTypeDictionaryValueCallBacks));
    const double one = 1.0;
    CFDictionarySetValue(first.get(), CFSTR("a"), makeNumber(1).get());
    CFDictionarySetValue(first.get(), CFSTR("b"), CFSTR("2"));
    CFDictionarySetValue(second.get(), CFSTR("b"), CFSTR("2"));
    QVERIFY(!CFEqual(first.get(), second.get()));
    CFDictionarySetValue(second.get(), CFSTR("a"),
                         own(CFNumberCreate(nullptr, kCFNumberDoubleType, &one)).get());
    QVERIFY(CFEqual(first.get(), second.get()));
    QCOMPARE(CFHash(first.get()), CFHash(second.get()));
    CFDictionarySetValue(second.get(), CFSTR("a"), kCFBooleanTrue);
    QVERIFY(!CFEqual(first.get(), second.get()));
    const auto plain = own(CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr));
    const int numbers[] = {1, 2};
    CFDictionarySetValue(plain.get(), &numbers[0], &numbers[0]);
    CFDictionarySetValue(plain.get(), &numbers[1], &numbers[1]);
    QVERIFY(!CFEqual(first.get(), plain.get()));
}

VKTEST_MAIN(CFDictionaryTest)
#include "CFDictionaryTest.moc"
