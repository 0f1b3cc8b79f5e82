// Real widgets that are not painted, and not seen, while a blocker lives; and every state that it has to restore.
#include "VKQtUpdatesBlocker.h"
#include "Support/WidgetsTest.h"

#include <QSignalSpy>
#include <QWidget>

#include <memory>
#include <type_traits>

static_assert(std::has_virtual_destructor_v<VKQtUpdatesBlocker>);
static_assert(!std::is_copy_constructible_v<VKQtUpdatesBlocker> &&
              !std::is_copy_assignable_v<VKQtUpdatesBlocker>);
static_assert(VKQtUpdatesBlocker::UpdatesOnly == 0 && VKQtUpdatesBlocker::UpdatesAndVisibility == 1);

namespace {

class CountingWidget : public QWidget {
public:
    using QWidget::QWidget;

    int paints = 0;
    int shows = 0;
    int hides = 0;

protected:
    void paintEvent(QPaintEvent* /*event*/) override { ++paints; }
    void showEvent(QShowEvent* /*event*/) override { ++shows; }
    void hideEvent(QHideEvent* /*event*/) override { ++hides; }
};

/// Shown and painted, with nothing more to come.
void showAndSettle(CountingWidget& widget) {
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    QTRY_VERIFY(widget.paints > 0);
    QCoreApplication::processEvents();
    widget.paints = 0;
    widget.shows = 0;
    widget.hides = 0;
}

} // namespace

class VKQtUpdatesBlockerTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void paintsNothing();
    void staysVisible();
    void hides();
    void restoresTheState_data();
    void restoresTheState();
    void hiddenStaysHidden();
    void childOfAHiddenParent();
    void nests();
    void restoresVisibilityBeforeUpdates();
    void widgetGoesFirst();
};

void VKQtUpdatesBlockerTest::paintsNothing() {
    CountingWidget widget;
    showAndSettle(widget);
    {
        const VKQtUpdatesBlocker blocker(&widget, VKQtUpdatesBlocker::UpdatesOnly);
        QVERIFY(!widget.updatesEnabled());
        widget.update();
        widget.repaint();
        QCoreApplication::processEvents();
        QCOMPARE(widget.paints, 0);
    }
    QVERIFY(widget.updatesEnabled());
    QTRY_VERIFY(widget.paints > 0); // what changed within is painted behind
}

void VKQtUpdatesBlockerTest::staysVisible() {
    CountingWidget widget;
    showAndSettle(widget);
    {
        const VKQtUpdatesBlocker blocker(&widget, VKQtUpdatesBlocker::UpdatesOnly);
        QVERIFY(widget.isVisible());
    }
    QVERIFY(widget.isVisible());
    QCOMPARE(widget.shows, 0);
    QCOMPARE(widget.hides, 0);
}

void VKQtUpdatesBlockerTest::hides() {
    CountingWidget widget;
    showAndSettle(widget);
    {
        const VKQtUpdatesBlocker blocker(&widget, VKQtUpdatesBlocker::UpdatesAndVisibility);
        QVERIFY(!widget.isVisible());
        QVERIFY(!widget.updatesEnabled());
        QCOMPARE(widget.hides, 1);
    }
    QVERIFY(widget.isVisible());
    QVERIFY(widget.updatesEnabled());
    QCOMPARE(widget.shows, 1);
}

void VKQtUpdatesBlockerTest::restoresTheState_data() {
    QTest::addColumn<bool>("updates");
    QTest::addColumn<bool>("visible");
    QTest::addColumn<VKQtUpdatesBlocker::BlockingMode>("mode");
    for (const bool updates : {false, true}) {
        for (const bool visible : {false, true}) {
            for (const auto mode :
                 {VKQtUpdatesBlocker::UpdatesOnly, VKQtUpdatesBlocker::UpdatesAndVisibility}) {
                QTest::addRow("updates %s, %s, mode %d", updates ? "on" : "off",
                              visible ? "visible" : "hidden", static_cast<int>(mode))
                    << updates << visible << mode;
            }
        }
    }
}

void VKQtUpdatesBlockerTest::restoresTheState() {
    QFETCH(const bool, updates);
    QFETCH(const bool, visible);
    QFETCH(const VKQtUpdatesBlocker::BlockingMode, mode);
    QWidget parent;
    QWidget child(&parent);
    child.setVisible(visible);
    parent.show();
    child.setUpdatesEnabled(updates);
    {
        const VKQtUpdatesBlocker blocker(&child, mode);
        QVERIFY(!child.updatesEnabled());
        QCOMPARE(child.isVisible(), visible && mode == VKQtUpdatesBlocker::UpdatesOnly);
        QVERIFY(parent.isVisible());
        QVERIFY(parent.updatesEnabled());
    }
    QCOMPARE(child.updatesEnabled(), updates);
    QCOMPARE(child.isVisible(), visible);
}

void VKQtUpdatesBlockerTest::hiddenStaysHidden() {
    CountingWidget widget;
    { const VKQtUpdatesBlocker blocker(&widget, VKQtUpdatesBlocker::UpdatesAndVisibility); }
    QVERIFY(!widget.isVisible());
    QVERIFY(widget.isHidden());
    QCOMPARE(widget.shows, 0);
}

// It is not visible, so it is hidden afterwards by itself too, and does not come with its parent.
void VKQtUpdatesBlockerTest::childOfAHiddenParent() {
    QWidget parent;
    QWidget child(&parent);
    QVERIFY(!child.isHidden());
    { const VKQtUpdatesBlocker blocker(&child, VKQtUpdatesBlocker::UpdatesAndVisibility); }
    QVERIFY(child.isHidden());
    parent.show();
    QVERIFY(!child.isVisible());
}

void VKQtUpdatesBlockerTest::nests() {
    QWidget widget;
    widget.show();
    {
        const VKQtUpdatesBlocker outer(&widget, VKQtUpdatesBlocker::UpdatesAndVisibility);
        { const VKQtUpdatesBlocker inner(&widget, VKQtUpdatesBlocker::UpdatesAndVisibility); }
        QVERIFY(!widget.isVisible());
        QVERIFY(!widget.updatesEnabled());
    }
    QVERIFY(widget.isVisible());
    QVERIFY(widget.updatesEnabled());
}

// Shown while updates are still off, so that it is painted once, when all is in place.
void VKQtUpdatesBlockerTest::restoresVisibilityBeforeUpdates() {
    class Watcher : public CountingWidget {
    public:
        bool updatesWhenShown = true;

    protected:
        void showEvent(QShowEvent* /*event*/) override { updatesWhenShown = updatesEnabled(); }
    };
    Watcher widget;
    showAndSettle(widget);
    QVERIFY(widget.updatesWhenShown);
    { const VKQtUpdatesBlocker blocker(&widget, VKQtUpdatesBlocker::UpdatesAndVisibility); }
    QVERIFY(!widget.updatesWhenShown);
    QVERIFY(widget.updatesEnabled());
}

void VKQtUpdatesBlockerTest::widgetGoesFirst() {
    auto widget = std::make_unique<QWidget>();
    const VKQtUpdatesBlocker blocker(widget.get(), VKQtUpdatesBlocker::UpdatesAndVisibility);
    widget.reset(); // the address sanitizer's build tells whether the blocker asks it once more
}

VKTEST_WIDGETS_MAIN(VKQtUpdatesBlockerTest)
#include "VKQtUpdatesBlockerTest.moc"
