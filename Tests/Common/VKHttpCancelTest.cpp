// Transfers that end before their time: cancelled from another thread at any moment, before a silent server, by a
// time-out, for want of a host. Nothing leaks, and the object goes on.
#include "Support/DiskSupport.h"
#include "Support/MountSupport.h"
#include "Support/VKTest.h"
#include "Support/WebServers.h"

#include <VKCoreKit/VKProgress.h>
#include <VKHttp.h>
#include <VKHttpOp.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <latch>
#include <malloc.h>
#include <memory>
#include <netinet/in.h>
#include <random>
#include <semaphore>
#include <sys/socket.h>
#include <thread>
#include <vector>

using WebServers::Listener;
using WebServers::Nginx;

namespace {

constexpr int kCancelled = 1007;
constexpr int kTimedOut = 1081;
constexpr int kHostNotResolved = 1105;
constexpr int kFileSize = 1 << 20;

using Progress = VKOwnedProgress;

Progress makeProgress() { return Progress(VKProgressCreate(nullptr, nullptr)); }

qsizetype openDescriptors() { return Disk::namesIn("/proc/self/fd").size(); }

/// What this thread's allocator has handed out. A sanitizer's allocator is not asked, and finds leaks by itself.
std::size_t bytesInUse() {
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

QUrl urlOf(const Listener& listener) {
    QUrl url(QStringLiteral("http://127.0.0.1/photo"));
    url.setPort(listener.port());
    return url;
}

/// Sets the flag of a progress object at a random moment of each transfer, on a thread of its own.
class RandomCanceller {
public:
    explicit RandomCanceller(VKProgress* progress) : mProgress(progress), mThread([this] { work(); }) {}
    RandomCanceller(const RandomCanceller&) = delete;
    RandomCanceller& operator=(const RandomCanceller&) = delete;
    ~RandomCanceller() {
        mEnds = true;
        mBegin.release();
        mThread.join();
    }

    /// Runs the transfer, which says whether it completed, and cancels it at a random moment of a span of time. The
    /// span grows with each transfer that was cancelled and shrinks with each that was faster, so that both kinds
    /// occur on any machine.
    template <typename Transfer>
    void during(Transfer transfer) {
        VKProgressSetCancel(mProgress, false);
        mIsOver = false;
        // The other thread is awake before the transfer begins: waking it may take longer than a transfer.
        mBegin.release();
        mAwake.acquire();
        const bool completed = transfer();
        mIsOver = true;
        mDone.acquire();
        mSpan = completed ? mSpan * 9 / 10 : mSpan * 10 / 9;
    }

private:
    using Time = std::chrono::steady_clock::duration;

    void work() {
        std::minstd_rand random(20261121);
        for (mBegin.acquire(); !mEnds; mBegin.acquire()) {
            std::uniform_int_distribution<Time::rep> moments(0, mSpan.count());
            const Time wait(moments(random));
            mAwake.release();
            const auto moment = std::chrono::steady_clock::now() + wait;
            while (!mIsOver && std::chrono::steady_clock::now() < moment) {
            }
            VKProgressSetCancel(mProgress, true);
            mDone.release();
        }
    }

    VKProgress* mProgress;
    std::atomic<bool> mEnds = false;
    std::atomic<bool> mIsOver = false;
    Time mSpan = std::chrono::milliseconds(4); // changed between two transfers only
    std::binary_semaphore mBegin{0};
    std::binary_semaphore mAwake{0};
    std::binary_semaphore mDone{0};
    std::thread mThread;
};

/// A server that takes one request, says the words, tells that it did, and waits until the client has gone.
class SilentServer {
public:
    SilentServer(QByteArray words, std::function<void()> said)
        : mThread([this, words = std::move(words), said = std::move(said)] { serve(words, said); }) {}
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;
    ~SilentServer() { mThread.join(); }

    [[nodiscard]] QUrl url() const { return urlOf(mListener); }

private:
    void serve(const QByteArray& words, const std::function<void()>& said) {
        const int client = ::accept4(mListener.descriptor(), nullptr, nullptr, SOCK_CLOEXEC);
        Disk::must(client >= 0, "accept", "a client");
        QByteArray request;
        char block[4096];
        while (!request.contains("\r\n\r\n")) {
            const ssize_t got = ::recv(client, block, sizeof block, 0);
            Disk::must(got > 0, "receive", "a request");
            request.append(block, got);
        }
        Disk::must(::send(client, words.constData(), static_cast<std::size_t>(words.size()), MSG_NOSIGNAL) ==
                       words.size(),
                   "send", "some words");
        said();
        while (::recv(client, block, sizeof block, 0) > 0) {
        }
        ::close(client);
    }

    Listener mListener;
    std::thread mThread;
};

/// Cancels its own transfer in one of its reads.
class CancellingDevice : public QIODevice {
public:
    CancellingDevice(VKProgress* progress, int cancelAt) : mProgress(progress), mCancelAt(cancelAt) {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    [[nodiscard]] int reads() const { return mReads; }

protected:
    qint64 readData(char* data, qint64 size) override {
        ++mReads;
        if (mReads == mCancelAt) {
            VKProgressSetCancel(mProgress, true);
        }
        std::fill_n(data, size, 'x');
        return size;
    }
    qint64 writeData(const char* /*data*/, qint64 /*size*/) override { return -1; }

private:
    VKProgress* mProgress;
    int mCancelAt;
    int mReads = 0;
};

/// A port at which nobody takes up connections any more: new ones are neither accepted nor refused.
class FullListener {
public:
    FullListener() : mListener(0) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(mListener.port());
        for (int& waiting : mWaiting) {
            waiting = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
            const int result =
                ::connect(waiting, reinterpret_cast<const sockaddr*>(&address), sizeof address);
            Disk::must(waiting >= 0 && (result == 0 || errno == EINPROGRESS), "connect to", "the listener");
        }
    }
    FullListener(const FullListener&) = delete;
    FullListener& operator=(const FullListener&) = delete;
    ~FullListener() {
        for (const int waiting : mWaiting) {
            ::close(waiting);
        }
    }

    [[nodiscard]] QUrl url() const { return urlOf(mListener); }

private:
    Listener mListener;
    int mWaiting[4] = {};
};

} // namespace

class VKHttpCancelTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void randomMoments_data();
    void randomMoments();
    void cancelledBefore();
    void silentServer_data();
    void silentServer();
    void whileItConnects();
    void movingDownload();
    void movingUpload();
    void connectTimeout();
    void unresolvedHost();
    void failuresLeaveNothingOpen();

private:
    std::unique_ptr<Nginx> mNginx;
};

