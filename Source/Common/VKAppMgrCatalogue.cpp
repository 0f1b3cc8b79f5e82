// Reading the catalogue in one pass: what a service writes becomes records without a JSON object in between.
// Everything unusual is left to readCatalogue(), whose rules are the rules.
#include "VKAppMgrCatalogue.h"

#include "VKJsonScanner.h"
#include "VKQtSysInfo.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

namespace VKAppMgrDetail {

namespace {

using Product = VKAppMgrAPI::t_Product;

/// What is made room for before the entries are there.
constexpr std::size_t kMaxReserved = 16384;

enum class Kind { Text, Flag, Size, Date, Time, Requirements };

struct Member {
    QByteArray key;
    Kind kind;
    QString Product::*text = nullptr;
    bool Product::*flag = nullptr;
    std::int64_t Product::*size = nullptr;

    Member(const QString& name, Kind what) : key(name.toLatin1()), kind(what) {}
    Member(const QString& name, QString Product::*field)
        : key(name.toLatin1()), kind(Kind::Text), text(field) {}
    Member(const QString& name, bool Product::*field) : key(name.toLatin1()), kind(Kind::Flag), flag(field) {}
    Member(const QString& name, std::int64_t Product::*field)
        : key(name.toLatin1()), kind(Kind::Size), size(field) {}
};

constexpr std::size_t kMembers = 26;

const std::array<Member, kMembers>& members() {
    // The requirements of another platform are not looked at.
    static const std::array<Member, kMembers> sMembers{{
        {kProductTypeField, &Product::type},
        {kNameField, &Product::name},
        {kIgnoreField, &Product::ignore},
        {kSKUField, &Product::sku},
        {kFreeField, &Product::free},
        {kDescriptionField, &Product::description},
        {kTooltipField, &Product::tooltip},
        {kVersionField, &Product::version},
        {kReleaseDateField, Kind::Date},
        {kMobileField, &Product::mobile},
        {kDevReleaseField, &Product::developer},
        {kPrereleaseField, &Product::prerelease},
        {kProductUrlField, &Product::productUrl},
        {kTutorialUrlField, &Product::tutorialUrl},
        {kIconURLField, &Product::iconUrl},
        {kUpdateTimestampField, Kind::Time},
        {kUpdateTextField, &Product::updateText},
        {kMacUrlField, &Product::macUrl},
        {kMacMD5Field, &Product::macMD5},
        {kMacSizeField, &Product::macSize},
        {kWinUrlField, &Product::winUrl},
        {kWinMD5Field, &Product::winMD5},
        {kWinSizeField, &Product::winSize},
        {kAndroidField, &Product::androidUrl},
        {kIosField, &Product::iosUrl},
        {VKQtSysInfo::isWinPlatform() ? kWinRequirements : kMacRequirements, Kind::Requirements},
    }};
    return sMembers;
}

bool hasRequirements() { return VKQtSysInfo::isWinPlatform() || VKQtSysInfo::isMacPlatform(); }

class Reader {
public:
    explicit Reader(const QByteArray& body) : mScanner(body) {}

    bool read(Products& products) {
        bool hasVersion = false;
        bool hasProducts = false;
        const bool whole = mScanner.readObject([&](QByteArrayView key) {
            if (key == mVersionKey) {
                std::int64_t version = 0;
                return !std::exchange(hasVersion, true) && mScanner.readInteger(version) && version == 1;
            }
            if (key == mProductsKey) {
                return !std::exchange(hasProducts, true) && readEntries(products);
            }
            return mScanner.skipValue();
        });
        return whole && mScanner.atEnd() && hasVersion && !products.empty();
    }

private:
    /// What a member's value was in an earlier entry. Many are the same text in each.
    struct Recent {
        QByteArrayView bytes;
        QString text;
        VKAppMgrAPI::t_Requirements requirements;
    };

    /// A member of the entry before. None yet: an empty key, which no member has.
    struct Expected {
        QByteArrayView key;
        std::size_t index = kMembers;
    };

