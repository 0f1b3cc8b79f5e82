// Which texts can be spelled in more than one way, and what a name on disk shows.
#include "Platform/OnDiskName.h"
#include "Platform/Utf8.h"

#include <algorithm>

namespace VKPlatform {

namespace {

template <typename Unit>
bool unitHasOneSpelling(Unit unit) {
    return unit < 0x80 && unit != 'K' && unit != ';' && unit != '`';
}

} // namespace

QString displayedName(QByteArrayView name) {
    QString text = decodeUtf8(name);
    text.replace(u'\\', QChar(QChar::ReplacementCharacter));
    return text.normalized(QString::NormalizationForm_C);
}

bool hasOneSpelling(QStringView text) {
    return std::all_of(text.utf16(), text.utf16() + text.size(), unitHasOneSpelling<char16_t>);
}

bool hasOneSpelling(QByteArrayView utf8) {
    return std::all_of(utf8.begin(), utf8.end(),
                       [](char c) { return unitHasOneSpelling(static_cast<unsigned char>(c)); });
}

} // namespace VKPlatform
