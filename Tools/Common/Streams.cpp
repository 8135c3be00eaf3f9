// Streams.cpp - finds the standard streams that are closed.

#include "Tools/Common/Streams.h"

#include "Tools/Common/Terminal.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace Tools {

bool OpenMissingStreams(const char* tool)
{
    bool hasOutput = true;
    // In this order: a file gets the lowest number that is free.
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0 && errno == EBADF) {
            open("/dev/null", O_RDWR);
            hasOutput = hasOutput && stream != STDOUT_FILENO;
        }
    }
    if (!hasOutput) {
        ShowUnwrittenOutput(tool);
    }
    return hasOutput;
}

} // namespace Tools
