// Versions out of names and property lists.
#include "VKCoreKit/VKVersionRules.h"

#include "CoreFoundation/XmlText.h"

#include <QXmlStreamReader>

#include <array>

namespace {

bool isDigit(QChar unit) { return unit >= u'0' && unit <= u'9'; }

/// Digits with single dots between them.
bool isVersion(QStringView text) {
    if (text.isEmpty() || !isDigit(text.front()) || !isDigit(text.back())) {
        return false;
    }
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!isDigit(text[i]) && (text[i] != u'.' || text[i + 1] == u'.')) {
            return false;
        }
    }
    return true;
}

/// Takes the number off the front of the text; 0 when it does not fit.
std::int32_t takeNumber(QStringView& text) {
    qsizetype digits = 0;
    while (digits < text.size() && isDigit(text[digits])) {
        ++digits;
    }
    bool fits = false;
    const int number = text.first(digits).toInt(&fits);
    text = text.sliced(digits);
    return fits ? number : 0;
}

/// How many numbers stand at the start, four at most.
int takeNumbers(QStringView text, std::array<std::int32_t, 4>& numbers) {
    int count = 0;
    while (count < 4 && !text.isEmpty() && isDigit(text.front())) {
        numbers.at(static_cast<std::size_t>(count++)) = takeNumber(text);
        if (!text.startsWith(u'.')) {
            break;
        }
        text = text.sliced(1);
    }
    return count;
}

/// One property list, read from its root to its end.
class InfoPlistReader {
public:
    explicit InfoPlistReader(QByteArrayView bytes) {
        QString text;
        mGood = CoreFoundation::decodeXml(bytes, text) == nullptr;
        mXml.addData(text);
    }

    std::optional<VKBundleVersions> read() {
        if (enter() && mXml.name() == u"plist" && enter() && mXml.name() == u"dict") {
            readDictionary();
        } else {
            mGood = false;
        }
        // Only the end of <plist> and white space may follow, which the reader itself sees to.
        while (mGood && !mXml.atEnd()) {
            const QXmlStreamReader::TokenType token = next();
            mGood = mGood && token != QXmlStreamReader::StartElement && !isText(token);
        }
        return mGood && !mXml.hasError() ? std::optional(mVersions) : std::nullopt;
    }

private:
    QXmlStreamReader::TokenType next() {
        const QXmlStreamReader::TokenType token = mXml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            ++mDepth;
        } else if (token == QXmlStreamReader::EndElement) {
            --mDepth;
        }
        // A document type may name its public identifier, but declare nothing.
        const bool declares = token == QXmlStreamReader::DTD && mXml.text().contains(u'[');
        if (token == QXmlStreamReader::Invalid || token == QXmlStreamReader::EntityReference || declares ||
            mDepth > kInfoPlistDepthLimit) {
            mGood = false;
        }
        return token;
    }

    bool isText(QXmlStreamReader::TokenType token) const {
        return token == QXmlStreamReader::Characters && !mXml.isWhitespace();
    }

    /// To the next element's start at this level: false at the level's end, and when something else comes.
    bool enter() {
        while (mGood && !mXml.atEnd()) {
            const QXmlStreamReader::TokenType token = next();
            if (token == QXmlStreamReader::StartElement) {
                return mGood;
            }
            if (token == QXmlStreamReader::EndElement) {
                return false;
            }
            mGood = mGood && !isText(token);
        }
        return false;
    }

    /// The characters of the element that was entered, to its end; elements inside it are damage.
    QString takeText() {
        QString text;
        while (mGood && !mXml.atEnd()) {
            const QXmlStreamReader::TokenType token = next();
            if (token == QXmlStreamReader::EndElement) {
                return text;
            }
            if (token == QXmlStreamReader::Characters) {
                text += mXml.text();
            }
            mGood = mGood && token != QXmlStreamReader::StartElement;
        }
        return QString();
    }

    void skipElement() {
        const int outside = mDepth - 1;
        while (mGood && !mXml.atEnd() && mDepth > outside) {
            next();
        }
    }

    void readDictionary() {
        while (enter()) {
            if (mXml.name() != u"key") {
                mGood = false;
                return;
            }
            const QString key = takeText();
            if (!enter() || mXml.name() == u"key") {
                mGood = false;
                return;
            }
            readValue(key);
        }
    }

    void readValue(const QString& key) {
        const bool isShort = key == u"CFBundleShortVersionString";
        if ((isShort || key == u"CFBundleVersion") && mXml.name() == u"string") {
            (isShort ? mVersions.shortVersion : mVersions.version) = takeText().trimmed();
        } else {
            skipElement();
        }
    }

    QXmlStreamReader mXml;
    VKBundleVersions mVersions;
    int mDepth = 0;
    bool mGood = true;
};

} // namespace

std::optional<VKBundleVersions> parseInfoPlist(QByteArrayView text) {
    if (text.size() > kInfoPlistSizeLimit) {
        return std::nullopt;
    }
    return InfoPlistReader(text).read();
}

VKVersionInfo versionNumbers(QStringView text) {
    std::array<std::int32_t, 4> numbers{};
    takeNumbers(text, numbers);
    return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

VKVersionInfo bundleNumbers(const VKBundleVersions& versions) {
    std::array<std::int32_t, 4> numbers{};
    const bool isShown = !versions.shortVersion.isEmpty();
    const int count = takeNumbers(isShown ? versions.shortVersion : versions.version, numbers);
    VKVersionInfo info = {numbers[0], numbers[1], numbers[2], numbers[3]};
    if (isShown && count < 4) {
        std::array<std::int32_t, 4> build{};
        const int buildCount = takeNumbers(versions.version, build);
        info.build = buildCount == 1 ? build[0] : build[3];
    }
    return info;
}

QString versionInLibraryName(QStringView name) {
    constexpr QStringView kShared = u".so";
    constexpr QStringView kDynamic = u".dylib";
    const qsizetype shared = name.lastIndexOf(QString(kShared + u'.'));
    if (shared > 0) {
        const QStringView version = name.sliced(shared + kShared.size() + 1);
        return isVersion(version) ? version.toString() : QString();
    }
    const bool isShared = name.endsWith(kShared);
    if (!isShared && !name.endsWith(kDynamic)) {
        return QString();
    }
    const QStringView stem = name.chopped(isShared ? kShared.size() : kDynamic.size());
    const qsizetype begin = isShared ? stem.lastIndexOf(u'-') : stem.indexOf(u'.');
    if (begin <= 0) {
        return QString();
    }
    const QStringView version = stem.sliced(begin + 1);
    return isVersion(version) ? version.toString() : QString();
}
