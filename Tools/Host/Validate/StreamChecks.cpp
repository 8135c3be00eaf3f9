// StreamChecks.cpp - the plug-in has no stream properties.

#include "Tools/Host/Validate/Check.h"

namespace Validate {
namespace {

constexpr UInt32 kSelectors[] = {0x44476D65, 0x44476D6C, 0x566F4C75, 0};

void RefusesInfo(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    for (const UInt32 selector : kSelectors) {
        Request request = {.selector = selector};
        const Answer answer = plugIn.StreamInfo(request);
        bench.Expect("stream info", answer.status, bench.GetProfile().stream);
        bench.ExpectNumber("the size", answer.size, Caller::kUntouchedSize);
        bench.ExpectNumber("the writable flag", answer.isWritable, Caller::kUntouchedFlag);
        request.hasSize = false;
        request.hasWritable = false;
        bench.Expect("stream info with null pointers", plugIn.StreamInfo(request).status,
                     bench.GetProfile().stream);
    }
}

void RefusesGet(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    for (const UInt32 selector : kSelectors) {
        Request request = {.selector = selector, .data = Bytes(8, 0xC3)};
        const Answer answer = plugIn.StreamGet(request);
        bench.Expect("the stream get", answer.status, bench.GetProfile().stream);
        bench.ExpectNumber("the size", answer.size, 8);
        bench.ExpectUnchanged("data", answer.data, request.data);
        request.hasSize = false;
        request.hasData = false;
        bench.Expect("a stream get with null pointers", plugIn.StreamGet(request).status,
                     bench.GetProfile().stream);
    }
}

void RefusesSet(Bench& bench)
{
    bench.StartServer();
    Caller& plugIn = bench.LoadAndOpen();
    for (const UInt32 selector : kSelectors) {
        Request request = {.selector = selector, .data = Bytes(4)};
        bench.Expect("the stream set", plugIn.StreamSet(request).status, bench.GetProfile().stream);
        request.hasData = false;
        bench.Expect("a stream set with null data", plugIn.StreamSet(request).status,
                     bench.GetProfile().stream);
    }
    bench.ExpectMessages({});
}

void RefusesClosed(Bench& bench)
{
    Caller& plugIn = bench.Load();
    const Request request = {.selector = kSelectors[0], .data = Bytes(4)};
    const SInt32 expected = bench.GetProfile().stream;
    bench.Expect("stream info", plugIn.StreamInfo(request).status, expected);
    bench.Expect("the stream get", plugIn.StreamGet(request).status, expected);
    bench.Expect("the stream set", plugIn.StreamSet(request).status, expected);
}

} // namespace

void AddStreamChecks(Checks& checks)
{
    checks.push_back(
        {"stream-info", kDispatchTag, "Stream info is refused and stores nothing.", RefusesInfo});
    checks.push_back(
        {"stream-get", kDispatchTag, "A stream get is refused and stores nothing.", RefusesGet});
    checks.push_back(
        {"stream-set", kDispatchTag, "A stream set is refused and sends nothing.", RefusesSet});
    checks.push_back({"stream-not-open", kDispatchTag,
                      "Streams of a device that is not open are refused in the same way.",
                      RefusesClosed});
}

} // namespace Validate
