// Numbers of devices, their names in pci.ids, and which card comes first.
#include "Platform/GraphicsCards.h"

#include "Platform/MachineFacts.h"

#include <algorithm>
#include <array>

namespace VKPlatform {

namespace {

/// The next line, without its end, which is taken off the text.
QByteArrayView takeLine(QByteArrayView& text) {
    const qsizetype end = text.indexOf('\n');
    const QByteArrayView line = end < 0 ? text : text.first(end);
    text = end < 0 ? QByteArrayView() : text.sliced(end + 1);
    return line;
}

QByteArray hexadecimal(std::uint16_t number) { return QByteArray::number(number, 16).rightJustified(4, '0'); }

/// "10de  NVIDIA Corporation" for "10de": the name behind the number; nothing for another line.
std::optional<QByteArray> nameBehind(QByteArrayView line, const QByteArray& number) {
    if (!line.startsWith(number) || line.size() <= number.size() || line[number.size()] != ' ') {
        return std::nullopt;
    }
    return factOf(line.sliced(number.size()));
}

/// The second-generation chips whose graphics are the HD Graphics 3000, which the list calls by their processors only.
constexpr std::array<std::uint16_t, 4> kIntelHD3000 = {0x0112, 0x0116, 0x0122, 0x0126};
constexpr std::uint16_t kIntel = 0x8086;

} // namespace

std::optional<std::uint32_t> parsePciNumber(QByteArrayView text, int digits) {
    text = text.trimmed();
    if (!text.startsWith("0x") || text.size() != 2 + digits) {
        return std::nullopt;
    }
    bool isNumber = false;
    const std::uint32_t number = text.sliced(2).toByteArray().toUInt(&isNumber, 16);
    return isNumber ? std::optional(number) : std::nullopt;
}

bool isDisplayClass(QByteArrayView text) {
    constexpr std::uint32_t kDisplay = 0x03;
    const std::optional<std::uint32_t> number = parsePciNumber(text, 6);
    return number.has_value() && *number >> 16U == kDisplay;
}

PciNames findPciNames(QByteArrayView list, PciNumbers numbers) {
    const QByteArray vendor = hexadecimal(numbers.vendor);
    const QByteArray device = hexadecimal(numbers.device);
    PciNames names;
    bool isBelowVendor = false;
    while (!list.isEmpty()) {
        const QByteArrayView line = takeLine(list);
        if (line.startsWith('\t')) {
            const std::optional<QByteArray> name =
                isBelowVendor ? nameBehind(line.sliced(1), device) : std::nullopt;
            if (name.has_value()) {
                names.device = *name;
                return names;
            }
        } else if (isBelowVendor && !line.isEmpty() && !line.startsWith('#')) {
            return names;
        } else if (const std::optional<QByteArray> name = nameBehind(line, vendor)) {
            names.vendor = *name;
            isBelowVendor = true;
        }
    }
    return names;
}

QByteArray pciCardName(const PciNames& names, PciNumbers numbers) {
    if (numbers.vendor == kIntel &&
        std::find(kIntelHD3000.begin(), kIntelHD3000.end(), numbers.device) != kIntelHD3000.end()) {
        return "Intel HD Graphics 3000";
    }
    const QByteArray device = names.device.isEmpty()
                                  ? hexadecimal(numbers.vendor) + ':' + hexadecimal(numbers.device)
                                  : names.device;
    return (names.vendor.isEmpty() ? QByteArray("PCI display device") : names.vendor) + ' ' + device;
}

QByteArray ueventValue(QByteArrayView text, QByteArrayView key) {
    while (!text.isEmpty()) {
        const QByteArrayView line = takeLine(text);
        if (line.startsWith(key) && line.size() > key.size() && line[key.size()] == '=') {
            return factOf(line.sliced(key.size() + 1));
        }
    }
    return QByteArray();
}

void sortCards(std::vector<GraphicsCard>& cards) {
    std::sort(cards.begin(), cards.end(), [](const GraphicsCard& left, const GraphicsCard& right) {
        return left.isStartCard != right.isStartCard ? left.isStartCard : left.place < right.place;
    });
}

} // namespace VKPlatform
