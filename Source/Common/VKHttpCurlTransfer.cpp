// A transfer from the request's fields to the reply's: options set in order, performed, and its end mapped.
#include "VKHttpCurlTransfer.h"

#include "VKHttpPart.h"
#include "VKHttpTransferRules.h"
#include "VKQtStringUtils.h"

#include <VKCoreKit/VKLog.h>

#include <QIODevice>

#include <new>

namespace {

/// The largest that libcurl allows: a large body comes in few pieces.
constexpr long kReceiveBytes = 512L * 1024;

/// What the progress callback answers to end the transfer: libcurl's own code for that.
constexpr int kAbort = CURLE_ABORTED_BY_CALLBACK;

static_assert(kVKCurlCouldNotResolveHost == CURLE_COULDNT_RESOLVE_HOST);
static_assert(kVKCurlOperationTimedOut == CURLE_OPERATION_TIMEDOUT);
static_assert(kVKCurlAbortedByCallback == CURLE_ABORTED_BY_CALLBACK);

} // namespace

void VKHttpImplCurl::Transfer::setUrl(const QUrl& url) {
    // The framework takes an address with an impossible port for equal to the one without a port.
    if (url != mUrl || url.isValid() != mUrl.isValid()) {
        mEncodedUrl.clear();
    }
    mUrl = url;
}

void VKHttpImplCurl::Transfer::setHeader(const QString& name, const QString& value) {
    if (mLibrary == nullptr) {
        return;
    }
    try {
        const QByteArray line = QString(name + QStringLiteral(": ") + value).toUtf8();
        if (curl_slist* const list = mLibrary->slistAppend(mRequestHeaders.get(), line.constData())) {
            static_cast<void>(mRequestHeaders.release()); // the same list, or the first entry of a new one
            mRequestHeaders.reset(list);
            return;
        }
    } catch (const std::bad_alloc&) {
        // As where libcurl has no memory.
    }
    mHeaderError = CURLE_OUT_OF_MEMORY;
}

/// Nothing is thrown to the caller: what memory does not suffice for is a failed transfer too.
void VKHttpImplCurl::Transfer::run() noexcept {
    try {
        runOnce();
    } catch (...) {
        mError = CURLE_OUT_OF_MEMORY;
        mHttpCode = 0;
    }
}

void VKHttpImplCurl::Transfer::runOnce() {
    startReply();
    if (mCurl == nullptr) {
        mError = CURLE_FAILED_INIT;
        return;
    }
    const CURLcode prepared = prepare();
    if (prepared != CURLE_OK) {
        mError = prepared;
        return;
    }
    const CURLcode result = perform();
    // What was thrown is swallowed: the error stays as it was, and the status is 0.
    if (mStop == Stop::Exception) {
        return;
    }
    finish(result);
    logTrace();
}

void VKHttpImplCurl::Transfer::startReply() {
    mHttpCode = 0;
    mStop = Stop::No;
    mReplyHeaders.startTransfer();
    if (mReplyBody.isDetached() && mReplyBody.capacity() <= kVKHttpMaxKeptCapacity) {
        mReplyBody.resize(0);
    } else {
        mReplyBody.clear();
    }
    if (mCurl != nullptr) {
        mLibrary->easyReset(mCurl.get());
    }
    mMime.reset();
}

/// Sets everything, in the order that the suite's services have always seen.
CURLcode VKHttpImplCurl::Transfer::prepare() {
    VKHttpCurlOptions options(*mLibrary, mCurl.get());
    options.require(mHeaderError);
    setConnection(options);
    setProgress(options);
    setCallbacks(options);
    if (!mRequest.mUser.isEmpty() && !mRequest.mPassword.isEmpty()) {
        const QByteArray login = QString(mRequest.mUser + u':' + mRequest.mPassword).toUtf8();
        options.set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC));
        options.set(CURLOPT_USERPWD, login.constData());
    }
    setMethod(options);
    if (mRequest.mConnectTimeout != 0) {
        options.set(CURLOPT_CONNECTTIMEOUT_MS, long{mRequest.mConnectTimeout});
    }
    if (mRequestHeaders != nullptr) {
        options.set(CURLOPT_HTTPHEADER, mRequestHeaders.get());
    }
    return options.result();
}

