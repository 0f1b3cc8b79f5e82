// Stages, steps, cancelling and bytes of the progress object.
#include "VKCoreKit/VKProgress.h"
#include "VKCoreKit/VKProgressInternal.h"

#include "Support/VKTest.h"

#include <csignal>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using namespace std::chrono_literals;

namespace {

/// Writes down what it is told, as "stage/step/steps", and cancels when told so.
struct Recorder {
    QStringList seen;
    VKProgress* cancelThis = nullptr;
    int cancelAtStep = -2;

    static void observe(const VKProgressState& state, void* context) {
        auto* const self = static_cast<Recorder*>(context);
        self->seen.append(QStringLiteral("%1/%2/%3").arg(state.stage).arg(state.step).arg(state.steps));
        if (state.step == self->cancelAtStep) {
            VKProgressSetCancel(self->cancelThis, true);
        }
    }
};

struct Bytes {
    std::vector<std::uint64_t> done;

    static void observe(const VKProgressBytes& bytes, void* context) {
        static_cast<Bytes*>(context)->done.push_back(bytes.done);
    }
};

VKOwnedProgress makeProgress(VKProgressObserver observer = nullptr, void* context = nullptr) {
    return VKOwnedProgress(VKProgressCreate(observer, context));
}

VKProgress* gCancelledBySignal = nullptr;

} // namespace

class VKProgressTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void stagesAndSteps();
    void withoutObserver();
    void nullIsNoProgress();
    void reservedArguments_data();
    void reservedArguments();
    void everyCallAnswersTheCancel();
    void theObserverCancels();
    void cancelIsTakenBack();
    void cancelFromAnotherThread();
    void cancelFromASignalHandler();
    void lastReferenceDeletes();
    void countsFromManyThreads();

    void bytesPass_data();
    void bytesPass();
    void firstAndLastBytesAreReported();
    void reportsAreThinnedOut();
    void anotherObserverHearsAtOnce();
    void bytesWithoutObserver();
};

void VKProgressTest::stagesAndSteps() {
    Recorder recorder;
    const VKOwnedProgress progress = makeProgress(&Recorder::observe, &recorder);
    QCOMPARE(VKProgressDoProgressBeginStage(progress.get(), 0, 0, 0), kVKStatusSuccess);
    QCOMPARE(VKProgressDoProgressEndStage(progress.get()), kVKStatusSuccess);
    QCOMPARE(VKProgressDoProgressBeginStage(progress.get(), 0, 0, 2), kVKStatusSuccess);
    QCOMPARE(VKProgressDoProgressUpdateStage(progress.get(), 0), kVKStatusSuccess);
    QCOMPARE(VKProgressDoProgressUpdateStage(progress.get(), 1), kVKStatusSuccess);
    QCOMPARE(VKProgressDoProgressEndStage(progress.get()), kVKStatusSuccess);
    QCOMPARE(VKProgressDoProgressBeginStage(progress.get(), 0, 0, 1), kVKStatusSuccess);
    const QStringList expected = {
        QStringLiteral("0/-1/0"), QStringLiteral("0/-1/0"), QStringLiteral("1/-1/2"), QStringLiteral("1/0/2"),
        QStringLiteral("1/1/2"),  QStringLiteral("1/1/2"),  QStringLiteral("2/-1/1"),
    };
    QCOMPARE(recorder.seen, expected);
}

void VKProgressTest::withoutObserver() {
    const VKOwnedProgress progress = makeProgress();
    QCOMPARE(VKProgressDoProgressBeginStage(progress.get(), 0, 0, 1), kVKStatusSuccess);
    QCOMPARE(VKProgressDoProgressUpdateStage(progress.get(), 0), kVKStatusSuccess);
    VKProgressSetCancel(progress.get(), true);
    QCOMPARE(VKProgressDoProgressEndStage(progress.get()), kVKStatusCancelled);
}

void VKProgressTest::nullIsNoProgress() {
    QCOMPARE(VKProgressDoProgressBeginStage(nullptr, 0, 0, 1), kVKStatusSuccess);
    QCOMPARE(VKProgressDoProgressUpdateStage(nullptr, 0), kVKStatusSuccess);
    QCOMPARE(VKProgressDoProgressEndStage(nullptr), kVKStatusSuccess);
    QVERIFY(!VKProgressGetCancel(nullptr));
    QVERIFY(VKProgressRetain(nullptr) == nullptr);
    QVERIFY(!progressWantsBytes(nullptr));
    VKProgressSetCancel(nullptr, true);
    VKProgressSetByteObserver(nullptr, &Bytes::observe, nullptr);
    VKProgressDoBytes(nullptr, {.done = 1, .total = 1});
    VKProgressRelease(nullptr);
}

