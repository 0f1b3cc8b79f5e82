// A setting that is on or off.
#include "VKConfigItemBool.h"

#include "VKConfigItemFields.h"
#include "VKConfigLog.h"

using namespace Qt::StringLiterals;

namespace {

constexpr auto kValueKey = "value"_L1;

VKStatus logged(VKStatus status, int line) {
    return VKConfigDetail::logged(status, "VKQtCore/Source/Common/VKConfigItemBool", line);
}

} // namespace

VKConfigItemBool::VKConfigItemBool() { setValueType(kValueTypeBool); }
VKConfigItemBool::~VKConfigItemBool() = default;

VKStatus VKConfigItemBool::loadInfo(const QJsonObject& info) {
    const VKConfigDetail::ItemFields fields(info);
    if (const VKStatus status = loadFields(fields); status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    if (!fields.has(fields.value)) {
        return logged(kVKStatusMissingKey, __LINE__);
    }
    mValue = fields.value->toBool();
    mDefaultValue = mValue;
    return kVKStatusSuccess;
}

VKStatus VKConfigItemBool::createInfo(QJsonObject& info) {
    if (const VKStatus status = VKConfigItem::createInfo(info); status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    info.insert(kValueKey, mValue);
    return kVKStatusSuccess;
}

VKStatus VKConfigItemBool::updateValue(VKConfigItem* other) {
    if (const auto* const same = dynamic_cast<const VKConfigItemBool*>(other); same != nullptr) {
        mValue = same->mValue;
    }
    return kVKStatusSuccess;
}
