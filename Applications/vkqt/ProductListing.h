// The products of a catalogue, for people and for scripts.
#pragma once

#include "Command.h"
#include "Output.h"

#include <VKAppMgrAPI.h>

#include <QJsonObject>

#include <vector>

namespace VKTool {

/// What is not known, or does not hold for this platform, is null.
[[nodiscard]] QJsonObject toJson(const VKAppMgrAPI::t_Product& product);

/// What toJson() writes, for the help.
[[nodiscard]] std::vector<KeySpec> productKeys();

/// Nothing without products.
void writeTable(const std::vector<VKAppMgrAPI::t_Product>& products, Output& output);

} // namespace VKTool
