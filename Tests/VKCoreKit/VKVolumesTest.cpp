// Volumes by URL: statuses, and the real system's list, names and identities.
#include "VKCoreKit/VKVolumes.h"

#include "Support/BusSupport.h"
#include "Support/DiskSupport.h"
#include "Support/MountSupport.h"
#include "Support/VKTest.h"
#include "VKCoreKit/VKFileMgr.h"

#include <CoreFoundation/CFQt.h>

#include <QRegularExpression>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <poll.h>

using namespace Qt::StringLiterals;

class VKVolumesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void badArguments();
    void noFileUrl();
    void theSystem();
    void realDisks_data();
    void realDisks();
    void partsOfOneDisk();
    void identityOfNetworkVolumes();
    void identityWithoutAnything();
    void serverThatIsSilent();
    void serverThatIsGone();
    void diskServiceKnowsMore_data();
    void diskServiceKnowsMore();
    void unmountingThroughTheDiskService();
    void namesThatAreNoText();
    void placesByText();
    void displayNames();
    void unmounting();
    void unmountingTheBusyAndTheRoot();
    void watching();
};

namespace {

VKCFRef<CFURLRef> urlOf(const QByteArray& path) {
    return VKCFRef<CFURLRef>::adopt(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.constData()), path.size(), true));
}

std::vector<VKVolume> listed(VKVolumeDetail detail = VKVolumeDetail::Everything) {
    std::vector<VKVolume> volumes;
    const VKStatus status = VKVolumesGetList(detail, &volumes);
    return status == 0 ? volumes : std::vector<VKVolume>();
}

/// The listed volume at that place; one without a URL when there is none.
VKVolume volumeAt(const QByteArray& place, VKVolumeDetail detail = VKVolumeDetail::Everything) {
    for (const VKVolume& volume : listed(detail)) {
        if (CFURLCopyFileSystemBytes(volume.url.get()) == place) {
            return volume;
        }
    }
    return VKVolume();
}

QString uuidOf(const QByteArray& path) {
    const auto text = VKCFRef<CFStringRef>::adopt(VKFileMgrGetVolumeUUIDCopy(urlOf(path).get()));
    return CFStringCopyQString(text.get());
}

QString displayNameOf(const QString& volume) {
    const auto text = VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(volume));
    const auto name = VKCFRef<CFStringRef>::adopt(VKFileMgrGetVolumeDisplayNameCopy(text.get()));
    return CFStringCopyQString(name.get());
}

/// The bytes of the volume's place that the text names; null when there is none.
QByteArray placeNamed(const QString& place) {
    const auto text = VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(place));
    const auto url = VKCFRef<CFURLRef>::adopt(VKVolumesCreateURL(text.get()));
    return CFURLCopyFileSystemBytes(url.get());
}

VKVolumeIdentity identityOf(const QByteArray& path) {
    VKVolumeIdentity identity;
    const VKStatus status = VKVolumeGetIdentity(urlOf(path).get(), &identity);
    return status == 0 ? identity : VKVolumeIdentity{{}, u"status %1"_s.arg(status), {}, false};
}

QByteArray newFolder() { return VKTest::makeFolder(u"volumes"_s).toUtf8(); }

/// The end of an unmounting, waited for.
class Unmounting {
public:
    explicit Unmounting(const QByteArray& place)
        : mStart(VKVolumeUnmount(urlOf(place).get(), &Unmounting::done, this)) {}

    VKStatus status() {
        if (mStart != 0) {
            return mStart;
        }
        std::unique_lock lock(mMutex);
        mChanged.wait(lock, [this] { return mHasEnded; });
        return mStatus;
    }

private:
    static void done(VKStatus status, void* context) {
        auto* self = static_cast<Unmounting*>(context);
        // Told under the lock: the one that waits may be gone as soon as it is let go.
        const std::lock_guard lock(self->mMutex);
        self->mStatus = status;
        self->mHasEnded = true;
        self->mChanged.notify_all();
    }

