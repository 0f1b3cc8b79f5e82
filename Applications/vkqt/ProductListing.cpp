// One object or one row for each product.
#include "ProductListing.h"

#include "Table.h"
#include "Text.h"

#include <optional>

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

QJsonValue textOrNull(const QString& text) { return text.isEmpty() ? QJsonValue() : QJsonValue(text); }

QJsonValue requirementsJson(const VKAppMgrAPI::t_Requirements& needs) {
    if (needs == VKAppMgrAPI::t_Requirements()) {
        return {};
    }
    return QJsonObject{{u"version"_s, needs.version},
                       {u"vulkan"_s, needs.vulkanPresent},
                       {u"directX"_s, u"%1.%2"_s.arg(needs.directXMajor).arg(needs.directXMinor)},
                       {u"videoMemory"_s, static_cast<qint64>(needs.vram)},
                       {u"system"_s, u"%1.%2.%3"_s.arg(needs.osMajor).arg(needs.osMinor).arg(needs.osPatch)},
                       {u"systemBuild"_s, needs.osBuild}};
}

QJsonValue downloadJson(const QString& url, const QString& checksum, std::int64_t bytes) {
    if (url.isEmpty()) {
        return {};
    }
    return QJsonObject{{u"url"_s, url}, {u"md5"_s, checksum}, {u"bytes"_s, static_cast<qint64>(bytes)}};
}

} // namespace

QJsonObject toJson(const VKAppMgrAPI::t_Product& product) {
    const QDate date = product.releaseDate;
    return {{u"name"_s, product.name},
            {u"version"_s, product.version},
            {u"type"_s, product.type},
            {u"sku"_s, product.sku},
            {u"description"_s, product.description},
            {u"tooltip"_s, product.tooltip},
            {u"free"_s, product.free},
            {u"mobile"_s, product.mobile},
            {u"developer"_s, product.developer},
            {u"prerelease"_s, product.prerelease},
            {u"ignore"_s, product.ignore},
            {u"released"_s, date.isValid() ? QJsonValue(date.toString(Qt::ISODate)) : QJsonValue()},
            {u"updated"_s, isoUtc(product.updated)},
            {u"update"_s, textOrNull(product.updateText)},
            {u"page"_s, textOrNull(product.productUrl)},
            {u"tutorial"_s, textOrNull(product.tutorialUrl)},
            {u"icon"_s, textOrNull(product.iconUrl)},
            {u"mac"_s, downloadJson(product.macUrl, product.macMD5, product.macSize)},
            {u"windows"_s, downloadJson(product.winUrl, product.winMD5, product.winSize)},
            {u"android"_s, textOrNull(product.androidUrl)},
            {u"ios"_s, textOrNull(product.iosUrl)},
            {u"requirements"_s, requirementsJson(product.requirements)}};
}

std::vector<KeySpec> productKeys() {
    return {
        {u"version"_s, u"products: the version; so are type, sku, description and tooltip texts."_s},
        {u"type"_s, u"See version."_s},
        {u"sku"_s, u"See version."_s},
        {u"description"_s, u"See version."_s},
        {u"tooltip"_s, u"See version."_s},
        {u"free"_s, u"products: whether it costs nothing; mobile: for phones."_s},
        {u"mobile"_s, u"See free."_s},
        {u"developer"_s, u"products: a release for developers; prerelease: before its time."_s},
        {u"prerelease"_s, u"See developer."_s},
        {u"ignore"_s, u"products: not to be offered."_s},
        {u"released"_s, u"products: the day, or null."_s},
        {u"updated"_s, u"products: when the entry changed, or null."_s},
        {u"update"_s, u"products: what is said about an update."_s},
        {u"page"_s, u"products: an address; so are tutorial, icon, android and ios."_s},
        {u"tutorial"_s, u"See page."_s},
        {u"icon"_s, u"See page."_s},
        {u"android"_s, u"See page."_s},
        {u"ios"_s, u"See page."_s},
        {u"mac"_s, u"products: the download with url, md5 and bytes."_s},
        {u"windows"_s, u"See mac."_s},
        {u"requirements"_s, u"products: version, vulkan, directX, videoMemory, system and systemBuild that "
                            u"it needs on this platform; "
                            "zeros where nothing is said."_s},
    };
}

void writeTable(const std::vector<VKAppMgrAPI::t_Product>& products, Output& output) {
    Table table;
    table.addColumn(u"Name"_s, Table::Left);
    table.addColumn(u"Version"_s, Table::Left);
    table.addColumn(u"Released"_s, Table::Left);
    table.addColumn(u"Type"_s, Table::Left);
    table.addColumn(u"Price"_s, Table::Left);
    table.addColumn(u"Description"_s, Table::Left);
    for (const VKAppMgrAPI::t_Product& product : products) {
        const QString date =
            product.releaseDate.isValid() ? product.releaseDate.toString(Qt::ISODate) : u"-"_s;
        table.addRow({{.text = shown(product.name), .style = Style::Heading},
                      {.text = shown(product.version)},
                      {.text = date},
                      {.text = shown(product.type)},
                      {.text = product.free ? u"free"_s : QString(),
                       .style = product.free ? std::optional(Style::Good) : std::nullopt},
                      {.text = shown(product.description), .style = Style::Quiet}});
    }
    if (!table.isEmpty()) {
        table.write(output);
    }
}

} // namespace VKTool
