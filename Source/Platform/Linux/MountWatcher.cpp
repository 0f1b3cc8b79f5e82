// libmount's monitor: the kernel's notification of the mount table, and inotify for what the mount program notes.
#include "Platform/MountWatcher.h"

#include <cerrno>
#include <libmount.h>
#include <poll.h>

namespace VKPlatform {

void MountWatcher::Unreference::operator()(libmnt_monitor* monitor) const { mnt_unref_monitor(monitor); }

int MountWatcher::open() {
    mMonitor.reset(mnt_new_monitor());
    mDescriptor = -1;
    if (mMonitor == nullptr) {
        return ENOMEM;
    }
    if (const int error = mnt_monitor_enable_kernel(mMonitor.get(), 1); error < 0) {
        return -error;
    }
    // Without the notes of the mount program the kernel's word alone has to do.
    static_cast<void>(mnt_monitor_enable_userspace(mMonitor.get(), 1, nullptr));
    const int descriptor = mnt_monitor_get_fd(mMonitor.get());
    if (descriptor < 0) {
        return -descriptor;
    }
    mDescriptor = descriptor;
    return 0;
}

void MountWatcher::acknowledge() const {
    if (mDescriptor >= 0) {
        static_cast<void>(mnt_monitor_event_cleanup(mMonitor.get()));
    }
}

bool MountWatcher::wait(int milliseconds) const {
    pollfd changes = {mDescriptor, POLLIN, 0};
    if (mDescriptor < 0 || ::poll(&changes, 1, milliseconds) <= 0) {
        return false;
    }
    acknowledge();
    return true;
}

} // namespace VKPlatform
