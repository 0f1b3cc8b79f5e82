// The members of VKQtPath that look at the disk or change it, volumes and special places, under each platform's
// rules; on names that are decomposed, undecodable or otherwise odd.
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"
#include "VKCoreKit/CoreKitSupport.h"
#include "VKQtPath.h"
#include "VKQtPathUtils.h"
#include "VKQtSysInfo.h"

#include <QDateTime>
#include <QTimeZone>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

using namespace CoreKit;
using namespace Qt::StringLiterals;

namespace {

struct Rules {
    bool mac = std::strcmp(vkTestPlatformRules(), "macos") == 0;
    bool windows = std::strcmp(vkTestPlatformRules(), "windows") == 0;
};

void addOddNames() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << QByteArray("a.jpg") << u"a.jpg"_s;
    QTest::newRow("newline") << QByteArray("a\nb.jpg") << u"a\nb.jpg"_s;
    QTest::newRow("percent sign") << QByteArray("100%41") << u"100%41"_s;
    QTest::newRow("composed") << QByteArray("Caf\xc3\xa9.jpg") << u"Café.jpg"_s;
    QTest::newRow("decomposed") << QByteArray("Cafe\xcc\x81.jpg") << u"Café.jpg"_s;
    QTest::newRow("not UTF-8") << QByteArray("lat\xe9.jpg") << u"lat\uFFFD.jpg"_s;
    QTest::newRow("backslash") << QByteArray("a\\b.jpg") << u"a\uFFFDb.jpg"_s;
    QTest::newRow("255 bytes") << QByteArray(255, 'n') << QString(255, u'n');
}

/// A text that names no file.
VKQtPath noPath() { return VKQtPath(QString(u"/a\0b"_s), false); }

const QDateTime kBefore = QDateTime(QDate(2001, 2, 3), QTime(4, 5, 6), Qt::UTC);

void setTimes(const QByteArray& path, qint64 seconds, long nanoseconds) {
    const timespec times[2] = {{static_cast<time_t>(seconds), nanoseconds},
                               {static_cast<time_t>(seconds), nanoseconds}};
    Disk::must(::utimensat(AT_FDCWD, path.constData(), times, AT_SYMLINK_NOFOLLOW) == 0, "utimensat", path);
}

} // namespace

class VKQtPathDiskTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void oddNames_data() { addOddNames(); }
    void oddNames();
    void existence_data();
    void existence();
    void removesWhateverTheFlag();
    void removesTrees();
    void moveStatuses();
    void namesNoFile();
    void twoSpellings();
    void statFollowsLinks();
    void touchSetsNow();
    void touchFollowsLinks();
    void datesAndZones();
    void datesOfALink();
    void datesOfNothing();
    void birthTimeUnknown();
    void writable();
    void writableByAnotherUser();
    void writableOfNoPath();
    void volumes_data();
    void volumes();
    void volumeArgumentIsNotLookedAt();
    void volumeIdentifierIsCarried();
    void volumeCache();
    void identifierIsNotDetermined();
    void specialPlaces();
};

void VKQtPathDiskTest::oddNames() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    const QString folder = makeFolder();
    const QByteArray place = folder.toUtf8() + '/' + bytes;
    const VKQtPath path(folder + u'/' + text, false);
    QVERIFY(!path.exists());
    Disk::makeFile(place, "12345");
    setTimes(place, 1'000'000'000, 123'999'999);
    QVERIFY(path.exists());

    struct stat record = {};
    QCOMPARE(path.stat(record), kVKStatusSuccess);
    QCOMPARE(qint64(record.st_size), qint64(5));

    QDateTime modified;
    QCOMPARE(path.lastModifiedDate(modified), kVKStatusSuccess);
    QCOMPARE(modified.toMSecsSinceEpoch(), qint64(1'000'000'000'123));
    QDateTime created;
    QCOMPARE(path.created(created), kVKStatusSuccess);
    QVERIFY(created.isValid());

    path.touch();
    QCOMPARE(path.stat(record), kVKStatusSuccess);
    QVERIFY(record.st_mtim.tv_sec > 1'000'000'000);

    const VKQtPath moved(folder + u"/moved"_s, false);
    QCOMPARE(path.move(moved), kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(folder.toUtf8()), QByteArrayList({"moved"}));
    QCOMPARE(moved.remove(), kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(folder.toUtf8()), QByteArrayList());
}

void VKQtPathDiskTest::existence_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("exists");
    QTest::newRow("file") << u"/file"_s << true;
    QTest::newRow("folder") << u"/folder"_s << true;
    QTest::newRow("link to nothing") << u"/dangling"_s << true;
    QTest::newRow("fifo") << u"/fifo"_s << true;
    QTest::newRow("nothing") << u"/none"_s << false;
    QTest::newRow("below a file") << u"/file/x"_s << false;
    QTest::newRow("other case") << u"/FILE"_s << false;
}

