// What every stream does, in memory as over a file that is written.
#include "VKCoreKit/VKStream.h"

#include "CoreKitSupport.h"
#include "Support/AllocationCounter.h"
#include "Support/DiskSupport.h"

#include <cerrno>
#include <limits>
#include <random>
#include <thread>
#include <vector>

using namespace CoreKit;

class VKStreamTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void initTestCase();
    void cleanup();

    void newOneIsEmpty();
    void integersAreBigEndian_data();
    void integersAreBigEndian();
    void writingAndReading();
    void positions();
    void overwriting();
    void readPastTheEndTakesNothing();
    void declaredLengthOfFourGigabytes();
    void tooMuchToWrite();
    void dataIsNotChangedByLaterWrites();
    void dataOutlivesTheStream();
    void asIfItWereOneArray();
    void nothingToWorkOn();
    void counting();
    void countingOnThreads();

    void closingMemory();
    void memoryIsShared();
    void nullStreams();

private:
    /// A new empty stream of the kind that this run is about.
    [[nodiscard]] OwnedStream makeStream() const {
        QFETCH_GLOBAL(bool, inMemory);
        return inMemory ? makeMemoryStream() : makeFileStream(mRoot + "/file", true);
    }

    QByteArray mRoot;
};

// Each test runs once for each kind.
void VKStreamTest::initTestCase_data() {
    QTest::addColumn<bool>("inMemory");
    QTest::newRow("in memory") << true;
    QTest::newRow("over a file") << false;
}

void VKStreamTest::initTestCase() { mRoot = makeFolder(QStringLiteral("stream")).toUtf8(); }

void VKStreamTest::cleanup() {
    Disk::removeTree(mRoot);
    Disk::makeFolder(mRoot);
}

void VKStreamTest::newOneIsEmpty() {
    const OwnedStream stream = makeStream();
    QVERIFY(stream != nullptr);
    QCOMPARE(positionOf(stream), 0U);
    QCOMPARE(availableIn(stream), 0U);
    QCOMPARE(contentOf(stream), QByteArray(""));
    QVERIFY(!contentOf(stream).isNull());
    char byte = 'x';
    QCOMPARE(VKStreamRead(stream.get(), &byte, 1), kVKStatusEndOfStream);
    QCOMPARE(byte, 'x');
}

void VKStreamTest::integersAreBigEndian_data() {
    QTest::addColumn<std::uint32_t>("value");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("zero") << 0U << QByteArray("\0\0\0\0", 4);
    QTest::newRow("one") << 1U << QByteArray("\0\0\0\1", 4);
    QTest::newRow("all different") << 0x12345678U << QByteArray("\x12\x34\x56\x78");
    QTest::newRow("highest bit") << 0x80000000U << QByteArray("\x80\0\0\0", 4);
    QTest::newRow("all bits") << 0xFFFFFFFFU << QByteArray("\xFF\xFF\xFF\xFF");
}

void VKStreamTest::integersAreBigEndian() {
    QFETCH(std::uint32_t, value);
    QFETCH(QByteArray, bytes);
    const OwnedStream stream = makeStream();
    QCOMPARE(VKStreamWriteUInt32(stream.get(), value), kVKStatusSuccess);
    QCOMPARE(positionOf(stream), 4U);
    QCOMPARE(contentOf(stream), bytes);
    QCOMPARE(VKStreamSetPosition(stream.get(), 0), kVKStatusSuccess);
    std::uint32_t read = 0xDEAD;
    QCOMPARE(VKStreamReadUInt32(stream.get(), &read), kVKStatusSuccess);
    QCOMPARE(read, value);
    QCOMPARE(positionOf(stream), 4U);
    QCOMPARE(VKStreamSetPosition(stream.get(), 1), kVKStatusSuccess);
    read = 0xDEAD;
    QCOMPARE(VKStreamReadUInt32(stream.get(), &read), kVKStatusEndOfStream);
    QCOMPARE(read, 0xDEADU);
    QCOMPARE(positionOf(stream), 1U);
}

