// PortExtras.cpp - the one file of the tools that knows more than the platform's own calls.

#include "Tools/Common/PortExtras.h"

#if __has_include(<Standin/Standin.h>)

#include "Tools/Common/Text.h"

#include <Standin/Standin.h>
#include <fstream>
#include <limits>

namespace Tools {

std::string DescribePortHolder(CFStringRef name)
{
    const SInt32 process = StandinGetPortHolder(name);
    if (process == 0) {
        return "";
    }
    const std::string program = GetProgramName(process);
    return FormatText("process %d", static_cast<int>(process)) +
           (program.empty() ? "" : " (" + EscapeControls(program) + ")");
}

std::string DescribePortFault()
{
    const CFStringRef fault = StandinCopyPortFault();
    if (fault == nullptr) {
        return "";
    }
    std::string text(256, '\0');
    while (!CFStringGetCString(fault, text.data(), static_cast<CFIndex>(text.size()),
                               kCFStringEncodingUTF8)) {
        text.resize(2 * text.size());
    }
    CFRelease(fault);
    return EscapeControls(text.c_str());
}

std::size_t RefuseSenders(CFMessagePortRef port)
{
    StandinRefuseSenders(port);
    return std::numeric_limits<std::size_t>::max();
}

SInt32 GetSender(CFMessagePortRef port)
{
    return StandinGetSender(port);
}

std::string GetProgramName(SInt32 process)
{
    std::string program;
    std::ifstream file(FormatText("/proc/%d/comm", static_cast<int>(process)));
    std::getline(file, program);
    return program;
}

} // namespace Tools

#else

namespace Tools {

std::string DescribePortHolder(CFStringRef)
{
    return "";
}

std::string DescribePortFault()
{
    return "";
}

std::size_t RefuseSenders(CFMessagePortRef)
{
    // The platform's queue holds this many.
    return 5;
}

SInt32 GetSender(CFMessagePortRef)
{
    return 0;
}

std::string GetProgramName(SInt32)
{
    return "";
}

} // namespace Tools

#endif
