// The node tree and its registry.
#include "VKNode.h"

#include "VKConfigJson.h"
#include "VKConfigLog.h"

#include <CoreFoundation/CFQt.h>

#include <QJsonArray>

#include <algorithm>
#include <atomic>
#include <map>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr auto kClassIDKey = "class_id"_L1;
constexpr auto kWeightKey = "weight"_L1;
constexpr auto kSortByWeightKey = "sort_by_weight"_L1;
constexpr auto kEnabledKey = "enabled"_L1;
constexpr auto kChildrenKey = "children"_L1;

// Fewer children are found sooner by looking at each.
constexpr std::size_t kLeastIndexedChildren = 8;

// Changes whenever any node's class identifier does: a node's parents are not known for sure (one that
// was taken out keeps its parent, one may be a child twice), so each index asks whether anything changed.
std::atomic<std::uint64_t> gClassIDGeneration = 1;

VKStatus logged(VKStatus status, int line) {
    return VKConfigDetail::logged(status, "VKQtCore/Source/Common/VKNode", line);
}

std::map<QString, VKNode::Factory>& registry() {
    static std::map<QString, VKNode::Factory> sRegistry;
    return sRegistry;
}

} // namespace

IVKNodeCreateDelegate::~IVKNodeCreateDelegate() = default;
IVKNodeLoadDelegate::~IVKNodeLoadDelegate() = default;

VKNode::VKNode() = default;

VKNode::~VKNode() {
    for (VKNode* const child : mChildren) {
        // Not by setParent(), which is a subclass's to watch: only so that nobody follows it later.
        if (child->mParent == this) {
            child->mParent = nullptr;
        }
        child->Release();
    }
}

std::uint32_t VKNode::AddRef() { return CBaseCore::AddRef(); }
std::uint32_t VKNode::Release() { return CBaseCore::Release(); }

void VKNode::setParent(VKNode* parent) { mParent = parent; }
void VKNode::didAddToParent() {}
void VKNode::willRemoveFromParent() {}
void VKNode::childChanged(VKNode* /*child*/) {}

void VKNode::setEnabled(bool enabled) {
    if (enabled == mEnabled) {
        return;
    }
    if (mParent != nullptr) {
        mParent->childChanged(this);
    }
    mEnabled = enabled;
}

void VKNode::setClassID(const QString& classID) {
    mClassID = classID;
    gClassIDGeneration.fetch_add(1, std::memory_order_relaxed);
}

void VKNode::registerNode(const QString& typeID, const Factory& factory) { registry()[typeID] = factory; }

VKNode* VKNode::createInstance(const QString& typeID) {
    const auto entry = registry().find(typeID);
    return entry == registry().end() || !entry->second ? nullptr : entry->second();
}

VKNode* VKNode::createNodeOfType(const QString& defaultTypeID, const QString& typeID) {
    VKNode* const node = createInstance(typeID);
    return node != nullptr ? node : createInstance(defaultTypeID);
}

VKStatus VKNode::createNodeWithInfo(const QString& defaultTypeID, IVKNodeLoadDelegate* delegate,
                                    const QJsonObject& info, VKNode*& outNode) {
    outNode = createNodeOfType(defaultTypeID, info.value(kClassIDKey).toString());
    if (outNode == nullptr) {
        return logged(kVKStatusNotConvertible, __LINE__);
    }
    return logged(outNode->loadInfo(delegate, info), __LINE__);
}

VKStatus VKNode::createNodeWithData(const QString& defaultTypeID, CFDataRef data, VKNode*& outNode) {
    QJsonObject info;
    if (const VKStatus status = VKConfigDetail::parseObject(CFDataCopyQByteArray(data), info); status != 0) {
        return logged(status, __LINE__);
    }
    return logged(createNodeWithInfo(defaultTypeID, nullptr, info, outNode), __LINE__);
}

