// The store of settings.
#include "VKConfig.h"

#include "VKConfigArchive.h"
#include "VKConfigBundle.h"
#include "VKConfigFile.h"
#include "VKConfigLog.h"
#include "VKConfigModel.h"
#include "VKQtPathUtils.h"

#include <CoreFoundation/CFQt.h>

#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView kDefaultsPath = u":/Kestrel/VKConfig";
constexpr QStringView kUserFileName = u"/VKConfig.json";

VKStatus logged(VKStatus status, int line) {
    return VKConfigDetail::logged(status, "VKQtCore/Source/Common/VKConfig", line);
}

} // namespace

VKConfig::VKConfig() : mModel(new VKConfigModel) {}

VKConfig::~VKConfig() { mModel->Release(); }

VKConfig* VKConfig::sharedInstance() {
    static auto* const sInstance = new VKConfig;
    return sInstance;
}

VKStatus VKConfig::initialize(CFStringRef productName) {
    VKNode::registerNode(u"VKConfigBundle"_s, [] { return new VKConfigBundle; });
    if (const VKStatus status = mModel->loadPath(kDefaultsPath.toString()); status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    const QString folder =
        VKQtPathUtils::getUserAppDataPathForProduct(CFStringCopyQString(productName), QString(), true);
    // Without a folder there is no file: a name alone would be one in the root of the disk.
    mUserFilePath.clear();
    if (!folder.isEmpty()) {
        mUserFilePath.setPath(folder + kUserFileName, false);
        loadUserFile();
    }
    return kVKStatusSuccess;
}

void VKConfig::loadUserFile() {
    if (!mUserFilePath.exists()) {
        return;
    }
    const VKOwned<VKConfigModel> user(new VKConfigModel);
    if (user->loadPath(mUserFilePath.path()) == kVKStatusSuccess &&
        user->loadedVersion() == mModel->loadedVersion()) {
        mModel->updateModel(user.get());
    }
}

int VKConfig::bundleCount() const noexcept { return mModel->childCount(); }

VKConfigBundle* VKConfig::bundleAtIndex(unsigned int index) const {
    return dynamic_cast<VKConfigBundle*>(mModel->nodeAtIndex(static_cast<int>(index)));
}

VKConfigBundle* VKConfig::findBundle(const QString& bundleID) const {
    return dynamic_cast<VKConfigBundle*>(mModel->nodeWithClassID(bundleID));
}

VKConfigBundle* VKConfig::requireBundle(const QString& bundleID, int line) const {
    VKConfigBundle* const bundle = findBundle(bundleID);
    if (bundle == nullptr) {
        logged(kVKStatusMissingKey, line);
    }
    return bundle;
}

VKConfigItem* VKConfig::configItem(const QString& bundleID, const QString& key) const {
    const VKConfigBundle* const bundle = findBundle(bundleID);
    return bundle == nullptr ? nullptr : bundle->itemForKey(key);
}

VKStatus VKConfig::valueBool(const QString& bundleID, const QString& key, bool& value) const {
    const VKConfigBundle* const bundle = requireBundle(bundleID, __LINE__);
    if (bundle == nullptr) {
        return kVKStatusMissingKey;
    }
    value = bundle->valueBool(key);
    return kVKStatusSuccess;
}

VKStatus VKConfig::valueInt(const QString& bundleID, const QString& key, int& value) const {
    const VKConfigBundle* const bundle = requireBundle(bundleID, __LINE__);
    if (bundle == nullptr) {
        return kVKStatusMissingKey;
    }
    value = bundle->valueInt(key);
    return kVKStatusSuccess;
}

VKStatus VKConfig::setValueBool(const QString& bundleID, const QString& key, bool value) {
    VKConfigBundle* const bundle = requireBundle(bundleID, __LINE__);
    if (bundle == nullptr) {
        return kVKStatusMissingKey;
    }
    bundle->setValueBool(key, value);
    return kVKStatusSuccess;
}

VKStatus VKConfig::setValueInt(const QString& bundleID, const QString& key, int value) {
    VKConfigBundle* const bundle = requireBundle(bundleID, __LINE__);
    if (bundle == nullptr) {
        return kVKStatusMissingKey;
    }
    bundle->setValueInt(key, value);
    return kVKStatusSuccess;
}

QList<VKConfig::t_Setting> VKConfig::changedSettings() const {
    QList<t_Setting> changed;
    for (int index = 0; index < bundleCount(); ++index) {
        const VKConfigBundle* const bundle = bundleAtIndex(static_cast<unsigned>(index));
        if (bundle == nullptr) {
            continue;
        }
        for (const VKConfigItem* const item : bundle->items()) {
            // Of two items of one name the first is the setting; the other one cannot be reached or changed.
            if (bundle->itemForKey(item->name()) == item && !bundle->isDefault(item->name())) {
                changed.append({bundle->classID(), item->name()});
            }
        }
    }
    return changed;
}

VKStatus VKConfig::reset(const QString& bundleID, const QString& key) {
    VKConfigBundle* const bundle = requireBundle(bundleID, __LINE__);
    if (bundle == nullptr) {
        return kVKStatusMissingKey;
    }
    bundle->reset(key);
    return kVKStatusSuccess;
}

VKStatus VKConfig::resetBundle(const QString& bundleID) {
    VKConfigBundle* const bundle = requireBundle(bundleID, __LINE__);
    if (bundle == nullptr) {
        return kVKStatusMissingKey;
    }
    bundle->resetAll();
    return kVKStatusSuccess;
}

void VKConfig::resetAll() {
    for (int index = 0; index < bundleCount(); ++index) {
        if (VKConfigBundle* const bundle = bundleAtIndex(static_cast<unsigned>(index)); bundle != nullptr) {
            bundle->resetAll();
        }
    }
}

VKStatus VKConfig::createArchive(IVKNodeCreateDelegate* delegate, QByteArray& out) {
    // The same bytes sooner. A delegate may add to any object, so with one there have to be objects.
    if (delegate == nullptr && VKConfigDetail::writeArchive(*mModel, out)) {
        return kVKStatusSuccess;
    }
    QJsonObject info;
    if (const VKStatus status = mModel->createInfo(delegate, info); status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    out = QJsonDocument(info).toJson(QJsonDocument::Indented);
    return kVKStatusSuccess;
}

VKStatus VKConfig::save() {
    QByteArray bytes;
    if (const VKStatus status = createArchive(nullptr, bytes); status != kVKStatusSuccess) {
        return status;
    }
    const VKConfigDetail::SaveOutcome outcome = VKConfigDetail::saveFile(mUserFilePath, bytes);
    switch (outcome.failedAt) {
    case VKConfigDetail::SaveStep::Open:
        return outcome.status;
    case VKConfigDetail::SaveStep::Write:
        return logged(outcome.status, __LINE__);
    case VKConfigDetail::SaveStep::Done:
        break;
    }
    broadcastConfigChange();
    return kVKStatusSuccess;
}

VKStatus VKConfig::registerCallback(const QString& name, Callback callback) {
    const QMutexLocker lock(&mMutex);
    mCallbacks.emplace(name, callback);
    return kVKStatusSuccess;
}

void VKConfig::broadcastConfigChange() {
    const QMutexLocker lock(&mMutex);
    for (const auto& [name, callback] : mCallbacks) {
        if (callback != nullptr) {
            callback(this);
        }
    }
}
