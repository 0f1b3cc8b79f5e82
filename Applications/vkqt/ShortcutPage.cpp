// A page without scripts: columns of small tables, which a browser fits to the window and to the paper.
#include "ShortcutPage.h"

namespace VKTool {

namespace {

using namespace Qt::StringLiterals;
using Entry = VKKeySequence::Entry;

constexpr const char* kHead = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Keyboard shortcuts</title>
<style>
:root { --ink: #1d2430; --quiet: #667085; --line: #e3e7ee; --accent: #2f6fab; --key: #f6f8fb; --paper: #fff; }
@media (prefers-color-scheme: dark) {
  :root { --ink: #e6e9ef; --quiet: #98a2b3; --line: #343b47; --accent: #7db4e6; --key: #2b313c; --paper: #1b1f26; }
}
* { box-sizing: border-box; }
body { margin: 2.5rem auto; max-width: 90rem; padding: 0 1.5rem; background: var(--paper); color: var(--ink);
       font: 15px/1.4 system-ui, "Segoe UI", "Helvetica Neue", "DejaVu Sans", sans-serif; }
h1 { margin: 0 0 .25rem; font-size: 1.9rem; }
header p { margin: 0 0 1.5rem; color: var(--quiet); }
main { columns: 28rem; column-gap: 2.5rem; }
section { break-inside: avoid; margin: 0 0 1.75rem; }
section.long { break-inside: auto; }
table { width: 100%; border-collapse: collapse; }
caption { padding-bottom: .3rem; border-bottom: 2px solid var(--accent); color: var(--accent); font-weight: 600;
          font-size: 1.05rem; text-align: left; }
th { padding: .3rem .4rem .3rem 0; color: var(--quiet); font-weight: 400; font-size: .8rem; text-align: left; }
td { padding: .25rem .4rem .25rem 0; border-top: 1px solid var(--line); vertical-align: middle; }
tr { break-inside: avoid; }
td.keys, th.keys { white-space: nowrap; width: 1%; }
kbd { display: inline-block; min-width: 1.65em; padding: .05em .4em; border: 1px solid var(--line);
      border-bottom-width: 2px; border-radius: .3em; background: var(--key); color: var(--ink);
      font: inherit; font-size: .85rem; text-align: center; }
.none, .then { color: var(--quiet); font-size: .85rem; }
@media print {
  :root { --ink: #000; --quiet: #555; --line: #bbb; --accent: #000; --key: #fff; --paper: #fff; }
  @page { margin: 12mm; }
  body { margin: 0; max-width: none; padding: 0; font-size: 9pt; }
  main { columns: 2; column-gap: 8mm; }
  section { margin-bottom: 5mm; }
}
</style>
</head>
<body>
)";

QString keyCells(const Entry& entry, const QList<Keyboard>& keyboards) {
    QString cells;
    for (const Keyboard keyboard : keyboards) {
        cells += u"<td class=\"keys\">"_s;
        if (!isBoundOn(entry, keyboard) || entry.sequence.isEmpty()) {
            cells += u"<span class=\"none\">–</span>"_s;
        } else {
            for (int i = 0; i < entry.sequence.count(); ++i) {
                cells += i == 0 ? QString() : u" <span class=\"then\">then</span> "_s;
                const QStringList caps = keyCaps(entry.sequence[static_cast<uint>(i)], keyboard);
                for (const QString& cap : caps) {
                    cells += u"<kbd>"_s + cap.toHtmlEscaped() + u"</kbd>"_s;
                }
            }
        }
        cells += u"</td>"_s;
    }
    return cells;
}

QString sectionStart(const QList<Entry>& entries, qsizetype from, const QList<Keyboard>& keyboards) {
    qsizetype end = from;
    while (end < entries.size() && entries[end].group == entries[from].group) {
        ++end;
    }
    // A long table may go on in the next column, a short one is kept together.
    const QString kind = end - from > 24 ? u" class=\"long\""_s : QString();
    QString text = u"<section%1>\n<table>\n<caption>"_s.arg(kind) +
                   VKKeySequence::groupTitle(entries[from].group).toHtmlEscaped() +
                   u"</caption>\n<thead><tr><th>Command</th>"_s;
    for (const Keyboard keyboard : keyboards) {
        text += u"<th class=\"keys\">"_s + (keyboard == Keyboard::Mac ? u"Mac"_s : u"Windows"_s) + u"</th>"_s;
    }
    return text + u"</tr></thead>\n<tbody>\n"_s;
}

} // namespace

QString shortcutPage(const QList<Entry>& entries, const QList<Keyboard>& keyboards) {
    QString page = QString::fromUtf8(kHead) + u"<header>\n<h1>Keyboard shortcuts</h1>\n<p>"_s +
                   (entries.size() == 1 ? u"1 command"_s : QString::number(entries.size()) + u" commands"_s) +
                   u"</p>\n</header>\n<main>\n"_s;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const Entry& entry = entries[i];
        if (i == 0 || entries[i - 1].group != entry.group) {
            page += (i == 0 ? QString() : u"</tbody>\n</table>\n</section>\n"_s) +
                    sectionStart(entries, i, keyboards);
        }
        page += u"<tr title=\""_s + QString(entry.name) + u"\"><td>"_s + entry.title().toHtmlEscaped() +
                u"</td>"_s + keyCells(entry, keyboards) + u"</tr>\n"_s;
    }
    return page + (entries.isEmpty() ? QString() : u"</tbody>\n</table>\n</section>\n"_s) +
           u"</main>\n</body>\n</html>\n"_s;
}

} // namespace VKTool
