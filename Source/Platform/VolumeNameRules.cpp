// Which of a volume's names is shown.
#include "Platform/VolumeNames.h"

namespace VKPlatform {

QByteArray displayName(QByteArrayView place, const VolumeNames& names) {
    for (const QByteArray& name : {names.chosen, names.label}) {
        if (!name.trimmed().isEmpty()) {
            return name.trimmed();
        }
    }
    if (place == QByteArrayView("/")) {
        return names.host.isEmpty() ? QByteArray("/") : names.host;
    }
    return place.sliced(place.lastIndexOf('/') + 1).toByteArray();
}

} // namespace VKPlatform
