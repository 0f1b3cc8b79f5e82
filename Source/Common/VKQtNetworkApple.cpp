// An observer of the connection's notification, and the notifier behind it.
#include "VKQtNetworkApple.h"

#include "Reachability.h"

VKQtNetworkApple::~VKQtNetworkApple() {
    for (const VKNotificationCenter::Token token : mAdded) {
        VKNotificationCenter::defaultCenter().removeObserver(token);
    }
    if (reachability != nullptr) {
        reachability->stopNotifier();
        reachability->Release();
    }
}

Reachability* VKQtNetworkApple::connection() {
    if (reachability == nullptr) {
        reachability = Reachability::reachabilityForInternetConnection();
    }
    return reachability;
}

int VKQtNetworkApple::startListening() {
    const auto changed = [this](const VKNotificationCenter::Notification& notification) {
        const std::function<void(bool)> called = callback; // it may be replaced meanwhile
        called(static_cast<Reachability*>(notification.object)->isReachable());
    };
    observer = VKNotificationCenter::defaultCenter().addObserver(kReachabilityChangedNotification,
                                                                 connection(), changed);
    mAdded.push_back(observer);
    connection()->startNotifier();
    return 0;
}

void VKQtNetworkApple::stopListening() {
    if (reachability != nullptr) {
        reachability->stopNotifier();
    }
    VKNotificationCenter::defaultCenter().removeObserver(observer);
    observer = 0;
}

bool VKQtNetworkApple::isReachable() { return connection()->isReachable(); }
