// The rules of flags, the notifier's queue and the object's life, over flags that the test turns.
#include "Reachability.h"

#include "ReachabilityStandIn.h"
#include "Support/VKTest.h"
#include "VKNotificationCenter.h"
#include "VKQtLocale.h"

#include <QCoreApplication>
#include <QThread>

#include <array>
#include <condition_variable>
#include <mutex>
#include <netinet/in.h>
#include <sys/un.h>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

class ReachabilityTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void flagRules_data();
    void flagRules();
    void everySetOfFlags();
    void unreadableFlags();
    void strings_data();
    void strings();
    void descriptionNamesTheObject();
    void constants();
    void factories();
    void noFactory_data();
    void noFactory();
    void startAndStop();
    void startFails();
    void blocksThenNotification();
    void onlyOnChange();
    void readerMeetsAPassingState();
    void calledByHand();
    void notificationIsDroppedAfterStop();
    void nothingAfterStop();
    void stopTellsNothing();
    void stopInBlock();
    void restartInBlock();
    void blockReplacesItself();
    void releasedInBlock();
    void releasedWhileEventsCome();
    void notificationKeepsTheObject();
    void counts();
    void serialQueue();
    void manyStartsAndStops();
    void manyThreadsStartAndStop();
    void withoutApplicationThread();
};

namespace {

constexpr VKNetworkFlags kTransient = kVKNetworkFlagsTransientConnection;
constexpr VKNetworkFlags kReachable = kVKNetworkFlagsReachable;
constexpr VKNetworkFlags kRequired = kVKNetworkFlagsConnectionRequired;
constexpr VKNetworkFlags kOnTraffic = kVKNetworkFlagsConnectionOnTraffic;
constexpr VKNetworkFlags kIntervention = kVKNetworkFlagsInterventionRequired;
constexpr VKNetworkFlags kOnDemand = kVKNetworkFlagsConnectionOnDemand;
constexpr VKNetworkFlags kLocal = kVKNetworkFlagsIsLocalAddress;
constexpr VKNetworkFlags kDirect = kVKNetworkFlagsIsDirect;

using Owned = VKOwned<Reachability>;

/// A Reachability over flags that the test turns.
struct Turned {
    explicit Turned(std::optional<VKNetworkFlags> flags = VKNetworkFlags(0)) {
        source->set(flags);
        reachability.reset(Reachability::initWithReachabilityRef(source));
    }

    Reachability* operator->() const { return reachability.get(); }

    std::shared_ptr<ReachabilityStandIn> source = std::make_shared<ReachabilityStandIn>();
    Owned reachability;
};

/// Counts notifications of one object, or of all, on the main thread.
class Observer {
public:
    explicit Observer(void* object = nullptr)
        : mToken(VKNotificationCenter::defaultCenter().addObserver(
              kReachabilityChangedNotification, object,
              [this](const VKNotificationCenter::Notification& notification) {
                  objects.append(notification.object);
                  areMain = areMain && QThread::currentThread() == QCoreApplication::instance()->thread();
              })) {}
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    ~Observer() { VKNotificationCenter::defaultCenter().removeObserver(mToken); }

    QList<void*> objects;
    bool areMain = true;

private:
    VKNotificationCenter::Token mToken;
};

/// The framework's own synchronises in a way that the thread sanitizer cannot see.
class Semaphore {
public:
    void release(int count = 1) {
        const std::lock_guard lock(mMutex);
        mAvailable += count;
        mCondition.notify_all();
    }
    void acquire(int count = 1) {
        std::unique_lock lock(mMutex);
        mCondition.wait(lock, [&] { return mAvailable >= count; });
        mAvailable -= count;
    }
    int available() {
        const std::lock_guard lock(mMutex);
        return mAvailable;
    }

private:
    std::mutex mMutex;
    std::condition_variable mCondition;
    int mAvailable = 0;
};

/// Delivers what has been posted.
void deliver() {
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::processEvents();
    }
}

} // namespace

