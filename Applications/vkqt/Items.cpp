// Everything goes the library's one way: from the path to its URL, which holds the name as it is on disk.
#include "Items.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCoreKit.h>
#include <VKQtPathFilter.h>
#include <VKQtStringUtils.h>

#include <vector>

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

QDateTime utcTime(bool known, std::int64_t milliseconds) {
    return known ? QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC) : QDateTime();
}

} // namespace

ItemFacts askDisk(const QString& path) {
    ItemFacts facts;
    const auto url = VKCFRef<CFURLRef>::adopt(VKQtPath(path, false).createCFUrl());
    if (!url) {
        facts.status = kVKStatusNotConvertible;
        return facts;
    }
    VKItemDetails details;
    facts.status = VKFileMgrGetItemDetails(url.get(), false, &details);
    if (facts.status == 0 && details.kind == VKItemKind::Link) {
        facts.isLink = true;
        VKItemDetails named;
        if (VKFileMgrGetItemDetails(url.get(), true, &named) == 0) {
            details = named;
        } else {
            facts.isDangling = true;
            details.sizeInBytes = 0;
        }
    }
    if (facts.status == 0) {
        facts.isFolder = details.kind == VKItemKind::Folder;
        facts.size = facts.isFolder ? 0 : details.sizeInBytes;
        facts.created = utcTime(details.createdKnown, details.createdMs);
        facts.modified = utcTime(details.modifiedKnown, details.modifiedMs);
    }
    return facts;
}

QString kindOf(const VKQtPath& path) {
    if (path.isFolder()) {
        return u"folder"_s;
    }
    if (VKQtPathFilter::isVideo(path)) {
        return u"video"_s;
    }
    return VKQtPathFilter::isPhoto(path) ? u"photo"_s : u"file"_s;
}

QStringList formatsOf(const VKQtPath& path) {
    struct Test {
        bool (VKQtPath::*holds)() const noexcept;
        QString format;
    };
    const Test tests[] = {
        {&VKQtPath::isJPG, u"JPEG"_s},  {&VKQtPath::isPNG, u"PNG"_s},
        {&VKQtPath::isGIF, u"GIF"_s},   {&VKQtPath::isTiff, u"TIFF"_s},
        {&VKQtPath::isHeic, u"HEIC"_s}, {&VKQtPath::isDNG, u"DNG"_s},
        {&VKQtPath::isXMP, u"XMP"_s},   {&VKQtPath::isPhotoshop, u"Photoshop"_s},
        {&VKQtPath::isVKX, u"VKX"_s},   {&VKQtPath::isVKPhoto, u"VKPhoto"_s},
    };
    QStringList formats;
    for (const Test& test : tests) {
        if ((path.*test.holds)()) {
            formats << test.format;
        }
    }
    return formats;
}

QByteArray bytesOnDisk(const VKQtPath& path) {
    const auto url = VKCFRef<CFURLRef>::adopt(path.createCFUrl());
    return url ? CFURLCopyFileSystemBytes(url.get()) : QByteArray();
}

QByteArray bytesAsGiven(const VKQtPath& path) {
    const auto url = VKCFRef<CFURLRef>::adopt(path.createCFUrl());
    if (!url) {
        return {};
    }
    // What is resolved is never shorter, so its length is room enough.
    std::vector<UInt8> buffer(static_cast<std::size_t>(CFURLCopyFileSystemBytes(url.get()).size()) + 1);
    const auto size = static_cast<CFIndex>(buffer.size());
    const bool fits = CFURLGetFileSystemRepresentation(url.get(), false, buffer.data(), size);
    return fits ? QByteArray(reinterpret_cast<const char*>(buffer.data())) : QByteArray();
}

QString fileUrlText(const VKQtPath& path) {
    const auto url = VKCFRef<CFURLRef>::adopt(path.createCFUrl());
    const auto absolute = VKCFRef<CFURLRef>::adopt(url ? CFURLCopyAbsoluteURL(url.get()) : nullptr);
    return VKQtStringUtils::createQStringFromCFUrlRef(absolute.get());
}

} // namespace VKTool
