// What is wrong with a configuration's file: the rules of loading, told instead of followed.
#include "VKConfigCheck.h"

#include "VKConfigItem.h"
#include "VKConfigText.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>

using namespace Qt::StringLiterals;
using VKConfigDetail::JsonKind;
using VKConfigDetail::JsonMember;
using VKConfigDetail::JsonValue;

namespace {

using Finding = VKConfigCheck::t_Finding;
using Severity = VKConfigCheck::Severity;

/// An item of the defaults.
struct KnownItem {
    int valueType = 0;
    QList<int> choices;
};

/// What the defaults have: bundle -> item.
struct KnownSettings {
    int version = 0;
    QHash<QString, QHash<QString, KnownItem>> bundles;
};

bool isInteger(const JsonValue& value) {
    return value.kind == JsonKind::Number && value.number == std::trunc(value.number) &&
           value.number >= std::numeric_limits<int>::min() && value.number <= std::numeric_limits<int>::max();
}

/// As loading reads it.
int integerOf(const JsonValue* value) {
    return value != nullptr && isInteger(*value) ? static_cast<int>(value->number) : 0;
}

QString textOf(const JsonValue* value) {
    return value != nullptr && value->kind == JsonKind::String ? value->text : QString();
}

const std::vector<JsonMember>& elementsOf(const JsonValue* value) {
    static const std::vector<JsonMember> sNone;
    return value != nullptr && value->kind == JsonKind::Array ? value->members : sNone;
}

QList<int> choicesOf(const JsonValue& item) {
    QList<int> choices;
    for (const JsonMember& choice : elementsOf(item.find(u"values"))) {
        choices << integerOf(choice.value.find(u"value"));
    }
    return choices;
}

KnownSettings settingsOf(const JsonValue& root) {
    KnownSettings settings;
    settings.version = integerOf(root.find(u"version"));
    for (const JsonMember& bundle : elementsOf(root.find(u"children"))) {
        const QString id = textOf(bundle.value.find(u"class_id"));
        if (settings.bundles.contains(id)) {
            continue; // the first of a name is the one that is found
        }
        QHash<QString, KnownItem>& items = settings.bundles[id];
        for (const JsonMember& item : elementsOf(bundle.value.find(u"items"))) {
            const QString name = textOf(item.value.find(u"name"));
            if (!items.contains(name)) {
                items.insert(name, {integerOf(item.value.find(u"value_type")), choicesOf(item.value)});
            }
        }
    }
    return settings;
}

enum class Needed : std::uint8_t { No, Wanted, Yes };

class Checker {
public:
    /// With the settings of the defaults the text is a user's file.
    explicit Checker(const KnownSettings* known) : mKnown(known) {}

    QList<Finding> check(const QByteArray& bytes) {
        JsonValue root;
        const VKConfigDetail::JsonError error = VKConfigDetail::readText(bytes, root);
        if (!error.message.isEmpty()) {
            add(Severity::Error, error.offset, QString(), error.message);
        } else if (root.kind != JsonKind::Object) {
            add(Severity::Error, root.offset, QString(), u"a configuration is an object"_s);
        } else {
            checkModel(root);
        }
        return placed(bytes);
    }

private:
    struct Raw {
        qsizetype offset;
        Finding finding;
    };

    void add(Severity severity, qsizetype offset, const QString& place, const QString& message) {
        if (mRaw.size() < VKConfigCheck::kMaxFindings) {
            mRaw.append({offset, {severity, 1, 1, place, message}});
        }
    }

    /// In the order of the file, with lines and columns by one pass over it.
    QList<Finding> placed(const QByteArray& bytes) {
        std::stable_sort(mRaw.begin(), mRaw.end(),
                         [](const Raw& left, const Raw& right) { return left.offset < right.offset; });
        QList<Finding> findings;
        qsizetype at = bytes.startsWith("\xef\xbb\xbf") ? 3 : 0;
        int line = 1;
        int column = 1;
        for (Raw& raw : mRaw) {
            for (; at < raw.offset && at < bytes.size(); ++at) {
                const auto byte = static_cast<unsigned char>(bytes[at]);
                if (byte == '\n') {
                    ++line;
                    column = 1;
                } else if ((byte & 0xc0U) != 0x80) { // the first byte of a character
                    ++column;
                }
            }
            raw.finding.line = line;
            raw.finding.column = column;
            findings.append(raw.finding);
        }
        return findings;
    }

    static QString at(const QString& place, QStringView key) {
        return place.isEmpty() ? key.toString() : QString(place + u'.' + key);
    }
    static QString at(const QString& place, QStringView key, qsizetype index) {
        return at(place, key) + u'[' + QString::number(index) + u']';
    }

