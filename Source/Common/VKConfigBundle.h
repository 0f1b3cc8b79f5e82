// A named group of settings: a node of the configuration that has items instead of children.
#pragma once

#include "VKConfigItem.h"
#include "VKNode.h"

#include <QJsonArray>

#include <map>
#include <vector>

/// Known by its classID() ("core_image_utils"); its name() is what people call it, and what a model keeps its
/// bundles in the order of. Statuses: 0, 1016 for a missing key, 1029 for an unknown "value_type", and those of
/// VKNode; each logged at each level that it passes.
class VKQT_EXPORT VKConfigBundle : public VKNode {
public:
    VKConfigBundle();
    ~VKConfigBundle() override;

    /// Writes the node's keys and "items". Deliberately not "display_name", which only defaults need to state:
    /// of a user's file nothing but values is taken.
    VKStatus createInfo(IVKNodeCreateDelegate* delegate, QJsonObject& info) override;

    /// Reads the node's keys, "items" and, if it is there, "display_name". "value_type" 1 makes a
    /// VKConfigItemBool, 2 a VKConfigItemInt, anything else is 1029. 1016 without "items", and then nothing has
    /// changed. A broken item ends the reading with its status, and the items before it stay. Loading again
    /// adds to the items: deliberate, callers have always met it so.
    VKStatus loadInfo(IVKNodeLoadDelegate* delegate, const QJsonObject& info) override;

    /// The first item of exactly that name, borrowed; null when there is none.
    [[nodiscard]] VKConfigItem* itemForKey(const QString& key) const;

    /// All of them, in the file's order, those whose name occurred before too. Borrowed.
    [[nodiscard]] const std::vector<VKConfigItem*>& items() const noexcept { return mItems; }

    /// The item's value; false, or 0, without such an item and for one of the other kind.
    [[nodiscard]] bool valueBool(const QString& key) const;
    [[nodiscard]] int valueInt(const QString& key) const;

    /// Does nothing without such an item and for one of the other kind. A number is not held against the
    /// choices.
    void setValueBool(const QString& key, bool value);
    void setValueInt(const QString& key, int value);

    /// Takes the values of the other's items, in their order, where this bundle has an item of the same name
    /// and kind. Null gives nothing.
    void update(VKConfigBundle* other);

    /// Whether the item has the value that it was loaded with; true without such an item.
    [[nodiscard]] bool isDefault(const QString& key) const;

    /// Gives the item, or each of them, the value that it was loaded with.
    void reset(const QString& key);
    void resetAll();

private:
    friend class VKConfigDetail::QuickLoader;

    void addItem(VKConfigItem* item);
    VKStatus loadItem(const QJsonObject& info);

    std::vector<VKConfigItem*> mItems; // one reference each
    std::map<QString, VKConfigItem*> mItemsByKey;
};
