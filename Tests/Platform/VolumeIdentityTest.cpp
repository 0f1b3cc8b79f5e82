// Identifiers, labels and names: their forms by rows, and what real file systems say to a user without privileges.
#include "Platform/VolumeIdentity.h"

#include "Platform/VolumeNames.h"
#include "Support/DiskSupport.h"
#include "Support/MountSupport.h"
#include "Support/VKTest.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

using namespace VKPlatform;

class VolumeIdentityTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void uuidForms_data();
    void uuidForms();
    void uuidBytes();
    void deviceEscapes_data();
    void deviceEscapes();
    void networkSources_data();
    void networkSources();
    void names_data();
    void names();
    void host();
    void realDisks_data();
    void realDisks();
    void linksOfTheDeviceManager();
    void longLabel();
    void devices();
    void servedOnesAreNotAsked();
};

namespace {

MountEntry entryOf(const QByteArray& type, const QByteArray& source, const QByteArray& place = "/mnt/x") {
    MountEntry mount;
    mount.type = type;
    mount.source = source;
    mount.place = place;
    mount.root = "/";
    return mount;
}

MountEntry mountNow(const QByteArray& place) {
    std::vector<MountEntry> mounts;
    const MountEntry* mount = mountedFileSystems(mounts) == 0 ? mountAt(mounts, place) : nullptr;
    return mount == nullptr ? MountEntry() : *mount;
}

QByteArray newFolder() { return VKTest::makeFolder(QStringLiteral("identity")).toUtf8(); }

} // namespace

void VolumeIdentityTest::uuidForms_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("canonical");
    const auto row = [](const char* name, const char* text, const char* canonical) {
        QTest::newRow(name) << QByteArray(text) << QByteArray(canonical);
    };
    const char* uuid = "0F5E0A3C-1111-2222-3333-44445555ABCD";
    row("canonical", uuid, uuid);
    row("lower case", "0f5e0a3c-1111-2222-3333-44445555abcd", uuid);
    row("no groups", "0f5e0a3c11112222333344445555abcd", uuid);
    row("other groups", "0f5e-0a3c11112222333344445555-abcd", uuid);
    row("a blank at the end", "0f5e0a3c-1111-2222-3333-44445555abcd\n", uuid);
    row("FAT", "1a2b-3c4d", "1A2B-3C4D");
    row("NTFS", "01d5e2f30a4b5c6d", "01D5E2F30A4B5C6D");
    row("a disc's date", "2026-11-21-14-03-05-00", "2026-11-21-14-03-05-00");
    row("32 characters that are no digits", "zf5e0a3c11112222333344445555abcd",
        "ZF5E0A3C11112222333344445555ABCD");
    row("31 digits", "f5e0a3c11112222333344445555abcd", "F5E0A3C11112222333344445555ABCD");
    row("33 digits", "00f5e0a3c11112222333344445555abcd", "00F5E0A3C11112222333344445555ABCD");
    row("zeros", "00000000-0000-0000-0000-000000000000", "");
    row("zeros of FAT", "0000-0000", "");
    row("dashes", "--", "");
    row("nothing", "", "");
}

void VolumeIdentityTest::uuidForms() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, canonical);
    QCOMPARE(canonicalUuid(text), canonical);
    QCOMPARE(canonicalUuid(canonical), canonical);
}

void VolumeIdentityTest::uuidBytes() {
    const QByteArray bytes = QByteArray::fromHex("0f5e0a3c11112222333344445555abcd");
    QCOMPARE(uuidText(bytes), QByteArray("0F5E0A3C-1111-2222-3333-44445555ABCD"));
    QCOMPARE(uuidText(bytes.first(8)), QByteArray("0F5E0A3C11112222"));
    QCOMPARE(uuidText(QByteArray(16, '\0')), QByteArray());
    QCOMPARE(uuidText(QByteArray()), QByteArray());
}

void VolumeIdentityTest::deviceEscapes_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("plain");
    const auto row = [](const char* name, const char* plain) {
        QTest::newRow(name) << QByteArray(name) << QByteArray(plain);
    };
    row("My\\x20Card", "My Card");
    row("a\\x2fb", "a/b");
    row("\\x5cx20", "\\x20");
    row("caf\\xc3\\xa9", "caf\xc3\xa9");
    row("\\X20", "\\X20");
    row("a\\x", "a\\x");
    row("a\\x2", "a\\x2");
    row("a\\xzz", "a\\xzz");
    row("a\\x-1", "a\\x-1");
    row("a\\x 1", "a\\x 1");
    row("plain", "plain");
    row("", "");
}

void VolumeIdentityTest::deviceEscapes() {
    QFETCH(QByteArray, name);
    QTEST(withoutDeviceEscapes(name), "plain");
}

