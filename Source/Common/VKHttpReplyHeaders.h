// The header lines of replies, and what is kept of them. No libcurl here: lines go in, names and values come out.
#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <functional>
#include <map>

/// What a header line is.
enum class VKHttpHeaderLine {
    EndOfBlock, ///< the empty line
    Kept,       ///< "Name: value"
    Ignored,    ///< a status line, a line without ": ", a value that holds ": "
    TooMany,    ///< more lines or bytes than one transfer may bring; nothing of it was kept
};

/// Gathers over the transfers of one object: only startTransfer() begins to count anew. Used by one thread at a time.
class VKHttpReplyHeaders {
public:
    /// What one transfer may bring, see VKHttp.
    VKHttpReplyHeaders(qsizetype maxBytes, int maxLines) noexcept
        : mMaxBytes(maxBytes), mMaxLines(maxLines) {}

    void startTransfer() noexcept;

    /// One whole line with its line end. Its last two bytes are taken off, whatever they are, the rest is decoded
    /// as UTF-8 and split at ": ", with case and empty parts kept. Only just two parts are kept:
    ///
    ///     "Date: x\r\n"       -> "Date" is "x"       "Empty: \r\n"  -> "Empty" is ""
    ///     "Next: a: b\r\n"    -> nothing             "Empty:\r\n"   -> nothing
    ///     "HTTP/1.1 200 OK"   -> nothing             ": x\r\n"      -> "" is "x"
    VKHttpHeaderLine take(QByteArrayView line);

    /// Empty when there is none. Case matters.
    [[nodiscard]] QString value(QStringView name) const;
    [[nodiscard]] bool contains(QStringView name) const;

private:
    [[nodiscard]] VKHttpHeaderLine takeText(QStringView line);
    [[nodiscard]] VKHttpHeaderLine takeAscii(QLatin1StringView line);

    qsizetype mMaxBytes;
    int mMaxLines;
    qsizetype mBytes = 0;
    int mLines = 0;
    // Looked up by views, so that a reply like the one before costs no memory.
    std::map<QString, QString, std::less<>> mValues;
};
