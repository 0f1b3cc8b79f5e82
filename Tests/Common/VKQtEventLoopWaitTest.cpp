// Waits that end by a signal, by the time-out, and by what should never happen: no sender, a sender or a
// timer that is destroyed meanwhile, signals of before and of other threads. Nothing here depends on how
// long anything takes: where a time-out must not come first it is ten minutes, and the run of the test
// would end it.
#include "VKQtEventLoopWait.h"
#include "Support/VKTest.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QThread>

#include <memory>
#include <thread>

#if defined(__has_feature)
#    define VKTEST_THREAD_SANITIZER __has_feature(thread_sanitizer)
#else
#    define VKTEST_THREAD_SANITIZER 0
#endif

namespace {

constexpr int kNever = 600'000;

class Sender : public QObject {
    Q_OBJECT

public Q_SLOTS:
    void send() { Q_EMIT sent(); }
    void sendNumber() { Q_EMIT sentNumber(7); }

Q_SIGNALS:
    void sent();
    void sentNumber(int number);
};

/// Delivers posted events and nothing else, and tells with which flags it was asked to.
class RecordingDispatcher : public QAbstractEventDispatcher {
public:
    explicit RecordingDispatcher(QEventLoop::ProcessEventsFlags& flags) : mFlags(flags) {}

    bool processEvents(QEventLoop::ProcessEventsFlags flags) override {
        mFlags = flags;
        QCoreApplication::sendPostedEvents();
        return true;
    }
    void registerSocketNotifier(QSocketNotifier* /*notifier*/) override {}
    void unregisterSocketNotifier(QSocketNotifier* /*notifier*/) override {}
    void registerTimer(int /*id*/, qint64 /*interval*/, Qt::TimerType /*type*/,
                       QObject* /*object*/) override {}
    bool unregisterTimer(int /*id*/) override { return true; }
    bool unregisterTimers(QObject* /*object*/) override { return true; }
    [[nodiscard]] QList<TimerInfo> registeredTimers(QObject* /*object*/) const override { return {}; }
    int remainingTime(int /*id*/) override { return 0; }
    void wakeUp() override {}
    void interrupt() override {}

private:
    QEventLoop::ProcessEventsFlags& mFlags;
};

void later(QObject& context, const std::function<void()>& work) {
    QMetaObject::invokeMethod(&context, work, Qt::QueuedConnection);
}

} // namespace

class VKQtEventLoopWaitTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void signalEndsTheWait();
    void signalWithArguments();
    void timeoutEndsTheWait_data();
    void timeoutEndsTheWait();
    void zeroEndsOnTheFirstPass();
    void earlierSignalIsNotSeen();
    void waitsAgain();
    void callersTimer();
    void callersTimerThatRunsAlready();
    void timerNames();
    void nullSender();
    void nullSignal();
    void unknownSignal();
    void senderDestroyedBefore();
    void senderDestroyedDuringTheWait();
    void destructionAwaited();
    void timerDestroyedDuringTheWait();
    void timerDestroyedBefore();
    void signalFromAnotherThread();
    void signalThatWakesTheLoop();
    void lateSignalFromAnotherThreadIsForgotten();
    void loopEndedByTheApplication();
    void flagsArePassedOn();
    void waitWithinAWait();
    void notFromWithin();
    void connectionsEnd();
    void signalAndTimeoutTogether();
};

void VKQtEventLoopWaitTest::signalEndsTheWait() {
    Sender sender;
    const QSignalSpy spy(&sender, &Sender::sent);
    VKQtEventLoopWait wait(kNever, &sender, SIGNAL(sent()));
    QVERIFY(!wait.timedOut());
    later(sender, [&sender] { sender.send(); });
    wait.exec();
    QCOMPARE(spy.count(), 1);
    QVERIFY(!wait.timedOut());
    QVERIFY(!wait.findChild<QTimer*>(QStringLiteral("mTimeoutTimer"))->isActive());
}

void VKQtEventLoopWaitTest::signalWithArguments() {
    Sender sender;
    const QSignalSpy spy(&sender, &Sender::sentNumber);
    VKQtEventLoopWait wait(kNever, &sender, SIGNAL(sentNumber(int)));
    later(sender, [&sender] { sender.sendNumber(); });
    wait.exec();
    QCOMPARE(spy.count(), 1);
    QVERIFY(!wait.timedOut());
}

