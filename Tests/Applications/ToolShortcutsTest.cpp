// vkqt shortcuts, run as a process: the table, its filter, JSON and the page.
#include "ToolRunner.h"

#include "Support/VKTest.h"

#include <QJsonObject>
#include <QSet>
#include <QXmlStreamReader>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kAll = 171; // with the constant that stands for no shortcut

ToolRun shortcuts(const QStringList& arguments) { return runVkqt(QStringList(u"shortcuts"_s) + arguments); }

QJsonArray jsonOf(const QStringList& arguments) {
    bool ok = false;
    const QJsonArray array = jsonArray(shortcuts(QStringList(u"--json"_s) + arguments).out, &ok);
    return ok ? array : QJsonArray();
}

QStringList names(const QStringList& arguments) { return members(jsonOf(arguments), u"name"_s); }

QJsonObject named(const QString& name) {
    for (const QJsonValue& value : jsonOf({name, u"--order"_s, u"table"_s})) {
        if (value.toObject().value(u"name"_s) == name) {
            return value.toObject();
        }
    }
    return {};
}

/// The page without its first line, read as XML: the texts of the elements of that name, in order.
QStringList elements(const QByteArray& page, const QString& name, bool* wellFormed) {
    QByteArray text = page.mid(page.indexOf('\n') + 1);
    // What HTML leaves open.
    text.replace("<meta charset=\"utf-8\">", "");
    text.replace("<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">", "");
    QXmlStreamReader reader(text);
    QStringList texts;
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == name) {
            texts << reader.readElementText(QXmlStreamReader::IncludeChildElements);
        }
    }
    *wellFormed = !reader.hasError();
    return texts;
}

} // namespace

class ToolShortcutsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void everyDocumentedKey();
    void json_data();
    void json();
    void orderOfTheTable();
    void orderOfGroups();
    void filter_data();
    void filter();
    void platforms();
    void forPeople();
    void nothingFound();
    void page();
    void pageOfOnePlatform();
    void pageOfNothing();
    void pageLoadsNothing();
    void pageIsSafe();
    void excludingOptions();
};

void ToolShortcutsTest::everyDocumentedKey() {
    const QByteArray help = shortcuts({u"--help"_s}).out;
    const QStringList keys = named(u"kCopy"_s).keys();
    QCOMPARE(keys, (QStringList{u"group"_s, u"keys"_s, u"mac"_s, u"name"_s, u"platform"_s, u"title"_s,
                                u"windows"_s}));
    for (const QString& key : keys) {
        QVERIFY2(help.indexOf(QByteArray("\n  " + key.toUtf8() + ' '), help.indexOf("JSON")) > 0,
                 qPrintable(key));
    }
}

void ToolShortcutsTest::json_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QJsonObject>("expected");
    const auto row = [](const QString& name, const QString& title, const QJsonValue& group,
                        const QString& platform, const QJsonValue& keys, const QJsonValue& mac,
                        const QJsonValue& windows) {
        QTest::newRow(qPrintable(name))
            << name << QJsonObject{{u"name"_s, name},         {u"title"_s, title}, {u"group"_s, group},
                                   {u"platform"_s, platform}, {u"keys"_s, keys},   {u"mac"_s, mac},
                                   {u"windows"_s, windows}};
    };
    const QJsonValue none(QJsonValue::Null);
    row(u"kUndefinedKeySequence"_s, u"Undefined key sequence"_s, none, u"any"_s, none, none, none);
    row(u"kToolCrop"_s, u"Tool crop"_s, u"Tools"_s, u"any"_s, u"C"_s, u"C"_s, u"C"_s);
    row(u"kModuleLayers"_s, u"Module layers"_s, u"Modules"_s, u"any"_s, none, none, none);
    row(u"kSyncAllSettings"_s, u"Sync all settings"_s, u"Settings of pictures"_s, u"any"_s,
        u"Ctrl+Alt+Shift+S"_s, u"⌥⇧⌘S"_s, u"Ctrl+Alt+Shift+S"_s);
    row(u"kFireCameraMacPlatform"_s, u"Fire camera"_s, u"Files and application"_s, u"mac"_s, u"Meta+Space"_s,
        u"⌃Space"_s, none);
    row(u"kFireCameraWinPlatform"_s, u"Fire camera"_s, u"Files and application"_s, u"windows"_s,
        u"Ctrl+Space"_s, none, u"Ctrl+Space"_s);
    row(u"kShowDebugDialog"_s, u"Show debug dialog"_s, u"Windows and panes"_s, u"any"_s,
        u"Shift+D, Ctrl+F12"_s, u"⇧D, ⌘F12"_s, u"Shift+D, Ctrl+F12"_s);
    row(u"kDeleteBackspace"_s, u"Delete backspace"_s, u"Editing"_s, u"any"_s, u"Backspace"_s, u"⌫"_s,
        u"Backspace"_s);
    row(u"kRemoveFromAlbumDelete"_s, u"Remove from album delete"_s, u"Albums"_s, u"any"_s, u"Shift+Del"_s,
        u"⇧⌦"_s, u"Shift+Del"_s);
    row(u"kTogglePanelLeft"_s, u"Toggle panel left"_s, u"Windows and panes"_s, u"any"_s, u"Ctrl+Left"_s,
        u"⌘←"_s, u"Ctrl+←"_s);
    row(u"kZoomInPlus"_s, u"Zoom in plus"_s, u"Zoom and thumbnails"_s, u"any"_s, u"Ctrl++"_s, u"⌘+"_s,
        u"Ctrl++"_s);
}

