// Header lines of replies: what of them is kept, and how many there may be. And the numbers that a transfer decides by.
#include "VKHttpReplyHeaders.h"

#include "Support/VKTest.h"
#include "VKHttp.h"
#include "VKHttpTransferRules.h"

#include <limits>

using namespace Qt::StringLiterals;

class VKHttpReplyHeadersTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void lines_data();
    void lines();
    void aLaterNameReplaces();
    void splittingLaw();
    void lineLimit();
    void byteLimit();
    void startingAnew();
    void limitsOfTheClient();

    void errors_data();
    void errors();
    void reserves_data();
    void reserves();
    void uploadChunks_data();
    void uploadChunks();
    void progressBytes_data();
    void progressBytes();
};

namespace {

constexpr qsizetype kManyBytes = 1'000'000;
constexpr int kManyLines = 1000;

} // namespace

void VKHttpReplyHeadersTest::lines_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<VKHttpHeaderLine>("kind");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    const auto kept = [](const char* row, const QByteArray& line, const QString& name, const QString& value) {
        QTest::newRow(row) << line << VKHttpHeaderLine::Kept << name << value;
    };
    const auto ignored = [](const char* row, const QByteArray& line) {
        QTest::newRow(row) << line << VKHttpHeaderLine::Ignored << QString() << QString();
    };
    kept("a header", "Date: x\r\n", u"Date"_s, u"x"_s);
    kept("no blank after a further colon", "Location: http://a/b\r\n", u"Location"_s, u"http://a/b"_s);
    kept("empty value", "Empty: \r\n", u"Empty"_s, u""_s);
    kept("empty name", ": x\r\n", u""_s, u"x"_s);
    kept("nothing but the separator", ": \r\n", u""_s, u""_s);
    kept("blanks stay", "A:  b \r\n", u"A"_s, u" b "_s);
    kept("the first separator that stands", "A:: b\r\n", u"A:"_s, u"b"_s);
    kept("UTF-8",
         "N: Gr\xc3\xbc\xc3\x9f"
         "e\r\n",
         u"N"_s, u"Grüße"_s);
    kept("UTF-8 in the name", "\xc3\xbc: 1\r\n", u"ü"_s, u"1"_s);
    kept("not UTF-8", "N: a\xe9z\r\n", u"N"_s, u"a\uFFFDz"_s);
    kept("half a letter before the separator", "\xc3: x\r\n", u"\uFFFD"_s, u"x"_s);
    kept("a mark at the begin of the value is kept", "N: \xef\xbb\xbfx\r\n", u"N"_s, u"\uFEFFx"_s);
    kept("a NUL", QByteArray("N: a\0b\r\n", 8), u"N"_s, QString::fromLatin1("a\0b", 3));
    kept("two bytes are taken off, whatever they are", "Date: xyz", u"Date"_s, u"x"_s);
    kept("a bare line feed costs a letter", "Date: xy\n", u"Date"_s, u"x"_s);
    ignored("status line", "HTTP/1.1 200 OK\r\n");
    ignored("status line of HTTP/2", "HTTP/2 200 \r\n");
    ignored("no blank after the colon", "Date:x\r\n");
    ignored("nothing after the colon", "Date:\r\n");
    ignored("the separator in the value", "A: b: c\r\n");
    ignored("the separator in the value, outside ASCII", "A: ü: c\r\n");
    ignored("the value is the separator", "A: : \r\n");
    ignored("no separator", "continued\r\n");
    ignored("the separator is the line end", "Date: ");
    ignored("a bare line feed", "\n");
    ignored("one byte", "x");
    ignored("nothing", "");
    QTest::newRow("the empty line") << QByteArray("\r\n") << VKHttpHeaderLine::EndOfBlock << QString()
                                    << QString();
}

void VKHttpReplyHeadersTest::lines() {
    QFETCH(QByteArray, line);
    QFETCH(VKHttpHeaderLine, kind);
    QFETCH(QString, name);
    QFETCH(QString, value);
    VKHttpReplyHeaders headers(kManyBytes, kManyLines);
    QCOMPARE(headers.take(line), kind);
    QCOMPARE(headers.contains(name), kind == VKHttpHeaderLine::Kept);
    QCOMPARE(headers.value(name), value);
    // The same line again changes nothing.
    QCOMPARE(headers.take(line), kind);
    QCOMPARE(headers.value(name), value);
}

