// VKQtPathFilter::isFileNameFiltered() prepared for many names: the usual extensions are compared as numbers,
// without taking memory.
#pragma once

#include <QStringView>

#include <cstdint>
#include <vector>

class VKQtPathFilter;

class VKQtExtensionSet {
public:
    /// Refers to the filter, which must stay as it is.
    explicit VKQtExtensionSet(const VKQtPathFilter& filter);

    /// Exactly isFileNameFiltered(name).
    [[nodiscard]] bool filters(QStringView name) const;

private:
    const VKQtPathFilter& mFilter;
    std::vector<std::uint64_t> mPacked; // sorted
};
