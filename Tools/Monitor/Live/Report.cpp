// Report.cpp - when the picture is painted, and what the keys do to it.

#include "Tools/Monitor/Live/Report.h"

#include "Tools/Common/PortExtras.h"
#include "Tools/Common/Terminal.h"
#include "Tools/Monitor/Live/Screen.h"
#include "Tools/Monitor/Live/TerminalWatch.h"

#include <CoreFoundation/CoreFoundation.h>

#include <chrono>

namespace Monitor {
namespace {

// A picture is painted no sooner than this after another, however many messages come.
constexpr double kPaintSeconds = 0.05;
// How often rates are shown while they fall.
constexpr double kRateSeconds = 0.25;

double GetNow()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

class LiveReport final : public IReport
{
public:
    LiveReport(bool isOnce, bool isColoured)
        : mIsOnce(isOnce)
        , mIsColoured(isColoured)
    {}

    void ShowReady(const std::string& portName) override;
    void ShowMessage(const Arrival& arrival) override;
    void ShowLeftOut() override;
    std::optional<double> Refresh() override;
    void ShowSummary(const StateTable& table) override;

private:
    void NoteChange();
    bool TakeKeys();
    void Paint(double now);
    Sender FindSender(SInt32 process);

    const bool mIsOnce;
    const bool mIsColoured;
    std::unique_ptr<IScreen> mScreen;
    View mView;
    LiveState mState;
    /// The state that a frozen view shows, and its time.
    LiveState mFrozenState;
    double mFrozenTime = 0;
    Sender mLastSender;
    bool mIsChanged = true;
    bool mIsIdle = true; ///< every rate that was painted last is 0
    double mPaintTime = 0;
};

void LiveReport::ShowReady(const std::string& portName)
{
    mView.port = portName;
    if (!mIsOnce) {
        mScreen = OpenScreen(mIsColoured);
        StopRunLoopOnTerminal();
        if (mScreen != nullptr) {
            mScreen->TakeSize(mView.rows, mView.columns);
        }
    }
}

void LiveReport::NoteChange()
{
    if (mView.isFrozen) {
        return;
    }
    // The loop ends so that Refresh says when to paint; while it knows, the loop goes on.
    if (!mIsChanged && !mIsOnce) {
        CFRunLoopStop(CFRunLoopGetCurrent());
    }
    mIsChanged = true;
}

Sender LiveReport::FindSender(SInt32 process)
{
    if (process != mLastSender.process || mLastSender.program.empty()) {
        mLastSender = {process, process != 0 ? Tools::GetProgramName(process) : ""};
    }
    return mLastSender;
}

void LiveReport::ShowMessage(const Arrival& arrival)
{
    mState.Take(arrival.message, FindSender(arrival.sender), GetNow());
    NoteChange();
}

void LiveReport::ShowLeftOut()
{
    mState.LeaveOut();
    NoteChange();
}

/// Does what the keys ask for. Returns false if that is the end.
bool LiveReport::TakeKeys()
{
    while (const std::optional<Key> key = mScreen->ReadKey()) {
        const bool wasFrozen = mView.isFrozen;
        if (!mView.Press(*key)) {
            return false;
        }
        if (mView.isFrozen && !wasFrozen) {
            mFrozenState = mState;
            mFrozenTime = GetNow();
        }
        mIsChanged = true;
        mPaintTime = 0; // at once
    }
    ResumeKeys();
    return true;
}

void LiveReport::Paint(double now)
{
    const Picture picture = mView.isFrozen ? MakePicture(mFrozenState, mView, mFrozenTime)
                                           : MakePicture(mState, mView, now);
    mView.first = picture.first;
    mScreen->Paint(picture);
    mPaintTime = now;
    mIsChanged = false;
    mIsIdle = mView.isFrozen || mState.IsIdle(now);
}

std::optional<double> LiveReport::Refresh()
{
    if (mIsOnce) {
        return IReport::Refresh();
    }
    if (mScreen == nullptr) {
        return std::nullopt;
    }
    if (WasResized()) {
        mScreen->TakeSize(mView.rows, mView.columns);
        mIsChanged = true;
        mPaintTime = 0;
    }
    if (HasKeys() && !TakeKeys()) {
        return std::nullopt;
    }
    const double now = GetNow();
    if (now - mPaintTime >= (mIsChanged ? kPaintSeconds : kRateSeconds) &&
        (mIsChanged || !mIsIdle)) {
        Paint(now);
    }
    if (mIsChanged) {
        return mPaintTime + kPaintSeconds - now;
    }
    return mIsIdle ? IReport::Refresh() : mPaintTime + kRateSeconds - now;
}

void LiveReport::ShowSummary(const StateTable& table)
{
    if (mIsOnce) {
        mView.rows = 0;
        for (const Line& line : MakePicture(mState, mView, GetNow()).lines) {
            Tools::PrintLine(GetText(line));
        }
        return;
    }
    mScreen.reset();
    constexpr bool kHasNoBytes = false;
    MakeTextReport(kHasNoBytes, mIsColoured)->ShowSummary(table);
}

} // namespace

std::unique_ptr<IReport> MakeLiveReport(bool isOnce, bool isColoured)
{
    return std::make_unique<LiveReport>(isOnce, isColoured);
}

} // namespace Monitor
