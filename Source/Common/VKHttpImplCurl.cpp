// A transfer from the request's fields to the reply's: options set in order, performed, and its end mapped.
#include "VKHttpImplCurl.h"

#include "VKHttp.h"
#include "VKHttpCurlLibrary.h"
#include "VKHttpPart.h"
#include "VKHttpReplyHeaders.h"
#include "VKHttpTransferRules.h"
#include "VKQtStringUtils.h"

#include <VKCoreKit/VKLog.h>

#include <QIODevice>

#include <mutex>
#include <new>
#include <type_traits>

namespace {

constexpr const char* kSource = "VKQtCore/Source/Common/VKHttpImplCurl";

/// The largest that libcurl allows: a large body comes in few pieces.
constexpr long kReceiveBytes = 512L * 1024;

/// What the progress callback answers to end the transfer: libcurl's own code for that.
constexpr int kAbort = CURLE_ABORTED_BY_CALLBACK;

static_assert(kVKCurlCouldNotResolveHost == CURLE_COULDNT_RESOLVE_HOST);
static_assert(kVKCurlOperationTimedOut == CURLE_OPERATION_TIMEDOUT);
static_assert(kVKCurlAbortedByCallback == CURLE_ABORTED_BY_CALLBACK);

/// libcurl sets itself up when its first handle is made, and not every build of it does so for several threads.
std::mutex gGlobalMutex;

/// Sets options until one fails.
class Options {
public:
    Options(const VKHttpCurlLibrary& library, CURL* curl) noexcept : mLibrary(library), mCurl(curl) {}

    template <typename Value>
    void set(CURLoption option, Value value) {
        static_assert(std::is_same_v<Value, long> || std::is_same_v<Value, curl_off_t> ||
                          std::is_pointer_v<Value>,
                      "what libcurl takes as a variable argument");
        if (mResult == CURLE_OK) {
            mResult = mLibrary.easySetopt(mCurl, option, value);
        }
    }

    /// A transfer that failed before it connected leaves its buffer behind, and libcurl refuses to size that again.
    void setBufferSize(long bytes) {
        if (mResult == CURLE_OK) {
            const CURLcode result = mLibrary.easySetopt(mCurl, CURLOPT_BUFFERSIZE, bytes);
            mResult = result == CURLE_BAD_FUNCTION_ARGUMENT ? CURLE_OK : result;
        }
    }

    /// Takes the result of another call into account.
    void require(CURLcode result) noexcept {
        if (mResult == CURLE_OK) {
            mResult = result;
        }
    }

    [[nodiscard]] CURLcode result() const noexcept { return mResult; }

private:
    const VKHttpCurlLibrary& mLibrary;
    CURL* mCurl;
    CURLcode mResult = CURLE_OK;
};

struct FreeHandle {
    const VKHttpCurlLibrary* library;
    void operator()(CURL* curl) const { library->easyCleanup(curl); }
};
struct FreeList {
    const VKHttpCurlLibrary* library;
    void operator()(curl_slist* list) const { library->slistFreeAll(list); }
};
struct FreeMime {
    const VKHttpCurlLibrary* library;
    void operator()(curl_mime* mime) const { library->mimeFree(mime); }
};

CURL* makeHandle(const VKHttpCurlLibrary* library) {
    if (library == nullptr) {
        return nullptr;
    }
    const std::lock_guard lock(gGlobalMutex);
    CURL* const curl = library->easyInit();
    if (curl != nullptr) {
        // Deliberately for nothing, so its result is too: every transfer resets the handle, and the suite's
        // connections have never sent keep-alive probes.
        static_cast<void>(library->easySetopt(curl, CURLOPT_TCP_KEEPALIVE, 1L));
    }
    return curl;
}

} // namespace

/// libcurl's objects and the state of the reply. Its callbacks never let an exception into libcurl's frames.
class VKHttpImplCurl::Transfer {
public:
    Transfer(VKHttpImplCurl& request, const VKHttpCurlLibrary* library)
        : mRequest(request), mLibrary(library), mMime(nullptr, FreeMime{library}),
          mRequestHeaders(nullptr, FreeList{library}), mCurl(makeHandle(library), FreeHandle{library}) {}

    void setUrl(const QUrl& url);
    void setHeader(const QString& name, const QString& value);
    void run() noexcept;

    [[nodiscard]] const QUrl& url() const noexcept { return mUrl; }
    [[nodiscard]] int error() const noexcept { return mError; }
    [[nodiscard]] int httpCode() const noexcept { return static_cast<int>(mHttpCode); }
    [[nodiscard]] const QByteArray& replyBody() const noexcept { return mReplyBody; }
    [[nodiscard]] const VKHttpReplyHeaders& replyHeaders() const noexcept { return mReplyHeaders; }
    [[nodiscard]] const QString& contentType() const noexcept { return mContentType; }
    [[nodiscard]] std::size_t downloadTotal() const noexcept { return mDownloadTotal; }
    [[nodiscard]] std::size_t downloadDone() const noexcept { return mDownloadDone; }

private:
    /// Why a callback ended the transfer.
    enum class Stop { No, Exception, Cancelled, HeadersTooLong, BodyTooLong };

