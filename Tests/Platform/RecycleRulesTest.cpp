// The bin's rules: records written and read, names within their limits, places that may be restored to.
#include "Platform/RecycleRules.h"

#include "Support/VKTest.h"

using namespace VKPlatform;

class RecycleRulesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void coding_data();
    void coding();
    void everyByteComesBack();
    void brokenCodes_data();
    void brokenCodes();
    void recordText();
    void writtenReadsBack_data();
    void writtenReadsBack();
    void records_data();
    void records();
    void dates_data();
    void dates();
    void recordLimit_data();
    void recordLimit();
    void names_data();
    void names();
    void namesFitAndDiffer();
    void numbers();
    void places_data();
    void places();
    void bases_data();
    void bases();
    void binNames_data();
    void binNames();
    void inside_data();
    void inside();
    void parts_data();
    void parts();
    void fileSystems_data();
    void fileSystems();
    void folderSizes_data();
    void folderSizes();
};

namespace {

constexpr WallTime kEvening{.year = 2026, .month = 7, .day = 4, .hour = 18, .minute = 5, .second = 9};
constexpr unsigned kUser = 1000;

QByteArray record(const QByteArray& lines) { return "[Trash Info]\n" + lines; }

} // namespace

void RecycleRulesTest::coding_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("coded");
    QTest::newRow("nothing") << QByteArray("") << QByteArray("");
    QTest::newRow("plain") << QByteArray("/Photos/IMG_1.jpg") << QByteArray("/Photos/IMG_1.jpg");
    QTest::newRow("marks that stay") << QByteArray("-_.!~*'()") << QByteArray("-_.!~*'()");
    QTest::newRow("space and brackets") << QByteArray("a [b]") << QByteArray("a%20%5Bb%5D");
    QTest::newRow("percent") << QByteArray("100%20.jpg") << QByteArray("100%2520.jpg");
    QTest::newRow("line break") << QByteArray("a\nb\r") << QByteArray("a%0Ab%0D");
    QTest::newRow("composed") << QByteArray("\xC3\xA9") << QByteArray("%C3%A9");
    QTest::newRow("decomposed") << QByteArray("e\xCC\x81") << QByteArray("e%CC%81");
    QTest::newRow("not UTF-8") << QByteArray("lat\xE9") << QByteArray("lat%E9");
    QTest::newRow("other marks") << QByteArray("#?&=+;:@,$\"<>\\^`{|}")
                                 << QByteArray("%23%3F%26%3D%2B%3B%3A%40%2C%24%22%3C%3E%5C%5E%60%7B%7C%7D");
}

void RecycleRulesTest::coding() {
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, coded);
    QCOMPARE(percentCoded(bytes), coded);
    QCOMPARE(percentDecoded(coded), std::optional(bytes));
}

void RecycleRulesTest::everyByteComesBack() {
    for (int value = 1; value < 256; ++value) {
        const QByteArray byte(1, static_cast<char>(value));
        const QByteArray coded = percentCoded(byte);
        QCOMPARE(percentDecoded(coded), std::optional(byte));
        if (coded.size() == 3) {
            QCOMPARE(percentDecoded(coded.toLower()), std::optional(byte));
        }
        for (const char c : coded) {
            QVERIFY2(c > ' ' && c < 0x7F, coded.constData());
        }
    }
}

void RecycleRulesTest::brokenCodes_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("percent at the end") << QByteArray("a%");
    QTest::newRow("one digit") << QByteArray("a%4");
    QTest::newRow("not a digit") << QByteArray("a%G0");
    QTest::newRow("second is not a digit") << QByteArray("a%0x");
    QTest::newRow("sign") << QByteArray("a%+1");
    QTest::newRow("blank") << QByteArray("a% 1");
    QTest::newRow("coded NUL") << QByteArray("a%00");
    QTest::newRow("NUL") << QByteArray("a\0b", 3);
}

void RecycleRulesTest::brokenCodes() {
    QFETCH(QByteArray, text);
    QCOMPARE(percentDecoded(text), std::nullopt);
    QVERIFY(parseTrashRecord(record("Path=/" + text + '\n')).path.isEmpty());
}

void RecycleRulesTest::recordText() {
    QCOMPARE(trashRecordText("Photos/IMG 1.jpg", kEvening),
             QByteArray("[Trash Info]\nPath=Photos/IMG%201.jpg\nDeletionDate=2026-07-04T18:05:09\n"));
}

