// vkqt date: reads a date as the suite writes it, and shows it in every form.
#include "Results.h"
#include "Text.h"

#include <VKQtDateUtils.h>
#include <VKQtLocale.h>

#include <QDateTime>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

// One form of a date: what it is asked for by, what people see, and how it is made.
struct Form {
    QString name;
    QString title;
    QString (*text)(const QDateTime&);
};

const std::vector<Form>& forms() {
    static const std::vector<Form> sForms = {
        {u"local"_s, u"Local"_s,
         [](const QDateTime& time) {
             return time.toOffsetFromUtc(time.toLocalTime().offsetFromUtc()).toString(Qt::ISODate);
         }},
        {u"utc"_s, u"UTC"_s, [](const QDateTime& time) { return time.toUTC().toString(Qt::ISODate); }},
        {u"suite"_s, u"In the suite"_s,
         [](const QDateTime& time) { return VKQtDateUtils::safeDateToString(time.toLocalTime()); }},
        {u"short"_s, u"Short"_s,
         [](const QDateTime& time) { return VKQtDateUtils::toLocaleDateTimeString(time, false); }},
        {u"medium"_s, u"Medium"_s, &VKQtDateUtils::toLocaleDateTimeStringMedium},
    };
    return sForms;
}

QStringList formNames() {
    QStringList names;
    for (const Form& form : forms()) {
        names << form.name;
    }
    return names;
}

QDateTime momentOf(const QString& text) {
    const QDateTime ours = VKQtDateUtils::multiformatStringToDate(text);
    return ours.isValid() ? ours : QDateTime::fromString(text, Qt::ISODate);
}

QJsonObject toJson(const QString& text, const QDateTime& time) {
    const bool known = time.isValid();
    QJsonObject object = {
        {u"text"_s, text},
        {u"seconds"_s, known ? QJsonValue(time.toSecsSinceEpoch()) : QJsonValue(QJsonValue::Null)}};
    for (const Form& form : forms()) {
        const QString written = known ? form.text(time) : QString();
        object.insert(form.name, written.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(written));
    }
    return object;
}

void writeForPeople(Output& output, const QString& text, const QDateTime& time) {
    output.write(output.styled(Style::Heading, shown(text)) + u'\n');
    for (const Form& form : forms()) {
        output.write(u"  "_s + output.styled(Style::Quiet, padded(form.title, 14)) + shown(form.text(time)) +
                     u'\n');
    }
}

// Shows one moment; false when it is none.
bool answer(Invocation& invocation, Results& results, const QString& text, const QDateTime& time) {
    results.add(toJson(text, time));
    if (!time.isValid()) {
        complain(u" date: "_s + shown(text) + u": not a date"_s);
        return false;
    }
    if (results.isJson()) {
        return true;
    }
    const QString wanted = invocation.value(u"format"_s);
    for (const Form& form : forms()) {
        if (form.name == wanted) {
            results.say(shown(form.text(time)));
        }
    }
    if (wanted == "all"_L1) {
        writeForPeople(invocation.output(), text, time);
    }
    return true;
}

// The framework takes an unknown name for the locale "C".
bool setLocale(const QString& name) {
    if (name.isEmpty()) {
        return true;
    }
    const QLocale locale(name);
    if (locale.language() == QLocale::C && name != "C"_L1) {
        return false;
    }
    QLocale::setDefault(locale);
    return true;
}

int run(Invocation& invocation) {
    const QString locale = invocation.value(u"locale"_s);
    if (!setLocale(locale)) {
        return invocation.usageError(u"there is no locale \"%1\""_s.arg(shown(locale)));
    }
    Results results(invocation);
    int status = kExitFine;
    for (const QString& text : invocation.arguments()) {
        if (!answer(invocation, results, text, momentOf(text))) {
            status = kExitFailed;
        }
    }
    if (invocation.arguments().isEmpty()) {
        const QDateTime now = QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch());
        static_cast<void>(answer(invocation, results, u"now"_s, now));
    }
    return status;
}

const Registration kRegistration({
    .name = u"date"_s,
    .summary = u"read a date and show it in every form"_s,
    .description = u"Reads each TEXT as a date and shows it in local time, in UTC, as the suite writes it "
                   u"into its files, and "
                   u"in the user's short and medium form; without a TEXT, the present moment.\n\n"
                   "TEXT is in one of the suite's two layouts, \"Monday, January 5, 2015 10:20:30\" or \"Mon "
                   "Jan 5 10:20:30 "
                   "2015 +0000 UTC\", both in local time whatever they say of a zone, or in ISO 8601. The "
                   "time zone is that "
                   "of the variable TZ or of the system."_s,
    .arguments = {{.name = u"TEXT"_s, .count = ArgumentSpec::Any}},
    .options =
        {
            {.name = u"format"_s,
             .form = OptionSpec::Value,
             .valueName = u"FORM"_s,
             .choices = QStringList(u"all"_s) + formNames(),
             .initialValue = u"all"_s,
             .help = u"Write this form alone, one line for each TEXT."_s},
            {.name = u"locale"_s,
             .form = OptionSpec::Value,
             .valueName = u"NAME"_s,
             .help =
                 u"The locale of the short and the medium form, as de_DE, instead of that of the environment."_s},
            {.name = u"json"_s, .help = u"Write JSON for scripts: one array with an object for each TEXT."_s},
        },
    .examples =
        {
            {u"vkqt date \"Monday, January 5, 2015 10:20:30\""_s, u"A date of the suite in every form."_s},
            {u"TZ=Asia/Tokyo vkqt date --format local 2015-01-05T10:20:30Z"_s,
             u"What a clock in Tokyo showed."_s},
            {u"vkqt date --locale fr_FR --format medium"_s, u"Now, for people in France."_s},
        },
    .jsonKeys =
        {
            {u"text"_s, u"What was given; \"now\" without a TEXT."_s},
            {u"seconds"_s,
             u"Since the begin of 1970 in UTC; null, as all that follows, when it is no date."_s},
            {u"local"_s,
             u"Local time with its offset from UTC, in ISO 8601; null for years before 0 or after 9999."_s},
            {u"utc"_s, u"The same in UTC."_s},
            {u"suite"_s, u"Local time as the suite writes it, without a locale."_s},
            {u"short"_s, u"Local time in the locale's short form."_s},
            {u"medium"_s, u"Local time with seconds, a year of four digits, and in capitals."_s},
        },
    .run = &run,
});

} // namespace
