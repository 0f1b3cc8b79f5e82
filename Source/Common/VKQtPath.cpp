// The path value: canonical text, components, comparison, platform handles, JSON and stream forms. What a
// text costs is decided by one pass over it: a canonical one is shared, any other is written once.
#include "VKQtPath.h"

#include "VKQtFormC.h"
#include "VKQtPathFilter.h"
#include "VKQtStringUtils.h"
#include "VKQtSysInfo.h"
#include "VKQtTextKernels.h"

#include <VKCoreKit/VKFileMgr.h>

#include <QDataStream>
#include <QDebug>
#include <QDir>
#include <QIODevice>
#include <QtEndian>

const QString VKQtPath::kCanonicalPathSeparator = QStringLiteral("/");

namespace {

constexpr char16_t kSeparator = u'/';
constexpr qint32 kStreamVersion = 1;
// A QString in a stream declares this instead of a length when it is null.
constexpr quint32 kNullTextInStream = 0xFFFFFFFFU;

// What canonicalText() does to a text that it cannot share at once. Apart, so that the usual way has no frame to
// set up.
Q_NEVER_INLINE QString rewrittenText(const QString& text, qsizetype kept, bool isDrive) {
    const VKQtTextKernels::PathScan scan = VKQtTextKernels::scanPath(text);
    const bool isComposed = scan.allBits < VKQtFormC::kFirstMark;
    const qsizetype length = isDrive ? kept + 1 : kept;
    if (length == text.size() && !scan.hasBackslash) {
        return isComposed ? text : VKQtFormC::composed(text);
    }
    QString rewritten(length, Qt::Uninitialized);
    char16_t* const units = reinterpret_cast<char16_t*>(rewritten.data());
    VKQtTextKernels::copyWithSlashes(units, QStringView(text).first(kept));
    if (isDrive) {
        units[kept] = kSeparator;
    }
    return isComposed ? rewritten : VKQtFormC::composed(rewritten);
}

QString canonicalText(const QString& text, bool folder) {
    const qsizetype size = text.size();
    const QChar* const units = text.constData();
    const bool endsWithSlash = size >= 3 && (units[size - 1] == kSeparator || units[size - 1] == u'\\');
    const qsizetype kept = endsWithSlash ? size - 1 : size;
    const bool isDrive = folder && kept == 2 && units[1] == u':';
    // A drive that lost its slash gets it back: of equal length means unchanged.
    if (kept + (isDrive ? 1 : 0) == size && VKQtTextKernels::isPlain(text)) {
        return text;
    }
    return rewrittenText(text, kept, isDrive);
}

bool needsSeparator(const QString& text, const QString& part) {
    if (VKQtSysInfo::isMacPlatform()) {
        return !text.endsWith(kSeparator) && !part.startsWith(kSeparator);
    }
    return !text.isEmpty() && !text.endsWith(kSeparator);
}

QStringView afterLast(QStringView text, char16_t unit) {
    return text.sliced(VKQtTextKernels::lastIndexOf(text, unit) + 1);
}

// QString::toLower() of one unit, as far as that can give ASCII: the Kelvin sign is the only other letter
// whose lower case is an ASCII letter and nothing else.
constexpr char16_t asciiLower(char16_t unit) {
    if (unit >= u'A' && unit <= u'Z') {
        return static_cast<char16_t>(unit + (u'a' - u'A'));
    }
    return unit == u'\u212A' ? u'k' : unit;
}

// Whether the text in lower case is `lowered`, which is ASCII.
template <typename Text>
bool isLoweredAs(QStringView text, const Text& lowered) noexcept {
    if (text.size() != lowered.size()) {
        return false;
    }
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (asciiLower(text[i].unicode()) != QChar(lowered[i]).unicode()) {
            return false;
        }
    }
    return true;
}

// Whether the suffix ends with `kind`, which has no "." itself.
bool suffixEndsWith(QStringView text, QLatin1String kind) noexcept {
    return text.size() > kind.size() && isLoweredAs(text.last(kind.size()), kind) &&
           VKQtTextKernels::lastIndexOf(text.chopped(kind.size()), u'.') >= 0;
}

