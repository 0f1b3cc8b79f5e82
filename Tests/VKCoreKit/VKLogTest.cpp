// What reaches the handler and Qt's logger, and that a handler can be taken away under the threads that log.
#include "VKCoreKit/VKLog.h"

#include "CoreKitSupport.h"

#include <QLoggingCategory>

#include <atomic>
#include <climits>
#include <functional>
#include <list>
#include <thread>
#include <vector>

using namespace CoreKit;

namespace {

/// What Qt's logger was given.
struct QtLine {
    QtMsgType type;
    QByteArray category;
    QString text;

    friend bool operator==(const QtLine&, const QtLine&) = default;
};

/// Takes the place of Qt's message handler while the object lives.
class QtCapture {
public:
    QtCapture() {
        sLines.clear();
        sBefore = qInstallMessageHandler(&QtCapture::receive);
    }
    ~QtCapture() { qInstallMessageHandler(sBefore); }
    QtCapture(const QtCapture&) = delete;
    QtCapture& operator=(const QtCapture&) = delete;

    [[nodiscard]] static QList<QtLine> take() {
        const std::lock_guard lock(sMutex);
        return std::exchange(sLines, {});
    }

private:
    static void receive(QtMsgType type, const QMessageLogContext& context, const QString& text) {
        const std::lock_guard lock(sMutex);
        sLines.append(QtLine{type, QByteArray(context.category), text});
    }

    static inline std::mutex sMutex;
    static inline QList<QtLine> sLines;
    static inline QtMessageHandler sBefore = nullptr;
};

LogLine infoLine(const QString& text) { return {kLogLevelInfo, "vk.core", text, kVKStatusSuccess, "", 0}; }
QtLine qtInfoLine(const QString& text) { return {QtInfoMsg, "vk.core", text}; }

/// A handler that is any function.
using Function = std::function<void(const VKLogRecord&)>;

void callFunction(const VKLogRecord& record, void* context) { (*static_cast<Function*>(context))(record); }

} // namespace

class VKLogTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void text();
    void noArguments();
    void formatted();
    void formatThatCannotBeMade();
    void longLine();
    void parameters_data();
    void parameters();
    void eventRecord();
    void nothingToLog();

    void defaultHandler_data();
    void defaultHandler();
    void defaultHandlerForEvents();
    void defaultCategoryIsOneOfQts();

    void handlerGetsItsContext();
    void loggingInsideAHandler();
    void replacingInsideAHandler();
    void replacingWaitsForTheOldHandler();
    void replacingUnderThreads();
};

void VKLogTest::cleanup() { VKLogSetHandler(nullptr, nullptr); }

void VKLogTest::text() {
    LogCapture log;
    const QString hostile = QStringLiteral("caf\u00E9 %s %n %1\n");
    VKLog(makeString(hostile).get(), 0);
    VKLog(makeString(QString()).get(), 0);
    VKLog(makeString(QStringLiteral("a\0b")).get(), 0);
    QCOMPARE(log.take(),
             (QList<LogLine>{infoLine(hostile), infoLine(QString()), infoLine(QStringLiteral("a\0b"))}));
}

void VKLogTest::noArguments() {
    LogCapture log;
    VKLogNoArgs("100 %s %d %n");
    VKLogNoArgs("lat\xE9 caf\xC3\xA9");
    VKLogNoArgs("");
    QCOMPARE(log.take(),
             (QList<LogLine>{infoLine(QStringLiteral("100 %s %d %n")),
                             infoLine(QStringLiteral("lat\uFFFD caf\u00E9")), infoLine(QString())}));
}

void VKLogTest::formatted() {
    LogCapture log;
    VKLogUTF8("plain");
    VKLogUTF8("%d %s %5.2f|%-4s|%%", -7, "caf\xC3\xA9", 1.5, "ab");
    VKLogUTF8("%s", "%s %n is text here");
    VKLogUTF8("%s", "lat\xE9");
    VKLogUTF8("%llu", ULLONG_MAX);
    QCOMPARE(log.take(), (QList<LogLine>{infoLine(QStringLiteral("plain")),
                                         infoLine(QStringLiteral("-7 caf\u00E9  1.50|ab  |%")),
                                         infoLine(QStringLiteral("%s %n is text here")),
                                         infoLine(QStringLiteral("lat\uFFFD")),
                                         infoLine(QStringLiteral("18446744073709551615"))}));
}

