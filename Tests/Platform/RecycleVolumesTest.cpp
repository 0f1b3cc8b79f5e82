// Bins at the roots of volumes, on real file systems: which one is used, where there is none, and that none
// of it keeps a volume busy.
#include "Platform/RecycleBin.h"

#include "RecycleSupport.h"

#include <QScopeGuard>

#include <csignal>
#include <memory>

using namespace VKPlatform;
using namespace Recycle;

class RecycleVolumesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void fileSystems_data();
    void fileSystems();
    void sharedFolder_data();
    void sharedFolder();
    void ownFolder_data();
    void ownFolder();
    void nothingStaysOpen();
    void anotherVolumeAtTheSamePlace();
    void pathsThatLeadInAndOut();
    void bindMount();
    void subvolume();
    void overlayFolder();
    void mountPoints();
    void readOnly_data();
    void readOnly();
    void madeUpFileSystems_data();
    void madeUpFileSystems();
    void network();
    void fullVolume();
    void immutable();
    void restoreToAnotherVolume();
    void hostileRecords();
    void listedWithTheHomeBin();
    void serverThatIsSilent();
    void insideABin();

    void asAnotherUser_data();
    void asAnotherUser();

private:
    std::unique_ptr<Home> mHome;
    bool mPrivate = false;
};

void RecycleVolumesTest::initTestCase() {
    mPrivate = mountPrivately();
    VKTEST_NEEDS(mPrivate, "root, to mount volumes");
}

void RecycleVolumesTest::init() {
    VKTest::init();
    mHome = std::make_unique<Home>();
}

void RecycleVolumesTest::cleanup() { mHome.reset(); }

void RecycleVolumesTest::fileSystems_data() {
    QTest::addColumn<QByteArray>("type");
    for (const char* type : {"ext4", "xfs", "btrfs", "tmpfs", "exfat"}) {
        QTest::newRow(type) << QByteArray(type);
    }
}

void RecycleVolumesTest::fileSystems() {
    QFETCH(QByteArray, type);
    const Volume volume(type);
    QVERIFY(volume.isMounted());
    QByteArrayList names{"plain.jpg", "a%20b", "100%", "cafe\xCC\x81.jpg", QByteArray(251, 'x') + ".jpg"};
    if (type != "exfat") { // which keeps names as UTF-16 and refuses these
        names << "lat\xE9"
              << "a\nb" << QByteArray(255, '\xE9');
    }
    Disk::makeFolder(volume.folder() + "/in");
    for (const QByteArray& name : names) {
        for (const QByteArray& folder : {QByteArray(""), QByteArray("in/")}) {
            const QByteArray item = volume.folder() + '/' + folder + name;
            QByteArrayList recycled;
            for (const char* content : {"first", "second"}) {
                Disk::makeFile(item, content);
                QVERIFY(canRecycleItem(item));
                QByteArray place;
                QCOMPARE(recycle(item, &place), 0);
                QVERIFY2(!Disk::exists(item), name.constData());
                QVERIFY2(place.startsWith(QByteArray(volume.ownBin() + "/files/")), place.constData());
                QCOMPARE(recordedPath(place), folder + name);
                QCOMPARE(Disk::contentOf(place), QByteArray(content));
                recycled.append(place);
            }
            QCOMPARE(restoreItem(recycled.at(1), QByteArray()), 0);
            QCOMPARE(Disk::contentOf(item), QByteArray("second"));
            QCOMPARE(restoreItem(recycled.at(0), QByteArray()), EEXIST);
            QCOMPARE(Disk::contentOf(item), QByteArray("second"));
            QCOMPARE(::unlink(item.constData()), 0);
            QCOMPARE(restoreItem(recycled.at(0), QByteArray()), 0);
            QCOMPARE(Disk::contentOf(item), QByteArray("first"));
        }
    }
    QByteArray place;
    QCOMPARE(recycle(volume.folder() + "/in", &place), 0);
    QCOMPARE(Disk::namesIn(place).size(), names.size());
    QCOMPARE(restoreItem(place, QByteArray()), 0);
    QCOMPARE(Disk::namesIn(volume.folder() + "/in").size(), names.size());
    QVERIFY(Disk::namesIn(volume.ownBin() + "/files").isEmpty());
    QVERIFY(Disk::namesIn(volume.ownBin() + "/info").isEmpty());
    if (type != "exfat") {
        QCOMPARE(Disk::modeOf(volume.ownBin()), 0700U);
    }
    QVERIFY2(!Disk::exists(mHome->bin()), "the home bin is on another mount");
}

