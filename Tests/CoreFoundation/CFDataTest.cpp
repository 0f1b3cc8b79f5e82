// Bytes: making, growing, borrowed memory, sharing with QByteArray.
#include "CFTestSupport.h"

#include <cstdlib>
#include <cstring>

using namespace CFTest;

namespace {

const UInt8* asBytes(const char* text) { return reinterpret_cast<const UInt8*>(text); }

QByteArray content(CFDataRef data) {
    return QByteArray(reinterpret_cast<const char*>(CFDataGetBytePtr(data)), CFDataGetLength(data));
}

} // namespace

class CFDataTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void createCopiesTheBytes();
    void emptyAndInvalid();
    void mutableGrows();
    void capacityIsALimit();
    void setLengthFillsWithZeros();
    void appendsItsOwnBytes();
    void equality();
    void borrowedMemoryShowsThrough();
    void mallocedMemoryIsFreed();
    void copies();
    void sharesWithQByteArray();
    void exposedBytesAreNotShared();
};

void CFDataTest::createCopiesTheBytes() {
    char source[] = "a\0b";
    const auto data = own(CFDataCreate(nullptr, asBytes(source), 3));
    source[0] = 'x';
    QCOMPARE(content(data.get()), QByteArray("a\0b", 3));
}

void CFDataTest::emptyAndInvalid() {
    const auto empty = own(CFDataCreate(nullptr, nullptr, 0));
    QCOMPARE(CFDataGetLength(empty.get()), 0L);
    QVERIFY(CFDataGetBytePtr(empty.get()) == nullptr);
    QVERIFY(CFDataCreate(nullptr, asBytes("a"), -1) == nullptr);
    QVERIFY(CFDataCreateMutable(nullptr, -1) == nullptr);
    QVERIFY(CFDataCreateWithBytesNoCopy(nullptr, asBytes("a"), -1, kCFAllocatorNull) == nullptr);
    const auto growing = own(CFDataCreateMutable(nullptr, 0));
    QVERIFY(CFDataGetBytePtr(growing.get()) != nullptr);
    QVERIFY(CFDataGetMutableBytePtr(growing.get()) != nullptr);
}

void CFDataTest::mutableGrows() {
    const auto data = own(CFDataCreateMutable(nullptr, 0));
    CFDataAppendBytes(data.get(), nullptr, 0);
    QCOMPARE(CFDataGetLength(data.get()), 0L);
    QByteArray expected;
    for (int i = 0; i < 3000; ++i) {
        const UInt8 byte = UInt8(i);
        CFDataAppendBytes(data.get(), &byte, 1);
        expected += char(byte);
    }
    QCOMPARE(content(data.get()), expected);
    CFDataGetMutableBytePtr(data.get())[2999] = 'z';
    expected[2999] = 'z';
    QCOMPARE(content(data.get()), expected);
}

void CFDataTest::capacityIsALimit() {
    const auto data = own(CFDataCreateMutable(nullptr, 4));
    CFDataAppendBytes(data.get(), asBytes("12"), 2);
    CFDataAppendBytes(data.get(), asBytes("34"), 2);
    QCOMPARE(content(data.get()), QByteArray("1234"));
    CFDataSetLength(data.get(), 1);
    CFDataSetLength(data.get(), 4);
    QCOMPARE(content(data.get()), QByteArray("1\0\0\0", 4));
}

void CFDataTest::setLengthFillsWithZeros() {
    const auto data = own(CFDataCreateMutable(nullptr, 0));
    CFDataAppendBytes(data.get(), asBytes("abcdef"), 6);
    CFDataSetLength(data.get(), 2);
    CFDataSetLength(data.get(), 6);
    QCOMPARE(content(data.get()), QByteArray("ab\0\0\0\0", 6));
    CFDataSetLength(data.get(), 0);
    QCOMPARE(CFDataGetLength(data.get()), 0L);
}

void CFDataTest::appendsItsOwnBytes() {
    const auto data = own(CFDataCreateMutable(nullptr, 0));
    CFDataAppendBytes(data.get(), asBytes("abc"), 3);
    QByteArray expected("abc");
    for (int i = 0; i < 8; ++i) {
        CFDataAppendBytes(data.get(), CFDataGetBytePtr(data.get()), CFDataGetLength(data.get()));
        expected += QByteArray(expected);
    }
    QCOMPARE(content(data.get()), expected);
}

