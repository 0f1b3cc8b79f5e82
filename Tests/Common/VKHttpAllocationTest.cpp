// What a request costs in memory besides what libcurl takes itself, and that a reply's stated length is believed up to
// a limit only.
#include "HttpSupport.h"
#include "Support/AllocationCounter.h"
#include "Support/VKTest.h"
#include "VKHttpCurlLibrary.h"
#include "VKHttpTransferRules.h"

using namespace Qt::StringLiterals;
using Reply = RecordingServer::Reply;

class VKHttpAllocationTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void smallRequests();
    void aBodyIsAllocatedOnce();
    void statedLengthIsBelievedUpToALimit();
};

namespace {

/// A reply as web servers send it, with a body of 200 bytes.
Reply usualReply(int number) {
    return Reply::status(
        "200 OK", QByteArray(200, static_cast<char>('a' + number % 26)), "text/plain",
        "Server: nginx/1.22.1\r\nDate: Sat, 21 Nov 2026 17:00:0" + QByteArray::number(number % 10) +
            " GMT\r\nLast-Modified: Sat, 21 Nov 2026 16:00:00 GMT\r\nConnection: keep-alive\r\n"
            "ETag: \"6740b1a0-c8\"\r\nAccept-Ranges: bytes\r\n");
}

std::size_t drop(char* /*bytes*/, std::size_t size, std::size_t count, void* /*self*/) {
    return size * count;
}

/// The same request by libcurl alone: reset, the options, perform.
int allocationsOfLibcurl(CURL* curl, const QByteArray& url) {
    const VKHttpCurlLibrary& library = *VKHttpCurlLibrary::shared();
    const AllocationCounter counter;
    library.easyReset(curl);
    library.easySetopt(curl, CURLOPT_NOSIGNAL, 1L);
    library.easySetopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    library.easySetopt(curl, CURLOPT_BUFFERSIZE, 512L * 1024);
    library.easySetopt(curl, CURLOPT_URL, url.constData());
    library.easySetopt(curl, CURLOPT_HEADERFUNCTION, &drop);
    library.easySetopt(curl, CURLOPT_WRITEFUNCTION, &drop);
    library.easyPerform(curl);
    return counter.count();
}

} // namespace

void VKHttpAllocationTest::smallRequests() {
    VKTEST_NEEDS_ALLOCATION_COUNTS();
    RecordingServer server;
    const QUrl url = server.url();
    const auto http = HttpTest::makeTransport(url);
    const VKHttpCurlLibrary& library = *VKHttpCurlLibrary::shared();
    CURL* const curl = library.easyInit();
    int ours = 0;
    int bare = 0;
    constexpr int kWarmUp = 3;
    constexpr int kRequests = 20;
    for (int i = 0; i < kWarmUp + kRequests; ++i) {
        server.reply(usualReply(i));
        {
            const AllocationCounter counter;
            http->setUrl(url);
            http->get();
            ours += i < kWarmUp ? 0 : counter.count();
        }
        QCOMPARE(http->readAllBytes(), QByteArray(200, static_cast<char>('a' + i % 26)));
        server.reply(usualReply(i));
        const int allocations = allocationsOfLibcurl(curl, url.toEncoded());
        bare += i < kWarmUp ? 0 : allocations;
    }
    library.easyCleanup(curl);
    const double more = double(ours - bare) / kRequests;
    qInfo("%.2f allocations besides libcurl's %.2f", more, double(bare) / kRequests);
    QVERIFY2(more <= 4, qPrintable(QString::number(more)));
}

void VKHttpAllocationTest::aBodyIsAllocatedOnce() {
    VKTEST_NEEDS_ALLOCATION_COUNTS();
    RecordingServer server;
    constexpr qsizetype kPiece = 1 << 20;
    constexpr qint64 kPieces = 30;
    server.reply(
        Reply::raw("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(kPiece * kPieces) + "\r\n\r\n")
            .repeat(QByteArray(kPiece, 'x'), kPieces));
    const auto http = HttpTest::makeTransport(server.url());
    std::size_t largest = 0;
    {
        const AllocationCounter counter;
        http->get();
        largest = counter.largest();
    }
    QCOMPARE(http->readAllBytes().size(), kPiece * kPieces);
    // A few bytes more for the array's own head.
    QVERIFY2(largest >= kPiece * kPieces && largest < kPiece * kPieces + 64,
             qPrintable(QString::number(largest)));
}

void VKHttpAllocationTest::statedLengthIsBelievedUpToALimit() {
    VKTEST_NEEDS_ALLOCATION_COUNTS();
    RecordingServer server;
    server.reply(Reply::raw("HTTP/1.1 200 OK\r\nContent-Length: 9000000000000\r\n\r\nbody").close());
    const auto http = HttpTest::makeTransport(server.url());
    std::size_t largest = 0;
    {
        const AllocationCounter counter;
        http->get();
        largest = counter.largest();
    }
    QCOMPARE(http->error(), 18);
    QCOMPARE(http->readAllBytes(), QByteArray("body"));
    QVERIFY2(largest < std::size_t{kVKHttpMaxBelievedLength} + 64, qPrintable(QString::number(largest)));
}

VKTEST_MAIN(VKHttpAllocationTest)
#include "VKHttpAllocationTest.moc"
