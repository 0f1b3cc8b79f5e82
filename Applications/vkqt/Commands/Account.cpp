// vkqt account: logging in and out of the suite's account service, and its catalogue of products.
#include "AccountSession.h"
#include "CommandLine.h"
#include "HttpReasons.h"
#include "Interruption.h"
#include "Items.h"
#include "ProductListing.h"
#include "Results.h"
#include "Secret.h"
#include "Text.h"

#include <CoreFoundation/CFQt.h>
#include <VKAppMgrAPI.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKCoreKit/VKProgress.h>
#include <VKHttp.h>
#include <VKQtLocale.h>

#include <QCryptographicHash>
#include <QLocale>
#include <QStringDecoder>
#include <QSysInfo>

#include <arpa/inet.h>
#include <cerrno>
#include <memory>
#include <optional>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

constexpr int kOk = 200;
constexpr std::uint64_t kMostAuthBytes = 4096;

/// The service, and the progress object by which Ctrl-C ends a call.
class Connection {
public:
    Connection(const Invocation& invocation, const QString& service) {
        VKHttp::sLog = false; // Its trace would show passwords; --verbose has the library's own lines.
        mService.reset(new VKAppMgrAPI);
        mService->setBaseURL(service);
        mService->setLogging(invocation.isVerbose() ? 1 : 0);
    }

    template <typename Call>
    int run(Call call) {
        const Interruption interruption(mProgress.get());
        return call(*mService, mProgress.get());
    }

private:
    VKOwnedProgress mProgress{VKProgressCreate(nullptr, nullptr)};
    VKOwned<VKAppMgrAPI> mService;
};

int sayFailed(const QString& sentence) {
    complain(u" account: "_s + sentence);
    return kExitFailed;
}

/// Why a call did not do what was asked; empty when it did.
QString problemOf(int status, int httpStatus, const QString& service) {
    switch (static_cast<VKStatus>(status)) {
    case kVKStatusSuccess:
        return httpStatus == kOk ? QString() : answerReason(httpStatus);
    case kVKStatusHostNotResolved:
    case kVKStatusTimedOut:
    case kVKStatusCancelled:
        return transportReason(status, QUrl(service).host());
    case kVKStatusNotUnderstood:
        return u"the reply was not understood"_s;
    case kVKStatusBadRequest:
        return answerReason(400);
    case kVKStatusUnauthorized:
        return answerReason(401);
    case kVKStatusTooManyRequests:
        return answerReason(429);
    case kVKStatusServerError:
        return answerReason(500);
    default:
        return u"the service cannot be reached there, or is none"_s;
    }
}

VKQtPath sessionFile(const Invocation& invocation) {
    const QString given = invocation.value(u"session-file"_s);
    return given.isNull() ? defaultSessionFile() : absolutePath(given, false);
}

/// An error of the file of the session as a sentence.
int sayFileProblem(const VKQtPath& file, VKStatus status) {
    const QString name = shown(file.path());
    switch (status) {
    case ENOENT:
        return sayFailed(u"nobody is logged in: there is no %1"_s.arg(name));
    case EPERM:
        return sayFailed(u"%1 is not used: others may read it (\"chmod 600\" would mend that)"_s.arg(name));
    case kVKStatusNotUnderstood:
        return sayFailed(u"%1 holds no session"_s.arg(name));
    default:
        return sayFailed(name + u": "_s + reasonOf(status));
    }
}

bool isThisMachine(const QString& host) {
    constexpr std::uint32_t kLoopbackNet = 127;
    in_addr address = {};
    const bool isNumeric = ::inet_pton(AF_INET, host.toUtf8().constData(), &address) == 1;
    return host == "localhost"_L1 || host == "::1"_L1 ||
           (isNumeric && ntohl(address.s_addr) >> 24U == kLoopbackNet);
}

/// The base URL without its trailing slash; nothing, and why, for what is none or would show the password on its way.
std::optional<QString> serviceOf(const QString& text, QString& problem) {
    const QUrl url(text);
    problem = addressProblem(text);
    if (!problem.isEmpty()) {
        return std::nullopt;
    }
    if (url.scheme() == "http"_L1 && !isThisMachine(url.host())) {
        problem = u"the password and the session would travel unprotected: use https://"_s;
        return std::nullopt;
    }
    if (url.hasQuery() || url.hasFragment()) {
        problem = u"a base URL ends with its path"_s;
        return std::nullopt;
    }
    QString service = text;
    while (service.endsWith(u'/')) {
        service.chop(1);
    }
    return service;
}

