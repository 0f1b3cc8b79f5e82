// Filters that the tests of filters and listings write down as short texts.
#pragma once

#include <VKQtPathFilter.h>

#include <QString>
#include <QStringList>

// A default filter with some switches changed: "-folders", "-files", "+hidden", "+all", "-videos", "-packages".
inline VKQtPathFilter filterWith(const QString& changes) {
    VKQtPathFilter filter;
    for (const QString& change : changes.split(u' ', Qt::SkipEmptyParts)) {
        const bool on = change.startsWith(u'+');
        const QString name = change.mid(1);
        bool* const field = name == u"folders"    ? &filter.mIncludeFolders
                            : name == u"files"    ? &filter.mIncludeFiles
                            : name == u"hidden"   ? &filter.mIncludeHidden
                            : name == u"all"      ? &filter.mAcceptAllFiles
                            : name == u"videos"   ? &filter.mIncludeVideos
                            : name == u"packages" ? &filter.mIncludePackages
                                                  : nullptr;
        if (field == nullptr) {
            qFatal("no such switch: %s", qPrintable(change));
        }
        *field = on;
    }
    return filter;
}

/// Keeps whatever a listing can hold, but folders excluded by name, ending or place.
inline VKQtPathFilter everything() { return filterWith(QStringLiteral("+hidden +all")); }