void VKHttpReplyHeadersTest::aLaterNameReplaces() {
    VKHttpReplyHeaders headers(kManyBytes, kManyLines);
    QCOMPARE(headers.take("A: 1\r\n"), VKHttpHeaderLine::Kept);
    const QString lent = headers.value(u"A");
    for (const QByteArray& value :
         {QByteArray("22"), QByteArray(""), QByteArray("\xc3\xbc"), QByteArray("long again")}) {
        QCOMPARE(headers.take(QByteArray("A: " + value + "\r\n")), VKHttpHeaderLine::Kept);
        QCOMPARE(headers.value(u"A"), QString::fromUtf8(value));
    }
    QCOMPARE(lent, u"1"_s);
    QVERIFY(!headers.contains(u"a"));
    QVERIFY(!headers.contains(u""));
}

/// What is kept is what splitting the decoded line says.
void VKHttpReplyHeadersTest::splittingLaw() {
    const QList<QByteArray> pieces{"",         "A",    "b c",          ":",       ": ", " ",
                                   "\xc3\xbc", "\xff", "\xef\xbb\xbf", "\xe2\x82"};
    for (const QByteArray& first : pieces) {
        for (const QByteArray& second : pieces) {
            for (const QByteArray& third : pieces) {
                const QByteArray text = first + second + third;
                if (text.isEmpty()) {
                    continue;
                }
                const QStringList parts = QString::fromUtf8(text).split(u": "_s);
                VKHttpReplyHeaders headers(kManyBytes, kManyLines);
                const bool isKept = headers.take(QByteArray(text + "\r\n")) == VKHttpHeaderLine::Kept;
                QVERIFY2(isKept == (parts.size() == 2), text.toPercentEncoding());
                if (isKept) {
                    QVERIFY2(headers.contains(parts[0]), text.toPercentEncoding());
                    QCOMPARE(headers.value(parts[0]), parts[1]);
                }
            }
        }
    }
}

void VKHttpReplyHeadersTest::lineLimit() {
    VKHttpReplyHeaders headers(kManyBytes, 3);
    QCOMPARE(headers.take("HTTP/1.1 200 OK\r\n"), VKHttpHeaderLine::Ignored);
    QCOMPARE(headers.take("A: 1\r\n"), VKHttpHeaderLine::Kept);
    QCOMPARE(headers.take("\r\n"), VKHttpHeaderLine::EndOfBlock);
    QCOMPARE(headers.take("B: 1\r\n"), VKHttpHeaderLine::TooMany);
    QVERIFY(!headers.contains(u"B"));
    QCOMPARE(headers.take("\r\n"), VKHttpHeaderLine::TooMany);
}

void VKHttpReplyHeadersTest::byteLimit() {
    for (const int more : {-1, 0, 1}) {
        VKHttpReplyHeaders headers(20, kManyLines);
        QCOMPARE(headers.take("A: 4567\r\n"), VKHttpHeaderLine::Kept); // 9
        const QByteArray line = "B: " + QByteArray(6 + more, 'x') + "\r\n";
        QCOMPARE(headers.take(line), more <= 0 ? VKHttpHeaderLine::Kept : VKHttpHeaderLine::TooMany);
        QCOMPARE(headers.contains(u"B"), more <= 0);
    }
}

void VKHttpReplyHeadersTest::startingAnew() {
    VKHttpReplyHeaders headers(20, 2);
    for (int transfer = 0; transfer < 3; ++transfer) {
        headers.startTransfer();
        QCOMPARE(headers.take(QByteArray("A: " + QByteArray::number(transfer) + "\r\n")),
                 VKHttpHeaderLine::Kept);
        QCOMPARE(headers.take("B: 1\r\n"), VKHttpHeaderLine::Kept);
        QCOMPARE(headers.take("C: 1\r\n"), VKHttpHeaderLine::TooMany);
    }
    QCOMPARE(headers.value(u"A"), u"2"_s);
    QCOMPARE(headers.value(u"B"), u"1"_s);
}

