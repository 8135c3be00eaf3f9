// main.cpp - qxhost: loads a driver plug-in bundle and drives it as the audio HAL would.

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/Memory.h"
#include "Tools/Common/PortExtras.h"
#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Host/Arguments.h"
#include "Tools/Host/Report.h"
#include "Tools/Host/Validate/Command.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstdio>
#include <string_view>

namespace {

using namespace Host;

bool IsServerThere()
{
    const CFMessagePortRef port = CFMessagePortCreateRemote(nullptr, CFSTR(kServerPortName));
    if (port == nullptr) {
        return false;
    }
    CFRelease(port);
    return true;
}

void RunAll(Session& session, const std::vector<Step>& steps)
{
    for (const Step& step : steps) {
        session.Run(step);
    }
}

int Drive(const Arguments& arguments, const PlugIn& plugIn)
{
    const std::unique_ptr<IReport> report =
        arguments.isJSON ? MakeJSONReport() : MakeTextReport(Tools::WantsColours());
    report->ShowPlugIn(plugIn.GetPath());
    const bool isServerThere = IsServerThere();
    report->ShowServer(kServerPortName, isServerThere);
    if (const std::string fault = Tools::DescribePortFault(); !isServerThere && !fault.empty()) {
        std::fprintf(stderr, "qxhost: no server can be reached: %s\n", fault.c_str());
    }
    Totals totals;
    Session session(plugIn.GetEntryPoints(), [&](const Step& step, const CallResult& result) {
        totals.Take(result);
        if (!arguments.isQuiet || !result.isAsExpected) {
            report->ShowCall(totals.calls, step, result);
        }
    });
    RunAll(session, arguments.opening);
    for (std::size_t turn = 0; turn < arguments.repeat; ++turn) {
        RunAll(session, arguments.repeated);
    }
    RunAll(session, arguments.closing);
    report->ShowTotals(totals);
    if (!Tools::IsOutputWritten()) {
        std::fputs("qxhost: the standard output could not be written\n", stderr);
        return kExitUnwritten;
    }
    return totals.unexpected > 0 ? kExitUnexpected : kExitAsExpected;
}

} // namespace

int main(int count, char** values)
{
    Tools::EndWithoutMemory("qxhost: there is not enough memory\n", kExitNoMemory);
    if (count > 1 && std::string_view(values[1]) == "validate") {
        return Validate::RunCommand(count - 1, values + 1);
    }
    int exitCode = kExitAsExpected;
    const std::optional<Arguments> arguments = ReadArguments(count, values, exitCode);
    if (!arguments) {
        return exitCode;
    }
    const std::string path = arguments->plugIn.empty() ? FindDefaultPlugIn() : arguments->plugIn;
    std::string error;
    const std::unique_ptr<PlugIn> plugIn = PlugIn::Load(path, error);
    if (plugIn == nullptr) {
        std::fprintf(stderr, "qxhost: cannot load the plug-in %s: %s\n",
                     Tools::EscapeControls(path).c_str(), Tools::EscapeControls(error).c_str());
        return kExitNotLoaded;
    }
    return Drive(*arguments, *plugIn);
}
