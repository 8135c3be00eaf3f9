// Script.cpp - the grammar of the host's line language.

#include "Tools/Host/Script.h"

#include "Tools/Common/Nearest.h"
#include "Tools/Host/Status.h"

#include <charconv>
#include <set>
#include <utility>

namespace Host {
namespace {

using Words = std::vector<std::string>;

/// Splits a line at its blanks. A code in single quotes may hold blanks; a comment is left out.
Words SplitLine(std::string_view line)
{
    constexpr std::string_view kBlanks = " \t\r";
    Words words;
    std::size_t position = line.find_first_not_of(kBlanks);
    while (position != std::string_view::npos && line[position] != '#') {
        constexpr std::size_t kQuotedCodeSize = 6;
        const std::string_view quoted = line.substr(position, kQuotedCodeSize);
        const bool isQuoted =
            quoted.size() == kQuotedCodeSize && quoted.front() == '\'' && quoted.back() == '\'';
        std::size_t end = line.find_first_of(kBlanks, isQuoted ? position + 6 : position);
        end = end == std::string_view::npos ? line.size() : end;
        words.emplace_back(line.substr(position, end - position));
        position = line.find_first_not_of(kBlanks, end);
    }
    return words;
}

class Parser
{
public:
    /// Reads one line. Returns what is wrong with it, or "".
    std::string ParseLine(const Words& words);

    std::vector<Step> steps;

private:
    std::string ParseDevice(Action action, const Words& words);
    std::string ParseCall(Action action, std::size_t first, const Words& words);
    std::string ParseStream(const Words& words);
    std::string ParseSleep(const Words& words);
    std::string ParseExpect(const Words& words);
    std::string ApplyOption(Step& step, const std::string& name, const std::string& value);
    void AddCall(Step step)
    {
        mLastCall = steps.size();
        steps.push_back(std::move(step));
    }

