// What the machine and its system say about themselves: the distribution, the maker's tables, the processor.
//
// Texts are UTF-8 as far as those who wrote them kept to it, without line breaks or doubled blanks; what is not known is
// empty. Each call reads a few small files anew. `root` stands before every path and is for tests. Any thread.
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QByteArrayView>

namespace VKPlatform {

struct SystemRelease {
    QByteArray name;    ///< "Debian GNU/Linux"; "Linux" where nothing better is known
    QByteArray version; ///< "12", or the build or code name of a system without versions
    QByteArray build;   ///< the system's own build, or else the kernel's release

    friend bool operator==(const SystemRelease&, const SystemRelease&) = default;
};

/// Inside Flatpak the host's.
[[nodiscard]] SystemRelease systemRelease(const QByteArray& root = QByteArray());

struct MachineMaker {
    QByteArray manufacturer; ///< "LENOVO"
    QByteArray model;        ///< "ThinkPad X1 Carbon Gen 9 (20XW0055GE)"

    friend bool operator==(const MachineMaker&, const MachineMaker&) = default;
};

[[nodiscard]] MachineMaker machineMaker(const QByteArray& root = QByteArray());

/// "AMD Ryzen 7 5800X 8-Core Processor", "Cortex-A55, Cortex-A76". Where the kernel gives numbers only (ARM), the
/// command "lscpu" knows their names; it is found on PATH and waited for kCommandBoundMs at most. Without it the chip
/// in the board's own words ("Broadcom bcm2711"), then the architecture ("aarch64").
[[nodiscard]] QByteArray processorName(const QByteArray& root = QByteArray());

// The rules, pure.

/// The longest text that can be a name. What is longer is none.
inline constexpr qsizetype kFactLengthLimit = 256;
/// How much of a file of facts is read. What stands behind it is not looked at.
inline constexpr qsizetype kFactFileLimit = qsizetype{64} * 1024;
/// How many kinds of processor cores a name is made of.
inline constexpr qsizetype kProcessorKindsLimit = 8;
/// How long a command may take to answer.
inline constexpr int kCommandBoundMs = 5000;

/// The text without blanks and control characters at its ends and with single blanks within; empty when it is too long
/// or stands in a table only because nobody filled the place in:
///
///     " Precision  5560 \n" -> "Precision 5560"       "To Be Filled By O.E.M." -> ""     "Default string" -> ""
///     "System Product Name" -> ""     "0123456789" -> ""     "xxxxxxx" -> ""     "-" -> ""
[[nodiscard]] QByteArray factOf(QByteArrayView text);

/// What the text of os-release(5) says, whose lines are NAME="Debian GNU/Linux"; `kernel` is the kernel's release.
[[nodiscard]] SystemRelease parseSystemRelease(QByteArrayView text, QByteArrayView kernel);

/// The strings of the maker's tables (SMBIOS), as the kernel shows them below /sys/class/dmi/id, and of the device tree,
/// as files with NUL-terminated strings.
struct MachineTables {
    QByteArray systemVendor;
    QByteArray productName;
    QByteArray productVersion;
    QByteArray boardVendor;
    QByteArray boardName;
    QByteArray treeModel;
    QByteArray treeCompatible; ///< "raspberrypi,4-model-b", NUL, "brcm,bcm2711", NUL
};

/// The product, or, where its place was not filled in, the board; then the device tree. LENOVO writes the name that
/// people know into the version, and a number into the name.
[[nodiscard]] MachineMaker describeMachine(const MachineTables& tables);

/// The processor's name in the text of /proc/cpuinfo, of which a line is "model name\t: Intel(R) Core(TM) i7"; empty
/// where there is none (ARM).
[[nodiscard]] QByteArray parseProcessorName(QByteArrayView cpuInfo);

/// The names of the kinds of cores in the answer of "lscpu -J", each once, joined by ", ".
[[nodiscard]] QByteArray parseProcessorKinds(const QByteArray& json);

/// The chip in a device tree's "compatible": its last entry, in words.
///
///     "raspberrypi,4-model-b" NUL "brcm,bcm2711" NUL -> "Broadcom bcm2711"
[[nodiscard]] QByteArray chipOfTree(QByteArrayView compatible);

/// An entry of a device tree in words. A maker that is not known keeps its prefix.
///
///     "arm,mali-t860" -> "ARM mali-t860"      "acme,x1" -> "acme x1"      "x1" -> "x1"
[[nodiscard]] QByteArray treeEntryInWords(QByteArrayView entry);

/// The maker of an entry: "ARM", "acme", "".
[[nodiscard]] QByteArray makerOfTreeEntry(QByteArrayView entry);

} // namespace VKPlatform
