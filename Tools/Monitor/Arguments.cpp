// Arguments.cpp - the command line of the monitor.

#include "Tools/Monitor/Arguments.h"

#include "Tools/Common/CommandLine.h"
#include "Tools/Monitor/CommandOptions.h"
#include "Tools/Monitor/Commands.h"
#include "Tools/Monitor/MessageOptions.h"

#include <CLI/CLI.hpp>

namespace Monitor {
namespace {

constexpr const char* kDescription =
    "qxmon holds the port of the direct-monitor server and shows every message that\n"
    "a driver plug-in sends to it: enable, state and levels, decoded, with the device\n"
    "and the channel. It runs until Ctrl-C and then shows the last state of each\n"
    "device.";

constexpr const char* kFooter =
    "Exit codes:\n"
    "  0  ended as asked (by Ctrl-C too); every message was well formed\n"
    "  1  a message was malformed; diff: a difference; replay --send: one was refused\n"
    "  2  the command line is wrong, or --live has no terminal\n"
    "  3  the port is held by another process, or cannot be made; replay --send: none\n"
    "  4  a file cannot be read, or a recording is damaged\n"
    "  5  the standard output or the recording cannot be written\n"
    "  6  there is not enough memory\n"
    "  7  the reader of the standard output has gone\n"
    "  8  ended before the message that --until waits for\n"
    "\n"
    "Expressions:\n"
    "  An EXPR is a term, or several joined by \",\" or \"and\" that all have to hold:\n"
    "    device=258  channel=1  enable=1  state!=0  level<-20\n"
    "    parameter=level  message=OpLM  malformed\n"
    "  The comparisons are = != < <= > >=. One of the two levels (dB) is enough.\n"
    "\n"
    "Examples:\n"
    "  qxmon                      show messages until Ctrl-C\n"
    "  qxmon --hex --count 5      show five messages with their bytes\n"
    "  qxmon --json --for 10      ten seconds, one JSON object a line\n"
    "  qxmon --device 258 --until state=0\n"
    "                             one device, until its state becomes 0\n"
    "  qxmon --live               a full-screen view; ? shows its keys\n"
    "  qxmon --live --once --for 5\n"
    "                             the same as text, after five seconds\n"
    "  qxmon decode message.xml   decode a captured document\n"
    "  qxmon record now.jsonl     show messages and keep them in a file\n"
    "  qxmon replay now.jsonl --send\n"
    "                             send them again\n"
    "  qxmon serve --profile die-after 3\n"
    "                             a server that crashes at the third message\n";

} // namespace

std::optional<Arguments> ReadArguments(int count, const char* const* values, int& exitCode)
{
    Arguments arguments;
    CLI::App app(kDescription, "qxmon");
    app.footer(std::string(kFooter) + Tools::kEnvironmentHelp);
    app.failure_message(Tools::FormatFailure);
    app.fallthrough();
    app.allow_extras();
    app.set_version_flag("--version", "qxmon " QX_VERSION);
    app.add_flag("--hex", arguments.hasBytes, "Show the document's elements and the fields' bytes");
    app.add_flag("--json", arguments.isJSON, "Print one JSON object a line and nothing else");
    app.add_option("--count", arguments.count, "End after this many messages")
        ->type_name("N")
        ->check(Tools::MakeNumberCheck(1, 1000000000));
    app.add_option("--for", arguments.seconds, "End after this many seconds")
        ->type_name("SECONDS")
        ->check(Tools::MakeSecondsCheck(0.001, 1e9));
    AddMessageOptions(app, arguments);
    app.add_flag("--live", arguments.isLive, "Show devices and levels on the full screen");
    app.add_flag("--once", arguments.isOnce, "With --live: print its picture as text at the end");
    CLI::App* const decode =
        app.add_subcommand("decode", "Decode a captured XML document or a recording");
    std::string file;
    decode->add_option("FILE", file, "The document; - reads the standard input")
        ->type_name("")
        ->required()
        ->check(Tools::MakeNameCheck());
    AddCommands(app, arguments);
    try {
        app.parse(count, values);
        RefuseExtras(app, arguments);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? Conclude(kExitDone) : kExitUsage;
        return std::nullopt;
    }
    if (decode->parsed()) {
        arguments.decode = file;
    }
    return arguments;
}

} // namespace Monitor
