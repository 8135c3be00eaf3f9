// File.cpp - reading through the C library, which says why a read fails.

#include "Tools/Common/File.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace Tools {

std::string ReadWholeFile(const std::string& name, std::string& bytes)
{
    const bool isStandardInput = name == "-";
    std::FILE* const file = isStandardInput ? stdin : std::fopen(name.c_str(), "rb");
    if (file == nullptr) {
        return std::strerror(errno);
    }
    char block[4096];
    std::size_t count = 0;
    bytes.clear();
    while (bytes.size() <= kLargestFile && (count = std::fread(block, 1, sizeof block, file)) > 0) {
        bytes.append(block, count);
    }
    std::string failure = std::ferror(file) != 0 ? std::strerror(errno) : "";
    if (!isStandardInput) {
        std::fclose(file);
    }
    if (failure.empty() && bytes.size() > kLargestFile) {
        failure = "it is longer than 16 megabytes";
    }
    return failure;
}

} // namespace Tools
