// The error of a property-list call. Not installed.
#pragma once

#include "CoreFoundation/CFError.h"

#include <QString>

namespace CoreFoundation {

/// Fills `*error`, unless `error` is null, with a new error in kCFErrorDomainCocoa that carries the text.
void setPropertyListError(CFErrorRef* error, CFIndex code, const QString& text);

} // namespace CoreFoundation
