// The volume half of VKQtPathUtils, under each platform's rules: text rules by rows, identities on real volumes.
#include "VKQtPathUtils.h"

#include "Support/DiskSupport.h"
#include "Support/MountSupport.h"
#include "Support/VKTest.h"
#include "VKQtSysInfo.h"
#include "VKQtVolumeRules.h"

#include <VKCoreKit/VKLog.h>
#include <VKCoreKit/VKUtils.h>

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;
using VKQtVolumeRules::Platform;

class VKQtPathUtilsVolumesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void offered_data();
    void offered();
    void offeredKeepsTheOrder();
    void volumeOfText_data();
    void volumeOfText();
    void volumeOnThisPlatform_data();
    void volumeOnThisPlatform();
    void list();
    void listWithoutHome();
    void online();
    void names();
    void identityOfNothing();
    void identityByUuid();
    void identityByUuidOfTheHolder();
    void identityByShare();
    void identityByMarker();
    void identityOnReadOnlyMedium();
    void identityWithoutMedium();
    void markerContent_data();
    void markerContent();
    void markerThatCannotBeMade();
    void markerAmongProcesses();
    void removable();
    void removing();
    void lists();
    void emptyPredicate();
};

namespace {

constexpr char kVolume[] = "-t tmpfs -o size=1m,x-gvfs-show vktest";

QStringList texts(const QList<VKQtPath>& paths) { return VKQtPathUtils::qPathListToStringList(paths); }

bool isListed(const QByteArray& place) {
    return texts(VKQtPathUtils::getVolumes()).contains(QString::fromUtf8(place));
}

unsigned int checksum(const QByteArray& bytes) {
    return VKUtilsCRC32Std(0, bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

/// The identity, or 1 when the status is not 0.
unsigned int identityOf(const QByteArray& volume) {
    unsigned int id = 77;
    return VKQtPathUtils::getUniqueVolumeID(QString::fromUtf8(volume), id) == 0 ? id : 1;
}

QByteArray newFolder() { return VKTest::makeFolder(u"volumes"_s).toUtf8(); }

struct Event {
    VKStatus status;
    QByteArray source;
};

/// The events that the log receives while the object lives.
class LoggedEvents {
public:
    LoggedEvents() { VKLogSetHandler(&LoggedEvents::record, this); }
    LoggedEvents(const LoggedEvents&) = delete;
    LoggedEvents& operator=(const LoggedEvents&) = delete;
    ~LoggedEvents() { VKLogSetHandler(nullptr, nullptr); }

    [[nodiscard]] const std::vector<Event>& events() const { return mEvents; }

private:
    static void record(const VKLogRecord& record, void* context) {
        static_cast<LoggedEvents*>(context)->mEvents.push_back({record.status, record.source});
    }

    std::vector<Event> mEvents;
};

} // namespace

void VKQtPathUtilsVolumesTest::offered_data() {
    QTest::addColumn<QString>("mountPoint");
    QTest::addColumn<bool>("offered");
    const auto row = [](const char* name, const char* mountPoint, bool isOffered) {
        QTest::addRow("%s: %s", name, mountPoint) << QString::fromUtf8(mountPoint) << isOffered;
    };
    for (const char* excluded :
         {"/net", "/home", "/System/Volumes/Data", "/System/Volumes/Data/home", "/Volumes/MobileBackups",
          "/Volumes/Recovery", "/Volumes/Recovery HD", "/System/Volumes/Preboot", "/System/Volumes/Update",
          "/System/Volumes/VM", "/System/Volumes/Update/mnt1", "/System/Volumes/Update/SFR/mnt1",
          "/System/Volumes/xarts", "/System/Volumes/iSCPreboot", "/System/Volumes/Hardware"}) {
        row("excluded", excluded, false);
        row("one letter more than an excluded one", qPrintable(QString::fromUtf8(excluded) + u'x'), true);
        row("below an excluded one", qPrintable(QString::fromUtf8(excluded) + u"/x"_s), true);
        row("an excluded one in another case", qPrintable(QString::fromUtf8(excluded).toUpper()), true);
    }
    row("private", "/private/var/vm", false);
    row("private", "/private/var", false);
    row("private by its beginning alone", "/private/variety", false);
    row("not private", "/private/etc", true);
    row("not private", "/x/private/var", true);
    row("hidden", "/Volumes/.timemachine", false);
    row("below a hidden one", "/Volumes/.timemachine/Card", false);
    row("hidden by its last part", "/mnt/.hidden", false);
    row("only a middle part hidden", "/mnt/.hidden/x", true);
    row("a dot inside", "/Volumes/My.Card", true);
    row("a snapshot", "/Volumes/com.apple.TimeMachine.localsnapshots/Backups/x", false);
    row("a snapshot", "/x/com.apple.TimeMachine.localsnapshots", false);
    row("a snapshot in another case", "/x/com.apple.timemachine.localsnapshots", true);
    row("the system", "/", true);
    row("a card", "/Volumes/EOS_DIGITAL", true);
    row("no mount point", "", false);
}

void VKQtPathUtilsVolumesTest::offered() {
    QFETCH(QString, mountPoint);
    QFETCH(bool, offered);
    const QList<VKQtPath> volumes = VKQtVolumeRules::offeredVolumes({mountPoint});
    QCOMPARE(volumes.size(), offered ? 1 : 0);
    if (offered) {
        QCOMPARE(volumes.at(0).path(), mountPoint);
        QVERIFY(volumes.at(0).isFolder());
    }
}

void VKQtPathUtilsVolumesTest::offeredKeepsTheOrder() {
    QCOMPARE(texts(VKQtVolumeRules::offeredVolumes(
                 {u"/z"_s, u"/home"_s, u"/"_s, u"/a"_s, u"/Volumes/Recovery"_s, u"/B"_s})),
             (QStringList{u"/z"_s, u"/"_s, u"/a"_s, u"/B"_s}));
    QVERIFY(VKQtVolumeRules::offeredVolumes({}).isEmpty());
}

void VKQtPathUtilsVolumesTest::volumeOfText_data() {
    QTest::addColumn<int>("platform");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("volume");
    const auto row = [](Platform platform, const char* path, const char* volume) {
        static constexpr const char* kNames[] = {"Mac", "Catalina", "Windows", "other"};
        QTest::addRow("%s \"%s\"", kNames[static_cast<int>(platform)], path)
            << static_cast<int>(platform) << QString::fromUtf8(path) << QString::fromUtf8(volume);
    };
    for (const Platform mac : {Platform::Mac, Platform::MacCatalina}) {
        const bool catalina = mac == Platform::MacCatalina;
        row(mac, "/Volumes/Card/DCIM", "/Volumes/Card");
        row(mac, "/Volumes/Card", "/Volumes/Card");
        row(mac, "/Volumes/Card/", "/Volumes/Card");
        row(mac, "/Volumes/", "/Volumes/");
        row(mac, "/Volumes", "/");
        row(mac, "/Volumesx/Card", "/");
        row(mac, "/volumes/Card", "/");
        row(mac, "/Users/a/Pictures", catalina ? "/System/Volumes/Data" : "/");
        row(mac, "/Users", catalina ? "/System/Volumes/Data" : "/");
        row(mac, "/Usersx", catalina ? "/System/Volumes/Data" : "/");
        row(mac, "/users/a", "/");
        row(mac, "/", "/");
        row(mac, "/tmp", "/");
        row(mac, "", "");
        row(mac, "Card", "");
        row(mac, "c:/x", "");
    }
    row(Platform::Windows, "c:/Photos", "C:");
    row(Platform::Windows, "C:", "C:");
    row(Platform::Windows, "c:", "C:");
    row(Platform::Windows, "1:/x", "1:");
    row(Platform::Windows, "cc:/x", "");
    row(Platform::Windows, ":x", "");
    row(Platform::Windows, "/c:/x", "");
    row(Platform::Windows, "//srv/share/x/y", "//srv/share");
    row(Platform::Windows, "//srv/share/", "//srv/share");
    row(Platform::Windows, "//srv/share", "//srv/share");
    row(Platform::Windows, "//srv/", "//srv/");
    row(Platform::Windows, "//srv", "");
    row(Platform::Windows, "//", "");
    row(Platform::Windows, "///x/y", "///x");
    row(Platform::Windows, "/x", "");
    row(Platform::Windows, "", "");
    for (const char* path : {"", "/", "/media/anna/Card", "Card", "c:/x", "//srv/share"}) {
        row(Platform::Other, path, "/");
    }
}

void VKQtPathUtilsVolumesTest::volumeOfText() {
    QFETCH(int, platform);
    QFETCH(QString, path);
    QTEST(VKQtVolumeRules::volumeOf(path, static_cast<Platform>(platform)), "volume");
}

void VKQtPathUtilsVolumesTest::volumeOnThisPlatform_data() {
    QTest::addColumn<QString>("path");
    for (const char* path : {"/Volumes/Card/DCIM", "/Users/a", "c:/Photos", "//srv/share/x", "", "x", "/"}) {
        QTest::addRow("\"%s\"", path) << QString::fromUtf8(path);
    }
}

void VKQtPathUtilsVolumesTest::volumeOnThisPlatform() {
    QFETCH(QString, path);
    const Platform platform = VKQtSysInfo::isMacPlatform()   ? Platform::Mac
                              : VKQtSysInfo::isWinPlatform() ? Platform::Windows
                                                             : Platform::Other;
    QCOMPARE(VKQtVolumeRules::currentPlatform(), platform);
    QCOMPARE(VKQtPathUtils::getVolumeGivenPath(path), VKQtVolumeRules::volumeOf(path, platform));
    const VKQtPath asPath = VKQtPathUtils::getVolumeGivenPath(VKQtPath(path, false));
    QVERIFY(asPath.isFolder());
    QCOMPARE(asPath.path(),
             VKQtPath(VKQtVolumeRules::volumeOf(VKQtPath(path, false).path(), platform), true).path());
}

void VKQtPathUtilsVolumesTest::list() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    QVERIFY(isListed("/"));
    const QByteArray folder = newFolder();
    const Mounts::Mounted volume(kVolume, folder + "/Card");
    const Mounts::Mounted hidden(kVolume, folder + "/.Card");
    const Mounts::Mounted none("-t tmpfs -o size=1m vktest", folder + "/memory");
    QVERIFY2(volume.isMounted() && hidden.isMounted() && none.isMounted(), none.message());
    QVERIFY(isListed(volume.place()));
    QVERIFY(!isListed(hidden.place()));
    QVERIFY(!isListed(none.place()));
    for (const VKQtPath& path : VKQtPathUtils::getVolumes()) {
        QVERIFY(path.isFolder());
        QVERIFY(VKQtPathUtils::isVolume(path));
    }
    QVERIFY(VKQtPathUtils::isVolume(VKQtPath(QString::fromUtf8(folder).toUpper() + u"/CARD"_s, true)));
    QVERIFY(!VKQtPathUtils::isVolume(VKQtPath(QString::fromUtf8(folder), true)));
    QVERIFY(!VKQtPathUtils::isVolume(VKQtPath()));
}

void VKQtPathUtilsVolumesTest::listWithoutHome() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/home"), "root and a folder /home");
    const Mounts::Mounted home(kVolume, "/home");
    QVERIFY2(home.isMounted(), home.message());
    QVERIFY(!isListed("/home"));
}

