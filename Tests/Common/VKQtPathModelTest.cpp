// The path rules written out a second time, as plainly as they can be said, beside the value on many random and
// hostile texts; and the laws that hold whatever the text.
#include "VKQtPath.h"

#include "Support/VKTest.h"

#include <random>
#include <vector>

namespace {

const bool kMac = QLatin1String(vkTestPlatformRules()) == QLatin1String("macos");
const QString kSlash = QStringLiteral("/");

// Every rule works on copies of strings, one step after the other.
struct Model {
    QString text;
    bool folder = false;
    unsigned int volume = 0;
    bool hasVolume = false;

    static QString normalized(QString text, bool folder) {
        text.replace(QStringLiteral("\\"), kSlash);
        if (text.length() >= 3 && text.endsWith(kSlash)) {
            text = text.left(text.length() - 1);
        }
        if (folder && text.length() == 2 && text.endsWith(QStringLiteral(":"))) {
            text = text + kSlash;
        }
        return text.normalized(QString::NormalizationForm_C);
    }

    void set(const QString& newText, bool newFolder) {
        text = normalized(newText, newFolder);
        folder = newFolder;
        hasVolume = false;
    }

    void set(const QString& newText, bool newFolder, unsigned int newVolume) {
        set(newText, newFolder);
        volume = newVolume;
        hasVolume = true;
    }

    [[nodiscard]] QStringList split() const {
        QStringList parts;
        if (text.startsWith(kSlash)) {
            parts.append(kSlash);
        }
        parts += text.split(kSlash, Qt::SkipEmptyParts, Qt::CaseSensitive);
        if (!parts.isEmpty() && parts[0].endsWith(QStringLiteral(":"))) {
            parts[0] = parts[0] + kSlash;
        }
        return parts;
    }

    void append(const QString& part, bool newFolder) {
        QString joined = text;
        if (kMac) {
            if (!joined.endsWith(kSlash) && !part.startsWith(kSlash)) {
                joined = joined + kSlash;
            }
        } else if (!joined.isEmpty() && !joined.endsWith(kSlash)) {
            joined = joined + kSlash;
        }
        joined = joined + part;
        if (hasVolume) {
            set(joined, newFolder, volume);
        } else {
            set(joined, newFolder);
        }
    }

    void deleteLast() {
        const QStringList parts = split();
        if (parts.size() < 2) {
            return;
        }
        const bool unc = text.left(2) == QStringLiteral("//");
        text = QString();
        folder = true;
        if (unc) {
            text = QStringLiteral("//");
        }
        for (int i = 0; i < parts.size() - 1; ++i) {
            append(parts[i], true);
        }
    }

    [[nodiscard]] Model pathOnly() const {
        Model result;
        if (text.length() == 3 && text.at(1) == QChar(u':') && text.at(2) == QChar(u'/')) {
            return result;
        }
        const auto slash = text.lastIndexOf(kSlash);
        QString candidate = text;
        if (slash != -1) {
            candidate = slash == 0 && text.length() >= 2 ? kSlash : text.left(slash);
        }
        if (candidate == QStringLiteral("/Volumes")) {
            result.set(candidate, true);
        } else {
            result.set(normalized(candidate, folder), true, volume);
        }
        return result;
    }

    [[nodiscard]] std::vector<Model> parents() const {
        std::vector<Model> all;
        Model ancestor;
        for (const QString& part : folder ? split() : pathOnly().split()) {
            ancestor.volume = volume;
            ancestor.hasVolume = true;
            ancestor.append(part, true);
            all.push_back(ancestor);
        }
        return all;
    }

    [[nodiscard]] QString filename() const {
        if (!text.contains(kSlash)) {
            return folder ? QString() : text;
        }
        return text.mid(text.lastIndexOf(kSlash) + 1);
    }

    [[nodiscard]] QString baseName() const {
        QString name = text.mid(text.lastIndexOf(kSlash) + 1);
        if (name.contains(QStringLiteral("."))) {
            name = name.left(name.lastIndexOf(QStringLiteral(".")));
        }
        return name;
    }

    [[nodiscard]] QString suffix() const {
        const auto dot = text.lastIndexOf(QStringLiteral("."));
        return dot == -1 ? QString() : text.mid(dot + 1).toLower();
    }

    [[nodiscard]] bool startsWith(const Model& prefix) const {
        if (text.isEmpty() || prefix.text.isEmpty()) {
            return false;
        }
        QString head = prefix.text;
        if (prefix.folder && !head.endsWith(kSlash)) {
            head = head + kSlash;
        }
        QString whole = text;
        if (folder && !whole.endsWith(kSlash)) {
            whole = whole + kSlash;
        }
        return whole.startsWith(head, Qt::CaseSensitive);
    }