    std::mutex mMutex;
    std::condition_variable mChanged;
    bool mHasEnded = false;
    VKStatus mStatus = 0;
    VKStatus mStart;
};

} // namespace

void VKVolumesTest::badArguments() {
    const auto url = urlOf("/");
    VKVolumeIdentity identity;
    QByteArray content;
    bool ejectable = false;
    QCOMPARE(VKVolumesGetList(VKVolumeDetail::Places, nullptr), kVKStatusBadArgument);
    QCOMPARE(VKVolumeGetIdentity(nullptr, &identity), kVKStatusBadArgument);
    QCOMPARE(VKVolumeGetIdentity(url.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKVolumeReadMarker(nullptr, &content), kVKStatusBadArgument);
    QCOMPARE(VKVolumeReadMarker(url.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKVolumeCreateMarker(nullptr, "x"), kVKStatusBadArgument);
    QCOMPARE(VKVolumeGetEjectable(nullptr, &ejectable), kVKStatusBadArgument);
    QCOMPARE(VKVolumeGetEjectable(url.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKVolumeUnmount(nullptr, nullptr, nullptr), kVKStatusBadArgument);
    QVERIFY(VKFileMgrGetVolumeDisplayNameCopy(nullptr) == nullptr);
    QVERIFY(VKFileMgrGetVolumeUUIDCopy(nullptr) == nullptr);
}

void VKVolumesTest::noFileUrl() {
    const auto text = VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(u"https://host/path"_s));
    const auto url = VKCFRef<CFURLRef>::adopt(CFURLCreateWithString(nullptr, text.get(), nullptr));
    VKVolumeIdentity identity;
    QByteArray content;
    bool ejectable = true;
    QCOMPARE(VKVolumeGetIdentity(url.get(), &identity), kVKStatusNotConvertible);
    QCOMPARE(VKVolumeReadMarker(url.get(), &content), kVKStatusNotConvertible);
    QCOMPARE(VKVolumeCreateMarker(url.get(), "x"), kVKStatusNotConvertible);
    QCOMPARE(VKVolumeGetEjectable(url.get(), &ejectable), kVKStatusNotConvertible);
    QVERIFY(ejectable);
    QCOMPARE(VKVolumeUnmount(url.get(), nullptr, nullptr), kVKStatusNotConvertible);
    QVERIFY(VKFileMgrGetVolumeUUIDCopy(url.get()) == nullptr);
}

void VKVolumesTest::theSystem() {
    const VKVolume system = volumeAt("/");
    QVERIFY(system.isSystem);
    QVERIFY(system.isOnline);
    QVERIFY(system.isSpaceKnown);
    QVERIFY(system.totalBytes > 0 && system.freeBytes <= system.totalBytes);
    QVERIFY(!system.name.isEmpty());
    QVERIFY(!system.type.isEmpty());
    for (const VKVolume& volume : listed()) {
        QVERIFY(!volume.name.isEmpty());
        QCOMPARE(volume.isSystem, CFURLCopyFileSystemBytes(volume.url.get()) == "/");
    }
    QVERIFY(!volumeAt("/proc").url);
    VKVolumeIdentity identity;
    identity.hasMedium = true;
    QCOMPARE(VKVolumeGetIdentity(urlOf("/nowhere at all").get(), &identity), VKStatus(ENOENT));
    QVERIFY(identity.hasMedium);
}

void VKVolumesTest::realDisks_data() {
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("make");
    QTest::addColumn<int>("megabytes");
    QTest::newRow("ext4") << QByteArray("ext4")
                          << QByteArray("mkfs.ext4 -q -L 'My Card' -U 0f5e0a3c-1111-2222-3333-44445555aaaa")
                          << 16;
    QTest::newRow("xfs") << QByteArray("xfs")
                         << QByteArray(
                                "mkfs.xfs -q -L 'My_Card' -m uuid=0f5e0a3c-1111-2222-3333-44445555aaab")
                         << 320;
    QTest::newRow("btrfs") << QByteArray("btrfs")
                           << QByteArray("mkfs.btrfs -q -L 'My Card' -U 0f5e0a3c-1111-2222-3333-44445555aaac")
                           << 128;
}

void VKVolumesTest::realDisks() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/loop-control"), "root and loop devices");
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, make);
    QFETCH(int, megabytes);
    const QByteArray folder = newFolder();
    const Mounts::LoopDisk disk(folder + "/disk", make, megabytes);
    QVERIFY2(disk.isReady(), disk.message());
    QString uuid;
    {
        const Mounts::Mounted mounted(disk.device(), folder + "/here");
        QVERIFY2(mounted.isMounted(), mounted.message());
        const VKVolume volume = volumeAt(mounted.place());
        QVERIFY(volume.url);
        QCOMPARE(volume.name, type == "xfs" ? u"My_Card"_s : u"My Card"_s);
        QCOMPARE(volume.type.toUtf8(), type);
        QCOMPARE(volume.source.toUtf8(), disk.device());
        uuid = volume.uuid;
        QVERIFY2(uuid.startsWith(u"0F5E0A3C-1111-2222-3333-44445555AAA"_s), qPrintable(uuid));
        QVERIFY(!volume.isSystem && !volume.isNetwork && !volume.isReadOnly && volume.isOnline);
        QVERIFY(volume.isSpaceKnown && volume.totalBytes > 0);
        QVERIFY(volume.totalBytes <= std::uint64_t(megabytes) << 20);
        QCOMPARE(displayNameOf(QString::fromUtf8(mounted.place())), volume.name);
        Disk::makeFolder(mounted.place() + "/DCIM");
        QCOMPARE(uuidOf(mounted.place() + "/DCIM"), uuid);
        const VKVolumeIdentity identity = identityOf(mounted.place() + "/DCIM");
        QVERIFY(identity.hasMedium);
        QCOMPARE(identity.uuid, uuid);
        QCOMPARE(CFURLCopyFileSystemBytes(identity.root.get()), mounted.place());
    }
    QVERIFY(!volumeAt(folder + "/here").url);
    // The same disk at another place, read-only.
    const Mounts::Mounted again("-o ro " + disk.device(), folder + "/there");
    QVERIFY2(again.isMounted(), again.message());
    QVERIFY(volumeAt(again.place()).isReadOnly);
    QCOMPARE(uuidOf(again.place()), uuid);
}

