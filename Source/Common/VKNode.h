// The tree that the configuration is made of: counted nodes with ordered children that write themselves to JSON
// and are made again from it, through a registry of factories.
#pragma once

#include "VKQtExport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/CBaseCore.h>
#include <VKCoreKit/VKStatus.h>

#include <QHash>
#include <QJsonObject>
#include <QString>

#include <cstdint>
#include <functional>
#include <vector>

class VKConfigModel;
class VKNode;
namespace VKConfigDetail {
class QuickLoader;
}

/// Asked while a tree is written. Owned by the caller.
class VKQT_EXPORT IVKNodeCreateDelegate {
public:
    IVKNodeCreateDelegate() = default;
    IVKNodeCreateDelegate(const IVKNodeCreateDelegate&) = default;
    IVKNodeCreateDelegate& operator=(const IVKNodeCreateDelegate&) = default;
    virtual ~IVKNodeCreateDelegate();

    /// Whether the child is written.
    virtual bool shouldCreateInfo(VKNode* child) = 0;

    /// Called when a child's object is complete and before it joins its parent's; may add to it.
    virtual void didCreateInfo(VKNode* child, QJsonObject& childInfo) = 0;
};

/// Asked while a tree is read. Owned by the caller.
class VKQT_EXPORT IVKNodeLoadDelegate {
public:
    IVKNodeLoadDelegate() = default;
    IVKNodeLoadDelegate(const IVKNodeLoadDelegate&) = default;
    IVKNodeLoadDelegate& operator=(const IVKNodeLoadDelegate&) = default;
    virtual ~IVKNodeLoadDelegate();

    /// Whether a child that was just loaded becomes one; otherwise it is released.
    virtual bool shouldInsertChild(VKNode* parent, VKNode* child) = 0;
};

/// A counted tree node. It holds one reference to each child and none to its parent.
///
/// Statuses: 0, 1002 (no class for a class identifier), 1005 (a null node, malformed JSON, a negative source
/// index), 1006 (an index out of range, "class_id" missing), and whatever a subclass or its delegate answers.
/// Every failure but 1007 is logged, once at each level that it passes.
///
/// A tree belongs to one thread at a time, readers included: a look-up may rebuild an index. Nothing here
/// touches the disk. Virtual functions are declared in slot order.
class VKQT_EXPORT VKNode : public CBaseCore {
public:
    using Factory = std::function<VKNode*()>;

    /// What createNodeWithData() and VKConfigModel::loadPath() read at most, in bytes, and how deep arrays and
    /// objects may be nested, the outermost counted. More is malformed: 1005.
    static constexpr qsizetype kMaxJsonBytes = qsizetype{16} * 1024 * 1024;
    static constexpr int kMaxJsonDepth = 1024;

    /// A node without children: weight 0, enabled, children kept in the order of their names.
    VKNode();
    VKNode(const VKNode&) = delete;
    VKNode& operator=(const VKNode&) = delete;

    /// Releases the children, without calling a hook. Those that live on have no parent then.
    ~VKNode() override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;

    /// Stores the pointer and does nothing else.
    virtual void setParent(VKNode* parent);

    /// Adds a reference to the node and makes it a child. Where it goes:
    ///
    ///     sortByWeight()   before the first child that weighs no less: first among its equals
    ///     sortByName()     the same by names, without regard to case
    ///     otherwise        to `index`; to the end when that is negative, or the count and more
    ///
    /// The children are taken to be in order: nothing sorts again when a weight or a name changes later. 1005
    /// for null. A node that is its own ancestor is a caller's error.
    virtual VKStatus insertNodeAtIndex(VKNode* node, int index);

    /// Calls the child's willRemoveFromParent(), takes its parent away and releases it. 1006 out of range.
    virtual VKStatus removeNodeAtIndex(int index);

    /// The child, borrowed; null, and a logged 1006, out of range.
    virtual VKNode* nodeAtIndex(int index);

    /// Hooks for subclasses: behind the insertion, and before the removal by index or by node.
    virtual void didAddToParent();
    virtual void willRemoveFromParent();

    /// When the value changes, first tells the parent (childChanged()), which still sees the old one.
    virtual void setEnabled(bool enabled);

    /// Writes "class_id", "weight", "sort_by_weight" and "enabled", and, where hasChildren(), "children": an
    /// array, in order, empty without children. With a delegate only the children that it wants. A child that
    /// fails ends the writing with its status, and "children" is left out.
    virtual VKStatus createInfo(IVKNodeCreateDelegate* delegate, QJsonObject& info);

    /// Reads what createInfo() writes. 1006 without "class_id": the node is then as it was. Otherwise the old
    /// children go; weight and flags change only where they are present. A child is made by
    /// createNodeWithInfo() with defaultChildTypeID(); one that fails ends the reading with its status, and
    /// those before it stay.
    ///
    /// Flags are read as integers, deliberately, as files have always been read:
    ///
    ///     "enabled": 1 -> true      "enabled": true -> false, because a JSON boolean is no number
    ///
    /// so that a flag that was written as true comes back false.
    virtual VKStatus loadInfo(IVKNodeLoadDelegate* delegate, const QJsonObject& info);

    /// Hook for subclasses: a child is about to change.
    virtual void childChanged(VKNode* child);

    // The registry: one for the process, empty at first, without a lock.

    /// Keeps the factory under the identifier; an earlier one goes. It answers a new object, or null.
    static void registerNode(const QString& typeID, const Factory& factory);

