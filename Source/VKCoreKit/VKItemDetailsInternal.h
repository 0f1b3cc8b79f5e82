// From the platform's record of an item to the core library's. Internal to this folder.
#pragma once

#include "Platform/FileFacts.h"
#include "VKCoreKit/VKFileMgr.h"

inline VKItemKind itemKind(VKPlatform::FileKind kind) {
    switch (kind) {
    case VKPlatform::FileKind::File:
        return VKItemKind::File;
    case VKPlatform::FileKind::Folder:
        return VKItemKind::Folder;
    case VKPlatform::FileKind::Link:
        return VKItemKind::Link;
    case VKPlatform::FileKind::Special:
        return VKItemKind::Special;
    case VKPlatform::FileKind::Unknown:
        break;
    }
    return VKItemKind::Unknown;
}

inline VKItemDetails itemDetails(const VKPlatform::FileDetails& facts) {
    VKItemDetails details;
    details.kind = itemKind(facts.kind);
    details.sizeInBytes = facts.sizeBytes;
    details.createdKnown = facts.createdMs.has_value();
    details.createdMs = facts.createdMs.value_or(0);
    details.modifiedKnown = facts.modifiedMs.has_value();
    details.modifiedMs = facts.modifiedMs.value_or(0);
    return details;
}

inline VKPlatform::LinkRule linkRule(bool followLinks) {
    return followLinks ? VKPlatform::LinkRule::Follow : VKPlatform::LinkRule::Keep;
}