// For a name that exists only in another spelling, which QFileInfo cannot see.
bool isFolderOnDisk(const QString& text) {
    const auto url =
        VKCFRef<CFURLRef>::adopt(VKQtStringUtils::createFileSystemRepresentationFromQString(text, false));
    VKItemDetails details;
    return url && VKFileMgrGetItemDetails(url.get(), true, &details) == kVKStatusSuccess &&
           details.kind == VKItemKind::Folder;
}

// Whether the stream's next value declares a text longer than what its device still holds. Only a
// random-access device can tell.
bool declaresMoreThanIsLeft(const QDataStream& stream) {
    QIODevice* const device = stream.device();
    quint32 length = 0;
    if (device == nullptr || device->isSequential() ||
        device->peek(reinterpret_cast<char*>(&length), sizeof length) != qint64{sizeof length}) {
        return false;
    }
    length =
        stream.byteOrder() == QDataStream::BigEndian ? qFromBigEndian(length) : qFromLittleEndian(length);
    return length != kNullTextInStream && length > device->bytesAvailable() - qint64{sizeof length};
}

} // namespace

VKQtPath::VKQtPath() noexcept = default;

VKQtPath::VKQtPath(const VKQtPath& other) noexcept
    : CBaseCore(other), mPath(other.mPath), mFolder(other.mFolder), mVolumeID(other.mVolumeID),
      mHasVolumeID(other.mHasVolumeID), mSecurityToken(other.mSecurityToken) {}

VKQtPath::VKQtPath(VKQtPath&& other) noexcept
    : CBaseCore(), mPath(std::exchange(other.mPath, QString())), mFolder(std::exchange(other.mFolder, false)),
      mVolumeID(std::exchange(other.mVolumeID, 0U)), mHasVolumeID(std::exchange(other.mHasVolumeID, false)),
      mSecurityToken(std::move(other.mSecurityToken)), mFullVolumeCache(std::move(other.mFullVolumeCache)) {}

VKQtPath::VKQtPath(const QFileInfo& info) : VKQtPath(info.absolutePath(), info.isDir()) {}

VKQtPath::VKQtPath(const QUrl& url) {
    const QString local = url.toLocalFile();
    if (local.isEmpty()) {
        return;
    }
    const QFileInfo info(local);
    const QString text = info.absoluteFilePath();
    setPath(text, info.exists() ? info.isDir() : isFolderOnDisk(text));
}

VKQtPath::VKQtPath(CFStringRef text, bool folder)
    : VKQtPath(VKQtStringUtils::createQStringFromCFStringRef(text), folder) {}

VKQtPath::VKQtPath(const QString& text, bool folder) : mPath(canonicalText(text, folder)), mFolder(folder) {}

VKQtPath::VKQtPath(const QString& text, bool folder, unsigned int volumeID)
    : mPath(canonicalText(text, folder)), mFolder(folder), mVolumeID(volumeID), mHasVolumeID(true) {}

VKQtPath::VKQtPath(CanonicalFolder /*tag*/, QString&& text, unsigned int volumeID) noexcept
    : mPath(std::move(text)), mFolder(true), mVolumeID(volumeID), mHasVolumeID(true) {}

VKQtPath::~VKQtPath() = default;

VKQtPath& VKQtPath::operator=(const VKQtPath& other) noexcept {
    if (this != &other) {
        mPath = other.mPath;
        mFolder = other.mFolder;
        mVolumeID = other.mVolumeID;
        mHasVolumeID = other.mHasVolumeID;
        mSecurityToken = other.mSecurityToken;
    }
    return *this;
}

VKQtPath& VKQtPath::operator=(VKQtPath&& other) noexcept {
    if (this != &other) {
        mPath = std::exchange(other.mPath, QString());
        mFolder = std::exchange(other.mFolder, false);
        mVolumeID = std::exchange(other.mVolumeID, 0U);
        mHasVolumeID = std::exchange(other.mHasVolumeID, false);
        mSecurityToken = std::move(other.mSecurityToken);
        other.mFullVolumeCache.reset();
    }
    return *this;
}

