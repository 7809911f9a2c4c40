#pragma once

// Refusals that a test expects and looks at.

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/refusal.h"

/// The exception that the call ends in; fails the test when it ends in none.
template<class Exception, class Call>
Exception caught(Call call) {
    try {
        call();
    } catch (const Exception& refusal) {
        return refusal;
    }
    throw std::logic_error("nothing was refused");
}

/// Expects one unit to refuse something: by an exception of the program or of the user with a text,
/// at a line.
class ExpectRefusal {
public:
    enum eCause { Program, User };

    explicit ExpectRefusal(const char* unit, eCause cause = Program) : unit_(unit), cause_(cause) {}

    template<class Call>
    void operator()(int line, Call call) const {
        try {
            call();
            ADD_FAILURE() << "line " << line;
        } catch (const expt_cProgramException& refusal) {
            EXPECT_EQ(placeOf(refusal), unit_ + ":" + std::to_string(line));
            EXPECT_EQ(dynamic_cast<const expt_cUserException*>(&refusal) != nullptr,
                      cause_ == User);
            EXPECT_NE(std::string(refusal.what()).find(": "), std::string::npos);
        }
    }

private:
    std::string unit_;
    eCause cause_;
};
