// Errors: what they hold, how they are described, equality.
#include "CFTestSupport.h"

using namespace CFTest;

namespace {

Owned<CFDictionaryRef> table(CFStringRef key, const QString& text) {
    const auto value = makeString(text);
    const void* const keys[] = {key};
    const void* const values[] = {value.get()};
    return own(CFDictionaryCreate(nullptr, keys, values, 1, &kCFTypeDictionaryKeyCallBacks,
                                  &kCFTypeDictionaryValueCallBacks));
}

} // namespace

class CFErrorTest : public VKTest {
    Q_OBJECT

public:
    static CFTest::Misuses misuses();

private Q_SLOTS:
    void holdsWhatItWasMadeOf();
    void described();
    void equality();
    void misuse();
};

void CFErrorTest::holdsWhatItWasMadeOf() {
    const auto info = table(kCFErrorDebugDescriptionKey, QStringLiteral("why"));
    const auto error = own(CFErrorCreate(nullptr, kCFErrorDomainPOSIX, 2, info.get()));
    QCOMPARE(CFGetRetainCount(error.get()), 1);
    QCOMPARE(CFGetTypeID(error.get()), CFErrorGetTypeID());
    QVERIFY(CFErrorGetDomain(error.get()) == kCFErrorDomainPOSIX);
    QCOMPARE(CFErrorGetCode(error.get()), 2);
    QCOMPARE(CFGetRetainCount(info.get()), 2);
    QVERIFY(own(CFErrorCopyUserInfo(error.get())).get() == info.get());
    const auto bare = own(CFErrorCreate(nullptr, kCFErrorDomainCocoa, -1, nullptr));
    QCOMPARE(CFDictionaryGetCount(own(CFErrorCopyUserInfo(bare.get())).get()), 0);
    QCOMPARE(CFErrorGetCode(bare.get()), -1);
}

void CFErrorTest::described() {
    const auto forPeople = table(kCFErrorLocalizedDescriptionKey, QStringLiteral("It is gone."));
    const auto forDevelopers = table(kCFErrorDebugDescriptionKey, QStringLiteral("line 3"));
    const auto describe = [](CFDictionaryRef info) {
        return takeText(
            CFErrorCopyDescription(own(CFErrorCreate(nullptr, kCFErrorDomainCocoa, 3840, info)).get()));
    };
    QCOMPARE(describe(forPeople.get()), QStringLiteral("It is gone."));
    QCOMPARE(describe(forDevelopers.get()), QStringLiteral("line 3"));
    QCOMPARE(describe(nullptr), QStringLiteral("NSCocoaErrorDomain error 3840"));
}

void CFErrorTest::equality() {
    const auto why = table(kCFErrorDebugDescriptionKey, QStringLiteral("why"));
    const auto same = table(kCFErrorDebugDescriptionKey, QStringLiteral("why"));
    const auto error = own(CFErrorCreate(nullptr, kCFErrorDomainPOSIX, 2, why.get()));
    const auto equal =
        own(CFErrorCreate(nullptr, makeString(QStringLiteral("NSPOSIXErrorDomain")).get(), 2, same.get()));
    QVERIFY(CFEqual(error.get(), equal.get()));
    QCOMPARE(CFHash(error.get()), CFHash(equal.get()));
    QVERIFY(!CFEqual(error.get(), own(CFErrorCreate(nullptr, kCFErrorDomainPOSIX, 3, why.get())).get()));
    QVERIFY(!CFEqual(error.get(), own(CFErrorCreate(nullptr, kCFErrorDomainCocoa, 2, why.get())).get()));
    QVERIFY(!CFEqual(error.get(), own(CFErrorCreate(nullptr, kCFErrorDomainPOSIX, 2, nullptr)).get()));
}

CFTest::Misuses CFErrorTest::misuses() {
    return {
        {QStringLiteral("no domain"), [] { static_cast<void>(CFErrorCreate(nullptr, nullptr, 1, nullptr)); }},
        {QStringLiteral("no error"), [] { static_cast<void>(CFErrorGetCode(nullptr)); }},
    };
}

void CFErrorTest::misuse() {
    for (const QString& name : misuses().keys()) {
        QVERIFY2(stderrOfMisuse(name).contains(QStringLiteral("CFError")), qPrintable(name));
    }
}

CFTEST_MAIN_WITH_MISUSES(CFErrorTest)
#include "CFErrorTest.moc"
