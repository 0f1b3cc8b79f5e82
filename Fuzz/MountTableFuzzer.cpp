// Mount tables in the kernel's form: arbitrary ones, and ones composed of entries, which must read back as they were;
// the choice of volumes among them; and the small texts that tell about volumes.

#include "FuzzSupport.h"

#include "Platform/MountTable.h"
#include "Platform/ServedSpace.h"
#include "Platform/VolumeIdentity.h"
#include "Platform/VolumeNames.h"
#include "Platform/Volumes.h"

#include <QByteArrayList>

#include <algorithm>
#include <set>

namespace {

using namespace VKPlatform;

QString shownBytes(const QByteArray& bytes) { return QString::fromLatin1(bytes); }

bool isSame(const MountEntry& a, const MountEntry& b) {
    return a.id == b.id && a.parent == b.parent && a.major == b.major && a.minor == b.minor &&
           a.root == b.root && a.place == b.place && a.type == b.type && a.source == b.source;
}

/// Whether every element of `part` is one of `all`, in the same order.
template <typename Part, typename EntryOf>
bool isPartOf(const Part& part, const std::vector<MountEntry>& all, EntryOf entryOf) {
    auto at = all.begin();
    for (const auto& element : part) {
        at = std::find_if(at, all.end(),
                          [&](const MountEntry& mount) { return isSame(mount, entryOf(element)); });
        if (at == all.end()) {
            return false;
        }
        ++at;
    }
    return true;
}

const MountEntry& itself(const MountEntry& mount) { return mount; }
const MountEntry& mountOf(const Volume& volume) { return volume.mount; }

/// As in every table of a kernel. Where two mounts have one number, nobody can tell which is whose parent.
bool haveOwnNumbers(const std::vector<MountEntry>& mounts) {
    std::set<int> numbers;
    return std::all_of(mounts.begin(), mounts.end(),
                       [&](const MountEntry& mount) { return numbers.insert(mount.id).second; });
}

void checkTable(const std::vector<MountEntry>& mounts, const QByteArray& home) {
    for (const MountEntry& mount : mounts) {
        require(mount.place.startsWith('/') && !mount.type.isEmpty(), "an entry has a place and a type",
                {shownBytes(mount.place), shownBytes(mount.type)});
        require(mountAt(mounts, mount.place) != nullptr, "an entry is found at its place",
                {shownBytes(mount.place)});
    }
    const std::vector<MountEntry> reachable = reachableMounts(mounts);
    require(isPartOf(reachable, mounts, &itself), "what can be reached is a part of the table");
    const std::vector<MountEntry> again = reachableMounts(reachable);
    require(!haveOwnNumbers(mounts) ||
                (again.size() == reachable.size() && isPartOf(again, reachable, &itself)),
            "what can be reached can be reached without the rest");
    const std::vector<Volume> volumes = volumesAmong(mounts, home);
    require(isPartOf(volumes, reachable, &mountOf), "volumes are a part of what can be reached");
    for (const Volume& volume : volumes) {
        require(!displayName(volume.mount.place, {}).isEmpty() || volume.mount.place.endsWith('/'),
                "a volume has a name", {shownBytes(volume.mount.place)});
        require(volume.mount.place != home || volume.mount.place == "/" ||
                    hasOption(volume.mount.options, "x-gvfs-show"),
                "the home folder is no volume", {shownBytes(home)});
    }
}

/// Blank, tab, line end, backslash and hash as the kernel writes them.
QByteArray escaped(const QByteArray& name) {
    QByteArray text;
    for (const char c : name) {
        if (c == ' ' || c == '\t' || c == '\n' || c == '\\' || c == '#') {
            text += '\\' + QByteArray::number(static_cast<unsigned char>(c), 8).rightJustified(3, '0');
        } else {
            text += c;
        }
    }
    return text;
}

/// A name as the kernel can have one: not empty and without zero bytes.
QByteArray nameFrom(FuzzInput& input, const QByteArray& otherwise) {
    QByteArray name = input.bytes();
    name.replace('\0', QByteArray());
    return name.isEmpty() ? otherwise : name;
}

std::vector<MountEntry> composedTable(FuzzInput& input) {
    std::vector<MountEntry> mounts;
    const int count = input.number(1, 12);
    for (int i = 0; i < count; ++i) {
        MountEntry mount;
        mount.id = 20 + i;
        // Mostly an earlier one, as in life; sometimes any.
        mount.parent = input.flag() ? 20 + input.number(0, count) : 20 + input.number(0, std::max(0, i - 1));
        mount.major = static_cast<std::uint32_t>(input.number(0, 3));
        mount.minor = static_cast<std::uint32_t>(input.number(0, 3));
        mount.root = input.flag() ? QByteArray("/") : '/' + nameFrom(input, "part");
        mount.place = i == 0 ? QByteArray("/") : '/' + nameFrom(input, "mnt");
        mount.type = input.flag() ? QByteArray("btrfs") : QByteArray("ext4");
        mount.source = "/dev/" + nameFrom(input, "sda");
        mounts.push_back(mount);
    }
    return mounts;
}

QByteArray textOf(const std::vector<MountEntry>& mounts) {
    QByteArray text;
    for (const MountEntry& mount : mounts) {
        text += QByteArray::number(mount.id) + ' ' + QByteArray::number(mount.parent) + ' ' +
                QByteArray::number(mount.major) + ':' + QByteArray::number(mount.minor) + ' ' +
                escaped(mount.root) + ' ' + escaped(mount.place) + " rw,relatime shared:1 - " + mount.type +
                ' ' + escaped(mount.source) + " rw\n";
    }
    return text;
}

void checkComposed(FuzzInput& input) {
    const std::vector<MountEntry> mounts = composedTable(input);
    const std::vector<MountEntry> read = parseMountInfo(textOf(mounts));
    require(read.size() == mounts.size() && isPartOf(read, mounts, &itself), "a composed table reads back",
            {shownBytes(textOf(mounts))});
    checkTable(mounts, "/home/anna");
}

void checkTexts(const QByteArray& text) {
    const QByteArray uuid = canonicalUuid(text);
    require(canonicalUuid(uuid) == uuid, "a canonical identifier stays", {shownBytes(text)});
    require(withoutDeviceEscapes(text).size() <= text.size(), "an escape is longer than what it stands for",
            {shownBytes(text)});
    const std::optional<ServedSpace> space = parseServedSpace(text);
    require(!space || space->state == ServerState::Answers || space->totalBytes == 0,
            "who is silent tells nothing", {shownBytes(text)});
    MountEntry share;
    share.type = "fuse.gvfsd-fuse";
    share.place = "/run/user/1000/gvfs";
    const QByteArray path = share.place + '/' + text;
    const QByteArray source = networkSource(share, path);
    require(text.startsWith(source) && !source.contains('/'), "a share's name is one component",
            {shownBytes(text), shownBytes(source)});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    if (input.flag()) {
        checkComposed(input);
        checkTexts(input.rest());
        return 0;
    }
    const QByteArray home = input.bytes();
    const QByteArray text = input.rest();
    checkTable(parseMountInfo(text), home);
    checkTexts(text);
    return 0;
}
