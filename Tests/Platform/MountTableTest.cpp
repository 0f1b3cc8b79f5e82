// The mount table: text to entries, which of them can be reached, which one holds a path; and the real table.
#include "Platform/MountTable.h"

#include "Platform/MountTexts.h"
#include "Support/DiskSupport.h"
#include "Support/MountSupport.h"
#include "Support/VKTest.h"

#include <algorithm>

using namespace VKPlatform;

class MountTableTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void fields();
    void escapes();
    void senseless_data();
    void senseless();
    void mostMounts();
    void options_data();
    void options();
    void reachable_data();
    void reachable();
    void reachingTwiceChangesNothing_data();
    void reachingTwiceChangesNothing();
    void circles();
    void lastOneAtAPlace();
    void wholeOfAPart();
    void served_data();
    void served();
    void theRealTable();
    void overMounts();
    void userOptions();
    void fstabOptions();
    void holding();
    void holdingThroughLinks();
};

namespace {

MountEntry entry(int id, int parent, const QByteArray& place) {
    MountEntry mount;
    mount.id = id;
    mount.parent = parent;
    mount.place = place;
    mount.type = "ext4";
    mount.root = "/";
    return mount;
}

QByteArrayList placesOf(const std::vector<MountEntry>& mounts) {
    QByteArrayList places;
    for (const MountEntry& mount : mounts) {
        places.append(mount.place);
    }
    return places;
}

void machineRows() {
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("Debian desktop") << QByteArray(MountTexts::kDebianDesktop);
    QTest::newRow("Ubuntu with snaps") << QByteArray(MountTexts::kUbuntuWithSnaps);
    QTest::newRow("Fedora on btrfs") << QByteArray(MountTexts::kFedoraBtrfs);
    QTest::newRow("container") << QByteArray(MountTexts::kDockerContainer);
    QTest::newRow("container host") << QByteArray(MountTexts::kDockerHost);
    QTest::newRow("Windows subsystem") << QByteArray(MountTexts::kWindowsSubsystem);
    QTest::newRow("network client") << QByteArray(MountTexts::kNetworkClient);
    QTest::newRow("over-mounts") << QByteArray(MountTexts::kOverMounts);
    QTest::newRow("binds") << QByteArray(MountTexts::kBinds);
    QTest::newRow("odd names") << QByteArray(MountTexts::kOddNames);
}

std::vector<MountEntry> realTable() {
    std::vector<MountEntry> mounts;
    const int error = mountedFileSystems(mounts);
    return error == 0 ? mounts : std::vector<MountEntry>();
}

/// The options of what is mounted at the place now; null when nothing is.
QByteArray optionsAt(const QByteArray& place) {
    const auto mounts = realTable();
    const MountEntry* mount = mountAt(mounts, place);
    return mount == nullptr ? QByteArray() : mount->options;
}

} // namespace

void MountTableTest::fields() {
    const auto mounts =
        parseMountInfo("36 35 98:7 /part /mnt/x rw,noatime shared:1 master:2 - ext3 /dev/root ro,errors=x\n"
                       "37 36 0:40 / /proc rw - proc proc rw\n");
    QCOMPARE(mounts.size(), 2U);
    const MountEntry& mount = mounts.front();
    QCOMPARE(mount.id, 36);
    QCOMPARE(mount.parent, 35);
    QCOMPARE(mount.major, 98U);
    QCOMPARE(mount.minor, 7U);
    QCOMPARE(mount.root, QByteArray("/part"));
    QCOMPARE(mount.place, QByteArray("/mnt/x"));
    QCOMPARE(mount.type, QByteArray("ext3"));
    QCOMPARE(mount.source, QByteArray("/dev/root"));
    QVERIFY(hasOption(mount.options, "noatime"));
    QVERIFY(hasOption(mount.options, "errors"));
    QVERIFY(!mount.isPseudo);
    QVERIFY(mounts.back().isPseudo);
}

void MountTableTest::escapes() {
    const auto mounts = parseMountInfo(MountTexts::kOddNames);
    QCOMPARE(placesOf(mounts), (QByteArrayList{"/", "/mnt/tab\tline\nback\\slash", "/mnt/caf\xc3\xa9",
                                               "/mnt/hash#tag", "/mnt/.hidden", "/mnt/.hidden/below"}));
    QCOMPARE(mounts.at(3).source, QByteArray("/dev/disk/by-label/My\\x20Card"));
}

