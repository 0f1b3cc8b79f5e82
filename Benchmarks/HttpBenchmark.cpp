// Requests to nginx on this machine: 200 bytes many times over one connection, and a body of 100 MB into memory; the
// library beside libcurl alone and the framework's client. Counted beside the time: the instructions of one request,
// by callgrind, because the time of a request is mostly the kernel's and the server's.
#include "HttpClients.h"

#include "Support/ShellCommand.h"
#include "Support/WebServers.h"

#include <VKHttp.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

namespace {

constexpr qsizetype kSmallBytes = 200;
constexpr qsizetype kLargeBytes = qsizetype(100) * 1000 * 1000;
constexpr int kSmallRequests = 300;
const char* const kRequestsMode = "--requests";

using MakeClient = std::function<std::unique_ptr<HttpClient>()>;

[[noreturn]] void stop(const char* sentence) {
    std::fprintf(stderr, "HttpBenchmark: %s\n", sentence);
    std::exit(2);
}

MakeClient clientOf(const std::string& name, qsizetype reserve) {
    if (name == "VKHttp") {
        return makeLibraryClient;
    }
    if (name == "libcurl") {
        return [reserve] { return makeBareClient(reserve); };
    }
    return makeFrameworkClient;
}

void fetch(HttpClient& client, const QString& url, qsizetype size) {
    if (client.get(url).size() != size) {
        stop("a body has another size");
    }
}

/// What callgrind counts in this program while it makes so many requests.
double instructionsOfRun(const std::string& client, int requests, const QString& url) {
    const QByteArray command = "valgrind --tool=callgrind --callgrind-out-file=/dev/null " +
                               QCoreApplication::applicationFilePath().toUtf8() + ' ' + kRequestsMode + ' ' +
                               QByteArray::fromStdString(client) + ' ' + QByteArray::number(requests) + ' ' +
                               url.toUtf8() + " 2>&1";
    const Shell::Output run = Shell::outputOf(command);
    const QByteArray label = "Collected : ";
    const qsizetype at = run.text.indexOf(label);
    if (run.status != 0 || at < 0) {
        std::fputs(run.text.constData(), stderr);
        stop("valgrind could not count");
    }
    return run.text.mid(at + label.size()).split('\n').front().trimmed().toDouble();
}

/// Of one request on an object that has its connection: starting and connecting cancel out.
double instructionsOfRequest(const std::string& client, const QString& url) {
    constexpr int kFew = 100;
    constexpr int kMany = 600;
    const double more = instructionsOfRun(client, kMany, url) - instructionsOfRun(client, kFew, url);
    return std::round(more / (kMany - kFew));
}

void addSmall(const std::string& name, const QString& url, bool countInstructions) {
    const double instructions = countInstructions ? instructionsOfRequest(name, url) : 0;
    const MakeClient make = clientOf(name, 0);
    benchmark::RegisterBenchmark(("small/" + name).c_str(),
                                 [=](benchmark::State& state) {
                                     const std::unique_ptr<HttpClient> client = make();
                                     fetch(*client, url, kSmallBytes);
                                     while (state.KeepRunning()) {
                                         fetch(*client, url, kSmallBytes);
                                     }
                                     state.SetItemsProcessed(state.iterations());
                                     state.counters["instructions"] = instructions;
                                 })
        ->UseRealTime()
        ->Iterations(kSmallRequests);
}

void addLarge(const std::string& name, const QString& small, const QString& large) {
    const MakeClient make = clientOf(name, kLargeBytes);
    benchmark::RegisterBenchmark(("large/" + name).c_str(),
                                 [=](benchmark::State& state) {
                                     const std::unique_ptr<HttpClient> client = make();
                                     fetch(*client, small, kSmallBytes);
                                     while (state.KeepRunning()) {
                                         fetch(*client, large, kLargeBytes);
                                     }
                                     state.SetItemsProcessed(state.iterations());
                                 })
        ->UseRealTime()
        ->Iterations(3);
}

/// What runs under valgrind.
int makeRequests(const std::string& client, int requests, const QString& url) {
    const std::unique_ptr<HttpClient> http = clientOf(client, 0)();
    for (int i = 0; i < requests; ++i) {
        fetch(*http, url, kSmallBytes);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    VKHttp::startup();
    if (argc == 5 && std::string(argv[1]) == kRequestsMode) {
        return makeRequests(argv[2], std::atoi(argv[3]), QString::fromUtf8(argv[4]));
    }
    if (!WebServers::Nginx::canBeMade() ||
        QStandardPaths::findExecutable(QStringLiteral("valgrind")).isEmpty()) {
        stop("nginx and valgrind are needed (packages nginx-light, libnginx-mod-http-dav-ext, valgrind)");
    }
    const QTemporaryDir folder;
    const WebServers::Nginx nginx(folder.path().toUtf8());
    Disk::makeFile(nginx.files() + "large", QByteArray(kLargeBytes, 'x'));
    const QString small = nginx.url("/small").toString();
    const QString large = nginx.url("/files/large").toString();
    addSmall("VKHttp", small, true);
    addSmall("libcurl", small, true);
    addSmall("QNetworkAccessManager", small, false);
    for (const char* client : {"VKHttp", "libcurl", "QNetworkAccessManager"}) {
        addLarge(client, small, large);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
