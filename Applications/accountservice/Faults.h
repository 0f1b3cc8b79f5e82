// Replies that go wrong on demand, and how they do.
#pragma once

#include "Exchange.h"

#include <QList>

#include <optional>

namespace AccountService {

enum class Fault {
    None,
    Slow,
    Hang,
    Drip,
    CutOff,
    TooLong,
    TooShort,
    Garbage,
    NotJson,
    Empty,
    Huge,
    Version,
    Missing,
    Types,
};

struct FaultName {
    QByteArray name;
    Fault fault;
    const char* meaning;
};

/// Every fault by the name that it has in a path, in the order of the help.
[[nodiscard]] const QList<FaultName>& faultNames();

/// What the front of a path asks for, and what is left of it for the service.
///
///     "/fault/drip/login"  -> Drip, 0, "/login"      "/status/429/products" -> None, 429, "/products"
///     "/login"             -> None, 0, "/login"      "/fault/nonsense/login", "/status/99/login" -> nothing
struct Demand {
    Fault fault = Fault::None;
    int status = 0; ///< 0: as it comes.
    QByteArray path;
};
[[nodiscard]] std::optional<Demand> demandOf(const QByteArray& path);

/// The status that an e-mail address asks for: "status-429@example.test"; 0 for any other address and for numbers that
/// no final reply has.
[[nodiscard]] int demandedStatus(const QString& email);

/// The good reply made wrong. `hugeBytes` is the least size of a huge one.
[[nodiscard]] Reply spoiled(Reply reply, Fault fault, qsizetype hugeBytes);

} // namespace AccountService
