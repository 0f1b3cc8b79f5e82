// The keys, made at load without taking memory, and never destroyed: what asks late gets them too.
#include "VKAppMgrKeys.h"

namespace {

union Key {
    explicit Key(QString&& literal) : text(std::move(literal)) {}
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() {} // NOLINT(modernize-use-equals-default): it would be deleted

    const QString text;
};

const Key kAPIVersionFieldText(QStringLiteral("api_version"));
const Key kEmailFieldText(QStringLiteral("email"));
const Key kPasswordFieldText(QStringLiteral("passwd"));
const Key kMachineGuidFieldText(QStringLiteral("machine_guid"));
const Key kSessionFieldText(QStringLiteral("session"));
const Key kAuthFieldText(QStringLiteral("auth"));
const Key kMessageFieldText(QStringLiteral("message"));
const Key kUserIdFieldText(QStringLiteral("user_id"));
const Key kNameFieldText(QStringLiteral("name"));
const Key kChannelFieldText(QStringLiteral("channel"));
const Key kLanguageFieldText(QStringLiteral("language"));
const Key kCurrentVersionFieldText(QStringLiteral("current_version"));
const Key kProductNameFieldText(QStringLiteral("product_name"));
const Key kEditionFieldText(QStringLiteral("edition"));
const Key kProductsFieldText(QStringLiteral("products"));
const Key kProductTypeFieldText(QStringLiteral("product_type"));
const Key kVersionFieldText(QStringLiteral("version"));
const Key kIgnoreFieldText(QStringLiteral("ignore"));
const Key kSKUFieldText(QStringLiteral("sku"));
const Key kFreeFieldText(QStringLiteral("free"));
const Key kDescriptionFieldText(QStringLiteral("description"));
const Key kTooltipFieldText(QStringLiteral("tooltip"));
const Key kReleaseDateFieldText(QStringLiteral("release_date"));
const Key kMobileFieldText(QStringLiteral("mobile"));
const Key kDevReleaseFieldText(QStringLiteral("developer"));
const Key kPrereleaseFieldText(QStringLiteral("prerelease"));
const Key kProductUrlFieldText(QStringLiteral("product_url"));
const Key kTutorialUrlFieldText(QStringLiteral("tutorial_url"));
const Key kIconURLFieldText(QStringLiteral("icon_url"));
const Key kUpdateTimestampFieldText(QStringLiteral("updated"));
const Key kUpdateTextFieldText(QStringLiteral("update_text"));
const Key kMacUrlFieldText(QStringLiteral("mac_url"));
const Key kMacMD5FieldText(QStringLiteral("mac_md5"));
const Key kMacSizeFieldText(QStringLiteral("mac_size"));
const Key kWinUrlFieldText(QStringLiteral("win_url"));
const Key kWinMD5FieldText(QStringLiteral("win_md5"));
const Key kWinSizeFieldText(QStringLiteral("win_size"));
const Key kAndroidFieldText(QStringLiteral("android_url"));
const Key kIosFieldText(QStringLiteral("ios_url"));
const Key kWinRequirementsText(QStringLiteral("win_requirements"));
const Key kMacRequirementsText(QStringLiteral("mac_requirements"));
const Key kVulcanFieldText(QStringLiteral("vulcan"));
const Key kPresentFieldText(QStringLiteral("present"));
const Key kDirectXFieldText(QStringLiteral("directx"));
const Key kMajorVersionFieldText(QStringLiteral("major"));
const Key kMinorVersionFieldText(QStringLiteral("minor"));
const Key kPatchVersionFieldText(QStringLiteral("patch"));
const Key kBuildFieldText(QStringLiteral("build"));
const Key kVramFieldText(QStringLiteral("vram"));
const Key kOSFieldText(QStringLiteral("os"));

} // namespace

const QString& kAPIVersionField = kAPIVersionFieldText.text;
const QString& kEmailField = kEmailFieldText.text;
const QString& kPasswordField = kPasswordFieldText.text;
const QString& kMachineGuidField = kMachineGuidFieldText.text;
const QString& kSessionField = kSessionFieldText.text;
const QString& kAuthField = kAuthFieldText.text;
const QString& kMessageField = kMessageFieldText.text;
const QString& kUserIdField = kUserIdFieldText.text;
const QString& kNameField = kNameFieldText.text;
const QString& kChannelField = kChannelFieldText.text;
const QString& kLanguageField = kLanguageFieldText.text;
const QString& kCurrentVersionField = kCurrentVersionFieldText.text;
const QString& kProductNameField = kProductNameFieldText.text;
const QString& kEditionField = kEditionFieldText.text;
const QString& kProductsField = kProductsFieldText.text;
const QString& kProductTypeField = kProductTypeFieldText.text;
const QString& kVersionField = kVersionFieldText.text;
const QString& kIgnoreField = kIgnoreFieldText.text;
const QString& kSKUField = kSKUFieldText.text;
const QString& kFreeField = kFreeFieldText.text;
const QString& kDescriptionField = kDescriptionFieldText.text;
const QString& kTooltipField = kTooltipFieldText.text;
const QString& kReleaseDateField = kReleaseDateFieldText.text;
const QString& kMobileField = kMobileFieldText.text;
const QString& kDevReleaseField = kDevReleaseFieldText.text;
const QString& kPrereleaseField = kPrereleaseFieldText.text;
const QString& kProductUrlField = kProductUrlFieldText.text;
const QString& kTutorialUrlField = kTutorialUrlFieldText.text;
const QString& kIconURLField = kIconURLFieldText.text;
const QString& kUpdateTimestampField = kUpdateTimestampFieldText.text;
const QString& kUpdateTextField = kUpdateTextFieldText.text;
const QString& kMacUrlField = kMacUrlFieldText.text;
const QString& kMacMD5Field = kMacMD5FieldText.text;
const QString& kMacSizeField = kMacSizeFieldText.text;
const QString& kWinUrlField = kWinUrlFieldText.text;
const QString& kWinMD5Field = kWinMD5FieldText.text;
const QString& kWinSizeField = kWinSizeFieldText.text;
const QString& kAndroidField = kAndroidFieldText.text;
const QString& kIosField = kIosFieldText.text;
const QString& kWinRequirements = kWinRequirementsText.text;
const QString& kMacRequirements = kMacRequirementsText.text;
const QString& kVulcanField = kVulcanFieldText.text;
const QString& kPresentField = kPresentFieldText.text;
const QString& kDirectXField = kDirectXFieldText.text;
const QString& kMajorVersionField = kMajorVersionFieldText.text;
const QString& kMinorVersionField = kMinorVersionFieldText.text;
const QString& kPatchVersionField = kPatchVersionFieldText.text;
const QString& kBuildField = kBuildFieldText.text;
const QString& kVramField = kVramFieldText.text;
const QString& kOSField = kOSFieldText.text;