void RecycleRulesTest::writtenReadsBack_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("plain") << QByteArray("/a/b.jpg");
    QTest::newRow("looks like a record") << QByteArray("/a\nPath=/b\n[x]\r\n");
    QTest::newRow("not UTF-8") << QByteArray("/\xFF\xFE/\xE9");
    QTest::newRow("longest") << QByteArray("/" + QByteArray("\xE9").repeated(4094));
    QTest::newRow("relative") << QByteArray("a");
}

void RecycleRulesTest::writtenReadsBack() {
    QFETCH(QByteArray, path);
    const QByteArray text = trashRecordText(path, kEvening);
    QVERIFY(text.size() < kTrashRecordLimitBytes);
    QCOMPARE(text.count('\n'), 3);
    const TrashRecord back = parseTrashRecord(text);
    QCOMPARE(back.path, path);
    QCOMPARE(back.deleted, std::optional(kEvening));
}

void RecycleRulesTest::records_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<bool>("dated");
    const QByteArray whole = "Path=/a\nDeletionDate=2026-07-04T18:05:09\n";
    QTest::newRow("whole") << record(whole) << QByteArray("/a") << true;
    QTest::newRow("other order") << record("DeletionDate=2026-07-04T18:05:09\nPath=/a\n") << QByteArray("/a")
                                 << true;
    QTest::newRow("no end of line") << record("Path=/a") << QByteArray("/a") << false;
    QTest::newRow("carriage returns")
        << QByteArray("[Trash Info]\r\nPath=/a\r\n") << QByteArray("/a") << false;
    QTest::newRow("first path counts") << record("Path=/a\nPath=/b\n") << QByteArray("/a") << false;
    QTest::newRow("first path counts, even a broken one")
        << record("Path=%\nPath=/b\n") << QByteArray() << false;
    QTest::newRow("first date counts, even a broken one")
        << record("DeletionDate=soon\n" + whole) << QByteArray("/a") << false;
    QTest::newRow("other keys and comments")
        << record("# x\n\nX=1\nPathological=/b\n" + whole) << QByteArray("/a") << true;
    QTest::newRow("another group") << record("[Other]\n" + whole) << QByteArray() << false;
    QTest::newRow("after another group")
        << record("DeletionDate=2026-07-04T18:05:09\n[Other]\nPath=/b\n") << QByteArray() << true;
    QTest::newRow("not coded") << record("Path=/caf\xC3\xA9 [1]\n") << QByteArray("/caf\xC3\xA9 [1]")
                               << false;
    QTest::newRow("blanks belong to the value") << record("Path= /a \n") << QByteArray(" /a ") << false;
    QTest::newRow("another case") << record("path=/a\n") << QByteArray() << false;
    QTest::newRow("heading is not first") << QByteArray("\n" + record(whole)) << QByteArray() << false;
    QTest::newRow("another heading") << QByteArray("[Trash info]\n" + whole) << QByteArray() << false;
    QTest::newRow("byte order mark") << QByteArray("\xEF\xBB\xBF" + record(whole)) << QByteArray() << false;
    QTest::newRow("heading alone") << QByteArray("[Trash Info]") << QByteArray() << false;
    QTest::newRow("empty path") << record("Path=\n") << QByteArray() << false;
    QTest::newRow("nothing") << QByteArray() << QByteArray() << false;
}

void RecycleRulesTest::records() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, path);
    QFETCH(bool, dated);
    const TrashRecord found = parseTrashRecord(text);
    QCOMPARE(found.path, path);
    QCOMPARE(found.deleted, dated ? std::optional(kEvening) : std::nullopt);
}

