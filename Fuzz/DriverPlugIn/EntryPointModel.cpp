// EntryPointModel.cpp - what the plug-in's entry points answer and send.

#include "EntryPointModel.h"

#include "FuzzCheck.h"

#include "Protocol/ServerProtocol.h"
#include "Tools/Monitor/MessageDecoder.h"

#include <bit>
#include <cmath>
#include <cstring>

namespace {

constexpr SInt32 kNoPort = -3;

SInt32 LoadInteger(const unsigned char* value)
{
    SInt32 integer = 0;
    std::memcpy(&integer, value, sizeof(integer));
    return integer;
}

double LoadLevel(const unsigned char* value)
{
    Float32 gain = 0;
    std::memcpy(&gain, value, sizeof(gain));
    return gain <= 0 ? -999.0 : 20.0 * std::log10(static_cast<double>(gain));
}

bool IsSameLevel(double left, double right)
{
    return left == right || (std::isnan(left) && std::isnan(right));
}

void CheckParameter(const Monitor::DecodedMessage& decoded,
                    const EntryPointModel::Message& expected)
{
    constexpr Monitor::ByteOrder kHostOrder = std::endian::native == std::endian::big
                                                  ? Monitor::ByteOrder::kBig
                                                  : Monitor::ByteOrder::kLittle;
    FUZZ_CHECK(decoded.IsWellFormed());
    FUZZ_CHECK(decoded.byteOrder == kHostOrder);
    FUZZ_CHECK(decoded.device == expected.device);
    FUZZ_CHECK(decoded.parameter == expected.parameter);
    if (const auto* const levels = std::get_if<Monitor::Levels>(&decoded.value)) {
        FUZZ_CHECK(static_cast<UInt32>(expected.parameter) == kDirectMonitorLevelParameter);
        FUZZ_CHECK(IsSameLevel(levels->first, expected.levels[0]));
        FUZZ_CHECK(IsSameLevel(levels->second, expected.levels[1]));
        FUZZ_CHECK(levels->channelIndex == expected.channelIndex);
    } else {
        FUZZ_CHECK(static_cast<UInt32>(expected.parameter) != kDirectMonitorLevelParameter);
        FUZZ_CHECK(std::get<SInt64>(decoded.value) == expected.integer);
    }
}

} // namespace

UInt32 EntryPointModel::GetSize(UInt32 selector)
{
    switch (selector) {
    case 0x44476D65: // 'DGme'
    case 0x4447646D: // 'DGdm'
        return 4;
    case 0x44476D6C: // 'DGml'
        return 8;
    default:
        return 0;
    }
}

OSStatus EntryPointModel::Open(UInt32 device)
{
    return mPortOf.emplace(device, 0).second ? 0 : kUnspecified;
}

OSStatus EntryPointModel::Close(UInt32 device)
{
    return mPortOf.erase(device) != 0 ? 0 : kUnspecified;
}

OSStatus EntryPointModel::Get(UInt32 device, UInt32 selector, UInt32 size, UInt32 channel,
                              bool isInput) const
{
    if (mPortOf.count(device) == 0) {
        return kUnspecified;
    }
    if (GetSize(selector) == 0) {
        return kUnknownProperty;
    }
    if (size != GetSize(selector)) {
        return kBadSize;
    }
    const bool isLevel = selector == kDirectMonitorLevelProperty;
    return isInput && (isLevel || channel == 0) ? kUnsupported : kUnspecified;
}

