// One pass over the folder. The kernel's entry type and the filter decide first; the file system is asked for
// details once for each entry that they keep, and for no other.
#include "VKQtDirIteratorImpl.h"

#include "VKQtTextKernels.h"

#include <VKCoreKit/VKCFRef.h>

#include <QStringBuilder>

#include <cerrno>

namespace {

// `utc` is any time in UTC: changing a copy costs half of making one from nothing.
void setUtcTime(QDateTime& time, const QDateTime& utc, bool known, qint64 milliseconds) {
    time = known ? utc : QDateTime();
    if (known) {
        time.setMSecsSinceEpoch(milliseconds);
    }
}

constexpr qsizetype kPlainNameRoom = 256;

} // namespace

VKQtDirIteratorImpl::VKQtDirIteratorImpl(const VKQtPath& folder, const VKQtPathFilter& filter)
    : VKQtDirIterator(folder, filter), mExtensions(this->filter()) {
    // What joining puts before a name, asked once: names neither begin with "/" nor are empty.
    VKQtPath child = root();
    child.append(QStringLiteral("x"), false);
    mPrefixLength = child.path().size() - 1;
    mText = child.path();
    mText.resize(mPrefixLength + kPlainNameRoom);
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
    while (mReader.nextRaw(mItem)) {
        if (take(entry)) {
            return true;
        }
    }
    finish(mReader.status());
    mReader.close();
    return false;
}

// A plain name is spelled behind the prefix in mText, which takes no memory and leaves nothing to normalise: the
// prefix is canonical, and ASCII never combines with what stands before it.
void VKQtDirIteratorImpl::readName() {
    const QByteArrayView raw = mItem.rawName;
    char16_t* const room = reinterpret_cast<char16_t*>(mText.data()) + mPrefixLength;
    mIsPlain = raw.size() <= kPlainNameRoom && VKQtTextKernels::widenPlainName(room, raw);
    if (mIsPlain) {
        mName = QStringView(room, raw.size());
        return;
    }
    mOddName = mReader.lastName();
    // A path reads "\" as a separator, so the name would lead somewhere else: shown as undecodable bytes are.
    mOddName.replace(u'\\', QChar(QChar::ReplacementCharacter));
    mName = mOddName;
}

void VKQtDirIteratorImpl::setEntryPath(Entry& entry, bool isFolder) const {
    if (mIsPlain) {
        entry.path.becomeEntry(root(), QString(mText.constData(), mPrefixLength + mName.size()), isFolder);
        return;
    }
    const QString text = QStringView(mText).first(mPrefixLength) % mName;
    entry.path.becomeEntry(root(), root().normalize(text, isFolder), isFolder);
}

// What the reader's entry is, by one system call unless a link makes it two.
VKStatus VKQtDirIteratorImpl::askDisk(VKItemDetails& details, bool& isLink) const {
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
    return status;
}

// Whether the reader's entry is listed; `entry` is filled if so.
bool VKQtDirIteratorImpl::take(Entry& entry) {
    if (!filter().mIncludeHidden && mItem.rawName.front() == '.') {
        return false;
    }
    readName();
    bool isLink = mItem.kind == VKItemKind::Link;
    const bool kindOpen = isLink || mItem.kind == VKItemKind::Unknown;
    bool isFolder = mItem.kind == VKItemKind::Folder;
    const bool keptAsFile = !isFolder && filter().mIncludeFiles && !mExtensions.filters(mName);
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
        const VKStatus status = askDisk(details, isLink);
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
    setUtcTime(entry.created, mUtc, dated && details.createdKnown, details.createdMs);
    setUtcTime(entry.modified, mUtc, dated && details.modifiedKnown, details.modifiedMs);
    entry.isLink = isLink;
    return true;
}
