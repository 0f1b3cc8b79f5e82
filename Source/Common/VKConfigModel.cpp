// The root of a configuration.
#include "VKConfigModel.h"

#include "VKConfigBundle.h"
#include "VKConfigFile.h"
#include "VKConfigJson.h"
#include "VKConfigLog.h"
#include "VKConfigQuickLoad.h"

#include <typeinfo>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr auto kClassIDKey = "class_id"_L1;
constexpr auto kVersionKey = "version"_L1;

VKStatus logged(VKStatus status, int line) {
    return VKConfigDetail::logged(status, "VKQtCore/Source/Common/VKConfigModel", line);
}

/// Holds back what is loaded directly below a model, in order, with a reference to each.
class HeldBack : public IVKNodeLoadDelegate {
public:
    explicit HeldBack(const VKNode* model) : mModel(model) {}
    HeldBack(const HeldBack&) = delete;
    HeldBack& operator=(const HeldBack&) = delete;
    ~HeldBack() override {
        for (VKNode* const node : mNodes) {
            node->Release();
        }
    }

    bool shouldInsertChild(VKNode* parent, VKNode* child) override {
        if (parent != mModel) {
            return true;
        }
        child->AddRef();
        mNodes.push_back(child);
        mArePlain = mArePlain && typeid(*child) == typeid(VKConfigBundle);
        return false;
    }

    [[nodiscard]] const std::vector<VKNode*>& nodes() const { return mNodes; }

    /// Whether none can have a hook.
    [[nodiscard]] bool arePlain() const { return mArePlain; }

private:
    const VKNode* mModel;
    std::vector<VKNode*> mNodes;
    bool mArePlain = true;
};

} // namespace

VKConfigModel::VKConfigModel() {
    setTypeID(u"VKConfigModel"_s);
    setDefaultChildTypeID(u"VKConfigBundle"_s);
}

VKConfigModel::~VKConfigModel() = default;

VKStatus VKConfigModel::createInfo(IVKNodeCreateDelegate* delegate, QJsonObject& info) {
    if (const VKStatus status = VKNode::createInfo(delegate, info); status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    info.insert(kVersionKey, mFormatVersion);
    return kVKStatusSuccess;
}

VKStatus VKConfigModel::loadInfo(IVKNodeLoadDelegate* delegate, const QJsonObject& info) {
    mLoadedVersion = info.value(kVersionKey).toInt(0);
    if (delegate != nullptr || typeid(*this) != typeid(VKConfigModel) || !info.contains(kClassIDKey)) {
        return logged(VKNode::loadInfo(delegate, info), __LINE__);
    }
    // A place is made for each child in front of all that come behind it: a file of some megabytes, full of bundles
    // without a name, would take minutes. So they are put in order all at once.
    HeldBack children(this);
    const VKStatus status = VKNode::loadInfo(&children, info);
    if (children.arePlain()) {
        takeIn(children.nodes());
    } else {
        for (VKNode* const child : children.nodes()) {
            insertNodeAtIndex(child, -1);
        }
    }
    return logged(status, __LINE__);
}

VKStatus VKConfigModel::loadPath(const QString& path) {
    QByteArray bytes;
    if (const VKStatus status = VKConfigDetail::readFile(path, bytes); status != kVKStatusSuccess) {
        return status == kVKStatusBadArgument ? logged(status, __LINE__) : status;
    }
    // What the system itself writes; everything else takes the way that has all the rules.
    if (VKConfigDetail::quickLoad(*this, bytes)) {
        return kVKStatusSuccess;
    }
    QJsonObject info;
    if (const VKStatus status = VKConfigDetail::parseObject(bytes, info); status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    loadInfo(nullptr, info); // deliberately unheard, see the header: it has logged what there was
    return kVKStatusSuccess;
}

VKStatus VKConfigModel::updateModel(VKConfigModel* other) {
    const int count = other == nullptr ? 0 : other->childCount();
    for (int index = 0; index < count; ++index) {
        VKNode* const theirs = other->nodeAtIndex(index);
        auto* const ours = dynamic_cast<VKConfigBundle*>(nodeWithClassID(theirs->classID()));
        auto* const theirBundle = dynamic_cast<VKConfigBundle*>(theirs);
        if (ours != nullptr && theirBundle != nullptr) {
            ours->update(theirBundle);
        }
    }
    return kVKStatusSuccess;
}