void ToolShortcutsTest::json() {
    QFETCH(const QString, name);
    QFETCH(const QJsonObject, expected);
    QCOMPARE(named(name), expected);
}

void ToolShortcutsTest::orderOfTheTable() {
    const QStringList table = names({u"--order"_s, u"table"_s});
    QCOMPARE(table.size(), kAll);
    QCOMPARE(table.first(), u"kUndefinedKeySequence"_s);
    QCOMPARE(table.last(), u"kNewStampedLayer"_s);
    QCOMPARE(table.indexOf(u"kAddToTargetAlbum"_s), table.indexOf(u"kToolMaskingBrush"_s) + 1);
    QCOMPARE(QSet<QString>(table.begin(), table.end()).size(), kAll);
}

void ToolShortcutsTest::orderOfGroups() {
    const QStringList grouped = names({});
    QCOMPARE(grouped.size(), kAll - 1);
    QVERIFY(!grouped.contains(u"kUndefinedKeySequence"_s));
    QStringList groups = members(jsonOf({}), u"group"_s);
    const QSet<QString> distinct(groups.begin(), groups.end());
    groups.erase(std::unique(groups.begin(), groups.end()), groups.end());
    QCOMPARE(groups.size(), distinct.size()); // each group stands together
    QCOMPARE(groups.first(), u"Modules"_s);
}

void ToolShortcutsTest::filter_data() {
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("a name") << QStringList(u"kCopySettings"_s) << QStringList(u"kCopySettings"_s);
    QTest::newRow("a part of a name, another case")
        << QStringList(u"FULLSCREENW"_s) << QStringList(u"kFullScreenWinPlatform"_s);
    QTest::newRow("a title") << QStringList(u"stars 3"_s) << QStringList(u"kStars3"_s);
    QTest::newRow("a group and a word")
        << QStringList{u"layers"_s, u"text"_s} << QStringList(u"kAddTextLayer"_s);
    QTest::newRow("keys of a Mac") << QStringList(u"⌥⌘C"_s) << QStringList(u"kCanvasSize"_s);
    QTest::newRow("keys of Windows") << QStringList(u"ctrl+alt+c"_s) << QStringList(u"kCanvasSize"_s);
    QTest::newRow("all words have to be found") << QStringList{u"stars"_s, u"canvas"_s} << QStringList();
}

void ToolShortcutsTest::filter() {
    QFETCH(const QStringList, words);
    QFETCH(const QStringList, expected);
    QCOMPARE(names(words), expected);
}

void ToolShortcutsTest::platforms() {
    const QStringList mac = names({u"--platform"_s, u"mac"_s});
    const QStringList windows = names({u"--platform"_s, u"windows"_s});
    QVERIFY(mac.contains(u"kFireCameraMacPlatform"_s) && !mac.contains(u"kFireCameraWinPlatform"_s));
    QVERIFY(windows.contains(u"kFireCameraWinPlatform"_s) && !windows.contains(u"kFireCameraMacPlatform"_s));
    QCOMPARE(mac.size(), kAll - 1 - 3);
    QCOMPARE(windows.size(), kAll - 1 - 4);
    const ToolRun table = shortcuts({u"--platform"_s, u"windows"_s, u"kCopy"_s});
    QVERIFY(!table.out.contains("Mac"));
    QVERIFY(!table.out.contains("⌘"));
    QVERIFY(table.out.contains("Ctrl+C"));
}

