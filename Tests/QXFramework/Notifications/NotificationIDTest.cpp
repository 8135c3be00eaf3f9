// NotificationIDTest.cpp - names and their IDs.

#include "NotificationFixture.h"

#include "Support/Threads.h"

#include <gtest/gtest.h>

#include <array>
#include <new>
#include <string>
#include <vector>

namespace NotificationTests {
namespace {

class NotificationID : public NotificationFixture
{};

uint32 CountNames()
{
    return LNotification::GetNotificationIDs().GetCount();
}

TEST_F(NotificationID, IsNullForNoNameAndForAnEmptyOne)
{
    const uint32 before = CountNames();

    EXPECT_EQ(LNotification::GetNotificationID(nullptr), nullptr);
    EXPECT_EQ(LNotification::GetNotificationID(""), nullptr);
    EXPECT_EQ(CountNames(), before);
}

TEST_F(NotificationID, IsTheSameForEqualNamesInDifferentBuffers)
{
    const std::string first = "track.changed";
    const std::string second = first;
    const uint32 before = CountNames();

    const char* const id = LNotification::GetNotificationID(first.c_str());

    EXPECT_EQ(CountNames(), before + 1);
    EXPECT_EQ(LNotification::GetNotificationID(second.c_str()), id);
    EXPECT_EQ(LNotification::GetNotificationID(id), id);
    EXPECT_EQ(CountNames(), before + 1);
    EXPECT_STREQ(id, "track.changed");
    EXPECT_NE(id, first.c_str());
}

// So many that what finds the names has to grow among them, and so long that each needs memory.
TEST_F(NotificationID, OfANameThatFindsNoMemoryIsMadeLater)
{
    for (int number = 0; number < 300; ++number) {
        SCOPED_TRACE(number);
        const std::string name = std::string(20000, 's') + std::to_string(number);
        const uint32 before = CountNames();
        const char* id = nullptr;

        for (int call = 1; id == nullptr; ++call) {
            EXPECT_EQ(CountNames(), before);
            const TestSupport::FailingHeap failing(call);
            try {
                id = LNotification::GetNotificationID(name.c_str());
            } catch (const std::bad_alloc&) {
                // One allocation more succeeds in the next round.
            }
        }

        EXPECT_STREQ(id, name.c_str());
        EXPECT_EQ(CountNames(), before + 1);
    }
}

TEST_F(NotificationID, IsTheAddressOfTheTablesOwnCharacters)
{
    const char* const id = LNotification::GetNotificationID("own.characters");

    auto& names = LNotification::GetNotificationIDs();
    const int32 index = names.FindContained(id);

    ASSERT_GE(index, 0);
    EXPECT_EQ(names.GetAt(static_cast<uint32>(index))->CStr(), id);
    EXPECT_EQ(names.FindString("own.characters", true), index);
}

TEST_F(NotificationID, DiffersForNamesThatDifferInCaseOrLengthOnly)
{
    const char* const id = LNotification::GetNotificationID("Case");

    EXPECT_NE(LNotification::GetNotificationID("case"), id);
    EXPECT_NE(LNotification::GetNotificationID("Cas"), id);
    EXPECT_NE(LNotification::GetNotificationID("Case "), id);
}

TEST_F(NotificationID, TakesEveryByteAsItIs)
{
    const char* const id = LNotification::GetNotificationID("\xE9\x80\xFF\x01");

    EXPECT_STREQ(id, "\xE9\x80\xFF\x01");
    EXPECT_EQ(LNotification::GetNotificationID("\xE9\x80\xFF\x01"), id);
}

TEST_F(NotificationID, StaysAtItsAddressWhileTheTableGrows)
{
    const std::array<std::string, 3> names = {"x", "xyz", std::string(200, 'n')};
    std::vector<const char*> ids;
    for (const std::string& name : names) {
        ids.push_back(LNotification::GetNotificationID(name.c_str()));
    }

    for (int number = 0; number < 10000; ++number) {
        LNotification::GetNotificationID(("growth." + std::to_string(number)).c_str());
    }

    for (std::size_t index = 0; index < names.size(); ++index) {
        SCOPED_TRACE(names[index]);
        EXPECT_EQ(LNotification::GetNotificationID(names[index].c_str()), ids[index]);
        EXPECT_EQ(ids[index], names[index]);
    }
}

TEST_F(NotificationID, OfEveryNameIsFoundAgain)
{
    std::vector<const char*> ids;
    for (int number = 0; number < 3000; ++number) {
        ids.push_back(
            LNotification::GetNotificationID(("again." + std::to_string(number)).c_str()));
    }
    const uint32 count = CountNames();

    for (int number = 0; number < 3000; ++number) {
        const std::string name = "again." + std::to_string(number);
        ASSERT_EQ(LNotification::GetNotificationID(name.c_str()),
                  ids[static_cast<std::size_t>(number)]);
    }
    EXPECT_EQ(CountNames(), count);
}

// More than are remembered, and passed back again and again.
TEST_F(NotificationID, IsReturnedHoweverOftenItIsPassedBack)
{
    std::vector<const char*> ids;
    for (int number = 0; number < 200; ++number) {
        ids.push_back(LNotification::GetNotificationID(("back." + std::to_string(number)).c_str()));
    }
    const uint32 count = CountNames();

    for (int round = 0; round < 3; ++round) {
        for (const char* const id : ids) {
            ASSERT_EQ(LNotification::GetNotificationID(id), id);
            ASSERT_EQ(LNotification::GetNotificationID(id), id);
            ASSERT_EQ(LNotification::GetNotificationID(std::string(id).c_str()), id);
            ASSERT_NE(LNotification::GetNotificationID(id + 1), id);
        }
    }
    EXPECT_EQ(CountNames(), count + 200);
}

TEST_F(NotificationID, IsNotTheAddressOfTheIdleName)
{
    const RCPtr<LNotification> idle = Make(QX::NID_IDLE);

    EXPECT_STREQ(QX::NID_IDLE, "NID_IDLE");
    EXPECT_NE(idle->GetID(), QX::NID_IDLE);
    EXPECT_EQ(idle->GetID(), LNotification::GetNotificationID(QX::NID_IDLE));
}

TEST_F(NotificationID, IsOneForAllThreadsThatNeedItAtOnce)
{
    constexpr std::size_t kThreads = 4;
    constexpr std::size_t kNames = 500;
    std::array<std::vector<const char*>, kThreads> ids;
    const uint32 before = CountNames();

    TestSupport::RunOnThreads(kThreads, [&ids](std::size_t thread) {
        for (std::size_t number = 0; number < kNames; ++number) {
            const std::string name = "threads." + std::to_string((number + thread) % kNames);
            ids[thread].push_back(LNotification::GetNotificationID(name.c_str()));
        }
    });

    EXPECT_EQ(CountNames(), before + kNames);
    for (std::size_t thread = 1; thread < kThreads; ++thread) {
        for (std::size_t number = 0; number < kNames; ++number) {
            ASSERT_EQ(ids[thread][number], ids[0][(number + thread) % kNames]);
        }
    }
}

} // namespace
} // namespace NotificationTests
