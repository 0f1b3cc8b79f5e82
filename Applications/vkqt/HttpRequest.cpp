// Checks first, files then, the client last.
#include "HttpRequest.h"

#include "HttpReasons.h"
#include "Items.h"
#include "Results.h"
#include "Text.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKHttp.h>
#include <VKHttpPart.h>

#include <QBuffer>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

constexpr auto kStandardInput = "-"_L1;

/// A reply is held in memory, and a server may send without end.
constexpr qint64 kUsualMegabytes = 2048;

bool isGiven(const Invocation& invocation, const QString& option) {
    return !invocation.values(option).isEmpty();
}

/// Which options go with which action; the first that does not, as a sentence.
QString misplacedOption(const Invocation& invocation, const QString& action) {
    const bool isForm = action == "form"_L1;
    for (const QString& option : {u"field"_s, u"file"_s}) {
        if (!isForm && isGiven(invocation, option)) {
            return u"--%1 goes with form"_s.arg(option);
        }
    }
    if (!isForm && invocation.isOn(u"parts"_s)) {
        return u"--parts goes with form"_s;
    }
    const bool hasData = isGiven(invocation, u"data"_s);
    const bool hasFile = isGiven(invocation, u"data-file"_s);
    if (isForm && (hasData || hasFile)) {
        return u"a form has fields, no --data"_s;
    }
    if (hasData && hasFile) {
        return u"--data and --data-file exclude each other"_s;
    }
    if (action == "put"_L1 && !hasData && !hasFile) {
        return u"put needs --data or --data-file"_s;
    }
    if (invocation.isOn(u"overwrite"_s) && !isGiven(invocation, u"output"_s)) {
        return u"--overwrite goes with --output"_s;
    }
    return {};
}

/// Fields in the order of their kinds; a sentence about the first that has no name.
QString addFields(const Invocation& invocation, const QString& option, bool isFile, HttpRequest& request) {
    for (const QString& text : invocation.values(option)) {
        const qsizetype at = text.indexOf(u'=');
        if (at <= 0) {
            return u"--%1 takes NAME=..., not \"%2\""_s.arg(option, shown(text));
        }
        request.fields.append({.name = text.left(at), .value = text.mid(at + 1), .isFile = isFile});
    }
    return {};
}

QString addHeaders(const Invocation& invocation, HttpRequest& request) {
    for (const QString& line : invocation.values(u"header"_s)) {
        const auto header = headerOf(line);
        if (!header.has_value()) {
            return u"\"%1\" is no header line such as \"Accept: text/html\""_s.arg(shown(line));
        }
        request.headers.append(*header);
    }
    return {};
}

QString readTimeout(const Invocation& invocation, HttpRequest& request) {
    const QString text = invocation.value(u"connect-timeout"_s);
    if (text.isNull()) {
        return {};
    }
    constexpr double kMostSeconds = 86'400;
    bool isNumber = false;
    const double seconds = text.toDouble(&isNumber);
    if (!isNumber || !(seconds >= 0.001 && seconds <= kMostSeconds)) {
        return u"--connect-timeout takes seconds from 0.001 to 86400, not \"%1\""_s.arg(shown(text));
    }
    request.connectTimeoutMs = static_cast<int>(std::lround(seconds * 1000));
    return {};
}

QString readLimit(const Invocation& invocation, HttpRequest& request) {
    constexpr qint64 kMostMegabytes = 1 << 20;
    const QString text = invocation.value(u"limit"_s);
    bool isNumber = false;
    const qint64 megabytes = text.isNull() ? kUsualMegabytes : text.toLongLong(&isNumber);
    if (!text.isNull() && (!isNumber || megabytes < 1 || megabytes > kMostMegabytes)) {
        return u"--limit takes a number of MiB from 1 to 1048576, not \"%1\""_s.arg(shown(text));
    }
    request.maxReplyBytes = megabytes << 20;
    return {};
}

