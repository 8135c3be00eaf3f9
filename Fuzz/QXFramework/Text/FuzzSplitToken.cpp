// FuzzSplitToken.cpp - tokens of arbitrary texts beside the C library's tokenizer.
//
// The input is the delimiters, a NUL and the text.

#include "FuzzCheck.h"

#include <QX/String.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string delimiters(input.c_str());
    std::string text(input.substr(std::min(delimiters.size() + 1, size)).c_str());
    QX::String remaining(text.c_str());

    do {
        std::string scratch = text + '\0';
        char* state = nullptr;
        const char* const token = strtok_r(scratch.data(), delimiters.c_str(), &state);
        const std::size_t used = std::strlen(scratch.c_str());
        QX::String first = remaining;

        remaining = first.SplitToken(delimiters.c_str());

        FUZZ_CHECK(first == (token != nullptr ? token : ""));
        text = text.size() > used ? scratch.c_str() + used + 1 : "";
        FUZZ_CHECK(remaining == text);
    } while (!text.empty());
    return 0;
}
