// Freezes a widget's painting, and hides it if asked to, while a scope lasts.
#pragma once

#include "VKQtExport.h"

#include <QPointer>

class QWidget;

/// Turns a widget's updates off; at its end they are on or off, as they were found. Blockers of one widget
/// nest. The widget may be destroyed before the blocker. Belongs to the main thread, as widgets do.
class VKQT_EXPORT VKQtUpdatesBlocker {
public:
    enum BlockingMode {
        UpdatesOnly = 0,
        /// Hides the widget as well. At the end it is visible if it was visible (QWidget::isVisible())
        /// before, otherwise it is hidden: also a widget that only its hidden parent kept from being seen.
        UpdatesAndVisibility = 1,
    };

    /// The widget must not be null.
    VKQtUpdatesBlocker(QWidget* widget, BlockingMode mode);
    VKQtUpdatesBlocker(const VKQtUpdatesBlocker&) = delete;
    VKQtUpdatesBlocker& operator=(const VKQtUpdatesBlocker&) = delete;
    virtual ~VKQtUpdatesBlocker();

private:
    bool mWasUpdatesEnabled;
    BlockingMode mMode;
    bool mWasVisible = true;
    QPointer<QWidget> mWidget;
};
