// vkqt http: one request, its reply to a file or to standard output, with a bar while it lasts; Ctrl-C ends it.
#include "CommandLine.h"
#include "HttpReasons.h"
#include "HttpRequest.h"
#include "Interruption.h"
#include "Items.h"
#include "NewFile.h"
#include "ProgressBar.h"
#include "Results.h"
#include "Secret.h"
#include "Text.h"

#include <VKCoreKit/VKProgress.h>
#include <VKHttp.h>

#include <QElapsedTimer>
#include <QStringDecoder>

#include <cerrno>
#include <cmath>
#include <memory>
#include <optional>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

constexpr int kMultipleChoices = 300;
constexpr int kOk = 200;

/// One exchange, and what is told of it.
struct Exchange {
    HttpRequest request;
    int error = 0;
    int httpStatus = 0;
    QByteArray body;
    QString contentType;
    QJsonObject headers;
    qint64 milliseconds = 0;

    [[nodiscard]] bool isFine() const {
        return error == 0 && httpStatus >= kOk && httpStatus < kMultipleChoices;
    }
    [[nodiscard]] QString reason() const {
        if (isFine()) {
            return {};
        }
        return error != 0 ? transportReason(error, request.url.host()) : answerReason(httpStatus);
    }
};

/// The library gives a header to who asks for it by name, and HTTP/2 has names in small letters only.
void askForHeader(const VKHttp& http, const QString& name, QJsonObject& headers) {
    for (const QString& spelling : {name, name.toLower()}) {
        if (http.hasReplyHeader(spelling)) {
            headers.insert(name, http.replyHeader(spelling));
            return;
        }
    }
}

void askForHeaders(const VKHttp& http, const QStringList& wanted, QJsonObject& headers) {
    for (const QString& name :
         {u"Content-Type"_s, u"Content-Length"_s, u"Content-Encoding"_s, u"Content-Disposition"_s,
          u"Content-Range"_s, u"Date"_s, u"Last-Modified"_s, u"ETag"_s, u"Location"_s, u"Server"_s,
          u"Cache-Control"_s, u"Expires"_s, u"Retry-After"_s, u"WWW-Authenticate"_s, u"Allow"_s}) {
        askForHeader(http, name, headers);
    }
    for (const QString& name : wanted) {
        askForHeader(http, name, headers);
    }
}

/// Sends the request, and waits for what comes of it.
void perform(Exchange& exchange, const Invocation& invocation) {
    VKHttp::sLog = invocation.isVerbose();
    ProgressBar bar(invocation.isOn(u"progress"_s));
    const VKOwnedProgress progress(VKProgressCreate(nullptr, nullptr));
    VKProgressSetByteObserver(
        progress.get(),
        [](const VKProgressBytes& now, void* context) {
            static_cast<ProgressBar*>(context)->show(now.done, now.total);
        },
        &bar);
    VKHttp http;
    http.setProgress(progress.get());
    QElapsedTimer timer;
    timer.start();
    {
        const Interruption interruption(progress.get());
        send(exchange.request, http);
    }
    exchange.milliseconds = timer.elapsed();
    exchange.error = http.error();
    exchange.httpStatus = http.httpResultCode();
    exchange.body = http.readAllBytes();
    exchange.contentType = http.replyContentType();
    askForHeaders(http, invocation.values(u"reply-header"_s), exchange.headers);
}

/// The body as text; nothing when it is none.
std::optional<QString> textOf(const QByteArray& body) {
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    const QString text = decoder(body);
    return decoder.hasError() || text.contains(QChar(u'\0')) ? std::nullopt : std::optional(text);
}

QJsonObject toJson(const Exchange& exchange, const QString& file) {
    const std::optional<QString> text = file.isNull() ? textOf(exchange.body) : std::nullopt;
    const QString reason = exchange.reason();
    const bool hasReply = exchange.error == 0 && exchange.httpStatus != 0;
    return {{u"url"_s, addressText(exchange.request.url)},
            {u"status"_s, hasReply ? QJsonValue(exchange.httpStatus) : QJsonValue()},
            {u"contentType"_s, hasReply ? QJsonValue(exchange.contentType) : QJsonValue()},
            {u"headers"_s, exchange.headers},
            {u"bodyBytes"_s, static_cast<qint64>(exchange.body.size())},
            {u"body"_s, text.has_value() ? QJsonValue(*text) : QJsonValue()},
            {u"file"_s, file.isNull() ? QJsonValue() : QJsonValue(file)},
            {u"milliseconds"_s, exchange.milliseconds},
            {u"error"_s, reason.isEmpty() ? QJsonValue() : QJsonValue(reason)}};
}