VKNode* VKNode::nodeAtIndex(int index) {
    if (index < 0 || index >= childCount()) {
        logged(kVKStatusOutOfRange, __LINE__);
        return nullptr;
    }
    return mChildren[static_cast<std::size_t>(index)];
}

VKNode* VKNode::lastChild() const noexcept { return mChildren.empty() ? nullptr : mChildren.back(); }

int VKNode::indexOfNode(const VKNode* node) const noexcept {
    return static_cast<int>(std::find(mChildren.begin(), mChildren.end(), node) - mChildren.begin());
}

VKNode* VKNode::nodeWithClassID(const QString& classID) const {
    if (mChildren.size() < kLeastIndexedChildren) {
        const auto child = std::find_if(mChildren.begin(), mChildren.end(),
                                        [&classID](const VKNode* node) { return node->mClassID == classID; });
        return child == mChildren.end() ? nullptr : *child;
    }
    const std::uint64_t generation = gClassIDGeneration.load(std::memory_order_relaxed);
    if (mIndexGeneration != generation) {
        mIndex.clear();
        // From the last to the first, which is the one that stays.
        std::for_each(mChildren.rbegin(), mChildren.rend(),
                      [this](VKNode* child) { mIndex.insert(child->mClassID, child); });
        mIndexGeneration = generation;
    }
    return mIndex.value(classID, nullptr);
}

bool VKNode::goesBefore(const VKNode* left, const VKNode* right) const {
    return mSortByWeight ? left->mWeight < right->mWeight
                         : left->mName.compare(right->mName, Qt::CaseInsensitive) < 0;
}

std::size_t VKNode::placeFor(const VKNode* node, int index) const {
    auto place = mChildren.end();
    if (mSortByWeight || mSortByName) {
        place = std::lower_bound(
            mChildren.begin(), mChildren.end(), node,
            [this](const VKNode* left, const VKNode* right) { return goesBefore(left, right); });
    } else if (index >= 0 && index < childCount()) {
        place = mChildren.begin() + index;
    }
    return static_cast<std::size_t>(place - mChildren.begin());
}

void VKNode::takeIn(std::vector<VKNode*> nodes) {
    if (mSortByWeight || mSortByName) {
        std::reverse(nodes.begin(), nodes.end()); // the last of equals comes first
        std::stable_sort(nodes.begin(), nodes.end(),
                         [this](const VKNode* left, const VKNode* right) { return goesBefore(left, right); });
    }
    for (VKNode* const node : nodes) {
        node->AddRef();
        node->mParent = this;
    }
    mChildren = std::move(nodes);
    forgetIndex();
}

VKStatus VKNode::insertNodeAtIndex(VKNode* node, int index) {
    if (node == nullptr) {
        return logged(kVKStatusBadArgument, __LINE__);
    }
    node->AddRef();
    node->setParent(this);
    mChildren.insert(mChildren.begin() + static_cast<std::ptrdiff_t>(placeFor(node, index)), node);
    forgetIndex();
    node->didAddToParent();
    return kVKStatusSuccess;
}

VKStatus VKNode::removeNodeAtIndex(int index) {
    if (index < 0 || index >= childCount()) {
        return logged(kVKStatusOutOfRange, __LINE__);
    }
    VKNode* const child = mChildren[static_cast<std::size_t>(index)];
    child->willRemoveFromParent();
    child->setParent(nullptr);
    child->Release();
    mChildren.erase(mChildren.begin() + index);
    forgetIndex();
    return kVKStatusSuccess;
}

VKStatus VKNode::removeNode(VKNode* node) {
    if (node == nullptr) {
        return logged(kVKStatusBadArgument, __LINE__);
    }
    const auto child = std::find(mChildren.begin(), mChildren.end(), node);
    if (child == mChildren.end()) {
        return kVKStatusSuccess;
    }
    node->willRemoveFromParent();
    node->Release();
    mChildren.erase(child);
    forgetIndex();
    return kVKStatusSuccess;
}