void VKProgressTest::reservedArguments_data() {
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("second");
    QTest::addColumn<VKStatus>("status");
    QTest::addColumn<int>("told");
    QTest::newRow("as older callers give them") << 0 << 0 << kVKStatusSuccess << 1;
    QTest::newRow("first") << 1 << 0 << kVKStatusBadArgument << 0;
    QTest::newRow("second") << 0 << -1 << kVKStatusBadArgument << 0;
}

void VKProgressTest::reservedArguments() {
    QFETCH(int, first);
    QFETCH(int, second);
    QFETCH(VKStatus, status);
    QFETCH(int, told);
    Recorder recorder;
    const VKOwnedProgress progress = makeProgress(&Recorder::observe, &recorder);
    QCOMPARE(VKProgressDoProgressBeginStage(progress.get(), first, second, 1), status);
    QCOMPARE(recorder.seen.size(), told);
}

void VKProgressTest::everyCallAnswersTheCancel() {
    Recorder recorder;
    const VKOwnedProgress progress = makeProgress(&Recorder::observe, &recorder);
    VKProgressSetCancel(progress.get(), true);
    QVERIFY(VKProgressGetCancel(progress.get()));
    QCOMPARE(VKProgressDoProgressBeginStage(progress.get(), 0, 0, 1), kVKStatusCancelled);
    QCOMPARE(VKProgressDoProgressUpdateStage(progress.get(), 0), kVKStatusCancelled);
    QCOMPARE(VKProgressDoProgressEndStage(progress.get()), kVKStatusCancelled);
    const QStringList expected = {QStringLiteral("0/-1/1"), QStringLiteral("0/0/1"), QStringLiteral("0/0/1")};
    QCOMPARE(recorder.seen, expected);
}

void VKProgressTest::theObserverCancels() {
    Recorder recorder;
    const VKOwnedProgress progress = makeProgress(&Recorder::observe, &recorder);
    recorder.cancelThis = progress.get();
    recorder.cancelAtStep = 1;
    QCOMPARE(VKProgressDoProgressBeginStage(progress.get(), 0, 0, 3), kVKStatusSuccess);
    QCOMPARE(VKProgressDoProgressUpdateStage(progress.get(), 0), kVKStatusSuccess);
    QCOMPARE(VKProgressDoProgressUpdateStage(progress.get(), 1), kVKStatusCancelled);
}

void VKProgressTest::cancelIsTakenBack() {
    const VKOwnedProgress progress = makeProgress();
    VKProgressSetCancel(progress.get(), true);
    VKProgressSetCancel(progress.get(), false);
    QVERIFY(!VKProgressGetCancel(progress.get()));
    QCOMPARE(VKProgressDoProgressUpdateStage(progress.get(), 0), kVKStatusSuccess);
}

void VKProgressTest::cancelFromAnotherThread() {
    const VKOwnedProgress progress = makeProgress();
    std::thread canceller([&] { VKProgressSetCancel(progress.get(), true); });
    while (VKProgressDoProgressUpdateStage(progress.get(), 0) == kVKStatusSuccess) {
        std::this_thread::yield();
    }
    canceller.join();
    QVERIFY(VKProgressGetCancel(progress.get()));
}

void VKProgressTest::cancelFromASignalHandler() {
    const VKOwnedProgress progress = makeProgress();
    gCancelledBySignal = progress.get();
    struct sigaction before = {};
    struct sigaction handler = {};
    handler.sa_handler = [](int) { VKProgressSetCancel(gCancelledBySignal, true); };
    QCOMPARE(::sigaction(SIGUSR1, &handler, &before), 0);
    QCOMPARE(::raise(SIGUSR1), 0);
    QCOMPARE(::sigaction(SIGUSR1, &before, nullptr), 0);
    QVERIFY(VKProgressGetCancel(progress.get()));
}

void VKProgressTest::lastReferenceDeletes() {
    // The address sanitizer watches the last line of each part.
    VKProgress* const progress = VKProgressCreate(nullptr, nullptr);
    QVERIFY(VKProgressRetain(progress) == progress);
    VKProgressRelease(progress);
    VKProgressSetCancel(progress, true);
    QVERIFY(VKProgressGetCancel(progress));
    VKProgressRelease(progress);
}

