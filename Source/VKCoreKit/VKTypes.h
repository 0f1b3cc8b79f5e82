// Small records that cross the core library's boundary.
#pragma once

#include <cstdint>

struct VKRect {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;

    friend bool operator==(const VKRect&, const VKRect&) = default;
};

/// A fraction as it was written: not reduced, and a denominator of 0 is possible.
struct VKRational {
    std::int32_t numerator = 0;
    std::int32_t denominator = 0;

    friend bool operator==(const VKRational&, const VKRational&) = default;
};

/// A file's version, as its bundle or its name tells it. What it does not tell is 0.
struct VKVersionInfo {
    std::int32_t major = 0;
    std::int32_t minor = 0;
    std::int32_t patch = 0;
    std::int32_t build = 0;

    friend bool operator==(const VKVersionInfo&, const VKVersionInfo&) = default;
};