void VKQtPath::clear() noexcept {
    mPath = QString();
    mFolder = false;
    mVolumeID = 0;
    mHasVolumeID = false;
    mSecurityToken.reset();
    mFullVolumeCache.reset();
}

void VKQtPath::setSecurityToken(CFDataRef token) { mSecurityToken = VKCFRef<CFDataRef>::retain(token); }

void VKQtPath::setPath(const QString& text, bool folder) {
    // The new text first: `text` may belong to what is released.
    mPath = canonicalText(text, folder);
    mFolder = folder;
    mHasVolumeID = false;
    mFullVolumeCache.reset();
    mSecurityToken.reset();
}

void VKQtPath::setPath(const QString& text, bool folder, unsigned int volumeID) {
    setPath(text, folder);
    mVolumeID = volumeID;
    mHasVolumeID = true;
}

void VKQtPath::setPath(CFStringRef text, bool folder) {
    setPath(VKQtStringUtils::createQStringFromCFStringRef(text), folder);
}

void VKQtPath::setPath(CFURLRef url, bool folder, unsigned int volumeID) {
    QString text = VKQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(url);
    // In a URL a backslash is part of a name. A path would take it for a separator.
    text.replace(u'\\', QChar(QChar::ReplacementCharacter));
    if (volumeID != 0) {
        setPath(text, folder, volumeID);
    } else {
        setPath(text, folder);
    }
}

void VKQtPath::setPath(const VKQtPath& other) {
    mPath = other.mPath;
    mFolder = other.mFolder;
    mSecurityToken = other.mSecurityToken;
    mFullVolumeCache.reset();
}

void VKQtPath::becomeEntry(const VKQtPath& folder, QString&& text, bool isFolder) noexcept {
    mPath = std::move(text);
    mFolder = isFolder;
    mVolumeID = folder.mVolumeID;
    mHasVolumeID = folder.mHasVolumeID;
    mSecurityToken.reset();
    mFullVolumeCache.reset();
}

void VKQtPath::replace(int start, int end, const QString& with) {
    mPath = mPath.mid(0, start) % with % mPath.mid(end);
}

QString VKQtPath::normalize(const QString& text, bool folder) const { return canonicalText(text, folder); }

QString VKQtPath::filename() const {
    const qsizetype slash = VKQtTextKernels::lastIndexOf(mPath, kSeparator);
    if (slash < 0) {
        return mFolder ? QString() : mPath;
    }
    return mPath.sliced(slash + 1);
}

QString VKQtPath::baseName() const { return computeBaseName(mPath); }

QString VKQtPath::computeBaseName(const QString& text) {
    const QStringView name = afterLast(text, kSeparator);
    const qsizetype dot = VKQtTextKernels::lastIndexOf(name, u'.');
    const QStringView base = dot < 0 ? name : name.first(dot);
    return base.size() == text.size() ? text : base.toString();
}

QString VKQtPath::suffix() const {
    const qsizetype dot = VKQtTextKernels::lastIndexOf(mPath, u'.');
    if (dot < 0) {
        return QString();
    }
    const QStringView text = QStringView(mPath).sliced(dot + 1);
    QString lowered(text.size(), Qt::Uninitialized);
    char16_t allBits = 0;
    char16_t* const units = reinterpret_cast<char16_t*>(lowered.data());
    for (qsizetype i = 0; i < text.size(); ++i) {
        allBits |= text[i].unicode();
        units[i] = asciiLower(text[i].unicode());
    }
    return allBits < 0x80 ? lowered : text.toString().toLower();
}

