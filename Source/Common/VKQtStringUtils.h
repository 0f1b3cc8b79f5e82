// Text and bytes between the three string worlds: Qt values, CoreFoundation values and the core library's
// VKString; and the small text helpers that many classes share.
#pragma once

#include "VKQtExport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKStatus.h>
#include <VKCoreKit/VKStream.h>
#include <VKCoreKit/VKString.h>
#include <VKCoreKit/VKTypes.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <deque>
#include <set>
#include <string>
#include <vector>

class QMatrix4x4;
class QUrl;

/// Static conversions and text helpers.
///
/// Ownership: what a `create...` function returns as a CoreFoundation object is a new reference that the
/// caller releases (`VKCFRef` does it); a CoreFoundation object that is passed in is never released. A null
/// CoreFoundation object gives an empty Qt value; no conversion reports an error.
///
/// Threads: no shared state, so every function is re-entrant. Only the two file-system representations may
/// touch the disk, and only the stream functions may block.
class VKQT_EXPORT VKQtStringUtils {
public:
    VKQtStringUtils() = delete;

    // Qt to CoreFoundation and the core library.

    /// A CF string of the text's UTF-16 units, unchanged: not normalised, NUL and lone surrogates kept.
    [[nodiscard]] static CFStringRef createCFStringRefFromQString(const QString& text);

    /// A CF URL of the URL's fully encoded form, without a base URL. Null when that text is not a URL for
    /// CoreFoundation.
    [[nodiscard]] static CFURLRef createCFURLRefFromQUrl(const QUrl& url);

    /// A mutable data object that holds a copy of the bytes. Their number is its capacity: it can be changed
    /// but not lengthened. Made from no bytes it grows as needed.
    [[nodiscard]] static CFMutableDataRef createCFDataFromBytes(const QByteArray& bytes);

    /// A mutable array of one CF string per element, in order. Null if there is no memory for it.
    [[nodiscard]] static CFMutableArrayRef createCFStringListFromQStringList(const QStringList& list);

    /// The text as a core-library string; the UTF-16 units unchanged.
    [[nodiscard]] static VKString createVKStringFromQString(const QString& text);

    /// One core-library string per element, in order.
    [[nodiscard]] static std::deque<VKString> createVKStringListFromQStringList(const QStringList& list);

    /// The file URL of a path, with the spelling that its name has on disk (see
    /// VKFileMgrCreateFileSystemRepresentation); a directory URL when `isFolder`. Null for a text that is no
    /// path, such as an empty one. May look at the disk.
    [[nodiscard]] static CFURLRef createFileSystemRepresentationFromQString(const QString& path,
                                                                            bool isFolder);

    /// The text in the precomposed spelling of its canonical mapping, Unicode form C.
    [[nodiscard]] static QString createPrecomposedStringWithCanonicalMapping(const QString& text);

    /// Sets `dict[key]` to a CF string of `value`; the dictionary keeps the only reference to it.
    static void setValueCFString(CFMutableDictionaryRef dict, CFStringRef key, const QString& value);

    // CoreFoundation and the core library to Qt.

    /// The text up to its first NUL unit, in Unicode form C.
    ///
    ///     "e" + U+0301 -> U+00E9      "a" NUL "b" -> "a"      null -> ""
    [[nodiscard]] static QString createQStringFromCFStringRef(CFStringRef string);

    /// The URL's own text (CFURLGetString), percent-encoding and all; not a file-system path.
    [[nodiscard]] static QString createQStringFromCFUrlRef(CFURLRef url);

    /// The path of a file URL with "/" between its components and none at its end, read to the first NUL.
    /// Bytes that are not UTF-8 become replacement characters. Not normalised.
    [[nodiscard]] static QString createQStringFileSystemRepresentationFromCFUrlRef(CFURLRef url);

    /// A raw UTF-16 buffer: the string's units in the machine's byte order, then two zero bytes. The size in
    /// bytes is twice the string's length plus 2; null gives an empty array, without the zero bytes.
    [[nodiscard]] static QByteArray createQByteArrayFromCFStringRef(CFStringRef string);

    /// Replaces `out` by the data's bytes. A data object that reports a negative length is read as a
    /// NUL-terminated C string: older callers wrap such strings that way. Null empties `out`.
    static void createBytesFromCFData(CFDataRef data, QByteArray& out);

    /// createQStringFromCFStringRef() of the string.
    [[nodiscard]] static QString createQStringFromVKString(const VKString& string);

