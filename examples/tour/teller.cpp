#include "teller.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace tour {

namespace {

constexpr std::string_view indent = "   ";
constexpr std::size_t longest = 90;

std::string padded(const std::string& text, std::size_t width, Column column) {
    const std::string blanks(width - std::min(width, text.size()), ' ');
    return column == Column::number ? blanks + text : text + blanks;
}

} // namespace

void Teller::Part(bool isBlock) {
    if (!isAfterBlank_ && (isBlock || isAfterBlock_))
        terminal_ << '\n';
    isAfterBlank_ = false;
    isAfterBlock_ = isBlock;
}

void Teller::Begin(const std::string& title) {
    report_.Begin(title);
    terminal_ << '\n' << ++steps_ << ". " << title << "\n\n";
    isAfterBlank_ = true;
    isAfterBlock_ = false;
}

void Teller::Paragraph(const std::string& text) {
    report_.Paragraph(text);
    Part(false);
    Print(text);
}

/// In lines that fit on the terminal.
void Teller::Print(const std::string& text) {
    std::istringstream words(text);
    std::string line;
    for (std::string word; words >> word;) {
        if (!line.empty() && indent.size() + line.size() + 1 + word.size() > longest) {
            terminal_ << indent << line << '\n';
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    terminal_ << indent << line << '\n';
}

void Teller::List(const std::vector<std::string>& items) {
    report_.List(items);
    Part(false);
    for (const std::string& item : items)
        terminal_ << indent << indent << item << '\n';
}

void Teller::Quote(const std::string& text) {
    report_.Quote(text);
    Part(true);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        terminal_ << indent << indent << line << '\n';
}

void Teller::Show(const Table& table) {
    report_.Show(table);
    Part(true);
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        widths.push_back(table.heading[i].size());
        for (const std::vector<std::string>& row : table.rows)
            widths[i] = std::max(widths[i], row[i].size());
    }
    const auto print = [&](const std::vector<std::string>& cells) {
        std::string line;
        for (std::size_t i = 0; i < cells.size(); ++i)
            line += (i > 0 ? "   " : "") + padded(cells[i], widths[i], table.columns[i]);
        terminal_ << indent << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
    };
    print(table.heading);
    std::for_each(table.rows.begin(), table.rows.end(), print);
}

void Teller::Draw(const Figure& figure) {
    const int number = report_.Draw(figure);
    Part(true);
    Print(joined("[figure ", number, ": ", figure.caption, ']'));
}

} // namespace tour
