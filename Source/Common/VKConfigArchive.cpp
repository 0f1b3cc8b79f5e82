// A configuration's bytes: keys in the order and the layout that the framework's writer has.
#include "VKConfigArchive.h"

#include "VKConfigBundle.h"
#include "VKConfigItemBool.h"
#include "VKConfigItemInt.h"
#include "VKConfigModel.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <typeinfo>

namespace VKConfigDetail {

namespace {

/// Letters that stand for themselves in JSON and in UTF-8.
bool isPlain(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar letter) {
        return letter.unicode() >= 0x20 && letter.unicode() < 0x7f && letter != u'"' && letter != u'\\';
    });
}

/// Appends to one buffer; every level is four blanks deeper.
class Writer {
public:
    explicit Writer(QByteArray& bytes) : mBytes(bytes) {}

    void model(VKConfigModel& model) {
        mBytes += "{\n    \"children\": [\n";
        const int count = model.childCount();
        for (int index = 0; index < count; ++index) {
            bundle(*static_cast<VKConfigBundle*>(model.nodeAtIndex(index)));
            mBytes += index + 1 < count ? ",\n" : "\n";
        }
        mBytes += "    ],\n    \"class_id\": ";
        text(model.classID());
        flag(",\n    \"enabled\": ", model.enabled());
        flag(",\n    \"sort_by_weight\": ", model.sortByWeight());
        number(",\n    \"version\": ", model.formatVersion());
        number(",\n    \"weight\": ", model.weight());
        mBytes += "\n}\n";
    }

private:
    void bundle(const VKConfigBundle& bundle) {
        mBytes += "        {\n            \"class_id\": ";
        text(bundle.classID());
        flag(",\n            \"enabled\": ", bundle.enabled());
        mBytes += ",\n            \"items\": [\n";
        const std::vector<VKConfigItem*>& items = bundle.items();
        for (std::size_t index = 0; index < items.size(); ++index) {
            item(*items[index]);
            mBytes += index + 1 < items.size() ? ",\n" : "\n";
        }
        flag("            ],\n            \"sort_by_weight\": ", bundle.sortByWeight());
        number(",\n            \"weight\": ", bundle.weight());
        mBytes += "\n        }";
    }

    void item(const VKConfigItem& item) {
        mBytes += "                {\n                    \"display_name\": ";
        text(item.displayName());
        mBytes += ",\n                    \"name\": ";
        text(item.name());
        const auto* const numberItem = dynamic_cast<const VKConfigItemInt*>(&item);
        if (numberItem != nullptr) {
            number(",\n                    \"value\": ", numberItem->value());
        } else {
            flag(",\n                    \"value\": ", static_cast<const VKConfigItemBool&>(item).value());
        }
        number(",\n                    \"value_type\": ", item.valueType());
        if (numberItem != nullptr) {
            choices(numberItem->choices());
        }
        mBytes += "\n                }";
    }

    void choices(const std::vector<VKConfigItemInt::Choice>& choices) {
        mBytes += ",\n                    \"values\": [\n";
        for (std::size_t index = 0; index < choices.size(); ++index) {
            mBytes += "                        {\n                            \"display_name\": ";
            text(choices[index].first);
            number(",\n                            \"value\": ", choices[index].second);
            mBytes += index + 1 < choices.size() ? "\n                        },\n"
                                                 : "\n                        }\n";
        }
        mBytes += "                    ]";
    }

    void text(const QString& text) {
        if (isPlain(text)) {
            mBytes += '"';
            const qsizetype start = mBytes.size();
            mBytes.resize(start + text.size());
            std::transform(text.begin(), text.end(), mBytes.begin() + start,
                           [](QChar letter) { return letter.toLatin1(); });
            mBytes += '"';
            return;
        }
        // As the framework escapes it, without the brackets.
        const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
        mBytes.append(array.constData() + 1, array.size() - 2);
    }

    void flag(const char* key, bool value) {
        mBytes += key;
        mBytes += value ? "true" : "false";
    }

    void number(const char* key, int value) {
        mBytes += key;
        mBytes += QByteArray::number(value);
    }

    QByteArray& mBytes;
};

bool isKnown(const VKNode& node) {
    if (typeid(node) != typeid(VKConfigBundle)) {
        return false;
    }
    const auto& items = static_cast<const VKConfigBundle&>(node).items();
    return std::all_of(items.begin(), items.end(), [](const VKConfigItem* item) {
        return typeid(*item) == typeid(VKConfigItemBool) || typeid(*item) == typeid(VKConfigItemInt);
    });
}

} // namespace

bool writeArchive(VKConfigModel& model, QByteArray& out) {
    if (typeid(model) != typeid(VKConfigModel) || !model.hasChildren()) {
        return false;
    }
    const int count = model.childCount();
    qsizetype items = 0;
    for (int index = 0; index < count; ++index) {
        if (!isKnown(*model.nodeAtIndex(index))) {
            return false;
        }
        items +=
            static_cast<qsizetype>(static_cast<VKConfigBundle*>(model.nodeAtIndex(index))->items().size());
    }
    QByteArray bytes;
    bytes.reserve(256 + count * qsizetype{256} + items * 384);
    Writer(bytes).model(model);
    out = bytes;
    return true;
}

} // namespace VKConfigDetail
