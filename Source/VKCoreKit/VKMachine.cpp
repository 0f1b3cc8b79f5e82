// The machine's facts as counted strings.
#include "VKCoreKit/VKMachine.h"

#include "Platform/GraphicsCards.h"
#include "Platform/MachineFacts.h"

#include <CoreFoundation/CFQt.h>

#include <QString>

namespace {

using VKPlatform::GraphicsCard;

QByteArray startCardFact(QByteArray GraphicsCard::*member) {
    const std::vector<GraphicsCard> cards = VKPlatform::graphicsCards();
    return cards.empty() ? QByteArray() : cards.front().*member;
}

/// "NVIDIA Corporation GA104 [GeForce RTX 3060 Ti], driver nvidia 535.129.03, at 0000:01:00.0".
QByteArray lineAbout(const GraphicsCard& card) {
    QByteArray line = card.name;
    line += card.driver.isEmpty() ? QByteArray(", no driver") : ", driver " + card.driver;
    if (!card.driverVersion.isEmpty()) {
        line += ' ' + card.driverVersion;
    }
    return line + ", at " + card.place + '\n';
}

QByteArray graphicsReport() {
    QByteArray report;
    for (const GraphicsCard& card : VKPlatform::graphicsCards()) {
        report += lineAbout(card);
    }
    return report;
}

QByteArray factText(VKMachineFact fact) {
    switch (fact) {
    case VKMachineFact::SystemName:
        return VKPlatform::systemRelease().name;
    case VKMachineFact::SystemVersion:
        return VKPlatform::systemRelease().version;
    case VKMachineFact::SystemBuild:
        return VKPlatform::systemRelease().build;
    case VKMachineFact::Manufacturer:
        return VKPlatform::machineMaker().manufacturer;
    case VKMachineFact::Model:
        return VKPlatform::machineMaker().model;
    case VKMachineFact::Processor:
        return VKPlatform::processorName();
    case VKMachineFact::GraphicsCard:
        return startCardFact(&GraphicsCard::name);
    case VKMachineFact::GraphicsDriverVersion:
        return startCardFact(&GraphicsCard::driverVersion);
    case VKMachineFact::GraphicsReport:
        return graphicsReport();
    }
    return QByteArray();
}

} // namespace

CFStringRef VKMachineGetFactCopy(VKMachineFact fact) {
    const QByteArray text = factText(fact);
    return text.isEmpty() ? nullptr : CFStringCreateWithQString(QString::fromUtf8(text));
}
