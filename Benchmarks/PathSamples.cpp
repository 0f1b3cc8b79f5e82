// Builds the sample paths from word lists with a fixed seed: the same thousand texts on every machine.

#include "PathSamples.h"

#include <QStringView>

#include <array>
#include <random>

namespace {

constexpr std::array<QStringView, 12> kRoots{
    u"/Users/anna/Pictures", u"/home/joern/Photos",  u"/Volumes/Archive 2",       u"C:/Users/Mia/Pictures",
    u"/media/studio/Card",   u"/srv/clients/raw",    u"//nas01/share/Photos",     u"/mnt/backup/Weekly",
    u"/Users/tom/Desktop",   u"D:/Work/Assignments", u"/home/petra/To be sorted", u"/data/imports"};
constexpr std::array<QStringView, 14> kFolders{
    u"2019",       u"Holiday in Norway",  u"Selects",     u"Raw",      u"Wedding Miller",
    u"2021-06-04", u"Exported for print", u"Panoramas",   u"Studio B", u"Backup_old",
    u"x",          u"Client Work",        u"Second Card", u"Edits"};
constexpr std::array<QStringView, 6> kNames{u"IMG_", u"DSC", u"_MG_", u"P10", u"Portrait ", u"scan-"};
constexpr std::array<QStringView, 8> kSuffixes{u"JPG",  u"nef",  u"CR3", u"dng",
                                               u"tiff", u"heic", u"mov", u"xmp"};
constexpr int kShortest = 30;
constexpr int kLongest = 120;

class Maker {
public:
    QString path() {
        const int target = pick(kShortest, kLongest);
        const QString last = oneOf(kNames).toString() + QString::number(pick(1000, 99999)) + u'.' +
                             oneOf(kSuffixes).toString();
        QString text = oneOf(kRoots).toString() + u'/';
        while (text.size() + last.size() < target) {
            text += oneOf(kFolders).toString() + u'/';
        }
        text += last;
        // A text that came out too long gives up characters of its folders, never its suffix.
        if (text.size() > kLongest) {
            const QString tail = u'/' + last;
            text = text.left(kLongest - tail.size());
            while (text.endsWith(u'/')) {
                text.chop(1);
            }
            text += tail;
        }
        return text;
    }

    int pick(int least, int most) {
        const auto span = static_cast<unsigned>(most - least + 1);
        return least + static_cast<int>(mRandom() % span);
    }

private:
    template <std::size_t Size>
    QStringView oneOf(const std::array<QStringView, Size>& words) {
        return words[static_cast<std::size_t>(mRandom() % Size)];
    }

    std::mt19937 mRandom{20261121}; // any fixed number: the texts must not differ between runs
};

QString copied(const QString& text) { return QString(text.constData(), text.size()); }

QString otherCase(const QString& text) {
    QString result = text;
    for (QChar& unit : result) {
        unit = unit.isUpper() ? unit.toLower() : unit.toUpper();
    }
    return result;
}

QString unequal(const QString& text, Maker& maker) {
    QString result = text;
    for (qsizetype at = maker.pick(10, static_cast<int>(text.size()) - 6); at < result.size(); ++at) {
        result[at] = QChar(u'a' + maker.pick(0, 25));
    }
    result[result.size() - 1] = u'#';
    return result;
}

/// Puts `accented` after the first folder and before the suffix.
QString withAccents(const QString& text, QStringView accented) {
    QString result = text;
    result.insert(result.lastIndexOf(u'.'), accented);
    result.insert(result.indexOf(u'/', 3), accented);
    return result;
}

PathSamples makeSamples() {
    PathSamples samples;
    Maker maker;
    for (std::size_t i = 0; i < PathSamples::kCount; ++i) {
        const QString text = maker.path();
        samples.clean.push_back(text);
        samples.same.push_back(copied(text));
        samples.otherCase.push_back(otherCase(text));
        samples.unequal.push_back(unequal(text, maker));
        samples.prefix.push_back(otherCase(text.left(text.lastIndexOf(u'/'))));
        samples.backslashes.push_back(copied(text).replace(u'/', u'\\'));
        samples.decomposed.push_back(withAccents(text, u"e\u0301"));
        samples.composed.push_back(withAccents(text, u"\u00e9"));
    }
    return samples;
}

} // namespace

const PathSamples& PathSamples::shared() {
    static const PathSamples sShared = makeSamples();
    return sShared;
}
