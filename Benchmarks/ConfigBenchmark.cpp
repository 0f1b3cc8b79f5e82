// The configuration beside the framework's own JSON: loading, merging, looking up and saving 200 bundles of 20
// settings. Every peer works on the same bytes.
#include "Support/DefaultsResource.h"
#include "VKConfig.h"
#include "VKConfigBundle.h"
#include "VKConfigModel.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKCoreKit/VKProduct.h>

#include <benchmark/benchmark.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kBundles = 200;
constexpr int kItems = 20;

QJsonObject itemInfo(int index) {
    QJsonObject item{{u"name"_s, u"setting_%1"_s.arg(index)},
                     {u"display_name"_s, u"Setting %1"_s.arg(index)}};
    if (index % 4 != 0) {
        item.insert(u"value_type"_s, 1);
        item.insert(u"value"_s, index % 2 == 0);
        return item;
    }
    item.insert(u"value_type"_s, 2);
    item.insert(u"value"_s, index % 3);
    item.insert(u"values"_s,
                QJsonArray{QJsonObject{{u"display_name"_s, u"Off"_s}, {u"value"_s, 0}},
                           QJsonObject{{u"display_name"_s, u"Draft"_s}, {u"value"_s, 1}},
                           QJsonObject{{u"display_name"_s, u"Full quality"_s}, {u"value"_s, 2}}});
    return item;
}

QString bundleID(int index) { return u"core_bundle_of_settings_%1"_s.arg(index, 3, 10, QChar(u'0')); }

/// A defaults file, indented as those that the system writes.
const QByteArray& fileBytes() {
    static const QByteArray sBytes = [] {
        QJsonArray bundles;
        for (int bundle = 0; bundle < kBundles; ++bundle) {
            QJsonArray items;
            for (int item = 0; item < kItems; ++item) {
                items.append(itemInfo(item));
            }
            bundles.append(QJsonObject{{u"class_id"_s, bundleID(bundle)},
                                       {u"display_name"_s, u"Bundle %1"_s.arg(bundle)},
                                       {u"items"_s, items}});
        }
        return QJsonDocument(QJsonObject{{u"class_id"_s, u"VKConfigModel"_s},
                                         {u"version"_s, 1},
                                         {u"children"_s, bundles}})
            .toJson();
    }();
    return sBytes;
}

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "ConfigBenchmark: %s\n", what);
        std::abort();
    }
}

/// The files that the measured calls read and write.
class Files {
public:
    Files() {
        require(mFolder.isValid(), "no temporary folder");
        QFile file(defaults());
        require(file.open(QIODevice::WriteOnly) && file.write(fileBytes()) == fileBytes().size(), "no file");
    }
    [[nodiscard]] QString defaults() const { return mFolder.filePath(u"defaults.json"_s); }
    [[nodiscard]] QByteArray byHand() const { return mFolder.filePath(u"by-hand.json"_s).toUtf8(); }
    [[nodiscard]] QString dataFolder() const { return mFolder.path(); }

private:
    QTemporaryDir mFolder;
};

Files& files() {
    static Files sFiles;
    return sFiles;
}

using Model = VKOwned<VKConfigModel>;

Model loadedModel() {
    VKNode::registerNode(u"VKConfigBundle"_s, [] { return new VKConfigBundle; });
    Model model(new VKConfigModel);
    require(model->loadPath(files().defaults()) == 0 && model->childCount() == kBundles,
            "the model does not load");
    return model;
}

void loadModel(benchmark::State& state) {
    loadedModel();
    for (auto _ : state) {
        const Model model(new VKConfigModel);
        benchmark::DoNotOptimize(model->loadPath(files().defaults()));
    }
    state.SetItemsProcessed(state.iterations());
}

void loadDocument(benchmark::State& state) {
    for (auto _ : state) {
        const QJsonDocument document = QJsonDocument::fromJson(fileBytes());
        benchmark::DoNotOptimize(document.isObject());
    }
    state.SetItemsProcessed(state.iterations());
}

void mergeModel(benchmark::State& state) {
    const Model live = loadedModel();
    const Model user = loadedModel();
    for (auto _ : state) {
        live->setClassID(u"VKConfigModel"_s); // as behind a load: no index is kept
        benchmark::DoNotOptimize(live->updateModel(user.get()));
    }
    state.SetItemsProcessed(state.iterations());
}

/// A store over these defaults, whose file is in the temporary folder.
VKConfig& store() {
    static VKConfig* const sStore = [] {
        static const DefaultsResource::Defaults sDefaults(fileBytes());
        const auto folder = VKCFRef<CFURLRef>::adopt(VKQtPath(files().dataFolder(), true).createCFUrl());
        VKFileMgrSetFolderPath(kVKFolderUserAppData, folder.get());
        auto* const config = new VKConfig;
        require(config->initialize(kVKProductKestrel) == 0 && config->bundleCount() == kBundles,
                "the store does not start");
        return config;
    }();
    return *sStore;
}

const QList<QString>& bundleIDs() {
    static const QList<QString> sIDs = [] {
        QList<QString> ids;
        for (int index = 0; index < kBundles; ++index) {
            ids << bundleID(index * 37 % kBundles); // in no order
        }
        return ids;
    }();
    return sIDs;
}

void lookUp(benchmark::State& state) {
    const VKConfig& config = store();
    const QString key = u"setting_8"_s;
    qsizetype place = 0;
    int value = 0;
    for (auto _ : state) {
        place = place + 1 < kBundles ? place + 1 : 0;
        benchmark::DoNotOptimize(config.valueInt(bundleIDs()[place], key, value));
    }
    state.SetItemsProcessed(state.iterations());
}

void lookUpNothing(benchmark::State& state) {
    qsizetype place = 0;
    for (auto _ : state) {
        place = place + 1 < kBundles ? place + 1 : 0;
        benchmark::DoNotOptimize(bundleIDs()[place]);
    }
    state.SetItemsProcessed(state.iterations());
}

void saveStore(benchmark::State& state) {
    VKConfig& config = store();
    for (auto _ : state) {
        require(config.save() == 0, "the store does not save");
    }
    state.SetItemsProcessed(state.iterations());
}

/// The same bytes, of an object that is there already, by the system calls that a safe replacement takes.
void saveByHand(benchmark::State& state) {
    QByteArray archive;
    require(store().createArchive(nullptr, archive) == 0, "no archive");
    const QJsonObject object = QJsonDocument::fromJson(archive).object();
    const QByteArray temporary = files().byHand() + ".new";
    const int folder = ::open(files().dataFolder().toUtf8().constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (auto _ : state) {
        const QByteArray bytes = QJsonDocument(object).toJson();
        const int file = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        require(::write(file, bytes.constData(), static_cast<std::size_t>(bytes.size())) == bytes.size() &&
                    ::fsync(file) == 0 && ::close(file) == 0 &&
                    ::rename(temporary.constData(), files().byHand().constData()) == 0 &&
                    ::fsync(folder) == 0,
                "the file cannot be written by hand");
    }
    ::close(folder);
    state.SetItemsProcessed(state.iterations());
}

} // namespace

BENCHMARK(loadModel)->Name("load/VKConfigModel");
BENCHMARK(loadDocument)->Name("load/QJsonDocument");
BENCHMARK(mergeModel)->Name("merge/VKConfigModel");
BENCHMARK(lookUp)->Name("look up/VKConfig");
BENCHMARK(lookUpNothing)->Name("look up/nothing");
BENCHMARK(saveStore)->Name("save/VKConfig")->UseRealTime();
BENCHMARK(saveByHand)->Name("save/by hand")->UseRealTime();

BENCHMARK_MAIN();