VKQtPath VKQtPath::pathOnly() const {
    if (mPath.size() == 3 && mPath[1] == u':' && mPath[2] == kSeparator) {
        return VKQtPath();
    }
    const qsizetype slash = VKQtTextKernels::lastIndexOf(mPath, kSeparator);
    QStringView folder(mPath);
    if (slash >= 0) {
        folder.truncate(slash == 0 && mPath.size() >= 2 ? 1 : slash);
    }
    if (folder == u"/Volumes") {
        return VKQtPath(QStringLiteral("/Volumes"), true);
    }
    // The text is made canonical twice. That takes up to two slashes from its end, here before it is copied.
    const VKQtTextKernels::PathScan scan = VKQtTextKernels::scanPath(folder);
    if (scan.hasBackslash || scan.allBits >= VKQtFormC::kFirstMark) {
        return VKQtPath(canonicalText(folder.toString(), mFolder), true, mVolumeID);
    }
    for (int pass = 0; pass < 2 && folder.size() >= 3 && folder.back() == kSeparator; ++pass) {
        folder.chop(1);
    }
    if (folder.size() == 2 && folder[1] == u':') {
        return VKQtPath(CanonicalFolder(), folder % kSeparator, mVolumeID);
    }
    return VKQtPath(CanonicalFolder(), folder.size() == mPath.size() ? QString(mPath) : folder.toString(),
                    mVolumeID);
}

QStringList VKQtPath::split() const {
    // Room for most paths at once; a longer one grows the list.
    constexpr qsizetype kUsualComponents = 12;
    QStringList components;
    if (mPath.isEmpty()) {
        return components;
    }
    components.reserve(kUsualComponents);
    const QStringView text(mPath);
    if (text.front() == kSeparator) {
        components.append(kCanonicalPathSeparator);
    }
    for (qsizetype begin = 0; begin < text.size();) {
        qsizetype end = text.indexOf(kSeparator, begin);
        if (end < 0) {
            end = text.size();
        }
        if (end > begin) {
            components.append(text.sliced(begin, end - begin).toString());
        }
        begin = end + 1;
    }
    if (components.first().endsWith(u':')) {
        components.first().append(kSeparator);
    }
    return components;
}

QList<VKQtPath> VKQtPath::parents() const {
    const QStringList components = mFolder ? split() : pathOnly().split();
    QList<VKQtPath> ancestors;
    ancestors.reserve(components.size());
    VKQtPath ancestor;
    ancestor.mVolumeID = mVolumeID;
    ancestor.mHasVolumeID = true;
    for (const QString& component : components) {
        ancestor.append(component, true);
        ancestors.append(ancestor);
    }
    return ancestors;
}

void VKQtPath::setJoinedPath(const QString& text, bool folder) {
    if (mHasVolumeID) {
        setPath(text, folder, mVolumeID);
    } else {
        setPath(text, folder);
    }
}

void VKQtPath::append(const QString& part, bool folder) {
    setJoinedPath(needsSeparator(mPath, part) ? QString(mPath % kSeparator % part) : QString(mPath % part),
                  folder);
}

void VKQtPath::append(CFStringRef part, bool folder) {
    append(VKQtStringUtils::createQStringFromCFStringRef(part), folder);
}

void VKQtPath::append(const VKQtPath& other) { append(other.mPath, other.mFolder); }

void VKQtPath::deleteLastPathComponent() {
    const QStringList parts = split();
    if (parts.size() < 2) {
        return;
    }
    const bool unc = isUNC();
    const bool hasBackslash = mPath.contains(u'\\');
    QString joined = unc ? QStringLiteral("//") : QString();
    mFolder = true;
    if (hasBackslash) {
        // Each step may turn a backslash that replace() left into a slash, and take that slash.
        mPath = joined;
        for (const QString& part : parts.first(parts.size() - 1)) {
            append(part, true);
        }
        return;
    }
    // Without a backslash the steps in between change nothing but slashes that the next one sets again, so a
    // text of very many components is joined first and made canonical once.
    joined.reserve(mPath.size() + 1);
    for (qsizetype i = unc ? 1 : 0; i + 1 < parts.size(); ++i) {
        if (needsSeparator(joined, parts[i])) {
            joined.append(kSeparator);
        }
        joined.append(parts[i]);
    }
    setJoinedPath(joined, true);
}