void VKQtPathUtilsVolumesTest::online() {
    // By text alone a path is on "/", or, under other rules, on what its text says.
    const QString path = VKTest::scratchFolder();
    QCOMPARE(VKQtPathUtils::isVolumeOnline(VKQtPath(path, true)), !VKQtSysInfo::isWinPlatform());
    const VKQtPath absent(u"/Volumes/no such card/DCIM"_s, true);
    const bool isOnRoot = !VKQtSysInfo::isMacPlatform() && !VKQtSysInfo::isWinPlatform();
    QCOMPARE(VKQtPathUtils::isVolumeOnline(absent), isOnRoot);
}

void VKQtPathUtilsVolumesTest::names() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const Mounts::Mounted volume(kVolume, newFolder() + "/My Card");
    QVERIFY2(volume.isMounted(), volume.message());
    const QString place = QString::fromUtf8(volume.place());
    QCOMPARE(VKQtPathUtils::getVolumeDisplayName(place), u"My Card"_s);
    for (const bool flag : {false, true}) {
        QCOMPARE(VKQtPathUtils::getPrettyVolumeName(VKQtPath(place, true), flag), u"My Card"_s);
        QCOMPARE(VKQtPathUtils::getPrettyVolumeName(VKQtPath(u"/no/volume"_s, true), flag), u"/no/volume"_s);
    }
    QCOMPARE(VKQtPathUtils::getVolumeDisplayName(u"/no/volume"_s), QString());
    QCOMPARE(VKQtPathUtils::getPrettyVolumeName(VKQtPath(), false), QString());
}

