// For the tests of the store: defaults that a test makes up, as the resource that the store reads, and products with
// folders of their own.
#pragma once

#include "ConfigSupport.h"
#include "VKConfig.h"

#include <QResource>

namespace Config {

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

inline QByteArray quoted(QByteArray text) { return text.replace('\'', '"'); }

/// Two bundles: "view" with "grid" (true) and "zoom" (1 of 0, 1, 2), "export" with "sharpen" (false).
inline QByteArray exampleDefaults(const QByteArray& version = "1") {
    return quoted("{'class_id':'VKConfigModel','version':" + version +
                  ",'children':["
                  "{'class_id':'view','display_name':'View','items':["
                  "{'name':'grid','display_name':'Grid','value_type':1,'value':true},"
                  "{'name':'zoom','display_name':'Zoom','value_type':2,'value':1,'values':["
                  "{'display_name':'Fit','value':0},{'display_name':'Full','value':1},"
                  "{'display_name':'Double','value':2}]}]},"
                  "{'class_id':'export','display_name':'Export','items':["
                  "{'name':'sharpen','display_name':'Sharpen','value_type':1,'value':false}]}]}");
}

/// A product that nobody has asked for yet: the library keeps the folders that it has found.
inline QString newProduct() {
    static int sCount = 0;
    const QString product = u"TestProduct%1"_s.arg(++sCount);
    if (VKProductRegister(CoreKit::makeString(product).get(), nullptr) != kVKStatusSuccess) {
        qFatal("the product cannot be registered");
    }
    return product;
}

inline VKStatus initialize(VKConfig& config, const QString& product) {
    return config.initialize(CoreKit::makeString(product).get());
}

} // namespace Config
