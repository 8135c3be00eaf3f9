// RegistryTest.cpp - opening and closing devices.

#include "DriverPlugIn/Support/PlugInFixture.h"

#include <Standin/LiveObjects.h>

#include <cstring>

// Names of the registry: a second definition links only while those of the plug-in are local.
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
    return StandinGetTotalLiveObjectCount(); // ports are not real here
}

class Registry : public PlugInFixture
{};

TEST_F(Registry, UnknownDeviceIsRefusedByCloseAndNothingIsCreated)
{
    EXPECT_FALSE(IsOpen(258));
    EXPECT_EQ(AudioDriverPlugInClose(258), kWhat);

    EXPECT_THAT(PlatformCalls::GetJournal(), IsEmpty());
    EXPECT_EQ(CountArrays(), 0);
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

TEST_F(Registry, PortIsSetToNullAfterTheRecordIsAppended)
{
    PlatformCalls::PoisonAllocations();
    PlatformCalls::SetServerPresent(true);

    Open(258);

    ASSERT_THAT(PlatformCalls::GetAppended(), testing::SizeIs(1));
    CFMessagePortRef poison = nullptr;
    std::memset(&poison, 0xA5, sizeof(poison));
    EXPECT_EQ(PlatformCalls::GetAppended().front().mMessagePort, poison);
    EXPECT_EQ(SetInteger(258, kEnable, 1), 0);
    EXPECT_EQ(PlatformCalls::CountPorts(), 1);
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

TEST_F(Registry, ClosingTheOnlyDeviceReleasesTheArrayAndTheNextOpenMakesANewOne)
{
    for (const AudioDeviceID device : {AudioDeviceID{258}, AudioDeviceID{300}}) {
        SCOPED_TRACE(device);
        PlatformCalls::ClearJournal();

        Open(device);
        EXPECT_EQ(CountArrays(), 1);
        Close(device);
        EXPECT_EQ(CountArrays(), 0);

        EXPECT_THAT(
            PlatformCalls::GetJournal(),
            ElementsAre("create array null 1 null", "append set", "remove 0", "release array"));
    }
}

TEST_F(Registry, ClosingAnyDeviceLeavesTheOthersWhereTheyWere)
{
    // More than the capacity with which the array is made, and the ends of the range of IDs.
    const AudioDeviceID devices[] = {7, 0, 0xFFFFFFFF, 1, 258};
    for (std::size_t closed = 0; closed < 5; ++closed) {
        SCOPED_TRACE(closed);
        for (const AudioDeviceID device : devices) {
            Open(device);
        }
        EXPECT_EQ(AudioDriverPlugInClose(2), kWhat);
        PlatformCalls::ClearJournal();

        Close(devices[closed]);

        EXPECT_THAT(PlatformCalls::GetJournal(), ElementsAre("remove " + std::to_string(closed)));
        EXPECT_EQ(CountArrays(), 1);
        for (const AudioDeviceID device : devices) {
            EXPECT_EQ(IsOpen(device), device != devices[closed]);
            if (device != devices[closed]) {
                Close(device);
            }
        }
        EXPECT_EQ(CountArrays(), 0);
    }
}

TEST_F(Registry, RecordIsOneBlockAndCloseFreesItAfterItsRemoval)
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
