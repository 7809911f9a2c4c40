#pragma once

// Records of values and of fits, as tests save and load them.

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "dataprocessing/valuemodel/rcrd.h"
#include "tests/support/refusal.h"

constexpr rcrd_eForm forms[] = {rcrd_Binary, rcrd_Text};

const std::string damaged = "rcrd:7: The record is damaged or ends too early.";

template<class Value>
std::string saved(const Value& value, rcrd_eForm form) {
    std::ostringstream stream;
    rcrd_Save(stream, value, form);
    return stream.str();
}

/// What loading `bytes` into a copy of `target` refuses; all that `contentOf` sees of the target
/// has to stay as it was.
template<class Value, class ContentOf>
std::string refusalOfLoading(const std::string& bytes, const Value& target, ContentOf contentOf) {
    std::istringstream stream(bytes);
    Value copy(target);
    std::string refusal = userRefusalOf([&] { rcrd_Load(stream, copy); });
    if (refusal != "none") {
        EXPECT_EQ(contentOf(copy), contentOf(target));
    }
    return refusal;
}
