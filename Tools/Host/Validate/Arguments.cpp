// Arguments.cpp - the command line of qxhost validate.

#include "Tools/Host/Validate/Arguments.h"

#include "Tools/Common/CommandLine.h"
#include "Tools/Common/File.h"
#include "Tools/Common/Nearest.h"
#include "Tools/Host/ExitCode.h"
#include "Tools/Host/PlugIn.h"
#include "Tools/Host/Validate/ProfileFile.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

namespace Validate {
namespace {

using Tools::Refuse;

constexpr const char* kDescription =
    "Tries a driver plug-in bundle against every rule that a caller can observe.\n"
    "Each check runs in a process of its own, with a time limit and guards around all that is "
    "lent\n"
    "to the plug-in: a crash, a hang or an exit fails that check, and the others go on.";

constexpr const char* kFooter =
    "A check that fails says what was found, the last call with its arguments, and the command "
    "that\n"
    "repeats it, and leaves a recording of its calls and messages. The last line is the verdict.\n"
    "\n"
    "Exit codes:\n"
    "  0  every check passed\n"
    "  1  a check failed\n"
    "  2  the command line or the profile is wrong\n"
    "  3  the bundle cannot be loaded\n"
    "  4  the output or a file cannot be written, or no process can be started\n"
    "  9  the reader of the standard output has gone\n"
    "  130, 143  stopped by SIGINT or SIGTERM; the summary counts what was not run\n"
    "\n"
    "Examples:\n"
    "  qxhost validate                          the bundle beside qxhost, all checks\n"
    "  qxhost validate Driver.bundle --jobs 4   another one, four checks at a time\n"
    "  qxhost validate --list                   the names, tags and rules of all checks\n"
    "  qxhost validate --only threads --repeat 50\n"
    "  qxhost validate --only gain-nan-level    one check\n"
    "  qxhost validate Other.bundle --profile other.json\n";

Profile LoadProfile(const std::string& file)
{
    if (file.empty()) {
        return MakeBuiltInProfile();
    }
    std::string text;
    std::string failure = Tools::ReadWholeFile(file, text);
    if (!failure.empty()) {
        Refuse("cannot read the profile " + file + ": " + failure);
    }
    Profile profile;
    failure = ReadProfile(text, profile);
    if (!failure.empty()) {
        Refuse("the profile " + file + " is wrong: " + failure);
    }
    profile.file = file;
    return profile;
}

/// Keeps the checks that one of the words names.
void Select(Checks& checks, const std::vector<std::string>& words)
{
    std::vector<std::string> known;
    for (const Check& check : checks) {
        known.insert(known.end(), {check.name, check.tag});
    }
    for (const std::string& word : words) {
        if (std::ranges::find(known, word) == known.end()) {
            Refuse("there is no check and no tag \"" + word + "\"; " +
                   Tools::SuggestNearest(word, known) + "--list shows all");
        }
    }
    if (!words.empty()) {
        std::erase_if(checks, [&](const Check& check) {
            return std::ranges::find(words, check.name) == words.end() &&
                   std::ranges::find(words, std::string(check.tag)) == words.end();
        });
    }
}

/// The path that a check's own process, with a working folder of its own, finds too.
std::string MakeAbsolute(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.lexically_normal().string();
}

void AddOptions(CLI::App& app, Arguments& arguments, std::string& profile)
{
    app.add_option("BUNDLE", arguments.plan.bundle, "The bundle (default: the one beside qxhost)")
        ->type_name("")
        ->check(Tools::MakeNameCheck());
    app.add_flag("--list", arguments.isList, "List the checks with their tags and rules");
    app.add_option("--only", arguments.only,
                   "Run only the checks of that name or tag; may be given more than once")
        ->type_name("TAG|NAME")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--profile", profile, "The product's rules, as JSON (default: direct monitor)")
        ->type_name("FILE")
        ->check(Tools::MakeNameCheck());
    app.add_option("--repeat", arguments.plan.repeat, "Run all of it this often")
        ->type_name("N")
        ->check(Tools::MakeNumberCheck(1, 1000000));
    app.add_option("--jobs", arguments.plan.jobs, "Run this many checks at a time (default: 1)")
        ->type_name("N")
        ->check(Tools::MakeNumberCheck(1, 64));
    app.add_option("--rounds", arguments.plan.rounds,
                   "Rounds of the checks that look for growth (default: 1000)")
        ->type_name("N")
        ->check(Tools::MakeNumberCheck(1, 1000000));
    app.add_option("--time-limit", arguments.plan.timeLimit,
                   "The longest that a check may take (default: 30)")
        ->type_name("SECONDS")
        ->check(Tools::MakeSecondsCheck(0.1, 3600));
    app.add_flag("--json", arguments.isJSON, "Print one JSON object a line and nothing else");
    app.add_option("--junit", arguments.junit, "Write the results in the form of JUnit as well")
        ->type_name("FILE")
        ->check(Tools::MakeOutputNameCheck());
    app.add_option("--recordings", arguments.recordings,
                   "Where checks that fail leave recordings (default: qxhost-recordings)")
        ->type_name("FOLDER")
        ->check(Tools::MakeOutputNameCheck());
    app.add_flag("--quiet", arguments.isQuiet, "Show only checks that fail, and the verdict");
}

/// Refuses options that have no effect on --list.
void RefuseIdle(const CLI::App& app)
{
    for (const char* const name : {"--repeat", "--jobs", "--rounds", "--time-limit", "--json",
                                   "--junit", "--recordings", "--quiet"}) {
        if (app.count("--list") > 0 && app.count(name) > 0) {
            Refuse(std::string(name) + " has no effect with --list");
        }
    }
}

} // namespace

std::optional<Arguments> ReadArguments(int count, const char* const* values, int& exitCode)
{
    Arguments arguments;
    std::string profile;
    CLI::App app(kDescription, "qxhost validate");
    app.footer(kFooter);
    app.failure_message(Tools::FormatFailure);
    app.allow_extras();
    app.set_version_flag("--version", "qxhost " QX_VERSION);
    AddOptions(app, arguments, profile);
    try {
        app.parse(count, values);
        Tools::RefuseExtras(app);
        RefuseIdle(app);
        Plan& plan = arguments.plan;
        plan.bundle = MakeAbsolute(plan.bundle.empty() ? Host::FindDefaultPlugIn() : plan.bundle);
        for (const std::string& read : {plan.bundle, profile}) {
            if (Tools::IsSameFile(arguments.junit, read)) {
                Refuse("--junit: the results would take the place of " + read);
            }
        }
        plan.profile = LoadProfile(profile);
        plan.checks = MakeChecks(plan.profile);
        Select(plan.checks, arguments.only);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? Host::Conclude(Host::kExitAsExpected) : Host::kExitUsage;
        return std::nullopt;
    }
    return arguments;
}

} // namespace Validate
