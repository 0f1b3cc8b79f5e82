// Identifiers: text forms, lenient reading, equality, randomness.
#include "CFTestSupport.h"

#include <QRegularExpression>
#include <QSet>

using namespace CFTest;

class CFUUIDTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void readsAndWrites_data();
    void readsAndWrites();
    void nothingToRead();
    void bytesAndBack();
    void newOnesAreRandom();
};

void CFUUIDTest::readsAndWrites_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("written");
    const QString whole = QStringLiteral("DEADBEEF-0001-0203-0405-06070809ABCD");
    const QString zero = QStringLiteral("00000000-0000-0000-0000-000000000000");
    QTest::newRow("canonical") << whole << whole;
    QTest::newRow("lower case") << whole.toLower() << whole;
    QTest::newRow("braces") << QString(u'{' + whole + u'}') << whole;
    QTest::newRow("trailing text") << QString(whole + u" and more") << whole;
    QTest::newRow("leading text without hex digits") << QString(u"xyz: " + whole) << whole;
    QTest::newRow("underscores") << QString(whole).replace(u'-', u'_') << whole;
    QTest::newRow("without dashes digits are lost") << QStringLiteral("DEADBEEF00010203040506070809ABCD")
                                                    << QStringLiteral("DEADBEEF-0010-0304-5060-0809ABCD0000");
    QTest::newRow("first group only")
        << QStringLiteral("DEADBEEF") << QStringLiteral("DEADBEEF-0000-0000-0000-000000000000");
    QTest::newRow("half a byte missing")
        << whole.chopped(1) << QString(whole.chopped(2) + QStringLiteral("00"));
    QTest::newRow("half a byte broken")
        << QString(whole.chopped(1) + u'G') << QString(whole.chopped(2) + QStringLiteral("00"));
    QTest::newRow("no hex digit") << QStringLiteral("xyz") << zero;
    QTest::newRow("one hex digit at the end") << QStringLiteral("xyza") << zero;
}

void CFUUIDTest::readsAndWrites() {
    QFETCH(QString, text);
    QFETCH(QString, written);
    const auto uuid = own(CFUUIDCreateFromString(nullptr, makeString(text).get()));
    QVERIFY(uuid != nullptr);
    QCOMPARE(takeText(CFUUIDCreateString(nullptr, uuid.get())), written);
    const auto again = own(CFUUIDCreateFromString(nullptr, makeString(written).get()));
    QVERIFY(CFEqual(again.get(), uuid.get()));
}

void CFUUIDTest::nothingToRead() {
    QVERIFY(CFUUIDCreateFromString(nullptr, nullptr) == nullptr);
    QVERIFY(CFUUIDCreateFromString(nullptr, CFSTR("")) == nullptr);
}

void CFUUIDTest::bytesAndBack() {
    const auto uuid = own(CFUUIDCreateFromString(nullptr, CFSTR("DEADBEEF-0001-0203-0405-06070809ABCD")));
    const CFUUIDBytes bytes = CFUUIDGetUUIDBytes(uuid.get());
    QCOMPARE(int(bytes.byte0), 0xDE);
    QCOMPARE(int(bytes.byte3), 0xEF);
    QCOMPARE(int(bytes.byte5), 0x01);
    QCOMPARE(int(bytes.byte15), 0xCD);
    QVERIFY(CFEqual(own(CFUUIDCreateFromUUIDBytes(nullptr, bytes)).get(), uuid.get()));
}

void CFUUIDTest::newOnesAreRandom() {
    const QRegularExpression form(QRegularExpression::anchoredPattern(
        QStringLiteral("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}")));
    QSet<QString> seen;
    for (int i = 0; i < 1000; ++i) {
        const auto uuid = own(CFUUIDCreate(nullptr));
        const QString text = takeText(CFUUIDCreateString(nullptr, uuid.get()));
        QVERIFY2(form.match(text).hasMatch(), qPrintable(text));
        seen.insert(text);
    }
    QCOMPARE(seen.size(), 1000);
}

VKTEST_MAIN(CFUUIDTest)
#include "CFUUIDTest.moc"
