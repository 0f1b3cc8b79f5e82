// All keyboard shortcuts of the suite on one sheet: groups in columns, each key as a key.
#pragma once

#include <QImage>

/// Needs a QGuiApplication, for the fonts. A null image when the machine has none.
[[nodiscard]] QImage paintPoster();
