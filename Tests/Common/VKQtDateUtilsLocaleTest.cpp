// Dates in the user's formats: well-known locales row by row, and laws that hold for every locale of the framework.
#include "Support/VKTest.h"
#include "VKQtDateUtils.h"
#include "VKQtLocale.h"

#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace {

/// The default locale while the object lives.
class DefaultLocale {
public:
    explicit DefaultLocale(const QLocale& locale) { QLocale::setDefault(locale); }
    DefaultLocale(const DefaultLocale&) = delete;
    DefaultLocale& operator=(const DefaultLocale&) = delete;
    ~DefaultLocale() { QLocale::setDefault(mBefore); }

private:
    QLocale mBefore;
};

/// Thursday; the tests run in Berlin's time.
QDateTime morning() { return QDateTime(QDate(2017, 1, 5), QTime(9, 3, 7), Qt::LocalTime); }

/// The number in the locale's own digits.
QString digits(const QLocale& locale, int number) {
    QLocale plain = locale;
    plain.setNumberOptions(QLocale::OmitGroupSeparator);
    return plain.toString(number);
}

bool isYear(const QString& text, qsizetype at, qsizetype length) {
    const auto isY = [&text](qsizetype i) { return i >= 0 && i < text.size() && text[i] == u'y'; };
    for (qsizetype i = at; i < at + length; ++i) {
        if (!isY(i)) {
            return false;
        }
    }
    return !isY(at - 1) && !isY(at + length);
}

/// The number of years of that many letters in a format.
int yearsOf(const QString& format, qsizetype letters) {
    int count = 0;
    for (qsizetype i = 0; i < format.size(); ++i) {
        count += isYear(format, i, letters) ? 1 : 0;
    }
    return count;
}

} // namespace

class VKQtDateUtilsLocaleTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void knownLocales_data();
    void knownLocales();
    void toLocalTimeFirst();
    void invalid();
    void flagHasNoMeaning();
    void followsTheDefaultLocale();
    void everyLocale_data();
    void everyLocale();
};

void VKQtDateUtilsLocaleTest::knownLocales_data() {
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("shortFormat");
    QTest::addColumn<QString>("shortText");
    QTest::addColumn<QString>("mediumFormat");
    QTest::addColumn<QString>("mediumText");
    QTest::newRow("C") << u"C"_s << u"d MMM yyyy HH:mm:ss"_s << u"5 Jan 2017 09:03:07"_s
                       << u"d MMM yyyy HH:mm:ss "_s << u"5 JAN 2017 09:03:07"_s;
    QTest::newRow("United States") << u"en_US"_s << u"M/d/yy h:mm AP"_s << u"1/5/17 9:03 AM"_s
                                   << u"M/d/yyyy h:mm:ss AP "_s << u"1/5/2017 9:03:07 AM"_s;
    QTest::newRow("Germany") << u"de_DE"_s << u"dd.MM.yy HH:mm"_s << u"05.01.17 09:03"_s
                             << u"dd.MM.yyyy HH:mm:ss "_s << u"05.01.2017 09:03:07"_s;
    QTest::newRow("France has four digits already")
        << u"fr_FR"_s << u"dd/MM/yyyy HH:mm"_s << u"05/01/2017 09:03"_s << u"dd/MM/yyyy HH:mm:ss "_s
        << u"05/01/2017 09:03:07"_s;
    QTest::newRow("Finland has points in its time") << u"fi_FI"_s << u"d.M.yyyy H.mm"_s << u"5.1.2017 9.03"_s
                                                    << u"d.M.yyyy H.mm.ss "_s << u"5.1.2017 9.03.07"_s;
    QTest::newRow("Japan has letters in its time")
        << u"ja_JP"_s << u"yyyy/MM/dd H:mm"_s << u"2017/01/05 9:03"_s << u"yyyy/MM/dd H時mm分ss秒 "_s
        << u"2017/01/05 9時03分07秒"_s;
    QTest::newRow("the Basque country's zone is in brackets, which stay")
        << u"eu_ES"_s << u"yy/M/d HH:mm"_s << u"17/1/5 09:03"_s << u"yyyy/M/d HH:mm:ss ()"_s
        << u"2017/1/5 09:03:07 ()"_s;
}

void VKQtDateUtilsLocaleTest::knownLocales() {
    QFETCH(const QString, locale);
    const DefaultLocale current{QLocale(locale)};
    QTEST(VKQtDateUtils::getLocalDateFormat(true), "shortFormat");
    QTEST(VKQtDateUtils::toLocaleDateTimeString(morning(), true), "shortText");
    QTEST(VKQtDateUtils::getLocaleDateTimeFormatMedium(), "mediumFormat");
    QTEST(VKQtDateUtils::toLocaleDateTimeStringMedium(morning()), "mediumText");
}

