// PortExtras.cpp - the one file of the tools that knows more than the platform's own calls.

#include "Tools/Common/PortExtras.h"

#if __has_include(<Standin/Standin.h>)

#include "Tools/Common/Text.h"

#include <Standin/Standin.h>
#include <fstream>
#include <limits>
#include <vector>

namespace Tools {

std::string DescribePortHolder(CFStringRef name)
{
    const int process = static_cast<int>(StandinGetPortHolder(name));
    if (process == 0) {
        return "another process";
    }
    std::string program;
    std::ifstream file(FormatText("/proc/%d/comm", process));
    std::getline(file, program);
    return FormatText("process %d", process) + (program.empty() ? "" : " (" + program + ")");
}

std::string DescribePortFault()
{
    const CFStringRef fault = StandinCopyPortFault();
    if (fault == nullptr) {
        return "";
    }
    const CFIndex size =
        CFStringGetMaximumSizeForEncoding(CFStringGetLength(fault), kCFStringEncodingUTF8) + 1;
    std::vector<char> text(static_cast<std::size_t>(size));
    CFStringGetCString(fault, text.data(), size, kCFStringEncodingUTF8);
    CFRelease(fault);
    return text.data();
}

std::size_t RefuseSenders(CFMessagePortRef port)
{
    StandinRefuseSenders(port);
    return std::numeric_limits<std::size_t>::max();
}

} // namespace Tools

#else

namespace Tools {

std::string DescribePortHolder(CFStringRef)
{
    return "another process";
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

} // namespace Tools

#endif
