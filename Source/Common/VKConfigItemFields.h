// The members of an item's object, found in one pass: a look-up by key in a JSON object costs as much as creating
// the item, and each item would need half a dozen.
#pragma once

#include <QJsonObject>

namespace VKConfigDetail {

/// Where they are; the object's end for one that is missing. Valid as long as the object.
struct ItemFields {
    explicit ItemFields(const QJsonObject& info);

    [[nodiscard]] bool has(QJsonObject::const_iterator field) const { return field != end; }

    QJsonObject::const_iterator end;
    QJsonObject::const_iterator name;
    QJsonObject::const_iterator displayName;
    QJsonObject::const_iterator valueType;
    QJsonObject::const_iterator value;
    QJsonObject::const_iterator values;
    QJsonObject::const_iterator sortAlphabetically;
};

} // namespace VKConfigDetail