void RecycleRulesTest::dates_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("good");
    QTest::newRow("good") << QByteArray("2026-07-04T18:05:09") << true;
    QTest::newRow("leap day") << QByteArray("2024-02-29T00:00:00") << true;
    QTest::newRow("leap second") << QByteArray("2016-12-31T23:59:60") << true;
    QTest::newRow("no leap year") << QByteArray("2023-02-29T00:00:00") << false;
    QTest::newRow("month 0") << QByteArray("2026-00-04T18:05:09") << false;
    QTest::newRow("month 13") << QByteArray("2026-13-04T18:05:09") << false;
    QTest::newRow("year 0") << QByteArray("0000-07-04T18:05:09") << false;
    QTest::newRow("hour 24") << QByteArray("2026-07-04T24:05:09") << false;
    QTest::newRow("minute 60") << QByteArray("2026-07-04T18:60:09") << false;
    QTest::newRow("second 61") << QByteArray("2026-07-04T18:05:61") << false;
    QTest::newRow("blank for T") << QByteArray("2026-07-04 18:05:09") << false;
    QTest::newRow("zone") << QByteArray("2026-07-04T18:05:09Z") << false;
    QTest::newRow("fraction") << QByteArray("2026-07-04T18:05:09.5") << false;
    QTest::newRow("short") << QByteArray("2026-07-04T18:05") << false;
    QTest::newRow("signs") << QByteArray("2026-+7-04T18:05:-9") << false;
    QTest::newRow("nothing") << QByteArray() << false;
}

void RecycleRulesTest::dates() {
    QFETCH(QByteArray, text);
    QFETCH(bool, good);
    QCOMPARE(parseTrashRecord(record("DeletionDate=" + text + '\n')).deleted.has_value(), good);
}

void RecycleRulesTest::recordLimit_data() {
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<bool>("read");
    QTest::newRow("limit - 1") << kTrashRecordLimitBytes - 1 << true;
    QTest::newRow("limit") << kTrashRecordLimitBytes << true;
    QTest::newRow("limit + 1") << kTrashRecordLimitBytes + 1 << false;
}

void RecycleRulesTest::recordLimit() {
    QFETCH(qsizetype, size);
    QFETCH(bool, read);
    QByteArray text = record("Path=/a\n#");
    text.append(QByteArray(size - text.size(), 'x'));
    QCOMPARE(text.size(), size);
    QCOMPARE(parseTrashRecord(text).path, read ? QByteArray("/a") : QByteArray());
}

void RecycleRulesTest::names_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<unsigned>("number");
    QTest::addColumn<qsizetype>("limit");
    QTest::addColumn<QByteArray>("result");
    const auto row = [](const char* why, const QByteArray& name, unsigned number, int limit,
                        const QByteArray& result) {
        QTest::newRow(why) << name << number << qsizetype{limit} << result;
    };
    row("first", "a.jpg", 1, 255, "a.jpg");
    row("second", "a.jpg", 2, 255, "a.2.jpg");
    row("many", "a.jpg", 4000000000U, 255, "a.4000000000.jpg");
    row("no suffix", "a", 2, 255, "a.2");
    row("dot file", ".hidden", 2, 255, ".hidden.2");
    row("dot file with suffix", ".a.jpg", 2, 255, ".a.2.jpg");
    row("two suffixes", "a.tar.gz", 2, 255, "a.tar.2.gz");
    row("dot at the end", "a.", 2, 255, "a.2.");
    row("longest suffix that is kept", "a.123456789012345", 2, 255, "a.2.123456789012345");
    row("longer than a suffix", "a.1234567890123456", 2, 255, "a.1234567890123456.2");
    row("fits", QByteArray(245, 'x'), 1, 255, QByteArray(245, 'x'));
    row("one byte too long", QByteArray(246, 'x'), 1, 255, QByteArray(245, 'x'));
    row("cut before the counter", QByteArray(245, 'x'), 2, 255, QByteArray(243, 'x') + ".2");
    row("suffix is kept", QByteArray(251, 'x') + ".jpg", 2, 255, QByteArray(239, 'x') + ".2.jpg");
    row("between characters", QByteArray(244, 'x') + "\xC3\xA9", 1, 255, QByteArray(244, 'x'));
    row("four bytes", QByteArray(242, 'x') + "\xF0\x9F\x93\xB7", 1, 255, QByteArray(242, 'x'));
    row("four bytes that fit", QByteArray(241, 'x') + "\xF0\x9F\x93\xB7" + 'y', 1, 255,
        QByteArray(241, 'x') + "\xF0\x9F\x93\xB7");
    row("not UTF-8", QByteArray(255, '\xA9'), 1, 255, QByteArray(242, '\xA9'));
    row("shorter limit", QByteArray(200, 'x'), 1, 140, QByteArray(130, 'x'));
}

void RecycleRulesTest::names() {
    QFETCH(QByteArray, name);
    QFETCH(unsigned, number);
    QFETCH(qsizetype, limit);
    QFETCH(QByteArray, result);
    QCOMPARE(trashName(name, number, limit), result);
}

