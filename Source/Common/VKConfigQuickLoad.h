// Loading without a JSON object in between: a file that holds what the system writes, and nothing unusual, becomes
// bundles and items in one pass. Anything else is left to loadInfo(), whose rules are the rules.
#pragma once

#include <QByteArray>

class VKConfigModel;

namespace VKConfigDetail {

/// Does what model.loadInfo() would do with the document, and answers true; or does nothing and answers false:
/// where the bytes are not plainly a configuration (malformed, incomplete, unknown or repeated keys, unexpected
/// types, escapes in texts, odd numbers), or a class involved is not the configuration's own.
[[nodiscard]] bool quickLoad(VKConfigModel& model, const QByteArray& bytes);

} // namespace VKConfigDetail
