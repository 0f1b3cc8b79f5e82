// Waits for a signal in a nested event loop, no longer than a given time.
#pragma once

#include "VKQtExport.h"

#include <QEventLoop>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

/// Blocks its caller until an object emits a signal or the time is over, while the thread's events go on:
///
///     VKQtEventLoopWait wait(5000, &player, SIGNAL(stopped()));
///     wait.exec();
///     if (wait.timedOut()) { ... }
///
/// A local object of the thread that waits, which needs an application object. The sender may live in
/// another thread, and may be destroyed before or during the wait: the time-out ends it then, as it does
/// for a null sender and a signal that the sender does not have (Qt warns of that).
class VKQT_EXPORT VKQtEventLoopWait : public QObject {
    Q_OBJECT

public:
    /// `signal` is what SIGNAL() makes; null never arrives. A negative time counts as 0, which ends the
    /// wait with the first pass of the loop.
    VKQtEventLoopWait(int timeoutMs, const QObject* sender, const char* signal);

    /// The same with the caller's timer, which is made single-shot, started and stopped by exec(). Its
    /// object name becomes "mTimeoutTimer", deliberately: whatever timer is in use has that name. It has to
    /// outlive the wait; destroyed during it, it ends it as a time-out.
    VKQtEventLoopWait(QTimer& timer, int timeoutMs, const QObject* sender, const char* signal);

    ~VKQtEventLoopWait() override;

    /// Waits. The flags are those of QEventLoop::exec(): a flag, or several joined by "|" and toInt(). A
    /// signal that was emitted before is not seen. May be called again after it has returned, not from
    /// within.
    void exec(int flags = 0);

    /// Whether the time-out ended the last wait. False before the first one, and when something else ended
    /// the loop.
    [[nodiscard]] bool timedOut() const { return mTimedOut; }

private:
    void useTimer(QTimer& timer);
    void noteTimeout();

    QTimer mInternalTimeoutTimer;
    QPointer<QTimer> mTimeoutTimer;
    int mTimeoutMs;
    QPointer<const QObject> mSender;
    QString mSignal;
    QEventLoop mEventLoop;
    bool mTimedOut = false;
};
