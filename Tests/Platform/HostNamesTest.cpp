// Names and addresses as texts, with a hosts file of the test's own.
#include "Platform/HostNames.h"

#include "Support/NetworkSupport.h"
#include "Support/VKTest.h"

#include <algorithm>
#include <sys/mount.h>

using namespace Networks;
using namespace VKPlatform;

class HostNamesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void parses_data();
    void parses();
    void scope();
    void resolves_data();
    void resolves();
    void limit_data();
    void limit();
};

namespace {

QByteArray bytesOf(const NetworkAddress& address) {
    return QByteArray(reinterpret_cast<const char*>(address.bytes.data()),
                      address.family == AddressFamily::IPv4 ? 4 : 16)
        .toHex();
}

/// The machine's hosts file, for this program alone.
void writeHosts(const QByteArray& text) {
    static const QByteArray sFile = VKTest::scratchFolder().toUtf8() + "/hosts";
    const bool isNew = !Disk::exists(sFile);
    Disk::makeFile(sFile, text);
    if (isNew) {
        Disk::must(::mount(sFile.constData(), "/etc/hosts", nullptr, MS_BIND, nullptr) == 0, "bind", sFile);
    }
}

} // namespace

void HostNamesTest::parses_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("bytes"); // empty: no address
    QTest::newRow("IPv4") << QByteArray("192.0.2.1") << QByteArray("c0000201");
    QTest::newRow("IPv6") << QByteArray("2001:db8::1") << QByteArray("20010db8000000000000000000000001");
    QTest::newRow("zero") << QByteArray("0.0.0.0") << QByteArray("00000000");
    QTest::newRow("IPv6 zero") << QByteArray("::") << QByteArray(32, '0');
    QTest::newRow("mapped") << QByteArray("::ffff:192.0.2.1")
                            << QByteArray("00000000000000000000ffffc0000201");
    QTest::newRow("name") << QByteArray("localhost") << QByteArray();
    QTest::newRow("too large") << QByteArray("256.0.2.1") << QByteArray();
    QTest::newRow("in brackets") << QByteArray("[::1]") << QByteArray();
    QTest::newRow("with a port") << QByteArray("192.0.2.1:80") << QByteArray();
    QTest::newRow("empty") << QByteArray("") << QByteArray();
}

void HostNamesTest::parses() {
    QFETCH(QByteArray, text);
    const std::optional<NetworkAddress> address = parseAddress(text);
    QTEST(address ? bytesOf(*address) : QByteArray(), "bytes");
}

void HostNamesTest::scope() {
    const std::optional<NetworkAddress> address = parseAddress("fe80::1%lo");
    QVERIFY(address.has_value());
    QCOMPARE(address->scope, 1U); // the loopback interface is the first in every network
    QVERIFY(!parseAddress("fe80::1%nosuchinterface").has_value());
}

void HostNamesTest::resolves_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("answer");
    QTest::addColumn<QList<QByteArray>>("addresses");
    using Addresses = QList<QByteArray>;
    QTest::newRow("in the hosts file")
        << QByteArray("photos.test") << int(HostAnswer::Found) << Addresses{"c6336407"};
    QTest::newRow("of two addresses") << QByteArray("both.test") << int(HostAnswer::Found)
                                      << Addresses{"20010db8000000000000000000000007", "c6336407"};
    QTest::newRow("an address") << QByteArray("192.0.2.1") << int(HostAnswer::Found) << Addresses{"c0000201"};
    // No server can be asked in this network.
    QTest::newRow("unknown") << QByteArray("unknown.test") << int(HostAnswer::NotNow) << Addresses{};
}

void HostNamesTest::resolves() {
    VKTEST_NEEDS(isOwn(), "root and iproute2");
    QFETCH(QByteArray, name);
    QFETCH(QList<QByteArray>, addresses);
    writeHosts("198.51.100.7 photos.test both.test\n2001:db8::7 both.test\n");
    std::vector<NetworkAddress> found(3);
    QTEST(int(resolveHostName(name, found)), "answer");
    QList<QByteArray> texts;
    for (const NetworkAddress& address : found) {
        texts.append(bytesOf(address));
    }
    std::sort(texts.begin(), texts.end());
    QCOMPARE(texts, addresses);
}

void HostNamesTest::limit_data() {
    QTest::addColumn<int>("count");
    QTest::newRow("one below") << int(kMostHostAddresses) - 1;
    QTest::newRow("at") << int(kMostHostAddresses);
    QTest::newRow("one above") << int(kMostHostAddresses) + 1;
}

void HostNamesTest::limit() {
    VKTEST_NEEDS(isOwn(), "root and iproute2");
    QFETCH(int, count);
    QByteArray hosts = "multi on\n";
    for (int i = 0; i < count; ++i) {
        hosts += "198.51.100." + QByteArray::number(i + 1) + " many.test\n";
    }
    writeHosts(hosts);
    std::vector<NetworkAddress> found;
    QVERIFY(resolveHostName("many.test", found) == HostAnswer::Found);
    QCOMPARE(found.size(), std::min(static_cast<std::size_t>(count), kMostHostAddresses));
}

VKTEST_MAIN_WITH_OWN_NETWORK(HostNamesTest)
#include "HostNamesTest.moc"
