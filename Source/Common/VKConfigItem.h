// One setting of a configuration: its key, what people call it, and, in the subclasses, its value.
#pragma once

#include "VKQtExport.h"

#include <VKCoreKit/CBaseCore.h>
#include <VKCoreKit/VKStatus.h>

#include <QJsonObject>
#include <QString>

#include <cstdint>

namespace VKConfigDetail {
class QuickLoader;
struct ItemFields;
} // namespace VKConfigDetail

/// The base of VKConfigItemBool and VKConfigItemInt. Statuses: 0, or 1016 for a missing key, logged at each
/// level that it passes. One thread at a time. Virtual functions are declared in slot order.
class VKQT_EXPORT VKConfigItem : public CBaseCore {
public:
    /// The numbers that stand for the kinds in files.
    static constexpr std::int32_t kValueTypeBool = 1;
    static constexpr std::int32_t kValueTypeInt = 2;

    VKConfigItem();
    ~VKConfigItem() override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;

    /// Reads "name", "display_name" and "value_type"; 1016 when one is missing, and then nothing is stored. A
    /// member of another JSON type reads as an empty text, or 0.
    virtual VKStatus loadInfo(const QJsonObject& info);

    /// Writes what loadInfo() reads.
    virtual VKStatus createInfo(QJsonObject& info);

    /// Copies the other's value if it is of the same class, otherwise (null too) does nothing. Always 0.
    virtual VKStatus updateValue(VKConfigItem* other) = 0;

    /// The key within the bundle.
    [[nodiscard]] const QString& name() const noexcept { return mName; }
    void setName(const QString& name) { mName = name; }

    [[nodiscard]] const QString& displayName() const noexcept { return mDisplayName; }
    void setDisplayName(const QString& displayName) { mDisplayName = displayName; }

    /// The number that the file states, which the class follows from.
    [[nodiscard]] std::int32_t valueType() const noexcept { return mValueType; }

protected:
    /// For constructors of subclasses.
    void setValueType(std::int32_t valueType) noexcept { mValueType = valueType; }

    /// loadInfo() with the members found already.
    VKStatus loadFields(const VKConfigDetail::ItemFields& fields);

private:
    friend class VKConfigDetail::QuickLoader;

    QString mName;
    QString mDisplayName;
    std::int32_t mValueType = 0;
};