    /// The member, if it is there; a finding if it is not and has to be.
    const JsonValue* member(const JsonValue& object, const QString& place, QStringView key, Needed needed) {
        const JsonValue* const value = object.find(key);
        if (value == nullptr && needed != Needed::No) {
            add(needed == Needed::Yes ? Severity::Error : Severity::Warning, object.offset, place,
                u"\"%1\" is missing"_s.arg(key));
        }
        return value;
    }

    const JsonValue* typed(const JsonValue& object, const QString& place, QStringView key, Needed needed,
                           JsonKind kind, const QString& what) {
        const JsonValue* const value = member(object, place, key, needed);
        if (value != nullptr && value->kind != kind) {
            add(Severity::Error, value->offset, at(place, key), what);
            return nullptr;
        }
        return value;
    }

    const JsonValue* text(const JsonValue& object, const QString& place, QStringView key, Needed needed) {
        return typed(object, place, key, needed, JsonKind::String, u"a text is expected"_s);
    }
    const JsonValue* array(const JsonValue& object, const QString& place, QStringView key, Needed needed) {
        return typed(object, place, key, needed, JsonKind::Array, u"an array is expected"_s);
    }
    const JsonValue* integer(const JsonValue& object, const QString& place, QStringView key, Needed needed) {
        const JsonValue* const value = member(object, place, key, needed);
        if (value != nullptr && !isInteger(*value)) {
            add(Severity::Error, value->offset, at(place, key), u"a whole number of 32 bits is expected"_s);
            return nullptr;
        }
        return value;
    }

    /// Keys that occur twice, and keys that nobody reads.
    void checkKeys(const JsonValue& object, const QString& place, std::initializer_list<QStringView> known) {
        QSet<QString> seen;
        for (const JsonMember& entry : object.members) {
            if (seen.contains(entry.key)) {
                add(Severity::Warning, entry.keyOffset, at(place, entry.key),
                    u"\"%1\" is here twice; the last one counts"_s.arg(entry.key));
            } else if (std::find(known.begin(), known.end(), QStringView(entry.key)) == known.end()) {
                add(Severity::Warning, entry.keyOffset, at(place, entry.key),
                    u"\"%1\" is not known and not read"_s.arg(entry.key));
            }
            seen.insert(entry.key);
        }
    }

    void checkNode(const JsonValue& object, const QString& place) {
        text(object, place, u"class_id", Needed::Yes);
        integer(object, place, u"weight", Needed::No);
        for (const QStringView flag : {u"sort_by_weight", u"enabled"}) {
            const JsonValue* const value = object.find(flag);
            if (value != nullptr && value->kind != JsonKind::Bool && !isInteger(*value)) {
                add(Severity::Error, value->offset, at(place, flag),
                    u"a whole number or a boolean is expected"_s);
            }
        }
    }

    void checkModel(const JsonValue& root) {
        checkKeys(root, QString(),
                  {u"class_id", u"version", u"weight", u"sort_by_weight", u"enabled", u"children"});
        checkNode(root, QString());
        const JsonValue* const version = integer(root, QString(), u"version", Needed::Wanted);
        if (mKnown != nullptr && integerOf(version) != mKnown->version) {
            add(Severity::Warning, version != nullptr ? version->offset : root.offset, u"version"_s,
                u"the defaults state version %1: the whole file is ignored"_s.arg(mKnown->version));
        }
        qsizetype index = 0;
        QSet<QString> ids;
        for (const JsonMember& bundle : elementsOf(array(root, QString(), u"children", Needed::Wanted))) {
            checkBundle(bundle.value, at(QString(), u"children", index++), ids);
        }
    }

    void checkBundle(const JsonValue& bundle, const QString& place, QSet<QString>& ids) {
        if (bundle.kind != JsonKind::Object) {
            add(Severity::Error, bundle.offset, place, u"a bundle is an object"_s);
            return;
        }
        checkKeys(bundle, place,
                  {u"class_id", u"display_name", u"weight", u"sort_by_weight", u"enabled", u"items"});
        checkNode(bundle, place);
        // The files that the system writes are without.
        text(bundle, place, u"display_name", mKnown == nullptr ? Needed::Wanted : Needed::No);
        const QString id = textOf(bundle.find(u"class_id"));
        if (ids.contains(id)) {
            add(Severity::Warning, bundle.offset, place,
                u"there is a bundle \"%1\" before; this one is not found"_s.arg(id));
        } else if (mKnown != nullptr && !mKnown->bundles.contains(id)) {
            add(Severity::Warning, bundle.offset, place,
                u"the defaults have no bundle \"%1\"; it will be dropped"_s.arg(id));
        }
        ids.insert(id);
        qsizetype index = 0;
        QSet<QString> names;
        for (const JsonMember& item : elementsOf(array(bundle, place, u"items", Needed::Yes))) {
            checkItem(item.value, at(place, u"items", index++), id, names);
        }
    }

