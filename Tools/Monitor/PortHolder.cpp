// PortHolder.cpp - the one file of the monitor that knows more than the platform's own calls.

#include "Tools/Monitor/PortHolder.h"

#if __has_include(<Standin/Standin.h>)

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/Text.h"

#include <CoreFoundation/CoreFoundation.h>
#include <Standin/Standin.h>
#include <fstream>

std::string Monitor::DescribePortHolder()
{
    const int process = static_cast<int>(StandinGetPortHolder(CFSTR(kServerPortName)));
    if (process == 0) {
        return "another process";
    }
    std::string name;
    std::ifstream file(Tools::FormatText("/proc/%d/comm", process));
    std::getline(file, name);
    return Tools::FormatText("process %d", process) + (name.empty() ? "" : " (" + name + ")");
}

#else

std::string Monitor::DescribePortHolder()
{
    return "another process";
}

#endif
