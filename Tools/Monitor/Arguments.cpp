// Arguments.cpp - the command line of the monitor.

#include "Tools/Monitor/Arguments.h"

#include "Tools/Common/Text.h"

#include <CLI/CLI.hpp>

namespace Monitor {
namespace {

constexpr const char* kDescription =
    "qxmon holds the port of the direct-monitor server and shows every message that a driver\n"
    "plug-in sends to it: enable, state and levels, decoded, with the device and the channel.\n"
    "It runs until Ctrl-C and then shows the last state of each device.";

constexpr const char* kFooter =
    "Exit codes:\n"
    "  0  ended as asked (by Ctrl-C too); every message was well formed\n"
    "  1  ended as asked; at least one message was malformed\n"
    "  2  the command line is wrong\n"
    "  3  the port is held by another process, or cannot be made\n"
    "  4  the file to decode cannot be read\n"
    "  5  the standard output cannot be written\n"
    "  6  there is not enough memory\n"
    "\n"
    "Examples:\n"
    "  qxmon                      show messages until Ctrl-C\n"
    "  qxmon --hex --count 5      show five messages with their bytes\n"
    "  qxmon --json --for 10      ten seconds, one JSON object a line\n"
    "  qxmon decode message.xml   decode a captured document\n";

std::string FormatFailure(const CLI::App*, const CLI::Error& error)
{
    return "qxmon: " + Tools::EscapeControls(error.what()) + "\nqxmon --help tells more.\n";
}

/// What is wrong with a count or a time of the command line, or "". A time that is not a number
/// would never be over.
std::string CheckIsPositive(const std::string& text)
{
    double number = 0;
    if (!CLI::detail::lexical_cast(text, number) || !(number > 0)) {
        return "\"" + text + "\" is not a number above 0";
    }
    return {};
}

} // namespace

std::optional<Arguments> ReadArguments(int count, const char* const* values, int& exitCode)
{
    Arguments arguments;
    CLI::App app(kDescription, "qxmon");
    app.footer(kFooter);
    app.failure_message(FormatFailure);
    app.fallthrough();
    app.add_flag("--hex", arguments.hasBytes, "Show each field's bytes beside its name");
    app.add_flag("--json", arguments.isJSON, "Print one JSON object a line and nothing else");
    app.add_option("--count", arguments.count, "End after this many messages")
        ->type_name("N")
        ->check(CheckIsPositive);
    app.add_option("--for", arguments.seconds, "End after this many seconds")
        ->type_name("SECONDS")
        ->check(CheckIsPositive);
    CLI::App* const decode =
        app.add_subcommand("decode", "Decode a captured XML document, without any port");
    std::string file;
    decode->add_option("FILE", file, "The document; - reads the standard input")->required();
    try {
        app.parse(count, values);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? kExitDone : kExitUsage;
        return std::nullopt;
    }
    if (decode->parsed()) {
        arguments.decode = file;
    }
    return arguments;
}

} // namespace Monitor
