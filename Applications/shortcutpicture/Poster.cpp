// Groups are laid out one below the other and broken into columns of about the same height; the widths come from the
// texts, so that nothing is cut.
#include "Poster.h"

#include "ShortcutKeys.h"

#include <QFontDatabase>
#include <QFontMetrics>
#include <QPainter>

#include <algorithm>
#include <array>
#include <vector>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;
using Entry = VKKeySequence::Entry;

constexpr int kColumns = 3;
constexpr int kMargin = 56;
constexpr int kColumnGap = 56;
constexpr int kHeaderHeight = 104;
constexpr int kGroupGap = 26;
constexpr int kHeadingHeight = 40;
constexpr int kRowHeight = 31;
constexpr int kCapHeight = 23;
constexpr int kCapGap = 4;
constexpr int kCellGap = 28;

const QColor kPaper(250, 251, 253);
const QColor kInk(29, 36, 48);
const QColor kQuiet(112, 122, 138);
const QColor kLine(226, 231, 239);
const QColor kAccent(38, 101, 160);
const QColor kCapFace(255, 255, 255);
const QColor kCapEdge(184, 193, 207);

constexpr std::array<Keyboard, 2> kKeyboards = {Keyboard::Mac, Keyboard::Windows};

QFont font(int pixels, QFont::Weight weight = QFont::Normal) {
    QFont made(
        u"DejaVu Sans"_s); // it has the signs of a Mac's keys; another font takes its place where it is missing
    made.setPixelSize(pixels);
    made.setWeight(weight);
    return made;
}

const QFont& capFont() {
    static const QFont sFont = font(13);
    return sFont;
}

const QFont& titleFont() {
    static const QFont sFont = font(15);
    return sFont;
}

struct Group {
    QString title;
    std::vector<Entry> entries;

    [[nodiscard]] int height() const {
        return kHeadingHeight + static_cast<int>(entries.size()) * kRowHeight;
    }
};

std::vector<Group> groups() {
    std::vector<Group> list;
    const QList<Entry> entries = byGroup(VKKeySequence::entries());
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (i == 0 || entries[i - 1].group != entries[i].group) {
            list.push_back({VKKeySequence::groupTitle(entries[i].group), {}});
        }
        list.back().entries.push_back(entries[i]);
    }
    return list;
}

int capWidth(const QString& cap) {
    return std::max(kCapHeight, QFontMetrics(capFont()).horizontalAdvance(cap) + 12);
}

int thenWidth() { return QFontMetrics(capFont()).horizontalAdvance(u"then"_s) + 2 * kCapGap; }

/// The keys of one row, painted from `x` on; without a painter they are only measured. Returns where they end.
int layKeys(QPainter* painter, int x, int middle, const Entry& entry, Keyboard keyboard) {
    for (int step = 0; step < entry.sequence.count(); ++step) {
        if (step > 0) {
            if (painter != nullptr) {
                painter->setPen(kQuiet);
                painter->drawText(QRect(x, middle - kRowHeight / 2, thenWidth(), kRowHeight), Qt::AlignCenter,
                                  u"then"_s);
            }
            x += thenWidth() + kCapGap;
        }
        const QStringList caps = keyCaps(entry.sequence[static_cast<uint>(step)], keyboard);
        for (const QString& cap : caps) {
            const QRect face(x, middle - kCapHeight / 2, capWidth(cap), kCapHeight);
            if (painter != nullptr) {
                painter->setPen(Qt::NoPen);
                painter->setBrush(kCapEdge);
                painter->drawRoundedRect(QRectF(face).adjusted(-0.5, 0.5, 0.5, 2), 5, 5);
                painter->setBrush(kCapFace);
                painter->setPen(QPen(kCapEdge, 1));
                painter->drawRoundedRect(QRectF(face).adjusted(0, 0, 0, -0.5), 4.5, 4.5);
                painter->setPen(kInk);
                painter->drawText(face, Qt::AlignCenter, cap);
            }
            x += face.width() + kCapGap;
        }
    }
    return x - kCapGap;
}

/// The widths that fit every row of the table.
struct Widths {
    int title = 0;
    std::array<int, kKeyboards.size()> keys = {};

    [[nodiscard]] int column() const { return title + kCellGap + keys[0] + kCellGap + keys[1]; }
    [[nodiscard]] int keysAt(std::size_t keyboard) const {
        return title + kCellGap + (keyboard == 0 ? 0 : keys[0] + kCellGap);
    }
};

Widths measure(const std::vector<Group>& list) {
    Widths widths;
    for (const Group& group : list) {
        for (const Entry& entry : group.entries) {
            widths.title = std::max(widths.title, QFontMetrics(titleFont()).horizontalAdvance(entry.title()));
            for (std::size_t i = 0; i < kKeyboards.size(); ++i) {
                widths.keys.at(i) =
                    std::max(widths.keys.at(i), layKeys(nullptr, 0, 0, entry, kKeyboards.at(i)));
            }
        }
    }
    return widths;
}

