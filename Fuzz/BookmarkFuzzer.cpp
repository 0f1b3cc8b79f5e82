// Bookmark data: any bytes are read or refused cleanly, and what was read is written and read back equal. Tokens
// never lead out of their document.

#include "FuzzSupport.h"

#include <Platform/BookmarkData.h>
#include <Platform/DocumentPortal.h>

#include <QtEndian>

#include <libdeflate.h>

using namespace VKPlatform;

namespace {

/// With the checksum that fits, so that the reader gets beyond it.
QByteArray sealed(QByteArray body) {
    const quint32 sum =
        qToBigEndian(libdeflate_crc32(0, body.constData(), static_cast<std::size_t>(body.size())));
    return body.append(reinterpret_cast<const char*>(&sum), sizeof sum);
}

void checkToken(QByteArrayView text) {
    const std::optional<DocumentToken> token = parseDocumentToken(text);
    if (!token) {
        return;
    }
    require(documentTokenText(*token) == text, "one spelling for one token");
    const QByteArray path = pathOfDocument(*token, "/doc");
    require(!path.contains("/../") && !path.endsWith("/.."), "a token stays in its document",
            {QString::fromUtf8(path)});
    require(documentTokenOf(path, "/doc") == token, "a token's path gives the token");
}

void checkData(const QByteArray& bytes) {
    BookmarkRecord record;
    if (decodeBookmark(bytes, record) != 0) {
        require(record == BookmarkRecord(), "nothing of refused data gets through");
        return;
    }
    require(record.path.isEmpty() != record.path.startsWith('/'), "an absolute path or none");
    const std::optional<QByteArray> written = encodeBookmark(record);
    require(written.has_value(), "what was read can be written");
    BookmarkRecord back;
    require(decodeBookmark(*written, back) == 0 && back == record, "a round trip changes nothing");
    require(isSameItem(record.identity, record.identity) || record.identity.scope == IdentityScope::Mount,
            "an item is itself");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const QByteArray data(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(size));
    checkData(data);
    checkData(sealed(data));
    checkData(sealed("VKBM\x01" + data));
    checkToken(data);
    checkToken(QByteArray("portal:1:" + data));
    return 0;
}
