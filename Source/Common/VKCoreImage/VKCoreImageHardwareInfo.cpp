// The probe: the private context, the driver's answers, the card's name.
#include "VKCoreImage/VKCoreImageHardwareInfo.h"

#include "VKCoreImage/VKCoreImageProbe.h"
#include "VKCoreImage/VKCoreImageUtils.h"
#include "VKQtSysInfo.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKLog.h>
#include <VKCoreKit/VKUtils.h>

#include <QOpenGLContext>
#include <QOpenGLFunctions_3_3_Core>
#include <QOpenGLVersionFunctionsFactory>
#include <QSysInfo>

int VKCoreImageHardwareInfo::sOpenGLMaxTextureSize = 0;
QString VKCoreImageHardwareInfo::sOpenGLVendor;
QString VKCoreImageHardwareInfo::sOpenGLRenderer;
QString VKCoreImageHardwareInfo::sOpenGLVersion;
QString VKCoreImageHardwareInfo::sOpenGLVersionEx;
QString VKCoreImageHardwareInfo::sOpenGLShadingLanguageVersion;
bool VKCoreImageHardwareInfo::sNvida2013MacProblem = false;
bool VKCoreImageHardwareInfo::sIntelHD3000Problem = false;
bool VKCoreImageHardwareInfo::sIntelHD6xxVideoCard = false;

namespace {

using VKCoreImageProbe::Driver;

VKStatus logged(VKStatus status, int line) {
    if (status != kVKStatusCancelled) {
        VKLogEvent(status, "VKQtCore/Source/Common/VKCoreImage/VKCoreImageHardwareInfo", line);
    }
    return status;
}

/// The driver of the current context.
class CurrentDriver : public Driver {
public:
    explicit CurrentDriver(QOpenGLFunctions_3_3_Core& functions) : mFunctions(functions) {}

    int maxTextureSize() override {
        GLint size = 0;
        mFunctions.glGetIntegerv(GL_MAX_TEXTURE_SIZE, &size);
        return size;
    }

    const char* text(Text which) override {
        // The framework's own signature is one of bytes.
        return reinterpret_cast<const char*>(mFunctions.glGetString(nameOf(which)));
    }

    std::uint32_t takeError() override { return mFunctions.glGetError(); }

private:
    static GLenum nameOf(Text which) {
        switch (which) {
        case Text::Vendor:
            return GL_VENDOR;
        case Text::Renderer:
            return GL_RENDERER;
        case Text::Version:
            return GL_VERSION;
        case Text::ShadingLanguageVersion:
            break;
        }
        return GL_SHADING_LANGUAGE_VERSION;
    }

    QOpenGLFunctions_3_3_Core& mFunctions;
};

/// The functions of OpenGL 3.3, core profile, for the current context; null when its driver has them not. Some of the
/// framework's platforms take the version that was wished for as the one that is there, so the driver is asked too.
QOpenGLFunctions_3_3_Core* coreFunctions() {
    auto* const functions =
        QOpenGLVersionFunctionsFactory::get<QOpenGLFunctions_3_3_Core>(QOpenGLContext::currentContext());
    if (functions == nullptr || !functions->initializeOpenGLFunctions()) {
        return nullptr;
    }
    CurrentDriver driver(*functions);
    return VKCoreImageProbe::isNewEnough(driver.text(Driver::Text::Version)) ? functions : nullptr;
}

void markProblems() {
    const auto name = VKCFRef<CFStringRef>::adopt(VKUtilsGetVideoCardCopy());
    if (!name) {
        return;
    }
    const QString card = CFStringCopyQString(name.get());
    // The problem is one of macOS's driver: another system's version is no number to compare with.
    if (VKQtSysInfo::isMacPlatform() &&
        VKCoreImageProbe::isNvidia2013Problem(card, QSysInfo::productVersion())) {
        VKCoreImageHardwareInfo::sNvida2013MacProblem = true;
    }
    if (VKCoreImageProbe::isIntelHD3000(card)) {
        VKCoreImageHardwareInfo::sIntelHD3000Problem = true;
    }
}

} // namespace

VKStatus VKCoreImageHardwareInfo::validateOpenGL() {
    const VKStatus acquired = VKCoreImageUtils::aquireMainThreadGLContext();
    if (acquired != kVKStatusSuccess) {
        return logged(acquired, __LINE__);
    }
    QOpenGLFunctions_3_3_Core* const functions = coreFunctions();
    if (functions == nullptr) {
        return logged(kVKStatusNotUnderstood, __LINE__);
    }
    CurrentDriver driver(*functions);
    const VKStatus asked = VKCoreImageProbe::askDriver(driver);
    if (asked != kVKStatusSuccess) {
        return logged(asked, __LINE__);
    }
    markProblems();
    return kVKStatusSuccess;
}

QString VKCoreImageHardwareInfo::openGLVendor() { return sOpenGLVendor; }

QString VKCoreImageHardwareInfo::openGLRenderer() { return sOpenGLRenderer; }

QString VKCoreImageHardwareInfo::openGLVersion() { return sOpenGLVersion; }

QString VKCoreImageHardwareInfo::openGLVersionEx() { return sOpenGLVersionEx; }

QString VKCoreImageHardwareInfo::openGLShadingLanguageVersion() { return sOpenGLShadingLanguageVersion; }

int VKCoreImageHardwareInfo::openGLMaxTextureSize() { return sOpenGLMaxTextureSize; }

bool VKCoreImageHardwareInfo::nvida2013MacProblem() { return sNvida2013MacProblem; }

bool VKCoreImageHardwareInfo::intelHD3000Problem() { return sIntelHD3000Problem; }

bool VKCoreImageHardwareInfo::intelHD6xxVideoCard() { return sIntelHD6xxVideoCard; }
