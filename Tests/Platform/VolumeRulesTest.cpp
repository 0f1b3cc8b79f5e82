// Which mounts a person calls a volume: mount tables of many kinds of machines, by rows.
#include "Platform/Volumes.h"

#include "Platform/MountTexts.h"
#include "Support/VKTest.h"

#include <algorithm>

using namespace VKPlatform;

class VolumeRulesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void machines_data();
    void machines();
    void places_data();
    void places();
    void types_data();
    void types();
    void options_data();
    void options();
    void facts();
    void choosingTwiceChangesNothing_data() { machines_data(); }
    void choosingTwiceChangesNothing();
};

namespace {

QByteArrayList placesOf(const std::vector<Volume>& volumes) {
    QByteArrayList places;
    for (const Volume& volume : volumes) {
        places.append(volume.mount.place);
    }
    return places;
}

/// A table of the root and one more line.
std::vector<MountEntry> tableWith(const QByteArray& place, const QByteArray& type, const QByteArray& source) {
    return parseMountInfo("27 1 8:1 / / rw - ext4 /dev/sda1 rw\n30 27 8:17 / " + place + " rw - " + type +
                          ' ' + source + " rw\n");
}

bool isShown(const std::vector<MountEntry>& table, const QByteArray& place) {
    return placesOf(volumesAmong(table, "/home/anna")).contains(place);
}

} // namespace

void VolumeRulesTest::machines_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArrayList>("places");
    QTest::newRow("Debian desktop: the system and a card; a separate /home is the system's")
        << QByteArray(MountTexts::kDebianDesktop) << QByteArrayList{"/", "/media/anna/EOS_DIGITAL"};
    QTest::newRow("Ubuntu: snaps are none, an image that someone mounted is")
        << QByteArray(MountTexts::kUbuntuWithSnaps)
        << QByteArrayList{"/", "/run/media/anna/My Card", "/mnt/image"};
    QTest::newRow("Fedora: one volume for each btrfs, whatever is mounted of it")
        << QByteArray(MountTexts::kFedoraBtrfs) << QByteArrayList{"/", "/srv/photos"};
    QTest::newRow("container: folders of the host that were given to it")
        << QByteArray(MountTexts::kDockerContainer) << QByteArrayList{"/", "/photos", "/export"};
    QTest::newRow("container host") << QByteArray(MountTexts::kDockerHost) << QByteArrayList{"/"};
    QTest::newRow("Windows subsystem: the Windows drive")
        << QByteArray(MountTexts::kWindowsSubsystem) << QByteArrayList{"/", "/mnt/c"};
    QTest::newRow("network: mounted shares, no triggers of automatic mounts, nothing hidden")
        << QByteArray(MountTexts::kNetworkClient)
        << QByteArrayList{"/", "/net/pictures", "/mnt/nas", "/home/anna/remote"};
    QTest::newRow("over-mounts: what can be reached")
        << QByteArray(MountTexts::kOverMounts) << QByteArrayList{"/", "/mnt/disk", "/mnt/a", "/mnt/ab"};
    QTest::newRow("binds: the whole file system once; the part of one that is hidden itself")
        << QByteArray(MountTexts::kBinds) << QByteArrayList{"/", "/mnt/card", "/mnt/part"};
    QTest::newRow("live system: not its own medium, but a disc")
        << QByteArray(MountTexts::kLiveSystem) << QByteArrayList{"/", "/media/cdrom0"};
    QTest::newRow("ZFS: each data set is a file system")
        << QByteArray(MountTexts::kZfs) << QByteArrayList{"/", "/tank", "/tank/photos"};
    QTest::newRow("odd names; hidden folders and what is below them are none")
        << QByteArray(MountTexts::kOddNames)
        << QByteArrayList{"/", "/mnt/tab\tline\nback\\slash", "/mnt/caf\xc3\xa9", "/mnt/hash#tag"};
    QTest::newRow("small board: a card, no firmware, no application image")
        << QByteArray(MountTexts::kPhoneLinux) << QByteArrayList{"/", "/media/pi/CARD"};
}

void VolumeRulesTest::machines() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArrayList, places);
    QCOMPARE(placesOf(volumesAmong(parseMountInfo(text), "/home/anna")), places);
}

