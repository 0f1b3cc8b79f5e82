// The data-stream form of a path: arbitrary bytes through random-access and sequential devices, held against a
// reading of the format by hand; and every path that comes out written and read again.

#include "FuzzSupport.h"
#include "PathModel.h"

#include <VKQtPath.h>

#include <QBuffer>
#include <QDataStream>
#include <QIODevice>

#include <algorithm>
#include <cstring>
#include <optional>

namespace {

/// A device that cannot tell how much is left, as a pipe.
class SequentialDevice : public QIODevice {
public:
    explicit SequentialDevice(const QByteArray& bytes) : mBytes(bytes) { open(QIODevice::ReadOnly); }
    [[nodiscard]] bool isSequential() const override { return true; }

protected:
    qint64 readData(char* to, qint64 atMost) override {
        const qint64 taken = std::min<qint64>(atMost, mBytes.size() - mAt);
        if (taken > 0) {
            std::memcpy(to, mBytes.constData() + mAt, static_cast<std::size_t>(taken));
            mAt += taken;
        }
        return taken;
    }
    qint64 writeData(const char* /*from*/, qint64 /*size*/) override { return -1; }

private:
    QByteArray mBytes;
    qint64 mAt = 0;
};

/// Reads big-endian fields by hand; what is missing makes it fail for good.
class Fields {
public:
    explicit Fields(const QByteArray& bytes) : mBytes(bytes) {}

    std::uint32_t number(int bytes) {
        std::uint32_t value = 0;
        for (int i = 0; i < bytes; ++i) {
            value = value << 8 | (mAt < mBytes.size() ? static_cast<std::uint8_t>(mBytes.at(mAt)) : 0U);
            mWhole = mWhole && mAt < mBytes.size();
            ++mAt;
        }
        return value;
    }

    QString text() {
        const std::uint32_t size = number(4);
        QString result;
        if (size == 0xffffffffU) {
            return result;
        }
        mWhole = mWhole && size % 2 == 0 && size <= static_cast<std::uint32_t>(mBytes.size() - mAt);
        for (std::uint32_t i = 0; mWhole && i < size / 2; ++i) {
            result.append(QChar(static_cast<char16_t>(number(2))));
        }
        return result;
    }

    [[nodiscard]] bool whole() const { return mWhole; }

private:
    QByteArray mBytes;
    qsizetype mAt = 0;
    bool mWhole = true;
};

struct Expected {
    QString text;
    bool folder;
    unsigned volumeID;
};

std::optional<Expected> readByHand(const QByteArray& bytes) {
    Fields fields(bytes);
    if (fields.number(4) != 1) {
        return std::nullopt;
    }
    const bool folder = fields.number(1) != 0;
    const QString text = fields.text();
    const unsigned volumeID = fields.number(4);
    return fields.whole() ? std::optional(Expected{PathModel::normalized(text, folder), folder, volumeID})
                          : std::nullopt;
}

void check(QIODevice* device, const QByteArray& bytes) {
    QDataStream stream(device);
    stream.setVersion(QDataStream::Qt_6_0);
    VKQtPath path(QStringLiteral("/left/over"), true, 9);
    stream >> path;
    const std::optional<Expected> expected = readByHand(bytes);
    if (!expected) {
        require(path.path().isEmpty() && !path.isFolder() && path.volumeID() == 0 && !path.hasVolumeID(),
                "what cannot be read leaves an empty path", {path.path()});
        return;
    }
    require(stream.status() == QDataStream::Ok, "a whole record is read", {expected->text});
    require(path.path() == expected->text && path.isFolder() == expected->folder &&
                path.volumeID() == expected->volumeID && path.hasVolumeID(),
            "the fields are those of the record", {path.path(), expected->text});

    QByteArray written;
    QDataStream writer(&written, QIODevice::WriteOnly);
    writer << path;
    VKQtPath again;
    QDataStream reader(written);
    reader >> again;
    require(reader.status() == QDataStream::Ok && reader.atEnd(), "what is written is read to its end",
            {path.path()});
    // A text that still ends in "/" loses one more when it is set again.
    require(again.path() == PathModel::normalized(path.path(), path.isFolder()) &&
                again.isFolder() == path.isFolder() && again.volumeID() == path.volumeID(),
            "what is written reads back equal", {path.path(), again.path()});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    check(&buffer, bytes);
    SequentialDevice device(bytes);
    check(&device, bytes);
    return 0;
}
