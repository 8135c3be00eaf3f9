// State.cpp - rates and senders.

#include "Tools/Monitor/Live/State.h"

#include <cmath>

namespace Monitor {

void Rate::AddMessage(double now)
{
    mRate = Get(now) + 1;
    mTime = now;
}

double Rate::Get(double now) const
{
    return mRate * std::exp(mTime - now);
}

void LiveState::Take(const DecodedMessage& message, const Sender& sender, double now)
{
    mTable.Take(message);
    mRate.AddMessage(now);
    if (!message.device) {
        return;
    }
    const bool isKnown = mTraffic.count(*message.device) > 0;
    if (!isKnown && mTraffic.size() == StateTable::kMostRows) {
        return;
    }
    Traffic& traffic = mTraffic[*message.device];
    traffic.rate.AddMessage(now);
    if (!message.IsWellFormed()) {
        ++traffic.malformed;
    }
    // The program of a process that has ended is not told any more.
    if (sender.process != traffic.sender.process || !sender.program.empty()) {
        traffic.sender = sender;
    }
}

bool LiveState::IsIdle(double now) const
{
    // No device has a higher rate than all together. One digit is shown.
    constexpr double kLeastShown = 0.05;
    return GetRate(now) < kLeastShown;
}

} // namespace Monitor
