// The JSON form of a path: arbitrary documents (as JSON, and as CBOR, which can hold texts that JSON cannot), with
// members of any type, held against the rules for missing and wrong members; and written and read again.

#include "FuzzSupport.h"
#include "PathModel.h"

#include <VKQtPath.h>

#include <QCborValue>
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    if (const QJsonDocument document = QJsonDocument::fromJson(bytes); !document.isNull()) {
        check(document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object()));
    }
    check(QCborValue::fromCbor(bytes).toJsonValue());
    return 0;
}
