// The bridge between the counted values and Qt's: nothing is lost, and nothing is copied that can be shared.
#include "CFTestSupport.h"

using namespace CFTest;

class CFQtTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void textGoesThere_data();
    void textGoesThere();
    void textIsShared();
    void changeOfOneIsNoChangeOfTheOther();
    void bytesGoThere_data();
    void bytesGoThere();
    void bytesAreShared();
    void nullIsNull();
    void fileSystemBytes_data();
    void fileSystemBytes();
    void fileSystemBytesOfARelativeUrl();
};

void CFQtTest::textGoesThere_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QStringLiteral("");
    QTest::newRow("null as empty") << QString();
    QTest::newRow("ASCII") << QStringLiteral("abc");
    QTest::newRow("decomposed") << QStringLiteral("e\u0301");
    QTest::newRow("U+FEFF first") << QStringLiteral("\uFEFFa");
    QTest::newRow("NUL inside") << units(QStringLiteral("a<0000>b"));
    QTest::newRow("unpaired surrogate") << units(QStringLiteral("a<D800>b"));
}

void CFQtTest::textGoesThere() {
    QFETCH(QString, text);
    const auto string = makeString(text);
    QCOMPARE(CFStringGetLength(string.get()), text.size());
    QCOMPARE(CFStringCopyQString(string.get()), text);
}

void CFQtTest::textIsShared() {
    const QString text(100, u'x');
    const auto string = makeString(text);
    QCOMPARE(CFStringCopyQString(string.get()).constData(), text.constData());
}

void CFQtTest::changeOfOneIsNoChangeOfTheOther() {
    QString text(100, u'x');
    const auto string = makeString(text);
    text[0] = u'y';
    QString copy = CFStringCopyQString(string.get());
    copy[1] = u'z';
    QCOMPARE(CFStringCopyQString(string.get()), QString(100, u'x'));
}

void CFQtTest::bytesGoThere_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("NUL inside") << QByteArray("a\0b", 3);
    QTest::newRow("not UTF-8") << QByteArray("\xFF\xFE\x80");
}

void CFQtTest::bytesGoThere() {
    QFETCH(QByteArray, bytes);
    const auto data = own(CFDataCreateWithQByteArray(bytes));
    QCOMPARE(CFDataGetLength(data.get()), bytes.size());
    QCOMPARE(CFDataCopyQByteArray(data.get()), bytes);
}

void CFQtTest::bytesAreShared() {
    const QByteArray bytes(100, 'x');
    const auto data = own(CFDataCreateWithQByteArray(bytes));
    QCOMPARE(static_cast<const void*>(CFDataCopyQByteArray(data.get()).constData()),
             static_cast<const void*>(bytes.constData()));
}

void CFQtTest::nullIsNull() {
    QVERIFY(CFStringCopyQString(nullptr).isNull());
    QVERIFY(CFDataCopyQByteArray(nullptr).isNull());
    QVERIFY(CFURLCopyFileSystemBytes(nullptr).isNull());
}

void CFQtTest::fileSystemBytes_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("root") << QByteArray("/");
    QTest::newRow("plain") << QByteArray("/a b/c.jpg");
    QTest::newRow("UTF-8, decomposed") << QByteArray("/Cafe\xCC\x81.jpg");
    QTest::newRow("not UTF-8") << QByteArray("/lat\xE9/\xFF\xFE");
    QTest::newRow("percent sign") << QByteArray("/50%41");
    QTest::newRow("line break") << QByteArray("/a\nb");
}

void CFQtTest::fileSystemBytes() {
    QFETCH(QByteArray, bytes);
    const auto url = own(CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(bytes.constData()), bytes.size(), false));
    QVERIFY(url);
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), bytes);
    const auto web =
        own(CFURLCreateWithString(nullptr, makeString(QStringLiteral("https://h.test/a")).get(), nullptr));
    QVERIFY(CFURLCopyFileSystemBytes(web.get()).isNull());
}

void CFQtTest::fileSystemBytesOfARelativeUrl() {
    const auto base =
        own(CFURLCreateWithString(nullptr, makeString(QStringLiteral("file:///x/y/")).get(), nullptr));
    const auto url =
        own(CFURLCreateWithString(nullptr, makeString(QStringLiteral("../a%20b")).get(), base.get()));
    QCOMPARE(CFURLCopyFileSystemBytes(url.get()), QByteArray("/x/a b"));
}

VKTEST_MAIN(CFQtTest)
#include "CFQtTest.moc"
