// The last step of a service call: what a finished transfer came to, and its JSON.
#pragma once

#include "VKHttpResult.h"
#include "VKQtExport.h"

#include <QJsonDocument>
#include <QJsonObject>

class VKHttp;

/// The fields are the answer. Used by one thread at a time; touches neither disk nor network.
///
///     VKHttpOp op;
///     if (op.processReply(http)) { use(op.object); } else { op.result.log(kLogLevelWarning, u"List"_s); }
class VKQT_EXPORT VKHttpOp {
public:
    VKHttpOp();
    virtual ~VKHttpOp();

    /// Takes status, error and body of the transfer. The body is parsed when the content type holds "json" or
    /// "javascript" in just this spelling, or expectJson is set. True when the reply is usable: its status is 200,
    /// or it was to be parsed and is well-formed JSON or empty.
    ///
    ///     500, application/json, {"message": "busy"}  -> true, the object holds the message
    ///     200, application/json, {"broken":           -> true, no object
    ///     200, text/html, <p>hello</p>                -> true, no object
    ///     404, text/html, <p>not here</p>             -> false
    ///     the host has no address                     -> false
    ///
    /// The "or" is deliberate: the service tells its errors as JSON bodies. When not usable, the message is
    /// "Error: 1105 -  HttpCode: 0 Url: https://photos.example/list". Never throws.
    ///
    /// A second call replaces the document only when its body was parsed, and the object only when the new
    /// document is not null: take a new operation for each reply.
    bool processReply(VKHttp& http);

    VKHttpResult result;
    QJsonDocument document;  ///< null when nothing was parsed or the JSON is broken
    QJsonObject object;      ///< the document's outermost object; empty when that is an array
    bool expectJson = false; ///< parse whatever the content type says

private:
    bool parse(const QByteArray& body);
};
