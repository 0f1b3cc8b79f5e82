// The stopwatch at moments that the test names, and on the real clock as far as that promises anything.
#include "Support/VKTest.h"

#include <VKCoreKit/VKCoreKit.h>

#include <type_traits>

using namespace std::chrono_literals;
using Clock = VKStopwatch::Clock;

static_assert(Clock::is_steady);
static_assert(std::is_trivially_copyable_v<VKStopwatch>);
static_assert(std::is_trivially_destructible_v<VKStopwatch>);
static_assert(std::is_nothrow_default_constructible_v<VKStopwatch>);

class VKStopwatchTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void runsFromItsStart_data();
    void runsFromItsStart();
    void runsFromItsMaking();
    void neverRunsBack();
    void beginsAnew();
    void copyRunsOn();
    void inMilliseconds();
};

void VKStopwatchTest::runsFromItsStart_data() {
    QTest::addColumn<qint64>("nanoseconds");
    QTest::newRow("no time") << qint64{0};
    QTest::newRow("the shortest time") << qint64{1};
    QTest::newRow("a millisecond") << qint64{1'000'000};
    QTest::newRow("a year") << qint64{31'536'000'000'000'000};
    QTest::newRow("a moment before it began") << qint64{-5};
}

void VKStopwatchTest::runsFromItsStart() {
    QFETCH(qint64, nanoseconds);
    const Clock::time_point start(12345s);
    const VKStopwatch watch(start);
    QCOMPARE(watch.elapsedAt(start + std::chrono::nanoseconds(nanoseconds)).count(), nanoseconds);
}

void VKStopwatchTest::runsFromItsMaking() {
    const Clock::time_point before = Clock::now();
    const VKStopwatch watch;
    const Clock::time_point after = Clock::now();
    QVERIFY(watch.elapsedAt(after) >= 0ns);
    QVERIFY(watch.elapsedAt(after) <= after - before);
}

void VKStopwatchTest::neverRunsBack() {
    const VKStopwatch watch;
    Clock::duration last = 0ns;
    for (int i = 0; i < 100000; ++i) {
        const Clock::duration now = watch.elapsed();
        QVERIFY(now >= last);
        last = now;
    }
    QVERIFY(last > 0ns);
}

void VKStopwatchTest::beginsAnew() {
    VKStopwatch watch(Clock::now() - 1h);
    QVERIFY(watch.elapsed() >= 1h);
    const Clock::time_point before = Clock::now();
    watch.restart();
    QVERIFY(watch.elapsedAt(before) <= 0ns);
}

void VKStopwatchTest::copyRunsOn() {
    const Clock::time_point start(7s);
    VKStopwatch watch(start);
    const VKStopwatch copy = watch;
    watch.restart();
    QVERIFY(copy.elapsedAt(start + 3ns) == 3ns);
}

void VKStopwatchTest::inMilliseconds() {
    const VKStopwatch watch(Clock::now() - 1500us);
    const double before = std::chrono::duration<double, std::milli>(watch.elapsed()).count();
    const double milliseconds = watch.milliseconds();
    const double after = std::chrono::duration<double, std::milli>(watch.elapsed()).count();
    QVERIFY(before >= 1.5);
    QVERIFY(milliseconds >= before);
    QVERIFY(milliseconds <= after);
}

VKTEST_MAIN(VKStopwatchTest)
#include "VKStopwatchTest.moc"