#define NEEDS_NGINX() VKTEST_NEEDS(mNginx, "nginx-light and libnginx-mod-http-dav-ext")

void VKHttpCancelTest::initTestCase() {
    VKHttp::startup();
    if (Nginx::canBeMade()) {
        mNginx = std::make_unique<Nginx>(makeFolder(QStringLiteral("nginx")).toUtf8());
        Disk::makeFile(mNginx->files() + "photo", QByteArray(kFileSize, 'x'));
    }
}

void VKHttpCancelTest::cleanupTestCase() {
    mNginx.reset();
    VKHttp::shutdown();
}

void VKHttpCancelTest::randomMoments_data() {
    QTest::addColumn<bool>("objectEach");
    QTest::newRow("one object for a thousand transfers") << false;
    QTest::newRow("an object for each of three hundred") << true;
}

void VKHttpCancelTest::randomMoments() {
    NEEDS_NGINX();
    QFETCH(bool, objectEach);
    const int rounds = objectEach ? 300 : 1000;
    const Progress progress = makeProgress();
    const auto makeObject = [&] {
        auto http = std::make_unique<VKHttp>();
        http->setUrl(mNginx->url("/files/photo"));
        http->setProgress(progress.get());
        return http;
    };
    auto http = makeObject();
    http->get();
    QCOMPARE(http->httpResultCode(), 200);

    RandomCanceller canceller(progress.get());
    int cancelled = 0;
    int completed = 0;
    qsizetype descriptors = 0;
    std::size_t bytes = 0;
    for (int round = 0; round < rounds; ++round) {
        if (objectEach) {
            http = makeObject();
        }
        canceller.during([&] { return http->get() == 0 && http->error() == 0; });
        if (http->error() == kCancelled) {
            QCOMPARE(http->httpResultCode(), 0);
            ++cancelled;
        } else {
            QCOMPARE(http->error(), 0);
            QCOMPARE(http->httpResultCode(), 200);
            QCOMPARE(http->readAllBytes().size(), kFileSize);
            ++completed;
        }
        if (round == rounds / 2 || round == rounds - 1) {
            // The same state both times: one object with one connection and one body.
            VKProgressSetCancel(progress.get(), false);
            http->get();
            QCOMPARE(http->httpResultCode(), 200);
            QCOMPARE(http->readAllBytes(), QByteArray(kFileSize, 'x'));
            if (round == rounds / 2) {
                descriptors = openDescriptors();
                bytes = bytesInUse();
            }
        }
    }
    QCOMPARE(openDescriptors(), descriptors);
    // Less than 20 bytes for each of the transfers since.
    QVERIFY2(bytesInUse() < bytes + 10000, qPrintable(QString::number(bytesInUse() - bytes)));
    qInfo("%d cancelled, %d completed", cancelled, completed);
    QVERIFY(cancelled > 0);
    QVERIFY(completed > 0);
}