    std::optional<std::size_t> mLastCall; ///< in `steps`; what expect is about
};

std::string Parser::ParseLine(const Words& words)
{
    const std::string& verb = words.front();
    if (verb == "open") {
        return ParseDevice(Action::kOpen, words);
    }
    if (verb == "close") {
        return ParseDevice(Action::kClose, words);
    }
    if (verb == "set") {
        return ParseCall(Action::kSet, 1, words);
    }
    if (verb == "get") {
        return ParseCall(Action::kGet, 1, words);
    }
    if (verb == "info") {
        return ParseCall(Action::kInfo, 1, words);
    }
    if (verb == "stream") {
        return ParseStream(words);
    }
    if (verb == "sleep") {
        return ParseSleep(words);
    }
    if (verb == "expect") {
        return ParseExpect(words);
    }
    return "unknown statement \"" + verb + "\"; " +
           Tools::SuggestNearest(
               verb, {"open", "close", "set", "get", "info", "stream", "sleep", "expect"}) +
           "there are open, close, set, get, info, stream, sleep and expect";
}

std::string Parser::ParseDevice(Action action, const Words& words)
{
    const bool isOpen = action == Action::kOpen;
    if (words.size() > 2 || (isOpen && words.size() != 2)) {
        return isOpen ? "open takes a device ID" : "close takes a device ID or nothing";
    }
    Step step;
    step.action = action;
    if (words.size() == 2) {
        step.device = ParseWord(words[1]);
        if (!step.device) {
            return "\"" + words[1] + "\" is not a device ID";
        }
    }
    AddCall(std::move(step));
    return {};
}

std::string Parser::ParseCall(Action action, std::size_t first, const Words& words)
{
    if (words.size() <= first) {
        return words.back() + " takes a property: enable, level, state or a four-character code";
    }
    const std::optional<Property> property = FindProperty(words[first]);
    if (!property) {
        const std::string hint = Tools::FindNearest(words[first], GetPropertyNames());
        return "\"" + words[first] + "\" is not a property" +
               (hint.empty() ? "" : "; did you mean " + hint + "?");
    }
    Step step = MakeStep(action, *property);
    Words values;
    Words options;
    for (std::size_t index = first + 1; index < words.size(); ++index) {
        const bool isOption = words[index].find('=') != std::string::npos;
        (isOption ? options : values).push_back(words[index]);
    }
    if (action == Action::kSet && !SetValue(step, *property, values)) {
        return property->isLevel ? "set level takes two gains, such as 1.0 0.5"
                                 : "set takes one number, or on or off";
    }
    if (action != Action::kSet && !values.empty()) {
        return "\"" + values.front() + "\" is unexpected here";
    }
    std::set<std::string> names;
    for (const std::string& option : options) {
        const std::size_t equals = option.find('=');
        const std::string name = option.substr(0, equals);
        if (!names.insert(name).second) {
            return "\"" + option + "\": " + name + "= is there twice";
        }
        std::string error = ApplyOption(step, name, option.substr(equals + 1));
        if (!error.empty()) {
            return error;
        }
    }
    AddCall(std::move(step));
    return {};
}

std::string Parser::ApplyOption(Step& step, const std::string& name, const std::string& value)
{
    const std::optional<UInt32> number = ParseWord(value);
    if (name == "side" && IsStream(step.action)) {
        return "side has no effect on stream: a stream has one side";
    }
    if (name == "side") {
        if (value != "input" && value != "output") {
            return "side is input or output";
        }
        step.isInput = value == "input" ? 1 : 0;
        return {};
    }
    if (name != "device" && name != "channel" && name != "size") {
        return "unknown option \"" + name + "\"; there are device, channel, side and size";
    }
    if (!number) {
        return "\"" + value + "\" is not a number for " + name;
    }
    if (name == "device") {
        step.device = number;
    } else if (name == "channel") {
        step.channel = *number;
    } else if (*number > kLargestSize) {
        return "size is at most 65536";
    } else {
        SetSize(step, *number);
    }
    return {};
}

std::string Parser::ParseStream(const Words& words)
{
    const std::string verb = words.size() > 1 ? words[1] : "";
    if (verb == "info") {
        return ParseCall(Action::kStreamInfo, 2, words);
    }
    if (verb == "get") {
        return ParseCall(Action::kStreamGet, 2, words);
    }
    if (verb == "set") {
        return ParseCall(Action::kStreamSet, 2, words);
    }
    return "stream takes info, get or set, and a property";
}

std::string Parser::ParseSleep(const Words& words)
{
    Step step;
    step.action = Action::kSleep;
    const std::string text = words.size() == 2 ? words[1] : "";
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, step.seconds);
    constexpr double kLongest = 3600;
    if (error != std::errc() || stop != end || !(step.seconds >= 0 && step.seconds <= kLongest)) {
        return "sleep takes seconds, 3600 at most";
    }
    steps.push_back(step);
    return {};
}

std::string Parser::ParseExpect(const Words& words)
{
    if (words.size() != 2) {
        return "expect takes a status: ok, a number, a four-character code, or any";
    }
    if (!mLastCall) {
        return "expect must follow the call it checks";
    }
    Step& call = steps[*mLastCall];
    call.isAnyExpected = words[1] == "any";
    if (!call.isAnyExpected) {
        const std::optional<SInt32> status = ParseStatus(words[1]);
        if (!status) {
            return "\"" + words[1] + "\" is not a status";
        }
        call.expected = *status;
    }
    return {};
}

} // namespace

Script ParseScript(std::string_view text)
{
    Script script;
    Parser parser;
    int line = 0;
    while (!text.empty() && script.error.empty()) {
        ++line;
        const std::size_t end = text.find('\n');
        const Words words = SplitLine(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (!words.empty()) {
            script.error = parser.ParseLine(words);
            script.errorLine = script.error.empty() ? 0 : line;
        }
    }
    script.steps = std::move(parser.steps);
    return script;
}

} // namespace Host
