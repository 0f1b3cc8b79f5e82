// Notifications inside of the process: who posts does not know who observes.
#pragma once

#include "VKQtExport.h"

#include <QString>

#include <functional>
#include <memory>

/// Calls the blocks that observe a name, and an object if they say so, on the thread that posts.
///
/// Any thread. A block may post, add and remove observers; one that it removes is not called any more. A block that
/// another thread removes meanwhile may still be running when removeObserver() returns there: add, post and remove
/// on one thread where that matters, as the library does. What a block throws leaves postNotification(), and the
/// blocks behind it are not called.
class VKQT_EXPORT VKNotificationCenter {
public:
    struct Notification {
        QString name;
        void* object = nullptr; ///< who posted it; not counted here
    };

    using Block = std::function<void(const Notification&)>;
    /// Stands for one added observer; 0 for none.
    using Token = quint64;

    VKNotificationCenter();
    ~VKNotificationCenter();
    VKNotificationCenter(const VKNotificationCenter&) = delete;
    VKNotificationCenter& operator=(const VKNotificationCenter&) = delete;

    /// The process's own. It is never destroyed.
    [[nodiscard]] static VKNotificationCenter& defaultCenter();

    /// Observes the name from one object, or from any with null. Adding twice calls twice.
    [[nodiscard]] Token addObserver(const QString& name, void* object, Block block);

    /// Does nothing for 0 and for one that is removed already.
    void removeObserver(Token token);

    /// Calls the observers in the order in which they were added, before it returns.
    void postNotification(const QString& name, void* object);

private:
    struct State;
    std::unique_ptr<State> mState;
};
