// ThreadChecks.cpp - calls from several threads.
//
// Open and close do not overlap with other calls: that much the caller owes the plug-in.

#include "Tools/Host/Validate/Check.h"

#include <exception>
#include <mutex>
#include <thread>

namespace Validate {
namespace {

constexpr UInt32 kThreads = 4;
constexpr UInt32 kTurns = 25;
/// The device of the first thread; the next one's is the next.
constexpr UInt32 kFirstDevice = 1000;

/// Runs a function in several threads at once and throws what the first of them threw.
template <class Function>
void RunThreads(UInt32 count, Function function)
{
    std::mutex mutex;
    std::exception_ptr thrown;
    std::vector<std::thread> threads;
    for (UInt32 index = 0; index < count; ++index) {
        threads.emplace_back([&, index] {
            try {
                function(index);
            } catch (...) {
                const std::lock_guard lock(mutex);
                thrown = thrown ? thrown : std::current_exception();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    if (thrown) {
        std::rethrow_exception(thrown);
    }
}

Request MakeTurn(const PropertyRules& property, UInt32 device, UInt32 turn)
{
    Request request = MakeRequest(property);
    request.device = device;
    request.data = property.value == PropertyRules::Value::kWord
                       ? MakeWord(turn + 1)
                       : MakeGains(static_cast<Float32>(turn + 1), 1.0F);
    return request;
}

/// The messages that the sets of one thread send, in order.
std::vector<ExpectedMessage> ListTurns(const PropertyRules& property, UInt32 device)
{
    std::vector<ExpectedMessage> expected;
    for (UInt32 turn = 0; turn < kTurns; ++turn) {
        for (const ExpectedMessage& message :
             ListMessages(property, MakeTurn(property, device, turn))) {
            expected.push_back(message);
        }
    }
    return expected;
}

/// Each thread sets one property of a device of its own. Messages without data name no device, so
/// a property is used that sends none.
void SetsOverlap(Bench& bench)
{
    bench.StartServer();
    Caller& plugIn = bench.Load();
    for (UInt32 index = 0; index < kThreads; ++index) {
        bench.Expect("the open", plugIn.Open(kFirstDevice + index), 0);
    }
    const PropertyRules& property = bench.GetProfile().properties.front();
    RunThreads(kThreads, [&](UInt32 index) {
        for (UInt32 turn = 0; turn < kTurns; ++turn) {
            const Request request = MakeTurn(property, kFirstDevice + index, turn);
            bench.Expect("the set", plugIn.Set(request).status, 0);
        }
    });
    std::vector<Message> arrived = bench.TakeMessages();
    for (UInt32 index = 0; index < kThreads; ++index) {
        // In the order of their sets; the threads' own are mixed.
        std::size_t place = 0;
        for (const ExpectedMessage& expected : ListTurns(property, kFirstDevice + index)) {
            while (place < arrived.size() &&
                   !CompareMessages(bench.GetProfile(), {arrived[place]}, {expected}).empty()) {
                ++place;
            }
            bench.Require(place < arrived.size(),
                          "a message of a set did not arrive, or not in its turn");
            ++place;
        }
    }
    bench.ExpectNumber("the number of messages", arrived.size(),
                       kThreads * ListTurns(property, 0).size());
}

void AnswersOverlap(Bench& bench)
{
    Caller& plugIn = bench.LoadAndOpen();
    RunThreads(kThreads, [&](UInt32) {
        for (UInt32 turn = 0; turn < kTurns; ++turn) {
            for (const PropertyRules& property : bench.GetProfile().properties) {
                bench.Expect("info", plugIn.Info(MakeRequest(property)).status, 0);
                bench.Expect("the get", plugIn.Get(MakeRequest(property)).status, property.get);
            }
        }
    });
}

void ThreadsTakeTurns(Bench& bench)
{
    bench.StartServer();
    Caller& plugIn = bench.Load();
    RunThreads(1, [&](UInt32) { bench.Expect("the open", plugIn.Open(kDevice), 0); });
    for (const PropertyRules& property : bench.GetProfile().properties) {
        RunThreads(1, [&](UInt32) { bench.SetAndExpect(property, MakeRequest(property)); });
        RunThreads(1, [&](UInt32) { bench.SetAndExpect(property, MakeRequest(property)); });
    }
    bench.SetAndExpect(bench.GetProfile().properties.front(),
                       MakeRequest(bench.GetProfile().properties.front()));
    RunThreads(1, [&](UInt32) { bench.Expect("the close", plugIn.Close(kDevice), 0); });
}

} // namespace

void AddThreadChecks(Checks& checks)
{
    checks.push_back({"threads-set", kThreadsTag,
                      "Threads may set properties of their devices at once.", SetsOverlap});
    checks.push_back(
        {"threads-ask", kThreadsTag, "Threads may ask and be refused at once.", AnswersOverlap});
    checks.push_back({"threads-take-turns", kThreadsTag,
                      "Open, sets and close may come from threads that have ended since.",
                      ThreadsTakeTurns});
}

} // namespace Validate
