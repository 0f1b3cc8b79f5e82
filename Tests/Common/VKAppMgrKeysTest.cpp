// The keys of the account service's JSON: their texts on the wire, and that they take no memory.
#include "Support/VKTest.h"

#include <VKAppMgrAPI.h>

#include <QJsonObject>

using namespace Qt::StringLiterals;

using Key = const QString*;
Q_DECLARE_METATYPE(Key)

class VKAppMgrKeysTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void texts_data();
    void texts();
    void takeNoMemory();
};

void VKAppMgrKeysTest::texts_data() {
    QTest::addColumn<Key>("key");
    QTest::addColumn<QString>("text");
    QTest::newRow("kAPIVersionField") << &kAPIVersionField << u"api_version"_s;
    QTest::newRow("kEmailField") << &kEmailField << u"email"_s;
    QTest::newRow("kPasswordField") << &kPasswordField << u"passwd"_s;
    QTest::newRow("kMachineGuidField") << &kMachineGuidField << u"machine_guid"_s;
    QTest::newRow("kSessionField") << &kSessionField << u"session"_s;
    QTest::newRow("kAuthField") << &kAuthField << u"auth"_s;
    QTest::newRow("kMessageField") << &kMessageField << u"message"_s;
    QTest::newRow("kUserIdField") << &kUserIdField << u"user_id"_s;
    QTest::newRow("kNameField") << &kNameField << u"name"_s;
    QTest::newRow("kChannelField") << &kChannelField << u"channel"_s;
    QTest::newRow("kLanguageField") << &kLanguageField << u"language"_s;
    QTest::newRow("kCurrentVersionField") << &kCurrentVersionField << u"current_version"_s;
    QTest::newRow("kProductNameField") << &kProductNameField << u"product_name"_s;
    QTest::newRow("kEditionField") << &kEditionField << u"edition"_s;
    QTest::newRow("kProductsField") << &kProductsField << u"products"_s;
    QTest::newRow("kProductTypeField") << &kProductTypeField << u"product_type"_s;
    QTest::newRow("kVersionField") << &kVersionField << u"version"_s;
    QTest::newRow("kIgnoreField") << &kIgnoreField << u"ignore"_s;
    QTest::newRow("kSKUField") << &kSKUField << u"sku"_s;
    QTest::newRow("kFreeField") << &kFreeField << u"free"_s;
    QTest::newRow("kDescriptionField") << &kDescriptionField << u"description"_s;
    QTest::newRow("kTooltipField") << &kTooltipField << u"tooltip"_s;
    QTest::newRow("kReleaseDateField") << &kReleaseDateField << u"release_date"_s;
    QTest::newRow("kMobileField") << &kMobileField << u"mobile"_s;
    QTest::newRow("kDevReleaseField") << &kDevReleaseField << u"developer"_s;
    QTest::newRow("kPrereleaseField") << &kPrereleaseField << u"prerelease"_s;
    QTest::newRow("kProductUrlField") << &kProductUrlField << u"product_url"_s;
    QTest::newRow("kTutorialUrlField") << &kTutorialUrlField << u"tutorial_url"_s;
    QTest::newRow("kIconURLField") << &kIconURLField << u"icon_url"_s;
    QTest::newRow("kUpdateTimestampField") << &kUpdateTimestampField << u"updated"_s;
    QTest::newRow("kUpdateTextField") << &kUpdateTextField << u"update_text"_s;
    QTest::newRow("kMacUrlField") << &kMacUrlField << u"mac_url"_s;
    QTest::newRow("kMacMD5Field") << &kMacMD5Field << u"mac_md5"_s;
    QTest::newRow("kMacSizeField") << &kMacSizeField << u"mac_size"_s;
    QTest::newRow("kWinUrlField") << &kWinUrlField << u"win_url"_s;
    QTest::newRow("kWinMD5Field") << &kWinMD5Field << u"win_md5"_s;
    QTest::newRow("kWinSizeField") << &kWinSizeField << u"win_size"_s;
    QTest::newRow("kAndroidField") << &kAndroidField << u"android_url"_s;
    QTest::newRow("kIosField") << &kIosField << u"ios_url"_s;
    QTest::newRow("kWinRequirements") << &kWinRequirements << u"win_requirements"_s;
    QTest::newRow("kMacRequirements") << &kMacRequirements << u"mac_requirements"_s;
    QTest::newRow("kVulcanField") << &kVulcanField << u"vulcan"_s;
    QTest::newRow("kPresentField") << &kPresentField << u"present"_s;
    QTest::newRow("kDirectXField") << &kDirectXField << u"directx"_s;
    QTest::newRow("kMajorVersionField") << &kMajorVersionField << u"major"_s;
    QTest::newRow("kMinorVersionField") << &kMinorVersionField << u"minor"_s;
    QTest::newRow("kPatchVersionField") << &kPatchVersionField << u"patch"_s;
    QTest::newRow("kBuildField") << &kBuildField << u"build"_s;
    QTest::newRow("kVramField") << &kVramField << u"vram"_s;
    QTest::newRow("kOSField") << &kOSField << u"os"_s;
}

void VKAppMgrKeysTest::texts() {
    QFETCH(Key, key);
    QFETCH(QString, text);
    QCOMPARE(*key, text);
    QCOMPARE(QJsonObject({{*key, 1}}).keys(), QStringList{text});
}

/// The texts are the program's own: a copy shares them, and nothing was made when the library was loaded.
void VKAppMgrKeysTest::takeNoMemory() {
    const QString copy = kMachineGuidField;
    QCOMPARE(copy.constData(), kMachineGuidField.constData());
    QCOMPARE(copy.capacity(), qsizetype{0}); // of no block on the heap
}

VKTEST_MAIN(VKAppMgrKeysTest)
#include "VKAppMgrKeysTest.moc"
