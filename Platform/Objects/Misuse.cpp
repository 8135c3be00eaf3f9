// Misuse.cpp - the message and the abort.

#include "Objects/Misuse.h"

#include <cstdlib>
#include <cstring>
#include <sys/uio.h>
#include <unistd.h>

namespace Standin {

namespace {

iovec Part(const char* text)
{
    iovec part{};
    part.iov_base = const_cast<char*>(text);
    part.iov_len = std::strlen(text);
    return part;
}

} // namespace

void Misuse(const char* call, const char* what, const char* detail)
{
    const iovec parts[] = {Part("Platform: "), Part(call),   Part(": "),
                           Part(what),         Part(detail), Part("\n")};
    // Nothing is left to do if the message cannot be written.
    [[maybe_unused]] const ssize_t written = writev(STDERR_FILENO, parts, 6);
    std::abort();
}

} // namespace Standin
