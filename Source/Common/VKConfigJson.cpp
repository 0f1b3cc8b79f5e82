// From the bytes of a configuration to a JSON object. The framework's parser bounds the depth itself
// (VKNode::kMaxJsonDepth is its bound), skips a byte-order mark and refuses what is not UTF-8.
#include "VKConfigJson.h"

#include "VKNode.h"

#include <QJsonDocument>

namespace VKConfigDetail {

VKStatus parseObject(const QByteArray& bytes, QJsonObject& object) {
    if (bytes.size() > VKNode::kMaxJsonBytes) {
        return kVKStatusBadArgument;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError) {
        return kVKStatusBadArgument;
    }
    object = document.object();
    return kVKStatusSuccess;
}

} // namespace VKConfigDetail
