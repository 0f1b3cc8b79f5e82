// Tells an application when volumes come and go.
#pragma once

#include "VKQtExport.h"
#include "VKQtPath.h"

#include <QList>
#include <QObject>

#include <memory>

/// Watches VKQtPathUtils::getVolumes(). Driven by the system's own notifications of mounts: between two of
/// them nothing runs and nothing is read.
///
/// Lives in one thread, whose event loop delivers the changes; several monitors may exist. A change is looked up in
/// the mount table alone, so a dead server does not delay it. What came and went again between two turns of the
/// event loop is not told of. A volume whose server falls silent stays mounted: VKVolumesGetList() tells that.
class VKQT_EXPORT VKQtVolumeMonitor : public QObject {
    Q_OBJECT

public:
    /// Starts to watch.
    explicit VKQtVolumeMonitor(QObject* parent = nullptr);
    ~VKQtVolumeMonitor() override;

    /// False where the system gives no notification: then no signal is ever emitted.
    [[nodiscard]] bool isWatching() const;

    /// The volumes as the last signals told them; at first those of the moment when the monitor was made.
    [[nodiscard]] const QList<VKQtPath>& volumes() const;

Q_SIGNALS:
    /// Emitted for each volume that went, then for each that came. volumes() is the new list already.
    void volumeRemoved(const VKQtPath& volume);
    void volumeAdded(const VKQtPath& volume);

    /// Emitted once after these, and when only the order has changed.
    void volumesChanged();

private:
    void lookAgain();

    struct State;
    std::unique_ptr<State> mState;
};