void VKQtEventLoopWaitTest::timeoutEndsTheWait_data() {
    QTest::addColumn<int>("timeout");
    QTest::newRow("some time") << 5;
    QTest::newRow("none") << 0;
    QTest::newRow("negative counts as none") << -1;
}

void VKQtEventLoopWaitTest::timeoutEndsTheWait() {
    QFETCH(const int, timeout);
    Sender sender;
    VKQtEventLoopWait wait(timeout, &sender, SIGNAL(sent()));
    wait.exec();
    QVERIFY(wait.timedOut());
    QVERIFY(!wait.findChild<QTimer*>(QStringLiteral("mTimeoutTimer"))->isActive());
}

// What was posted before is delivered in that pass; a chain of events that goes on for ever is not waited for.
void VKQtEventLoopWaitTest::zeroEndsOnTheFirstPass() {
    Sender sender;
    int posted = 0;
    std::function<void()> again = [&] {
        ++posted;
        later(sender, again);
    };
    later(sender, again);
    VKQtEventLoopWait wait(0, &sender, SIGNAL(sent()));
    wait.exec();
    QVERIFY(wait.timedOut());
    QVERIFY2(posted <= 2, qPrintable(QString::number(posted)));
    again = [] {};
}

void VKQtEventLoopWaitTest::earlierSignalIsNotSeen() {
    Sender sender;
    VKQtEventLoopWait wait(5, &sender, SIGNAL(sent()));
    sender.send();
    wait.exec();
    QVERIFY(wait.timedOut());
}

void VKQtEventLoopWaitTest::waitsAgain() {
    Sender sender;
    QTimer timer;
    VKQtEventLoopWait wait(timer, 5, &sender, SIGNAL(sent()));
    wait.exec();
    QVERIFY(wait.timedOut());
    const QSignalSpy timeouts(&timer, &QTimer::timeout);
    later(sender, [&sender] { sender.send(); });
    wait.exec();
    // The timer ran again, but the signal was posted first.
    QCOMPARE(wait.timedOut(), timeouts.count() > 0);
    wait.exec();
    QVERIFY(wait.timedOut());
}

void VKQtEventLoopWaitTest::callersTimer() {
    Sender sender;
    QTimer timer;
    timer.setSingleShot(false);
    const QSignalSpy timeouts(&timer, &QTimer::timeout);
    VKQtEventLoopWait wait(timer, 5, &sender, SIGNAL(sent()));
    QVERIFY(!timer.isActive()); // not before exec()
    wait.exec();
    QVERIFY(wait.timedOut());
    QCOMPARE(timeouts.count(), 1);
    QCOMPARE(timer.interval(), 5);
    QVERIFY(timer.isSingleShot());

    VKQtEventLoopWait longer(timer, kNever, &sender, SIGNAL(sent()));
    later(sender, [&sender] { sender.send(); });
    longer.exec();
    QVERIFY(!longer.timedOut());
    QCOMPARE(timer.interval(), kNever);
    QVERIFY(!timer.isActive());
}

void VKQtEventLoopWaitTest::callersTimerThatRunsAlready() {
    Sender sender;
    QTimer timer;
    timer.start(kNever);
    VKQtEventLoopWait wait(timer, 5, &sender, SIGNAL(sent()));
    wait.exec();
    QVERIFY(wait.timedOut());
    QVERIFY(!timer.isActive());
}

void VKQtEventLoopWaitTest::timerNames() {
    const QString inUse = QStringLiteral("mTimeoutTimer");
    const QString internal = QStringLiteral("mInternalTimeoutTimer");
    Sender sender;
    {
        const VKQtEventLoopWait wait(0, &sender, SIGNAL(sent()));
        QVERIFY(wait.findChild<QTimer*>(inUse) != nullptr); // the internal one, which is the one in use
        QVERIFY(wait.findChild<QTimer*>(internal) == nullptr);
    }
    QTimer timer;
    timer.setObjectName(QStringLiteral("the caller's"));
    {
        const VKQtEventLoopWait wait(timer, 0, &sender, SIGNAL(sent()));
        QCOMPARE(timer.objectName(), inUse);
        QVERIFY(wait.findChild<QTimer*>(internal) != nullptr);
        QVERIFY(wait.findChild<QTimer*>(inUse) == nullptr);
    }
    QCOMPARE(timer.objectName(), inUse);
}