void VKQtPathUtilsVolumesTest::identityOfNothing() {
    const LoggedEvents log;
    unsigned int id = 77;
    QCOMPARE(VKQtPathUtils::getUniqueVolumeID(QString(), id), kVKStatusBadArgument);
    QCOMPARE(id, 0U);
    QCOMPARE(log.events().size(), 1U);
    QCOMPARE(log.events().at(0).status, kVKStatusBadArgument);
    QCOMPARE(log.events().at(0).source, QByteArray("VKQtCore/Source/Common/VKQtPathUtils"));
    id = 77;
    QCOMPARE(VKQtPathUtils::getUniqueVolumeID(u"/nowhere at all"_s, id), kVKStatusSuccess);
    QCOMPARE(id, 0U);
    id = 77;
    QCOMPARE(VKQtPathUtils::getUniqueVolumeID(QString(QChar(0xd800)), id), kVKStatusSuccess);
    QCOMPARE(id, 0U);
    QCOMPARE(log.events().size(), 1U);
}

void VKQtPathUtilsVolumesTest::identityByUuid() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/loop-control"), "root and loop devices");
    const QByteArray folder = newFolder();
    const QByteArray uuid = "0F5E0A3C-1111-2222-3333-44445555ABCD";
    const Mounts::LoopDisk disk(folder + "/disk", "mkfs.ext4 -q -L Before -U " + uuid.toLower(), 16);
    QVERIFY2(disk.isReady(), disk.message());
    const auto asMounted = [&](const QByteArray& place) {
        const Mounts::Mounted mounted(disk.device(), folder + place);
        const QString path = QString::fromUtf8(mounted.place());
        return mounted.isMounted() && VKQtPathUtils::getVolumeUUID(path, true).toUtf8() == uuid &&
                       !Disk::exists(mounted.place() + "/.browse")
                   ? identityOf(mounted.place())
                   : 0;
    };
    // The checksum of the identifier as text.
    QCOMPARE(asMounted("/here"), checksum(uuid));
    QCOMPARE(Shell::outputOf("e2label " + disk.device() + " After 2>&1").status, 0);
    QCOMPARE(asMounted("/there"), checksum(uuid));
}