    [[nodiscard]] bool suffixEnds(const char* kind) const {
        return suffix().endsWith(QString::fromLatin1(kind));
    }
};

QString printable(const QString& text) {
    QString shown;
    for (const QChar unit : text) {
        shown += unit.unicode() > 0x20 && unit.unicode() < 0x7F
                     ? QString(unit)
                     : QStringLiteral("<%1>").arg(uint(unit.unicode()), 4, 16, QChar(u'0'));
    }
    return shown;
}

QString describe(const QString& text, bool folder, unsigned int volume, bool hasVolume) {
    return QStringLiteral("%1 | %2 | %3 | %4").arg(printable(text)).arg(folder).arg(volume).arg(hasVolume);
}

QString describe(const VKQtPath& path) {
    return describe(path.path(), path.isFolder(), path.volumeID(), path.hasVolumeID());
}

QString describe(const Model& model) {
    return describe(model.text, model.folder, model.volume, model.hasVolume);
}

class Texts {
public:
    explicit Texts(unsigned seed) : mRandom(seed) {}

    int below(int end) { return static_cast<int>(mRandom() % static_cast<unsigned>(end)); }
    bool coin() { return below(2) == 0; }

    // Short texts of what the rules look at; some of them long enough for several blocks.
    QString text() {
        static const QStringList kPieces = {QStringLiteral("/"),
                                            QStringLiteral("/"),
                                            QStringLiteral("/"),
                                            QStringLiteral("//"),
                                            QStringLiteral("\\"),
                                            QStringLiteral(":"),
                                            QStringLiteral("."),
                                            QStringLiteral(".."),
                                            QStringLiteral("a"),
                                            QStringLiteral("B"),
                                            QStringLiteral("C:"),
                                            QStringLiteral("C:/"),
                                            QStringLiteral("/Volumes"),
                                            QStringLiteral("/Volumes/Card"),
                                            QStringLiteral(".jpg"),
                                            QStringLiteral(".JPEG"),
                                            QStringLiteral(".Mov"),
                                            QStringLiteral(".tiff"),
                                            QStringLiteral(".vkx"),
                                            QStringLiteral(".psb"),
                                            QStringLiteral("jpg"),
                                            QStringLiteral("img_0001"),
                                            QStringLiteral("Summer holidays"),
                                            QStringLiteral("e\u0301"),
                                            QStringLiteral("\u00E9"),
                                            QStringLiteral("\u0301"),
                                            QStringLiteral("\u0338"),
                                            QStringLiteral("\u212A"),
                                            QStringLiteral("\u0130"),
                                            QStringLiteral("\u017F"),
                                            QStringLiteral("\u6771\u4EAC"),
                                            QStringLiteral("\uFEFF"),
                                            QString(QChar(u'\0')),
                                            QString(QChar(u'\xD801')),
                                            QString(QChar(u'\xDC00')),
                                            QString::fromUcs4(U"\U00010400"),
                                            QString::fromUcs4(U"\U00010428"),
                                            QStringLiteral("K"),
                                            QStringLiteral("\u1100\u1161"),
                                            QStringLiteral(" ")};
        QString text;
        for (int pieces = below(below(8) == 0 ? 24 : 7); pieces > 0; --pieces) {
            text += kPieces[below(static_cast<int>(kPieces.size()))];
        }
        return text;
    }

private:
    std::mt19937 mRandom;
};

struct Pair {
    VKQtPath path;
    Model model;
};

// A path and its model, made in the same way; some hold a text that is not canonical.
Pair makePair(Texts& texts) {
    Pair pair;
    const QString text = texts.text();
    const bool folder = texts.coin();
    if (texts.below(3) == 0) {
        pair.path.setPath(text, folder, 7);
        pair.model.set(text, folder, 7);
    } else {
        pair.path.setPath(text, folder);
        pair.model.set(text, folder);
    }
    if (texts.below(4) == 0) {
        const int start = texts.below(12) - 2;
        const int end = texts.below(12) - 2;
        const QString with = texts.text();
        pair.path.replace(start, end, with);
        pair.model.text = pair.model.text.mid(0, start) + with + pair.model.text.mid(end);
    }
    return pair;
}

constexpr int kRounds = 30000;

} // namespace

class VKQtPathModelTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void piecesOfAPath();
    void joinsAndCuts();
    void containersAndAncestors();
    void prefixes();
    void comparisons();
    void kinds();
    void lawOfTheCanonicalForm();
    void lawOfSplitting();
    void lawOfAncestors();
};

void VKQtPathModelTest::piecesOfAPath() {
    Texts texts(1);
    for (int i = 0; i < kRounds; ++i) {
        const auto [path, model] = makePair(texts);
        QCOMPARE(describe(path), describe(model));
        QCOMPARE(path.split(), model.split());
        QCOMPARE(path.filename(), model.filename());
        QCOMPARE(path.baseName(), model.baseName());
        QCOMPARE(path.suffix(), model.suffix());
        QCOMPARE(path.length(), static_cast<int>(model.text.size()));
        QCOMPARE(path.isUNC(), model.text.left(2) == QStringLiteral("//"));
        QCOMPARE(path.isQRCPath(), model.text.left(2) == QStringLiteral(":/"));
    }
}

void VKQtPathModelTest::joinsAndCuts() {
    Texts texts(2);
    for (int i = 0; i < kRounds; ++i) {
        auto [path, model] = makePair(texts);
        const QString part = texts.text();
        const bool folder = texts.coin();
        path.append(part, folder);
        model.append(part, folder);
        QCOMPARE(describe(path), describe(model));
        auto [cutPath, cutModel] = makePair(texts);
        for (int cuts = 0; cuts < 3; ++cuts) {
            const QString before = printable(cutModel.text);
            cutPath.deleteLastPathComponent();
            cutModel.deleteLast();
            QVERIFY2(describe(cutPath) == describe(cutModel),
                     qPrintable(before + u' ' + describe(cutPath) + u' ' + describe(cutModel)));
        }
    }
}

void VKQtPathModelTest::containersAndAncestors() {
    Texts texts(3);
    for (int i = 0; i < kRounds; ++i) {
        const auto [path, model] = makePair(texts);
        QVERIFY2(describe(path.pathOnly()) == describe(model.pathOnly()),
                 qPrintable(describe(path) + u' ' + describe(path.pathOnly()) + u' ' +
                            describe(model.pathOnly())));
        const QList<VKQtPath> ancestors = path.parents();
        const std::vector<Model> expected = model.parents();
        QCOMPARE(static_cast<size_t>(ancestors.size()), expected.size());
        for (qsizetype k = 0; k < ancestors.size(); ++k) {
            QCOMPARE(describe(ancestors[k]), describe(expected[static_cast<size_t>(k)]));
        }
    }
}

void VKQtPathModelTest::prefixes() {
    Texts texts(4);
    int found = 0;
    for (int i = 0; i < kRounds; ++i) {
        const auto [path, model] = makePair(texts);
        Model head;
        if (texts.coin() && !model.text.isEmpty()) {
            // A part of the text itself, with or without what follows.
            head.text = model.text.left(texts.below(static_cast<int>(model.text.size()) + 2));
            if (texts.below(4) == 0) {
                head.text += kSlash;
            }
        } else {
            head.text = texts.text();
        }
        head.folder = texts.coin();
        VKQtPath prefix(QString(), head.folder);
        prefix.replace(0, 0, head.text);
        QVERIFY2(path.startsWith(prefix) == model.startsWith(head),
                 qPrintable(describe(path) + u' ' + describe(prefix)));
        found += path.startsWith(prefix) ? 1 : 0;
    }
    QVERIFY2(found > kRounds / 10 && found < kRounds / 2, qPrintable(QString::number(found)));
}

void VKQtPathModelTest::comparisons() {
    Texts texts(5);
    int equal = 0;
    for (int i = 0; i < kRounds; ++i) {
        const auto [path, model] = makePair(texts);
        QString text = texts.coin()   ? model.text.toUpper()
                       : texts.coin() ? model.text.toLower()
                                      : texts.text();
        if (texts.below(4) == 0) {
            text = text.mid(texts.below(4), texts.below(30));
        }
        VKQtPath other;
        other.replace(0, 0, text);
        const bool same = QString::compare(model.text, text, Qt::CaseInsensitive) == 0;
        equal += same ? 1 : 0;
        QCOMPARE(path == other, same);
        QCOMPARE(other == path, same);
        QCOMPARE(path != other, !same);
        QCOMPARE(path == text, same);
        QCOMPARE(path != text, !same);
        QVERIFY(!same || qHash(path, 3) == qHash(other, 3));
        QCOMPARE(path < other, model.text < text);
        QCOMPARE(path.compare(other, Qt::CaseSensitive),
                 QString::compare(model.text, text, Qt::CaseSensitive));
        QCOMPARE(path.compare(other, Qt::CaseInsensitive),
                 QString::compare(model.text, text, Qt::CaseInsensitive));
        QCOMPARE(path.startsWith(text), !text.isEmpty() && model.text.startsWith(text, Qt::CaseInsensitive));
        QCOMPARE(path.endsWith(text), !text.isEmpty() && model.text.endsWith(text, Qt::CaseInsensitive));
        QCOMPARE(path.contains(text), model.text.indexOf(text, 0, Qt::CaseSensitive) != -1);
        QCOMPARE(path.contains(other), path.contains(text));
    }
    QVERIFY(equal > kRounds / 4);
}

