#pragma once

#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "figure.h"
#include "report.h"
#include "table.h"

namespace tour {

/// The parts, printed one after the other.
template<class... T>
std::string joined(const T&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

/// Tells the story twice: as text on a terminal, and with its pictures in the report.
class Teller {
public:
    Teller(std::ostream& terminal, Report& report) : terminal_(terminal), report_(report) {}

    /// The heading of the next step.
    void Begin(const std::string& title);
    /// A paragraph, printed from its parts.
    template<class... T>
    void Say(const T&... parts) {
        Paragraph(joined(parts...));
    }
    void List(const std::vector<std::string>& items);
    /// Text whose blanks and ends of lines matter.
    void Quote(const std::string& text);
    void Show(const Table& table);
    void Draw(const Figure& figure);

private:
    void Paragraph(const std::string& text);
    void Print(const std::string& text);
    /// A blank line between what is of another kind.
    void Part(bool isBlock);

    std::ostream& terminal_;
    Report& report_;
    int steps_ = 0;
    bool isAfterBlank_ = true;
    bool isAfterBlock_ = false;
};

} // namespace tour