void VKQtPathUtilsVolumesTest::identityByUuidOfTheHolder() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/loop-control"), "root and loop devices");
    const QByteArray folder = newFolder();
    const Mounts::LoopDisk disk(folder + "/disk", "mkfs.ext4 -q", 16);
    const Mounts::Mounted mounted(disk.device(), folder + "/m");
    QVERIFY2(mounted.isMounted(), mounted.message());
    Disk::makeFolder(mounted.place() + "/DCIM");
    Disk::makeFile(mounted.place() + "/DCIM/a.jpg");
    const unsigned int id = identityOf(mounted.place());
    QVERIFY(id != 0);
    QCOMPARE(identityOf(mounted.place() + "/DCIM"), id);
    const QString file = QString::fromUtf8(mounted.place() + "/DCIM/a.jpg");
    QCOMPARE(VKQtPathUtils::getVolumeUUID(file, false),
             VKQtPathUtils::getVolumeUUID(QString::fromUtf8(mounted.place()), true));
    QCOMPARE(VKQtPathUtils::getVolumeUUID(QString(), true), QString());
    QCOMPARE(VKQtPathUtils::getVolumeUUID(u"/nowhere"_s, true), QString());
}

void VKQtPathUtilsVolumesTest::identityByShare() {
    VKTEST_NEEDS(Mounts::NetworkDisk::canBeMade(), "root, FUSE, sshfs and openssh-sftp-server");
    const QByteArray folder = newFolder();
    const Mounts::NetworkDisk disk(folder);
    QVERIFY2(disk.isMounted(), disk.message());
    const unsigned int id = checksum(disk.source());
    QCOMPARE(identityOf(disk.place()), id);
    // The same share at another place; its server may be silent.
    const Mounts::Mounted bound("--bind '" + disk.place() + "'", folder + "/elsewhere");
    QVERIFY2(bound.isMounted(), bound.message());
    QCOMPARE(identityOf(bound.place()), id);
    disk.signalServer(SIGSTOP);
    QCOMPARE(identityOf(disk.place()), id);
    disk.signalServer(SIGCONT);
    QVERIFY(!Disk::exists(disk.place() + "/.browse"));
}

