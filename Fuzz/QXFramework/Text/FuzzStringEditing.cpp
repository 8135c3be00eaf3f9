// FuzzStringEditing.cpp - arbitrary sequences of edits beside std::string.

#include "FuzzCheck.h"

#include "QXFramework/Text/StringModel.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string difference = QX::StringModel({data, size}).Run();

    std::fputs(difference.c_str(), stderr);
    FUZZ_CHECK(difference.empty());
    return 0;
}
