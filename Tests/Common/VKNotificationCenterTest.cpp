// Observers, what they are told, and what they may do meanwhile.
#include "VKNotificationCenter.h"

#include "Support/VKTest.h"

#include <QStringList>

#include <stdexcept>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

class VKNotificationCenterTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void observes_data();
    void observes();
    void inOrderAndTwice();
    void removed();
    void removesItself();
    void removesTheNext();
    void addsWhileCalled();
    void throws();
    void emptyBlock();
    void onThePostingThread();
    void manyThreads();
    void defaultCenterIsOne();
};

namespace {

using Notification = VKNotificationCenter::Notification;

int gObject = 0;
int gOther = 0;

} // namespace

void VKNotificationCenterTest::observes_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<void*>("observed");
    QTest::addColumn<bool>("isCalled");
    void* const object = &gObject;
    void* const other = &gOther;
    QTest::newRow("the name from the object") << u"changed"_s << object << true;
    QTest::newRow("the name from any") << u"changed"_s << static_cast<void*>(nullptr) << true;
    QTest::newRow("the name from another") << u"changed"_s << other << false;
    QTest::newRow("another name") << u"Changed"_s << object << false;
    QTest::newRow("no name") << QString() << object << false;
}

void VKNotificationCenterTest::observes() {
    QFETCH(QString, name);
    QFETCH(void*, observed);
    QFETCH(bool, isCalled);
    VKNotificationCenter center;
    QList<void*> objects;
    const auto token = center.addObserver(name, observed, [&](const Notification& notification) {
        QCOMPARE(notification.name, u"changed"_s);
        objects.append(notification.object);
    });
    QVERIFY(token != 0);
    center.postNotification(u"changed"_s, &gObject);
    QCOMPARE(objects, isCalled ? QList<void*>{&gObject} : QList<void*>());
}

void VKNotificationCenterTest::inOrderAndTwice() {
    VKNotificationCenter center;
    QStringList calls;
    const auto note = [&](const QString& word) {
        return center.addObserver(u"n"_s, nullptr, [&calls, word](const Notification&) { calls += word; });
    };
    const auto first = note(u"a"_s);
    const auto second = note(u"b"_s);
    const auto third = note(u"a"_s);
    QVERIFY(first != second && second != third && first != third);
    center.postNotification(u"n"_s, nullptr);
    QCOMPARE(calls.join(QString()), u"aba"_s);
}

void VKNotificationCenterTest::removed() {
    VKNotificationCenter center;
    int count = 0;
    const auto token = center.addObserver(u"n"_s, nullptr, [&](const Notification&) { ++count; });
    center.removeObserver(0);
    center.removeObserver(token + 1);
    center.postNotification(u"n"_s, nullptr);
    QCOMPARE(count, 1);
    center.removeObserver(token);
    center.removeObserver(token);
    center.postNotification(u"n"_s, nullptr);
    QCOMPARE(count, 1);
}

void VKNotificationCenterTest::removesItself() {
    VKNotificationCenter center;
    int count = 0;
    VKNotificationCenter::Token token = 0;
    const auto held = std::make_shared<int>(7);
    token = center.addObserver(u"n"_s, nullptr, [&, held](const Notification&) {
        center.removeObserver(token);
        count += *held; // what the block holds lives while it runs
    });
    center.postNotification(u"n"_s, nullptr);
    center.postNotification(u"n"_s, nullptr);
    QCOMPARE(count, 7);
    QCOMPARE(held.use_count(), 1L);
}

void VKNotificationCenterTest::removesTheNext() {
    VKNotificationCenter center;
    int count = 0;
    VKNotificationCenter::Token second = 0;
    const auto first =
        center.addObserver(u"n"_s, nullptr, [&](const Notification&) { center.removeObserver(second); });
    second = center.addObserver(u"n"_s, nullptr, [&](const Notification&) { ++count; });
    QVERIFY(first != 0);
    center.postNotification(u"n"_s, nullptr);
    QCOMPARE(count, 0);
}

void VKNotificationCenterTest::addsWhileCalled() {
    VKNotificationCenter center;
    int count = 0;
    VKNotificationCenter::Token added = 0;
    const auto first = center.addObserver(u"n"_s, nullptr, [&](const Notification&) {
        if (added == 0) {
            added = center.addObserver(u"n"_s, nullptr, [&](const Notification&) { ++count; });
        }
    });
    QVERIFY(first != 0);
    center.postNotification(u"n"_s, nullptr);
    QCOMPARE(count, 0);
    center.postNotification(u"n"_s, nullptr);
    QCOMPARE(count, 1);
}

void VKNotificationCenterTest::throws() {
    VKNotificationCenter center;
    int count = 0;
    const auto first =
        center.addObserver(u"n"_s, nullptr, [](const Notification&) { throw std::runtime_error("no"); });
    const auto second = center.addObserver(u"n"_s, nullptr, [&](const Notification&) { ++count; });
    QVERIFY(second != 0);
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, center.postNotification(u"n"_s, nullptr));
    QCOMPARE(count, 0);
    // It is usable afterwards.
    center.removeObserver(first);
    center.postNotification(u"n"_s, nullptr);
    QCOMPARE(count, 1);
}

void VKNotificationCenterTest::emptyBlock() {
    VKNotificationCenter center;
    const auto token = center.addObserver(u"n"_s, nullptr, {});
    QVERIFY_THROWS_EXCEPTION(std::bad_function_call, center.postNotification(u"n"_s, nullptr));
    center.removeObserver(token);
}

void VKNotificationCenterTest::onThePostingThread() {
    VKNotificationCenter center;
    std::thread::id called;
    const auto token = center.addObserver(u"n"_s, nullptr,
                                          [&](const Notification&) { called = std::this_thread::get_id(); });
    QVERIFY(token != 0);
    std::thread::id poster;
    std::thread([&] {
        poster = std::this_thread::get_id();
        center.postNotification(u"n"_s, nullptr);
    }).join();
    QVERIFY(called == poster && called != std::this_thread::get_id());
}

void VKNotificationCenterTest::manyThreads() {
    constexpr int kThreads = 4;
    constexpr int kRounds = 500;
    VKNotificationCenter center;
    std::atomic<int> always = 0;
    std::atomic<int> sometimes = 0;
    const auto token = center.addObserver(u"n"_s, nullptr, [&](const Notification&) { ++always; });
    QVERIFY(token != 0);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                const auto own =
                    center.addObserver(u"n"_s, nullptr, [&](const Notification&) { ++sometimes; });
                center.postNotification(u"n"_s, nullptr);
                center.removeObserver(own);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(always.load(), kThreads * kRounds);
    QVERIFY(sometimes >= kThreads * kRounds);
    const int before = sometimes;
    center.postNotification(u"n"_s, nullptr);
    QCOMPARE(sometimes.load(), before);
}

void VKNotificationCenterTest::defaultCenterIsOne() {
    QCOMPARE(&VKNotificationCenter::defaultCenter(), &VKNotificationCenter::defaultCenter());
}

VKTEST_MAIN(VKNotificationCenterTest)
#include "VKNotificationCenterTest.moc"