void VKVolumesTest::partsOfOneDisk() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/loop-control"), "root and loop devices");
    const QByteArray folder = newFolder();
    const Mounts::LoopDisk disk(folder + "/disk", "mkfs.btrfs -q", 128);
    QVERIFY2(disk.isReady(), disk.message());
    const Mounts::Mounted whole(disk.device(), folder + "/whole");
    QVERIFY2(whole.isMounted(), whole.message());
    QCOMPARE(Shell::outputOf("btrfs subvolume create '" + whole.place() + "/photos' 2>&1").status, 0);
    Disk::makeFolder(whole.place() + "/album");
    const Mounts::Mounted part("-o subvol=photos " + disk.device(), folder + "/part");
    QVERIFY2(part.isMounted(), part.message());
    const Mounts::Mounted bound("--bind '" + whole.place() + "/album'", folder + "/bound");
    QVERIFY2(bound.isMounted(), bound.message());
    QVERIFY(volumeAt(whole.place()).url);
    QVERIFY(!volumeAt(part.place()).url);
    QVERIFY(!volumeAt(bound.place()).url);
    // They are that volume all the same.
    QVERIFY(!uuidOf(whole.place()).isEmpty());
    QCOMPARE(uuidOf(part.place()), uuidOf(whole.place()));
    QCOMPARE(uuidOf(bound.place()), uuidOf(whole.place()));
}

