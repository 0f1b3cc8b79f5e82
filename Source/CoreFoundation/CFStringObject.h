// The inside of a string, for the sources of this folder that make and read strings. Not installed.
#pragma once

#include "CoreFoundation/CFObject.h"
#include "CoreFoundation/CFString.h"

#include <QString>

struct CFStringObject final : CoreFoundation::Object {
    static const CoreFoundation::TypeRecord sType;

    explicit CFStringObject(QString content, bool canChange = false, CFIndex startCount = 1)
        : Object(sType, startCount), text(std::move(content)), isMutable(canChange) {}

    QString text;
    const bool isMutable;
};

namespace CoreFoundation {

/// A string for a global constant: made at load without taking memory, and never destroyed.
class ConstantString {
public:
    /// From QStringLiteral(...).
    explicit ConstantString(QString&& literal) : mValue(std::move(literal), false, kForever) {}
    ConstantString(const ConstantString&) = delete;
    ConstantString& operator=(const ConstantString&) = delete;
    ~ConstantString() {} // NOLINT(modernize-use-equals-default): a union's would be deleted

    [[nodiscard]] constexpr CFStringRef get() const { return &mValue; }

private:
    union {
        CFStringObject mValue;
    };
};

/// A new immutable string; the shared empty one for an empty text.
[[nodiscard]] CFStringRef newString(QString text);

/// The text of a value that has to be a string.
inline const QString& textOf(CFStringRef string, const char* function) {
    return checked<CFStringObject>(string, function)->text;
}

} // namespace CoreFoundation
