// The table of shortcuts against another one that was written by hand, its order, its clashes, and its rows for people.
#include "VKKeySequence.h"
#include "KeySequenceTable.h"
#include "Support/VKTest.h"

#include <QMap>
#include <QSet>

#include <type_traits>

using namespace Qt::StringLiterals;

namespace {

using Entry = VKKeySequence::Entry;
using Group = VKKeySequence::Group;
using Platform = VKKeySequence::Platform;

static_assert(std::is_same_v<decltype(VKKeySequence::kCopy), const QKeySequence>);
static_assert(!std::is_default_constructible_v<VKKeySequence>);

Entry entryNamed(QStringView name) {
    const QList<Entry> entries = VKKeySequence::entries();
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [name](const Entry& entry) { return entry.name == name; });
    return found == entries.end() ? Entry() : *found;
}

} // namespace

class VKKeySequenceTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void constants_data();
    void constants();
    void textRoundTrip_data() { constants_data(); }
    void textRoundTrip();
    void rowsInTableOrder();
    void withoutKey_data();
    void withoutKey();
    void chords();
    void twoKeysForOneCommand();
    void platformPairs();
    void clashes_data();
    void clashes();
    void noOtherClash();
    void noStepIsShadowed();
    void titles_data();
    void titles();
    void titleOfAnAbbreviationBeforeAWord();
    void groups();
};

void VKKeySequenceTest::constants_data() {
    QTest::addColumn<QKeySequence>("constant");
    QTest::addColumn<QString>("keys");
    for (const ExpectedKey& key : kExpectedKeys) {
        QTest::newRow(key.name) << *key.constant << QString::fromUtf16(key.keys);
    }
}

void VKKeySequenceTest::constants() {
    QFETCH(const QKeySequence, constant);
    QFETCH(const QString, keys);
    const QKeySequence expected = QKeySequence::fromString(keys, QKeySequence::PortableText);
    QCOMPARE(expected.isEmpty(), keys.isEmpty()); // the text was understood
    for (int i = 0; i < expected.count(); ++i) {
        QVERIFY(expected[static_cast<uint>(i)].key() != Qt::Key_unknown);
    }
    QCOMPARE(constant, expected);
    QCOMPARE(constant.isEmpty(), keys.isEmpty());
}

void VKKeySequenceTest::textRoundTrip() {
    QFETCH(const QKeySequence, constant);
    QCOMPARE(QKeySequence::fromString(constant.toString(QKeySequence::PortableText)), constant);
}

void VKKeySequenceTest::rowsInTableOrder() {
    const QList<Entry> entries = VKKeySequence::entries();
    QCOMPARE(entries.size(), static_cast<qsizetype>(std::size(kExpectedKeys)));
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const ExpectedKey& expected = kExpectedKeys[i];
        QCOMPARE(QString(entries[i].name), QString::fromLatin1(expected.name));
        QCOMPARE(entries[i].sequence, *expected.constant);
    }
}

void VKKeySequenceTest::withoutKey_data() {
    QTest::addColumn<QKeySequence>("sequence");
    QTest::newRow("kUndefinedKeySequence") << VKKeySequence::kUndefinedKeySequence;
    QTest::newRow("kModuleLayers") << VKKeySequence::kModuleLayers;
    QTest::newRow("kModuleReplaceSky") << VKKeySequence::kModuleReplaceSky;
    QTest::newRow("kSaveAs") << VKKeySequence::kSaveAs;
    QTest::newRow("kSoftProofingEnable") << VKKeySequence::kSoftProofingEnable;
    QTest::newRow("kAutoHideToolBarOptionsBar") << VKKeySequence::kAutoHideToolBarOptionsBar;
    QTest::newRow("kAlbumMenuCreateSmartAlbum") << VKKeySequence::kAlbumMenuCreateSmartAlbum;
    QTest::newRow("kUnstack") << VKKeySequence::kUnstack;
}

void VKKeySequenceTest::withoutKey() {
    QFETCH(const QKeySequence, sequence);
    QVERIFY(sequence.isEmpty());
    QCOMPARE(sequence.count(), 0);
    QCOMPARE(sequence, QKeySequence());
    QCOMPARE(sequence, VKKeySequence::kUndefinedKeySequence);
}

void VKKeySequenceTest::chords() {
    QStringList chords;
    const QList<Entry> entries = VKKeySequence::entries();
    for (const Entry& entry : entries) {
        QVERIFY2(entry.sequence.count() <= 2, entry.name.data());
        if (entry.sequence.count() == 2) {
            chords << QString(entry.name);
        }
    }
    QCOMPARE(chords, (QStringList{u"kShowDebugDialog"_s, u"kShowDebugInformationDialog"_s}));
    QCOMPARE(VKKeySequence::kShowDebugDialog[0], QKeyCombination(Qt::SHIFT, Qt::Key_D));
    QCOMPARE(VKKeySequence::kShowDebugDialog[1], QKeyCombination(Qt::CTRL, Qt::Key_F12));
}

void VKKeySequenceTest::twoKeysForOneCommand() {
    QVERIFY(VKKeySequence::kZoomInPlus != VKKeySequence::kZoomInEqual);
    QCOMPARE(VKKeySequence::kZoomInPlus[0], QKeyCombination(Qt::CTRL, Qt::Key_Plus));
    QCOMPARE(VKKeySequence::kZoomInEqual[0], QKeyCombination(Qt::CTRL, Qt::Key_Equal));
    QVERIFY(VKKeySequence::kThumbnailsBiggerPlus != VKKeySequence::kThumbnailsBiggerEqual);
}

