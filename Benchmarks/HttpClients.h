// The clients that the HTTP benchmark compares: the library's, libcurl alone, and the framework's. Each keeps its
// connection and gives the body of one GET as a QByteArray; a failure ends the program.
#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

class HttpClient {
public:
    HttpClient() = default;
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;
    virtual ~HttpClient() = default;

    [[nodiscard]] virtual QByteArray get(const QString& url) = 0;
};

std::unique_ptr<HttpClient> makeLibraryClient();

/// One easy handle, reset before each request, the options that the library sets, and nothing else: header lines
/// are passed over. The body is appended to a QByteArray for which `reserve` bytes were set aside.
std::unique_ptr<HttpClient> makeBareClient(qsizetype reserve);

/// QNetworkAccessManager and an event loop. Needs an application object.
std::unique_ptr<HttpClient> makeFrameworkClient();
