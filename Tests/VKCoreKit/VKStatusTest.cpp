// Statuses and what they say.
#include <VKCoreKit/VKStatus.h>

#include "Support/VKTest.h"

#include <QSet>

#include <cerrno>

class VKStatusTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void numbers_data();
    void numbers();
    void textsDiffer();
    void systemErrors();
    void unknownOnes_data();
    void unknownOnes();
};

void VKStatusTest::numbers_data() {
    QTest::addColumn<VKStatus>("status");
    QTest::addColumn<VKStatus>("number");
    QTest::newRow("success") << kVKStatusSuccess << VKStatus{0};
    QTest::newRow("no attributes") << kVKStatusNoAttributes << VKStatus{1001};
    QTest::newRow("not convertible") << kVKStatusNotConvertible << VKStatus{1002};
    QTest::newRow("not understood") << kVKStatusNotUnderstood << VKStatus{1003};
    QTest::newRow("bad argument") << kVKStatusBadArgument << VKStatus{1005};
    QTest::newRow("out of range") << kVKStatusOutOfRange << VKStatus{1006};
    QTest::newRow("cancelled") << kVKStatusCancelled << VKStatus{1007};
    QTest::newRow("incomplete bookmark") << kVKStatusIncompleteBookmark << VKStatus{1009};
    QTest::newRow("missing key") << kVKStatusMissingKey << VKStatus{1016};
    QTest::newRow("end of stream") << kVKStatusEndOfStream << VKStatus{1020};
    QTest::newRow("writability unknown") << kVKStatusWritabilityUnknown << VKStatus{1025};
    QTest::newRow("unknown value type") << kVKStatusUnknownValueType << VKStatus{1029};
    QTest::newRow("no base URL") << kVKStatusNoBaseURL << VKStatus{1034};
    QTest::newRow("stat failed") << kVKStatusStatFailed << VKStatus{1070};
    QTest::newRow("timed out") << kVKStatusTimedOut << VKStatus{1081};
    QTest::newRow("unauthorised") << kVKStatusUnauthorized << VKStatus{1089};
    QTest::newRow("transport failed") << kVKStatusTransportFailed << VKStatus{1094};
    QTest::newRow("too many requests") << kVKStatusTooManyRequests << VKStatus{1096};
    QTest::newRow("server error") << kVKStatusServerError << VKStatus{1102};
    QTest::newRow("bad request") << kVKStatusBadRequest << VKStatus{1103};
    QTest::newRow("host not resolved") << kVKStatusHostNotResolved << VKStatus{1105};
}

void VKStatusTest::numbers() {
    QFETCH(VKStatus, status);
    QFETCH(VKStatus, number);
    QCOMPARE(status, number);
    const QByteArray text(VKStatusText(status));
    QVERIFY(!text.isEmpty());
    QVERIFY(text != "Unknown status");
    QVERIFY(!text.endsWith('.'));
}

void VKStatusTest::textsDiffer() {
    QSet<QByteArray> texts;
    int known = 0;
    for (VKStatus status = 1000; status < 1200; ++status) {
        const QByteArray text(VKStatusText(status));
        if (text != "Unknown status") {
            ++known;
            texts.insert(text);
        }
    }
    QCOMPARE(known, 20);
    QCOMPARE(texts.size(), 20);
}

void VKStatusTest::systemErrors() {
    QCOMPARE(QByteArray(VKStatusText(ENOENT)), QByteArray("No such file or directory"));
    QCOMPARE(QByteArray(VKStatusText(EACCES)), QByteArray("Permission denied"));
    QCOMPARE(QByteArray(VKStatusText(EEXIST)), QByteArray("File exists"));
    QCOMPARE(QByteArray(VKStatusText(ENOSPC)), QByteArray("No space left on device"));
}

void VKStatusTest::unknownOnes_data() {
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("between the known ones") << VKStatus{1004};
    QTest::newRow("after the last errno") << VKStatus{999};
    QTest::newRow("largest signed") << VKStatus{0x7FFFFFFF};
    QTest::newRow("first that is negative when signed") << VKStatus{0x80000000};
    QTest::newRow("largest") << VKStatus{0xFFFFFFFF};
}

void VKStatusTest::unknownOnes() {
    QFETCH(VKStatus, status);
    QCOMPARE(QByteArray(VKStatusText(status)), QByteArray("Unknown status"));
}

VKTEST_MAIN(VKStatusTest)
#include "VKStatusTest.moc"
