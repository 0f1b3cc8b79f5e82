// The transport's base: what each verb leaves for run(), what it answers when a transport knows no better, and its
// references.
#include "VKHttpImpl.h"

#include "HttpSupport.h"
#include "Support/VKTest.h"

#include <QBuffer>

using namespace Qt::StringLiterals;

namespace {

/// Looks at what it is to perform.
class Transport : public VKHttpImpl {
public:
    void setUrl(const QUrl& /*url*/) override {}
    [[nodiscard]] QUrl url() const override { return {}; }
    void setHeader(const QString& /*name*/, const QString& /*value*/) override {}
    [[nodiscard]] int httpResultCode() const override { return 0; }
    [[nodiscard]] QString errorMsg() const override { return {}; }
    [[nodiscard]] int error() const override { return 0; }
    [[nodiscard]] QByteArray readAllBytes() const override { return {}; }
    [[nodiscard]] QString readAllBytesAsString() const override { return {}; }
    [[nodiscard]] QString replyHeader(const QString& /*name*/) const override { return {}; }
    [[nodiscard]] bool hasReplyHeader(const QString& /*name*/) const override { return false; }

    int run() override {
        ++runs;
        return 42;
    }

    [[nodiscard]] std::int32_t method() const { return mMethod; }
    [[nodiscard]] QByteArray body() const { return mRequestBody; }
    [[nodiscard]] QIODevice* device() const { return mUploadDevice; }
    [[nodiscard]] std::int64_t uploadSize() const { return mUploadSize; }
    [[nodiscard]] QStringList partNames() const {
        QStringList names;
        for (CFIndex i = 0; i < partCount(); ++i) {
            names.append(part(i).name());
        }
        return names;
    }
    [[nodiscard]] QString user() const { return mUser; }
    [[nodiscard]] QString password() const { return mPassword; }
    [[nodiscard]] std::int32_t connectTimeout() const { return mConnectTimeout; }
    [[nodiscard]] bool ignoresSSLErrors() const { return mIgnoreSSLErrors; }
    [[nodiscard]] bool traces() const { return mDebugTrace; }
    [[nodiscard]] std::int64_t maxReplyBytes() const { return mMaxReplyBytes; }
    [[nodiscard]] VKProgress* progress() const { return mProgress.get(); }

    int runs = 0;
};

} // namespace

class VKHttpImplTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void aNewTransport();
    void verbs();
    void settings();
    void parts();
    void progressReferences();
};

void VKHttpImplTest::aNewTransport() {
    Transport transport;
    QCOMPARE(transport.method(), 0);
    QCOMPARE(transport.body(), QByteArray());
    QVERIFY(transport.device() == nullptr);
    QCOMPARE(transport.uploadSize(), std::int64_t{0});
    QCOMPARE(transport.connectTimeout(), 0);
    QVERIFY(transport.user().isEmpty());
    QVERIFY(transport.password().isEmpty());
    QVERIFY(!transport.ignoresSSLErrors());
    QVERIFY(!transport.traces());
    QVERIFY(transport.progress() == nullptr);
    QVERIFY(transport.partNames().isEmpty());
    QCOMPARE(transport.maxReplyBytes(), std::int64_t{0});
    QCOMPARE(transport.replyContentType(), QString());
    std::size_t total = 3;
    std::size_t done = 4;
    QCOMPARE(transport.transferAmounts(total, done), 1025);
    QCOMPARE(total, std::size_t{3});
    QCOMPARE(done, std::size_t{4});
}

void VKHttpImplTest::verbs() {
    Transport transport;
    QBuffer device;
    QCOMPARE(transport.post("1"), 42);
    QCOMPARE(transport.method(), 1);
    QCOMPARE(transport.body(), QByteArray("1"));
    QCOMPARE(transport.patch("2"), 42);
    QCOMPARE(transport.method(), 2);
    QCOMPARE(transport.body(), QByteArray("2"));
    QCOMPARE(transport.deleteBytes("4"), 42);
    QCOMPARE(transport.method(), 4);
    QCOMPARE(transport.body(), QByteArray("4"));
    QCOMPARE(transport.get(), 42);
    QCOMPARE(transport.method(), 5);
    QCOMPARE(transport.getBytes("6"), 42);
    QCOMPARE(transport.method(), 6);
    QCOMPARE(transport.body(), QByteArray("6"));
    QCOMPARE(transport.put(&device, 7), 42);
    QCOMPARE(transport.method(), 7);
    QCOMPARE(transport.device(), &device);
    QCOMPARE(transport.uploadSize(), std::int64_t{7});
    QCOMPARE(transport.postMultipart(), 42);
    QCOMPARE(transport.method(), 8);
    QCOMPARE(transport.runs, 7);
}

void VKHttpImplTest::settings() {
    Transport transport;
    transport.setBasicAuthentication(u"a"_s, u"b"_s);
    transport.setConnectTimeout(4000);
    transport.setIgnoreSSLErrors(true);
    transport.setDebugTrace(true);
    transport.setMaxReplyBytes(5);
    QCOMPARE(transport.user(), u"a"_s);
    QCOMPARE(transport.password(), u"b"_s);
    QCOMPARE(transport.connectTimeout(), 4000);
    QVERIFY(transport.ignoresSSLErrors());
    QVERIFY(transport.traces());
    QCOMPARE(transport.maxReplyBytes(), std::int64_t{5});
    QCOMPARE(transport.runs, 0);
}

void VKHttpImplTest::parts() {
    const auto first = HttpTest::makePart(u"first"_s, "x");
    {
        Transport transport;
        transport.addPart(first.get());
        transport.addPart(HttpTest::makePart(u"second"_s, "y").get()); // the only reference is the list's
        transport.addPart(nullptr);
        const QStringList names{u"first"_s, u"second"_s};
        QCOMPARE(transport.partNames(), names);
        QCOMPARE(first->AddRef(), 3U);
        QCOMPARE(first->Release(), 2U);
    }
    QCOMPARE(first->AddRef(), 2U);
    QCOMPARE(first->Release(), 1U);
}

void VKHttpImplTest::progressReferences() {
    Transport transport;
    VKProgress* const progress = VKProgressCreate(nullptr, nullptr);
    transport.setProgress(progress);
    VKProgressRelease(progress);
    // The last reference is the transport's: setting the same one must not give it back first.
    transport.setProgress(progress);
    VKProgressSetCancel(progress, true);
    QVERIFY(VKProgressGetCancel(transport.progress()));
    transport.setProgress(nullptr);
    QVERIFY(transport.progress() == nullptr);
}

VKTEST_MAIN(VKHttpImplTest)
#include "VKHttpImplTest.moc"
