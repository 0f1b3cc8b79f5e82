// TLS against nginx: which certificates are refused, whatever is set; an authority that the system trusts; HTTP/2.
// The program has mounts of its own, so that "the system" is a folder of the test's.
#include "Support/DiskSupport.h"
#include "Support/MountSupport.h"
#include "Support/VKTest.h"
#include "Support/WebServers.h"

#include <VKAppMgrAPI.h>
#include <VKHttp.h>
#include <VKHttpOp.h>

#include <QBuffer>
#include <QRegularExpression>

#include <memory>

using WebServers::Certificates;
using WebServers::Nginx;

namespace {

/// libcurl's code for a certificate or a host name that is not accepted.
constexpr int kPeerFailedVerification = 60;

enum class Trust { Nobody, OurAuthority };
enum class HostName { Checked, Ignored };

struct Outcome {
    int error = -1;
    int httpCode = -1;
    QByteArray body;
};

Outcome fetch(const QUrl& url, HostName hostName) {
    VKHttp http;
    http.setIgnoreSSLErrors(hostName == HostName::Ignored);
    http.setUrl(url);
    http.get();
    return {http.error(), http.httpResultCode(), http.readAllBytes()};
}

} // namespace

Q_DECLARE_METATYPE(Trust)
Q_DECLARE_METATYPE(HostName)
Q_DECLARE_METATYPE(WebServers::Nginx::Tls)

class VKHttpTlsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void trust_data();
    void trust();
    void trustIsTheSystems();
    void refusalLeavesTheObjectUsable();
    void hostNameIsCheckedAgain();
    void accountServiceOfAnotherName();
    void protocol_data();
    void protocol();
    void headerNamesOfHttp2AreLowerCase();
    void uploadOverHttp2();
    void largeFileOverHttp2();
    void jsonOverHttp2();

private:
    std::unique_ptr<Certificates> mCertificates;
    std::unique_ptr<Nginx> mNginx;
};

void VKHttpTlsTest::initTestCase() {
    VKHttp::startup();
    if (Nginx::canBeMade() && Certificates::canBeMade() && Disk::isRoot()) {
        const QByteArray folder = makeFolder(QStringLiteral("tls")).toUtf8();
        mCertificates = std::make_unique<Certificates>(Certificates::make(folder));
        mNginx = std::make_unique<Nginx>(folder, mCertificates.get());
    }
}

void VKHttpTlsTest::cleanupTestCase() {
    mNginx.reset();
    VKHttp::shutdown();
}

#define NEEDS_TLS() VKTEST_NEEDS(mNginx, "nginx-light, libnginx-mod-http-dav-ext, openssl and root")
#define TRUST_OUR_AUTHORITY()                                                                                \
    const Mounts::Mounted trusted("--bind " + mCertificates->trustFolder, "/etc/ssl/certs");                 \
    QVERIFY2(trusted.isMounted(), trusted.message())

void VKHttpTlsTest::trust_data() {
    QTest::addColumn<Nginx::Tls>("server");
    QTest::addColumn<Trust>("trust");
    QTest::addColumn<HostName>("hostName");
    QTest::addColumn<bool>("accepted");
    const auto row = [](const char* name, Nginx::Tls server, Trust trust, HostName hostName, bool accepted) {
        QTest::newRow(name) << server << trust << hostName << accepted;
    };
    row("right host, trusted", Nginx::Tls::Http2, Trust::OurAuthority, HostName::Checked, true);
    row("right host, trusted, host unchecked", Nginx::Tls::Http2, Trust::OurAuthority, HostName::Ignored,
        true);
    row("right host, unknown authority", Nginx::Tls::Http2, Trust::Nobody, HostName::Checked, false);
    row("right host, unknown authority, host unchecked", Nginx::Tls::Http2, Trust::Nobody, HostName::Ignored,
        false);
    row("other host, trusted", Nginx::Tls::OtherHost, Trust::OurAuthority, HostName::Checked, false);
    row("other host, trusted, host unchecked", Nginx::Tls::OtherHost, Trust::OurAuthority, HostName::Ignored,
        true);
    row("other host, unknown authority, host unchecked", Nginx::Tls::OtherHost, Trust::Nobody,
        HostName::Ignored, false);
    row("self-signed", Nginx::Tls::SelfSigned, Trust::Nobody, HostName::Checked, false);
    row("self-signed, host unchecked", Nginx::Tls::SelfSigned, Trust::Nobody, HostName::Ignored, false);
    row("self-signed, another trusted, host unchecked", Nginx::Tls::SelfSigned, Trust::OurAuthority,
        HostName::Ignored, false);
}

