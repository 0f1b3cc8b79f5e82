// Silences one object's signals while a scope lasts.
#pragma once

#include "VKQtExport.h"

#include <QPointer>

/// Blocks the signals of an object; at its end they are blocked or not, as they were found. Blockers of one
/// object nest. The object may be destroyed before the blocker.
class VKQT_EXPORT VKQtSignalBlocker {
public:
    /// The object must not be null.
    explicit VKQtSignalBlocker(QObject* object);
    VKQtSignalBlocker(const VKQtSignalBlocker&) = delete;
    VKQtSignalBlocker& operator=(const VKQtSignalBlocker&) = delete;
    virtual ~VKQtSignalBlocker();

private:
    QPointer<QObject> mObject;
    bool mWasBlocked;
};
