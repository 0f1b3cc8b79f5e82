// The small records: their layout is that of C, their comparison that of their numbers.
#include <VKCoreKit/VKTypes.h>

#include "Support/VKTest.h"

#include <cstddef>
#include <type_traits>

class VKTypesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void layout();
    void comparison();
};

void VKTypesTest::layout() {
    static_assert(std::is_trivially_copyable_v<VKRect> && std::is_standard_layout_v<VKRect>);
    static_assert(std::is_trivially_copyable_v<VKRational> && std::is_standard_layout_v<VKRational>);
    QCOMPARE(sizeof(VKRect), std::size_t{16});
    QCOMPARE(offsetof(VKRect, y), std::size_t{4});
    QCOMPARE(offsetof(VKRect, width), std::size_t{8});
    QCOMPARE(offsetof(VKRect, height), std::size_t{12});
    QCOMPARE(sizeof(VKRational), std::size_t{8});
    QCOMPARE(offsetof(VKRational, denominator), std::size_t{4});
}

void VKTypesTest::comparison() {
    QVERIFY((VKRect{1, -2, 30, 40} == VKRect{1, -2, 30, 40}));
    QVERIFY((VKRect{1, -2, 30, 40} != VKRect{1, -2, 30, 41}));
    QVERIFY((VKRect{} == VKRect{0, 0, 0, 0}));
    QVERIFY((VKRational{1, 2} == VKRational{1, 2}));
    QVERIFY((VKRational{1, 2} != VKRational{2, 4}));
    QVERIFY((VKRational{} == VKRational{0, 0}));
}

VKTEST_MAIN(VKTypesTest)
#include "VKTypesTest.moc"
