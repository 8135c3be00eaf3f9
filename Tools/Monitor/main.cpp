// main.cpp - qxmon: holds the server's port, decodes, keeps and shows what arrives.

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/File.h"
#include "Tools/Common/Memory.h"
#include "Tools/Common/PortExtras.h"
#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Monitor/Arguments.h"
#include "Tools/Monitor/Clock.h"
#include "Tools/Monitor/MessageDecoder.h"
#include "Tools/Monitor/Report.h"
#include "Tools/Monitor/ServerPort.h"
#include "Tools/Monitor/Signals.h"

#include <chrono>
#include <cstdio>
#include <limits>
#include <string>
#include <system_error>

namespace {

using namespace Monitor;

std::unique_ptr<IReport> MakeReport(const Arguments& arguments)
{
    return arguments.isJSON ? MakeJSONReport(arguments.hasBytes)
                            : MakeTextReport(arguments.hasBytes, Tools::WantsColours());
}

int Finish(IReport& report, const StateTable& table)
{
    report.ShowSummary(table);
    if (!Tools::IsOutputWritten()) {
        std::fputs("qxmon: the standard output could not be written\n", stderr);
        return kExitUnwritten;
    }
    return table.GetMalformed() > 0 ? kExitMalformed : kExitDone;
}

/// Runs the port until a signal or the handler stops the loop, or the time is over.
void RunPort(ServerPort& port, const std::function<bool()>& wantsMore,
             const std::optional<double>& seconds)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    // A loop may end early; one without an end of its own is asked for years.
    constexpr double kForever = 1.0e9;
    double left = seconds.value_or(kForever);
    while (!WasInterrupted() && wantsMore() && left > 0) {
        port.Run(left);
        const std::chrono::duration<double> elapsed = Clock::now() - start;
        left = seconds.value_or(kForever) - elapsed.count();
    }
    port.Finish(wantsMore);
}

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

int Listen(const Arguments& arguments)
{
    const std::unique_ptr<IReport> report = MakeReport(arguments);
    const std::size_t limit = arguments.count.value_or(std::numeric_limits<std::size_t>::max());
    StateTable table;
    const auto wantsMore = [&] { return table.GetReceived() < limit; };
    const auto port = ServerPort::Create([&](SInt32 id, const UInt8* data, std::size_t size) {
        if (!wantsMore()) {
            return;
        }
        const Arrival arrival{table.GetReceived() + 1, FormatLocalTime(),
                              DecodeRequest(id, data, size)};
        table.Take(arrival.message);
        report->ShowMessage(arrival);
        if (!wantsMore()) {
            CFRunLoopStop(CFRunLoopGetCurrent());
        }
    });
    if (port == nullptr) {
        std::fprintf(stderr, "qxmon: cannot hold the port %s: %s\n", kServerPortName,
                     DescribeFault().c_str());
        return kExitPortTaken;
    }
    StopRunLoopOnSignals();
    report->ShowReady(kServerPortName);
    RunPort(*port, wantsMore, arguments.seconds);
    return Finish(*report, table);
}

int Decode(const Arguments& arguments)
{
    std::string document;
    const std::string failure = Tools::ReadWholeFile(*arguments.decode, document);
    if (!failure.empty()) {
        std::fprintf(stderr, "qxmon: cannot read %s: %s\n",
                     Tools::EscapeControls(*arguments.decode).c_str(), failure.c_str());
        return kExitUnreadable;
    }
    const std::unique_ptr<IReport> report = MakeReport(arguments);
    const Arrival arrival{1, "",
                          DecodeRequest(kSetParameterMessage,
                                        reinterpret_cast<const unsigned char*>(document.data()),
                                        document.size())};
    StateTable table;
    table.Take(arrival.message);
    report->ShowMessage(arrival);
    return Finish(*report, table);
}

} // namespace

int main(int count, char** values)
{
    Tools::EndWithoutMemory("qxmon: there is not enough memory\n", kExitNoMemory);
    int exitCode = kExitDone;
    const std::optional<Arguments> arguments = ReadArguments(count, values, exitCode);
    if (!arguments) {
        return exitCode;
    }
    try {
        return arguments->decode ? Decode(*arguments) : Listen(*arguments);
    } catch (const std::system_error&) {
        std::fputs("qxmon: there is not enough memory for a thread\n", stderr);
        return kExitNoMemory;
    }
}
