// One owner, one reference: the counts are balanced whatever is done with owners.
#include "VKCoreKit/VKCFRef.h"

#include "CoreFoundation/CFQt.h"
#include "Support/VKTest.h"

#include <array>
#include <random>
#include <type_traits>

namespace {

using Ref = VKCFRef<CFStringRef>;

static_assert(sizeof(Ref) == sizeof(CFStringRef));
static_assert(std::is_nothrow_move_constructible_v<Ref> && std::is_nothrow_move_assignable_v<Ref>);
static_assert(std::is_nothrow_default_constructible_v<Ref>);
static_assert(!std::is_convertible_v<CFStringRef, Ref>, "which of the two it takes has to be said");
static_assert(!std::is_convertible_v<Ref, CFStringRef>, "a borrowed value has to be asked for");
static_assert(!std::is_convertible_v<Ref, bool>);

} // namespace

class VKCFRefTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void empty();
    void adopt();
    void retain();
    void copy();
    void move();
    void assign();
    void selfAssign();
    void release();
    void reset();
    void out();
    void otherTypes();
    void anySequenceIsBalanced();

private:
    [[nodiscard]] CFIndex count() const { return CFGetRetainCount(mValue); }

    CFStringRef mValue = nullptr; ///< one reference of the test's own
};

void VKCFRefTest::initTestCase() {
    mValue = CFStringCreateWithQString(QStringLiteral("a value of this test"));
}

// After each test nobody but the test itself holds the value.
void VKCFRefTest::cleanup() { QCOMPARE(count(), CFIndex{1}); }

void VKCFRefTest::cleanupTestCase() { CFRelease(mValue); }

void VKCFRefTest::empty() {
    Ref none;
    QVERIFY(!none);
    QVERIFY(none.get() == nullptr);
    QVERIFY(none.release() == nullptr);
    none.reset();
    QVERIFY(!Ref::adopt(nullptr));
    QVERIFY(!Ref::retain(nullptr));
    const Ref copy = none;
    QVERIFY(!copy);
    QVERIFY(*none.out() == nullptr);
}

void VKCFRefTest::adopt() {
    CFRetain(mValue);
    {
        const Ref owner = Ref::adopt(mValue);
        QVERIFY(owner);
        QVERIFY(owner.get() == mValue);
        QCOMPARE(count(), CFIndex{2});
    }
    QCOMPARE(count(), CFIndex{1});
}

void VKCFRefTest::retain() {
    const Ref owner = Ref::retain(mValue);
    QVERIFY(owner.get() == mValue);
    QCOMPARE(count(), CFIndex{2});
}

void VKCFRefTest::copy() {
    const Ref owner = Ref::retain(mValue);
    const Ref copy(owner); // NOLINT(performance-unnecessary-copy-initialization): it is what is tested
    QVERIFY(copy.get() == mValue);
    QVERIFY(owner.get() == mValue);
    QCOMPARE(count(), CFIndex{3});
}

void VKCFRefTest::move() {
    Ref owner = Ref::retain(mValue);
    const Ref moved(std::move(owner));
    QVERIFY(moved.get() == mValue);
    QVERIFY(!owner); // NOLINT(bugprone-use-after-move): it is promised
    QCOMPARE(count(), CFIndex{2});
}

void VKCFRefTest::assign() {
    const Ref other = Ref::adopt(CFStringCreateWithQString(QStringLiteral("another value")));
    Ref owner = Ref::retain(mValue);
    owner = other;
    QVERIFY(owner.get() == other.get());
    QCOMPARE(count(), CFIndex{1});
    QCOMPARE(CFGetRetainCount(other.get()), CFIndex{2});
    owner = Ref::retain(mValue);
    QCOMPARE(CFGetRetainCount(other.get()), CFIndex{1});
    QCOMPARE(count(), CFIndex{2});
    Ref moved;
    moved = std::move(owner);
    QVERIFY(moved.get() == mValue);
    QVERIFY(!owner); // NOLINT(bugprone-use-after-move): it is promised
    QCOMPARE(count(), CFIndex{2});
}

