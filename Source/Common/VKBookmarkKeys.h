// The keys of a bookmark's dictionary, in memory and in the files that applications keep.
// They are read by VKBookmark and by VKQtPath.
#pragma once

#include "VKQtExport.h"

#include <CoreFoundation/CoreFoundation.h>

/// A key, which stands for its string wherever a CFStringRef is asked for. The string is made on first use, so
/// that loading the library makes nothing; it lives for ever. Any thread.
class VKBookmarkKey {
public:
    enum Name { Path, Data, File, Refcon, FileIsRemoved };

    constexpr explicit VKBookmarkKey(Name name) noexcept : mName(name) {}
    VKQT_EXPORT operator CFStringRef() const; // NOLINT: it stands for the string

private:
    Name mName;
};

/// "name": the path, a string. The text is deliberately not "path": it is what existing files hold.
inline constexpr VKBookmarkKey kBookmarkPath{VKBookmarkKey::Path};
/// "data": the bookmark data or security token; left out when there is none.
inline constexpr VKBookmarkKey kBookmarkData{VKBookmarkKey::Data};
/// "file": an integer, 1 for a file and 0 for a folder.
inline constexpr VKBookmarkKey kBookmarkFile{VKBookmarkKey::File};
/// "refcon": an integer of the application's own.
inline constexpr VKBookmarkKey kBookmarkRefcon{VKBookmarkKey::Refcon};
/// "fileIsRemoved": an integer, 1 when the item is known to be gone; may be missing, which is 0.
inline constexpr VKBookmarkKey kBookmarkFileIsRemoved{VKBookmarkKey::FileIsRemoved};
