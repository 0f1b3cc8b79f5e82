// A listing that is complete before anything is done to the folder, and knows what sort each entry is.
#include "Platform/Linux/TreeEntries.h"
#include "Platform/FolderListing.h"

#include <cerrno>

namespace VKPlatform {

int entriesOf(const FileDescriptor& folder, std::vector<TreeEntry>& out) {
    FolderListing listing;
    if (const int error = listing.openAt(folder); error != 0) {
        return error;
    }
    for (FolderListing::Entry entry; listing.next(entry);) {
        FileKind kind = entry.kind;
        if (kind == FileKind::Unknown) {
            FileDetails details;
            const int error = listing.details(entry, LinkRule::Keep, details);
            if (error == ENOENT) {
                continue;
            }
            if (error != 0) {
                return error;
            }
            kind = details.kind;
        }
        out.push_back({entry.name.toByteArray(), kind});
    }
    return listing.error();
}

} // namespace VKPlatform
