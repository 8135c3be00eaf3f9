// DebugCommand.cpp - command lines as a shell takes them.

#include "Tools/Host/DebugCommand.h"

#include "Tools/Common/Text.h"

#include <string_view>

namespace Host {
namespace {

/// The words of a command line, each with a blank before it, and without a time limit.
std::string JoinWords(int count, const char* const* values)
{
    std::string words;
    for (int index = 0; index < count; ++index) {
        const std::string_view word = values[index];
        if (word == "--time-limit") {
            ++index;
        } else if (!word.starts_with("--time-limit=")) {
            words += " " + Tools::QuoteForShell(values[index]);
        }
    }
    return words;
}

} // namespace

std::string MakeDebugCommand(int count, const char* const* values)
{
    return "gdb --args" + JoinWords(count, values) + " --in-process";
}

std::string MakeDebugCommandForChildren(int count, const char* const* values)
{
    return "gdb -ex 'set detach-on-fork off' -ex 'set schedule-multiple on' --args" +
           JoinWords(count, values) + " --time-limit 86400";
}

} // namespace Host
