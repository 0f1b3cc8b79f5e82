// The rules of URL text: its parts, escaping, resolving. Pure functions; a text is taken as it is given and
// never normalized. "Text" here has passed splitUrl(), so it is ASCII and each "%" has its two digits.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace CoreFoundation {

/// Where the parts of a URL text lie, as positions of its units.
///
///     file://host/a/b?q#f    scheme [0, schemeEnd)   authority "host"   path "/a/b"   query up to queryEnd
struct UrlParts {
    qsizetype schemeEnd = 0;       ///< 0: no scheme
    qsizetype authorityBegin = -1; ///< -1: no "//" before an authority; it may be there and be empty
    qsizetype pathBegin = 0;       ///< also the authority's end
    qsizetype pathEnd = 0;
    qsizetype queryEnd = 0;     ///< the end of the "?" part; equal to pathEnd without one
    bool isHierarchical = true; ///< false for "scheme:" with anything but "/" behind it: it has no path

    [[nodiscard]] bool hasPath() const { return isHierarchical && pathEnd > pathBegin; }
};

/// The parts, or nothing for a text that is no URL: see CFURLCreateWithString.
[[nodiscard]] std::optional<UrlParts> splitUrl(QStringView text);

enum class ColonRule { Keep, Escape };

/// The bytes as path text: all but letters, digits and - . _ ~ ! $ & ' ( ) * + , : = @ / become "%XX".
/// ColonRule::Escape is for a path that would begin the text: before a "/", a ":" would make it a scheme.
[[nodiscard]] QString escapedPath(QByteArrayView bytes, ColonRule colons);

/// The bytes behind the text, each "%XX" as one.
[[nodiscard]] QByteArray unescaped(QStringView text);

/// Whether a path says by its text that it is a folder's: it ends in "/" or its last component is "." or
/// "..".
[[nodiscard]] bool isFolderPath(QStringView path);

/// `reference` resolved against the absolute `base`, for a reference without scheme that is not empty.
/// Nothing when the base has no hierarchy to resolve in.
[[nodiscard]] std::optional<QString> resolvedUrl(const QString& base, const UrlParts& baseParts,
                                                 const QString& reference, const UrlParts& referenceParts);

} // namespace CoreFoundation
