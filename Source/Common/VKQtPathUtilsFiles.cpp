// What may be done to files and folders: each path becomes a URL with the name on disk, and the core library does
// the work.
#include "VKQtPathUtils.h"

#include "VKQtPathUtilsLog.h"
#include "VKQtStringUtils.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKFolderReader.h>

#include <QCoreApplication>

#include <cerrno>

namespace {

using Url = VKCFRef<CFURLRef>;

Url urlOf(const VKQtPath& path) { return Url::adopt(path.createCFUrl()); }

VKStatus deleteByFlag(CFURLRef url, bool isFolder) {
    return isFolder ? VKFileMgrDeleteFolder(url) : VKFileMgrDeleteFile(url);
}

bool differInCaseOnly(const VKQtPath& from, const VKQtPath& to) {
    return from == to && from.path() != to.path();
}

/// A free name beside the item; null when none can be made.
Url freeNameBeside(const VKQtPath& where, const QString& name, bool isFile) {
    const Url place = urlOf(where);
    if (!place || name.isEmpty()) {
        return Url();
    }
    const QString copyWord = QCoreApplication::translate("VKQtPathUtils", "copy");
    const auto nameString = VKCFRef<CFStringRef>::adopt(VKQtStringUtils::createCFStringRefFromQString(name));
    const auto wordString =
        VKCFRef<CFStringRef>::adopt(VKQtStringUtils::createCFStringRefFromQString(copyWord));
    return Url::adopt(
        VKFileMgrCreateUniquePathName(place.get(), nameString.get(), isFile, wordString.get(), 0));
}

VKQtPath pathOf(CFURLRef url, bool isFolder) {
    VKQtPath path;
    if (url != nullptr) {
        path.setPath(url, isFolder, 0);
    }
    return path;
}

/// In two steps, which a file system that ignores case cannot mistake for nothing to do.
VKStatus moveThroughFreeName(CFURLRef from, CFURLRef between, CFURLRef to) {
    const VKStatus first = VKFileMgrMoveFile(from, between);
    if (first != kVKStatusSuccess) {
        return first;
    }
    const VKStatus second = VKFileMgrMoveFile(between, to);
    if (second != kVKStatusSuccess) {
        // Should this fail as well, the item is whole under its name of between, and the status tells.
        static_cast<void>(VKFileMgrMoveFile(between, from));
    }
    return second;
}

bool isVisibleFolder(const VKFolderReader& reader, const VKFolderEntry& entry) {
    if (entry.rawName.startsWith('.')) {
        return false;
    }
    if (entry.kind != VKItemKind::Unknown) {
        return entry.kind == VKItemKind::Folder;
    }
    VKItemDetails details;
    return reader.details(false, details) == kVKStatusSuccess && details.kind == VKItemKind::Folder;
}

} // namespace

VKStatus VKQtPathUtils::createFolder(VKQtPath& path) {
    return logged(VKFileMgrCreateDirectory(urlOf(path).get()), __LINE__);
}

VKStatus VKQtPathUtils::createDirectory(VKQtPath& path) {
    return logged(VKFileMgrCreateDirectory(urlOf(path).get()), __LINE__);
}

VKStatus VKQtPathUtils::deleteItem(VKQtPath& path) {
    return deleteByFlag(urlOf(path).get(), path.isFolder());
}

VKStatus VKQtPathUtils::recyleItem(VKQtPath& item, VKQtPath& outRecycled) {
    Url recycled;
    const VKStatus status = VKFileMgrRecycleItemCopy(urlOf(item).get(), recycled.out());
    if (status == kVKStatusSuccess && recycled) {
        outRecycled.setPath(recycled.get(), item.isFolder(), 0);
    }
    // Gone already is what the user wanted.
    return status == ENOENT ? status : logged(status, __LINE__);
}

bool VKQtPathUtils::canRecycleItem(VKQtPath& item) {
    const Url url = urlOf(item);
    return url && VKFileMgrCanRecycleItem(url.get());
}

VKStatus VKQtPathUtils::restoreRecycledItem(VKQtPath& recycled, VKQtPath& targetOrEmpty) {
    if (targetOrEmpty.path().isEmpty()) {
        return logged(VKFileMgrRestoreRecycledItem(urlOf(recycled).get(), nullptr), __LINE__);
    }
    const Url target = urlOf(targetOrEmpty);
    // Without this a target that can be no file would send the item back to where it came from.
    const VKStatus status =
        target ? VKFileMgrRestoreRecycledItem(urlOf(recycled).get(), target.get()) : kVKStatusBadArgument;
    return logged(status, __LINE__);
}

