// The catalogue of products beside the framework's own JSON: 7,200 entries of 30 members, from the bytes of a reply to
// records. Every peer works on the same bytes.
#include "VKAppMgrCatalogue.h"

#include <benchmark/benchmark.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;
using VKAppMgrDetail::Products;

namespace {

constexpr int kEntries = 7200;

QJsonObject entry(int index) {
    const auto numbered = [index](const char* text) { return QString::fromLatin1(text).arg(index); };
    const auto day = u"2026-03-%1"_s.arg(index % 28 + 1, 2, 10, QChar(u'0'));
    const auto sum = [](int number) { return u"%1"_s.arg(number, 32, 16, QChar(u'0')); };
    return {{kProductTypeField, index % 3 == 0 ? u"application"_s : u"plugin"_s},
            {kNameField, numbered("Film pack %1")},
            {kIgnoreField, index % 7 == 0},
            {kSKUField, numbered("KS-%1-EN")},
            {kFreeField, index % 5 == 0},
            {kDescriptionField, numbered("Looks of pack %1, as caf\u00e9s had them.")},
            {kTooltipField, numbered("Opens \"pack %1\"")},
            {kVersionField, u"%1.%2.%3"_s.arg(index % 9).arg(index % 4).arg(index % 11)},
            {kReleaseDateField, day},
            {kMobileField, false},
            {kDevReleaseField, false},
            {kPrereleaseField, index % 9 == 0},
            {kProductUrlField, numbered("https://example.org/p/%1")},
            {kTutorialUrlField, numbered("https://example.org/t/%1")},
            {kIconURLField, numbered("https://example.org/i/%1.png")},
            {kUpdateTimestampField, QString(day + u"T10:20:30Z")},
            {kUpdateTextField, QString()},
            {kMacUrlField, numbered("https://example.org/m/%1")},
            {kMacMD5Field, sum(index * 7919)},
            {kMacSizeField, 123456789 + index},
            {kWinUrlField, numbered("https://example.org/w/%1")},
            {kWinMD5Field, sum(index * 7907)},
            {kWinSizeField, 143456789 + index},
            {kAndroidField, QString()},
            {kIosField, QString()},
            {kWinRequirements, QString()},
            {kMacRequirements, QString()},
            {kLanguageField, u"en"_s},
            {u"weight"_s, index},
            {u"tags"_s, QJsonArray{u"film"_s}}};
}

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "ProductsBenchmark: %s\n", what);
        std::abort();
    }
}

const QByteArray& reply() {
    static const QByteArray sReply = [] {
        QJsonArray entries;
        for (int index = 0; index < kEntries; ++index) {
            entries.append(entry(index));
        }
        return QJsonDocument(QJsonObject{{kAPIVersionField, 1}, {kProductsField, entries}})
            .toJson(QJsonDocument::Compact);
    }();
    return sReply;
}

// An operation is a whole catalogue.
void countBytes(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * reply().size());
}

void readInOnePass(benchmark::State& state) {
    for (auto _ : state) {
        Products products;
        require(VKAppMgrDetail::readPlainCatalogue(reply(), products) && products.size() == kEntries,
                "the reply is not taken");
    }
    countBytes(state);
}

void readByTheRules(benchmark::State& state) {
    for (auto _ : state) {
        Products products;
        const QJsonObject object = QJsonDocument::fromJson(reply()).object();
        require(VKAppMgrDetail::readCatalogue(object, products) == 0 && products.size() == kEntries,
                "the reply is not read");
    }
    countBytes(state);
}

void parse(benchmark::State& state) {
    for (auto _ : state) {
        const QJsonDocument document = QJsonDocument::fromJson(reply());
        require(document.isObject(), "the reply is no JSON");
    }
    countBytes(state);
}

} // namespace

BENCHMARK(readInOnePass)->Name("products/VKAppMgrAPI");
BENCHMARK(readByTheRules)->Name("products/by the rules");
BENCHMARK(parse)->Name("products/QJsonDocument");

BENCHMARK_MAIN();