void RecycleVolumesTest::sharedFolder_data() {
    QTest::addColumn<QByteArray>("preparation"); // in the volume's root
    QTest::addColumn<bool>("used");
    const auto row = [](const char* why, const char* preparation, bool used) {
        QTest::newRow(why) << QByteArray(preparation) << used;
    };
    row("sticky", "mkdir -m 1777 .Trash", true);
    row("sticky, with my folder", "mkdir -m 1777 .Trash && mkdir -m 700 .Trash/0", true);
    row("sticky, with my whole bin", "mkdir -m 1777 .Trash && mkdir -p .Trash/0/files .Trash/0/info", true);
    row("not sticky", "mkdir -m 777 .Trash", false);
    row("link to a sticky folder", "mkdir -m 1777 real && ln -s real .Trash", false);
    row("file", "touch .Trash", false);
    row("link to nothing", "ln -s nothing .Trash", false);
    row("my folder is a link", "mkdir -m 1777 .Trash && mkdir real && ln -s ../real .Trash/0", false);
    row("my folder is another's", "mkdir -m 1777 .Trash && mkdir .Trash/0 && chown 4242 .Trash/0", false);
    row("my folder is a file", "mkdir -m 1777 .Trash && touch .Trash/0", false);
    row("my items' folder is a link",
        "mkdir -m 1777 .Trash real && mkdir .Trash/0 && ln -s /tmp .Trash/0/files", false);
}

void RecycleVolumesTest::sharedFolder() {
    QFETCH(QByteArray, preparation);
    QFETCH(bool, used);
    const Volume volume("tmpfs");
    QVERIFY(volume.isMounted());
    QCOMPARE(Shell::outputOf("cd " + volume.folder() + " && " + preparation).status, 0);
    const QByteArray before = Shell::outputOf("cd " + volume.folder() + " && find . | sort").text;
    const QByteArray item = volume.folder() + "/a";
    Disk::makeFile(item, "abc");
    QByteArray place;
    QCOMPARE(recycle(item, &place), 0);
    const QByteArray bin = used ? QByteArray(volume.folder() + "/.Trash/0") : volume.ownBin();
    QCOMPARE(place, bin + "/files/a");
    QCOMPARE(recordedPath(place), QByteArray("a"));
    QCOMPARE(Disk::modeOf(bin + "/files") & 0700U, 0700U);
    QCOMPARE(restoreItem(place, QByteArray()), 0);
    QCOMPARE(Disk::contentOf(item), QByteArray("abc"));
    if (!used) { // nothing was made in what is not used
        QCOMPARE(Shell::outputOf("cd " + volume.folder() + " && rm -r a .Trash-0 && find . | sort").text,
                 before);
    }
}

void RecycleVolumesTest::ownFolder_data() {
    QTest::addColumn<QByteArray>("preparation");
    const auto row = [](const char* why, const char* preparation) {
        QTest::newRow(why) << QByteArray(preparation);
    };
    row("link", "mkdir real && ln -s real .Trash-0");
    row("link to nothing", "ln -s nothing .Trash-0");
    row("file", "touch .Trash-0");
    row("another's", "mkdir .Trash-0 && chown 4242 .Trash-0");
    row("items are a link", "mkdir real .Trash-0 && ln -s ../real .Trash-0/files");
    row("records are another's", "mkdir -p .Trash-0/files .Trash-0/info && chown 4242 .Trash-0/info");
}

void RecycleVolumesTest::ownFolder() {
    QFETCH(QByteArray, preparation);
    const Volume volume("tmpfs");
    QVERIFY(volume.isMounted());
    QCOMPARE(Shell::outputOf("cd " + volume.folder() + " && " + preparation).status, 0);
    const QByteArray item = volume.folder() + "/a";
    Disk::makeFile(item, "abc");
    const QByteArray listing = "cd " + volume.folder() + " && find . -printf '%p %y %U %m\\n' | sort";
    const QByteArray before = Shell::outputOf(listing).text;
    QVERIFY(!canRecycleItem(item));
    QCOMPARE(recycle(item), EOPNOTSUPP);
    QCOMPARE(Shell::outputOf(listing).text, before);
}

