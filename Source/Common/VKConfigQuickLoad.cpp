// Loading in one pass. Nothing of the model changes before the whole text is read and found plain.
#include "VKConfigQuickLoad.h"

#include "VKConfigBundle.h"
#include "VKConfigItemBool.h"
#include "VKConfigItemInt.h"
#include "VKConfigModel.h"

#include <QByteArrayView>

#include <algorithm>
#include <memory>
#include <optional>
#include <typeinfo>
#include <utility>
#include <vector>

namespace VKConfigDetail {

namespace {

using OwnedBundle = VKOwned<VKConfigBundle>;
using OwnedItem = VKOwned<VKConfigItem>;

/// A boolean or a small integer.
struct Scalar {
    bool isBool = false;
    int number = 0;

    /// As flags are read: a boolean is no number.
    [[nodiscard]] bool asFlag() const { return !isBool && number != 0; }
};

using MaybeText = std::optional<QString>;
using MaybeScalar = std::optional<Scalar>;

/// Of just that class: a subclass may read more.
bool isBundle(const VKNode& node) { return typeid(node) == typeid(VKConfigBundle); }

struct NodeFields {
    MaybeText classID;
    MaybeScalar weight;
    MaybeScalar sortByWeight;
    MaybeScalar enabled;
};

} // namespace

/// One pass over the bytes. Each function answers false at the first thing that is not plain.
class QuickLoader {
public:
    explicit QuickLoader(const QByteArray& bytes) : mAt(bytes.constData()), mEnd(mAt + bytes.size()) {}

    bool load(VKConfigModel& model) {
        NodeFields node;
        MaybeScalar version;
        std::optional<std::vector<OwnedBundle>> bundles;
        const bool read = readObject([&](QByteArrayView key) {
            if (key == "version") {
                return readInteger(version);
            }
            if (key == "children") {
                return readArray(bundles,
                                 [this](std::vector<OwnedBundle>& list) { return readBundle(list); });
            }
            return readNodeField(key, node);
        });
        skipBlanks();
        if (!read || mAt != mEnd || !node.classID) {
            return false;
        }
        model.mLoadedVersion = version ? version->number : 0;
        model.removeAllChildren();
        apply(node, model);
        if (bundles) {
            std::vector<VKNode*> nodes(bundles->size());
            std::transform(bundles->begin(), bundles->end(), nodes.begin(),
                           [](const OwnedBundle& bundle) { return bundle.get(); });
            model.takeIn(std::move(nodes));
        }
        return true;
    }

private:
    struct ItemFields {
        MaybeText name;
        MaybeText displayName;
        MaybeScalar valueType;
        MaybeScalar value;
        MaybeScalar sorted;
        std::optional<std::vector<VKConfigItemInt::Choice>> choices;
    };

    void skipBlanks() {
        while (mAt != mEnd && (*mAt == ' ' || *mAt == '\n' || *mAt == '\r' || *mAt == '\t')) {
            ++mAt;
        }
    }

    /// The byte, behind blanks.
    bool take(char byte) {
        skipBlanks();
        if (mAt == mEnd || *mAt != byte) {
            return false;
        }
        ++mAt;
        return true;
    }

    bool takeWord(QByteArrayView word) {
        if (mEnd - mAt < word.size() || QByteArrayView(mAt, word.size()) != word) {
            return false;
        }
        mAt += word.size();
        return true;
    }

    /// The bytes between two quotes: no escapes, no control characters.
    bool takeQuoted(QByteArrayView& bytes, bool& ascii) {
        if (!take('"')) {
            return false;
        }
        const char* const start = mAt;
        unsigned char all = 0;
        while (mAt != mEnd && *mAt != '"') {
            const auto byte = static_cast<unsigned char>(*mAt);
            if (byte < 0x20 || byte == '\\') {
                return false;
            }
            all |= byte;
            ++mAt;
        }
        bytes = QByteArrayView(start, mAt);
        ascii = all < 0x80;
        return mAt != mEnd && *mAt++ == '"';
    }

    bool readText(MaybeText& text) {
        QByteArrayView bytes;
        bool ascii = false;
        if (text || !takeQuoted(bytes, ascii)) {
            return false;
        }
        if (ascii) {
            text = QString::fromLatin1(bytes);
            return true;
        }
        // A replacement character is one, or stands for what is not UTF-8; a byte-order mark would be dropped.
        text = QString::fromUtf8(bytes);
        return !text->contains(QChar::ReplacementCharacter) && bytes[0] != '\xef';
    }

    bool readScalar(MaybeScalar& scalar) {
        skipBlanks();
        if (scalar || mAt == mEnd) {
            return false;
        }
        if (*mAt == 't' || *mAt == 'f') {
            scalar = Scalar{true, *mAt == 't' ? 1 : 0};
            return takeWord(*mAt == 't' ? "true" : "false");
        }
        const bool negative = *mAt == '-';
        mAt += negative ? 1 : 0;
        const char* const start = mAt;
        int number = 0;
        // Nine digits always fit.
        while (mAt != mEnd && *mAt >= '0' && *mAt <= '9' && mAt - start < 9) {
            number = number * 10 + (*mAt++ - '0');
        }
        const bool plain = mAt != start && (*start != '0' || mAt - start == 1);
        scalar = Scalar{false, negative ? -number : number};
        // What follows an integer in an object. A point, an exponent or a tenth digit does not.
        skipBlanks();
        return plain && mAt != mEnd && (*mAt == ',' || *mAt == '}');
    }

