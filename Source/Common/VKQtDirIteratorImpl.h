// The listing of this system: the core library's folder reader behind VKQtDirIterator's rules.
#pragma once

#include "VKQtDirIterator.h"
#include "VKQtExtensionSet.h"

#include <VKCoreKit/VKFolderReader.h>

class VKQtDirIteratorImpl final : public VKQtDirIterator {
public:
    VKQtDirIteratorImpl(const VKQtPath& folder, const VKQtPathFilter& filter);

    [[nodiscard]] bool next(Entry& entry) override;

private:
    [[nodiscard]] bool open();
    [[nodiscard]] bool take(Entry& entry);
    void readName();
    [[nodiscard]] VKStatus askDisk(VKItemDetails& details, bool& isLink) const;
    void setEntryPath(Entry& entry, bool isFolder) const;

    VKQtExtensionSet mExtensions;
    qsizetype mPrefixLength = 0; ///< of the text of every entry's path before its name
    QString mText;               ///< the prefix, then room in which plain names are spelled
    QString mOddName;            ///< a name that is not plain
    QStringView mName;           ///< the entry's: in mText or mOddName
    bool mIsPlain = true;
    const QDateTime mUtc = QDateTime::fromMSecsSinceEpoch(0, Qt::UTC);
    VKFolderReader mReader;
    VKFolderEntry mItem; ///< without its text
    bool mOpened = false;
};