void VKHttpCancelTest::cancelledBefore() {
    NEEDS_NGINX();
    const Progress progress = makeProgress();
    VKProgressSetCancel(progress.get(), true);
    VKHttp http;
    http.setUrl(mNginx->url("/files/photo"));
    http.setProgress(progress.get());
    QCOMPARE(http.get(), 0);
    QCOMPARE(http.error(), kCancelled);
    QCOMPARE(http.httpResultCode(), 0);
    VKHttpOp op;
    QVERIFY(!op.processReply(http));
    QCOMPARE(op.result.error, kCancelled);
    // The flag belongs to the progress object: without it, or once it is cleared, transfers run.
    http.setProgress(nullptr);
    http.get();
    QCOMPARE(http.httpResultCode(), 200);
    http.setProgress(progress.get());
    http.get();
    QCOMPARE(http.error(), kCancelled);
    VKProgressSetCancel(progress.get(), false);
    http.get();
    QCOMPARE(http.error(), 0);
    QCOMPARE(http.httpResultCode(), 200);
}

void VKHttpCancelTest::silentServer_data() {
    QTest::addColumn<QByteArray>("words");
    QTest::newRow("nothing is said") << QByteArray();
    QTest::newRow("half of the headers") << QByteArray("HTTP/1.1 200 OK\r\nContent-Le");
    QTest::newRow("half of the body") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf");
}

/// Nothing moves and nothing ever will: only the flag can end this.
void VKHttpCancelTest::silentServer() {
    QFETCH(QByteArray, words);
    const Progress progress = makeProgress();
    const SilentServer server(words, [&] { VKProgressSetCancel(progress.get(), true); });
    VKHttp http;
    http.setUrl(server.url());
    http.setProgress(progress.get());
    QCOMPARE(http.get(), 0);
    QCOMPARE(http.error(), kCancelled);
    QCOMPARE(http.httpResultCode(), 0);
}

void VKHttpCancelTest::whileItConnects() {
    const FullListener listener;
    const Progress progress = makeProgress();
    std::latch begins(1);
    std::thread canceller([&] {
        begins.wait();
        VKProgressSetCancel(progress.get(), true);
    });
    VKHttp http;
    http.setUrl(listener.url());
    http.setProgress(progress.get());
    begins.count_down();
    http.get();
    canceller.join();
    QCOMPARE(http.error(), kCancelled);
    QCOMPARE(http.httpResultCode(), 0);
}

