// Each fault changes a good reply, so that it goes wrong in one way only.
#include "Faults.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace AccountService {

using namespace Qt::StringLiterals;

namespace {

constexpr int kFirstFinalStatus = 200;
constexpr int kLastStatus = 599;

int statusFromDigits(QByteArrayView digits) {
    bool isNumber = false;
    const int status = digits.size() == 3 ? digits.toByteArray().toInt(&isNumber) : 0;
    return isNumber && status >= kFirstFinalStatus && status <= kLastStatus ? status : 0;
}

QByteArray compact(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

/// Every member with a value of a type that nobody expects there.
QByteArray withWrongTypes(QJsonObject object) {
    for (auto member = object.begin(); member != object.end(); ++member) {
        if (member.key() == "api_version"_L1) {
            continue;
        }
        member.value() = member.value().isString() ? QJsonValue(17) : QJsonValue(u"a text"_s);
    }
    return compact(object);
}

/// Well-formed and complete, but with a member of that many blanks before the end.
QByteArray padded(const QByteArray& body, qsizetype bytes) {
    QByteArray huge = body.left(body.lastIndexOf('}'));
    huge.reserve(huge.size() + bytes + 16);
    huge += R"(,"padding":")";
    huge.append(bytes, ' ');
    return huge += R"("})";
}

} // namespace

const QList<FaultName>& faultNames() {
    static const QList<FaultName> sNames = {
        {"slow", Fault::Slow, "nothing for a while (--slow), then the whole reply"},
        {"hang", Fault::Hang, "no reply until the client leaves"},
        {"drip", Fault::Drip, "the body a byte at a time (--drip)"},
        {"cut-off", Fault::CutOff, "the connection closed in the middle of the body"},
        {"too-long", Fault::TooLong, "a Content-Length of twice the body"},
        {"too-short", Fault::TooShort, "a Content-Length of half the body"},
        {"garbage", Fault::Garbage, "a body that breaks off as JSON"},
        {"not-json", Fault::NotJson, "a page of HTML"},
        {"empty", Fault::Empty, "an empty body that calls itself JSON"},
        {"huge", Fault::Huge, "a reply with blanks of --huge bytes in a member"},
        {"version", Fault::Version, "an api_version of 2"},
        {"missing", Fault::Missing, "no members but api_version"},
        {"types", Fault::Types, "every other member of a wrong type"},
    };
    return sNames;
}

std::optional<Demand> demandOf(const QByteArray& path) {
    const bool isFault = path.startsWith("/fault/");
    if (!isFault && !path.startsWith("/status/")) {
        return Demand{.path = path};
    }
    const qsizetype begin = path.indexOf('/', 1) + 1;
    const qsizetype end = path.indexOf('/', begin);
    const QByteArray word = path.mid(begin, (end < 0 ? path.size() : end) - begin);
    Demand demand = {.path = end < 0 ? QByteArray() : path.mid(end)};
    if (!isFault) {
        demand.status = statusFromDigits(word);
        return demand.status != 0 ? std::optional(demand) : std::nullopt;
    }
    const auto found = std::find_if(faultNames().begin(), faultNames().end(),
                                    [&word](const FaultName& fault) { return fault.name == word; });
    if (found == faultNames().end()) {
        return std::nullopt;
    }
    demand.fault = found->fault;
    return demand;
}

int demandedStatus(const QString& email) {
    constexpr auto kBefore = "status-"_L1;
    constexpr auto kAfter = "@example.test"_L1;
    if (!email.startsWith(kBefore) || !email.endsWith(kAfter)) {
        return 0;
    }
    const QString digits = email.mid(kBefore.size(), email.size() - kBefore.size() - kAfter.size());
    return statusFromDigits(digits.toUtf8());
}

Reply spoiled(Reply reply, Fault fault, qsizetype hugeBytes) {
    QJsonObject object = QJsonDocument::fromJson(reply.body).object();
    switch (fault) {
    case Fault::None:
        break;
    case Fault::Slow:
        reply.delivery = Delivery::Late;
        break;
    case Fault::Hang:
        reply.delivery = Delivery::Never;
        break;
    case Fault::Drip:
        reply.delivery = Delivery::Drip;
        break;
    case Fault::CutOff:
        reply.delivery = Delivery::CutOff;
        break;
    case Fault::TooLong:
        reply.delivery = Delivery::AnnouncesMore;
        break;
    case Fault::TooShort:
        reply.delivery = Delivery::AnnouncesLess;
        break;
    case Fault::Garbage:
        reply.body.chop(reply.body.size() / 2);
        break;
    case Fault::NotJson:
        reply.contentType = "text/html; charset=utf-8";
        reply.body = "<!DOCTYPE html><title>Service</title><p>Please come back later.\n";
        break;
    case Fault::Empty:
        reply.body.clear();
        break;
    case Fault::Huge:
        reply.body = padded(reply.body, hugeBytes);
        break;
    case Fault::Version:
        object.insert(u"api_version"_s, 2);
        reply.body = compact(object);
        break;
    case Fault::Missing:
        reply.body = compact({{u"api_version"_s, object.value(u"api_version"_s)}});
        break;
    case Fault::Types:
        reply.body = withWrongTypes(object);
        break;
    }
    return reply;
}

} // namespace AccountService
