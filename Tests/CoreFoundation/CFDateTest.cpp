// Moments: value, order, epochs.
#include "CFTestSupport.h"

#include <QDateTime>

using namespace CFTest;

class CFDateTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void keepsItsTime();
    void orders_data();
    void orders();
    void epochs();
};

void CFDateTest::keepsItsTime() {
    for (const CFAbsoluteTime time : {0.0, -0.5, 0.999, -978307200.0, 3e11}) {
        QCOMPARE(CFDateGetAbsoluteTime(own(CFDateCreate(nullptr, time)).get()), time);
    }
}

void CFDateTest::orders_data() {
    QTest::addColumn<double>("first");
    QTest::addColumn<double>("second");
    QTest::addColumn<int>("order");
    QTest::newRow("earlier") << 1.0 << 2.0 << -1;
    QTest::newRow("later by a fraction") << 1.5 << 1.25 << 1;
    QTest::newRow("same") << 7.0 << 7.0 << 0;
    QTest::newRow("before and after 2001") << -1.0 << 1.0 << -1;
    QTest::newRow("zeros of both signs are one moment") << 0.0 << -0.0 << 0;
}

void CFDateTest::orders() {
    QFETCH(double, first);
    QFETCH(double, second);
    QFETCH(int, order);
    const auto a = own(CFDateCreate(nullptr, first));
    const auto b = own(CFDateCreate(nullptr, second));
    QCOMPARE(CFDateCompare(a.get(), b.get(), nullptr), CFComparisonResult(order));
    QCOMPARE(CFDateCompare(b.get(), a.get(), nullptr), CFComparisonResult(-order));
    QCOMPARE(bool(CFEqual(a.get(), b.get())), order == 0);
}

void CFDateTest::epochs() {
    const QDateTime reference(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
    QCOMPARE(qint64(kCFAbsoluteTimeIntervalSince1970), reference.toSecsSinceEpoch());
    const QDateTime year1904(QDate(1904, 1, 1), QTime(0, 0), Qt::UTC);
    QCOMPARE(qint64(kCFAbsoluteTimeIntervalSince1904), year1904.secsTo(reference));
}

VKTEST_MAIN(CFDateTest)
#include "CFDateTest.moc"
