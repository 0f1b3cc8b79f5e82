// Listing a flat folder of 100,000 files: VKQtDirIterator beside the bare system calls, QDirIterator and
// std::filesystem. Every lister keeps what it found. The folder is made afresh for each run of the program.

#include <VKQtDirIterator.h>
#include <VKQtPath.h>
#include <VKQtPathFilter.h>

#include <benchmark/benchmark.h>

#include <QDateTime>
#include <QDirIterator>
#include <QFileInfo>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr int kFiles = 100'000;
constexpr int kPhotoEvery = 10; // one file in ten is a photo, the rest are texts

[[noreturn]] void stop(const char* what) {
    std::perror(what);
    std::exit(2);
}

/// The folder, made on first use and removed when the program ends.
const QString& folder() {
    static const QTemporaryDir sFolder;
    static const bool sFilled = [] {
        if (!sFolder.isValid()) {
            stop("temporary folder");
        }
        const int directory = open(sFolder.path().toUtf8().constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (int i = 0; directory >= 0 && i < kFiles; ++i) {
            std::array<char, 32> name{};
            std::snprintf(name.data(), name.size(), i % kPhotoEvery == 0 ? "IMG_%06d.JPG" : "notes %06d.txt",
                          i);
            const int file = openat(directory, name.data(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
            if (file < 0 || write(file, name.data(), name.size()) < 0 || close(file) != 0) {
                stop("sample file");
            }
        }
        if (directory < 0 || close(directory) != 0) {
            stop("sample folder");
        }
        return true;
    }();
    static const QString sPath = sFolder.path();
    benchmark::DoNotOptimize(sFilled);
    return sPath;
}

/// Registers a listing that answers how many entries it kept; anything but `expected` is an error.
template <typename List>
void add(const char* name, std::size_t expected, List list) {
    benchmark::RegisterBenchmark(
        name,
        [expected, list](benchmark::State& state) {
            folder();
            list(); // the kernel's caches and this process's heap are warm for everyone alike
            while (state.KeepRunning()) {
                if (const std::size_t found = list(); found != expected) {
                    state.SkipWithError(("listed " + std::to_string(found) + " entries").c_str());
                    return;
                }
            }
            state.SetItemsProcessed(state.iterations());
        })
        ->UseRealTime()
        ->Iterations(1);
}

// The floor: large blocks from the kernel, one statx for each kept entry, raw records.

struct RawRecord {
    std::uint32_t nameOffset;
    bool isFolder;
    std::int64_t sizeBytes;
    std::int64_t createdMs;
    std::int64_t modifiedMs;
};

std::int64_t milliseconds(const struct statx_timestamp& time) {
    return time.tv_sec * 1000 + time.tv_nsec / 1'000'000;
}

template <typename Keep>
std::size_t listByHand(Keep keep) {
    struct Header { // of one entry in the kernel's block; the name follows
        std::uint64_t inode;
        std::int64_t next;
        std::uint16_t length;
        std::uint8_t kind;
    };
    constexpr std::size_t kNameAt = offsetof(Header, kind) + 1;
    constexpr std::size_t kBlockBytes = std::size_t{256} * 1024;
    static std::vector<RawRecord> sRecords;
    static std::vector<char> sNames;
    sRecords.clear();
    sNames.clear();
    const auto block = std::make_unique<char[]>(kBlockBytes);
    const int directory = open(folder().toUtf8().constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0) {
        stop("open");
    }
    for (;;) {
        const long filled = syscall(SYS_getdents64, directory, block.get(), kBlockBytes);
        if (filled <= 0) {
            break;
        }
        for (long at = 0; at < filled;) {
            const char* entry = block.get() + at;
            std::uint16_t length = 0;
            std::memcpy(&length, entry + offsetof(Header, length), sizeof length);
            at += length;
            const std::string_view name(entry + kNameAt);
            if (name == "." || name == ".." || !keep(name)) {
                continue;
            }
            struct statx facts {};
            if (statx(directory, name.data(), AT_SYMLINK_NOFOLLOW | AT_STATX_DONT_SYNC,
                      STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_BTIME, &facts) != 0) {
                continue;
            }
            sRecords.push_back({static_cast<std::uint32_t>(sNames.size()), S_ISDIR(facts.stx_mode),
                                static_cast<std::int64_t>(facts.stx_size), milliseconds(facts.stx_btime),
                                milliseconds(facts.stx_mtime)});
            sNames.insert(sNames.end(), name.begin(), name.end());
            sNames.push_back('\0');
        }
    }
    close(directory);
    return sRecords.size();
}

std::size_t listByIterator(const VKQtPathFilter& filter) {
    static std::vector<VKQtDirIterator::Entry> sEntries;
    sEntries.clear();
    const std::unique_ptr<VKQtDirIterator> iterator(
        VKQtDirIterator::makeIterator(VKQtPath(folder(), true), filter));
    VKQtDirIterator::Entry entry;
    while (iterator->next(entry)) {
        sEntries.push_back(std::move(entry));
    }
    return iterator->status() == 0 ? sEntries.size() : 0;
}

/// The same without keeping the entries: what a program pays that shows them as they come.
std::size_t walkByIterator(const VKQtPathFilter& filter) {
    const std::unique_ptr<VKQtDirIterator> iterator(
        VKQtDirIterator::makeIterator(VKQtPath(folder(), true), filter));
    VKQtDirIterator::Entry entry;
    std::size_t count = 0;
    while (iterator->next(entry)) {
        benchmark::DoNotOptimize(entry);
        ++count;
    }
    return iterator->status() == 0 ? count : 0;
}

struct FrameworkEntry {
    QString path;
    bool isFolder;
    qint64 sizeBytes;
    QDateTime created;
    QDateTime modified;
};

/// The same fields, so the dates in UTC.
std::size_t listByQDirIterator(const QStringList& nameFilters) {
    static std::vector<FrameworkEntry> sEntries;
    sEntries.clear();
    QDirIterator iterator(folder(), nameFilters,
                          QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
    while (iterator.hasNext()) {
        iterator.next();
        const QFileInfo info = iterator.fileInfo();
        sEntries.push_back({info.filePath(), info.isDir(), info.size(), info.birthTime().toUTC(),
                            info.lastModified().toUTC()});
    }
    return sEntries.size();
}

/// Has no birth time: one field fewer than the others.
std::size_t listByStandardLibrary() {
    struct Entry {
        std::filesystem::path path;
        bool isFolder;
        std::uintmax_t sizeBytes;
        std::filesystem::file_time_type modified;
    };
    static std::vector<Entry> sEntries;
    sEntries.clear();
    for (const auto& entry : std::filesystem::directory_iterator(folder().toStdString())) {
        sEntries.push_back({entry.path(), entry.is_directory(), entry.file_size(), entry.last_write_time()});
    }
    return sEntries.size();
}

bool isPhotoName(std::string_view name) { return name.ends_with(".JPG"); }

void addListings() {
    constexpr std::size_t kAll = kFiles;
    constexpr std::size_t kPhotos = kFiles / kPhotoEvery;
    static const VKQtPathFilter everything = [] {
        VKQtPathFilter filter;
        filter.mAcceptAllFiles = true;
        filter.mIncludeHidden = true;
        return filter;
    }();
    static const VKQtPathFilter photos;

    add("list all/VKQtDirIterator", kAll, [] { return listByIterator(everything); });
    add("list all/floor", kAll, [] { return listByHand([](std::string_view) { return true; }); });
    add("list all/QDirIterator", kAll, [] { return listByQDirIterator({}); });
    add("list all/std::filesystem", kAll, [] { return listByStandardLibrary(); });
    add("walk all/VKQtDirIterator", kAll, [] { return walkByIterator(everything); });
    add("list one in ten/VKQtDirIterator", kPhotos, [] { return listByIterator(photos); });
    add("list one in ten/floor", kPhotos, [] { return listByHand(isPhotoName); });
    add("list one in ten/QDirIterator", kPhotos,
        [] { return listByQDirIterator({QStringLiteral("*.JPG")}); });
}

} // namespace

int main(int argc, char** argv) {
    addListings();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