void VKStreamTest::writingAndReading() {
    const OwnedStream stream = makeStream();
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    QCOMPARE(writeBytes(stream, QByteArray("\0\xFF", 2)), kVKStatusSuccess);
    QCOMPARE(positionOf(stream), 5U);
    QCOMPARE(contentOf(stream), QByteArray("abc\0\xFF", 5));
    QCOMPARE(positionOf(stream), 5U);
    QCOMPARE(VKStreamSetPosition(stream.get(), 1), kVKStatusSuccess);
    QCOMPARE(availableIn(stream), 4U);
    QByteArray bytes(2, 'x');
    QCOMPARE(readBytes(stream, bytes), kVKStatusSuccess);
    QCOMPARE(bytes, QByteArray("bc"));
    QCOMPARE(positionOf(stream), 3U);
    QCOMPARE(readBytes(stream, bytes), kVKStatusSuccess);
    QCOMPARE(bytes, QByteArray("\0\xFF", 2));
    QCOMPARE(availableIn(stream), 0U);
}

void VKStreamTest::positions() {
    const OwnedStream stream = makeStream();
    QCOMPARE(writeBytes(stream, "abcdef"), kVKStatusSuccess);
    for (std::uint64_t position = 0; position <= 6; ++position) {
        QCOMPARE(VKStreamSetPosition(stream.get(), position), kVKStatusSuccess);
        QCOMPARE(positionOf(stream), position);
        QCOMPARE(availableIn(stream), 6 - position);
    }
    QCOMPARE(VKStreamSetPosition(stream.get(), 2), kVKStatusSuccess);
    for (const std::uint64_t beyond : {std::uint64_t{7}, std::uint64_t{1} << 32, std::uint64_t{1} << 63,
                                       std::numeric_limits<std::uint64_t>::max()}) {
        QCOMPARE(VKStreamSetPosition(stream.get(), beyond), kVKStatusEndOfStream);
        QCOMPARE(positionOf(stream), 2U);
    }
}

void VKStreamTest::overwriting() {
    const OwnedStream stream = makeStream();
    QCOMPARE(writeBytes(stream, "abcdef"), kVKStatusSuccess);
    QCOMPARE(VKStreamSetPosition(stream.get(), 1), kVKStatusSuccess);
    QCOMPARE(writeBytes(stream, "XY"), kVKStatusSuccess);
    QCOMPARE(contentOf(stream), QByteArray("aXYdef"));
    QCOMPARE(positionOf(stream), 3U);
    QCOMPARE(VKStreamSetPosition(stream.get(), 5), kVKStatusSuccess);
    QCOMPARE(writeBytes(stream, "123"), kVKStatusSuccess);
    QCOMPARE(contentOf(stream), QByteArray("aXYde123"));
    QCOMPARE(availableIn(stream), 0U);
}

void VKStreamTest::readPastTheEndTakesNothing() {
    const OwnedStream stream = makeStream();
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    QCOMPARE(VKStreamSetPosition(stream.get(), 1), kVKStatusSuccess);
    QByteArray bytes(3, 'x');
    QCOMPARE(readBytes(stream, bytes), kVKStatusEndOfStream);
    QCOMPARE(bytes, QByteArray("xxx"));
    QCOMPARE(positionOf(stream), 1U);
    bytes.resize(2);
    QCOMPARE(readBytes(stream, bytes), kVKStatusSuccess);
    QCOMPARE(bytes, QByteArray("bc"));
}

void VKStreamTest::declaredLengthOfFourGigabytes() {
    // A length that a hostile file declares, with three bytes after it: found out before anything is taken.
    const OwnedStream stream = makeStream();
    QCOMPARE(VKStreamWriteUInt32(stream.get(), 0xFFFFFFFFU), kVKStatusSuccess);
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    QCOMPARE(VKStreamSetPosition(stream.get(), 0), kVKStatusSuccess);
    std::uint32_t length = 0;
    QCOMPARE(VKStreamReadUInt32(stream.get(), &length), kVKStatusSuccess);
    char bytes[4] = "xyz";
    std::uint64_t available = 0;
    VKStatus asked = kVKStatusBadArgument;
    VKStatus read = kVKStatusBadArgument;
    int allocations = 0;
    {
        const AllocationCounter counter;
        asked = VKStreamGetAvailable(stream.get(), &available);
        read = VKStreamRead(stream.get(), bytes, length);
        allocations = counter.count();
    }
    QCOMPARE(asked, kVKStatusSuccess);
    QCOMPARE(available, 3U);
    QCOMPARE(read, kVKStatusEndOfStream);
    QCOMPARE(allocations, 0);
    QCOMPARE(QByteArray(bytes), QByteArray("xyz"));
    QCOMPARE(positionOf(stream), 4U);
    QCOMPARE(VKStreamRead(stream.get(), bytes, std::numeric_limits<std::size_t>::max()),
             kVKStatusEndOfStream);
    QCOMPARE(VKStreamRead(stream.get(), bytes, 3), kVKStatusSuccess);
    QCOMPARE(QByteArray(bytes), QByteArray("abc"));
}