void MountTableTest::senseless_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArrayList>("places");
    QTest::newRow("nothing") << QByteArray() << QByteArrayList();
    QTest::newRow("an empty line") << QByteArray("\n") << QByteArrayList();
    QTest::newRow("words") << QByteArray("these are words\n") << QByteArrayList();
    QTest::newRow("cut off") << QByteArray("36 35 98:0 / /mnt") << QByteArrayList();
    QTest::newRow("no type") << QByteArray("36 35 98:0 / /mnt rw -\n") << QByteArrayList();
    QTest::newRow("no absolute place")
        << QByteArray("36 35 98:0 / mnt rw - ext4 /dev/sda1 rw\n") << QByteArrayList();
    QTest::newRow("one bad line among good ones")
        << QByteArray("36 35 98:0 / /a rw - ext4 /dev/a rw\nnonsense\n37 35 98:1 / /b rw - ext4 /dev/b rw\n")
        << QByteArrayList{"/a", "/b"};
    QTest::newRow("no line end") << QByteArray("36 35 98:0 / /a rw - ext4 /dev/a rw") << QByteArrayList{"/a"};
}

void MountTableTest::senseless() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArrayList, places);
    QCOMPARE(placesOf(parseMountInfo(text)), places);
}

void MountTableTest::mostMounts() {
    const auto countOf = [](std::size_t lines) {
        QByteArray text;
        for (std::size_t i = 0; i < lines; ++i) {
            text += QByteArray::number(i + 2) + " 1 8:1 / /m rw - ext4 /dev/a rw\n";
        }
        return parseMountInfo(text).size();
    };
    QCOMPARE(countOf(kMostMounts - 1), kMostMounts - 1);
    QCOMPARE(countOf(kMostMounts), kMostMounts);
    QCOMPARE(countOf(kMostMounts + 1), kMostMounts);
}

void MountTableTest::options_data() {
    QTest::addColumn<QByteArray>("options");
    QTest::addColumn<QByteArray>("option");
    QTest::addColumn<bool>("there");
    const auto row = [](const char* name, const char* options, const char* option, bool there) {
        QTest::newRow(name) << QByteArray(options) << QByteArray(option) << there;
    };
    row("first", "ro,noatime", "ro", true);
    row("last", "noatime,ro", "ro", true);
    row("alone", "ro", "ro", true);
    row("with a value", "rw,x-gvfs-hide=yes", "x-gvfs-hide", true);
    row("beginning of another", "rw,x-gvfs-hidelike", "x-gvfs-hide", false);
    row("value of another", "rw,name=ro", "ro", false);
    row("none", "", "ro", false);
    row("empty option", "rw,,ro", "", false);
}

void MountTableTest::options() {
    QFETCH(QByteArray, options);
    QFETCH(QByteArray, option);
    QFETCH(bool, there);
    QCOMPARE(hasOption(options, option), there);
}

void MountTableTest::reachable_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArrayList>("hidden");
    QTest::newRow("covered at its place, below a covered one, beside a later one above it, deleted")
        << QByteArray(MountTexts::kOverMounts)
        << QByteArrayList{"/dev/sda2", "/dev/sda3", "/dev/sda5", "/dev/sda7"};
    QTest::newRow("an automatic mount under what it mounted")
        << QByteArray(MountTexts::kNetworkClient) << QByteArrayList{"systemd-1"};
    QTest::newRow("nothing covers anything") << QByteArray(MountTexts::kDebianDesktop) << QByteArrayList();
    QTest::newRow("a name that begins like another")
        << QByteArray("27 1 8:1 / / rw - ext4 /dev/a rw\n28 27 8:2 / /mnt/ab rw - ext4 /dev/b rw\n"
                      "29 27 8:3 / /mnt/a rw - ext4 /dev/c rw\n")
        << QByteArrayList();
    QTest::newRow("the root covered by another")
        << QByteArray("27 1 8:1 / / rw - ext4 /dev/a rw\n28 27 8:2 / /mnt rw - ext4 /dev/b rw\n"
                      "29 27 8:3 / / rw - ext4 /dev/c rw\n")
        << QByteArrayList{"/dev/a", "/dev/b"};
    QTest::newRow("mounted on what covers")
        << QByteArray("27 1 8:1 / / rw - ext4 /dev/a rw\n28 27 8:2 / / rw - ext4 /dev/b rw\n"
                      "29 28 8:3 / /mnt rw - ext4 /dev/c rw\n")
        << QByteArrayList{"/dev/a"};
}

