// The path rules once more, written as plainly as they can be said and sharing nothing with the library: text in,
// text out, one step after the other. The fuzzers hold the library against it.
#pragma once

#include <QString>
#include <QStringList>

namespace PathModel {

QString normalized(const QString& text, bool folder);
QString filename(const QString& path, bool folder);
QString baseName(const QString& path);
QString suffix(const QString& path);
QStringList split(const QString& path);

/// The text that a path of this text and the part give, `macRules` deciding about the slash between them.
QString appended(const QString& path, const QString& part, bool folder, bool macRules);

/// The text of the container; null (not merely empty) for a drive root, which has none.
QString container(const QString& path, bool folder);

QStringList parents(const QString& path, bool folder, bool macRules);

/// The text after its last component is dropped.
QString withoutLast(const QString& path, bool macRules);

/// Whether a path with this text and flag lies at or below the prefix.
bool isInside(const QString& path, bool folder, const QString& prefix, bool prefixIsFolder);

} // namespace PathModel
