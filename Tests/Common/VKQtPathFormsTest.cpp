// The forms in which a path leaves the value and comes back: CoreFoundation strings and URLs, QUrl and QFileInfo
// with the file system behind them, JSON, data streams.
#include "VKQtPath.h"

#include "Support/VKTest.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKFileMgr.h>

#include <QBuffer>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <cstring>

namespace {

VKCFRef<CFStringRef> cfString(const QString& text) {
    return VKCFRef<CFStringRef>::adopt(
        CFStringCreateWithCharacters(nullptr, reinterpret_cast<const UniChar*>(text.utf16()), text.size()));
}

// A device that cannot tell how much it holds, as a pipe.
class Pipe : public QIODevice {
public:
    explicit Pipe(const QByteArray& content) : mLeft(content) {}
    [[nodiscard]] bool isSequential() const override { return true; }

protected:
    qint64 readData(char* to, qint64 maximum) override {
        const qsizetype length = qMin<qsizetype>(mLeft.size(), maximum);
        std::memcpy(to, mLeft.constData(), static_cast<size_t>(length));
        mLeft.remove(0, length);
        return length;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray mLeft;
};

QByteArray streamed(const VKQtPath& path) {
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << path;
    return bytes;
}

const QString kDecomposed = QStringLiteral("Cafe\u0301");
const QString kComposed = QStringLiteral("Caf\u00E9");

} // namespace

class VKQtPathFormsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void fromCFStrings();
    void toCFStrings();
    void fromCFUrls();
    void toCFUrls_data();
    void toCFUrls();
    void urlHoldsTheNameOnDisk();
    void fromFileInfo();
    void fromUrl();
    void fromUrlSpelledOtherwiseOnDisk();
    void network();
    void jsonIsExact();
    void jsonReadsBack();
    void jsonOfOtherTypes_data();
    void jsonOfOtherTypes();
    void streamIsExact();
    void streamReadsBack_data();
    void streamReadsBack();
    void streamOfAnotherVersion();
    void streamThatEndsEarly();
    void streamWithOtherTexts();
    void streamOfLists();
};

void VKQtPathFormsTest::fromCFStrings() {
    const auto text = cfString(QStringLiteral("C:\\Cafe\u0301\\"));
    QCOMPARE(VKQtPath(text.get(), true).path(), QStringLiteral("C:/Caf\u00E9"));
    QVERIFY(VKQtPath(text.get(), true).isFolder());
    QVERIFY(VKQtPath(CFStringRef(nullptr), false).path().isEmpty());
    QVERIFY(VKQtPath(CFStringRef(nullptr), true).isFolder());

    VKQtPath path(QStringLiteral("/x"), false, 4);
    path.setPath(text.get(), true);
    QCOMPARE(path.path(), QStringLiteral("C:/Caf\u00E9"));
    QVERIFY(path.isFolder() && !path.hasVolumeID());
    QCOMPARE(path.volumeID(), 4U);
    path.setPath(cfString(QStringLiteral("/a") + QChar(u'\0') + QStringLiteral("b")).get(), false);
    QCOMPARE(path.path(), QStringLiteral("/a"));
}

void VKQtPathFormsTest::toCFStrings() {
    for (const QString& text : {QString(), QStringLiteral("/a/Caf\u00E9.jpg"), QString(QChar(u'\xD800'))}) {
        const VKQtPath path(text, false);
        for (const CFStringRef created : {path.createCFString(), path.makeCFString()}) {
            const auto string = VKCFRef<CFStringRef>::adopt(created);
            QCOMPARE(CFStringGetLength(string.get()), static_cast<CFIndex>(text.size()));
            QString read(text.size(), Qt::Uninitialized);
            CFStringGetCharacters(string.get(), CFRangeMake(0, text.size()),
                                  reinterpret_cast<UniChar*>(read.data()));
            QCOMPARE(read, text);
        }
    }
}

