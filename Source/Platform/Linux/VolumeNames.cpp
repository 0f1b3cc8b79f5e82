// The machine's own name.
#include "Platform/VolumeNames.h"

#include <climits>
#include <unistd.h>

namespace VKPlatform {

QByteArray hostName() {
    char name[HOST_NAME_MAX + 1] = {};
    if (::gethostname(name, HOST_NAME_MAX) != 0) {
        return QByteArray();
    }
    const QByteArray whole(name);
    const qsizetype dot = whole.indexOf('.');
    return dot > 0 ? whole.first(dot) : whole;
}

} // namespace VKPlatform
