// Header lines of replies, as a server sends them, beside the rule in its plainest form: the line's end off, decoded,
// split at ": ", kept when there are just two parts; and the limits on bytes and lines of a transfer.

#include "FuzzSupport.h"
#include "VKHttpReplyHeaders.h"

#include <QMap>
#include <QStringList>

namespace {

QString shownBytes(const QByteArray& bytes) { return QString::fromLatin1(bytes); }

class Model {
public:
    Model(qsizetype maxBytes, int maxLines) : mMaxBytes(maxBytes), mMaxLines(maxLines) {}

    void startTransfer() {
        mBytes = 0;
        mLines = 0;
    }

    VKHttpHeaderLine take(const QByteArray& line) {
        mBytes += line.size();
        ++mLines;
        if (mBytes > mMaxBytes || mLines > mMaxLines) {
            return VKHttpHeaderLine::TooMany;
        }
        if (line == "\r\n") {
            return VKHttpHeaderLine::EndOfBlock;
        }
        QByteArray text = line;
        text.chop(2);
        const QStringList parts = QString::fromUtf8(text).split(QStringLiteral(": "), Qt::KeepEmptyParts);
        if (parts.size() != 2) {
            return VKHttpHeaderLine::Ignored;
        }
        values.insert(parts.first(), parts.last());
        return VKHttpHeaderLine::Kept;
    }

    QMap<QString, QString> values;

private:
    qsizetype mMaxBytes;
    int mMaxLines;
    qsizetype mBytes = 0;
    int mLines = 0;
};

void checkSameValues(const VKHttpReplyHeaders& headers, const Model& model) {
    for (auto entry = model.values.cbegin(); entry != model.values.cend(); ++entry) {
        require(headers.contains(entry.key()) && headers.value(entry.key()) == entry.value(),
                "a kept header reads back", {entry.key(), entry.value(), headers.value(entry.key())});
        for (const QString& other : {entry.key().toLower(), entry.key().toUpper()}) {
            require(headers.contains(other) == model.values.contains(other), "a name is found as it was sent",
                    {entry.key(), other});
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const int maxBytes = input.number(0, 600);
    const int maxLines = input.number(0, 20);
    VKHttpReplyHeaders headers(maxBytes, maxLines);
    Model model(maxBytes, maxLines);
    for (int left = input.number(1, 40); left > 0; --left) {
        if (input.number(0, 15) == 0) {
            headers.startTransfer();
            model.startTransfer();
        }
        // Most lines have the end that lines have; the rule must not depend on it.
        const bool isWhole = input.number(0, 7) != 0;
        const QByteArray line = input.bytes() + (isWhole ? QByteArray("\r\n") : QByteArray());
        require(headers.take(line) == model.take(line), "a line is what the plain rule says",
                {shownBytes(line)});
        require(headers.contains(QString()) == model.values.contains(QString()), "the empty name too");
    }
    checkSameValues(headers, model);
    return 0;
}
