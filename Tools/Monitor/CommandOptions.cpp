// CommandOptions.cpp - record, replay, diff and serve on the command line.

#include "Tools/Monitor/CommandOptions.h"

#include "Tools/Common/CommandLine.h"
#include "Tools/Common/Nearest.h"
#include "Tools/Monitor/Columns.h"

#include <algorithm>

namespace Monitor {
namespace {

using Tools::Refuse;

/// The names of options or commands.
template <class Items>
std::vector<std::string> GetNames(const Items& items)
{
    std::vector<std::string> names;
    names.reserve(items.size());
    for (const auto* const item : items) {
        names.push_back(item->get_name());
    }
    return names;
}

/// Options that a command or another option has no use for. What is written "NAME X" is about the
/// form X of a command.
struct Idle
{
    const char* command;
    std::vector<std::string> options;
};

const Idle kIdle[] = {
    {"decode", {"--count", "--for", "--until", "--live", "--once"}},
    {"replay", {"--count", "--for", "--until", "--live", "--once"}},
    {"replay --send", {"--hex", "--json", "--device", "--parameter", "--message"}},
    {"diff",
     {"--hex", "--json", "--count", "--for", "--device", "--parameter", "--message", "--until",
      "--live", "--once"}},
    {"serve", {"--device", "--parameter", "--message", "--until", "--live", "--once"}},
    {"serve --profile silent", {"--hex", "--count"}},
    {"--live", {"--json", "--hex"}},
};

constexpr const char* kProfiles =
    "Profiles:\n"
    "  slow [SECONDS]  waits before each message (default: 1)\n"
    "  silent          takes no message\n"
    "  refuse [N]      refuses senders after N messages (default: 1)\n"
    "  die-after N     ends as in a crash at message N\n"
    "  garbage-reply   replies with bytes that mean nothing\n"
    "\n";

/// The options of the program that a command takes too.
std::string ListUseful(const CLI::App& app, const std::string& command)
{
    std::vector<std::string> names = GetNames(app.get_options());
    std::erase(names, "--help");
    std::erase(names, "--version");
    for (const Idle& idle : kIdle) {
        std::erase_if(names, [&](const std::string& name) {
            return idle.command == command &&
                   std::ranges::find(idle.options, name) != idle.options.end();
        });
    }
    if (names.empty()) {
        return "qxmon --help tells of exit codes.";
    }
    std::string text;
    for (const std::string& line : WrapToColumns(
             "These work here too: " + Tools::JoinWords(names) + ".", kTerminalColumns, 2)) {
        text += line + "\n";
    }
    return text + "qxmon --help tells of them and of exit codes.";
}

void RefuseIdle(const CLI::App& app, const std::string& command, const std::string& form)
{
    for (const Idle& idle : kIdle) {
        for (const std::string& option : idle.options) {
            if ((idle.command == command || idle.command == form) && app.count(option) > 0) {
                Refuse(option + " has no effect on " + idle.command);
            }
        }
    }
}

} // namespace

void AddCommands(CLI::App& app, Arguments& arguments)
{
    app.add_subcommand("record", "Show messages, and write them to a file as well")
        ->add_option("FILE", arguments.record, "The recording; what it held before is lost")
        ->type_name("")
        ->required()
        ->check(Tools::MakeOutputNameCheck());
    CLI::App* const replay =
        app.add_subcommand("replay", "Show a recording's messages as if they arrived");
    replay->add_option("FILE", arguments.replay, "The recording; - reads the standard input")
        ->type_name("")
        ->required()
        ->check(Tools::MakeNameCheck());
    replay->add_flag("--send", arguments.isSent,
                     "Send them to the server that holds the port instead, without pauses");
    CLI::App* const diff =
        app.add_subcommand("diff", "Tell the first difference of two recordings");
    diff->add_option("FILE", arguments.diff, "The recording; - reads the standard input")
        ->type_name("")
        ->required()
        ->check(Tools::MakeNameCheck());
    diff->add_option("OTHER", arguments.other, "The recording that it is compared with")
        ->type_name("")
        ->required()
        ->check(Tools::MakeNameCheck());
    const auto readFault = [&arguments](const std::vector<std::string>& words) {
        std::string wrong;
        arguments.fault = ReadFault(words, wrong);
        if (!wrong.empty()) {
            Refuse(wrong);
        }
    };
    app.add_subcommand("serve", "Be a server with a fault, to try a driver with")
        ->add_option_function<std::vector<std::string>>("--profile", readFault,
                                                        "What the server does wrong; see below")
        ->type_name("NAME [NUMBER]")
        ->required()
        ->expected(1, 2);
    for (CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; })) {
        command->footer(std::string());
        const std::string name = command->get_name();
        command->footer(
            [&app, name] { return (name == "serve" ? kProfiles : "") + ListUseful(app, name); });
    }
}

void RefuseExtras(const CLI::App& app, const Arguments& arguments)
{
    if (arguments.isOnce && !arguments.isLive) {
        Refuse("--once has an effect with --live only");
    }
    if (arguments.isLive) {
        RefuseIdle(app, "--live", "");
    }
    const std::vector<CLI::App*> given = app.get_subcommands();
    for (const std::string& word : app.remaining(true)) {
        std::vector<std::string> options = GetNames(app.get_options());
        for (const CLI::App* const command : given) {
            const std::vector<std::string> own = GetNames(command->get_options());
            options.insert(options.end(), own.begin(), own.end());
        }
        const auto isAny = [](const CLI::App*) { return true; };
        Refuse(Tools::DescribeUnexpected(word, options,
                                         given.empty() ? GetNames(app.get_subcommands(isAny))
                                                       : std::vector<std::string>()));
    }
    if (!given.empty()) {
        const std::string command = given.front()->get_name();
        std::string form = command + (arguments.isSent ? " --send" : "");
        if (arguments.fault && arguments.fault->profile == Profile::kSilent) {
            form += " --profile silent";
        }
        RefuseIdle(app, command, form);
    }
}

} // namespace Monitor