/// Bytes for a program as they are; on a terminal text that cannot drive it.
void writeBody(const Exchange& exchange, Invocation& invocation) {
    Output& output = invocation.output();
    if (!output.isTerminal()) {
        output.writeBytes(exchange.body);
        return;
    }
    const std::optional<QString> text = textOf(exchange.body);
    if (!text.has_value()) {
        output.write(
            output.styled(Style::Quiet, u"%1 of %2 that is no text: use --output FILE"_s.arg(
                                            humanSize(exchange.body.size()), shown(exchange.contentType))) +
            u'\n');
        return;
    }
    QStringList lines = text->split(u'\n');
    if (lines.constLast().isEmpty()) {
        lines.removeLast();
    }
    for (QString& line : lines) {
        line.chop(line.endsWith(u'\r') ? 1 : 0);
        output.write(shown(line) + u'\n');
    }
}

/// The file for the reply. Told before anything is sent when one is in the way.
struct Target {
    QString text; ///< As it was given; null for standard output.
    VKQtPath path;
    Existing existing = Existing::Keep;
};

std::optional<Target> targetOf(Invocation& invocation) {
    Target target;
    if (invocation.values(u"output"_s).isEmpty()) {
        return target;
    }
    target.text = invocation.value(u"output"_s);
    target.path = absolutePath(target.text, false);
    target.existing = invocation.isOn(u"overwrite"_s) ? Existing::Replace : Existing::Keep;
    if (target.existing == Existing::Keep && askDisk(target.path.path()).status == kVKStatusSuccess) {
        invocation.fail(target.text, EEXIST);
        return std::nullopt;
    }
    return target;
}

int run(Invocation& invocation) {
    QString problem;
    std::optional<HttpRequest> request = requestOf(invocation, problem);
    if (!request.has_value()) {
        return problem.isEmpty() ? invocation.exitStatus() : invocation.usageError(problem);
    }
    const std::optional<Target> target = targetOf(invocation);
    if (!target.has_value()) {
        return invocation.exitStatus();
    }
    if (!request->user.isEmpty()) {
        const Secret secret = readSecret(u"Password of %1: "_s.arg(shown(request->user)));
        if (!secret.problem.isEmpty()) {
            complain(u" http: "_s + secret.problem);
            return kExitFailed;
        }
        request->password = secret.text;
    }
    if (!readBody(invocation, *request)) {
        return invocation.exitStatus();
    }
    Exchange exchange;
    exchange.request = std::move(*request);
    perform(exchange, invocation);

    int status = exchange.isFine() ? kExitFine : kExitFailed;
    QString file;
    if (!target->text.isNull() && exchange.isFine()) {
        const VKStatus written = writeFile(target->path, exchange.body, target->existing);
        if (written == kVKStatusSuccess) {
            file = target->path.path();
        } else {
            invocation.fail(target->text, written);
            status = kExitFailed;
        }
    }
    Results results(invocation);
    if (results.isJson()) {
        results.add(toJson(exchange, file));
    } else if (target->text.isNull()) {
        writeBody(exchange, invocation);
    } else if (!file.isNull()) {
        results.say(u"%1 to %2 in %3 s"_s.arg(
            humanSize(exchange.body.size()), shown(file),
            QString::number(static_cast<double>(exchange.milliseconds) / 1000, 'f', 1)));
    }
    if (const QString reason = exchange.reason(); !reason.isEmpty()) {
        invocation.output().flush();
        complain(u" http: "_s + shown(addressText(exchange.request.url)) + u": "_s + reason);
    }
    return status;
}

