// Resolving a bookmark whose item lies where it was, beside the bare system calls; and the way through the counted
// values. A search for a moved file in a folder of 10,000, for comparison.

#include <CoreFoundation/CFQt.h>
#include <CoreFoundation/CFURLBookmark.h>
#include <Platform/Bookmarks.h>
#include <VKCoreKit/VKCFRef.h>

#include <benchmark/benchmark.h>

#include <QByteArray>
#include <QTemporaryDir>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kFiles = 10'000;

[[noreturn]] void stop(const char* what) {
    std::perror(what);
    std::exit(2);
}

/// A folder of photos, removed when the program ends.
const QByteArray& folder() {
    static const QTemporaryDir sFolder;
    static const QByteArray sPath = [] {
        const QByteArray path = sFolder.path().toUtf8();
        for (int i = 0; i < kFiles; ++i) {
            const QByteArray name = path + "/IMG_" + QByteArray::number(i) + ".jpg";
            const int file = open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
            if (file < 0 || close(file) != 0) {
                stop("sample file");
            }
        }
        return path;
    }();
    return sPath;
}

QByteArray photo() { return folder() + "/IMG_5000.jpg"; }

QByteArray bookmarkOf(const QByteArray& path) {
    QByteArray data;
    if (VKPlatform::createBookmark(path, data) != 0) {
        stop("bookmark");
    }
    return data;
}

void resolveUnmoved(benchmark::State& state) {
    const QByteArray path = photo();
    const QByteArray bytes = bookmarkOf(path);
    const auto data = VKCFRef<CFDataRef>::adopt(CFDataCreateWithQByteArray(bytes));
    for (auto _ : state) {
        const auto url = VKCFRef<CFURLRef>::adopt(
            CFURLCreateByResolvingBookmarkData(nullptr, data.get(), 0, nullptr, nullptr, nullptr, nullptr));
        if (!url) {
            state.SkipWithError("not found");
            break;
        }
        benchmark::DoNotOptimize(url.get());
    }
    state.SetItemsProcessed(state.iterations());
}

void floorOfSystemCalls(benchmark::State& state) {
    const QByteArray path = photo();
    constexpr unsigned kHandleBytes = 128;
    for (auto _ : state) {
        alignas(file_handle) std::array<std::byte, sizeof(file_handle) + kHandleBytes> room = {};
        auto* const handle = reinterpret_cast<file_handle*>(room.data());
        handle->handle_bytes = kHandleBytes;
        int mount = 0;
        struct statx record;
        const int item = open(path.constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
        if (item < 0 || statx(item, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &record) != 0) {
            stop("statx");
        }
        benchmark::DoNotOptimize(name_to_handle_at(item, "", handle, &mount, AT_EMPTY_PATH));
        benchmark::DoNotOptimize(record);
        close(item);
    }
    state.SetItemsProcessed(state.iterations());
}

void create(benchmark::State& state) {
    const QByteArray path = photo();
    for (auto _ : state) {
        benchmark::DoNotOptimize(bookmarkOf(path));
    }
    state.SetItemsProcessed(state.iterations());
}

void resolveRenamed(benchmark::State& state) {
    const QByteArray path = photo();
    const QByteArray renamed = folder() + "/renamed.jpg";
    const QByteArray bytes = bookmarkOf(path);
    if (rename(path.constData(), renamed.constData()) != 0) {
        stop("rename");
    }
    for (auto _ : state) {
        VKPlatform::ResolvedBookmark item;
        if (VKPlatform::resolveBookmark(bytes, {}, item) != 0 || item.path != renamed) {
            state.SkipWithError("not found");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
    if (rename(renamed.constData(), path.constData()) != 0) {
        stop("rename");
    }
}

void nothing(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(nothing)->Name("bookmark unmoved/nothing");
BENCHMARK(resolveUnmoved)->Name("bookmark unmoved/VKCoreKit");
BENCHMARK(floorOfSystemCalls)->Name("bookmark unmoved/floor");
BENCHMARK(create)->Name("bookmark create/VKCoreKit");
BENCHMARK(resolveRenamed)->Name("bookmark renamed/VKCoreKit");

} // namespace

BENCHMARK_MAIN();