void VKQtEventLoopWaitTest::nullSender() {
    VKQtEventLoopWait wait(5, nullptr, SIGNAL(sent()));
    wait.exec();
    QVERIFY(wait.timedOut());
}

void VKQtEventLoopWaitTest::nullSignal() {
    Sender sender;
    VKQtEventLoopWait wait(5, &sender, nullptr);
    later(sender, [&sender] { sender.send(); });
    wait.exec();
    QVERIFY(wait.timedOut());
}

void VKQtEventLoopWaitTest::unknownSignal() {
    Sender sender;
    VKQtEventLoopWait wait(5, &sender, "2received()");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("No such signal .*received\\(\\)")));
    wait.exec();
    QVERIFY(wait.timedOut());
}

void VKQtEventLoopWaitTest::senderDestroyedBefore() {
    auto sender = std::make_unique<Sender>();
    VKQtEventLoopWait wait(5, sender.get(), SIGNAL(sent()));
    sender.reset();
    wait.exec();
    QVERIFY(wait.timedOut());
}

void VKQtEventLoopWaitTest::senderDestroyedDuringTheWait() {
    auto sender = std::make_unique<Sender>();
    VKQtEventLoopWait wait(20, sender.get(), SIGNAL(sent()));
    later(*this, [&sender] { sender.reset(); });
    wait.exec();
    QVERIFY(sender == nullptr);
    QVERIFY(wait.timedOut());
}

void VKQtEventLoopWaitTest::destructionAwaited() {
    auto sender = std::make_unique<Sender>();
    VKQtEventLoopWait wait(kNever, sender.get(), SIGNAL(destroyed()));
    later(*this, [&sender] { sender.reset(); });
    wait.exec();
    QVERIFY(sender == nullptr);
    QVERIFY(!wait.timedOut());
}

void VKQtEventLoopWaitTest::timerDestroyedDuringTheWait() {
    Sender sender;
    auto timer = std::make_unique<QTimer>();
    VKQtEventLoopWait wait(*timer, kNever, &sender, SIGNAL(sent()));
    later(*this, [&timer] { timer.reset(); });
    wait.exec();
    QVERIFY(wait.timedOut());
}

void VKQtEventLoopWaitTest::timerDestroyedBefore() {
    Sender sender;
    auto timer = std::make_unique<QTimer>();
    VKQtEventLoopWait wait(*timer, kNever, &sender, SIGNAL(sent()));
    timer.reset();
    QTest::ignoreMessage(QtWarningMsg, "VKQtEventLoopWait: its timer is gone");
    wait.exec();
    QVERIFY(!wait.timedOut());
}

// The other thread has ended when the loop goes on, so that the thread sanitizer sees the order of the two.
void VKQtEventLoopWaitTest::signalFromAnotherThread() {
    Sender sender;
    const QSignalSpy spy(&sender, &Sender::sent);
    VKQtEventLoopWait wait(kNever, &sender, SIGNAL(sent()));
    later(*this, [&sender] { std::thread([&sender] { sender.send(); }).join(); });
    wait.exec();
    QCOMPARE(spy.count(), 1);
    QVERIFY(!wait.timedOut());
}

void VKQtEventLoopWaitTest::signalThatWakesTheLoop() {
#if defined(__SANITIZE_THREAD__) || VKTEST_THREAD_SANITIZER
    QSKIP("the thread sanitizer does not see the locks of the framework's event queue");
#endif
    for (int turn = 0; turn < 100; ++turn) {
        Sender sender;
        std::thread thread;
        VKQtEventLoopWait wait(kNever, &sender, SIGNAL(sent()));
        // From within the loop: before, the signal would not be seen.
        later(*this, [&] { thread = std::thread([&sender] { sender.send(); }); });
        wait.exec();
        QVERIFY(thread.joinable());
        thread.join();
        QVERIFY(!wait.timedOut());
    }
}

