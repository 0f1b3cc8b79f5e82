// Tells an application when the internet comes and goes.
#pragma once

#include "VKQtExport.h"

#include <QObject>

class VKQtNetworkApple;

/// The process's one monitor of the internet connection.
///
///     connect(VKQtNetwork::sharedInstance(), &VKQtNetwork::reachabilityChanged, this, &Window::showNetwork);
///     VKQtNetwork::sharedInstance()->startListening();
///
/// Belongs to the main thread, whose event loop delivers the changes. Reachable means that there is a default route,
/// of IPv4 or IPv6, by an interface that works; it does not mean that any server answers, so do not leave a transfer
/// untried because of it. Nothing runs while nothing changes.
class VKQT_EXPORT VKQtNetwork : public QObject {
    Q_OBJECT

public:
    /// Made on the first call, without a parent, and never destroyed. Not synchronised: the first call belongs to the
    /// main thread.
    [[nodiscard]] static VKQtNetwork* sharedInstance();

    /// Starts to listen, and emits reachabilityChanged() with the present state before it returns, on the caller's
    /// thread. Always 0. Each call adds a listener: after two calls without stopListening() between, each change is
    /// emitted twice. Deliberate, as is that only the last of them ends with stopListening().
    int startListening();

    /// No change is emitted after this. Does nothing when there was no startListening().
    void stopListening();

    /// Whether the internet is reachable now. Asks the kernel, in microseconds.
    [[nodiscard]] bool isReachable();

    /// Emits reachabilityChanged() with the value, for who wants a state announced again.
    void doEmit(bool reachable);

Q_SIGNALS:
    /// The state of this moment. There may be several for one change, also with the same value; the last tells the
    /// truth.
    void reachabilityChanged(bool reachable);

private:
    VKQtNetwork();
    ~VKQtNetwork() override;

    VKQtNetworkApple* impl = nullptr; // NOLINT(readability-identifier-naming): its name of old

    static VKQtNetwork* sInstance;
};
