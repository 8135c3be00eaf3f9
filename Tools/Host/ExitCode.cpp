// ExitCode.cpp - the end of the host when its output goes nowhere.

#include "Tools/Host/ExitCode.h"

#include "Tools/Common/Terminal.h"

#include <csignal>
#include <unistd.h>

namespace Host {
namespace {

void EndIfReaderGone(int number)
{
    if (Tools::AwaitReaderGone(0)) {
        _exit(kExitReaderGone);
    }
    // Something else was written to: the signal does what it does to any process.
    std::signal(number, SIG_DFL);
    std::raise(number);
}

} // namespace

int Conclude(int exitCode)
{
    return Tools::ConcludeOutput("qxhost", exitCode, kExitUnwritten, kExitReaderGone);
}

void EndWithoutReader()
{
    std::signal(SIGPIPE, EndIfReaderGone);
}

} // namespace Host
