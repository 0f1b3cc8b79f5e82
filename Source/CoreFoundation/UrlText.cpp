// RFC 3986 is the grammar; where resolving leaves a choice, ".." above the root stays in the text.
#include "CoreFoundation/UrlText.h"

#include <array>
#include <vector>

namespace {

enum CharacterClass : unsigned char { kInvalid = 0, kInUrl = 1, kInPath = 2, kInAuthorityOnly = 4 };

constexpr std::array<unsigned char, 128> makeClasses() {
    std::array<unsigned char, 128> classes{};
    const auto mark = [&classes](const char* characters, unsigned char value) {
        for (; *characters != '\0'; ++characters) {
            classes[static_cast<unsigned char>(*characters)] = value;
        }
    };
    mark("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789", kInUrl | kInPath);
    mark("-._~!$&'()*+,:=@/", kInUrl | kInPath);
    mark("%;?#", kInUrl);
    mark("[]", kInAuthorityOnly);
    return classes;
}

constexpr std::array<unsigned char, 128> kClasses = makeClasses();

unsigned char classOf(char16_t unit) {
    return unit < kClasses.size() ? kClasses[unit] : static_cast<unsigned char>(kInvalid);
}

bool isLetter(char16_t unit) { return (unit | 0x20) >= u'a' && (unit | 0x20) <= u'z'; }
bool isDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

int hexDigit(char16_t unit) {
    if (isDigit(unit)) {
        return unit - u'0';
    }
    const char16_t lower = unit | 0x20;
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

qsizetype schemeEnd(QStringView text) {
    if (text.isEmpty() || !isLetter(text[0].unicode())) {
        return 0;
    }
    for (qsizetype i = 1; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (unit == u':') {
            return i;
        }
        if (!isLetter(unit) && !isDigit(unit) && unit != u'+' && unit != u'-' && unit != u'.') {
            return 0;
        }
    }
    return 0;
}

// The first of the characters at or after `from`, or the text's end.
template <class... Units>
qsizetype findAny(QStringView text, qsizetype from, Units... units) {
    while (from < text.size() && ((text[from] != units) && ...)) {
        ++from;
    }
    return from;
}

bool hasValidCharacters(QStringView text, const CoreFoundation::UrlParts& parts) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        const unsigned char kind = classOf(unit);
        if (kind == kInvalid ||
            (kind == kInAuthorityOnly && (i < parts.authorityBegin || i >= parts.pathBegin))) {
            return false;
        }
        if (unit == u'%') {
            if (text.size() - i < 3 || hexDigit(text[i + 1].unicode()) < 0 ||
                hexDigit(text[i + 2].unicode()) < 0) {
                return false;
            }
            i += 2;
        }
    }
    return true;
}

QString withoutDotSegments(QStringView path) {
    const bool isRooted = path.startsWith(u'/');
    std::vector<QStringView> segments;
    bool endsInFolder = false;
    qsizetype begin = isRooted ? 1 : 0;
    while (begin <= path.size()) {
        const qsizetype end = findAny(path, begin, u'/');
        const QStringView segment = path.sliced(begin, end - begin);
        endsInFolder = end == path.size() && (segment == u"." || segment == u".." || segment.isEmpty());
        const bool isLast = end == path.size();
        if (segment == u"..") {
            if (!segments.empty() && segments.back() != u"..") {
                segments.pop_back();
            } else {
                segments.push_back(segment);
            }
        } else if (segment != u"." && !(isLast && segment.isEmpty())) {
            segments.push_back(segment);
        }
        begin = end + 1;
    }
    QString result;
    result.reserve(path.size());
    if (isRooted) {
        result += u'/';
    }
    for (std::size_t i = 0; i < segments.size(); ++i) {
        result += segments[i];
        if (i + 1 < segments.size() || endsInFolder) {
            result += u'/';
        }
    }
    return result;
}

} // namespace