void VKQtPathDiskTest::existence() {
    QFETCH(QString, name);
    QFETCH(bool, exists);
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::makeFile(bytes + "/file");
    Disk::makeFolder(bytes + "/folder");
    Disk::makeLink(bytes + "/dangling", "nowhere");
    Disk::makeFifo(bytes + "/fifo");
    for (const bool asFolder : {false, true}) {
        QCOMPARE(VKQtPath(folder + name, asFolder).exists(), exists);
    }
}

void VKQtPathDiskTest::removesWhateverTheFlag() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    for (const bool asFolder : {false, true}) {
        Disk::makeFile(bytes + "/file");
        Disk::makeFolder(bytes + "/folder");
        Disk::makeLink(bytes + "/link", "folder");
        QCOMPARE(VKQtPath(folder + u"/file"_s, asFolder).remove(), kVKStatusSuccess);
        QCOMPARE(VKQtPath(folder + u"/link"_s, asFolder).remove(), kVKStatusSuccess);
        QCOMPARE(Disk::namesIn(bytes), QByteArrayList({"folder"}));
        QCOMPARE(VKQtPath(folder + u"/folder"_s, asFolder).remove(), kVKStatusSuccess);
        QCOMPARE(VKQtPath(folder + u"/folder"_s, asFolder).remove(), VKStatus(ENOENT));
    }
    QVERIFY(VKQtPath(u"/"_s, true).remove() != kVKStatusSuccess);
    QVERIFY(VKQtPath(qEnvironmentVariable("HOME"), true).remove() != kVKStatusSuccess);
    QVERIFY(Disk::exists(qgetenv("HOME")));
}

void VKQtPathDiskTest::removesTrees() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::makeFile(bytes + "/stays", "mine");
    Disk::makeFolder(bytes + "/tree");
    Disk::makeFolder(bytes + "/tree/lat\xe9");
    Disk::makeFile(bytes + "/tree/lat\xe9/photo");
    Disk::makeLink(bytes + "/tree/link", bytes);
    QCOMPARE(VKQtPath(folder + u"/tree"_s, true).remove(), kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(bytes), QByteArrayList({"stays"}));
}

void VKQtPathDiskTest::moveStatuses() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::makeFile(bytes + "/a", "one");
    Disk::makeFile(bytes + "/b", "two");
    const VKQtPath a(folder + u"/a"_s, false);
    QCOMPARE(a.move(VKQtPath(folder + u"/b"_s, false)), VKStatus(EEXIST));
    QCOMPARE(VKQtPath(folder + u"/none"_s, false).move(a), VKStatus(ENOENT));
    // One of the texts names no file: nothing to do.
    QCOMPARE(a.move(VKQtPath()), kVKStatusSuccess);
    QCOMPARE(a.move(noPath()), kVKStatusSuccess);
    QCOMPARE(VKQtPath().move(a), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(bytes + "/a"), QByteArray("one"));
    QCOMPARE(Disk::contentOf(bytes + "/b"), QByteArray("two"));
}