void VKHttpImplCurl::Transfer::setConnection(VKHttpCurlOptions& options) {
    options.set(CURLOPT_NOSIGNAL, 1L);
    // A name look-up that is given up is left to its thread: to wait for it would keep who cancels, or allows a second
    // to connect, for as long as dead name servers take.
    options.set(CURLOPT_QUICK_EXIT, 1L);
    options.set(CURLOPT_PROTOCOLS_STR, "http,https");
    options.setBufferSize(kReceiveBytes);
}

void VKHttpImplCurl::Transfer::setProgress(VKHttpCurlOptions& options) {
    if (mRequest.mProgress != nullptr) {
        options.set(CURLOPT_XFERINFODATA, static_cast<void*>(this));
        options.set(CURLOPT_XFERINFOFUNCTION, &Transfer::progressFunctionCB);
        options.set(CURLOPT_NOPROGRESS, 0L);
    } else {
        options.set(CURLOPT_XFERINFODATA, static_cast<void*>(nullptr));
        options.set(CURLOPT_XFERINFOFUNCTION, static_cast<curl_xferinfo_callback>(nullptr));
        options.set(CURLOPT_NOPROGRESS, 1L);
    }
    if (mRequest.mDebugTrace) {
        options.set(CURLOPT_VERBOSE, 1L);
        options.set(CURLOPT_DEBUGFUNCTION, &Transfer::debugFunctionCB);
        options.set(CURLOPT_DEBUGDATA, static_cast<void*>(this));
    }
}

void VKHttpImplCurl::Transfer::setCallbacks(VKHttpCurlOptions& options) {
    if (mRequest.mIgnoreSSLErrors) {
        // Deliberately the host's name only: who signed the certificate is always looked at.
        options.set(CURLOPT_SSL_VERIFYHOST, 0L);
    }
    if (mEncodedUrl.isEmpty()) {
        mEncodedUrl = mUrl.toEncoded(QUrl::FullyEncoded);
    }
    options.set(CURLOPT_URL, mEncodedUrl.constData());
    options.set(CURLOPT_HEADERDATA, static_cast<void*>(this));
    options.set(CURLOPT_HEADERFUNCTION, &Transfer::headerFunctionCB);
    options.set(CURLOPT_WRITEDATA, static_cast<void*>(this));
    options.set(CURLOPT_WRITEFUNCTION, &Transfer::writeFunctionCB);
}

void VKHttpImplCurl::Transfer::setMethod(VKHttpCurlOptions& options) {
    switch (mRequest.mMethod) {
    case kMethodPost:
        setBody(options, nullptr);
        break;
    case kMethodPatch:
        setBody(options, "PATCH");
        break;
    case kMethodDelete:
        setBody(options, "DELETE");
        break;
    case kMethodGetBytes:
        setBody(options, "GET"); // deliberately a GET with a body
        break;
    case kMethodPut:
        setUpload(options);
        break;
    case kMethodMultipart:
        setParts(options);
        break;
    default: // kMethodGet, and kinds that nobody sets: a plain GET
        break;
    }
}

/// libcurl does not copy the body: the request keeps it.
void VKHttpImplCurl::Transfer::setBody(VKHttpCurlOptions& options, const char* customRequest) {
    const QByteArray& body = mRequest.mRequestBody;
    options.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    options.set(CURLOPT_POSTFIELDS, body.constData());
    if (customRequest != nullptr) {
        options.set(CURLOPT_CUSTOMREQUEST, customRequest);
    }
}

void VKHttpImplCurl::Transfer::setUpload(VKHttpCurlOptions& options) {
    // Deliberately one more such header for each upload, kept like all others: servers of the suite are known to
    // see it.
    setHeader(kVKHttpContentLength, QString::number(mRequest.mUploadSize));
    options.require(mHeaderError);
    options.set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(mRequest.mUploadSize));
    options.set(CURLOPT_UPLOAD, 1L);
    options.set(CURLOPT_READDATA, static_cast<void*>(this));
    options.set(CURLOPT_READFUNCTION, &Transfer::readFunctionCB);
}

void VKHttpImplCurl::Transfer::setParts(VKHttpCurlOptions& options) {
    if (options.result() != CURLE_OK) {
        return;
    }
    mMime.reset(mLibrary->mimeInit(mCurl.get()));
    if (mMime == nullptr) {
        options.require(CURLE_OUT_OF_MEMORY);
        return;
    }
    for (CFIndex i = 0; i < mRequest.partCount() && options.result() == CURLE_OK; ++i) {
        options.require(addMimePart(mRequest.part(i)));
    }
    options.set(CURLOPT_MIMEPOST, mMime.get());
}

