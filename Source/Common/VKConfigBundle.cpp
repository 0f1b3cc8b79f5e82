// A named group of settings.
#include "VKConfigBundle.h"

#include "VKConfigItemBool.h"
#include "VKConfigItemInt.h"
#include "VKConfigLog.h"

using namespace Qt::StringLiterals;

namespace {

constexpr auto kItemsKey = "items"_L1;
constexpr auto kDisplayNameKey = "display_name"_L1;
constexpr auto kValueTypeKey = "value_type"_L1;

VKStatus logged(VKStatus status, int line) {
    return VKConfigDetail::logged(status, "VKQtCore/Source/Common/VKConfigBundle", line);
}

/// A new item of the kind; null for a number that stands for none.
VKConfigItem* createItem(int valueType) {
    switch (valueType) {
    case VKConfigItem::kValueTypeBool:
        return new VKConfigItemBool;
    case VKConfigItem::kValueTypeInt:
        return new VKConfigItemInt;
    default:
        return nullptr;
    }
}

void resetItem(VKConfigItem* item) {
    if (auto* const boolItem = dynamic_cast<VKConfigItemBool*>(item); boolItem != nullptr) {
        boolItem->setValue(boolItem->defaultValue());
    } else if (auto* const intItem = dynamic_cast<VKConfigItemInt*>(item); intItem != nullptr) {
        intItem->setValue(intItem->defaultValue());
    }
}

} // namespace

VKConfigBundle::VKConfigBundle() {
    setTypeID(u"VKConfigBundle"_s);
    setHasChildren(false);
}

VKConfigBundle::~VKConfigBundle() {
    for (VKConfigItem* const item : mItems) {
        item->Release();
    }
}

VKStatus VKConfigBundle::createInfo(IVKNodeCreateDelegate* delegate, QJsonObject& info) {
    if (const VKStatus status = VKNode::createInfo(delegate, info); status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    QJsonArray items;
    for (VKConfigItem* const item : mItems) {
        QJsonObject itemInfo;
        if (const VKStatus status = item->createInfo(itemInfo); status != kVKStatusSuccess) {
            return logged(status, __LINE__);
        }
        items.append(itemInfo);
    }
    info.insert(kItemsKey, items);
    return kVKStatusSuccess;
}

VKStatus VKConfigBundle::loadInfo(IVKNodeLoadDelegate* delegate, const QJsonObject& info) {
    const auto items = info.find(kItemsKey);
    if (items == info.end()) {
        return logged(kVKStatusMissingKey, __LINE__);
    }
    if (const VKStatus status = VKNode::loadInfo(delegate, info); status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    const QJsonArray array = items->toArray();
    mItems.reserve(mItems.size() + static_cast<std::size_t>(array.size()));
    for (const QJsonValueConstRef item : array) {
        if (const VKStatus status = loadItem(item.toObject()); status != kVKStatusSuccess) {
            return status;
        }
    }
    if (const auto displayName = info.find(kDisplayNameKey); displayName != info.end()) {
        setName(displayName->toString());
    }
    return kVKStatusSuccess;
}

VKStatus VKConfigBundle::loadItem(const QJsonObject& info) {
    const auto valueType = info.constFind(kValueTypeKey);
    VKConfigItem* const item = createItem(valueType == info.constEnd() ? 0 : valueType->toInt(0));
    if (item == nullptr) {
        return logged(kVKStatusUnknownValueType, __LINE__);
    }
    if (const VKStatus status = item->loadInfo(info); status != kVKStatusSuccess) {
        item->Release();
        return logged(status, __LINE__);
    }
    addItem(item);
    return kVKStatusSuccess;
}

void VKConfigBundle::addItem(VKConfigItem* item) {
    mItems.push_back(item);
    mItemsByKey.emplace(item->name(), item); // the first of a name stays
}

VKConfigItem* VKConfigBundle::itemForKey(const QString& key) const {
    const auto item = mItemsByKey.find(key);
    return item == mItemsByKey.end() ? nullptr : item->second;
}

bool VKConfigBundle::valueBool(const QString& key) const {
    const auto* const item = dynamic_cast<const VKConfigItemBool*>(itemForKey(key));
    return item != nullptr && item->value();
}

int VKConfigBundle::valueInt(const QString& key) const {
    const auto* const item = dynamic_cast<const VKConfigItemInt*>(itemForKey(key));
    return item != nullptr ? item->value() : 0;
}

void VKConfigBundle::setValueBool(const QString& key, bool value) {
    if (auto* const item = dynamic_cast<VKConfigItemBool*>(itemForKey(key)); item != nullptr) {
        item->setValue(value);
    }
}

void VKConfigBundle::setValueInt(const QString& key, int value) {
    if (auto* const item = dynamic_cast<VKConfigItemInt*>(itemForKey(key)); item != nullptr) {
        item->setValue(value);
    }
}

void VKConfigBundle::update(VKConfigBundle* other) {
    if (other == nullptr) {
        return;
    }
    for (VKConfigItem* const theirs : other->mItems) {
        if (VKConfigItem* const ours = itemForKey(theirs->name()); ours != nullptr) {
            ours->updateValue(theirs);
        }
    }
}

bool VKConfigBundle::isDefault(const QString& key) const {
    VKConfigItem* const item = itemForKey(key);
    if (const auto* const boolItem = dynamic_cast<const VKConfigItemBool*>(item); boolItem != nullptr) {
        return boolItem->value() == boolItem->defaultValue();
    }
    const auto* const intItem = dynamic_cast<const VKConfigItemInt*>(item);
    return intItem == nullptr || intItem->value() == intItem->defaultValue();
}

void VKConfigBundle::reset(const QString& key) { resetItem(itemForKey(key)); }

void VKConfigBundle::resetAll() {
    for (VKConfigItem* const item : mItems) {
        resetItem(item);
    }
}