void VKNode::removeAllChildren() {
    for (VKNode* const child : mChildren) {
        child->Release();
    }
    mChildren.clear();
    forgetIndex();
}

void VKNode::reverseChildren() noexcept {
    std::reverse(mChildren.begin(), mChildren.end());
    forgetIndex();
}

VKStatus VKNode::moveChild(int from, int to) {
    if (from < 0) {
        return logged(kVKStatusBadArgument, __LINE__);
    }
    const auto source = static_cast<std::size_t>(from);
    // A negative place is a huge one, and so the end.
    const auto target = static_cast<std::size_t>(to);
    VKNode* const child = mChildren.at(source);
    forgetIndex();
    if (target < mChildren.size() && source < target) {
        mChildren.insert(mChildren.begin() + to, child);
        mChildren.erase(mChildren.begin() + from);
        return kVKStatusSuccess;
    }
    mChildren.erase(mChildren.begin() + from);
    mChildren.insert(target <= source ? mChildren.begin() + to : mChildren.end(), child);
    return kVKStatusSuccess;
}

VKStatus VKNode::createInfo(IVKNodeCreateDelegate* delegate, QJsonObject& info) {
    info.insert(kClassIDKey, mClassID);
    info.insert(kWeightKey, mWeight);
    info.insert(kSortByWeightKey, mSortByWeight);
    info.insert(kEnabledKey, mEnabled);
    return mHasChildren ? createChildren(delegate, info) : kVKStatusSuccess;
}

VKStatus VKNode::createChildren(IVKNodeCreateDelegate* delegate, QJsonObject& info) {
    QJsonArray array;
    for (VKNode* const child : mChildren) {
        if (delegate != nullptr && !delegate->shouldCreateInfo(child)) {
            continue;
        }
        QJsonObject childInfo;
        if (const VKStatus status = child->createInfo(delegate, childInfo); status != kVKStatusSuccess) {
            return logged(status, __LINE__);
        }
        if (delegate != nullptr) {
            delegate->didCreateInfo(child, childInfo);
        }
        array.append(childInfo);
    }
    info.insert(kChildrenKey, array);
    return kVKStatusSuccess;
}

VKStatus VKNode::loadInfo(IVKNodeLoadDelegate* delegate, const QJsonObject& info) {
    const auto classID = info.find(kClassIDKey);
    if (classID == info.end()) {
        return logged(kVKStatusOutOfRange, __LINE__);
    }
    removeAllChildren();
    setClassID(classID->toString());
    if (const auto weight = info.find(kWeightKey); weight != info.end()) {
        mWeight = weight->toInt(0);
    }
    // Both flags as integers: a boolean reads as 0. Deliberate, see the header.
    if (const auto sort = info.find(kSortByWeightKey); sort != info.end()) {
        mSortByWeight = sort->toInt(0) != 0;
    }
    if (const auto enabled = info.find(kEnabledKey); enabled != info.end()) {
        mEnabled = enabled->toInt(0) != 0;
    }
    if (!mHasChildren) {
        return kVKStatusSuccess;
    }
    const QJsonArray children = info.value(kChildrenKey).toArray();
    for (const QJsonValueConstRef child : children) {
        if (const VKStatus status = loadChild(delegate, child.toObject()); status != kVKStatusSuccess) {
            return logged(status, __LINE__);
        }
    }
    return kVKStatusSuccess;
}

VKStatus VKNode::loadChild(IVKNodeLoadDelegate* delegate, const QJsonObject& info) {
    VKNode* child = nullptr;
    const VKStatus status = createNodeWithInfo(mDefaultChildTypeID, delegate, info, child);
    if (status == kVKStatusSuccess && (delegate == nullptr || delegate->shouldInsertChild(this, child))) {
        insertNodeAtIndex(child, -1);
    }
    if (child != nullptr) {
        child->Release(); // the maker's own reference: one that nobody took in goes, a failed one too
    }
    return status;
}
