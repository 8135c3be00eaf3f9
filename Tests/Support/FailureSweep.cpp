// FailureSweep.cpp - the figures of a program's sweeps.

#include "Support/FailureSweep.h"

#include <cstdio>

namespace TestSupport {
namespace {

int gOperations = 0;
int gRefusals = 0;

class Report : public testing::Environment
{
public:
    void TearDown() override
    {
        std::printf("[   SWEEP  ] %d operations, %d refusals\n", gOperations, gRefusals);
    }
};

// GoogleTest owns it.
[[maybe_unused]] testing::Environment* const gReport =
    testing::AddGlobalTestEnvironment(new Report);

} // namespace

void CountSwept(int operations, int refusals)
{
    gOperations += operations;
    gRefusals += refusals;
}

} // namespace TestSupport
