// File.cpp - reading through the C library, which says why a read fails.

#include "Tools/Common/File.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace Tools {
namespace {

bool Examine(const std::string& name, struct stat& info)
{
    return (name == "-" ? fstat(STDIN_FILENO, &info) : stat(name.c_str(), &info)) == 0;
}

} // namespace

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

bool IsSameFile(const std::string& first, const std::string& second)
{
    struct stat one = {};
    struct stat other = {};
    // A device is not changed by what is written to it.
    return Examine(first, one) && Examine(second, other) && S_ISREG(one.st_mode) &&
           one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

} // namespace Tools
