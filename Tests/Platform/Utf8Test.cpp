// UTF-8 both ways without loss.
#include "Platform/Utf8.h"

#include "Support/VKTest.h"

using namespace VKPlatform;

class Utf8Test : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void decoding_data();
    void decoding();
    void everyCodePointRoundTrips();
    void aNullTextIsNeverGiven();
    void storageIsUsedAgain();
    void unpairedSurrogates_data();
    void unpairedSurrogates();
    void anySingleByte();
};

void Utf8Test::decoding_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("wellFormed");

    QTest::newRow("nothing") << QByteArray("") << QStringLiteral("") << true;
    QTest::newRow("ASCII") << QByteArray("DSC_0001.NEF") << QStringLiteral("DSC_0001.NEF") << true;
    QTest::newRow("precomposed") << QByteArray("caf\xC3\xA9") << QStringLiteral("caf\u00E9") << true;
    QTest::newRow("decomposed stays so")
        << QByteArray("cafe\xCC\x81") << QStringLiteral("cafe\u0301") << true;
    QTest::newRow("four bytes") << QByteArray("\xF0\x9F\x98\x80") << QStringLiteral("\U0001F600") << true;
    QTest::newRow("non-ASCII after eight ASCII")
        << QByteArray("12345678\xC3\xA9") << QStringLiteral("12345678\u00E9") << true;
    QTest::newRow("leading mark kept") << QByteArray("\xEF\xBB\xBF"
                                                     "a")
                                       << QStringLiteral("\uFEFFa") << true;
    QTest::newRow("two leading marks kept") << QByteArray("\xEF\xBB\xBF\xEF\xBB\xBF"
                                                          "a")
                                            << QStringLiteral("\uFEFF\uFEFFa") << true;
    QTest::newRow("only a mark") << QByteArray("\xEF\xBB\xBF") << QStringLiteral("\uFEFF") << true;
    QTest::newRow("mark in the middle") << QByteArray("a\xEF\xBB\xBF"
                                                      "b")
                                        << QStringLiteral("a\uFEFFb") << true;
    QTest::newRow("NUL is a character") << QByteArray("a\0b", 3) << QStringLiteral("a\0b") << true;
    QTest::newRow("non-characters are characters")
        << QByteArray("\xEF\xBF\xBF") << QString(QChar(0xFFFF)) << true;
    QTest::newRow("Latin-1") << QByteArray("lat\xE9") << QStringLiteral("lat\uFFFD") << false;
    QTest::newRow("Latin-1 inside") << QByteArray("l\xE9"
                                                  "t")
                                    << QStringLiteral("l\uFFFDt") << false;
    QTest::newRow("stray continuation") << QByteArray("\x80") << QStringLiteral("\uFFFD") << false;
    QTest::newRow("overlong slash") << QByteArray("\xC0\xAF") << QStringLiteral("\uFFFD\uFFFD") << false;
    QTest::newRow("encoded surrogate")
        << QByteArray("\xED\xA0\x80") << QStringLiteral("\uFFFD\uFFFD\uFFFD") << false;
    QTest::newRow("above the last code point")
        << QByteArray("\xF4\x90\x80\x80") << QStringLiteral("\uFFFD\uFFFD\uFFFD\uFFFD") << false;
    QTest::newRow("cut short") << QByteArray("\xF0\x9F\x98") << QStringLiteral("\uFFFD\uFFFD\uFFFD") << false;
    QTest::newRow("cut short by a letter") << QByteArray("\xC3z") << QStringLiteral("\uFFFDz") << false;
    QTest::newRow("mark, then no UTF-8")
        << QByteArray("\xEF\xBB\xBF\xFF") << QStringLiteral("\uFEFF\uFFFD") << false;
    QTest::newRow("half a mark") << QByteArray("\xEF\xBB") << QStringLiteral("\uFFFD\uFFFD") << false;
}

void Utf8Test::decoding() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    QFETCH(bool, wellFormed);

    QCOMPARE(decodeUtf8(bytes), text);
    QString reused = QStringLiteral("something longer than any of the rows, or as long");
    decodeUtf8(bytes, reused);
    QCOMPARE(reused, text);
    const std::optional<QString> strict = decodeUtf8Strict(bytes);
    QCOMPARE(strict.has_value(), wellFormed);
    if (wellFormed) {
        QCOMPARE(*strict, text);
        QCOMPARE(encodeUtf8(text), std::optional<QByteArray>(bytes));
    }
}

void Utf8Test::everyCodePointRoundTrips() {
    for (char32_t point = 0; point <= QChar::LastValidCodePoint; ++point) {
        if (QChar::isSurrogate(point)) {
            continue;
        }
        const QString text = QString::fromUcs4(&point, 1);
        const std::optional<QByteArray> bytes = encodeUtf8(text);
        if (!bytes || decodeUtf8(*bytes) != text || decodeUtf8Strict(*bytes) != text) {
            QFAIL(qPrintable(QStringLiteral("U+%1").arg(quint32(point), 4, 16)));
        }
    }
}

void Utf8Test::aNullTextIsNeverGiven() {
    QVERIFY(!decodeUtf8(QByteArrayView()).isNull());
    QVERIFY(!decodeUtf8Strict(QByteArrayView())->isNull());
    QVERIFY(!encodeUtf8(QStringView())->isNull());
}

void Utf8Test::storageIsUsedAgain() {
    QString text;
    decodeUtf8("a name of some length.jpg", text);
    const QChar* storage = text.constData();
    decodeUtf8("short.jpg", text);
    QCOMPARE(text, QStringLiteral("short.jpg"));
    QCOMPARE(text.constData(), storage);
    const QString shared = text;
    decodeUtf8("other.jpg", text);
    QCOMPARE(shared, QStringLiteral("short.jpg"));
    QCOMPARE(text, QStringLiteral("other.jpg"));
}

void Utf8Test::unpairedSurrogates_data() {
    QTest::addColumn<QString>("text");
    const QChar high(0xD83D);
    const QChar low(0xDE00);
    QTest::newRow("high alone") << QString(high);
    QTest::newRow("low alone") << QString(low);
    QTest::newRow("the wrong way round") << QString(low) + QString(high);
    QTest::newRow("high twice") << QString(high) + QString(high) + QString(low);
    QTest::newRow("high at the end of a long text") << QString(100, u'a') + QString(high);
    QTest::newRow("after a pair") << QString(high) + QString(low) + QString(low);
}

void Utf8Test::unpairedSurrogates() {
    QFETCH(QString, text);
    QVERIFY(!encodeUtf8(text).has_value());
}

void Utf8Test::anySingleByte() {
    for (int byte = 0; byte < 256; ++byte) {
        const QByteArray bytes(1, char(byte));
        QCOMPARE(decodeUtf8(bytes),
                 byte < 0x80 ? QString(QChar(byte)) : QString(QChar::ReplacementCharacter));
        QCOMPARE(decodeUtf8Strict(bytes).has_value(), byte < 0x80);
    }
}

VKTEST_MAIN(Utf8Test)
#include "Utf8Test.moc"
