// The form of bookmark data: written, read back, and everything else refused.
#include "Platform/BookmarkData.h"
#include "Support/VKTest.h"

#include <QtEndian>

#include <cerrno>
#include <libdeflate.h>

using namespace VKPlatform;

namespace {

BookmarkRecord photo() {
    BookmarkRecord record;
    record.path = "/home/anna/Caf\xe9/a.jpg";
    record.identity.kind = FileKind::File;
    record.identity.inode = 0x123456789abcdef0U;
    record.identity.born = FileTime{1700000000, 999999999};
    record.identity.modified = FileTime{-1, 1};
    record.identity.sizeBytes = 1000;
    record.identity.handleType = -2;
    record.identity.handle = QByteArray("\0\xff handle", 9);
    record.identity.mountId = 77;
    record.identity.boot = "run";
    record.volume = {"0F5E", "ext4", "/dev/sda1"};
    record.pathOnVolume = "/anna/Caf\xe9/a.jpg";
    return record;
}

BookmarkRecord small() {
    BookmarkRecord record;
    record.path = "/a";
    record.identity.kind = FileKind::Folder;
    return record;
}

BookmarkRecord tokenOnly() {
    BookmarkRecord record;
    record.token = "portal:1:9c3e:a%20b.jpg";
    return record;
}

QByteArray encoded(const BookmarkRecord& record) { return encodeBookmark(record).value_or(QByteArray()); }

/// With the checksum that the bytes in front of it have.
QByteArray sealed(QByteArray body) {
    const quint32 sum =
        qToBigEndian(libdeflate_crc32(0, body.constData(), static_cast<std::size_t>(body.size())));
    return body.append(reinterpret_cast<const char*>(&sum), sizeof sum);
}

QByteArray bodyOf(const BookmarkRecord& record) { return encoded(record).chopped(4); }

QByteArray field(int tag, const QByteArray& content) {
    const quint32 length = qToBigEndian(static_cast<quint32>(content.size()));
    return char(tag) + QByteArray(reinterpret_cast<const char*>(&length), sizeof length) + content;
}

int decodedError(const QByteArray& bytes) {
    BookmarkRecord record = photo();
    const int error = decodeBookmark(bytes, record);
    // Nothing of a refused bookmark gets through.
    return error != 0 && record != photo() ? -1 : error;
}

} // namespace

class BookmarkDataTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void roundTrip_data();
    void roundTrip();
    void theFormStays();
    void cutAnywhere();
    void anyBitFlipped();
    void malformed_data();
    void malformed();
    void laterVersions();
    void unknownFieldsArePassedOver();
    void limits_data();
    void limits();
    void wholeSize_data();
    void wholeSize();
    void refusedRecords_data();
    void refusedRecords();
    void volumes_data();
    void volumes();
};

void BookmarkDataTest::roundTrip_data() {
    QTest::addColumn<BookmarkRecord>("record");
    QTest::newRow("everything") << photo();
    QTest::newRow("little") << small();
    QTest::newRow("a token alone") << tokenOnly();
    BookmarkRecord both = photo();
    both.token = "portal:1:9c3e:a.jpg";
    QTest::newRow("with a token") << both;
    BookmarkRecord ofMount = small();
    ofMount.identity.scope = IdentityScope::Mount;
    QTest::newRow("of a mount") << ofMount;
    for (const FileKind kind : {FileKind::Link, FileKind::Special}) {
        BookmarkRecord record = small();
        record.identity.kind = kind;
        QTest::addRow("kind %d", int(kind)) << record;
    }
}

void BookmarkDataTest::roundTrip() {
    QFETCH(const BookmarkRecord, record);
    const std::optional<QByteArray> bytes = encodeBookmark(record);
    QVERIFY(bytes);
    BookmarkRecord back;
    QCOMPARE(decodeBookmark(*bytes, back), 0);
    QVERIFY(back == record);
    QCOMPARE(encodeBookmark(back), bytes);
}

/// Bookmarks lie in users' documents: bytes that were written once have to be read for ever.
void BookmarkDataTest::theFormStays() {
    const QByteArray bytes = QByteArray::fromHex("564b424d01"
                                                 "01000000022f61"
                                                 "0200000037"
                                                 "020000"
                                                 "000000000000000000000000"
                                                 "000000000000000000000000"
                                                 "0000000000000000"
                                                 "0000000000000000"
                                                 "0000000000000000"
                                                 "00000000");
    QCOMPARE(bodyOf(small()).toHex(), bytes.toHex());
    BookmarkRecord record;
    QCOMPARE(decodeBookmark(sealed(bytes), record), 0);
    QVERIFY(record == small());
}

