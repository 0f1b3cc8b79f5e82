// What leaves libVKQtCoreLite: everything else has hidden visibility.
#pragma once

#if defined(_WIN32)
#    if defined(VKQT_BUILDING)
#        define VKQT_EXPORT __declspec(dllexport)
#    else
#        define VKQT_EXPORT __declspec(dllimport)
#    endif
#else
#    define VKQT_EXPORT __attribute__((visibility("default")))
#endif
