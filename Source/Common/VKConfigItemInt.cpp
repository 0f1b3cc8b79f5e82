// A setting that is one of several named numbers.
#include "VKConfigItemInt.h"

#include "VKConfigLog.h"

#include <QJsonArray>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr auto kValueKey = "value"_L1;
constexpr auto kValuesKey = "values"_L1;
constexpr auto kDisplayNameKey = "display_name"_L1;
constexpr auto kSortAlphabeticallyKey = "sort_alphabetically"_L1;

VKStatus logged(VKStatus status, int line) {
    return VKConfigDetail::logged(status, "VKQtCore/Source/Common/VKConfigItemInt", line);
}

} // namespace

VKConfigItemInt::VKConfigItemInt() { setValueType(kValueTypeInt); }
VKConfigItemInt::~VKConfigItemInt() = default;

VKStatus VKConfigItemInt::loadInfo(const QJsonObject& info) {
    const bool sorted = info.value(kSortAlphabeticallyKey).toBool();
    if (const VKStatus status = VKConfigItem::loadInfo(info); status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    const auto value = info.find(kValueKey);
    if (value == info.end()) {
        return logged(kVKStatusMissingKey, __LINE__);
    }
    const auto values = info.find(kValuesKey);
    if (values == info.end()) {
        return logged(kVKStatusMissingKey, __LINE__);
    }
    mValue = value->toInt(0);
    mDefaultValue = mValue;
    const std::size_t before = mChoices.size();
    const VKStatus status = loadChoices(values->toArray());
    // Once, behind the last one: sorting behind each gives the same order, and a long list would take hours.
    if (sorted && mChoices.size() > before) {
        std::sort(mChoices.begin(), mChoices.end(), [](const Choice& left, const Choice& right) {
            return left.first.compare(right.first, Qt::CaseInsensitive) < 0;
        });
    }
    return status;
}

VKStatus VKConfigItemInt::loadChoices(const QJsonArray& values) {
    mChoices.reserve(mChoices.size() + static_cast<std::size_t>(values.size()));
    for (const QJsonValue element : values) {
        const QJsonObject choice = element.toObject();
        const auto displayName = choice.find(kDisplayNameKey);
        const auto value = choice.find(kValueKey);
        if (displayName == choice.end() || value == choice.end()) {
            return logged(kVKStatusMissingKey, __LINE__);
        }
        mChoices.emplace_back(displayName->toString(), value->toInt(0));
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