void RecycleRulesTest::namesFitAndDiffer() {
    for (const QByteArray& piece : {QByteArray("x"), QByteArray("\xC3\xA9"), QByteArray("\xE2\x82\xAC"),
                                    QByteArray("\xF0\x9F\x93\xB7"), QByteArray("\xBF"), QByteArray(".")}) {
        for (qsizetype size = 1; size <= 255; ++size) {
            const QByteArray name = piece.repeated(size / piece.size() + 1).first(size);
            QByteArrayList made;
            for (const unsigned number : {1U, 2U, 10U, 4294967295U}) {
                const QByteArray result = trashName(name, number, 255);
                QVERIFY(!result.isEmpty() && result.size() + kTrashRecordSuffix.size() <= 255);
                QVERIFY2(!made.contains(result), result.constData());
                made.append(result);
            }
        }
    }
}

void RecycleRulesTest::numbers() {
    for (unsigned tries = 0; tries < 10; ++tries) {
        QCOMPARE(trashNameNumber(tries, 77), tries + 1);
    }
    QCOMPARE(trashNameNumber(10, 77), 77U);
    QCOMPARE(trashNameNumber(99, 0xFFFFFFFFU), 0xFFFFFFFFU);
    QCOMPARE(trashNameNumber(10, 0), 11U);
}

void RecycleRulesTest::places_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("place"); // empty: refused
    const auto row = [](const char* why, const QByteArray& path, const QByteArray& place) {
        QTest::newRow(why) << path << place;
    };
    row("absolute", "/a/b.jpg", "/a/b.jpg");
    row("relative", "a/b.jpg", "/v/a/b.jpg");
    row("slash at the end", "/a/b/", "/a/b");
    row("slashes", "a//b", "/v/a//b");
    row("dots in names", "/a/..b/c../...", "/a/..b/c../...");
    row("up", "..", "");
    row("up at the start", "../b", "");
    row("up in the middle", "/a/../b", "");
    row("up at the end", "a/..", "");
    row("here", ".", "");
    row("here in the middle", "/a/./b", "");
    row("root", "/", "");
    row("slashes alone", "///", "");
    row("nothing", "", "");
}

void RecycleRulesTest::places() {
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, place);
    QCOMPARE(rememberedPlace(path, "/v").value_or(QByteArray()), place);
}

void RecycleRulesTest::bases_data() {
    QTest::addColumn<QByteArray>("bin");
    QTest::addColumn<QByteArray>("base");
    QTest::newRow("shared") << QByteArray("/v/.Trash/1000") << QByteArray("/v");
    QTest::newRow("own") << QByteArray("/v/.Trash-1000") << QByteArray("/v");
    QTest::newRow("shared at the root") << QByteArray("/.Trash/1000") << QByteArray("/");
    QTest::newRow("own at the root") << QByteArray("/.Trash-1000") << QByteArray("/");
    QTest::newRow("home") << QByteArray("/home/a/.local/share/Trash") << QByteArray("/home/a/.local/share");
}

void RecycleRulesTest::bases() {
    QFETCH(QByteArray, bin);
    QFETCH(QByteArray, base);
    QCOMPARE(trashBase(bin), base);
}

void RecycleRulesTest::binNames_data() {
    QTest::addColumn<QByteArray>("folder");
    QTest::addColumn<bool>("called");
    QTest::addColumn<bool>("mentioned");
    const auto row = [](const QByteArray& folder, bool called, bool mentioned) {
        QTest::newRow(folder.constData()) << folder << called << mentioned;
    };
    row("/home/a/Trash", true, false);
    row("/v/.Trash-1000", true, true);
    row("/v/.Trash/1000", true, true);
    row("/v/.Trash", false, true);
    row("/v/.Trash-1001", false, false);
    row("/v/.Trash/1001", false, true);
    row("/v/.Trash-1000/files/a", false, true);
    row("/v/.Trash-10000", false, false);
    row("/v/x.Trash-1000", false, false);
    row("/v/1000", false, false);
    row("/v/trash", false, false);
    row("", false, false);
}

void RecycleRulesTest::binNames() {
    QFETCH(QByteArray, folder);
    QFETCH(bool, called);
    QFETCH(bool, mentioned);
    QCOMPARE(isCalledLikeABin(folder, kUser), called);
    QCOMPARE(mentionsABin(folder, kUser), mentioned);
}

