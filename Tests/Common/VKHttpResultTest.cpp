// The outcome as text, as an answer, and in the log.
#include "VKHttpResult.h"

#include "Support/VKTest.h"

#include <optional>

using namespace Qt::StringLiterals;

class VKHttpResultTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void outcomes_data();
    void outcomes();
};

namespace {

struct Line {
    LogLevelType level;
    QByteArray category;
    QString text;
    VKStatus status;
};

QList<Line> logged(const VKHttpResult& result, LogLevelType level, const QString& prefix) {
    QList<Line> lines;
    VKLogSetHandler(
        [](const VKLogRecord& record, void* context) {
            static_cast<QList<Line>*>(context)->append(
                {record.level, record.category, record.text, record.status});
        },
        &lines);
    result.log(level, prefix);
    VKLogSetHandler(nullptr, nullptr);
    return lines;
}

} // namespace

void VKHttpResultTest::outcomes_data() {
    QTest::addColumn<int>("httpCode");
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("isSuccess");
    QTest::addColumn<QString>("text");
    QTest::newRow("new") << 0 << 0 << u""_s << false << u"Code: 0 Error: 0 Msg: "_s;
    QTest::newRow("200") << 200 << 0 << u"fine"_s << true << u"Code: 200 Error: 0 Msg: fine"_s;
    QTest::newRow("200 and an error") << 200 << 18 << u""_s << false << u"Code: 200 Error: 18 Msg: "_s;
    QTest::newRow("201") << 201 << 0 << u""_s << false << u"Code: 201 Error: 0 Msg: "_s;
    QTest::newRow("204") << 204 << 0 << u""_s << false << u"Code: 204 Error: 0 Msg: "_s;
    QTest::newRow("199") << 199 << 0 << u""_s << false << u"Code: 199 Error: 0 Msg: "_s;
    QTest::newRow("404") << 404 << 0 << u"gone"_s << false << u"Code: 404 Error: 0 Msg: gone"_s;
    QTest::newRow("negative") << -1 << -2 << u"x"_s << false << u"Code: -1 Error: -2 Msg: x"_s;
    QTest::newRow("placeholders in the message")
        << 500 << 1007 << u"%1 %2 %3"_s << false << u"Code: 500 Error: 1007 Msg: %1 %2 %3"_s;
}

void VKHttpResultTest::outcomes() {
    QFETCH(int, httpCode);
    QFETCH(int, error);
    QFETCH(QString, message);
    QFETCH(bool, isSuccess);
    QFETCH(QString, text);
    const VKHttpResult result{.httpCode = httpCode, .error = error, .message = message};
    QCOMPARE(result.success(), isSuccess);
    QCOMPARE(result.toString(), text);
    const QList<Line> lines = logged(result, kLogLevelWarning, u"Sync %1"_s);
    QCOMPARE(lines.size(), isSuccess ? 0 : 1);
    if (!isSuccess) {
        QCOMPARE(lines.first().level, kLogLevelWarning);
        QCOMPARE(lines.first().category, QByteArray("Syncing"));
        QCOMPARE(lines.first().text, u"Sync %1 - "_s + text);
        QCOMPARE(lines.first().status, kVKStatusSuccess);
        QCOMPARE(logged(result, kLogLevelError, {}).first().level, kLogLevelError);
    }
}

VKTEST_MAIN(VKHttpResultTest)
#include "VKHttpResultTest.moc"
