// The products that are known, and their folders under the maker's.
#include "VKCoreKit/VKProduct.h"

#include "CoreFoundation/CFQt.h"
#include "Platform/UserFolders.h"
#include "Platform/Utf8.h"
#include "VKCoreKit/VKCFRef.h"
#include "VKCoreKit/VKFoldersInternal.h"

#include <cerrno>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

struct VKProduct {
    QString name;
    QString part; ///< empty for the product itself
};

namespace {

constexpr qsizetype kLongestFolderName = 255; // bytes, on every file system in use

using ProductKey = std::pair<QString, QString>;

/// Never destroyed: products live as long as the process.
struct Registry {
    std::mutex mutex;
    std::map<ProductKey, std::unique_ptr<const VKProduct>> products;

    void add(const ProductKey& key) {
        products.try_emplace(key, std::make_unique<const VKProduct>(VKProduct{key.first, key.second}));
    }
};

Registry& registry() {
    static Registry* const sRegistry = [] {
        auto* const made = new Registry;
        made->add({QStringLiteral("Kestrel"), QString()});
        return made;
    }();
    return *sRegistry;
}

QString nameOf(CFStringRef name) {
    return CFStringCopyQString(name).normalized(QString::NormalizationForm_C);
}

bool canNameFolder(const QString& name) {
    if (name.isEmpty() || name == u"." || name == u"..") {
        return false;
    }
    if (name.contains(u'/') || name.contains(u'\\') || name.contains(QChar::Null)) {
        return false;
    }
    const std::optional<QByteArray> bytes = VKPlatform::encodeUtf8(name);
    return bytes && bytes->size() <= kLongestFolderName;
}

/// The names of folders below the maker's that lead to what a product keeps there.
struct FolderNames {
    QString product;
    QString part;
    QString kind;
};

bool nameFolders(const VKProduct& product, int kind, FolderNames& names) {
    names = {product.name, product.part, QString()};
    switch (kind) {
    case kVKSupportAppData:
        return true;
    case kVKSupportExtras:
        names.kind = QStringLiteral("Extras");
        return true;
    case kVKSupportCommon:
        names.kind = QStringLiteral("Common");
        return true;
    default:
        return false;
    }
}

/// The names come from canNameFolder() and so always make a path.
QByteArray folderBelow(const QByteArray& makersFolder, const FolderNames& names) {
    QByteArray path = makersFolder;
    for (const QString& name : {names.product, names.part, names.kind}) {
        if (!name.isEmpty()) {
            path = pathInFolder(path, name).value_or(path);
        }
    }
    return path;
}

/// The first folder of that place among those for all users; null when there is none.
template <typename Place>
QByteArray firstSharedFolder(Place place) {
    for (const QByteArray& base : VKPlatform::sharedDataFolders()) {
        QByteArray path = place(base + "/VK");
        if (VKPlatform::isFolderThere(path) == 0) {
            return path;
        }
    }
    return QByteArray();
}

VKStatus userFolder(const FolderNames& names, bool create, QByteArray& path) {
    QByteArray makersFolder;
    const VKStatus status = wellKnownFolder(kVKFolderUserAppData, makersFolder);
    if (status != kVKStatusSuccess) {
        return status;
    }
    path = folderBelow(makersFolder, names);
    return create ? static_cast<VKStatus>(VKPlatform::makePrivateFolder(path)) : kVKStatusSuccess;
}

} // namespace

VKProductKestrelName::operator CFStringRef() const { return CFSTR("Kestrel"); }

VKStatus VKProductRegister(CFStringRef name, CFStringRef subProductOrNull) {
    const ProductKey key(nameOf(name), nameOf(subProductOrNull));
    if (!canNameFolder(key.first) || (subProductOrNull != nullptr && !canNameFolder(key.second))) {
        return kVKStatusBadArgument;
    }
    Registry& products = registry();
    const std::lock_guard lock(products.mutex);
    products.add(key);
    return kVKStatusSuccess;
}

VKProductRef VKProductGetProduct(CFStringRef name, CFStringRef subProductOrNull) {
    const ProductKey key(nameOf(name), nameOf(subProductOrNull));
    if (subProductOrNull != nullptr && key.second.isEmpty()) {
        return nullptr;
    }
    Registry& products = registry();
    const std::lock_guard lock(products.mutex);
    const auto found = products.products.find(key);
    return found == products.products.end() ? nullptr : found->second.get();
}

VKStatus VKProductGetSupportURLCopy(VKProductRef product, bool user, int kind, int /*reserved*/, int create,
                                    CFURLRef* url) {
    if (url == nullptr) {
        return kVKStatusBadArgument;
    }
    *url = nullptr;
    if (product == nullptr) {
        return kVKStatusBadArgument;
    }
    FolderNames names;
    if (!nameFolders(*product, kind, names)) {
        return kVKStatusCancelled;
    }
    QByteArray path;
    if (user) {
        const VKStatus status = userFolder(names, create != 0, path);
        if (status != kVKStatusSuccess) {
            return status;
        }
    } else {
        path = firstSharedFolder([&names](const QByteArray& makers) { return folderBelow(makers, names); });
        if (path.isEmpty()) {
            return ENOENT;
        }
    }
    *url = createFolderUrl(path);
    return kVKStatusSuccess;
}

VKStatus VKProductGetTarnUrlCopy(int user, int /*reserved*/, CFURLRef* url) {
    if (user != 0) {
        return VKFileMgrGetFolderPathCopy(nullptr, kVKFolderUserAppData, nullptr, url);
    }
    if (url == nullptr) {
        return kVKStatusBadArgument;
    }
    *url = nullptr;
    const QByteArray path = firstSharedFolder([](const QByteArray& makers) { return makers; });
    if (path.isEmpty()) {
        return ENOENT;
    }
    *url = createFolderUrl(path);
    return kVKStatusSuccess;
}