void VKHttpReplyHeadersTest::limitsOfTheClient() {
    QCOMPARE(VKHttp::kMaxReplyHeaderBytes, qsizetype{262'144});
    QCOMPARE(VKHttp::kMaxReplyHeaderLines, 1000);
}

void VKHttpReplyHeadersTest::errors_data() {
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("error");
    QTest::newRow("none") << 0 << 0;
    QTest::newRow("no such host") << 6 << 1105;
    QTest::newRow("time-out") << 28 << 1081;
    QTest::newRow("aborted") << 42 << 1007;
    for (int code = 1; code < 110; ++code) {
        if (code != 6 && code != 28 && code != 42) {
            QTest::addRow("unchanged %d", code) << code << code;
        }
    }
}

void VKHttpReplyHeadersTest::errors() {
    QFETCH(int, code);
    QFETCH(int, error);
    QCOMPARE(vkHttpErrorOf(code), error);
}

void VKHttpReplyHeadersTest::reserves_data() {
    QTest::addColumn<qint64>("stated");
    QTest::addColumn<qint64>("reserved");
    constexpr qint64 kMost = 268'435'456;
    QTest::newRow("not stated") << qint64{-1} << qint64{0};
    QTest::newRow("nothing") << qint64{0} << qint64{0};
    QTest::newRow("a photo") << qint64{5'000'000} << qint64{5'000'000};
    QTest::newRow("one below the most") << kMost - 1 << kMost - 1;
    QTest::newRow("the most") << kMost << kMost;
    QTest::newRow("one above") << kMost + 1 << kMost;
    QTest::newRow("a lie") << std::numeric_limits<qint64>::max() << kMost;
}

void VKHttpReplyHeadersTest::reserves() {
    QFETCH(qint64, stated);
    QFETCH(qint64, reserved);
    QCOMPARE(qint64{vkHttpBodyReserve(stated)}, reserved);
}

void VKHttpReplyHeadersTest::uploadChunks_data() {
    QTest::addColumn<qint64>("room");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<qint64>("sent");
    QTest::addColumn<qint64>("chunk");
    QTest::newRow("much is left") << qint64{100} << qint64{1000} << qint64{0} << qint64{100};
    QTest::newRow("less is left") << qint64{100} << qint64{1000} << qint64{950} << qint64{50};
    QTest::newRow("nothing is left") << qint64{100} << qint64{1000} << qint64{1000} << qint64{0};
    QTest::newRow("more was sent before") << qint64{100} << qint64{10} << qint64{1000} << qint64{-990};
    QTest::newRow("a failed read was counted") << qint64{100} << qint64{10} << qint64{-1} << qint64{11};
    QTest::newRow("an empty upload") << qint64{100} << qint64{0} << qint64{0} << qint64{0};
    QTest::newRow("no size") << qint64{100} << qint64{-1} << qint64{0} << qint64{-1};
}

void VKHttpReplyHeadersTest::uploadChunks() {
    QFETCH(qint64, room);
    QFETCH(qint64, size);
    QFETCH(qint64, sent);
    QFETCH(qint64, chunk);
    QCOMPARE(qint64{vkHttpUploadChunk(room, size, sent)}, chunk);
}

void VKHttpReplyHeadersTest::progressBytes_data() {
    QTest::addColumn<qint64>("downTotal");
    QTest::addColumn<qint64>("downDone");
    QTest::addColumn<qint64>("upTotal");
    QTest::addColumn<qint64>("upDone");
    QTest::addColumn<quint64>("done");
    QTest::addColumn<quint64>("total");
    const auto row = [](const char* name, qint64 downTotal, qint64 downDone, qint64 upTotal, qint64 upDone,
                        quint64 done, quint64 total) {
        QTest::newRow(name) << downTotal << downDone << upTotal << upDone << done << total;
    };
    row("nothing yet", 0, 0, 0, 0, 0, 0);
    row("downloading", 100, 40, 0, 0, 40, 100);
    row("a length that is not known", 0, 40, 0, 0, 40, 0);
    row("uploading", 0, 0, 50, 20, 20, 50);
    row("uploaded, the reply comes", 100, 10, 50, 50, 60, 150);
    row("uploaded, a reply of unknown length comes", 0, 10, 50, 50, 60, 0);
    row("an upload of unknown length", 0, 0, 0, 20, 20, 0);
}

void VKHttpReplyHeadersTest::progressBytes() {
    QFETCH(qint64, downTotal);
    QFETCH(qint64, downDone);
    QFETCH(qint64, upTotal);
    QFETCH(qint64, upDone);
    QFETCH(quint64, done);
    QFETCH(quint64, total);
    const VKProgressBytes bytes = vkHttpProgressBytes(downTotal, downDone, upTotal, upDone);
    QCOMPARE(quint64{bytes.done}, done);
    QCOMPARE(quint64{bytes.total}, total);
}

VKTEST_MAIN(VKHttpReplyHeadersTest)
#include "VKHttpReplyHeadersTest.moc"
