// Why a transfer or a request did not do what was asked, in the words of people.
#pragma once

#include <QString>
#include <QUrl>

namespace VKTool {

/// The reason of a transport error as the end of a sentence; empty for 0. 1007, 1081 and 1105 are the library's, others
/// libcurl's.
///
///     1105 -> "there is no host \"photo.invalid\""     60 -> "the server's certificate is not trusted ..."
[[nodiscard]] QString transportReason(int error, const QString& host);

/// "the server answered 404 (not found)", "the server answered 599". 0 with no transport error is a reply that memory
/// did not suffice for.
[[nodiscard]] QString answerReason(int httpStatus);

/// The address for messages: without user and password.
[[nodiscard]] QString addressText(const QUrl& url);

/// Why a text cannot be used as an address, as a sentence; empty when it can. Takes http and https, with a host, without a
/// user: a password in it would be on the command line, and is not repeated.
[[nodiscard]] QString addressProblem(const QString& text);

} // namespace VKTool
