// From a reply of the products call to records: by the rules, from a JSON object, or in one pass over the bytes.
#pragma once

#include "VKAppMgrAPI.h"

#include <QByteArray>
#include <QJsonObject>

#include <vector>

namespace VKAppMgrDetail {

using Products = std::vector<VKAppMgrAPI::t_Product>;

/// Checks the reply's version and appends its entries that have name and version: 0 or 1003.
[[nodiscard]] int readCatalogue(const QJsonObject& reply, Products& products);

/// Appends what readCatalogue() would append for the object in these bytes, and answers true; or does nothing and
/// answers false: where the bytes are not plainly a catalogue (malformed, another version, no entries, an entry that
/// is to be logged, repeated keys, escapes in keys, fractions where whole numbers belong, deep nesting).
[[nodiscard]] bool readPlainCatalogue(const QByteArray& body, Products& products);

/// The requirements of the running platform, from Base64 of a JSON object. An empty text changes nothing.
void readRequirements(const QString& base64, VKAppMgrAPI::t_Requirements& requirements);

} // namespace VKAppMgrDetail
