// The names behind the table.
#include "VKHttpCurlLibrary.h"

#include <dlfcn.h>

#include <atomic>
#include <mutex>

namespace {

/// The part of its name behind ".so." has been the same since 2006.
constexpr const char* kLibraryName = "libcurl.so.4";

std::atomic<const VKHttpCurlLibrary*> gLibrary = nullptr;
std::once_flag gLoadOnce;
std::mutex gGlobalMutex;

template <typename Function>
bool find(void* handle, const char* name, Function& function) {
    function = reinterpret_cast<Function>(::dlsym(handle, name));
    return function != nullptr;
}

bool findAll(void* handle, VKHttpCurlLibrary& library) {
    return find(handle, "curl_global_init", library.globalInit) &&
           find(handle, "curl_global_cleanup", library.globalCleanup) &&
           find(handle, "curl_easy_init", library.easyInit) &&
           find(handle, "curl_easy_cleanup", library.easyCleanup) &&
           find(handle, "curl_easy_reset", library.easyReset) &&
           find(handle, "curl_easy_setopt", library.easySetopt) &&
           find(handle, "curl_easy_getinfo", library.easyGetinfo) &&
           find(handle, "curl_easy_perform", library.easyPerform) &&
           find(handle, "curl_slist_append", library.slistAppend) &&
           find(handle, "curl_slist_free_all", library.slistFreeAll) &&
           find(handle, "curl_mime_init", library.mimeInit) &&
           find(handle, "curl_mime_free", library.mimeFree) &&
           find(handle, "curl_mime_addpart", library.mimeAddpart) &&
           find(handle, "curl_mime_name", library.mimeName) &&
           find(handle, "curl_mime_data", library.mimeData) &&
           find(handle, "curl_mime_filename", library.mimeFilename);
}

void load() {
    void* const handle = ::dlopen(kLibraryName, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        return;
    }
    // For ever, as the library is: transfers may outlive everything else.
    static VKHttpCurlLibrary sLibrary;
    if (findAll(handle, sLibrary)) {
        gLibrary.store(&sLibrary, std::memory_order_release);
    }
}

} // namespace

const VKHttpCurlLibrary* VKHttpCurlLibrary::shared() {
    std::call_once(gLoadOnce, &load);
    return sharedIfLoaded();
}

const VKHttpCurlLibrary* VKHttpCurlLibrary::sharedIfLoaded() noexcept {
    return gLibrary.load(std::memory_order_acquire);
}

CURLcode VKHttpCurlLibrary::startup() const {
    const std::lock_guard lock(gGlobalMutex);
    return globalInit(CURL_GLOBAL_ALL);
}

void VKHttpCurlLibrary::shutdown() const {
    const std::lock_guard lock(gGlobalMutex);
    globalCleanup();
}

CURL* VKHttpCurlLibrary::makeHandle() const {
    const std::lock_guard lock(gGlobalMutex);
    CURL* const curl = easyInit();
    if (curl != nullptr) {
        // Deliberately for nothing, so its result is too: every transfer resets the handle, and the suite's connections
        // have never sent keep-alive probes.
        static_cast<void>(easySetopt(curl, CURLOPT_TCP_KEEPALIVE, 1L));
    }
    return curl;
}