void MountTableTest::reachable() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArrayList, hidden);
    const auto all = parseMountInfo(text);
    const auto shown = reachableMounts(all);
    QByteArrayList missing;
    for (const MountEntry& mount : all) {
        const bool isShown = std::any_of(shown.begin(), shown.end(),
                                         [&](const MountEntry& other) { return other.id == mount.id; });
        if (!isShown) {
            missing.append(mount.source);
        }
    }
    QCOMPARE(missing, hidden);
}

void MountTableTest::reachingTwiceChangesNothing_data() { machineRows(); }

void MountTableTest::reachingTwiceChangesNothing() {
    QFETCH(QByteArray, text);
    const auto once = reachableMounts(parseMountInfo(text));
    QVERIFY(!once.empty());
    QCOMPARE(placesOf(reachableMounts(once)), placesOf(once));
    // A place leads to one mount.
    QByteArrayList places = placesOf(once);
    std::sort(places.begin(), places.end());
    QVERIFY(std::adjacent_find(places.begin(), places.end()) == places.end());
}

void MountTableTest::circles() {
    QCOMPARE(reachableMounts({entry(1, 2, "/a"), entry(2, 1, "/b")}).size(), 0U);
    QCOMPARE(placesOf(reachableMounts({entry(1, 1, "/")})), QByteArrayList{"/"});
    QCOMPARE(placesOf(reachableMounts({entry(1, 0, "/"), entry(5, 6, "/a"), entry(6, 5, "/a/b")})),
             QByteArrayList{"/"});
}

void MountTableTest::lastOneAtAPlace() {
    const auto mounts = parseMountInfo(MountTexts::kOverMounts);
    const MountEntry* mount = mountAt(mounts, "/mnt/disk");
    QVERIFY(mount != nullptr);
    QCOMPARE(mount->type, QByteArray("xfs"));
    QVERIFY(mountAt(mounts, "/mnt") == nullptr);
    QVERIFY(mountAt(mounts, "/mnt/disk/") == nullptr);
    QVERIFY(mountAt(mounts, "") == nullptr);
}

void MountTableTest::wholeOfAPart() {
    const auto mounts = parseMountInfo(MountTexts::kBinds);
    const auto wholeAt = [&](const char* place) { return wholeOf(mounts, *mountAt(mounts, place)).place; };
    QCOMPARE(wholeAt("/mnt/album"), QByteArray("/mnt/card"));
    QCOMPARE(wholeAt("/mnt/again"), QByteArray("/mnt/again"));
    QCOMPARE(wholeAt("/mnt/part"), QByteArray("/boot/data"));
    QCOMPARE(wholeAt("/"), QByteArray("/"));
    const auto alone = parseMountInfo(MountTexts::kDockerContainer);
    QCOMPARE(wholeOf(alone, *mountAt(alone, "/photos")).place, QByteArray("/photos"));
}

void MountTableTest::served_data() {
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<bool>("isServed");
    QTest::newRow("sshfs") << QByteArray("fuse.sshfs") << QByteArray("a@nas:/p") << true;
    QTest::newRow("nfs") << QByteArray("nfs4") << QByteArray("nas:/p") << true;
    QTest::newRow("a disk through user space") << QByteArray("fuseblk") << QByteArray("/dev/sdb1") << true;
    QTest::newRow("a disk") << QByteArray("ext4") << QByteArray("/dev/sda1") << false;
    QTest::newRow("memory") << QByteArray("tmpfs") << QByteArray("nas:/p") << false;
}

void MountTableTest::served() {
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, source);
    MountEntry mount;
    mount.type = type;
    mount.source = source;
    QTEST(isServed(mount), "isServed");
}

