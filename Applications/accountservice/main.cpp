// accountservice: the demonstration account service as a program. Tells its address in one line, serves until it is ended.
#include "Faults.h"
#include "HttpServer.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace {

using namespace Qt::StringLiterals;
using namespace AccountService;

enum ExitStatus { kFine = 0, kFailed = 1, kUsage = 2 };

constexpr qsizetype kMostUsersBytes = 1 << 20;
constexpr int kMostProducts = 100'000;
constexpr int kMostHugeMegabytes = 1024;
constexpr int kMostPauseMs = 600'000;

volatile std::sig_atomic_t gEnds = 0;

/// SIGINT and SIGTERM stay blocked except while waitForEnd() waits, so that none is lost and no other thread has them.
class EndSignals {
public:
    EndSignals() {
        struct sigaction action = {};
        action.sa_handler = [](int) { gEnds = 1; };
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : {SIGINT, SIGTERM}) {
            sigaddset(&signals, signal);
            sigaction(signal, &action, nullptr);
        }
        sigprocmask(SIG_BLOCK, &signals, &mBefore);
        sigdelset(&mBefore, SIGINT);
        sigdelset(&mBefore, SIGTERM);
    }

    /// Until a signal comes or, where it is watched, standard input is closed.
    void waitForEnd(bool watchesInput) const {
        pollfd input = {.fd = watchesInput ? STDIN_FILENO : -1, .events = POLLIN, .revents = 0};
        while (gEnds == 0) {
            const int ready = ::ppoll(&input, 1, nullptr, &mBefore);
            if (ready > 0) {
                char ignored[256];
                if (::read(STDIN_FILENO, ignored, sizeof ignored) <= 0) {
                    return;
                }
            } else if (ready < 0 && errno != EINTR) {
                return;
            }
        }
    }

private:
    sigset_t mBefore{};
};

int failed(const QString& sentence) {
    std::fprintf(stderr, "accountservice: %s\n", sentence.toUtf8().constData());
    return kFailed;
}

int usage(const QString& sentence) {
    static_cast<void>(failed(sentence + u"\nTry \"accountservice --help\"."_s));
    return kUsage;
}

QString systemReason() { return QString::fromLocal8Bit(std::strerror(errno)); }

struct CommandLine {
    Settings settings;
    Pace pace;
    QString folder;
    bool isPlain = false;
    bool logs = false;
    bool watchesInput = false;
};

QString description() {
    QString text =
        u"A demonstration account service on a free port of 127.0.0.1.\n\n"
        "It writes one line, its base URL, a blank and the file with the certificate authority that it has "
        "made for this run (nothing behind the URL with --plain), and serves until SIGINT or SIGTERM.\n\n"
        "Its user is \""_s +
        demonstrationUser().email + u"\" with the password \""_s + demonstrationUser().password +
        u"\"; an installation that is not logged in sees the catalogue with \""_s +
        Settings::defaultInstallation() +
        u"\".\n\nA login as status-429@example.test is answered with the status 429, whatever the password; "
        u"a "
        "base URL that ends in /status/429 has it for every call. One that ends in /fault/NAME has its "
        "replies "
        "spoiled:\n"_s;
    for (const FaultName& fault : faultNames()) {
        text += u"  "_s + QString::fromLatin1(fault.name).leftJustified(10) +
                QString::fromLatin1(fault.meaning) + u'\n';
    }
    return text;
}

/// The number that an option has; false after a complaint.
bool readNumber(const QCommandLineParser& parser, const QString& option, int most, int& number) {
    bool isNumber = false;
    const int given = parser.value(option).toInt(&isNumber);
    if (!isNumber || given < 0 || given > most) {
        static_cast<void>(usage(u"--%1 takes a number up to %2"_s.arg(option).arg(most)));
        return false;
    }
    number = given;
    return true;
}

/// The users of a file beside the one that is always there; an exit status.
int readUsers(const QString& path, QList<User>& users) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return failed(path + u": "_s + file.errorString());
    }
    const QByteArray content = file.read(kMostUsersBytes + 1);
    if (content.size() > kMostUsersBytes) {
        return failed(path + u": too long"_s);
    }
    int wrongLine = 0;
    const auto more =
        usersFromText(QString::fromUtf8(content), static_cast<int>(users.size()) + 1, wrongLine);
    if (!more.has_value()) {
        return failed(u"%1: line %2 is not \"E-MAIL<Tab>PASSWORD<Tab>NAME\""_s.arg(path).arg(wrongLine));
    }
    users += *more;
    return kFine;
}