void VKLogTest::formatThatCannotBeMade() {
    LogCapture log;
    const wchar_t surrogate[] = {wchar_t{0xD800}, 0};
    VKLogUTF8("not a character: %ls", surrogate);
    QCOMPARE(log.take(), QList<LogLine>{infoLine(QStringLiteral("not a character: %ls"))});
}

void VKLogTest::longLine() {
    LogCapture log;
    const QByteArray line(3000000, 'x');
    VKLogUTF8("<%s>", line.constData());
    VKLogNoArgs(line.constData());
    const QString text = QString::fromLatin1(line);
    QCOMPARE(log.take(), (QList<LogLine>{infoLine(u'<' + text + u'>'), infoLine(text)}));
}

void VKLogTest::parameters_data() {
    QTest::addColumn<int>("level");
    QTest::addColumn<QByteArray>("category");
    QTest::addColumn<QByteArray>("received");
    QTest::newRow("debug") << int{kLogLevelDebug} << QByteArray("vk.http") << QByteArray("vk.http");
    QTest::newRow("info") << int{kLogLevelInfo} << QByteArray("") << QByteArray("");
    QTest::newRow("warning") << int{kLogLevelWarning} << QByteArray("a b%s") << QByteArray("a b%s");
    QTest::newRow("error") << int{kLogLevelError} << QByteArray("vk.core") << QByteArray("vk.core");
    QTest::newRow("no category") << int{kLogLevelError} << QByteArray() << QByteArray("vk.core");
    QTest::newRow("level of another list") << 99 << QByteArray() << QByteArray("vk.core");
}

void VKLogTest::parameters() {
    QFETCH(int, level);
    QFETCH(QByteArray, category);
    QFETCH(QByteArray, received);
    LogCapture log;
    const auto type = static_cast<LogLevelType>(level);
    VKLogWithParams(type, category.isNull() ? nullptr : category.constData(), 0,
                    makeString(QStringLiteral("text\n")).get());
    QCOMPARE(log.take(),
             (QList<LogLine>{{type, received, QStringLiteral("text\n"), kVKStatusSuccess, "", 0}}));
}

void VKLogTest::eventRecord() {
    LogCapture log;
    VKLogEvent(13, "VKQtCore/Source/Common/VKQtPath", 42);
    VKLogEvent(kVKStatusCancelled, nullptr, 0);
    QCOMPARE(
        log.take(),
        (QList<LogLine>{{kLogLevelWarning, "vk.core", QString(), 13, "VKQtCore/Source/Common/VKQtPath", 42},
                        {kLogLevelWarning, "vk.core", QString(), kVKStatusCancelled, "", 0}}));
}

void VKLogTest::nothingToLog() {
    LogCapture log;
    VKLog(nullptr, 0);
    VKLogNoArgs(nullptr);
    const char* const none = nullptr;
    VKLogUTF8(none);
    VKLogWithParams(kLogLevelError, "vk.http", 0, nullptr);
    VKLogEvent(kVKStatusSuccess, "VKQtCore/Source/Common/VKQtPath", 42);
    QCOMPARE(log.take(), QList<LogLine>());
}

