// Strings in binary streams: the exact bytes, and what hostile ones may cost.
#include "Support/AllocationCounter.h"
#include "Support/VKTest.h"

#include <VKQtStringUtils.h>
#include <VKQtStringUtilsRules.h>

#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKLog.h>
#include <VKCoreKit/VKStream.h>

#include <CoreFoundation/CFQt.h>

#include <memory>

using Utils = VKQtStringUtils;

namespace {

struct StreamRelease {
    void operator()(VKStream* stream) const { VKStreamRelease(stream); }
};
using Stream = std::unique_ptr<VKStream, StreamRelease>;

Stream makeStream(const QByteArray& content = {}) {
    VKStream* stream = nullptr;
    if (VKStreamCreateMemory(&stream) != kVKStatusSuccess) {
        return nullptr;
    }
    Stream made(stream);
    const auto size = static_cast<std::size_t>(content.size());
    if (VKStreamWrite(stream, content.constData(), size) != kVKStatusSuccess ||
        VKStreamSetPosition(stream, 0) != kVKStatusSuccess) {
        return nullptr;
    }
    return made;
}

QByteArray contentOf(const Stream& stream) {
    CFDataRef data = nullptr;
    if (VKStreamGetDataCopy(stream.get(), &data) != kVKStatusSuccess) {
        return "no content";
    }
    return CFDataCopyQByteArray(VKCFRef<CFDataRef>::adopt(data).get());
}

// The events that are logged while it lives: "status source".
class Events {
public:
    Events() {
        VKLogSetHandler(
            [](const VKLogRecord& record, void* context) {
                static_cast<Events*>(context)->mLines
                    << QStringLiteral("%1 %2").arg(record.status).arg(QString::fromUtf8(record.source));
                static_cast<Events*>(context)->mHaveLines = record.line > 0;
            },
            this);
    }
    ~Events() { VKLogSetHandler(nullptr, nullptr); }
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;

    [[nodiscard]] const QStringList& lines() const { return mLines; }
    [[nodiscard]] bool haveSourceLines() const { return mHaveLines; }

private:
    QStringList mLines;
    bool mHaveLines = false;
};

QStringList oneEvent(VKStatus status) {
    return {QStringLiteral("%1 VKQtCore/Source/Common/VKQtStringUtils").arg(status)};
}

} // namespace

class VKQtStringUtilsStreamTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void bytes_data();
    void bytes();
    void readsWhatIsNotUtf8();
    void loneSurrogateIsAQuestionMark();
    void severalInARow();
    void truncatedAnywhere();
    void declaredLengths_data();
    void declaredLengths();
    void nullStream();
    void cancelIsNotLogged();
};

void VKQtStringUtilsStreamTest::bytes_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("form");
    QTest::newRow("empty: the length alone") << QStringLiteral("") << QByteArray("\0\0\0\0", 4);
    QTest::newRow("null as empty") << QString() << QByteArray("\0\0\0\0", 4);
    QTest::newRow("ASCII, no terminator") << QStringLiteral("abc") << QByteArray("\0\0\0\3abc", 7);
    QTest::newRow("bytes are counted, not characters")
        << QStringLiteral("\u00E9\U0001F4F7") << QByteArray("\0\0\0\6\xC3\xA9\xF0\x9F\x93\xB7", 10);
    QTest::newRow("decomposed stays") << QStringLiteral("e\u0301") << QByteArray("\0\0\0\3e\xCC\x81", 7);
    QTest::newRow("U+FEFF at the start stays") << QStringLiteral("\uFEFFa")
                                               << QByteArray("\0\0\0\4\xEF\xBB\xBF"
                                                             "a",
                                                             8);
    QTest::newRow("two of them") << QStringLiteral("\uFEFF\uFEFF")
                                 << QByteArray("\0\0\0\6\xEF\xBB\xBF\xEF\xBB\xBF", 10);
    QTest::newRow("NUL inside") << QString(QStringLiteral("a") + QChar(u'\0'))
                                << QByteArray("\0\0\0\2a\0", 6);
    QTest::newRow("256 bytes: the length is big-endian")
        << QString(256, u'x') << QByteArray("\0\0\1\0", 4) + QByteArray(256, 'x');
}

void VKQtStringUtilsStreamTest::bytes() {
    QFETCH(QString, text);
    QFETCH(QByteArray, form);
    const Events events;
    const Stream stream = makeStream();
    QCOMPARE(Utils::writeUTF8String(stream.get(), text), kVKStatusSuccess);
    QCOMPARE(contentOf(stream), form);
    QCOMPARE(VKStreamSetPosition(stream.get(), 0), kVKStatusSuccess);
    QString read = QStringLiteral("old");
    QCOMPARE(Utils::readUTF8String(stream.get(), read), kVKStatusSuccess);
    QCOMPARE(read, text);
    QCOMPARE(events.lines(), QStringList());
}