void ReachabilityTest::flagRules_data() {
    QTest::addColumn<VKNetworkFlags>("flags");
    QTest::addColumn<bool>("isReachable");
    QTest::addColumn<bool>("isViaWiFi");
    QTest::addColumn<bool>("isRequired");
    QTest::addColumn<bool>("isOnDemand");
    QTest::addColumn<bool>("isIntervention");
    QTest::addColumn<QString>("text");
    using Flags = VKNetworkFlags;
    QTest::newRow("none") << Flags(0) << false << false << false << false << false << u"X- -------"_s;
    QTest::newRow("reachable alone") << kReachable << true << true << false << false << false
                                     << u"XR -------"_s;
    QTest::newRow("reachable, required")
        << (kReachable | kRequired) << true << true << true << false << false << u"XR c------"_s;
    QTest::newRow("reachable, transient")
        << (kReachable | kTransient) << true << true << false << false << false << u"XR -t-----"_s;
    QTest::newRow("reachable, required and transient is not")
        << (kReachable | kRequired | kTransient) << false << true << true << false << false
        << u"XR ct-----"_s;
    QTest::newRow("required alone") << kRequired << false << false << true << false << false
                                    << u"X- c------"_s;
    QTest::newRow("required on traffic")
        << (kRequired | kOnTraffic) << false << false << true << true << false << u"X- c--C---"_s;
    QTest::newRow("required on demand")
        << (kRequired | kOnDemand) << false << false << true << true << false << u"X- c---D--"_s;
    QTest::newRow("on demand, not required") << (kReachable | kOnDemand | kOnTraffic) << true << true << false
                                             << false << false << u"XR ---CD--"_s;
    QTest::newRow("required with intervention")
        << (kRequired | kIntervention) << false << false << true << false << true << u"X- c-i----"_s;
    QTest::newRow("intervention, not required")
        << (kReachable | kIntervention) << true << true << false << false << false << u"XR --i----"_s;
    QTest::newRow("local") << (kReachable | kLocal) << true << true << false << false << false
                           << u"XR -----l-"_s;
    QTest::newRow("direct") << (kReachable | kDirect) << true << true << false << false << false
                            << u"XR ------d"_s;
    QTest::newRow("all") << (kReachable | kTransient | kRequired | kOnTraffic | kIntervention | kOnDemand |
                             kLocal | kDirect)
                         << false << true << true << true << true << u"XR ctiCDld"_s;
    QTest::newRow("bits without a name")
        << Flags(0x40000 | 2) << true << true << false << false << false << u"XR -------"_s;
}

void ReachabilityTest::flagRules() {
    QFETCH(VKNetworkFlags, flags);
    QFETCH(bool, isReachable);
    QFETCH(bool, isViaWiFi);
    QFETCH(bool, isRequired);
    QFETCH(QString, text);
    const Turned object(flags);
    QCOMPARE(object->reachabilityFlags(), flags);
    QCOMPARE(object->isReachable(), isReachable);
    QCOMPARE(Reachability::isReachableWithFlags(flags), isReachable);
    QCOMPARE(object->isReachableViaWiFi(), isViaWiFi);
    QCOMPARE(object->isReachableViaWWAN(), false);
    QCOMPARE(object->isConnectionRequired(), isRequired);
    QCOMPARE(object->connectionRequired(), isRequired);
    QTEST(object->isConnectionOnDemand(), "isOnDemand");
    QTEST(object->isInterventionRequired(), "isIntervention");
    QCOMPARE(object->currentReachabilityFlags(), text);
    QCOMPARE(Reachability::textOfFlags(flags), text);
    QCOMPARE(object->currentReachabilityStatus(),
             isReachable ? Reachability::ReachableViaWiFi : Reachability::NotReachable);
    QCOMPARE(object->currentReachabilityString(), isReachable ? u"WiFi"_s : u"No Connection"_s);
}

void ReachabilityTest::everySetOfFlags() {
    const std::array<VKNetworkFlags, 8> bits = {kReachable, kRequired, kTransient, kIntervention,
                                                kOnTraffic, kOnDemand, kLocal,     kDirect};
    constexpr char16_t kLetters[] = u"RctiCDld";
    for (unsigned set = 0; set < 256; ++set) {
        VKNetworkFlags flags = 0;
        QString text = u"X"_s;
        for (std::size_t i = 0; i < bits.size(); ++i) {
            const bool isSet = (set >> i & 1U) != 0;
            flags |= isSet ? bits[i] : VKNetworkFlags(0);
            text += i == 1 ? u" "_s : QString();
            text += isSet ? QChar(kLetters[i]) : QChar(u'-');
        }
        QCOMPARE(Reachability::textOfFlags(flags), text);
        QCOMPARE(text.size(), 10);
        const bool waits = (set & 6U) == 6;
        QCOMPARE(Reachability::isReachableWithFlags(flags), (set & 1U) != 0 && !waits);
    }
}

