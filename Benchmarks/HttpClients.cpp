// The three clients, as small as they can be.
#include "HttpClients.h"

#include <VKHttp.h>

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

#include <curl/curl.h>

#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void stop(const char* client, int error, int status) {
    std::fprintf(stderr, "%s: error %d, status %d\n", client, error, status);
    std::exit(2);
}

class LibraryClient : public HttpClient {
public:
    QByteArray get(const QString& url) override {
        mHttp.setUrl(QUrl(url));
        mHttp.get();
        if (mHttp.error() != 0 || mHttp.httpResultCode() != 200) {
            stop("VKHttp", mHttp.error(), mHttp.httpResultCode());
        }
        return mHttp.readAllBytes();
    }

private:
    VKHttp mHttp;
};

std::size_t passOver(char* /*line*/, std::size_t size, std::size_t count, void* /*client*/) {
    return size * count;
}

std::size_t appendTo(char* bytes, std::size_t size, std::size_t count, void* body) {
    static_cast<QByteArray*>(body)->append(bytes, static_cast<qsizetype>(size * count));
    return size * count;
}

class BareClient : public HttpClient {
public:
    explicit BareClient(qsizetype reserve) : mCurl(curl_easy_init()), mReserve(reserve) {}
    ~BareClient() override { curl_easy_cleanup(mCurl); }

    QByteArray get(const QString& url) override {
        const QByteArray encoded = QUrl(url).toEncoded(QUrl::FullyEncoded);
        QByteArray body;
        body.reserve(mReserve);
        curl_easy_reset(mCurl);
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_NOPROGRESS, 1L);
        set(CURLOPT_PROTOCOLS_STR, "http,https");
        set(CURLOPT_BUFFERSIZE, 512L * 1024L);
        set(CURLOPT_URL, encoded.constData());
        set(CURLOPT_HEADERDATA, nullptr);
        set(CURLOPT_HEADERFUNCTION, &passOver);
        set(CURLOPT_WRITEDATA, &body);
        set(CURLOPT_WRITEFUNCTION, &appendTo);
        const CURLcode result = curl_easy_perform(mCurl);
        long status = 0;
        const char* type = nullptr; // asked for, as the library asks; there may be none
        curl_easy_getinfo(mCurl, CURLINFO_RESPONSE_CODE, &status);
        curl_easy_getinfo(mCurl, CURLINFO_CONTENT_TYPE, &type);
        if (result != CURLE_OK || status != 200) {
            stop("libcurl", result, static_cast<int>(status));
        }
        return body;
    }

private:
    template <typename Value>
    void set(CURLoption option, Value value) {
        const CURLcode result = curl_easy_setopt(mCurl, option, value);
        if (result != CURLE_OK) {
            stop("libcurl", result, static_cast<int>(option));
        }
    }

    CURL* mCurl;
    qsizetype mReserve;
};

class FrameworkClient : public HttpClient {
public:
    QByteArray get(const QString& url) override {
        const std::unique_ptr<QNetworkReply> reply(mManager.get(QNetworkRequest(QUrl(url))));
        QObject::connect(reply.get(), &QNetworkReply::finished, &mLoop, &QEventLoop::quit);
        mLoop.exec();
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (reply->error() != QNetworkReply::NoError || status != 200) {
            stop("QNetworkAccessManager", reply->error(), status);
        }
        return reply->readAll();
    }

private:
    QNetworkAccessManager mManager;
    QEventLoop mLoop;
};

} // namespace

std::unique_ptr<HttpClient> makeLibraryClient() { return std::make_unique<LibraryClient>(); }

std::unique_ptr<HttpClient> makeBareClient(qsizetype reserve) {
    return std::make_unique<BareClient>(reserve);
}

std::unique_ptr<HttpClient> makeFrameworkClient() { return std::make_unique<FrameworkClient>(); }
