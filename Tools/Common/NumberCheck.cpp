// NumberCheck.cpp - ranges in plain words.

#include "Tools/Common/NumberCheck.h"

#include "Tools/Common/Text.h"

#include <charconv>
#include <string>

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

} // namespace Tools