QString readUser(const Invocation& invocation, HttpRequest& request) {
    request.user = invocation.value(u"user"_s);
    if (isGiven(invocation, u"user"_s) && request.user.isEmpty()) {
        return u"--user needs a name"_s;
    }
    // What is sent is "name:password".
    return request.user.contains(u':') ? u"a name with a colon cannot be sent"_s : QString();
}

/// The whole file; nothing after a complaint.
std::optional<QByteArray> contentOf(Invocation& invocation, const QString& text) {
    VKCFRef<CFDataRef> data;
    const VKStatus status = VKFileMgrGetFileContentsCopy(urlOf(text, false).get(), data.out());
    if (status != kVKStatusSuccess) {
        invocation.fail(text, status);
        return std::nullopt;
    }
    return CFDataCopyQByteArray(data.get());
}

std::optional<QByteArray> standardInput(Invocation& invocation) {
    QByteArray content;
    char block[65536];
    for (;;) {
        const ssize_t size = ::read(STDIN_FILENO, block, sizeof block);
        if (size == 0) {
            return content;
        }
        if (size < 0 && errno != EINTR) {
            invocation.fail(u"standard input"_s, static_cast<VKStatus>(errno));
            return std::nullopt;
        }
        content.append(block, std::max<ssize_t>(size, 0));
    }
}

/// The file of a put, under the bytes of its name on disk, and opened without waiting for a fifo's writer.
VKStatus openUpload(const QString& text, HttpRequest& request) {
    const QByteArray path = bytesOf(urlOf(text, false).get());
    const int descriptor = ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return static_cast<VKStatus>(errno);
    }
    struct stat facts = {};
    auto file = std::make_unique<QFile>();
    const bool isKnown = ::fstat(descriptor, &facts) == 0;
    if (!isKnown || !S_ISREG(facts.st_mode) ||
        !file->open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(descriptor);
        return S_ISDIR(facts.st_mode) ? EISDIR : EOPNOTSUPP;
    }
    request.uploadBytes = facts.st_size;
    request.upload = std::move(file);
    return kVKStatusSuccess;
}

void uploadBytes(HttpRequest& request, const QByteArray& content) {
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(content);
    static_cast<void>(buffer->open(QIODevice::ReadOnly)); // A buffer opens always.
    request.uploadBytes = content.size();
    request.upload = std::move(buffer);
}

void sendForm(const HttpRequest& request, VKHttp& http) {
    if (!request.isInParts) {
        // Not postUrlFormEncoded(), which leaves blanks and letters outside ASCII as they are.
        http.setHeader(kVKHttpContentType, kVKHttpContentFormUrlEncoded);
        static_cast<void>(http.post(urlEncoded(request.fields)));
        return;
    }
    for (const HttpRequest::Field& field : request.fields) {
        auto* const part = new VKHttpPart;
        part->setName(field.name);
        part->setBody(field.isFile ? field.content : field.value.toUtf8());
        if (field.isFile) {
            part->setFilename(VKQtPath(absoluteText(field.value, workingFolder()), false).filename());
        }
        http.addPart(part);
        part->Release();
    }
    static_cast<void>(http.postMultipart());
}

} // namespace

HttpRequest::HttpRequest() = default;
HttpRequest::HttpRequest(HttpRequest&&) noexcept = default;
HttpRequest& HttpRequest::operator=(HttpRequest&&) noexcept = default;
HttpRequest::~HttpRequest() = default;

QStringList httpActions() { return {u"get"_s, u"post"_s, u"put"_s, u"patch"_s, u"delete"_s, u"form"_s}; }

