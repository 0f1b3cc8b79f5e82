// Where things are: well-known folders, product folders, mobile-relative paths, questions about one item.
#include "VKQtPathUtils.h"

#include "VKQtLocale.h"
#include "VKQtPathUtilsLog.h"
#include "VKQtStandardFolders.h"
#include "VKQtStringUtils.h"

#include <VKCoreKit/VKProduct.h>

#include <QDir>
#include <QFileInfo>

#include <utility>

QHash<QString, QString> VKQtPathUtils::sRelocatableRoots;

namespace {

constexpr int kPermissionDenied = 13;

QString mobileToken() { return QStringLiteral("/relative-mobile"); }

QString textOf(CFURLRef url) {
    return VKQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(url);
}

VKQtPath folderPathOf(CFURLRef url) {
    VKQtPath path;
    path.setPath(url, true, 0);
    return path;
}

VKCFRef<CFStringRef> stringOf(const QString& text) {
    return VKCFRef<CFStringRef>::adopt(VKQtStringUtils::createCFStringRefFromQString(text));
}

VKCFRef<CFMutableDictionaryRef> makeFolderCache() {
    return VKCFRef<CFMutableDictionaryRef>::adopt(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

/// A new reference; null for an unknown product and where its folder cannot be had.
VKCFRef<CFURLRef> supportFolder(CFStringRef product, CFStringRef subProduct, bool user, int kind) {
    VKCFRef<CFURLRef> url;
    const VKProductRef handle = VKProductGetProduct(product, subProduct);
    if (handle == nullptr ||
        VKProductGetSupportURLCopy(handle, user, kind, 0, 1, url.out()) != kVKStatusSuccess) {
        return VKCFRef<CFURLRef>();
    }
    return url;
}

QString kestrelFolder(bool user, VKSupportFolderKind kind) {
    return textOf(supportFolder(kVKProductKestrel, nullptr, user, kind).get());
}

VKQtPath standardFolder(QStandardPaths::StandardLocation location) {
    return VKQtPath(VKQtStandardFolders::writableLocation(location), true);
}

bool isInside(const QString& path, QStandardPaths::StandardLocation location) {
    const QString folder = VKQtStandardFolders::writableLocation(location);
    return !folder.isEmpty() && QDir::fromNativeSeparators(path).contains(folder);
}

/// Replaces every occurrence, if the text begins with one.
QString relocated(QString text, const QString& from, const QString& to) {
    return text.startsWith(from) ? text.replace(from, to) : text;
}

/// The sidecar's URL, and 0; a null URL and 0 for an image that is no path.
VKStatus findSidecar(const VKQtPath& image, VKCFRef<CFURLRef>& sidecar) {
    const auto url = VKCFRef<CFURLRef>::adopt(image.createCFUrl());
    return url ? VKFileMgrCreateSidecarPathForImage(url.get(), sidecar.out()) : kVKStatusSuccess;
}

} // namespace

VKQtPathUtils::VKQtPathUtils() : mUserFolders(makeFolderCache()), mSystemFolders(makeFolderCache()) {}

VKQtPathUtils::~VKQtPathUtils() = default;

VKQtPathUtils* VKQtPathUtils::instance() {
    static auto* const sInstance = new VKQtPathUtils;
    return sInstance;
}

VKStatus VKQtPathUtils::initialize() {
    QString path;
    const VKStatus status = getFolderPath(nullptr, kVKFolderCloudDocuments, QString(), path);
    if (status == kVKStatusSuccess) {
        VKQtPath root(path, true);
        root.deleteLastPathComponent();
        sRelocatableRoots.insert(mobileToken(), root.path());
    }
    return logged(status, __LINE__);
}

VKStatus VKQtPathUtils::getFolderPath(void* domain, VKFolderType type, const QString& subfolder,
                                      QString& outPath) {
    const VKCFRef<CFStringRef> below = subfolder.isEmpty() ? VKCFRef<CFStringRef>() : stringOf(subfolder);
    VKCFRef<CFURLRef> url;
    const VKStatus status = VKFileMgrGetFolderPathCopy(domain, type, below.get(), url.out());
    if (status == kVKStatusSuccess) {
        outPath = textOf(url.get());
    }
    return status;
}

QString VKQtPathUtils::getUserAppDataPath() {
    return textOf(VKCFRef<CFURLRef>::adopt(getAppDataPathName()).get());
}

CFURLRef VKQtPathUtils::getAppDataPathName() {
    CFURLRef url = nullptr;
    // Null says enough: callers of this one have never had the status.
    static_cast<void>(VKProductGetTarnUrlCopy(1, 0, &url));
    return url;
}

CFURLRef VKQtPathUtils::getAppDataPathForProductName(CFStringRef product, CFStringRef subProduct, bool user,
                                                     bool cache) {
    if (product == nullptr) {
        return nullptr;
    }
    const std::lock_guard lock(mMutex);
    if (subProduct != nullptr) {
        return supportFolder(product, subProduct, user, kVKSupportAppData).release();
    }
    const CFMutableDictionaryRef folders = user ? mUserFolders.get() : mSystemFolders.get();
    if (const void* const known = CFDictionaryGetValue(folders, product)) {
        return static_cast<CFURLRef>(known);
    }
    VKCFRef<CFURLRef> url = supportFolder(product, nullptr, user, kVKSupportAppData);
    if (url && cache) {
        CFDictionarySetValue(folders, product, url.get());
        return url.get(); // the cache keeps it
    }
    return url.release();
}

QString VKQtPathUtils::getUserAppDataPathForProduct(const QString& product, const QString& subProduct,
                                                    bool cache) {
    const VKCFRef<CFStringRef> name = stringOf(product);
    if (!subProduct.isEmpty()) {
        return textOf(VKCFRef<CFURLRef>::adopt(instance()->getAppDataPathForProductName(
                                                   name.get(), stringOf(subProduct).get(), true, cache))
                          .get());
    }
    if (cache) {
        return getUserAppDataPathForProduct(name.get());
    }
    // Not through the cache: its answer would not tell whose the reference is.
    return textOf(supportFolder(name.get(), nullptr, true, kVKSupportAppData).get());
}

QString VKQtPathUtils::getUserAppDataPathForProduct(CFStringRef product) {
    return textOf(instance()->getAppDataPathForProductName(product, nullptr, true, true));
}

QString VKQtPathUtils::getSystemDataPathForProduct(const QString& product) {
    return getSystemDataPathForProduct(stringOf(product).get());
}

QString VKQtPathUtils::getSystemDataPathForProduct(CFStringRef product) {
    return textOf(instance()->getAppDataPathForProductName(product, nullptr, false, true));
}

QString VKQtPathUtils::getCommonFolderPath(bool user) { return kestrelFolder(user, kVKSupportCommon); }

QString VKQtPathUtils::getExtrasFolderPath(bool user) { return kestrelFolder(user, kVKSupportExtras); }

VKQtPath VKQtPathUtils::homePath() { return standardFolder(QStandardPaths::HomeLocation); }

VKQtPath VKQtPathUtils::desktopPath() { return standardFolder(QStandardPaths::DesktopLocation); }

VKQtPath VKQtPathUtils::picturesPath() { return standardFolder(QStandardPaths::PicturesLocation); }

// NOLINTNEXTLINE(performance-unnecessary-value-param): callers are built against this signature
bool VKQtPathUtils::isDesktopPath(QString path) { return isInside(path, QStandardPaths::DesktopLocation); }

// NOLINTNEXTLINE(performance-unnecessary-value-param): callers are built against this signature
bool VKQtPathUtils::isPicturesPath(QString path) { return isInside(path, QStandardPaths::PicturesLocation); }

// NOLINTNEXTLINE(performance-unnecessary-value-param): callers are built against this signature
QString VKQtPathUtils::getSystemPathDisplayString(QString path) {
    const bool onDesktop = isDesktopPath(path);
    const bool inPictures = isPicturesPath(path);
    if (!onDesktop && !inPictures) {
        return QDir::toNativeSeparators(path);
    }
    QStringList components = QDir::fromNativeSeparators(path).split(u'/', Qt::SkipEmptyParts);
    for (QString& component : components) {
        if (onDesktop && component == u"Desktop") {
            component = VKQtLocale::getLocalizedDirectoryLabel(QStandardPaths::DesktopLocation);
        } else if (inPictures && component == u"Pictures") {
            component = VKQtLocale::getLocalizedDirectoryLabel(QStandardPaths::PicturesLocation);
        }
    }
    return QDir::toNativeSeparators(components.join(u'/'));
}

bool VKQtPathUtils::isICloudPath(const VKQtPath& path) {
    return path.contains(QStringLiteral("/Library/Mobile Documents"));
}

VKStatus VKQtPathUtils::createMobileRelativePath(const VKQtPath& path, VKQtPath& outPath) {
    QString text = path.path();
    for (auto root = sRelocatableRoots.cbegin(); root != sRelocatableRoots.cend(); ++root) {
        text = relocated(text, root.value(), root.key());
    }
    outPath.setPath(text, path.isFolder());
    return kVKStatusSuccess;
}

VKStatus VKQtPathUtils::createFullPathFromMobileRelativePath(const VKQtPath& path, VKQtPath& outPath) {
    QString text = path.path();
    for (auto root = sRelocatableRoots.cbegin(); root != sRelocatableRoots.cend(); ++root) {
        text = relocated(text, root.key(), root.value());
    }
    outPath.setPath(text, path.isFolder());
    return kVKStatusSuccess;
}

VKStatus VKQtPathUtils::makeSidecarFilePath(const VKQtPath& image, VKQtPath& outSidecar) {
    VKCFRef<CFURLRef> sidecar;
    const VKStatus status = findSidecar(image, sidecar);
    if (status == kVKStatusSuccess && sidecar) {
        outSidecar.setPath(sidecar.get(), false, 0);
    }
    return status;
}

bool VKQtPathUtils::hasSidecarFile(const VKQtPath& image) {
    VKCFRef<CFURLRef> sidecar;
    return findSidecar(image, sidecar) == kVKStatusSuccess && sidecar && VKFileMgrPathExists(sidecar.get());
}

VKStatus VKQtPathUtils::dirPathWriteable(const QString& dir, bool& writable) {
    writable = false;
    const auto url =
        VKCFRef<CFURLRef>::adopt(VKQtStringUtils::createFileSystemRepresentationFromQString(dir, true));
    if (!url) {
        return kVKStatusSuccess;
    }
    bool answer = false;
    const VKStatus status = VKFileMgrGetFolderWritable(url.get(), &answer);
    writable = status == kVKStatusWritabilityUnknown ? QFileInfo(dir).isWritable() : answer;
    return status;
}

VKStatus VKQtPathUtils::getBytesFreeFromPath(VKQtPath& path, unsigned long long& bytesFree) {
    bytesFree = 0;
    const auto url = VKCFRef<CFURLRef>::adopt(path.createCFUrl());
    return url ? VKFileMgrGetBytesFreeFromPath(url.get(), &bytesFree) : kVKStatusSuccess;
}

bool VKQtPathUtils::isFileAccessError(int error) noexcept { return error == kPermissionDenied; }

bool VKQtPathUtils::pathExists(const QString& path, bool isFolder) {
    const auto url =
        VKCFRef<CFURLRef>::adopt(VKQtStringUtils::createFileSystemRepresentationFromQString(path, isFolder));
    return url && VKFileMgrPathExists(url.get());
}

bool VKQtPathUtils::isFolder(const QString& path) {
    const auto url =
        VKCFRef<CFURLRef>::adopt(VKQtStringUtils::createFileSystemRepresentationFromQString(path, true));
    VKItemDetails details;
    return url && VKFileMgrGetItemDetails(url.get(), true, &details) == kVKStatusSuccess &&
           details.kind == VKItemKind::Folder;
}

VKStatus VKQtPathUtils::createPlusRawDirectory(VKQtPath& outPath) {
    VKCFRef<CFURLRef> url;
    VKStatus status = VKFileMgrGetFolderPathCopy(nullptr, kVKFolderRawWork,
                                                 stringOf(QStringLiteral("+raw")).get(), url.out());
    if (status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    outPath = folderPathOf(url.get());
    if (!VKFileMgrPathExists(url.get())) {
        status = VKFileMgrCreateDirectory(url.get());
    }
    return logged(status, __LINE__);
}
