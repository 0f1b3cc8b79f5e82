// A configuration's bytes: as the framework's parser takes them, through the model, and as the strict reader does,
// through checking. Laws: what loads writes itself, and reads back the same; merging a model into itself changes
// nothing; what has no error in the check loads whole; the two readers agree on what is JSON.

#include "FuzzSupport.h"
#include "VKConfigArchive.h"
#include "VKConfigQuickLoad.h"
#include "VKConfigText.h"

#include <VKConfigBundle.h>
#include <VKConfigCheck.h>
#include <VKConfigModel.h>
#include <VKCoreKit/VKLog.h>

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCFRef.h>

#include <QJsonDocument>

#include <algorithm>
#include <memory>

namespace {

using Model = VKOwned<VKConfigModel>;

void dropLog(const VKLogRecord& /*record*/, void* /*context*/) {}

QByteArray written(VKConfigModel& model) {
    QJsonObject info;
    require(model.createInfo(nullptr, info) == 0, "writing never fails");
    return QJsonDocument(info).toJson(QJsonDocument::Compact);
}

bool hasErrors(const QByteArray& bytes) {
    const QList<VKConfigCheck::t_Finding> findings = VKConfigCheck::checkDefaults(bytes);
    for (const VKConfigCheck::t_Finding& finding : findings) {
        require(finding.line >= 1 && finding.column >= 1 && !finding.message.isEmpty(),
                "a finding has a place", {finding.place, finding.message});
    }
    return std::any_of(findings.begin(), findings.end(), [](const VKConfigCheck::t_Finding& finding) {
        return finding.severity == VKConfigCheck::Severity::Error;
    });
}

void checkLoading(const QByteArray& bytes, const QJsonObject& info) {
    const Model model(new VKConfigModel);
    const bool whole = model->loadInfo(nullptr, info) == 0;
    require(whole || hasErrors(bytes), "without an error it loads whole", {QString::fromUtf8(bytes)});
    const QByteArray first = written(*model);
    const Model quick(new VKConfigModel);
    if (VKConfigDetail::quickLoad(*quick, bytes)) {
        require(whole && written(*quick) == first, "one pass reads the same", {QString::fromUtf8(bytes)});
    }
    QByteArray archive;
    require(VKConfigDetail::writeArchive(*model, archive) &&
                archive == QJsonDocument(QJsonDocument::fromJson(archive).object()).toJson(),
            "what is written without objects is what the framework writes", {QString::fromUtf8(archive)});
    model->updateModel(model.get());
    // Of two items of one name the later one's value is taken: then only a second time changes nothing.
    const QByteArray merged = written(*model);
    model->updateModel(model.get());
    require(written(*model) == merged, "merging a model into itself ends", {QString::fromUtf8(first)});
    const Model again(new VKConfigModel);
    require(again->loadInfo(nullptr, QJsonDocument::fromJson(merged).object()) == 0, "what is written loads",
            {QString::fromUtf8(merged)});
    const QList<VKConfigCheck::t_Finding> findings = VKConfigCheck::checkUserFile(merged, bytes);
    require(std::none_of(findings.begin(), findings.end(),
                         [](const VKConfigCheck::t_Finding& finding) {
                             return finding.severity == VKConfigCheck::Severity::Error;
                         }),
            "what is written has no errors", {QString::fromUtf8(merged)});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool sReady = [] {
        VKLogSetHandler(&dropLog, nullptr);
        VKNode::registerNode(QStringLiteral("VKConfigBundle"), [] { return new VKConfigBundle; });
        return true;
    }();
    static_cast<void>(sReady);
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    VKConfigDetail::JsonValue value;
    const bool strict = VKConfigDetail::readText(bytes, value).message.isEmpty();
    const bool container =
        value.kind == VKConfigDetail::JsonKind::Object || value.kind == VKConfigDetail::JsonKind::Array;
    require(!strict || !container || error.error == QJsonParseError::NoError, "what is JSON is parsed",
            {QString::fromUtf8(bytes)});
    hasErrors(bytes);
    if (document.isObject()) {
        checkLoading(bytes, document.object());
    }
    const Model refused(new VKConfigModel);
    require(document.isObject() || !VKConfigDetail::quickLoad(*refused, bytes),
            "one pass takes only what is parsed", {QString::fromUtf8(bytes)});
    return 0;
}
