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

// For many objects at once: visible as well, but the library's own uses of them need no look-up by name at each
// start, because nobody else's definition can take their place. Programs have to be position-independent (-fPIC), as
// the framework asks them to be.
// Who uses the library sees them as any other name: the linker takes a protected one for the program's own.
#if defined(_WIN32) || !defined(VKQT_BUILDING)
#    define VKQT_DATA_EXPORT VKQT_EXPORT
#else
#    define VKQT_DATA_EXPORT __attribute__((visibility("protected")))
#endif
