#pragma once

#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "figure.h"
#include "table.h"
#include "unfinished_file.h"

namespace tour {

/// One HTML page with all that the tour tells and shows. It holds its style and its pictures, and
/// asks nothing from anywhere. It is well-formed XML too.
class Report {
public:
    /// Begins the file beside its place, which it takes at the end; an InputError says why it
    /// cannot. Nothing is left of a report that has not been finished.
    explicit Report(const std::string& file);

    /// The heading of the next step.
    void Begin(const std::string& title);
    void Paragraph(std::string_view text);
    void List(const std::vector<std::string>& items);
    /// Text whose blanks and ends of lines matter.
    void Quote(std::string_view text);
    void Show(const Table& table);
    /// Returns the number of the figure.
    int Draw(const Figure& figure);

    /// Writes the page, and puts it in its place.
    void Finish();

private:
    std::string file_;
    UnfinishedFile unfinished_; ///< which becomes `file_` at the end
    std::ofstream stream_;
    std::string introduction_;
    std::vector<std::string> titles_;
    std::string steps_;
    int figures_ = 0;

    /// Where something is added: before the contents as long as no step has begun.
    std::string& Place() { return titles_.empty() ? introduction_ : steps_; }
};

} // namespace tour
