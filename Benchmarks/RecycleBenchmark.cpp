// Recycling a thousand small files into the home bin: the library beside the bare system calls, the desktop's
// own tool in one process, and the framework. Each run has new files in new folders.

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKQtPath.h>
#include <VKQtPathUtils.h>

#include <benchmark/benchmark.h>

#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr int kFiles = 1000;

[[noreturn]] void stop(const char* what) {
    std::perror(what);
    std::exit(2);
}

const std::string& root() {
    static const QTemporaryDir sFolder;
    static const std::string sPath = sFolder.path().toStdString();
    return sPath;
}

std::string bin() { return root() + "/home/.local/share/Trash"; }

std::string fileName(int number) {
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "IMG_%04d.JPG", number);
    return name.data();
}

std::string pathOf(int number) { return root() + "/photos/" + fileName(number); }

/// New photos, and a new home folder with an empty bin, which each of them would make in its first call.
void prepare() {
    std::filesystem::remove_all(root() + "/photos");
    std::filesystem::remove_all(root() + "/home");
    for (const char* folder :
         {"/photos", "/home/.local/share/Trash/files", "/home/.local/share/Trash/info"}) {
        std::filesystem::create_directories(root() + folder);
    }
    for (int i = 0; i < kFiles; ++i) {
        const int file = open(pathOf(i).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (file < 0 || write(file, "photo", 5) != 5 || close(file) != 0) {
            stop("sample file");
        }
    }
}

/// Whether all of them are in the bin with their records.
bool allRecycled() {
    const auto count = [](const std::string& folder) {
        return std::distance(std::filesystem::directory_iterator(folder), {});
    };
    return count(bin() + "/files") == kFiles && count(bin() + "/info") == kFiles &&
           count(root() + "/photos") == 0;
}

void add(const char* name, const std::function<void()>& recycleAll) {
    benchmark::RegisterBenchmark(name,
                                 [recycleAll](benchmark::State& state) {
                                     while (state.KeepRunning()) {
                                         prepare();
                                         const auto start = std::chrono::steady_clock::now();
                                         recycleAll();
                                         const std::chrono::duration<double> time =
                                             std::chrono::steady_clock::now() - start;
                                         state.SetIterationTime(time.count());
                                         if (!allRecycled()) {
                                             state.SkipWithError("not all files are in the bin");
                                             return;
                                         }
                                     }
                                     state.SetItemsProcessed(state.iterations() * kFiles);
                                 })
        ->UseManualTime()
        ->Iterations(1);
}

/// The two changes of the disk that there have to be: a record, by exclusive creation, and a rename.
void recycleByHand() {
    const int photos = open((root() + "/photos").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    const int files = open((bin() + "/files").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    const int info = open((bin() + "/info").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    for (int i = 0; i < kFiles; ++i) {
        const std::string name = fileName(i);
        const std::string text = "[Trash Info]\nPath=" + pathOf(i) + "\nDeletionDate=2026-07-04T18:05:09\n";
        const int record = openat(info, (name + ".trashinfo").c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
        if (record < 0 || write(record, text.data(), text.size()) < 0 || close(record) != 0 ||
            renameat(photos, name.c_str(), files, name.c_str()) != 0) {
            stop("recycling by hand");
        }
    }
    close(photos);
    close(files);
    close(info);
}

void recycleByPathUtils() {
    for (int i = 0; i < kFiles; ++i) {
        VKQtPath item(QString::fromStdString(pathOf(i)), false);
        VKQtPath recycled;
        if (VKQtPathUtils::recyleItem(item, recycled) != 0) {
            stop("recycling by path");
        }
    }
}

void recycleByFileMgr() {
    for (int i = 0; i < kFiles; ++i) {
        const std::string path = pathOf(i);
        const auto url = VKCFRef<CFURLRef>::adopt(CFURLCreateFromFileSystemRepresentation(
            kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()), CFIndex(path.size()), false));
        if (VKFileMgrRecycleItemCopy(url.get(), nullptr) != 0) {
            stop("recycling by URL");
        }
    }
}

void recycleByFramework() {
    for (int i = 0; i < kFiles; ++i) {
        if (!QFile::moveToTrash(QString::fromStdString(pathOf(i)))) {
            stop("recycling by the framework");
        }
    }
}

void recycleByGio(const std::string& program) {
    std::vector<std::string> words{program, "trash"};
    for (int i = 0; i < kFiles; ++i) {
        words.push_back(pathOf(i));
    }
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    const pid_t process = fork();
    if (process == 0) {
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    if (process < 0 || waitpid(process, &status, 0) != process || status != 0) {
        stop("gio trash");
    }
}

} // namespace

int main(int argc, char** argv) {
    qputenv("HOME", QByteArray::fromStdString(root() + "/home"));
    qunsetenv("XDG_DATA_HOME");
    const std::string gio = QStandardPaths::findExecutable(QStringLiteral("gio")).toStdString();
    if (gio.empty()) {
        std::fprintf(stderr, "gio is needed (package libglib2.0-bin)\n");
        return 2;
    }
    add("recycle/VKQtPathUtils", recycleByPathUtils);
    add("recycle/VKFileMgr", recycleByFileMgr);
    add("recycle/floor", recycleByHand);
    add("recycle/gio trash", [gio] { recycleByGio(gio); });
    add("recycle/QFile::moveToTrash", recycleByFramework);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
