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
