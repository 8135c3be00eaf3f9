// Terminal.cpp - colours and lines on the standard output.

#include "Tools/Common/Terminal.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <unistd.h>

namespace Tools {
namespace {

std::FILE* gOutput = nullptr;
std::FILE* gErrors = nullptr;

std::FILE* GetOutput()
{
    return gOutput != nullptr ? gOutput : stdout;
}

} // namespace

void SetOutput(std::FILE* output, std::FILE* errors)
{
    gOutput = output;
    gErrors = errors;
}

std::FILE* GetErrors()
{
    return gErrors != nullptr ? gErrors : stderr;
}

bool IsOutputTerminal()
{
    return isatty(fileno(GetOutput())) == 1;
}

bool IsErrorTerminal()
{
    return isatty(fileno(GetErrors())) == 1;
}

bool WantsColours()
{
    const char* const refusal = std::getenv("NO_COLOR");
    if (refusal != nullptr && *refusal != '\0') {
        return false;
    }
    const char* const terminal = std::getenv("TERM");
    const bool isDumb = terminal == nullptr || std::string_view(terminal) == "dumb";
    return !isDumb && IsOutputTerminal();
}

std::string Paint(std::string_view text, Colour colour, bool isColoured)
{
    if (!isColoured) {
        return std::string(text);
    }
    static constexpr const char* kCodes[] = {"\x1B[32m", "\x1B[31m", "\x1B[2m", "\x1B[1m"};
    return kCodes[static_cast<std::size_t>(colour)] + std::string(text) + "\x1B[0m";
}

void Print(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), GetOutput());
}

void PrintLine(std::string_view line)
{
    Print(line);
    std::fputc('\n', GetOutput());
    std::fflush(GetOutput());
}

bool IsOutputWritten()
{
    return std::ferror(GetOutput()) == 0;
}

bool AwaitReaderGone(int milliseconds)
{
    // A hang-up is told without being asked for; a file never has one.
    pollfd output = {fileno(GetOutput()), 0, 0};
    while (poll(&output, 1, milliseconds) < 0 && errno == EINTR) {
    }
    return (output.revents & (POLLERR | POLLHUP)) != 0;
}

void ShowUnwrittenOutput(const char* tool)
{
    std::fprintf(GetErrors(), "%s: the standard output could not be written\n", tool);
}

int ConcludeOutput(const char* tool, int exitCode, int unwritten, int readerGone)
{
    std::fflush(GetOutput());
    if (IsOutputWritten()) {
        return exitCode;
    }
    if (AwaitReaderGone(0)) {
        return readerGone;
    }
    ShowUnwrittenOutput(tool);
    return unwritten;
}

} // namespace Tools
