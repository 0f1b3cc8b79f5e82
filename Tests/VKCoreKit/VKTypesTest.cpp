// The records' layout, which other libraries read as plain memory.
#include "VKCoreKit/VKTypes.h"

#include "Support/VKTest.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>

namespace {

template <typename Record, std::size_t Fields>
std::array<std::int32_t, Fields> fieldsOf(const Record& record) {
    static_assert(sizeof(Record) == Fields * sizeof(std::int32_t));
    static_assert(std::is_standard_layout_v<Record> && std::is_trivially_copyable_v<Record>);
    std::array<std::int32_t, Fields> fields;
    std::memcpy(fields.data(), &record, sizeof record);
    return fields;
}

} // namespace

class VKTypesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void rectangle();
    void rational();
    void equality();
};

void VKTypesTest::rectangle() {
    const VKRect rect{1, -2, 30, 40};
    QCOMPARE(rect.x, 1);
    QCOMPARE(rect.y, -2);
    QCOMPARE(rect.width, 30);
    QCOMPARE(rect.height, 40);
    QVERIFY((fieldsOf<VKRect, 4>(rect) == std::array<std::int32_t, 4>{1, -2, 30, 40}));
    QVERIFY((fieldsOf<VKRect, 4>(VKRect()) == std::array<std::int32_t, 4>{}));
}

void VKTypesTest::rational() {
    const VKRational half{1, 2};
    QCOMPARE(half.numerator, 1);
    QCOMPARE(half.denominator, 2);
    QVERIFY((fieldsOf<VKRational, 2>(half) == std::array<std::int32_t, 2>{1, 2}));
    QVERIFY((fieldsOf<VKRational, 2>(VKRational()) == std::array<std::int32_t, 2>{}));
    const VKRational extreme{INT32_MIN, INT32_MAX};
    QCOMPARE(extreme.numerator, INT32_MIN);
    QCOMPARE(extreme.denominator, INT32_MAX);
}

void VKTypesTest::equality() {
    QVERIFY((VKRect{1, 2, 3, 4} == VKRect{1, 2, 3, 4}));
    for (std::size_t i = 0; i < 4; ++i) {
        std::array<std::int32_t, 4> f{1, 2, 3, 4};
        f[i] = 9;
        QVERIFY((VKRect{f[0], f[1], f[2], f[3]} != VKRect{1, 2, 3, 4}));
    }
    QVERIFY((VKRational{1, 2} == VKRational{1, 2}));
    // As written, not by value.
    QVERIFY((VKRational{1, 2} != VKRational{2, 4}));
    QVERIFY((VKRational{0, 1} != VKRational{0, 0}));
}

VKTEST_MAIN(VKTypesTest)
#include "VKTypesTest.moc"