const Registration kRegistration({
    .name = u"http"_s,
    .summary = u"make an HTTP request"_s,
    .description =
        u"Sends one request to URL and writes the body of the reply to standard output, or to a file. "
        "Certificates are checked against the authorities that the system trusts. Redirections are not "
        "followed, and "
        "a compressed reply stays compressed.\n\n"
        "get sends --data as the body of a GET, where there is some; post, patch and delete send it as "
        "theirs; put sends a file of any size without reading it into memory. form sends fields as a web "
        "page does: "
        "as text, or in parts when there are files.\n\n"
        "The password of --user is asked for on the terminal, or is the first line of standard input; what "
        "--data-file takes from there begins behind it.\n\n"
        "A file is never overwritten without --overwrite, appears only when it is whole, and only for a "
        "reply of "
        "success (2xx). The bar shows how far the transfer is; Ctrl-C ends it. --verbose shows everything "
        "that is "
        "sent and received, passwords too."_s,
    .arguments =
        {{.name = u"ACTION"_s, .count = ArgumentSpec::One, .takes = Takes::Choice, .choices = httpActions()},
         {.name = u"URL"_s, .count = ArgumentSpec::One}},
    .options =
        {
            {.name = u"header"_s,
             .form = OptionSpec::Value,
             .valueName = u"LINE"_s,
             .help = u"Send this header line, \"Name: value\". May be repeated."_s},
            {.name = u"user"_s,
             .form = OptionSpec::Value,
             .valueName = u"NAME"_s,
             .help = u"Send name and password (basic authentication)."_s},
            {.name = u"data"_s,
             .form = OptionSpec::Value,
             .valueName = u"TEXT"_s,
             .help = u"The body of the request."_s},
            {.name = u"data-file"_s,
             .form = OptionSpec::Value,
             .valueName = u"FILE"_s,
             .help = u"The file that is the body; \"-\" for standard input."_s},
            {.name = u"field"_s,
             .form = OptionSpec::Value,
             .valueName = u"NAME=TEXT"_s,
             .help = u"form: a field. May be repeated."_s},
            {.name = u"file"_s,
             .form = OptionSpec::Value,
             .valueName = u"NAME=FILE"_s,
             .help = u"form: a field with a file. May be repeated."_s},
            {.name = u"parts"_s, .help = u"form: Send in parts also without a file."_s},
            {.name = u"output"_s,
             .letter = u"o"_s,
             .form = OptionSpec::Value,
             .valueName = u"FILE"_s,
             .help = u"Write the body of the reply to FILE."_s},
            {.name = u"overwrite"_s, .help = u"Replace FILE when it exists."_s},
            {.name = u"connect-timeout"_s,
             .form = OptionSpec::Value,
             .valueName = u"SECONDS"_s,
             .help = u"How long connecting may take, finding the host included; five minutes otherwise."_s},
            {.name = u"limit"_s,
             .form = OptionSpec::Value,
             .valueName = u"MIB"_s,
             .help = u"How long the body of the reply may be; 2048 MiB otherwise."_s},
            {.name = u"any-host"_s, .help = u"Take a trusted certificate that was made for another host."_s},
            {.name = u"reply-header"_s,
             .form = OptionSpec::Value,
             .valueName = u"NAME"_s,
             .help = u"With --json: tell this header of the reply too. May be repeated."_s},
            {.name = u"progress"_s,
             .form = OptionSpec::OnOff,
             .initially = true,
             .help = u"Show the bar on standard error when that is a terminal."_s},
            {.name = u"json"_s, .help = u"Write what came of it as a JSON array with one object."_s},
        },
    .examples =
        {
            {u"vkqt http get https://photos.example/list"_s, u"Show what is there."_s},
            {u"vkqt http get -o IMG_1.NEF https://photos.example/IMG_1.NEF"_s, u"Fetch a file."_s},
            {u"vkqt http put --user me --data-file IMG_1.NEF https://dav.example/IMG_1.NEF"_s,
             u"Store one; the password is asked for."_s},
            {u"vkqt http form --field title=Lake --file photo=1.jpg https://dav.example/new"_s,
             u"Fill in a form with a photo."_s},
        },
    .jsonKeys =
        {
            {u"url"_s, u"The address."_s},
            {u"status"_s, u"The HTTP status; null when no whole reply came."_s},
            {u"contentType"_s, u"The type of the reply; null when no whole reply came."_s},
            {u"headers"_s, u"The usual headers of the reply that it had, and those of --reply-header."_s},
            {u"bodyBytes"_s, u"How long the body is that came."_s},
            {u"body"_s, u"The body; null when it is no text in UTF-8 or went to a file."_s},
            {u"file"_s, u"The file that it was written to, or null."_s},
            {u"milliseconds"_s, u"How long it took."_s},
            {u"error"_s, u"Why it was no success, or null."_s},
        },
    .run = &run,
});

} // namespace