void VKLogTest::defaultHandler_data() {
    QTest::addColumn<int>("level");
    QTest::addColumn<QByteArray>("category");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QtMsgType>("type");
    QTest::addColumn<QString>("received");
    const QByteArray own;
    QTest::newRow("debug") << int{kLogLevelDebug} << own << QStringLiteral("a") << QtDebugMsg
                           << QStringLiteral("a");
    QTest::newRow("info") << int{kLogLevelInfo} << own << QStringLiteral("a") << QtInfoMsg
                          << QStringLiteral("a");
    QTest::newRow("warning") << int{kLogLevelWarning} << own << QStringLiteral("a") << QtWarningMsg
                             << QStringLiteral("a");
    QTest::newRow("error") << int{kLogLevelError} << own << QStringLiteral("a") << QtCriticalMsg
                           << QStringLiteral("a");
    QTest::newRow("level of another list")
        << 99 << own << QStringLiteral("a") << QtInfoMsg << QStringLiteral("a");
    QTest::newRow("final line break")
        << 1 << own << QStringLiteral("a\n") << QtInfoMsg << QStringLiteral("a");
    QTest::newRow("one line break of two")
        << 1 << own << QStringLiteral("a\n\n") << QtInfoMsg << QStringLiteral("a\n");
    QTest::newRow("line break inside")
        << 1 << own << QStringLiteral("a\nb") << QtInfoMsg << QStringLiteral("a\nb");
    QTest::newRow("only a line break") << 1 << own << QStringLiteral("\n") << QtInfoMsg << QStringLiteral("");
    QTest::newRow("empty") << 1 << own << QStringLiteral("") << QtInfoMsg << QStringLiteral("");
    QTest::newRow("blanks and quotes stay")
        << 1 << own << QStringLiteral(" \"a\"  ") << QtInfoMsg << QStringLiteral(" \"a\"  ");
    QTest::newRow("percent") << 1 << own << QStringLiteral("%s %1 %{type}") << QtInfoMsg
                             << QStringLiteral("%s %1 %{type}");
    QTest::newRow("another category") << 2 << QByteArray("vk.http") << QStringLiteral("a\n") << QtWarningMsg
                                      << QStringLiteral("vk.http: a");
    QTest::newRow("the own category by name")
        << 1 << QByteArray("vk.core") << QStringLiteral("a") << QtInfoMsg << QStringLiteral("a");
}

void VKLogTest::defaultHandler() {
    QFETCH(int, level);
    QFETCH(QByteArray, category);
    QFETCH(QString, text);
    QFETCH(QtMsgType, type);
    QFETCH(QString, received);
    const QtCapture qt;
    VKLogWithParams(static_cast<LogLevelType>(level), category.isNull() ? nullptr : category.constData(), 0,
                    makeString(text).get());
    QCOMPARE(QtCapture::take(), (QList<QtLine>{{type, "vk.core", received}}));
}

void VKLogTest::defaultHandlerForEvents() {
    const QtCapture qt;
    VKLogEvent(13, "VKQtCore/Source/Common/VKQtPath", 42);
    VKLogEvent(41, "caf\xC3\xA9 %1", -1);
    QCOMPARE(
        QtCapture::take(),
        (QList<QtLine>{
            {QtWarningMsg, "vk.core",
             QStringLiteral("status 13 (Permission denied) at VKQtCore/Source/Common/VKQtPath:42")},
            {QtWarningMsg, "vk.core", QStringLiteral("status 41 (Unknown status) at caf\u00E9 %1:-1")}}));
}

void VKLogTest::defaultCategoryIsOneOfQts() {
    const QtCapture qt;
    QLoggingCategory::setFilterRules(QStringLiteral("vk.core.info=false"));
    VKLogNoArgs("filtered");
    QLoggingCategory::setFilterRules(QString());
    VKLogNoArgs("shown");
    QCOMPARE(QtCapture::take(), QList<QtLine>{qtInfoLine(QStringLiteral("shown"))});
}

void VKLogTest::handlerGetsItsContext() {
    const QtCapture qt;
    std::vector<QString> first;
    std::vector<QString> second;
    const VKLogHandler append = [](const VKLogRecord& record, void* context) {
        static_cast<std::vector<QString>*>(context)->push_back(record.text);
    };
    VKLogSetHandler(append, &first);
    VKLogNoArgs("1");
    VKLogSetHandler(append, &second);
    VKLogNoArgs("2");
    VKLogSetHandler(nullptr, &first);
    VKLogNoArgs("3");
    QCOMPARE(first, std::vector<QString>{QStringLiteral("1")});
    QCOMPARE(second, std::vector<QString>{QStringLiteral("2")});
    QCOMPARE(QtCapture::take(), QList<QtLine>{qtInfoLine(QStringLiteral("3"))});
}

