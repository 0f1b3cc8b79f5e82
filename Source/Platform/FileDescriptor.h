// One open file descriptor and its owner. Closing is not watched here: where a late write error matters
// (a file that was written) the owner calls close() and looks at its answer.
#pragma once

namespace VKPlatform {

class FileDescriptor {
public:
    FileDescriptor() noexcept = default;

    /// Takes over an open descriptor; a negative number is "none".
    explicit FileDescriptor(int descriptor) noexcept : mDescriptor(descriptor) {}

    FileDescriptor(FileDescriptor&& other) noexcept : mDescriptor(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor();

    [[nodiscard]] bool isOpen() const noexcept { return mDescriptor >= 0; }

    /// The number, -1 when there is none. Still owned here.
    [[nodiscard]] int get() const noexcept { return mDescriptor; }

    /// Gives the number away: the caller closes it.
    [[nodiscard]] int release() noexcept {
        const int given = mDescriptor;
        mDescriptor = -1;
        return given;
    }

    /// Closes now. errno of a failing close, 0 otherwise and when there was none. The descriptor is gone in
    /// every case. Keeps the caller's errno.
    int close() noexcept;

private:
    int mDescriptor = -1;
};

} // namespace VKPlatform
