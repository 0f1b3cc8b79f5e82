// What all listings share. The listing itself is VKQtDirIteratorImpl.
#include "VKQtDirIterator.h"

#include "VKQtDirIteratorImpl.h"

VKQtDirIterator* VKQtDirIterator::makeIterator(const VKQtPath& folder, const VKQtPathFilter& filter) {
    return new VKQtDirIteratorImpl(folder, filter);
}

VKQtDirIterator::VKQtDirIterator(const VKQtPath& folder, const VKQtPathFilter& filter)
    : mRoot(folder), mFilter(filter) {}

VKQtDirIterator::~VKQtDirIterator() = default;

void VKQtDirIterator::finish(VKStatus status) {
    mDone = true;
    mStatus = status;
}