void VKCFRefTest::selfAssign() {
    Ref owner = Ref::retain(mValue);
    Ref& self = owner;
    owner = self;
    QVERIFY(owner.get() == mValue);
    QCOMPARE(count(), CFIndex{2});
    owner = std::move(self);
    QVERIFY(owner.get() == mValue);
    QCOMPARE(count(), CFIndex{2});
}

void VKCFRefTest::release() {
    Ref owner = Ref::retain(mValue);
    CFStringRef const given = owner.release();
    QVERIFY(given == mValue);
    QVERIFY(!owner);
    QCOMPARE(count(), CFIndex{2});
    CFRelease(given);
}

void VKCFRefTest::reset() {
    Ref owner = Ref::retain(mValue);
    owner.reset();
    QVERIFY(!owner);
    QCOMPARE(count(), CFIndex{1});
}

void VKCFRefTest::out() {
    const auto store = [this](CFStringRef* to) {
        CFRetain(mValue);
        *to = mValue;
    };
    Ref owner;
    store(owner.out());
    QVERIFY(owner.get() == mValue);
    QCOMPARE(count(), CFIndex{2});
    // The old reference is given back first.
    store(owner.out());
    QVERIFY(owner.get() == mValue);
    QCOMPARE(count(), CFIndex{2});
    // What stores nothing leaves nothing.
    QVERIFY(*owner.out() == nullptr);
    QVERIFY(!owner);
}

void VKCFRefTest::otherTypes() {
    auto list = VKCFRef<CFMutableArrayRef>::adopt(
        CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
    CFArrayAppendValue(list.get(), mValue);
    QCOMPARE(count(), CFIndex{2});
    const auto any = VKCFRef<CFTypeRef>::retain(list.get());
    list.reset();
    QCOMPARE(count(), CFIndex{2});
    QCOMPARE(CFGetRetainCount(any.get()), CFIndex{1});
}

void VKCFRefTest::anySequenceIsBalanced() {
    // After every step each value is held once by the test and once by each owner that shows it.
    const std::array<CFStringRef, 2> values{
        mValue, CFStringCreateWithQString(QStringLiteral("the other value of this test"))};
    {
        std::array<Ref, 4> owners;
        std::mt19937 random(20240229); // NOLINT: the same steps in each run
        const auto pick = [&random](std::size_t limit) { return random() % limit; };
        for (int step = 0; step < 20000; ++step) {
            Ref& owner = owners[pick(owners.size())];
            Ref& other = owners[pick(owners.size())];
            CFStringRef const value = values[pick(values.size())];
            switch (pick(8)) {
            case 0:
                owner = Ref::retain(value);
                break;
            case 1:
                owner = Ref::adopt(static_cast<CFStringRef>(CFRetain(value)));
                break;
            case 2:
                owner = other;
                break;
            case 3:
                owner = std::move(other);
                break;
            case 4:
                owner.reset();
                break;
            case 5:
                *owner.out() = static_cast<CFStringRef>(CFRetain(value));
                break;
            case 6:
                if (CFStringRef const given = owner.release(); given != nullptr) {
                    CFRelease(given);
                }
                break;
            default:
                Ref taken(std::move(owner));
                owner = std::move(taken);
                break;
            }
            for (CFStringRef const held : values) {
                const auto holders = std::count_if(owners.begin(), owners.end(),
                                                   [held](const Ref& one) { return one.get() == held; });
                QCOMPARE(CFGetRetainCount(held), CFIndex{1} + holders);
            }
        }
    }
    QCOMPARE(CFGetRetainCount(values[1]), CFIndex{1});
    CFRelease(values[1]);
}

VKTEST_MAIN(VKCFRefTest)
#include "VKCFRefTest.moc"
