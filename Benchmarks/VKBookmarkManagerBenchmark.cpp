// Asking whether a path can be reached, with ten thousand registered items beside one. The path that is asked
// for matches none of them: every record is looked at.

#include <CoreFoundation/CFQt.h>
#include <VKBookmarkManager.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKProcess.h>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

constexpr int kManyRecords = 10'000;

using OwnedManager = VKOwned<VKBookmarkManager>;

/// Paths as a user has them: of equal length, and equal up to their last letters.
QByteArray pathOf(int number) {
    return "/home/anna/Pictures/2026/Summer in the mountains/IMG_" + QByteArray::number(100'000 + number) +
           ".JPG";
}

OwnedManager managerWith(int records) {
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed); // without the entitlements
    OwnedManager manager(new VKBookmarkManager);
    VKProcessSetSandboxed(VKSandboxAnswer::Sandboxed);
    for (int i = 0; i < records; ++i) {
        const QByteArray path = pathOf(i);
        const auto url = VKCFRef<CFURLRef>::adopt(CFURLCreateFromFileSystemRepresentation(
            kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.constData()), path.size(), 0));
        const auto data = VKCFRef<CFDataRef>::adopt(CFDataCreateWithQByteArray(path));
        manager->addBookmarkData(url.get(), data.get(), false);
    }
    return manager;
}

void hasSandboxAccess(benchmark::State& state, int records) {
    const OwnedManager manager = managerWith(records);
    const VKQtPath path(QString::fromUtf8(pathOf(kManyRecords)), false);
    while (state.KeepRunning()) {
        CFDataRef token = nullptr;
        bool reachable = manager->hasSandboxAccess(path, &token);
        benchmark::DoNotOptimize(reachable);
        if (reachable) {
            state.SkipWithError("a path that is not registered can be reached");
        }
    }
    state.SetItemsProcessed(state.iterations());
}

} // namespace

BENCHMARK_CAPTURE(hasSandboxAccess, 10000, kManyRecords)->Name("access/10,000 records");
BENCHMARK_CAPTURE(hasSandboxAccess, 1, 1)->Name("access/one record");

BENCHMARK_MAIN();
