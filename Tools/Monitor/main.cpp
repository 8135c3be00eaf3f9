// main.cpp - qxmon: holds the server's port, decodes, keeps and shows what arrives.

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/File.h"
#include "Tools/Common/Memory.h"
#include "Tools/Common/Streams.h"
#include "Tools/Common/Terminal.h"
#include "Tools/Common/Time.h"
#include "Tools/Monitor/Commands.h"
#include "Tools/Monitor/Live/Screen.h"
#include "Tools/Monitor/MessageDecoder.h"
#include "Tools/Monitor/OutputWatch.h"
#include "Tools/Monitor/Recorder.h"
#include "Tools/Monitor/Signals.h"
#include "Tools/Recording/Reader.h"

#include <csignal>
#include <cstdio>
#include <limits>
#include <system_error>

namespace {

using namespace Monitor;

int Listen(const Arguments& arguments)
{
    const std::string fault =
        arguments.isLive && !arguments.isOnce ? DescribeScreenFault() : std::string();
    if (!fault.empty()) {
        std::fprintf(stderr, "qxmon: %s\n", fault.c_str());
        return kExitUsage;
    }
    const std::unique_ptr<IReport> report = MakeReport(arguments);
    const std::size_t limit = arguments.count.value_or(std::numeric_limits<std::size_t>::max());
    StateTable table;
    Recorder recorder;
    bool isMatched = !arguments.until;
    const auto wantsMore = [&] {
        return table.GetReceived() < limit && !(arguments.until && isMatched) &&
               Tools::IsOutputWritten() && !recorder.HasFailed();
    };
    std::unique_ptr<ServerPort> port;
    port = ServerPort::Create([&](SInt32 id, const UInt8* data, std::size_t size) {
        if (!wantsMore()) {
            return;
        }
        recorder.Take(id, data, size, port->GetSender());
        const Arrival arrival{table.GetReceived() + table.GetLeftOut() + 1, Tools::GetTime(),
                              DecodeRequest(id, data, size), port->GetSender()};
        if (!arguments.filter.LetsThrough(arrival.message)) {
            table.LeaveOut();
            report->ShowLeftOut();
            return;
        }
        table.Take(arrival.message);
        report->ShowMessage(arrival);
        isMatched = isMatched || arguments.until->Holds(arrival.message);
        if (!wantsMore()) {
            CFRunLoopStop(CFRunLoopGetCurrent());
        }
    });
    if (port == nullptr) {
        return ShowPortFault();
    }
    // After the port: the holder of the port may be writing to the same file.
    if (arguments.record) {
        recorder.Open(*arguments.record);
        if (recorder.HasFailed()) {
            return recorder.ShowFailure();
        }
    }
    StopRunLoopOnSignals();
    StopRunLoopWithoutReader();
    report->ShowReady(kServerPortName);
    RunPort(*port, wantsMore, arguments.seconds, *report);
    const int exitCode = Finish(*report, table);
    if (recorder.HasFailed()) {
        return recorder.ShowFailure();
    }
    const bool isWritten = exitCode == kExitDone || exitCode == kExitMalformed;
    return isWritten && !isMatched ? kExitUnmatched : exitCode;
}

int Decode(const Arguments& arguments)
{
    std::string document;
    const std::string failure = Tools::ReadWholeFile(*arguments.decode, document);
    if (!failure.empty()) {
        return ShowUnreadable("cannot read " + *arguments.decode + ": " + failure);
    }
    const std::unique_ptr<IReport> report = MakeReport(arguments);
    if (document.starts_with('{')) {
        return ShowRecording(*report, arguments.filter,
                             Recording::Reader(*arguments.decode, document));
    }
    const Arrival arrival{1, 0,
                          DecodeRequest(kSetParameterMessage,
                                        reinterpret_cast<const unsigned char*>(document.data()),
                                        document.size())};
    StateTable table;
    if (arguments.filter.LetsThrough(arrival.message)) {
        table.Take(arrival.message);
        report->ShowMessage(arrival);
    } else {
        table.LeaveOut();
    }
    return Finish(*report, table);
}

int Run(const Arguments& arguments)
{
    if (arguments.decode) {
        return Decode(arguments);
    }
    if (arguments.replay) {
        return Replay(arguments);
    }
    if (arguments.diff) {
        return Diff(arguments);
    }
    return arguments.fault ? Serve(arguments) : Listen(arguments);
}

} // namespace

int main(int count, char** values)
{
    if (!Tools::OpenMissingStreams("qxmon")) {
        return kExitUnwritten;
    }
    Tools::EndWithoutMemory("qxmon: there is not enough memory\n", kExitNoMemory);
    // A write without a reader then fails, and the exit code tells of it.
    std::signal(SIGPIPE, SIG_IGN);
    int exitCode = kExitDone;
    const std::optional<Arguments> arguments = ReadArguments(count, values, exitCode);
    if (!arguments) {
        return exitCode;
    }
    try {
        return Run(*arguments);
    } catch (const std::system_error&) {
        std::fputs("qxmon: there is not enough memory for a thread\n", stderr);
        return kExitNoMemory;
    }
}
