// VKQtPath beside its floors and the framework's own ways to the same answers, over the thousand sample
// paths. The names are "item/who"; Goals.tsv says which two are compared.

#include "PathFloors.h"
#include "PathSamples.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKQtPath.h>

#include <benchmark/benchmark.h>

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QUrl>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kSeed = 0x5eedU;

const PathSamples& samples() { return PathSamples::shared(); }

/// Registers a benchmark that computes `operation(i)` for each of the sample paths.
template <typename Operation>
void add(const char* name, Operation operation) {
    benchmark::RegisterBenchmark(name, [operation](benchmark::State& state) {
        while (state.KeepRunning()) {
            for (std::size_t i = 0; i < PathSamples::kCount; ++i) {
                benchmark::DoNotOptimize(operation(i));
            }
        }
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(PathSamples::kCount));
    });
}

std::vector<VKQtPath> pathsOf(const std::vector<QString>& texts) {
    std::vector<VKQtPath> paths;
    paths.reserve(texts.size());
    for (const QString& text : texts) {
        paths.emplace_back(text, false);
    }
    return paths;
}

const std::vector<VKQtPath>& cleanPaths() {
    static const std::vector<VKQtPath> sPaths = pathsOf(samples().clean);
    return sPaths;
}

void addConstruction() {
    static const std::vector<QString>& texts = samples().clean;
    static const std::vector<QString>& backslashes = samples().backslashes;
    static const std::vector<QString>& decomposed = samples().decomposed;
    static const std::vector<QString>& composed = samples().composed;

    add("construct clean/VKQtPath", [](std::size_t i) { return VKQtPath(texts[i], false); });
    add("construct clean/floor", [](std::size_t i) { return PathFloors::shareIfCanonical(texts[i]); });
    add("construct clean/QDir::cleanPath", [](std::size_t i) { return QDir::cleanPath(texts[i]); });
    add("construct clean/QFileInfo", [](std::size_t i) { return QFileInfo(texts[i]); });
    add("construct clean/std::filesystem",
        [](std::size_t i) { return std::filesystem::path(texts[i].toStdU16String()).lexically_normal(); });

    add("construct backslashes/VKQtPath", [](std::size_t i) { return VKQtPath(backslashes[i], false); });
    add("construct backslashes/floor", [](std::size_t i) { return PathFloors::withSlashes(backslashes[i]); });
    add("construct backslashes/replace, cleanPath, normalized", [](std::size_t i) {
        return QDir::cleanPath(QString(backslashes[i]).replace(u'\\', u'/'))
            .normalized(QString::NormalizationForm_C);
    });

    add("construct decomposed/VKQtPath", [](std::size_t i) { return VKQtPath(decomposed[i], false); });
    add("construct decomposed/QString::normalized",
        [](std::size_t i) { return decomposed[i].normalized(QString::NormalizationForm_C); });
    add("construct composed/VKQtPath", [](std::size_t i) { return VKQtPath(composed[i], false); });
    add("construct composed/QString::normalized",
        [](std::size_t i) { return composed[i].normalized(QString::NormalizationForm_C); });

    static const std::vector<VKQtPath>& paths = cleanPaths();
    add("copy/VKQtPath", [](std::size_t i) { return VKQtPath(paths[i]); });
    add("copy/QString", [](std::size_t i) { return QString(texts[i]); });
    add("copy/std::filesystem", [](std::size_t i) {
        static const std::vector<std::filesystem::path> sPaths = [] {
            std::vector<std::filesystem::path> made;
            made.reserve(texts.size());
            for (const QString& text : texts) {
                made.emplace_back(text.toStdU16String());
            }
            return made;
        }();
        return std::filesystem::path(sPaths[i]);
    });
}

