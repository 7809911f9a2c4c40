#include "dataprocessing/base/expt.h"

#include <string>

struct expt_cProgramException::sDetail {
    str_cString sourceFile;
    int line;
    str_cString message;
    std::string what;
};

expt_cProgramException::expt_cProgramException(const str_cString& sourceFile, int line)
    : expt_cProgramException(sourceFile, line, str_cString::Null) {}

expt_cProgramException::expt_cProgramException(const str_cString& sourceFile, int line,
                                               const str_cString& message) {
    std::string what = std::string(sourceFile.Text()) + ":" + std::to_string(line);
    if (message.Length() > 0)
        what += std::string(": ") + message.Text();
    detail_ = std::make_shared<const sDetail>(sDetail{sourceFile, line, message, std::move(what)});
}

expt_cProgramException::~expt_cProgramException() = default;

const str_cString& expt_cProgramException::SourceFile() const noexcept {
    return detail_->sourceFile;
}
int expt_cProgramException::Line() const noexcept { return detail_->line; }
const char* expt_cProgramException::what() const noexcept { return detail_->what.c_str(); }
const str_cString& expt_cProgramException::MessageText() const noexcept { return detail_->message; }

expt_cUserException::expt_cUserException(const str_cString& sourceFile, int line,
                                         const str_cString& message)
    : expt_cProgramException(sourceFile, line, message) {}

expt_cUserException::~expt_cUserException() = default;