/// Tells this computer from others to the service, and nothing else to anybody.
QString machineIdentifier() {
    const QByteArray bytes = "vkqt account " + QSysInfo::machineUniqueId();
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().left(32));
}

int logIn(Invocation& invocation) {
    if (invocation.arguments().at(1).isEmpty()) {
        return invocation.usageError(u"login takes an E-MAIL"_s);
    }
    QString problem;
    const std::optional<QString> service = serviceOf(invocation.value(u"service"_s), problem);
    if (!service.has_value()) {
        return invocation.usageError(problem);
    }
    const VKQtPath file = sessionFile(invocation);
    const ItemFacts facts = askDisk(file.path());
    if (facts.status == kVKStatusSuccess) {
        return sayFailed(
            u"a session is kept in %1 already: log out first, or \"vkqt account forget\" it"_s.arg(
                shown(file.path())));
    }
    VKAppMgrAPI::t_LoginData data;
    data.email = invocation.arguments().at(1);
    data.machineGuid = machineIdentifier();
    const Secret secret = readSecret(u"Password of %1: "_s.arg(shown(data.email)));
    if (!secret.problem.isEmpty()) {
        return sayFailed(secret.problem);
    }
    data.password = secret.text;

    Connection connection(invocation, *service);
    VKAppMgrAPI::t_LoginResponse response;
    const int status = connection.run(
        [&](VKAppMgrAPI& api, VKProgress* progress) { return api.login(data, progress, response); });
    if (static_cast<VKStatus>(status) == kVKStatusUnauthorized) {
        return sayFailed(u"e-mail address and password do not belong together"_s);
    }
    problem = problemOf(status, response.httpCode, *service);
    if (!problem.isEmpty()) {
        return sayFailed(shown(*service) + u": "_s + problem);
    }
    const VKStatus written =
        writeSession(file, {.service = *service, .session = response.session, .name = response.name});
    if (written != kVKStatusSuccess) {
        // A session that nobody knows would stay open.
        int httpStatus = 0;
        static_cast<void>(connection.run([&](VKAppMgrAPI& api, VKProgress* progress) {
            return api.logout({response.session}, progress, httpStatus);
        }));
        return sayFailed(shown(file.path()) + u": "_s + reasonOf(written));
    }
    Results results(invocation);
    results.add({{u"service"_s, *service},
                 {u"email"_s, data.email},
                 {u"name"_s, response.name},
                 {u"user"_s, response.userId},
                 {u"channel"_s, response.channel},
                 {u"message"_s, response.message},
                 {u"file"_s, file.path()}});
    results.say(
        u"Logged in as %1. The session is kept in %2."_s.arg(shown(response.name), shown(file.path())));
    if (!response.message.isEmpty()) {
        results.say(shown(response.message));
    }
    return kExitFine;
}

int logOut(Invocation& invocation) {
    const VKQtPath file = sessionFile(invocation);
    AccountSession session;
    if (const VKStatus status = readSession(file, session); status != kVKStatusSuccess) {
        return sayFileProblem(file, status);
    }
    Connection connection(invocation, session.service);
    int httpStatus = 0;
    const int status = connection.run([&](VKAppMgrAPI& api, VKProgress* progress) {
        return api.logout({session.session}, progress, httpStatus);
    });
    if (static_cast<VKStatus>(status) == kVKStatusUnauthorized) {
        return sayFailed(
            shown(session.service) +
            u": the session is not known there any more; \"vkqt account forget\" removes its file"_s);
    }
    if (const QString problem = problemOf(status, httpStatus, session.service); !problem.isEmpty()) {
        return sayFailed(shown(session.service) + u": "_s + problem);
    }
    if (const VKStatus removed = removeSession(file); removed != kVKStatusSuccess) {
        return sayFileProblem(file, removed);
    }
    Results results(invocation);
    results.add({{u"service"_s, session.service}, {u"name"_s, session.name}, {u"file"_s, file.path()}});
    results.say(shown(session.name) + u" is logged out."_s);
    return kExitFine;
}

int forget(Invocation& invocation) {
    const VKQtPath file = sessionFile(invocation);
    if (!invocation.values(u"session-file"_s).isEmpty()) {
        // A name that was given by mistake may be that of a photo.
        AccountSession session;
        const VKStatus status = readSession(file, session, Privacy::Ignored);
        if (status != kVKStatusSuccess) {
            return sayFileProblem(file, status);
        }
    }
    if (const VKStatus status = removeSession(file); status != kVKStatusSuccess) {
        return sayFileProblem(file, status);
    }
    Results results(invocation);
    results.add({{u"file"_s, file.path()}});
    results.say(
        u"%1 is removed. The service was not told: the session may go on there."_s.arg(shown(file.path())));
    return kExitFine;
}

