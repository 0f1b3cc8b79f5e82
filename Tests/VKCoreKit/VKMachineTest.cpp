// The machine's facts through the core library, beside what the ground says and what other programs say.
#include "CoreKitSupport.h"
#include "Platform/GraphicsCards.h"
#include "Platform/MachineFacts.h"
#include "Support/ShellCommand.h"
#include "Support/VKTest.h"

#include <VKCoreKit/VKCoreKit.h>

#include <thread>

class VKMachineTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void asTheGroundSays_data();
    void asTheGroundSays();
    void asTheSystemSays();
    void graphicsReport();
    void unknownFact();
    void anyThreadMayAsk();
};

namespace {

/// A fact as text; a null text for null.
QString factText(VKMachineFact fact) {
    const auto text = VKCFRef<CFStringRef>::adopt(VKMachineGetFactCopy(fact));
    return CFStringCopyQString(text.get());
}

QByteArray startCard(QByteArray VKPlatform::GraphicsCard::*member) {
    const auto cards = VKPlatform::graphicsCards();
    return cards.empty() ? QByteArray() : cards.front().*member;
}

} // namespace

void VKMachineTest::asTheGroundSays_data() {
    QTest::addColumn<int>("fact");
    QTest::addColumn<QByteArray>("text");
    const auto row = [](const char* name, VKMachineFact fact, const QByteArray& text) {
        QTest::newRow(name) << int(fact) << text;
    };
    row("system name", VKMachineFact::SystemName, VKPlatform::systemRelease().name);
    row("system version", VKMachineFact::SystemVersion, VKPlatform::systemRelease().version);
    row("system build", VKMachineFact::SystemBuild, VKPlatform::systemRelease().build);
    row("manufacturer", VKMachineFact::Manufacturer, VKPlatform::machineMaker().manufacturer);
    row("model", VKMachineFact::Model, VKPlatform::machineMaker().model);
    row("processor", VKMachineFact::Processor, VKPlatform::processorName());
    row("graphics card", VKMachineFact::GraphicsCard, startCard(&VKPlatform::GraphicsCard::name));
    row("graphics driver", VKMachineFact::GraphicsDriverVersion,
        startCard(&VKPlatform::GraphicsCard::driverVersion));
}

void VKMachineTest::asTheGroundSays() {
    QFETCH(int, fact);
    QFETCH(QByteArray, text);
    const auto found = VKCFRef<CFStringRef>::adopt(VKMachineGetFactCopy(VKMachineFact(fact)));
    QCOMPARE(CFStringCopyQString(found.get()).toUtf8(), text);
    QCOMPARE(found.get() == nullptr, text.isEmpty());
    if (found) {
        QCOMPARE(CFGetRetainCount(found.get()), CFIndex{1});
    }
}

void VKMachineTest::asTheSystemSays() {
    const Shell::Output name = Shell::outputOf(". /etc/os-release && printf %s \"$NAME\"");
    QCOMPARE(factText(VKMachineFact::SystemName).toUtf8(), name.text);
    const Shell::Output brand =
        Shell::outputOf("sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1 | tr -s ' '");
    if (!brand.text.isEmpty()) {
        QCOMPARE(factText(VKMachineFact::Processor).toUtf8(), brand.text.trimmed());
    } else {
        QVERIFY(!factText(VKMachineFact::Processor).isEmpty());
    }
}

void VKMachineTest::graphicsReport() {
    QByteArray expected;
    for (const VKPlatform::GraphicsCard& card : VKPlatform::graphicsCards()) {
        expected += card.name;
        expected += card.driver.isEmpty() ? QByteArray(", no driver") : QByteArray(", driver " + card.driver);
        expected += card.driverVersion.isEmpty() ? QByteArray() : QByteArray(' ' + card.driverVersion);
        expected += ", at " + card.place + '\n';
    }
    QCOMPARE(factText(VKMachineFact::GraphicsReport).toUtf8(), expected);
}

void VKMachineTest::unknownFact() {
    QVERIFY(VKMachineGetFactCopy(static_cast<VKMachineFact>(200)) == nullptr);
}

void VKMachineTest::anyThreadMayAsk() {
    const QString here = factText(VKMachineFact::SystemName);
    QString there;
    std::thread asking([&] { there = factText(VKMachineFact::SystemName); });
    const QString again = factText(VKMachineFact::SystemName);
    asking.join();
    QCOMPARE(there, here);
    QCOMPARE(again, here);
}

VKTEST_MAIN(VKMachineTest)
#include "VKMachineTest.moc"