void VKQtPathModelTest::kinds() {
    Texts texts(6);
    const QStringList videos = QStringLiteral("m4v mov avi wmv mpeg mpg mp4 mts").split(u' ');
    int known = 0;
    for (int i = 0; i < kRounds; ++i) {
        const auto [path, model] = makePair(texts);
        const bool jpg = model.suffixEnds("jpg") || model.suffixEnds("jpeg");
        known += jpg ? 1 : 0;
        QCOMPARE(path.isJPG(), jpg);
        QCOMPARE(path.isPNG(), model.suffixEnds("png"));
        QCOMPARE(path.isGIF(), model.suffixEnds("gif"));
        QCOMPARE(path.isTiff(), model.suffixEnds("tiff") || model.suffixEnds("tif"));
        QCOMPARE(path.isHeic(), model.suffixEnds("heic"));
        QCOMPARE(path.isDNG(), model.suffixEnds("dng"));
        QCOMPARE(path.isXMP(), model.suffixEnds("xmp"));
        QCOMPARE(path.isPhotoshop(), model.suffixEnds("psd") || model.suffixEnds("psb"));
        QCOMPARE(path.isVKX(), model.suffixEnds("vkx"));
        QCOMPARE(path.isVKPhoto(), model.suffixEnds("vkphoto"));
        QCOMPARE(path.isVideo(), videos.contains(model.suffix()));
    }
    QVERIFY(known > kRounds / 100);
}

void VKQtPathModelTest::lawOfTheCanonicalForm() {
    // A canonical text stays as it is, but for one more slash at its end if there is one, and for a folder that
    // composing made as short as a drive: "e", an accent and ":".
    Texts texts(7);
    for (int i = 0; i < kRounds; ++i) {
        const bool folder = texts.coin();
        const QString once = VKQtPath(texts.text(), folder).path();
        const QString twice = VKQtPath(once, folder).path();
        QString expected = once;
        if (once.size() >= 3 && once.endsWith(kSlash)) {
            expected.chop(1);
        }
        if (folder && expected.size() == 2 && expected[1] == u':') {
            expected += kSlash;
            QVERIFY(expected == once || once[0].unicode() >= 0x80);
        }
        QCOMPARE(twice, expected);
        QVERIFY(!once.contains(u'\\'));
        QCOMPARE(once.normalized(QString::NormalizationForm_C), once);
    }
}

void VKQtPathModelTest::lawOfSplitting() {
    // Joining the components gives the path back, without its empty components.
    Texts texts(8);
    int checked = 0;
    for (int i = 0; i < kRounds; ++i) {
        const VKQtPath path(u'/' + texts.text(), true);
        VKQtPath joined;
        for (const QString& part : path.split()) {
            joined.append(part, true);
        }
        QCOMPARE(joined.split(), path.split());
        if (!path.path().contains(u"//") && (path.length() == 1 || !path.path().endsWith(u'/'))) {
            ++checked;
            QCOMPARE(joined.path(), path.path());
        }
    }
    QVERIFY(checked > kRounds / 4);
}

void VKQtPathModelTest::lawOfAncestors() {
    // Each ancestor is what is left of the next one without its last component.
    Texts texts(9);
    for (int i = 0; i < kRounds; ++i) {
        const QList<VKQtPath> ancestors = VKQtPath(u'/' + texts.text(), texts.coin()).parents();
        for (qsizetype k = 1; k < ancestors.size(); ++k) {
            VKQtPath path = ancestors[k];
            path.deleteLastPathComponent();
            QCOMPARE(describe(path), describe(ancestors[k - 1]));
        }
        QVERIFY(ancestors.isEmpty() || ancestors.first().path() == kSlash);
    }
}

VKTEST_MAIN(VKQtPathModelTest)
#include "VKQtPathModelTest.moc"
