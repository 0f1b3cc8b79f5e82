// What the tests of the account service's client share: log lines as texts, products as texts, JSON from short texts.
#pragma once

#include "VKAppMgrAPI.h"
#include "VKCoreKit/CoreKitSupport.h"

#include <QJsonDocument>
#include <QStringList>

namespace AppMgr {

using namespace Qt::StringLiterals;

/// '{"a": 1}' from "{'a': 1}".
inline QByteArray quoted(QByteArray text) { return text.replace('\'', '"'); }

inline QJsonObject object(const QByteArray& text) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(quoted(text), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        qFatal("no JSON object: %s", text.constData());
    }
    return document.object();
}

/// What came since the last call: events as "event 1003", lines as they are. Every event is checked to name its
/// source.
inline QStringList taken(CoreKit::LogCapture& log) {
    QStringList lines;
    for (const CoreKit::LogLine& line : log.take()) {
        if (line.status == 0) {
            lines << line.text;
            continue;
        }
        lines << u"event %1"_s.arg(line.status);
        if (line.source != "VKQtCore/Source/Common/VKAppMgrAPI" || line.line <= 0) {
            lines << u"of %1:%2"_s.arg(QString::fromUtf8(line.source)).arg(line.line);
        }
    }
    return lines;
}

/// Every field, so that a comparison that fails shows which.
inline QString described(const VKAppMgrAPI::t_Product& p) {
    const VKAppMgrAPI::t_Requirements& r = p.requirements;
    const auto flag = [](bool value) { return value ? u"yes"_s : u"no"_s; };
    const auto number = [](std::int64_t value) { return QString::number(value); };
    return QStringList{u"type="_s + p.type,
                       u"name="_s + p.name,
                       u"ignore="_s + flag(p.ignore),
                       u"sku="_s + p.sku,
                       u"free="_s + flag(p.free),
                       u"description="_s + p.description,
                       u"tooltip="_s + p.tooltip,
                       u"version="_s + p.version,
                       u"releaseDate="_s + p.releaseDate.toString(Qt::ISODate),
                       u"mobile="_s + flag(p.mobile),
                       u"developer="_s + flag(p.developer),
                       u"prerelease="_s + flag(p.prerelease),
                       u"productUrl="_s + p.productUrl,
                       u"tutorialUrl="_s + p.tutorialUrl,
                       u"iconUrl="_s + p.iconUrl,
                       u"updated="_s + p.updated.toString(Qt::ISODateWithMs),
                       u"updateText="_s + p.updateText,
                       u"macUrl="_s + p.macUrl,
                       u"macMD5="_s + p.macMD5,
                       u"macSize="_s + number(p.macSize),
                       u"winUrl="_s + p.winUrl,
                       u"winMD5="_s + p.winMD5,
                       u"winSize="_s + number(p.winSize),
                       u"androidUrl="_s + p.androidUrl,
                       u"iosUrl="_s + p.iosUrl,
                       u"req.version="_s + number(r.version),
                       u"req.vulkanPresent="_s + flag(r.vulkanPresent),
                       u"req.directXMajor="_s + number(r.directXMajor),
                       u"req.directXMinor="_s + number(r.directXMinor),
                       u"req.vram="_s + number(r.vram),
                       u"req.osMajor="_s + number(r.osMajor),
                       u"req.osMinor="_s + number(r.osMinor),
                       u"req.osPatch="_s + number(r.osPatch),
                       u"req.osBuild="_s + number(r.osBuild)}
        .join(u'\n');
}

/// The fields that are not as in a new record, "field=value" each.
inline QStringList changedFields(const VKAppMgrAPI::t_Product& product) {
    const QStringList all = described(product).split(u'\n');
    const QStringList none = described({}).split(u'\n');
    QStringList changed;
    for (qsizetype field = 0; field < all.size(); ++field) {
        if (all.at(field) != none.at(field)) {
            changed << all.at(field);
        }
    }
    return changed;
}

} // namespace AppMgr
