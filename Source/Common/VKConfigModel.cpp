// The root of a configuration.
#include "VKConfigModel.h"

#include "VKConfigBundle.h"
#include "VKConfigFile.h"
#include "VKConfigJson.h"
#include "VKConfigLog.h"
#include "VKConfigQuickLoad.h"

using namespace Qt::StringLiterals;

namespace {

constexpr auto kVersionKey = "version"_L1;

VKStatus logged(VKStatus status, int line) {
    return VKConfigDetail::logged(status, "VKQtCore/Source/Common/VKConfigModel", line);
}

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
    return logged(VKNode::loadInfo(delegate, info), __LINE__);
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
