// Signals are silent within the scope and as they were behind it.
#include "VKQtSignalBlocker.h"
#include "Support/VKTest.h"

#include <QSignalSpy>

#include <memory>
#include <type_traits>

class VKQtSignalBlockerTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void blocksForAScope();
    void leavesBlockedWhatWasBlocked();
    void nests();
    void whatIsChangedWithinIsRestored();
    void objectGoesFirst();
};

static_assert(std::has_virtual_destructor_v<VKQtSignalBlocker>);
static_assert(!std::is_copy_constructible_v<VKQtSignalBlocker> &&
              !std::is_copy_assignable_v<VKQtSignalBlocker>);

void VKQtSignalBlockerTest::blocksForAScope() {
    QObject object;
    const QSignalSpy spy(&object, &QObject::objectNameChanged);
    {
        const VKQtSignalBlocker blocker(&object);
        QVERIFY(object.signalsBlocked());
        object.setObjectName(QStringLiteral("within"));
        QCOMPARE(spy.count(), 0);
    }
    QVERIFY(!object.signalsBlocked());
    object.setObjectName(QStringLiteral("behind"));
    QCOMPARE(spy.count(), 1);
}

void VKQtSignalBlockerTest::leavesBlockedWhatWasBlocked() {
    QObject object;
    object.blockSignals(true);
    { const VKQtSignalBlocker blocker(&object); }
    QVERIFY(object.signalsBlocked());
}

void VKQtSignalBlockerTest::nests() {
    QObject object;
    {
        const VKQtSignalBlocker outer(&object);
        { const VKQtSignalBlocker inner(&object); }
        QVERIFY(object.signalsBlocked());
    }
    QVERIFY(!object.signalsBlocked());
}

void VKQtSignalBlockerTest::whatIsChangedWithinIsRestored() {
    QObject object;
    {
        const VKQtSignalBlocker outer(&object);
        object.blockSignals(false);
        {
            const VKQtSignalBlocker inner(&object);
            QVERIFY(object.signalsBlocked());
        }
        QVERIFY(!object.signalsBlocked()); // the state that the inner one saw
        object.blockSignals(true);
    }
    QVERIFY(!object.signalsBlocked());
}

void VKQtSignalBlockerTest::objectGoesFirst() {
    auto object = std::make_unique<QObject>();
    const VKQtSignalBlocker blocker(object.get());
    object.reset(); // the address sanitizer's build tells whether the blocker asks it once more
}

VKTEST_MAIN(VKQtSignalBlockerTest)
#include "VKQtSignalBlockerTest.moc"