/// What the arguments say; an exit status, or nothing to go on.
std::optional<int> parse(const QStringList& arguments, CommandLine& line) {
    QCommandLineParser parser;
    parser.setApplicationDescription(description());
    const QCommandLineOption help = parser.addHelpOption();
    parser.addOptions({
        {u"plain"_s, u"Plain HTTP, without TLS."_s},
        {u"folder"_s, u"Where the file of the authority is written (a new temporary folder)."_s, u"FOLDER"_s},
        {u"users"_s, u"More users: lines of e-mail, password and name, separated by tabs."_s, u"FILE"_s},
        {u"auth"_s, u"What an installation has to say."_s, u"TEXT"_s, line.settings.installation},
        {u"products"_s, u"How many products there are; 0 for the catalogue as it is."_s, u"COUNT"_s, u"0"_s},
        {u"slow"_s, u"Before a slow reply, in milliseconds."_s, u"TIME"_s, u"2000"_s},
        {u"drip"_s, u"Between two bytes of a dripping reply, in milliseconds."_s, u"TIME"_s, u"50"_s},
        {u"huge"_s, u"The size of a huge reply, in MiB."_s, u"SIZE"_s, u"80"_s},
        {u"log"_s, u"A line on standard error for each request: method, path, status."_s},
        {u"until-input-ends"_s, u"Ends also when standard input is closed."_s},
    });
    if (!parser.parse(arguments)) {
        return usage(parser.errorText());
    }
    if (parser.isSet(help)) {
        const QByteArray text = parser.helpText().toUtf8();
        return std::fputs(text.constData(), stdout) >= 0 && std::fflush(stdout) == 0 ? kFine : kFailed;
    }
    if (!parser.positionalArguments().isEmpty()) {
        return usage(u"nothing is expected at \""_s + parser.positionalArguments().constFirst() + u'"');
    }
    int slow = 0;
    int drip = 0;
    int huge = 0;
    if (!readNumber(parser, u"products"_s, kMostProducts, line.settings.productCount) ||
        !readNumber(parser, u"slow"_s, kMostPauseMs, slow) ||
        !readNumber(parser, u"drip"_s, kMostPauseMs, drip) ||
        !readNumber(parser, u"huge"_s, kMostHugeMegabytes, huge)) {
        return kUsage;
    }
    line.settings.installation = parser.value(u"auth"_s);
    line.settings.hugeBytes = qsizetype{huge} << 20;
    line.pace = {.slow = std::chrono::milliseconds(slow), .drip = std::chrono::milliseconds(drip)};
    line.folder = parser.value(u"folder"_s);
    line.isPlain = parser.isSet(u"plain"_s);
    line.logs = parser.isSet(u"log"_s);
    line.watchesInput = parser.isSet(u"until-input-ends"_s);
    if (parser.isSet(u"users"_s)) {
        const int status = readUsers(parser.value(u"users"_s), line.settings.users);
        return status == kFine ? std::nullopt : std::optional(status);
    }
    return std::nullopt;
}

/// The file of the authority; it goes with the object.
class AuthorityFile {
public:
    explicit AuthorityFile(const QString& folder)
        : mFile((folder.isEmpty() ? mTemporary.path() : folder) + u"/ca.pem"_s) {}
    AuthorityFile(const AuthorityFile&) = delete;
    AuthorityFile& operator=(const AuthorityFile&) = delete;
    ~AuthorityFile() {
        if (mIsOurs) {
            mFile.remove();
        }
    }

    /// Nothing that is there already is overwritten. Nothing, or why it failed.
    [[nodiscard]] QString write(const QByteArray& pem) {
        mIsOurs = mFile.open(QIODevice::WriteOnly | QIODevice::NewOnly);
        const bool isWritten = mIsOurs && mFile.write(pem) == pem.size() && mFile.flush();
        mFile.close();
        return isWritten ? QString() : QString(path() + u": "_s + mFile.errorString());
    }
    [[nodiscard]] QString path() const { return mFile.fileName(); }

private:
    const QTemporaryDir mTemporary;
    QFile mFile;
    bool mIsOurs = false;
};

int serve(const CommandLine& line, const EndSignals& signals) {
    std::optional<TlsIdentity> identity;
    std::optional<AuthorityFile> authority;
    QString reason;
    if (!line.isPlain) {
        identity = makeTlsIdentity(reason);
        if (!identity.has_value()) {
            return failed(u"no certificate could be made: "_s + reason);
        }
        authority.emplace(line.folder);
        if (reason = authority->write(identity->authority); !reason.isEmpty()) {
            return failed(reason);
        }
    }
    Service service(line.settings);
    HttpServer server(service, line.pace, line.logs);
    if (!server.start(identity)) {
        return failed(u"the server cannot be started: "_s + systemReason());
    }
    const QString url =
        (line.isPlain ? u"http://127.0.0.1:"_s : u"https://127.0.0.1:"_s) + QString::number(server.port());
    const QByteArray told =
        (authority.has_value() ? url + u' ' + authority->path() + u'\n' : QString(url + u'\n')).toUtf8();
    if (std::fputs(told.constData(), stdout) < 0 || std::fflush(stdout) != 0) {
        return failed(u"the address cannot be told: "_s + systemReason());
    }
    signals.waitForEnd(line.watchesInput);
    return kFine;
}

} // namespace

int main(int argc, char** argv) {
    const EndSignals signals; // Before any other thread is started.
    std::signal(SIGPIPE, SIG_IGN);
    const QCoreApplication application(argc, argv);
    CommandLine line;
    if (const std::optional<int> status = parse(QCoreApplication::arguments(), line); status.has_value()) {
        return *status;
    }
    return serve(line, signals);
}
