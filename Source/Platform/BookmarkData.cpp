// Writes and reads the form; every length is checked against what is there before it is believed.
#include "Platform/BookmarkData.h"

#include "Platform/DocumentPortal.h"

#include <QtEndian>

#include <cerrno>
#include <libdeflate.h>
#include <utility>

namespace VKPlatform {

namespace {

constexpr QByteArrayView kMagic("VKBM");
constexpr std::uint8_t kVersion = 1;
constexpr qsizetype kHeaderBytes = 5;
constexpr qsizetype kChecksumBytes = 4;
constexpr std::uint32_t kNanoseconds = 1'000'000'000;

enum Tag : std::uint8_t {
    kPathTag = 1,
    kIdentityTag,
    kHandleTag,
    kBootTag,
    kVolumeUuidTag,
    kVolumeTypeTag,
    kVolumeSourceTag,
    kPathOnVolumeTag,
    kTokenTag,
    kFirstUnknownTag,
};

/// The most bytes of each field, by its tag.
constexpr qsizetype kMostBytes[] = {0,
                                    kMostBookmarkPathBytes,
                                    kMostVolumeMarkBytes,
                                    kMostHandleBytes,
                                    kMostVolumeMarkBytes,
                                    kMostVolumeMarkBytes,
                                    kMostVolumeMarkBytes,
                                    kMostVolumeMarkBytes,
                                    kMostBookmarkPathBytes,
                                    kMostTokenBytes};
static_assert(std::size(kMostBytes) == kFirstUnknownTag);

template <typename Number>
void append(QByteArray& bytes, Number number) {
    const Number big = qToBigEndian(number);
    bytes.append(reinterpret_cast<const char*>(&big), sizeof big);
}

std::uint32_t checksumOf(QByteArrayView bytes) {
    return libdeflate_crc32(0, bytes.data(), static_cast<std::size_t>(bytes.size()));
}

void append(QByteArray& bytes, const FileTime& time) {
    append(bytes, time.seconds);
    append(bytes, time.nanoseconds);
}

QByteArray bytesOf(const FileIdentity& identity) {
    QByteArray bytes;
    append(bytes, static_cast<std::uint8_t>(identity.kind));
    append(bytes, static_cast<std::uint8_t>(identity.scope));
    append(bytes, static_cast<std::uint8_t>(identity.born.has_value()));
    append(bytes, identity.born.value_or(FileTime()));
    append(bytes, identity.modified);
    append(bytes, identity.inode);
    append(bytes, identity.sizeBytes);
    append(bytes, identity.mountId);
    append(bytes, identity.handleType);
    return bytes;
}

bool isPath(QByteArrayView path) { return path.startsWith('/') && !path.contains('\0'); }

/// What holds for every record, whether it was made here or read.
bool makesSense(const BookmarkRecord& record) {
    if (record.path.isEmpty()) {
        return !record.token.isEmpty() && parseDocumentToken(record.token).has_value() &&
               record.identity == FileIdentity() && record.volume == VolumeMark() &&
               record.pathOnVolume.isEmpty();
    }
    return isPath(record.path) && (record.pathOnVolume.isEmpty() || isPath(record.pathOnVolume)) &&
           (record.token.isEmpty() || parseDocumentToken(record.token).has_value());
}

class Writer {
public:
    /// Empty fields are left out.
    void field(Tag tag, const QByteArray& content) {
        if (content.isEmpty()) {
            return;
        }
        mFits = mFits && content.size() <= kMostBytes[tag];
        append(mBytes, static_cast<std::uint8_t>(tag));
        append(mBytes, static_cast<std::uint32_t>(content.size()));
        mBytes.append(content);
    }

    [[nodiscard]] std::optional<QByteArray> finished() {
        append(mBytes, checksumOf(mBytes));
        return mFits && mBytes.size() <= kMostBookmarkBytes ? std::optional(mBytes) : std::nullopt;
    }

private:
    QByteArray mBytes = kMagic.toByteArray() + char(kVersion);
    bool mFits = true;
};

/// Takes numbers from the front; what is not there makes it fail for good.
class Reader {
public:
    explicit Reader(QByteArrayView bytes) : mLeft(bytes) {}

    template <typename Number>
    Number number() {
        if (mLeft.size() < static_cast<qsizetype>(sizeof(Number))) {
            mFailed = true;
            mLeft = QByteArrayView();
            return 0;
        }
        const auto value = qFromBigEndian<Number>(mLeft.data());
        mLeft = mLeft.sliced(sizeof(Number));
        return value;
    }

    QByteArrayView bytes(std::uint32_t size) {
        if (mLeft.size() < static_cast<qsizetype>(size)) {
            mFailed = true;
            mLeft = QByteArrayView();
            return QByteArrayView();
        }
        const QByteArrayView taken = mLeft.first(static_cast<qsizetype>(size));
        mLeft = mLeft.sliced(static_cast<qsizetype>(size));
        return taken;
    }

