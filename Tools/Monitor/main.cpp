// main.cpp - qxmon: holds the server's port, decodes, keeps and shows what arrives.

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/File.h"
#include "Tools/Common/Terminal.h"
#include "Tools/Monitor/Arguments.h"
#include "Tools/Monitor/Clock.h"
#include "Tools/Monitor/MessageDecoder.h"
#include "Tools/Monitor/PortHolder.h"
#include "Tools/Monitor/Report.h"
#include "Tools/Monitor/ServerPort.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <limits>
#include <string>

namespace {

using namespace Monitor;

volatile std::sig_atomic_t gIsInterrupted = 0;

void Interrupt(int)
{
    gIsInterrupted = 1;
}

void EndOnSignals()
{
    struct sigaction action = {};
    action.sa_handler = Interrupt;
    sigemptyset(&action.sa_mask);
    // A second signal ends a monitor that does not get to its end.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

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

/// Runs the port until the table has `limit` messages, the time is over or a signal says so.
void RunPort(ServerPort& port, const StateTable& table, std::size_t limit,
             const std::optional<double>& seconds)
{
    using Clock = std::chrono::steady_clock;
    // A signal is noticed when a slice ends, whatever the platform's run loop does with it.
    constexpr double kSliceSeconds = 0.05;
    // Messages that were sent before the end are shown too; a sender that never stops is not
    // waited for.
    constexpr int kMostLateMessages = 100;

    const Clock::time_point start = Clock::now();
    while (gIsInterrupted == 0 && table.GetReceived() < limit) {
        const std::chrono::duration<double> elapsed = Clock::now() - start;
        const double left = seconds ? *seconds - elapsed.count() : kSliceSeconds;
        if (left <= 0) {
            break;
        }
        port.RunOnce(std::min(kSliceSeconds, left));
    }
    for (int late = 0; late < kMostLateMessages && table.GetReceived() < limit; ++late) {
        if (!port.RunOnce(0)) {
            break;
        }
    }
}

int Listen(const Arguments& arguments)
{
    const std::unique_ptr<IReport> report = MakeReport(arguments);
    const std::size_t limit = arguments.count.value_or(std::numeric_limits<std::size_t>::max());
    StateTable table;
    const auto port = ServerPort::Create([&](SInt32 id, const UInt8* data, std::size_t size) {
        if (table.GetReceived() < limit) {
            const Arrival arrival{table.GetReceived() + 1, FormatLocalTime(),
                                  DecodeRequest(id, data, size)};
            table.Take(arrival.message);
            report->ShowMessage(arrival);
        }
    });
    if (port == nullptr) {
        std::fprintf(stderr, "qxmon: cannot hold the port %s: %s holds it\n", kServerPortName,
                     DescribePortHolder().c_str());
        return kExitPortTaken;
    }
    EndOnSignals();
    report->ShowReady(kServerPortName);
    RunPort(*port, table, limit, arguments.seconds);
    return Finish(*report, table);
}

int Decode(const Arguments& arguments)
{
    std::string document;
    const std::string failure = Tools::ReadWholeFile(*arguments.decode, document);
    if (!failure.empty()) {
        std::fprintf(stderr, "qxmon: cannot read %s: %s\n", arguments.decode->c_str(),
                     failure.c_str());
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
    int exitCode = kExitDone;
    const std::optional<Arguments> arguments = ReadArguments(count, values, exitCode);
    if (!arguments) {
        return exitCode;
    }
    return arguments->decode ? Decode(*arguments) : Listen(*arguments);
}