void VKVolumesTest::identityOfNetworkVolumes() {
    VKTEST_NEEDS(Mounts::NetworkDisk::canBeMade(), "root, FUSE, sshfs and openssh-sftp-server");
    const Mounts::NetworkDisk disk(newFolder());
    QVERIFY2(disk.isMounted(), disk.message());
    const VKVolumeIdentity identity = identityOf(disk.place());
    QCOMPARE(identity.networkSource, disk.source());
    QCOMPARE(identity.uuid, QString());
    QVERIFY(!identity.hasMedium);
    const VKVolume volume = volumeAt(disk.place());
    QVERIFY(volume.isNetwork && volume.isOnline && volume.isSpaceKnown && !volume.isRemovable);
    QCOMPARE(volume.type, u"fuse.sshfs"_s);
    QCOMPARE(volume.name, u"mount"_s);
}

void VKVolumesTest::identityWithoutAnything() {
    const VKVolumeIdentity identity = identityOf("/proc");
    QCOMPARE(identity.uuid, QString());
    QCOMPARE(identity.networkSource, QByteArray());
    QVERIFY(!identity.hasMedium);
}

void VKVolumesTest::serverThatIsSilent() {
    VKTEST_NEEDS(Mounts::NetworkDisk::canBeMade(), "root, FUSE, sshfs and openssh-sftp-server");
    const Mounts::NetworkDisk disk(newFolder());
    QVERIFY2(disk.isMounted(), disk.message());
    Disk::makeFolder(disk.place() + "/album");
    disk.signalServer(SIGSTOP);
    // Each of these would wait for ever if it waited.
    for (int i = 0; i < 3; ++i) {
        const VKVolume volume = volumeAt(disk.place());
        QVERIFY(volume.url);
        QVERIFY(!volume.isOnline && !volume.isSpaceKnown);
    }
    QVERIFY(volumeAt("/").isOnline);
    QCOMPARE(identityOf(disk.place()).networkSource, disk.source());
    QCOMPARE(identityOf(disk.place() + "/not yet looked up").networkSource, disk.source());
    QCOMPARE(displayNameOf(QString::fromUtf8(disk.place())), u"mount"_s);
    disk.signalServer(SIGCONT);
    // The question that was open is answered now, and the next one is asked anew.
    QTRY_VERIFY(volumeAt(disk.place()).isOnline);
}

void VKVolumesTest::serverThatIsGone() {
    VKTEST_NEEDS(Mounts::NetworkDisk::canBeMade(), "root, FUSE, sshfs and openssh-sftp-server");
    const QByteArray folder = newFolder();
    const Mounts::NetworkDisk disk(folder);
    QVERIFY2(disk.isMounted(), disk.message());
    disk.killClient();
    QTRY_VERIFY(!volumeAt(disk.place()).isOnline);
    QVERIFY(volumeAt(disk.place(), VKVolumeDetail::Places).url);
}

void VKVolumesTest::diskServiceKnowsMore_data() {
    QTest::addColumn<QByteArrayList>("properties");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("ejectable");
    QTest::newRow("a chosen name before the label")
        << QByteArrayList{"Block.HintName=Camera"} << u"Camera"_s << false;
    QTest::newRow("the label that the file system says itself")
        << QByteArrayList{"Block.IdLabel=Other"} << u"Label"_s << false;
    QTest::newRow("a drive that ejects") << QByteArrayList{"Drive.Ejectable=true"} << u"Label"_s << true;
    QTest::newRow("a removable medium") << QByteArrayList{"Drive.MediaRemovable=true"} << u"Label"_s << true;
    QTest::newRow("a stick") << QByteArrayList{"Drive.ConnectionBus=usb"} << u"Label"_s << true;
    QTest::newRow("a disk of the machine") << QByteArrayList{"Drive.Removable=false"} << u"Label"_s << false;
}

