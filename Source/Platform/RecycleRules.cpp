// Records and names of the trash layout, read with limits and written as other desktops read them.
#include "Platform/RecycleRules.h"

#include "Platform/MountFacts.h"

#include <QDate>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

namespace VKPlatform {

namespace {

constexpr QByteArrayView kHeading = "[Trash Info]";
constexpr QByteArrayView kPathKey = "Path=";
constexpr QByteArrayView kDateKey = "DeletionDate=";
constexpr unsigned kTriesInOrder = 10;
constexpr qsizetype kKeptSuffix = 16;

bool isLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// -1 for what is no hexadecimal digit.
int digitValue(char c) {
    if (isDigit(c)) {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

/// The next line without its end, taken from the text.
QByteArrayView takeLine(QByteArrayView& text) {
    const qsizetype end = text.indexOf('\n');
    QByteArrayView line = end < 0 ? text : text.first(end);
    text = end < 0 ? QByteArrayView() : text.sliced(end + 1);
    if (line.endsWith('\r')) {
        line.chop(1);
    }
    return line;
}

/// The digits at the place, or -1.
int numberAt(QByteArrayView text, qsizetype at, qsizetype digits) {
    int number = 0;
    for (const char c : text.sliced(at, digits)) {
        if (!isDigit(c)) {
            return -1;
        }
        number = number * 10 + (c - '0');
    }
    return number;
}

/// "YYYY-MM-DDThh:mm:ss" and nothing else.
std::optional<WallTime> parseWallTime(QByteArrayView text) {
    constexpr QByteArrayView kShape = "0000-00-00T00:00:00";
    if (text.size() != kShape.size()) {
        return std::nullopt;
    }
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!isDigit(kShape.at(i)) && text.at(i) != kShape.at(i)) {
            return std::nullopt;
        }
    }
    const WallTime time{.year = numberAt(text, 0, 4),
                        .month = numberAt(text, 5, 2),
                        .day = numberAt(text, 8, 2),
                        .hour = numberAt(text, 11, 2),
                        .minute = numberAt(text, 14, 2),
                        .second = numberAt(text, 17, 2)};
    const bool isTime = time.hour >= 0 && time.hour < 24 && time.minute >= 0 && time.minute < 60 &&
                        time.second >= 0 && time.second <= 60;
    // A negative year would be one in Qt's calendar too.
    const bool isDate = time.year > 0 && QDate::isValid(time.year, time.month, time.day);
    return isTime && isDate ? std::optional(time) : std::nullopt;
}

/// How much of the name may stay when it is cut to `size` bytes: not inside a UTF-8 sequence.
qsizetype cutBetweenCharacters(QByteArrayView name, qsizetype size) {
    constexpr int kLongestTail = 3; // bytes 10xxxxxx of one character; more of them are no UTF-8
    qsizetype kept = size;
    for (int i = 0; i < kLongestTail && kept > 0 && kept < name.size(); ++i) {
        if ((static_cast<unsigned char>(name.at(kept)) & 0xC0U) != 0x80U) {
            break;
        }
        --kept;
    }
    return kept;
}

template <typename Visitor>
void forEachComponent(QByteArrayView path, Visitor visit) {
    while (!path.isEmpty()) {
        const qsizetype slash = path.indexOf('/');
        const QByteArrayView component = slash < 0 ? path : path.first(slash);
        if (!component.isEmpty()) {
            visit(component);
        }
        path = slash < 0 ? QByteArrayView() : path.sliced(slash + 1);
    }
}

QByteArray ownBinName(std::uint32_t user) { return ".Trash-" + QByteArray::number(user); }

} // namespace

QByteArray percentCoded(QByteArrayView bytes) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    QByteArray text;
    text.reserve(bytes.size() + bytes.size() / 4);
    for (const char c : bytes) {
        if (isLetterOrDigit(c) || QByteArrayView("/-_.!~*'()").contains(c)) {
            text += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            text += '%';
            text += kDigits[byte >> 4U];
            text += kDigits[byte & 15U];
        }
    }
    return text;
}

std::optional<QByteArray> percentDecoded(QByteArrayView text) {
    QByteArray bytes;
    bytes.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        char c = text.at(i);
        if (c == '%') {
            const int high = i + 1 < text.size() ? digitValue(text.at(i + 1)) : -1;
            const int low = i + 2 < text.size() ? digitValue(text.at(i + 2)) : -1;
            if (high < 0 || low < 0) {
                return std::nullopt;
            }
            c = static_cast<char>(high * 16 + low);
            i += 2;
        }
        if (c == '\0') {
            return std::nullopt;
        }
        bytes += c;
    }
    return bytes;
}

QByteArray trashRecordText(QByteArrayView path, const WallTime& deleted) {
    std::array<char, 32> date{};
    std::snprintf(date.data(), date.size(), "%04d-%02d-%02dT%02d:%02d:%02d", deleted.year, deleted.month,
                  deleted.day, deleted.hour, deleted.minute, deleted.second);
    QByteArray text = kHeading.toByteArray();
    text += '\n';
    text += kPathKey;
    text += percentCoded(path);
    text += '\n';
    text += kDateKey;
    text += date.data();
    text += '\n';
    return text;
}