    /// One text per element, in order.
    [[nodiscard]] static QStringList createQStringListFromVKStringList(const std::deque<VKString>& list);

    /// createQStringFromCFStringRef() of each element, in order. Null or an empty array: an empty list.
    [[nodiscard]] static QStringList createQStringListFromCFStringList(CFArrayRef list);

    /// The text in UTF-8, cut at its first NUL. A lone surrogate becomes "?", as in QString::toUtf8().
    [[nodiscard]] static std::string createUnicodeStdString(const QString& text);

    // Text helpers.

    /// A new random UUID, 36 characters: "6f2c1d0e-..." in lower case, without braces.
    [[nodiscard]] static QString createUniqueID();

    /// The text in lower case, with the first character of each run between word boundaries in upper case.
    ///
    ///     "hELLO wORLD" -> "Hello World"      "o'neil" -> "O'Neil"      "" -> ""
    ///
    /// Word boundaries are those of the framework's default regular-expression options: only ASCII letters,
    /// digits and "_" are part of a word, so a letter with an accent is a run of its own kind.
    [[nodiscard]] static QString capitalizeString(const QString& text);

    /// The elements without the white space around them, and without those that are empty then.
    ///
    /// With `sort` in ascending order of their UTF-16 units (case-sensitive). With `prependEmpty` an empty
    /// element comes first, before the sorted ones.
    [[nodiscard]] static QStringList trimStringList(const QStringList& list, bool sort, bool prependEmpty);

    /// Reads "numerator/denominator".
    ///
    ///     "1/2" -> 1/2      "1/2/3" -> 1/3, the parts between are ignored      "3" -> 0/0, no "/"
    ///     "3/"  -> 3/0      "a/4"   -> 0/4, not a number                       "4294967296/2" -> 0/2
    ///
    /// Each part is read as QString::toInt() does: white space around it and a sign are accepted.
    [[nodiscard]] static VKRational rationalFromQString(const QString& text);

    /// The sixteen values in storage order (column after column), a space between them. Each is the shortest
    /// text that reads back as exactly the same value.
    [[nodiscard]] static QString toString(const QMatrix4x4& matrix);

    /// "x: 1 y: -2 w: 30 h: 40".
    [[nodiscard]] static QString toString(const VKRect& rect);

    /// Writes "StringList contains:" and one message per element, three spaces before it, to the framework's
    /// debug log, category "default". Texts are written as they are, without quotes.
    static void printStringList(const QStringList& list);

    /// Writes the text to the core library's log (VKLog with flag 0).
    static void VKLogQString(const QString& text);

    // Strings in binary streams: a 32-bit unsigned byte count in the stream's integer encoding, then as many
    // bytes of UTF-8, without a terminator. An empty text is the count 0 alone. Both functions return the
    // stream's status, 0 for success, and log it by VKLogEvent unless it is 0 or 1007 (cancelled).

    /// Writes the text. U+FEFF is kept; a lone surrogate is written as "?", for UTF-8 has no form for it.
    /// A text of more than 2^32 - 1 bytes: 1005, and nothing is written.
    [[nodiscard]] static VKStatus writeUTF8String(VKStream* stream, const QString& text);

    /// Reads a text into `out`, which is unchanged unless the status is 0. Bytes that are not UTF-8 become
    /// replacement characters; U+FEFF and NUL are kept. A count larger than what the stream still holds
    /// gives the stream's end status before any memory is taken for it.
    [[nodiscard]] static VKStatus readUTF8String(VKStream* stream, QString& out);
};

/// An array of NUL-terminated UTF-8 C strings, for C interfaces.
///
/// The strings stay in place as long as the object lives; the array of pointers moves when it grows. A copy
/// points at the same strings and keeps them alive. One thread at a time.
class VKQT_EXPORT VKStringPtrArray {
public:
    VKStringPtrArray() = default;
    explicit VKStringPtrArray(const std::vector<QString>& strings);
    explicit VKStringPtrArray(const std::set<QString>& strings);

    /// Adds the strings in the collection's order.
    void append(const std::vector<QString>& strings);
    void append(const std::set<QString>& strings);

    /// How many strings there are.
    [[nodiscard]] std::size_t size() const { return mPointers.size(); }

    /// The first of size() pointers, null when there are none. Ask again after each append().
    [[nodiscard]] const char** data() { return mPointers.data(); }

private:
    void appendOne(const QString& text);

    std::vector<QByteArray> mStrings;
    std::vector<const char*> mPointers;
};
