// TextReport.cpp - the host's output for a person.

#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Host/Report.h"
#include "Tools/Host/Status.h"
#include "Tools/Recording/Event.h"

#include <algorithm>

namespace Host {
namespace {

using Tools::Colour;
using Tools::FormatText;
using Tools::PrintLine;

bool HasProperty(Action action)
{
    return action != Action::kOpen && action != Action::kClose;
}

std::string FormatDuration(double microseconds)
{
    return microseconds < 1000 ? FormatText("%.1f us", microseconds)
                               : FormatText("%.2f ms", microseconds / 1000);
}

std::string FormatSelector(UInt32 selector)
{
    const std::string name = GetProperty(selector).name;
    const std::string text = Recording::DescribeSelector(selector);
    return name.empty() ? text : text + " " + name;
}

class TextReport final : public IReport
{
public:
    TextReport(bool isColoured, bool isOwn)
        : mIsColoured(isColoured)
        , mIsOwn(isOwn)
    {}

    void ShowPlugIn(const std::string& path) override;
    void ShowServer(const std::string& portName, bool isThere, bool canBeThere) override;
    void ShowCall(std::size_t number, const Step& step, const CallResult& result) override;
    void ShowTotals(const Totals& totals) override;
    void ShowEnd(const std::string& how, const ChildEnd& end, const std::string& gdb) override;

private:
    std::string Paint(const std::string& text, Colour colour) const
    {
        return Tools::Paint(text, colour, mIsColoured);
    }

    const bool mIsColoured;
    const bool mIsOwn;
};

void TextReport::ShowPlugIn(const std::string& path)
{
    PrintLine("qxhost: plug-in " + Tools::EscapeControls(path));
}

void TextReport::ShowServer(const std::string& portName, bool isThere, bool canBeThere)
{
    if (isThere) {
        PrintLine("qxhost: a server holds the port " + portName);
        return;
    }
    PrintLine("qxhost: " + Paint("no server is running", Colour::kBad) +
              ": no process holds the port " + portName);
    if (!mIsOwn) {
        return;
    }
    PrintLine(
        "        Enable and state will answer -3. A level will answer 0, but no server gets it.");
    if (canBeThere) {
        PrintLine("        Start qxmon in another terminal to have one.");
    }
}

void TextReport::ShowCall(std::size_t number, const Step& step, const CallResult& result)
{
    PrintLine(FormatText("%5zu  %-38s  %s", number, GetEntryPointName(step.action),
                         DescribeArguments(step, result).c_str()));
    const std::string output = DescribeOutput(step, result);
    std::string line = result.exception.empty()
                           ? FormatStatus(result.status) + "  " + ExplainFor(result.status, mIsOwn)
                           : "threw an exception: " + Tools::EscapeControls(result.exception);
    line += output.empty() ? "" : "; " + output;
    line = Paint(line, result.isAsExpected ? Colour::kGood : Colour::kBad);
    line += "  " + Paint("[" + FormatDuration(result.microseconds) + "]", Colour::kFaint);
    PrintLine("       -> " + line);
    if (result.overrun > 0) {
        PrintLine(Paint("       !! it wrote " + Tools::Count(result.overrun, "byte") +
                            " after the end of its room",
                        Colour::kBad));
    } else if (!result.isAsExpected) {
        PrintLine(Paint("       !! expected " +
                            (step.isAnyExpected ? "a status" : FormatStatus(step.expected)),
                        Colour::kBad));
    }
}

void TextReport::ShowTotals(const Totals& totals)
{
    const double mean = totals.calls > 0 ? totals.sum / static_cast<double>(totals.calls) : 0;
    PrintLine("qxhost: " + Tools::Count(totals.calls, "call") +
              FormatText(", %zu as expected, %zu not; shortest %s, mean %s, longest %s",
                         totals.calls - totals.unexpected, totals.unexpected,
                         FormatDuration(totals.shortest).c_str(), FormatDuration(mean).c_str(),
                         FormatDuration(totals.longest).c_str()));
}

void TextReport::ShowEnd(const std::string& how, const ChildEnd& end, const std::string& gdb)
{
    PrintLine("qxhost: " + Paint(how, Colour::kBad));
    if (!end.call.empty()) {
        PrintLine((end.isInCall ? "        during:   " : "        after:    ") + end.call);
    }
    PrintLine("        to debug: " + gdb);
}

} // namespace

void Totals::Take(const CallResult& result)
{
    shortest = calls == 0 ? result.microseconds : std::min(shortest, result.microseconds);
    longest = std::max(longest, result.microseconds);
    sum += result.microseconds;
    unexpected += result.isAsExpected ? 0 : 1;
    ++calls;
}

std::string DescribeArguments(const Step& step, const CallResult& result)
{
    std::string text = FormatText("device %llu", UInt64{result.device});
    if (!HasProperty(step.action)) {
        return text;
    }
    text += FormatText(", channel %llu, ", UInt64{step.channel});
    if (!IsStream(step.action)) {
        text += step.isInput != 0 ? "input, " : "output, ";
    }
    text += FormatSelector(step.property);
    if (step.action == Action::kGet || step.action == Action::kStreamGet) {
        text += ", room for " + Tools::Count(step.size, "byte");
    } else if (step.action == Action::kSet || step.action == Action::kStreamSet) {
        text += ", " + Tools::Count(step.size, "byte");
        text += step.valueText.empty() ? "" : ": " + step.valueText;
    }
    return text;
}

std::string DescribeOutput(const Step& step, const CallResult& result)
{
    if (!result.exception.empty()) {
        return {};
    }
    if (step.action == Action::kInfo) {
        return FormatText("size %llu, %s", UInt64{result.size},
                          result.isWritable != 0 ? "can be set" : "cannot be set");
    }
    if (!result.data.empty()) {
        return "data " + Tools::FormatHex(result.data.data(), result.data.size(), " ");
    }
    return {};
}

std::string ExplainFor(SInt32 status, bool isOwn)
{
    const std::string text = ExplainStatus(status);
    return isOwn ? text : text.substr(0, text.find(':'));
}

std::unique_ptr<IReport> MakeTextReport(bool isColoured, bool isOwn)
{
    return std::make_unique<TextReport>(isColoured, isOwn);
}

} // namespace Host
