// The keys of the account and product service's JSON, as they stand on the wire. VKAppMgrAPI.h includes this.
#pragma once

#include "VKQtExport.h"

#include <QString>

// Each is a text that lives as long as the program; loading the library makes nothing of them on the heap. Any
// thread.

/// In every request and reply: the version of the interface, a number.
extern VKQT_DATA_EXPORT const QString& kAPIVersionField; ///< "api_version"

extern VKQT_DATA_EXPORT const QString& kEmailField;       ///< "email"
extern VKQT_DATA_EXPORT const QString& kPasswordField;    ///< "passwd"
extern VKQT_DATA_EXPORT const QString& kMachineGuidField; ///< "machine_guid"
extern VKQT_DATA_EXPORT const QString& kSessionField;     ///< "session"
extern VKQT_DATA_EXPORT const QString& kAuthField;        ///< "auth"
extern VKQT_DATA_EXPORT const QString& kMessageField;     ///< "message"
extern VKQT_DATA_EXPORT const QString& kUserIdField;      ///< "user_id"
extern VKQT_DATA_EXPORT const QString& kNameField;        ///< "name": of a user, of a product
extern VKQT_DATA_EXPORT const QString& kChannelField;     ///< "channel"

/// Of the question for products.
extern VKQT_DATA_EXPORT const QString& kLanguageField;       ///< "language"
extern VKQT_DATA_EXPORT const QString& kCurrentVersionField; ///< "current_version"
extern VKQT_DATA_EXPORT const QString& kProductNameField;    ///< "product_name"
extern VKQT_DATA_EXPORT const QString& kEditionField;        ///< "edition"

/// Of the answer, and of a product in it.
extern VKQT_DATA_EXPORT const QString& kProductsField;        ///< "products"
extern VKQT_DATA_EXPORT const QString& kProductTypeField;     ///< "product_type"
extern VKQT_DATA_EXPORT const QString& kVersionField;         ///< "version": of a product, of requirements
extern VKQT_DATA_EXPORT const QString& kIgnoreField;          ///< "ignore"
extern VKQT_DATA_EXPORT const QString& kSKUField;             ///< "sku"
extern VKQT_DATA_EXPORT const QString& kFreeField;            ///< "free"
extern VKQT_DATA_EXPORT const QString& kDescriptionField;     ///< "description"
extern VKQT_DATA_EXPORT const QString& kTooltipField;         ///< "tooltip"
extern VKQT_DATA_EXPORT const QString& kReleaseDateField;     ///< "release_date"
extern VKQT_DATA_EXPORT const QString& kMobileField;          ///< "mobile"
extern VKQT_DATA_EXPORT const QString& kDevReleaseField;      ///< "developer"
extern VKQT_DATA_EXPORT const QString& kPrereleaseField;      ///< "prerelease"
extern VKQT_DATA_EXPORT const QString& kProductUrlField;      ///< "product_url"
extern VKQT_DATA_EXPORT const QString& kTutorialUrlField;     ///< "tutorial_url"
extern VKQT_DATA_EXPORT const QString& kIconURLField;         ///< "icon_url"
extern VKQT_DATA_EXPORT const QString& kUpdateTimestampField; ///< "updated"
extern VKQT_DATA_EXPORT const QString& kUpdateTextField;      ///< "update_text"
extern VKQT_DATA_EXPORT const QString& kMacUrlField;          ///< "mac_url"
extern VKQT_DATA_EXPORT const QString& kMacMD5Field;          ///< "mac_md5"
extern VKQT_DATA_EXPORT const QString& kMacSizeField;         ///< "mac_size"
extern VKQT_DATA_EXPORT const QString& kWinUrlField;          ///< "win_url"
extern VKQT_DATA_EXPORT const QString& kWinMD5Field;          ///< "win_md5"
extern VKQT_DATA_EXPORT const QString& kWinSizeField;         ///< "win_size"
extern VKQT_DATA_EXPORT const QString& kAndroidField;         ///< "android_url"
extern VKQT_DATA_EXPORT const QString& kIosField;             ///< "ios_url"

/// Of a product's requirements, which are an object of their own.
extern VKQT_DATA_EXPORT const QString& kWinRequirements; ///< "win_requirements"
extern VKQT_DATA_EXPORT const QString& kMacRequirements; ///< "mac_requirements"
extern VKQT_DATA_EXPORT const QString&
    kVulcanField; ///< "vulcan": deliberately so, it is spelled so on the wire
extern VKQT_DATA_EXPORT const QString& kPresentField;      ///< "present"
extern VKQT_DATA_EXPORT const QString& kDirectXField;      ///< "directx"
extern VKQT_DATA_EXPORT const QString& kMajorVersionField; ///< "major"
extern VKQT_DATA_EXPORT const QString& kMinorVersionField; ///< "minor"
extern VKQT_DATA_EXPORT const QString& kPatchVersionField; ///< "patch"
extern VKQT_DATA_EXPORT const QString& kBuildField;        ///< "build"
extern VKQT_DATA_EXPORT const QString& kVramField;         ///< "vram"
extern VKQT_DATA_EXPORT const QString& kOSField;           ///< "os"