void BookmarkDataTest::cutAnywhere() {
    for (const BookmarkRecord& record : {photo(), small(), tokenOnly()}) {
        const QByteArray bytes = encoded(record);
        for (qsizetype size = 0; size < bytes.size(); ++size) {
            QCOMPARE(decodedError(bytes.first(size)), EINVAL);
            // A cut with a fitting checksum is cut all the same, but for one between two fields.
            BookmarkRecord back;
            const int error = decodeBookmark(sealed(bytes.first(size)), back);
            QVERIFY(error == EINVAL || (error == 0 && bytes.startsWith(encoded(back).chopped(4))));
        }
        QCOMPARE(decodedError(bytes + '\0'), EINVAL);
    }
}

void BookmarkDataTest::anyBitFlipped() {
    const QByteArray bytes = encoded(photo());
    for (qsizetype i = 0; i < bytes.size() * 8; ++i) {
        QByteArray flipped = bytes;
        flipped[i / 8] = char(flipped.at(i / 8) ^ (1 << (i % 8)));
        QCOMPARE(decodedError(flipped), EINVAL);
    }
}

void BookmarkDataTest::malformed_data() {
    QTest::addColumn<QByteArray>("body");
    const QByteArray head = QByteArray("VKBM\x01", 5);
    const QByteArray path = field(1, "/a");
    const QByteArray identity = bodyOf(small()).sliced(head.size() + path.size());
    QTest::newRow("no fields") << head;
    QTest::newRow("no identity") << head + path;
    QTest::newRow("no path") << head + identity;
    QTest::newRow("wrong order") << head + identity + path;
    QTest::newRow("a field twice") << head + path + path + identity;
    QTest::newRow("tag 0") << head + field(0, "x") + path + identity;
    QTest::newRow("an empty field") << head + field(1, "") + identity;
    QTest::newRow("a relative path") << head + field(1, "a") + identity;
    QTest::newRow("a NUL in the path") << head + field(1, QByteArray("/a\0b", 4)) + identity;
    QTest::newRow("a relative path on the volume") << head + path + identity + field(8, "a");
    QTest::newRow("a longer identity") << head + path + field(2, identity.sliced(5) + '\0');
    QTest::newRow("a shorter identity") << head + path + field(2, identity.sliced(5).chopped(1));
    QTest::newRow("a length beyond the end") << head + path + identity + QByteArray::fromHex("030000ffff00");
    QTest::newRow("the greatest length") << head + path + identity + QByteArray::fromHex("03ffffffff00");
    QTest::newRow("a token that is none") << head + path + identity + field(9, "portal:1:9c3e");
    QTest::newRow("a token that leads out") << head + field(9, "portal:1:9c3e:..%2F..%2Fa");
    QTest::newRow("a token with a volume") << head + field(5, "0F5E") + field(9, "portal:1:9c3e:a");
    QTest::newRow("version 0") << QByteArray("VKBM\0", 5) + path + identity;
    QTest::newRow("another beginning") << QByteArray("VKBN\x01", 5) + path + identity;
    struct Change {
        const char* what;
        qsizetype at;
        char value;
    };
    const qsizetype start = head.size() + path.size() + 5;
    for (const Change& change :
         {Change{"no kind", 0, 0}, Change{"an unknown kind", 0, 5}, Change{"an unknown scope", 1, 2},
          Change{"a birth that is neither", 2, 2}, Change{"a birth time without a birth", 10, 1},
          Change{"too many nanoseconds", 23, 0x7f}}) {
        QByteArray body = head + path + identity;
        body[start + change.at] = change.value;
        QTest::newRow(change.what) << body;
    }
}

void BookmarkDataTest::malformed() {
    QFETCH(const QByteArray, body);
    QCOMPARE(decodedError(sealed(body)), EINVAL);
}

void BookmarkDataTest::laterVersions() {
    QByteArray body = bodyOf(photo());
    for (const int version : {2, 255}) {
        body[4] = char(version);
        QCOMPARE(decodedError(sealed(body)), EOPNOTSUPP);
    }
}

void BookmarkDataTest::unknownFieldsArePassedOver() {
    BookmarkRecord record;
    QCOMPARE(decodeBookmark(sealed(bodyOf(photo()) + field(10, "new") + field(255, "")), record), 0);
    QVERIFY(record == photo());
    QCOMPARE(decodedError(sealed(bodyOf(photo()) + field(11, "new") + field(10, "new"))), EINVAL);
}

void BookmarkDataTest::limits_data() {
    QTest::addColumn<int>("tag");
    QTest::addColumn<qsizetype>("limit");
    QTest::newRow("path") << 1 << kMostBookmarkPathBytes;
    QTest::newRow("handle") << 3 << kMostHandleBytes;
    QTest::newRow("boot") << 4 << kMostVolumeMarkBytes;
    QTest::newRow("uuid") << 5 << kMostVolumeMarkBytes;
    QTest::newRow("type") << 6 << kMostVolumeMarkBytes;
    QTest::newRow("source") << 7 << kMostVolumeMarkBytes;
    QTest::newRow("path on the volume") << 8 << kMostBookmarkPathBytes;
    QTest::newRow("token") << 9 << kMostTokenBytes;
}

