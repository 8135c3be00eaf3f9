// StateTable.h - the last state of each device, as its messages have set it.
//
// The properties can be set and not read back, so this table is where their values can be seen.
#pragma once

#include "Tools/Monitor/Message.h"

#include <map>

namespace Monitor {

/// What the messages of one device have said so far.
struct DeviceState
{
    std::optional<SInt64> enable;
    std::optional<SInt64> state;
    std::map<UInt32, Levels> levels; ///< by the property's channel, 0 being the master channel
    std::size_t messages = 0;
};

class StateTable
{
public:
    /// The rows of the table, one for each device and for each further channel of it. A sender that
    /// makes up device after device must not use up the memory.
    static constexpr std::size_t kMostRows = 4096;

    /// Counts a message and, if it is well formed, takes over what it sets.
    void Take(const DecodedMessage& message);

    /// Counts a message that a filter has left out, and does no more with it.
    void LeaveOut() { ++mLeftOut; }

    /// Counts a message that was sent and is never taken.
    void Lose() { ++mLost; }

    const std::map<UInt32, DeviceState>& GetDevices() const { return mDevices; }
    std::size_t GetReceived() const { return mReceived; }
    std::size_t GetMalformed() const { return mMalformed; }
    std::size_t GetOpens() const { return mOpens; }
    std::size_t GetCloses() const { return mCloses; }
    /// Well-formed messages that the full table had no row for.
    std::size_t GetUnkept() const { return mUnkept; }
    std::size_t GetLeftOut() const { return mLeftOut; }
    std::size_t GetLost() const { return mLost; }

private:
    bool HasRoom() const { return mRows < kMostRows; }
    void TakeSet(const DecodedMessage& message);

    std::map<UInt32, DeviceState> mDevices;
    std::size_t mReceived = 0;
    std::size_t mMalformed = 0;
    std::size_t mOpens = 0;
    std::size_t mCloses = 0;
    std::size_t mUnkept = 0;
    std::size_t mLeftOut = 0;
    std::size_t mLost = 0;
    std::size_t mRows = 0;
};

} // namespace Monitor
