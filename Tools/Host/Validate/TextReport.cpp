// TextReport.cpp - a validation as text for a person.

#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Host/Validate/Report.h"

#include <cstdio>

namespace Validate {
namespace {

using Tools::Colour;
using Tools::FormatText;
using Tools::PrintLine;

class TextReport final : public IReport
{
public:
    TextReport(bool isColoured, bool isQuiet, bool showsProgress)
        : mIsColoured(isColoured)
        , mIsQuiet(isQuiet)
        , mShowsProgress(showsProgress)
    {}

    void ShowPlan(const Plan& plan) override;
    void ShowProgress(std::size_t over, std::size_t all, const std::string& name) override;
    void ShowResult(const CheckResult& result, const Advice& advice) override;
    void ShowTotals(const Totals& totals) override;

private:
    void ShowDetails(const Outcome& outcome, const Advice& advice) const;
    void ShowDetail(const char* name, const std::string& text) const;
    void EraseProgress() const;

    const bool mIsColoured;
    const bool mIsQuiet;
    const bool mShowsProgress;
};

void TextReport::ShowPlan(const Plan& plan)
{
    if (mIsQuiet) {
        return;
    }
    PrintLine("qxhost: validating " + Tools::EscapeControls(plan.bundle));
    PrintLine("        with the profile " + Tools::EscapeControls(plan.profile.name) +
              (plan.profile.file.empty() ? "" : " of " + Tools::EscapeControls(plan.profile.file)));
}

void TextReport::ShowProgress(std::size_t over, std::size_t all, const std::string& name)
{
    if (mShowsProgress) {
        const std::string line = FormatText("[%zu of %zu] %s", over, all, name.c_str());
        std::fprintf(stderr, "\r\033[K%s", line.c_str());
    }
}

void TextReport::EraseProgress() const
{
    if (mShowsProgress) {
        std::fputs("\r\033[K", stderr);
    }
}

void TextReport::ShowResult(const CheckResult& result, const Advice& advice)
{
    const Check& check = *result.check;
    // The verdict counts what was not run.
    if (result.result == Result::kNotRun || (result.result == Result::kPassed && mIsQuiet)) {
        return;
    }
    EraseProgress();
    if (result.result == Result::kPassed) {
        PrintLine(Tools::Paint("ok", Colour::kGood, mIsColoured) +
                  FormatText("       %-32s  ", check.name.c_str()) +
                  Tools::Paint(FormatText("%.3f s", result.outcome.seconds), Colour::kFaint,
                               mIsColoured));
        return;
    }
    PrintLine(Tools::Paint("FAILED ", Colour::kBad, mIsColoured) +
              FormatText("  %-32s  %s", check.name.c_str(), check.rule.c_str()));
    ShowDetails(result.outcome, advice);
}

void TextReport::ShowDetails(const Outcome& outcome, const Advice& advice) const
{
    ShowDetail("found", outcome.finding);
    ShowDetail("last call", outcome.lastCall);
    ShowDetail("printed", outcome.output + outcome.errors);
    ShowDetail("recording", advice.recording);
    ShowDetail("repeat", advice.repeat);
}

void TextReport::ShowDetail(const char* name, const std::string& text) const
{
    constexpr std::size_t kMostShown = 400;
    if (!text.empty()) {
        PrintLine(FormatText("         %-10s ", name) +
                  Tools::EscapeControls(text.substr(0, kMostShown)));
    }
}

void TextReport::ShowTotals(const Totals& totals)
{
    EraseProgress();
    const std::string notRun =
        totals.notRun > 0 ? FormatText(", %zu not run", totals.notRun) : std::string();
    const bool isGood = totals.failed == 0 && totals.notRun == 0;
    PrintLine(
        Tools::Paint(FormatText("%zu passed, %zu failed", totals.passed, totals.failed) + notRun,
                     isGood ? Colour::kGood : Colour::kBad, mIsColoured));
}

} // namespace

const char* GetName(Result result)
{
    switch (result) {
    case Result::kPassed:
        return "passed";
    case Result::kFailed:
        return "failed";
    case Result::kNotRun:
        break;
    }
    return "not run";
}

std::unique_ptr<IReport> MakeTextReport(bool isColoured, bool isQuiet, bool showsProgress)
{
    return std::make_unique<TextReport>(isColoured, isQuiet, showsProgress);
}

} // namespace Validate