void VKStreamTest::tooMuchToWrite() {
    QFETCH_GLOBAL(bool, inMemory);
    const OwnedStream stream = makeStream();
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    constexpr auto kLongest = static_cast<std::size_t>(std::numeric_limits<std::int64_t>::max());
    for (const std::size_t size : {kLongest - 2, kLongest, std::numeric_limits<std::size_t>::max()}) {
        QCOMPARE(VKStreamWrite(stream.get(), "d", size), VKStatus{EFBIG});
    }
    if (inMemory) {
        // As long as a stream may become, but no memory is that large.
        QCOMPARE(VKStreamWrite(stream.get(), "d", kLongest - 3), VKStatus{ENOMEM});
    }
    QCOMPARE(positionOf(stream), 3U);
    QCOMPARE(availableIn(stream), 0U);
    QCOMPARE(contentOf(stream), QByteArray("abc"));
}

void VKStreamTest::dataIsNotChangedByLaterWrites() {
    const OwnedStream stream = makeStream();
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    VKCFRef<CFDataRef> before;
    QCOMPARE(VKStreamGetDataCopy(stream.get(), before.out()), kVKStatusSuccess);
    QCOMPARE(VKStreamSetPosition(stream.get(), 0), kVKStatusSuccess);
    QCOMPARE(writeBytes(stream, "X"), kVKStatusSuccess);
    QCOMPARE(VKStreamSetPosition(stream.get(), 3), kVKStatusSuccess);
    QCOMPARE(writeBytes(stream, "d"), kVKStatusSuccess);
    QCOMPARE(CFDataCopyQByteArray(before.get()), QByteArray("abc"));
    QCOMPARE(contentOf(stream), QByteArray("Xbcd"));
}

void VKStreamTest::dataOutlivesTheStream() {
    OwnedStream stream = makeStream();
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    VKCFRef<CFDataRef> data;
    QCOMPARE(VKStreamGetDataCopy(stream.get(), data.out()), kVKStatusSuccess);
    stream.reset();
    QCOMPARE(CFGetRetainCount(data.get()), CFIndex{1});
    QCOMPARE(CFDataCopyQByteArray(data.get()), QByteArray("abc"));
}

void VKStreamTest::asIfItWereOneArray() {
    // Any sequence of calls gives what it gives on one array of bytes. Sizes around those of the file's blocks.
    std::mt19937 random(99); // NOLINT: the same calls in each run
    const auto below = [&random](qsizetype limit) { return static_cast<qsizetype>(random()) % limit; };
    const qsizetype sizes[] = {0, 1, 4, 100, 5000, 65535, 65536, 65537, 150000};
    const OwnedStream stream = makeStream();
    QByteArray model("");
    qsizetype at = 0;
    for (int step = 0; step < 1500; ++step) {
        const qsizetype size = sizes[below(std::size(sizes))];
        switch (below(4)) {
        case 0: {
            at = below(model.size() + 1);
            QCOMPARE(VKStreamSetPosition(stream.get(), static_cast<std::uint64_t>(at)), kVKStatusSuccess);
            break;
        }
        case 1: {
            QByteArray bytes(size, '?');
            const bool fits = size <= model.size() - at;
            QCOMPARE(readBytes(stream, bytes), fits ? kVKStatusSuccess : kVKStatusEndOfStream);
            QCOMPARE(bytes, fits ? model.sliced(at, size) : QByteArray(size, '?'));
            at += fits ? size : 0;
            break;
        }
        default: {
            if (model.size() > 2000000 && at + size > model.size()) {
                break;
            }
            const QByteArray bytes(size, static_cast<char>(random()));
            QCOMPARE(writeBytes(stream, bytes), kVKStatusSuccess);
            model.replace(at, std::min(size, model.size() - at), bytes);
            at += size;
            break;
        }
        }
        QCOMPARE(positionOf(stream), static_cast<std::uint64_t>(at));
        QCOMPARE(availableIn(stream), static_cast<std::uint64_t>(model.size() - at));
        if (step % 100 == 0) {
            QVERIFY(contentOf(stream) == model);
        }
    }
    QVERIFY(contentOf(stream) == model);
    QVERIFY(model.size() > 500000);
}

