// main.cpp - qxhost: loads a driver plug-in bundle and drives it as the audio HAL would.

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/Memory.h"
#include "Tools/Common/PortExtras.h"
#include "Tools/Common/Streams.h"
#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Host/Arguments.h"
#include "Tools/Host/DebugCommand.h"
#include "Tools/Host/Interruption.h"
#include "Tools/Host/Record/Command.h"
#include "Tools/Host/Report.h"
#include "Tools/Host/Validate/Command.h"

#include <CoreFoundation/CoreFoundation.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
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
        if (GetInterruption() != 0) {
            return;
        }
        session.Run(step);
    }
}

void RunAll(Session& session, const Arguments& arguments)
{
    RunAll(session, arguments.opening);
    for (std::size_t turn = 0; turn < arguments.repeat && GetInterruption() == 0; ++turn) {
        RunAll(session, arguments.repeated);
    }
    if (GetInterruption() != 0) {
        session.CloseAll();
    } else {
        RunAll(session, arguments.closing);
    }
}

/// A line on a terminal that counts calls, where they are not shown one by one.
class Progress
{
public:
    explicit Progress(const Arguments& arguments)
        : mIsShown(Tools::IsErrorTerminal() && (arguments.isQuiet || !Tools::IsOutputTerminal()))
    {}
    ~Progress() { Erase(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(const Totals& totals)
    {
        constexpr std::chrono::milliseconds kPeriod(250);
        const Clock::time_point now = Clock::now();
        if (mIsShown && now - mLast >= kPeriod) {
            mLast = now;
            std::fprintf(Tools::GetErrors(), "\r\033[K%s, %zu not as expected",
                         Tools::Count(totals.calls, "call").c_str(), totals.unexpected);
        }
    }
    void Erase() const
    {
        if (mIsShown) {
            std::fputs("\r\033[K", Tools::GetErrors());
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    const bool mIsShown;
    Clock::time_point mLast = Clock::now();
};

/// Tells what keeps this user from having any server. Returns false then.
bool CheckPorts()
{
    const std::string fault = Tools::DescribePortFault();
    if (!fault.empty()) {
        std::fprintf(Tools::GetErrors(), "qxhost: no server can be reached: %s\n", fault.c_str());
    }
    return fault.empty();
}

int Drive(const Arguments& arguments, const PlugIn& plugIn, CallNote& note)
{
    const bool isOwn = IsOwnPlugIn(plugIn.GetPath());
    const std::unique_ptr<IReport> report =
        arguments.isJSON ? MakeJSONReport(isOwn) : MakeTextReport(Tools::WantsColours(), isOwn);
    // A program that reads the output gets the frame of it all the same.
    const bool showsFrame = !arguments.isQuiet || arguments.isJSON;
    // First and always: it is the reason for what follows.
    const bool hasPorts = CheckPorts();
    if (showsFrame) {
        report->ShowPlugIn(plugIn.GetPath());
        report->ShowServer(kServerPortName, IsServerThere(), hasPorts);
    }
    NoteInterruptions();
    Totals totals;
    Progress progress(arguments);
    const auto announce = [&](const Step& step, UInt32 device) {
        CallResult none;
        none.device = device;
        note.Begin(std::string(GetEntryPointName(step.action)) + "(" +
                   DescribeArguments(step, none) + ")");
    };
    const auto observe = [&](const Step& step, const CallResult& result) {
        note.End();
        totals.Take(result);
        if (!arguments.isQuiet || !result.isAsExpected) {
            progress.Erase();
            report->ShowCall(totals.calls, step, result);
        }
        progress.Show(totals);
    };
    Session session(plugIn.GetEntryPoints(), observe, announce);
    RunAll(session, arguments);
    progress.Erase();
    if (showsFrame || totals.unexpected > 0 || GetInterruption() != 0) {
        report->ShowTotals(totals);
    }
    if (GetInterruption() != 0) {
        return Conclude(128 + GetInterruption());
    }
    return Conclude(totals.unexpected > 0 ? kExitUnexpected : kExitAsExpected);
}

int LoadAndDrive(const Arguments& arguments, const std::string& path, CallNote& note)
{
    std::string error;
    note.Begin("loading " + path);
    std::unique_ptr<PlugIn> plugIn = PlugIn::Load(path, error);
    note.End();
    if (plugIn == nullptr) {
        std::fprintf(Tools::GetErrors(), "qxhost: cannot load the plug-in %s: %s\n",
                     Tools::EscapeControls(path).c_str(), Tools::EscapeControls(error).c_str());
        return kExitNotLoaded;
    }
    const int exitCode = Drive(arguments, *plugIn, note);
    ForgetInterruptions();
    note.Begin("unloading the plug-in");
    plugIn.reset();
    note.End();
    return exitCode;
}

/// Tells of an end that the plug-in has caused. Returns the exit code.
int ShowEnd(const Arguments& arguments, const ChildEnd& end, const std::string& gdb)
{
    std::string how;
    int exitCode = kExitAsExpected;
    switch (end.kind) {
    case ChildEnd::Kind::kReturned:
        return end.exitCode;
    case ChildEnd::Kind::kCrashed:
        if (end.signal == SIGPIPE && !end.isInCall && Tools::AwaitReaderGone(0)) {
            return kExitReaderGone;
        }
        if (end.signal == SIGINT || end.signal == SIGTERM) {
            how = "stopped while the plug-in did not return";
            exitCode = 128 + end.signal;
            break;
        }
        how = Tools::FormatText("the plug-in crashed: signal %d, %s", end.signal,
                                strsignal(end.signal));
        exitCode = kExitCrashed;
        break;
    case ChildEnd::Kind::kHung:
        how = Tools::FormatText("the plug-in did not return within %g s", arguments.callSeconds);
        exitCode = kExitHung;
        break;
    case ChildEnd::Kind::kExited:
        how =
            Tools::FormatText("the plug-in ended the process with the exit code %d", end.exitCode);
        exitCode = kExitEnded;
        break;
    }
    (arguments.isJSON ? MakeJSONReport(true) : MakeTextReport(Tools::WantsColours(), true))
        ->ShowEnd(how, end, gdb);
    return exitCode;
}

} // namespace

int main(int count, char** values)
{
    if (!Tools::OpenMissingStreams("qxhost")) {
        return kExitUnwritten;
    }
    Tools::EndWithoutMemory("qxhost: there is not enough memory\n", kExitNoMemory);
    EndWithoutReader();
    if (count > 1 && Record::IsCommand(values[1])) {
        return Record::RunCommand(count, values);
    }
    if (count > 1 && std::string_view(values[1]) == "validate") {
        return Validate::RunCommand(count - 1, values + 1);
    }
    int exitCode = kExitAsExpected;
    const std::optional<Arguments> arguments = ReadArguments(count, values, exitCode);
    if (!arguments) {
        return exitCode;
    }
    const std::string path = arguments->plugIn.empty() ? FindDefaultPlugIn() : arguments->plugIn;
    const auto body = [&](CallNote& note) { return LoadAndDrive(*arguments, path, note); };
    const ChildEnd end =
        arguments->isInProcess ? RunInProcess(body) : RunInChild(arguments->callSeconds, body);
    return ShowEnd(*arguments, end, MakeDebugCommand(count, values));
}
