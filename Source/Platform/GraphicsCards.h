// The graphics cards of the machine, from the kernel's list of devices and the public list of their names (pci.ids).
//
// Reads a few small files and that list. `root` stands before every path and is for tests. Any thread.
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>
#include <optional>
#include <vector>

namespace VKPlatform {

struct PciNumbers {
    std::uint16_t vendor = 0;
    std::uint16_t device = 0;

    friend bool operator==(const PciNumbers&, const PciNumbers&) = default;
};

struct GraphicsCard {
    QByteArray place;                  ///< "0000:01:00.0"; of a card that is no PCI device "card1"
    std::optional<PciNumbers> numbers; ///< none of a card that is no PCI device
    bool isStartCard = false;          ///< the one that the machine starts with
    QByteArray driver;                 ///< "nvidia"; empty without one
    QByteArray driverVersion;          ///< "535.129.03"; empty when the driver has none of its own
    QByteArray name;                   ///< never empty

    friend bool operator==(const GraphicsCard&, const GraphicsCard&) = default;
};

/// The card that the machine starts with first, then by place. Empty when the machine has none or does not tell.
[[nodiscard]] std::vector<GraphicsCard> graphicsCards(const QByteArray& root = QByteArray());

// The rules, pure.

/// The longest list of names that is read; the one of 2023 has 1.3 MB. A longer one counts as none.
inline constexpr std::uint64_t kPciNamesLimit = std::uint64_t{16} * 1024 * 1024;
/// How many cards are listed.
inline constexpr std::size_t kGraphicsCardsLimit = 32;

/// The kernel's word for one number of a device: "0x10de\n" -> 0x10de. Nothing for anything else, or more digits.
[[nodiscard]] std::optional<std::uint32_t> parsePciNumber(QByteArrayView text, int digits);

/// Whether the kernel's word for a device's class, "0x030000", says display.
[[nodiscard]] bool isDisplayClass(QByteArrayView text);

struct PciNames {
    QByteArray vendor; ///< "NVIDIA Corporation"
    QByteArray device; ///< "GA104 [GeForce RTX 3060 Ti]"

    friend bool operator==(const PciNames&, const PciNames&) = default;
};

/// The names in a text of the form of pci.ids, empty where it has none:
///
///     10de  NVIDIA Corporation
///     TAB   2489  GA104 [GeForce RTX 3060 Ti Lite Hash Rate]
///     TAB TAB  1043 8810  (a maker's own name of the same device; not looked at)
[[nodiscard]] PciNames findPciNames(QByteArrayView list, PciNumbers numbers);

/// The name for people. Chips whose name in the list hides what drivers and people call them get that; a device without
/// a name its numbers.
///
///     8086:0116 -> "Intel HD Graphics 3000", whatever the list says
///     "NVIDIA Corporation" "GA104 [GeForce RTX 3060 Ti]" -> both, with a blank
///     "NVIDIA Corporation" ""  10de:2489 -> "NVIDIA Corporation 10de:2489"
///     "" ""                    1234:1111 -> "PCI display device 1234:1111"
[[nodiscard]] QByteArray pciCardName(const PciNames& names, PciNumbers numbers);

/// The value of a line KEY=VALUE of a device's "uevent"; empty when there is none.
[[nodiscard]] QByteArray ueventValue(QByteArrayView text, QByteArrayView key);

/// The start card first, then by place.
void sortCards(std::vector<GraphicsCard>& cards);

} // namespace VKPlatform