void VKQtDateUtilsLocaleTest::toLocalTimeFirst() {
    const DefaultLocale current{QLocale(u"de_DE"_s)};
    const QDateTime moments[] = {
        QDateTime(QDate(2017, 1, 5), QTime(8, 3, 7), Qt::UTC),
        QDateTime(QDate(2017, 1, 5), QTime(13, 33, 7), Qt::OffsetFromUTC, 19800),
        QDateTime(QDate(2017, 1, 5), QTime(3, 3, 7), QTimeZone("America/New_York")),
    };
    for (const QDateTime& moment : moments) {
        QCOMPARE(VKQtDateUtils::toLocaleDateTimeString(moment, true), u"05.01.17 09:03"_s);
        QCOMPARE(VKQtDateUtils::toLocaleDateTimeStringMedium(moment), u"05.01.2017 09:03:07"_s);
    }
}

void VKQtDateUtilsLocaleTest::invalid() {
    QCOMPARE(VKQtDateUtils::toLocaleDateTimeString(QDateTime(), true), QString());
    QCOMPARE(VKQtDateUtils::toLocaleDateTimeStringMedium(QDateTime()), QString());
}

void VKQtDateUtilsLocaleTest::flagHasNoMeaning() {
    QCOMPARE(VKQtDateUtils::getLocalDateFormat(true), VKQtDateUtils::getLocalDateFormat(false));
    QCOMPARE(VKQtDateUtils::toLocaleDateTimeString(morning(), true),
             VKQtDateUtils::toLocaleDateTimeString(morning(), false));
}

void VKQtDateUtilsLocaleTest::followsTheDefaultLocale() {
    {
        const DefaultLocale current{QLocale(u"en_US"_s)};
        QCOMPARE(VKQtDateUtils::toLocaleDateTimeStringMedium(morning()), u"1/5/2017 9:03:07 AM"_s);
    }
    const DefaultLocale current{QLocale(u"fr_FR"_s)};
    QCOMPARE(VKQtDateUtils::toLocaleDateTimeStringMedium(morning()), u"05/01/2017 09:03:07"_s);
}

void VKQtDateUtilsLocaleTest::everyLocale_data() {
    QTest::addColumn<QLocale>("locale");
    const QList<QLocale> locales =
        QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyTerritory);
    QVERIFY2(locales.size() > 500, qPrintable(QString::number(locales.size())));
    for (const QLocale& locale : locales) {
        QTest::newRow(qPrintable(locale.bcp47Name() + u' ' + locale.name() + u' ' +
                                 QLocale::scriptToString(locale.script())))
            << locale;
    }
}

void VKQtDateUtilsLocaleTest::everyLocale() {
    QFETCH(const QLocale, locale);
    const DefaultLocale current(locale);

    const QString date = locale.dateFormat(QLocale::ShortFormat);
    const QString medium = VKQtDateUtils::getLocaleDateTimeFormatMedium();
    QVERIFY(!medium.contains(u't'));
    QCOMPARE(yearsOf(medium, 2), 0);
    QCOMPARE(yearsOf(medium, 4), yearsOf(date, 2) + yearsOf(date, 4));
    // Nothing else has changed.
    QString back = locale.dateFormat(QLocale::ShortFormat);
    if (yearsOf(back, 2) > 0) {
        back.replace(u"yy"_s, u"yyyy"_s);
    }
    QCOMPARE(medium, back + u' ' + locale.timeFormat(QLocale::LongFormat).remove(u't'));

    const QString text = VKQtDateUtils::toLocaleDateTimeStringMedium(morning());
    QCOMPARE(text, text.trimmed());
    QCOMPARE(text, text.toUpper());
    QVERIFY2(text.contains(digits(locale, 2017)) || yearsOf(medium, 4) == 0, qPrintable(text));
    QVERIFY2(text.contains(digits(locale, 9)), qPrintable(text));

    const QLocale ofTerritory(locale.language(), locale.territory());
    const QString shortFormat = VKQtDateUtils::getLocalDateFormat(true);
    QCOMPARE(shortFormat, ofTerritory.dateTimeFormat(QLocale::ShortFormat));
    const QString shortText = VKQtDateUtils::toLocaleDateTimeString(morning(), true);
    QCOMPARE(shortText, VKQtLocale().toString(morning(), shortFormat));
    QVERIFY2(shortText.contains(digits(locale, 17)), qPrintable(shortText));

    // What knows no locale does not change with it.
    QCOMPARE(VKQtDateUtils::safeDateToString(morning()), u"Thur Jan 05 09:03:07 2017"_s);
    QCOMPARE(parseEnglishStandard(u"Thursday, January 5, 2017 09:03:07"_s), morning());
}

VKTEST_MAIN(VKQtDateUtilsLocaleTest)
#include "VKQtDateUtilsLocaleTest.moc"