void VKQtPathUtilsVolumesTest::identityByMarker() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/loop-control"), "root and loop devices");
    const QByteArray folder = newFolder();
    // A file system that was given no identifier.
    const Mounts::LoopDisk disk(folder + "/disk", "mkfs.ext4 -q -U clear", 16);
    QVERIFY2(disk.isReady(), disk.message());
    unsigned int id = 0;
    {
        const Mounts::Mounted mounted(disk.device(), folder + "/here");
        QVERIFY2(mounted.isMounted(), mounted.message());
        QVERIFY(!Disk::exists(mounted.place() + "/.browse"));
        // Also asked below the root, the marker is in the root.
        Disk::makeFolder(mounted.place() + "/DCIM");
        id = identityOf(mounted.place() + "/DCIM");
        QVERIFY(!Disk::exists(mounted.place() + "/DCIM/.browse"));
        const QByteArray content = Disk::contentOf(mounted.place() + "/.browse");
        QCOMPARE(content.size(), 36);
        QCOMPARE(id, checksum(content));
        QCOMPARE(Disk::modeOf(mounted.place() + "/.browse"), 0644U);
        QCOMPARE(Disk::namesIn(mounted.place()), (QByteArrayList{".browse", "DCIM", "lost+found"}));
        QCOMPARE(identityOf(mounted.place()), id);
        // A part of it that is mounted elsewhere is that volume still.
        const Mounts::Mounted part("--bind '" + mounted.place() + "/DCIM'", folder + "/part");
        QVERIFY2(part.isMounted(), part.message());
        QCOMPARE(identityOf(part.place()), id);
        QVERIFY(!Disk::exists(part.place() + "/.browse"));
    }
    QCOMPARE(Shell::outputOf("e2label " + disk.device() + " Renamed 2>&1").status, 0);
    const Mounts::Mounted again(disk.device(), folder + "/there");
    QCOMPARE(identityOf(again.place()), id);
}