void VolumeRulesTest::places_data() {
    QTest::addColumn<QByteArray>("place");
    QTest::addColumn<bool>("shown");
    for (const char* place :
         {"/boot",  "/boot/efi",  "/efi",       "/etc/x",  "/usr",     "/var",      "/var/lib/data",
          "/lib/x", "/nix/store", "/dev/x",     "/proc/x", "/sys/x",   "/snap/x/1", "/sysroot",
          "/run/x", "/run/media", "/home",      "/media",  "/mnt",     "/opt",      "/root",
          "/srv",   "/tmp",       "/home/anna", "/mnt/.x", "/mnt/.x/y"}) {
        QTest::newRow(place) << QByteArray(place) << false;
    }
    for (const char* place : {"/run/media/x", "/run/media/anna/Card", "/media/Card", "/media/anna/Card",
                              "/mnt/disk", "/home/bert", "/home/anna/disk", "/srv/photos", "/opt/photos",
                              "/tmp/x", "/data", "/variety", "/usrdata", "/a.b"}) {
        QTest::newRow(place) << QByteArray(place) << true;
    }
}

void VolumeRulesTest::places() {
    QFETCH(QByteArray, place);
    QFETCH(bool, shown);
    QCOMPARE(isShown(tableWith(place, "ext4", "/dev/sdb1"), place), shown);
}

void VolumeRulesTest::types_data() {
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<bool>("shown");
    for (const char* type : {"autofs", "overlay", "nsfs", "fuse.portal", "fuse.gvfsd-fuse", "fuse.lxcfs",
                             "fuse.snapfuse", "fusectl", "tmpfs", "proc", "cgroup2", "devtmpfs", "ramfs"}) {
        QTest::newRow(type) << QByteArray(type) << false;
    }
    for (const char* type :
         {"ext4",        "xfs", "btrfs",    "vfat",        "exfat", "ntfs3",   "fuseblk", "udf",
          "iso9660",     "zfs", "squashfs", "nfs",         "nfs4",  "cifs",    "smb3",    "fuse.sshfs",
          "fuse.rclone", "9p",  "virtiofs", "fuse.bindfs", "apfs",  "hfsplus", "f2fs"}) {
        QTest::newRow(type) << QByteArray(type) << true;
    }
}

void VolumeRulesTest::types() {
    QFETCH(QByteArray, type);
    QFETCH(bool, shown);
    QCOMPARE(isShown(tableWith("/mnt/disk", type, "/dev/sdb1"), "/mnt/disk"), shown);
}

void VolumeRulesTest::options_data() {
    QTest::addColumn<QByteArray>("place");
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("option");
    QTest::addColumn<bool>("shown");
    const auto row = [](const char* name, const char* place, const char* type, const char* option,
                        bool shown) {
        QTest::newRow(name) << QByteArray(place) << QByteArray(type) << QByteArray(option) << shown;
    };
    row("hidden by its owner", "/mnt/disk", "ext4", "x-gvfs-hide", false);
    row("hidden and shown: hidden", "/mnt/disk", "ext4", "x-gvfs-show,x-gvfs-hide", false);
    row("memory that is shown", "/mnt/ram", "tmpfs", "x-gvfs-show", true);
    row("the system's folder that is shown", "/var/photos", "ext4", "x-gvfs-show", true);
    row("a hidden folder that is shown", "/mnt/.x", "ext4", "x-gvfs-show", true);
    row("the root stays", "/", "ext4", "x-gvfs-hide", true);
    row("another option", "/mnt/disk", "ext4", "x-gvfs-name=x", true);
}

void VolumeRulesTest::options() {
    QFETCH(QByteArray, place);
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, option);
    QFETCH(bool, shown);
    auto table = place == "/" ? parseMountInfo("27 1 8:1 / / rw - ext4 /dev/sda1 rw\n")
                              : tableWith(place, type, "/dev/sdb1");
    table.back().options += ',' + option;
    QCOMPARE(isShown(table, place), shown);
}

void VolumeRulesTest::facts() {
    const auto volumes = volumesAmong(parseMountInfo("27 1 8:1 / / ro,relatime - ext4 /dev/sda1 rw\n"
                                                     "28 27 0:50 / /mnt/nas rw - cifs //nas/photos rw\n"),
                                      "/home/anna");
    QCOMPARE(volumes.size(), 2U);
    QVERIFY(volumes.at(0).isReadOnly);
    QVERIFY(!volumes.at(0).isNetwork);
    QVERIFY(!volumes.at(1).isReadOnly);
    QVERIFY(volumes.at(1).isNetwork);
}

void VolumeRulesTest::choosingTwiceChangesNothing() {
    QFETCH(QByteArray, text);
    const auto once = volumesAmong(parseMountInfo(text), "/home/anna");
    std::vector<MountEntry> chosen;
    for (const Volume& volume : once) {
        chosen.push_back(volume.mount);
    }
    QCOMPARE(placesOf(volumesAmong(chosen, "/home/anna")), placesOf(once));
    QCOMPARE(placesOf(once).count("/"), 1);
}

VKTEST_MAIN(VolumeRulesTest)
#include "VolumeRulesTest.moc"
