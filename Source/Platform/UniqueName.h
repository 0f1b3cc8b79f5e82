// Names for copies: "name copy.ext", "name copy 2.ext"... Pure rules on text, and the look at the folder.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <cstdint>
#include <optional>

namespace VKPlatform {

enum class NameShape : std::uint8_t {
    File,   ///< what follows the last dot stays at the end
    Folder, ///< dots are part of the name
};

/// A name in the parts between which the copy's word and number go.
///
///     "a.jpg"           -> "a", 0, ".jpg"            "a copy.jpg"    -> "a", 1, ".jpg"
///     "a copy 7.jpg"    -> "a", 7, ".jpg"            "a copy 1.jpg"  -> "a copy 1", 0, ".jpg"
///     "b.tar.gz"        -> "b", 0, ".tar.gz"         "b.2026.jpg"    -> "b.2026", 0, ".jpg"
///     ".profile"        -> ".profile", 0, ""         ".a.json"       -> ".a", 0, ".json"
///     "No. 5 at noon"   -> "No. 5 at noon", 0, ""    " copy.jpg"     -> " copy", 0, ".jpg"
struct NameParts {
    QString stem;
    int number = 0; ///< 0: the name itself; 1: "stem copy"; n: "stem copy n"
    QString extension;
};

/// An extension has a dot in front that is not the name's first character, one to sixteen characters after it,
/// and none of them is a blank; before a compressor's (".gz") ".tar" belongs to it. A folder has none.
[[nodiscard]] NameParts nameParts(const QString& name, NameShape shape, const QString& copyWord);

/// The parts put together in form C, with the given number. The stem is cut between characters as a person
/// sees them, and loses blanks at the cut, so that the name has at most `limitBytes` in UTF-8. Nothing when
/// not one character of the stem would be left, and for a text that has no UTF-8.
[[nodiscard]] std::optional<QByteArray> numberedName(const NameParts& parts, int number,
                                                     const QString& copyWord, qsizetype limitBytes);

/// How many numbers are tried: more copies than that of one name are somebody's mistake.
inline constexpr int kUniqueNameTries = 100'000;

/// A name that nothing in `folder` has now, or shows as its text (so that no path is ambiguous afterwards).
/// Tries `name` itself when `firstNumber` is 0, then its copies from `firstNumber` or the number that the name
/// already carries on. errno: EINVAL for an empty name, "." and "..", one with "/" or NUL, a text without UTF-8,
/// an empty word, a negative number; ENAMETOOLONG when the word leaves no room; EEXIST after `tries` names;
/// EACCES and so on when the folder does not tell. In a folder that does not exist every name is free.
/// Costs one look-up a name tried, and one listing of the folder for names that can be spelled in several ways.
[[nodiscard]] int uniqueName(const QByteArray& folder, const QString& name, NameShape shape,
                             const QString& copyWord, int firstNumber, QByteArray& out,
                             int tries = kUniqueNameTries);

} // namespace VKPlatform
