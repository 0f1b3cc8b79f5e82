// The members of VKQtPath that look at the disk or change it.
#include "VKQtPath.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKCoreKit/VKLog.h>

#include <QDateTime>

#include <sys/stat.h>
#include <sys/time.h>

namespace {

using Url = VKCFRef<CFURLRef>;

/// The bytes that name the item on disk; null when the text names none.
QByteArray bytesOnDisk(const VKQtPath& path) {
    return CFURLCopyFileSystemBytes(Url::adopt(path.createCFUrl()).get());
}

/// Of the item itself, also when it is a link.
VKStatus detailsOf(const VKQtPath& path, VKItemDetails& details) {
    const Url url = Url::adopt(path.createCFUrl());
    if (!url) {
        return kVKStatusNotConvertible;
    }
    return VKFileMgrGetItemDetails(url.get(), false, &details) == kVKStatusSuccess ? kVKStatusSuccess
                                                                                   : kVKStatusNoAttributes;
}

} // namespace

bool VKQtPath::exists() const {
    const Url url = Url::adopt(createCFUrl());
    return url && VKFileMgrPathExists(url.get());
}

VKStatus VKQtPath::remove() const {
    const Url url = Url::adopt(createCFUrl());
    return url ? VKFileMgrDeleteFolder(url.get()) : kVKStatusSuccess;
}

VKStatus VKQtPath::move(const VKQtPath& to) const {
    const Url from = Url::adopt(createCFUrl());
    const Url target = Url::adopt(to.createCFUrl());
    return from && target ? VKFileMgrMoveFile(from.get(), target.get()) : kVKStatusSuccess;
}

void VKQtPath::touch() const {
    const QByteArray bytes = bytesOnDisk(*this);
    if (!bytes.isNull()) {
        static_cast<void>(::utimes(bytes.constData(), nullptr));
    }
}

VKStatus VKQtPath::stat(struct ::stat& out) const {
    const QByteArray bytes = bytesOnDisk(*this);
    return !bytes.isNull() && ::stat(bytes.constData(), &out) == 0 ? kVKStatusSuccess : kVKStatusStatFailed;
}

VKStatus VKQtPath::created(QDateTime& out) const {
    VKItemDetails details;
    const VKStatus status = detailsOf(*this, details);
    if (status == kVKStatusSuccess && details.createdKnown) {
        out = QDateTime::fromMSecsSinceEpoch(details.createdMs, Qt::UTC);
    }
    return status;
}

VKStatus VKQtPath::lastModifiedDate(QDateTime& out) const {
    VKItemDetails details;
    const VKStatus status = detailsOf(*this, details);
    if (status == kVKStatusSuccess && details.modifiedKnown) {
        // Deliberately not in UTC, unlike created(): callers show it as it is.
        out = QDateTime::fromMSecsSinceEpoch(details.modifiedMs);
    }
    return status;
}

VKStatus VKQtPath::isDirWriteable(VKQtPath& dir, bool& writable) {
    // The line of old, by which these events are known; it does not follow the source.
    constexpr int kLoggedLine = 1025;
    writable = false;
    const Url url = Url::adopt(dir.createCFUrl());
    if (!url) {
        VKLogEvent(kVKStatusNotConvertible, "VKQtCore/Source/Common/VKQtPath", kLoggedLine);
        return kVKStatusNotConvertible;
    }
    bool answer = false;
    const VKStatus status = VKFileMgrGetFolderWritable(url.get(), &answer);
    writable = status == kVKStatusWritabilityUnknown ? QFileInfo(dir.mPath).isWritable() : answer;
    return status;
}

VKStatus VKQtPath::isWriteable(bool& writable) const {
    VKQtPath folder = mFolder ? *this : pathOnly();
    return isDirWriteable(folder, writable);
}
