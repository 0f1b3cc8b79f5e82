// What a version's text, a library's name and a bundle's Info.plist say. Pure; any thread.
#pragma once

#include "VKCoreKit/VKTypes.h"

#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <optional>

/// The longest Info.plist that is read.
inline constexpr qsizetype kInfoPlistSizeLimit = qsizetype{1024} * 1024;
/// The deepest one, counted in open elements; <plist> is the first.
inline constexpr int kInfoPlistDepthLimit = 64;

/// The two versions in an Info.plist; null when it has none.
struct VKBundleVersions {
    QString shortVersion; ///< CFBundleShortVersionString, what people are shown: "5.2.1"
    QString version;      ///< CFBundleVersion, what builds are told apart by: "430" or "5.2.1.430"
};

/// The top level of an Info.plist in XML. Nothing when it is no such property list: damaged, too long or too
/// deep, of another kind, or with declarations of its own (which could make much of little). Other keys are
/// skipped, whatever their values.
[[nodiscard]] std::optional<VKBundleVersions> parseInfoPlist(QByteArrayView text);

/// The numbers at the start of a version, up to four with "." between them. What is missing, or does not fit into
/// 31 bits, is 0.
///
///     "5.2.1" -> 5 2 1 0      "5.2b3" -> 5 2 0 0      "v5" -> 0 0 0 0      "1.2.3.4.5" -> 1 2 3 4
[[nodiscard]] VKVersionInfo versionNumbers(QStringView text);

/// The numbers of a bundle: those of the version that people are shown; the build, if that has none, from the
/// other: its fourth number, or itself if it is one number.
[[nodiscard]] VKVersionInfo bundleNumbers(const VKBundleVersions& versions);

/// The version in the name of a shared library; empty when there is none.
///
///     "libz.so.1.2.13" -> "1.2.13"     "libbfd-2.40.so" -> "2.40"     "libz.1.dylib" -> "1"
///     "libz.so"        -> ""           "a.so.b" -> ""                 "photo-2.jpg"  -> ""
[[nodiscard]] QString versionInLibraryName(QStringView name);
