// FailureSweepTest.cpp - a sweep reports operations that do what they must not.

#include "Support/FailureSweep.h"

#include <gtest/gtest-spi.h>

#include <cstdlib>
#include <new>
#include <string>
#include <utility>

namespace {

using TestSupport::SweepRefusals;
using TestSupport::SweptOperation;

/// Two blocks that an operation asks for, and a word about it.
struct Blocks
{
    void* first = nullptr;
    void* second = nullptr;
    const char* word = "none";

    Blocks() = default;
    ~Blocks()
    {
        std::free(first);
        std::free(second);
    }
    Blocks(const Blocks&) = delete;
    Blocks& operator=(const Blocks&) = delete;

    std::string Describe() const { return word; }

    bool AskForFirst()
    {
        std::free(first);
        first = std::malloc(10);
        return first != nullptr;
    }
    bool AskForSecond()
    {
        std::free(second);
        second = std::malloc(10);
        return second != nullptr;
    }
};

using Operation = SweptOperation<Blocks>;

void* gLost = nullptr; ///< the sweep sees a leak

// Returns what the sweep of one operation has reported, one line for each failure.
std::string ReportsOf(const Operation& operation)
{
    testing::TestPartResultArray failures;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
        SweepRefusals<Blocks>({&operation, 1});
    }
    std::string reports;
    for (int index = 0; index < failures.size(); ++index) {
        reports.append(failures.GetTestPartResult(index).message()).append("\n");
    }
    return reports;
}

TEST(FailureSweep, ReportsNothingOfAnOperationThatDoesAsItSays)
{
    const Operation operation = {
        .what = "",
        .run =
            [](Blocks& blocks) {
                const bool isDone = blocks.AskForFirst() && blocks.AskForSecond();
                blocks.word = isDone ? "done" : "none";
                return isDone;
            },
        .done = "done",
        .failed = "none",
        .least = 2,
    };

    EXPECT_EQ(ReportsOf(operation), "");
}

TEST(FailureSweep, NoticesWhatIsWrong)
{
    const struct
    {
        const char* what;
        Operation operation;
        const char* report;
    } rows[] = {
        {"a block is lost",
         {.what = "",
          .run =
              [](Blocks& blocks) {
                  blocks.AskForFirst();
                  if (!blocks.AskForSecond()) {
                      std::swap(blocks.first, gLost);
                      return false;
                  }
                  return true;
              },
          .done = "none",
          .failed = "none"},
         "blocks are left"},
        {"the state has changed",
         {.what = "",
          .run =
              [](Blocks& blocks) {
                  blocks.word = "done";
                  return blocks.AskForFirst();
              },
          .done = "done",
          .failed = "none"},
         "Which is: \"done\""},
        {"a failure is not returned",
         {.what = "",
          .run =
              [](Blocks& blocks) {
                  if (blocks.AskForFirst()) {
                      blocks.word = "done";
                  }
              },
          .done = "done",
          .failed = "none"},
         "Which is: \"none\""},
        {"a failure is returned where none may be",
         {.what = "", .run = [](Blocks& blocks) { return blocks.AskForFirst(); }, .done = "none"},
         "failed"},
        {"an exception comes where none may be",
         {.what = "",
          .run =
              [](Blocks& blocks) {
                  if (!blocks.AskForFirst()) {
                      throw std::bad_alloc();
                  }
              },
          .done = "none",
          .failed = "none"},
         "threw"},
        {"nothing works after a failure",
         {.what = "",
          .run =
              [](Blocks& blocks) {
                  const bool wasBroken = *blocks.word == 'b';
                  blocks.word = blocks.AskForFirst() && !wasBroken ? "done" : "broken";
                  return *blocks.word == 'd';
              },
          .done = "done",
          .failed = "broken"},
         "when it ran again"},
        {"a failure comes without a refusal",
         {.what = "", .run = [](Blocks&) { return false; }, .done = "none", .failed = "none"},
         "with nothing refused"},
        {"no memory is asked for",
         {.what = "", .run = [](Blocks&) {}, .done = "none", .least = 1},
         "too few requests for memory"},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);

        EXPECT_NE(ReportsOf(row.operation).find(row.report), std::string::npos)
            << ReportsOf(row.operation);
        std::free(std::exchange(gLost, nullptr));
    }
}

} // namespace
