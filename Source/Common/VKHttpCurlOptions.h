// libcurl's options, set one after the other, and the owners of its objects.
#pragma once

#include "VKHttpCurlLibrary.h"

#include <type_traits>

/// Sets options until one fails.
class VKHttpCurlOptions {
public:
    VKHttpCurlOptions(const VKHttpCurlLibrary& library, CURL* curl) noexcept
        : mLibrary(library), mCurl(curl) {}

    template <typename Value>
    void set(CURLoption option, Value value) {
        static_assert(std::is_same_v<Value, long> || std::is_same_v<Value, curl_off_t> ||
                          std::is_pointer_v<Value>,
                      "what libcurl takes as a variable argument");
        if (mResult == CURLE_OK) {
            mResult = mLibrary.easySetopt(mCurl, option, value);
        }
    }

    /// A transfer that failed before it connected leaves its buffer behind, and libcurl refuses to size that again.
    void setBufferSize(long bytes) {
        if (mResult == CURLE_OK) {
            const CURLcode result = mLibrary.easySetopt(mCurl, CURLOPT_BUFFERSIZE, bytes);
            mResult = result == CURLE_BAD_FUNCTION_ARGUMENT ? CURLE_OK : result;
        }
    }

    /// Takes the result of another call into account.
    void require(CURLcode result) noexcept {
        if (mResult == CURLE_OK) {
            mResult = result;
        }
    }

    [[nodiscard]] CURLcode result() const noexcept { return mResult; }

private:
    const VKHttpCurlLibrary& mLibrary;
    CURL* mCurl;
    CURLcode mResult = CURLE_OK;
};

struct VKHttpFreeHandle {
    const VKHttpCurlLibrary* library;
    void operator()(CURL* curl) const { library->easyCleanup(curl); }
};
struct VKHttpFreeList {
    const VKHttpCurlLibrary* library;
    void operator()(curl_slist* list) const { library->slistFreeAll(list); }
};
struct VKHttpFreeMime {
    const VKHttpCurlLibrary* library;
    void operator()(curl_mime* mime) const { library->mimeFree(mime); }
};