void ReachabilityTest::unreadableFlags() {
    const Turned object(std::nullopt);
    QCOMPARE(object->isReachable(), false);
    QCOMPARE(object->isReachableViaWiFi(), false);
    QCOMPARE(object->connectionRequired(), false);
    QCOMPARE(object->isConnectionOnDemand(), false);
    QCOMPARE(object->isInterventionRequired(), false);
    QCOMPARE(object->reachabilityFlags(), VKNetworkFlags(0));
    QCOMPARE(object->currentReachabilityStatus(), Reachability::NotReachable);
    QCOMPARE(object->currentReachabilityFlags(), u"X- -------"_s);
}

void ReachabilityTest::strings_data() {
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("cellular");
    QTest::addColumn<QString>("wifi");
    QTest::addColumn<QString>("none");
    QTest::newRow("English") << QLocale(QLocale::English) << u"Cellular"_s << u"WiFi"_s << u"No Connection"_s;
    QTest::newRow("German") << QLocale(QLocale::German) << u"Mobilfunk"_s << u"WLAN"_s
                            << u"Keine Verbindung"_s;
    QTest::newRow("Spanish") << QLocale(QLocale::Spanish) << u"Datos móviles"_s << u"Wi-Fi"_s
                             << u"Sin conexión"_s;
    QTest::newRow("French") << QLocale(QLocale::French) << u"Réseau mobile"_s << u"Wi-Fi"_s
                            << u"Aucune connexion"_s;
    QTest::newRow("Japanese") << QLocale(QLocale::Japanese) << u"モバイル通信"_s << u"Wi-Fi"_s
                              << u"接続なし"_s;
}

void ReachabilityTest::strings() {
    QFETCH(QLocale, locale);
    QVERIFY(VKQtLocale::installTranslations(locale));
    const Turned object(kReachable);
    QTEST(object->currentReachabilityString(), "wifi");
    object.source->set(0);
    QTEST(object->currentReachabilityString(), "none");
    QTEST(QCoreApplication::translate("Reachability", "Cellular"), "cellular");
    QVERIFY(VKQtLocale::installTranslations(QLocale(QLocale::English)));
}

void ReachabilityTest::descriptionNamesTheObject() {
    const Turned object(kReachable | kDirect);
    const QString self =
        u"<Reachability: 0x"_s + QString::number(reinterpret_cast<quintptr>(object.reachability.get()), 16);
    QCOMPARE(object->description(), QString(u"<Reachability: "_s + self + u"> (XR ------d)>"_s));
}

void ReachabilityTest::constants() {
    QCOMPARE(QString(kReachabilityChangedNotification), u"kReachabilityChangedNotification"_s);
    QCOMPARE(int(Reachability::NotReachable), 0);
    QCOMPARE(int(Reachability::ReachableViaWWAN), 1);
    QCOMPARE(int(Reachability::ReachableViaWiFi), 2);
    QCOMPARE(kTransient, 1U);
    QCOMPARE(kReachable, 2U);
    QCOMPARE(kRequired, 4U);
    QCOMPARE(kOnTraffic, 8U);
    QCOMPARE(kIntervention, 16U);
    QCOMPARE(kOnDemand, 32U);
    QCOMPARE(kLocal, 0x10000U);
    QCOMPARE(kDirect, 0x20000U);
}

void ReachabilityTest::factories() {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    static_assert(sizeof address == 16);
    sockaddr_in6 address6 = {};
    address6.sin6_family = AF_INET6;
    const std::vector<Reachability*> made = {
        Reachability::reachabilityForInternetConnection(),
        Reachability::reachabilityForLocalWiFi(),
        Reachability::reachabilityWithAddress(reinterpret_cast<const sockaddr*>(&address)),
        Reachability::reachabilityWithAddress(reinterpret_cast<const sockaddr*>(&address6)),
        Reachability::reachabilityWithHostname(u"photos.invalid"_s),
        Reachability::reachabilityWithHostName(u"127.0.0.1"_s),
        Reachability::reachabilityWithHostname(u"bücher.invalid"_s),
        Reachability::reachabilityWithHostname(QString(253, u'a')),
    };
    for (Reachability* reachability : made) {
        const Owned owned(reachability);
        QVERIFY(owned != nullptr);
        QCOMPARE(std::count(made.begin(), made.end(), reachability), 1);
        QVERIFY(owned->reachableOnWWAN);
        QVERIFY(!owned->reachableBlock && !owned->unreachableBlock);
        QVERIFY(owned->reachabilityObject() == nullptr);
        QVERIFY(owned->reachabilityRef() != nullptr);
    }
}

