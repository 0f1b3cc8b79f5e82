// The operations that the meta-type system asks for, each the path's own.
#include "VKQtPathQObjectSubclass.h"

#include <QDataStream>
#include <QDebug>

namespace {

const VKQtPath& pathOf(const VKQtPathQObjectSubclass& object) { return object; }

} // namespace

VKQtPathQObjectSubclass::VKQtPathQObjectSubclass() : QObject(nullptr) {
    // Not at the library's start, where every program would pay for it.
    static const int sId = qRegisterMetaType<VKQtPathQObjectSubclass>();
    static_cast<void>(sId);
}

VKQtPathQObjectSubclass::~VKQtPathQObjectSubclass() = default;

bool operator==(const VKQtPathQObjectSubclass& left, const VKQtPathQObjectSubclass& right) noexcept {
    return pathOf(left) == pathOf(right);
}

bool operator<(const VKQtPathQObjectSubclass& left, const VKQtPathQObjectSubclass& right) noexcept {
    return pathOf(left) < pathOf(right);
}

QDataStream& operator<<(QDataStream& stream, const VKQtPathQObjectSubclass& path) {
    return stream << pathOf(path);
}

QDataStream& operator>>(QDataStream& stream, VKQtPathQObjectSubclass& path) {
    return stream >> static_cast<VKQtPath&>(path);
}

QDebug operator<<(QDebug debug, const VKQtPathQObjectSubclass& path) {
    // At its end the saver brings quotes and spaces back, and adds the space that is due.
    const QDebugStateSaver saver(debug);
    debug.noquote().nospace() << path.path();
    return debug;
}
