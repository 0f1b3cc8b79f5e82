// Taking names apart and putting them together.
#include "Platform/UniqueName.h"
#include "Platform/Utf8.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace VKPlatform {

namespace {

constexpr qsizetype kExtensionLimit = 16;
constexpr qsizetype kNumberDigits = 6;

/// Where the extension begins whose dot is before `end`; -1 when there is none.
qsizetype extensionStart(const QString& name, qsizetype end) {
    const qsizetype dot = QStringView(name).first(end).lastIndexOf(u'.');
    const qsizetype length = end - dot - 1;
    if (dot <= 0 || length < 1 || length > kExtensionLimit) {
        return -1;
    }
    const QStringView extension = QStringView(name).sliced(dot + 1, length);
    return std::any_of(extension.begin(), extension.end(), [](QChar c) { return c.isSpace(); }) ? -1 : dot;
}

bool isCompressor(QStringView extension) {
    static constexpr const char16_t* kCompressors[] = {u".gz",  u".bz2",  u".xz", u".zst", u".lz",
                                                       u".lz4", u".lzma", u".z",  u".br"};
    return std::any_of(std::begin(kCompressors), std::end(kCompressors), [&](const char16_t* known) {
        return extension.compare(QStringView(known), Qt::CaseInsensitive) == 0;
    });
}

qsizetype splitAt(const QString& name, NameShape shape) {
    const qsizetype last = shape == NameShape::File ? extensionStart(name, name.size()) : -1;
    if (last < 0) {
        return name.size();
    }
    if (isCompressor(QStringView(name).sliced(last))) {
        const qsizetype inner = extensionStart(name, last);
        if (inner >= 0 &&
            QStringView(name).sliced(inner, last - inner).compare(u".tar", Qt::CaseInsensitive) == 0) {
            return inner;
        }
    }
    return last;
}

/// The number at the end of the text, at least 2 and without zeros in front; 0 when there is none.
int numberAtEnd(QStringView text, qsizetype& digits) {
    digits = 0;
    while (digits < text.size() && text.at(text.size() - digits - 1) >= u'0' &&
           text.at(text.size() - digits - 1) <= u'9') {
        ++digits;
    }
    if (digits == 0 || digits > kNumberDigits || text.at(text.size() - digits) == u'0') {
        return 0;
    }
    const int number = text.last(digits).toInt();
    return number >= 2 ? number : 0;
}

QString suffixOf(int number, const QString& word) {
    if (number <= 0) {
        return QString();
    }
    const QString text = u' ' + word;
    return number == 1 ? text : text + u' ' + QString::number(number);
}

qsizetype utf8Size(QStringView text) { return text.toUtf8().size(); }

/// The longest beginning of whole characters that has at most `limit` bytes.
QString cutBetweenCharacters(const QString& text, qsizetype limit) {
    if (utf8Size(text) <= limit) {
        return text;
    }
    qsizetype end = 0;
    qsizetype bytes = 0;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype next = finder.toNextBoundary(); next > 0; next = finder.toNextBoundary()) {
        bytes += utf8Size(QStringView(text).sliced(end, next - end));
        if (bytes > limit) {
            break;
        }
        end = next;
    }
    const qsizetype cut = end;
    while (end > 0 && text.at(end - 1).isSpace()) {
        --end;
    }
    return text.first(end > 0 ? end : cut);
}

} // namespace

NameParts nameParts(const QString& name, NameShape shape, const QString& copyWord) {
    const qsizetype split = splitAt(name, shape);
    NameParts parts{name.first(split), 0, name.sliced(split)};
    const QString marker = suffixOf(1, copyWord);
    const QString markerBeforeNumber = marker + u' ';
    QStringView rest = parts.stem;
    qsizetype digits = 0;
    int number = numberAtEnd(rest, digits);
    if (number != 0 && rest.chopped(digits).endsWith(markerBeforeNumber)) {
        rest.chop(digits + 1);
    } else {
        number = 1;
    }
    if (rest.endsWith(marker) && rest.size() > marker.size()) {
        parts.number = number;
        parts.stem.truncate(rest.size() - marker.size());
    }
    return parts;
}

std::optional<QByteArray> numberedName(const NameParts& parts, int number, const QString& copyWord,
                                       qsizetype limitBytes) {
    const auto formC = [](const QString& text) { return text.normalized(QString::NormalizationForm_C); };
    const QString tail = formC(suffixOf(number, copyWord) + parts.extension);
    const QString stem = cutBetweenCharacters(formC(parts.stem), limitBytes - utf8Size(tail));
    if (stem.isEmpty()) {
        return std::nullopt;
    }
    return encodeUtf8(QString(stem + tail));
}

} // namespace VKPlatform
