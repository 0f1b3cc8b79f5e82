// Which of the two knows a standard location better.
#include "VKQtStandardFolders.h"

#include "VKQtStringUtils.h"

#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKFileMgr.h>

#include <QDir>

#include <optional>

namespace VKQtStandardFolders {

namespace {

std::optional<VKUserFolder> userFolder(QStandardPaths::StandardLocation location) {
    switch (location) {
    case QStandardPaths::DesktopLocation:
        return VKUserFolder::Desktop;
    case QStandardPaths::DocumentsLocation:
        return VKUserFolder::Documents;
    case QStandardPaths::DownloadLocation:
        return VKUserFolder::Downloads;
    case QStandardPaths::MusicLocation:
        return VKUserFolder::Music;
    case QStandardPaths::PicturesLocation:
        return VKUserFolder::Pictures;
    case QStandardPaths::MoviesLocation:
        return VKUserFolder::Videos;
    default:
        return std::nullopt;
    }
}

} // namespace

QString writableLocation(QStandardPaths::StandardLocation location) {
    const std::optional<VKUserFolder> folder = userFolder(location);
    if (!folder || QStandardPaths::isTestModeEnabled()) {
        return QDir::fromNativeSeparators(QStandardPaths::writableLocation(location));
    }
    VKCFRef<CFURLRef> url;
    return VKFileMgrGetUserFolderCopy(*folder, url.out()) == kVKStatusSuccess
               ? VKQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(url.get())
               : QString();
}

} // namespace VKQtStandardFolders