void ReachabilityTest::noFactory_data() {
    QTest::addColumn<QString>("host");
    QTest::newRow("empty") << QString();
    QTest::newRow("too long") << QString(254, u'a');
    QTest::newRow("too long once encoded") << QString(250, u'ü');
    QTest::newRow("zero character") << u"a\0b"_s;
}

void ReachabilityTest::noFactory() {
    QFETCH(QString, host);
    QVERIFY(Reachability::reachabilityWithHostname(host) == nullptr);
    QVERIFY(Reachability::reachabilityWithHostName(host) == nullptr);
    QVERIFY(Reachability::reachabilityWithAddress(nullptr) == nullptr);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    QVERIFY(Reachability::reachabilityWithAddress(reinterpret_cast<const sockaddr*>(&address)) == nullptr);
    QVERIFY(Reachability::initWithReachabilityRef(nullptr) == nullptr);
}

void ReachabilityTest::startAndStop() {
    const Turned object;
    object->stopNotifier();
    QVERIFY(object->reachabilityObject() == nullptr);
    QVERIFY(object->startNotifier());
    QCOMPARE(object->reachabilityObject(), object.reachability.get());
    QVERIFY(object->startNotifier());
    QCOMPARE(object.source->watches(), 1);
    object->stopNotifier();
    QVERIFY(object->reachabilityObject() == nullptr);
    object->stopNotifier();
    QVERIFY(object->startNotifier());
    QCOMPARE(object.source->watches(), 2);
}

void ReachabilityTest::startFails() {
    const Turned object;
    object.source->refuseWatching();
    QVERIFY(!object->startNotifier());
    QVERIFY(object->reachabilityObject() == nullptr);
    object->stopNotifier();
}

void ReachabilityTest::blocksThenNotification() {
    const Turned object;
    const Observer observer(object.reachability.get());
    QStringList calls;
    Semaphore called;
    const auto note = [&](const QString& word) {
        return [&, word](Reachability* reachability) {
            calls += word;
            QVERIFY(reachability == object.reachability.get());
            QVERIFY(QThread::currentThread() != QCoreApplication::instance()->thread());
            called.release();
        };
    };
    object->reachableBlock = note(u"reachable"_s);
    object->unreachableBlock = note(u"unreachable"_s);
    QVERIFY(object->reachableBlock && object->unreachableBlock);
    QVERIFY(object->startNotifier());
    object.source->change(kReachable);
    called.acquire();
    object.source->change(kReachable | kRequired | kTransient);
    called.acquire();
    QCOMPARE(calls, (QStringList{u"reachable"_s, u"unreachable"_s}));
    QTRY_COMPARE(observer.objects.size(), 2);
    QVERIFY(observer.areMain);
    QCOMPARE(observer.objects.at(0), static_cast<void*>(object.reachability.get()));
    // One without a block is told of all the same.
    object->reachableBlock = nullptr;
    object.source->change(kReachable);
    QTRY_COMPARE(observer.objects.size(), 3);
    QCOMPARE(calls.size(), 2);
}

void ReachabilityTest::onlyOnChange() {
    const Turned object(kReachable);
    const Observer observer(object.reachability.get());
    QVERIFY(object->startNotifier());
    object.source->tell();
    object.source->change(kReachable);
    object.source->change(0);
    QTRY_COMPARE(observer.objects.size(), 1);
    // Other flags, though as reachable as before: it is told.
    object.source->change(kRequired);
    QTRY_COMPARE(observer.objects.size(), 2);
}

void ReachabilityTest::readerMeetsAPassingState() {
    const Turned object(kReachable);
    const Observer observer(object.reachability.get());
    QVERIFY(object->startNotifier());
    // Somebody reads "not reachable"; it is over before the queue looks. He has to hear of it.
    object.source->set(0);
    QVERIFY(!object->isReachable());
    object.source->change(kReachable);
    QTRY_COMPARE(observer.objects.size(), 1);
    QVERIFY(object->isReachable());
    // And who reads the new state before the queue does takes nobody's notification away.
    object.source->set(0);
    QVERIFY(!object->isReachable());
    object.source->tell();
    QTRY_COMPARE(observer.objects.size(), 2);
}

