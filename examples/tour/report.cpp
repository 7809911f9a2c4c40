#include "report.h"

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "drawing/markup.h"
#include "input_error.h"
#include "picture.h"
#include "report_style.h"

namespace tour {

namespace {

using drawing::escaped;

std::string diagramWithKey(const Diagram& diagram, Room room) {
    std::string html = drawn(diagram, room);
    if (diagram.curves.size() < 2)
        return html;
    html += "<ul class=\"key\">";
    for (std::size_t i = 0; i < diagram.curves.size(); ++i)
        html += "<li>" + swatch(diagram.curves[i], i) + escaped(diagram.curves[i].name) + "</li>";
    return html + "</ul>\n";
}

std::string tile(const Part& part) {
    const Panel* panel = std::get_if<Panel>(&part);
    const std::string& title =
        panel != nullptr ? panel->title : std::get<Diagram>(part).frame.title;
    return "<div class=\"tile\">\n<p class=\"title\">" + escaped(title) + "</p>\n" +
           (panel != nullptr ? drawn(*panel)
                             : diagramWithKey(std::get<Diagram>(part), Room::half)) +
           "</div>\n";
}

bool isOfDiagrams(const Figure& figure) {
    for (const Part& part : figure.parts)
        if (!std::holds_alternative<Diagram>(part))
            return false;
    return true;
}

std::string row(const std::vector<std::string>& cells, const std::vector<Column>& columns,
                std::string_view tag) {
    std::string html = "<tr>";
    for (std::size_t i = 0; i < cells.size(); ++i) {
        html += '<' + std::string(tag) + (tag == "th" ? " scope=\"col\"" : "") +
                (columns[i] == Column::number ? " class=\"number\">" : ">") + escaped(cells[i]) +
                "</" + std::string(tag) + '>';
    }
    return html + "</tr>\n";
}

} // namespace

Report::Report(const std::string& file) : file_(file), unfinished_(file + ".part") {
    std::error_code ignored;
    if (std::filesystem::is_directory(file, ignored))
        throw InputError("cannot write " + quoted(file, 200) + ": Is a directory");
    errno = 0;
    stream_.open(unfinished_.Name(), std::ios::binary);
    if (!stream_)
        throw InputError("cannot write " + quoted(file, 200) + ": " +
                         std::generic_category().message(errno));
}

void Report::Begin(const std::string& title) {
    if (!titles_.empty())
        steps_ += "</section>\n";
    titles_.push_back(title);
    const std::string number = std::to_string(titles_.size());
    steps_ +=
        "<section id=\"step-" + number + "\">\n<h2>" + number + ". " + escaped(title) + "</h2>\n";
}

void Report::Paragraph(std::string_view text) { Place() += "<p>" + escaped(text) + "</p>\n"; }

void Report::List(const std::vector<std::string>& items) {
    Place() += "<ul>\n";
    for (const std::string& item : items)
        Place() += "<li>" + escaped(item) + "</li>\n";
    Place() += "</ul>\n";
}

void Report::Quote(std::string_view text) {
    Place() += "<pre tabindex=\"0\">" + escaped(text) + "</pre>\n";
}

void Report::Show(const Table& table) {
    Place() += "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"" +
               escaped(table.caption) + "\">\n<table>\n<caption>" + escaped(table.caption) +
               "</caption>\n<thead>\n" + row(table.heading, table.columns, "th") +
               "</thead>\n<tbody>\n";
    for (const std::vector<std::string>& cells : table.rows)
        Place() += row(cells, table.columns, "td");
    Place() += "</tbody>\n</table>\n</div>\n";
}

int Report::Draw(const Figure& figure) {
    std::string& html = Place();
    html += "<figure>\n";
    if (isOfDiagrams(figure)) {
        Room room = Room::wide;
        for (const Part& part : figure.parts) {
            html += diagramWithKey(std::get<Diagram>(part), room);
            room = Room::low;
        }
    } else {
        html += "<div class=\"tiles\">\n";
        for (const Part& part : figure.parts)
            html += tile(part);
        html += "</div>\n";
    }
    ++figures_;
    html += "<figcaption><b>Figure " + std::to_string(figures_) + ".</b> " +
            escaped(figure.caption) + "</figcaption>\n</figure>\n";
    return figures_;
}

void Report::Finish() {
    stream_ << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\"/>\n"
            << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
            << "<meta name=\"color-scheme\" content=\"light dark\"/>\n"
            << "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
            << "style-src 'unsafe-inline'; img-src data:\"/>\n"
            << "<title>A tour of DataProcessing</title>\n<style>\n"
            << reportStyle << "</style>\n</head>\n<body>\n<header>\n"
            << "<h1>A tour of DataProcessing</h1>\n"
            << introduction_ << "</header>\n<nav aria-label=\"Contents\">\n<ol>\n";
    for (std::size_t i = 0; i < titles_.size(); ++i)
        stream_ << "<li><a href=\"#step-" << i + 1 << "\">" << escaped(titles_[i]) << "</a></li>\n";
    stream_ << "</ol>\n</nav>\n<main>\n"
            << steps_ << (titles_.empty() ? "" : "</section>\n") << "</main>\n</body>\n</html>\n";
    stream_.close();
    std::error_code error;
    if (stream_)
        std::filesystem::rename(unfinished_.Name(), file_, error);
    if (!stream_ || error)
        throw std::runtime_error(quoted(file_, 200) + " could not be written");
}

} // namespace tour