void VolumeIdentityTest::networkSources_data() {
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("known");
    const auto row = [](const char* name, const char* type, const char* source, const char* path,
                        const char* known) {
        QTest::newRow(name) << QByteArray(type) << QByteArray(source) << QByteArray(path)
                            << QByteArray(known);
    };
    row("a share", "cifs", "//nas/photos", "/mnt/x/a", "//nas/photos");
    row("NFS", "nfs4", "nas:/photos", "/mnt/x", "nas:/photos");
    row("a share without a name", "cifs", "", "/mnt/x", "");
    row("a disk", "ext4", "/dev/sda1", "/mnt/x", "");
    row("memory", "tmpfs", "nas:/x", "/mnt/x", "");
    row("the desktop's folder: a share", "fuse.gvfsd-fuse", "gvfsd-fuse",
        "/mnt/x/smb-share:server=nas,share=p/a/b", "smb-share:server=nas,share=p");
    row("the desktop's folder: the share itself", "fuse.gvfsd-fuse", "gvfsd-fuse", "/mnt/x/sftp:host=nas",
        "sftp:host=nas");
    row("the desktop's folder: a camera", "fuse.gvfsd-fuse", "gvfsd-fuse", "/mnt/x/gphoto2:host=Canon/DCIM",
        "");
    row("the desktop's folder itself", "fuse.gvfsd-fuse", "gvfsd-fuse", "/mnt/x", "");
    row("reached through a link", "fuse.gvfsd-fuse", "gvfsd-fuse", "/home/anna/link", "");
}

void VolumeIdentityTest::networkSources() {
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, source);
    QFETCH(QByteArray, path);
    QTEST(networkSource(entryOf(type, source), path), "known");
}

void VolumeIdentityTest::names_data() {
    QTest::addColumn<QByteArray>("place");
    QTest::addColumn<QByteArrayList>("known"); // chosen, label, host
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("chosen") << QByteArray("/mnt/x") << QByteArrayList{"Chosen", "Label", "host"}
                            << QByteArray("Chosen");
    QTest::newRow("label") << QByteArray("/mnt/x") << QByteArrayList{"", "Label", "host"}
                           << QByteArray("Label");
    QTest::newRow("padded label") << QByteArray("/mnt/x") << QByteArrayList{"", " EOS  ", "host"}
                                  << QByteArray("EOS");
    QTest::newRow("blank label") << QByteArray("/mnt/x") << QByteArrayList{"  ", " ", "host"}
                                 << QByteArray("x");
    QTest::newRow("place") << QByteArray("/media/anna/My Card") << QByteArrayList{"", "", "host"}
                           << QByteArray("My Card");
    QTest::newRow("system by its label")
        << QByteArray("/") << QByteArrayList{"", "System", "host"} << QByteArray("System");
    QTest::newRow("system") << QByteArray("/") << QByteArrayList{"", "", "host"} << QByteArray("host");
    QTest::newRow("system without a name")
        << QByteArray("/") << QByteArrayList{"", "", ""} << QByteArray("/");
}

void VolumeIdentityTest::names() {
    QFETCH(QByteArray, place);
    QFETCH(QByteArrayList, known);
    QTEST(displayName(place, {known.at(0), known.at(1), known.at(2)}), "name");
}

void VolumeIdentityTest::host() {
    const QByteArray name = Shell::outputOf("hostname -s 2>/dev/null || uname -n").text.trimmed();
    QCOMPARE(hostName(), name);
}

void VolumeIdentityTest::realDisks_data() {
    QTest::addColumn<QByteArray>("make");
    QTest::addColumn<int>("megabytes");
    QTest::addColumn<QByteArray>("uuid");
    QTest::addColumn<QByteArray>("label");
    const QByteArray uuid = "0F5E0A3C-1111-2222-3333-44445555ABCD";
    QTest::newRow("ext4") << "mkfs.ext4 -q -L 'My Card' -U " + uuid.toLower() << 8 << uuid
                          << QByteArray("My Card");
    QTest::newRow("ext4 without") << QByteArray("mkfs.ext4 -q -U clear") << 8 << QByteArray() << QByteArray();
    QTest::newRow("xfs") << "mkfs.xfs -q -L Card -m uuid=" + uuid.toLower() << 320 << uuid
                         << QByteArray("Card");
    QTest::newRow("btrfs") << "mkfs.btrfs -q -L 'My Card' -U " + uuid.toLower() << 128 << uuid
                           << QByteArray("My Card");
    QTest::newRow("exfat, asked by nobody")
        << QByteArray("mkfs.exfat -L Card") << 8 << QByteArray() << QByteArray();
}

