// Names for what is not finished: ".name.XXXXXX", beside the item whose name it will get. Internal to this folder.
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cerrno>

namespace VKPlatform {

inline constexpr int kTemporaryNameTries = 100;
inline constexpr qsizetype kNameLimit = 255;
/// For file systems that take less than most (encrypting ones).
inline constexpr qsizetype kShortNameLimit = 100;

/// A random one of at most `limit` bytes.
[[nodiscard]] QByteArray temporaryName(QByteArrayView name, qsizetype limit);

/// Creates something under a temporary name: calls `create` with one after the other while it answers EEXIST, and with
/// shorter ones after ENAMETOOLONG. Its last answer, an errno; 0 when it was created.
template <typename Create>
[[nodiscard]] int createTemporary(QByteArrayView name, Create create) {
    qsizetype limit = kNameLimit;
    int error = EEXIST;
    for (int tries = 0; error == EEXIST && tries < kTemporaryNameTries; ++tries) {
        error = create(temporaryName(name, limit));
        if (error == ENAMETOOLONG && limit != kShortNameLimit) {
            limit = kShortNameLimit;
            error = EEXIST;
        }
    }
    return error;
}

} // namespace VKPlatform
