// Memory.cpp - the handler of requests that cannot be met.

#include "Tools/Common/Memory.h"

#include <cstdio>
#include <cstdlib>
#include <new>

namespace Tools {
namespace {

const char* gMessage = nullptr;
int gExitCode = 0;

[[noreturn]] void End()
{
    std::fputs(gMessage, stderr);
    // Each line has gone out when it was complete; nothing that may need memory runs any more.
    std::_Exit(gExitCode);
}

} // namespace

void EndWithoutMemory(const char* message, int exitCode)
{
    gMessage = message;
    gExitCode = exitCode;
    std::set_new_handler(End);
}

} // namespace Tools
