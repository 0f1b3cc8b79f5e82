// What the configuration's tests share: owned nodes and items, JSON from short texts, and the events that a log
// received as "status source" texts.
#pragma once

#include "VKConfigBundle.h"
#include "VKConfigItemBool.h"
#include "VKConfigItemInt.h"
#include "VKConfigModel.h"
#include "VKCoreKit/CoreKitSupport.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <cstring>
#include <memory>

namespace Config {

using namespace Qt::StringLiterals;

/// One reference.
template <typename T>
using Owned = VKOwned<T>;

template <typename T>
Owned<T> make() {
    return Owned<T>(new T);
}

/// Of an object that somebody else holds: its count, found by taking a reference and giving it back.
inline std::uint32_t references(CBaseCore* object) {
    const std::uint32_t count = object->AddRef() - 1;
    object->Release();
    return count;
}

/// An object written with ' for ". Anything else is a mistake in the test and stops it.
inline QJsonObject json(QByteArray text) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.replace('\'', '"'), &error);
    if (!document.isObject()) {
        qFatal("not an object: %s: %s", text.constData(), qPrintable(error.errorString()));
    }
    return document.object();
}

inline QByteArray compact(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact).replace('"', '\'');
}

/// What createInfo() writes.
template <typename T>
QByteArray written(T& object) {
    QJsonObject info;
    const VKStatus status = [&] {
        if constexpr (std::is_base_of_v<VKNode, T>) {
            return object.createInfo(nullptr, info);
        } else {
            return object.createInfo(info);
        }
    }();
    return status == kVKStatusSuccess ? compact(info) : "status " + QByteArray::number(status);
}

/// What came into the log since the last call: "1016 VKConfigBundle", in order. Every source is in its folder.
inline QStringList events(CoreKit::LogCapture& log) {
    QStringList events;
    for (const CoreKit::LogLine& line : log.take()) {
        const QByteArray folder = "VKQtCore/Source/Common/";
        if (!line.source.startsWith(folder) || line.line <= 0) {
            events << u"unexpected: "_s + line.text + QString::fromUtf8(line.source);
            continue;
        }
        events << QString::number(line.status) + u' ' + QString::fromUtf8(line.source.mid(folder.size()));
    }
    return events;
}

/// All that a model holds: what it writes, and what it does not: names, defaults, the version it was loaded with.
inline QByteArray stateOf(VKConfigModel& model) {
    QByteArray state = written(model) + QByteArray::number(model.loadedVersion());
    for (int index = 0; index < model.childCount(); ++index) {
        const auto* const bundle = dynamic_cast<VKConfigBundle*>(model.nodeAtIndex(index));
        if (bundle == nullptr) {
            continue;
        }
        state += '\n' + bundle->name().toUtf8();
        for (VKConfigItem* const item : bundle->items()) {
            const auto* const number = dynamic_cast<VKConfigItemInt*>(item);
            state +=
                ' ' + QByteArray::number(number != nullptr
                                             ? number->defaultValue()
                                             : int(dynamic_cast<VKConfigItemBool&>(*item).defaultValue()));
            state += bundle->itemForKey(item->name()) == item ? '+' : '-';
        }
    }
    return state;
}

inline void registerBundles() {
    VKNode::registerNode(u"VKConfigBundle"_s, [] { return new VKConfigBundle; });
}

/// The place of a virtual function in its class's table, the destructor's two places counted; -1 for a function
/// that has none. By the Itanium C++ ABI, which this platform's compilers follow: the first word of a pointer to
/// a virtual member is its offset plus one.
template <typename Member>
int slotOf(Member member) {
    std::ptrdiff_t word = 0;
    std::memcpy(&word, &member, sizeof word);
    return word % 2 == 1 ? static_cast<int>((word - 1) / static_cast<std::ptrdiff_t>(sizeof(void*))) : -1;
}

} // namespace Config