    /// A new node that the caller releases; null when nothing is registered under the identifier (which tells
    /// case apart).
    [[nodiscard]] static VKNode* createInstance(const QString& typeID);

    /// createInstance() of `typeID`, and of `defaultTypeID` when that gives nothing.
    [[nodiscard]] static VKNode* createNodeOfType(const QString& defaultTypeID, const QString& typeID);

    /// A node of the class that "class_id" names, otherwise of the default class, loaded from the object. The
    /// caller releases `outNode`, which is handed out even when its loading failed; 1002 and null when there
    /// is no class.
    static VKStatus createNodeWithInfo(const QString& defaultTypeID, IVKNodeLoadDelegate* delegate,
                                       const QJsonObject& info, VKNode*& outNode);

    /// The same from the bytes of a JSON document. 1005, and `outNode` as it was, when they are none.
    static VKStatus createNodeWithData(const QString& defaultTypeID, CFDataRef data, VKNode*& outNode);

    // Children.

    [[nodiscard]] int childCount() const noexcept { return static_cast<int>(mChildren.size()); }

    /// Null without children.
    [[nodiscard]] VKNode* lastChild() const noexcept;

    /// The first place of that very node; childCount() for a stranger.
    [[nodiscard]] int indexOfNode(const VKNode* node) const noexcept;

    /// The first child (not grandchild) with exactly that class identifier; null when there is none.
    [[nodiscard]] VKNode* nodeWithClassID(const QString& classID) const;

    /// Calls the child's willRemoveFromParent() and releases it. Deliberately unlike removeNodeAtIndex() it
    /// leaves the child its parent. A stranger is ignored; 1005 for null.
    VKStatus removeNode(VKNode* node);

    /// Releases all of them, without calling a hook. Those that live on keep their parent.
    void removeAllChildren();

    void reverseChildren() noexcept;

    /// Takes the child at `from` to another place; no hook is called.
    ///
    ///     of a b c d   (2, 0) -> c a b d     up: to that place
    ///                  (0, 2) -> b a c d     down: in front of the child that stands there
    ///                  (1, 9), (1, -1) -> a c d b
    ///
    /// The difference between up and down is deliberate. 1005 for a negative `from`; one that is too large
    /// throws std::out_of_range, the one exception that leaves the library.
    VKStatus moveChild(int from, int to);

    // Attributes.

    [[nodiscard]] VKNode* parent() const noexcept { return mParent; }

    /// What the node is known by; "class_id" in JSON.
    [[nodiscard]] const QString& classID() const noexcept { return mClassID; }
    void setClassID(const QString& classID);

    /// The registry's identifier of the node's own class, and of the class of children that name none.
    [[nodiscard]] const QString& typeID() const noexcept { return mTypeID; }
    [[nodiscard]] const QString& defaultChildTypeID() const noexcept { return mDefaultChildTypeID; }

    [[nodiscard]] bool sortByWeight() const noexcept { return mSortByWeight; }
    void setSortByWeight(bool sort) noexcept { mSortByWeight = sort; }
    [[nodiscard]] bool sortByName() const noexcept { return mSortByName; }
    void setSortByName(bool sort) noexcept { mSortByName = sort; }
    [[nodiscard]] std::int32_t weight() const noexcept { return mWeight; }
    void setWeight(std::int32_t weight) noexcept { mWeight = weight; }
    [[nodiscard]] bool enabled() const noexcept { return mEnabled; }

    /// Whether the class writes and reads children at all.
    [[nodiscard]] bool hasChildren() const noexcept { return mHasChildren; }

    /// What people call it. A plain node neither writes nor reads it.
    [[nodiscard]] const QString& name() const noexcept { return mName; }
    void setName(const QString& name) { mName = name; }

protected:
    /// For constructors of subclasses.
    void setTypeID(const QString& typeID) { mTypeID = typeID; }
    void setDefaultChildTypeID(const QString& typeID) { mDefaultChildTypeID = typeID; }
    void setHasChildren(bool hasChildren) noexcept { mHasChildren = hasChildren; }

private:
    friend class VKConfigDetail::QuickLoader;
    friend class VKConfigModel;

    // What insertNodeAtIndex() of one after the other makes of a node without children, but for the calls of
    // hooks, in a time that a hundred thousand of them do not make long.
    void takeIn(std::vector<VKNode*> nodes);
    [[nodiscard]] bool goesBefore(const VKNode* left, const VKNode* right) const;
    [[nodiscard]] std::size_t placeFor(const VKNode* node, int index) const;
    VKStatus createChildren(IVKNodeCreateDelegate* delegate, QJsonObject& info);
    VKStatus loadChild(IVKNodeLoadDelegate* delegate, const QJsonObject& info);
    void forgetIndex() noexcept { mIndexGeneration = 0; }

    VKNode* mParent = nullptr;
    QString mClassID;
    QString mTypeID;
    QString mDefaultChildTypeID;
    std::vector<VKNode*> mChildren; // one reference each
    bool mSortByWeight = false;
    bool mSortByName = true;
    std::int32_t mWeight = 0;
    bool mEnabled = true;
    bool mHasChildren = true;
    QString mName;

    // Class identifier -> first child. Good as long as no class identifier anywhere has changed since.
    mutable std::uint64_t mIndexGeneration = 0;
    mutable QHash<QString, VKNode*> mIndex;
};
