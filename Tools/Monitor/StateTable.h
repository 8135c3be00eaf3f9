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
    /// Counts a message and, if it is well formed, takes over what it sets.
    void Take(const DecodedMessage& message);

    const std::map<UInt32, DeviceState>& GetDevices() const { return mDevices; }
    std::size_t GetReceived() const { return mReceived; }
    std::size_t GetMalformed() const { return mMalformed; }
    std::size_t GetOpens() const { return mOpens; }
    std::size_t GetCloses() const { return mCloses; }

private:
    std::map<UInt32, DeviceState> mDevices;
    std::size_t mReceived = 0;
    std::size_t mMalformed = 0;
    std::size_t mOpens = 0;
    std::size_t mCloses = 0;
};

} // namespace Monitor