/// One case-ignoring comparison: the paths against `others`, and the same by the framework and the floor.
void addEquality(const std::string& item, const std::vector<QString>& others) {
    static const std::vector<VKQtPath>& paths = cleanPaths();
    static const std::vector<QString>& texts = samples().clean;
    add((item + "/VKQtPath").c_str(),
        [otherPaths = pathsOf(others)](std::size_t i) { return paths[i] == otherPaths[i]; });
    add((item + "/floor").c_str(),
        [&others](std::size_t i) { return PathFloors::equalIgnoringCase(texts[i], others[i]); });
    add((item + "/QString::compare").c_str(),
        [&others](std::size_t i) { return texts[i].compare(others[i], Qt::CaseInsensitive) == 0; });
}

void addComparison() {
    static const std::vector<VKQtPath>& paths = cleanPaths();
    static const std::vector<QString>& texts = samples().clean;
    static const std::vector<QString>& prefixes = samples().prefix;

    addEquality("equal, other case", samples().otherCase);
    addEquality("equal, same text", samples().same);
    addEquality("unequal, common start", samples().unequal);

    add("hash/VKQtPath", [](std::size_t i) { return qHash(paths[i], kSeed); });
    add("hash/floor", [](std::size_t i) { return PathFloors::hashIgnoringCase(texts[i], kSeed); });
    add("hash/qHash(toCaseFolded)", [](std::size_t i) { return qHash(texts[i].toCaseFolded(), kSeed); });
    add("hash/qHash(QString)", [](std::size_t i) { return qHash(texts[i], kSeed); });

    add("prefix/VKQtPath", [](std::size_t i) { return paths[i].startsWith(prefixes[i]); });
    add("prefix/floor",
        [](std::size_t i) { return PathFloors::startsWithIgnoringCase(texts[i], prefixes[i]); });
    add("prefix/QString::startsWith",
        [](std::size_t i) { return texts[i].startsWith(prefixes[i], Qt::CaseInsensitive); });

    static const std::vector<QString> endings = [] {
        std::vector<QString> made;
        for (const QString& text : samples().otherCase) {
            made.push_back(text.mid(text.lastIndexOf(u'/')));
        }
        return made;
    }();
    add("ending/VKQtPath", [](std::size_t i) { return paths[i].endsWith(endings[i]); });
    add("ending/QString::endsWith",
        [](std::size_t i) { return texts[i].endsWith(endings[i], Qt::CaseInsensitive); });

    static const std::vector<VKQtPath> folders = [] {
        std::vector<VKQtPath> made;
        for (const VKQtPath& path : cleanPaths()) {
            made.push_back(path.pathOnly());
        }
        return made;
    }();
    add("inside folder/VKQtPath", [](std::size_t i) { return paths[i].startsWith(folders[i]); });
    add("inside folder/QString::startsWith",
        [](std::size_t i) { return texts[i].startsWith(folders[i].path() + u'/'); });

    static const QSet<VKQtPath> pathSet(paths.begin(), paths.end());
    static const QSet<QString> foldedSet = [] {
        QSet<QString> made;
        for (const QString& text : texts) {
            made.insert(text.toCaseFolded());
        }
        return made;
    }();
    static const std::vector<VKQtPath> otherCase = pathsOf(samples().otherCase);
    add("look-up in a set/VKQtPath", [](std::size_t i) { return pathSet.contains(otherCase[i]); });
    add("look-up in a set/folded QString",
        [](std::size_t i) { return foldedSet.contains(samples().otherCase[i].toCaseFolded()); });
}

