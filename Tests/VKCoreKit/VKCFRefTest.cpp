// One owner for each reference: the counts tell.
#include <VKCoreKit/VKCFRef.h>

#include "Support/VKTest.h"

#include <type_traits>
#include <utility>

using Ref = VKCFRef<CFDataRef>;

class VKCFRefTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void adoptAndRetain();
    void copyAndMove();
    void selfAssignment();
    void releaseAndReset();
    void outPointer();
    void empty();

private:
    [[nodiscard]] CFIndex count() const { return CFGetRetainCount(mData); }

    CFDataRef mData = nullptr;
};

void VKCFRefTest::init() {
    const UInt8 bytes[] = {1, 2, 3};
    mData = CFDataCreate(kCFAllocatorDefault, bytes, 3);
    QCOMPARE(count(), CFIndex{1});
}

// Whatever a test did, it gave back what it took.
void VKCFRefTest::cleanup() {
    QCOMPARE(count(), CFIndex{1});
    CFRelease(mData);
}

void VKCFRefTest::adoptAndRetain() {
    static_assert(sizeof(Ref) == sizeof(CFDataRef));
    static_assert(std::is_nothrow_move_constructible_v<Ref> && std::is_nothrow_move_assignable_v<Ref>);
    {
        const Ref retained = Ref::retain(mData);
        QCOMPARE(retained.get(), mData);
        QVERIFY(bool(retained));
        QCOMPARE(count(), CFIndex{2});
    }
    QCOMPARE(count(), CFIndex{1});
    CFRetain(mData);
    {
        const Ref adopted = Ref::adopt(mData);
        QCOMPARE(count(), CFIndex{2});
    }
}

void VKCFRefTest::copyAndMove() {
    Ref first = Ref::retain(mData);
    const Ref copy = first; // NOLINT: the copy is what is tested
    QCOMPARE(count(), CFIndex{3});
    Ref moved = std::move(first);
    QCOMPARE(count(), CFIndex{3});
    QVERIFY(!first); // NOLINT: moved from is empty
    Ref assigned;
    assigned = moved;
    QCOMPARE(count(), CFIndex{4});
    assigned = std::move(moved);
    QCOMPARE(count(), CFIndex{3});
    QCOMPARE(assigned.get(), mData);
    assigned = Ref();
    QCOMPARE(count(), CFIndex{2});
}

void VKCFRefTest::selfAssignment() {
    Ref reference = Ref::retain(mData);
    Ref& same = reference;
    reference = same;
    QCOMPARE(reference.get(), mData);
    QCOMPARE(count(), CFIndex{2});
    reference = std::move(same);
    QCOMPARE(reference.get(), mData);
    QCOMPARE(count(), CFIndex{2});
}

void VKCFRefTest::releaseAndReset() {
    Ref reference = Ref::retain(mData);
    CFDataRef given = reference.release();
    QCOMPARE(given, mData);
    QVERIFY(!reference);
    QCOMPARE(count(), CFIndex{2});
    CFRelease(given);
    reference = Ref::retain(mData);
    reference.reset();
    QVERIFY(!reference);
    QCOMPARE(count(), CFIndex{1});
    reference.reset();
}

void VKCFRefTest::outPointer() {
    const auto makeInto = [this](CFDataRef* out) {
        CFRetain(mData);
        *out = mData;
    };
    Ref reference;
    makeInto(reference.out());
    QCOMPARE(reference.get(), mData);
    QCOMPARE(count(), CFIndex{2});
    // The old reference is given back first.
    makeInto(reference.out());
    QCOMPARE(count(), CFIndex{2});
}

void VKCFRefTest::empty() {
    const Ref none;
    QVERIFY(!none);
    QVERIFY(none.get() == nullptr);
    QVERIFY(!Ref::adopt(nullptr));
    QVERIFY(!Ref::retain(nullptr));
    const Ref copy = none; // NOLINT: the copy is what is tested
    QVERIFY(!copy);
}

VKTEST_MAIN(VKCFRefTest)
#include "VKCFRefTest.moc"