std::optional<CoreFoundation::UrlParts> CoreFoundation::splitUrl(QStringView text) {
    UrlParts parts;
    parts.schemeEnd = schemeEnd(text);
    qsizetype position = parts.schemeEnd > 0 ? parts.schemeEnd + 1 : 0;
    parts.isHierarchical = parts.schemeEnd == 0 || text.sliced(position).startsWith(u'/');
    if (text.sliced(position).startsWith(u"//")) {
        parts.authorityBegin = position + 2;
        position = findAny(text, parts.authorityBegin, u'/', u'?', u'#');
    }
    parts.pathBegin = position;
    parts.pathEnd = findAny(text, position, u'?', u'#');
    parts.queryEnd = findAny(text, parts.pathEnd, u'#');
    if (!hasValidCharacters(text, parts)) {
        return std::nullopt;
    }
    return parts;
}

QString CoreFoundation::escapedPath(QByteArrayView bytes, ColonRule colons) {
    constexpr char16_t kDigits[] = u"0123456789ABCDEF";
    const auto isKept = [&colons](unsigned char byte) {
        if (byte == '/') {
            colons = ColonRule::Keep;
        }
        return (classOf(byte) & kInPath) != 0 && (byte != ':' || colons == ColonRule::Keep);
    };
    const ColonRule given = colons;
    qsizetype length = 0;
    for (const char byte : bytes) {
        length += isKept(static_cast<unsigned char>(byte)) ? 1 : 3;
    }
    colons = given;
    QString text(length, Qt::Uninitialized);
    QChar* out = text.data();
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (isKept(value)) {
            *out++ = QLatin1Char(byte);
            continue;
        }
        *out++ = u'%';
        *out++ = kDigits[value / 16];
        *out++ = kDigits[value % 16];
    }
    return text;
}

QByteArray CoreFoundation::unescaped(QStringView text) {
    QByteArray bytes(text.size(), Qt::Uninitialized);
    char* out = bytes.data();
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (unit == u'%') {
            *out++ =
                static_cast<char>(hexDigit(text[i + 1].unicode()) * 16 + hexDigit(text[i + 2].unicode()));
            i += 2;
        } else {
            *out++ = static_cast<char>(unit);
        }
    }
    bytes.truncate(out - bytes.constData());
    return bytes;
}

bool CoreFoundation::isFolderPath(QStringView path) {
    return path.endsWith(u'/') || path == u"." || path == u".." || path.endsWith(u"/.") ||
           path.endsWith(u"/..");
}

std::optional<QString> CoreFoundation::resolvedUrl(const QString& base, const UrlParts& baseParts,
                                                   const QString& reference, const UrlParts& referenceParts) {
    if (!baseParts.isHierarchical) {
        return std::nullopt;
    }
    const QStringView baseView = base;
    const QStringView referenceView = reference;
    if (referenceParts.authorityBegin >= 0) {
        // A base without scheme has no ":" to go with it either.
        const qsizetype end = baseParts.schemeEnd > 0 ? baseParts.schemeEnd + 1 : 0;
        return baseView.first(end) + reference;
    }
    if (!referenceParts.hasPath()) {
        const bool hasQuery = referenceParts.queryEnd > referenceParts.pathEnd;
        return baseView.first(hasQuery ? baseParts.pathEnd : baseParts.queryEnd) + reference;
    }
    const QStringView root = baseView.first(baseParts.pathBegin);
    if (referenceView.startsWith(u'/')) {
        return root + reference;
    }
    const QStringView basePath =
        baseView.sliced(baseParts.pathBegin, baseParts.pathEnd - baseParts.pathBegin);
    const bool hasAuthority = baseParts.authorityBegin >= 0;
    QString merged = basePath.first(basePath.lastIndexOf(u'/') + 1).toString();
    if (merged.isEmpty() && hasAuthority) {
        merged = QStringLiteral("/");
    }
    merged += referenceView.first(referenceParts.pathEnd);
    QString path = withoutDotSegments(merged);
    // What is left must not read as something else: "//x" as a host, "x:y" as a scheme.
    if (!hasAuthority && path.startsWith(u"//")) {
        path.prepend(u"/.");
    } else if (root.isEmpty() && schemeEnd(path) > 0) {
        path.prepend(u"./");
    }
    return root + path + referenceView.sliced(referenceParts.pathEnd);
}
