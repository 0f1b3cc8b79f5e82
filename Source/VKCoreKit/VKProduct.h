// The suite's products and where their data lies. Register products once at the start; everything here may be
// called on any thread.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKStatus.h>

/// The name of the suite's first product, registered from the start.
VKCORE_EXPORT extern const CFStringRef kVKProductKestrel;

/// A registered product. Lives as long as the process; nobody releases it.
struct VKProduct;
using VKProductRef = const VKProduct*;

/// Makes a product, or a part of one, known. Names become folder names: 1005 for a null or empty one, for "."
/// and "..", and for one that holds "/" or NUL or is longer than 255 bytes. Registering twice is no error.
VKCORE_EXPORT VKStatus VKProductRegister(CFStringRef name, CFStringRef subProductOrNull);

/// The product, or the part of it; null when it is not registered.
VKCORE_EXPORT VKProductRef VKProductGetProduct(CFStringRef name, CFStringRef subProductOrNull);

/// Folders that a product's data lies in.
enum VKSupportFolderKind : int {
    kVKSupportAppData = 1,
    kVKSupportExtras = 2,
    kVKSupportCommon = 19,
};

/// The folder of that kind as a new URL that the caller releases. Per-user ones are made when they are
/// missing; one for all users has to exist (2 otherwise). The two last arguments are passed as 0 and 1 by all
/// callers. 1005 for a null product or `url`, 1007 for an unknown kind. `*url` is null after a failure.
VKCORE_EXPORT VKStatus VKProductGetSupportURLCopy(VKProductRef product, bool user, int kind, int reserved,
                                                  int create, CFURLRef* url);

/// The maker's per-user application data folder, above those of the products, made when it is missing. Called
/// with 1 and 0. The caller releases the URL.
VKCORE_EXPORT VKStatus VKProductGetTarnUrlCopy(int user, int reserved, CFURLRef* url);