void RecycleVolumesTest::nothingStaysOpen() {
    Volume volume("ext4");
    QVERIFY(volume.isMounted());
    for (const char* name : {"/a", "/b"}) {
        Disk::makeFile(volume.folder() + name);
        QCOMPARE(recycle(volume.folder() + name), 0);
    }
    QVERIFY(!recycleBins().isEmpty());
    QVERIFY2(volume.unmount(), "a volume cannot be ejected after recycling");
}

void RecycleVolumesTest::anotherVolumeAtTheSamePlace() {
    const QByteArray place = makeFolder(QStringLiteral("card")).toUtf8();
    QByteArray recycled;
    for (int card = 0; card < 3; ++card) { // mounts and devices get the numbers of those that are gone
        const QByteArray command = "mount -t tmpfs vktest " + place;
        QCOMPARE(Shell::outputOf(command).status, 0);
        Disk::makeFolder(place + "/DCIM");
        for (const char* name : {"/DCIM/a", "/DCIM/b"}) {
            Disk::makeFile(place + name, QByteArray::number(card));
            QCOMPARE(recycle(place + name, &recycled), 0);
            QCOMPARE(Disk::contentOf(recycled), QByteArray::number(card));
            QCOMPARE(recordOf(recycled).count("Path=DCIM/"), 1);
        }
        QCOMPARE(::umount2(place.constData(), 0), 0);
    }
}

void RecycleVolumesTest::pathsThatLeadInAndOut() {
    const Volume volume("tmpfs");
    QVERIFY(volume.isMounted());
    const QByteArray outside = makeFolder(QStringLiteral("outside")).toUtf8();
    Disk::makeFile(volume.folder() + "/in");
    Disk::makeFile(outside + "/out");
    Disk::makeLink(outside + "/to-volume", volume.folder());
    Disk::makeLink(volume.folder() + "/to-outside", outside);
    QByteArray recycled;
    QCOMPARE(recycle(outside + "/to-volume/in", &recycled), 0);
    QCOMPARE(recycled, volume.ownBin() + "/files/in");
    QCOMPARE(recordedPath(recycled), QByteArray("in"));
    QCOMPARE(recycle(volume.folder() + "/to-outside/out", &recycled), 0);
    QCOMPARE(recycled, mHome->bin() + "/files/out");
    QCOMPARE(recordedPath(recycled), outside + "/out");
    // The link itself, not what it names.
    QCOMPARE(recycle(volume.folder() + "/to-outside", &recycled), 0);
    QCOMPARE(recycled, volume.ownBin() + "/files/to-outside");
}

void RecycleVolumesTest::bindMount() {
    const Volume volume("ext4");
    QVERIFY(volume.isMounted());
    Disk::makeFolder(volume.folder() + "/part");
    const QByteArray bound = makeFolder(QStringLiteral("bound")).toUtf8();
    QCOMPARE(::mount(Disk::text(volume.folder() + "/part"), bound.constData(), nullptr, MS_BIND, nullptr), 0);
    Disk::makeFile(bound + "/a", "abc");
    QByteArray recycled;
    QVERIFY(canRecycleItem(bound + "/a"));
    QCOMPARE(recycle(bound + "/a", &recycled), 0);
    QCOMPARE(recycled, bound + "/.Trash-0/files/a");
    QCOMPARE(recordedPath(recycled), QByteArray("a"));
    QCOMPARE(restoreItem(recycled, QByteArray()), 0);
    // The same file by its other path goes to the other bin.
    QCOMPARE(recycle(volume.folder() + "/part/a", &recycled), 0);
    QCOMPARE(recycled, volume.ownBin() + "/files/a");
    // From one to the other cannot be renamed, although both are one device.
    QCOMPARE(restoreItem(recycled, bound + "/a"), EXDEV);
    QCOMPARE(Disk::contentOf(recycled), QByteArray("abc"));
    QCOMPARE(::umount2(bound.constData(), 0), 0);
}