VKQtPath VKQtPath::absolutePath() const { return VKQtPath(QFileInfo(mPath).absolutePath(), mFolder); }

QString VKQtPath::platformSpecificPath() const { return QDir::toNativeSeparators(mPath); }

QFileInfo VKQtPath::info() const { return QFileInfo(mPath); }

CFURLRef VKQtPath::createCFUrl() const {
    return VKQtStringUtils::createFileSystemRepresentationFromQString(mPath, mFolder);
}

CFURLRef VKQtPath::makeCFUrl() const { return createCFUrl(); }

CFStringRef VKQtPath::createCFString() const { return VKQtStringUtils::createCFStringRefFromQString(mPath); }

CFStringRef VKQtPath::makeCFString() const { return createCFString(); }

QUrl VKQtPath::makeQUrl() const { return QUrl::fromLocalFile(mPath); }

bool VKQtPath::isUNC() const noexcept { return mPath.startsWith(u"//"); }

bool VKQtPath::isNetwork() const {
    const auto url = VKCFRef<CFURLRef>::adopt(createCFUrl());
    bool local = true;
    return url && VKFileMgrGetLocal(url.get(), &local) == kVKStatusSuccess && !local;
}

bool VKQtPath::contains(const QString& text) const { return mPath.indexOf(text, 0, Qt::CaseSensitive) != -1; }

bool VKQtPath::contains(const VKQtPath& other) const { return contains(other.mPath); }

bool VKQtPath::startsWith(const QString& text) const noexcept {
    return !text.isEmpty() && text.size() <= mPath.size() &&
           VKQtTextKernels::equalIgnoringCase(QStringView(mPath).first(text.size()), text);
}

bool VKQtPath::endsWith(const QString& text) const noexcept {
    return !text.isEmpty() && text.size() <= mPath.size() &&
           VKQtTextKernels::equalIgnoringCase(QStringView(mPath).last(text.size()), text);
}

bool VKQtPath::startsWith(const VKQtPath& prefix) const noexcept {
    if (mPath.isEmpty() || prefix.mPath.isEmpty()) {
        return false;
    }
    // A folder counts as a text with a slash at its end, without being copied for that.
    const auto length = [](const VKQtPath& path) {
        return path.mPath.size() + (path.mFolder && path.mPath.back() != kSeparator ? 1 : 0);
    };
    const auto unitAt = [](const VKQtPath& path, qsizetype position) {
        return position < path.mPath.size() ? path.mPath[position] : QChar(kSeparator);
    };
    const qsizetype wanted = length(prefix);
    const qsizetype common = qMin(mPath.size(), prefix.mPath.size());
    if (wanted > length(*this) ||
        QStringView(mPath).first(common) != QStringView(prefix.mPath).first(common)) {
        return false;
    }
    return common == wanted || unitAt(*this, common) == unitAt(prefix, common);
}

int VKQtPath::compare(const VKQtPath& other, Qt::CaseSensitivity sensitivity) const noexcept {
    return mPath.compare(other.mPath, sensitivity);
}

bool VKQtPath::operator==(const VKQtPath& other) const noexcept {
    return VKQtTextKernels::equalIgnoringCase(mPath, other.mPath);
}

bool VKQtPath::operator==(const QString& text) const noexcept {
    return VKQtTextKernels::equalIgnoringCase(mPath, text);
}

bool VKQtPath::operator<(const VKQtPath& other) const noexcept { return mPath < other.mPath; }

bool VKQtPath::isJPG() const noexcept {
    return suffixEndsWith(mPath, QLatin1String("jpg")) || suffixEndsWith(mPath, QLatin1String("jpeg"));
}

bool VKQtPath::isPNG() const noexcept { return suffixEndsWith(mPath, QLatin1String("png")); }

bool VKQtPath::isGIF() const noexcept { return suffixEndsWith(mPath, QLatin1String("gif")); }

bool VKQtPath::isTiff() const noexcept {
    return suffixEndsWith(mPath, QLatin1String("tiff")) || suffixEndsWith(mPath, QLatin1String("tif"));
}