void BookmarkDataTest::limits() {
    QFETCH(const int, tag);
    QFETCH(const qsizetype, limit);
    for (const qsizetype over : {-1, 0, 1}) {
        BookmarkRecord record = small();
        const QByteArray filled = "/" + QByteArray(limit + over - 1, 'x');
        QByteArray* const fields[] = {nullptr,
                                      &record.path,
                                      nullptr,
                                      &record.identity.handle,
                                      &record.identity.boot,
                                      &record.volume.uuid,
                                      &record.volume.type,
                                      &record.volume.source,
                                      &record.pathOnVolume,
                                      &record.token};
        const QByteArray token = "portal:1:9c3e:";
        *fields[tag] = tag == 9 ? token + QByteArray(limit + over - token.size(), 'x') : filled;
        QCOMPARE(encodeBookmark(record).has_value(), over <= 0);
        // The reader minds the same limit.
        BookmarkRecord least = small();
        QByteArray body = QByteArray("VKBM\x01", 5) + field(1, tag == 1 ? filled : least.path) +
                          bodyOf(least).sliced(5 + 7);
        if (tag != 1) {
            body += field(tag, *fields[tag]);
        }
        QCOMPARE(decodedError(sealed(body)), over <= 0 ? 0 : EINVAL);
    }
}

void BookmarkDataTest::wholeSize_data() {
    QTest::addColumn<int>("over");
    QTest::newRow("limit - 1") << -1;
    QTest::newRow("limit") << 0;
    QTest::newRow("limit + 1") << 1;
}

void BookmarkDataTest::wholeSize() {
    QFETCH(const int, over);
    const QByteArray body = bodyOf(small());
    const qsizetype room = kMostBookmarkBytes + over - body.size() - 4 - 5;
    QCOMPARE(decodedError(sealed(body + field(10, QByteArray(room, 'x')))), over <= 0 ? 0 : EINVAL);
}

void BookmarkDataTest::refusedRecords_data() {
    QTest::addColumn<BookmarkRecord>("record");
    QTest::newRow("nothing") << BookmarkRecord();
    BookmarkRecord record = small();
    record.path = "a";
    QTest::newRow("a relative path") << record;
    record = small();
    record.path = QByteArray("/a\0b", 4);
    QTest::newRow("a NUL") << record;
    record = small();
    record.identity.kind = FileKind::Unknown;
    QTest::newRow("no kind") << record;
    record = small();
    record.token = "portal";
    QTest::newRow("no token") << record;
    record = tokenOnly();
    record.identity.inode = 1;
    QTest::newRow("an identity without a path") << record;
}

void BookmarkDataTest::refusedRecords() {
    QFETCH(const BookmarkRecord, record);
    QVERIFY(!encodeBookmark(record));
}

void BookmarkDataTest::volumes_data() {
    QTest::addColumn<VolumeMark>("first");
    QTest::addColumn<VolumeMark>("second");
    QTest::addColumn<bool>("isSame");
    QTest::newRow("one identifier") << VolumeMark{"A", "ext4", "/dev/a"} << VolumeMark{"A", "ext4", "/dev/b"}
                                    << true;
    QTest::newRow("two identifiers") << VolumeMark{"A", "ext4", "/dev/a"} << VolumeMark{"B", "ext4", "/dev/a"}
                                     << false;
    QTest::newRow("one unknown") << VolumeMark{"A", "ext4", "/dev/a"} << VolumeMark{"", "ext4", "/dev/a"}
                                 << false;
    QTest::newRow("both unknown") << VolumeMark{"", "tmpfs", "tmpfs"} << VolumeMark{"", "tmpfs", "tmpfs"}
                                  << true;
    QTest::newRow("other source") << VolumeMark{"", "nfs4", "nas:/a"} << VolumeMark{"", "nfs4", "nas:/b"}
                                  << false;
    QTest::newRow("other type") << VolumeMark{"", "nfs4", "nas:/a"} << VolumeMark{"", "nfs", "nas:/a"}
                                << false;
    QTest::newRow("nothing known") << VolumeMark() << VolumeMark() << false;
}

void BookmarkDataTest::volumes() {
    QFETCH(const VolumeMark, first);
    QFETCH(const VolumeMark, second);
    QTEST(isSameVolume(first, second), "isSame");
    QTEST(isSameVolume(second, first), "isSame");
}

VKTEST_MAIN(BookmarkDataTest)
#include "BookmarkDataTest.moc"
