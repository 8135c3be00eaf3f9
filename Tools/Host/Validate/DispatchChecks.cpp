// DispatchChecks.cpp - which property requests are refused, with which status, and in which order.

#include "Tools/Host/Validate/Check.h"

#include "Tools/Common/Text.h"

#include <CoreAudio/AudioDriverPlugIn.h>

namespace Validate {
namespace {

using Tools::FormatText;

constexpr UInt32 kMostSize = 16;
constexpr UInt32 kChannels[] = {1, 2, 0xFFFFFFFF};

using PropertyCheck = void (*)(Bench&, const PropertyRules&);

void Add(Checks& checks, const PropertyRules& property, const char* name, const char* rule,
         PropertyCheck run)
{
    checks.push_back({std::string(name) + "-" + property.name, kDispatchTag, rule,
                      [run, property](Bench& bench) { run(bench, property); }});
}

void Add(Checks& checks, const char* name, const char* rule, void (*run)(Bench&))
{
    checks.push_back({name, kDispatchTag, rule, run});
}

/// A request of the first property.
Request MakeFirst(const Bench& bench)
{
    const std::vector<PropertyRules>& properties = bench.GetProfile().properties;
    return properties.empty() ? Request{} : MakeRequest(properties.front());
}

/// Calls back with every size that is not the property's, and room or data of that size.
template <class Try>
void TryWrongSizes(const PropertyRules& property, Request request, Try attempt)
{
    for (UInt32 size = 0; size <= kMostSize; ++size) {
        if (size != property.GetSize()) {
            request.data.assign(size, 0);
            attempt(request, FormatText("size %llu", UInt64{size}));
        }
    }
}

/// A get or a set.
using Call = Answer (Caller::*)(const Request&);

/// Returns the last of the requests.
Request ExpectNullDataRefused(const Bench& bench, Caller& plugIn, Call call)
{
    const SInt32 expected = bench.GetProfile().nullData;
    Request request = MakeFirst(bench);
    request.hasData = false;
    bench.Expect("a null data pointer", (plugIn.*call)(request).status, expected);
    request.data.push_back(0);
    bench.Expect("a null data pointer with a wrong size", (plugIn.*call)(request).status, expected);
    request.selector = bench.GetProfile().unknownSelector;
    bench.Expect("a null data pointer for an unknown property", (plugIn.*call)(request).status,
                 expected);
    return request;
}

/// `what` is the call, such as "a get".
void ExpectClosedRefused(const Bench& bench, Caller& plugIn, Call call, const std::string& what)
{
    const SInt32 expected = bench.GetProfile().notOpen;
    Request request = MakeFirst(bench);
    request.device = kDevice + 1;
    bench.Expect(what, (plugIn.*call)(request).status, expected);
    request.data.push_back(0);
    bench.Expect(what + " of a wrong size", (plugIn.*call)(request).status, expected);
    request.selector = bench.GetProfile().unknownSelector;
    bench.Expect(what + " of an unknown property", (plugIn.*call)(request).status, expected);
}

void ExpectRefusedGet(const Bench& bench, Caller& plugIn, const Request& request, SInt32 expected,
                      const std::string& what)
{
    const Answer answer = plugIn.Get(request);
    bench.Expect(what, answer.status, expected);
    bench.ExpectUnchanged("data", answer.data, request.data);
    bench.ExpectNumber(what + ": the size after the call", answer.size,
                       request.size.value_or(static_cast<UInt32>(request.data.size())));
}

// Info.

void InfoDescribes(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    const Answer answer = plugIn.Info({.selector = property.selector});
    bench.Expect("info", answer.status, kAudioHardwareNoError);
    bench.ExpectNumber("the size", answer.size, property.GetSize());
    bench.ExpectNumber("the writable flag", answer.isWritable, property.isWritable ? 1 : 0);
}

void InfoNeedsNoDevice(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.Load();
    for (const UInt32 channel : {UInt32{0}, UInt32{1}, UInt32{0xFFFFFFFF}}) {
        for (const Boolean isInput : {Boolean{0}, Boolean{1}}) {
            const Answer answer = plugIn.Info(
                {.channel = channel, .isInput = isInput, .selector = property.selector});
            bench.Expect("info", answer.status, kAudioHardwareNoError);
            bench.ExpectNumber("the size", answer.size, property.GetSize());
        }
    }
}

void InfoTakesNull(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    Request request = {.selector = property.selector};
    request.hasSize = false;
    const Answer flag = plugIn.Info(request);
    bench.Expect("info with a null size pointer", flag.status, kAudioHardwareNoError);
    bench.ExpectNumber("the writable flag", flag.isWritable, property.isWritable ? 1 : 0);
    request.hasWritable = false;
    bench.Expect("info with two null pointers", plugIn.Info(request).status, kAudioHardwareNoError);
    request.hasSize = true;
    const Answer size = plugIn.Info(request);
    bench.Expect("info with a null writable pointer", size.status, kAudioHardwareNoError);
    bench.ExpectNumber("the size", size.size, property.GetSize());
}

void InfoRefusesUnknown(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    const Answer answer = plugIn.Info({.selector = bench.GetProfile().unknownSelector});
    bench.Expect("info", answer.status, bench.GetProfile().unknownProperty);
    bench.ExpectNumber("the size", answer.size, 0);
    bench.ExpectNumber("the writable flag", answer.isWritable, 0);
}

void InfoRefusesUnknownWithNull(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    Request request = {.selector = bench.GetProfile().unknownSelector};
    request.hasSize = false;
    request.hasWritable = false;
    bench.Expect("info with two null pointers", plugIn.Info(request).status,
                 bench.GetProfile().unknownProperty);
}

// Get.

void GetAnswers(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    Request request = MakeRequest(property);
    request.data.assign(property.GetSize(), 0xC3);
    if (property.get == kAudioHardwareNoError) {
        const Answer answer = plugIn.Get(request);
        bench.Expect("the get", answer.status, property.get);
        bench.ExpectNumber("the size", answer.size, property.GetSize());
        return;
    }
    ExpectRefusedGet(bench, plugIn, request, property.get, "the get");
}

void GetTestsSize(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    TryWrongSizes(property, MakeRequest(property), [&](const Request& request, const auto& what) {
        ExpectRefusedGet(bench, plugIn, request, bench.GetProfile().wrongSize, what);
    });
}

void GetTestsSizeFirst(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    Request request = MakeRequest(property);
    request.data.assign(property.GetSize() - 1, 0);
    request.channel = 3;
    request.isInput = 0;
    ExpectRefusedGet(bench, plugIn, request, bench.GetProfile().wrongSize,
                     "a wrong size, channel and side");
}

void GetTestsChannel(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    for (const UInt32 channel : kChannels) {
        Request request = MakeRequest(property);
        request.channel = channel;
        const SInt32 expected = property.isMasterOnly ? property.getOnOtherChannel : property.get;
        bench.Expect(FormatText("channel %llu", UInt64{channel}), plugIn.Get(request).status,
                     expected);
    }
}

void GetTestsSide(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    Request request = MakeRequest(property);
    request.isInput = 0;
    ExpectRefusedGet(bench, plugIn, request, property.getOnOutput, "the output side");
}

void GetRefusesNullSize(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    Request request = MakeFirst(bench);
    request.hasSize = false;
    bench.Expect("a null size pointer", plugIn.Get(request).status, bench.GetProfile().nullSize);
    request.hasData = false;
    request.device = kDevice + 1;
    bench.Expect("null pointers on a device that is not open", plugIn.Get(request).status,
                 bench.GetProfile().nullSize);
}

void GetRefusesNullData(Bench& bench)
{
    ExpectNullDataRefused(bench, bench.LoadAndOpen(), &Caller::Get);
}

void GetRefusesClosed(Bench& bench)
{
    ExpectClosedRefused(bench, bench.LoadAndOpen(), &Caller::Get, "a get");
}

void GetRefusesUnknown(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    for (const UInt32 size : {0U, 1U, 4U, 8U, 64U}) {
        Request request = {.selector = bench.GetProfile().unknownSelector, .data = Bytes(size)};
        const std::string what = "room for " + Tools::Count(size, "byte");
        ExpectRefusedGet(bench, plugIn, request, bench.GetProfile().unknownProperty, what);
        request.channel = 1;
        request.isInput = 0;
        ExpectRefusedGet(bench, plugIn, request, bench.GetProfile().unknownProperty, what);
    }
}

// Set.

void SetTestsSize(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    TryWrongSizes(property, MakeRequest(property), [&](const Request& request, const auto& what) {
        bench.Expect(what, plugIn.Set(request).status, bench.GetProfile().wrongSize);
    });
}

void SetTestsSizeFirst(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    Request request = MakeRequest(property);
    request.data.pop_back();
    request.channel = 3;
    bench.Expect("a wrong size and channel", plugIn.Set(request).status,
                 bench.GetProfile().wrongSize);
    request.isInput = 0;
    bench.Expect("a wrong size, channel and side", plugIn.Set(request).status,
                 bench.GetProfile().wrongSize);
}

void SetTestsChannel(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    for (const UInt32 channel : kChannels) {
        Request request = MakeRequest(property);
        request.channel = channel;
        bench.Expect(FormatText("channel %llu", UInt64{channel}), plugIn.Set(request).status,
                     property.setOnOtherChannel);
    }
}

void SetTestsChannelFirst(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    Request request = MakeRequest(property);
    request.channel = 1;
    request.isInput = 0;
    bench.Expect("a wrong channel and side", plugIn.Set(request).status,
                 property.setOnOtherChannel);
}

void SetTestsSide(Bench& bench, const PropertyRules& property)
{
    Caller& plugIn = bench.LoadAndOpen();
    Request request = MakeRequest(property);
    request.isInput = 0;
    bench.Expect("the output side", plugIn.Set(request).status, property.setOnOutput);
}

void SetTakesAnyFlag(Bench& bench, const PropertyRules& property)
{
    bench.StartServer();
    bench.LoadAndOpen();
    for (const Boolean isInput : {Boolean{2}, Boolean{0x80}, Boolean{0xFF}}) {
        Request request = MakeRequest(property);
        request.isInput = isInput;
        bench.SetAndExpect(property, request);
    }
}

void SetTakesOddAddress(Bench& bench, const PropertyRules& property)
{
    bench.StartServer();
    bench.LoadAndOpen();
    Request request = MakeRequest(property);
    request.isOdd = true;
    bench.SetAndExpect(property, request);
}

void SetRefusesNullData(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    Request request = ExpectNullDataRefused(bench, plugIn, &Caller::Set);
    request.device = kDevice + 1;
    bench.Expect("a null data pointer on a device that is not open", plugIn.Set(request).status,
                 bench.GetProfile().nullData);
}

void SetRefusesClosed(Bench& bench)
{
    ExpectClosedRefused(bench, bench.LoadAndOpen(), &Caller::Set, "a set");
}

void SetRefusesUnknown(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    for (const UInt32 size : {0U, 1U, 4U, 8U, 64U}) {
        Request request = {.selector = bench.GetProfile().unknownSelector, .data = Bytes(size)};
        const std::string what = Tools::Count(size, "byte");
        bench.Expect(what, plugIn.Set(request).status, bench.GetProfile().unknownProperty);
        request.channel = 1;
        request.isInput = 0;
        bench.Expect(what, plugIn.Set(request).status, bench.GetProfile().unknownProperty);
    }
}

void AddInfoChecks(Checks& checks, const PropertyRules& property)
{
    Add(checks, property, "info", "Info tells the property's size and whether it can be set.",
        InfoDescribes);
    Add(checks, property, "info-anywhere",
        "Info looks at the selector only: not at device, channel or side.", InfoNeedsNoDevice);
    Add(checks, property, "info-null", "Info stores only where a pointer is not null.",
        InfoTakesNull);
}

void AddGetChecks(Checks& checks, const PropertyRules& property)
{
    Add(checks, property, "get", "A get answers as the property says.", GetAnswers);
    Add(checks, property, "get-size", "A get refuses every size but the property's.", GetTestsSize);
    Add(checks, property, "get-size-first", "A get tests the size before channel and side.",
        GetTestsSizeFirst);
    Add(checks, property, "get-channel", "A get answers channels as the property says.",
        GetTestsChannel);
    Add(checks, property, "get-output", "A get refuses the output side.", GetTestsSide);
}

void AddSetChecks(Checks& checks, const PropertyRules& property)
{
    Add(checks, property, "set-size", "A set refuses every size but the property's.", SetTestsSize);
    Add(checks, property, "set-size-first", "A set tests the size before channel and side.",
        SetTestsSizeFirst);
    if (property.isMasterOnly) {
        Add(checks, property, "set-channel", "A set refuses every channel but the master's.",
            SetTestsChannel);
        Add(checks, property, "set-channel-first", "A set tests the channel before the side.",
            SetTestsChannelFirst);
    }
    Add(checks, property, "set-output", "A set refuses the output side.", SetTestsSide);
    Add(checks, property, "input-flag", "Every input flag but 0 means input.", SetTakesAnyFlag);
    Add(checks, property, "set-odd-address", "The data of a set may lie at an odd address.",
        SetTakesOddAddress);
}

} // namespace

void AddDispatchChecks(Checks& checks, const Profile& profile)
{
    for (const PropertyRules& property : profile.properties) {
        AddInfoChecks(checks, property);
        AddGetChecks(checks, property);
        if (property.isWritable) {
            AddSetChecks(checks, property);
        }
    }
    Add(checks, "info-unknown", "Info refuses an unknown property and stores size 0, not writable.",
        InfoRefusesUnknown);
    Add(checks, "info-unknown-null", "Info of an unknown property takes null pointers.",
        InfoRefusesUnknownWithNull);
    Add(checks, "get-null-size", "A get refuses a null size pointer before all else.",
        GetRefusesNullSize);
    Add(checks, "get-null-data", "A get refuses a null data pointer before all that follows.",
        GetRefusesNullData);
    Add(checks, "get-not-open", "A get refuses a device that is not open before selector and size.",
        GetRefusesClosed);
    Add(checks, "get-unknown", "A get refuses an unknown property, of whatever size.",
        GetRefusesUnknown);
    Add(checks, "set-null-data", "A set refuses a null data pointer before all else.",
        SetRefusesNullData);
    Add(checks, "set-not-open", "A set refuses a device that is not open before selector and size.",
        SetRefusesClosed);
    Add(checks, "set-unknown", "A set refuses an unknown property, of whatever size.",
        SetRefusesUnknown);
}

} // namespace Validate