void VKQtPathFormsTest::fromCFUrls() {
    const auto url = [](const char* text) {
        return VKCFRef<CFURLRef>::adopt(
            CFURLCreateWithString(nullptr, cfString(QString::fromLatin1(text)).get(), nullptr));
    };
    VKQtPath path;
    path.setPath(url("file:///a%20b/Cafe%CC%81/").get(), true, 9);
    QCOMPARE(path.path(), QStringLiteral("/a b/Caf\u00E9"));
    QVERIFY(path.isFolder() && path.hasVolumeID());
    QCOMPARE(path.volumeID(), 9U);
    path.setPath(url("file:///x").get(), false, 0);
    QCOMPARE(path.path(), QStringLiteral("/x"));
    QVERIFY2(!path.hasVolumeID(), "0 means none");
    QCOMPARE(path.volumeID(), 9U);
    path.setPath(url("file:///a%5Cb").get(), false, 0);
    QCOMPARE(path.path(), QStringLiteral("/a\uFFFDb"));
    path.setPath(url("file:///x").get(), false, 9);
    path.setPath(CFURLRef(nullptr), true, 1);
    QVERIFY(path.path().isEmpty() && path.isFolder() && path.hasVolumeID());
    path.setPath(url("https://host/x").get(), false, 0);
    QCOMPARE(path.path(), QString());
}

void VKQtPathFormsTest::toCFUrls_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<QString>("expected");
    QTest::newRow("file") << "/a b/c.jpg" << false << "file:///a%20b/c.jpg";
    QTest::newRow("folder") << "/a" << true << "file:///a/";
    QTest::newRow("root") << "/" << true << "file:///";
    QTest::newRow("accent") << QStringLiteral("/no/Caf\u00E9") << false << "file:///no/Caf%C3%A9";
    QTest::newRow("empty text is no file") << "" << false << "";
    QTest::newRow("NUL is no file") << QString(QStringLiteral("/a") + QChar(u'\0') + QStringLiteral("b"))
                                    << false << "";
    QTest::newRow("lone surrogate is no file")
        << QString(QStringLiteral("/a") + QChar(u'\xDC00')) << false << "";
}

void VKQtPathFormsTest::toCFUrls() {
    QFETCH(const QString, text);
    QFETCH(const bool, folder);
    QFETCH(const QString, expected);
    const VKQtPath path(text, folder);
    for (const CFURLRef created : {path.createCFUrl(), path.makeCFUrl()}) {
        const auto url = VKCFRef<CFURLRef>::adopt(created);
        QCOMPARE(static_cast<bool>(url), !expected.isEmpty());
        if (url) {
            QCOMPARE(CFStringCopyQString(CFURLGetString(url.get())), expected);
            VKQtPath back;
            back.setPath(url.get(), folder, 0);
            QCOMPARE(back.path(), path.path());
        }
    }
}

void VKQtPathFormsTest::urlHoldsTheNameOnDisk() {
    const QString folder = makeFolder();
    QVERIFY(QDir(folder).mkdir(kDecomposed));
    const VKQtPath path(folder + u'/' + kDecomposed, true);
    QCOMPARE(path.path(), folder + u'/' + kComposed);
    const auto url = VKCFRef<CFURLRef>::adopt(path.createCFUrl());
    QVERIFY(url);
    QVERIFY(CFStringCopyQString(CFURLGetString(url.get())).endsWith(QStringLiteral("/Cafe%CC%81/")));
    QVERIFY(VKFileMgrPathExists(url.get()));
}