CURLcode VKHttpImplCurl::Transfer::addMimePart(const VKHttpPart& part) {
    curl_mimepart* const mimePart = mLibrary->mimeAddpart(mMime.get());
    if (mimePart == nullptr) {
        return CURLE_OUT_OF_MEMORY;
    }
    CURLcode result = mLibrary->mimeName(mimePart, part.name().toUtf8().constData());
    if (result == CURLE_OK) {
        const QByteArray& body = part.body();
        result = mLibrary->mimeData(mimePart, body.constData(), static_cast<std::size_t>(body.size()));
    }
    // The part's headers are deliberately not sent.
    if (result == CURLE_OK && !part.filename().isEmpty()) {
        result = mLibrary->mimeFilename(mimePart, part.filename().toUtf8().constData());
    }
    return result;
}

CURLcode VKHttpImplCurl::Transfer::perform() {
    try {
        return mLibrary->easyPerform(mCurl.get());
    } catch (...) {
        mStop = Stop::Exception;
        return CURLE_OK;
    }
}

void VKHttpImplCurl::Transfer::finish(CURLcode result) {
    mError = errorOf(result);
    if (result != CURLE_OK) {
        return;
    }
    long code = 0;
    const char* type = nullptr;
    result = mLibrary->easyGetinfo(mCurl.get(), CURLINFO_RESPONSE_CODE, &code);
    if (result == CURLE_OK) {
        result = mLibrary->easyGetinfo(mCurl.get(), CURLINFO_CONTENT_TYPE, &type);
    }
    if (result != CURLE_OK) {
        mError = result;
        return;
    }
    mHttpCode = code;
    // Deliberately added to what earlier replies said.
    if (type != nullptr) {
        mContentType += QString::fromUtf8(type);
    }
}

int VKHttpImplCurl::Transfer::errorOf(CURLcode result) const noexcept {
    if (result != CURLE_OK) {
        switch (mStop) {
        case Stop::Cancelled:
            return vkHttpErrorOf(CURLE_ABORTED_BY_CALLBACK);
        case Stop::HeadersTooLong:
            return CURLE_RECV_ERROR; // as for headers that are longer than libcurl itself takes
        case Stop::BodyTooLong:
            return CURLE_FILESIZE_EXCEEDED;
        case Stop::No:
        case Stop::Exception:
            break;
        }
    }
    return vkHttpErrorOf(result);
}

void VKHttpImplCurl::Transfer::logTrace() const {
    if (mDebugText.isEmpty()) {
        return;
    }
    VKLogNoArgs("***************************** Begin Curl ***********************************");
    // Bytes of bodies are in it too: none may end the text.
    const auto text = VKCFRef<CFStringRef>::adopt(
        VKQtStringUtils::createCFStringRefFromQString(QString::fromLatin1(mDebugText)));
    VKLog(text.get(), 0);
    VKLogNoArgs("***************************** End Curl ***********************************");
}

bool VKHttpImplCurl::Transfer::mustStop() noexcept {
    if (mStop == Stop::No && VKProgressGetCancel(mRequest.mProgress.get())) {
        mStop = Stop::Cancelled;
    }
    return mStop != Stop::No;
}

/// False when the body is, or will be, longer than it may be.
bool VKHttpImplCurl::Transfer::makeRoom(std::int64_t chunk) {
    const std::int64_t limit = mRequest.mMaxReplyBytes;
    if (limit > 0 && chunk > limit - mReplyBody.size()) {
        return false;
    }
    if (!mReplyBody.isEmpty()) {
        return true;
    }
    curl_off_t stated = -1;
    if (mLibrary->easyGetinfo(mCurl.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &stated) != CURLE_OK) {
        return true; // then memory grows with the body
    }
    if (limit > 0 && stated > limit) {
        return false;
    }
    try {
        mReplyBody.reserve(vkHttpBodyReserve(stated));
    } catch (const std::bad_alloc&) {
        // The length may be a lie: what really comes decides.
    }
    return true;
}

std::size_t VKHttpImplCurl::Transfer::takeBody(const char* bytes, std::size_t size) {
    if (mustStop()) {
        return CURL_WRITEFUNC_ERROR;
    }
    if (!mHeadersDone) {
        mHeadersDone = QByteArrayView(bytes, static_cast<qsizetype>(size)) == QByteArrayView("\r\n");
        return size;
    }
    if (!makeRoom(static_cast<std::int64_t>(size))) {
        mStop = Stop::BodyTooLong;
        return CURL_WRITEFUNC_ERROR;
    }
    mReplyBody.append(bytes, static_cast<qsizetype>(size));
    return size;
}

