// The texts of the bookmark keys.
// Files that applications have written hold them: none may change.
#include "VKBookmarkKeys.h"

VKBookmarkKey::operator CFStringRef() const {
    switch (mName) {
    case Path:
        return CFSTR("name");
    case Data:
        return CFSTR("data");
    case File:
        return CFSTR("file");
    case Refcon:
        return CFSTR("refcon");
    case FileIsRemoved:
        break;
    }
    return CFSTR("fileIsRemoved");
}
