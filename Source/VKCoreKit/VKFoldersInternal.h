// What product folders and well-known folders share.
#pragma once

#include "VKCoreKit/VKFileMgr.h"

#include <QByteArray>
#include <QStringView>

#include <optional>

/// The bytes of an item in a folder: the spelling on disk, or form C for what does not exist. Nothing when the
/// text can name no file.
[[nodiscard]] std::optional<QByteArray> pathInFolder(const QByteArray& folder, QStringView name);

/// A new folder URL that the caller releases.
[[nodiscard]] CFURLRef createFolderUrl(const QByteArray& path);

/// The bytes of a well-known folder, which is made where it is a place to write.
[[nodiscard]] VKStatus wellKnownFolder(VKFolderType type, QByteArray& path);
