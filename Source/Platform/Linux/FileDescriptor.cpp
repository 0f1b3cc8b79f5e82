// Closing on Linux releases the number even when it reports an error, so it is never tried twice.
#include "Platform/FileDescriptor.h"

#include <cerrno>
#include <unistd.h>

namespace VKPlatform {

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
        close();
        mDescriptor = other.release();
    }
    return *this;
}

FileDescriptor::~FileDescriptor() { close(); }

int FileDescriptor::close() noexcept {
    if (mDescriptor < 0) {
        return 0;
    }
    const int callersError = errno;
    const int error = ::close(release()) == 0 ? 0 : errno;
    errno = callersError;
    return error;
}

} // namespace VKPlatform
