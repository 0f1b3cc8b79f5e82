// The framework's standard locations, those of the user's own folders as the desktop's settings have them.
#pragma once

#include <QStandardPaths>
#include <QString>

namespace VKQtStandardFolders {

/// The path of the location with "/" between its components; empty when there is none.
///
/// The user's own folders (desktop, pictures, ...) come from the core library, because the framework takes one that
/// the user has switched off for the home folder, and a relative path for a place. In its test mode all come
/// from the framework.
[[nodiscard]] QString writableLocation(QStandardPaths::StandardLocation location);

} // namespace VKQtStandardFolders
