// CountingThreadsTest.cpp - several threads that hold, copy and unshare one object.

#include "Support/Threads.h"
#include "Support/Witness.h"

#include <QX/Buffer.h>
#include <QX/RCPtr.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <vector>

namespace {

using QX::ConstRCPtr;
using QX::LIBuffer;
using QX::LRefCountedObject;
using QX::RCPtr;
using TestSupport::MakeWitness;
using TestSupport::RunOnThreads;
using TestSupport::Witness;

constexpr std::size_t kThreads = 8;

char LastByteOf(const RCPtr<LIBuffer>& buffer)
{
    return static_cast<const char*>(buffer->GetRawPtr())[15];
}

TEST(CountingThreads, CopiesThatComeAndGoLeaveTheCountAsItWas)
{
    RCPtr<Witness> object = MakeWitness('a');

    RunOnThreads(kThreads, [&](std::size_t) {
        for (int round = 0; round < 2000; ++round) {
            const RCPtr<Witness> copy = object;
            const ConstRCPtr<LRefCountedObject> another = copy;
        }
    });

    EXPECT_EQ(object->GetReferenceCount(), 1);
    object = nullptr;
    EXPECT_EQ(Witness::GetLiveCount(), 0);
}

TEST(CountingThreads, TheLastOfManyHoldersEndsTheObjectOnce)
{
    for (int round = 0; round < 100; ++round) {
        std::vector<RCPtr<Witness>> holders(kThreads, MakeWitness('a'));

        RunOnThreads(kThreads, [&](std::size_t index) { holders[index] = nullptr; });

        ASSERT_EQ(Witness::GetLiveCount(), 0);
    }
}

TEST(CountingThreads, EveryHolderWritesIntoACopyOfItsOwn)
{
    for (int round = 0; round < 100; ++round) {
        const RCPtr<LIBuffer> shared = QX::LByteBuffer::Create(16, 0, true);
        std::vector<RCPtr<LIBuffer>> holders(kThreads, shared);
        std::atomic<int> wrongBytes{0};

        RunOnThreads(kThreads, [&](std::size_t index) {
            RCPtr<LIBuffer>& mine = holders[index];
            wrongBytes += LastByteOf(mine);
            mine.Unshare();
            mine->FillN(static_cast<char>(index + 1), 0, -1);
            wrongBytes += LastByteOf(mine) != static_cast<char>(index + 1);
        });

        ASSERT_EQ(wrongBytes, 0);
        ASSERT_EQ(LastByteOf(shared), 0);
        ASSERT_EQ(shared->GetReferenceCount(), 1);
    }
}

// The last holder writes in place, so what the other one reads before it lets go must have been
// read by then.
TEST(CountingThreads, TheHolderThatFindsItselfAloneMayWriteInPlace)
{
    for (int round = 0; round < 100; ++round) {
        std::vector<RCPtr<LIBuffer>> holders(2, QX::LByteBuffer::Create(16, 0, true));
        std::atomic<int> wrongBytes{0};

        RunOnThreads(2, [&](std::size_t index) {
            RCPtr<LIBuffer> mine = std::move(holders[index]);
            wrongBytes += LastByteOf(mine);
            mine.Unshare();
            mine->FillN('x', 0, -1);
        });

        ASSERT_EQ(wrongBytes, 0);
    }
}

TEST(CountingThreads, ContainedReferencesChangeByExactlyTheSwapsThatSucceeded)
{
    LRefCountedObject object;
    std::atomic<int> successes{0};

    RunOnThreads(kThreads, [&](std::size_t) {
        for (int round = 0; round < 1000; ++round) {
            successes += object.ModifyNumContainedReferences(1);
        }
    });

    EXPECT_EQ(object.GetContainedReferenceCount(), successes);
    EXPECT_GE(successes, 1000);
}

} // namespace
