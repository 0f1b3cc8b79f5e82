// A recursive copy of 10,000 files of 20 KB in the temporary folder: the library's beside a bare loop of system
// calls that keeps the same, "cp -a" and the framework's copy, file by file. On one processor and on all.
#include "CopySamples.h"

#include <benchmark/benchmark.h>

#include <QByteArrayList>
#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

using namespace CopySamples;

constexpr int kFolders = 20;
constexpr int kFilesInEach = 500;
constexpr int kFiles = kFolders * kFilesInEach;
constexpr std::size_t kFileBytes = 20 * 1024;

QByteArray folderName(int folder) { return "/folder " + QByteArray::number(folder); }
QByteArray fileName(int file) { return "IMG_" + QByteArray::number(file) + ".JPG"; }

void makeSample(const QByteArray& root) {
    if (mkdir(root.constData(), 0755) != 0) {
        stop("sample folder");
    }
    for (int folder = 0; folder < kFolders; ++folder) {
        const QByteArray path = root + folderName(folder);
        if (mkdir(path.constData(), 0755) != 0) {
            stop("sample folder");
        }
        for (int file = 0; file < kFilesInEach; ++file) {
            makeFile(path + '/' + fileName(file), kFileBytes);
        }
    }
    sync();
}

/// One processor only, as long as the object lives: then nobody works on two threads.
class OneProcessor {
public:
    OneProcessor() {
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<std::size_t>(sched_getcpu()), &one);
        if (sched_getaffinity(0, sizeof mBefore, &mBefore) != 0 ||
            sched_setaffinity(0, sizeof one, &one) != 0) {
            stop("sched_setaffinity");
        }
    }
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;
    ~OneProcessor() { sched_setaffinity(0, sizeof mBefore, &mBefore); }

private:
    cpu_set_t mBefore = {};
};

/// The floor: names are known, folders open, and nothing is asked that a copy with mode, times and attributes
/// can do without.
void copyOneByHand(int fromFolder, int toFolder, const char* name) {
    const int in = openat(fromFolder, name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    struct stat record {};
    if (in < 0 || fstat(in, &record) != 0) {
        stop(name);
    }
    const int out = openat(toFolder, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    const ssize_t copied =
        copy_file_range(in, nullptr, out, nullptr, static_cast<std::size_t>(record.st_size), 0);
    const timespec times[2] = {record.st_atim, record.st_mtim};
    char attributes[256];
    if (out < 0 || copied != record.st_size || flistxattr(in, attributes, sizeof attributes) != 0 ||
        fchmod(out, record.st_mode & 07777) != 0 || futimens(out, times) != 0 || close(out) != 0 ||
        close(in) != 0) {
        stop(name);
    }
}

void copyByHand(const QByteArray& from, const QByteArray& to) {
    if (mkdir(to.constData(), 0755) != 0) {
        stop("mkdir");
    }
    for (int folder = 0; folder < kFolders; ++folder) {
        const QByteArray source = from + folderName(folder);
        const QByteArray target = to + folderName(folder);
        if (mkdir(target.constData(), 0755) != 0) {
            stop("mkdir");
        }
        const int fromFolder = open(source.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        const int toFolder = open(target.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (int file = 0; file < kFilesInEach; ++file) {
            copyOneByHand(fromFolder, toFolder, fileName(file).constData());
        }
        close(fromFolder);
        close(toFolder);
    }
}

/// One folder of them: it flushes each file to the disk, which would take minutes for all.
void copyByFramework(const QByteArray& from, const QByteArray& to) {
    const QString source = QFile::decodeName(from + folderName(0)) + u'/';
    const QString target = QFile::decodeName(to) + u'/';
    if (!QDir().mkpath(target)) {
        stop("mkpath");
    }
    for (int file = 0; file < kFilesInEach; ++file) {
        const QString name = QFile::decodeName(fileName(file));
        if (!QFile::copy(source + name, target + name)) {
            stop("QFile::copy");
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    ScratchFolder scratch(QFile::encodeName(QDir::tempPath()));
    const QByteArray sample = scratch.path() + "/sample";
    makeSample(sample);
    const auto cp = [sample](const QByteArray& target) {
        run({"cp", "-a", "--reflink=auto", sample, target});
    };

    addCopy("small/library", kFiles, scratch,
            [sample](const QByteArray& target) { copyByLibrary(sample, target); });
    addCopy("small/library, one processor", kFiles, scratch, [sample](const QByteArray& target) {
        const OneProcessor one;
        copyByLibrary(sample, target);
    });
    addCopy("small/floor", kFiles, scratch, [sample](const QByteArray& target) {
        const OneProcessor one;
        copyByHand(sample, target);
    });
    addCopy("small/cp", kFiles, scratch, cp);
    addCopy("small/QFile::copy", kFilesInEach, scratch,
            [sample](const QByteArray& target) { copyByFramework(sample, target); });
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