void VKQtPathDiskTest::namesNoFile() {
    LogCapture log;
    for (const VKQtPath& path : {noPath(), VKQtPath(), VKQtPath(QString(QChar(0xD800)), true)}) {
        QVERIFY(!path.exists());
        QCOMPARE(path.remove(), kVKStatusSuccess);
        path.touch();
        struct stat record = {};
        QCOMPARE(path.stat(record), kVKStatusStatFailed);
        QDateTime out = kBefore;
        QCOMPARE(path.created(out), kVKStatusNotConvertible);
        QCOMPARE(path.lastModifiedDate(out), kVKStatusNotConvertible);
        QCOMPARE(out, kBefore);
    }
    QCOMPARE(log.take().size(), 0);
}

void VKQtPathDiskTest::twoSpellings() {
    // The exact form C name wins, and the other stays untouched.
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::makeFile(bytes + "/Cafe\xcc\x81", "decomposed");
    Disk::makeFile(bytes + "/Caf\xc3\xa9", "composed");
    const VKQtPath path(folder + u"/Café"_s, false);
    struct stat record = {};
    QCOMPARE(path.stat(record), kVKStatusSuccess);
    QCOMPARE(qint64(record.st_size), qint64(8));
    QCOMPARE(path.remove(), kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(bytes), QByteArrayList({"Cafe\xcc\x81"}));
    QCOMPARE(path.remove(), kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(bytes), QByteArrayList());
}

void VKQtPathDiskTest::statFollowsLinks() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::makeFile(bytes + "/file", "12345");
    Disk::makeLink(bytes + "/link", "file");
    Disk::makeLink(bytes + "/dangling", "nowhere");
    struct stat record = {};
    QCOMPARE(VKQtPath(folder + u"/link"_s, false).stat(record), kVKStatusSuccess);
    QVERIFY(S_ISREG(record.st_mode));
    QCOMPARE(qint64(record.st_size), qint64(5));
    QCOMPARE(VKQtPath(folder + u"/dangling"_s, false).stat(record), kVKStatusStatFailed);
    QCOMPARE(VKQtPath(folder + u"/none"_s, false).stat(record), kVKStatusStatFailed);
    QCOMPARE(VKQtPath(folder, true).stat(record), kVKStatusSuccess);
    QVERIFY(S_ISDIR(record.st_mode));
}

void VKQtPathDiskTest::touchSetsNow() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::makeFile(bytes + "/file");
    setTimes(bytes + "/file", 1, 0);
    // The clock that the kernel takes file times from may be a tick behind the other.
    const qint64 before = QDateTime::currentMSecsSinceEpoch() / 1000 - 1;
    VKQtPath(folder + u"/file"_s, false).touch();
    const qint64 after = QDateTime::currentMSecsSinceEpoch() / 1000 + 1;
    struct stat record = {};
    Disk::must(::stat(Disk::text(bytes + "/file"), &record) == 0, "stat", bytes);
    QVERIFY(record.st_mtim.tv_sec >= before && record.st_mtim.tv_sec <= after);
    QVERIFY(record.st_atim.tv_sec >= before && record.st_atim.tv_sec <= after);
    VKQtPath(folder + u"/none"_s, false).touch();
    QCOMPARE(Disk::namesIn(bytes), QByteArrayList({"file"}));
}

void VKQtPathDiskTest::touchFollowsLinks() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::makeFile(bytes + "/file");
    Disk::makeLink(bytes + "/link", "file");
    setTimes(bytes + "/file", 1, 0);
    setTimes(bytes + "/link", 1, 0);
    VKQtPath(folder + u"/link"_s, false).touch();
    struct stat record = {};
    Disk::must(::lstat(Disk::text(bytes + "/link"), &record) == 0, "lstat", bytes);
    QCOMPARE(qint64(record.st_mtim.tv_sec), qint64(1));
    Disk::must(::lstat(Disk::text(bytes + "/file"), &record) == 0, "lstat", bytes);
    QVERIFY(record.st_mtim.tv_sec > 1);
}

