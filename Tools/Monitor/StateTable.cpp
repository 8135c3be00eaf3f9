// StateTable.cpp - the last state of each device.

#include "Tools/Monitor/StateTable.h"

#include "DriverPlugIn/ServerProtocol.h"

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
    DeviceState& device = mDevices[*message.device];
    ++device.messages;
    switch (static_cast<UInt32>(*message.parameter)) {
    case kDirectMonitorEnableParameter:
        device.enable = std::get<SInt64>(message.value);
        break;
    case kDirectMonitorStateParameter:
        device.state = std::get<SInt64>(message.value);
        break;
    case kDirectMonitorLevelParameter: {
        const Levels& levels = std::get<Levels>(message.value);
        device.levels[levels.channelIndex + 1] = levels;
        break;
    }
    }
}

} // namespace Monitor
