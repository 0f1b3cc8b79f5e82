// What the benchmarks of copying share: samples, fresh targets, other programs as peers.
#pragma once

#include <QByteArray>
#include <QByteArrayList>

#include <chrono>
#include <functional>

namespace CopySamples {

[[noreturn]] void stop(const char* what);

/// A folder that is removed when the program ends. `parent` has to be there.
class ScratchFolder {
public:
    explicit ScratchFolder(const QByteArray& parent);
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();

    [[nodiscard]] const QByteArray& path() const { return mPath; }

    /// A name below that nothing has had. Targets are not removed between rounds: a file system that has just
    /// forgotten ten thousand files makes new ones slowly for a while.
    [[nodiscard]] QByteArray freshName() { return mPath + "/target " + QByteArray::number(++mNumber); }

private:
    QByteArray mPath;
    int mNumber = 0;
};

/// Fills a new file with bytes that no file system packs.
void makeFile(const QByteArray& path, std::size_t bytes);

/// Runs a program and waits for it; stops the benchmark when it fails.
void run(const QByteArrayList& command);

/// Registers a benchmark of `copy(target)` for a fresh target each time; only that call is measured. The figure
/// is for one of the `items` that it copies.
void addCopy(const char* name, int items, ScratchFolder& scratch,
             const std::function<void(const QByteArray&)>& copy);

/// The core library's recursive copy.
void copyByLibrary(const QByteArray& from, const QByteArray& to);

} // namespace CopySamples
