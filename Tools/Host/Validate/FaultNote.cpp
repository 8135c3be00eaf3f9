// FaultNote.cpp - handlers of the signals that end a process.

#include "Tools/Host/Validate/FaultNote.h"

#include "Tools/Common/Text.h"
#include "Tools/Host/Validate/LentBuffer.h"

#include <csignal>
#include <cstdint>
#include <cstdio>

namespace Validate {
namespace {

constexpr struct
{
    int number;
    const char* text;
} kSignals[] = {
    {SIGSEGV, "SIGSEGV, an invalid memory access"},
    {SIGBUS, "SIGBUS, an invalid memory access"},
    {SIGABRT, "SIGABRT, it gave up"},
    {SIGFPE, "SIGFPE, an impossible calculation"},
    {SIGILL, "SIGILL, an invalid instruction"},
    {SIGTRAP, "SIGTRAP, a trap"},
    {SIGSYS, "SIGSYS, a bad system call"},
    {SIGPIPE, "SIGPIPE, a write to an end that is closed"},
    {SIGXFSZ, "SIGXFSZ, a file that grows too long"},
    {SIGXCPU, "SIGXCPU, too much processor time"},
    {SIGKILL, "SIGKILL"},
    {SIGTERM, "SIGTERM"},
};

Verdict* gVerdict = nullptr;

void Note(int number, siginfo_t* info, void*)
{
    gVerdict->signal = number;
    if (number == SIGSEGV || number == SIGBUS) {
        char place[160];
        LentBuffer::DescribeAddress(info->si_addr, place, sizeof place);
        const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
        if (place[0] != '\0') {
            std::snprintf(gVerdict->fault, sizeof gVerdict->fault, "%s", place);
        } else if (address < 4096) {
            std::snprintf(gVerdict->fault, sizeof gVerdict->fault,
                          "through a null pointer (address %u)", static_cast<unsigned>(address));
        } else {
            std::snprintf(gVerdict->fault, sizeof gVerdict->fault, "address %p", info->si_addr);
        }
    }
    // SA_RESETHAND has put the default action back: a fault takes place again and ends the process.
    raise(number);
}

} // namespace

void NoteFaults(Verdict& verdict)
{
    // A stack of its own, or an endless recursion could not be noted.
    static unsigned char sStack[65536];
    stack_t stack = {};
    stack.ss_sp = sStack;
    stack.ss_size = sizeof sStack;
    sigaltstack(&stack, nullptr);
    gVerdict = &verdict;
    struct sigaction action = {};
    action.sa_sigaction = Note;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | static_cast<int>(SA_RESETHAND);
    for (const auto& known : kSignals) {
        if (known.number != SIGKILL && known.number != SIGTERM) {
            sigaction(known.number, &action, nullptr);
        }
    }
}

std::string DescribeSignal(int number)
{
    for (const auto& known : kSignals) {
        if (known.number == number) {
            return known.text;
        }
    }
    return Tools::FormatText("signal %d", number);
}

} // namespace Validate
