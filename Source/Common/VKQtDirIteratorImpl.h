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
    void setEntryPath(Entry& entry, bool isFolder) const;

    VKQtExtensionSet mExtensions;
    QString mPrefix; ///< the text of every entry's path before its name
    const QDateTime mUtc = QDateTime::fromMSecsSinceEpoch(0, Qt::UTC);
    VKFolderReader mReader;
    VKFolderEntry mItem;
    bool mOpened = false;
};
