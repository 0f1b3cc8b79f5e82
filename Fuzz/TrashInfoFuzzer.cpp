// Records and lists of a recycle bin, as any program or card may hold them: nothing that is read leads out of the
// bin's volume, and what is written reads back.

#include "FuzzSupport.h"

#include "Platform/RecycleRules.h"

namespace {

using namespace VKPlatform;

QString shown(QByteArrayView bytes) { return QString::fromLatin1(bytes.toByteArray().toPercentEncoding()); }

void checkRecord(const QByteArray& text) {
    const TrashRecord record = parseTrashRecord(text);
    require(!record.path.contains('\0'), "a path holds no NUL", {shown(text)});
    require(text.size() <= kTrashRecordLimitBytes || (record.path.isEmpty() && !record.deleted),
            "a record beyond the limit tells nothing");
    const std::optional<QByteArray> place = rememberedPlace(record.path, "/volume");
    if (place) {
        const QByteArray framed = *place + '/';
        require(place->startsWith('/') && !framed.contains("/../") && !framed.contains("/./") &&
                    !place->endsWith('/'),
                "a place is absolute, has a name and no way up", {shown(*place)});
        require(record.path.startsWith('/') || place->startsWith("/volume/"),
                "a relative path lies in the volume", {shown(*place)});
    }
    if (record.deleted) {
        const WallTime& time = *record.deleted;
        require(time.month >= 1 && time.month <= 12 && time.day >= 1 && time.day <= 31 && time.hour < 24 &&
                    time.minute < 60 && time.second <= 60,
                "a date is one", {shown(text)});
        const TrashRecord again = parseTrashRecord(trashRecordText(record.path, time));
        require(again.path == record.path && again.deleted == record.deleted,
                "what was read is written alike", {shown(text)});
    }
}

void checkCoding(const QByteArray& bytes) {
    const QByteArray coded = percentCoded(bytes);
    for (const char c : coded) {
        require(c > ' ' && c < 0x7F, "a coded text is visible ASCII", {shown(coded)});
    }
    const std::optional<QByteArray> back = percentDecoded(coded);
    require(bytes.contains('\0') ? !back : back == bytes, "coding comes back", {shown(bytes)});
    if (const std::optional<QByteArray> decoded = percentDecoded(bytes)) {
        require(percentDecoded(percentCoded(*decoded)) == decoded, "decoding is kept", {shown(bytes)});
    }
}

void checkName(const QByteArray& name, unsigned number, qsizetype limit) {
    const QByteArray made = trashName(name, number, limit);
    require(made.size() + kTrashRecordSuffix.size() <= limit, "a name and its record's fit", {shown(made)});
    require(!made.isEmpty() || name.isEmpty(), "a name is not empty", {shown(name)});
    require(number >= 2 || name.size() + kTrashRecordSuffix.size() > limit || made == name,
            "a name that fits is itself", {shown(name), shown(made)});
    require(number < 2 || made != trashName(name, number + 1, limit), "numbers tell names apart",
            {shown(made)});
}

void checkSizes(const QByteArray& text, const QByteArray& name) {
    const QByteArray left = folderSizesWithout(text, name);
    require(left.size() <= text.size() && folderSizesWithout(left, name) == left, "a line is gone for good",
            {shown(text)});
}

void checkPaths(const QByteArray& path) {
    const QByteArrayView folder = folderOf(path);
    const QByteArrayView name = lastNameOf(path);
    require(!name.contains('/') && path.startsWith(folder.toByteArray()) && path.endsWith(name.toByteArray()),
            "a path has its two parts", {shown(path)});
    require(!isCalledLikeABin(path, 1000) || name == QByteArrayView("Trash") || mentionsABin(path, 1000),
            "a bin's name mentions a bin", {shown(path)});
    require(path.isEmpty() || isSameOrInside(joined(path, "a"), path), "what is joined lies inside",
            {shown(path)});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray whole(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    checkRecord(whole);
    checkRecord("[Trash Info]\n" + whole);
    checkRecord("[Trash Info]\nPath=" + whole);
    checkCoding(whole);
    checkPaths(whole);

    FuzzInput input(data, size);
    const auto number = static_cast<unsigned>(input.number(1, 4000));
    const int limit = input.number(60, 255);
    const QByteArray name = input.bytes().left(255);
    checkName(name, number, limit);
    checkSizes(input.rest(), name);
    return 0;
}
