// The text of an outcome, and its line in the log.
#include "VKHttpResult.h"

#include "VKQtStringUtils.h"

#include <VKCoreKit/VKCFRef.h>

QString VKHttpResult::toString() const {
    return QStringLiteral("Code: %1 Error: %2 Msg: %3")
        .arg(QString::number(httpCode), QString::number(error), message);
}

void VKHttpResult::log(LogLevelType level, const QString& prefix) const {
    if (success()) {
        return;
    }
    const QString text = prefix + QStringLiteral(" - ") + toString();
    const auto line = VKCFRef<CFStringRef>::adopt(VKQtStringUtils::createCFStringRefFromQString(text));
    VKLogWithParams(level, "Syncing", 0, line.get());
}