void VKQtStringUtilsStreamTest::readsWhatIsNotUtf8() {
    const Stream stream = makeStream(QByteArray("\0\0\0\3a\xE9"
                                                "b",
                                                7));
    QString read;
    QCOMPARE(Utils::readUTF8String(stream.get(), read), kVKStatusSuccess);
    QCOMPARE(read, QStringLiteral("a\uFFFDb"));
}

void VKQtStringUtilsStreamTest::loneSurrogateIsAQuestionMark() {
    const Stream stream = makeStream();
    QCOMPARE(Utils::writeUTF8String(stream.get(), QString(QChar(0xD800))), kVKStatusSuccess);
    QCOMPARE(contentOf(stream), QByteArray("\0\0\0\1?", 5));
}

void VKQtStringUtilsStreamTest::severalInARow() {
    const QStringList texts{QStringLiteral("first"), QString(), QStringLiteral("\u6771\u4EAC")};
    const Stream stream = makeStream();
    for (const QString& text : texts) {
        QCOMPARE(Utils::writeUTF8String(stream.get(), text), kVKStatusSuccess);
    }
    QCOMPARE(VKStreamSetPosition(stream.get(), 0), kVKStatusSuccess);
    for (const QString& text : texts) {
        QString read;
        QCOMPARE(Utils::readUTF8String(stream.get(), read), kVKStatusSuccess);
        QCOMPARE(read, text);
    }
}

void VKQtStringUtilsStreamTest::truncatedAnywhere() {
    const QByteArray whole("\0\0\0\5photo", 9);
    for (qsizetype kept = 0; kept < whole.size(); ++kept) {
        const Stream stream = makeStream(whole.first(kept));
        const Events events;
        QString read = QStringLiteral("old");
        QCOMPARE(Utils::readUTF8String(stream.get(), read), kVKStatusEndOfStream);
        QCOMPARE(read, QStringLiteral("old"));
        QCOMPARE(events.lines(), oneEvent(kVKStatusEndOfStream));
        QVERIFY(events.haveSourceLines());
    }
}

void VKQtStringUtilsStreamTest::declaredLengths_data() {
    QTest::addColumn<QByteArray>("length");
    QTest::newRow("one more than there is") << QByteArray("\0\0\0\4", 4);
    QTest::newRow("256 MB") << QByteArray("\x10\0\0\0", 4);
    QTest::newRow("2 GB") << QByteArray("\x80\0\0\0", 4);
    QTest::newRow("4 GB") << QByteArray("\xFF\xFF\xFF\xFF", 4);
}

void VKQtStringUtilsStreamTest::declaredLengths() {
    QFETCH(QByteArray, length);
    const Stream stream = makeStream(length + "abc");
    const Events events;
    QString read = QStringLiteral("old");
    const AllocationCounter counter;
    const VKStatus status = Utils::readUTF8String(stream.get(), read);
    // The log line of the failure is all that takes memory.
    const std::size_t largest = counter.largest();
    QCOMPARE(status, kVKStatusEndOfStream);
    QCOMPARE(read, QStringLiteral("old"));
    QVERIFY2(!AllocationCounter::kAvailable || largest < 1024, qPrintable(QString::number(largest)));
    QCOMPARE(events.lines(), oneEvent(kVKStatusEndOfStream));
}

void VKQtStringUtilsStreamTest::nullStream() {
    const Events events;
    QString read = QStringLiteral("old");
    QCOMPARE(Utils::readUTF8String(nullptr, read), kVKStatusBadArgument);
    QCOMPARE(Utils::writeUTF8String(nullptr, read), kVKStatusBadArgument);
    QCOMPARE(read, QStringLiteral("old"));
    QCOMPARE(events.lines(), oneEvent(kVKStatusBadArgument) + oneEvent(kVKStatusBadArgument));
}

void VKQtStringUtilsStreamTest::cancelIsNotLogged() {
    const Events events;
    QCOMPARE(VKQtStringUtilsRules::logged(kVKStatusCancelled, __LINE__), kVKStatusCancelled);
    QCOMPARE(VKQtStringUtilsRules::logged(kVKStatusSuccess, __LINE__), kVKStatusSuccess);
    QCOMPARE(events.lines(), QStringList());
    QCOMPARE(VKQtStringUtilsRules::logged(28, __LINE__), VKStatus(28));
    QCOMPARE(events.lines(), oneEvent(28));
}

VKTEST_MAIN(VKQtStringUtilsStreamTest)
#include "VKQtStringUtilsStreamTest.moc"
