// The security token that the process holds for a path.
#include "VKBookmarkManager.h"
#include "VKQtPathUtils.h"

VKStatus VKQtPathUtils::loadSecurityToken(VKQtPath& path) {
    // No instance is made for this: it registers folders at its construction and asks for their tokens.
    VKBookmarkManager* const manager = VKBookmarkManager::existingInstance();
    const auto url = VKCFRef<CFURLRef>::adopt(path.createCFUrl());
    if (manager != nullptr && url) {
        const VKBookmarkManager::Found found = manager->find(url.get());
        if (found.bookmark) {
            path.setSecurityToken(found.bookmark.get());
        }
    }
    return kVKStatusSuccess;
}