bool VKQtPath::isHeic() const noexcept { return suffixEndsWith(mPath, QLatin1String("heic")); }

bool VKQtPath::isDNG() const noexcept { return suffixEndsWith(mPath, QLatin1String("dng")); }

bool VKQtPath::isXMP() const noexcept { return suffixEndsWith(mPath, QLatin1String("xmp")); }

bool VKQtPath::isPhotoshop() const noexcept {
    return suffixEndsWith(mPath, QLatin1String("psd")) || suffixEndsWith(mPath, QLatin1String("psb"));
}

bool VKQtPath::isVKX() const noexcept { return suffixEndsWith(mPath, QLatin1String("vkx")); }

bool VKQtPath::isVKPhoto() const noexcept { return suffixEndsWith(mPath, QLatin1String("vkphoto")); }

bool VKQtPath::isVideo() const {
    const qsizetype dot = VKQtTextKernels::lastIndexOf(mPath, u'.');
    if (dot < 0) {
        return false;
    }
    const QStringView text = QStringView(mPath).sliced(dot + 1);
    for (const QString& extension : VKQtPathFilter::sVideoExtensions) {
        if (isLoweredAs(text, extension)) {
            return true;
        }
    }
    return false;
}

bool VKQtPath::isQRCPath() const noexcept { return mPath.startsWith(u":/"); }

QJsonValue VKQtPath::toJson() const {
    return QJsonObject{{QStringLiteral("path"), mPath},
                       {QStringLiteral("folder"), mFolder},
                       {QStringLiteral("volumeID"), static_cast<double>(mVolumeID)}};
}

VKQtPath::operator QJsonObject() const { return QJsonObject{{QStringLiteral("path"), toJson()}}; }

VKQtPath VKQtPath::fromJsonPayload(const QJsonObject& payload) {
    return VKQtPath(payload.value(u"path").toString(), payload.value(u"folder").toBool(false),
                    static_cast<unsigned int>(payload.value(u"volumeID").toInt(0)));
}

VKQtPath VKQtPath::fromJson(const QJsonValue& value) { return fromJsonPayload(value.toObject()); }

VKQtPath VKQtPath::fromJson(const QJsonObject& object) { return fromJson(object.value(u"path")); }

QString VKQtPath::dumpVKQtPathList(const QList<VKQtPath>& paths) {
    QString dump;
    for (const VKQtPath& path : paths) {
        if (&path != &paths.first()) {
            dump += u", ";
        }
        dump += path.mPath;
    }
    return dump;
}

size_t qHash(const VKQtPath& path, size_t seed) noexcept {
    return VKQtTextKernels::hashIgnoringCase(path.path(), seed);
}

QDataStream& operator<<(QDataStream& stream, const VKQtPath& path) {
    return stream << kStreamVersion << path.isFolder()
                  << (path.path().isNull() ? QStringLiteral("") : path.path())
                  << static_cast<qint32>(path.volumeID());
}

QDataStream& operator>>(QDataStream& stream, VKQtPath& path) {
    qint32 version = 0;
    stream >> version;
    if (stream.status() != QDataStream::Ok || version != kStreamVersion) {
        path.clear();
        return stream;
    }
    bool folder = false;
    QString text;
    qint32 volumeID = 0;
    stream >> folder;
    if (declaresMoreThanIsLeft(stream)) {
        stream.setStatus(QDataStream::ReadPastEnd);
    } else {
        stream >> text >> volumeID;
    }
    if (stream.status() == QDataStream::Ok) {
        path.setPath(text, folder, static_cast<unsigned int>(volumeID));
    } else {
        path.clear();
    }
    return stream;
}

QDebug operator<<(QDebug debug, const VKQtPath& path) {
    const QDebugStateSaver saver(debug);
    debug.nospace().quote() << "VKQtPath(" << path.path();
    if (path.isFolder()) {
        debug << ", folder";
    }
    if (path.hasVolumeID()) {
        debug << ", volume " << path.volumeID();
    }
    debug << ')';
    return debug;
}
