// NotificationIDTest.cpp - names and their IDs.

#include "NotificationFixture.h"

#include "Support/Threads.h"

#include <gtest/gtest.h>

#include <array>
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

TEST_F(NotificationID, IsTheAddressOfTheLastEntryAtOnce)
{
    auto& names = LNotification::GetNotificationIDs();
    const uint32 count = CountNames();

    for (uint32 number = 0; number < 10000; ++number) {
        const std::string name = "entry." + std::to_string(number);
        const char* const id = LNotification::GetNotificationID(name.c_str());

        ASSERT_EQ(CountNames(), count + number + 1);
        ASSERT_EQ(names.GetAt(count + number)->CStr(), id);
        ASSERT_EQ(names.GetAt(count + number)->GetLength(), name.size());
        ASSERT_EQ(id, name);
    }

    for (uint32 number = 0; number < 10000; ++number) {
        const std::string name = "entry." + std::to_string(number);
        ASSERT_EQ(LNotification::GetNotificationID(name.c_str()),
                  names.GetAt(count + number)->CStr());
    }
    EXPECT_EQ(CountNames(), count + 10000);
    const char* const first = LNotification::GetNotificationID("entry.0");
    EXPECT_EQ(names.GetAt(count)->CStr(), first) << "it keeps its address while the table grows";
    EXPECT_EQ(names.FindContained(first), static_cast<int32>(count));
    EXPECT_EQ(names.FindString("entry.0", true), static_cast<int32>(count));
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