void CFDataTest::equality() {
    const auto first = own(CFDataCreate(nullptr, asBytes("abc"), 3));
    const auto growing = own(CFDataCreateMutable(nullptr, 0));
    QVERIFY(!CFEqual(first.get(), growing.get()));
    CFDataAppendBytes(growing.get(), asBytes("abc"), 3);
    QVERIFY(CFEqual(first.get(), growing.get()));
    QCOMPARE(CFHash(first.get()), CFHash(growing.get()));
    CFDataAppendBytes(growing.get(), asBytes("\0"), 1);
    QVERIFY(!CFEqual(first.get(), growing.get()));
}

void CFDataTest::borrowedMemoryShowsThrough() {
    UInt8 memory[] = {'a', 'b', 'c'};
    const auto data = own(CFDataCreateWithBytesNoCopy(nullptr, memory, 3, kCFAllocatorNull));
    QCOMPARE(CFDataGetBytePtr(data.get()), static_cast<const UInt8*>(memory));
    const auto copy = own(CFDataCreateCopy(nullptr, data.get()));
    const QByteArray bytes = CFDataCopyQByteArray(data.get());
    memory[0] = 'x';
    QCOMPARE(content(data.get()), QByteArray("xbc"));
    QCOMPARE(content(copy.get()), QByteArray("abc"));
    QCOMPARE(bytes, QByteArray("abc"));
}

// The leak check of the address sanitizer sees to it that the blocks are freed, once.
void CFDataTest::mallocedMemoryIsFreed() {
    for (const CFAllocatorRef deallocator : {kCFAllocatorMalloc, kCFAllocatorDefault}) {
        std::unique_ptr<UInt8, decltype(&std::free)> memory(static_cast<UInt8*>(std::malloc(64)), &std::free);
        QVERIFY(memory != nullptr);
        std::memset(memory.get(), 7, 64);
        const UInt8* const block = memory.get();
        const auto data = own(CFDataCreateWithBytesNoCopy(nullptr, memory.release(), 64, deallocator));
        QCOMPARE(CFDataGetBytePtr(data.get()), block);
        QCOMPARE(content(data.get()), QByteArray(64, char(7)));
    }
}

void CFDataTest::copies() {
    const auto fixed = own(CFDataCreate(nullptr, asBytes("abc"), 3));
    const auto same = own(CFDataCreateCopy(nullptr, fixed.get()));
    QCOMPARE(same.get(), fixed.get());
    QCOMPARE(CFGetRetainCount(fixed.get()), 2L);
    const auto growing = own(CFDataCreateMutable(nullptr, 0));
    CFDataAppendBytes(growing.get(), asBytes("abc"), 3);
    const auto frozen = own(CFDataCreateCopy(nullptr, growing.get()));
    CFDataAppendBytes(growing.get(), asBytes("d"), 1);
    QCOMPARE(content(frozen.get()), QByteArray("abc"));
    QCOMPARE(content(growing.get()), QByteArray("abcd"));
}

void CFDataTest::sharesWithQByteArray() {
    const QByteArray bytes(1000, 'x');
    const auto data = own(CFDataCreateWithQByteArray(bytes));
    QCOMPARE(static_cast<const void*>(CFDataGetBytePtr(data.get())),
             static_cast<const void*>(bytes.constData()));
    QCOMPARE(static_cast<const void*>(CFDataCopyQByteArray(data.get()).constData()),
             static_cast<const void*>(bytes.constData()));
    QVERIFY(CFDataCopyQByteArray(nullptr).isNull());
    const auto empty = own(CFDataCreate(nullptr, nullptr, 0));
    QVERIFY(CFDataCopyQByteArray(empty.get()).isEmpty());
    QVERIFY(!CFDataCopyQByteArray(empty.get()).isNull());
}

void CFDataTest::exposedBytesAreNotShared() {
    const auto data = own(CFDataCreateMutable(nullptr, 0));
    CFDataAppendBytes(data.get(), asBytes("abc"), 3);
    UInt8* const bytes = CFDataGetMutableBytePtr(data.get());
    const QByteArray before = CFDataCopyQByteArray(data.get());
    const auto copy = own(CFDataCreateCopy(nullptr, data.get()));
    bytes[0] = 'x';
    QCOMPARE(before, QByteArray("abc"));
    QCOMPARE(content(copy.get()), QByteArray("abc"));
    QCOMPARE(content(data.get()), QByteArray("xbc"));
}

VKTEST_MAIN(CFDataTest)
#include "CFDataTest.moc"
