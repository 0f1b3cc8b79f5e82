// What both kinds of settings read and write.
#include "VKConfigItem.h"

#include "VKConfigItemFields.h"
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
    return loadFields(VKConfigDetail::ItemFields(info));
}

VKStatus VKConfigItem::loadFields(const VKConfigDetail::ItemFields& fields) {
    if (!fields.has(fields.name)) {
        return missingKey(__LINE__);
    }
    if (!fields.has(fields.displayName)) {
        return missingKey(__LINE__);
    }
    if (!fields.has(fields.valueType)) {
        return missingKey(__LINE__);
    }
    mName = fields.name->toString();
    mDisplayName = fields.displayName->toString();
    mValueType = fields.valueType->toInt(0);
    return kVKStatusSuccess;
}

VKStatus VKConfigItem::createInfo(QJsonObject& info) {
    info.insert(kNameKey, mName);
    info.insert(kDisplayNameKey, mDisplayName);
    info.insert(kValueTypeKey, mValueType);
    return kVKStatusSuccess;
}

VKConfigDetail::ItemFields::ItemFields(const QJsonObject& info)
    : end(info.constEnd()), name(end), displayName(end), valueType(end), value(end), values(end),
      sortAlphabetically(end) {
    const auto place = [this](const QString& key) -> QJsonObject::const_iterator* {
        switch (key.size()) {
        case 4:
            return key == kNameKey ? &name : nullptr;
        case 5:
            return key == "value"_L1 ? &value : nullptr;
        case 6:
            return key == "values"_L1 ? &values : nullptr;
        case 10:
            return key == kValueTypeKey ? &valueType : nullptr;
        case 12:
            return key == kDisplayNameKey ? &displayName : nullptr;
        case 19:
            return key == "sort_alphabetically"_L1 ? &sortAlphabetically : nullptr;
        default:
            return nullptr;
        }
    };
    for (auto member = info.constBegin(); member != end; ++member) {
        if (QJsonObject::const_iterator* const field = place(member.key()); field != nullptr) {
            *field = member;
        }
    }
}