void VKProgressTest::countsFromManyThreads() {
    const VKOwnedProgress progress = makeProgress();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 10000; ++j) {
                VKProgressRelease(VKProgressRetain(progress.get()));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    VKProgressSetCancel(progress.get(), true);
    QVERIFY(VKProgressGetCancel(progress.get()));
}

void VKProgressTest::bytesPass_data() {
    QTest::addColumn<quint64>("done");
    QTest::addColumn<quint64>("total");
    QTest::addColumn<qint64>("afterMs");
    QTest::addColumn<bool>("due");
    const qint64 pause = kByteReportPause.count();
    QTest::newRow("too early") << quint64(1) << quint64(9) << pause - 1 << false;
    QTest::newRow("just in time") << quint64(1) << quint64(9) << pause << true;
    QTest::newRow("late") << quint64(1) << quint64(9) << pause + 1 << true;
    QTest::newRow("complete") << quint64(9) << quint64(9) << qint64(0) << true;
    QTest::newRow("more than there was") << quint64(10) << quint64(9) << qint64(0) << true;
    QTest::newRow("an unknown total is never complete") << quint64(10) << quint64(0) << qint64(0) << false;
}

void VKProgressTest::bytesPass() {
    QFETCH(quint64, done);
    QFETCH(quint64, total);
    QFETCH(qint64, afterMs);
    QFETCH(bool, due);
    QCOMPARE(byteReportIsDue({.done = done, .total = total}, std::chrono::milliseconds(afterMs)), due);
}

void VKProgressTest::firstAndLastBytesAreReported() {
    const VKOwnedProgress progress = makeProgress();
    Bytes bytes;
    VKProgressSetByteObserver(progress.get(), &Bytes::observe, &bytes);
    QVERIFY(progressWantsBytes(progress.get()));
    constexpr std::uint64_t kTotal = 10000;
    for (std::uint64_t done = 1; done <= kTotal; ++done) {
        VKProgressDoBytes(progress.get(), {.done = done, .total = kTotal});
    }
    QCOMPARE(bytes.done.front(), std::uint64_t(1));
    QCOMPARE(bytes.done.back(), kTotal);
    for (std::size_t i = 1; i < bytes.done.size(); ++i) {
        QVERIFY(bytes.done[i] > bytes.done[i - 1]);
    }
}

void VKProgressTest::reportsAreThinnedOut() {
    Bytes seen;
    const VKOwnedProgress progress = makeProgress();
    VKProgressSetByteObserver(progress.get(), &Bytes::observe, &seen);
    // Far more of them than pauses fit into the time that they take.
    constexpr std::uint64_t kCalls = 100'000;
    for (std::uint64_t done = 0; done < kCalls; ++done) {
        VKProgressDoBytes(progress.get(), {.done = done, .total = kCalls});
    }
    QVERIFY(seen.done.size() < kCalls / 2);
}

void VKProgressTest::anotherObserverHearsAtOnce() {
    Bytes first;
    Bytes second;
    const VKOwnedProgress progress = makeProgress();
    VKProgressSetByteObserver(progress.get(), &Bytes::observe, &first);
    VKProgressDoBytes(progress.get(), {.done = 1, .total = 9});
    VKProgressSetByteObserver(progress.get(), &Bytes::observe, &second);
    VKProgressDoBytes(progress.get(), {.done = 2, .total = 9});
    QCOMPARE(first.done, std::vector<std::uint64_t>{1});
    QCOMPARE(second.done, std::vector<std::uint64_t>{2});
}

void VKProgressTest::bytesWithoutObserver() {
    const VKOwnedProgress progress = makeProgress();
    Bytes bytes;
    QVERIFY(!progressWantsBytes(progress.get()));
    VKProgressDoBytes(progress.get(), {.done = 1, .total = 1});
    VKProgressSetByteObserver(progress.get(), &Bytes::observe, &bytes);
    VKProgressSetByteObserver(progress.get(), nullptr, nullptr);
    VKProgressDoBytes(progress.get(), {.done = 1, .total = 1});
    QVERIFY(bytes.done.empty());
}

VKTEST_MAIN(VKProgressTest)
#include "VKProgressTest.moc"
