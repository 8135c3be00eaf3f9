// FailureSweep.h - runs operations again and again, each time with another request for memory
// refused.
//
// A row of a table is an operation: how its state is prepared, the operation, and what a user sees
// of the state afterwards, as text. The operation runs with its first request for memory refused,
// then with its second, and so on until a run has no refusal. Then the same again, with all later
// requests refused too. Each run starts with a new state.
//
//     struct Names
//     {
//         String text = "abc";
//         std::string Describe() const { return text.CStr(); }
//     };
//     const SweptOperation<Names> kOperations[] = {
//         {.what = "append", .run = [](Names& names) { names.text += "d"; },
//          .done = "abcd", .thrown = "abc", .least = 1},
//     };
//     SweepRefusals<Names>(kOperations);
//
// After each run, the row must allow the answer, and the state must be the row's state for it. Then
// the same operation runs again without refusals. When the state has been destroyed, no new block
// may be left.
//
// A test program that uses this header links FailureSweep.
#pragma once

#include "Support/FailingHeap.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <new>
#include <span>
#include <string>
#include <type_traits>

namespace TestSupport {

/// The operation as a function of the state. It returns false if the operation returned a failure,
/// or nothing if the operation never returns one.
template <class State>
class SweptCall
{
public:
    template <class Function>
    SweptCall(Function function)
    {
        if constexpr (std::is_void_v<std::invoke_result_t<Function, State&>>) {
            mCall = function;
        } else {
            mAsk = function;
        }
    }

    bool operator()(State& state) const
    {
        if (mAsk != nullptr) {
            return mAsk(state);
        }
        mCall(state);
        return true;
    }

private:
    void (*mCall)(State& state) = nullptr;
    bool (*mAsk)(State& state) = nullptr;
};

template <class State>
struct SweptOperation
{
    const char* what;
    void (*prepare)(State& state) = nullptr;
    /// Apart from the operation under test it must need no memory.
    SweptCall<State> run;
    /// The state after a success, which is possible also after a refusal.
    const char* done;
    /// The state after the operation returned a failure; null if it never does.
    const char* failed = nullptr;
    /// The state after the operation threw std::bad_alloc; null if it never does.
    const char* thrown = nullptr;
    /// The state after the operation has run again after a failure; null if it is the same as
    /// `done`.
    const char* again = nullptr;
    /// Like `thrown`, with all later requests refused too; null if it is the same.
    const char* exhausted = nullptr;
    /// The least number of requests: with fewer, the row would test nothing.
    int least = 0;
};

/// Keeps the text of an exception that an operation throws as its answer. Needs no heap.
class CaughtText
{
public:
    /// Makes the call, which throws an Error. Other exceptions are not caught.
    template <class Error, class Call>
    void Catch(const Call& call)
    {
        mText[0] = '\0';
        try {
            call();
        } catch (const Error& error) {
            std::snprintf(mText, sizeof(mText), "%s", error.what());
        }
    }

    const char* Get() const { return mText; }

private:
    char mText[160] = "";
};

/// How an operation ended.
enum class SweepAnswer
{
    kDone,
    kFailed,
    kThrew
};

/// Adds to the figures that the program prints at its end.
void CountSwept(int operations, int refusals);

template <class State>
SweepAnswer Answer(const SweptOperation<State>& operation, State& state)
{
    try {
        return operation.run(state) ? SweepAnswer::kDone : SweepAnswer::kFailed;
    } catch (const std::bad_alloc&) {
        return SweepAnswer::kThrew;
    }
}

template <class State>
void CheckAnswer(const SweptOperation<State>& operation, State& state, SweepAnswer answer)
{
    if (answer == SweepAnswer::kDone) {
        EXPECT_EQ(state.Describe(), operation.done);
        return;
    }
    const char* const expected =
        answer == SweepAnswer::kFailed ? operation.failed : operation.thrown;
    if (expected == nullptr) {
        ADD_FAILURE() << (answer == SweepAnswer::kFailed ? "failed" : "threw");
        return;
    }
    EXPECT_EQ(state.Describe(), expected);
    EXPECT_EQ(Answer(operation, state), SweepAnswer::kDone) << "when it ran again";
    EXPECT_EQ(state.Describe(), operation.again != nullptr ? operation.again : operation.done)
        << "when it had run again";
}

/// Runs the operation with request number `refused` refused, and returns whether there was such a
/// request.
template <class Failing, class State>
bool RunWithRefusal(const SweptOperation<State>& operation, int refused)
{
    SCOPED_TRACE(refused);
    const long blocks = CountLiveBlocks();
    bool hasRefused = false;
    {
        State state;
        if (operation.prepare != nullptr) {
            operation.prepare(state);
        }
        SweepAnswer answer = SweepAnswer::kDone;
        {
            const Failing failing(refused);
            answer = Answer(operation, state);
            hasRefused = failing.HasRefused();
        }
        EXPECT_TRUE(hasRefused || answer == SweepAnswer::kDone) << "with nothing refused";
        CheckAnswer(operation, state, answer);
    }
    // GoogleTest allocates memory for each failure.
    if (!testing::Test::HasFailure()) {
        EXPECT_EQ(CountLiveBlocks() - blocks, 0) << "blocks are left";
    }
    return hasRefused;
}

/// Runs the operation with each of its requests refused and returns how many there were.
template <class Failing, class State>
int RefuseEach(SweptOperation<State> operation)
{
    constexpr int kMostRefusals = 200;
    if (std::is_same_v<Failing, ExhaustedHeap> && operation.exhausted != nullptr) {
        operation.thrown = operation.exhausted;
    }
    int refused = 1;
    while (RunWithRefusal<Failing>(operation, refused) && refused < kMostRefusals) {
        ++refused;
    }
    EXPECT_GT(refused, operation.least) << "too few requests for memory";
    EXPECT_LT(refused, kMostRefusals);
    return refused - 1;
}

/// Each Failing is FailingHeap, or a class with the same operations that refuses other requests.
template <class State, class... Failing>
void SweepWith(std::span<const SweptOperation<State>> operations)
{
    for (const SweptOperation<State>& operation : operations) {
        SCOPED_TRACE(operation.what);
        {
            // The first run may allocate what stays for the life of the process: that is no leak.
            State state;
            if (operation.prepare != nullptr) {
                operation.prepare(state);
            }
            Answer(operation, state);
            state.Describe();
        }
        CountSwept(1, (RefuseEach<Failing>(operation) + ...));
    }
}

template <class State>
void SweepRefusals(std::span<const SweptOperation<State>> operations)
{
    SweepWith<State, FailingHeap, ExhaustedHeap>(operations);
}

} // namespace TestSupport
