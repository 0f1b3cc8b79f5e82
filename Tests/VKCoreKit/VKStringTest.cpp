// The string value: shares what it was made from, and gives back what it took.
#include "VKCoreKit/VKString.h"

#include "CoreKitSupport.h"

#include <deque>
#include <type_traits>

using namespace CoreKit;

namespace {

static_assert(std::is_convertible_v<VKString, CFStringRef>);
static_assert(std::is_convertible_v<CFStringRef, VKString>);
static_assert(std::is_nothrow_move_constructible_v<VKString>);
static_assert(sizeof(VKString) == sizeof(CFStringRef));

} // namespace

class VKStringTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void none();
    void sharesAndOutlives();
    void copies();
    void inAQueue();
};

void VKStringTest::none() {
    const VKString empty;
    QVERIFY(static_cast<CFStringRef>(empty) == nullptr);
    const VKString fromNull(nullptr);
    QVERIFY(static_cast<CFStringRef>(fromNull) == nullptr);
    const VKString copy = fromNull; // NOLINT(performance-unnecessary-copy-initialization): what is tested
    QVERIFY(static_cast<CFStringRef>(copy) == nullptr);
}

void VKStringTest::sharesAndOutlives() {
    VKCFRef<CFStringRef> original = makeString(QStringLiteral("caf\u00E9"));
    const VKString string(original.get());
    CFStringRef const held = string;
    QVERIFY(held == original.get());
    QCOMPARE(CFGetRetainCount(held), CFIndex{2});
    original.reset();
    QCOMPARE(CFGetRetainCount(held), CFIndex{1});
    QCOMPARE(CFStringCopyQString(string), QStringLiteral("caf\u00E9"));
}

void VKStringTest::copies() {
    const VKCFRef<CFStringRef> original = makeString(QStringLiteral("one text of this test"));
    {
        const VKString string(original.get());
        VKString copy = string;
        QCOMPARE(CFGetRetainCount(original.get()), CFIndex{3});
        const VKString moved = std::move(copy);
        QCOMPARE(CFGetRetainCount(original.get()), CFIndex{3});
        VKString assigned;
        assigned = moved;
        QCOMPARE(CFGetRetainCount(original.get()), CFIndex{4});
        assigned = VKString();
        QCOMPARE(CFGetRetainCount(original.get()), CFIndex{3});
        QVERIFY(static_cast<CFStringRef>(moved) == original.get());
    }
    QCOMPARE(CFGetRetainCount(original.get()), CFIndex{1});
}

void VKStringTest::inAQueue() {
    std::deque<VKString> queue;
    for (int i = 0; i < 100; ++i) {
        queue.emplace_back(makeString(QStringLiteral("text %1").arg(i)).get());
    }
    queue.pop_front();
    for (int i = 1; i < 100; ++i) {
        CFStringRef const string = queue[static_cast<std::size_t>(i) - 1];
        QCOMPARE(CFStringCopyQString(string), QStringLiteral("text %1").arg(i));
        QCOMPARE(CFGetRetainCount(string), CFIndex{1});
    }
}

VKTEST_MAIN(VKStringTest)
#include "VKStringTest.moc"
