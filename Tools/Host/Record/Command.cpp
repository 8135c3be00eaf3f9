// Command.cpp - recordings: made from a script, played again, compared.

#include "Tools/Host/Record/Command.h"

#include "Tools/Common/CommandLine.h"
#include "Tools/Common/File.h"
#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Host/DebugCommand.h"
#include "Tools/Host/ExitCode.h"
#include "Tools/Host/PlugIn.h"
#include "Tools/Host/Script.h"
#include "Tools/Host/Session.h"
#include "Tools/Host/Status.h"
#include "Tools/Host/Validate/CheckProcess.h"
#include "Tools/Host/Validate/Run.h"
#include "Tools/Recording/Difference.h"
#include "Tools/Recording/Reader.h"
#include "Tools/Recording/Sender.h"
#include "Tools/Recording/Writer.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <system_error>

namespace Record {
namespace {

using Host::Action;
using Recording::Event;
using Recording::Events;
using Tools::FormatText;
using Tools::Refuse;
using Validate::Request;

constexpr const char* kFooter =
    "A recording has one JSON object a line: each call with its arguments and its answer, and "
    "each\n"
    "message with its time, its sender and its bytes. Docs/Tools.md describes it.\n"
    "\n"
    "Exit codes:\n"
    "  0  recorded; played again or compared without a difference\n"
    "  1  a difference, a message that was refused, or the plug-in ended its process\n"
    "  2  the command line, the script or a recording is wrong\n"
    "  3  the plug-in cannot be loaded; or no server holds the port\n"
    "  4  the output or the recording cannot be written, or no process can be started\n"
    "  9  the reader of the standard output has gone\n"
    "  130, 143  stopped by SIGINT or SIGTERM; what had been recorded is in the file\n";

struct Options
{
    std::string file;
    std::string second; ///< the script, or the other recording
    std::string plugIn;
    std::string against;
    double timeLimit = 60;
    bool hasTimeLimit = false;
    std::string debug; ///< the command that shows the same in a debugger
};

std::string ReadText(const std::string& file)
{
    std::string text;
    const std::string failure = Tools::ReadWholeFile(file, text);
    if (!failure.empty()) {
        Refuse("cannot read " + file + ": " + failure);
    }
    return text;
}

Events LoadEvents(const std::string& file)
{
    Events events;
    const std::string failure = Recording::Reader(file).Read(events);
    if (!failure.empty()) {
        Refuse(failure);
    }
    return events;
}

/// The calls of a script; what it expects and its pauses are left out.
Events LoadScript(const std::string& file)
{
    const Host::Script script = Host::ParseScript(ReadText(file));
    if (!script.error.empty()) {
        Refuse(file + ":" + std::to_string(script.errorLine) + ": " + script.error);
    }
    Events events;
    UInt32 device = Host::Session::kDefaultDevice;
    for (const Host::Step& step : script.steps) {
        device = step.action == Action::kOpen ? step.device.value_or(device) : device;
        if (step.action == Action::kSleep) {
            continue;
        }
        constexpr std::size_t kMostData = Validate::Event::kMostData;
        if (step.data.size() > kMostData) {
            Refuse(FormatText("a recording takes %zu bytes of a set at most", kMostData));
        }
        Event event = {};
        event.action = step.action;
        event.device = step.device.value_or(device);
        event.channel = step.channel;
        event.isInput = step.isInput;
        event.selector = step.property;
        event.size = step.size;
        event.data = step.data;
        event.dataSize = static_cast<UInt32>(step.data.size());
        events.push_back(event);
    }
    if (events.empty()) {
        Refuse("the script " + file + " makes no call");
    }
    return events;
}

Request MakeRequest(const Event& call)
{
    Request request;
    request.device = call.device;
    request.channel = call.channel;
    request.isInput = call.isInput;
    request.selector = call.selector;
    request.hasSize = !call.isSizeNull;
    request.hasWritable = !call.isWritableNull;
    request.hasData = !call.isDataNull;
    request.size = call.size;
    const bool isGet = call.action == Action::kGet || call.action == Action::kStreamGet;
    request.data = isGet ? Validate::Bytes(std::min(call.size, Host::kLargestSize)) : call.data;
    return request;
}

void Make(Validate::Caller& plugIn, const Event& call)
{
    switch (call.action) {
    case Action::kOpen:
        plugIn.Open(call.device);
        break;
    case Action::kClose:
        plugIn.Close(call.device);
        break;
    case Action::kInfo:
        plugIn.Info(MakeRequest(call));
        break;
    case Action::kGet:
        plugIn.Get(MakeRequest(call));
        break;
    case Action::kSet:
        plugIn.Set(MakeRequest(call));
        break;
    case Action::kStreamInfo:
        plugIn.StreamInfo(MakeRequest(call));
        break;
    case Action::kStreamGet:
        plugIn.StreamGet(MakeRequest(call));
        break;
    case Action::kStreamSet:
        plugIn.StreamSet(MakeRequest(call));
        break;
    case Action::kSleep:
        break;
    }
}

/// Makes the calls in a process of their own, with a server that takes every message.
Validate::Outcome Play(const Events& calls, const Options& options, std::string& bundle)
{
    Validate::Check check;
    check.name = "calls";
    check.run = [&](Validate::Bench& bench) {
        bench.StartServer();
        Validate::Caller& plugIn = bench.Load();
        for (const Event& call : calls) {
            Make(plugIn, call);
            // The messages of a call stand after it, and before the next.
            bench.TakeMessages();
        }
        bench.Unload();
    };
    check.endsByExit = true;
    Validate::Plan plan;
    plan.profile = Validate::MakeBuiltInProfile();
    plan.timeLimit = options.timeLimit;
    std::error_code error;
    plan.bundle = std::filesystem::absolute(
                      options.plugIn.empty() ? Host::FindDefaultPlugIn() : options.plugIn, error)
                      .lexically_normal()
                      .string();
    bundle = plan.bundle;
    Validate::NoteStopSignals();
    Validate::CheckProcess process(check, plan);
    std::optional<Validate::Outcome> outcome;
    while (!(outcome = process.Poll())) {
        if (Validate::GetStopSignal() != 0) {
            return process.Stop();
        }
        constexpr timespec kPause = {0, 1'000'000};
        nanosleep(&kPause, nullptr);
    }
    return *outcome;
}

/// What is printed is no fault here.
bool HasFailed(const Validate::Outcome& outcome)
{
    return !outcome.finding.empty() && !outcome.isNoise;
}

int ShowFailure(const Validate::Outcome& outcome, const Options& options)
{
    std::fprintf(stderr, "qxhost: %s\n", Tools::EscapeControls(outcome.finding).c_str());
    if (!outcome.lastCall.empty()) {
        std::fprintf(stderr, "        last call: %s\n", outcome.lastCall.c_str());
    }
    if (outcome.isNotLoaded) {
        return Host::kExitNotLoaded;
    }
    std::fprintf(stderr, "        to debug:  %s\n", options.debug.c_str());
    return Host::kExitUnexpected;
}

int ShowStop(const std::string& text)
{
    Tools::PrintLine("qxhost: stopped; " + text);
    return 128 + Validate::GetStopSignal();
}

int RunRecord(const Options& options)
{
    const std::string& file = options.file;
    for (const std::string& read : {options.second, options.plugIn}) {
        if (Tools::IsSameFile(file, read)) {
            Refuse("the recording would take the place of " +
                   (read == "-" ? "the standard input" : read));
        }
    }
    const Events calls = LoadScript(options.second);
    std::string bundle;
    const Validate::Outcome outcome = Play(calls, options, bundle);
    if (!outcome.isNotLoaded) {
        const std::string failure =
            Recording::WriteRecording(file,
                                      {bundle, "", HasFailed(outcome) ? outcome.finding : "",
                                       outcome.journal->GetFirst() + 1},
                                      TakeEvents(*outcome.journal));
        if (!failure.empty()) {
            std::fprintf(stderr, "qxhost: cannot write %s: %s\n",
                         Tools::EscapeControls(file).c_str(), failure.c_str());
            return Host::kExitUnwritten;
        }
    }
    const std::string recorded = "recorded " + Recording::CountEvents(TakeEvents(*outcome.journal));
    if (Validate::GetStopSignal() != 0) {
        return ShowStop(recorded);
    }
    if (HasFailed(outcome)) {
        return ShowFailure(outcome, options);
    }
    Tools::PrintLine("qxhost: " + recorded);
    return Host::kExitAsExpected;
}

int ShowDifference(const std::string& difference, const Events& events)
{
    Tools::PrintLine(difference.empty()
                         ? "qxhost: no difference in " + Recording::CountEvents(events)
                         : "qxhost: " + Tools::EscapeControls(difference));
    return difference.empty() ? Host::kExitAsExpected : Host::kExitUnexpected;
}

int SendMessages(const Events& messages)
{
    for (const Event& message : messages) {
        if (message.IsCut()) {
            Refuse("a message of the recording is cut: it cannot be sent again");
        }
    }
    const auto refused = Recording::SendMessages(messages, Tools::PrintLine);
    if (!refused) {
        std::fputs("qxhost: no server holds the port\n", stderr);
        return Host::kExitNotLoaded;
    }
    Tools::PrintLine("qxhost: " + Tools::Count(messages.size(), "message") +
                     FormatText(", %zu refused", *refused));
    return *refused == 0 ? Host::kExitAsExpected : Host::kExitUnexpected;
}

int RunReplay(const Options& options)
{
    const Events recorded = LoadEvents(options.file);
    if (options.against == "server") {
        if (options.hasTimeLimit) {
            Refuse("--time-limit has no effect with --against server");
        }
        return SendMessages(Recording::SelectEvents(recorded, true));
    }
    const Events calls = Recording::SelectEvents(recorded, false);
    if (calls.empty()) {
        Refuse("the recording has no calls; --against server sends its messages");
    }
    Options playing = options;
    playing.plugIn = options.against;
    std::string bundle;
    const Validate::Outcome outcome = Play(calls, playing, bundle);
    const Events played = TakeEvents(*outcome.journal);
    if (Validate::GetStopSignal() != 0) {
        return ShowStop(Recording::CountEvents(played) + " were not compared");
    }
    const std::string difference = Recording::FindDifference(recorded, played);
    if (outcome.isNotLoaded || (HasFailed(outcome) && difference.empty())) {
        return ShowFailure(outcome, options);
    }
    return ShowDifference(difference, played);
}

int RunDiff(const Options& options)
{
    const Events first = LoadEvents(options.file);
    return ShowDifference(Recording::FindDifference(first, LoadEvents(options.second)), first);
}

struct Word
{
    const char* name; ///< null for none
    const char* description;
};

struct Command
{
    const char* name;
    const char* description;
    Word file;
    Word second;
    int (*run)(const Options& options);
};

constexpr Word kRecording = {"FILE", "The recording; - reads the standard input"};

constexpr Command kCommands[] = {
    {"record",
     "Runs a script with a server of its own, and writes each call and message to a file.",
     {"FILE", "The recording; what it held before is lost"},
     {"SCRIPT", "The script, as for run; - reads the standard input"},
     RunRecord},
    {"replay",
     "Makes the calls of a recording again, and tells the first answer or message that differs;\n"
     "or sends its messages again.",
     kRecording,
     {},
     RunReplay},
    {"diff",
     "Tells the first call or message in which two recordings differ.",
     kRecording,
     {"OTHER", "The recording that it is compared with"},
     RunDiff},
};

void AddOptions(CLI::App& app, const Command& command, Options& options)
{
    app.add_option(command.file.name, options.file, command.file.description)
        ->type_name("")
        ->required()
        ->check(command.run == RunRecord ? Tools::MakeOutputNameCheck() : Tools::MakeNameCheck());
    if (command.second.name != nullptr) {
        app.add_option(command.second.name, options.second, command.second.description)
            ->type_name("")
            ->required()
            ->check(Tools::MakeNameCheck());
    }
    if (command.run == RunReplay) {
        app.add_option("--against", options.against,
                       "A bundle (default: the one beside qxhost), or the word server: the process "
                       "that holds the port gets the messages")
            ->type_name("BUNDLE|server")
            ->check(Tools::MakeNameCheck());
    } else if (command.run == RunRecord) {
        app.add_option("--plugin", options.plugIn, "The bundle (default: the one beside qxhost)")
            ->type_name("PATH")
            ->check(Tools::MakeNameCheck());
    }
    if (command.run != RunDiff) {
        app.add_option("--time-limit", options.timeLimit,
                       "The longest that all calls may take (default: 60)")
            ->type_name("SECONDS")
            ->check(Tools::MakeSecondsCheck(0.1, 86400));
    }
}

int Run(const Command& command, int count, const char* const* values)
{
    Options options;
    options.debug = Host::MakeDebugCommandForChildren(count, values);
    CLI::App app(command.description, std::string("qxhost ") + command.name);
    app.footer(kFooter);
    app.failure_message(Tools::FormatFailure);
    app.allow_extras();
    app.set_version_flag("--version", "qxhost " QX_VERSION);
    AddOptions(app, command, options);
    try {
        app.parse(count - 1, values + 1);
        Tools::RefuseExtras(app);
        options.hasTimeLimit = command.run != RunDiff && app.count("--time-limit") > 0;
        const int exitCode = command.run(options);
        return Host::Conclude(exitCode);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? Host::Conclude(Host::kExitAsExpected) : Host::kExitUsage;
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "qxhost: %s\n", error.what());
        return Host::kExitUnwritten;
    }
}

} // namespace

bool IsCommand(const char* word)
{
    return std::ranges::any_of(
        kCommands, [&](const Command& command) { return std::strcmp(command.name, word) == 0; });
}

int RunCommand(int count, const char* const* values)
{
    for (const Command& command : kCommands) {
        if (std::strcmp(command.name, values[1]) == 0) {
            return Run(command, count, values);
        }
    }
    return Host::kExitUsage;
}

} // namespace Record
