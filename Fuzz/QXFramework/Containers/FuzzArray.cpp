// FuzzArray.cpp - arbitrary operations on a smart-pointer array beside a standard vector.

#include "FuzzCheck.h"
#include "QXFramework/Containers/RCPtrArrayModel.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    for (const std::string& difference : {QX::RCPtrArrayModel<1, 0>().Run({data, size}),
                                          QX::RCPtrArrayModel<8, 4>().Run({data, size})}) {
        std::fputs(difference.c_str(), stderr);
        FUZZ_CHECK(difference.empty());
    }
    return 0;
}
