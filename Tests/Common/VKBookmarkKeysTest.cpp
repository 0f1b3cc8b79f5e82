// The keys of bookmark dictionaries: their texts, which files hold, and their use as strings.
#include "Support/VKTest.h"

#include <CoreFoundation/CFQt.h>
#include <VKBookmark.h>
#include <VKQtPath.h>

using namespace Qt::StringLiterals;

class VKBookmarkKeysTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void texts_data();
    void texts();
    void serveAsStrings();
};

void VKBookmarkKeysTest::texts_data() {
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("text");
    QTest::newRow("the path's is not \"path\"") << int{VKBookmarkKey::Path} << u"name"_s;
    QTest::newRow("data") << int{VKBookmarkKey::Data} << u"data"_s;
    QTest::newRow("kind") << int{VKBookmarkKey::File} << u"file"_s;
    QTest::newRow("number") << int{VKBookmarkKey::Refcon} << u"refcon"_s;
    QTest::newRow("gone") << int{VKBookmarkKey::FileIsRemoved} << u"fileIsRemoved"_s;
}

void VKBookmarkKeysTest::texts() {
    QFETCH(int, key);
    QFETCH(QString, text);
    const VKBookmarkKey constant(static_cast<VKBookmarkKey::Name>(key));
    QCOMPARE(CFStringCopyQString(constant), text);
    const CFStringRef first = constant;
    const CFStringRef second = constant;
    QCOMPARE(first, second); // it lives for ever, so borrowing is safe
}

void VKBookmarkKeysTest::serveAsStrings() {
    QCOMPARE(CFStringCopyQString(kBookmarkPath), u"name"_s);
    QCOMPARE(CFStringCopyQString(kBookmarkData), u"data"_s);
    QCOMPARE(CFStringCopyQString(kBookmarkFile), u"file"_s);
    QCOMPARE(CFStringCopyQString(kBookmarkRefcon), u"refcon"_s);
    QCOMPARE(CFStringCopyQString(kBookmarkFileIsRemoved), u"fileIsRemoved"_s);
    const auto info = VKCFRef<CFMutableDictionaryRef>::adopt(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    CFDictionarySetValue(info.get(), kBookmarkPath, CFSTR("x"));
    QVERIFY(CFDictionaryContainsKey(info.get(), CFSTR("name")));
    QVERIFY(CFEqual(kBookmarkPath, CFSTR("name")));
}

VKTEST_MAIN(VKBookmarkKeysTest)
#include "VKBookmarkKeysTest.moc"