void VKKeySequenceTest::platformPairs() {
    QMap<QString, QSet<Platform>> commands;
    const QList<Entry> entries = VKKeySequence::entries();
    for (const Entry& entry : entries) {
        const QString name(entry.name);
        const Platform expected = name.endsWith(u"MacPlatform"_s)   ? Platform::Mac
                                  : name.endsWith(u"WinPlatform"_s) ? Platform::Windows
                                                                    : Platform::Any;
        QVERIFY2(entry.platform == expected, entry.name.data());
        if (expected != Platform::Any) {
            commands[entry.title()].insert(expected);
        }
    }
    const QSet<Platform> both = {Platform::Mac, Platform::Windows};
    const QMap<QString, QSet<Platform>> expected = {{u"Fire camera"_s, both},
                                                    {u"Show mask"_s, both},
                                                    {u"Full screen"_s, both},
                                                    {u"Minimize"_s, {Platform::Mac}}};
    QCOMPARE(commands, expected);
}

void VKKeySequenceTest::clashes_data() {
    QTest::addColumn<QKeySequence>("first");
    QTest::addColumn<QKeySequence>("second");
    QTest::newRow("a module and the view it opens with")
        << VKKeySequence::kModuleBrowse << VKKeySequence::kViewModeThumbnail;
    QTest::newRow("a tool and a view") << VKKeySequence::kToolCrop << VKKeySequence::kViewModeCompare;
    QTest::newRow("a tool and an album")
        << VKKeySequence::kToolMaskingBrush << VKKeySequence::kAddToTargetAlbum;
    QTest::newRow("two platforms") << VKKeySequence::kMinimizeMacPlatform
                                   << VKKeySequence::kShowMaskWinPlatform;
}

void VKKeySequenceTest::clashes() {
    QFETCH(const QKeySequence, first);
    QFETCH(const QKeySequence, second);
    QCOMPARE(first, second);
}

void VKKeySequenceTest::noOtherClash() {
    QMap<QString, QStringList> names;
    const QList<Entry> entries = VKKeySequence::entries();
    for (const Entry& entry : entries) {
        if (!entry.sequence.isEmpty()) {
            names[entry.sequence.toString()] << QString(entry.name);
        }
    }
    names.removeIf([](const auto& entry) { return entry.value().size() == 1; });
    const QMap<QString, QStringList> intended = {
        {u"G"_s, {u"kModuleBrowse"_s, u"kViewModeThumbnail"_s}},
        {u"C"_s, {u"kToolCrop"_s, u"kViewModeCompare"_s}},
        {u"B"_s, {u"kToolMaskingBrush"_s, u"kAddToTargetAlbum"_s}},
        {u"Ctrl+M"_s, {u"kMinimizeMacPlatform"_s, u"kShowMaskWinPlatform"_s}},
    };
    QCOMPARE(names, intended);
}

// A chord could never be finished if its first step were a shortcut by itself.
void VKKeySequenceTest::noStepIsShadowed() {
    const QList<Entry> entries = VKKeySequence::entries();
    for (const Entry& chord : entries) {
        for (const Entry& other : entries) {
            if (chord.sequence.count() == 2 && other.sequence.count() == 1) {
                QVERIFY2(chord.sequence[0] != other.sequence[0], other.name.data());
            }
        }
    }
}

void VKKeySequenceTest::titles_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("title");
    QTest::newRow("two words") << u"kToolCrop"_s << u"Tool crop"_s;
    QTest::newRow("one word") << u"kCopy"_s << u"Copy"_s;
    QTest::newRow("a number in the middle") << u"kBrushOpacity10Percent"_s << u"Brush opacity 10 percent"_s;
    QTest::newRow("a number at the end") << u"kTogglePane1"_s << u"Toggle pane 1"_s;
    QTest::newRow("an abbreviation at the end") << u"kRotate90DegreesCW"_s << u"Rotate 90 degrees CW"_s;
    QTest::newRow("a platform is not a part of it") << u"kFireCameraMacPlatform"_s << u"Fire camera"_s;
    QTest::newRow("on Windows neither") << u"kFullScreenWinPlatform"_s << u"Full screen"_s;
}

void VKKeySequenceTest::titleOfAnAbbreviationBeforeAWord() {
    QCOMPARE((VKKeySequence::Entry{.name = "kShowCWTurn"_L1, .sequence = {}}).title(), u"Show CW turn"_s);
    QCOMPARE((VKKeySequence::Entry{.name = "kCWTurn"_L1, .sequence = {}}).title(), u"CW turn"_s);
}

void VKKeySequenceTest::titles() {
    QFETCH(const QString, name);
    QFETCH(const QString, title);
    QCOMPARE(entryNamed(name).title(), title);
}

void VKKeySequenceTest::groups() {
    QSet<QString> titles;
    QSet<Group> groups;
    const QList<Entry> entries = VKKeySequence::entries();
    for (const Entry& entry : entries) {
        const bool undefined = entry.name == "kUndefinedKeySequence"_L1;
        QVERIFY2((entry.group == Group::Undefined) == undefined, entry.name.data());
        QCOMPARE(VKKeySequence::groupTitle(entry.group).isEmpty(), undefined);
        groups.insert(entry.group);
        titles.insert(VKKeySequence::groupTitle(entry.group));
    }
    QCOMPARE(titles.size(), groups.size());                              // no two are called the same
    QCOMPARE(groups.size(), static_cast<qsizetype>(Group::Windows) + 1); // none is empty
}

VKTEST_MAIN(VKKeySequenceTest)
#include "VKKeySequenceTest.moc"
