// RegistryTest.cpp - opening and closing devices.

#include "DriverPlugIn/Support/PlugInFixture.h"

#include <Standin/Standin.h>

#include <cstring>

// Names of the registry. A second definition links only as long as the plug-in's own are local.
void* gHostInfoArray = nullptr;
_PlugInInfo* FetchPlugInInfoElementByID(UInt32 deviceID);
_PlugInInfo* FetchPlugInInfoElementByID(UInt32 /*deviceID*/)
{
    return nullptr;
}
int RemovePlugInInfoElementByID(UInt32 deviceID);
int RemovePlugInInfoElementByID(UInt32 /*deviceID*/)
{
    return -1;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A property that does not exist is unknown on an open device and 'what' on any other.
bool IsOpen(AudioDeviceID device)
{
    const UInt32 value = 0;
    return AudioDriverPlugInDeviceSetProperty(device, nullptr, 0, 1, 0, 4, &value) == kWho;
}

SInt32 CountArrays()
{
    return StandinGetLiveObjectCount(CFArrayGetTypeID());
}

class Registry : public PlugInFixture
{};

TEST_F(Registry, IsEmptyWhenThePlugInIsLoaded)
{
    EXPECT_FALSE(IsOpen(258));
    EXPECT_EQ(CountArrays(), 0);
}

TEST_F(Registry, FirstOpenCreatesTheArrayWithTheDefaultsAndCapacityOne)
{
    Open(258);

    EXPECT_THAT(PlatformCalls::GetJournal(), ElementsAre("create array null 1 null", "append set"));
    EXPECT_EQ(CountArrays(), 1);
}

TEST_F(Registry, OpenCopiesTheHostInfoBeforeItAppendsTheRecord)
{
    const auto deviceChanged = [](AudioDeviceID, UInt32, Boolean, AudioDevicePropertyID) {
        return OSStatus{0};
    };
    const auto streamChanged = [](AudioDeviceID, io_object_t, UInt32, AudioDevicePropertyID) {
        return OSStatus{0};
    };
    AudioDriverPlugInHostInfo hostInfo = {258, 11, 12, deviceChanged, streamChanged};

    EXPECT_EQ(AudioDriverPlugInOpen(&hostInfo), 0);

    ASSERT_THAT(PlatformCalls::GetAppended(), testing::SizeIs(1));
    const _PlugInInfo& record = PlatformCalls::GetAppended().front();
    EXPECT_EQ(record.mDeviceID, 258u);
    EXPECT_EQ(record.mIOAudioDevice, 11u);
    EXPECT_EQ(record.mIOAudioEngine, 12u);
    EXPECT_EQ(record.mDevicePropertyChangedProc, hostInfo.mDevicePropertyChangedProc);
    EXPECT_EQ(record.mStreamPropertyChangedProc, hostInfo.mStreamPropertyChangedProc);
    EXPECT_EQ(AudioDriverPlugInClose(258), 0);
}

TEST_F(Registry, OpenSetsThePortAfterItHasAppendedTheRecord)
{
    PlatformCalls::PoisonAllocations();

    Open(258);

    ASSERT_THAT(PlatformCalls::GetAppended(), testing::SizeIs(1));
    CFMessagePortRef poison = nullptr;
    std::memset(&poison, 0xA5, sizeof(poison));
    EXPECT_EQ(PlatformCalls::GetAppended().front().mMessagePort, poison);
}

TEST_F(Registry, SecondOpenOfADeviceIsRefusedAndLeavesOneRecord)
{
    Open(258);
    AudioDriverPlugInHostInfo again = {258, 1, 2, nullptr, nullptr};
    PlatformCalls::ClearJournal();

    EXPECT_EQ(AudioDriverPlugInOpen(&again), kWhat);

    EXPECT_THAT(PlatformCalls::GetJournal(), IsEmpty());
    Close(258);
    EXPECT_FALSE(IsOpen(258));
    EXPECT_EQ(CountArrays(), 0);
}

TEST_F(Registry, CloseOfAnUnknownDeviceIsRefusedAndCreatesNothing)
{
    EXPECT_EQ(AudioDriverPlugInClose(258), kWhat);

    EXPECT_THAT(PlatformCalls::GetJournal(), IsEmpty());
    EXPECT_EQ(CountArrays(), 0);
}

TEST_F(Registry, CloseOfAnUnknownDeviceLeavesTheOthers)
{
    Open(258);

    EXPECT_EQ(AudioDriverPlugInClose(259), kWhat);

    EXPECT_TRUE(IsOpen(258));
}

TEST_F(Registry, ClosingTheOnlyDeviceReleasesTheArrayAndTheNextOpenMakesANewOne)
{
    Open(258);
    PlatformCalls::ClearJournal();

    Close(258);

    EXPECT_THAT(PlatformCalls::GetJournal(), ElementsAre("remove 0", "release array"));
    EXPECT_EQ(CountArrays(), 0);
    PlatformCalls::ClearJournal();
    Open(300);
    EXPECT_THAT(PlatformCalls::GetJournal(), ElementsAre("create array null 1 null", "append set"));
    EXPECT_TRUE(IsOpen(300));
}

TEST_F(Registry, FirstAndLastIDAreOrdinaryKeys)
{
    Open(0);
    Open(0xFFFFFFFF);

    EXPECT_TRUE(IsOpen(0));
    EXPECT_TRUE(IsOpen(0xFFFFFFFF));
    EXPECT_FALSE(IsOpen(1));
    Close(0);
    EXPECT_FALSE(IsOpen(0));
    EXPECT_TRUE(IsOpen(0xFFFFFFFF));
}

TEST_F(Registry, ClosingTheFirstOfTwoLeavesTheSecond)
{
    Open(1);
    Open(2);

    Close(1);

    EXPECT_FALSE(IsOpen(1));
    EXPECT_TRUE(IsOpen(2));
    EXPECT_EQ(CountArrays(), 1);
    Close(2);
    EXPECT_EQ(CountArrays(), 0);
}

TEST_F(Registry, ClosingTheLastOfTwoLeavesTheFirst)
{
    Open(1);
    Open(2);

    PlatformCalls::ClearJournal();
    Close(2);

    EXPECT_THAT(PlatformCalls::GetJournal(), ElementsAre("remove 1"));
    EXPECT_TRUE(IsOpen(1));
    EXPECT_FALSE(IsOpen(2));
    EXPECT_EQ(CountArrays(), 1);
}

TEST_F(Registry, HoldsMoreDevicesThanTheCapacityHint)
{
    for (AudioDeviceID device = 1; device <= 5; ++device) {
        Open(device);
    }

    for (AudioDeviceID device = 1; device <= 5; ++device) {
        SCOPED_TRACE(device);
        EXPECT_TRUE(IsOpen(device));
    }
    Close(3);
    EXPECT_FALSE(IsOpen(3));
    EXPECT_TRUE(IsOpen(4));
    EXPECT_TRUE(IsOpen(5));
}

TEST_F(Registry, RecordIsOneBlockThatCloseFreesAfterItsRemoval)
{
    PlatformCalls::RecordBlocks();
    const std::string size = std::to_string(sizeof(_PlugInInfo));

    Open(258);
    Close(258);

    std::vector<std::string> blocks;
    for (const std::string& entry : PlatformCalls::GetJournal()) {
        if (entry.find(size) != std::string::npos || entry.find("re") == 0) {
            blocks.push_back(entry);
        }
    }
    EXPECT_THAT(blocks,
                ElementsAre("allocate " + size, "remove 0", "free " + size, "release array"));
}

TEST_F(Registry, NewRecordHasNoPortWhateverItsMemoryHeld)
{
    PlatformCalls::PoisonAllocations();
    PlatformCalls::SetServerPresent(true);

    Open(258);

    EXPECT_EQ(SetInteger(258, kEnable, 1), 0);
    EXPECT_THAT(PlatformCalls::GetPortNames(), testing::SizeIs(1));
}

TEST_F(Registry, CloseKeepsThePortAndReopeningMakesAnother)
{
    PlatformCalls::SetServerPresent(true);
    Open(258);
    SetInteger(258, kEnable, 1);
    PlatformCalls::ClearJournal();

    Close(258);
    EXPECT_THAT(PlatformCalls::GetJournal(), ElementsAre("remove 0", "release array"));
    Open(258);
    SetInteger(258, kEnable, 1);

    EXPECT_THAT(PlatformCalls::GetPortNames(), testing::SizeIs(2));
    ASSERT_THAT(PlatformCalls::GetSent(), testing::SizeIs(2));
    EXPECT_NE(PlatformCalls::GetSent()[0].port, PlatformCalls::GetSent()[1].port);
}

TEST_F(Registry, CloseSucceedsWhenItsSecondScanFindsNothing)
{
    Open(258);
    PlatformCalls::HideRecordsFromScan(2);

    EXPECT_EQ(AudioDriverPlugInClose(258), 0);
    Close(258); // the record is still there
    EXPECT_EQ(AudioDriverPlugInClose(258), kWhat);
}

TEST(PlugInInfo, HasTheHostInfosFieldsInOrderAndThenThePort)
{
    EXPECT_EQ(offsetof(_PlugInInfo, mDeviceID), 0u);
    EXPECT_EQ(offsetof(_PlugInInfo, mIOAudioDevice), 4u);
    EXPECT_EQ(offsetof(_PlugInInfo, mIOAudioEngine), 8u);
    EXPECT_EQ(offsetof(_PlugInInfo, mDevicePropertyChangedProc),
              offsetof(AudioDriverPlugInHostInfo, mDevicePropertyChangedProc));
    EXPECT_EQ(offsetof(_PlugInInfo, mStreamPropertyChangedProc),
              offsetof(AudioDriverPlugInHostInfo, mStreamPropertyChangedProc));
    EXPECT_EQ(offsetof(_PlugInInfo, mMessagePort), sizeof(AudioDriverPlugInHostInfo));
}

} // namespace
