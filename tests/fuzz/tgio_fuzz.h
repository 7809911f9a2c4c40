#pragma once

// What both forms of tagged streams have to stand: any bytes may be skipped and read, and what was
// read writes, and reads back to the same.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "tests/exchange/tgio_sample.h"

template<class Form, class Writer>
std::string writtenSample(const cSample& sample) {
    std::ostringstream bytes;
    Writer out(bytes);
    if (!Form::Write(out, sample, childField))
        std::abort();
    return bytes.str();
}

template<class Form, class Reader, class Writer>
void readAnything(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);

    std::istringstream skipped(input);
    Reader skipping(skipped);
    while (skipping.NextField())
        skipping.SkipObject();

    std::istringstream bytes(input);
    Reader in(bytes);
    cSample sample;
    if (!in.Read(sample))
        return;
    const std::string once = writtenSample<Form, Writer>(sample);
    std::istringstream again(once);
    Reader back(again);
    cSample copy;
    if (!back.Read(copy) || writtenSample<Form, Writer>(copy) != once)
        std::abort();
}
