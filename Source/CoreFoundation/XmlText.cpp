// Decoding, and one pass over the markup. It sees tags, comments and literals where the parser sees them, as long as
// the parser finds nothing wrong; behind that it does not read.
#include "CoreFoundation/XmlText.h"

#include <QStringDecoder>

#include <algorithm>
#include <optional>

namespace CoreFoundation {

namespace {

/// What the XML declaration says of the encoding; UTF-8 when it says nothing. Nothing for an unknown name.
std::optional<QStringConverter::Encoding> declaredEncoding(QByteArrayView bytes) {
    if (bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF")) {
        return QStringConverter::Utf16;
    }
    const qsizetype end = bytes.first(std::min<qsizetype>(bytes.size(), 256)).indexOf("?>");
    const QByteArrayView head = end < 0 ? QByteArrayView() : bytes.first(end);
    const qsizetype key = head.indexOf("encoding");
    if (key < 0) {
        return QStringConverter::Utf8;
    }
    qsizetype from = key;
    while (from < head.size() && head.at(from) != '"' && head.at(from) != '\'') {
        ++from;
    }
    const qsizetype to = from < head.size() ? head.indexOf(head.at(from), from + 1) : -1;
    if (to < 0) {
        return std::nullopt;
    }
    const QByteArray name = head.sliced(from + 1, to - from - 1).toByteArray();
    const auto encoding = QStringConverter::encodingForName(name.constData());
    switch (encoding.value_or(QStringConverter::System)) {
    case QStringConverter::Utf8:
    case QStringConverter::Latin1:
        return encoding;
    default:
        return std::nullopt;
    }
}

/// Goes from one "<" to the next.
class MarkupCheck {
public:
    explicit MarkupCheck(QStringView text) : mText(text) {}

    /// Null when nothing is wrong.
    const char* problem() {
        while ((mAt = mText.indexOf(u'<', mAt)) >= 0) {
            const char* const problem = passMarkup();
            if (problem != nullptr) {
                return problem;
            }
        }
        return nullptr;
    }

private:
    const char* passMarkup() {
        if (passEnclosed(u"<!--", u"-->") || passEnclosed(u"<![CDATA[", u"]]>") ||
            passEnclosed(u"<?", u"?>")) {
            return nullptr;
        }
        return passTag();
    }

    bool passEnclosed(QStringView start, QStringView end) {
        if (!mText.sliced(mAt).startsWith(start)) {
            return false;
        }
        const qsizetype to = mText.indexOf(end, mAt + start.size());
        mAt = to < 0 ? mText.size() : to + end.size();
        return true;
    }

    /// A tag, or a document type, in which there may be literals.
    const char* passTag() {
        const bool isDeclaration = mText.sliced(mAt).startsWith(u"<!");
        const qsizetype start = mAt;
        QChar quote;
        for (++mAt; mAt < mText.size(); ++mAt) {
            if (mAt - start >= kMostTagCharacters) {
                return "A tag is too long";
            }
            const QChar c = mText.at(mAt);
            if (!quote.isNull()) {
                quote = c == quote ? QChar() : quote;
            } else if (c == u'"' || c == u'\'') {
                quote = c;
            } else if (c == u'>') {
                return nullptr;
            } else if (isDeclaration && c == u'[') {
                return "The document type has declarations of its own";
            }
        }
        return nullptr; // cut off, which the parser tells
    }

    QStringView mText;
    qsizetype mAt = 0;
};

} // namespace

const char* decodeXml(QByteArrayView bytes, QString& text) {
    const auto encoding = declaredEncoding(bytes);
    if (!encoding) {
        return "The encoding is not known";
    }
    QStringDecoder decoder(*encoding);
    const QString decoded = decoder(bytes);
    if (decoder.hasError() || !decoded.isValidUtf16()) {
        return "The text is not valid in its encoding";
    }
    const char* const problem = MarkupCheck(decoded).problem();
    if (problem == nullptr) {
        text = decoded;
    }
    return problem;
}

} // namespace CoreFoundation