    FileTime time() {
        FileTime time;
        time.seconds = number<std::int64_t>();
        time.nanoseconds = number<std::uint32_t>();
        mFailed = mFailed || time.nanoseconds >= kNanoseconds;
        return time;
    }

    /// One of the values 0 to `most`.
    std::uint8_t choice(std::uint8_t most) {
        const auto value = number<std::uint8_t>();
        mFailed = mFailed || value > most;
        return value;
    }

    [[nodiscard]] bool isAtEnd() const { return mLeft.isEmpty(); }
    [[nodiscard]] bool failed() const { return mFailed; }

private:
    QByteArrayView mLeft;
    bool mFailed = false;
};

bool readIdentity(QByteArrayView bytes, FileIdentity& identity) {
    Reader reader(bytes);
    identity.kind = static_cast<FileKind>(reader.choice(static_cast<std::uint8_t>(FileKind::Special)));
    identity.scope =
        static_cast<IdentityScope>(reader.choice(static_cast<std::uint8_t>(IdentityScope::Mount)));
    const bool isBirthKnown = reader.choice(1) == 1;
    const FileTime born = reader.time();
    if (isBirthKnown) {
        identity.born = born;
    }
    identity.modified = reader.time();
    identity.inode = reader.number<std::uint64_t>();
    identity.sizeBytes = reader.number<std::uint64_t>();
    identity.mountId = reader.number<std::uint64_t>();
    identity.handleType = reader.number<std::int32_t>();
    return !reader.failed() && reader.isAtEnd() && identity.kind != FileKind::Unknown &&
           (isBirthKnown || born == FileTime());
}

bool readField(std::uint8_t tag, QByteArrayView content, BookmarkRecord& record) {
    if (tag >= kFirstUnknownTag) {
        return true;
    }
    if (tag == 0 || content.isEmpty() || content.size() > kMostBytes[tag]) {
        return false;
    }
    QByteArray* const texts[] = {nullptr,
                                 &record.path,
                                 nullptr,
                                 &record.identity.handle,
                                 &record.identity.boot,
                                 &record.volume.uuid,
                                 &record.volume.type,
                                 &record.volume.source,
                                 &record.pathOnVolume,
                                 &record.token};
    static_assert(std::size(texts) == kFirstUnknownTag);
    if (tag == kIdentityTag) {
        return readIdentity(content, record.identity);
    }
    *texts[tag] = content.toByteArray();
    return true;
}

} // namespace

bool isSameVolume(const VolumeMark& first, const VolumeMark& second) {
    if (!first.uuid.isEmpty() || !second.uuid.isEmpty()) {
        return first.uuid == second.uuid;
    }
    return !first.type.isEmpty() && first.type == second.type && first.source == second.source;
}

std::optional<QByteArray> encodeBookmark(const BookmarkRecord& record) {
    if (!makesSense(record) || (!record.path.isEmpty() && record.identity.kind == FileKind::Unknown)) {
        return std::nullopt;
    }
    Writer writer;
    writer.field(kPathTag, record.path);
    if (!record.path.isEmpty()) {
        writer.field(kIdentityTag, bytesOf(record.identity));
    }
    writer.field(kHandleTag, record.identity.handle);
    writer.field(kBootTag, record.identity.boot);
    writer.field(kVolumeUuidTag, record.volume.uuid);
    writer.field(kVolumeTypeTag, record.volume.type);
    writer.field(kVolumeSourceTag, record.volume.source);
    writer.field(kPathOnVolumeTag, record.pathOnVolume);
    writer.field(kTokenTag, record.token);
    return writer.finished();
}

int decodeBookmark(QByteArrayView bytes, BookmarkRecord& out) {
    if (bytes.size() < kHeaderBytes + kChecksumBytes || bytes.size() > kMostBookmarkBytes ||
        !bytes.startsWith(kMagic)) {
        return EINVAL;
    }
    const QByteArrayView body = bytes.chopped(kChecksumBytes);
    if (qFromBigEndian<std::uint32_t>(bytes.last(kChecksumBytes).data()) != checksumOf(body)) {
        return EINVAL;
    }
    const auto version = static_cast<std::uint8_t>(body[kMagic.size()]);
    if (version != kVersion) {
        return version > kVersion ? EOPNOTSUPP : EINVAL;
    }
    BookmarkRecord record;
    Reader reader(body.sliced(kHeaderBytes));
    int lastTag = -1;
    while (!reader.isAtEnd()) {
        const auto tag = reader.number<std::uint8_t>();
        const QByteArrayView content = reader.bytes(reader.number<std::uint32_t>());
        if (reader.failed() || tag <= lastTag || !readField(tag, content, record)) {
            return EINVAL;
        }
        lastTag = tag;
    }
    const bool hasIdentity = record.identity.kind != FileKind::Unknown;
    if (reader.failed() || !makesSense(record) || hasIdentity == record.path.isEmpty()) {
        return EINVAL;
    }
    out = std::move(record);
    return 0;
}

} // namespace VKPlatform
