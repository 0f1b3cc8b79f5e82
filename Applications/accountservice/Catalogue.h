// The products that the demonstration service offers: made up, but of the shape and size of a real catalogue.
#pragma once

#include <QJsonArray>
#include <QString>
#include <QStringList>

namespace AccountService {

struct CatalogueQuery {
    QString language;       ///< "de", "de_AT", "fr-FR"...; English for what is not spoken here.
    QString currentVersion; ///< With `productName`: its entry tells of an update when it is newer.
    QString productName;
    QString edition; ///< One of editions(), or empty for all.
};

/// The editions of the suite: "home", "professional".
[[nodiscard]] const QStringList& editions();

/// The entries for a query in the catalogue's order. `count` 0 gives the catalogue as it is (some twenty products);
/// otherwise its entries are repeated under new names and SKUs until there are that many.
[[nodiscard]] QJsonArray catalogue(const CatalogueQuery& query, int count);

} // namespace AccountService