VKStatus VKQtPathUtils::copyFile(VKQtPath& from, VKQtPath& to) {
    return logged(VKFileMgrCopyFile(urlOf(from).get(), urlOf(to).get()), __LINE__);
}

VKStatus VKQtPathUtils::moveFile(VKQtPath& from, VKQtPath& to) {
    const Url fromUrl = urlOf(from);
    const Url toUrl = urlOf(to);
    if (!differInCaseOnly(from, to)) {
        return logged(VKFileMgrMoveFile(fromUrl.get(), toUrl.get()), __LINE__);
    }
    const Url between = freeNameBeside(from, from.filename(), false);
    return logged(moveThroughFreeName(fromUrl.get(), between.get(), toUrl.get()), __LINE__);
}

VKStatus VKQtPathUtils::copyRecursive(VKQtPath& from, VKQtPath& to, VKProgress* progress) {
    const Url toUrl = urlOf(to);
    const VKStatus status =
        from == to ? kVKStatusBadArgument : VKFileMgrCopyFolder(urlOf(from).get(), toUrl.get(), progress);
    if (status != kVKStatusSuccess) {
        // Deliberately also when `to` is `from`: callers see to it that it is not, and the header warns them.
        static_cast<void>(deleteByFlag(toUrl.get(), to.isFolder()));
    }
    return logged(status, __LINE__);
}

VKQtPath VKQtPathUtils::createPathWithUniqueName(VKQtPath& where, const QString& name, bool isFile) {
    return pathOf(freeNameBeside(where, name, isFile).get(), !isFile);
}

VKStatus VKQtPathUtils::createPathWithUniqueName2(VKQtPath& where, const QString& name, bool isFile,
                                                  VKQtPath& outPath) {
    const Url url = freeNameBeside(where, name, isFile);
    if (!url) {
        return logged(kVKStatusOutOfRange, __LINE__);
    }
    outPath = pathOf(url.get(), !isFile);
    return kVKStatusSuccess;
}

QString VKQtPathUtils::createCopyAppendingQTNormalizePathComponent(const QString& base,
                                                                   const QString& component) {
    return base.endsWith(u'/') ? QString(base + component) : QString(base + u'/' + component);
}

void VKQtPathUtils::getDirectories(const QString& folder, QList<QString>& outNames) {
    outNames.clear();
    const auto url = Url::adopt(VKQtStringUtils::createFileSystemRepresentationFromQString(folder, true));
    VKFolderReader reader;
    if (!url || reader.open(url.get()) != kVKStatusSuccess) {
        return;
    }
    VKFolderEntry entry;
    while (reader.next(entry)) {
        if (isVisibleFolder(reader, entry)) {
            // A path's text would take a backslash for a separator.
            outNames.append(QString(entry.name).replace(u'\\', QChar(QChar::ReplacementCharacter)));
        }
    }
}

VKStatus VKQtPathUtils::writeFileContents(CFDataRef data, VKQtPath& file) {
    return logged(VKFileMgrWriteFileContents(data, urlOf(file).get()), __LINE__);
}

VKStatus VKQtPathUtils::writeFileContents(const QByteArray& bytes, VKQtPath& file) {
    return writeFileContents(VKCFRef<CFDataRef>::adopt(CFDataCreateWithQByteArray(bytes)).get(), file);
}

VKStatus VKQtPathUtils::readFileContentsCopy(VKQtPath& file, CFDataRef& outData) {
    return logged(VKFileMgrGetFileContentsCopy(urlOf(file).get(), &outData), __LINE__);
}

VKStatus VKQtPathUtils::getFileVersionInfo(const QString& file, bool isFolder, QString& outText,
                                           VKVersionInfo& outInfo) {
    if (file.isEmpty()) {
        return logged(kVKStatusBadArgument, __LINE__);
    }
    const auto url = Url::adopt(VKQtStringUtils::createFileSystemRepresentationFromQString(file, isFolder));
    if (!url) {
        return kVKStatusSuccess;
    }
    VKCFRef<CFStringRef> text;
    const VKStatus status = VKFileMgrGetFileVersionInfoCopy(url.get(), text.out(), &outInfo);
    if (text) {
        outText = VKQtStringUtils::createQStringFromCFStringRef(text.get());
    }
    return logged(status, __LINE__);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): callers are built against this signature
void VKQtPathUtils::setFactoryContentLocation(VKQtPath folder) {
    VKFileMgrSetFactoryContentLocation(urlOf(folder).get());
}
