// When a target's name is the source's own in another spelling.
#include "Platform/FileMove.h"
#include "Platform/OnDiskName.h"

#include <QString>

namespace VKPlatform {

bool isOtherSpelling(QByteArrayView from, QByteArrayView to, const std::vector<QByteArray>& names,
                     QByteArray* entry) {
    const QString folded = displayedName(to).toCaseFolded();
    if (from == to || displayedName(from).toCaseFolded() != folded) {
        return false;
    }
    const QByteArray* only = nullptr;
    for (const QByteArray& name : names) {
        if (name == to) {
            return false;
        }
        if (displayedName(name).toCaseFolded() == folded) {
            if (only != nullptr) {
                return false;
            }
            only = &name;
        }
    }
    if (only == nullptr) {
        return false;
    }
    *entry = *only;
    return true;
}

} // namespace VKPlatform
