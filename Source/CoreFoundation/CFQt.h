// From counted values to Qt's and back. Our own addition: on a system with its own framework it is a page
// over that framework's public calls; here both sides share one buffer, so a conversion costs a reference and
// copies nothing.
#pragma once

#include "CoreFoundation/CFData.h"
#include "CoreFoundation/CFString.h"
#include "CoreFoundation/CFURL.h"

#include <QByteArray>
#include <QString>

/// A string that shares the text; a null text gives the empty string. A text made by QString::fromRawData()
/// has to outlive it, as every copy of such a text.
[[nodiscard]] VKCORE_EXPORT CFStringRef CFStringCreateWithQString(const QString& text);

/// The string's text; a null QString for null. Wrong types stop the program.
[[nodiscard]] VKCORE_EXPORT QString CFStringCopyQString(CFStringRef string);

/// Data that shares the bytes. Bytes made by QByteArray::fromRawData() have to outlive it.
[[nodiscard]] VKCORE_EXPORT CFDataRef CFDataCreateWithQByteArray(const QByteArray& bytes);

/// The data's bytes; a null QByteArray for null. Copied only where the memory is not the value's own
/// (CFDataCreateWithBytesNoCopy) or a pointer to write through was handed out.
[[nodiscard]] VKCORE_EXPORT QByteArray CFDataCopyQByteArray(CFDataRef data);

/// The bytes of the file's absolute path, resolved against the base, without a final "/" and without a limit
/// on their number. A null QByteArray when the URL names no file: null, another scheme than "file", no path,
/// a NUL in it, or bytes that are not UTF-8 in a URL made from text.
[[nodiscard]] VKCORE_EXPORT QByteArray CFURLCopyFileSystemBytes(CFURLRef url);