using Columns = std::vector<std::vector<Group>>;

int heightOf(const std::vector<Group>& column) {
    int height = 0;
    for (const Group& group : column) {
        height += (height == 0 ? 0 : kGroupGap) + group.height();
    }
    return height;
}

/// The groups in their order in at most `limit` of height for each column; more columns than there are if it is too low.
Columns fill(const std::vector<Group>& list, int limit) {
    Columns columns(1);
    for (const Group& group : list) {
        if (!columns.back().empty() && heightOf(columns.back()) + kGroupGap + group.height() > limit) {
            columns.emplace_back();
        }
        columns.back().push_back(group);
    }
    return columns;
}

/// The lowest columns that are no more than there may be.
Columns balanced(const std::vector<Group>& list) {
    int limit = heightOf(list) / kColumns;
    while (fill(list, limit).size() > kColumns) {
        limit += kRowHeight / 2;
    }
    return fill(list, limit);
}

void paintRow(QPainter& painter, const QPoint& at, const Entry& entry, const Widths& widths) {
    painter.setPen(kLine);
    painter.drawLine(at.x(), at.y(), at.x() + widths.column(), at.y());
    painter.setPen(kInk);
    painter.setFont(titleFont());
    painter.drawText(QRect(at.x(), at.y(), widths.title + kCellGap, kRowHeight),
                     Qt::AlignVCenter | Qt::AlignLeft, entry.title());
    painter.setFont(capFont());
    for (std::size_t i = 0; i < kKeyboards.size(); ++i) {
        const int x = at.x() + widths.keysAt(i);
        if (isBoundOn(entry, kKeyboards.at(i)) && !entry.sequence.isEmpty()) {
            layKeys(&painter, x, at.y() + kRowHeight / 2, entry, kKeyboards.at(i));
        } else {
            painter.setPen(kQuiet);
            painter.drawText(QRect(x, at.y(), kCapHeight, kRowHeight), Qt::AlignCenter, u"–"_s);
        }
    }
}

int paintGroup(QPainter& painter, QPoint at, const Group& group, const Widths& widths) {
    const QRect heading(at.x(), at.y(), widths.column(), kHeadingHeight - 8);
    painter.setFont(font(18, QFont::DemiBold));
    painter.setPen(kAccent);
    painter.drawText(heading, Qt::AlignVCenter | Qt::AlignLeft, group.title);
    painter.setFont(font(12));
    painter.setPen(kQuiet);
    for (std::size_t i = 0; i < kKeyboards.size(); ++i) {
        painter.drawText(heading.adjusted(widths.keysAt(i), 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft,
                         i == 0 ? u"Mac"_s : u"Windows"_s);
    }
    painter.fillRect(QRect(at.x(), at.y() + kHeadingHeight - 6, widths.column(), 2), kAccent);
    at.ry() += kHeadingHeight - 4;
    for (const Entry& entry : group.entries) {
        paintRow(painter, at, entry, widths);
        at.ry() += kRowHeight;
    }
    return at.y() + kGroupGap + 4;
}

void paintHeader(QPainter& painter, int commands) {
    painter.setPen(kInk);
    painter.setFont(font(34, QFont::Bold));
    painter.drawText(QPoint(kMargin, kMargin + 34), u"Keyboard shortcuts"_s);
    const int x = kMargin + QFontMetrics(painter.font()).horizontalAdvance(u"Keyboard shortcuts"_s) + 24;
    painter.setPen(kQuiet);
    painter.setFont(font(17));
    painter.drawText(QPoint(x, kMargin + 34), u"%1 commands"_s.arg(commands));
}

} // namespace

QImage paintPoster() {
    if (QFontDatabase::families().isEmpty()) {
        return QImage();
    }
    const std::vector<Group> list = groups();
    const Widths widths = measure(list);
    const Columns columns = balanced(list);
    int height = 0;
    std::size_t commands = 0;
    for (const std::vector<Group>& column : columns) {
        height = std::max(height, heightOf(column));
    }
    for (const Group& group : list) {
        commands += group.entries.size();
    }

    const auto count = static_cast<int>(columns.size());
    QImage image(2 * kMargin + count * widths.column() + (count - 1) * kColumnGap,
                 kMargin + kHeaderHeight + height + kMargin, QImage::Format_RGB32);
    image.fill(kPaper);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    paintHeader(painter, static_cast<int>(commands));
    int x = kMargin;
    for (const std::vector<Group>& column : columns) {
        int y = kMargin + kHeaderHeight - 24;
        for (const Group& group : column) {
            y = paintGroup(painter, {x, y}, group, widths);
        }
        x += widths.column() + kColumnGap;
    }
    return image;
}
