// The order of a listing and what it leaves out.
#include "Platform/TreeCopy.h"

#include "Platform/Utf8.h"

namespace VKPlatform {

QString listingKey(QByteArrayView name) { return decodeUtf8(name).toLower(); }

bool isHiddenName(QByteArrayView name) { return name.startsWith('.'); }

} // namespace VKPlatform
