// Remembers, blocks, restores.
#include "VKQtSignalBlocker.h"

#include <QObject>

VKQtSignalBlocker::VKQtSignalBlocker(QObject* object)
    : mObject(object), mWasBlocked(object->signalsBlocked()) {
    object->blockSignals(true);
}

VKQtSignalBlocker::~VKQtSignalBlocker() {
    if (!mObject.isNull()) {
        mObject->blockSignals(mWasBlocked);
    }
}