void VKVolumesTest::diskServiceKnowsMore() {
    VKTEST_NEEDS_SERVED_DISK();
    QFETCH(QByteArrayList, properties);
    QFETCH(QString, name);
    QFETCH(bool, ejectable);
    const Bus::ServedDisk mounted(newFolder(), "ok", properties, "mkfs.ext4 -q -L Label");
    QVERIFY2(mounted.isReady(), mounted.message());
    const VKVolume volume = volumeAt(mounted.place());
    QCOMPARE(volume.name, name);
    QCOMPARE(volume.isRemovable, ejectable);
    QCOMPARE(displayNameOf(QString::fromUtf8(mounted.place())), name);
    bool answer = !ejectable;
    QCOMPARE(VKVolumeGetEjectable(urlOf(mounted.place()).get(), &answer), VKStatus(0));
    QCOMPARE(answer, ejectable);
    answer = !ejectable;
    QCOMPARE(VKVolumeGetEjectable(urlOf(mounted.place() + "/lost+found").get(), &answer), VKStatus(0));
    QCOMPARE(answer, ejectable);
    answer = !ejectable;
    QCOMPARE(VKVolumeGetEjectable(urlOf(mounted.place() + "/none").get(), &answer), VKStatus(ENOENT));
    QCOMPARE(answer, !ejectable);
}

void VKVolumesTest::unmountingThroughTheDiskService() {
    VKTEST_NEEDS_SERVED_DISK();
    const QByteArray folder = newFolder();
    const Mounts::LoopDisk disk(folder + "/disk", "mkfs.ext4 -q", 8);
    const Mounts::Mounted mounted(disk.device(), folder + "/m");
    QVERIFY2(mounted.isMounted(), mounted.message());
    const Bus::SystemBus bus(folder);
    {
        const Bus::FakeDiskService refuses(bus, {Bus::numberOf(disk.device()), mounted.place(), "dismissed"});
        QVERIFY(refuses.isReady());
        QCOMPARE(Unmounting(mounted.place()).status(), VKStatus(ECANCELED));
        QVERIFY(volumeAt(mounted.place(), VKVolumeDetail::Places).url);
    }
    const Bus::FakeDiskService unmounts(bus, {Bus::numberOf(disk.device()), mounted.place(), "ok"});
    QVERIFY(unmounts.isReady());
    QCOMPARE(Unmounting(mounted.place()).status(), VKStatus(0));
    QVERIFY(!volumeAt(mounted.place(), VKVolumeDetail::Places).url);
}

void VKVolumesTest::namesThatAreNoText() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray place = newFolder() + "/caf\xe9 \n%";
    const Mounts::Mounted mounted("-t tmpfs -o size=1m,x-gvfs-show vktest", place);
    QVERIFY2(mounted.isMounted(), mounted.message());
    const VKVolume volume = volumeAt(place);
    QVERIFY(volume.url);
    QCOMPARE(volume.name, u"caf\uFFFD \n%"_s);
    QVERIFY(volume.place.endsWith(u"/caf\uFFFD \n%"_s));
    QCOMPARE(placeNamed(volume.place), place);
}

