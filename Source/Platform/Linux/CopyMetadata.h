// What a copy has besides its content. What the target's file system does not know is left out; any other
// failure is one. Internal to this folder.
#pragma once

#include "Platform/FileCopy.h"
#include "Platform/FileDescriptor.h"

#include <QByteArray>

#include <cstdint>
#include <sys/stat.h>
#include <vector>

namespace VKPlatform {

struct Attribute {
    QByteArray name;
    QByteArray value;
};

/// Whether a new item may have got access lists from the folder that it was created in.
enum class InheritedLists : std::uint8_t { None, Possible };

/// The attributes that a copy keeps. One system call when there are none. errno.
[[nodiscard]] int readAttributes(int file, std::vector<Attribute>& out);

/// Gives the new item these attributes, and, of access lists, no others. errno.
[[nodiscard]] int setAttributes(int file, const std::vector<Attribute>& attributes, InheritedLists inherited);

/// Whether the new item has attributes, which can only come from its folder. Possible where that cannot be
/// told.
[[nodiscard]] InheritedLists inheritedLists(int file);

/// Owner (as far as asked for and permitted), attributes, mode, times. errno.
[[nodiscard]] int copyMetadata(int file, const struct stat& from, const std::vector<Attribute>& attributes,
                               InheritedLists inherited, CopyOwner owner);

/// The same for a link, which has owner and times only.
[[nodiscard]] int copyLinkMetadata(int folder, const char* name, const struct stat& from, CopyOwner owner);

} // namespace VKPlatform
