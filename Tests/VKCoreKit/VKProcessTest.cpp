// The sandbox question as the library asks it; the machine's model.
#include "Support/VKTest.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCoreKit.h>

#include <atomic>
#include <thread>

class VKProcessTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void aTestIsNotSandboxed();
    void hostsKnowBetter();
    void anyThreadMayAsk();
    void model();
};

void VKProcessTest::aTestIsNotSandboxed() {
    QVERIFY(!VKProcessGetSandboxed());
    // What a sandboxed program's child inherits outside of it proves nothing.
    qputenv("FLATPAK_ID", "org.example.Photo");
    qputenv("container", "flatpak");
    QVERIFY(!VKProcessGetSandboxed());
    qunsetenv("FLATPAK_ID");
    qunsetenv("container");
}

void VKProcessTest::hostsKnowBetter() {
    VKProcessSetSandboxed(VKSandboxAnswer::Sandboxed);
    QVERIFY(VKProcessGetSandboxed());
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed);
    QVERIFY(!VKProcessGetSandboxed());
    VKProcessSetSandboxed(VKSandboxAnswer::Sandboxed);
    VKProcessSetSandboxed(VKSandboxAnswer::Detect);
    QVERIFY(!VKProcessGetSandboxed());
}

void VKProcessTest::anyThreadMayAsk() {
    std::atomic<bool> wasSeen = false;
    std::thread asking([&] {
        while (!VKProcessGetSandboxed()) {
            std::this_thread::yield();
        }
        wasSeen = true;
    });
    VKProcessSetSandboxed(VKSandboxAnswer::Sandboxed);
    asking.join();
    QVERIFY(wasSeen);
    VKProcessSetSandboxed(VKSandboxAnswer::Detect);
}

void VKProcessTest::model() {
    const auto model = VKCFRef<CFStringRef>::adopt(VKProcessGetCopyHWMachineModel());
    const auto fact = VKCFRef<CFStringRef>::adopt(VKMachineGetFactCopy(VKMachineFact::Model));
    QCOMPARE(CFStringCopyQString(model.get()), CFStringCopyQString(fact.get()));
    QCOMPARE(model.get() == nullptr, fact.get() == nullptr);
}

VKTEST_MAIN(VKProcessTest)
#include "VKProcessTest.moc"