void ReachabilityTest::calledByHand() {
    const Turned object;
    const Observer observer(object.reachability.get());
    QStringList calls;
    object->reachableBlock = [&](Reachability*) {
        calls += u"reachable"_s;
        QVERIFY(QThread::currentThread() == QCoreApplication::instance()->thread());
    };
    object->unreachableBlock = [&](Reachability*) { calls += u"unreachable"_s; };
    object->reachabilityChanged(kReachable);
    object->reachabilityChanged(kReachable | kRequired | kTransient);
    object->reachabilityChanged(0);
    QCOMPARE(calls, (QStringList{u"reachable"_s, u"unreachable"_s, u"unreachable"_s}));
    // Posted, so not delivered before the event loop runs.
    QCOMPARE(observer.objects.size(), 0);
    deliver();
    QCOMPARE(observer.objects.size(), 3);
}

void ReachabilityTest::notificationIsDroppedAfterStop() {
    const Turned object;
    const Observer observer(object.reachability.get());
    Semaphore called;
    object->reachableBlock = [&](Reachability*) { called.release(); };
    QVERIFY(object->startNotifier());
    object.source->change(kReachable);
    called.acquire();
    object->stopNotifier(); // waits, so that the notification has been posted
    deliver();
    QCOMPARE(observer.objects.size(), 0);
}

void ReachabilityTest::nothingAfterStop() {
    const Turned object;
    std::atomic<bool> isStopped = false;
    std::atomic<bool> isLate = false;
    Semaphore entered;
    const auto block = [&](Reachability*) {
        entered.release();
        for (int i = 0; i < 50; ++i) {
            std::this_thread::yield();
        }
        isLate = isLate || isStopped;
    };
    object->reachableBlock = block;
    object->unreachableBlock = block;
    for (int round = 0; round < 20; ++round) {
        isStopped = false;
        QVERIFY(object->startNotifier());
        object.source->change(round % 2 == 0 ? kReachable : 0);
        entered.acquire();
        object->stopNotifier();
        isStopped = true;
    }
    QVERIFY(!isLate);
}

// A change that nobody has told of yet is not found by the stop's own wake-up.
void ReachabilityTest::stopTellsNothing() {
    const Turned object;
    Semaphore reachable;
    std::atomic<int> unreachable = 0;
    object->reachableBlock = [&](Reachability*) { reachable.release(); };
    object->unreachableBlock = [&](Reachability*) { ++unreachable; };
    for (int round = 0; round < 100; ++round) {
        object.source->set(0);
        QVERIFY(object->startNotifier());
        object.source->change(kReachable);
        reachable.acquire();
        for (int i = 0; i < 50; ++i) {
            std::this_thread::yield(); // mostly the thread waits again then
        }
        object.source->set(0);
        object->stopNotifier();
        QCOMPARE(unreachable.load(), 0);
    }
}

void ReachabilityTest::stopInBlock() {
    const Turned object;
    const Observer observer(object.reachability.get());
    Semaphore stopped;
    object->reachableBlock = [&](Reachability* reachability) {
        reachability->stopNotifier();
        stopped.release();
    };
    QVERIFY(object->startNotifier());
    object.source->change(kReachable);
    stopped.acquire();
    QVERIFY(object->reachabilityObject() == nullptr);
    object->stopNotifier(); // waits for the block now
    deliver();
    QCOMPARE(observer.objects.size(), 0);
}

void ReachabilityTest::restartInBlock() {
    const Turned object;
    Semaphore ended;
    std::atomic<int> running = 0;
    std::atomic<int> most = 0;
    const auto block = [&](Reachability* reachability) {
        most = std::max<int>(most, ++running);
        reachability->stopNotifier();
        QVERIFY(reachability->startNotifier());
        // The new thread has news at once, and may not overtake.
        object.source->change(object.source->flags() == kReachable ? 0 : kReachable);
        for (int i = 0; i < 50; ++i) {
            std::this_thread::yield();
        }
        --running;
        ended.release();
    };
    object->reachableBlock = block;
    object->unreachableBlock = block;
    QVERIFY(object->startNotifier());
    object.source->change(kReachable);
    ended.acquire(10);
    object->reachableBlock = nullptr;
    object->unreachableBlock = nullptr;
    object->stopNotifier();
    QCOMPARE(most.load(), 1);
}

void ReachabilityTest::blockReplacesItself() {
    const Turned object;
    Semaphore called;
    const auto held = std::make_shared<int>(1);
    object->reachableBlock = [&, held](Reachability* reachability) {
        reachability->reachableBlock = nullptr;
        called.release(*held);
    };
    object->reachabilityChanged(kReachable);
    object->reachabilityChanged(kReachable);
    QCOMPARE(called.available(), 1);
    QCOMPARE(held.use_count(), 1L);
    deliver();
}

