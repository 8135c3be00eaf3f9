// State.h - what the live view knows: the table of states, and each device's messages.
//
// Times are seconds of any clock that never goes back. A rate is in messages per second; each
// message counts less the older it is: a third after a second, nearly nothing after seven.
#pragma once

#include "Tools/Monitor/StateTable.h"

namespace Monitor {

class Rate
{
public:
    void AddMessage(double now);
    double Get(double now) const;

private:
    double mRate = 0;
    double mTime = 0; ///< of the last message
};

/// The process that sent a message; 0 and "" where the platform does not tell.
struct Sender
{
    SInt32 process = 0;
    std::string program;
};

/// The messages of one device, malformed ones among them.
struct Traffic
{
    Rate rate;
    std::size_t malformed = 0;
    Sender sender; ///< of the last message
};

class LiveState
{
public:
    void Take(const DecodedMessage& message, const Sender& sender, double now);
    void LeaveOut() { mTable.LeaveOut(); }

    const StateTable& GetTable() const { return mTable; }
    /// Of no more devices than the table has rows.
    const std::map<UInt32, Traffic>& GetTraffic() const { return mTraffic; }
    double GetRate(double now) const { return mRate.Get(now); }

    /// Tells whether every rate is shown as 0 from now on, unless a message comes.
    bool IsIdle(double now) const;

private:
    StateTable mTable;
    std::map<UInt32, Traffic> mTraffic;
    Rate mRate;
};

} // namespace Monitor
