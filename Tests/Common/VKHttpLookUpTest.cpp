// A name look-up that no name server answers: who cancels, or allowed a second to connect, does not wait for it.
#include "Support/VKTest.h"

#include <VKCoreKit/VKProgress.h>
#include <VKHttp.h>

#include <atomic>
#include <chrono>
#include <dlfcn.h>
#include <memory>
#include <netdb.h>
#include <semaphore>
#include <thread>

namespace {

constexpr int kCancelled = 1007;
constexpr int kTimedOut = 1081;

/// So long is a look-up held at most, so that a transfer that waits for it fails the test instead of hanging.
constexpr std::chrono::seconds kHeldAtMost(30);

std::atomic<bool> gHolds = false;
std::binary_semaphore gAsked(0);    // a look-up begins
std::binary_semaphore gMayEnd(0);   // it may end
std::binary_semaphore gHasEnded(0); // it ends
std::atomic<bool> gWasLetGo = false;

} // namespace

/// The program's own, which stands before the C library's for everything in it, libcurl included.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** result) {
    if (gHolds) {
        gAsked.release();
        gWasLetGo = gMayEnd.try_acquire_for(kHeldAtMost);
        gHasEnded.release();
        return EAI_AGAIN;
    }
    using Function = decltype(&getaddrinfo);
    static const auto sNext = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    return sNext(name, service, hints, result);
}

class VKHttpLookUpTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void silentNameServer_data();
    void silentNameServer();
};

void VKHttpLookUpTest::initTestCase() { qputenv("no_proxy", "*"); }

void VKHttpLookUpTest::silentNameServer_data() {
    QTest::addColumn<bool>("cancels");
    QTest::addColumn<int>("error");
    QTest::newRow("cancelled") << true << kCancelled;
    QTest::newRow("no connection in time") << false << kTimedOut;
}

void VKHttpLookUpTest::silentNameServer() {
    QFETCH(bool, cancels);
    QFETCH(int, error);
    const std::unique_ptr<VKProgress, decltype(&VKProgressRelease)> progress(
        VKProgressCreate(nullptr, nullptr), &VKProgressRelease);
    auto http = std::make_unique<VKHttp>();
    http->setUrl(QUrl(QStringLiteral("http://photo.test/")));
    http->setProgress(progress.get());
    http->setConnectTimeout(cancels ? 0 : 300);
    gHolds = true;
    std::thread canceller([&] {
        gAsked.acquire();
        VKProgressSetCancel(progress.get(), cancels);
    });
    http->get();
    canceller.join();
    QCOMPARE(http->error(), error);
    QCOMPARE(http->httpResultCode(), 0);
    // The object may go while the look-up still waits.
    http.reset();
    gHolds = false;
    gMayEnd.release();
    gHasEnded.acquire();
    QVERIFY(gWasLetGo);
}

VKTEST_MAIN(VKHttpLookUpTest)
#include "VKHttpLookUpTest.moc"
