// Run.h - runs checks, several at once if that is wanted, and tells of each in their order.
#pragma once

#include "Tools/Host/Validate/CheckProcess.h"

#include <vector>

namespace Validate {

enum class Result
{
    kPassed,
    kFailed,
    kNotRun ///< since the bundle cannot be loaded, or the run was stopped
};

struct CheckResult
{
    const Check* check = nullptr;
    int round = 1; ///< of the plan's repetitions
    Result result = Result::kNotRun;
    Outcome outcome;
};

/// Is told of a run as it goes on.
class IObserver
{
public:
    virtual ~IObserver() = default;
    /// How many checks are over, and the one that was started last.
    virtual void ShowProgress(std::size_t over, std::size_t all, const std::string& name) = 0;
    /// Each check once, in the order of the plan.
    virtual void ShowResult(const CheckResult& result) = 0;
};

/// Runs the plan. A check in which the plug-in does nothing wrong but print something fails, unless
/// the check that is about output has failed before and said so. SIGINT and SIGTERM end the run:
/// the rest counts as not run.
std::vector<CheckResult> RunChecks(const Plan& plan, IObserver& observer);

/// From now on SIGINT and SIGTERM are noted and do no more.
void NoteStopSignals();

/// The signal that has come, or 0.
int GetStopSignal();

} // namespace Validate
