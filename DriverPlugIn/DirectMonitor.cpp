// DirectMonitor.cpp - turns property values into the server's parameters.

#include "DriverPlugIn/DirectMonitor.h"

#include "DriverPlugIn/ServerLink.h"
#include "Protocol/ServerProtocol.h"

#include <IOKit/IOReturn.h>
#include <QX/Variant.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

static_assert(std::numeric_limits<Float32>::is_iec559 && std::numeric_limits<double>::is_iec559);
static_assert(FLT_EVAL_METHOD == 0, "the gains are compared in single precision");
static_assert(sizeof(double) == 8 && sizeof(Float32) == 4 && sizeof(UInt32) == 4);

constexpr SInt32 kNullArgument = static_cast<SInt32>(kIOReturnError);

SInt32 SendInteger(_PlugInInfo* info, UInt32 parameterID, UInt32 integer)
{
    QX::Variant value;
    value.Set(QX::Variant::kInt32, &integer, sizeof(integer));
    return SendMessageToServer(info, parameterID, value);
}

// A NaN is not below or equal to 0, so it is sent as a NaN.
double GainToDecibels(Float32 gain)
{
    if (gain <= 0.0F) {
        return kSilenceDecibels;
    }
    return 20.0 * std::log10(static_cast<double>(gain));
}

} // namespace

SInt32 SetDirectMonitorEnable(_PlugInInfo* info, UInt32 enable)
{
    if (info == nullptr) {
        return kNullArgument;
    }
    return SendInteger(info, kDirectMonitorEnableParameter, enable);
}

SInt32 SetDirectMonitorState(_PlugInInfo* info, UInt32 state)
{
    if (info == nullptr) {
        return kNullArgument;
    }
    if (state != 0) {
        SendSimpleMessageToServer(info, kOpenDirectMonitorMessage);
    }
    const SInt32 status = SendInteger(info, kDirectMonitorStateParameter, state);
    if (state == 0) {
        SendSimpleMessageToServer(info, kCloseDirectMonitorMessage);
    }
    return status;
}

SInt32 SetDirectMonitorLevel(_PlugInInfo* info, UInt32 channel, const void* gains)
{
    if (info == nullptr || gains == nullptr) {
        return kNullArgument;
    }
    if (MessagePortValid(info) == 0) {
        return 0;
    }
    Float32 linear[2];
    std::memcpy(linear, gains, sizeof(linear));
    const double first = GainToDecibels(linear[0]);
    const double second = GainToDecibels(linear[1]);
    const UInt32 channelIndex = channel - 1;

    // Field by field: a struct of these three would be padded to 24 bytes.
    unsigned char record[kLevelRecordSize];
    std::memcpy(record + kLevelRecordFirstOffset, &first, sizeof(first));
    std::memcpy(record + kLevelRecordSecondOffset, &second, sizeof(second));
    std::memcpy(record + kLevelRecordChannelOffset, &channelIndex, sizeof(channelIndex));

    QX::Variant value;
    value.SetBuffer(record, sizeof(record));
    return SendMessageToServer(info, kDirectMonitorLevelParameter, value);
}

SInt32 GetDirectMonitorEnable(_PlugInInfo* /*info*/, UInt32* /*outEnable*/)
{
    return kAudioHardwareUnsupportedOperationError;
}

SInt32 GetDirectMonitorState(_PlugInInfo* /*info*/, UInt32* /*outState*/)
{
    return kAudioHardwareUnsupportedOperationError;
}

SInt32 GetDirectMonitorLevel(_PlugInInfo* /*info*/, UInt32 /*channel*/, Float32* /*outGains*/)
{
    return kAudioHardwareUnsupportedOperationError;
}
