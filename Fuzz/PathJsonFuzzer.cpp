// The JSON form of a path: arbitrary documents, and objects built from the input whose members are of any type (with
// texts that no document can hold), held against the rules for missing and wrong members; written and read again.

#include "FuzzSupport.h"
#include "PathModel.h"

#include <VKQtPath.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <limits>

namespace {

void checkPayload(const QJsonObject& payload, const VKQtPath& path) {
    const QJsonValue folderValue = payload.value(QStringLiteral("folder"));
    const bool folder = folderValue.isBool() && folderValue.toBool();
    const QJsonValue textValue = payload.value(QStringLiteral("path"));
    const QString text = textValue.isString() ? textValue.toString() : QString();
    const auto volumeID = static_cast<unsigned>(payload.value(QStringLiteral("volumeID")).toInt(0));
    require(path.path() == PathModel::normalized(text, folder), "the text is the member's",
            {text, path.path()});
    require(path.isFolder() == folder, "the flag is the member's", {text});
    require(path.volumeID() == volumeID && path.hasVolumeID(), "the volume is the member's, and present",
            {text});
}

void checkRoundTrip(const VKQtPath& path) {
    const VKQtPath again = VKQtPath::fromJson(path.toJson());
    // A text that still ends in "/" loses one more when it is set again; large volume numbers read as 0.
    require(again.path() == PathModel::normalized(path.path(), path.isFolder()), "text there and back",
            {path.path(), again.path()});
    const bool fits = path.volumeID() <= static_cast<unsigned>(std::numeric_limits<int>::max());
    require(again.isFolder() == path.isFolder() && again.volumeID() == (fits ? path.volumeID() : 0U),
            "flag and volume there and back", {path.path()});
    const VKQtPath nested = VKQtPath::fromJson(static_cast<QJsonObject>(path));
    require(nested.path() == again.path() && nested.isFolder() == again.isFolder() &&
                nested.volumeID() == again.volumeID(),
            "the nested form is the same", {path.path()});
}

void check(const QJsonValue& value) {
    const QJsonObject object = value.toObject();
    const VKQtPath flat = VKQtPath::fromJsonPayload(object);
    checkPayload(object, flat);
    checkPayload(object, VKQtPath::fromJson(value));
    checkPayload(object.value(QStringLiteral("path")).toObject(), VKQtPath::fromJson(object));
    checkRoundTrip(flat);
}

/// A value of the type that the input picks; objects have the members of a path, or some of them.
QJsonValue anyValue(FuzzInput& input, int depth);

QJsonObject anyObject(FuzzInput& input, int depth) {
    QJsonObject object;
    const unsigned present = input.byte();
    if ((present & 1U) == 0) {
        object.insert(QStringLiteral("path"), anyValue(input, depth - 1));
    }
    if ((present & 2U) == 0) {
        object.insert(QStringLiteral("folder"), anyValue(input, depth - 1));
    }
    if ((present & 4U) == 0) {
        object.insert(QStringLiteral("volumeID"), anyValue(input, depth - 1));
    }
    return object;
}

QJsonValue anyValue(FuzzInput& input, int depth) {
    switch (input.byte() % (depth > 0 ? 8 : 6)) {
    case 0:
        return input.text();
    case 1:
        return input.flag();
    case 2:
        return input.number(-100, 60'000);
    case 3:
        return input.number(-100, 60'000) * 65'537.25;
    case 4:
        return {};
    case 5:
        return QJsonValue(QJsonValue::Undefined);
    case 6:
        return QJsonArray{input.text(), input.flag()};
    default:
        return anyObject(input, depth);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    if (const QJsonDocument document = QJsonDocument::fromJson(bytes); !document.isNull()) {
        check(document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object()));
    }
    FuzzInput input(data, size);
    check(anyObject(input, 3));
    return 0;
}
