// A configuration's bytes without a JSON object in between: as a saved file is made of nothing but bundles and
// items, writing it needs no tree of values.
#pragma once

#include <QByteArray>

class VKConfigModel;

namespace VKConfigDetail {

/// The bytes that QJsonDocument writes, indented, of what model.createInfo() gives, where it is known what that
/// is: for a model whose own class, and those of its children, are the configuration's. False otherwise, and
/// `out` as it was.
[[nodiscard]] bool writeArchive(VKConfigModel& model, QByteArray& out);

} // namespace VKConfigDetail