void VKQtPathFormsTest::fromFileInfo() {
    const QString folder = makeFolder();
    QFile file(folder + QStringLiteral("/b.jpg"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QCOMPARE(VKQtPath(QFileInfo(file)).path(), folder);
    QVERIFY2(!VKQtPath(QFileInfo(file)).isFolder(), "the flag is the entry's, the text its folder's");
    QVERIFY(QDir(folder).mkdir(QStringLiteral("sub")));
    const VKQtPath sub(QFileInfo(folder + QStringLiteral("/sub")));
    QCOMPARE(sub.path(), folder);
    QVERIFY(sub.isFolder());
    const VKQtPath missing(QFileInfo(QStringLiteral("/a/b.jpg")));
    QCOMPARE(missing.path(), QStringLiteral("/a"));
    QVERIFY(!missing.isFolder() && !missing.hasVolumeID());
}

void VKQtPathFormsTest::fromUrl() {
    const QString folder = makeFolder();
    QFile file(folder + QStringLiteral("/b.jpg"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    const VKQtPath ofFile(QUrl::fromLocalFile(file.fileName()));
    QCOMPARE(ofFile.path(), file.fileName());
    QVERIFY(!ofFile.isFolder());
    const VKQtPath ofFolder(QUrl::fromLocalFile(folder));
    QCOMPARE(ofFolder.path(), folder);
    QVERIFY(ofFolder.isFolder() && !ofFolder.hasVolumeID());
    const VKQtPath missing(QUrl::fromLocalFile(folder + QStringLiteral("/none/")));
    QCOMPARE(missing.path(), folder + QStringLiteral("/none"));
    QVERIFY2(!missing.isFolder(), "what does not exist is a file");
    QVERIFY(VKQtPath(QUrl()).path().isEmpty());
    QVERIFY(VKQtPath(QUrl(QStringLiteral("https://host/x"))).path().isEmpty());
    QVERIFY(VKQtPath(QUrl(QStringLiteral("file:///"))).isFolder());
    QVERIFY2(QFile::link(folder, folder + QStringLiteral("/link")), "a link to a folder");
    QVERIFY(VKQtPath(QUrl::fromLocalFile(folder + QStringLiteral("/link"))).isFolder());
}

void VKQtPathFormsTest::fromUrlSpelledOtherwiseOnDisk() {
    const QString folder = makeFolder();
    QVERIFY(QDir(folder).mkdir(kDecomposed));
    const VKQtPath decomposed(QUrl::fromLocalFile(folder + u'/' + kDecomposed));
    QCOMPARE(decomposed.path(), folder + u'/' + kComposed);
    QVERIFY(decomposed.isFolder());
    QVERIFY2(VKQtPath(QUrl::fromLocalFile(folder + u'/' + kComposed)).isFolder(),
             "the composed name is not on disk, and yet names the folder");
    QVERIFY(QFile::link(folder + u'/' + kDecomposed, folder + QStringLiteral("/Rene\u0301")));
    QVERIFY(VKQtPath(QUrl::fromLocalFile(folder + QStringLiteral("/Ren\u00E9"))).isFolder());
    QFile file(folder + QStringLiteral("/e\u0301.jpg"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(!VKQtPath(QUrl::fromLocalFile(folder + QStringLiteral("/\u00E9.jpg"))).isFolder());
}

void VKQtPathFormsTest::network() {
    const QString folder = makeFolder();
    QVERIFY(QDir(folder).mkdir(kDecomposed));
    QVERIFY(!VKQtPath(folder, true).isNetwork());
    QVERIFY(!VKQtPath(folder + u'/' + kDecomposed, true).isNetwork());
    QVERIFY2(!VKQtPath(folder + QStringLiteral("/none"), false).isNetwork(), "cannot be asked");
    QVERIFY(!VKQtPath().isNetwork());
    QVERIFY(!VKQtPath(QString(QChar(u'\0')), false).isNetwork());
    QVERIFY2(!VKQtPath(QStringLiteral("//srv/share"), true).isNetwork(), "the text alone says nothing");
}

void VKQtPathFormsTest::jsonIsExact() {
    const auto document = [](const QJsonValue& value) {
        return QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    };
    const VKQtPath path(QStringLiteral("/a/Caf\u00E9"), true, 4000000000U);
    QCOMPARE(document(path.toJson()),
             QByteArray("[{\"folder\":true,\"path\":\"/a/Caf\xC3\xA9\",\"volumeID\":4000000000}]"));
    QCOMPARE(
        document(QJsonValue(QJsonObject(path))),
        QByteArray("[{\"path\":{\"folder\":true,\"path\":\"/a/Caf\xC3\xA9\",\"volumeID\":4000000000}}]"));
    QCOMPARE(document(VKQtPath().toJson()), QByteArray("[{\"folder\":false,\"path\":\"\",\"volumeID\":0}]"));
    VKQtPath kept(QStringLiteral("/a"), false, 7);
    kept.setPath(QStringLiteral("/a"), false);
    QCOMPARE(kept.toJson().toObject().value(u"volumeID").toInt(), 7);
}

void VKQtPathFormsTest::jsonReadsBack() {
    for (const unsigned int volume : {0U, 1U, 2147483647U}) {
        for (const bool folder : {false, true}) {
            const VKQtPath path(QStringLiteral("/A/Caf\u00E9.jpg"), folder, volume);
            for (const VKQtPath& back :
                 {VKQtPath::fromJson(QJsonObject(path)), VKQtPath::fromJson(path.toJson()),
                  VKQtPath::fromJsonPayload(path.toJson().toObject())}) {
                QCOMPARE(back.path(), path.path());
                QCOMPARE(back.isFolder(), folder);
                QCOMPARE(back.volumeID(), volume);
                QVERIFY(back.hasVolumeID());
            }
        }
    }
    const VKQtPath large(QStringLiteral("/a"), false, 2147483648U);
    QCOMPARE(VKQtPath::fromJson(large.toJson()).volumeID(), 0U);
    QVERIFY(VKQtPath::fromJson(large.toJson()).hasVolumeID());
}

void VKQtPathFormsTest::jsonOfOtherTypes_data() {
    QTest::addColumn<QByteArray>("nested");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<uint>("volume");
    QTest::newRow("text only") << QByteArray(R"({"path":{"path":"/x"}})") << "/x" << false << 0U;
    QTest::newRow("no member") << QByteArray(R"({})") << "" << false << 0U;
    QTest::newRow("empty payload") << QByteArray(R"({"path":{}})") << "" << false << 0U;
    QTest::newRow("flat instead of nested")
        << QByteArray(R"({"path":"/x","folder":true})") << "" << false << 0U;
    QTest::newRow("array") << QByteArray(R"({"path":[{"path":"/x"}]})") << "" << false << 0U;
    QTest::newRow("null") << QByteArray(R"({"path":null})") << "" << false << 0U;
    QTest::newRow("number as text") << QByteArray(R"({"path":{"path":7,"folder":true}})") << "" << true << 0U;
    QTest::newRow("object as text") << QByteArray(R"({"path":{"path":{"path":"/x"}}})") << "" << false << 0U;
    QTest::newRow("text as flag") << QByteArray(R"({"path":{"path":"/x","folder":"true"}})") << "/x" << false
                                  << 0U;
    QTest::newRow("number as flag") << QByteArray(R"({"path":{"path":"/x","folder":1}})") << "/x" << false
                                    << 0U;
    QTest::newRow("text as volume") << QByteArray(R"({"path":{"path":"/x","volumeID":"7"}})") << "/x" << false
                                    << 0U;
    QTest::newRow("fraction as volume")
        << QByteArray(R"({"path":{"path":"/x","volumeID":7.5}})") << "/x" << false << 0U;
    QTest::newRow("large volume") << QByteArray(R"({"path":{"path":"/x","volumeID":4294967295}})") << "/x"
                                  << false << 0U;
    QTest::newRow("huge volume") << QByteArray(R"({"path":{"path":"/x","volumeID":1e300}})") << "/x" << false
                                 << 0U;
    QTest::newRow("negative volume wraps")
        << QByteArray(R"({"path":{"path":"/x","volumeID":-1}})") << "/x" << false << 4294967295U;
    QTest::newRow("not canonical") << QByteArray(R"({"path":{"path":"C:\\a\\","folder":true,"volumeID":3}})")
                                   << "C:/a" << true << 3U;
    QTest::newRow("NUL and half a pair")
        << QByteArray(R"({"path":{"path":"/\u0000\ud800"}})")
        << QString(u'/' + QString(QChar(u'\0')) + QChar(u'\xD800')) << false << 0U;
}

void VKQtPathFormsTest::jsonOfOtherTypes() {
    QFETCH(const QByteArray, nested);
    QFETCH(const QString, text);
    QFETCH(const bool, folder);
    QFETCH(const uint, volume);
    QJsonParseError error;
    const QJsonObject object = QJsonDocument::fromJson(nested, &error).object();
    QCOMPARE(error.error, QJsonParseError::NoError);
    for (const VKQtPath& path : {VKQtPath::fromJson(object), VKQtPath::fromJson(object.value(u"path"))}) {
        QCOMPARE(path.path(), text);
        QCOMPARE(path.isFolder(), folder);
        QCOMPARE(path.volumeID(), volume);
        QVERIFY(path.hasVolumeID());
    }
}

void VKQtPathFormsTest::streamIsExact() {
    QCOMPARE(streamed(VKQtPath(QStringLiteral("/\u00E9"), true, 0x01020304U)),
             QByteArray::fromHex("00000001"
                                 "01"
                                 "00000004"
                                 "002f00e9"
                                 "01020304"));
    QCOMPARE(streamed(VKQtPath()), QByteArray::fromHex("00000001"
                                                       "00"
                                                       "00000000"
                                                       "00000000"));
    VKQtPath withToken(QStringLiteral("/a"), false, 0xFFFFFFFFU);
    const QByteArray without = streamed(withToken);
    const auto token = VKCFRef<CFDataRef>::adopt(CFDataCreate(nullptr, nullptr, 0));
    withToken.setSecurityToken(token.get());
    QCOMPARE(streamed(withToken), without);
    QVERIFY(without.endsWith(QByteArray::fromHex("ffffffff")));
}

void VKQtPathFormsTest::streamReadsBack_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << "/a/b.jpg";
    QTest::newRow("empty") << "";
    QTest::newRow("accent") << QStringLiteral("/Caf\u00E9");
    QTest::newRow("byte order mark") << QStringLiteral("\uFEFF/a");
    QTest::newRow("NUL") << QString(QChar(u'\0'));
    QTest::newRow("lone surrogate") << QString(QChar(u'\xD800'));
    QTest::newRow("long") << QString(100000, u'x');
}

void VKQtPathFormsTest::streamReadsBack() {
    QFETCH(const QString, text);
    for (const bool folder : {false, true}) {
        for (const bool sequential : {false, true}) {
            for (const auto order : {QDataStream::BigEndian, QDataStream::LittleEndian}) {
                QByteArray bytes;
                QDataStream out(&bytes, QIODevice::WriteOnly);
                out.setByteOrder(order);
                out << VKQtPath(text, folder, 0xFFFFFFF0U) << qint32{42};
                Pipe pipe(bytes);
                QBuffer buffer(&bytes);
                QIODevice& chosen = sequential ? static_cast<QIODevice&>(pipe) : buffer;
                QVERIFY(chosen.open(QIODevice::ReadOnly));
                QDataStream in(&chosen);
                in.setByteOrder(order);
                VKQtPath path(QStringLiteral("/before"), !folder);
                qint32 after = 0;
                in >> path >> after;
                QCOMPARE(in.status(), QDataStream::Ok);
                QCOMPARE(path.path(), text);
                QCOMPARE(path.isFolder(), folder);
                QCOMPARE(path.volumeID(), 0xFFFFFFF0U);
                QVERIFY(path.hasVolumeID());
                QCOMPARE(after, 42);
            }
        }
    }
}

void VKQtPathFormsTest::streamOfAnotherVersion() {
    const auto token = VKCFRef<CFDataRef>::adopt(CFDataCreate(nullptr, nullptr, 0));
    for (const qint32 version : {2, 0, -1, 0x01000000}) {
        QByteArray bytes = streamed(VKQtPath(QStringLiteral("/a"), true, 3));
        QDataStream(&bytes, QIODevice::ReadWrite) << version;
        QDataStream in(bytes);
        VKQtPath path(QStringLiteral("/before"), true, 9);
        path.setSecurityToken(token.get());
        in >> path;
        QCOMPARE(in.status(), QDataStream::Ok);
        QVERIFY(path.path().isEmpty() && !path.isFolder() && !path.hasVolumeID() && path.volumeID() == 0);
        QVERIFY(path.securityToken() == nullptr);
        QVERIFY2(in.device()->pos() == 4, "nothing more is read");
    }
}

void VKQtPathFormsTest::streamThatEndsEarly() {
    const QByteArray whole = streamed(VKQtPath(QStringLiteral("/a/b.jpg"), true, 3));
    for (qsizetype length = 0; length < whole.size(); ++length) {
        QByteArray part = whole.first(length);
        for (const bool sequential : {false, true}) {
            Pipe pipe(part);
            QBuffer buffer(&part);
            QIODevice& chosen = sequential ? static_cast<QIODevice&>(pipe) : buffer;
            QVERIFY(chosen.open(QIODevice::ReadOnly));
            QDataStream in(&chosen);
            VKQtPath path(QStringLiteral("/before"), true, 9);
            in >> path;
            QCOMPARE(in.status(), QDataStream::ReadPastEnd);
            QVERIFY(path.path().isEmpty() && !path.isFolder() && !path.hasVolumeID() && path.volumeID() == 0);
        }
    }
}

void VKQtPathFormsTest::streamWithOtherTexts() {
    const auto read = [](const char* hex, QDataStream::Status status) {
        QDataStream in(QByteArray::fromHex(hex));
        VKQtPath path(QStringLiteral("/before"), true, 9);
        in >> path;
        return in.status() == status ? path : VKQtPath(QStringLiteral("another status"), false);
    };
    const VKQtPath null = read("00000001"
                               "01"
                               "ffffffff"
                               "00000005",
                               QDataStream::Ok);
    QVERIFY2(null.path().isEmpty() && null.isFolder() && null.volumeID() == 5,
             "a null text counts as an empty one");
    QVERIFY2(read("00000001"
                  "01"
                  "00000003"
                  "002f61"
                  "00000005",
                  QDataStream::ReadCorruptData)
                 .path()
                 .isEmpty(),
             "half a unit");
    QCOMPARE(read("00000001"
                  "01"
                  "00000006"
                  "005c0061005c"
                  "00000005",
                  QDataStream::Ok)
                 .path(),
             QStringLiteral("/a"));
    QVERIFY2(!read("00000001"
                   "00"
                   "00000002"
                   "0061"
                   "00000005",
                   QDataStream::Ok)
                  .isFolder(),
             "a file");

    QByteArray twoPaths = streamed(VKQtPath(QStringLiteral("/a"), false, 1)) +
                          streamed(VKQtPath(QStringLiteral("/b"), false, 2));
    QBuffer device(&twoPaths);
    QVERIFY(device.open(QIODevice::ReadOnly));
    QDataStream in(&device);
    VKQtPath first;
    in.startTransaction();
    in >> first;
    in.rollbackTransaction();
    in.resetStatus();
    in >> first;
    VKQtPath second;
    in >> second;
    QCOMPARE(first.path(), QStringLiteral("/a"));
    QCOMPARE(second.path(), QStringLiteral("/b"));
}

void VKQtPathFormsTest::streamOfLists() {
    const QList<VKQtPath> paths{VKQtPath(QStringLiteral("/a"), true, 1), VKQtPath(),
                                VKQtPath(QStringLiteral("b"), false, 2)};
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << paths;
    QList<VKQtPath> read;
    QDataStream in(bytes);
    in >> read;
    QCOMPARE(in.status(), QDataStream::Ok);
    QCOMPARE(read, paths);
}

VKTEST_MAIN(VKQtPathFormsTest)
#include "VKQtPathFormsTest.moc"
