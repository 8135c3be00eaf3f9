// MessageOptions.cpp - filters and expressions from the command line.

#include "Tools/Monitor/MessageOptions.h"

#include "Tools/Common/CommandLine.h"

namespace Monitor {
namespace {

void AddFilterOption(CLI::App& app, Filter& filter, const char* name, Subject subject,
                     const char* typeName, const char* description)
{
    const auto add = [&filter, name, subject](const std::vector<std::string>& values) {
        for (const std::string& value : values) {
            const std::string wrong = filter.Add(subject, value);
            if (!wrong.empty()) {
                Tools::Refuse(std::string(name) + ": " + wrong);
            }
        }
    };
    app.add_option_function<std::vector<std::string>>(name, add, description)
        ->type_name(typeName)
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

} // namespace

void AddMessageOptions(CLI::App& app, Arguments& arguments)
{
    AddFilterOption(app, arguments.filter, "--device", Subject::kDevice, "ID",
                    "Take messages of this device only");
    AddFilterOption(app, arguments.filter, "--parameter", Subject::kParameter,
                    "enable|level|state|N", "Take messages of this parameter only");
    AddFilterOption(app, arguments.filter, "--message", Subject::kMessage, "SLLM|OpLM|ClLM|N",
                    "Take messages of this ID only");
    const auto setUntil = [&arguments](const std::string& text) {
        std::string wrong;
        arguments.until = Expression::Parse(text, wrong);
        if (!arguments.until) {
            Tools::Refuse("--until \"" + text + "\": " + wrong);
        }
    };
    app.add_option_function<std::string>("--until", setUntil,
                                         "End after a message such as this; see below")
        ->type_name("EXPR");
}

} // namespace Monitor