void VKStreamTest::nothingToWorkOn() {
    const OwnedStream stream = makeStream();
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    QCOMPARE(VKStreamSetPosition(stream.get(), 1), kVKStatusSuccess);
    QCOMPARE(VKStreamRead(stream.get(), nullptr, 1), kVKStatusBadArgument);
    QCOMPARE(VKStreamWrite(stream.get(), nullptr, 1), kVKStatusBadArgument);
    QCOMPARE(VKStreamReadUInt32(stream.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKStreamGetPosition(stream.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKStreamGetAvailable(stream.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKStreamGetDataCopy(stream.get(), nullptr), kVKStatusBadArgument);
    // No bytes need no buffer, also at the end.
    QCOMPARE(VKStreamRead(stream.get(), nullptr, 0), kVKStatusSuccess);
    QCOMPARE(VKStreamWrite(stream.get(), nullptr, 0), kVKStatusSuccess);
    QCOMPARE(positionOf(stream), 1U);
    QCOMPARE(VKStreamSetPosition(stream.get(), 3), kVKStatusSuccess);
    QCOMPARE(VKStreamRead(stream.get(), nullptr, 0), kVKStatusSuccess);
    QCOMPARE(contentOf(stream), QByteArray("abc"));
}

void VKStreamTest::counting() {
    OwnedStream stream = makeStream();
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    OwnedStream second(VKStreamRetain(stream.get()));
    QVERIFY(second == stream);
    stream.reset();
    QCOMPARE(contentOf(second), QByteArray("abc"));
}

void VKStreamTest::countingOnThreads() {
    const OwnedStream stream = makeStream();
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    constexpr int kThreads = 4;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&stream] {
            for (int round = 0; round < 5000; ++round) {
                VKStreamRelease(VKStreamRetain(stream.get()));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(contentOf(stream), QByteArray("abc"));
}

void VKStreamTest::closingMemory() {
    const OwnedStream stream = makeMemoryStream();
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    QCOMPARE(VKStreamClose(stream.get()), kVKStatusSuccess);
    QCOMPARE(VKStreamClose(stream.get()), kVKStatusSuccess);
    QCOMPARE(writeBytes(stream, "d"), kVKStatusSuccess);
    QCOMPARE(contentOf(stream), QByteArray("abcd"));
}

void VKStreamTest::memoryIsShared() {
    const OwnedStream stream = makeMemoryStream();
    QCOMPARE(writeBytes(stream, QByteArray(1000000, 'x')), kVKStatusSuccess);
    VKCFRef<CFDataRef> data;
    std::size_t largest = 0;
    {
        const AllocationCounter counter;
        static_cast<void>(VKStreamGetDataCopy(stream.get(), data.out()));
        largest = counter.largest();
    }
    QCOMPARE(CFDataGetLength(data.get()), CFIndex{1000000});
    QVERIFY(largest < 1000);
}

void VKStreamTest::nullStreams() {
    std::uint64_t number = 7;
    std::uint32_t integer = 7;
    char byte = 'x';
    QCOMPARE(VKStreamCreateMemory(nullptr), kVKStatusBadArgument);
    QVERIFY(VKStreamRetain(nullptr) == nullptr);
    VKStreamRelease(nullptr);
    QCOMPARE(VKStreamClose(nullptr), kVKStatusBadArgument);
    QCOMPARE(VKStreamSetPosition(nullptr, 0), kVKStatusBadArgument);
    QCOMPARE(VKStreamGetPosition(nullptr, &number), kVKStatusBadArgument);
    QCOMPARE(VKStreamGetAvailable(nullptr, &number), kVKStatusBadArgument);
    QCOMPARE(VKStreamRead(nullptr, &byte, 1), kVKStatusBadArgument);
    QCOMPARE(VKStreamRead(nullptr, nullptr, 0), kVKStatusBadArgument);
    QCOMPARE(VKStreamWrite(nullptr, &byte, 1), kVKStatusBadArgument);
    QCOMPARE(VKStreamReadUInt32(nullptr, &integer), kVKStatusBadArgument);
    QCOMPARE(VKStreamWriteUInt32(nullptr, 1), kVKStatusBadArgument);
    CFDataRef data = CFDataCreateWithQByteArray("old");
    const auto owner = VKCFRef<CFDataRef>::adopt(data);
    QCOMPARE(VKStreamGetDataCopy(nullptr, &data), kVKStatusBadArgument);
    QVERIFY(data == nullptr);
    QCOMPARE(number, 7U);
    QCOMPARE(integer, 7U);
    QCOMPARE(byte, 'x');
}

VKTEST_MAIN(VKStreamTest)
#include "VKStreamTest.moc"
