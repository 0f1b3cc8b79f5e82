// The order of the questions, and what names of cards tell.
#include "VKCoreImage/VKCoreImageProbe.h"

#include "VKCoreImage/VKCoreImageHardwareInfo.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKUtils.h>

#include <QVersionNumber>

namespace VKCoreImageProbe {

namespace {

constexpr int kUsualMaxTextureSize = 8192;

bool nameContains(const QString& card, CFStringRef part) {
    const auto name = VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(card));
    return VKUtilsCFStringContains(name.get(), part, kVKUtilsContainsAnyCase);
}

} // namespace

VKStatus askDriver(Driver& driver) {
    using Info = VKCoreImageHardwareInfo;
    Info::sOpenGLMaxTextureSize = driver.maxTextureSize();
    if (driver.takeError() != 0) {
        Info::sOpenGLMaxTextureSize = kUsualMaxTextureSize;
    }
    struct Question {
        Driver::Text text;
        QString* answer;
    };
    // Info::sOpenGLVersion is left empty on purpose: its readers of old want nothing there.
    const Question questions[] = {
        {Driver::Text::Vendor, &Info::sOpenGLVendor},
        {Driver::Text::Renderer, &Info::sOpenGLRenderer},
        {Driver::Text::Version, &Info::sOpenGLVersionEx},
        {Driver::Text::ShadingLanguageVersion, &Info::sOpenGLShadingLanguageVersion},
    };
    for (const Question& question : questions) {
        *question.answer = QString::fromUtf8(driver.text(question.text));
        const std::uint32_t error = driver.takeError();
        if (error != 0) {
            return error;
        }
    }
    return kVKStatusSuccess;
}

bool isNewEnough(const char* version) {
    qsizetype end = 0;
    const QVersionNumber number = QVersionNumber::fromString(QLatin1String(version), &end);
    return end > 0 && number >= QVersionNumber(3, 3);
}

bool isNvidia2013Problem(const QString& card, const QString& systemVersion) {
    constexpr double kFirstVersion = 10.13;
    return nameContains(card, CFSTR("nvidia")) && systemVersion.toDouble() >= kFirstVersion;
}

bool isIntelHD3000(const QString& card) { return nameContains(card, CFSTR("Intel HD Graphics 3000")); }

} // namespace VKCoreImageProbe
