// Counting: one reference at birth, none copied, deleted by the last release on whichever thread.
#include "VKCoreKit/CBaseCore.h"

#include "Support/VKTest.h"

#include <atomic>
#include <cstddef>
#include <cstring>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

static_assert(std::is_polymorphic_v<CBaseCore>);
static_assert(std::has_virtual_destructor_v<CBaseCore>);
static_assert(std::is_nothrow_copy_constructible_v<CBaseCore>);
static_assert(std::is_nothrow_copy_assignable_v<CBaseCore>);

class Counted : public CBaseCore {
public:
    explicit Counted(std::atomic<int>* deleted = nullptr, int value = 0) : mValue(value), mDeleted(deleted) {}
    Counted(const Counted&) = default;
    Counted& operator=(const Counted&) = default;
    ~Counted() override {
        if (mDeleted != nullptr) {
            ++*mDeleted;
        }
    }

    int mValue;

private:
    std::atomic<int>* mDeleted;
};

/// What the count is, by taking a reference and giving it back.
std::uint32_t countOf(CBaseCore& object) {
    object.AddRef();
    return object.Release();
}

/// The place of a virtual function in the table, as the Itanium C++ ABI stores it in a member pointer.
template <typename Member>
std::ptrdiff_t slotOf(Member member) {
    std::ptrdiff_t stored = 0;
    std::memcpy(&stored, &member, sizeof stored);
    return stored / std::ptrdiff_t{sizeof(void*)};
}

} // namespace

class CBaseCoreTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void startsAtOne();
    void lastReleaseDeletes();
    void ownerGivesBack();
    void valueOnTheStack();
    void copyStartsAtOne();
    void assigningChangesNoCount();
    void overriddenCounting();
    void slotOrder();
    void threads();
    void lastReleaseSeesWhatOthersWrote();
};

void CBaseCoreTest::startsAtOne() {
    std::atomic<int> deleted = 0;
    auto* const object = new Counted(&deleted);
    QCOMPARE(object->AddRef(), 2U);
    QCOMPARE(object->AddRef(), 3U);
    QCOMPARE(object->Release(), 2U);
    QCOMPARE(object->Release(), 1U);
    QCOMPARE(deleted.load(), 0);
    QCOMPARE(object->Release(), 0U);
}

void CBaseCoreTest::lastReleaseDeletes() {
    std::atomic<int> deleted = 0;
    CBaseCore* const object = new Counted(&deleted);
    object->AddRef();
    object->Release();
    QCOMPARE(deleted.load(), 0);
    object->Release();
    QCOMPARE(deleted.load(), 1);
}

void CBaseCoreTest::ownerGivesBack() {
    std::atomic<int> deleted = 0;
    VKOwned<Counted> owner(new Counted(&deleted));
    owner->AddRef();
    VKOwned<Counted> second(owner.get());
    owner.reset();
    QCOMPARE(deleted.load(), 0);
    QCOMPARE(countOf(*second), 1U);
    second.reset();
    QCOMPARE(deleted.load(), 1);
    const VKOwned<Counted> nothing(nullptr);
}

void CBaseCoreTest::valueOnTheStack() {
    std::atomic<int> deleted = 0;
    {
        Counted object(&deleted);
        QCOMPARE(countOf(object), 1U);
    }
    QCOMPARE(deleted.load(), 1);
}

void CBaseCoreTest::copyStartsAtOne() {
    Counted original(nullptr, 7);
    original.AddRef();
    original.AddRef();
    Counted copy(original);
    QCOMPARE(copy.mValue, 7);
    QCOMPARE(countOf(copy), 1U);
    QCOMPARE(countOf(original), 3U);
}

void CBaseCoreTest::assigningChangesNoCount() {
    Counted one(nullptr, 1);
    one.AddRef();
    Counted other(nullptr, 2);
    other.AddRef();
    other.AddRef();
    one = other;
    QCOMPARE(one.mValue, 2);
    QCOMPARE(countOf(one), 2U);
    QCOMPARE(countOf(other), 3U);
    Counted& self = one;
    one = self;
    QCOMPARE(countOf(one), 2U);
    one = Counted(nullptr, 3);
    QCOMPARE(one.mValue, 3);
    QCOMPARE(countOf(one), 2U);
}

void CBaseCoreTest::overriddenCounting() {
    class Immortal final : public CBaseCore {
    public:
        std::uint32_t AddRef() override { return 1; }
        std::uint32_t Release() override { return 1; }
    };
    Immortal object;
    CBaseCore& base = object;
    QCOMPARE(base.AddRef(), 1U);
    QCOMPARE(base.Release(), 1U);
    QCOMPARE(base.Release(), 1U);
}

void CBaseCoreTest::slotOrder() {
    // The destructor takes the first two places: one destroys, one deletes as well.
    QCOMPARE(slotOf(&CBaseCore::AddRef), std::ptrdiff_t{2});
    QCOMPARE(slotOf(&CBaseCore::Release), std::ptrdiff_t{3});
}

void CBaseCoreTest::threads() {
    constexpr int kThreads = 8;
    constexpr int kRounds = 20000;
    std::atomic<int> deleted = 0;
    auto* const object = new Counted(&deleted);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([object] {
            for (int round = 0; round < kRounds; ++round) {
                object->AddRef();
                object->AddRef();
                object->Release();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(deleted.load(), 0);
    QCOMPARE(countOf(*object), 1U + kThreads * kRounds);
    for (int i = 0; i < kThreads * kRounds; ++i) {
        object->Release();
    }
    QCOMPARE(object->Release(), 0U);
    QCOMPARE(deleted.load(), 1);
}

void CBaseCoreTest::lastReleaseSeesWhatOthersWrote() {
    // Plain writes before a release, read by the destructor on whichever thread it runs.
    class Summing final : public CBaseCore {
    public:
        explicit Summing(std::atomic<int>* sum) : mSum(sum) {}
        Summing(const Summing&) = delete;
        Summing& operator=(const Summing&) = delete;
        ~Summing() override { *mSum += mParts[0] + mParts[1] + mParts[2] + mParts[3]; }
        int mParts[4] = {};

    private:
        std::atomic<int>* mSum;
    };
    constexpr int kRounds = 2000;
    std::atomic<int> sum = 0;
    for (int round = 0; round < kRounds; ++round) {
        auto* const object = new Summing(&sum);
        std::vector<std::thread> threads;
        for (std::size_t i = 1; i < 4; ++i) {
            object->AddRef();
            threads.emplace_back([object, i] {
                object->mParts[i] = 1;
                object->Release();
            });
        }
        object->mParts[0] = 1;
        object->Release();
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    QCOMPARE(sum.load(), 4 * kRounds);
}

VKTEST_MAIN(CBaseCoreTest)
#include "CBaseCoreTest.moc"