void RecycleVolumesTest::subvolume() {
    const Volume volume("btrfs");
    QVERIFY(volume.isMounted());
    const QByteArray sub = volume.folder() + "/sub";
    QCOMPARE(Shell::outputOf("btrfs -q subvolume create " + sub).status, 0);
    Disk::makeFolder(sub + "/in");
    Disk::makeFile(sub + "/in/a", "abc");
    Disk::makeFile(volume.folder() + "/b", "abc");
    QByteArray recycled;
    QVERIFY(canRecycleItem(sub + "/in/a"));
    QCOMPARE(recycle(sub + "/in/a", &recycled), 0);
    QCOMPARE(recycled, sub + "/.Trash-0/files/a");
    QCOMPARE(recordedPath(recycled), QByteArray("in/a"));
    QCOMPARE(recycleBinsFor(sub + "/in"), QByteArrayList{sub + "/.Trash-0"});
    QCOMPARE(restoreItem(recycled, QByteArray()), 0);
    QCOMPARE(Disk::contentOf(sub + "/in/a"), QByteArray("abc"));
    QCOMPARE(recycle(volume.folder() + "/b", &recycled), 0);
    QCOMPARE(recycled, volume.ownBin() + "/files/b");
}

void RecycleVolumesTest::overlayFolder() {
    const Volume volume("tmpfs");
    QVERIFY(volume.isMounted());
    QCOMPARE(Shell::outputOf("cd " + volume.folder() +
                             " && mkdir -p lower/folder upper work merged && echo abc >lower/folder/a && "
                             "echo abc >lower/b && mount -t overlay overlay -o "
                             "redirect_dir=off,lowerdir=lower,upperdir=upper,workdir=work merged")
                 .status,
             0);
    const QByteArray merged = volume.folder() + "/merged";
    QByteArray recycled;
    QCOMPARE(recycle(merged + "/b", &recycled), 0);
    QCOMPARE(recycled, merged + "/.Trash-0/files/b");
    // A folder of the lower layer cannot be renamed, only copied, which nobody asked for.
    QCOMPARE(recycle(merged + "/folder", &recycled), EOPNOTSUPP);
    QCOMPARE(Disk::contentOf(merged + "/folder/a"), QByteArray("abc\n"));
    QCOMPARE(Disk::namesIn(merged + "/.Trash-0/info"), QByteArrayList{"b.trashinfo"});
    QCOMPARE(::umount2(merged.constData(), 0), 0);
}

void RecycleVolumesTest::mountPoints() {
    const Volume volume("tmpfs");
    QVERIFY(volume.isMounted());
    QCOMPARE(recycle(volume.folder()), EBUSY);
    QVERIFY(!canRecycleItem(volume.folder()));
    // A file that is mounted on a file.
    Disk::makeFile(volume.folder() + "/a", "1");
    Disk::makeFile(volume.folder() + "/b", "2");
    const QByteArray onto = volume.folder() + "/b";
    QCOMPARE(::mount(Disk::text(volume.folder() + "/a"), onto.constData(), nullptr, MS_BIND, nullptr), 0);
    QCOMPARE(recycle(onto), EBUSY);
    QCOMPARE(::umount2(onto.constData(), 0), 0);
    QCOMPARE(Disk::contentOf(onto), QByteArray("2"));
    // A folder around one, at any depth: the kernel would move what is mounted there along, and whoever empties the bin
    // would delete it. Both when the bin is sought and when it is remembered.
    const QByteArray around = volume.folder() + "/around";
    for (const QByteArray& folder :
         {around, QByteArray(around + "/deep"), QByteArray(around + "/deep/card")}) {
        Disk::makeFolder(folder);
    }
    {
        const Disk::TemporaryFileSystem card(around + "/deep/card", "size=1m");
        QVERIFY(card.isMounted());
        Disk::makeFile(around + "/deep/card/photo");
        QCOMPARE(recycle(around), EBUSY);
        QCOMPARE(recycle(volume.folder() + "/a"), 0);
        QCOMPARE(recycle(around), EBUSY);
        QVERIFY(!canRecycleItem(around));
        QVERIFY(Disk::exists(around + "/deep/card/photo"));
    }
    QVERIFY(canRecycleItem(around));
    QCOMPARE(recycle(around), 0);
}

void RecycleVolumesTest::readOnly_data() {
    QTest::addColumn<bool>("hasBin");
    QTest::newRow("with a bin") << true;
    QTest::newRow("without") << false;
}

