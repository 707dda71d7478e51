#include "ctl/Table.h"

#include <algorithm>
#include <utility>

#include "platform/PrintableText.h"
#include "platform/Text.h"

namespace quillbay::ctl {

namespace {

constexpr std::size_t gap = 2;

/// Blanks up to the next column; none after the last.
std::string padding(const std::string& text, std::size_t column, const std::vector<std::size_t>& widths) {
    if (column + 1 == widths.size()) return {};
    return std::string(widths[column] + gap - characterCount(text), ' ');
}

}  // namespace

Table::Cell::Cell(const std::string& cellText, Style::Colour cellColour)
    : text(printable(cellText)), colour(cellColour) {}

Table::Table(std::vector<std::string> headings, Style style)
    : headings_(std::move(headings)), style_(style) {}

void Table::add(std::vector<Cell> row) {
    rows_.push_back(std::move(row));
}

std::string Table::text() const {
    std::vector<std::size_t> widths;
    widths.reserve(headings_.size());
    for (const std::string& heading : headings_)
        widths.push_back(characterCount(heading));
    for (const auto& row : rows_)
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], characterCount(row[column].text));

    std::string lines;
    for (std::size_t column = 0; column < headings_.size(); ++column)
        lines += style_.bold(headings_[column]) + padding(headings_[column], column, widths);
    lines += "\n";
    for (const auto& row : rows_) {
        for (std::size_t column = 0; column < row.size(); ++column)
            lines +=
                style_.in(row[column].colour, row[column].text) + padding(row[column].text, column, widths);
        // Empty cells at the end of a row.
        lines.erase(lines.find_last_not_of(' ') + 1);
        lines += "\n";
    }
    return lines;
}

}  // namespace quillbay::ctl
