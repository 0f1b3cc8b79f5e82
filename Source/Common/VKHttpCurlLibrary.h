// libcurl's functions, looked up when the first transfer object is made: linking the library would cost every
// application seven milliseconds at its start, and most of them make no request.
#pragma once

#include <curl/curl.h>

/// A table, so that a test may put functions of its own in it.
struct VKHttpCurlLibrary {
    decltype(&curl_global_init) globalInit = nullptr;
    decltype(&curl_global_cleanup) globalCleanup = nullptr;
    decltype(&curl_easy_init) easyInit = nullptr;
    decltype(&curl_easy_cleanup) easyCleanup = nullptr;
    decltype(&curl_easy_reset) easyReset = nullptr;
    decltype(&curl_easy_setopt) easySetopt = nullptr;
    decltype(&curl_easy_getinfo) easyGetinfo = nullptr;
    decltype(&curl_easy_perform) easyPerform = nullptr;
    decltype(&curl_slist_append) slistAppend = nullptr;
    decltype(&curl_slist_free_all) slistFreeAll = nullptr;
    decltype(&curl_mime_init) mimeInit = nullptr;
    decltype(&curl_mime_free) mimeFree = nullptr;
    decltype(&curl_mime_addpart) mimeAddpart = nullptr;
    decltype(&curl_mime_name) mimeName = nullptr;
    decltype(&curl_mime_data) mimeData = nullptr;
    decltype(&curl_mime_filename) mimeFilename = nullptr;

    // libcurl sets itself up when its first handle is made, and not every build of it does so for several threads: these
    // three wait for each other.

    [[nodiscard]] CURLcode startup() const;
    void shutdown() const;
    /// A new handle; null when there is none to be had.
    [[nodiscard]] CURL* makeHandle() const;

    /// Loads the library on the first call, on any thread, and never unloads it. Null when it is not there, or is
    /// older than what is asked of it.
    [[nodiscard]] static const VKHttpCurlLibrary* shared();

    /// The same, but never loads: null also when nobody has asked yet.
    [[nodiscard]] static const VKHttpCurlLibrary* sharedIfLoaded() noexcept;
};
