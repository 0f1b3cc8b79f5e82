// Each status has its number and its words.
#include "VKCoreKit/VKStatus.h"

#include "Support/VKTest.h"

#include <QSet>

#include <cerrno>
#include <climits>
#include <cstring>
#include <thread>

namespace {

const char* const kUnknown = "Unknown status";

struct Named {
    const char* name;
    VKStatus status;
    VKStatus number;
    const char* text;
};

#define NAMED(name, number, text)                                                                            \
    Named { #name, name, number, text }

// Applications and files hold these numbers.
const Named kNamed[] = {
    NAMED(kVKStatusSuccess, 0, "Success"),
    NAMED(kVKStatusNoAttributes, 1001, "No file attributes"),
    NAMED(kVKStatusNotConvertible, 1002, "Not a usable path or class identifier"),
    NAMED(kVKStatusNotUnderstood, 1003, "Reply or output not understood"),
    NAMED(kVKStatusBadArgument, 1005, "Bad or empty argument"),
    NAMED(kVKStatusOutOfRange, 1006, "Index out of range or missing name"),
    NAMED(kVKStatusCancelled, 1007, "Cancelled or not applicable"),
    NAMED(kVKStatusIncompleteBookmark, 1009, "Incomplete bookmark"),
    NAMED(kVKStatusMissingKey, 1016, "A required key is missing"),
    NAMED(kVKStatusEndOfStream, 1020, "Unexpected end of the stream"),
    NAMED(kVKStatusWritabilityUnknown, 1025, "It is not known whether the folder is writable"),
    NAMED(kVKStatusUnknownValueType, 1029, "Unknown type of value"),
    NAMED(kVKStatusNoBaseURL, 1034, "No base URL is set"),
    NAMED(kVKStatusStatFailed, 1070, "The file's record could not be read"),
    NAMED(kVKStatusTimedOut, 1081, "Timed out"),
    NAMED(kVKStatusUnauthorized, 1089, "Not authorised (HTTP 401)"),
    NAMED(kVKStatusTransportFailed, 1094, "The transfer failed"),
    NAMED(kVKStatusTooManyRequests, 1096, "Too many requests (HTTP 429)"),
    NAMED(kVKStatusServerError, 1102, "Internal server error (HTTP 500)"),
    NAMED(kVKStatusBadRequest, 1103, "Bad request (HTTP 400)"),
    NAMED(kVKStatusHostNotResolved, 1105, "The host's name could not be resolved"),
};

} // namespace

class VKStatusTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void named_data();
    void named();
    void systemErrors_data();
    void systemErrors();
    void unknown_data();
    void unknown();
    void everyStatusHasWordsOfItsOwn();
    void textsStay();
};

void VKStatusTest::named_data() {
    QTest::addColumn<VKStatus>("status");
    QTest::addColumn<VKStatus>("number");
    QTest::addColumn<QByteArray>("text");
    for (const Named& row : kNamed) {
        QTest::newRow(row.name) << row.status << row.number << QByteArray(row.text);
    }
}

void VKStatusTest::named() {
    QFETCH(VKStatus, status);
    QFETCH(VKStatus, number);
    QFETCH(QByteArray, text);
    QCOMPARE(status, number);
    QCOMPARE(QByteArray(VKStatusText(status)), text);
}

void VKStatusTest::systemErrors_data() {
    QTest::addColumn<int>("error");
    QTest::addColumn<int>("number");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("ENOENT") << ENOENT << 2 << QByteArray("No such file or directory");
    QTest::newRow("EACCES") << EACCES << 13 << QByteArray("Permission denied");
    QTest::newRow("EEXIST") << EEXIST << 17 << QByteArray("File exists");
    QTest::newRow("EISDIR") << EISDIR << 21 << QByteArray("Is a directory");
    QTest::newRow("ENOSPC") << ENOSPC << 28 << QByteArray("No space left on device");
    QTest::newRow("EROFS") << EROFS << 30 << QByteArray("Read-only file system");
}

void VKStatusTest::systemErrors() {
    QFETCH(int, error);
    QFETCH(int, number);
    QFETCH(QByteArray, text);
    QCOMPARE(error, number);
    QCOMPARE(QByteArray(VKStatusText(static_cast<VKStatus>(error))), text);
}

void VKStatusTest::unknown_data() {
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("a gap in the system's errors") << VKStatus{41};
    QTest::newRow("after the system's errors") << VKStatus{999};
    QTest::newRow("before the library's own") << VKStatus{1000};
    QTest::newRow("between the library's own") << VKStatus{1004};
    QTest::newRow("after the library's own") << VKStatus{1106};
    QTest::newRow("largest int") << VKStatus{INT_MAX};
    QTest::newRow("above every int") << VKStatus{INT_MAX} + 1;
    QTest::newRow("a negated error") << static_cast<VKStatus>(-ENOENT);
    QTest::newRow("largest") << VKStatus{UINT_MAX};
}

void VKStatusTest::unknown() {
    QFETCH(VKStatus, status);
    QCOMPARE(QByteArray(VKStatusText(status)), QByteArray(kUnknown));
}

void VKStatusTest::everyStatusHasWordsOfItsOwn() {
    QSet<VKStatus> own;
    for (const Named& row : kNamed) {
        own.insert(row.number);
    }
    QCOMPARE(own.size(), qsizetype(std::size(kNamed)));
    QSet<QByteArray> texts;
    for (VKStatus status = 0; status < 5000; ++status) {
        const char* const text = VKStatusText(status);
        QVERIFY(text != nullptr);
        const QByteArray words(text);
        const bool isErrno = strerrorname_np(static_cast<int>(status)) != nullptr;
        QCOMPARE(words != kUnknown, own.contains(status) || isErrno);
        if (words == kUnknown) {
            continue;
        }
        QVERIFY2(!words.isEmpty() && words == words.trimmed() && !words.endsWith('.'), text);
        QVERIFY2(!texts.contains(words), text);
        texts.insert(words);
    }
}

void VKStatusTest::textsStay() {
    const char* const known = VKStatusText(kVKStatusCancelled);
    const char* const system = VKStatusText(ENOSPC);
    const char* const unknown = VKStatusText(41);
    std::thread([&] {
        for (VKStatus status = 0; status < 2000; ++status) {
            static_cast<void>(VKStatusText(status));
        }
    }).join();
    QCOMPARE(QByteArray(known), QByteArray("Cancelled or not applicable"));
    QCOMPARE(QByteArray(system), QByteArray("No space left on device"));
    QCOMPARE(QByteArray(unknown), QByteArray(kUnknown));
    QVERIFY(VKStatusText(ENOSPC) == system);
}

VKTEST_MAIN(VKStatusTest)
#include "VKStatusTest.moc"
