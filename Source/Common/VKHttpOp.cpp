// From the transfer to result, document and object.
#include "VKHttpOp.h"

#include "VKHttp.h"

VKHttpOp::VKHttpOp() = default;

VKHttpOp::~VKHttpOp() = default;

bool VKHttpOp::processReply(VKHttp& http) {
    result.error = http.error();
    result.httpCode = http.httpResultCode();
    bool isParsed = false;
    if (result.error != 0) {
        result.message = http.errorMsg();
    } else {
        const QString type = http.replyContentType();
        if (expectJson || type.contains(QStringLiteral("json")) ||
            type.contains(QStringLiteral("javascript"))) {
            isParsed = parse(http.readAllBytes());
        }
    }
    const bool isUsable = result.httpCode == 200 || isParsed;
    if (!isUsable) {
        result.message = QStringLiteral("Error: %1 - %2 HttpCode: %3 Url: %4")
                             .arg(QString::number(result.error), result.message,
                                  QString::number(result.httpCode), http.url().toString());
    }
    return isUsable;
}

bool VKHttpOp::parse(const QByteArray& body) {
    if (body.isEmpty()) {
        return true;
    }
    QJsonParseError error;
    document = QJsonDocument::fromJson(body, &error);
    if (!document.isNull()) {
        object = document.object();
    }
    return error.error == QJsonParseError::NoError;
}