void addComponents() {
    static const std::vector<VKQtPath>& paths = cleanPaths();
    static const std::vector<QString>& texts = samples().clean;

    add("container/VKQtPath", [](std::size_t i) { return paths[i].pathOnly(); });
    add("container/QFileInfo", [](std::size_t i) { return QFileInfo(texts[i]).path(); });
    add("container/deep copy", [](std::size_t i) { return PathFloors::copied(texts[i]); });
    add("container/floor", [](std::size_t i) { return PathFloors::parent(texts[i]); });

    add("suffix/VKQtPath", [](std::size_t i) { return paths[i].suffix(); });
    add("suffix/QFileInfo", [](std::size_t i) { return QFileInfo(texts[i]).suffix().toLower(); });
    add("suffix/floor", [](std::size_t i) { return PathFloors::packedSuffix(texts[i]); });
    add("type by suffix/VKQtPath", [](std::size_t i) { return paths[i].isTiff(); });
    add("type by suffix/QFileInfo", [](std::size_t i) {
        const QString suffix = QFileInfo(texts[i]).suffix().toLower();
        return suffix.endsWith(u"tiff") || suffix.endsWith(u"tif");
    });
    add("video by suffix/VKQtPath", [](std::size_t i) { return paths[i].isVideo(); });
    add("video by suffix/QFileInfo", [](std::size_t i) {
        static const QStringList sVideo = QStringLiteral("m4v mov avi wmv mpeg mpg mp4 mts").split(u' ');
        return sVideo.contains(QFileInfo(texts[i]).suffix().toLower());
    });

    add("file name/VKQtPath", [](std::size_t i) { return paths[i].filename(); });
    add("file name/QFileInfo", [](std::size_t i) { return QFileInfo(texts[i]).fileName(); });
    add("split/VKQtPath", [](std::size_t i) { return paths[i].split(); });
    add("split/QString::split", [](std::size_t i) { return texts[i].split(u'/', Qt::SkipEmptyParts); });
    add("parents/VKQtPath", [](std::size_t i) { return paths[i].parents(); });
    add("parents/QFileInfo", [](std::size_t i) {
        QStringList parents;
        QString text = QFileInfo(texts[i]).path();
        while (text.size() > 1 && text != u"." && (parents.isEmpty() || parents.constLast() != text)) {
            parents.append(text);
            text = QFileInfo(text).path();
        }
        return parents;
    });

    static const QString child = QStringLiteral("IMG_0001.JPG");
    static const std::vector<QString> folders = [] {
        std::vector<QString> made;
        made.reserve(texts.size());
        for (const QString& text : texts) {
            made.push_back(text.left(text.lastIndexOf(u'/')));
        }
        return made;
    }();
    static const std::vector<VKQtPath> folderPaths = pathsOf(folders);
    add("append/VKQtPath", [](std::size_t i) {
        VKQtPath path = folderPaths[i];
        path.append(child, false);
        return path;
    });
    add("append/QDir::filePath", [](std::size_t i) { return QDir(folders[i]).filePath(child); });

    add("file URL/VKQtPath", [](std::size_t i) { return VKCFRef<CFURLRef>::adopt(paths[i].createCFUrl()); });
    add("file URL/QUrl", [](std::size_t i) { return QUrl::fromLocalFile(texts[i]).toEncoded(); });
}

/// Ten thousand values in a shuffled order, sorted; the copy that each pass sorts is made outside the clock.
template <typename Value>
void addSort(const char* name, const std::vector<Value>& values) {
    benchmark::RegisterBenchmark(name, [&values](benchmark::State& state) {
        while (state.KeepRunning()) {
            state.PauseTiming();
            std::vector<Value> sorted = values;
            state.ResumeTiming();
            std::sort(sorted.begin(), sorted.end());
            benchmark::DoNotOptimize(sorted.data());
            state.PauseTiming();
            sorted = {};
            state.ResumeTiming();
        }
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(values.size()));
    });
}

void addSorting() {
    static const std::vector<QString> texts = [] {
        std::vector<QString> made;
        for (int copy = 0; copy < 10; ++copy) {
            for (const QString& text : samples().clean) {
                made.push_back(text + QString::number(copy));
            }
        }
        std::shuffle(made.begin(), made.end(), std::mt19937(7));
        return made;
    }();
    static const std::vector<VKQtPath> paths = pathsOf(texts);
    addSort("sort/VKQtPath", paths);
    addSort("sort/QString", texts);
}

} // namespace

int main(int argc, char** argv) {
    addConstruction();
    addComparison();
    addComponents();
    addSorting();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
