// CommandLine.cpp - checks of words, and refusals.

#include "Tools/Common/CommandLine.h"

#include "Tools/Common/Nearest.h"
#include "Tools/Common/Text.h"

#include <charconv>

namespace Tools {
namespace {

template <class Number>
CLI::Validator MakeCheck(const std::string& kind, Number least, Number most)
{
    return {[=](const std::string& text) {
                Number number = 0;
                const char* const end = text.data() + text.size();
                const auto [stop, error] = std::from_chars(text.data(), end, number);
                const bool isGood =
                    error == std::errc() && stop == end && number >= least && number <= most;
                return isGood ? std::string()
                              : "\"" + text + "\" is not " + kind + " from " +
                                    FormatText("%.15g", static_cast<double>(least)) + " to " +
                                    FormatText("%.15g", static_cast<double>(most));
            },
            ""};
}

} // namespace

CLI::Validator MakeNumberCheck(unsigned least, unsigned most)
{
    return MakeCheck("a whole number", least, most);
}

CLI::Validator MakeSecondsCheck(double least, double most)
{
    return MakeCheck("a number of seconds", least, most);
}

CLI::Validator MakeNameCheck()
{
    return {[](const std::string& text) {
                return text.empty() ? std::string("the name is empty") : std::string();
            },
            ""};
}

CLI::Validator MakeOutputNameCheck()
{
    return {[](const std::string& text) {
                return text.empty() ? std::string("the name is empty")
                       : text == "-"
                           ? std::string("the standard output is for other text; name a file")
                           : std::string();
            },
            ""};
}

void RefuseExtras(const CLI::App& app)
{
    std::vector<std::string> options;
    for (const CLI::Option* const option : app.get_options()) {
        options.push_back(option->get_name());
    }
    for (const std::string& word : app.remaining(true)) {
        Refuse(DescribeUnexpected(word, options, {}));
    }
}

void Refuse(const std::string& text)
{
    throw CLI::ValidationError(text);
}

std::string FormatFailure(const CLI::App* app, const CLI::Error& error)
{
    const std::string& name = app->get_name();
    return name + ": " + EscapeControls(error.what()) + "\n" + name + " --help tells more.\n";
}

} // namespace Tools
