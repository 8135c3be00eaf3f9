// Command.cpp - qxhost validate: from the command line to the verdict.

#include "Tools/Host/Validate/Command.h"

#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Host/ExitCode.h"
#include "Tools/Host/Validate/Arguments.h"
#include "Tools/Host/Validate/Report.h"
#include "Tools/Recording/Writer.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace Validate {
namespace {

using Tools::FormatText;

/// Says that a file cannot be written. Returns the exit code.
int ShowUnwritten(const std::string& file, const std::string& failure)
{
    std::fprintf(stderr, "qxhost: cannot write %s: %s\n", Tools::EscapeControls(file).c_str(),
                 failure.c_str());
    return Host::kExitUnwritten;
}

/// Passes on what happens to every report, and leaves recordings.
class Presenter final : public IObserver
{
public:
    Presenter(const Arguments& arguments, std::vector<std::unique_ptr<IReport>> reports)
        : mArguments(arguments)
        , mReports(std::move(reports))
    {}

    void ShowProgress(std::size_t over, std::size_t all, const std::string& name) override;
    void ShowResult(const CheckResult& result) override;
    Totals ShowTotals();
    bool HasFailedToWrite() const { return mHasFailedToWrite; }
    bool IsNotLoaded() const { return mIsNotLoaded; }

private:
    Advice Advise(const CheckResult& result);
    std::string Record(const CheckResult& result);

    const Arguments& mArguments;
    const std::vector<std::unique_ptr<IReport>> mReports;
    const std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
    Totals mTotals;
    bool mHasFailedToWrite = false;
    bool mIsNotLoaded = false;
};

void Presenter::ShowProgress(std::size_t over, std::size_t all, const std::string& name)
{
    for (const auto& report : mReports) {
        report->ShowProgress(over, all, name);
    }
}

std::string Presenter::Record(const CheckResult& result)
{
    const std::filesystem::path folder = mArguments.recordings;
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const std::string round = result.round > 1 ? FormatText(".%d", result.round) : "";
    std::string file = (folder / (result.check->name + round + ".jsonl")).string();
    const std::string failure =
        Recording::WriteRecording(file,
                                  {mArguments.plan.bundle, result.check->name,
                                   result.outcome.finding, result.outcome.journal->GetFirst() + 1},
                                  TakeEvents(*result.outcome.journal));
    if (!failure.empty()) {
        ShowUnwritten("the recording " + file, failure);
        mHasFailedToWrite = true;
        return "";
    }
    return file;
}

Advice Presenter::Advise(const CheckResult& result)
{
    const Plan& plan = mArguments.plan;
    Advice advice;
    advice.repeat =
        "qxhost validate " + Tools::QuoteForShell(plan.bundle) + " --only " + result.check->name;
    if (!plan.profile.file.empty()) {
        advice.repeat += " --profile " + Tools::QuoteForShell(
                                             std::filesystem::absolute(plan.profile.file).string());
    }
    if (plan.rounds != Plan().rounds) {
        advice.repeat += FormatText(" --rounds %d", plan.rounds);
    }
    if (plan.timeLimit != Plan().timeLimit) {
        advice.repeat += FormatText(" --time-limit %g", plan.timeLimit);
    }
    if (mArguments.recordings != Arguments().recordings) {
        advice.repeat +=
            " --recordings " +
            Tools::QuoteForShell(std::filesystem::absolute(mArguments.recordings).string());
    }
    // A bundle that cannot be loaded has made no calls.
    if (result.outcome.journal->GetCount() > 0) {
        advice.recording = Record(result);
    }
    return advice;
}

void Presenter::ShowResult(const CheckResult& result)
{
    ++(result.result == Result::kPassed   ? mTotals.passed
       : result.result == Result::kFailed ? mTotals.failed
                                          : mTotals.notRun);
    mIsNotLoaded = mIsNotLoaded || result.outcome.isNotLoaded;
    const Advice advice = result.result == Result::kFailed ? Advise(result) : Advice{};
    for (const auto& report : mReports) {
        report->ShowResult(result, advice);
    }
}

Totals Presenter::ShowTotals()
{
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - mStart;
    mTotals.seconds = time.count();
    for (const auto& report : mReports) {
        report->ShowTotals(mTotals);
    }
    return mTotals;
}

void List(const Checks& checks)
{
    for (const Check& check : checks) {
        Tools::PrintLine(
            FormatText("%-13s %-32s %s", check.tag, check.name.c_str(), check.rule.c_str()));
    }
}

int GetExitCode(const Presenter& presenter, const Totals& totals)
{
    if (presenter.HasFailedToWrite()) {
        return Host::kExitUnwritten;
    }
    if (GetStopSignal() != 0) {
        return 128 + GetStopSignal();
    }
    if (presenter.IsNotLoaded()) {
        return Host::kExitNotLoaded;
    }
    return totals.failed > 0 ? Host::kExitUnexpected : Host::kExitAsExpected;
}

int RunPlan(const Arguments& arguments)
{
    const bool showsProgress = !arguments.isJSON && isatty(STDERR_FILENO) == 1;
    std::string junitError;
    std::vector<std::unique_ptr<IReport>> reports;
    reports.push_back(
        arguments.isJSON ? MakeJSONReport()
                         : MakeTextReport(Tools::WantsColours(), arguments.isQuiet, showsProgress));
    if (!arguments.junit.empty()) {
        reports.push_back(MakeJUnitReport(arguments.junit, junitError));
    }
    // Told before the checks, which may take minutes.
    if (!junitError.empty()) {
        return ShowUnwritten(arguments.junit, junitError);
    }
    for (const auto& report : reports) {
        report->ShowPlan(arguments.plan);
    }
    Presenter presenter(arguments, std::move(reports));
    RunChecks(arguments.plan, presenter);
    const Totals totals = presenter.ShowTotals();
    const int exitCode = junitError.empty() ? GetExitCode(presenter, totals)
                                            : ShowUnwritten(arguments.junit, junitError);
    return Host::Conclude(exitCode);
}

} // namespace

int RunCommand(int count, const char* const* values)
{
    int exitCode = Host::kExitAsExpected;
    const std::optional<Arguments> arguments = ReadArguments(count, values, exitCode);
    if (!arguments) {
        return exitCode;
    }
    if (arguments->isList) {
        List(arguments->plan.checks);
        return Host::Conclude(Host::kExitAsExpected);
    }
    try {
        return RunPlan(*arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qxhost: %s\n", error.what());
        return Host::kExitUnwritten;
    }
}

} // namespace Validate
