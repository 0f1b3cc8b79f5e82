// The version that a bundle or a shared library carries.
#include "VKCoreKit/VKFileMgr.h"

#include "CoreFoundation/CFQt.h"
#include "Platform/FileFacts.h"
#include "Platform/ReadableFile.h"
#include "Platform/Utf8.h"
#include "VKCoreKit/VKVersionRules.h"

#include <cerrno>
#include <cstdlib>
#include <memory>

namespace {

struct FoundVersion {
    QString text;
    VKVersionInfo info;
};

/// Where a bundle keeps its Info.plist: applications, frameworks, and those without inner folders.
constexpr const char* kInfoPlists[] = {"/Contents/Info.plist", "/Resources/Info.plist", "/Info.plist"};

/// errno, 0 when all of the file was read; EFBIG when it is longer than an Info.plist may be.
int readInfoPlist(const VKPlatform::ReadableFile& file, QByteArray& text) {
    // One byte more than the limit tells, whatever the file's size was.
    text.resize(kInfoPlistSizeLimit + 1);
    std::size_t count = 0;
    const int error = file.readAt(0, text.data(), static_cast<std::size_t>(text.size()), count);
    text.truncate(static_cast<qsizetype>(count));
    return error == 0 && text.size() > kInfoPlistSizeLimit ? EFBIG : error;
}

VKStatus versionOfInfoPlist(const VKPlatform::ReadableFile& file, FoundVersion& found) {
    QByteArray text;
    const int error = readInfoPlist(file, text);
    if (error != 0) {
        return static_cast<VKStatus>(error);
    }
    const std::optional<VKBundleVersions> versions = parseInfoPlist(text);
    if (!versions) {
        return kVKStatusNotUnderstood;
    }
    found.text = versions->shortVersion.isEmpty() ? versions->version : versions->shortVersion;
    found.info = bundleNumbers(*versions);
    return found.text.isEmpty() ? kVKStatusCancelled : kVKStatusSuccess;
}

VKStatus versionOfBundle(const QByteArray& folder, FoundVersion& found) {
    for (const char* const place : kInfoPlists) {
        VKPlatform::ReadableFile file;
        const int error = file.open(folder + place);
        if (error == 0) {
            return versionOfInfoPlist(file, found);
        }
        if (error != ENOENT && error != ENOTDIR) {
            return static_cast<VKStatus>(error);
        }
    }
    return kVKStatusCancelled;
}

VKStatus versionOfLibrary(const QByteArray& path, FoundVersion& found) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.constData(), nullptr), &std::free);
    if (!real) {
        return static_cast<VKStatus>(errno);
    }
    const QByteArrayView bytes(real.get());
    found.text = versionInLibraryName(VKPlatform::decodeUtf8(bytes.sliced(bytes.lastIndexOf('/') + 1)));
    found.info = versionNumbers(found.text);
    return found.text.isEmpty() ? kVKStatusCancelled : kVKStatusSuccess;
}

VKStatus versionOf(const QByteArray& path, FoundVersion& found) {
    VKPlatform::FileDetails details;
    const int error = VKPlatform::fileDetails(path, VKPlatform::LinkRule::Follow, details);
    if (error != 0) {
        return static_cast<VKStatus>(error);
    }
    switch (details.kind) {
    case VKPlatform::FileKind::Folder:
        return versionOfBundle(path, found);
    case VKPlatform::FileKind::File:
        return versionOfLibrary(path, found);
    default:
        return kVKStatusCancelled;
    }
}

} // namespace

VKStatus VKFileMgrGetFileVersionInfoCopy(CFURLRef url, CFStringRef* text, VKVersionInfo* info) {
    if (text != nullptr) {
        *text = nullptr;
    }
    if (url == nullptr) {
        return kVKStatusBadArgument;
    }
    const QByteArray path = CFURLCopyFileSystemBytes(url);
    if (path.isNull()) {
        return kVKStatusNotConvertible;
    }
    FoundVersion found;
    const VKStatus status = versionOf(path, found);
    if (status != kVKStatusSuccess) {
        return status;
    }
    if (text != nullptr) {
        *text = CFStringCreateWithQString(found.text);
    }
    if (info != nullptr) {
        *info = found.info;
    }
    return kVKStatusSuccess;
}
