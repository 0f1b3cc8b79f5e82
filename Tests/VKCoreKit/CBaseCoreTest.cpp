// Counting references.
#include <VKCoreKit/CBaseCore.h>

#include "Support/VKTest.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

namespace {

class Counted : public CBaseCore {
public:
    explicit Counted(std::atomic<int>& deleted) : mDeleted(&deleted) {}
    Counted(const Counted&) = default;
    Counted& operator=(const Counted&) = default;
    ~Counted() override { ++*mDeleted; }

private:
    std::atomic<int>* mDeleted;
};

} // namespace

class CBaseCoreTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void startsAtOne();
    void copiesStartAtOne();
    void assigningChangesNoCount();
    void deletedThroughTheBase();
    void manyThreads();
    void slotOrder();
};

void CBaseCoreTest::startsAtOne() {
    std::atomic<int> deleted{0};
    auto* object = new Counted(deleted);
    QCOMPARE(object->AddRef(), 2U);
    QCOMPARE(object->AddRef(), 3U);
    QCOMPARE(object->Release(), 2U);
    QCOMPARE(object->Release(), 1U);
    QCOMPARE(deleted.load(), 0);
    QCOMPARE(object->Release(), 0U);
    QCOMPARE(deleted.load(), 1);
}

void CBaseCoreTest::copiesStartAtOne() {
    std::atomic<int> deleted{0};
    Counted original(deleted);
    original.AddRef();
    auto* copy = new Counted(original);
    QCOMPARE(copy->Release(), 0U);
    QCOMPARE(deleted.load(), 1);
    QCOMPARE(original.Release(), 1U);
}

void CBaseCoreTest::assigningChangesNoCount() {
    std::atomic<int> deleted{0};
    Counted first(deleted);
    Counted second(deleted);
    first.AddRef();
    first.AddRef();
    second = first;
    QCOMPARE(second.AddRef(), 2U);
    QCOMPARE(first.AddRef(), 4U);
}

void CBaseCoreTest::deletedThroughTheBase() {
    std::atomic<int> deleted{0};
    CBaseCore* object = new Counted(deleted);
    QCOMPARE(object->Release(), 0U);
    QCOMPARE(deleted.load(), 1);
}

void CBaseCoreTest::manyThreads() {
    constexpr int kThreads = 8;
    constexpr int kRounds = 10000;
    std::atomic<int> deleted{0};
    auto* object = new Counted(deleted);
    for (int i = 0; i < kThreads; ++i) {
        object->AddRef();
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([object] {
            for (int round = 0; round < kRounds; ++round) {
                object->AddRef();
                object->Release();
            }
            object->Release();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(deleted.load(), 0);
    QCOMPARE(object->Release(), 0U);
    QCOMPARE(deleted.load(), 1);
}

void CBaseCoreTest::slotOrder() {
    // In this system's C++ interface a pointer to a virtual function begins with 1 + the offset of its slot; the
    // destructor takes the first two slots.
    const auto slotOf = [](auto function) {
        std::uintptr_t first = 0;
        std::memcpy(&first, &function, sizeof first);
        return (first - 1) / sizeof(void*);
    };
    QCOMPARE(slotOf(&CBaseCore::AddRef), std::uintptr_t{2});
    QCOMPARE(slotOf(&CBaseCore::Release), std::uintptr_t{3});
}

VKTEST_MAIN(CBaseCoreTest)
#include "CBaseCoreTest.moc"
