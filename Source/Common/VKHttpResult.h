// The outcome of one HTTP exchange, as it is handed on and logged.
#pragma once

#include "VKQtExport.h"

#include <VKCoreKit/VKLog.h>

#include <QString>

#include <cstdint>

struct VKQT_EXPORT VKHttpResult {
    std::int32_t httpCode = 0; ///< the reply's HTTP status; 0 when there was no whole reply
    std::int32_t error = 0;    ///< of the transport, see VKHttp::error(); 0 for none
    QString message;           ///< text of the error or of the reply

    /// Whether there was no error and the status is just 200. Deliberately no other 2xx: the suite's services
    /// answer 200 to everything that they did.
    [[nodiscard]] bool success() const noexcept { return error == 0 && httpCode == 200; }

    /// "Code: 404 Error: 0 Msg: not here"
    [[nodiscard]] QString toString() const;

    /// Logs prefix + " - " + toString() under the category "Syncing". A success is not logged.
    void log(LogLevelType level, const QString& prefix) const;
};
