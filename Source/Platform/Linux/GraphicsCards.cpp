// PCI devices of the display class below /sys/bus/pci; cards of boards without PCI below /sys/class/drm.
#include "Platform/GraphicsCards.h"

#include "Platform/Linux/SmallFile.h"
#include "Platform/MachineFacts.h"
#include "Platform/WholeFile.h"

#include <QByteArrayList>

#include <algorithm>
#include <climits>
#include <dirent.h>
#include <memory>
#include <unistd.h>

namespace VKPlatform {

namespace {

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

QByteArrayList namesIn(const QByteArray& folder) {
    QByteArrayList names;
    const std::unique_ptr<DIR, CloseFolder> entries(::opendir(folder.constData()));
    while (const dirent* entry = entries == nullptr ? nullptr : ::readdir(entries.get())) {
        const QByteArray name(static_cast<const char*>(entry->d_name));
        if (!name.startsWith('.')) {
            names.append(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

QByteArray word(const QByteArray& path) { return startOfFile(path, kFactFileLimit).trimmed(); }

/// The last component of what a link names; empty when it is no link.
QByteArray linkedName(const QByteArray& path) {
    char target[PATH_MAX];
    const ssize_t size = ::readlink(path.constData(), target, sizeof target);
    const QByteArray text(target, size < 0 ? 0 : size);
    return factOf(text.sliced(text.lastIndexOf('/') + 1));
}

/// The list of names, read when it is needed first.
class NameList {
public:
    explicit NameList(const QByteArray& root) : mRoot(root) {}

    QByteArrayView text() {
        for (const char* place : {"/usr/share/misc/pci.ids", "/usr/share/hwdata/pci.ids"}) {
            if (!mIsRead && readWholeFile(mRoot + place, kPciNamesLimit, mText) == 0) {
                mIsRead = true;
            }
        }
        mIsRead = true;
        return mText;
    }

private:
    const QByteArray& mRoot;
    QByteArray mText;
    bool mIsRead = false;
};

void addPciCards(const QByteArray& root, std::vector<GraphicsCard>& cards) {
    const QByteArray folder = root + "/sys/bus/pci/devices/";
    NameList names(root);
    for (const QByteArray& place : namesIn(folder)) {
        const QByteArray device = folder + place;
        const std::optional<std::uint32_t> vendor = parsePciNumber(word(device + "/vendor"), 4);
        const std::optional<std::uint32_t> number = parsePciNumber(word(device + "/device"), 4);
        if (!isDisplayClass(word(device + "/class")) || !vendor.has_value() || !number.has_value()) {
            continue;
        }
        if (cards.size() >= kGraphicsCardsLimit) {
            return;
        }
        const PciNumbers numbers = {static_cast<std::uint16_t>(*vendor), static_cast<std::uint16_t>(*number)};
        GraphicsCard card;
        card.place = place;
        card.numbers = numbers;
        card.isStartCard = word(device + "/boot_vga") == "1";
        card.driver = linkedName(device + "/driver");
        card.driverVersion = factOf(word(device + "/driver/module/version"));
        card.name = pciCardName(findPciNames(names.text(), numbers), numbers);
        cards.push_back(std::move(card));
    }
}

bool isCardName(const QByteArray& name) {
    bool isNumber = false;
    return name.startsWith("card") && name.sliced(4).toUInt(&isNumber) < UINT_MAX && isNumber;
}

/// Cards that the device tree describes. A PCI card is in the list already; a frame buffer that the firmware left is no
/// card.
void addTreeCards(const QByteArray& root, std::vector<GraphicsCard>& cards) {
    const QByteArray folder = root + "/sys/class/drm/";
    for (const QByteArray& place : namesIn(folder)) {
        const QByteArray uevent =
            isCardName(place) ? startOfFile(folder + place + "/device/uevent", kFactFileLimit) : QByteArray();
        const QByteArray entry = ueventValue(uevent, "OF_COMPATIBLE_0");
        if (entry.isEmpty() || entry == "simple-framebuffer" || !ueventValue(uevent, "PCI_ID").isEmpty()) {
            continue;
        }
        if (cards.size() >= kGraphicsCardsLimit) {
            return;
        }
        GraphicsCard card;
        card.place = place;
        card.driver = ueventValue(uevent, "DRIVER");
        card.driverVersion = factOf(word(folder + place + "/device/driver/module/version"));
        card.name = treeEntryInWords(entry);
        cards.push_back(std::move(card));
    }
}

} // namespace

std::vector<GraphicsCard> graphicsCards(const QByteArray& root) {
    std::vector<GraphicsCard> cards;
    addPciCards(root, cards);
    addTreeCards(root, cards);
    sortCards(cards);
    return cards;
}

} // namespace VKPlatform