void MountTableTest::theRealTable() {
    const auto mounts = realTable();
    QVERIFY(mountAt(mounts, "/") != nullptr);
    const MountEntry* proc = mountAt(mounts, "/proc");
    QVERIFY(proc != nullptr);
    QCOMPARE(proc->type, QByteArray("proc"));
    QVERIFY(proc->isPseudo);
}

void MountTableTest::overMounts() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = makeFolder(QStringLiteral("over")).toUtf8();
    Disk::makeFolder(folder + "/a");
    const Disk::TemporaryFileSystem lower(folder + "/a", "size=1m");
    Disk::makeFolder(folder + "/a/b");
    const Disk::TemporaryFileSystem below(folder + "/a/b", "size=2m");
    QCOMPARE(reachableMounts(realTable()).size() > 0, true);
    const auto countAt = [](const QByteArray& place) {
        return placesOf(reachableMounts(realTable())).count(place);
    };
    QCOMPARE(countAt(folder + "/a"), 1);
    QCOMPARE(countAt(folder + "/a/b"), 1);
    {
        const Disk::TemporaryFileSystem upper(folder + "/a", "size=3m");
        QVERIFY(upper.isMounted());
        QCOMPARE(placesOf(realTable()).count(folder + "/a"), 2);
        QCOMPARE(countAt(folder + "/a"), 1);
        QCOMPARE(countAt(folder + "/a/b"), 0);
        QVERIFY(hasOption(optionsAt(folder + "/a"), "size=3072k"));
    }
    QCOMPARE(countAt(folder + "/a/b"), 1);
}

void MountTableTest::userOptions() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = makeFolder(QStringLiteral("user options")).toUtf8();
    const Mounts::Mounted mounted("-t tmpfs -o x-gvfs-hide,size=1m vktest", folder);
    QVERIFY2(mounted.isMounted(), mounted.message());
    QVERIFY(hasOption(optionsAt(folder), "x-gvfs-hide"));
    QVERIFY(hasOption(optionsAt(folder), "rw"));
}

void MountTableTest::fstabOptions() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = makeFolder(QStringLiteral("fstab")).toUtf8();
    Disk::makeFile(folder + "/fstab", "vktest " + folder + "/m tmpfs x-gvfs-show,size=1m 0 0\n");
    Disk::makeFolder(folder + "/m");
    const Disk::TemporaryFileSystem mounted(folder + "/m", "size=1m");
    qputenv("LIBMOUNT_FSTAB", folder + "/fstab");
    const auto restore = qScopeGuard([] { qunsetenv("LIBMOUNT_FSTAB"); });
    QVERIFY(hasOption(optionsAt(folder + "/m"), "x-gvfs-show"));
    QVERIFY(!hasOption(optionsAt("/"), "x-gvfs-show"));
}

void MountTableTest::holding() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = makeFolder(QStringLiteral("holding")).toUtf8();
    Disk::makeFolder(folder + "/m");
    const Disk::TemporaryFileSystem mounted(folder + "/m", "size=1m");
    QVERIFY(mounted.isMounted());
    Disk::makeFolder(folder + "/m/sub");
    const auto mounts = realTable();
    QCOMPARE(mountHolding(mounts, folder + "/m")->place, folder + "/m");
    QCOMPARE(mountHolding(mounts, folder + "/m/sub")->place, folder + "/m");
    QVERIFY(mountHolding(mounts, folder)->place != folder + "/m");
    QVERIFY(!mountHolding(mounts, folder + "/m/none").has_value());
    QVERIFY(!mountHolding(mounts, QByteArray()).has_value());
}

void MountTableTest::holdingThroughLinks() {
    const QByteArray folder = makeFolder(QStringLiteral("links")).toUtf8();
    Disk::makeLink(folder + "/toProc", "/proc/self");
    Disk::makeLink(folder + "/dangling", "nothing");
    const auto mounts = realTable();
    QCOMPARE(mountHolding(mounts, folder + "/toProc")->place, QByteArray("/proc"));
    QVERIFY(!mountHolding(mounts, folder + "/dangling").has_value());
}

VKTEST_MAIN_WITH_OWN_MOUNTS(MountTableTest)
#include "MountTableTest.moc"
