// What a request asks of the kernel, call by call: the program runs itself under strace, fetches 200 bytes from
// nginx many times with one object, and reads the record.
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"
#include "Support/WebServers.h"

#include <VKHttp.h>

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

#include <cstdio>
#include <cstring>
#include <memory>
#include <unistd.h>

using WebServers::Nginx;

namespace {

const char* const kFetchMode = "--fetch";
const char* const kMark = "a request begins or ends";
constexpr int kFirstRequests = 10;
constexpr int kRequests = 100;
constexpr int kMostCalls = 6;

void mark() {
    // A call that nothing else makes, so that the record shows where the requests lie in it.
    if (::access(kMark, F_OK) == 0) {
        std::abort();
    }
}

/// The traced program. The first requests, which connect and find memory, are before the first mark.
int fetchManyTimes(const char* verb, const char* url) {
    VKHttp http;
    http.setUrl(QUrl(QString::fromUtf8(url)));
    int good = 0;
    for (int i = 0; i < kFirstRequests + kRequests; ++i) {
        if (i >= kFirstRequests) {
            mark();
        }
        static_cast<void>(std::strcmp(verb, "get") == 0 ? http.get() : http.post("{\"id\": 1}"));
        good += http.error() == 0 && http.readAllBytes().size() == 200 ? 1 : 0;
    }
    mark();
    std::printf("%d\n", good);
    return 0;
}

/// The names of the calls between each mark and the next.
QList<QStringList> parseRecord(const QString& text) {
    static const QRegularExpression sCall(QStringLiteral("^(?:\\d+ +)?(\\w+)\\("));
    QList<QStringList> requests;
    QStringList* request = nullptr;
    for (const QString& line : text.split(u'\n', Qt::SkipEmptyParts)) {
        const QRegularExpressionMatch call = sCall.match(line);
        if (!call.hasMatch()) {
            continue;
        }
        if (line.contains(QString::fromUtf8(kMark))) {
            requests.append(QStringList());
            request = &requests.last();
        } else if (request != nullptr) {
            request->append(call.captured(1));
        }
    }
    if (!requests.isEmpty()) {
        requests.removeLast(); // what follows the last mark
    }
    return requests;
}

} // namespace

class VKHttpSystemCallsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void parsing();
    void calls_data();
    void calls();

private:
    QString mStrace;
    std::unique_ptr<Nginx> mNginx;
};

void VKHttpSystemCallsTest::initTestCase() {
    mStrace = QStandardPaths::findExecutable(QStringLiteral("strace"));
    if (Nginx::canBeMade()) {
        mNginx = std::make_unique<Nginx>(makeFolder(QStringLiteral("nginx")).toUtf8());
    }
}

void VKHttpSystemCallsTest::parsing() {
    const QString begin = QStringLiteral("12 access(\"") + QString::fromUtf8(kMark) +
                          QStringLiteral("\", F_OK) = -1 ENOENT (No such file or directory)\n");
    const QString send = QStringLiteral("12 sendto(5, \"GET\", 3, 0, NULL, 0) = 3\n");
    const QString resumed = QStringLiteral("12 <... poll resumed>) = 1\n");
    QCOMPARE(parseRecord(send), QList<QStringList>());
    QCOMPARE(parseRecord(send + begin + send + resumed + begin + send),
             QList<QStringList>{{QStringLiteral("sendto")}});
    QCOMPARE(parseRecord(begin + begin + send + send + begin),
             (QList<QStringList>{{}, {QStringLiteral("sendto"), QStringLiteral("sendto")}}));
}

void VKHttpSystemCallsTest::calls_data() {
    QTest::addColumn<QString>("verb");
    QTest::addColumn<bool>("repliesAtOnce");
    QTest::newRow("get, the reply is there at once") << QStringLiteral("get") << true;
    QTest::newRow("post, the reply is there at once") << QStringLiteral("post") << true;
    QTest::newRow("get, the reply comes when it comes") << QStringLiteral("get") << false;
}

void VKHttpSystemCallsTest::calls() {
    VKTEST_NEEDS(!mStrace.isEmpty() && mNginx, "strace, nginx-light and libnginx-mod-http-dav-ext");
    QFETCH(QString, verb);
    QFETCH(bool, repliesAtOnce);
    const QString record = makeFolder() + QStringLiteral("/record");
    QStringList words{QStringLiteral("-f"), QStringLiteral("-o"), record};
    if (repliesAtOnce) {
        // The client is held after each send, so that it does not have to wait: waiting has calls of its own, and
        // how often it happens is the server's doing.
        words << QStringLiteral("--inject=sendto:delay_exit=5000");
    }
    words << QCoreApplication::applicationFilePath() << QString::fromUtf8(kFetchMode) << verb
          << mNginx->url("/small").toString();
    QProcess process;
    process.start(mStrace, words);
    QVERIFY2(process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit,
             qPrintable(process.errorString()));
    QCOMPARE(process.readAllStandardOutput().trimmed(), QByteArray::number(kFirstRequests + kRequests));

    const QList<QStringList> requests = parseRecord(QString::fromUtf8(Disk::contentOf(record.toUtf8())));
    QCOMPARE(requests.size(), kRequests);
    qsizetype all = 0;
    for (const QStringList& request : requests) {
        // Sent once, received once; nothing is opened, mapped or looked up, and no signal is touched.
        const QByteArray seen = request.join(u' ').toUtf8();
        QVERIFY2(request.count(QStringLiteral("sendto")) == 1, seen.constData());
        QVERIFY2(request.count(QStringLiteral("recvfrom")) == 1, seen.constData());
        QVERIFY2(request.count(QStringLiteral("poll")) == request.size() - 2, seen.constData());
        all += request.size();
    }
    if (repliesAtOnce) {
        const QByteArray seen = QByteArray::number(all) + ": " + requests.last().join(u' ').toUtf8();
        QVERIFY2(all <= kMostCalls * kRequests, seen.constData());
    }
}

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], kFetchMode) == 0) {
        return fetchManyTimes(argv[2], argv[3]);
    }
    return vkTestRun(argc, argv,
                     [] { return std::unique_ptr<QObject>(std::make_unique<VKHttpSystemCallsTest>()); });
}
#include "VKHttpSystemCallsTest.moc"
