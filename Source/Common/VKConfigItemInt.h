// A setting that is one of several named numbers.
#pragma once

#include "VKConfigItem.h"

#include <QJsonArray>

#include <cstdint>
#include <utility>
#include <vector>

class VKQT_EXPORT VKConfigItemInt : public VKConfigItem {
public:
    /// What people read, and the number that it stands for.
    using Choice = std::pair<QString, int>;

    VKConfigItemInt();
    ~VKConfigItemInt() override;

    /// Reads the base's keys, "value", a number, and "values", an array of objects with "display_name" and
    /// "value": the choices. 1016 when one is missing; choices in front of a broken one stay. What was read is
    /// the default, too.
    ///
    /// With "sort_alphabetically" (a JSON boolean, for this reading only) the choices are in the order of
    /// their names without regard to case; those that differ in case only in either order. Loading again adds
    /// to the choices: deliberate, callers have always met it so.
    ///
    /// The value is not held against the choices, here and everywhere.
    VKStatus loadInfo(const QJsonObject& info) override;

    /// Writes the base's keys, "value" and "values", in the present order; not "sort_alphabetically".
    VKStatus createInfo(QJsonObject& info) override;

    /// Copies the value, not the choices.
    VKStatus updateValue(VKConfigItem* other) override;

    [[nodiscard]] std::int32_t value() const noexcept { return mValue; }
    void setValue(std::int32_t value) noexcept { mValue = value; }

    [[nodiscard]] const std::vector<Choice>& choices() const noexcept { return mChoices; }

    /// The value that the item was last loaded with; 0 before.
    [[nodiscard]] std::int32_t defaultValue() const noexcept { return mDefaultValue; }

private:
    friend class VKConfigDetail::QuickLoader;

    void sortChoices();
    VKStatus loadChoices(const QJsonArray& values);

    std::int32_t mValue = 0;
    std::vector<Choice> mChoices;
    std::int32_t mDefaultValue = 0;
};
