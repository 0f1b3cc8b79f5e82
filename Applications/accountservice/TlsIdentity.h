// A certificate authority and a server certificate, made for one run.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace AccountService {

/// The texts are PEM. The authority's own key is forgotten as soon as it has signed.
struct TlsIdentity {
    QByteArray authority;
    QByteArray certificate;
    QByteArray key;
};

/// A new authority, and a certificate that it signed for "localhost" and 127.0.0.1, valid for a day. Nothing, and why in
/// `reason`, on failure.
[[nodiscard]] std::optional<TlsIdentity> makeTlsIdentity(QString& reason);

} // namespace AccountService
