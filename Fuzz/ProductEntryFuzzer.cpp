// Entries of a product catalogue, and whole replies. Laws: what one pass over the bytes takes is JSON, and gives the
// same records as the rules do; an entry is read exactly when it has name and version; writing the entry again and
// reading that changes nothing; reading never depends on what was in the record.

#include "FuzzSupport.h"
#include "VKAppMgrCatalogue.h"

#include <VKCoreKit/VKLog.h>

#include <QJsonArray>

using VKAppMgrDetail::Products;

namespace {

/// The framework drops a byte-order mark at the start of a text or a key when it reads, but writes it.
bool hasByteOrderMark(const QByteArray& bytes) {
    return bytes.contains("\xef\xbb\xbf") || bytes.toLower().contains("\\ufeff");
}

void dropLog(const VKLogRecord& /*record*/, void* /*context*/) {}

void checkEntry(const QJsonObject& entry, bool isMarked) {
    VKAppMgrAPI::t_Product product;
    const int status = VKAppMgrAPI::productsFromJson(entry, product);
    const bool isComplete =
        !entry.value(kNameField).toString().isEmpty() && !entry.value(kVersionField).toString().isEmpty();
    require(status == (isComplete ? 0 : 1003), "name and version are required");
    if (status != 0) {
        return;
    }
    VKAppMgrAPI::t_Product used = product;
    used.requirements = {};
    require(VKAppMgrAPI::productsFromJson(entry, used) == 0 && used == product,
            "a used record reads the same");
    if (isMarked) {
        return;
    }
    const QByteArray written = QJsonDocument(entry).toJson(QJsonDocument::Compact);
    VKAppMgrAPI::t_Product again;
    require(VKAppMgrAPI::productsFromJson(QJsonDocument::fromJson(written).object(), again) == 0 &&
                again == product,
            "what is written reads the same", {QString::fromUtf8(written)});
    // What the framework writes is plain, but for numbers that are not whole or very long.
    Products quick;
    if (VKAppMgrDetail::readPlainCatalogue("{\"api_version\":1,\"products\":[" + written + "]}", quick)) {
        require(quick.size() == 1 && quick.front() == product, "one pass reads the entry the same",
                {QString::fromUtf8(written)});
    }
}

void checkReply(const QByteArray& bytes) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    Products quick;
    const bool isPlain = VKAppMgrDetail::readPlainCatalogue(bytes, quick);
    require(isPlain || quick.empty(), "what is refused leaves the list");
    Products plain;
    const int status = VKAppMgrDetail::readCatalogue(document.object(), plain);
    if (isPlain) {
        require(error.error == QJsonParseError::NoError && status == 0 && quick == plain,
                "one pass reads the same", {QString::fromUtf8(bytes)});
    }
    for (const auto entry : document.object().value(kProductsField).toArray()) {
        checkEntry(entry.toObject(), hasByteOrderMark(bytes));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool sReady = [] {
        VKLogSetHandler(&dropLog, nullptr);
        return true;
    }();
    static_cast<void>(sReady);
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    checkReply(bytes);
    checkReply("{\"api_version\":1,\"products\":[" + bytes + "]}");
    checkEntry(QJsonDocument::fromJson(bytes).object(), hasByteOrderMark(bytes));
    return 0;
}
