// The one sink that every log line of the library goes through. Each function may be called from any thread,
// also inside a handler, and does nothing else than hand a record to the handler before it returns.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKStatus.h>

#include <QString>

#include <cstdint>

enum LogLevelType : std::int32_t {
    kLogLevelDebug = 0,
    kLogLevelInfo = 1,
    kLogLevelWarning = 2,
    kLogLevelError = 3,
};

/// One log line, or one event (status not 0, text empty). The pointers live as long as the call.
struct VKLogRecord {
    LogLevelType level = kLogLevelInfo;
    const char* category = ""; ///< "vk.core" when the caller named none; never null
    QString text;              ///< as given, a final line break included
    VKStatus status = kVKStatusSuccess;
    const char* source = ""; ///< of an event: the source path without suffix; otherwise empty; never null
    int line = 0;            ///< of an event; otherwise 0
};

/// Several threads may be inside it at once. What a handler itself logs goes to the default handler.
using VKLogHandler = void (*)(const VKLogRecord& record, void* context);

/// Replaces the handler; null restores the default: Qt's message logger under the category "vk.core", which
/// drops one final line break, puts another category's name and ": " in front of the text, and writes an
/// event as a warning "status 13 (Permission denied) at <source>:<line>". When this returns no thread is
/// inside the old handler any more, so that its context may go. Called by a handler from inside itself it
/// cannot wait for that and returns at once.
VKCORE_EXPORT void VKLogSetHandler(VKLogHandler handler, void* context);

/// Logs a text at info level; null logs nothing. The flags have no meaning here and are 0.
VKCORE_EXPORT void VKLog(CFStringRef text, int flags);

/// Logs a line in printf's manner, in UTF-8 (what is not UTF-8 shows as U+FFFD), at info level. A line that
/// printf cannot make is logged as its format; a null format logs nothing.
VKCORE_EXPORT void VKLogUTF8(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Logs the text as it is, "%" included, at info level; null logs nothing.
VKCORE_EXPORT void VKLogNoArgs(const char* text);

/// Logs a text under a level and a category (null: "vk.core"); a null text logs nothing. The flag is 0. The
/// default handler takes a level that is not in the list as info.
VKCORE_EXPORT void VKLogWithParams(LogLevelType level, const char* category, int flag, CFStringRef text);

/// Records a failure where it was detected. Success (0) records nothing, because an event without a failure
/// is no event; every other status is recorded. Callers leave out 1007 (cancelled) themselves. A null source
/// is "".
VKCORE_EXPORT void VKLogEvent(VKStatus status, const char* source, int line);
