// The pure rules under the tool's texts: escaping, widths, sizes, wrapping, suggestions, absolute paths.
#include "Command.h"
#include "CommandLine.h"
#include "Text.h"

#include "Support/VKTest.h"

#include <QJsonDocument>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using namespace VKTool;

class ToolTextTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void shownText_data();
    void shownText();
    void shownLeavesNothingThatDrives();
    void widths_data();
    void widths();
    void sizes_data();
    void sizes();
    void sizesNeverShrink();
    void groups_data();
    void groups();
    void dates();
    void farYears_data();
    void farYears();
    void counts();
    void shellWords_data();
    void shellWords();
    void wrapping_data();
    void wrapping();
    void wrappedTextKeepsItsWords();
    void jsonLines_data();
    void jsonLines();
    void nearest_data();
    void nearest();
    void absolute_data();
    void absolute();
    void absoluteWithoutAWorkingFolder();
    void decoding_data();
    void decoding();
};

void ToolTextTest::shownText_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << u"IMG 1.jpg"_s << u"IMG 1.jpg"_s;
    QTest::newRow("empty") << u""_s << u""_s;
    QTest::newRow("not ASCII") << u"Café 東京 \U0001F4F7"_s << u"Café 東京 \U0001F4F7"_s;
    QTest::newRow("line break") << u"a\nb"_s << u"a\\nb"_s;
    QTest::newRow("carriage return and tab") << u"a\r\tb"_s << u"a\\r\\tb"_s;
    QTest::newRow("escape sequence") << u"\x1b[31mred"_s << u"\\e[31mred"_s;
    QTest::newRow("bell, delete") << u"\a\x7f"_s << u"\\u0007\\u007f"_s;
    QTest::newRow("NUL") << QString(QChar(u'\0')) << u"\\u0000"_s;
    QTest::newRow("C1 control") << QString(QChar(0x9b)) << u"\\u009b"_s;
    QTest::newRow("direction override") << QString(QChar(0x202e)) + u"gpj.exe"_s << u"\\u202egpj.exe"_s;
    QTest::newRow("isolate") << QString(QChar(0x2067)) << u"\\u2067"_s;
    QTest::newRow("line separator") << QString(QChar(0x2028)) << u"\\u2028"_s;
    QTest::newRow("replacement character stays") << QString(QChar(0xfffd)) << QString(QChar(0xfffd));
    QTest::newRow("no-break space stays") << QString(QChar(0xa0)) << QString(QChar(0xa0));
}

void ToolTextTest::shownText() {
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(shown(text), expected);
    QCOMPARE(shown(shown(text)), shown(text));
}

void ToolTextTest::shownLeavesNothingThatDrives() {
    const QList<QChar::Direction> turning = {QChar::DirLRE, QChar::DirLRO, QChar::DirRLE,
                                             QChar::DirRLO, QChar::DirPDF, QChar::DirLRI,
                                             QChar::DirRLI, QChar::DirFSI, QChar::DirPDI};
    for (char32_t c = 0; c <= 0xffff; ++c) {
        const QString text = shown(QString(QChar(static_cast<char16_t>(c))));
        for (const QChar left : text) {
            const bool control = left.category() == QChar::Other_Control;
            const bool direction = turning.contains(left.direction());
            QVERIFY2(!control && !direction, qPrintable(QString::number(c, 16)));
        }
    }
}

void ToolTextTest::widths_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("cells");
    QTest::newRow("empty") << u""_s << 0;
    QTest::newRow("ASCII") << u"abc"_s << 3;
    QTest::newRow("Latin") << u"Café"_s << 4;
    QTest::newRow("combining accent") << u"Cafe\u0301"_s << 4;
    QTest::newRow("ideographs") << u"東京"_s << 4;
    QTest::newRow("kana") << u"タワー"_s << 6;
    QTest::newRow("half-width kana") << u"ﾀﾜｰ"_s << 3;
    QTest::newRow("hangul") << u"한국"_s << 4;
    QTest::newRow("full-width letter") << u"Ａ"_s << 2;
    QTest::newRow("ideograph outside the first plane") << u"\U00020000"_s << 2;
    QTest::newRow("pictograph") << u"\U0001F4F7"_s << 2;
    QTest::newRow("zero-width joiner") << u"a\u200db"_s << 2;
    QTest::newRow("Cyrillic, Hebrew") << u"Дא"_s << 2;
    QTest::newRow("lone surrogate") << QString(QChar(0xd800)) << 1;
}

