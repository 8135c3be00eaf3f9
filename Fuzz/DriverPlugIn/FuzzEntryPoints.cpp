// FuzzEntryPoints.cpp - arbitrary calls of the plug-in's entry points, against a model of devices.
//
// The input is a list of calls with their arguments, mixed with what happens around the plug-in: a
// server that comes and goes, answers of its port, objects of the platform that are not made. Each
// call gives the model's status, sends the model's messages and touches no memory of its caller
// that it does not own. Everything that was made is released at the end, except for the ports,
// which stay with the process, and for what an exception does not release.

#include "EntryPointModel.h"
#include "FuzzCheck.h"
#include "FuzzInput.h"

#include "DriverPlugIn/Support/PlatformCalls.h"
#include "Protocol/ServerProtocol.h"

#include <QX/Exception.h>

#include <CoreAudio/AudioDriverPlugIn.h>
#include <Standin/LiveObjects.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr std::array<UInt32, 5> kDevices = {0, 1, 258, 0x80000000, 0xFFFFFFFF};
constexpr std::array<UInt32, 4> kSelectors = {kDirectMonitorEnableProperty,
                                              kDirectMonitorLevelProperty,
                                              kDirectMonitorStateProperty, 0x766F6C6D};
constexpr std::array<UInt32, 5> kChannels = {0, 1, 2, 0x7FFFFFFF, 0xFFFFFFFF};
constexpr std::array<UInt32, 6> kSizes = {4, 8, 0, 3, 5, 0xFFFFFFFF};

/// One of the choices, or any number.
template <std::size_t Count>
UInt32 Choose(FuzzInput& input, const std::array<UInt32, Count>& choices)
{
    const uint8_t choice = input.TakeByte();
    return choice == 0xFF ? input.TakeWord() : choices[choice % Count];
}

/// The arguments that most calls share, in the order in which the input has them.
struct Arguments
{
    explicit Arguments(FuzzInput& input)
        : device(Choose(input, kDevices))
        , selector(Choose(input, kSelectors))
        , channel(Choose(input, kChannels))
        , isInput(static_cast<Boolean>(input.TakeByte()))
        , flags(input.TakeByte())
    {}

    bool HasSize() const { return (flags & 1) == 0; }
    bool HasData() const { return (flags & 2) == 0; }

    UInt32 device;
    UInt32 selector;
    UInt32 channel;
    Boolean isInput;
    uint8_t flags;
};

void Open(FuzzInput& input, EntryPointModel& model)
{
    const UInt32 device = Choose(input, kDevices);
    AudioDriverPlugInHostInfo info = {device, 1, 2, nullptr, nullptr};
    FUZZ_CHECK(AudioDriverPlugInOpen(&info) == model.Open(device));
}

void Close(FuzzInput& input, EntryPointModel& model)
{
    const UInt32 device = Choose(input, kDevices);
    FUZZ_CHECK(AudioDriverPlugInClose(device) == model.Close(device));
}

void GetInfo(FuzzInput& input)
{
    const Arguments given(input);
    UInt32 size = 0xA5A5A5A5;
    Boolean writable[3] = {0xA5, 0xA5, 0xA5};
    const OSStatus status = AudioDriverPlugInDeviceGetPropertyInfo(
        given.device, given.channel, given.isInput, given.selector,
        given.HasSize() ? &size : nullptr, given.HasData() ? &writable[1] : nullptr);

    const UInt32 expected = EntryPointModel::GetSize(given.selector);
    FUZZ_CHECK(status == (expected != 0 ? 0 : EntryPointModel::kUnknownProperty));
    FUZZ_CHECK(size == (given.HasSize() ? expected : 0xA5A5A5A5));
    FUZZ_CHECK(writable[0] == 0xA5 && writable[2] == 0xA5);
    FUZZ_CHECK(writable[1] == (given.HasData() ? (expected != 0 ? 1 : 0) : 0xA5));
}

void Get(FuzzInput& input, const EntryPointModel& model)
{
    const Arguments given(input);
    const UInt32 size = Choose(input, kSizes);
    UInt32 inOutSize = size;
    // Nothing is read or written, however large the size says that the data is.
    const auto data = std::make_unique<unsigned char>(static_cast<unsigned char>(0xA5));
    const OSStatus status = AudioDriverPlugInDeviceGetProperty(
        given.device, given.channel, given.isInput, given.selector,
        given.HasSize() ? &inOutSize : nullptr, given.HasData() ? data.get() : nullptr);

    OSStatus expected = EntryPointModel::kBadSize;
    if (given.HasSize()) {
        expected = given.HasData() ? model.Get(given.device, given.selector, size, given.channel,
                                               given.isInput != 0)
                                   : EntryPointModel::kUnspecified;
    }
    FUZZ_CHECK(status == expected);
    FUZZ_CHECK(inOutSize == size && *data == 0xA5);
}

