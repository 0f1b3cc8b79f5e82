// Lists: ownership of elements, plain pointers, call-backs of a caller's own, equality.
#include "CFTestSupport.h"

#include <vector>

using namespace CFTest;

namespace {

int gRetained = 0;
int gReleased = 0;

const void* countRetain(CFAllocatorRef, const void* value) {
    ++gRetained;
    return value;
}
void countRelease(CFAllocatorRef, const void*) { ++gReleased; }
Boolean equalInts(const void* first, const void* second) {
    return Boolean(*static_cast<const int*>(first) == *static_cast<const int*>(second));
}

} // namespace

class CFArrayTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void ownsItsElements();
    void capacityLimitsNothing();
    void invalidCounts();
    void plainPointers();
    void callBacksOfACallersOwn();
    void equality();
};

void CFArrayTest::ownsItsElements() {
    const auto element = makeString(QStringLiteral("element"));
    const void* const values[] = {element.get(), element.get()};
    auto fixed = own(CFArrayCreate(nullptr, values, 2, &kCFTypeArrayCallBacks));
    QCOMPARE(CFGetRetainCount(element.get()), 3L);
    auto growing = own(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    CFArrayAppendValue(growing.get(), element.get());
    CFArrayAppendValue(growing.get(), fixed.get());
    QCOMPARE(CFGetRetainCount(element.get()), 4L);
    QCOMPARE(CFArrayGetValueAtIndex(growing.get(), 0), static_cast<const void*>(element.get()));
    QCOMPARE(CFGetRetainCount(element.get()), 4L);
    fixed.reset();
    QCOMPARE(CFGetRetainCount(element.get()), 4L);
    growing.reset();
    QCOMPARE(CFGetRetainCount(element.get()), 1L);
}

void CFArrayTest::capacityLimitsNothing() {
    for (const CFIndex capacity : {0L, 1L, -1L}) {
        const auto array = own(CFArrayCreateMutable(nullptr, capacity, &kCFTypeArrayCallBacks));
        for (CFIndex i = 0; i < 50; ++i) {
            CFArrayAppendValue(array.get(), own(CFNumberCreate(nullptr, kCFNumberCFIndexType, &i)).get());
            QCOMPARE(CFArrayGetCount(array.get()), i + 1);
        }
        for (CFIndex i = 0; i < 50; ++i) {
            CFIndex value = -1;
            QVERIFY(CFNumberGetValue(static_cast<CFNumberRef>(CFArrayGetValueAtIndex(array.get(), i)),
                                     kCFNumberCFIndexType, &value));
            QCOMPARE(value, i);
        }
    }
}

void CFArrayTest::invalidCounts() {
    const void* const values[] = {CFSTR("a")};
    QVERIFY(CFArrayCreate(nullptr, values, -1, &kCFTypeArrayCallBacks) == nullptr);
    QCOMPARE(CFArrayGetCount(own(CFArrayCreate(nullptr, nullptr, 0, nullptr)).get()), 0L);
}

void CFArrayTest::plainPointers() {
    const int numbers[] = {1, 1};
    const void* const values[] = {&numbers[0], nullptr};
    const auto array = own(CFArrayCreate(nullptr, values, 2, nullptr));
    QCOMPARE(CFArrayGetValueAtIndex(array.get(), 0), static_cast<const void*>(&numbers[0]));
    QVERIFY(CFArrayGetValueAtIndex(array.get(), 1) == nullptr);
    const void* const sameNumbers[] = {&numbers[1], nullptr};
    QVERIFY(!CFEqual(array.get(), own(CFArrayCreate(nullptr, sameNumbers, 2, nullptr)).get()));
    QVERIFY(CFEqual(array.get(), own(CFArrayCreate(nullptr, values, 2, nullptr)).get()));
}

void CFArrayTest::callBacksOfACallersOwn() {
    gRetained = gReleased = 0;
    const CFArrayCallBacks calls = {0, &countRetain, &countRelease, nullptr, &equalInts};
    const int numbers[] = {4, 4, 5};
    const void* const firstValues[] = {&numbers[0], &numbers[2]};
    const void* const secondValues[] = {&numbers[1], &numbers[2]};
    {
        const auto first = own(CFArrayCreate(nullptr, firstValues, 2, &calls));
        const auto second = own(CFArrayCreate(nullptr, secondValues, 2, &calls));
        const auto plain = own(CFArrayCreate(nullptr, firstValues, 2, nullptr));
        QVERIFY(CFEqual(first.get(), second.get()));
        QVERIFY(!CFEqual(first.get(), plain.get()));
        QCOMPARE(gRetained, 4);
        QCOMPARE(gReleased, 0);
    }
    QCOMPARE(gReleased, 4);
}

void CFArrayTest::equality() {
    const void* const ab[] = {CFSTR("a"), CFSTR("b")};
    const void* const ba[] = {CFSTR("b"), CFSTR("a")};
    const auto fixed = own(CFArrayCreate(nullptr, ab, 2, &kCFTypeArrayCallBacks));
    const auto growing = own(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    QVERIFY(!CFEqual(fixed.get(), growing.get()));
    CFArrayAppendValue(growing.get(), makeString(QStringLiteral("a")).get());
    CFArrayAppendValue(growing.get(), makeString(QStringLiteral("b")).get());
    QVERIFY(CFEqual(fixed.get(), growing.get()));
    QCOMPARE(CFHash(fixed.get()), CFHash(growing.get()));
    QVERIFY(!CFEqual(fixed.get(), own(CFArrayCreate(nullptr, ba, 2, &kCFTypeArrayCallBacks)).get()));
}

VKTEST_MAIN(CFArrayTest)
#include "CFArrayTest.moc"
