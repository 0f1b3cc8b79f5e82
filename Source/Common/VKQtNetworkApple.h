// Between the notification of a Reachability and a callback with a bool.
#pragma once

#include "VKNotificationCenter.h"
#include "VKQtExport.h"

#include <functional>
#include <vector>

class Reachability;

/// Watches the internet connection for VKQtNetwork. Its name is one of old: it holds nothing of one system. Belongs
/// to the main thread.
class VKQT_EXPORT VKQtNetworkApple {
public:
    VKQtNetworkApple() = default;
    VKQtNetworkApple(const VKQtNetworkApple&) = delete;
    VKQtNetworkApple& operator=(const VKQtNetworkApple&) = delete;
    /// Stops, and removes every observer that was ever added.
    ~VKQtNetworkApple();

    /// Adds an observer, which calls `callback` on each change, and starts the notifier. Always 0: whether the
    /// notifier could start is deliberately not passed on.
    ///
    /// Each call adds one: called twice without stopListening() between, each change calls back twice. Deliberately
    /// the first of the two observers stays for the life of this object: stopListening() removes the last one.
    ///
    /// An empty `callback` is an error of the caller's: on a change std::bad_function_call is thrown.
    int startListening();

    /// Stops the notifier and removes the observer. The connection is kept.
    void stopListening();

    /// Whether the internet is reachable now.
    [[nodiscard]] bool isReachable();

    std::function<void(bool)> callback;
    VKNotificationCenter::Token observer = 0; ///< 0 when it does not listen
    Reachability* reachability = nullptr;     ///< made on first use, owned

private:
    Reachability* connection();

    std::vector<VKNotificationCenter::Token> mAdded;
};