void Set(FuzzInput& input, EntryPointModel& model)
{
    const Arguments given(input);
    const UInt32 size = Choose(input, kSizes);
    unsigned char value[8] = {};
    size_t valueSize = EntryPointModel::GetSize(given.selector);
    const uint8_t* const bytes = input.TakeBytes(valueSize);
    std::copy_n(bytes, valueSize, value);
    // A block of exactly the property's size, at an odd address.
    std::vector<unsigned char> block(1 + EntryPointModel::GetSize(given.selector));
    std::memcpy(block.data() + 1, value, block.size() - 1);

    PlatformCalls::ClearSent();
    const EntryPointModel::Outcome expected =
        given.HasData() ? model.Set(given.device, given.selector, size, given.channel,
                                    given.isInput != 0, value)
                        : EntryPointModel::Outcome{EntryPointModel::kUnspecified, false, {}};
    bool throws = false;
    try {
        const OSStatus status = AudioDriverPlugInDeviceSetProperty(
            given.device, reinterpret_cast<const AudioTimeStamp*>(1), given.channel, given.isInput,
            given.selector, size, given.HasData() ? block.data() + 1 : nullptr);
        FUZZ_CHECK(expected.throws || status == expected.status);
    } catch (const QX::ExceptionBase&) {
        throws = true;
    }
    FUZZ_CHECK(throws == expected.throws);
    CheckSent(PlatformCalls::GetSent(), expected.messages);
}

void Stream(FuzzInput& input)
{
    const Arguments given(input);
    constexpr OSStatus kRefused = EntryPointModel::kUnknownProperty;
    UInt32 size = 0xA5A5A5A5;
    Boolean writable = 0xA5;
    UInt32* const sizePointer = given.HasSize() ? &size : nullptr;
    Boolean* const data = given.HasData() ? &writable : nullptr;
    FUZZ_CHECK(AudioDriverPlugInStreamGetPropertyInfo(
                   given.device, 1, given.channel, given.selector, sizePointer, data) == kRefused);
    FUZZ_CHECK(AudioDriverPlugInStreamGetProperty(given.device, 1, given.channel, given.selector,
                                                  sizePointer, data) == kRefused);
    FUZZ_CHECK(AudioDriverPlugInStreamSetProperty(given.device, 1, nullptr, given.channel,
                                                  given.selector, size, data) == kRefused);
    FUZZ_CHECK(size == 0xA5A5A5A5 && writable == 0xA5);
}

/// Makes a call fail or not. Returns true if it does what the real one does.
bool SetFailing(Call call, bool fails)
{
    if (fails) {
        PlatformCalls::Fail(call);
    }
    return !fails;
}

/// Changes what the plug-in finds around it.
void ChangeSurroundings(FuzzInput& input, EntryPointModel::Surroundings& surroundings)
{
    surroundings.isServerPresent = (input.TakeByte() & 1) != 0;
    PlatformCalls::SetServerPresent(surroundings.isServerPresent);

    const uint8_t failures = input.TakeByte();
    PlatformCalls::AllowAll();
    surroundings.hasName = SetFailing(Call::kStringCreate, (failures & 1) != 0);
    surroundings.hasDictionary = SetFailing(Call::kDictionaryCreate, (failures & 2) != 0);
    surroundings.hasNumber = SetFailing(Call::kNumberCreate, (failures & 4) != 0);
    surroundings.hasData = SetFailing(Call::kDataCreate, (failures & 8) != 0);
    surroundings.hasDocument = SetFailing(Call::kDocumentCreate, (failures & 16) != 0);
    surroundings.dataThrows = (failures & 32) != 0;
    if (surroundings.dataThrows) {
        PlatformCalls::Throw(Call::kDataCreate);
    }

    for (int count = input.TakeByte() % 4; count > 0; --count) {
        surroundings.answers.push_back(-static_cast<SInt32>(input.TakeByte() % 6));
    }
    PlatformCalls::AnswerSends(surroundings.answers);
}

void RunOne(FuzzInput& input, EntryPointModel& model)
{
    switch (input.TakeByte() % 8) {
    case 0:
        Open(input, model);
        break;
    case 1:
        Close(input, model);
        break;
    case 2:
        GetInfo(input);
        break;
    case 3:
        Get(input, model);
        break;
    case 4:
        Stream(input);
        break;
    case 5:
        ChangeSurroundings(input, model.GetSurroundings());
        break;
    default:
        Set(input, model);
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    PlatformCalls::Reset();
    const SInt32 liveBefore = StandinGetTotalLiveObjectCount();
    FuzzInput input(data, size);
    EntryPointModel model;

    while (!input.IsEmpty()) {
        RunOne(input, model);
        FUZZ_CHECK(StandinGetTotalLiveObjectCount() == liveBefore + model.CountLive());
    }

    for (const UInt32 device : model.GetOpenDevices()) {
        FUZZ_CHECK(AudioDriverPlugInClose(device) == 0);
        FUZZ_CHECK(AudioDriverPlugInClose(device) == EntryPointModel::kUnspecified);
    }
    FUZZ_CHECK(PlatformCalls::CountPorts() == model.CountPorts());
    for (const std::string& name : PlatformCalls::GetPortNames()) {
        FUZZ_CHECK(name == kServerPortName);
    }
    FUZZ_CHECK(StandinGetTotalLiveObjectCount() == liveBefore + model.CountLeftBehind());
    FUZZ_CHECK(PlatformCalls::ReleaseLeftBehind().size() ==
               static_cast<std::size_t>(model.CountLeftBehind()));
    FUZZ_CHECK(StandinGetTotalLiveObjectCount() == liveBefore);
    return 0;
}