    bool readEntries(Products& products) {
        const char* const start = mScanner.position();
        return mScanner.readArray([&] {
            if (!readEntry(products.emplace_back())) {
                return false;
            }
            if (products.size() == 1) {
                const auto each = mScanner.position() - start;
                products.reserve(
                    std::min(kMaxReserved, static_cast<std::size_t>(mScanner.bytesLeft() / each) + 2));
            }
            return true;
        });
    }

    bool readEntry(Product& product) {
        std::uint32_t seen = 0;
        std::size_t place = 0;
        const bool whole = mScanner.readObject([&](QByteArrayView key) {
            const std::size_t index = memberAt(place++, key);
            if (index == kMembers) {
                return mScanner.skipValue();
            }
            const std::uint32_t bit = 1U << index;
            if ((seen & bit) != 0) {
                return false;
            }
            seen |= bit;
            return readMember(index, product);
        });
        return whole && !product.name.isEmpty() && !product.version.isEmpty();
    }

    /// The index of the member with this key, or kMembers. The entries of a reply mostly have the same keys in the
    /// same order, so the entry before is asked first.
    std::size_t memberAt(std::size_t place, QByteArrayView key) {
        if (place < mOrder.size() && mOrder[place].key == key) {
            return mOrder[place].index;
        }
        const auto& all = members();
        const auto found =
            std::find_if(all.begin(), all.end(), [key](const Member& member) { return member.key == key; });
        const auto index = static_cast<std::size_t>(found - all.begin());
        if (place < mOrder.size()) {
            mOrder[place] = {key, index};
        }
        return index;
    }

    bool readMember(std::size_t index, Product& product) {
        const Member& member = members()[index];
        switch (member.kind) {
        case Kind::Flag:
            return mScanner.isFlag() ? mScanner.readFlag(product.*member.flag) : mScanner.skipValue();
        case Kind::Size:
            return mScanner.isNumber() ? mScanner.readInteger(product.*member.size) : mScanner.skipValue();
        case Kind::Text:
            return mScanner.isText() ? readText(mRecent[index], product.*member.text) : mScanner.skipValue();
        case Kind::Date:
        case Kind::Time:
        case Kind::Requirements:
            break;
        }
        return mScanner.isText() ? readDerived(member.kind, mRecent[index], product) : mScanner.skipValue();
    }

    bool readText(Recent& recent, QString& text) {
        VKJsonScanner::Text raw;
        if (!mScanner.readText(raw)) {
            return false;
        }
        if (raw.bytes == recent.bytes) {
            text = recent.text;
            return true;
        }
        if (!VKJsonScanner::decode(raw, text)) {
            return false;
        }
        recent.bytes = raw.bytes;
        recent.text = text;
        return true;
    }

    bool readDerived(Kind kind, Recent& recent, Product& product) {
        const QByteArrayView before = recent.bytes;
        QString text;
        if (!readText(recent, text)) {
            return false;
        }
        if (kind == Kind::Date) {
            product.releaseDate = QDate::fromString(text, Qt::ISODate);
        } else if (kind == Kind::Time) {
            product.updated = QDateTime::fromString(text, Qt::ISODate);
        } else if (hasRequirements()) {
            if (recent.bytes.data() != before.data()) {
                recent.requirements = {};
                readRequirements(text, recent.requirements);
            }
            product.requirements = recent.requirements;
        }
        return true;
    }

    VKJsonScanner mScanner;
    const QByteArray mVersionKey = kAPIVersionField.toLatin1();
    const QByteArray mProductsKey = kProductsField.toLatin1();
    std::array<Recent, kMembers> mRecent;
    std::array<Expected, 64> mOrder;
};

} // namespace

bool readPlainCatalogue(const QByteArray& body, Products& products) {
    Products read;
    if (!Reader(body).read(read)) {
        return false;
    }
    if (products.empty()) {
        products = std::move(read);
    } else {
        products.insert(products.end(), std::make_move_iterator(read.begin()),
                        std::make_move_iterator(read.end()));
    }
    return true;
}

} // namespace VKAppMgrDetail
