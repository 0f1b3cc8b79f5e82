// A request as the command line of vkqt http describes it, and how the library's client is asked to send it.
#pragma once

#include "CommandLine.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <memory>
#include <optional>
#include <utility>

class QIODevice;
class VKHttp;

namespace VKTool {

struct HttpRequest {
    struct Field {
        QString name;
        QString value; ///< The text, or the path of the file.
        bool isFile = false;
        QByteArray content = {}; ///< The file's, once it is read.
    };

    HttpRequest();
    HttpRequest(HttpRequest&&) noexcept;
    HttpRequest& operator=(HttpRequest&&) noexcept;
    HttpRequest(const HttpRequest&) = delete;
    HttpRequest& operator=(const HttpRequest&) = delete;
    ~HttpRequest();

    QString action;
    QUrl url;
    QList<std::pair<QString, QString>> headers;
    QString user;
    QString password;
    int connectTimeoutMs = 0;
    qint64 maxReplyBytes = 0;
    bool takesAnyHost = false;
    bool hasBody = false;
    QByteArray body;
    std::unique_ptr<QIODevice> upload; ///< put: what is sent.
    qint64 uploadBytes = 0;
    QList<Field> fields;
    bool isInParts = false;
};

/// "get", "post", "put", "patch", "delete", "form".
[[nodiscard]] QStringList httpActions();

/// What the options ask for, without anything that has to be read. Nothing, and why in `problem`, when they make no sense.
[[nodiscard]] std::optional<HttpRequest> requestOf(const Invocation& invocation, QString& problem);

/// Reads or opens the files that the request sends; false after a complaint.
[[nodiscard]] bool readBody(Invocation& invocation, HttpRequest& request);

/// Blocks until the exchange has ended: see VKHttp for what came of it.
void send(const HttpRequest& request, VKHttp& http);

/// "Name: value" taken apart; nothing for what is no header line, or would be more than one.
///
///     "Accept: text/html" -> "Accept", "text/html"     "Expect:" -> "Expect", ""     "no colon", ": x", "a\nb: c" -> nothing
[[nodiscard]] std::optional<std::pair<QString, QString>> headerOf(const QString& line);

/// Fields as the body of "application/x-www-form-urlencoded".
[[nodiscard]] QByteArray urlEncoded(const QList<HttpRequest::Field>& fields);

} // namespace VKTool
