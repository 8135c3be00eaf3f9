// Run.cpp - starts, polls and gathers the processes of checks.

#include "Tools/Host/Validate/Run.h"

#include "Tools/Common/Terminal.h"

#include <algorithm>
#include <csignal>
#include <ctime>
#include <map>

namespace Validate {
namespace {

volatile std::sig_atomic_t gStopSignal = 0;

void Stop(int number)
{
    gStopSignal = number;
}

class Runner
{
public:
    Runner(const Plan& plan, IObserver& observer)
        : mPlan(plan)
        , mObserver(observer)
        , mHasOutputCheck(std::ranges::any_of(plan.checks, &Check::isAboutOutput))
    {}

    std::vector<CheckResult> Run();

private:
    bool MayStart() const;
    void Start();
    void Poll();
    void Take(std::size_t index, Outcome outcome);
    void ShowFinished();

    const Plan& mPlan;
    IObserver& mObserver;
    const bool mHasOutputCheck;
    std::vector<CheckResult> mResults;
    std::vector<bool> mIsOver;
    std::map<std::size_t, CheckProcess> mRunning; ///< by the index of the result
    std::size_t mStarted = 0;
    std::size_t mOver = 0;
    std::size_t mShown = 0;
    bool mIsStopped = false;
    bool mIsBarrierRunning = false; ///< a check whose result the others wait for
    bool mIsNoiseKnown = false;     ///< the check that is about output has failed
};

std::vector<CheckResult> Runner::Run()
{
    for (int turn = 0; turn < mPlan.repeat; ++turn) {
        for (const Check& check : mPlan.checks) {
            mResults.push_back({&check, turn + 1, Result::kNotRun, {}});
        }
    }
    mIsOver.resize(mResults.size());
    while (mStarted < mResults.size() || !mRunning.empty()) {
        mIsStopped = mIsStopped || gStopSignal != 0 || !Tools::IsOutputWritten();
        if (mIsStopped) {
            mRunning.clear();
            break;
        }
        while (MayStart()) {
            Start();
        }
        Poll();
        constexpr timespec kPause = {0, 1'000'000};
        nanosleep(&kPause, nullptr);
    }
    mIsOver.assign(mIsOver.size(), true);
    ShowFinished();
    return std::move(mResults);
}

bool Runner::MayStart() const
{
    return mStarted < mResults.size() && !mIsBarrierRunning && !mIsStopped &&
           mRunning.size() < static_cast<std::size_t>(mPlan.jobs);
}

void Runner::Start()
{
    const Check& check = *mResults[mStarted].check;
    mIsBarrierRunning = check.isGate || check.isAboutOutput;
    mObserver.ShowProgress(mOver, mResults.size(), check.name);
    mRunning.try_emplace(mStarted, check, mPlan);
    ++mStarted;
}

void Runner::Poll()
{
    for (auto running = mRunning.begin(); running != mRunning.end();) {
        std::optional<Outcome> outcome = running->second.Poll();
        if (outcome) {
            const std::size_t index = running->first;
            running = mRunning.erase(running);
            Take(index, std::move(*outcome));
        } else {
            ++running;
        }
    }
    ShowFinished();
}

void Runner::Take(std::size_t index, Outcome outcome)
{
    CheckResult& result = mResults[index];
    const Check& check = *result.check;
    // What is printed while the bundle is loaded is seen again by the check that is about output.
    const bool isToldElsewhere = mIsNoiseKnown || (check.isGate && mHasOutputCheck);
    if (outcome.isNoise && isToldElsewhere && !check.isAboutOutput) {
        outcome.finding.clear();
    }
    result.result = outcome.HasPassed() ? Result::kPassed : Result::kFailed;
    result.outcome = std::move(outcome);
    mIsOver[index] = true;
    ++mOver;
    const bool hasFailed = result.result == Result::kFailed;
    if (check.isGate || check.isAboutOutput) {
        mIsBarrierRunning = false;
    }
    mIsNoiseKnown = mIsNoiseKnown || (check.isAboutOutput && hasFailed);
    mIsStopped = mIsStopped || result.outcome.isNotLoaded || (check.isGate && hasFailed);
}

void Runner::ShowFinished()
{
    while (mShown < mResults.size() && mIsOver[mShown]) {
        CheckResult& result = mResults[mShown];
        mObserver.ShowResult(result);
        // Thousands of repetitions need not keep what is told.
        result.outcome.journal.reset();
        ++mShown;
    }
}

} // namespace

void NoteStopSignals()
{
    std::signal(SIGINT, Stop);
    std::signal(SIGTERM, Stop);
}

std::vector<CheckResult> RunChecks(const Plan& plan, IObserver& observer)
{
    NoteStopSignals();
    // A reader that has gone is noticed when a line cannot be written.
    std::signal(SIGPIPE, SIG_IGN);
    return Runner(plan, observer).Run();
}

int GetStopSignal()
{
    return gStopSignal;
}

} // namespace Validate
