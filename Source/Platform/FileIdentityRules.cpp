// When two descriptions are of one item.
#include "Platform/FileIdentity.h"

namespace VKPlatform {

namespace {

bool haveSameHandle(const FileIdentity& recorded, const FileIdentity& now) {
    return recorded.handleType == now.handleType && recorded.handle == now.handle;
}

bool isUnchanged(const FileIdentity& recorded, const FileIdentity& now) {
    return recorded.sizeBytes == now.sizeBytes && recorded.modified == now.modified;
}

/// Some servers in user space give a number out again, with the same handle, while they are mounted.
bool isSameWithinMount(const FileIdentity& recorded, const FileIdentity& now) {
    const bool isSameMount = recorded.mountId != 0 && !recorded.boot.isEmpty() &&
                             recorded.mountId == now.mountId && recorded.boot == now.boot;
    return isSameMount && haveSameHandle(recorded, now) && recorded.born == now.born &&
           (recorded.born || isUnchanged(recorded, now));
}

bool isSameForGood(const FileIdentity& recorded, const FileIdentity& now) {
    const bool haveHandles = !recorded.handle.isEmpty() && !now.handle.isEmpty();
    const bool haveBirths = recorded.born && now.born;
    if ((haveHandles && !haveSameHandle(recorded, now)) || (haveBirths && recorded.born != now.born)) {
        return false;
    }
    return haveHandles || haveBirths || isUnchanged(recorded, now);
}

} // namespace

bool isSameItem(const FileIdentity& recorded, const FileIdentity& now) {
    if (recorded.kind != now.kind || recorded.inode != now.inode) {
        return false;
    }
    return recorded.scope == IdentityScope::Mount ? isSameWithinMount(recorded, now)
                                                  : isSameForGood(recorded, now);
}

IdentityScope scopeOfMagic(std::uint64_t magic) {
    switch (magic) {
    case 0x65735546: // FUSE
    case 0x4d44:     // FAT
    case 0x2011bab0: // exFAT
        return IdentityScope::Mount;
    default:
        return IdentityScope::Lasting;
    }
}

} // namespace VKPlatform
