// Date objects: the record goes in and comes out unchanged, counts are right on many threads, arguments are looked at.
#include "VKCoreKit/VKDate.h"

#include "Support/VKTest.h"

#include <array>
#include <cstring>
#include <limits>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

} // namespace

Q_DECLARE_METATYPE(VKDateComponents)

class VKDateTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void layout();
    void roundTrip_data();
    void roundTrip();
    void missingArguments();
    void keepsItsOwnCopy();
    void counting();
    void countingOnManyThreads();
};

void VKDateTest::layout() {
    static_assert(std::is_standard_layout_v<VKDateComponents>);
    static_assert(std::is_trivially_copyable_v<VKDateComponents>);
    const VKDateComponents components = {1, 2, 3, 4, 5, 6, 7, 8};
    std::array<std::int32_t, 8> fields{};
    static_assert(sizeof components == sizeof fields);
    std::memcpy(fields.data(), &components, sizeof components);
    QVERIFY((fields == std::array<std::int32_t, 8>{1, 2, 3, 4, 5, 6, 7, 8}));
    QCOMPARE(components.year, 1);
    QCOMPARE(components.month, 2);
    QCOMPARE(components.day, 3);
    QCOMPARE(components.hour, 4);
    QCOMPARE(components.minute, 5);
    QCOMPARE(components.second, 6);
    QCOMPARE(components.reserved, 7);
    QCOMPARE(components.offsetFromUtc, 8);
    const VKDateComponents none;
    std::memcpy(fields.data(), &none, sizeof none);
    QVERIFY((fields == std::array<std::int32_t, 8>{}));
}

void VKDateTest::roundTrip_data() {
    QTest::addColumn<VKDateComponents>("components");
    QTest::newRow("a date") << VKDateComponents{2017, 1, 5, 9, 3, 7, 0, 3600};
    QTest::newRow("zeros") << VKDateComponents{};
    QTest::newRow("no date of the calendar") << VKDateComponents{2017, 13, 32, 24, 60, 61, 0, 0};
    QTest::newRow("negative") << VKDateComponents{-44, -3, -15, -1, -1, -1, -1, -3600};
    QTest::newRow("least") << VKDateComponents{kLeast, kLeast, kLeast, kLeast,
                                               kLeast, kLeast, kLeast, kLeast};
    QTest::newRow("most") << VKDateComponents{kMost, kMost, kMost, kMost, kMost, kMost, kMost, kMost};
}

void VKDateTest::roundTrip() {
    QFETCH(const VKDateComponents, components);
    VKDateRef date = nullptr;
    QCOMPARE(VKDateCreate(&components, &date), kVKStatusSuccess);
    QVERIFY(date != nullptr);
    VKDateComponents back;
    QCOMPARE(VKDateGetComponents(date, &back), kVKStatusSuccess);
    QVERIFY(back == components);
    VKDateRelease(date);
}

void VKDateTest::missingArguments() {
    const VKDateComponents components = {1, 2, 3, 4, 5, 6, 7, 8};
    QCOMPARE(VKDateCreate(&components, nullptr), kVKStatusBadArgument);
    int other = 0;
    auto date = reinterpret_cast<VKDateRef>(&other);
    QCOMPARE(VKDateCreate(nullptr, &date), kVKStatusBadArgument);
    QVERIFY(date == nullptr);

    VKDateComponents untouched = components;
    QCOMPARE(VKDateGetComponents(nullptr, &untouched), kVKStatusBadArgument);
    QVERIFY(untouched == components);
    QCOMPARE(VKDateCreate(&components, &date), kVKStatusSuccess);
    QCOMPARE(VKDateGetComponents(date, nullptr), kVKStatusBadArgument);
    VKDateRelease(date);

    QVERIFY(VKDateRetain(nullptr) == nullptr);
    VKDateRelease(nullptr);
}

void VKDateTest::keepsItsOwnCopy() {
    VKDateComponents components = {2017, 1, 5, 9, 3, 7, 0, 0};
    VKDateRef date = nullptr;
    QCOMPARE(VKDateCreate(&components, &date), kVKStatusSuccess);
    components = {};
    VKDateComponents back;
    QCOMPARE(VKDateGetComponents(date, &back), kVKStatusSuccess);
    QCOMPARE(back.year, 2017);
    VKDateRelease(date);
}

// The address sanitizer's build tells of a release too many here, and of one too few.
void VKDateTest::counting() {
    const VKDateComponents components = {2017, 1, 5, 9, 3, 7, 0, 0};
    VKDateRef date = nullptr;
    QCOMPARE(VKDateCreate(&components, &date), kVKStatusSuccess);
    QVERIFY(VKDateRetain(date) == date);
    VKDateRelease(date);
    VKDateComponents back;
    QCOMPARE(VKDateGetComponents(date, &back), kVKStatusSuccess);
    QVERIFY(back == components);
    VKDateRelease(date);
}

void VKDateTest::countingOnManyThreads() {
    const VKDateComponents components = {2017, 1, 5, 9, 3, 7, 0, 0};
    VKDateRef date = nullptr;
    QCOMPARE(VKDateCreate(&components, &date), kVKStatusSuccess);
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([date = VKDateRetain(date), &components, &right] {
            for (int turn = 0; turn < 1000; ++turn) {
                VKDateRelease(VKDateRetain(date));
            }
            VKDateComponents back;
            if (VKDateGetComponents(date, &back) == kVKStatusSuccess && back == components) {
                ++right;
            }
            VKDateRelease(date);
        });
    }
    VKDateRelease(date);
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(right.load(), 8);
}

VKTEST_MAIN(VKDateTest)
#include "VKDateTest.moc"
