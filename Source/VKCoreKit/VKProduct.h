// The suite's products and where their data lies. Register products once at the start; everything here may be
// called on any thread.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKStatus.h>

/// Made on first use, so that loading the library makes nothing.
struct VKProductKestrelName {
    VKCORE_EXPORT operator CFStringRef() const; // NOLINT: it stands for the string wherever one is asked for
};

/// The name of the suite's first product, "Kestrel", registered from the start. It serves as a CFStringRef that
/// lives for ever: VKProductGetProduct(kVKProductKestrel, nullptr).
inline constexpr VKProductKestrelName kVKProductKestrel{};

/// A registered product. Lives as long as the process; nobody releases it.
struct VKProduct;
using VKProductRef = const VKProduct*;

/// Makes a product, or a part of one, known. Names become folder names, which form C and case tell apart: 1005
/// for a null or empty one, for "." and "..", and for one that holds "/", a backslash, NUL or an unpaired
/// surrogate or is longer than 255 bytes in UTF-8. Registering twice is no error. A part does not make its
/// product known.
VKCORE_EXPORT VKStatus VKProductRegister(CFStringRef name, CFStringRef subProductOrNull);

/// The product, or the part of it; null when it is not registered.
VKCORE_EXPORT VKProductRef VKProductGetProduct(CFStringRef name, CFStringRef subProductOrNull);

/// Folders that a product's data lies in. On this platform, with Kestrel as the product:
///
///     of this user       $XDG_DATA_HOME/VK/Kestrel    (what VKFileMgrSetFolderPath() says instead of .../VK)
///     of all users       the first /VK/Kestrel in $XDG_DATA_DIRS
///     a part "Tools"     Tools in it          extras     Extras in it          common     Common in it
enum VKSupportFolderKind : int {
    kVKSupportAppData = 1,
    kVKSupportExtras = 2,
    kVKSupportCommon = 19,
};

/// The folder of that kind as a new URL that the caller releases. Per-user ones are made when they are missing
/// and `create` is not 0; one for all users has to exist (2 otherwise). All callers pass 0 and 1 at the end.
/// 1005 for a null product or `url`, 1007 for an unknown kind, otherwise the errno. `*url` is null after a
/// failure.
VKCORE_EXPORT VKStatus VKProductGetSupportURLCopy(VKProductRef product, bool user, int kind, int reserved,
                                                  int create, CFURLRef* url);

/// The maker's application data folder, above those of the products: this user's, made when it is missing, or
/// with 0 the first one for all users, which has to exist (2 otherwise). Called with 1 and 0. The caller releases
/// the URL, which is null after a failure.
VKCORE_EXPORT VKStatus VKProductGetTarnUrlCopy(int user, int reserved, CFURLRef* url);
