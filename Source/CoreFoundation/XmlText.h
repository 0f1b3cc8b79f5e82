// The text of an XML document from elsewhere, fit for the framework's parser. Pure. Not installed.
//
// That parser is not bounded by itself: it compares each attribute of a tag with all those before it, and expands
// the entities of a document type while it reads them, so that a few hundred bytes keep it busy for hours.
#pragma once

#include <QByteArray>
#include <QString>

namespace CoreFoundation {

/// The longest tag or document type that is taken, from "<" to ">".
inline constexpr qsizetype kMostTagCharacters = 1024;

/// Decodes the bytes: UTF-8, UTF-16 with a byte-order mark, ISO-8859-1, as the text declares. Null and the text,
/// or what is wrong, in words for developers: another encoding, bytes that are not valid in theirs, a tag over
/// kMostTagCharacters, a document type with declarations of its own. Whether it is XML the parser tells.
[[nodiscard]] const char* decodeXml(QByteArrayView bytes, QString& text);

} // namespace CoreFoundation
