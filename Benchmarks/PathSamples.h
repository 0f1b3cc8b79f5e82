// The texts that the path benchmarks run over: a thousand paths of a photographer's disk, 30 to 120
// characters, the same in every run, and the variants of them that one row or another needs.
#pragma once

#include <QString>

#include <cstddef>
#include <vector>

struct PathSamples {
    static constexpr std::size_t kCount = 1000;

    std::vector<QString> clean;       // canonical ASCII, mixed case, with a suffix
    std::vector<QString> same;        // the same characters in storage of their own
    std::vector<QString> otherCase;   // the same letters, each in the other case
    std::vector<QString> unequal;     // the same length and a common start, then other letters
    std::vector<QString> prefix;      // the containing folder, each letter in the other case
    std::vector<QString> backslashes; // every slash a backslash
    std::vector<QString> decomposed;  // two of the letters "e" followed by a combining acute accent
    std::vector<QString> composed;    // the same names in form C

    /// Built on first use. Not for use from several threads at once while being built.
    static const PathSamples& shared();
};
