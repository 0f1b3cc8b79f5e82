// Questions that may never be answered: joining, giving up, the most that are open, and what becomes of late answers.
#include "Platform/BoundedQuestion.h"

#include "Support/VKTest.h"

#include <QSemaphore>

#include <atomic>
#include <csignal>
#include <pthread.h>
#include <thread>
#include <vector>

using namespace VKPlatform;

class BoundedQuestionTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void answered();
    void answeredAnewEachTime();
    void unanswered();
    void joinedWhileOpen();
    void waitingTogetherIsNotWaitingInTurn();
    void mostOpen();
    void detachedThreadTakesNoSignals();
};

namespace {

using Questions = BoundedQuestions<int>;

/// Lives as long as the program, as the threads may.
Questions& questions() {
    static auto& sQuestions = *new Questions;
    return sQuestions;
}

/// A question that is answered when it is let go on.
struct Gate {
    std::shared_ptr<QSemaphore> open = std::make_shared<QSemaphore>();
    std::shared_ptr<std::atomic<int>> asked = std::make_shared<std::atomic<int>>(0);

    [[nodiscard]] std::function<int()> question(int answer) const {
        return [gate = *this, answer] {
            ++*gate.asked;
            gate.open->acquire();
            return answer;
        };
    }
};

} // namespace

void BoundedQuestionTest::answered() {
    QCOMPARE(Questions::wait(questions().ask("answered", [] { return 42; })), std::optional<int>(42));
    QVERIFY(!Questions::wait(nullptr).has_value());
}

void BoundedQuestionTest::answeredAnewEachTime() {
    for (int i = 0; i < 100; ++i) {
        const auto pending = questions().ask("anew", [i] { return i; });
        QCOMPARE(Questions::wait(pending), std::optional<int>(i));
        QTRY_COMPARE(questions().openQuestions(), std::size_t(0));
    }
}

void BoundedQuestionTest::unanswered() {
    const Gate gate;
    QVERIFY(!Questions::wait(questions().ask("unanswered", gate.question(1))).has_value());
    // While it is open nothing new is asked, and there is no second waiting.
    for (int i = 0; i < 1000; ++i) {
        QVERIFY(!Questions::wait(questions().ask("unanswered", gate.question(2))).has_value());
    }
    QCOMPARE(gate.asked->load(), 1);
    QCOMPARE(questions().openQuestions(), std::size_t(1));
    gate.open->release(2);
    QTRY_COMPARE(questions().openQuestions(), std::size_t(0));
    QCOMPARE(Questions::wait(questions().ask("unanswered", gate.question(3))), std::optional<int>(3));
}

void BoundedQuestionTest::joinedWhileOpen() {
    const Gate gate;
    const auto first = questions().ask("joined", gate.question(1));
    const auto second = questions().ask("joined", gate.question(2));
    QCOMPARE(first, second);
    gate.open->release(2);
    QCOMPARE(Questions::wait(second), std::optional<int>(1));
    QCOMPARE(Questions::wait(first), std::optional<int>(1));
    QCOMPARE(gate.asked->load(), 1);
    QTRY_COMPARE(questions().openQuestions(), std::size_t(0));
}

void BoundedQuestionTest::waitingTogetherIsNotWaitingInTurn() {
    const Gate gate;
    std::vector<Questions::Handle> pending;
    for (int i = 0; i < 20; ++i) {
        pending.push_back(questions().ask(QByteArray::number(i), gate.question(i)));
    }
    QVERIFY(!Questions::wait(pending.front()).has_value());
    // The others have had their time as well: the time each may take ends at nearly the same moment.
    for (const auto& other : pending) {
        QVERIFY(other->deadline - pending.front()->deadline < kPatience);
    }
    gate.open->release(20);
    QTRY_COMPARE(questions().openQuestions(), std::size_t(0));
}

void BoundedQuestionTest::mostOpen() {
    const Gate gate;
    for (std::size_t i = 0; i < kMostOpenQuestions - 1; ++i) {
        QVERIFY(questions().ask(QByteArray::number(qulonglong(i)), gate.question(0)) != nullptr);
    }
    QVERIFY(questions().ask("the last one", gate.question(0)) != nullptr);
    QCOMPARE(questions().openQuestions(), kMostOpenQuestions);
    QVERIFY(questions().ask("one more", gate.question(0)) == nullptr);
    QVERIFY(questions().ask("the last one", gate.question(0)) != nullptr);
    gate.open->release(static_cast<int>(kMostOpenQuestions));
    QTRY_COMPARE(questions().openQuestions(), std::size_t(0));
    QCOMPARE(Questions::wait(questions().ask("one more", [] { return 5; })), std::optional<int>(5));
}

void BoundedQuestionTest::detachedThreadTakesNoSignals() {
    sigset_t before;
    QCOMPARE(::pthread_sigmask(SIG_SETMASK, nullptr, &before), 0);
    QSemaphore done;
    std::atomic<bool> blocked = false;
    QVERIFY(runDetached([&] {
        sigset_t mask;
        ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        blocked = sigismember(&mask, SIGTERM) == 1 && sigismember(&mask, SIGCHLD) == 1;
        done.release();
    }));
    done.acquire();
    QVERIFY(blocked);
    sigset_t after;
    QCOMPARE(::pthread_sigmask(SIG_SETMASK, nullptr, &after), 0);
    QCOMPARE(sigismember(&after, SIGTERM), sigismember(&before, SIGTERM));
}

VKTEST_MAIN(BoundedQuestionTest)
#include "BoundedQuestionTest.moc"