void VKHttpTlsTest::trust() {
    NEEDS_TLS();
    QFETCH(Nginx::Tls, server);
    QFETCH(Trust, trust);
    QFETCH(HostName, hostName);
    QFETCH(bool, accepted);
    std::unique_ptr<Mounts::Mounted> trusted;
    if (trust == Trust::OurAuthority) {
        trusted = std::make_unique<Mounts::Mounted>("--bind " + mCertificates->trustFolder, "/etc/ssl/certs");
        QVERIFY2(trusted->isMounted(), trusted->message());
    }
    const Outcome outcome = fetch(mNginx->url(server, "/small"), hostName);
    QCOMPARE(outcome.error, accepted ? 0 : kPeerFailedVerification);
    QCOMPARE(outcome.httpCode, accepted ? 200 : 0);
    QCOMPARE(outcome.body.size(), accepted ? 200 : 0);
}

void VKHttpTlsTest::trustIsTheSystems() {
    NEEDS_TLS();
    const QUrl url = mNginx->url(Nginx::Tls::Http2, "/small", "localhost");
    QCOMPARE(fetch(url, HostName::Checked).error, kPeerFailedVerification);
    {
        TRUST_OUR_AUTHORITY();
        QCOMPARE(fetch(url, HostName::Checked).httpCode, 200);
    }
    QCOMPARE(fetch(url, HostName::Checked).error, kPeerFailedVerification);
}

void VKHttpTlsTest::refusalLeavesTheObjectUsable() {
    NEEDS_TLS();
    TRUST_OUR_AUTHORITY();
    VKHttp http;
    http.setUrl(mNginx->url(Nginx::Tls::SelfSigned, "/small"));
    http.get();
    QCOMPARE(http.error(), kPeerFailedVerification);
    VKHttpOp op;
    QVERIFY(!op.processReply(http));
    QCOMPARE(op.result.httpCode, 0);
    http.setUrl(mNginx->url(Nginx::Tls::Http2, "/small"));
    http.get();
    QCOMPARE(http.error(), 0);
    QCOMPARE(http.httpResultCode(), 200);
    QCOMPARE(http.readAllBytes().size(), 200);
}

void VKHttpTlsTest::hostNameIsCheckedAgain() {
    NEEDS_TLS();
    TRUST_OUR_AUTHORITY();
    VKHttp http;
    http.setUrl(mNginx->url(Nginx::Tls::OtherHost, "/small"));
    http.setIgnoreSSLErrors(true);
    http.get();
    QCOMPARE(http.httpResultCode(), 200);
    // The connection that was accepted unchecked is not taken for a request that asks for the check.
    http.setIgnoreSSLErrors(false);
    http.get();
    QCOMPARE(http.error(), kPeerFailedVerification);
    QCOMPARE(http.httpResultCode(), 0);
    QVERIFY(http.readAllBytes().isEmpty());
}

// The account service is reached under names that its certificate does not hold; who signed it counts there too.
void VKHttpTlsTest::accountServiceOfAnotherName() {
    NEEDS_TLS();
    VKAppMgrAPI::t_ProductsData data;
    data.session = QStringLiteral("a session");
    data.language = QStringLiteral("en");
    const auto ask = [&](VKAppMgrAPI::t_ProductsResponse& response) {
        VKAppMgrAPI service;
        service.setBaseURL(mNginx->url(Nginx::Tls::OtherHost, "/none").toString());
        return service.products(data, nullptr, response);
    };
    VKAppMgrAPI::t_ProductsResponse response;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("status 1094 .*VKAppMgrAPI")));
    QCOMPARE(ask(response), static_cast<int>(kVKStatusTransportFailed));
    TRUST_OUR_AUTHORITY();
    QCOMPARE(ask(response), 0);
    QCOMPARE(response.httpCode, 404);
}

