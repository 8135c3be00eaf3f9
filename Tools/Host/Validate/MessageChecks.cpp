// MessageChecks.cpp - what a set sends, field by field, and that nothing else is sent.

#include "Tools/Host/Validate/Check.h"

#include <limits>

namespace Validate {
namespace {

using Value = PropertyRules::Value;

void AddRequest(Checks& checks, const PropertyRules& property, const std::string& name,
                const char* rule, const Request& request)
{
    checks.push_back(
        {name + "-" + property.name, kMessagesTag, rule, [property, request](Bench& bench) {
             bench.StartServer();
             bench.LoadAndOpen();
             bench.SetAndExpect(property, request);
         }});
}

void AddWords(Checks& checks, const PropertyRules& property)
{
    const struct
    {
        const char* name;
        UInt32 word;
        const char* rule;
    } rows[] = {
        {"set-one", 1, "1 is sent as 1, with the messages of a value that is not 0."},
        {"set-zero", 0, "0 is sent as 0, with the messages of 0."},
        {"set-two", 2, "Any value is sent, not only 0 and 1."},
        {"set-largest-positive", 0x7FFFFFFF, "0x7FFFFFFF is sent unchanged."},
        {"set-smallest-negative", 0x80000000, "0x80000000 is sent unchanged."},
        {"set-all-bits", 0xFFFFFFFF, "0xFFFFFFFF is sent unchanged, as -1."},
    };
    for (const auto& row : rows) {
        Request request = MakeRequest(property);
        request.data = MakeWord(row.word);
        AddRequest(checks, property, row.name, row.rule, request);
    }
}

void AddGains(Checks& checks, const PropertyRules& property)
{
    using Limits = std::numeric_limits<Float32>;
    const struct
    {
        const char* name;
        Float32 first;
        Float32 second;
        const char* rule;
    } rows[] = {
        {"gain-unity", 1.0F, 0.5F, "The gains 1.0 and 0.5 are sent as 0 dB and -6.02 dB."},
        {"gain-order", 0.25F, 4.0F, "The first gain is the first level, the second the second."},
        {"gain-zero", 0.0F, 1.0F, "A gain of 0 is sent as -999 dB."},
        {"gain-minus-zero", 1.0F, -0.0F, "A gain of -0 is sent as -999 dB."},
        {"gain-negative", -1.0F, -Limits::infinity(), "A negative gain is sent as -999 dB."},
        {"gain-above-one", 10.0F, 100.0F, "A gain above 1 is not limited: 10 is sent as 20 dB."},
        {"gain-nan", Limits::quiet_NaN(), 1.0F, "A gain that is not a number is sent as such."},
        {"gain-denormal", Limits::denorm_min(), Limits::min(),
         "The smallest gains have a level, and not that of 0."},
        {"gain-huge", Limits::max(), 1e30F, "The largest gains have a level."},
        {"gain-infinite", Limits::infinity(), 1.0F, "An infinite gain is sent as infinite."},
    };
    for (const auto& row : rows) {
        Request request = MakeRequest(property);
        request.data = MakeGains(row.first, row.second);
        AddRequest(checks, property, row.name, row.rule, request);
    }
    if (property.isMasterOnly) {
        return;
    }
    const struct
    {
        const char* name;
        UInt32 channel;
        const char* rule;
    } channels[] = {
        {"channel-master", 0, "The master channel is sent as the index 0xFFFFFFFF."},
        {"channel-two", 2, "Channel 2 is sent as the index 1."},
        {"channel-largest", 0xFFFFFFFF, "Channel 0xFFFFFFFF is sent as the index 0xFFFFFFFE."},
    };
    for (const auto& row : channels) {
        Request request = MakeRequest(property);
        request.channel = row.channel;
        AddRequest(checks, property, row.name, row.rule, request);
    }
}

void NamesTheDevice(Bench& bench)
{
    bench.StartServer();
    Caller& plugIn = bench.Load();
    for (const UInt32 device : {1U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFEU}) {
        bench.Expect("the open", plugIn.Open(device), 0);
    }
    for (const UInt32 device : {0xFFFFFFFEU, 0x80000000U, 0x7FFFFFFFU, 1U}) {
        for (const PropertyRules& property : bench.GetProfile().properties) {
            Request request = MakeRequest(property);
            request.device = device;
            bench.SetAndExpect(property, request);
        }
    }
}

void KeepsTheOrder(Bench& bench)
{
    bench.StartServer();
    Caller& plugIn = bench.LoadAndOpen();
    std::vector<ExpectedMessage> expected;
    for (UInt32 turn = 0; turn < 10; ++turn) {
        for (const PropertyRules& property : bench.GetProfile().properties) {
            Request request = MakeRequest(property);
            request.data = property.value == Value::kWord
                               ? MakeWord((turn + 1) % 3)
                               : MakeGains(static_cast<Float32>(turn), 1.0F);
            bench.Expect("the set", plugIn.Set(request).status, 0);
            for (const ExpectedMessage& message : ListMessages(property, request)) {
                expected.push_back(message);
            }
        }
    }
    bench.ExpectMessages(expected);
}

void SendsAgain(Bench& bench)
{
    bench.StartServer();
    bench.LoadAndOpen();
    for (const PropertyRules& property : bench.GetProfile().properties) {
        for (int turn = 0; turn < 4; ++turn) {
            bench.SetAndExpect(property, MakeRequest(property));
        }
    }
}

void OnlySetsSend(Bench& bench)
{
    bench.StartServer();
    Caller& plugIn = bench.LoadAndOpen();
    for (const PropertyRules& property : bench.GetProfile().properties) {
        plugIn.Info(MakeRequest(property));
        plugIn.Get(MakeRequest(property));
    }
    bench.Expect("the close", plugIn.Close(kDevice), 0);
    bench.ExpectMessages({});
}

void RefusedSetsSendNothing(Bench& bench)
{
    bench.StartServer();
    Caller& plugIn = bench.LoadAndOpen();
    for (const PropertyRules& property : bench.GetProfile().properties) {
        Request request = MakeRequest(property);
        request.isInput = 0;
        plugIn.Set(request);
        request.isInput = 1;
        request.data.push_back(0);
        plugIn.Set(request);
        request.device = kDevice + 1;
        request.data.pop_back();
        plugIn.Set(request);
        request.device = kDevice;
        request.channel = 5;
        if (property.isMasterOnly) {
            plugIn.Set(request);
        }
    }
    plugIn.Set({.selector = bench.GetProfile().unknownSelector, .data = MakeWord(1)});
    bench.ExpectMessages({});
}

} // namespace

void AddMessageChecks(Checks& checks, const Profile& profile)
{
    for (const PropertyRules& property : profile.properties) {
        if (!property.isWritable) {
            continue;
        }
        if (property.value == Value::kWord) {
            AddWords(checks, property);
        } else {
            AddGains(checks, property);
        }
    }
    checks.push_back(
        {"device-ids", kMessagesTag, "Each message names the device of its set.", NamesTheDevice});
    checks.push_back(
        {"order", kMessagesTag, "Messages arrive in the order of the sets.", KeepsTheOrder});
    checks.push_back({"set-again", kMessagesTag,
                      "The same value is sent again when it is set again.", SendsAgain});
    checks.push_back(
        {"only-sets-send", kMessagesTag, "Open, close, info and get send nothing.", OnlySetsSend});
    checks.push_back({"refused-sets-send-nothing", kMessagesTag,
                      "A set that is refused sends nothing.", RefusedSetsSendNothing});
}

} // namespace Validate