void VKQtPathUtilsVolumesTest::identityOnReadOnlyMedium() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/loop-control"), "root and loop devices");
    const QByteArray folder = newFolder();
    const Mounts::LoopDisk disk(folder + "/disk", "mkfs.ext4 -q -U clear", 16);
    QVERIFY2(disk.isReady(), disk.message());
    {
        const Mounts::Mounted mounted("-o ro " + disk.device(), folder + "/m");
        QVERIFY2(mounted.isMounted(), mounted.message());
        QCOMPARE(identityOf(mounted.place()), 0U);
    }
    {
        const Mounts::Mounted mounted(disk.device(), folder + "/m");
        Disk::makeFile(mounted.place() + "/.browse", "known");
    }
    // A marker that is there counts on a medium that cannot be written.
    const Mounts::Mounted mounted("-o ro " + disk.device(), folder + "/m");
    QCOMPARE(identityOf(mounted.place()), checksum("known"));
}

void VKQtPathUtilsVolumesTest::identityWithoutMedium() {
    QCOMPARE(identityOf("/proc"), 0U);
    QCOMPARE(identityOf("/proc/self"), 0U);
    QVERIFY(!Disk::exists("/proc/.browse"));
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const Mounts::Mounted memory("-t ramfs vktest", newFolder() + "/memory");
    QVERIFY2(memory.isMounted(), memory.message());
    QCOMPARE(identityOf(memory.place()), 0U);
    QVERIFY(!Disk::exists(memory.place() + "/.browse"));
}

void VKQtPathUtilsVolumesTest::markerContent_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("counted");
    const QByteArray long300 = QByteArray(150, 'a') + QByteArray(150, 'b');
    const auto row = [](const char* name, const QByteArray& content, const QByteArray& counted) {
        QTest::newRow(name) << content << counted;
    };
    row("an identifier", "3f0a", "3f0a");
    row("a line end counts", "3f0a\n", "3f0a\n");
    row("up to the first zero byte", QByteArray("3f\0aa", 5), "3f");
    row("only a zero byte", QByteArray("\0", 1), "");
    row("empty", "", "");
    row("bytes that are no text", "\xff\xfe", "\xff\xfe");
    row("254 bytes", long300.first(254), long300.first(254));
    row("255 bytes", long300.first(255), long300.first(255));
    row("256 bytes", long300.first(256), long300.first(255));
    row("300 bytes", long300, long300.first(255));
    row("a zero byte behind the limit", long300.first(255) + QByteArray("\0x", 2), long300.first(255));
}

void VKQtPathUtilsVolumesTest::markerContent() {
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, counted);
    const QByteArray folder = newFolder();
    Disk::makeFile(folder + "/.browse", content);
    unsigned int id = 77;
    QCOMPARE(VKQtPathUtils::makeVolumeIDFromFile(QString::fromUtf8(folder), id), kVKStatusSuccess);
    QCOMPARE(id, checksum(counted));
    QCOMPARE(Disk::contentOf(folder + "/.browse"), content.isEmpty() ? QByteArray() : content);
}

void VKQtPathUtilsVolumesTest::markerThatCannotBeMade() {
    const auto unchanged = [](const QByteArray& folder) {
        unsigned int id = 77;
        return VKQtPathUtils::makeVolumeIDFromFile(QString::fromUtf8(folder), id) == 0 && id == 77;
    };
    const QByteArray folder = newFolder();
    QVERIFY(unchanged(folder + "/none"));
    QVERIFY(unchanged(QByteArray()));
    Disk::makeFolder(folder + "/.browse");
    QVERIFY(unchanged(folder));
    const QByteArray linked = newFolder();
    Disk::makeLink(linked + "/.browse", linked + "/nothing");
    QVERIFY(unchanged(linked));
    QVERIFY(!Disk::exists(linked + "/nothing"));
    const QByteArray waiting = newFolder();
    Disk::makeFifo(waiting + "/.browse");
    QVERIFY(unchanged(waiting));
    QCOMPARE(Disk::namesIn(waiting), QByteArrayList{".browse"});
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray foreign = newFolder();
    Disk::openForOthers(foreign + "/x");
    QCOMPARE(Disk::asOtherUser([&] { return unchanged(foreign) ? 0 : 1; }), 0);
    QVERIFY(Disk::namesIn(foreign).isEmpty());
}

