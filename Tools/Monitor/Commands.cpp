// Commands.cpp - what several commands share.

#include "Tools/Monitor/Commands.h"

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/PortExtras.h"
#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Monitor/Live/Report.h"
#include "Tools/Monitor/Signals.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace Monitor {
namespace {

/// Why the port cannot be held.
std::string DescribeFault()
{
    std::string fault = Tools::DescribePortFault();
    if (!fault.empty()) {
        return fault;
    }
    const std::string holder = Tools::DescribePortHolder(CFSTR(kServerPortName));
    return holder.empty() ? "another process holds it, or too few file descriptors are left"
                          : holder + " holds it";
}

} // namespace

std::unique_ptr<IReport> MakeReport(const Arguments& arguments)
{
    if (arguments.isLive) {
        return MakeLiveReport(arguments.isOnce, Tools::WantsColours());
    }
    return arguments.isJSON ? MakeJSONReport(arguments.hasBytes)
                            : MakeTextReport(arguments.hasBytes, Tools::WantsColours());
}

int ShowPortFault()
{
    std::fprintf(stderr, "qxmon: cannot hold the port %s: %s\n", kServerPortName,
                 DescribeFault().c_str());
    return kExitPortTaken;
}

int ShowUnreadable(const std::string& failure)
{
    std::fprintf(stderr, "qxmon: %s\n", Tools::EscapeControls(failure).c_str());
    return kExitUnreadable;
}

void RunPort(ServerPort& port, const std::function<bool()>& wantsMore,
             const std::optional<double>& seconds, IReport& report)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    // A loop may end early; one without an end of its own is asked for years.
    double left = seconds.value_or(kForeverSeconds);
    while (!WasInterrupted() && wantsMore() && left > 0) {
        const std::optional<double> period = report.Refresh();
        if (!period) {
            break;
        }
        port.Run(std::min(left, *period));
        const std::chrono::duration<double> elapsed = Clock::now() - start;
        left = seconds.value_or(kForeverSeconds) - elapsed.count();
    }
    port.Finish(wantsMore);
}

int Conclude(int exitCode)
{
    return Tools::ConcludeOutput("qxmon", exitCode, kExitUnwritten, kExitReaderGone);
}

int Finish(IReport& report, const StateTable& table)
{
    report.ShowSummary(table);
    return Conclude(table.GetMalformed() > 0 ? kExitMalformed : kExitDone);
}

} // namespace Monitor
