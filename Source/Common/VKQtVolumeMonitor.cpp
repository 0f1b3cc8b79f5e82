// The system's notification, through the event loop, to a new look at the list.
#include "VKQtVolumeMonitor.h"

#include "VKQtPathUtils.h"

#include <VKCoreKit/VKVolumes.h>

#include <QPointer>
#include <QSocketNotifier>

#include <algorithm>

struct VKQtVolumeMonitor::State {
    VKVolumeWatch watch;
    std::unique_ptr<QSocketNotifier> notifier; // after the watch, whose descriptor it uses
    QList<VKQtPath> volumes;
};

namespace {

/// Two mount points may differ in case only, so not as paths are equal.
bool isSame(const VKQtPath& a, const VKQtPath& b) { return a.path() == b.path(); }

QList<VKQtPath> missingIn(const QList<VKQtPath>& list, const QList<VKQtPath>& volumes) {
    QList<VKQtPath> missing;
    for (const VKQtPath& volume : volumes) {
        if (std::none_of(list.begin(), list.end(),
                         [&](const VKQtPath& other) { return isSame(other, volume); })) {
            missing.append(volume);
        }
    }
    return missing;
}

} // namespace

VKQtVolumeMonitor::VKQtVolumeMonitor(QObject* parent) : QObject(parent), mState(std::make_unique<State>()) {
    // First the watch, then the list: a change between the two is told twice rather than never.
    if (mState->watch.open() == kVKStatusSuccess) {
        mState->notifier =
            std::make_unique<QSocketNotifier>(mState->watch.descriptor(), QSocketNotifier::Read);
        connect(mState->notifier.get(), &QSocketNotifier::activated, this, &VKQtVolumeMonitor::lookAgain);
    }
    mState->volumes = VKQtPathUtils::getVolumes();
}

VKQtVolumeMonitor::~VKQtVolumeMonitor() = default;

bool VKQtVolumeMonitor::isWatching() const { return mState->notifier != nullptr; }

const QList<VKQtPath>& VKQtVolumeMonitor::volumes() const { return mState->volumes; }

void VKQtVolumeMonitor::lookAgain() {
    mState->watch.acknowledge();
    const QList<VKQtPath> before = mState->volumes;
    const QList<VKQtPath> now = VKQtPathUtils::getVolumes();
    if (std::equal(before.begin(), before.end(), now.begin(), now.end(), &isSame)) {
        return;
    }
    mState->volumes = now;
    // A slot may delete the monitor.
    const QPointer<VKQtVolumeMonitor> alive(this);
    for (const VKQtPath& volume : missingIn(now, before)) {
        Q_EMIT volumeRemoved(volume);
        if (alive.isNull()) {
            return;
        }
    }
    for (const VKQtPath& volume : missingIn(before, now)) {
        Q_EMIT volumeAdded(volume);
        if (alive.isNull()) {
            return;
        }
    }
    Q_EMIT volumesChanged();
}
