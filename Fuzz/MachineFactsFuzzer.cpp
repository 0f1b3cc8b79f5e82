// Texts of systems, makers, processors and cards, as any distribution, firmware or command may have written them: what
// comes out is a name that can stand in a line, and what is written down reads back.

#include "FuzzSupport.h"

#include "Platform/GraphicsCards.h"
#include "Platform/MachineFacts.h"

#include <algorithm>

namespace {

using namespace VKPlatform;

QString shown(QByteArrayView bytes) { return QString::fromLatin1(bytes.toByteArray().toPercentEncoding()); }

void checkLine(const QByteArray& fact, const QByteArray& evidence) {
    require(fact.size() <= kFactLengthLimit, "a fact is not too long", {shown(evidence)});
    require(std::none_of(fact.begin(), fact.end(),
                         [](char unit) { return static_cast<unsigned char>(unit) < 0x20 || unit == 0x7f; }),
            "a fact has no control characters", {shown(fact), shown(evidence)});
}

/// What firmware and drivers tell is a fact: factOf() would change nothing about it.
void checkFact(const QByteArray& fact, const QByteArray& evidence) {
    checkLine(fact, evidence);
    require(factOf(fact) == fact, "a fact is one when it is looked at again", {shown(fact), shown(evidence)});
}

QByteArray quoted(QByteArray value) { return '"' + value.replace("\\", "\\\\").replace("\"", "\\\"") + '"'; }

void checkSystem(const QByteArray& text) {
    const SystemRelease release = parseSystemRelease(text, text);
    require(!release.name.isEmpty(), "a system has a name", {shown(text)});
    // "11" is a version, where firmware that says so says nothing.
    for (const QByteArray& fact : {release.name, release.version, release.build}) {
        checkLine(fact, text);
    }
    const QByteArray written = "NAME=" + quoted(release.name) + "\nVERSION_ID=" + quoted(release.version) +
                               "\nBUILD_ID=" + quoted(release.build) + '\n';
    const SystemRelease again = parseSystemRelease(written, release.build);
    require(again.name == release.name, "a system's name reads back", {shown(text), shown(written)});
    require(release.version.isEmpty() || again == release, "a system reads back",
            {shown(text), shown(written)});
}

void checkMachine(const QByteArray& text) {
    const QByteArrayList parts = text.split('\n') + QByteArrayList(7);
    const MachineTables tables = {parts[0], parts[1], parts[2], parts[3], parts[4], parts[5], parts[6]};
    const MachineMaker maker = describeMachine(tables);
    checkFact(maker.manufacturer, text);
    // A Lenovo has two facts in its model.
    require(maker.model.size() <= 2 * kFactLengthLimit + 3, "a model is not too long", {shown(text)});
    checkFact(treeEntryInWords(text), text);
    checkFact(makerOfTreeEntry(text), text);
    checkFact(chipOfTree(text), text);
}

void checkProcessor(const QByteArray& text) {
    checkFact(parseProcessorName(text), text);
    require(parseProcessorKinds(text).size() <= kProcessorKindsLimit * (kFactLengthLimit + 2),
            "the kinds of cores are not too many", {shown(text)});
}

void checkCards(FuzzInput& input, const QByteArray& text) {
    const PciNumbers numbers = {static_cast<std::uint16_t>(input.number(0, 0xffff)),
                                static_cast<std::uint16_t>(input.number(0, 0xffff))};
    const PciNames names = findPciNames(text, numbers);
    checkFact(names.vendor, text);
    checkFact(names.device, text);
    require(findPciNames(QByteArray("# a comment\n\n" + text), numbers) == names,
            "a comment before it changes nothing", {shown(text)});
    require(!pciCardName(names, numbers).isEmpty(), "a card has a name", {shown(text)});
    checkFact(ueventValue(text, "DRIVER"), text);
    const std::optional<std::uint32_t> number = parsePciNumber(text, 4);
    require(!number.has_value() || *number <= 0xffff, "four digits are sixteen bits", {shown(text)});
    require(!isDisplayClass(text) || parsePciNumber(text, 6).has_value(), "a class is a number",
            {shown(text)});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const QByteArray text = input.bytes();
    checkFact(factOf(text), text);
    checkSystem(text);
    checkMachine(text);
    checkProcessor(text);
    checkCards(input, text);
    return 0;
}
