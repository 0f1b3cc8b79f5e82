// Everything goes the library's one way: from the path to its URL, which holds the name as it is on disk.
#include "Items.h"

#include "CommandLine.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCoreKit.h>
#include <VKQtPathFilter.h>
#include <VKQtStringUtils.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

QDateTime utcTime(bool known, std::int64_t milliseconds) {
    return known ? QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC) : QDateTime();
}

namespace fs = std::filesystem;

// The folders that the library takes for the home folder: $HOME and that of the account.
std::vector<fs::path> homeFolders() {
    std::vector<fs::path> homes;
    const passwd* const account = ::getpwuid(::geteuid());
    for (const char* home : {std::getenv("HOME"), account != nullptr ? account->pw_dir : nullptr}) {
        std::error_code error;
        const fs::path real = home != nullptr && *home == '/' ? fs::canonical(home, error) : fs::path();
        if (!error && !real.empty()) {
            homes.push_back(real);
        }
    }
    return homes;
}

bool isMountPoint(const fs::path& place) {
    const auto text = VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(decodeBytes(place.c_str())));
    return VKCFRef<CFURLRef>::adopt(VKVolumesCreateURL(text.get())).get() != nullptr;
}

bool isBelow(const fs::path& item, const fs::path& folder) {
    const fs::path way = item.lexically_relative(folder);
    return !way.empty() && *way.begin() != ".." && *way.begin() != ".";
}

// What makes the library refuse an item as in use; empty when that is not what the item is.
QString whatIsKept(const fs::path& item) {
    if (item == "/") {
        return u"is the root of the file system"_s;
    }
    const std::vector<fs::path> homes = homeFolders();
    for (const fs::path& home : homes) {
        if (item == home) {
            return u"is the home folder"_s;
        }
    }
    if (isMountPoint(item)) {
        return u"is a mount point"_s;
    }
    for (const fs::path& home : homes) {
        if (isBelow(home, item)) {
            return u"holds the home folder"_s;
        }
    }
    return QString();
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

QString reasonKept(const QString& path, Disposal disposal, VKStatus status) {
    if (status != EBUSY) {
        return reasonOf(status);
    }
    fs::path given(bytesOnDisk(VKQtPath(path, false)).toStdString());
    if (!given.has_filename()) { // "/", or with a slash at the end
        given = given.parent_path();
    }
    if (given.filename() == "." || given.filename() == "..") {
        return u"is no name of an item"_s;
    }
    std::error_code error;
    const fs::path item = fs::canonical(given.parent_path(), error) / given.filename();
    if (QString what = error ? QString() : whatIsKept(item); !what.isEmpty()) {
        return what;
    }
    return disposal == Disposal::Recycle ? u"holds a mount point, or belongs to a recycle bin"_s
                                         : u"holds a mount point, or somebody goes on changing it"_s;
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
