// Dates as the suite writes them: two English layouts that are read, one that is written without any locale,
// the user's own formats, and the core library's date objects.
#pragma once

#include "VKQtExport.h"

#include <VKCoreKit/VKDate.h>

#include <QDateTime>
#include <QString>

/// Static functions about dates.
///
/// Threads: any. The functions with "locale" in their name ask for the default locale (VKQtLocale) at the
/// moment of the call; the others depend on no locale at all.
class VKQT_EXPORT VKQtDateUtils {
public:
    VKQtDateUtils() = delete;

    static const QString kDateFormat;     ///< "ddd, dd MMM yyyy"
    static const QString kDateTimeFormat; ///< "ddd, dd MMM yyyy hh:mm:ss"

    /// The moment that a text in one of the two English layouts names: parseEnglishStandard().
    [[nodiscard]] static QDateTime multiformatStringToDate(const QString& text);

    /// The date and time in English, whatever the locale. Of an invalid one both names are empty and the
    /// numbers are the framework's own (0 for day and year, -1 for hour, minute and second).
    ///
    ///     Thursday 5 January 2017 09:03:07 -> "Thur Jan 05 09:03:07 2017"
    ///     invalid                          -> "  00 -1:-1:-1 0"
    ///
    /// Thursday has four letters, deliberately: that is how files of the suite have it. The time is shown
    /// as the date-time holds it, without conversion and without its zone.
    [[nodiscard]] static QString safeDateToString(const QDateTime& time);

    /// In local time, by getLocalDateFormat(). Empty for an invalid one. The flag has no meaning and is
    /// kept for older callers.
    [[nodiscard]] static QString toLocaleDateTimeString(const QDateTime& time, bool unused);

    /// The short date and time format of the locale's language and territory. The flag has no meaning.
    [[nodiscard]] static QString getLocalDateFormat(bool unused);

    /// The locale's short date, with a year of four digits, and its long time without the zone.
    ///
    ///     en_US -> "M/d/yyyy h:mm:ss AP "    de_DE -> "dd.MM.yyyy HH:mm:ss "
    ///
    /// Every "t" goes, not only the zone's, and the blank in front of the zone stays: deliberately, as
    /// toLocaleDateTimeStringMedium() trims its result.
    [[nodiscard]] static QString getLocaleDateTimeFormatMedium();

    /// In local time, by getLocaleDateTimeFormatMedium(), trimmed and in capitals ("1/5/2017 9:03:07 AM").
    /// Empty for an invalid one.
    [[nodiscard]] static QString toLocaleDateTimeStringMedium(const QDateTime& time);

    /// The moment that a date object's numbers name: in UTC when its offset is 0, otherwise with that offset.
    /// Invalid when they name none, and for null.
    [[nodiscard]] static QDateTime createQDateTimeFromVKDateRef(VKDateRef date);

    // What these return has one reference, which the caller releases with VKDateRelease(). Fields that are not
    // named are 0; those of something invalid are the framework's numbers for it.

    /// Year, month and day.
    [[nodiscard]] static VKDateRef createVKDateRefFromQDate(const QDate& date);

    /// Hour, minute and second.
    [[nodiscard]] static VKDateRef createVKDateRefFromQTime(const QTime& time);

    /// All six, as the date-time holds them. Of one in UTC (Qt::UTC), `secondsToAdd` are added first; others
    /// are taken as they are. The offset is always 0. The last argument has no meaning and may be null.
    [[nodiscard]] static VKDateRef createVKDateRefFromQDateTime(const QDateTime& time, int secondsToAdd,
                                                                const int* unused);
};

/// Reads a text in one of two English layouts, as local time. Commas are left out; what is left is divided
/// at each blank, so that two blanks in a row make an empty part, and the number of parts picks the layout.
///
///     "Monday, January 5, 2015 10:20:30"       5 parts      -> 5 January 2015 10:20:30
///     "Mon Jan 5 10:20:30 2015 +0000 UTC"      7 or 9 parts -> the same; what follows the year is not read
///     "Mon Jan 5 10:20:30 2015"                5 parts      -> invalid: "Jan" is no month of the first layout
///     "monday, january 5, 2015 10:20:30"                    -> invalid: case counts
///     "Monday, January 5, 2015 10:20"                       -> invalid: a time has three parts
///     "Monday, January 5, 2015 10:20:30:40"                 -> the first three parts of the time count
///     "Monday, January 5, 2015 24:00:00", "... 30, ... "    -> invalid: no such time, no such day
///
/// The day of the week is not looked at. A time that the local zone leaves out at the begin of summer time
/// is what the framework makes of it. Any thread; no locale is asked.
[[nodiscard]] VKQT_EXPORT QDateTime parseEnglishStandard(const QString& text);
