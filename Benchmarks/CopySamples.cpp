// Samples, targets and peers for the benchmarks of copying.
#include "CopySamples.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKFileMgr.h>

#include <benchmark/benchmark.h>

#include <QByteArrayList>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace CopySamples {

namespace {

VKCFRef<CFURLRef> folderUrl(const QByteArray& path) {
    return VKCFRef<CFURLRef>::adopt(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.constData()), path.size(), true));
}

} // namespace

void stop(const char* what) {
    std::perror(what);
    std::exit(2);
}

ScratchFolder::ScratchFolder(const QByteArray& parent) : mPath(parent + "/vkqt-copy-XXXXXX") {
    if (mkdtemp(mPath.data()) == nullptr) {
        stop("temporary folder");
    }
}

ScratchFolder::~ScratchFolder() {
    std::error_code error;
    std::filesystem::remove_all(mPath.constData(), error);
}

void makeFile(const QByteArray& path, std::size_t bytes) {
    static std::uint64_t sState = 88172645463325252U;
    std::vector<std::uint64_t> block(4096);
    const int file = open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    for (std::size_t done = 0; file >= 0 && done < bytes;) {
        for (std::uint64_t& word : block) {
            sState ^= sState << 13U;
            sState ^= sState >> 7U;
            sState ^= sState << 17U;
            word = sState;
        }
        const ssize_t written =
            write(file, block.data(), std::min(bytes - done, block.size() * sizeof(block[0])));
        if (written <= 0) {
            stop("sample file");
        }
        done += static_cast<std::size_t>(written);
    }
    if (file < 0 || close(file) != 0) {
        stop("sample file");
    }
}

void run(const QByteArrayList& command) {
    QByteArrayList words = command;
    std::vector<char*> arguments;
    for (QByteArray& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t child = 0;
    int status = 0;
    if (posix_spawnp(&child, arguments.front(), nullptr, nullptr, arguments.data(), environ) != 0 ||
        waitpid(child, &status, 0) != child || status != 0) {
        stop(arguments.front());
    }
}

void addCopy(const char* name, int items, ScratchFolder& scratch,
             const std::function<void(const QByteArray&)>& copy) {
    benchmark::RegisterBenchmark(name,
                                 [&scratch, items, copy](benchmark::State& state) {
                                     while (state.KeepRunning()) {
                                         const QByteArray target = scratch.freshName();
                                         const auto start = std::chrono::steady_clock::now();
                                         copy(target);
                                         const std::chrono::duration<double> took =
                                             std::chrono::steady_clock::now() - start;
                                         state.SetIterationTime(took.count());
                                     }
                                     state.SetItemsProcessed(state.iterations() * items);
                                 })
        ->UseManualTime()
        ->Iterations(1);
}

void copyByLibrary(const QByteArray& from, const QByteArray& to) {
    if (VKFileMgrCopyFolder(folderUrl(from).get(), folderUrl(to).get(), nullptr) != kVKStatusSuccess) {
        stop("VKFileMgrCopyFolder");
    }
}

} // namespace CopySamples
