// A setting that is on or off.
#pragma once

#include "VKConfigItem.h"

class VKQT_EXPORT VKConfigItemBool : public VKConfigItem {
public:
    VKConfigItemBool();
    ~VKConfigItemBool() override;

    /// Reads the base's keys and "value"; 1016 when one is missing. Only the JSON value true is true: a number
    /// reads as false. What was read is the default, too.
    VKStatus loadInfo(const QJsonObject& info) override;

    /// Writes the base's keys and "value", a JSON boolean.
    VKStatus createInfo(QJsonObject& info) override;

    VKStatus updateValue(VKConfigItem* other) override;

    [[nodiscard]] bool value() const noexcept { return mValue; }
    void setValue(bool value) noexcept { mValue = value; }

    /// The value that the item was last loaded with; false before.
    [[nodiscard]] bool defaultValue() const noexcept { return mDefaultValue; }

private:
    friend class VKConfigDetail::QuickLoader;

    bool mValue = false;
    bool mDefaultValue = false;
};
