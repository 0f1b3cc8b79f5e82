// The platform's listing with names as text.
#include "VKCoreKit/VKFolderReader.h"

#include "Platform/FolderListing.h"
#include "Platform/Utf8.h"
#include "VKCoreKit/VKItemDetailsInternal.h"

#include <CoreFoundation/CFQt.h>

struct VKFolderReader::State {
    VKPlatform::FolderListing listing;
    VKPlatform::FolderListing::Entry entry;
    bool hasEntry = false;
};

VKFolderReader::VKFolderReader() noexcept = default;
VKFolderReader::~VKFolderReader() = default;
VKFolderReader::VKFolderReader(VKFolderReader&&) noexcept = default;
VKFolderReader& VKFolderReader::operator=(VKFolderReader&&) noexcept = default;

VKStatus VKFolderReader::open(CFURLRef folder) {
    close();
    if (folder == nullptr) {
        return kVKStatusBadArgument;
    }
    const QByteArray bytes = CFURLCopyFileSystemBytes(folder);
    if (bytes.isNull()) {
        return kVKStatusNotConvertible;
    }
    auto state = std::make_unique<State>();
    const int error = state->listing.open(bytes);
    if (error == 0) {
        mState = std::move(state);
    }
    return static_cast<VKStatus>(error);
}

bool VKFolderReader::next(VKFolderEntry& entry) {
    if (!nextRaw(entry)) {
        return false;
    }
    VKPlatform::decodeUtf8(entry.rawName, entry.name);
    return true;
}

bool VKFolderReader::nextRaw(VKFolderEntry& entry) {
    if (mState == nullptr) {
        return false;
    }
    mState->hasEntry = mState->listing.next(mState->entry);
    if (!mState->hasEntry) {
        return false;
    }
    entry.rawName = mState->entry.name;
    entry.kind = itemKind(mState->entry.kind);
    return true;
}

QString VKFolderReader::lastName() const {
    return mState == nullptr || !mState->hasEntry ? QString() : VKPlatform::decodeUtf8(mState->entry.name);
}

VKStatus VKFolderReader::status() const noexcept {
    return mState == nullptr ? kVKStatusSuccess : static_cast<VKStatus>(mState->listing.error());
}

VKStatus VKFolderReader::details(bool followLinks, VKItemDetails& details) const {
    if (mState == nullptr || !mState->hasEntry) {
        return kVKStatusBadArgument;
    }
    VKPlatform::FileDetails facts;
    const int error = mState->listing.details(mState->entry, linkRule(followLinks), facts);
    if (error == 0) {
        details = itemDetails(facts);
    }
    return static_cast<VKStatus>(error);
}

void VKFolderReader::close() noexcept { mState.reset(); }
