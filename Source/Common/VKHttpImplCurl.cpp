// The transport's calls, which its transfer object answers.
#include "VKHttpImplCurl.h"

#include "VKHttpCurlTransfer.h"

#include <VKCoreKit/VKLog.h>
#include <VKCoreKit/VKStatus.h>

void VKHttpImplCurl::startup() {
    const VKHttpCurlLibrary* const library = VKHttpCurlLibrary::shared();
    if (library == nullptr || library->startup() != CURLE_OK) {
        VKLogEvent(kVKStatusTransportFailed, "VKQtCore/Source/Common/VKHttpImplCurl", __LINE__);
    }
}

void VKHttpImplCurl::shutdown() {
    const VKHttpCurlLibrary* const library = VKHttpCurlLibrary::sharedIfLoaded();
    if (library != nullptr) {
        library->shutdown();
    }
}

VKHttpImplCurl::VKHttpImplCurl() : VKHttpImplCurl(VKHttpCurlLibrary::shared()) {}

VKHttpImplCurl::VKHttpImplCurl(const VKHttpCurlLibrary* library)
    : mTransfer(std::make_unique<Transfer>(*this, library)) {}

VKHttpImplCurl::~VKHttpImplCurl() = default;

void VKHttpImplCurl::setUrl(const QUrl& url) { mTransfer->setUrl(url); }

QUrl VKHttpImplCurl::url() const { return mTransfer->url(); }

void VKHttpImplCurl::setHeader(const QString& name, const QString& value) {
    mTransfer->setHeader(name, value);
}

int VKHttpImplCurl::httpResultCode() const { return mTransfer->httpCode(); }

QString VKHttpImplCurl::errorMsg() const { return {}; }

int VKHttpImplCurl::error() const { return mTransfer->error(); }

QByteArray VKHttpImplCurl::readAllBytes() const { return mTransfer->replyBody(); }

QString VKHttpImplCurl::readAllBytesAsString() const { return QString::fromUtf8(mTransfer->replyBody()); }

QString VKHttpImplCurl::replyHeader(const QString& name) const {
    return mTransfer->replyHeaders().value(name);
}

bool VKHttpImplCurl::hasReplyHeader(const QString& name) const {
    return mTransfer->replyHeaders().contains(name);
}

QString VKHttpImplCurl::replyContentType() const { return mTransfer->contentType(); }

int VKHttpImplCurl::transferAmounts(std::size_t& total, std::size_t& done) {
    total = mTransfer->downloadTotal();
    done = mTransfer->downloadDone();
    return 0;
}

int VKHttpImplCurl::run() {
    mTransfer->run();
    return 0; // deliberately always: callers look at error()
}