void ReachabilityTest::releasedInBlock() {
    const auto source = std::make_shared<ReachabilityStandIn>();
    Reachability* const object = Reachability::initWithReachabilityRef(source);
    const Observer observer(object);
    Semaphore released;
    object->reachableBlock = [&](Reachability* reachability) {
        reachability->Release(); // the last that the test has
        released.release();
    };
    QVERIFY(object->startNotifier());
    source->change(kReachable);
    released.acquire();
    // The notification that is on its way has the object still.
    QTRY_COMPARE(observer.objects.size(), 1);
    QTRY_COMPARE(source.use_count(), 1L);
}

void ReachabilityTest::releasedWhileEventsCome() {
    const Observer observer;
    for (int round = 0; round < 100; ++round) {
        const auto source = std::make_shared<ReachabilityStandIn>();
        Reachability* const object = Reachability::initWithReachabilityRef(source);
        QVERIFY(object->startNotifier());
        source->change(kReachable);
        source->change(0);
        source->change(kReachable);
        object->Release();
        if (round % 10 == 0) {
            deliver();
        }
    }
    deliver();
}

void ReachabilityTest::notificationKeepsTheObject() {
    const auto source = std::make_shared<ReachabilityStandIn>();
    Reachability* const object = Reachability::initWithReachabilityRef(source);
    QList<bool> answers;
    const auto token = VKNotificationCenter::defaultCenter().addObserver(
        kReachabilityChangedNotification, object,
        [&](const VKNotificationCenter::Notification& notification) {
            answers.append(static_cast<Reachability*>(notification.object)->isReachable());
        });
    source->set(kReachable);
    object->reachabilityChanged(kReachable);
    QCOMPARE(object->Release(), 1U);
    deliver();
    VKNotificationCenter::defaultCenter().removeObserver(token);
    QCOMPARE(answers, QList<bool>{true});
    QCOMPARE(source.use_count(), 1L);
}

void ReachabilityTest::counts() {
    const auto source = std::make_shared<ReachabilityStandIn>();
    Reachability* const object = Reachability::initWithReachabilityRef(source);
    CBaseCore* const base = object;
    QCOMPARE(base->AddRef(), 2U);
    QCOMPARE(object->AddRef(), 3U);
    QCOMPARE(object->Release(), 2U);
    QCOMPARE(base->Release(), 1U);
    // The notifier has none of its own: the last reference ends it.
    QVERIFY(object->startNotifier());
    QCOMPARE(base->Release(), 0U);
    QCOMPARE(source.use_count(), 1L);
}

void ReachabilityTest::serialQueue() {
    const Turned object;
    std::atomic<int> running = 0;
    std::atomic<bool> overlapped = false;
    Semaphore calls;
    const auto block = [&](Reachability*) {
        overlapped = overlapped || ++running != 1;
        calls.release();
        std::this_thread::yield();
        --running;
    };
    object->reachableBlock = block;
    object->unreachableBlock = block;
    QVERIFY(object->startNotifier());
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 100; ++round) {
                object.source->change(round % 2 == 0 ? kReachable : 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    object.source->change(kReachable | kDirect); // others than it can have told
    calls.acquire();
    object->stopNotifier();
    QVERIFY(!overlapped);
    deliver();
}

void ReachabilityTest::manyStartsAndStops() {
    const Turned object;
    for (int round = 0; round < 100; ++round) {
        QVERIFY(object->startNotifier());
        object.source->tell();
        object->stopNotifier();
    }
    QCOMPARE(object.source->watches(), 100);
    // No thread and no watch is left of them.
    QCOMPARE(object.source.use_count(), 2L);
}

void ReachabilityTest::manyThreadsStartAndStop() {
    const Turned object;
    const auto block = [](Reachability* reachability) { reachability->stopNotifier(); };
    object->reachableBlock = block;
    object->unreachableBlock = block;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 30; ++round) {
                object->startNotifier();
                object.source->change((round + i) % 2 == 0 ? kReachable : 0);
                object->stopNotifier();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QVERIFY(object->reachabilityObject() == nullptr);
    deliver();
}

void ReachabilityTest::withoutApplicationThread() {
    // Started on another thread: the notification is the main thread's all the same.
    const Turned object;
    const Observer observer(object.reachability.get());
    std::thread([&] {
        object->startNotifier();
        object.source->change(kReachable);
    }).join();
    QTRY_COMPARE(observer.objects.size(), 1);
    QVERIFY(observer.areMain);
}

VKTEST_MAIN(ReachabilityTest)
#include "ReachabilityTest.moc"
