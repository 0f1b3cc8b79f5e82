// Binary streams over memory or a file. Integers are big-endian. Every function answers a status, 1005 for a
// null pointer; after a failure the position is where it was. One thread at a time uses a stream; retaining
// and releasing may happen on any.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKStatus.h>

#include <cstddef>
#include <cstdint>

class VKStream;

/// A new empty stream that grows as it is written, with one reference for the caller.
VKCORE_EXPORT VKStatus VKStreamCreateMemory(VKStream** out);

/// A stream over a file, with one reference for the caller.
///
/// For reading: the file's bytes as long as the file is now. For writing: new content, empty at first, which
/// can be read back meanwhile and takes the place of the file only when VKStreamClose (or the last release)
/// succeeds; until then the old file is whole. Statuses: 1002 when the URL names no file, otherwise the
/// errno: 2 no such file or folder, 13 no permission, 21 a folder, 95 a fifo, socket or device.
VKCORE_EXPORT VKStatus VKStreamCreateFile(CFURLRef file, bool write, VKStream** out);

/// One more reference; the stream itself. Null gives null.
VKCORE_EXPORT VKStream* VKStreamRetain(VKStream* stream);

/// Gives one reference back; the last one closes as VKStreamClose does, and a failure of that is logged,
/// because nobody is left to be told. Null does nothing.
VKCORE_EXPORT void VKStreamRelease(VKStream* stream);

/// Puts what was written to a file in its place and closes; the status of storing it. On failure the old file
/// stands and nothing else is left. A file stream answers 9 (EBADF) to everything afterwards, except a
/// second close: 0. A memory stream stays as it is: 0.
VKCORE_EXPORT VKStatus VKStreamClose(VKStream* stream);

/// Bytes from the start; 0 to the stream's length. Further is kVKStatusEndOfStream.
VKCORE_EXPORT VKStatus VKStreamSetPosition(VKStream* stream, std::uint64_t position);
VKCORE_EXPORT VKStatus VKStreamGetPosition(VKStream* stream, std::uint64_t* position);

/// How many bytes lie between the position and the end: what a length read from the stream is checked against
/// before anything is allocated for it.
VKCORE_EXPORT VKStatus VKStreamGetAvailable(VKStream* stream, std::uint64_t* bytes);

/// Fills the buffer wholly or answers kVKStatusEndOfStream and takes nothing. 0 bytes need no buffer.
VKCORE_EXPORT VKStatus VKStreamRead(VKStream* stream, void* buffer, std::size_t size);

/// Overwrites from the position on and lengthens the stream as needed. 0 bytes need no buffer. EBADF when the
/// stream was opened for reading. A file's bytes are gathered before they are written: a full disk may be
/// reported by a later call, at the latest by VKStreamClose.
VKCORE_EXPORT VKStatus VKStreamWrite(VKStream* stream, const void* buffer, std::size_t size);

VKCORE_EXPORT VKStatus VKStreamReadUInt32(VKStream* stream, std::uint32_t* value);
VKCORE_EXPORT VKStatus VKStreamWriteUInt32(VKStream* stream, std::uint32_t value);

/// The whole content from the first byte, wherever the position is, as a new data object that the caller
/// releases.
/// `*data` is null on failure. A memory stream's content is shared with it until the stream is written again.
VKCORE_EXPORT VKStatus VKStreamGetDataCopy(VKStream* stream, CFDataRef* data);