void VKVolumesTest::placesByText() {
    QCOMPARE(placeNamed(u"/"_s), QByteArray("/"));
    QCOMPARE(placeNamed(u"/proc"_s), QByteArray("/proc"));
    QCOMPARE(placeNamed(u"/proc/"_s), QByteArray("/proc"));
    QVERIFY(placeNamed(u"/proc/self"_s).isNull());
    QVERIFY(placeNamed(u""_s).isNull());
    QVERIFY(placeNamed(QString(QChar(0xd800))).isNull());
    QVERIFY(VKVolumesCreateURL(nullptr) == nullptr);
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = newFolder();
    const QString text = QString::fromUtf8(folder) + u"/caf\u00e9"_s;
    const Mounts::Mounted decomposed("-t tmpfs -o size=1m vktest", folder + "/cafe\xcc\x81");
    QVERIFY2(decomposed.isMounted(), decomposed.message());
    QCOMPARE(placeNamed(text), decomposed.place());
    const Mounts::Mounted composed("-t tmpfs -o size=1m vktest", folder + "/caf\xc3\xa9");
    QVERIFY2(composed.isMounted(), composed.message());
    QCOMPARE(placeNamed(text), composed.place());
    const Mounts::Mounted first("-t tmpfs -o size=1m vktest", folder + "/x\xe8");
    const Mounts::Mounted second("-t tmpfs -o size=1m vktest", folder + "/x\xe9");
    QVERIFY2(first.isMounted() && second.isMounted(), second.message());
    QVERIFY(placeNamed(QString::fromUtf8(folder) + u"/x\uFFFD"_s).isNull());
}

void VKVolumesTest::displayNames() {
    QVERIFY(!displayNameOf(u"/"_s).isEmpty());
    QCOMPARE(displayNameOf(u"/proc"_s), u"proc"_s);
    QCOMPARE(displayNameOf(u"/proc/"_s), u"proc"_s);
    QCOMPARE(displayNameOf(u"/proc/self"_s), QString());
    QCOMPARE(displayNameOf(u"/nowhere"_s), QString());
    QCOMPARE(displayNameOf(u""_s), QString());
}

void VKVolumesTest::unmounting() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = newFolder();
    const Mounts::Mounted mounted("-t tmpfs -o size=1m,x-gvfs-show vktest", folder);
    QVERIFY2(mounted.isMounted(), mounted.message());
    QVERIFY(volumeAt(folder, VKVolumeDetail::Places).url);
    QCOMPARE(Unmounting(folder).status(), VKStatus(0));
    QVERIFY(!volumeAt(folder, VKVolumeDetail::Places).url);
    QCOMPARE(Unmounting(folder).status(), VKStatus(EINVAL));
    // Without an observer.
    const Mounts::Mounted again("-t tmpfs -o size=1m,x-gvfs-show vktest", folder);
    QCOMPARE(VKVolumeUnmount(urlOf(folder).get(), nullptr, nullptr), VKStatus(0));
    QTRY_VERIFY(!volumeAt(folder, VKVolumeDetail::Places).url);
}

void VKVolumesTest::unmountingTheBusyAndTheRoot() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = newFolder();
    const Mounts::Mounted mounted("-t tmpfs -o size=1m,x-gvfs-show vktest", folder);
    QVERIFY2(mounted.isMounted(), mounted.message());
    {
        const Disk::WorkingFolder inside(folder);
        QCOMPARE(Unmounting(folder).status(), VKStatus(EBUSY));
    }
    QVERIFY(volumeAt(folder, VKVolumeDetail::Places).url);
    QCOMPARE(Unmounting("/").status(), VKStatus(EBUSY));
    QVERIFY(!volumeAt("/").isReadOnly);
}

void VKVolumesTest::watching() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    VKVolumeWatch watch;
    QCOMPARE(watch.descriptor(), -1);
    QCOMPARE(watch.open(), VKStatus(0));
    const auto fires = [&](int milliseconds) {
        pollfd descriptor = {watch.descriptor(), POLLIN, 0};
        return ::poll(&descriptor, 1, milliseconds) == 1;
    };
    const QByteArray folder = newFolder();
    watch.acknowledge();
    QVERIFY(!fires(0));
    {
        const Disk::TemporaryFileSystem mounted(folder, "size=1m");
        QVERIFY(mounted.isMounted());
        QVERIFY(fires(30000));
        QVERIFY(fires(0));
        watch.acknowledge();
        QVERIFY(!fires(0));
    }
    QVERIFY(fires(30000));
}

VKTEST_MAIN_WITH_OWN_MOUNTS(VKVolumesTest)
#include "VKVolumesTest.moc"
