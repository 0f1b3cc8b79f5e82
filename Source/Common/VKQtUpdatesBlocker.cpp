// Remembers, blocks, restores in the reverse order.
#include "VKQtUpdatesBlocker.h"

#include <QWidget>

VKQtUpdatesBlocker::VKQtUpdatesBlocker(QWidget* widget, BlockingMode mode)
    : mWasUpdatesEnabled(!widget->testAttribute(Qt::WA_UpdatesDisabled)), mMode(mode), mWidget(widget) {
    widget->setUpdatesEnabled(false);
    if (mMode == UpdatesAndVisibility) {
        mWasVisible = widget->testAttribute(Qt::WA_WState_Visible);
        widget->setVisible(false);
    }
}

VKQtUpdatesBlocker::~VKQtUpdatesBlocker() {
    if (mWidget.isNull()) {
        return;
    }
    if (mMode == UpdatesAndVisibility) {
        mWidget->setVisible(mWasVisible);
    }
    mWidget->setUpdatesEnabled(mWasUpdatesEnabled);
}
