// What both kinds of settings read and write.
#include "VKConfigItem.h"

#include "VKConfigLog.h"

using namespace Qt::StringLiterals;

namespace {

constexpr auto kNameKey = "name"_L1;
constexpr auto kDisplayNameKey = "display_name"_L1;
constexpr auto kValueTypeKey = "value_type"_L1;

VKStatus missingKey(int line) {
    return VKConfigDetail::logged(kVKStatusMissingKey, "VKQtCore/Source/Common/VKConfigItem", line);
}

} // namespace

VKConfigItem::VKConfigItem() = default;
VKConfigItem::~VKConfigItem() = default;
std::uint32_t VKConfigItem::AddRef() { return CBaseCore::AddRef(); }
std::uint32_t VKConfigItem::Release() { return CBaseCore::Release(); }

VKStatus VKConfigItem::loadInfo(const QJsonObject& info) {
    const auto name = info.find(kNameKey);
    if (name == info.end()) {
        return missingKey(__LINE__);
    }
    const auto displayName = info.find(kDisplayNameKey);
    if (displayName == info.end()) {
        return missingKey(__LINE__);
    }
    const auto valueType = info.find(kValueTypeKey);
    if (valueType == info.end()) {
        return missingKey(__LINE__);
    }
    mName = name->toString();
    mDisplayName = displayName->toString();
    mValueType = valueType->toInt(0);
    return kVKStatusSuccess;
}

VKStatus VKConfigItem::createInfo(QJsonObject& info) {
    info.insert(kNameKey, mName);
    info.insert(kDisplayNameKey, mDisplayName);
    info.insert(kValueTypeKey, mValueType);
    return kVKStatusSuccess;
}
