#pragma once

// What a call refuses, as text that tests compare.

#include <string>

#include "dataprocessing/base/expt.h"

/// "unit:line" of the program exception that the call throws, "none" when it throws nothing.
template<class Call>
std::string refusalOf(Call call) {
    try {
        call();
    } catch (const expt_cProgramException& refusal) {
        return std::string(refusal.SourceFile().Text()) + ":" + std::to_string(refusal.Line());
    }
    return "none";
}

/// "unit:line: message" of a user's exception that the call throws, "other" for others.
template<class Call>
std::string userRefusalOf(Call call) {
    try {
        call();
    } catch (const expt_cUserException& refusal) {
        return std::string(refusal.SourceFile().Text()) + ":" + std::to_string(refusal.Line()) +
               ": " + refusal.Message().Text();
    } catch (const std::exception&) {
        return "other";
    }
    return "none";
}

inline const std::string indexRefusal = "arr:1";
inline const std::string sizeRefusal = "arr:2";
