// Widths are counted in terminal cells and before the colours are added.
#include "Table.h"

#include "Text.h"

#include <algorithm>

namespace VKTool {

using namespace Qt::StringLiterals;

void Table::addColumn(const QString& title, Align align) {
    mColumns.push_back({title, align, displayWidth(title)});
}

void Table::addRow(std::vector<Cell> cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
        mColumns[i].width = std::max(mColumns[i].width, displayWidth(cells[i].text));
    }
    mRows.push_back(std::move(cells));
}

void Table::write(Output& output) const {
    const auto writeLine = [&](auto&& cellAt) {
        QString line;
        for (std::size_t i = 0; i < mColumns.size(); ++i) {
            const Column& column = mColumns[i];
            const Cell cell = cellAt(i);
            const QString blanks(std::max(0, column.width - displayWidth(cell.text)), u' ');
            const QString text = cell.style ? output.styled(*cell.style, cell.text) : cell.text;
            const bool last = i + 1 == mColumns.size();
            line += column.align == Right ? blanks + text : text + (last ? QString() : blanks);
            if (!cell.after.isEmpty()) {
                line += output.styled(Style::Quiet, cell.after);
            }
            line += last ? u"\n"_s : u"  "_s;
        }
        output.write(line);
    };
    writeLine([this](std::size_t i) { return Cell{.text = mColumns[i].title, .style = Style::Quiet}; });
    for (const std::vector<Cell>& row : mRows) {
        if (!output.isOpen()) {
            return;
        }
        writeLine([&row](std::size_t i) { return row[i]; });
    }
}

} // namespace VKTool