void VKHttpTlsTest::protocol_data() {
    QTest::addColumn<Nginx::Tls>("server");
    QTest::addColumn<QByteArray>("protocol");
    QTest::newRow("a server that speaks both") << Nginx::Tls::Http2 << QByteArray("HTTP/2.0");
    QTest::newRow("a server that speaks the older only") << Nginx::Tls::Http11 << QByteArray("HTTP/1.1");
}

void VKHttpTlsTest::protocol() {
    NEEDS_TLS();
    TRUST_OUR_AUTHORITY();
    QFETCH(Nginx::Tls, server);
    QFETCH(QByteArray, protocol);
    QCOMPARE(fetch(mNginx->url(server, "/protocol"), HostName::Checked).body, protocol);
    QCOMPARE(fetch(mNginx->url("/protocol"), HostName::Checked).body, QByteArray("HTTP/1.1"));
}

void VKHttpTlsTest::headerNamesOfHttp2AreLowerCase() {
    NEEDS_TLS();
    TRUST_OUR_AUTHORITY();
    VKHttp newer;
    newer.setUrl(mNginx->url(Nginx::Tls::Http2, "/repeated"));
    newer.get();
    QCOMPARE(newer.replyHeader(QStringLiteral("content-type")), QStringLiteral("text/plain"));
    QVERIFY(!newer.hasReplyHeader(kVKHttpContentType));
    QCOMPARE(newer.replyHeader(QStringLiteral("x-repeated")), QStringLiteral("two"));
    // The content type itself does not depend on the spelling of its header.
    QCOMPARE(newer.replyContentType(), QStringLiteral("text/plain"));

    VKHttp older;
    older.setUrl(mNginx->url(Nginx::Tls::Http11, "/repeated"));
    older.get();
    QCOMPARE(older.replyHeader(kVKHttpContentType), QStringLiteral("text/plain"));
    QVERIFY(!older.hasReplyHeader(QStringLiteral("content-type")));
}

void VKHttpTlsTest::uploadOverHttp2() {
    NEEDS_TLS();
    TRUST_OUR_AUTHORITY();
    QByteArray content = QByteArray("a line of some photo's bytes\n").repeated(110000);
    QBuffer device(&content);
    QVERIFY(device.open(QIODevice::ReadOnly));
    VKHttp http;
    http.setUrl(mNginx->url(Nginx::Tls::Http2, "/dav/newer.raw"));
    http.put(&device, content.size());
    QVERIFY2(http.error() == 0 && http.httpResultCode() == 201, mNginx->complaints().constData());
    QVERIFY(Disk::contentOf(mNginx->files() + "newer.raw") == content);
}

void VKHttpTlsTest::largeFileOverHttp2() {
    NEEDS_TLS();
    TRUST_OUR_AUTHORITY();
    const QByteArray content = QByteArray("another line of bytes\n").repeated(300000);
    Disk::makeFile(mNginx->files() + "large.raw", content);
    const Outcome outcome = fetch(mNginx->url(Nginx::Tls::Http2, "/files/large.raw"), HostName::Checked);
    QCOMPARE(outcome.httpCode, 200);
    QVERIFY(outcome.body == content);
}

void VKHttpTlsTest::jsonOverHttp2() {
    NEEDS_TLS();
    TRUST_OUR_AUTHORITY();
    Disk::makeFile(mNginx->files() + "reply", "{\"message\": \"hello\"}");
    VKHttp http;
    http.setUrl(mNginx->url(Nginx::Tls::Http2, "/files/reply"));
    http.get();
    VKHttpOp op;
    op.expectJson = true;
    QVERIFY(op.processReply(http));
    QVERIFY(op.result.success());
    QCOMPARE(op.object.value(u"message").toString(), QStringLiteral("hello"));
}

VKTEST_MAIN_WITH_OWN_MOUNTS(VKHttpTlsTest)
#include "VKHttpTlsTest.moc"
