#pragma once

#include <string>
#include <vector>

#include "ctl/Style.h"

namespace quillbay::ctl {

/// Rows of text below headings, in columns as wide as what stands in them. Cells are made printable.
class Table {
 public:
    struct Cell {
        std::string text;
        Style::Colour colour = Style::Colour::none;
        // Implicit, for the many cells that are only text.
        Cell(const std::string& cellText, Style::Colour cellColour = Style::Colour::none);
        Cell(const char* cellText) : Cell(std::string(cellText)) {}
    };

    Table(std::vector<std::string> headings, Style style);

    /// As many cells as there are headings.
    void add(std::vector<Cell> row);

    /// Whole lines.
    [[nodiscard]] std::string text() const;

 private:
    std::vector<std::string> headings_;
    std::vector<std::vector<Cell>> rows_;
    Style style_;
};

}  // namespace quillbay::ctl
