// Aligned columns for people.
#pragma once

#include "Output.h"

#include <QString>

#include <optional>
#include <vector>

namespace VKTool {

/// Rows of cells under a header. Every column but the last is as wide as its widest cell; wide characters
/// count as the two cells that they take.
class Table {
public:
    enum Align { Left, Right };

    struct Cell {
        QString text;                    ///< Harmless for a terminal already: see shown().
        std::optional<Style> style = {}; ///< None for plain text.
        QString after = {};              ///< Follows the text, quietly.
    };

    void addColumn(const QString& title, Align align);
    void addRow(std::vector<Cell> cells);

    [[nodiscard]] bool isEmpty() const { return mRows.empty(); }

    void write(Output& output) const;

private:
    struct Column {
        QString title;
        Align align;
        int width;
    };

    std::vector<Column> mColumns;
    std::vector<std::vector<Cell>> mRows;
};

} // namespace VKTool
