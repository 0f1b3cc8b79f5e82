// The service runs beside the tour for as long as the chapter. It speaks plain HTTP, on loopback: over TLS its authority, made
// a moment ago, would have to join those that the whole system trusts.
#include "TourAccount.h"

#include <QProcess>

namespace VKTool {

namespace {

using namespace Qt::StringLiterals;

constexpr int kLookMs = 50;
constexpr int kLongestMs = 10'000;

/// The service's base URL, which it tells once it serves; empty when it does not.
QString addressOf(QProcess& service, const Tour& tour) {
    for (int waited = 0; waited < kLongestMs && !tour.isCancelled(); waited += kLookMs) {
        if (service.canReadLine() || service.waitForReadyRead(kLookMs)) {
            return QString::fromUtf8(service.readLine()).trimmed();
        }
        if (service.state() == QProcess::NotRunning) {
            break;
        }
    }
    return {};
}

void showCalls(Tour& tour, const QString& url) {
    tour.show({u"http"_s, u"get"_s, u"--json"_s, url + u"/status/200"_s});
    tour.show({u"http"_s, u"post"_s, u"--data"_s, u"{}"_s, url + u"/login"_s}, {kExitFailed});
    tour.show({u"http"_s, u"get"_s, url + u"/fault/cut-off/products"_s}, {kExitFailed});
    const QStringList login = {u"account"_s, u"login"_s, u"demo@example.test"_s, u"--service"_s, url};
    tour.say(u"A login with a wrong password, then with the right one; both come on standard input"_s);
    tour.show(login, {kExitFailed}, "silver-hour\n");
    tour.show(login, {kExitFine}, "golden-hour\n");
    tour.show({u"account"_s, u"products"_s});
    tour.show({u"account"_s, u"products"_s, u"--language"_s, u"de"_s, u"--edition"_s, u"home"_s});
    tour.show({u"account"_s, u"logout"_s});
    tour.show({u"account"_s, u"products"_s}, {kExitFailed});
}

} // namespace

void showAccount(Tour& tour, const QString& program) {
    tour.begin(u"requests and account"_s,
               u"HTTP requests, and the account service: a demonstration of it on this machine"_s);
    if (program.isEmpty()) {
        tour.leaveOut(u"the demonstration service is not built"_s);
        return;
    }
    const auto service = tour.start(program, {u"--plain"_s, u"--until-input-ends"_s});
    const QString url = addressOf(*service, tour);
    tour.expect(!url.isEmpty() || tour.isCancelled(), u"the demonstration service did not start"_s);
    if (!url.isEmpty()) {
        showCalls(tour, url);
    }
    service->closeWriteChannel();
    const bool hasEnded = service->waitForFinished() && service->exitCode() == 0;
    tour.expect(hasEnded, u"the demonstration service did not end by itself"_s);
}

} // namespace VKTool
