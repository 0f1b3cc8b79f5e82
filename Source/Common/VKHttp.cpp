// Everything goes to the transport.
#include "VKHttp.h"

#include "VKHttpImplCurl.h"

const QString kVKHttpContentType = QStringLiteral("Content-Type");
const QString kVKHttpContentLength = QStringLiteral("Content-Length");
const QString kVKHttpContentRange = QStringLiteral("Content-Range");
const QString kVKHttpAcceptType = QStringLiteral("Accept");
const QString kVKHttpContentFormUrlEncoded = QStringLiteral("application/x-www-form-urlencoded");
const QString kVKHttpContentApplicationJson = QStringLiteral("application/json; charset=UTF-8");
const QString kVKHttpAuthorization = QStringLiteral("Authorization");
const QString kVKHttpContentApplicationHttp = QStringLiteral("application/http");
const QString kVKHttpContentTransferEncoding = QStringLiteral("Content-Transfer-Encoding");
const QString kVKHttpContentTransferEncodingBinary = QStringLiteral("Binary");
const QString kVKHttpContentID = QStringLiteral("Content-ID");
const QString kVKHttpUserAgent = QStringLiteral("User-Agent");

bool VKHttp::sLog = false;

void VKHttp::startup() { VKHttpImplCurl::startup(); }

void VKHttp::shutdown() { VKHttpImplCurl::shutdown(); }

VKHttp::VKHttp() : mImpl(new VKHttpImplCurl) { mImpl->setDebugTrace(sLog); }

VKHttp::~VKHttp() { mImpl->Release(); }

void VKHttp::setUrl(const QUrl& url) { mImpl->setUrl(url); }

QUrl VKHttp::url() const { return mImpl->url(); }

void VKHttp::setHeader(const QString& name, const QString& value) { mImpl->setHeader(name, value); }

void VKHttp::setBasicAuthentication(const QString& user, const QString& password) {
    mImpl->setBasicAuthentication(user, password);
}

void VKHttp::setConnectTimeout(int milliseconds) { mImpl->setConnectTimeout(milliseconds); }

void VKHttp::setIgnoreSSLErrors(bool ignore) { mImpl->setIgnoreSSLErrors(ignore); }

void VKHttp::setProgress(VKProgress* progress) { mImpl->setProgress(progress); }

void VKHttp::setMaxReplyBytes(std::int64_t bytes) { mImpl->setMaxReplyBytes(bytes); }

int VKHttp::get() { return mImpl->get(); }

int VKHttp::getBytes(const QByteArray& body) { return mImpl->getBytes(body); }

int VKHttp::post(const QByteArray& body) { return mImpl->post(body); }

int VKHttp::postUrlFormEncoded(const QUrlQuery& query) {
    setHeader(kVKHttpContentType, kVKHttpContentFormUrlEncoded);
    // Deliberately the default rendering, which decodes what it can: the suite's services expect it.
    return post(query.toString().toUtf8());
}

int VKHttp::postMultipart() { return mImpl->postMultipart(); }

int VKHttp::put(QIODevice* device, std::int64_t size) { return mImpl->put(device, size); }

int VKHttp::patch(const QByteArray& body) { return mImpl->patch(body); }

int VKHttp::deleteBytes(const QByteArray& body) { return mImpl->deleteBytes(body); }

void VKHttp::addPart(VKHttpPart* part) { mImpl->addPart(part); }

QByteArray VKHttp::readAllBytes() const { return mImpl->readAllBytes(); }

QString VKHttp::readAllBytesAsString() const { return mImpl->readAllBytesAsString(); }

QString VKHttp::replyHeader(const QString& name) const { return mImpl->replyHeader(name); }

bool VKHttp::hasReplyHeader(const QString& name) const { return mImpl->hasReplyHeader(name); }

QString VKHttp::replyContentType() const { return mImpl->replyContentType(); }

int VKHttp::httpResultCode() const { return mImpl->httpResultCode(); }

int VKHttp::error() const { return mImpl->error(); }

QString VKHttp::errorMsg() const { return mImpl->errorMsg(); }

int VKHttp::transferAmounts(std::size_t& total, std::size_t& done) {
    return mImpl->transferAmounts(total, done);
}
