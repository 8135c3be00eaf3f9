// OpenedFiles.cpp - open, fopen and the like, replaced.
//
// The program exports them (see CMakeLists.txt), so that libraries that are loaded later find these
// before the C library's.

#include "Tools/Host/Validate/OpenedFiles.h"

#ifdef __linux__

#include <CoreFoundation/CoreFoundation.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

std::atomic<bool> gIsWatching;
std::atomic<bool> gHasFirst;
char gFirst[512];
char gImage[512];

/// Tells whether code of the platform itself is at an address.
bool IsOfPlatform(const void* code)
{
    Dl_info caller = {};
    Dl_info platform = {};
    return dladdr(code, &caller) != 0 &&
           dladdr(reinterpret_cast<void*>(CFMessagePortCreateRemote), &platform) != 0 &&
           caller.dli_fbase == platform.dli_fbase;
}

void Note(const char* path, const void* code)
{
    if (gIsWatching && std::strcmp(path, gImage) != 0 && !IsOfPlatform(code) &&
        !gHasFirst.exchange(true)) {
        std::strncpy(gFirst, path, sizeof gFirst - 1);
    }
}

/// The C library's function of that name.
template <class Function>
Function* FindNext(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

using OpenFunction = int(const char*, int, mode_t);
using OpenAtFunction = int(int, const char*, int, mode_t);
using FileFunction = std::FILE*(const char*, const char*);

} // namespace

// The mode is there only if the flags ask for it; otherwise it is ignored, whatever it is.
#define QX_REPLACE_OPEN(name)                                                                      \
    EXPORTED int name(const char* path, int flags, ...)                                            \
    {                                                                                              \
        static OpenFunction* const next = FindNext<OpenFunction>(#name);                           \
        Note(path, __builtin_return_address(0));                                                   \
        std::va_list arguments;                                                                    \
        va_start(arguments, flags);                                                                \
        const mode_t mode = static_cast<mode_t>(va_arg(arguments, unsigned));                      \
        va_end(arguments);                                                                         \
        return next(path, flags, mode);                                                            \
    }
#define QX_REPLACE_OPENAT(name)                                                                    \
    EXPORTED int name(int folder, const char* path, int flags, ...)                                \
    {                                                                                              \
        static OpenAtFunction* const next = FindNext<OpenAtFunction>(#name);                       \
        Note(path, __builtin_return_address(0));                                                   \
        std::va_list arguments;                                                                    \
        va_start(arguments, flags);                                                                \
        const mode_t mode = static_cast<mode_t>(va_arg(arguments, unsigned));                      \
        va_end(arguments);                                                                         \
        return next(folder, path, flags, mode);                                                    \
    }
#define QX_REPLACE_FOPEN(name)                                                                     \
    EXPORTED std::FILE* name(const char* path, const char* mode)                                   \
    {                                                                                              \
        static FileFunction* const next = FindNext<FileFunction>(#name);                           \
        Note(path, __builtin_return_address(0));                                                   \
        return next(path, mode);                                                                   \
    }

QX_REPLACE_OPEN(open)
QX_REPLACE_OPEN(open64)
QX_REPLACE_OPENAT(openat)
QX_REPLACE_OPENAT(openat64)
QX_REPLACE_FOPEN(fopen)
QX_REPLACE_FOPEN(fopen64)

namespace Validate {

OpenedFiles::OpenedFiles(const std::string& image)
{
    gHasFirst = false;
    gFirst[0] = '\0';
    std::strncpy(gImage, image.c_str(), sizeof gImage - 1);
    gIsWatching = true;
}

OpenedFiles::~OpenedFiles()
{
    gIsWatching = false;
}

std::string OpenedFiles::GetFirst() const
{
    return gFirst;
}

} // namespace Validate

#else

namespace Validate {

OpenedFiles::OpenedFiles(const std::string&) {}
OpenedFiles::~OpenedFiles() = default;

std::string OpenedFiles::GetFirst() const
{
    return "";
}

} // namespace Validate

#endif