    void runOnce();
    void startReply();
    [[nodiscard]] CURLcode prepare();
    void setConnection(Options& options);
    void setProgress(Options& options);
    void setCallbacks(Options& options);
    void setMethod(Options& options);
    void setBody(Options& options, const char* customRequest);
    void setUpload(Options& options);
    void setParts(Options& options);
    [[nodiscard]] CURLcode addMimePart(const VKHttpPart& part);
    [[nodiscard]] CURLcode perform();
    void finish(CURLcode result);
    [[nodiscard]] int errorOf(CURLcode result) const noexcept;
    void logTrace() const;

    [[nodiscard]] bool mustStop() noexcept;
    [[nodiscard]] bool makeRoom(std::int64_t chunk);
    [[nodiscard]] std::size_t takeBody(const char* bytes, std::size_t size);
    [[nodiscard]] std::size_t takeHeader(const char* bytes, std::size_t size);
    [[nodiscard]] std::size_t giveUpload(char* buffer, std::size_t room);
    [[nodiscard]] int takeProgress(curl_off_t downTotal, curl_off_t downDone, curl_off_t upTotal,
                                   curl_off_t upDone);

    /// Runs the work of a callback; its answer when that throws is `refusal`.
    template <typename Answer, typename Work>
    Answer guarded(Answer refusal, Work work) noexcept;

    static std::size_t writeFunctionCB(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t headerFunctionCB(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t readFunctionCB(char* buffer, std::size_t size, std::size_t count, void* self);
    static int progressFunctionCB(void* self, curl_off_t downTotal, curl_off_t downDone, curl_off_t upTotal,
                                  curl_off_t upDone);
    static int debugFunctionCB(CURL* curl, curl_infotype type, char* bytes, std::size_t size, void* self);

    VKHttpImplCurl& mRequest;
    const VKHttpCurlLibrary* mLibrary;

    QUrl mUrl;
    QByteArray mEncodedUrl; // empty until it is asked for

    // The handle is the last of the three, and so the first to go: it refers to the others.
    std::unique_ptr<curl_mime, FreeMime> mMime;
    std::unique_ptr<curl_slist, FreeList> mRequestHeaders;
    std::unique_ptr<CURL, FreeHandle> mCurl;
    CURLcode mHeaderError = CURLE_OK; // of a header that could not be added, and so is missing for ever

    int mError = 0;
    long mHttpCode = 0;
    QByteArray mReplyBody;
    VKHttpReplyHeaders mReplyHeaders{VKHttp::kMaxReplyHeaderBytes, VKHttp::kMaxReplyHeaderLines};
    bool mHeadersDone = false; // deliberately never cleared: it is about the object's first reply
    QString mContentType;
    std::int64_t mUploadSent = 0; // deliberately over all transfers
    QByteArray mDebugText;        // the same
    std::size_t mDownloadTotal = 0;
    std::size_t mDownloadDone = 0;
    Stop mStop = Stop::No;
};

void VKHttpImplCurl::Transfer::setUrl(const QUrl& url) {
    if (url != mUrl) {
        mUrl = url;
        mEncodedUrl.clear();
    }
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
    Options options(*mLibrary, mCurl.get());
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

void VKHttpImplCurl::Transfer::setConnection(Options& options) {
    options.set(CURLOPT_NOSIGNAL, 1L);
    options.set(CURLOPT_PROTOCOLS_STR, "http,https");
    options.setBufferSize(kReceiveBytes);
}

void VKHttpImplCurl::Transfer::setProgress(Options& options) {
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

void VKHttpImplCurl::Transfer::setCallbacks(Options& options) {
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

void VKHttpImplCurl::Transfer::setMethod(Options& options) {
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
void VKHttpImplCurl::Transfer::setBody(Options& options, const char* customRequest) {
    const QByteArray& body = mRequest.mRequestBody;
    options.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    options.set(CURLOPT_POSTFIELDS, body.constData());
    if (customRequest != nullptr) {
        options.set(CURLOPT_CUSTOMREQUEST, customRequest);
    }
}

void VKHttpImplCurl::Transfer::setUpload(Options& options) {
    // Deliberately one more such header for each upload, kept like all others: servers of the suite are known to
    // see it.
    setHeader(kVKHttpContentLength, QString::number(mRequest.mUploadSize));
    options.require(mHeaderError);
    options.set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(mRequest.mUploadSize));
    options.set(CURLOPT_UPLOAD, 1L);
    options.set(CURLOPT_READDATA, static_cast<void*>(this));
    options.set(CURLOPT_READFUNCTION, &Transfer::readFunctionCB);
}

void VKHttpImplCurl::Transfer::setParts(Options& options) {
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
    // No device fails like one that cannot be read.
    const qint64 got = mRequest.mUploadDevice == nullptr ? -1 : mRequest.mUploadDevice->read(buffer, chunk);
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

void VKHttpImplCurl::startup() {
    const VKHttpCurlLibrary* const library = VKHttpCurlLibrary::shared();
    const std::lock_guard lock(gGlobalMutex);
    if (library == nullptr || library->globalInit(CURL_GLOBAL_ALL) != CURLE_OK) {
        VKLogEvent(kVKStatusTransportFailed, kSource, __LINE__);
    }
}

void VKHttpImplCurl::shutdown() {
    const VKHttpCurlLibrary* const library = VKHttpCurlLibrary::sharedIfLoaded();
    const std::lock_guard lock(gGlobalMutex);
    if (library != nullptr) {
        library->globalCleanup();
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
