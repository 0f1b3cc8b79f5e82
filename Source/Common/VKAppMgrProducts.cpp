// The catalogue of products: the call, and one entry from JSON to a record.
#include "VKAppMgrAPI.h"
#include "VKAppMgrCatalogue.h"
#include "VKAppMgrStatus.h"
#include "VKQtSysInfo.h"

#include <QJsonArray>

using VKAppMgrDetail::kHttpNotFound;
using VKAppMgrDetail::kHttpOk;
using VKAppMgrDetail::logged;

namespace {

constexpr int kApiVersion = 1;

void insertUnlessEmpty(QJsonObject& body, const QString& key, const QString& value) {
    if (!value.isEmpty()) {
        body.insert(key, value);
    }
}

} // namespace

int VKAppMgrAPI::products(const t_ProductsData& data, VKProgress* progress, t_ProductsResponse& response) {
    const QUrl url = endpoint(QStringLiteral("/products"));
    if (mBaseURL.isEmpty()) {
        return logged(kVKStatusNoBaseURL, __LINE__);
    }
    if (data.session.isEmpty() && data.auth.isEmpty()) {
        return logged(kVKStatusBadArgument, __LINE__);
    }
    if (data.language.isEmpty()) {
        return logged(kVKStatusBadArgument, __LINE__);
    }
    QJsonObject body = createApiCall();
    body.insert(kSessionField, data.session); // also when empty
    insertUnlessEmpty(body, kAuthField, data.auth);
    body.insert(kLanguageField, data.language);
    insertUnlessEmpty(body, kCurrentVersionField, data.currentVersion);
    insertUnlessEmpty(body, kProductNameField, data.productName);
    insertUnlessEmpty(body, kEditionField, data.edition);

    int httpCode = 0;
    QJsonObject reply;
    bool isRead = false;
    // A long catalogue becomes records without a JSON object in between, if it is as it should be.
    const auto readBody = [&](const QByteArray& bytes) {
        isRead = VKAppMgrDetail::readPlainCatalogue(bytes, response.products);
        return isRead;
    };
    const int status = getReply(url, QJsonDocument(body), mTimeout, progress, httpCode, reply, readBody);
    if (status != 0) {
        return logged(status, __LINE__);
    }
    response.httpCode = httpCode;
    if (httpCode == kHttpOk) {
        return isRead ? 0 : VKAppMgrDetail::readCatalogue(reply, response.products);
    }
    if (httpCode == kHttpNotFound) {
        VKLogUTF8("No products were found.\n");
        return 0;
    }
    VKLogUTF8("Products HTTP Error: %d.\n", httpCode);
    return logged(VKAppMgrDetail::statusOfHttp(httpCode), __LINE__);
}

int VKAppMgrAPI::productsFromJson(const QJsonObject& entry, t_Product& product) {
    const auto text = [&entry](const QString& key) { return entry.value(key).toString(); };
    const auto flag = [&entry](const QString& key) { return entry.value(key).toBool(); };
    const auto size = [&entry](const QString& key) { return entry.value(key).toInteger(); };
    product.type = text(kProductTypeField);
    product.name = text(kNameField);
    if (product.name.isEmpty()) {
        return logged(kVKStatusNotUnderstood, __LINE__);
    }
    product.ignore = flag(kIgnoreField);
    product.sku = text(kSKUField);
    product.free = flag(kFreeField);
    product.description = text(kDescriptionField);
    product.tooltip = text(kTooltipField);
    product.version = text(kVersionField);
    if (product.version.isEmpty()) {
        return logged(kVKStatusNotUnderstood, __LINE__);
    }
    product.releaseDate = QDate::fromString(text(kReleaseDateField), Qt::ISODate);
    product.mobile = flag(kMobileField);
    product.developer = flag(kDevReleaseField);
    product.prerelease = flag(kPrereleaseField);
    product.productUrl = text(kProductUrlField);
    product.tutorialUrl = text(kTutorialUrlField);
    product.iconUrl = text(kIconURLField);
    product.updated = QDateTime::fromString(text(kUpdateTimestampField), Qt::ISODate);
    product.updateText = text(kUpdateTextField);
    product.macUrl = text(kMacUrlField);
    product.macMD5 = text(kMacMD5Field);
    product.macSize = size(kMacSizeField);
    product.winUrl = text(kWinUrlField);
    product.winMD5 = text(kWinMD5Field);
    product.winSize = size(kWinSizeField);
    product.androidUrl = text(kAndroidField);
    product.iosUrl = text(kIosField);
    if (VKQtSysInfo::isWinPlatform()) {
        VKAppMgrDetail::readRequirements(text(kWinRequirements), product.requirements);
    } else if (VKQtSysInfo::isMacPlatform()) {
        VKAppMgrDetail::readRequirements(text(kMacRequirements), product.requirements);
    }
    return 0;
}

namespace VKAppMgrDetail {

int readCatalogue(const QJsonObject& reply, Products& products) {
    if (reply.value(kAPIVersionField).toInt() != kApiVersion) {
        VKLogUTF8("Products API is speaking a version we don't understand.\n");
        return static_cast<int>(kVKStatusNotUnderstood);
    }
    const QJsonArray entries = reply.value(kProductsField).toArray();
    if (entries.isEmpty()) {
        VKLogUTF8("Products API returned no entries.\n");
        return 0;
    }
    products.reserve(products.size() + static_cast<std::size_t>(entries.size()));
    for (const auto entry : entries) {
        VKAppMgrAPI::t_Product product;
        if (logged(VKAppMgrAPI::productsFromJson(entry.toObject(), product), __LINE__) == 0) {
            products.push_back(std::move(product));
        }
    }
    return 0;
}

void readRequirements(const QString& base64, VKAppMgrAPI::t_Requirements& requirements) {
    if (base64.isEmpty()) {
        return;
    }
    const QByteArray json = QByteArray::fromBase64(base64.toLatin1());
    const QJsonObject info = QJsonDocument::fromJson(json).object();
    requirements.version = info.value(kVersionField).toInt();
    requirements.vram = info.value(kVramField).toInteger();
    const QJsonValue system = info.value(kOSField);
    if (VKQtSysInfo::isWinPlatform()) {
        const QJsonValue vulkan = info.value(kVulcanField);
        if (vulkan.isObject()) {
            requirements.vulkanPresent = vulkan[kPresentField].toBool();
        }
        const QJsonValue directX = info.value(kDirectXField);
        if (directX.isObject()) {
            requirements.directXMajor = directX[kMajorVersionField].toInt();
            requirements.directXMinor = directX[kMinorVersionField].toInt();
        }
        if (system.isObject()) {
            requirements.osBuild = system[kBuildField].toInt();
        }
    } else if (system.isObject()) {
        requirements.osMajor = system[kMajorVersionField].toInt();
        requirements.osMinor = system[kMinorVersionField].toInt();
        requirements.osPatch = system[kPatchVersionField].toInt();
    }
}

} // namespace VKAppMgrDetail
