// Tables of sentences.
#include "HttpReasons.h"

#include "Text.h"

#include <VKCoreKit/VKStatus.h>

#include <algorithm>
#include <iterator>

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

struct Reason {
    int code;
    const char16_t* text;
};

constexpr Reason kTransportReasons[] = {
    {1, u"the reply is not HTTP"}, // Addresses of other kinds are refused before.
    {2, u"libcurl could not be loaded or set up"},
    {3, u"the address is malformed"},
    {5, u"the proxy's name has no address"},
    {7, u"nothing accepts connections there"},
    {8, u"the reply is not HTTP"},
    {16, u"the server broke the rules of HTTP/2"},
    {18, u"the connection was closed before the reply was whole"},
    {23, u"the reply could not be kept"},
    {26, u"what was to be sent could not be read"},
    {27, u"there is not enough memory, or a header of the reply is too long"},
    {35, u"no secure connection could be agreed on"},
    {52, u"the server closed the connection without a reply"},
    {55, u"the connection broke while the request was sent"},
    {56,
     u"the connection broke while the reply was received, or the reply is malformed or has too many headers"},
    {58, u"the client's certificate cannot be used"},
    {60, u"the server's certificate is not trusted, has expired or is another host's"},
    {61, u"the reply is encoded in an unknown way"},
    {63, u"the reply is longer than is allowed (--limit)"},
    {65, u"the server wanted what was sent again, which is gone"},
    {77, u"the list of trusted certificate authorities cannot be read"},
    {92, u"the server broke off the HTTP/2 stream"},
    {static_cast<int>(kVKStatusCancelled), u"cancelled"},
    {static_cast<int>(kVKStatusTimedOut), u"no connection was made in time"},
};

constexpr Reason kAnswers[] = {
    {204, u"no content"},
    {301, u"moved for good; redirections are not followed"},
    {302, u"moved; redirections are not followed"},
    {303, u"look elsewhere; redirections are not followed"},
    {304, u"not modified"},
    {307, u"moved; redirections are not followed"},
    {308, u"moved for good; redirections are not followed"},
    {400, u"the request was not understood"},
    {401, u"a login is needed, or it is wrong"},
    {403, u"forbidden"},
    {404, u"not found"},
    {405, u"this method is not allowed there"},
    {406, u"nothing acceptable"},
    {408, u"the request came too slowly"},
    {409, u"in conflict with what is there"},
    {410, u"gone"},
    {411, u"a length is needed"},
    {412, u"a condition does not hold"},
    {413, u"the request is too long"},
    {414, u"the address is too long"},
    {415, u"this type of content is not taken"},
    {418, u"it is a teapot"},
    {422, u"the content makes no sense"},
    {429, u"too many requests"},
    {431, u"the headers are too long"},
    {500, u"an error inside the server"},
    {501, u"the server cannot do that"},
    {502, u"a server behind it answers badly"},
    {503, u"the server is not available"},
    {504, u"a server behind it does not answer"},
    {507, u"the server has no space left"},
};

template <std::size_t Size>
QString textFor(const Reason (&reasons)[Size], int code) {
    const Reason* const found = std::find_if(std::begin(reasons), std::end(reasons),
                                             [code](const Reason& reason) { return reason.code == code; });
    return found == std::end(reasons) ? QString() : QStringView(found->text).toString();
}

} // namespace

QString transportReason(int error, const QString& host) {
    if (error == 0) {
        return {};
    }
    if (error == static_cast<int>(kVKStatusHostNotResolved)) {
        return u"there is no host \""_s + shown(host) + u'"';
    }
    const QString text = textFor(kTransportReasons, error);
    return text.isEmpty() ? u"the transfer failed with libcurl's code %1"_s.arg(error) : text;
}

QString answerReason(int httpStatus) {
    if (httpStatus == 0) {
        return u"there is not enough memory for the reply"_s;
    }
    const QString text = textFor(kAnswers, httpStatus);
    const QString answer = u"the server answered "_s + QString::number(httpStatus);
    return text.isEmpty() ? answer : QString(answer + u" ("_s + text + u')');
}

QString addressText(const QUrl& url) { return url.toDisplayString(QUrl::RemoveUserInfo); }

QString addressProblem(const QString& given) {
    const QUrl url(given);
    if (!url.isValid() && !url.isEmpty()) {
        return given.contains(u'@') ? u"the address is malformed"_s
                                    : u"\"%1\" is malformed as an address"_s.arg(shown(given));
    }
    const QString text = u'"' + shown(addressText(url)) + u'"';
    if (url.scheme() != "http"_L1 && url.scheme() != "https"_L1) {
        return text + u" is no address that begins with https:// or http://"_s;
    }
    if (url.host().isEmpty()) {
        return text + u" names no host"_s;
    }
    if (!url.userInfo().isEmpty()) {
        return u"user and password do not belong into the address: other users of this machine could read them"_s;
    }
    return {};
}

} // namespace VKTool