void VKLogTest::loggingInsideAHandler() {
    const QtCapture qt;
    int calls = 0;
    Function handler = [&calls](const VKLogRecord& record) {
        ++calls;
        VKLogUTF8("seen: %s", qPrintable(record.text));
    };
    VKLogSetHandler(&callFunction, &handler);
    VKLogNoArgs("one");
    VKLogNoArgs("two");
    QCOMPARE(calls, 2);
    QCOMPARE(QtCapture::take(), (QList<QtLine>{qtInfoLine(QStringLiteral("seen: one")),
                                               qtInfoLine(QStringLiteral("seen: two"))}));
}

void VKLogTest::replacingInsideAHandler() {
    const QtCapture qt;
    LogCapture* next = nullptr;
    int calls = 0;
    Function handler = [&](const VKLogRecord&) {
        ++calls;
        next = new LogCapture;
        VKLogNoArgs("still inside");
    };
    VKLogSetHandler(&callFunction, &handler);
    VKLogNoArgs("first");
    VKLogNoArgs("second");
    QCOMPARE(calls, 1);
    QCOMPARE(next->take(), QList<LogLine>{infoLine(QStringLiteral("second"))});
    QCOMPARE(QtCapture::take(), QList<QtLine>{qtInfoLine(QStringLiteral("still inside"))});
    delete next;
}

void VKLogTest::replacingWaitsForTheOldHandler() {
    // The old handler stays inside until the new one is seen at work, so the replacing has begun and waits.
    std::atomic<bool> isInside = false;
    std::atomic<bool> mayLeave = false;
    Function slow = [&](const VKLogRecord& record) {
        if (record.text == QStringLiteral("held")) {
            isInside = true;
            isInside.notify_all();
            mayLeave.wait(false);
            isInside = false;
        }
    };
    int received = 0;
    Function quick = [&](const VKLogRecord&) { ++received; };
    VKLogSetHandler(&callFunction, &slow);
    std::thread logging([] { VKLogNoArgs("held"); });
    isInside.wait(false);

    std::atomic<bool> hasReturned = false;
    bool wasInside = true;
    std::thread replacing([&] {
        VKLogSetHandler(&callFunction, &quick);
        wasInside = isInside;
        hasReturned = true;
    });
    while (received == 0) {
        VKLogNoArgs("asked");
    }
    const bool hadReturned = hasReturned;
    mayLeave = true;
    mayLeave.notify_all();
    replacing.join();
    logging.join();
    QVERIFY(!hadReturned);
    QVERIFY(!wasInside);
}

void VKLogTest::replacingUnderThreads() {
    // As soon as a handler was replaced its context is looked at without its lock: nothing may come to it any
    // more, which the thread sanitizer sees as well.
    struct Context {
        std::mutex mutex;
        std::atomic<int> calls = 0;
        int lines = 0;
        bool isClosed = false;
        bool wasLate = false;
    };
    constexpr int kThreads = 4;
    constexpr int kHandlers = 300;
    const VKLogHandler handler = [](const VKLogRecord&, void* given) {
        auto* const context = static_cast<Context*>(given);
        const std::lock_guard lock(context->mutex);
        context->wasLate = context->wasLate || context->isClosed;
        ++context->lines;
        ++context->calls;
    };
    const QtCapture qt;
    std::list<Context> contexts(1);
    VKLogSetHandler(handler, &contexts.back());
    std::atomic<bool> stop = false;
    std::atomic<int> sent = 0;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                VKLogNoArgs("x");
                ++sent;
            }
        });
    }
    int received = 0;
    const auto close = [&received](Context& context) {
        context.isClosed = true;
        received += context.lines;
    };
    for (int i = 1; i < kHandlers; ++i) {
        while (contexts.back().calls == 0) {
            std::this_thread::yield();
        }
        Context& old = contexts.back();
        VKLogSetHandler(handler, &contexts.emplace_back());
        close(old);
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    VKLogSetHandler(nullptr, nullptr);
    close(contexts.back());
    QVERIFY(std::none_of(contexts.begin(), contexts.end(), [](const Context& one) { return one.wasLate; }));
    // No line is lost, none arrives twice, and none finds no handler in between.
    QCOMPARE(received, sent.load());
    QVERIFY(QtCapture::take().isEmpty());
}

VKTEST_MAIN(VKLogTest)
#include "VKLogTest.moc"
