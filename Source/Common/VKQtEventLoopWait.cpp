// A nested event loop with two ways out, the signal and the timer.
#include "VKQtEventLoopWait.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

/// Ends a connection with its scope. A handle, because the objects at its ends may be gone by then.
class ScopedConnection {
public:
    explicit ScopedConnection(QMetaObject::Connection connection) : mConnection(std::move(connection)) {}
    ScopedConnection(const ScopedConnection&) = delete;
    ScopedConnection& operator=(const ScopedConnection&) = delete;
    ~ScopedConnection() { QObject::disconnect(mConnection); }

private:
    QMetaObject::Connection mConnection;
};

} // namespace

VKQtEventLoopWait::VKQtEventLoopWait(int timeoutMs, const QObject* sender, const char* signal)
    : mInternalTimeoutTimer(this), mTimeoutMs(std::max(timeoutMs, 0)), mSender(sender),
      mSignal(QString::fromLocal8Bit(signal)), mEventLoop(this) {
    useTimer(mInternalTimeoutTimer);
}

VKQtEventLoopWait::VKQtEventLoopWait(QTimer& timer, int timeoutMs, const QObject* sender, const char* signal)
    : mInternalTimeoutTimer(this), mTimeoutMs(std::max(timeoutMs, 0)), mSender(sender),
      mSignal(QString::fromLocal8Bit(signal)), mEventLoop(this) {
    useTimer(timer);
}

VKQtEventLoopWait::~VKQtEventLoopWait() = default;

void VKQtEventLoopWait::useTimer(QTimer& timer) {
    mInternalTimeoutTimer.setObjectName(QStringLiteral("mInternalTimeoutTimer"));
    // Also over the name that the caller gave its timer, and over the internal one's.
    timer.setObjectName(QStringLiteral("mTimeoutTimer"));
    mTimeoutTimer = &timer;
}

void VKQtEventLoopWait::exec(int flags) {
    if (mEventLoop.isRunning() || mTimeoutTimer.isNull()) {
        qWarning("VKQtEventLoopWait: %s",
                 mTimeoutTimer.isNull() ? "its timer is gone" : "it is waiting already");
        return;
    }
    mTimedOut = false;
    mTimeoutTimer->setSingleShot(true);
    mTimeoutTimer->start(mTimeoutMs);
    {
        // The note comes first: it asks whether the loop has been told to end already.
        const ScopedConnection note(
            connect(mTimeoutTimer, &QTimer::timeout, this, &VKQtEventLoopWait::noteTimeout));
        const ScopedConnection timeout(connect(mTimeoutTimer, SIGNAL(timeout()), &mEventLoop, SLOT(quit())));
        const ScopedConnection noteGone(
            connect(mTimeoutTimer, &QObject::destroyed, this, &VKQtEventLoopWait::noteTimeout));
        const ScopedConnection gone(connect(mTimeoutTimer, SIGNAL(destroyed()), &mEventLoop, SLOT(quit())));
        const QByteArray signal = mSignal.toLocal8Bit();
        const ScopedConnection arrival(mSender.isNull() || signal.isEmpty()
                                           ? QMetaObject::Connection()
                                           : connect(mSender, signal.constData(), &mEventLoop, SLOT(quit())));
        mEventLoop.exec(QEventLoop::ProcessEventsFlags::fromInt(static_cast<unsigned>(flags)));
    }
    if (!mTimeoutTimer.isNull() && mTimeoutTimer->isActive()) {
        mTimeoutTimer->stop();
    }
    // What another thread's signal has posted since would end the next wait before it began.
    QCoreApplication::removePostedEvents(&mEventLoop, QEvent::MetaCall);
}

void VKQtEventLoopWait::noteTimeout() {
    if (mEventLoop.isRunning()) {
        mTimedOut = true;
    }
}