void RecycleVolumesTest::readOnly() {
    QFETCH(bool, hasBin);
    const Volume volume("ext4");
    QVERIFY(volume.isMounted());
    const QByteArray item = volume.folder() + "/a";
    QByteArray recycled;
    if (hasBin) {
        Disk::makeFile(volume.folder() + "/before");
        QCOMPARE(recycle(volume.folder() + "/before", &recycled), 0);
    }
    Disk::makeFile(item, "abc");
    QCOMPARE(::mount(nullptr, volume.folder().constData(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    QVERIFY(!canRecycleItem(item));
    QCOMPARE(recycle(item), EOPNOTSUPP);
    if (hasBin) {
        QCOMPARE(restoreItem(recycled, QByteArray()), EROFS);
        QVERIFY(Disk::exists(recycled));
    }
    QCOMPARE(::mount(nullptr, volume.folder().constData(), nullptr, MS_REMOUNT, nullptr), 0);
    QVERIFY(canRecycleItem(item));
    QCOMPARE(recycle(item), 0);
}

void RecycleVolumesTest::madeUpFileSystems_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("process") << QByteArray("/proc/self/status");
    QTest::newRow("system") << QByteArray("/sys/kernel/mm");
    QTest::newRow("device") << QByteArray("/dev/null");
}

void RecycleVolumesTest::madeUpFileSystems() {
    QFETCH(QByteArray, path);
    VKTEST_NEEDS(Disk::exists(path), "that file system");
    QVERIFY(!canRecycleItem(path));
    QCOMPARE(recycle(path), EOPNOTSUPP);
    QVERIFY(Disk::exists(path));
}

void RecycleVolumesTest::network() {
    // A user-space file system that calls itself what an SSH mount does.
    const Volume volume("tmpfs");
    const QByteArray net = makeFolder(QStringLiteral("net")).toUtf8();
    QCOMPARE(Shell::outputOf("bindfs -o subtype=sshfs " + volume.folder() + ' ' + net).status, 0);
    Disk::makeFile(net + "/a", "abc");
    const bool can = canRecycleItem(net + "/a");
    const int error = recycle(net + "/a");
    // The home folder on the server: its bin is the user's own.
    Disk::makeFolder(net + "/home");
    QByteArray recycled;
    int inHome = 0;
    {
        const Home home(net + "/home");
        inHome = recycle(net + "/a", &recycled);
    }
    const QByteArrayList names = Disk::namesIn(net);
    QCOMPARE(::umount2(net.constData(), 0), 0);
    QVERIFY(!can);
    QCOMPARE(error, EOPNOTSUPP);
    QCOMPARE(inHome, 0);
    QCOMPARE(recycled, net + "/home/.local/share/Trash/files/a");
    QCOMPARE(names, QByteArrayList{"home"});
}

void RecycleVolumesTest::fullVolume() {
    const Volume volume("tmpfs");
    QVERIFY(volume.isMounted());
    const QByteArray item = volume.folder() + "/a";
    const QByteArray filler = volume.folder() + "/filler";
    Disk::makeFile(item, "abc");
    QVERIFY(Shell::outputOf("cat /dev/zero 2>/dev/null >" + filler).status != 0);
    QCOMPARE(recycle(item), ENOSPC);
    QCOMPARE(Disk::contentOf(item), QByteArray("abc"));
    QVERIFY2(!Disk::exists(volume.ownBin()), "a bin was left that nothing is in");
    QCOMPARE(::unlink(filler.constData()), 0);
    QCOMPARE(recycle(item), 0);
}

void RecycleVolumesTest::immutable() {
    const Volume volume("ext4");
    QVERIFY(volume.isMounted());
    const QByteArray item = volume.folder() + "/a";
    Disk::makeFile(item, "abc");
    QCOMPARE(Shell::outputOf("chattr +i " + item).status, 0);
    QCOMPARE(recycle(item), EPERM);
    QVERIFY2(!Disk::exists(volume.ownBin()), "a bin was left that nothing is in");
    QCOMPARE(Shell::outputOf("chattr -i " + item).status, 0);
    QCOMPARE(recycle(item), 0);
}

void RecycleVolumesTest::restoreToAnotherVolume() {
    const Volume volume("tmpfs");
    QVERIFY(volume.isMounted());
    Disk::makeFile(volume.folder() + "/a", "abc");
    QByteArray recycled;
    QCOMPARE(recycle(volume.folder() + "/a", &recycled), 0);
    QCOMPARE(restoreItem(recycled, mHome->folder() + "/new/a"), EXDEV);
    QVERIFY(!Disk::exists(mHome->folder() + "/new"));
    QCOMPARE(Disk::contentOf(recycled), QByteArray("abc"));
    QCOMPARE(recordedPath(recycled), QByteArray("a"));
}

void RecycleVolumesTest::hostileRecords() {
    // A card from somebody else: its records must not write outside of it.
    const Volume volume("tmpfs");
    QVERIFY(volume.isMounted());
    const QByteArray bin = volume.ownBin();
    QCOMPARE(Shell::outputOf("mkdir -p " + bin + "/files " + bin + "/info").status, 0);
    Disk::makeLink(volume.folder() + "/way-out", mHome->folder());
    for (const QByteArray& path : {QByteArray("../../evil"), QByteArray(mHome->folder() + "/evil"),
                                   QByteArray("way-out/evil"), QByteArray("way-out/new/evil")}) {
        Disk::makeFile(bin + "/files/evil", "abc");
        Disk::makeFile(bin + "/info/evil.trashinfo",
                       "[Trash Info]\nPath=" + path + "\nDeletionDate=2020-01-01T00:00:00\n");
        const int error = restoreItem(bin + "/files/evil", QByteArray());
        QVERIFY2(error == EXDEV || error == ENODATA, path.constData());
        QVERIFY(Disk::namesIn(mHome->folder()).isEmpty());
        QVERIFY(Disk::exists(bin + "/files/evil"));
    }
}

void RecycleVolumesTest::listedWithTheHomeBin() {
    const Volume volume("tmpfs");
    QVERIFY(volume.isMounted());
    QCOMPARE(Shell::outputOf("mkdir -m 1777 " + volume.folder() + "/.Trash").status, 0);
    Disk::makeFile(volume.folder() + "/a", "abc");
    Disk::makeFile(mHome->folder() + "/b", "abc");
    QByteArray onVolume;
    QCOMPARE(recycle(volume.folder() + "/a", &onVolume), 0);
    QCOMPARE(recycle(mHome->folder() + "/b"), 0);
    const QByteArrayList bins = recycleBins();
    QCOMPARE(bins.first(), mHome->bin());
    QCOMPARE(bins.count(volume.folder() + "/.Trash/0"), 1);
    QCOMPARE(recycleBinsFor(volume.folder()), QByteArrayList{volume.folder() + "/.Trash/0"});
    QCOMPARE(listRecycleBin(volume.folder() + "/.Trash/0",
                            [&](const RecycledItem& item) {
                                return item.path == onVolume && item.originalPath == volume.folder() + "/a";
                            }),
             0);
}

void RecycleVolumesTest::serverThatIsSilent() {
    const Volume volume("tmpfs");
    QVERIFY(volume.isMounted());
    QCOMPARE(Shell::outputOf("mkdir -m 1777 " + volume.folder() + "/.Trash").status, 0);
    Disk::makeFile(volume.folder() + "/a", "abc");
    Disk::makeFile(mHome->folder() + "/b", "abc");
    QCOMPARE(recycle(mHome->folder() + "/b"), 0);
    const QByteArray served = makeFolder(QStringLiteral("served")).toUtf8();
    const pid_t server = Shell::outputOf("bindfs -f " + volume.folder() + ' ' + served +
                                         " </dev/null >/dev/null 2>&1 & echo $!")
                             .text.trimmed()
                             .toInt();
    QVERIFY(server > 0);
    const auto end = qScopeGuard([&] {
        ::kill(server, SIGCONT);
        ::umount2(served.constData(), MNT_DETACH);
    });
    constexpr int kLongest = 60'000; // only where it fails, or the machine is busy
    QTRY_VERIFY_WITH_TIMEOUT(Disk::exists(served + "/a"), kLongest);
    const QByteArray bin = served + "/.Trash/0";
    QCOMPARE(recycle(served + "/a"), 0);
    QTRY_COMPARE_WITH_TIMEOUT(recycleBins().count(bin), 1, kLongest);
    QCOMPARE(::kill(server, SIGSTOP), 0);
    const QByteArrayList bins = recycleBins();
    QCOMPARE(bins.first(), mHome->bin());
    QVERIFY(!bins.contains(bin));
    QCOMPARE(::kill(server, SIGCONT), 0);
    QTRY_COMPARE_WITH_TIMEOUT(recycleBins().count(bin), 1, kLongest);
}

void RecycleVolumesTest::insideABin() {
    const Volume volume("tmpfs");
    QVERIFY(volume.isMounted());
    Disk::makeFile(volume.folder() + "/a");
    QByteArray recycled;
    QCOMPARE(recycle(volume.folder() + "/a", &recycled), 0);
    for (const QByteArray& path : {recycled, volume.ownBin(), QByteArray(volume.ownBin() + "/files"),
                                   QByteArray(volume.ownBin() + "/info/a.trashinfo")}) {
        QCOMPARE(recycle(path), EBUSY);
        QVERIFY(!canRecycleItem(path));
    }
    // A folder that was only called so, somewhere else.
    QCOMPARE(Shell::outputOf("mkdir -p " + volume.folder() + "/old/.Trash-0/files").status, 0);
    QCOMPARE(recycle(volume.folder() + "/old/.Trash-0"), 0);
}

void RecycleVolumesTest::asAnotherUser_data() {
    QTest::addColumn<QByteArray>("preparation"); // in the volume, whose root is 0755 and root's
    QTest::addColumn<int>("error");
    QTest::addColumn<QByteArray>("place");
    const auto row = [](const char* why, const char* preparation, int error, const char* place) {
        QTest::newRow(why) << QByteArray(preparation) << error << QByteArray(place);
    };
    row("root of the volume is closed", "mkdir -m 777 d; touch d/a; chown -R 65534 d", EOPNOTSUPP, "");
    row("root of the volume is open", "chmod 1777 .; mkdir -m 777 d; touch d/a; chown -R 65534 d", 0,
        "/.Trash-65534/files/a");
    row("shared folder", "mkdir -m 1777 .Trash; mkdir -m 777 d; touch d/a; chown -R 65534 d", 0,
        "/.Trash/65534/files/a");
    row("folder is read-only", "chmod 1777 .; mkdir d; touch d/a; chmod 555 d", EACCES, "");
    row("sticky folder, another's item", "chmod 1777 .; mkdir -m 1777 d; touch d/a", EPERM, "");
    row("another's item in a shared folder", "chmod 1777 .; mkdir -m 777 d; touch d/a", 0,
        "/.Trash-65534/files/a");
    row("folder that may not be written", "chmod 1777 .; mkdir -m 777 d; mkdir -m 755 d/a", EACCES, "");
    row("folder cannot be searched", "chmod 1777 .; mkdir -m 700 d; touch d/a", EACCES, "");
    row("own bin was closed",
        "chmod 1777 .; mkdir -p .Trash-65534/files .Trash-65534/info; "
        "chmod 500 .Trash-65534/info; chown -R 65534 .Trash-65534; "
        "mkdir -m 777 d; touch d/a",
        EOPNOTSUPP, "");
}

void RecycleVolumesTest::asAnotherUser() {
    QFETCH(QByteArray, preparation);
    QFETCH(int, error);
    QFETCH(QByteArray, place);
    const Volume volume("ext4");
    QVERIFY(volume.isMounted());
    Disk::openForOthers(volume.folder() + "/x");
    QCOMPARE(Shell::outputOf("cd " + volume.folder() + " && { " + preparation + "; }").status, 0);
    const QByteArray item = volume.folder() + "/d/a";
    // What was remembered for this process's user is of no use to the other.
    Disk::makeFile(volume.folder() + "/mine");
    QCOMPARE(recycle(volume.folder() + "/mine"), 0);
    const QByteArray folder = volume.folder();
    const bool reachable = !preparation.contains("-m 700 d");
    const int seen = Disk::asOtherUser([&] {
        qputenv("HOME", "/nonexistent");
        const bool can = canRecycleItem(item);
        QByteArray recycled;
        const int result = recycle(item, &recycled);
        if (can != (reachable && result != EOPNOTSUPP)) {
            return can ? 252 : 253;
        }
        return result == 0 && recycled != folder + place ? 251 : result;
    });
    QCOMPARE(seen, error);
    QCOMPARE(Disk::exists(item), error != 0);
    if (error != 0 && !preparation.contains(".Trash-65534")) {
        QVERIFY2(!Disk::exists(volume.folder() + "/.Trash-65534"), "a bin was left that nothing is in");
    }
}

VKTEST_MAIN(RecycleVolumesTest)
#include "RecycleVolumesTest.moc"
