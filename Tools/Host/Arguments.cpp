// Arguments.cpp - the command line of the host.

#include "Tools/Host/Arguments.h"

#include "Tools/Common/File.h"
#include "Tools/Common/Text.h"
#include "Tools/Host/Script.h"
#include "Tools/Host/Session.h"
#include "Tools/Host/Status.h"

#include <CLI/CLI.hpp>

namespace Host {
namespace {

constexpr const char* kDescription =
    "qxhost loads a driver plug-in and calls its entry points, as the audio hardware layer does.\n"
    "Every call is shown with its arguments, its status in plain words, and how long it took.";

constexpr const char* kFooter =
    "Unless --expect says otherwise, open, close, info and set are to answer 0, get 'unop' (the\n"
    "direct-monitor properties can only be set), and stream 'who?'.\n"
    "\n"
    "Exit codes:\n"
    "  0  every call answered as expected\n"
    "  1  a call answered otherwise, or threw an exception\n"
    "  2  the command line or the script is wrong\n"
    "  3  the plug-in cannot be loaded, or lacks an entry point\n"
    "  4  the standard output cannot be written\n"
    "  5  there is not enough memory\n"
    "\n"
    "Examples:\n"
    "  qxhost info                              what the plug-in says of its properties\n"
    "  qxhost set enable on                     switch direct monitoring on, device 258\n"
    "  qxhost set level 1.0 0.5 --channel 2     gains of input channel 2\n"
    "  qxhost set state 1 --device 7 --device 8 two devices\n"
    "  qxhost run session.qxs                   a script, one statement a line\n";

/// What the options say, before steps are made of it.
struct Options
{
    std::vector<std::string> devices;
    std::optional<UInt32> channel;
    std::optional<std::string> expected;
    bool isOutput = false;
    std::vector<std::string> words; ///< of the subcommand
};

/// Throws: CLI::ValidationError with that text.
[[noreturn]] void Refuse(const std::string& text)
{
    throw CLI::ValidationError(text);
}

std::string FormatFailure(const CLI::App*, const CLI::Error& error)
{
    return "qxhost: " + Tools::EscapeControls(error.what()) + "\nqxhost --help tells more.\n";
}

Property RequireProperty(const std::string& word)
{
    const std::optional<Property> property = FindProperty(word);
    if (!property) {
        Refuse("\"" + word + "\" is not a property: enable, level, state or a four-character code");
    }
    return *property;
}

void LoadScript(const Options& options, Arguments& arguments)
{
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
    arguments.repeated = std::move(script.steps);
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
        const std::optional<UInt32> device = ParseWord(word);
        if (!device) {
            Refuse("\"" + word + "\" is not a device ID");
        }
        mDevices.push_back(*device);
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
    step.channel = mOptions.channel.value_or(step.channel);
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

void AddOptions(CLI::App& app, Options& options, Arguments& arguments)
{
    app.add_option("--plugin", arguments.plugIn, "The bundle (default: the one beside qxhost)")
        ->type_name("PATH");
    app.add_option("--device", options.devices,
                   "Device ID (default: 258); may be given more than once")
        ->type_name("ID")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--channel", options.channel, "Channel (default: 1 for level, else 0: master)")
        ->type_name("N");
    app.add_flag("--output", options.isOutput, "Address the output side instead of the input side");
    app.add_option("--expect", options.expected,
                   "The status to expect: ok, a number, a four-character code, or any")
        ->type_name("STATUS");
    app.add_option("--repeat", arguments.repeat, "Repeat the call, or the script, this often")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    app.add_flag("--json", arguments.isJSON, "Print one JSON object a line and nothing else");
    app.add_flag("--quiet", arguments.isQuiet,
                 "Show only calls that answer otherwise than expected");
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
    app.footer(kFooter);
    app.failure_message(FormatFailure);
    app.fallthrough();
    app.require_subcommand(1);
    AddOptions(app, options, arguments);
    app.add_subcommand("info", "Ask for a property's size and whether it can be set")
        ->add_option("PROPERTY", options.words, "enable, level, state or a code (default: all)");
    app.add_subcommand("get", "Read a property")
        ->add_option("PROPERTY", options.words, "enable, level, state or a code (default: all)");
    app.add_subcommand("set", "Set a property: enable N, state N, level GAIN GAIN")
        ->add_option("PROPERTY VALUE", options.words, "The property and its value")
        ->required();
    app.add_subcommand("stream", "Call the three stream entry points")
        ->add_option("PROPERTY", options.words, "enable, level, state or a code (default: enable)");
    app.add_subcommand("run", "Run a script")
        ->add_option("SCRIPT", options.words, "The script; - reads the standard input")
        ->required()
        ->expected(1);
    try {
        app.parse(count, values);
        MakeSteps(app, options, arguments);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? kExitAsExpected : kExitUsage;
        return std::nullopt;
    }
    return arguments;
}

} // namespace Host
