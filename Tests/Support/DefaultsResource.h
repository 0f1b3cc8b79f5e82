// The resource ":/Kestrel/VKConfig", where applications keep their default settings, made up at run time.
#pragma once

#include <QByteArray>
#include <QResource>
#include <QStringView>

namespace DefaultsResource {

/// ":/Kestrel/VKConfig" with these bytes while the object lives, in the binary form that Qt's rcc writes (version 1):
/// a tree of root, folder and file, their names, the file's bytes.
class Defaults {
public:
    explicit Defaults(const QByteArray& content) {
        const QByteArray names = name(u"Kestrel") + name(u"VKConfig");
        const QByteArray tree = folder(0, 1) + folder(0, 2) +
                                number(static_cast<quint32>(name(u"Kestrel").size())) + number(0) +
                                QByteArray("\0\1", 2) + number(0);
        const QByteArray data = number(static_cast<quint32>(content.size())) + content;
        constexpr quint32 kHeader = 20;
        const auto treeSize = static_cast<quint32>(tree.size());
        const auto dataSize = static_cast<quint32>(data.size());
        mBytes = "qres" + number(1) + number(kHeader) + number(kHeader + treeSize) +
                 number(kHeader + treeSize + dataSize) + tree + data + names;
        mRegistered = QResource::registerResource(bytes());
    }
    ~Defaults() {
        if (mRegistered) {
            QResource::unregisterResource(bytes());
        }
    }
    Defaults(const Defaults&) = delete;
    Defaults& operator=(const Defaults&) = delete;

private:
    [[nodiscard]] const uchar* bytes() const { return reinterpret_cast<const uchar*>(mBytes.constData()); }

    static QByteArray number(quint32 value) {
        QByteArray bytes;
        for (const unsigned shift : {24U, 16U, 8U, 0U}) {
            bytes += static_cast<char>((value >> shift) & 0xffU);
        }
        return bytes;
    }
    static QByteArray folder(quint32 nameOffset, quint32 firstChild) {
        return number(nameOffset) + QByteArray("\0\2", 2) + number(1) + number(firstChild);
    }
    static QByteArray name(QStringView text) {
        quint32 hash = 0;
        QByteArray letters;
        for (const QChar letter : text) {
            hash = (hash << 4U) + letter.unicode();
            hash ^= (hash & 0xf0000000U) >> 23U;
            hash &= 0x0fffffffU;
            letters += QByteArray("\0", 1) + letter.toLatin1();
        }
        return number(static_cast<quint32>(text.size())).last(2) + number(hash) + letters;
    }

    QByteArray mBytes;
    bool mRegistered = false;
};

} // namespace DefaultsResource
