// Arguments.cpp - the command line of the host.

#include "Tools/Host/Arguments.h"

#include "Tools/Common/CommandLine.h"
#include "Tools/Common/File.h"
#include "Tools/Common/Nearest.h"
#include "Tools/Common/Text.h"
#include "Tools/Host/Script.h"
#include "Tools/Host/Session.h"
#include "Tools/Host/Status.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace Host {
namespace {

using Tools::Refuse;

constexpr const char* kVersionText = "qxhost " QX_VERSION;

constexpr const char* kDescription =
    "qxhost loads a driver plug-in and calls its entry points, as the audio hardware layer does.\n"
    "Every call is shown with its arguments, its status in plain words, and how long it took.";

constexpr const char* kFooter =
    "Properties:\n"
    "  enable  VALUE: 0 or 1, off or on\n"
    "  level   GAIN GAIN: two linear gains, such as 1.0 0.5\n"
    "  state   VALUE: a number\n"
    "  CODE    VALUE: any other property by its four characters, or 0x and its number\n"
    "\n"
    "Exit codes:\n"
    "  0  every call answered as expected\n"
    "  1  a call answered otherwise, threw an exception, or wrote beyond its room\n"
    "  2  the command line or the script is wrong\n"
    "  3  the plug-in cannot be loaded, or lacks an entry point\n"
    "  4  the standard output cannot be written\n"
    "  5  there is not enough memory\n"
    "  6  the plug-in crashed: in a call, or while it was loaded, unloaded, or at the end\n"
    "  7  it did not return in time, in one of these\n"
    "  8  it ended the process, in one of these\n"
    "  9  the reader of the standard output has gone\n"
    "  130, 143  stopped by SIGINT or SIGTERM; open devices were closed first\n"
    "\n"
    "Examples:\n"
    "  qxhost info                              what the plug-in says of its properties\n"
    "  qxhost set enable on                     switch direct monitoring on, device 258\n"
    "  qxhost set level 1.0 0.5 --channel 2     gains of input channel 2\n"
    "  qxhost set state 1 --device 7 --device 8 two devices\n"
    "  qxhost run session.qxs                   a script, one statement a line\n"
    "  qxhost validate                          every rule that the plug-in has to keep\n";

constexpr const char* kScriptFooter =
    "Statements:\n"
    "  open ID               open a device; the lines below are about it\n"
    "  close [ID]            close it, or another one\n"
    "  set PROPERTY VALUE    set, read or ask for a property,\n"
    "  get PROPERTY          as the commands of these names do\n"
    "  info PROPERTY\n"
    "  stream info PROPERTY  call the stream entry points; also stream get and stream set\n"
    "  expect STATUS         the status of the call above if it is right: ok, a number,\n"
    "                        a four-character code, or any\n"
    "  sleep SECONDS         wait, 3600 seconds at most\n"
    "  # TEXT                a comment\n"
    "After a property may follow, each once: device=ID, channel=N, side=input or side=output, and\n"
    "size=BYTES, the size of the data that is passed, 65536 at most.\n"
    "\n";

/// What the options say, before steps are made of it.
struct Options
{
    std::vector<std::string> devices;
    std::optional<std::string> channel;
    std::optional<std::string> expected;
    bool isOutput = false;
    std::vector<std::string> words; ///< of the subcommand
};

struct Command
{
    const char* name;
    const char* description;
    const char* words;
    const char* wordsDescription;
    bool needsWords;
    bool makesCalls; ///< by itself; a script says what to call
};

constexpr Command kCommands[] = {
    {"info", "Ask for a property's size and whether it can be set", "PROPERTY",
     "The properties (default: enable, level and state)", false, true},
    {"get", "Read a property", "PROPERTY", "The properties (default: enable, level and state)",
     false, true},
    {"set", "Set a property: enable N, state N, level GAIN GAIN", "PROPERTY VALUE",
     "The property and its value", true, true},
    {"stream", "Call the three stream entry points", "PROPERTY", "The properties (default: enable)",
     false, true},
    {"run", "Run a script", "SCRIPT", "The script; - reads the standard input", true, false},
};
/// Commands that read their own words, if they are the first one; here for the list of commands.
constexpr std::pair<const char*, const char*> kOwnCommands[] = {
    {"validate", "Try a bundle against every rule; validate --help tells more"},
    {"record", "Write the calls of a script, and their messages, to a file"},
    {"replay", "Make the calls of such a file again, or send its messages"},
    {"diff", "Tell where two such files differ"},
};

std::vector<std::string> GetCommandNames()
{
    std::vector<std::string> names;
    for (const Command& command : kCommands) {
        names.emplace_back(command.name);
    }
    for (const auto& [name, description] : kOwnCommands) {
        names.emplace_back(name);
    }
    return names;
}

Property RequireProperty(const std::string& word)
{
    const std::optional<Property> property = FindProperty(word);
    if (!property) {
        Refuse("\"" + word + "\" is not a property; " +
               Tools::SuggestNearest(word, GetPropertyNames()) +
               "there are enable, level, state and four-character codes");
    }
    return *property;
}

void LoadScript(const Options& options, Arguments& arguments)
{
    if (options.words.size() > 1) {
        Refuse("run takes one script");
    }
    const std::string& name = options.words.front();
    std::string text;
    const std::string failure = Tools::ReadWholeFile(name, text);
    if (!failure.empty()) {
        Refuse("cannot read the script " + name + ": " + failure);
    }
    Script script = ParseScript(text);
    if (!script.error.empty()) {
        Refuse(name + ":" + std::to_string(script.errorLine) + ": " + script.error);
    }
    if (script.steps.empty()) {
        Refuse("the script " + name + " says nothing: it has no statement");
    }
    arguments.repeated = std::move(script.steps);
}

/// A number that says which device or channel is meant.
UInt32 RequireNumber(const char* option, const std::string& word)
{
    const std::optional<UInt32> number = word.starts_with('-') ? std::nullopt : ParseWord(word);
    if (!number) {
        Refuse(std::string(option) + ": \"" + word +
               "\" is not a number of 32 bits without a sign");
    }
    return *number;
}

/// Makes the steps of one device out of a template.
class StepMaker
{
public:
    StepMaker(const Options& options, Arguments& arguments);

