// A path that is an object: it travels through the framework's meta-object system.
#pragma once

#include "VKQtExport.h"
#include "VKQtPath.h"

#include <QMetaType>
#include <QObject>

class QDataStream;
class QDebug;

/// An object without properties, signals or slots that is a VKQtPath. qobject_cast and qt_metacast() know both
/// names.
///
/// QMetaType::fromType<VKQtPathQObjectSubclass>() can compare, order, stream and print: each as the VKQtPath
/// does, so equality ignores case and order does not. The type is known by its name once the first object exists.
/// As every QObject it cannot be copied: pass a pointer.
class VKQT_EXPORT VKQtPathQObjectSubclass : public QObject, public VKQtPath {
    Q_OBJECT

public:
    /// An empty path without a parent.
    VKQtPathQObjectSubclass();
    ~VKQtPathQObjectSubclass() override;
};

[[nodiscard]] VKQT_EXPORT bool operator==(const VKQtPathQObjectSubclass& left,
                                          const VKQtPathQObjectSubclass& right) noexcept;
[[nodiscard]] VKQT_EXPORT bool operator<(const VKQtPathQObjectSubclass& left,
                                         const VKQtPathQObjectSubclass& right) noexcept;

/// The form of VKQtPath's own stream operators.
VKQT_EXPORT QDataStream& operator<<(QDataStream& stream, const VKQtPathQObjectSubclass& path);
VKQT_EXPORT QDataStream& operator>>(QDataStream& stream, VKQtPathQObjectSubclass& path);

/// The text as it is, without quotes; a space follows where the stream inserts spaces.
VKQT_EXPORT QDebug operator<<(QDebug debug, const VKQtPathQObjectSubclass& path);
