// A JSON text read strictly (RFC 8259), with the place of every value: what checking a file by hand needs and the
// framework's parser, which loading uses, does not tell. Pure.
#pragma once

#include <QByteArrayView>
#include <QString>

#include <cstdint>
#include <vector>

namespace VKConfigDetail {

enum class JsonKind : std::uint8_t { Null, Bool, Number, String, Array, Object };

struct JsonMember;

struct JsonValue {
    JsonKind kind = JsonKind::Null;
    bool flag = false;
    qsizetype offset = 0; ///< of its first byte
    double number = 0;
    QString text;
    std::vector<JsonMember> members; ///< of an array, without keys, or an object

    /// Of an object: the last member of that key, which is the one that counts; null when there is none.
    [[nodiscard]] const JsonValue* find(QStringView key) const;
};

struct JsonMember {
    qsizetype keyOffset = 0;
    QString key;
    JsonValue value;
};

struct JsonError {
    qsizetype offset = 0;
    QString message; ///< empty: there is none
};

/// More values than this, and none is told: the error is "too many values".
inline constexpr int kMaxTextValues = 1'000'000;

/// Reads one value and what stands around it. A byte-order mark in front is passed over. Depth and length have
/// VKNode's limits.
[[nodiscard]] JsonError readText(QByteArrayView bytes, JsonValue& value);

} // namespace VKConfigDetail