void RecycleRulesTest::inside_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("folder");
    QTest::addColumn<bool>("inside");
    QTest::newRow("same") << QByteArray("/a") << QByteArray("/a") << true;
    QTest::newRow("below") << QByteArray("/a/b/c") << QByteArray("/a") << true;
    QTest::newRow("longer name") << QByteArray("/ab") << QByteArray("/a") << false;
    QTest::newRow("above") << QByteArray("/a") << QByteArray("/a/b") << false;
    QTest::newRow("root") << QByteArray("/a") << QByteArray("/") << true;
    QTest::newRow("root itself") << QByteArray("/") << QByteArray("/") << true;
}

void RecycleRulesTest::inside() {
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, folder);
    QFETCH(bool, inside);
    QCOMPARE(isSameOrInside(path, folder), inside);
}

void RecycleRulesTest::parts_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("folder");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("deep") << QByteArray("/a/b") << QByteArray("/a") << QByteArray("b");
    QTest::newRow("at the root") << QByteArray("/a") << QByteArray("/") << QByteArray("a");
    QTest::newRow("root") << QByteArray("/") << QByteArray("/") << QByteArray("");
    QTest::newRow("name alone") << QByteArray("a") << QByteArray("") << QByteArray("a");
    QTest::newRow("nothing") << QByteArray("") << QByteArray("") << QByteArray("");
}

void RecycleRulesTest::parts() {
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, folder);
    QFETCH(QByteArray, name);
    QCOMPARE(folderOf(path).toByteArray(), folder);
    QCOMPARE(lastNameOf(path).toByteArray(), name);
    if (!folder.isEmpty() && !name.isEmpty()) {
        QCOMPARE(joined(folder, name), path);
    }
}

void RecycleRulesTest::fileSystems_data() {
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<bool>("can");
    const auto row = [](const char* type, const char* source, bool can) {
        QTest::addRow("%s on %s", type, source) << QByteArray(type) << QByteArray(source) << can;
    };
    for (const char* type :
         {"ext4", "xfs", "btrfs", "tmpfs", "vfat", "exfat", "fuseblk", "overlay", "f2fs"}) {
        row(type, "/dev/sda1", true);
    }
    row("fuse.bindfs", "/data", true);
    for (const char* type : {"proc", "sysfs", "cgroup2", "devtmpfs", "devpts", "autofs", "configfs",
                             "securityfs", "fuse.portal", "fuse.lxcfs"}) {
        row(type, "none", false);
    }
    row("nfs4", "nas:/photos", false);
    row("fuse.sshfs", "a@nas:/p", false);
    row("fuse.gvfsd-fuse", "gvfsd-fuse", false);
}

void RecycleRulesTest::fileSystems() {
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, source);
    QFETCH(bool, can);
    QCOMPARE(canHoldABin(type, source), can);
}

void RecycleRulesTest::folderSizes_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("left");
    const QByteArray text = "4096 1700000000 a\n8192 1700000001 b%20c\n12 1700000002 aa\n";
    QTest::newRow("first") << text << QByteArray("a")
                           << QByteArray("8192 1700000001 b%20c\n12 1700000002 aa\n");
    QTest::newRow("coded") << text << QByteArray("b c")
                           << QByteArray("4096 1700000000 a\n12 1700000002 aa\n");
    QTest::newRow("not there") << text << QByteArray("c") << text;
    QTest::newRow("twice") << QByteArray("1 2 a\n3 4 a\n") << QByteArray("a") << QByteArray();
    QTest::newRow("last line without end")
        << QByteArray("1 2 b\n1 2 a") << QByteArray("a") << QByteArray("1 2 b\n");
    QTest::newRow("damaged lines stay")
        << QByteArray("\nx\n1 2 %\n1 2 a\n") << QByteArray("a") << QByteArray("\nx\n1 2 %\n");
    QTest::newRow("nothing") << QByteArray() << QByteArray("a") << QByteArray();
}

void RecycleRulesTest::folderSizes() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, left);
    QCOMPARE(folderSizesWithout(text, name), left);
    QCOMPARE(folderSizesWithout(left, name), left);
}

VKTEST_MAIN(RecycleRulesTest)
#include "RecycleRulesTest.moc"
