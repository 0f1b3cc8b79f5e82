// poll() on the mount table: the kernel counts the changes and reports them to each open file once.
#include "Platform/MountWatcher.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>

namespace VKPlatform {

int MountWatcher::open() {
    mTable = FileDescriptor(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC));
    return mTable.isOpen() ? 0 : errno;
}

bool MountWatcher::wait(int milliseconds) const {
    pollfd table = {mTable.get(), POLLPRI, 0};
    return mTable.isOpen() && ::poll(&table, 1, milliseconds) > 0 &&
           (table.revents & (POLLPRI | POLLERR)) != 0;
}

} // namespace VKPlatform