TrashRecord parseTrashRecord(QByteArrayView text) {
    TrashRecord record;
    if (text.size() > kTrashRecordLimitBytes || takeLine(text) != kHeading) {
        return record;
    }
    bool pathSeen = false;
    bool dateSeen = false;
    while (!text.isEmpty()) {
        const QByteArrayView line = takeLine(text);
        if (line.startsWith('[')) {
            break;
        }
        if (!pathSeen && line.startsWith(kPathKey)) {
            pathSeen = true;
            record.path = percentDecoded(line.sliced(kPathKey.size())).value_or(QByteArray());
        } else if (!dateSeen && line.startsWith(kDateKey)) {
            dateSeen = true;
            record.deleted = parseWallTime(line.sliced(kDateKey.size()));
        }
    }
    return record;
}

QByteArray trashName(QByteArrayView name, unsigned number, qsizetype limit) {
    const qsizetype dot = name.lastIndexOf('.');
    const bool hasSuffix = dot > 0 && name.size() - dot <= kKeptSuffix;
    const QByteArrayView stem = hasSuffix ? name.first(dot) : name;
    const QByteArrayView suffix = hasSuffix ? name.sliced(dot) : QByteArrayView();
    const QByteArray counter = number < 2 ? QByteArray() : '.' + QByteArray::number(number);
    const qsizetype room = limit - kTrashRecordSuffix.size() - suffix.size() - counter.size();
    QByteArray result =
        stem.first(cutBetweenCharacters(stem, std::clamp<qsizetype>(room, 0, stem.size()))).toByteArray();
    result += counter;
    result += suffix;
    return result;
}

unsigned trashNameNumber(unsigned tries, std::uint32_t random) {
    return tries < kTriesInOrder ? tries + 1 : std::max(random, kTriesInOrder + 1);
}

std::optional<QByteArray> rememberedPlace(QByteArrayView path, QByteArrayView base) {
    bool leadsAstray = false;
    bool hasName = false;
    forEachComponent(path, [&](QByteArrayView component) {
        hasName = true;
        leadsAstray = leadsAstray || component == QByteArrayView(".") || component == QByteArrayView("..");
    });
    if (leadsAstray || !hasName) {
        return std::nullopt;
    }
    while (path.endsWith('/')) {
        path.chop(1);
    }
    return path.startsWith('/') ? path.toByteArray() : joined(base, path);
}

QByteArrayView folderOf(QByteArrayView path) {
    const qsizetype slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArrayView() : path.first(std::max<qsizetype>(slash, 1));
}

QByteArrayView lastNameOf(QByteArrayView path) { return path.sliced(path.lastIndexOf('/') + 1); }

QByteArray joined(QByteArrayView folder, QByteArrayView name) {
    QByteArray path;
    path.reserve(folder.size() + 1 + name.size());
    path += folder;
    if (!folder.endsWith('/')) {
        path += '/';
    }
    path += name;
    return path;
}

QByteArray trashBase(QByteArrayView bin) {
    const QByteArrayView above = folderOf(bin);
    return (lastNameOf(above) == QByteArrayView(".Trash") ? folderOf(above) : above).toByteArray();
}

bool isCalledLikeABin(QByteArrayView folder, std::uint32_t user) {
    const QByteArrayView name = lastNameOf(folder);
    return name == QByteArrayView("Trash") || name == ownBinName(user) ||
           (name == QByteArray::number(user) && lastNameOf(folderOf(folder)) == QByteArrayView(".Trash"));
}

bool mentionsABin(QByteArrayView path, std::uint32_t user) {
    const QByteArray own = ownBinName(user);
    bool found = false;
    forEachComponent(path, [&](QByteArrayView component) {
        found = found || component == QByteArrayView(".Trash") || component == own;
    });
    return found;
}

bool isSameOrInside(QByteArrayView path, QByteArrayView folder) {
    if (!path.startsWith(folder)) {
        return false;
    }
    return path.size() == folder.size() || folder.endsWith('/') || path.at(folder.size()) == '/';
}

bool canHoldABin(QByteArrayView type, QByteArrayView source) {
    static constexpr QByteArrayView kMadeUp[] = {
        "autofs",     "binfmt_misc", "bpf",      "cgroup",   "cgroup2",     "configfs",
        "debugfs",    "devpts",      "devtmpfs", "efivarfs", "fusectl",     "hugetlbfs",
        "mqueue",     "nsfs",        "proc",     "pstore",   "resctrl",     "rpc_pipefs",
        "securityfs", "selinuxfs",   "sysfs",    "tracefs",  "fuse.portal", "fuse.lxcfs",
    };
    return std::find(std::begin(kMadeUp), std::end(kMadeUp), type) == std::end(kMadeUp) &&
           !isNetworkFileSystem(type, source);
}

QByteArray folderSizesWithout(QByteArrayView text, QByteArrayView name) {
    QByteArray kept;
    kept.reserve(text.size());
    while (!text.isEmpty()) {
        const QByteArrayView whole = text;
        const QByteArrayView line = takeLine(text);
        const qsizetype space = line.lastIndexOf(' ');
        if (space < 0 || percentDecoded(line.sliced(space + 1)) != name.toByteArray()) {
            kept += whole.first(whole.size() - text.size());
        }
    }
    return kept;
}

} // namespace VKPlatform