void ToolShortcutsTest::forPeople() {
    const ToolRun run = shortcuts({u"panel"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.out, QByteArray("Command                        Mac  Windows  Name\n"
                                 "Windows and panes                            \n"
                                 "  Toggle panel left            ⌘←   Ctrl+←   kTogglePanelLeft\n"
                                 "  Toggle panel right           ⌘→   Ctrl+→   kTogglePanelRight\n"
                                 "  Toggle panel left and right  ⇥    Tab      kTogglePanelLeftAndRight\n"));
    const ToolRun table = shortcuts({u"--order"_s, u"table"_s, u"unstack"_s});
    QCOMPARE(table.out, QByteArray("Command  Mac  Windows  Name\n"
                                   "Unstack  -    -        kUnstack\n"));
}

void ToolShortcutsTest::nothingFound() {
    const ToolRun run = shortcuts({u"nothing at all"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QByteArray("There is no such shortcut.\n"));
    QCOMPARE(shortcuts({u"--json"_s, u"nothing at all"_s}).out.simplified(), QByteArray("[]"));
}

void ToolShortcutsTest::page() {
    const ToolRun run = shortcuts({u"--html"_s});
    QCOMPARE(run.status, 0);
    QVERIFY(run.out.startsWith("<!DOCTYPE html>\n<html lang=\"en\">"));
    QVERIFY(run.out.contains("<meta charset=\"utf-8\">"));
    QVERIFY(run.out.contains("@media print"));
    bool wellFormed = false;
    const QStringList captions = elements(run.out, u"caption"_s, &wellFormed);
    QVERIFY(wellFormed);
    QStringList groups = members(jsonOf({}), u"group"_s);
    groups.erase(std::unique(groups.begin(), groups.end()), groups.end());
    QCOMPARE(captions, groups);
    const QStringList cells = elements(run.out, u"td"_s, &wellFormed);
    QCOMPARE(cells.size(), (kAll - 1) * 3);
    QStringList titles;
    for (qsizetype i = 0; i < cells.size(); i += 3) {
        titles << cells[i];
    }
    QCOMPARE(titles, members(jsonOf({}), u"title"_s));
    QVERIFY(run.out.contains("<kbd>⌥</kbd><kbd>⌘</kbd><kbd>C</kbd>"));
    QVERIFY(run.out.contains("<kbd>Ctrl</kbd><kbd>Alt</kbd><kbd>C</kbd>"));
    QVERIFY(run.out.contains("<kbd>D</kbd> <span class=\"then\">then</span> <kbd>⌘</kbd><kbd>F12</kbd>"));
}

void ToolShortcutsTest::pageOfOnePlatform() {
    const QByteArray page = shortcuts({u"--html"_s, u"--platform"_s, u"mac"_s}).out;
    QVERIFY(page.contains(">Mac</th>"));
    QVERIFY(!page.contains(">Windows</th>"));
    QVERIFY(!page.contains("<kbd>Ctrl</kbd>"));
    QVERIFY(!page.contains("kFireCameraWinPlatform"));
}

void ToolShortcutsTest::pageOfNothing() {
    const QByteArray page = shortcuts({u"--html"_s, u"nothing at all"_s}).out;
    bool wellFormed = false;
    QCOMPARE(elements(page, u"table"_s, &wellFormed), QStringList());
    QVERIFY(wellFormed);
    QVERIFY(page.contains("<p>0 commands</p>"));
    QVERIFY(shortcuts({u"--html"_s, u"kCanvasSize"_s}).out.contains("<p>1 command</p>"));
}

void ToolShortcutsTest::pageLoadsNothing() {
    const QByteArray page = shortcuts({u"--html"_s}).out;
    for (const char* way : {"http", "src=", "href=", "url(", "@import", "<script"}) {
        QVERIFY2(!page.contains(way), way);
    }
}

// The keys themselves hold what HTML gives a meaning to; a filter is not repeated on the page.
void ToolShortcutsTest::pageIsSafe() {
    const QByteArray page = shortcuts({u"--html"_s, u"<b>&"_s}).out;
    QVERIFY(!page.contains("<b>"));
    bool wellFormed = false;
    const QStringList keys =
        elements(shortcuts({u"--html"_s, u"create version"_s}).out, u"kbd"_s, &wellFormed);
    QVERIFY(wellFormed);
    QCOMPARE(keys, (QStringList{u"⌘"_s, u"'"_s, u"Ctrl"_s, u"'"_s}));
}

void ToolShortcutsTest::excludingOptions() {
    const ToolRun run = shortcuts({u"--html"_s, u"--json"_s});
    QCOMPARE(run.status, 2);
    QCOMPARE(run.out, QByteArray());
    QVERIFY2(run.err.startsWith("vkqt shortcuts: --html and --json exclude each other\n"),
             run.err.constData());
}

VKTEST_MAIN(ToolShortcutsTest)
#include "ToolShortcutsTest.moc"
