#pragma once

// What a call refuses, as text that tests compare.

#include <exception>
#include <string>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/expt.h"

inline std::string placeOf(const expt_cProgramException& refusal) {
    return std::string(refusal.SourceFile().Text()) + ":" + std::to_string(refusal.Line());
}

/// "unit:line" of the program exception that the call throws, "none" when it throws nothing.
template<class Call>
std::string refusalOf(Call call) {
    try {
        call();
    } catch (const expt_cProgramException& refusal) {
        return placeOf(refusal);
    }
    return "none";
}

/// "unit:line: message" of a user's exception that the call throws, "other" for others.
template<class Call>
std::string userRefusalOf(Call call) {
    try {
        call();
    } catch (const expt_cUserException& refusal) {
        return placeOf(refusal) + ": " + refusal.Message().Text();
    } catch (const std::exception&) {
        return "other";
    }
    return "none";
}

/// "kind unit:line" of the library's exception that the call throws, with the message where it is a
/// user's; "" for none.
template<class Call>
std::string refusalWithKindOf(Call call) {
    try {
        call();
    } catch (const expt_cUserException& refusal) {
        return "user " + placeOf(refusal) + " " + refusal.Message().Text();
    } catch (const arr_cSizeException& refusal) {
        return "size " + placeOf(refusal);
    } catch (const arr_cIndexException& refusal) {
        return "index " + placeOf(refusal);
    } catch (const expt_cProgramException& refusal) {
        return "program " + placeOf(refusal);
    }
    return "";
}

inline const std::string indexRefusal = "arr:1";
inline const std::string sizeRefusal = "arr:2";