void VKQtPathUtilsVolumesTest::markerAmongProcesses() {
    constexpr int kProcesses = 8;
    for (int round = 0; round < 20; ++round) {
        const QByteArray folder = newFolder();
        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        std::vector<pid_t> children;
        for (int i = 0; i < kProcesses; ++i) {
            const pid_t child = ::fork();
            QVERIFY(child >= 0);
            if (child == 0) {
                unsigned int id = 0;
                static_cast<void>(VKQtPathUtils::makeVolumeIDFromFile(QString::fromUtf8(folder), id));
                ::_exit(::write(ends[1], &id, sizeof id) == sizeof id ? 0 : 1);
            }
            children.push_back(child);
        }
        const unsigned int expected = [&] {
            for (const pid_t child : children) {
                int status = 1;
                if (::waitpid(child, &status, 0) != child || status != 0) {
                    return 0U;
                }
            }
            return checksum(Disk::contentOf(folder + "/.browse"));
        }();
        for (int i = 0; i < kProcesses; ++i) {
            unsigned int id = 0;
            QCOMPARE(::read(ends[0], &id, sizeof id), ssize_t(sizeof id));
            QCOMPARE(id, expected);
        }
        ::close(ends[0]);
        ::close(ends[1]);
        QCOMPARE(Disk::namesIn(folder), QByteArrayList{".browse"});
        QCOMPARE(Disk::contentOf(folder + "/.browse").size(), 36);
    }
}

void VKQtPathUtilsVolumesTest::removable() {
    QVERIFY(!VKQtPathUtils::isRemovable(VKQtPath()));
    QVERIFY(!VKQtPathUtils::isRemovable(VKQtPath(u"/proc"_s, true)));
    QVERIFY(!VKQtPathUtils::isRemovable(VKQtPath(u"/nowhere"_s, true)));
}

void VKQtPathUtilsVolumesTest::removing() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const Mounts::Mounted volume(kVolume, newFolder());
    QVERIFY2(volume.isMounted(), volume.message());
    QVERIFY(isListed(volume.place()));
    const VKQtPath path(QString::fromUtf8(volume.place()), true);
    QCOMPARE(VKQtPathUtils::removeDrive(path), kVKStatusSuccess);
    QTRY_VERIFY(!isListed(volume.place()));
    // Nothing there any more, no path, and the system itself.
    QCOMPARE(VKQtPathUtils::removeDrive(path), kVKStatusSuccess);
    QCOMPARE(VKQtPathUtils::removeDrive(VKQtPath()), kVKStatusSuccess);
    QCOMPARE(VKQtPathUtils::removeDrive(VKQtPath(u"/"_s, true)), kVKStatusSuccess);
    QVERIFY(isListed("/"));
}

void VKQtPathUtilsVolumesTest::lists() {
    const QStringList places = {u"/b"_s, u"/a"_s, u""_s, u"/b"_s};
    const QList<VKQtPath> paths =
        VKQtPathUtils::stringListToQPathList(places, [](const QString& text) { return text.endsWith(u'a'); });
    QCOMPARE(VKQtPathUtils::qPathListToStringList(paths), places);
    QCOMPARE(paths.size(), 4);
    for (const VKQtPath& path : paths) {
        QCOMPARE(path.isFolder(), path.path() == u"/a"_s);
    }
    QVERIFY(VKQtPathUtils::qPathListToStringList({}).isEmpty());
    QVERIFY(VKQtPathUtils::stringListToQPathList({}, [](const QString&) { return true; }).isEmpty());
}

void VKQtPathUtilsVolumesTest::emptyPredicate() {
    QVERIFY_THROWS_EXCEPTION(std::bad_function_call,
                             static_cast<void>(VKQtPathUtils::stringListToQPathList({u"/a"_s}, nullptr)));
}

VKTEST_MAIN_WITH_OWN_MOUNTS(VKQtPathUtilsVolumesTest)
#include "VKQtPathUtilsVolumesTest.moc"
