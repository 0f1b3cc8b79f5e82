// What is known of a way, as words that a test can compare.
#pragma once

#include "Platform/NetworkRules.h"

#include <QString>
#include <QStringList>

#include <utility>

/// "reachable direct", in this order; empty when nothing holds.
[[nodiscard]] inline QString words(const VKPlatform::NetworkReach& reach) {
    QStringList list;
    const std::pair<bool, const char*> all[] = {{reach.isReachable, "reachable"},
                                                {reach.isLocal, "local"},
                                                {reach.isDirect, "direct"},
                                                {reach.isTransient, "transient"},
                                                {reach.needsConnection, "required"}};
    for (const auto& [isSo, word] : all) {
        if (isSo) {
            list += QString::fromLatin1(word);
        }
    }
    return list.join(u' ');
}
