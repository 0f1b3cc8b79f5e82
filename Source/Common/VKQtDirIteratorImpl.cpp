// One pass over the folder. The kernel's entry type and the filter decide first; the file system is asked for
// details once for each entry that they keep, and for no other.
#include "VKQtDirIteratorImpl.h"

#include "VKQtTextKernels.h"

#include <VKCoreKit/VKCFRef.h>

#include <algorithm>
#include <cerrno>

namespace {

// `utc` is any time in UTC: changing a copy costs half of making one from nothing.
QDateTime utcTime(const QDateTime& utc, bool known, qint64 milliseconds) {
    if (!known) {
        return QDateTime();
    }
    QDateTime time = utc;
    time.setMSecsSinceEpoch(milliseconds);
    return time;
}

// QString's own way to join two texts takes memory for the first one, and then for both.
QString joined(QStringView first, QStringView second) {
    QString text(first.size() + second.size(), Qt::Uninitialized);
    QChar* const units = text.data();
    std::copy(first.begin(), first.end(), units);
    std::copy(second.begin(), second.end(), units + first.size());
    return text;
}

} // namespace

VKQtDirIteratorImpl::VKQtDirIteratorImpl(const VKQtPath& folder, const VKQtPathFilter& filter)
    : VKQtDirIterator(folder, filter), mExtensions(this->filter()) {
    // What joining puts before a name, asked once: names neither begin with "/" nor are empty.
    VKQtPath child = root();
    child.append(QStringLiteral("x"), false);
    mPrefix = child.path().chopped(1);
}

bool VKQtDirIteratorImpl::open() {
    mOpened = true;
    const auto url = VKCFRef<CFURLRef>::adopt(root().createCFUrl());
    const VKStatus status = url ? mReader.open(url.get()) : kVKStatusNotConvertible;
    if (status != kVKStatusSuccess) {
        finish(status);
    }
    return status == kVKStatusSuccess;
}

bool VKQtDirIteratorImpl::next(Entry& entry) {
    if (isDone() || (!mOpened && !open())) {
        return false;
    }
    while (mReader.next(mItem)) {
        if (take(entry)) {
            return true;
        }
    }
    finish(mReader.status());
    mReader.close();
    return false;
}

void VKQtDirIteratorImpl::setEntryPath(Entry& entry, bool isFolder) const {
    // As root().append() would, token dropped and volume kept.
    entry.path = root();
    const QString text = joined(mPrefix, mItem.name);
    if (root().hasVolumeID()) {
        entry.path.setPath(text, isFolder, root().volumeID());
    } else {
        entry.path.setPath(text, isFolder);
    }
}

// Whether the reader's entry is listed; `entry` is filled if so.
bool VKQtDirIteratorImpl::take(Entry& entry) {
    if (!filter().mIncludeHidden && mItem.name.startsWith(u'.')) {
        return false;
    }
    // A path reads "\" as a separator, so the name would lead somewhere else: shown as undecodable bytes are.
    if (VKQtTextKernels::lastIndexOf(mItem.name, u'\\') >= 0) {
        mItem.name.replace(u'\\', QChar(QChar::ReplacementCharacter));
    }

    bool isLink = mItem.kind == VKItemKind::Link;
    const bool kindOpen = isLink || mItem.kind == VKItemKind::Unknown;
    bool isFolder = mItem.kind == VKItemKind::Folder;
    const bool keptAsFile = !isFolder && filter().mIncludeFiles && !mExtensions.filters(mItem.name);
    bool keptAsFolder = (isFolder || kindOpen) && filter().mIncludeFolders;
    if (keptAsFolder) {
        setEntryPath(entry, true);
        keptAsFolder = !filter().isDirectoryFiltered(entry.path);
    }
    if (!keptAsFile && !keptAsFolder) {
        return false;
    }

    VKItemDetails details;
    if (fetchDetails() || kindOpen) {
        VKStatus status = mReader.details(isLink, details);
        if (status == kVKStatusSuccess && details.kind == VKItemKind::Link) {
            // The folder did not say that it is one, or it has become one meanwhile.
            isLink = true;
            status = mReader.details(true, details);
        }
        if (status != kVKStatusSuccess && isLink) {
            // It leads nowhere, in a circle, or where this process may not look: the link stands for itself.
            status = mReader.details(false, details);
        }
        if (status == ENOENT) {
            return false; // it vanished meanwhile
        }
        if (status == kVKStatusSuccess) {
            isFolder = details.kind == VKItemKind::Folder;
        }
    }
    if (isFolder ? !keptAsFolder : !keptAsFile) {
        return false;
    }
    if (!isFolder) {
        setEntryPath(entry, isFolder);
    }
    const bool dated = fetchDetails();
    entry.size = dated && details.kind == VKItemKind::File ? details.sizeInBytes : 0;
    entry.created = utcTime(mUtc, dated && details.createdKnown, details.createdMs);
    entry.modified = utcTime(mUtc, dated && details.modifiedKnown, details.modifiedMs);
    entry.isLink = isLink;
    return true;
}
