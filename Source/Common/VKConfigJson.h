// From the bytes of a configuration to a JSON object, within limits.
#pragma once

#include <VKCoreKit/VKStatus.h>

#include <QByteArray>
#include <QJsonObject>

namespace VKConfigDetail {

/// The document's object; empty for a document whose root is an array. 1005, and `object` as it was, when the
/// bytes are no JSON document, or longer or more deeply nested than VKNode allows.
[[nodiscard]] VKStatus parseObject(const QByteArray& bytes, QJsonObject& object);

} // namespace VKConfigDetail
