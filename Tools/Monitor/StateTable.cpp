// StateTable.cpp - the last state of each device.

#include "Tools/Monitor/StateTable.h"

#include "Protocol/ServerProtocol.h"

namespace Monitor {

void StateTable::Take(const DecodedMessage& message)
{
    ++mReceived;
    if (!message.IsWellFormed()) {
        ++mMalformed;
        return;
    }
    if (message.id == kOpenDirectMonitorMessage) {
        ++mOpens;
        return;
    }
    if (message.id == kCloseDirectMonitorMessage) {
        ++mCloses;
        return;
    }
    TakeSet(message);
}

void StateTable::TakeSet(const DecodedMessage& message)
{
    const auto known = mDevices.find(*message.device);
    const Levels* const levels = std::get_if<Levels>(&message.value);
    const UInt32 channel = levels != nullptr ? levels->channelIndex + 1 : 0;
    const bool isNewDevice = known == mDevices.end();
    const bool isNewChannel =
        levels != nullptr && !isNewDevice && known->second.levels.count(channel) == 0;
    if ((isNewDevice || isNewChannel) && !HasRoom()) {
        ++mUnkept;
        return;
    }
    // The first channel of a device uses the device's own row.
    if (isNewDevice || (isNewChannel && !known->second.levels.empty())) {
        ++mRows;
    }
    DeviceState& device = mDevices[*message.device];
    ++device.messages;
    switch (static_cast<UInt32>(*message.parameter)) {
    case kDirectMonitorEnableParameter:
        device.enable = std::get<SInt64>(message.value);
        break;
    case kDirectMonitorStateParameter:
        device.state = std::get<SInt64>(message.value);
        break;
    case kDirectMonitorLevelParameter:
        device.levels[channel] = *levels;
        break;
    }
}

} // namespace Monitor