    void checkItem(const JsonValue& item, const QString& place, const QString& bundleID,
                   QSet<QString>& names) {
        if (item.kind != JsonKind::Object) {
            add(Severity::Error, item.offset, place, u"an item is an object"_s);
            return;
        }
        text(item, place, u"name", Needed::Yes);
        text(item, place, u"display_name", Needed::Yes);
        const QString name = textOf(item.find(u"name"));
        if (names.contains(name)) {
            add(Severity::Warning, item.offset, place,
                u"there is an item \"%1\" before; this one is not found"_s.arg(name));
        }
        names.insert(name);
        const JsonValue* const valueType = integer(item, place, u"value_type", Needed::Yes);
        switch (integerOf(valueType)) {
        case VKConfigItem::kValueTypeBool:
            checkKeys(item, place, {u"name", u"display_name", u"value_type", u"value"});
            typed(item, place, u"value", Needed::Yes, JsonKind::Bool, u"true or false is expected"_s);
            break;
        case VKConfigItem::kValueTypeInt:
            checkChoices(item, place);
            break;
        default:
            if (valueType != nullptr) {
                add(Severity::Error, valueType->offset, at(place, u"value_type"),
                    u"the types are 1 (on or off) and 2 (one of several numbers)"_s);
            }
            return;
        }
        checkAgainstDefaults(item, place, bundleID, name);
    }

    void checkChoices(const JsonValue& item, const QString& place) {
        checkKeys(item, place,
                  {u"name", u"display_name", u"value_type", u"value", u"values", u"sort_alphabetically"});
        typed(item, place, u"sort_alphabetically", Needed::No, JsonKind::Bool,
              u"true or false is expected"_s);
        const JsonValue* const value = integer(item, place, u"value", Needed::Yes);
        qsizetype index = 0;
        for (const JsonMember& choice : elementsOf(array(item, place, u"values", Needed::Yes))) {
            const QString choicePlace = at(place, u"values", index++);
            if (choice.value.kind != JsonKind::Object) {
                add(Severity::Error, choice.value.offset, choicePlace, u"a choice is an object"_s);
                continue;
            }
            checkKeys(choice.value, choicePlace, {u"display_name", u"value"});
            text(choice.value, choicePlace, u"display_name", Needed::Yes);
            integer(choice.value, choicePlace, u"value", Needed::Yes);
        }
        if (mKnown == nullptr && value != nullptr && !choicesOf(item).contains(integerOf(value))) {
            notAChoice(*value, place);
        }
    }

    void notAChoice(const JsonValue& value, const QString& place) {
        add(Severity::Warning, value.offset, at(place, u"value"),
            u"%1 is none of the choices"_s.arg(integerOf(&value)));
    }

    void checkAgainstDefaults(const JsonValue& item, const QString& place, const QString& bundleID,
                              const QString& name) {
        if (mKnown == nullptr || !mKnown->bundles.contains(bundleID)) {
            return;
        }
        const QHash<QString, KnownItem> items = mKnown->bundles.value(bundleID);
        const auto known = items.constFind(name);
        if (known == items.constEnd()) {
            add(Severity::Warning, item.offset, place,
                u"the defaults have no item \"%1\"; it will be dropped"_s.arg(name));
        } else if (known->valueType != integerOf(item.find(u"value_type"))) {
            add(Severity::Warning, item.offset, place,
                u"the defaults have \"%1\" as another kind; the default stays"_s.arg(name));
        } else if (const JsonValue* const value = item.find(u"value");
                   known->valueType == VKConfigItem::kValueTypeInt && value != nullptr && isInteger(*value) &&
                   !known->choices.contains(integerOf(value))) {
            notAChoice(*value, place);
        }
    }

    const KnownSettings* mKnown;
    QList<Raw> mRaw;
};

} // namespace

QList<VKConfigCheck::t_Finding> VKConfigCheck::checkDefaults(const QByteArray& bytes) {
    return Checker(nullptr).check(bytes);
}

QList<VKConfigCheck::t_Finding> VKConfigCheck::checkUserFile(const QByteArray& bytes,
                                                             const QByteArray& defaults) {
    JsonValue root;
    if (!VKConfigDetail::readText(defaults, root).message.isEmpty()) {
        return checkDefaults(bytes);
    }
    const KnownSettings known = settingsOf(root);
    return Checker(&known).check(bytes);
}