void VKQtPathDiskTest::datesAndZones() {
    // Winter and summer in Berlin, before 1970, and milliseconds that are rounded down.
    const QString folder = makeFolder();
    const QByteArray file = folder.toUtf8() + "/file";
    Disk::makeFile(file);
    const VKQtPath path(folder + u"/file"_s, false);
    struct Row {
        qint64 seconds;
        long nanoseconds;
        QString local;
    };
    const Row rows[] = {{1'705'320'000, 5'999'999, u"2024-01-15T13:00:00.005"_s},
                        {1'721'044'800, 999'000'000, u"2024-07-15T14:00:00.999"_s},
                        {-1, 0, u"1970-01-01T00:59:59.000"_s},
                        {-2, 999'999'999, u"1970-01-01T00:59:58.999"_s}};
    for (const Row& row : rows) {
        setTimes(file, row.seconds, row.nanoseconds);
        QDateTime modified;
        QCOMPARE(path.lastModifiedDate(modified), kVKStatusSuccess);
        QCOMPARE(modified.timeSpec(), Qt::LocalTime);
        QCOMPARE(modified.toString(Qt::ISODateWithMs), row.local);
    }
    QDateTime created;
    QCOMPARE(path.created(created), kVKStatusSuccess);
    QCOMPARE(created.timeSpec(), Qt::UTC);
    QVERIFY(qAbs(created.secsTo(QDateTime::currentDateTimeUtc())) < 3600);
}

void VKQtPathDiskTest::datesOfALink() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::makeFile(bytes + "/file");
    Disk::makeLink(bytes + "/link", "file");
    Disk::makeLink(bytes + "/dangling", "nowhere");
    setTimes(bytes + "/file", 1'000'000'000, 0);
    setTimes(bytes + "/link", 1'100'000'000, 0);
    QDateTime modified;
    QCOMPARE(VKQtPath(folder + u"/link"_s, false).lastModifiedDate(modified), kVKStatusSuccess);
    QCOMPARE(modified.toSecsSinceEpoch(), qint64(1'100'000'000));
    QCOMPARE(VKQtPath(folder + u"/dangling"_s, false).lastModifiedDate(modified), kVKStatusSuccess);
}

void VKQtPathDiskTest::datesOfNothing() {
    const QString folder = makeFolder();
    Disk::makeFile(folder.toUtf8() + "/file");
    LogCapture log;
    for (const QString& name : {u"/none"_s, u"/file/below"_s}) {
        QDateTime out = kBefore;
        QCOMPARE(VKQtPath(folder + name, false).created(out), kVKStatusNoAttributes);
        QCOMPARE(out, kBefore);
        QCOMPARE(VKQtPath(folder + name, false).lastModifiedDate(out), kVKStatusNoAttributes);
        QCOMPARE(out, kBefore);
    }
    QCOMPARE(log.take().size(), 0);
}

void VKQtPathDiskTest::birthTimeUnknown() {
    // The kernel's own files have none.
    const VKQtPath path(u"/proc/self/status"_s, false);
    QDateTime out = kBefore;
    QCOMPARE(path.created(out), kVKStatusSuccess);
    QCOMPARE(out, kBefore);
    QCOMPARE(path.lastModifiedDate(out), kVKStatusSuccess);
    QVERIFY(out != kBefore);
}

void VKQtPathDiskTest::writable() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::makeFolder(bytes + "/Cafe\xcc\x81");
    Disk::makeFile(bytes + "/Cafe\xcc\x81/a.jpg");
    bool answer = false;
    VKQtPath dir(folder + u"/Café"_s, true);
    QCOMPARE(VKQtPath::isDirWriteable(dir, answer), kVKStatusSuccess);
    QVERIFY(answer);
    answer = false;
    QCOMPARE(dir.isWriteable(answer), kVKStatusSuccess);
    QVERIFY(answer);
    // Of a file the folder is asked, whether or not the file is there.
    for (const QString& name : {u"/Café/a.jpg"_s, u"/Café/none.jpg"_s}) {
        answer = false;
        QCOMPARE(VKQtPath(folder + name, false).isWriteable(answer), kVKStatusSuccess);
        QVERIFY(answer);
    }
    VKQtPath missing(folder + u"/none"_s, true);
    answer = true;
    QCOMPARE(VKQtPath::isDirWriteable(missing, answer), VKStatus(ENOENT));
    QVERIFY(!answer);
}

void VKQtPathDiskTest::writableByAnotherUser() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    const QString folder = makeFolder();
    Disk::openForOthers(folder.toUtf8() + "/x");
    Disk::makeFolder(folder.toUtf8() + "/mine");
    const VKQtPath mine(folder + u"/mine"_s, true);
    const int answers = Disk::asOtherUser([&mine] {
        bool answer = true;
        const VKStatus status = mine.isWriteable(answer);
        return (status == kVKStatusSuccess ? 0 : 1) + (answer ? 2 : 0);
    });
    QCOMPARE(answers, 0);
}

void VKQtPathDiskTest::writableOfNoPath() {
    LogCapture log;
    VKQtPath none = noPath();
    bool answer = true;
    QCOMPARE(VKQtPath::isDirWriteable(none, answer), kVKStatusNotConvertible);
    QVERIFY(!answer);
    answer = true;
    QCOMPARE(VKQtPath().isWriteable(answer), kVKStatusNotConvertible);
    QVERIFY(!answer);
    const QList<LogLine> lines = log.take();
    QCOMPARE(lines.size(), 2);
    for (const LogLine& line : lines) {
        QCOMPARE(line.status, kVKStatusNotConvertible);
        QCOMPARE(line.source, QByteArray("VKQtCore/Source/Common/VKQtPath"));
        QCOMPARE(line.line, 1025);
    }
}

void VKQtPathDiskTest::volumes_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("volume");
    QTest::addColumn<QString>("full");
    QTest::addColumn<bool>("isVolume");
    const Rules rules;
    const auto row = [](const char* reason, const QString& text, const QString& volume, const QString& full,
                        bool is) { QTest::newRow(reason) << text << volume << full << is; };
    if (rules.mac) {
        const QString users = VKQtSysInfo::catalinaOrGreater() ? u"/System/Volumes/Data"_s : u"/"_s;
        row("card", u"/Volumes/Card/DCIM"_s, u"/Volumes/Card"_s, u"/Volumes/Card"_s, false);
        row("card itself", u"/Volumes/Card"_s, u"/Volumes/Card"_s, u"/Volumes/Card"_s, true);
        row("other case", u"/Volumes/card/x"_s, u"/Volumes/card"_s, u"/Volumes/card"_s, false);
        row("user data", u"/Users/a"_s, users, users, false);
        row("root", u"/"_s, u"/"_s, u"/"_s, true);
        row("system", u"/System"_s, u"/"_s, u"/"_s, false);
        row("data volume", u"/System/Volumes/Data"_s, u"/"_s, u"/"_s, true);
        row("data volume, other case", u"/system/Volumes/Data"_s, u"/"_s, u"/"_s, false);
        row("no root", u"Backup"_s, u""_s, u"/Volumes/"_s, false);
        row("empty", u""_s, u""_s, u"/Volumes/"_s, false);
    } else if (rules.windows) {
        row("drive", u"c:/Photos"_s, u"C:"_s, u"C:/"_s, false);
        row("drive itself", u"C:"_s, u"C:"_s, u"C:/"_s, true);
        row("drive itself, lower case", u"c:"_s, u"C:"_s, u"C:/"_s, false);
        row("share", u"//srv/share/x"_s, u"//srv/share"_s, u"//srv/share"_s, false);
        row("share itself", u"//srv/share"_s, u"//srv/share"_s, u"//srv/share"_s, true);
        row("server", u"//srv"_s, u""_s, u""_s, false);
        row("no drive", u"/x"_s, u""_s, u""_s, false);
        row("empty", u""_s, u""_s, u""_s, false);
    } else {
        row("anything", u"/home/a"_s, u"/"_s, u"/"_s, false);
        row("root", u"/"_s, u"/"_s, u"/"_s, true);
        row("data volume of elsewhere", u"/System/Volumes/Data"_s, u"/"_s, u"/"_s, false);
        row("relative", u"x"_s, u"/"_s, u"/"_s, false);
        row("empty", u""_s, u"/"_s, u"/"_s, false);
    }
}

void VKQtPathDiskTest::volumes() {
    QFETCH(QString, text);
    QFETCH(QString, volume);
    QFETCH(QString, full);
    QFETCH(bool, isVolume);
    VKQtPath path(text, true);
    QCOMPARE(path.volume(), volume);
    QCOMPARE(path.extractFullVolume(path.path()), full);
    QCOMPARE(path.fullVolume().path(), VKQtPath(full, true).path());
    QVERIFY(path.fullVolume().isFolder());
    QCOMPARE(path.fullVolumeCached().path(), VKQtPath(full, true).path());
    QCOMPARE(path.isVolume(), isVolume);
}

void VKQtPathDiskTest::volumeArgumentIsNotLookedAt() {
    const VKQtPath path(u"/Volumes/Card/x"_s, false);
    QCOMPARE(path.extractFullVolume(u"/Volumes/Other"_s), path.extractFullVolume(QString()));
}

void VKQtPathDiskTest::volumeIdentifierIsCarried() {
    const VKQtPath path(u"/Volumes/Card/x"_s, false, 7);
    QVERIFY(path.fullVolume().hasVolumeID());
    QCOMPARE(path.fullVolume().volumeID(), 7U);
    const VKQtPath without(u"/Volumes/Card/x"_s, false);
    QVERIFY(without.fullVolume().hasVolumeID());
    QCOMPARE(without.fullVolume().volumeID(), 0U);
}

void VKQtPathDiskTest::volumeCache() {
    const Rules rules;
    const QString first = rules.windows ? u"c:/x"_s : u"/Volumes/A/x"_s;
    const QString second = rules.windows ? u"d:/x"_s : u"/Volumes/B/x"_s;
    VKQtPath path(first, false);
    const QString before = path.fullVolumeCached().path();
    QCOMPARE(path.fullVolumeCached().path(), before);
    // replace() alone leaves the remembered one; setPath() drops it.
    path.replace(0, int(first.size()), second);
    QCOMPARE(path.fullVolumeCached().path(), before);
    path.setPath(second, false);
    QCOMPARE(path.fullVolumeCached().path(), path.fullVolume().path());
    QCOMPARE(path.fullVolumeCached().path() != before, rules.mac || rules.windows);
    // What comes back is the caller's.
    VKQtPath own = path.fullVolumeCached();
    own.append(u"y"_s, true);
    QCOMPARE(path.fullVolumeCached().path(), path.fullVolume().path());
}

void VKQtPathDiskTest::identifierIsNotDetermined() {
    VKQtPath path(u"/x"_s, false);
    QCOMPARE(path.determineVolumeID(), kVKStatusSuccess);
    QVERIFY(!path.hasVolumeID());
    QCOMPARE(path.volumeID(), 0U);
}

void VKQtPathDiskTest::specialPlaces() {
    const QString home = qEnvironmentVariable("HOME");
    QVERIFY(VKQtPath(home + u"/Desktop/x.jpg"_s, false).isDesktopPath());
    QVERIFY(!VKQtPath(home + u"/Desktop/x.jpg"_s, false).isPicturesPath());
    QVERIFY(VKQtPath(home + u"/Pictures"_s, true).isPicturesPath());
    QVERIFY(!VKQtPath(home + u"/desktop/x.jpg"_s, false).isDesktopPath());
    QVERIFY(!VKQtPath(u"/Desktop"_s, true).isDesktopPath());
}

VKTEST_MAIN(VKQtPathDiskTest)
#include "VKQtPathDiskTest.moc"