void ToolTextTest::widths() {
    QFETCH(QString, text);
    QFETCH(int, cells);
    QCOMPARE(displayWidth(text), cells);
    QCOMPARE(displayWidth(padded(text, 10)), 10);
    QCOMPARE(displayWidth(rightAligned(text, 10)), 10);
    QVERIFY(padded(text, 10).startsWith(text));
    QVERIFY(rightAligned(text, 10).endsWith(text));
    QCOMPARE(padded(text, 0), text);
}

void ToolTextTest::sizes_data() {
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("expected");
    QTest::newRow("nothing") << qint64(0) << u"0 B"_s;
    QTest::newRow("bytes") << qint64(999) << u"999 B"_s;
    QTest::newRow("first kB") << qint64(1000) << u"1.0 kB"_s;
    QTest::newRow("rounds down") << qint64(1449) << u"1.4 kB"_s;
    QTest::newRow("rounds up") << qint64(1450) << u"1.5 kB"_s;
    QTest::newRow("last with a decimal") << qint64(9949) << u"9.9 kB"_s;
    QTest::newRow("rounds up to two digits") << qint64(9950) << u"10 kB"_s;
    QTest::newRow("no decimal from 10") << qint64(48'200) << u"48 kB"_s;
    QTest::newRow("just below 1 MB") << qint64(999'499) << u"999 kB"_s;
    QTest::newRow("rounds up to 1 MB") << qint64(999'500) << u"1.0 MB"_s;
    QTest::newRow("photo") << qint64(1'400'000) << u"1.4 MB"_s;
    QTest::newRow("raw photo") << qint64(24'300'000) << u"24 MB"_s;
    QTest::newRow("film") << qint64(4'380'000'000) << u"4.4 GB"_s;
    QTest::newRow("the largest") << std::numeric_limits<qint64>::max() << u"9.2 EB"_s;
}

void ToolTextTest::sizes() {
    QFETCH(qint64, bytes);
    QFETCH(QString, expected);
    QCOMPARE(humanSize(bytes), expected);
}

void ToolTextTest::sizesNeverShrink() {
    const QStringList units = {u"B"_s, u"kB"_s, u"MB"_s, u"GB"_s, u"TB"_s, u"PB"_s, u"EB"_s};
    double before = -1;
    for (qint64 bytes = 0; bytes < std::numeric_limits<qint64>::max() / 2; bytes += bytes / 97 + 1) {
        const QStringList parts = humanSize(bytes).split(u' ');
        QCOMPARE(parts.size(), 2);
        QVERIFY(units.contains(parts.at(1)));
        QVERIFY(parts.at(0).size() <= 3);
        const double value =
            parts.at(0).toDouble() * std::pow(1000.0, static_cast<double>(units.indexOf(parts.at(1))));
        QVERIFY(value >= before);
        QVERIFY(std::abs(value - static_cast<double>(bytes)) <= 0.0501 * static_cast<double>(bytes) + 0.5);
        before = value;
    }
}

void ToolTextTest::groups_data() {
    QTest::addColumn<qint64>("number");
    QTest::addColumn<QString>("expected");
    QTest::newRow("one digit") << qint64(0) << u"0"_s;
    QTest::newRow("three digits") << qint64(999) << u"999"_s;
    QTest::newRow("four digits") << qint64(1000) << u"1 000"_s;
    QTest::newRow("seven digits") << qint64(1'234'567) << u"1 234 567"_s;
}

void ToolTextTest::groups() {
    QFETCH(qint64, number);
    QFETCH(QString, expected);
    QCOMPARE(groupedNumber(number), expected);
}

void ToolTextTest::dates() {
    // The tests' time zone is Berlin's, so that winter and summer time both show.
    const QDateTime winter(QDate(2026, 11, 21), QTime(13, 3, 5, 250), Qt::UTC);
    const QDateTime summer(QDate(2026, 5, 1), QTime(23, 59, 59), Qt::UTC);
    QCOMPARE(localMinute(winter), u"2026-11-21 14:03"_s);
    QCOMPARE(localMinute(summer), u"2026-05-02 01:59"_s);
    QCOMPARE(localMinute(QDateTime()), u"-"_s);
    QCOMPARE(isoUtc(winter), QJsonValue(u"2026-11-21T13:03:05.250Z"_s));
    QCOMPARE(isoUtc(winter.toLocalTime()), isoUtc(winter));
    QVERIFY(isoUtc(QDateTime()).isNull());
}

void ToolTextTest::farYears_data() {
    QTest::addColumn<qint64>("milliseconds");
    QTest::addColumn<QString>("expected");
    QTest::newRow("last of four digits") << qint64{253402300799999} << u"9999-12-31T23:59:59.999Z"_s;
    QTest::newRow("first of five digits") << qint64{253402300800000} << u"+010000-01-01T00:00:00.000Z"_s;
    QTest::newRow("five digits") << qint64{300000000000007} << u"+011476-08-15T05:20:00.007Z"_s;
    QTest::newRow("nine digits") << qint64{9000000000000000000} << u"+285200616-07-24T16:00:00.000Z"_s;
    QTest::newRow("first year") << qint64{-62135596800000} << u"0001-01-01T00:00:00.000Z"_s;
    QTest::newRow("year 0") << qint64{-62135596800001} << u"+000000-12-31T23:59:59.999Z"_s;
    QTest::newRow("before year 0") << qint64{-100000000000000} << u"-001199-02-15T14:13:20.000Z"_s;
}

void ToolTextTest::farYears() {
    QFETCH(const qint64, milliseconds);
    QFETCH(const QString, expected);
    QCOMPARE(isoUtc(QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC)).toString(), expected);
}

void ToolTextTest::counts() {
    QCOMPARE(counted(0, u"photo"_s, u"photos"_s), u"0 photos"_s);
    QCOMPARE(counted(1, u"photo"_s, u"photos"_s), u"1 photo"_s);
    QCOMPARE(counted(1001, u"photo"_s, u"photos"_s), u"1 001 photos"_s);
}

void ToolTextTest::shellWords_data() {
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << u"IMG_1-b.jpg"_s << u"IMG_1-b.jpg"_s;
    QTest::newRow("address") << u"/a/b:c@d,e=f+g%h"_s << u"/a/b:c@d,e=f+g%h"_s;
    QTest::newRow("blank") << u"a b"_s << u"'a b'"_s;
    QTest::newRow("quotation mark") << u"it's"_s << u"'it'\\''s'"_s;
    QTest::newRow("empty") << QString() << u"''"_s;
    QTest::newRow("home") << u"~"_s << u"'~'"_s;
    QTest::newRow("substitution") << u"$(x)`y`"_s << u"'$(x)`y`'"_s;
    QTest::newRow("pattern") << u"*.jpg"_s << u"'*.jpg'"_s;
    QTest::newRow("letters of other scripts") << u"Café"_s << u"'Café'"_s;
    QTest::newRow("line end behind a plain word") << u"a\n"_s << u"'a\n'"_s;
}

void ToolTextTest::shellWords() {
    QFETCH(const QString, word);
    QTEST(shellWord(word), "expected");
}

void ToolTextTest::wrapping_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("indent");
    QTest::addColumn<QString>("expected");
    QTest::newRow("one line") << u"a b"_s << 10 << 0 << u"a b\n"_s;
    QTest::newRow("exactly fits") << u"ab cd"_s << 5 << 0 << u"ab cd\n"_s;
    QTest::newRow("one too many") << u"ab cde"_s << 5 << 0 << u"ab\ncde\n"_s;
    QTest::newRow("indented") << u"ab cd"_s << 6 << 2 << u"  ab\n  cd\n"_s;
    QTest::newRow("a long word stands alone") << u"a bcdefghij k"_s << 5 << 0 << u"a\nbcdefghij\nk\n"_s;
    QTest::newRow("wide characters") << u"東京 東京"_s << 8 << 0 << u"東京\n東京\n"_s;
    QTest::newRow("paragraphs") << u"a\n\nb"_s << 9 << 1 << u" a\n\n b\n"_s;
}

void ToolTextTest::wrapping() {
    QFETCH(QString, text);
    QFETCH(int, width);
    QFETCH(int, indent);
    QFETCH(QString, expected);
    QCOMPARE(wrapped(text, width, indent), expected);
}

void ToolTextTest::wrappedTextKeepsItsWords() {
    const QString text = u"Lists each FOLDER, or the current one, as the photo application sees it."_s;
    for (int width = 1; width < 90; ++width) {
        const QString result = wrapped(text, width, 0);
        QCOMPARE(result.simplified(), text);
        for (const QString& line : result.split(u'\n')) {
            QVERIFY(line.size() <= width || !line.contains(u' '));
        }
    }
}

void ToolTextTest::jsonLines_data() {
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << u"a.jpg"_s;
    QTest::newRow("quotes and backslash") << u"\"\\"_s;
    QTest::newRow("line break, escape") << u"a\n\x1b[31m"_s;
    QTest::newRow("C1 control beside a pictograph") << QString(QChar(0x9b)) + u"\U0001F4F7 東京"_s;
    QTest::newRow("direction override") << QString(QChar(0x202e)) + u"gpj"_s;
    QTest::newRow("delete") << u"\x7f"_s;
}

void ToolTextTest::jsonLines() {
    QFETCH(QString, name);
    const QJsonObject object = {{u"name"_s, name}, {u"size"_s, qint64(9007199254740993)}};
    const QByteArray line = jsonLine(object);
    QCOMPARE(QJsonDocument::fromJson(line).object(), object);
    QCOMPARE(shown(QString::fromUtf8(line)), QString::fromUtf8(line));
    QVERIFY(line.contains("9007199254740993"));
    QVERIFY(!line.contains('\n'));
}

void ToolTextTest::nearest_data() {
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("expected");
    QTest::newRow("letter missing") << u"--hiden"_s << u"--hidden"_s;
    QTest::newRow("letter too many") << u"--recursivee"_s << u"--recursive"_s;
    QTest::newRow("swapped") << u"--jsno"_s << u"--json"_s;
    QTest::newRow("other letter") << u"--nanes"_s << u"--names"_s;
    QTest::newRow("itself") << u"--names"_s << u"--names"_s;
    QTest::newRow("nothing near") << u"--quality"_s << u""_s;
    QTest::newRow("empty") << u""_s << u""_s;
    QTest::newRow("hostile length") << QString(100'000, u'x') << u""_s;
}

void ToolTextTest::nearest() {
    QFETCH(QString, given);
    QFETCH(QString, expected);
    QCOMPARE(nearestName(given, {u"--hidden"_s, u"--names"_s, u"--json"_s, u"--recursive"_s}), expected);
}

void ToolTextTest::absolute_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("expected");
    QTest::newRow("name") << u"a.jpg"_s << u"/trip"_s << u"/trip/a.jpg"_s;
    QTest::newRow("empty") << u""_s << u"/trip"_s << u"/trip"_s;
    QTest::newRow("dot") << u"."_s << u"/trip"_s << u"/trip"_s;
    QTest::newRow("dot slash") << u"./"_s << u"/trip"_s << u"/trip/"_s;
    QTest::newRow("folder") << u"./a/"_s << u"/trip"_s << u"/trip/a/"_s;
    QTest::newRow("up") << u".."_s << u"/trip/x"_s << u"/trip"_s;
    QTest::newRow("up and down") << u"../../b"_s << u"/trip/x"_s << u"/b"_s;
    QTest::newRow("above the root") << u"../../../b"_s << u"/trip"_s << u"/b"_s;
    QTest::newRow("up behind a name stays") << u"a/../b"_s << u"/trip"_s << u"/trip/a/../b"_s;
    QTest::newRow("absolute") << u"/a//b/./c"_s << u"/trip"_s << u"/a/b/c"_s;
    QTest::newRow("above the root, absolute") << u"/../a"_s << u"/trip"_s << u"/a"_s;
    QTest::newRow("root") << u"/"_s << u"/trip"_s << u"/"_s;
    QTest::newRow("in the root") << u"a"_s << u"/"_s << u"/a"_s;
    QTest::newRow("name of dots") << u"..."_s << u"/trip"_s << u"/trip/..."_s;
}

void ToolTextTest::absolute() {
    QFETCH(QString, text);
    QFETCH(QString, folder);
    QFETCH(QString, expected);
    QCOMPARE(absoluteText(text, folder), expected);
    QCOMPARE(absoluteText(expected, u"/elsewhere"_s), expected);
}

void ToolTextTest::absoluteWithoutAWorkingFolder() {
    for (const QString& text : {u"home"_s, u"./home"_s, u"../home"_s, u"."_s, u""_s}) {
        QCOMPARE(absoluteText(text, QString()), QString());
        QCOMPARE(absoluteText(text, u"(unreachable)/trip"_s), QString());
    }
    QCOMPARE(absoluteText(u"/home"_s, QString()), u"/home"_s);
}

void ToolTextTest::decoding_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("expected");
    QTest::newRow("ASCII") << QByteArray("ls") << u"ls"_s;
    QTest::newRow("UTF-8") << QByteArray("Caf\xc3\xa9") << u"Café"_s;
    QTest::newRow("decomposed stays") << QByteArray("e\xcc\x81") << u"e\u0301"_s;
    QTest::newRow("Latin-1 byte") << QByteArray("lat\xe9.jpg") << u"lat\ufffd.jpg"_s;
    QTest::newRow("byte order mark stays") << QByteArray("\xef\xbb\xbf.jpg") << u"\ufeff.jpg"_s;
}

void ToolTextTest::decoding() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, expected);
    const char* arguments[] = {bytes.constData()};
    QCOMPARE(decodeArguments(1, arguments), QStringList(expected));
}

VKTEST_MAIN(ToolTextTest)
#include "ToolTextTest.moc"
