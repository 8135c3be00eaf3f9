// FailureSweep.h - runs operations while the heap refuses one of their requests after the other.
//
// A row of a table is an operation: how the state that it works on is prepared, the operation, and
// what a user sees of the state afterwards, as text. The operation runs with its first request for
// memory refused, then with its second, and so on until it runs through without a refusal; then the
// same with all requests behind it refused as well. Each run starts with a new state.
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
// After each run the answer has to be one that the row allows and the state has to be what the row
// says for it; then the same operation runs again with all the memory that it wants; and when the
// state has gone no block is left that was not there before.
//
// A test program that uses it links FailureSweep.
#pragma once

#include "Support/FailingHeap.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <new>
#include <span>
#include <string>
#include <type_traits>

namespace TestSupport {

/// A function of the state that returns false if the operation has answered that it failed, or one
/// that returns nothing, of an operation that has no such answer.
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
    /// What it does beside the operation under test must need no memory.
    SweptCall<State> run;
    /// The state when the operation has done its work, which it may do in spite of a refusal.
    const char* done;
    /// The state when the operation has answered that it failed; null if it never does.
    const char* failed = nullptr;
    /// The state when std::bad_alloc has left the operation; null if it never does.
    const char* thrown = nullptr;
    /// The state when the operation has run again behind a failure; null if it is that of `done`.
    const char* again = nullptr;
    /// As `thrown`, when all further requests are refused too; null if that makes no difference.
    const char* exhausted = nullptr;
    /// How many requests there are at least: fewer would mean that nothing was put to the test.
    int least = 0;
};

/// The text of an exception that an operation throws as its answer, kept without any memory.
class CaughtText
{
public:
    /// Makes the call, which throws an Error. Whatever else it throws passes.
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

/// What an operation has answered.
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

/// Runs the operation with its request number `refused` refused and returns whether there was such
/// a request.
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
    // What GoogleTest keeps of a failure is memory as well.
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

/// Each Failing is the FailingHeap or a class like it, which refuses in another way or other calls.
template <class State, class... Failing>
void SweepWith(std::span<const SweptOperation<State>> operations)
{
    for (const SweptOperation<State>& operation : operations) {
        SCOPED_TRACE(operation.what);
        {
            // What the first call of a kind keeps for the life of the process is no leak.
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
