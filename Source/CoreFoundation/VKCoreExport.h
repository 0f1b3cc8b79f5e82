// What leaves libVKCoreKit: everything else has hidden visibility.
#pragma once

#if defined(_WIN32)
#    if defined(VKCORE_BUILDING)
#        define VKCORE_EXPORT __declspec(dllexport)
#    else
#        define VKCORE_EXPORT __declspec(dllimport)
#    endif
#else
#    define VKCORE_EXPORT __attribute__((visibility("default")))
#endif
