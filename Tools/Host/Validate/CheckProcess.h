// CheckProcess.h - one check in a process of its own, with limits, and what came of it.
//
// Nothing of the bundle is ever loaded into the process that starts checks, so each check begins
// with a clean one: whatever a plug-in does, it does to its own check only.
#pragma once

#include "Tools/Host/Validate/Check.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>

namespace Validate {

/// What is to be run, and how.
struct Plan
{
    std::string bundle; ///< an absolute path
    Profile profile;
    Checks checks;
    int repeat = 1;
    int jobs = 1;
    int rounds = 1000;     ///< of checks that look for growth
    double timeLimit = 30; ///< of one check, in seconds
};

/// How a check ended.
struct Outcome
{
    std::string finding;      ///< what is wrong, or ""
    bool isNotLoaded = false; ///< the bundle could not be loaded at all
    bool isNoise = false;     ///< nothing is wrong but that something was printed
    std::string lastCall;     ///< the call that was made last, or ""
    std::string output;       ///< what was written to the standard output
    std::string errors;       ///< and to the standard error
    double seconds = 0;
    std::shared_ptr<const Journal> journal;

    bool HasPassed() const { return finding.empty(); }
};

class CheckProcess
{
public:
    using Clock = std::chrono::steady_clock;

    /// Starts the check. All that it is given must live as long as this. Throws std::runtime_error
    /// if there can be no process.
    CheckProcess(const Check& check, const Plan& plan);
    /// Kills the process and all that it has started.
    ~CheckProcess();
    CheckProcess(const CheckProcess&) = delete;
    CheckProcess& operator=(const CheckProcess&) = delete;

    /// Returns the outcome if the check is over or its time is. Never waits.
    std::optional<Outcome> Poll();

    /// Gives the check up. Its outcome is what has been so far.
    Outcome Stop();

private:
    [[noreturn]] void Run(const Plan& plan) const;
    void EnterFolder() const;
    void KillAll();
    Outcome Judge(const std::string& finding) const;
    std::string DescribeEnd(int status, bool isLate) const;

    const Check& mCheck;
    const double mTimeLimit;
    const Clock::time_point mStart = Clock::now();
    std::string mFolder; ///< the check's own: its working folder, home and ports
    int mOutput = -1;
    int mErrors = -1;
    pid_t mProcess = -1;
    std::shared_ptr<Journal> mJournal;
};

} // namespace Validate