/// After the flag is set in the middle of a body, no more than a receive buffer is taken.
void VKHttpCancelTest::movingDownload() {
    NEEDS_NGINX();
    Disk::makeFile(mNginx->files() + "endless");
    Disk::must(::truncate(Disk::text(mNginx->files() + "endless"), off_t(1) << 30) == 0, "truncate", "it");
    struct Watch {
        VKProgress* progress = nullptr;
        std::uint64_t cancelledAt = 0;
    } watch;
    const Progress progress = makeProgress();
    watch.progress = progress.get();
    VKProgressSetByteObserver(
        progress.get(),
        [](const VKProgressBytes& bytes, void* context) {
            auto* const watching = static_cast<Watch*>(context);
            if (bytes.done > 0 && watching->cancelledAt == 0) {
                watching->cancelledAt = bytes.done;
                VKProgressSetCancel(watching->progress, true);
            }
        },
        &watch);
    VKHttp http;
    http.setUrl(mNginx->url("/slow/endless"));
    http.setProgress(progress.get());
    http.get();
    QCOMPARE(http.error(), kCancelled);
    QCOMPARE(http.httpResultCode(), 0);
    QVERIFY(watch.cancelledAt > 0);
    const auto taken = static_cast<std::uint64_t>(http.readAllBytes().size());
    QVERIFY2(taken <= watch.cancelledAt + (1U << 20U), qPrintable(QString::number(taken)));
}

void VKHttpCancelTest::movingUpload() {
    NEEDS_NGINX();
    const Progress progress = makeProgress();
    constexpr int kCancelAt = 5;
    CancellingDevice device(progress.get(), kCancelAt);
    VKHttp http;
    http.setUrl(mNginx->url("/dav/endless.raw"));
    http.setProgress(progress.get());
    http.put(&device, qint64(1) << 40);
    QCOMPARE(http.error(), kCancelled);
    QCOMPARE(http.httpResultCode(), 0);
    QVERIFY2(device.reads() <= kCancelAt + 1, qPrintable(QString::number(device.reads())));
    QVERIFY(!Disk::exists(mNginx->files() + "endless.raw"));
}

void VKHttpCancelTest::connectTimeout() {
    const FullListener listener;
    VKHttp http;
    http.setConnectTimeout(300);
    http.setUrl(listener.url());
    QCOMPARE(http.get(), 0);
    QCOMPARE(http.error(), kTimedOut);
    QCOMPARE(http.httpResultCode(), 0);
    VKHttpOp op;
    QVERIFY(!op.processReply(http));
    QCOMPARE(op.result.message,
             QString(QStringLiteral("Error: 1081 -  HttpCode: 0 Url: ") + listener.url().toString()));
}

void VKHttpCancelTest::unresolvedHost() {
    std::unique_ptr<Mounts::Mounted> rules;
    if (Disk::isRoot()) {
        // Without asking a name server, which may not be there and be waited for.
        const QByteArray file = makeFolder().toUtf8() + "/nsswitch.conf";
        Disk::makeFile(file, "hosts: files\n");
        rules = std::make_unique<Mounts::Mounted>("--bind " + file, "/etc/nsswitch.conf");
        QVERIFY2(rules->isMounted(), rules->message());
    }
    VKHttp http;
    http.setUrl(QUrl(QStringLiteral("http://nowhere.invalid/photo")));
    QCOMPARE(http.get(), 0);
    QCOMPARE(http.error(), kHostNotResolved);
    QCOMPARE(http.httpResultCode(), 0);
    VKHttpOp op;
    QVERIFY(!op.processReply(http));
    QCOMPARE(op.result.message,
             QStringLiteral("Error: 1105 -  HttpCode: 0 Url: http://nowhere.invalid/photo"));
}

void VKHttpCancelTest::failuresLeaveNothingOpen() {
    Listener listener;
    const QUrl refused = urlOf(listener);
    listener.close();
    const qsizetype before = openDescriptors();
    std::vector<std::unique_ptr<VKHttp>> objects;
    for (int i = 0; i < 50; ++i) {
        auto http = std::make_unique<VKHttp>();
        http->setUrl(refused);
        http->get();
        QCOMPARE(http->error(), 7);
        objects.push_back(std::move(http));
    }
    objects.clear();
    QCOMPARE(openDescriptors(), before);
}

VKTEST_MAIN_WITH_OWN_MOUNTS(VKHttpCancelTest)
#include "VKHttpCancelTest.moc"