    bool readInteger(MaybeScalar& scalar) { return readScalar(scalar) && !scalar->isBool; }
    bool readBool(MaybeScalar& scalar) { return readScalar(scalar) && scalar->isBool; }

    template <typename ReadMember>
    bool readObject(ReadMember readMember) {
        if (!take('{')) {
            return false;
        }
        do {
            QByteArrayView key;
            bool ascii = false;
            if (!takeQuoted(key, ascii) || !take(':') || !readMember(key)) {
                return false;
            }
        } while (take(','));
        return take('}');
    }

    template <typename List, typename ReadElement>
    bool readArray(std::optional<List>& list, ReadElement readElement) {
        if (list || !take('[')) {
            return false;
        }
        list.emplace();
        if (take(']')) {
            return true;
        }
        do {
            if (!readElement(*list)) {
                return false;
            }
        } while (take(','));
        return take(']');
    }

    bool readNodeField(QByteArrayView key, NodeFields& node) {
        if (key == "class_id") {
            return readText(node.classID);
        }
        if (key == "weight") {
            return readInteger(node.weight);
        }
        if (key == "sort_by_weight") {
            return readScalar(node.sortByWeight);
        }
        return key == "enabled" && readScalar(node.enabled);
    }

    bool readBundle(std::vector<OwnedBundle>& bundles) {
        NodeFields fields;
        MaybeText displayName;
        std::optional<std::vector<OwnedItem>> items;
        const bool read = readObject([&](QByteArrayView key) {
            if (key == "items") {
                return readArray(items, [this](std::vector<OwnedItem>& list) { return readItem(list); });
            }
            return key == "display_name" ? readText(displayName) : readNodeField(key, fields);
        });
        if (!read || !fields.classID || !items) {
            return false;
        }
        const VKOwned<VKNode> node(
            VKNode::createNodeOfType(QStringLiteral("VKConfigBundle"), *fields.classID));
        if (node == nullptr || !isBundle(*node)) {
            return false;
        }
        node->AddRef();
        OwnedBundle bundle(static_cast<VKConfigBundle*>(node.get()));
        apply(fields, *bundle);
        if (displayName) {
            bundle->setName(*displayName);
        }
        bundle->mItems.reserve(items->size());
        for (OwnedItem& item : *items) {
            bundle->addItem(item.release());
        }
        bundles.push_back(std::move(bundle));
        return true;
    }

    bool readItem(std::vector<OwnedItem>& items) {
        ItemFields fields;
        const bool read = readObject([&](QByteArrayView key) { return readItemField(key, fields); });
        if (!read || !fields.name || !fields.displayName || !fields.valueType || !fields.value) {
            return false;
        }
        OwnedItem item = makeItem(fields);
        if (item == nullptr) {
            return false;
        }
        item->mName = *fields.name;
        item->mDisplayName = *fields.displayName;
        items.push_back(std::move(item));
        return true;
    }

    bool readItemField(QByteArrayView key, ItemFields& fields) {
        if (key == "name") {
            return readText(fields.name);
        }
        if (key == "display_name") {
            return readText(fields.displayName);
        }
        if (key == "value_type") {
            return readInteger(fields.valueType);
        }
        if (key == "value") {
            return readScalar(fields.value);
        }
        if (key == "sort_alphabetically") {
            return readBool(fields.sorted);
        }
        return key == "values" &&
               readArray(fields.choices,
                         [this](std::vector<VKConfigItemInt::Choice>& list) { return readChoice(list); });
    }

    bool readChoice(std::vector<VKConfigItemInt::Choice>& choices) {
        MaybeText displayName;
        MaybeScalar value;
        const bool read = readObject([&](QByteArrayView key) {
            return key == "display_name" ? readText(displayName) : key == "value" && readInteger(value);
        });
        if (!read || !displayName || !value) {
            return false;
        }
        choices.emplace_back(*displayName, value->number);
        return true;
    }

    static OwnedItem makeItem(ItemFields& fields) {
        if (fields.valueType->number == VKConfigItem::kValueTypeBool && fields.value->isBool &&
            !fields.choices && !fields.sorted) {
            auto* const item = new VKConfigItemBool;
            item->mValue = item->mDefaultValue = fields.value->number != 0;
            return OwnedItem(item);
        }
        if (fields.valueType->number == VKConfigItem::kValueTypeInt && !fields.value->isBool &&
            fields.choices) {
            auto* const item = new VKConfigItemInt;
            item->mValue = item->mDefaultValue = fields.value->number;
            item->mChoices = std::move(*fields.choices);
            if (fields.sorted && fields.sorted->number != 0) {
                item->sortChoices();
            }
            return OwnedItem(item);
        }
        return nullptr;
    }

    static void apply(const NodeFields& fields, VKNode& node) {
        node.setClassID(*fields.classID);
        if (fields.weight) {
            node.mWeight = fields.weight->number;
        }
        if (fields.sortByWeight) {
            node.mSortByWeight = fields.sortByWeight->asFlag();
        }
        if (fields.enabled) {
            node.mEnabled = fields.enabled->asFlag();
        }
    }

    const char* mAt;
    const char* mEnd;
};

bool quickLoad(VKConfigModel& model, const QByteArray& bytes) {
    return typeid(model) == typeid(VKConfigModel) && bytes.size() <= VKNode::kMaxJsonBytes &&
           QuickLoader(bytes).load(model);
}

} // namespace VKConfigDetail
