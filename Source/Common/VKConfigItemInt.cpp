// A setting that is one of several named numbers.
#include "VKConfigItemInt.h"

#include "VKConfigItemFields.h"
#include "VKConfigLog.h"

#include <QJsonArray>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr auto kValueKey = "value"_L1;
constexpr auto kValuesKey = "values"_L1;
constexpr auto kDisplayNameKey = "display_name"_L1;

VKStatus logged(VKStatus status, int line) {
    return VKConfigDetail::logged(status, "VKQtCore/Source/Common/VKConfigItemInt", line);
}

} // namespace

VKConfigItemInt::VKConfigItemInt() { setValueType(kValueTypeInt); }
VKConfigItemInt::~VKConfigItemInt() = default;

VKStatus VKConfigItemInt::loadInfo(const QJsonObject& info) {
    const VKConfigDetail::ItemFields fields(info);
    const bool sorted = fields.has(fields.sortAlphabetically) && fields.sortAlphabetically->toBool();
    if (const VKStatus status = loadFields(fields); status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    if (!fields.has(fields.value)) {
        return logged(kVKStatusMissingKey, __LINE__);
    }
    if (!fields.has(fields.values)) {
        return logged(kVKStatusMissingKey, __LINE__);
    }
    mValue = fields.value->toInt(0);
    mDefaultValue = mValue;
    const std::size_t before = mChoices.size();
    const VKStatus status = loadChoices(fields.values->toArray());
    // Once, behind the last one: sorting behind each gives the same order, and a long list would take hours.
    if (sorted && mChoices.size() > before) {
        sortChoices();
    }
    return status;
}

void VKConfigItemInt::sortChoices() {
    std::sort(mChoices.begin(), mChoices.end(), [](const Choice& left, const Choice& right) {
        return left.first.compare(right.first, Qt::CaseInsensitive) < 0;
    });
}

VKStatus VKConfigItemInt::loadChoices(const QJsonArray& values) {
    mChoices.reserve(mChoices.size() + static_cast<std::size_t>(values.size()));
    for (const QJsonValueConstRef element : values) {
        const QJsonObject choice = element.toObject();
        const VKConfigDetail::ItemFields fields(choice);
        if (!fields.has(fields.displayName) || !fields.has(fields.value)) {
            return logged(kVKStatusMissingKey, __LINE__);
        }
        mChoices.emplace_back(fields.displayName->toString(), fields.value->toInt(0));
    }
    return kVKStatusSuccess;
}

VKStatus VKConfigItemInt::createInfo(QJsonObject& info) {
    if (const VKStatus status = VKConfigItem::createInfo(info); status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    QJsonArray values;
    for (const Choice& choice : mChoices) {
        values.append(QJsonObject{{kDisplayNameKey, choice.first}, {kValueKey, choice.second}});
    }
    info.insert(kValueKey, mValue);
    info.insert(kValuesKey, values);
    return kVKStatusSuccess;
}

VKStatus VKConfigItemInt::updateValue(VKConfigItem* other) {
    if (const auto* const same = dynamic_cast<const VKConfigItemInt*>(other); same != nullptr) {
        mValue = same->mValue;
    }
    return kVKStatusSuccess;
}