EntryPointModel::Outcome EntryPointModel::Set(UInt32 device, UInt32 selector, UInt32 size,
                                              UInt32 channel, bool isInput,
                                              const unsigned char* value)
{
    const bool isLevel = selector == kDirectMonitorLevelProperty;
    if (mPortOf.count(device) == 0) {
        return {kUnspecified, false, {}};
    }
    if (GetSize(selector) == 0) {
        return {kUnknownProperty, false, {}};
    }
    if (size != GetSize(selector)) {
        return {kBadSize, false, {}};
    }
    if (!isLevel && channel != 0) {
        return {kUnsupported, false, {}};
    }
    if (!isInput) {
        return {kUnspecified, false, {}};
    }
    Outcome outcome = {0, false, {}};
    if (isLevel) {
        SetLevel(device, channel, value, outcome);
        return outcome;
    }
    const bool isState = selector == kDirectMonitorStateProperty;
    Message message;
    message.parameter = isState ? -251 : -250;
    message.integer = LoadInteger(value);
    if (isState && message.integer != 0) {
        SendSimple(device, kOpenDirectMonitorMessage, outcome);
    }
    SendParameter(device, message, outcome);
    if (isState && message.integer == 0 && !outcome.throws) {
        SendSimple(device, kCloseDirectMonitorMessage, outcome);
    }
    return outcome;
}

void EntryPointModel::SetLevel(UInt32 device, UInt32 channel, const unsigned char* value,
                               Outcome& outcome)
{
    if (OpenPort(device) == 0) {
        return;
    }
    Message message;
    message.parameter = -249;
    message.levels[0] = LoadLevel(value);
    message.levels[1] = LoadLevel(value + 4);
    message.channelIndex = channel - 1;
    SendParameter(device, message, outcome);
}

std::vector<UInt32> EntryPointModel::GetOpenDevices() const
{
    std::vector<UInt32> devices;
    for (const auto& entry : mPortOf) {
        devices.push_back(entry.first);
    }
    return devices;
}

int EntryPointModel::OpenPort(UInt32 device)
{
    int& port = mPortOf[device];
    if (port == 0 && mSurroundings.isServerPresent && mSurroundings.hasName) {
        port = ++mPorts;
    }
    return port;
}

SInt32 EntryPointModel::TakeAnswer()
{
    if (mSurroundings.answers.empty()) {
        return 0;
    }
    const SInt32 answer = mSurroundings.answers.front();
    mSurroundings.answers.pop_front();
    return answer;
}

// The status of a simple message is ignored.
void EntryPointModel::SendSimple(UInt32 device, SInt32 id, Outcome& outcome)
{
    Message message;
    message.port = OpenPort(device);
    if (message.port != 0) {
        TakeAnswer();
        message.id = id;
        outcome.messages.push_back(message);
    }
}

void EntryPointModel::SendParameter(UInt32 device, Message message, Outcome& outcome)
{
    outcome.status = kNoPort;
    message.port = OpenPort(device);
    if (message.port == 0 || !mSurroundings.hasDictionary || !mSurroundings.hasNumber) {
        return;
    }
    if (mSurroundings.dataThrows) {
        outcome.throws = true;
        mLeftBehind += 2;
        return;
    }
    if (!mSurroundings.hasData || !mSurroundings.hasDocument) {
        return;
    }
    outcome.status = TakeAnswer();
    message.id = kSetParameterMessage;
    message.device = device;
    outcome.messages.push_back(message);
}

void CheckSent(const std::vector<SentMessage>& sent,
               const std::vector<EntryPointModel::Message>& expected)
{
    FUZZ_CHECK(sent.size() == expected.size());
    for (std::size_t index = 0; index < sent.size(); ++index) {
        const SentMessage& got = sent[index];
        const bool hasData = got.id == kSetParameterMessage;
        FUZZ_CHECK(got.portNumber == expected[index].port);
        FUZZ_CHECK(got.id == expected[index].id);
        FUZZ_CHECK(got.sendTimeoutSeconds == 1.0 && got.receiveTimeoutSeconds == 0.001);
        FUZZ_CHECK((got.replyMode == nullptr) == hasData && !got.takesReply);
        FUZZ_CHECK(got.hasData == hasData);
        const Monitor::DecodedMessage decoded = Monitor::DecodeRequest(
            got.id, reinterpret_cast<const unsigned char*>(got.data.data()), got.data.size());
        FUZZ_CHECK(decoded.IsWellFormed());
        if (hasData) {
            CheckParameter(decoded, expected[index]);
        }
    }
}
