// Two hundred threads that transfer at once, each with an object of its own, against one server.
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"
#include "Support/WebServers.h"

#include <VKCoreKit/VKProgress.h>
#include <VKHttp.h>
#include <VKHttpOp.h>

#include <QBuffer>

#include <atomic>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

using WebServers::Nginx;

namespace {

constexpr int kThreads = 200;

/// What a thread of the given number stores and reads back.
QByteArray contentOf(int number) { return QByteArray::number(number).repeated(2000 + number); }

/// Runs the work on all threads at once, as far as the machine can, and counts those that succeeded.
template <typename Work>
int succeededOf(int threads, Work work) {
    std::atomic<int> succeeded = 0;
    std::latch start(threads);
    std::vector<std::thread> running;
    running.reserve(static_cast<std::size_t>(threads));
    for (int number = 0; number < threads; ++number) {
        running.emplace_back([&, number] {
            start.arrive_and_wait();
            succeeded += work(number) ? 1 : 0;
        });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
    return succeeded;
}

} // namespace

class VKHttpThreadsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void firstTransfersWithoutStartUp();
    void anObjectEach();
    void oneAfterTheOther();
    void oneProgressForAll();

private:
    std::unique_ptr<Nginx> mNginx;
};

void VKHttpThreadsTest::initTestCase() {
    if (Nginx::canBeMade()) {
        mNginx = std::make_unique<Nginx>(makeFolder(QStringLiteral("nginx")).toUtf8());
    }
}

#define NEEDS_NGINX() VKTEST_NEEDS(mNginx, "nginx-light and libnginx-mod-http-dav-ext")

/// The first of the program: what the transport sets up once is set up by all of them at the same time.
void VKHttpThreadsTest::firstTransfersWithoutStartUp() {
    NEEDS_NGINX();
    const int succeeded = succeededOf(16, [this](int) {
        VKHttp http;
        http.setUrl(mNginx->url("/small"));
        http.get();
        return http.error() == 0 && http.httpResultCode() == 200 && http.readAllBytes().size() == 200;
    });
    QCOMPARE(succeeded, 16);
}

void VKHttpThreadsTest::anObjectEach() {
    NEEDS_NGINX();
    const int succeeded = succeededOf(kThreads, [this](int number) {
        const QByteArray place = "/dav/thread " + QByteArray::number(number);
        QByteArray content = contentOf(number);
        QBuffer device(&content);
        VKHttp http;
        http.setHeader(QStringLiteral("X-Thread"), QString::number(number));
        http.setUrl(mNginx->url(place));
        if (!device.open(QIODevice::ReadOnly) || http.put(&device, content.size()) != 0 ||
            http.httpResultCode() != 201) {
            return false;
        }
        VKHttp reader;
        reader.setUrl(mNginx->url(place));
        reader.get();
        VKHttpOp op;
        const bool isRead =
            op.processReply(reader) && op.result.success() && reader.readAllBytes() == content;
        reader.deleteBytes(QByteArray());
        return isRead && reader.httpResultCode() == 204;
    });
    QVERIFY2(succeeded == kThreads, mNginx->complaints().constData());
}

void VKHttpThreadsTest::oneAfterTheOther() {
    NEEDS_NGINX();
    // Made on one thread, used on a second, destroyed on a third.
    auto http = std::make_unique<VKHttp>();
    http->setUrl(mNginx->url("/connection"));
    http->get();
    const QByteArray connection = http->readAllBytes();
    QByteArray again;
    std::thread([&] {
        http->get();
        again = http->readAllBytes();
    }).join();
    std::thread([&] { http.reset(); }).join();
    QVERIFY(!connection.isEmpty());
    QCOMPARE(again, connection);
}

void VKHttpThreadsTest::oneProgressForAll() {
    NEEDS_NGINX();
    Disk::makeFile(mNginx->files() + "endless", QByteArray(64 << 20, 'x'));
    VKProgress* const progress = VKProgressCreate(nullptr, nullptr);
    std::latch moving(16);
    std::thread canceller([&] {
        moving.wait();
        VKProgressSetCancel(progress, true);
    });
    const int cancelled = succeededOf(16, [&](int) {
        VKHttp http;
        http.setProgress(progress);
        http.setUrl(mNginx->url("/slow/endless"));
        moving.count_down();
        http.get();
        return http.error() == 1007 && http.httpResultCode() == 0;
    });
    canceller.join();
    VKProgressRelease(progress);
    QCOMPARE(cancelled, 16);
}

VKTEST_MAIN(VKHttpThreadsTest)
#include "VKHttpThreadsTest.moc"