// The time is over, and then the other thread's signal is posted: it belongs to the wait that has ended.
void VKQtEventLoopWaitTest::lateSignalFromAnotherThreadIsForgotten() {
    Sender sender;
    const QSignalSpy spy(&sender, &Sender::sent);
    QTimer timer;
    VKQtEventLoopWait wait(timer, 5, &sender, SIGNAL(sent()));
    // Connected first, so while the wait still listens.
    const QMetaObject::Connection connection = QObject::connect(
        &timer, &QTimer::timeout, this, [&sender] { std::thread([&sender] { sender.send(); }).join(); });
    wait.exec();
    QObject::disconnect(connection);
    QCOMPARE(spy.count(), 1);
    QVERIFY(wait.timedOut());
    wait.exec();
    QVERIFY(wait.timedOut()); // not ended by that signal
}

// In a thread of its own, whose loop does not run again after that.
void VKQtEventLoopWaitTest::loopEndedByTheApplication() {
    bool timedOut = true;
    std::thread([&timedOut] {
        Sender sender;
        VKQtEventLoopWait wait(kNever, &sender, SIGNAL(sent()));
        later(sender, [] { QThread::currentThread()->quit(); });
        wait.exec();
        timedOut = wait.timedOut();
    }).join();
    QVERIFY(!timedOut);
}

void VKQtEventLoopWaitTest::flagsArePassedOn() {
    constexpr auto kFlags = QEventLoop::ExcludeUserInputEvents | QEventLoop::X11ExcludeTimers;
    bool timedOut = true;
    QEventLoop::ProcessEventsFlags seen;
    std::thread([&timedOut, &seen, kFlags] {
        QThread::currentThread()->setEventDispatcher(new RecordingDispatcher(seen)); // which the thread owns
        Sender sender;
        VKQtEventLoopWait wait(kNever, &sender, SIGNAL(sent()));
        later(sender, [&sender] { sender.send(); });
        wait.exec(static_cast<int>(kFlags.toInt()));
        timedOut = wait.timedOut();
    }).join();
    QVERIFY(!timedOut);
    QCOMPARE(seen & kFlags, kFlags);
}

void VKQtEventLoopWaitTest::waitWithinAWait() {
    Sender outerSender;
    Sender innerSender;
    VKQtEventLoopWait outer(kNever, &outerSender, SIGNAL(sent()));
    bool innerEnded = false;
    later(outerSender, [&] {
        VKQtEventLoopWait inner(kNever, &innerSender, SIGNAL(sent()));
        later(innerSender, [&innerSender] { innerSender.send(); });
        inner.exec();
        innerEnded = !inner.timedOut();
        outerSender.send();
    });
    outer.exec();
    QVERIFY(innerEnded);
    QVERIFY(!outer.timedOut());
}

void VKQtEventLoopWaitTest::notFromWithin() {
    Sender sender;
    const QSignalSpy spy(&sender, &Sender::sent);
    VKQtEventLoopWait wait(kNever, &sender, SIGNAL(sent()));
    later(sender, [&] {
        QTest::ignoreMessage(QtWarningMsg, "VKQtEventLoopWait: it is waiting already");
        wait.exec();
        sender.send(); // the outer wait still listens
    });
    wait.exec();
    QCOMPARE(spy.count(), 1);
    QVERIFY(!wait.timedOut());
}

void VKQtEventLoopWaitTest::connectionsEnd() {
    class Counter : public Sender {
    public:
        [[nodiscard]] int count() const { return receivers(SIGNAL(sent())); }
    };
    Counter sender;
    VKQtEventLoopWait wait(kNever, &sender, SIGNAL(sent()));
    QCOMPARE(sender.count(), 0);
    int during = 0;
    later(sender, [&] {
        during = sender.count();
        sender.send();
    });
    wait.exec();
    QCOMPARE(during, 1);
    QCOMPARE(sender.count(), 0);
}

// The signal comes first, and the timer fires before the loop is left: the signal has ended the wait.
void VKQtEventLoopWaitTest::signalAndTimeoutTogether() {
    Sender sender;
    QTimer timer;
    VKQtEventLoopWait wait(timer, kNever, &sender, SIGNAL(sent()));
    later(sender, [&] {
        sender.send();
        QVERIFY(QMetaObject::invokeMethod(&timer, "timeout", Qt::DirectConnection));
    });
    wait.exec();
    QVERIFY(!wait.timedOut());
}

VKTEST_MAIN(VKQtEventLoopWaitTest)
#include "VKQtEventLoopWaitTest.moc"