std::size_t VKHttpImplCurl::Transfer::takeHeader(const char* bytes, std::size_t size) {
    if (mustStop()) {
        return CURL_WRITEFUNC_ERROR;
    }
    switch (mReplyHeaders.take(QByteArrayView(bytes, static_cast<qsizetype>(size)))) {
    case VKHttpHeaderLine::EndOfBlock:
        mHeadersDone = true;
        break;
    case VKHttpHeaderLine::TooMany:
        mStop = Stop::HeadersTooLong;
        return CURL_WRITEFUNC_ERROR;
    case VKHttpHeaderLine::Kept:
    case VKHttpHeaderLine::Ignored:
        break;
    }
    return size;
}

std::size_t VKHttpImplCurl::Transfer::giveUpload(char* buffer, std::size_t room) {
    if (mustStop()) {
        return CURL_READFUNC_ABORT;
    }
    const std::int64_t chunk =
        vkHttpUploadChunk(static_cast<std::int64_t>(room), mRequest.mUploadSize, mUploadSent);
    if (chunk == 0) {
        return 0;
    }
    // No device fails like one that cannot be read, and so does one that is asked for less than nothing (of which the
    // framework would warn).
    const bool canRead = chunk > 0 && mRequest.mUploadDevice != nullptr;
    const qint64 got = canRead ? mRequest.mUploadDevice->read(buffer, chunk) : -1;
    // Deliberately with the -1 of a failure, which libcurl is given too and takes for a read error.
    mUploadSent += got;
    return static_cast<std::size_t>(got);
}

int VKHttpImplCurl::Transfer::takeProgress(curl_off_t downTotal, curl_off_t downDone, curl_off_t upTotal,
                                           curl_off_t upDone) {
    mDownloadTotal = static_cast<std::size_t>(downTotal);
    mDownloadDone = static_cast<std::size_t>(downDone);
    VKProgressDoBytes(mRequest.mProgress.get(), vkHttpProgressBytes(downTotal, downDone, upTotal, upDone));
    return mustStop() ? kAbort : 0;
}

template <typename Answer, typename Work>
Answer VKHttpImplCurl::Transfer::guarded(Answer refusal, Work work) noexcept {
    try {
        return work();
    } catch (...) {
        mStop = Stop::Exception;
        return refusal;
    }
}

std::size_t VKHttpImplCurl::Transfer::writeFunctionCB(char* bytes, std::size_t size, std::size_t count,
                                                      void* self) {
    auto* const transfer = static_cast<Transfer*>(self);
    return transfer->guarded(std::size_t{CURL_WRITEFUNC_ERROR},
                             [&] { return transfer->takeBody(bytes, size * count); });
}

std::size_t VKHttpImplCurl::Transfer::headerFunctionCB(char* bytes, std::size_t size, std::size_t count,
                                                       void* self) {
    auto* const transfer = static_cast<Transfer*>(self);
    return transfer->guarded(std::size_t{CURL_WRITEFUNC_ERROR},
                             [&] { return transfer->takeHeader(bytes, size * count); });
}

std::size_t VKHttpImplCurl::Transfer::readFunctionCB(char* buffer, std::size_t size, std::size_t count,
                                                     void* self) {
    auto* const transfer = static_cast<Transfer*>(self);
    return transfer->guarded(std::size_t{CURL_READFUNC_ABORT},
                             [&] { return transfer->giveUpload(buffer, size * count); });
}

int VKHttpImplCurl::Transfer::progressFunctionCB(void* self, curl_off_t downTotal, curl_off_t downDone,
                                                 curl_off_t upTotal, curl_off_t upDone) {
    if (self == nullptr) {
        return 0;
    }
    auto* const transfer = static_cast<Transfer*>(self);
    return transfer->guarded(kAbort,
                             [&] { return transfer->takeProgress(downTotal, downDone, upTotal, upDone); });
}

int VKHttpImplCurl::Transfer::debugFunctionCB(CURL* /*curl*/, curl_infotype /*type*/, char* bytes,
                                              std::size_t size, void* self) {
    auto* const transfer = static_cast<Transfer*>(self);
    return transfer->guarded(0, [&] {
        transfer->mDebugText.append(bytes, static_cast<qsizetype>(size));
        return 0;
    });
}
