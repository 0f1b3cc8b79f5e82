// From the texts of system and maker to names for people.
#include "Platform/MachineFacts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>

namespace VKPlatform {

namespace {

/// What stands in tables where nobody wrote a name, in small letters.
constexpr std::array kPlaceholders = {
    QByteArrayView("<bad index>"),
    QByteArrayView("<out of spec>"),
    QByteArrayView("all series"),
    QByteArrayView("base board manufacturer"),
    QByteArrayView("base board product name"),
    QByteArrayView("board manufacturer"),
    QByteArrayView("board name"),
    QByteArrayView("default string"),
    QByteArrayView("empty"),
    QByteArrayView("invalid"),
    QByteArrayView("manufacturer"),
    QByteArrayView("n/a"),
    QByteArrayView("na"),
    QByteArrayView("no enclosure"),
    QByteArrayView("none"),
    QByteArrayView("not applicable"),
    QByteArrayView("not available"),
    QByteArrayView("not specified"),
    QByteArrayView("null"),
    QByteArrayView("o.e.m"),
    QByteArrayView("o.e.m."),
    QByteArrayView("oem"),
    QByteArrayView("product name"),
    QByteArrayView("product version"),
    QByteArrayView("sku"),
    QByteArrayView("system manufacturer"),
    QByteArrayView("system name"),
    QByteArrayView("system product name"),
    QByteArrayView("system vendor"),
    QByteArrayView("system version"),
    QByteArrayView("type1family"),
    QByteArrayView("type1productconfigid"),
    QByteArrayView("undefined"),
    QByteArrayView("unknown"),
    QByteArrayView("unknow"),
    QByteArrayView("version"),
};

bool isAsciiAlphanumeric(char unit) {
    return (unit >= '0' && unit <= '9') || (unit >= 'A' && unit <= 'Z') || (unit >= 'a' && unit <= 'z');
}

/// "0000000", "xxxxx", "0123456789", "12345678": fillers of one key or of the row of digits.
bool isFiller(QByteArrayView text) {
    const bool isOneKey =
        text.size() > 1 && std::all_of(text.begin(), text.end(), [&](char unit) { return unit == text[0]; });
    return isOneKey || (text.size() > 3 && (QByteArrayView("0123456789").contains(text) ||
                                            QByteArrayView("1234567890").contains(text)));
}

bool isPlaceholder(const QByteArray& text) {
    const QByteArray small = text.toLower();
    // Letters of other scripts are not ASCII: a text of them says something.
    const bool saysSomething = std::any_of(small.begin(), small.end(), [](char unit) {
        return isAsciiAlphanumeric(unit) || static_cast<unsigned char>(unit) >= 0x80;
    });
    return !saysSomething || small.startsWith("to be filled") ||
           std::find(kPlaceholders.begin(), kPlaceholders.end(), QByteArrayView(small)) !=
               kPlaceholders.end();
}

/// The text with each run of blanks and control characters as one blank, and none at its ends.
QByteArray collapsed(QByteArrayView text) {
    QByteArray out;
    bool isGap = false;
    for (const char unit : text) {
        if (static_cast<unsigned char>(unit) <= 0x20 || unit == 0x7f) {
            isGap = true;
            continue;
        }
        if (isGap && !out.isEmpty()) {
            out += ' ';
        }
        isGap = false;
        out += unit;
    }
    return out;
}

QByteArrayView trimmedView(QByteArrayView text) { return text.trimmed(); }

/// The value of an assignment of os-release as a shell would read it: quotes of both kinds, a backslash before a
/// character that is meant as it stands.
QByteArray unquoted(QByteArrayView value) {
    QByteArray out;
    char quote = '\0';
    for (qsizetype i = 0; i < value.size(); ++i) {
        const char unit = value[i];
        if (unit == '\\' && quote != '\'' && i + 1 < value.size()) {
            out += value[++i];
        } else if (quote == '\0' && (unit == '"' || unit == '\'')) {
            quote = unit;
        } else if (unit == quote) {
            quote = '\0';
        } else {
            out += unit;
        }
    }
    return out;
}

/// Calls `use(line)` for each line of the text until it answers false.
template <typename Use>
void eachLine(QByteArrayView text, const Use& use) {
    while (!text.isEmpty()) {
        const qsizetype end = text.indexOf('\n');
        const QByteArrayView line = end < 0 ? text : text.first(end);
        if (!use(line)) {
            return;
        }
        text = end < 0 ? QByteArrayView() : text.sliced(end + 1);
    }
}

/// A text that somebody wrote on purpose: nothing but a word for "no value" counts as none. "11" is a version.
QByteArray wordOf(QByteArrayView text) {
    const QByteArray word = collapsed(text);
    return word.size() > kFactLengthLimit || isPlaceholder(word) ? QByteArray() : word;
}

/// The last value that the text gives the key, as in a shell that reads it.
QByteArray assignedValue(QByteArrayView text, QByteArrayView key) {
    QByteArray value;
    eachLine(text, [&](QByteArrayView line) {
        line = trimmedView(line);
        if (line.startsWith(key) && line.size() > key.size() && line[key.size()] == '=') {
            value = wordOf(unquoted(line.sliced(key.size() + 1)));
        }
        return true;
    });
    return value;
}

const QByteArray& firstOf(const QByteArray& first, const QByteArray& second) {
    return first.isEmpty() ? second : first;
}

QByteArray firstString(QByteArrayView strings) {
    const qsizetype end = strings.indexOf('\0');
    return factOf(end < 0 ? strings : strings.first(end));
}

/// Companies behind the prefixes of device trees, as they write themselves.
struct Maker {
    QByteArrayView prefix;
    const char* name;
};
constexpr std::array kMakers = {
    Maker{"allwinner", "Allwinner"},
    Maker{"amlogic", "Amlogic"},
    Maker{"apple", "Apple"},
    Maker{"arm", "ARM"},
    Maker{"brcm", "Broadcom"},
    Maker{"fsl", "NXP"},
    Maker{"friendlyarm", "FriendlyARM"},
    Maker{"google", "Google"},
    Maker{"hardkernel", "Hardkernel"},
    Maker{"img", "Imagination"},
    Maker{"lenovo", "Lenovo"},
    Maker{"mediatek", "MediaTek"},
    Maker{"nvidia", "NVIDIA"},
    Maker{"pine64", "Pine64"},
    Maker{"qcom", "Qualcomm"},
    Maker{"radxa", "Radxa"},
    Maker{"raspberrypi", "Raspberry Pi"},
    Maker{"rockchip", "Rockchip"},
    Maker{"samsung", "Samsung"},
    Maker{"starfive", "StarFive"},
    Maker{"ti", "Texas Instruments"},
    Maker{"vivante", "Vivante"},
    Maker{"xunlong", "Xunlong"},
};

MachineMaker describeTree(const MachineTables& tables) {
    const QByteArray entry = firstString(tables.treeCompatible);
    return {makerOfTreeEntry(entry), firstOf(firstString(tables.treeModel), treeEntryInWords(entry))};
}

} // namespace

QByteArray factOf(QByteArrayView text) {
    const QByteArray fact = wordOf(text);
    return isFiller(fact.toLower()) ? QByteArray() : fact;
}

SystemRelease parseSystemRelease(QByteArrayView text, QByteArrayView kernel) {
    const QByteArray build = assignedValue(text, "BUILD_ID");
    const QByteArray version = assignedValue(text, "VERSION_ID");
    SystemRelease release;
    release.name = firstOf(assignedValue(text, "NAME"), QByteArray("Linux"));
    release.version = firstOf(version, firstOf(build, assignedValue(text, "VERSION_CODENAME")));
    // A build that already stands for the version ("rolling") says nothing more.
    release.build = version.isEmpty() || build.isEmpty() ? wordOf(kernel) : build;
    return release;
}

MachineMaker describeMachine(const MachineTables& tables) {
    const QByteArray vendor = factOf(tables.systemVendor);
    const QByteArray product = factOf(tables.productName);
    const QByteArray version = factOf(tables.productVersion);
    const MachineMaker tree = describeTree(tables);
    MachineMaker maker;
    maker.manufacturer = firstOf(vendor, firstOf(factOf(tables.boardVendor), tree.manufacturer));
    if (vendor.compare("lenovo", Qt::CaseInsensitive) == 0 && !product.isEmpty() && !version.isEmpty() &&
        version != product) {
        maker.model = version + " (" + product + ')';
    } else {
        maker.model = firstOf(product, firstOf(factOf(tables.boardName), tree.model));
    }
    return maker;
}

QByteArray parseProcessorName(QByteArrayView cpuInfo) {
    // x86 and some ARM kernels; MIPS; POWER and others. In this order: x86 has "cpu family" too.
    constexpr std::array kKeys = {QByteArrayView("model name"), QByteArrayView("cpu model"),
                                  QByteArrayView("cpu")};
    for (const QByteArrayView key : kKeys) {
        QByteArray name;
        eachLine(cpuInfo, [&](QByteArrayView line) {
            const qsizetype colon = line.indexOf(':');
            if (colon > 0 && trimmedView(line.first(colon)) == key) {
                name = factOf(line.sliced(colon + 1));
            }
            return name.isEmpty();
        });
        if (!name.isEmpty()) {
            return name;
        }
    }
    return QByteArray();
}

QByteArray parseProcessorKinds(const QByteArray& json) {
    QByteArrayList kinds;
    // lscpu nests what belongs together: {"lscpu": [{"field": "...", "data": "...", "children": [...]}]}.
    QList<QJsonValue> waiting = {QJsonDocument::fromJson(json).object().value(QLatin1String("lscpu"))};
    while (!waiting.isEmpty() && kinds.size() < kProcessorKindsLimit) {
        const QJsonArray entries = waiting.takeFirst().toArray();
        for (const auto& value : entries) {
            const QJsonObject entry = value.toObject();
            waiting.append(entry.value(QLatin1String("children")));
            if (entry.value(QLatin1String("field")).toString().trimmed() != QLatin1String("Model name:")) {
                continue;
            }
            const QByteArray name = factOf(entry.value(QLatin1String("data")).toString().toUtf8());
            if (!name.isEmpty() && !kinds.contains(name) && kinds.size() < kProcessorKindsLimit) {
                kinds.append(name);
            }
        }
    }
    return kinds.join(", ");
}

QByteArray chipOfTree(QByteArrayView compatible) {
    while (compatible.endsWith('\0')) {
        compatible.chop(1);
    }
    return treeEntryInWords(compatible.sliced(compatible.lastIndexOf('\0') + 1));
}

QByteArray treeEntryInWords(QByteArrayView entry) {
    const qsizetype comma = entry.indexOf(',');
    return factOf(comma < 0 ? entry.toByteArray()
                            : makerOfTreeEntry(entry) + ' ' + entry.sliced(comma + 1).toByteArray());
}

QByteArray makerOfTreeEntry(QByteArrayView entry) {
    const qsizetype comma = entry.indexOf(',');
    if (comma < 0) {
        return QByteArray();
    }
    const QByteArrayView prefix = entry.first(comma);
    const auto* const known = std::find_if(kMakers.begin(), kMakers.end(),
                                           [&](const Maker& maker) { return maker.prefix == prefix; });
    return known != kMakers.end() ? QByteArray(known->name) : factOf(prefix);
}

} // namespace VKPlatform
