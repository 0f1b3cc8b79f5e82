// One request and its reply, as the rules of the service see them: nothing of sockets or of the HTTP library.
#pragma once

#include <QByteArray>

namespace AccountService {

struct Request {
    QByteArray method;
    QByteArray path; ///< Decoded, without the query.
    QByteArray contentType;
    QByteArray body;
    bool isTooLong = false; ///< The body was longer than kMostBodyBytes; what came is not kept.
};

/// How the bytes of a reply go out. Everything but Whole is there so that clients can be tried on it.
enum class Delivery {
    Whole,
    Late,          ///< Nothing at all for a while, then whole.
    Never,         ///< Nothing until the client leaves or the service ends.
    Drip,          ///< A byte at a time, with a pause between them.
    CutOff,        ///< The connection is closed in the middle of the body.
    AnnouncesMore, ///< The announced length is twice the body's; then the connection is closed.
    AnnouncesLess, ///< The announced length is half of the body's.
};

struct Reply {
    int status = 200;
    QByteArray contentType = "application/json; charset=utf-8";
    QByteArray body;
    Delivery delivery = Delivery::Whole;
};

/// The longest request body that is read; 413 for more.
constexpr qsizetype kMostBodyBytes = 65'536;

} // namespace AccountService
