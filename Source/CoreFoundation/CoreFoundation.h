// All counted values at once; CFQt.h, which needs Qt's headers, is apart. The rules for all of them stand in
// CFBase.h.
#pragma once

#include "CoreFoundation/CFArray.h"
#include "CoreFoundation/CFBase.h"
#include "CoreFoundation/CFData.h"
#include "CoreFoundation/CFDate.h"
#include "CoreFoundation/CFDictionary.h"
#include "CoreFoundation/CFError.h"
#include "CoreFoundation/CFNumber.h"
#include "CoreFoundation/CFPropertyList.h"
#include "CoreFoundation/CFString.h"
#include "CoreFoundation/CFURL.h"
#include "CoreFoundation/CFURLBookmark.h"
#include "CoreFoundation/CFUUID.h"
