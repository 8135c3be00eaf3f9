// ProcessFacts.cpp - asks the C library, or the sanitizer's heap, and /proc.

#include "Tools/Host/Validate/ProcessFacts.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#ifndef __has_feature
#define __has_feature(feature) 0 // GCC defines macros instead
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) ||                               \
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QX_SANITIZER_HEAP 1
// GCC has the function, but no header for it.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#elif defined(__GLIBC__)
#include <malloc.h>
#endif

namespace Validate {

std::size_t CountHeapBytes()
{
#if defined(QX_SANITIZER_HEAP)
    return __sanitizer_get_current_allocated_bytes();
#elif defined(__GLIBC__)
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#else
    return 0;
#endif
}

std::map<int, std::string> ListDescriptors()
{
    namespace fs = std::filesystem;
    std::map<int, std::string> descriptors;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd", error)) {
        const std::string target = fs::read_symlink(entry.path(), error).string();
        // The listing itself needs one.
        if (!error && target.find("/fd") == std::string::npos) {
            descriptors[std::atoi(entry.path().filename().c_str())] = target;
        }
    }
    return descriptors;
}

} // namespace Validate
