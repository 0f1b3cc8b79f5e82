// The string that is held by value.
#include <VKCoreKit/VKString.h>

#include <CoreFoundation/CFQt.h>

#include "Support/VKTest.h"

#include <deque>
#include <utility>

class VKStringTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void sharesTheString();
    void none();
    void inAQueue();
};

void VKStringTest::sharesTheString() {
    CFStringRef string = CFStringCreateWithQString(QStringLiteral("not a constant"));
    {
        const VKString first(string);
        const VKString second = first; // NOLINT: the copy is what is tested
        QCOMPARE(CFGetRetainCount(string), CFIndex{3});
        QCOMPARE(static_cast<CFStringRef>(second), string);
        QCOMPARE(CFStringGetLength(second), CFIndex{14});
    }
    QCOMPARE(CFGetRetainCount(string), CFIndex{1});
    VKString kept(string);
    CFRelease(string);
    QCOMPARE(CFStringCopyQString(kept), QStringLiteral("not a constant"));
    const VKString moved = std::move(kept);
    QCOMPARE(CFStringCopyQString(moved), QStringLiteral("not a constant"));
}

void VKStringTest::none() {
    const VKString empty;
    QVERIFY(static_cast<CFStringRef>(empty) == nullptr);
    const VKString fromNull(nullptr);
    QVERIFY(static_cast<CFStringRef>(fromNull) == nullptr);
}

void VKStringTest::inAQueue() {
    std::deque<VKString> queue;
    for (int i = 0; i < 100; ++i) {
        const auto string = VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(QString::number(i)));
        queue.emplace_back(string.get());
    }
    for (int i = 0; i < 100; ++i) {
        QCOMPARE(CFStringCopyQString(queue[std::size_t(i)]), QString::number(i));
    }
}

VKTEST_MAIN(VKStringTest)
#include "VKStringTest.moc"
