// The request as fields, and the verbs that fill them.
#include "VKHttpImpl.h"

#include "VKHttpPart.h"

#include <VKCoreKit/VKStatus.h>
#include <VKCoreKit/VKUtils.h>

VKHttpImpl::VKHttpImpl() = default;

VKHttpImpl::~VKHttpImpl() = default;

QString VKHttpImpl::replyContentType() const { return {}; }

int VKHttpImpl::transferAmounts(std::size_t& /*total*/, std::size_t& /*done*/) {
    // Its number only: of old this code also says "not supported".
    return static_cast<int>(kVKStatusWritabilityUnknown);
}

int VKHttpImpl::put(QIODevice* device, std::int64_t size) {
    mUploadDevice = device;
    mUploadSize = size;
    mMethod = kMethodPut;
    return run();
}

int VKHttpImpl::post(const QByteArray& body) {
    mRequestBody = body;
    mMethod = kMethodPost;
    return run();
}

int VKHttpImpl::patch(const QByteArray& body) {
    mRequestBody = body;
    mMethod = kMethodPatch;
    return run();
}

int VKHttpImpl::deleteBytes(const QByteArray& body) {
    mRequestBody = body;
    mMethod = kMethodDelete;
    return run();
}

int VKHttpImpl::get() {
    mMethod = kMethodGet;
    return run();
}

int VKHttpImpl::getBytes(const QByteArray& body) {
    mRequestBody = body;
    mMethod = kMethodGetBytes;
    return run();
}

int VKHttpImpl::postMultipart() {
    mMethod = kMethodMultipart;
    return run();
}

void VKHttpImpl::addPart(VKHttpPart* part) {
    if (part == nullptr) {
        return;
    }
    if (!mParts) {
        mParts = VKCFRef<CFMutableArrayRef>::adopt(
            CFArrayCreateMutable(kCFAllocatorDefault, 0, VKUtilsGetArrayCallbacks()));
    }
    CFArrayAppendValue(mParts.get(), static_cast<CBaseCore*>(part));
}

void VKHttpImpl::setBasicAuthentication(const QString& user, const QString& password) {
    mUser = user;
    mPassword = password;
}

void VKHttpImpl::setProgress(VKProgress* progress) {
    // The new one is retained before the old one goes: they may be the same.
    mProgress.reset(VKProgressRetain(progress));
}

const VKHttpPart& VKHttpImpl::part(CFIndex index) const {
    const auto* object = static_cast<const CBaseCore*>(CFArrayGetValueAtIndex(mParts.get(), index));
    return *static_cast<const VKHttpPart*>(object);
}

CFIndex VKHttpImpl::partCount() const { return mParts ? CFArrayGetCount(mParts.get()) : 0; }
