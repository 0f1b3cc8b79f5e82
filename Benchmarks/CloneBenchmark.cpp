// A recursive copy of 20 files of 100 MB on a file system that shares extents: an xfs of the benchmark's own on a
// loop device, so only root can run it.
#include "CopySamples.h"

#include <benchmark/benchmark.h>

#include <QByteArrayList>
#include <QDir>
#include <QFile>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace CopySamples;

constexpr int kFiles = 20;
constexpr std::size_t kFileBytes = std::size_t{100} * 1000 * 1000;

/// Mounted as long as the object lives. Detached before the folder that holds its image goes.
class CloningFileSystem {
public:
    explicit CloningFileSystem(const QByteArray& folder) : mPath(folder + "/xfs") {
        const QByteArray image = folder + "/image";
        run({"truncate", "-s", "4G", image});
        run({"mkfs.xfs", "-q", "-m", "reflink=1", image});
        if (mkdir(mPath.constData(), 0755) != 0) {
            stop("mkdir");
        }
        run({"mount", "-o", "loop", image, mPath}); // the device goes with the mount
    }
    CloningFileSystem(const CloningFileSystem&) = delete;
    CloningFileSystem& operator=(const CloningFileSystem&) = delete;
    ~CloningFileSystem() { umount2(mPath.constData(), MNT_DETACH); }

    [[nodiscard]] const QByteArray& path() const { return mPath; }

private:
    QByteArray mPath;
};

} // namespace

int main(int argc, char** argv) {
    const ScratchFolder folder(QFile::encodeName(QDir::tempPath()));
    const CloningFileSystem system(folder.path());
    ScratchFolder scratch(system.path());
    const QByteArray sample = scratch.path() + "/sample";
    if (mkdir(sample.constData(), 0755) != 0) {
        stop("sample folder");
    }
    for (int file = 0; file < kFiles; ++file) {
        makeFile(sample + "/IMG_" + QByteArray::number(file) + ".NEF", kFileBytes);
    }
    sync();
    addCopy("large/library", 1, scratch,
            [sample](const QByteArray& target) { copyByLibrary(sample, target); });
    addCopy("large/cp", 1, scratch, [sample](const QByteArray& target) {
        run({"cp", "-a", "--reflink=auto", sample, target});
    });
    addCopy("large/nothing", 1, scratch, [](const QByteArray&) {});
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
