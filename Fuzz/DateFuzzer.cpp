// Dates: any text read as one, in a zone with summer time; what was read has to come back from what is written. And any
// eight numbers as a date object.

#include "FuzzSupport.h"

#include <VKCoreKit/VKDate.h>
#include <VKQtDateUtils.h>

#include <algorithm>
#include <cstring>
#include <ctime>

namespace {

QString numbersOf(const QDateTime& time) { return VKQtDateUtils::safeDateToString(time); }

void checkText(const QString& text) {
    const QDateTime time = parseEnglishStandard(text);
    require(time == VKQtDateUtils::multiformatStringToDate(text), "both functions read the same", {text});
    const QString plain = QString(text).remove(u',');
    require(parseEnglishStandard(plain) == time, "commas do not count", {text});
    if (!time.isValid()) {
        return;
    }
    const qsizetype parts = plain.count(u' ') + 1;
    require(parts == 5 || parts == 7 || parts == 9, "a layout has 5, 7 or 9 parts", {text});
    require(time.time().msec() == 0 && time.timeSpec() == Qt::LocalTime, "whole seconds of local time",
            {text});
    const QString written = numbersOf(time);
    const QDateTime again = parseEnglishStandard(written + u" +0000 UTC");
    require(again == time, "what was read comes back from what is written", {text, written});
    require(numbersOf(again) == written, "writing it again changes nothing", {text, written});
    VKDateRef date = VKQtDateUtils::createVKDateRefFromQDateTime(time, 7, nullptr);
    const QDateTime back = VKQtDateUtils::createQDateTimeFromVKDateRef(date);
    VKDateRelease(date);
    require(back.date() == time.date() && back.time() == time.time(), "a date object keeps its numbers",
            {text});
}

void checkNumbers(const VKDateComponents& components) {
    VKDateRef date = nullptr;
    require(VKDateCreate(&components, &date) == kVKStatusSuccess && date != nullptr,
            "any numbers make a date object");
    VKDateComponents back;
    require(VKDateGetComponents(date, &back) == kVKStatusSuccess && back == components,
            "which gives them back");
    const QDateTime time = VKQtDateUtils::createQDateTimeFromVKDateRef(date);
    VKDateRelease(date);
    if (!time.isValid()) {
        return;
    }
    require(time.date() == QDate(components.year, components.month, components.day),
            "the date is the one given");
    require((time.timeSpec() == Qt::UTC) == (components.offsetFromUtc == 0),
            "without an offset it is in UTC");
    require(time.offsetFromUtc() == components.offsetFromUtc, "the offset is the one given");
    VKDateRef again = VKQtDateUtils::createVKDateRefFromQDateTime(time, 0, nullptr);
    require(VKDateGetComponents(again, &back) == kVKStatusSuccess, "a date-time makes a date object");
    VKDateRelease(again);
    require(back.year == components.year && back.month == components.month && back.day == components.day &&
                back.hour == time.time().hour() && back.reserved == 0 && back.offsetFromUtc == 0,
            "with its numbers");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    qputenv("TZ", "Europe/Berlin");
    tzset();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    checkText(input.text());
    const QByteArray rest = input.rest();
    VKDateComponents components;
    std::memcpy(&components, rest.constData(),
                std::min(sizeof components, static_cast<std::size_t>(rest.size())));
    checkNumbers(components);
    return 0;
}
