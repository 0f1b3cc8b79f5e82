// One object's transfers by libcurl: its handle, its lists, the reply, and the callbacks between.
#pragma once

#include "VKHttp.h"
#include "VKHttpCurlOptions.h"
#include "VKHttpImplCurl.h"
#include "VKHttpReplyHeaders.h"

/// libcurl's objects and the state of the reply. Its callbacks never let an exception into libcurl's frames.
class VKHttpImplCurl::Transfer {
public:
    Transfer(VKHttpImplCurl& request, const VKHttpCurlLibrary* library)
        : mRequest(request), mLibrary(library), mMime(nullptr, VKHttpFreeMime{library}),
          mRequestHeaders(nullptr, VKHttpFreeList{library}),
          mCurl(library == nullptr ? nullptr : library->makeHandle(), VKHttpFreeHandle{library}) {}

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
    void setConnection(VKHttpCurlOptions& options);
    void setProgress(VKHttpCurlOptions& options);
    void setCallbacks(VKHttpCurlOptions& options);
    void setMethod(VKHttpCurlOptions& options);
    void setBody(VKHttpCurlOptions& options, const char* customRequest);
    void setUpload(VKHttpCurlOptions& options);
    void setParts(VKHttpCurlOptions& options);
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
    std::unique_ptr<curl_mime, VKHttpFreeMime> mMime;
    std::unique_ptr<curl_slist, VKHttpFreeList> mRequestHeaders;
    std::unique_ptr<CURL, VKHttpFreeHandle> mCurl;
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
