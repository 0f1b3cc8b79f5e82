// A list of observers, copied for each post: blocks run without a lock.
#include "VKNotificationCenter.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace {

struct Observer {
    VKNotificationCenter::Token token = 0;
    QString name;
    void* object = nullptr;
    VKNotificationCenter::Block block;
};

} // namespace

struct VKNotificationCenter::State {
    /// The observers of a notification, in their order.
    std::vector<std::shared_ptr<const Observer>> observersOf(const Notification& notification) {
        const std::lock_guard lock(mutex);
        std::vector<std::shared_ptr<const Observer>> found;
        for (const auto& observer : observers) {
            if (observer->name == notification.name &&
                (observer->object == nullptr || observer->object == notification.object)) {
                found.push_back(observer);
            }
        }
        return found;
    }

    bool isObserving(Token token) {
        const std::lock_guard lock(mutex);
        return std::any_of(observers.begin(), observers.end(),
                           [token](const auto& observer) { return observer->token == token; });
    }

    std::mutex mutex;
    Token lastToken = 0;
    std::vector<std::shared_ptr<const Observer>> observers;
};

VKNotificationCenter::VKNotificationCenter() : mState(std::make_unique<State>()) {}
VKNotificationCenter::~VKNotificationCenter() = default;

VKNotificationCenter& VKNotificationCenter::defaultCenter() {
    static auto* const sCenter = new VKNotificationCenter;
    return *sCenter;
}

VKNotificationCenter::Token VKNotificationCenter::addObserver(const QString& name, void* object,
                                                              Block block) {
    const std::lock_guard lock(mState->mutex);
    const Token token = ++mState->lastToken;
    mState->observers.push_back(
        std::make_shared<const Observer>(Observer{token, name, object, std::move(block)}));
    return token;
}

void VKNotificationCenter::removeObserver(Token token) {
    std::shared_ptr<const Observer> removed; // its block is destroyed without the lock
    const std::lock_guard lock(mState->mutex);
    const auto at = std::find_if(mState->observers.begin(), mState->observers.end(),
                                 [token](const auto& observer) { return observer->token == token; });
    if (at != mState->observers.end()) {
        removed = *at;
        mState->observers.erase(at);
    }
}

void VKNotificationCenter::postNotification(const QString& name, void* object) {
    const Notification notification = {name, object};
    for (const auto& observer : mState->observersOf(notification)) {
        // One called before may have removed it.
        if (mState->isObserving(observer->token)) {
            observer->block(notification);
        }
    }
}
