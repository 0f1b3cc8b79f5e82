// Local and network file systems: the rule by rows, the answer on real mounts.
#include "Platform/MountFacts.h"

#include "Support/DiskSupport.h"
#include "Support/ShellCommand.h"
#include "Support/VKTest.h"

using namespace VKPlatform;

class MountFactsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void classification_data();
    void classification();
    void virtualFolder_data();
    void virtualFolder();
    void localOnes();
    void whatCannotBeAsked();
    void networkMount();
};

void MountFactsTest::classification_data() {
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<bool>("network");
    const auto row = [](const char* type, const char* source, bool network) {
        QTest::addRow("%s on %s", type, source) << QByteArray(type) << QByteArray(source) << network;
    };
    for (const char* type :
         {"9p", "afs", "ceph", "cifs", "davfs", "fuse.curlftpfs", "fuse.davfs", "fuse.rclone", "fuse.sshfs",
          "glusterfs", "ncpfs", "nfs", "nfs4", "smb3", "smbfs"}) {
        row(type, "anything", true);
    }
    row("nfs4", "nas:/photos", true);
    row("cifs", "//nas/share", true);
    row("fuse.other", "//nas/share", true);
    row("fuse.other", "nas:/photos", true);
    row("fuse.other", "anna@nas:/photos", true);
    row("fuse", "[fe80::1]:/photos", true);
    row("fuse.other", "/dev/sdb1", false);
    row("fuse.other", "///odd", false);
    row("fuse.other", "//", false);
    row("fuse.other", ":/photos", false);
    row("fuse.other", "/mnt/a:/b", false);
    row("fuse.other", "", false);
    row("fuse.portal", "nas:/photos", false);
    row("fuse.lxcfs", "lxcfs", false);
    row("fuseblk", "/dev/sdb1", false);
    row("ext4", "/dev/sda1", false);
    row("tmpfs", "nas:/photos", false);
    row("overlay", "overlay", false);
    row("nfsd", "nfsd", false);
    row("", "", false);
}

void MountFactsTest::classification() {
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, source);
    QFETCH(bool, network);
    QCOMPARE(isNetworkFileSystem(type, source), network);
}

void MountFactsTest::virtualFolder_data() {
    QTest::addColumn<QByteArray>("below");
    QTest::addColumn<bool>("network");
    QTest::newRow("share") << QByteArray("smb-share:server=nas,share=photos") << true;
    QTest::newRow("file on a share") << QByteArray("smb-share:server=nas,share=photos/a:b/c.jpg") << true;
    QTest::newRow("secure shell") << QByteArray("sftp:host=nas") << true;
    QTest::newRow("web folder") << QByteArray("dav:host=nas,ssl=true/a") << true;
    QTest::newRow("camera") << QByteArray("gphoto2:host=Canon/DCIM") << false;
    QTest::newRow("phone") << QByteArray("mtp:host=Phone") << false;
    QTest::newRow("archive") << QByteArray("archive:host=a.zip") << false;
    QTest::newRow("the folder itself") << QByteArray() << false;
    QTest::newRow("a prefix is not a scheme") << QByteArray("smb-share2:x") << false;
}

void MountFactsTest::virtualFolder() {
    QFETCH(QByteArray, below);
    QFETCH(bool, network);
    QCOMPARE(isNetworkVirtualFolder(below), network);
}

void MountFactsTest::localOnes() {
    QCOMPARE(isLocalFileSystem("/proc"), std::optional<bool>(true));
    const QByteArray folder = makeFolder(QStringLiteral("mount")).toUtf8();
    Disk::makeFile(folder + "/a");
    Disk::makeLink(folder + "/link", "a");
    Disk::makeLink(folder + "/toProc", "/proc/self");
    QCOMPARE(isLocalFileSystem(folder + "/link"), isLocalFileSystem(folder + "/a"));
    QVERIFY(isLocalFileSystem(folder + "/a").has_value());
    QCOMPARE(isLocalFileSystem(folder + "/toProc"), std::optional<bool>(true));
}

void MountFactsTest::whatCannotBeAsked() {
    const QByteArray folder = makeFolder(QStringLiteral("mount")).toUtf8();
    Disk::makeLink(folder + "/dangling", "nothing");
    QVERIFY(!isLocalFileSystem(folder + "/none").has_value());
    QVERIFY(!isLocalFileSystem(folder + "/dangling").has_value());
    QVERIFY(!isLocalFileSystem(QByteArray()).has_value());
}

void MountFactsTest::networkMount() {
    // A real network file system without a network: its connection is the server program itself.
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/fuse"), "root and FUSE");
    VKTEST_NEEDS(Disk::exists("/usr/bin/sshfs") && Disk::exists("/usr/lib/openssh/sftp-server"),
                 "sshfs and openssh-sftp-server");
    const QByteArray folder = makeFolder(QStringLiteral("net")).toUtf8();
    Disk::makeFolder(folder + "/server");
    Disk::makeFile(folder + "/server/a.jpg", "photo");
    Disk::makeFolder(folder + "/mount");
    Disk::makeFile(folder + "/connect", "#!/bin/sh\nexec /usr/lib/openssh/sftp-server\n");
    QCOMPARE(::chmod(Disk::text(folder + "/connect"), 0755), 0);
    const QByteArray mount = folder + "/mount";
    const Shell::Output mounted =
        Shell::outputOf("sshfs -o ssh_command='" + folder + "/connect' 'anna@nas:" + folder + "/server' '" +
                        mount + "' 2>&1");
    const auto unmount = qScopeGuard([&] { ::umount2(mount.constData(), MNT_DETACH); });
    QVERIFY2(mounted.status == 0, mounted.text.constData());
    const QByteArray content = Disk::contentOf(mount + "/a.jpg");
    const std::optional<bool> local = isLocalFileSystem(mount + "/a.jpg");
    QCOMPARE(content, QByteArray("photo"));
    QCOMPARE(local, std::optional<bool>(false));
}

VKTEST_MAIN(MountFactsTest)
#include "MountFactsTest.moc"
