// What the tests of copying share: photos with everything that a copy has to keep, file systems of every kind to
// copy between, and watchers that count or end a copy.
#pragma once

#include "Platform/FileCopy.h"
#include "Support/ItemRecord.h"
#include "Support/LoopFileSystem.h"
#include "Support/VKTest.h"

#include <map>
#include <memory>
#include <sys/statvfs.h>
#include <utility>

namespace CopyTest {

/// Content of no regularity, the same in every run.
inline QByteArray contentOfSize(qint64 size) {
    QByteArray content(size, Qt::Uninitialized);
    quint64 state = 88172645463325252U;
    for (char& byte : content) {
        state ^= state << 13U;
        state ^= state >> 7U;
        state ^= state << 17U;
        byte = static_cast<char>(state);
    }
    return content;
}

/// A file with a mode, a time and (where they are kept) an attribute that no new file has by itself.
inline void makePhoto(const QByteArray& path, qint64 size) {
    Disk::makeFile(path, contentOfSize(size));
    (void)Disk::setAttribute(path, "user.rating", "5");
    Disk::must(::chmod(path.constData(), 0640) == 0, "chmod", path);
    Disk::setTime(path, 1'234'567'890, 987'654'321);
}

/// A file of this size with 4096 bytes of data at each of the places.
inline void makeSparse(const QByteArray& path, qint64 size, const QList<qint64>& data) {
    const int file = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    Disk::must(file >= 0 && ::ftruncate(file, size) == 0, "make", path);
    const QByteArray block = contentOfSize(4096);
    for (const qint64 place : data) {
        Disk::must(::pwrite(file, block.constData(), 4096, place) == 4096, "write", path);
    }
    Disk::must(::close(file) == 0, "close", path);
}

inline qint64 allocatedBytes(const QByteArray& path) {
    struct stat record;
    Disk::must(::stat(path.constData(), &record) == 0, "stat", path);
    return qint64(record.st_blocks) * 512;
}

/// Counts; ends the copy with `error` at the call with the number `endAt`, from 0.
struct CountingWatcher final : VKPlatform::CopyWatcher {
    int copied(std::uint64_t more) override {
        bytes += more;
        return calls++ == endAt ? error : 0;
    }

    quint64 bytes = 0;
    int calls = 0;
    int endAt = -1;
    int error = 0;
};

inline void addNameRows() {
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("newline") << QByteArray("a\nb.jpg");
    QTest::newRow("percent signs") << QByteArray("100%25%.jpg");
    QTest::newRow("backslash and quotes") << QByteArray("\\ \" ' .jpg");
    QTest::newRow("255 bytes") << QByteArray(251, 'n').append(".jpg");
    QTest::newRow("composed") << QByteArray("caf\xC3\xA9.jpg");
    QTest::newRow("decomposed") << QByteArray("cafe\xCC\x81.jpg");
    QTest::newRow("not UTF-8") << QByteArray("caf\xE9.jpg");
    QTest::newRow("a dash") << QByteArray("-rf");
    QTest::newRow("hidden") << QByteArray(".a.jpg");
}

/// File systems by name, each mounted once: "ext4", "xfs", "btrfs", "exfat" and "tmpfs".
class FileSystems {
public:
    enum class Pairs { All, WithHoles };

    void mount(const QByteArray& folder) {
        mFolder = folder;
        for (const char* name : {"ext4", "xfs", "btrfs", "exfat"}) {
            Disk::makeFolder(pathOf(name));
            auto system = std::make_unique<Disk::LoopFileSystem>(name, pathOf(name));
            if (system->isMounted()) {
                mLoops.emplace(name, std::move(system));
            }
        }
        Disk::makeFolder(pathOf("tmpfs"));
        mMemory = std::make_unique<Disk::TemporaryFileSystem>(pathOf("tmpfs"), "size=200m");
    }
    void unmount() {
        mLoops.clear();
        mMemory.reset();
    }

    [[nodiscard]] bool has(const QByteArray& name) const {
        return name == "tmpfs" ? mMemory->isMounted() : mLoops.find(name) != mLoops.end();
    }

    [[nodiscard]] QByteArray newFolder(const QByteArray& name) {
        const QByteArray path = pathOf(name) + "/t" + QByteArray::number(++mNumber);
        Disk::makeFolder(path);
        mFolders.append(path);
        return path;
    }

    /// Removes the folders that were given out.
    void clear() {
        for (const QByteArray& folder : std::as_const(mFolders)) {
            Disk::removeTree(folder);
        }
        mFolders.clear();
    }

    /// tmpfs keeps "user." attributes since Linux 6.6, but not everywhere.
    [[nodiscard]] static unsigned partsKeptBy(const QByteArray& name) {
        return name == "exfat"   ? unsigned(Disk::kKindAndContent)
               : name == "tmpfs" ? unsigned(Disk::kModes | Disk::kTimes)
                                 : unsigned(Disk::kCopiedParts);
    }

    /// Each with itself, which shares extents or copies in the kernel, and pairs that cannot.
    static void addPairRows(Pairs pairs = Pairs::All) {
        QTest::addColumn<QByteArray>("from");
        QTest::addColumn<QByteArray>("to");
        const char* const names[][2] = {{"ext4", "ext4"},   {"xfs", "xfs"},     {"btrfs", "btrfs"},
                                        {"tmpfs", "tmpfs"}, {"exfat", "exfat"}, {"ext4", "tmpfs"},
                                        {"xfs", "ext4"},    {"btrfs", "xfs"},   {"tmpfs", "btrfs"},
                                        {"ext4", "exfat"},  {"exfat", "xfs"}};
        for (const auto& pair : names) {
            const QByteArray from(pair[0]);
            const QByteArray to(pair[1]);
            if (pairs == Pairs::All || (from != "exfat" && to != "exfat")) {
                QTest::addRow("%s to %s", pair[0], pair[1]) << from << to;
            }
        }
    }

private:
    [[nodiscard]] QByteArray pathOf(const QByteArray& name) const { return mFolder + '/' + name; }

    QByteArray mFolder;
    std::map<QByteArray, std::unique_ptr<Disk::LoopFileSystem>> mLoops;
    std::unique_ptr<Disk::TemporaryFileSystem> mMemory;
    QByteArrayList mFolders;
    int mNumber = 0;
};

} // namespace CopyTest
