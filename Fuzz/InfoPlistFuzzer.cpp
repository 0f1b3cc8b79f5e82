// Info.plist of any bundle and names of any library: nothing but versions comes out, and what comes out of one that is
// understood comes out of it written anew.

#include "FuzzSupport.h"

#include "VKCoreKit/VKVersionRules.h"

namespace {

void checkNumbers(const QString& text) {
    const VKVersionInfo info = versionNumbers(text);
    require(info.major >= 0 && info.minor >= 0 && info.patch >= 0 && info.build >= 0, "no number is negative",
            {text});
    const QString written =
        QStringLiteral("%1.%2.%3.%4").arg(info.major).arg(info.minor).arg(info.patch).arg(info.build);
    require(versionNumbers(written) == info, "numbers read back", {text, written});
}

void checkName(const QString& name) {
    const QString version = versionInLibraryName(name);
    require(version.isEmpty() || name.contains(version), "a version is part of the name", {name, version});
    for (const QChar unit : version) {
        require((unit >= u'0' && unit <= u'9') || unit == u'.', "a version is digits and dots",
                {name, version});
    }
    if (!version.isEmpty()) {
        require(versionInLibraryName(QString(u"lib.so." + version)) == version, "a version makes a name",
                {name, version});
        checkNumbers(version);
    }
}

QByteArray written(const VKBundleVersions& versions) {
    return "<plist><dict><key>CFBundleShortVersionString</key><string>" +
           versions.shortVersion.toHtmlEscaped().toUtf8() + "</string><key>CFBundleVersion</key><string>" +
           versions.version.toHtmlEscaped().toUtf8() + "</string></dict></plist>";
}

void checkList(const QByteArray& text) {
    const std::optional<VKBundleVersions> versions = parseInfoPlist(text);
    require(!versions || text.size() <= kInfoPlistSizeLimit, "a list beyond the limit is not understood");
    if (!versions) {
        return;
    }
    checkNumbers(versions->shortVersion);
    const VKVersionInfo info = bundleNumbers(*versions);
    require(info.major >= 0 && info.minor >= 0 && info.patch >= 0 && info.build >= 0, "no number is negative",
            {versions->shortVersion, versions->version});
    const std::optional<VKBundleVersions> again = parseInfoPlist(written(*versions));
    require(again && again->shortVersion == versions->shortVersion && again->version == versions->version,
            "versions read back", {versions->shortVersion, versions->version});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const QString name = input.text();
    const QByteArray text = input.rest();
    checkName(name);
    checkNumbers(name);
    checkList(text);
    return 0;
}