std::optional<HttpRequest> requestOf(const Invocation& invocation, QString& problem) {
    HttpRequest request;
    request.action = invocation.arguments().at(0);
    request.url = QUrl(invocation.arguments().at(1));
    request.takesAnyHost = invocation.isOn(u"any-host"_s);
    request.hasBody = isGiven(invocation, u"data"_s) || isGiven(invocation, u"data-file"_s);
    const auto isFine = [&problem](const QString& sentence) {
        problem = sentence;
        return sentence.isEmpty();
    };
    if (!isFine(addressProblem(invocation.arguments().at(1))) ||
        !isFine(misplacedOption(invocation, request.action)) || !isFine(addHeaders(invocation, request)) ||
        !isFine(readUser(invocation, request)) || !isFine(readTimeout(invocation, request)) ||
        !isFine(readLimit(invocation, request)) ||
        !isFine(addFields(invocation, u"field"_s, false, request)) ||
        !isFine(addFields(invocation, u"file"_s, true, request))) {
        return std::nullopt;
    }
    request.isInParts = invocation.isOn(u"parts"_s) || isGiven(invocation, u"file"_s);
    return request;
}

bool readBody(Invocation& invocation, HttpRequest& request) {
    for (HttpRequest::Field& field : request.fields) {
        if (field.isFile) {
            std::optional<QByteArray> content = contentOf(invocation, field.value);
            if (!content.has_value()) {
                return false;
            }
            field.content = std::move(*content);
        }
    }
    if (!request.hasBody) {
        return true;
    }
    const bool isUpload = request.action == "put"_L1;
    const QString file = invocation.value(u"data-file"_s);
    std::optional<QByteArray> content;
    if (file.isNull()) {
        content = invocation.value(u"data"_s).toUtf8();
    } else if (file == kStandardInput) {
        content = standardInput(invocation);
    } else if (isUpload) {
        const VKStatus status = openUpload(file, request);
        if (status != kVKStatusSuccess) {
            invocation.fail(file, status);
        }
        return status == kVKStatusSuccess;
    } else {
        content = contentOf(invocation, file);
    }
    if (content.has_value() && isUpload) {
        uploadBytes(request, *content);
    } else if (content.has_value()) {
        request.body = std::move(*content);
    }
    return content.has_value();
}

void send(const HttpRequest& request, VKHttp& http) {
    http.setUrl(request.url);
    for (const auto& [name, value] : request.headers) {
        http.setHeader(name, value);
    }
    http.setBasicAuthentication(request.user, request.password);
    http.setConnectTimeout(request.connectTimeoutMs);
    http.setMaxReplyBytes(request.maxReplyBytes);
    http.setIgnoreSSLErrors(request.takesAnyHost);
    // The verbs answer 0 always: see VKHttp.
    if (request.action == "get"_L1) {
        static_cast<void>(request.hasBody ? http.getBytes(request.body) : http.get());
    } else if (request.action == "post"_L1) {
        static_cast<void>(http.post(request.body));
    } else if (request.action == "put"_L1) {
        static_cast<void>(http.put(request.upload.get(), request.uploadBytes));
    } else if (request.action == "patch"_L1) {
        static_cast<void>(http.patch(request.body));
    } else if (request.action == "delete"_L1) {
        static_cast<void>(http.deleteBytes(request.body));
    } else {
        sendForm(request, http);
    }
}

std::optional<std::pair<QString, QString>> headerOf(const QString& line) {
    const auto isTokenCharacter = [](QChar character) {
        return (character.unicode() < 0x80 && character.isLetterOrNumber()) ||
               QStringView(u"!#$%&'*+-.^_`|~").contains(character);
    };
    const auto isControl = [](QChar character) {
        return (character.unicode() < 0x20 && character != u'\t') || character.unicode() == 0x7F;
    };
    const qsizetype colon = line.indexOf(u':');
    const QString name = line.left(std::max<qsizetype>(colon, 0));
    const QString value = line.mid(colon + 1).trimmed();
    if (name.isEmpty() || !std::all_of(name.begin(), name.end(), isTokenCharacter) ||
        std::any_of(line.begin(), line.end(), isControl)) {
        return std::nullopt;
    }
    return std::pair(name, value);
}

QByteArray urlEncoded(const QList<HttpRequest::Field>& fields) {
    QByteArrayList parts;
    for (const HttpRequest::Field& field : fields) {
        parts << QUrl::toPercentEncoding(field.name) + '=' + QUrl::toPercentEncoding(field.value);
    }
    return parts.join('&');
}

} // namespace VKTool