/// What an installation says instead of a session; an exit status after a complaint.
std::optional<int> readAuth(Invocation& invocation, const QString& file, QString& auth) {
    VKCFRef<CFDataRef> data;
    const VKStatus status =
        VKFileMgrGetFileContentsWithLimitCopy(urlOf(file, false).get(), kMostAuthBytes, data.out());
    if (status != kVKStatusSuccess) {
        invocation.fail(file, status);
        return invocation.exitStatus();
    }
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    const QString text = decoder(CFDataCopyQByteArray(data.get()));
    auth = text.trimmed();
    return auth.isEmpty() || decoder.hasError()
               ? std::optional(sayFailed(shown(file) + u" holds no text that a service could know"_s))
               : std::nullopt;
}

/// Session or installation, and the service to ask; an exit status after a complaint.
std::optional<int> credentials(Invocation& invocation, QString& service, VKAppMgrAPI::t_ProductsData& data) {
    const QString authFile = invocation.value(u"auth-file"_s);
    if (authFile.isNull()) {
        const VKQtPath file = sessionFile(invocation);
        AccountSession session;
        if (const VKStatus status = readSession(file, session); status != kVKStatusSuccess) {
            return sayFileProblem(file, status);
        }
        service = session.service;
        data.session = session.session;
        return std::nullopt;
    }
    if (const std::optional<int> status = readAuth(invocation, authFile, data.auth); status.has_value()) {
        return status;
    }
    QString problem;
    const std::optional<QString> given = serviceOf(invocation.value(u"service"_s), problem);
    if (!given.has_value()) {
        return invocation.usageError(problem);
    }
    service = *given;
    return std::nullopt;
}

QString systemLanguage() {
    const QLocale locale;
    return locale.language() == QLocale::C ? u"en"_s : VKQtLocale::standardizeName(locale);
}

int products(Invocation& invocation) {
    VKAppMgrAPI::t_ProductsData data;
    QString service;
    if (const std::optional<int> status = credentials(invocation, service, data); status.has_value()) {
        return *status;
    }
    const QString language = invocation.value(u"language"_s);
    data.language = language.isEmpty() ? systemLanguage() : language;
    data.productName = invocation.value(u"product"_s);
    data.currentVersion = invocation.value(u"current"_s);
    data.edition = invocation.value(u"edition"_s);
    Connection connection(invocation, service);
    VKAppMgrAPI::t_ProductsResponse response;
    const int status = connection.run(
        [&](VKAppMgrAPI& api, VKProgress* progress) { return api.products(data, progress, response); });
    // 404 is the service's word for an empty catalogue.
    const bool isEmpty = status == 0 && response.httpCode == 404;
    if (const QString problem = problemOf(status, response.httpCode, service);
        !problem.isEmpty() && !isEmpty) {
        return sayFailed(shown(service) + u": "_s + problem);
    }
    Results results(invocation);
    for (const VKAppMgrAPI::t_Product& product : response.products) {
        results.add(toJson(product));
    }
    if (!results.isJson()) {
        writeTable(response.products, invocation.output());
    }
    return kExitFine;
}

struct Action {
    QString name;
    qsizetype arguments;
    int (*run)(Invocation&);
};

const std::vector<Action>& actions() {
    static const std::vector<Action> sActions = {{u"login"_s, 1, &logIn},
                                                 {u"logout"_s, 0, &logOut},
                                                 {u"products"_s, 0, &products},
                                                 {u"forget"_s, 0, &forget}};
    return sActions;
}

QStringList actionNames() {
    QStringList names;
    for (const Action& action : actions()) {
        names << action.name;
    }
    return names;
}

/// A sentence about an option that the action has no use for; empty when there is none.
QString misplacedOption(const Invocation& invocation, const QString& action) {
    const bool isProducts = action == "products"_L1;
    for (const QString& option : {u"language"_s, u"product"_s, u"current"_s, u"edition"_s, u"auth-file"_s}) {
        if (!isProducts && !invocation.values(option).isEmpty()) {
            return u"--%1 goes with products"_s.arg(option);
        }
    }
    const bool takesService = action == "login"_L1 || !invocation.values(u"auth-file"_s).isEmpty();
    const bool hasService = !invocation.values(u"service"_s).isEmpty();
    if (takesService && !hasService) {
        return u"--service URL is needed: there is no built-in service"_s;
    }
    return hasService && !takesService ? u"the service is the one of the login"_s : QString();
}