void VolumeIdentityTest::realDisks() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/loop-control") && Disk::exists("/dev/fuse"),
                 "root, loop devices and FUSE");
    QFETCH(QByteArray, make);
    QFETCH(int, megabytes);
    QFETCH(QByteArray, uuid);
    QFETCH(QByteArray, label);
    const QByteArray folder = newFolder();
    const Mounts::LoopDisk disk(folder + "/disk", make, megabytes);
    QVERIFY2(disk.isReady(), disk.message());
    const Mounts::Mounted mounted((make.contains("exfat") ? "-t exfat-fuse " : "") + disk.device(),
                                  folder + "/m");
    QVERIFY2(mounted.isMounted(), mounted.message());
    const MountEntry mount = mountNow(mounted.place());
    const QByteArray noDevices = folder + "/no devices";
    QCOMPARE(volumeUuid(mount, noDevices), uuid);
    QCOMPARE(volumeLabel(mount, noDevices), label);
    struct stat record;
    QCOMPARE(::stat(disk.device(), &record), 0);
    QVERIFY(deviceOf(mount).has_value());
    QVERIFY((*deviceOf(mount) == DeviceNumber{major(record.st_rdev), minor(record.st_rdev)}));
    // A user without privileges is told the same.
    Disk::openForOthers(mounted.place() + "/x");
    QCOMPARE(Disk::asOtherUser([&] {
                 return volumeUuid(mount, noDevices) == uuid && volumeLabel(mount, noDevices) == label ? 0
                                                                                                       : 1;
             }),
             0);
}

void VolumeIdentityTest::linksOfTheDeviceManager() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/loop-control"), "root and loop devices");
    const QByteArray folder = newFolder();
    const Mounts::LoopDisk disk(folder + "/disk", "mkfs.ext4 -q -U clear", 8);
    QVERIFY2(disk.isReady(), disk.message());
    const Mounts::Mounted mounted(disk.device(), folder + "/m");
    const MountEntry mount = mountNow(mounted.place());
    const QByteArray devices = folder + "/devices";
    for (const char* path : {"", "/disk", "/disk/by-uuid", "/disk/by-label"}) {
        Disk::makeFolder(devices + path);
    }
    Disk::makeLink(devices + "/disk/by-uuid/dead-beef", "nothing");
    Disk::makeLink(devices + "/disk/by-uuid/0000-1111", "/dev/null");
    QCOMPARE(volumeUuid(mount, devices), QByteArray());
    Disk::makeLink(devices + "/disk/by-uuid/1a2b-3c4d", disk.device());
    Disk::makeLink(devices + "/disk/by-label/My\\x20Card", disk.device());
    QCOMPARE(volumeUuid(mount, devices), QByteArray("1A2B-3C4D"));
    QCOMPARE(volumeLabel(mount, devices), QByteArray("My Card"));
    // A device whose file system nobody may ask about is known all the same.
    MountEntry other = entryOf("fuseblk", disk.device(), mounted.place());
    QCOMPARE(volumeUuid(other, devices), QByteArray("1A2B-3C4D"));
    other.source = "/dev/null";
    QCOMPARE(volumeUuid(other, devices), QByteArray());
}

void VolumeIdentityTest::longLabel() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/loop-control"), "root and loop devices");
    const QByteArray folder = newFolder();
    const Mounts::LoopDisk disk(folder + "/disk", "mkfs.ext4 -q", 8);
    QVERIFY2(disk.isReady(), disk.message());
    const MountEntry mount = entryOf("fuseblk", disk.device());
    Disk::makeFolder(folder + "/disk.d");
    Disk::makeFolder(folder + "/disk.d/disk");
    for (const qsizetype size : {kMostLabelBytes - 1, kMostLabelBytes}) {
        const QByteArray links = folder + "/disk.d/disk/by-label";
        Disk::makeFolder(links);
        Disk::makeLink(links + '/' + QByteArray(size, 'l'), disk.device());
        QCOMPARE(volumeLabel(mount, folder + "/disk.d").size(), size);
        Disk::removeTree(links);
    }
    // A link's name is no longer than that either; see the disk service for a label that is.
}

void VolumeIdentityTest::devices() {
    MountEntry mount = entryOf("ext4", "/dev/whatever");
    mount.major = 8;
    mount.minor = 17;
    QVERIFY((deviceOf(mount) == std::optional<DeviceNumber>({8, 17})));
    QVERIFY(!deviceOf(entryOf("tmpfs", "tmpfs")).has_value());
    QVERIFY(!deviceOf(entryOf("btrfs", "/dev/null")).has_value());
    QVERIFY(!deviceOf(entryOf("btrfs", "/dev/no such device")).has_value());
    QVERIFY(!deviceOf(entryOf("fuse.x", newFolder())).has_value());
}

void VolumeIdentityTest::servedOnesAreNotAsked() {
    VKTEST_NEEDS(Mounts::NetworkDisk::canBeMade(), "root, FUSE, sshfs and openssh-sftp-server");
    const Mounts::NetworkDisk disk(newFolder());
    QVERIFY2(disk.isMounted(), disk.message());
    const MountEntry mount = mountNow(disk.place());
    disk.signalServer(SIGSTOP);
    // These end, although nobody answers.
    QCOMPARE(volumeUuid(mount), QByteArray());
    QCOMPARE(volumeLabel(mount), QByteArray());
    QVERIFY(!deviceOf(mount).has_value());
    QCOMPARE(networkSource(mount, disk.place()), disk.source());
}

VKTEST_MAIN_WITH_OWN_MOUNTS(VolumeIdentityTest)
#include "VolumeIdentityTest.moc"
