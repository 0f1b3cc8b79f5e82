// The step from a path's text to the bytes that name the item on disk.
//
// Paths are kept in Unicode form C, but a file system compares bytes: a name that was written decomposed, or
// that is not UTF-8 at all, is another name there. This finds it. Nothing is ever renamed, and an operation
// never meets an item that the text does not name without doubt. Any thread; touches the disk as said.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <optional>

namespace VKPlatform {

/// The bytes of the item that `text` names, absolute or relative to the working folder.
///
/// Component by component: the form C bytes when there is such an entry; otherwise the one entry of the
/// folder whose displayedName() equals the component; otherwise, and for everything after it, the form C
/// bytes, so that new items are written in form C.
/// - Several entries that show the same text, none of them in form C: none is taken, because any choice
///   could be the wrong photo. The path then names nothing.
/// - Links in the middle are followed as the kernel does; a link in the last component is not.
/// - "." and ".." and the number of slashes stay as they are.
/// - A folder that cannot be searched or read: form C from there on.
/// - An embedded NUL or an unpaired surrogate has no bytes: nothing. An empty text: no bytes, an empty array.
///
/// Cost: no system call when every character is ASCII other than 'K', ';' and '`' (nothing else can be
/// spelled in another way); otherwise one lstat when the form C bytes exist; otherwise a listing of the
/// folder of each component that is missing in form C.
[[nodiscard]] std::optional<QByteArray> onDiskPath(QStringView text);

/// The text that stands for a name on disk wherever paths are text: decoded with U+FFFD for what is not
/// UTF-8 and for a backslash, which a path's text would take for a separator; then in form C. Pure.
[[nodiscard]] QString displayedName(QByteArrayView name);

/// Whether the text (or, as UTF-8, the bytes of it) has no other canonically equal spelling: only ASCII, and
/// none of 'K', ';', '`', which U+212A, U+037E and U+1FEF turn into. Pure.
[[nodiscard]] bool hasOneSpelling(QStringView text);
[[nodiscard]] bool hasOneSpelling(QByteArrayView utf8);

} // namespace VKPlatform