int run(Invocation& invocation) {
    const QString& name = invocation.arguments().constFirst();
    for (const Action& action : actions()) {
        if (action.name != name) {
            continue;
        }
        if (invocation.arguments().size() - 1 != action.arguments) {
            return invocation.usageError(action.arguments == 0 ? u"%1 takes nothing"_s.arg(name)
                                                               : u"%1 takes an E-MAIL"_s.arg(name));
        }
        const QString problem = misplacedOption(invocation, name);
        return problem.isEmpty() ? action.run(invocation) : invocation.usageError(problem);
    }
    return kExitUsage; // Not reached: the actions are the choices of the argument.
}

std::vector<KeySpec> jsonKeys() {
    std::vector<KeySpec> keys = {
        {u"service"_s, u"login, logout: the base URL."_s},
        {u"email"_s, u"login: as it was given."_s},
        {u"name"_s, u"login, logout: who is logged in; products: the product's name."_s},
        {u"user"_s, u"login: the user's number."_s},
        {u"channel"_s, u"login: where the service says the account comes from."_s},
        {u"message"_s, u"login: what the service says to the user."_s},
        {u"file"_s, u"login, logout, forget: the file of the session."_s},
    };
    const std::vector<KeySpec> more = productKeys();
    keys.insert(keys.end(), more.begin(), more.end());
    return keys;
}

const Registration kRegistration({
    .name = u"account"_s,
    .summary = u"log in to the account service, show its products"_s,
    .description =
        u"Works with the suite's account and product service, at the address that --service gives: there is "
        u"no "
        "built-in one.\n\n"
        "login asks for the password on the terminal, or takes the first line of standard input. The session "
        "is kept "
        "in a file that only you can read, with the service that it belongs to, and is never shown; logout "
        "ends it "
        "and removes the file. forget removes the file without telling the service. products shows the "
        "catalogue to "
        "who is logged in.\n\n"
        "Certificates have to be signed by an authority that the system trusts, but whether they are for "
        "this "
        "very host is not checked: this service is always spoken to so. Plain http:// is taken for this "
        "machine only. --verbose shows what the library logs, which holds the session of a login."_s,
    .arguments =
        {{.name = u"ACTION"_s, .count = ArgumentSpec::One, .takes = Takes::Choice, .choices = actionNames()},
         {.name = u"E-MAIL"_s, .count = ArgumentSpec::Optional}},
    .options =
        {
            {.name = u"service"_s,
             .form = OptionSpec::Value,
             .valueName = u"URL"_s,
             .help = u"login: the base URL of the service."_s},
            {.name = u"session-file"_s,
             .form = OptionSpec::Value,
             .valueName = u"FILE"_s,
             .help = u"Where the session is kept; in the folder of the product otherwise."_s},
            {.name = u"language"_s,
             .form = OptionSpec::Value,
             .valueName = u"CODE"_s,
             .help = u"products: the language of the texts, such as \"de\"; that of the system otherwise."_s},
            {.name = u"edition"_s,
             .form = OptionSpec::Value,
             .valueName = u"WORD"_s,
             .help = u"products: only those of an edition."_s},
            {.name = u"product"_s,
             .form = OptionSpec::Value,
             .valueName = u"NAME"_s,
             .help = u"products: the product that is installed."_s},
            {.name = u"current"_s,
             .form = OptionSpec::Value,
             .valueName = u"VERSION"_s,
             .help = u"products: its version."_s},
            {.name = u"auth-file"_s,
             .form = OptionSpec::Value,
             .valueName = u"FILE"_s,
             .help = u"products: the file that holds what this installation is known by, instead of a login; "
                     u"with "
                     "--service."_s},
            {.name = u"json"_s, .help = u"Write JSON for scripts: one array."_s},
        },
    .examples =
        {
            {u"vkqt account login --service https://accounts.example me@example.org"_s,
             u"Log in; the password is asked for."_s},
            {u"vkqt account products --language de --edition home"_s, u"The catalogue, in German."_s},
            {u"vkqt account logout"_s, u"End the session."_s},
        },
    .jsonKeys = jsonKeys(),
    .run = &run,
});

} // namespace