    void Add(Action action, const std::vector<std::string>& properties);
    void AddSet(const std::vector<std::string>& words);

private:
    void AddForDevices(Step step);

    const Options& mOptions;
    Arguments& mArguments;
    std::vector<UInt32> mDevices;
};

StepMaker::StepMaker(const Options& options, Arguments& arguments)
    : mOptions(options)
    , mArguments(arguments)
{
    for (const std::string& word : options.devices) {
        const UInt32 device = RequireNumber("--device", word);
        if (std::ranges::find(mDevices, device) != mDevices.end()) {
            Refuse("device " + word + " is there twice");
        }
        mDevices.push_back(device);
    }
    if (mDevices.empty()) {
        mDevices.push_back(Session::kDefaultDevice);
    }
    for (const UInt32 device : mDevices) {
        Step step;
        step.device = device;
        step.action = Action::kOpen;
        arguments.opening.push_back(step);
        step.action = Action::kClose;
        arguments.closing.push_back(step);
    }
}

void StepMaker::Add(Action action, const std::vector<std::string>& properties)
{
    static const std::vector<std::string> kAll = {"enable", "level", "state"};
    for (const std::string& word : properties.empty() ? kAll : properties) {
        AddForDevices(MakeStep(action, RequireProperty(word)));
    }
}

void StepMaker::AddSet(const std::vector<std::string>& words)
{
    const Property property = RequireProperty(words.front());
    Step step = MakeStep(Action::kSet, property);
    if (!SetValue(step, property, {words.begin() + 1, words.end()})) {
        Refuse(property.isLevel ? "set level takes two gains, such as 1.0 0.5"
                                : "set takes one number, or on or off");
    }
    AddForDevices(std::move(step));
}

void StepMaker::AddForDevices(Step step)
{
    if (mOptions.channel) {
        step.channel = RequireNumber("--channel", *mOptions.channel);
    }
    step.isInput = mOptions.isOutput ? 0 : 1;
    if (mOptions.expected) {
        const std::optional<SInt32> status = ParseStatus(*mOptions.expected);
        step.isAnyExpected = *mOptions.expected == "any";
        if (!status && !step.isAnyExpected) {
            Refuse("\"" + *mOptions.expected + "\" is not a status");
        }
        step.expected = status.value_or(0);
    }
    for (const UInt32 device : mDevices) {
        step.device = device;
        mArguments.repeated.push_back(step);
    }
}

/// The options that every command has.
void AddCommonOptions(CLI::App& app, Arguments& arguments)
{
    app.add_option("--plugin", arguments.plugIn, "The bundle (default: the one beside qxhost)")
        ->type_name("PATH")
        ->check(Tools::MakeNameCheck());
    app.add_option("--repeat", arguments.repeat, "Repeat the call, or the script, this often")
        ->type_name("N")
        ->check(Tools::MakeNumberCheck(1, 1000000000));
    app.add_flag("--in-process", arguments.isInProcess,
                 "Load the plug-in into qxhost itself, for a debugger");
    app.add_option("--time-limit", arguments.callSeconds,
                   "The longest that a call may take (default: 60)")
        ->type_name("SECONDS")
        ->check(Tools::MakeSecondsCheck(0.1, 86400));
    app.add_flag("--json", arguments.isJSON, "Print one JSON object a line and nothing else");
    app.add_flag("--quiet", arguments.isQuiet,
                 "Show only calls that answer otherwise than expected");
}

/// The options of the commands that make calls by themselves.
void AddCallOptions(CLI::App& app, Options& options)
{
    app.add_option("--device", options.devices,
                   "Device ID (default: 258); may be given more than once")
        ->type_name("ID")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--channel", options.channel, "Channel (default: 1 for level, else 0: master)")
        ->type_name("N");
    app.add_flag("--output", options.isOutput, "Address the output side instead of the input side");
    app.add_option("--expect", options.expected,
                   "The status if all is right: ok, a number, four characters, or any\n"
                   "(default: ok; get: unop; stream: who?)")
        ->type_name("ok|any|STATUS");
}

CLI::Option* AddCommand(CLI::App& app, const Command& command, Options& options,
                        Arguments& arguments)
{
    CLI::App* const added = app.add_subcommand(command.name, command.description);
    added->allow_extras();
    added->set_version_flag("--version", kVersionText);
    AddCommonOptions(*added, arguments);
    if (command.makesCalls) {
        AddCallOptions(*added, options);
    } else {
        added->footer(std::string(kScriptFooter) + kFooter + Tools::kEnvironmentHelp);
    }
    CLI::Option* const words =
        added->add_option(command.words, options.words, command.wordsDescription)->type_name("");
    return command.makesCalls ? words : words->check(Tools::MakeNameCheck());
}

/// How often an option was given, before the command or after it.
std::size_t CountOption(const CLI::App& app, const char* name)
{
    std::size_t count = app.count(name);
    for (const CLI::App* const command : app.get_subcommands()) {
        count += command->get_option_no_throw(name) != nullptr ? command->count(name) : 0;
    }
    return count;
}

void RefuseLateCommands(const CLI::App& app)
{
    for (const auto& [name, description] : kOwnCommands) {
        if (app.got_subcommand(name)) {
            Refuse(std::string(name) + " has to be the first word: qxhost " + name + " ...");
        }
    }
}

/// Refuses words and options that no command has, and options that have no effect.
void RefuseExtras(const CLI::App& app)
{
    if (CountOption(app, "--in-process") > 0 && CountOption(app, "--time-limit") > 0) {
        Refuse("--time-limit has no effect with --in-process");
    }
    if (app.got_subcommand("stream") && CountOption(app, "--output") > 0) {
        Refuse("--output has no effect on stream: a stream has one side");
    }
    static const std::vector<std::string> kOptions = {
        "--in-process", "--time-limit", "--plugin", "--device", "--channel", "--output",
        "--expect",     "--repeat",     "--json",   "--quiet",  "--help",    "--version"};
    const bool isRun = app.got_subcommand("run");
    for (const char* const name : {"--device", "--channel", "--output", "--expect"}) {
        if (isRun && app.count(name) > 0) {
            Refuse(std::string(name) + " has no effect on run: the script says it");
        }
    }
    for (const std::string& word : app.remaining(true)) {
        if (word.starts_with("-")) {
            const std::string name = word.substr(0, word.find('='));
            if (isRun && std::ranges::find(kOptions, name) != kOptions.end()) {
                Refuse(name + " has no effect on run: the script says it");
            }
        }
        Refuse(Tools::DescribeUnexpected(
            word, kOptions,
            app.get_subcommands().empty() ? GetCommandNames() : std::vector<std::string>()));
    }
    if (app.get_subcommands().empty()) {
        Refuse("a command is needed: " + Tools::JoinWords(GetCommandNames(), "or"));
    }
}

void MakeSteps(const CLI::App& app, const Options& options, Arguments& arguments)
{
    if (app.got_subcommand("run")) {
        LoadScript(options, arguments);
        return;
    }
    StepMaker maker(options, arguments);
    if (app.got_subcommand("info")) {
        maker.Add(Action::kInfo, options.words);
    } else if (app.got_subcommand("get")) {
        maker.Add(Action::kGet, options.words);
    } else if (app.got_subcommand("set")) {
        maker.AddSet(options.words);
    } else {
        const std::vector<std::string> first = {"enable"};
        const std::vector<std::string>& words = options.words.empty() ? first : options.words;
        maker.Add(Action::kStreamInfo, words);
        maker.Add(Action::kStreamGet, words);
        maker.Add(Action::kStreamSet, words);
    }
}

} // namespace

std::optional<Arguments> ReadArguments(int count, const char* const* values, int& exitCode)
{
    Arguments arguments;
    Options options;
    CLI::App app(kDescription, "qxhost");
    app.footer(std::string(kFooter) + Tools::kEnvironmentHelp);
    app.failure_message(Tools::FormatFailure);
    app.allow_extras();
    app.set_version_flag("--version", kVersionText);
    AddCommonOptions(app, arguments);
    AddCallOptions(app, options);
    for (const Command& command : kCommands) {
        CLI::Option* const words = AddCommand(app, command, options, arguments);
        words->required(command.needsWords);
    }
    for (const auto& [name, description] : kOwnCommands) {
        // What follows is for the command itself to judge.
        app.add_subcommand(name, description)->prefix_command()->set_help_flag();
    }
    try {
        app.parse(count, values);
        RefuseLateCommands(app);
        RefuseExtras(app);
        MakeSteps(app, options, arguments);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? Conclude(kExitAsExpected) : kExitUsage;
        return std::nullopt;
    }
    return arguments;
}

} // namespace Host
