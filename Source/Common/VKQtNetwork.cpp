// A signal for each callback of the adapter.
#include "VKQtNetwork.h"

#include "VKQtNetworkApple.h"

VKQtNetwork* VKQtNetwork::sInstance = nullptr;

VKQtNetwork::VKQtNetwork() = default;
VKQtNetwork::~VKQtNetwork() = default;

VKQtNetwork* VKQtNetwork::sharedInstance() {
    if (sInstance == nullptr) {
        sInstance = new VKQtNetwork;
    }
    return sInstance;
}

int VKQtNetwork::startListening() {
    if (impl == nullptr) {
        impl = new VKQtNetworkApple;
    }
    impl->callback = [this](bool reachable) { Q_EMIT reachabilityChanged(reachable); };
    const int result = impl->startListening();
    Q_EMIT reachabilityChanged(impl->isReachable());
    return result;
}

void VKQtNetwork::stopListening() {
    if (impl != nullptr) {
        impl->stopListening();
    }
}

bool VKQtNetwork::isReachable() {
    if (impl == nullptr) {
        impl = new VKQtNetworkApple;
    }
    return impl->isReachable();
}

void VKQtNetwork::doEmit(bool reachable) { Q_EMIT reachabilityChanged(reachable); }
