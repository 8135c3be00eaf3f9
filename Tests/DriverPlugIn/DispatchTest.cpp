// DispatchTest.cpp - which property request is answered how, before anything is sent.

#include "DriverPlugIn/Support/PlugInFixture.h"

#include <cstring>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using testing::IsEmpty;
using testing::SizeIs;

constexpr UInt32 kUnknown = 0x6E6F6E65; // 'none'
constexpr AudioDeviceID kDevice = 258;
constexpr AudioDeviceID kStranger = 259;
/// What the recorder answers sends with, so that a status passed through is told from a success.
constexpr SInt32 kSent = 0x5E27;

constexpr UInt32 kChannels[] = {0, 1, 0xFFFFFFFF};
constexpr Boolean kInputs[] = {0, 1, 0x80};

/// The statuses of one property and size as letters: a group for each of the channels, a letter in
/// it for each of the inputs.
struct Expectation
{
    const char* what;
    UInt32 property;
    UInt32 size;
    const char* statuses;
};

const Expectation kGets[] = {
    {"enable, 3 bytes", kEnable, 3, "zzz zzz zzz"},
    {"enable, 4 bytes", kEnable, 4, "wuu www www"},
    {"enable, 5 bytes", kEnable, 5, "zzz zzz zzz"},
    {"enable, 8 bytes", kEnable, 8, "zzz zzz zzz"},
    {"level, 3 bytes", kLevel, 3, "zzz zzz zzz"},
    {"level, 4 bytes", kLevel, 4, "zzz zzz zzz"},
    {"level, 5 bytes", kLevel, 5, "zzz zzz zzz"},
    {"level, 8 bytes", kLevel, 8, "wuu wuu wuu"},
    {"state, 3 bytes", kState, 3, "zzz zzz zzz"},
    {"state, 4 bytes", kState, 4, "wuu www www"},
    {"state, 5 bytes", kState, 5, "zzz zzz zzz"},
    {"state, 8 bytes", kState, 8, "zzz zzz zzz"},
    {"unknown, 3 bytes", kUnknown, 3, "??? ??? ???"},
    {"unknown, 4 bytes", kUnknown, 4, "??? ??? ???"},
    {"unknown, 5 bytes", kUnknown, 5, "??? ??? ???"},
    {"unknown, 8 bytes", kUnknown, 8, "??? ??? ???"},
};

const Expectation kSets[] = {
    {"enable, 3 bytes", kEnable, 3, "zzz zzz zzz"},
    {"enable, 4 bytes", kEnable, 4, "wss uuu uuu"},
    {"enable, 5 bytes", kEnable, 5, "zzz zzz zzz"},
    {"enable, 8 bytes", kEnable, 8, "zzz zzz zzz"},
    {"level, 3 bytes", kLevel, 3, "zzz zzz zzz"},
    {"level, 4 bytes", kLevel, 4, "zzz zzz zzz"},
    {"level, 5 bytes", kLevel, 5, "zzz zzz zzz"},
    {"level, 8 bytes", kLevel, 8, "wss wss wss"},
    {"state, 3 bytes", kState, 3, "zzz zzz zzz"},
    {"state, 4 bytes", kState, 4, "wss uuu uuu"},
    {"state, 5 bytes", kState, 5, "zzz zzz zzz"},
    {"state, 8 bytes", kState, 8, "zzz zzz zzz"},
    {"unknown, 3 bytes", kUnknown, 3, "??? ??? ???"},
    {"unknown, 4 bytes", kUnknown, 4, "??? ??? ???"},
    {"unknown, 5 bytes", kUnknown, 5, "??? ??? ???"},
    {"unknown, 8 bytes", kUnknown, 8, "??? ??? ???"},
};

OSStatus GetStatus(char letter)
{
    switch (letter) {
    case 'w':
        return kWhat;
    case '?':
        return kWho;
    case 'z':
        return kBadSize;
    case 'u':
        return kUnop;
    default:
        return kSent;
    }
}

/// Calls `act(row, channel, input, expected)` for every cell of a table.
template <class Action>
void ForEachCell(const Expectation (&table)[16], Action act)
{
    for (const Expectation& row : table) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (std::size_t input = 0; input < 3; ++input) {
                SCOPED_TRACE(std::string(row.what) + ", channel " +
                             std::to_string(kChannels[channel]) + ", input " +
                             std::to_string(kInputs[input]));
                act(row, kChannels[channel], kInputs[input],
                    GetStatus(row.statuses[4 * channel + input]));
            }
        }
    }
}

class Dispatch : public PlugInFixture
{
protected:
    void SetUp() override
    {
        PlugInFixture::SetUp();
        PlatformCalls::SetServerPresent(true);
        Open(kDevice);
    }

    UInt32 mData[2] = {0, 0};
};

TEST_F(Dispatch, GetAnswersByPropertySizeChannelAndInput)
{
    ForEachCell(kGets, [&](const Expectation& row, UInt32 channel, Boolean input, OSStatus status) {
        UInt32 size = row.size;
        mData[0] = mData[1] = 0xC0FFEE;

        EXPECT_EQ(
            AudioDriverPlugInDeviceGetProperty(kDevice, channel, input, row.property, &size, mData),
            status);

        EXPECT_EQ(size, row.size);
        EXPECT_EQ(mData[0], 0xC0FFEEu);
        EXPECT_EQ(mData[1], 0xC0FFEEu);
    });
    EXPECT_THAT(PlatformCalls::GetSent(), IsEmpty());
}

TEST_F(Dispatch, SetAnswersByPropertySizeChannelAndInput)
{
    ForEachCell(kSets, [&](const Expectation& row, UInt32 channel, Boolean input, OSStatus status) {
        PlatformCalls::ClearSent();
        PlatformCalls::AnswerSends({kSent, kSent});

        EXPECT_EQ(AudioDriverPlugInDeviceSetProperty(kDevice, nullptr, channel, input, row.property,
                                                     row.size, mData),
                  status);

        EXPECT_EQ(PlatformCalls::GetSent().empty(), status != kSent);
    });
}

TEST_F(Dispatch, GetOfAStrangeDeviceIsRefusedBeforeThePropertyIsLookedAt)
{
    ForEachCell(kGets, [&](const Expectation& row, UInt32 channel, Boolean input, OSStatus) {
        UInt32 size = row.size;
        EXPECT_EQ(AudioDriverPlugInDeviceGetProperty(kStranger, channel, input, row.property, &size,
                                                     mData),
                  kWhat);
    });
}

TEST_F(Dispatch, SetOfAStrangeDeviceIsRefusedBeforeThePropertyIsLookedAt)
{
    ForEachCell(kSets, [&](const Expectation& row, UInt32 channel, Boolean input, OSStatus) {
        EXPECT_EQ(AudioDriverPlugInDeviceSetProperty(kStranger, nullptr, channel, input,
                                                     row.property, row.size, mData),
                  kWhat);
    });
}

TEST_F(Dispatch, GetWithoutASizeIsABadSizeWhateverElseIsWrong)
{
    ForEachCell(kGets, [&](const Expectation& row, UInt32 channel, Boolean input, OSStatus) {
        for (const AudioDeviceID device : {kDevice, kStranger}) {
            EXPECT_EQ(AudioDriverPlugInDeviceGetProperty(device, channel, input, row.property,
                                                         nullptr, mData),
                      kBadSize);
            EXPECT_EQ(AudioDriverPlugInDeviceGetProperty(device, channel, input, row.property,
                                                         nullptr, nullptr),
                      kBadSize);
        }
    });
}

TEST_F(Dispatch, GetWithoutDataIsRefusedBeforeTheDeviceIsLookedUp)
{
    ForEachCell(kGets, [&](const Expectation& row, UInt32 channel, Boolean input, OSStatus) {
        for (const AudioDeviceID device : {kDevice, kStranger}) {
            UInt32 size = row.size;
            EXPECT_EQ(AudioDriverPlugInDeviceGetProperty(device, channel, input, row.property,
                                                         &size, nullptr),
                      kWhat);
        }
    });
}

TEST_F(Dispatch, SetWithoutDataIsRefusedBeforeTheDeviceIsLookedUp)
{
    ForEachCell(kSets, [&](const Expectation& row, UInt32 channel, Boolean input, OSStatus) {
        for (const AudioDeviceID device : {kDevice, kStranger}) {
            EXPECT_EQ(AudioDriverPlugInDeviceSetProperty(device, nullptr, channel, input,
                                                         row.property, row.size, nullptr),
                      kWhat);
        }
    });
    EXPECT_THAT(PlatformCalls::GetSent(), IsEmpty());
}

TEST_F(Dispatch, PropertyInfoLooksAtTheSelectorAlone)
{
    const struct
    {
        const char* what;
        UInt32 property;
        OSStatus status;
        UInt32 size;
        Boolean writable;
    } cases[] = {
        {"enable", kEnable, 0, 4, 1},      {"level", kLevel, 0, 8, 1}, {"state", kState, 0, 4, 1},
        {"unknown", kUnknown, kWho, 0, 0}, {"zero", 0, kWho, 0, 0},
    };
    for (const auto& [what, property, status, expectedSize, expectedWritable] : cases) {
        for (const AudioDeviceID device : {kDevice, kStranger}) {
            for (const UInt32 channel : kChannels) {
                for (const Boolean input : kInputs) {
                    SCOPED_TRACE(what);
                    UInt32 size = 99;
                    Boolean writable = 99;

                    EXPECT_EQ(AudioDriverPlugInDeviceGetPropertyInfo(device, channel, input,
                                                                     property, &size, &writable),
                              status);

                    EXPECT_EQ(size, expectedSize);
                    EXPECT_EQ(writable, expectedWritable);
                }
            }
        }
    }
}

TEST_F(Dispatch, PropertyInfoStoresOnlyWhatIsAskedFor)
{
    UInt32 size = 99;
    Boolean writable = 99;

    EXPECT_EQ(AudioDriverPlugInDeviceGetPropertyInfo(kStranger, 0, 1, kLevel, &size, nullptr), 0);
    EXPECT_EQ(AudioDriverPlugInDeviceGetPropertyInfo(kStranger, 0, 1, kUnknown, nullptr, &writable),
              kWho);
    EXPECT_EQ(AudioDriverPlugInDeviceGetPropertyInfo(kStranger, 0, 1, kEnable, nullptr, nullptr),
              0);
    EXPECT_EQ(AudioDriverPlugInDeviceGetPropertyInfo(kStranger, 0, 1, kUnknown, nullptr, nullptr),
              kWho);

    EXPECT_EQ(size, 8u);
    EXPECT_EQ(writable, 0);
}

TEST_F(Dispatch, WritableFlagIsOneByte)
{
    Boolean guarded[3] = {0xEE, 0xEE, 0xEE};

    AudioDriverPlugInDeviceGetPropertyInfo(kDevice, 0, 1, kEnable, nullptr, &guarded[1]);

    EXPECT_EQ(guarded[0], 0xEE);
    EXPECT_EQ(guarded[1], 1);
    EXPECT_EQ(guarded[2], 0xEE);
}

TEST_F(Dispatch, StreamEntryPointsKnowNoProperty)
{
    OSStatus (*const getInfo)(AudioDeviceID, io_object_t, UInt32, AudioDevicePropertyID, UInt32*,
                              Boolean*) = &AudioDriverPlugInStreamGetPropertyInfo;
    OSStatus (*const get)(AudioDeviceID, io_object_t, UInt32, AudioDevicePropertyID, UInt32*,
                          void*) = &AudioDriverPlugInStreamGetProperty;
    OSStatus (*const set)(AudioDeviceID, io_object_t, const AudioTimeStamp*, UInt32,
                          AudioDevicePropertyID, UInt32, const void*) =
        &AudioDriverPlugInStreamSetProperty;
    UInt32 size = 4;
    Boolean writable = 99;

    EXPECT_EQ(getInfo(kDevice, 0, 0, kEnable, &size, &writable), kWho);
    EXPECT_EQ(get(kDevice, 0, 0, kEnable, &size, mData), kWho);
    EXPECT_EQ(set(kDevice, 0, nullptr, 0, kEnable, 4, mData), kWho);
    EXPECT_EQ(getInfo(0, 0, 0, 0, nullptr, nullptr), kWho);
    EXPECT_EQ(get(0, 0, 0, 0, nullptr, nullptr), kWho);
    EXPECT_EQ(set(0, 0, nullptr, 0, 0, 0, nullptr), kWho);

    EXPECT_EQ(size, 4u);
    EXPECT_EQ(writable, 99);
    EXPECT_THAT(PlatformCalls::GetSent(), IsEmpty());
}

/// Two pages, of which the second cannot be touched.
class GuardedPage
{
public:
    GuardedPage()
        : mSize(static_cast<std::size_t>(sysconf(_SC_PAGESIZE)))
        , mStart(static_cast<unsigned char*>(
              mmap(nullptr, 2 * mSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        mprotect(mStart + mSize, mSize, PROT_NONE);
    }
    GuardedPage(const GuardedPage&) = delete;
    GuardedPage& operator=(const GuardedPage&) = delete;
    ~GuardedPage() { munmap(mStart, 2 * mSize); }

    unsigned char* GetEnd() const { return mStart + mSize; }

private:
    std::size_t mSize;
    unsigned char* mStart;
};

TEST_F(Dispatch, SetReadsExactlyTheDataAtAnyAlignment)
{
    const GuardedPage page;
    const UInt32 integer = 0x12345678;
    const Float32 gains[2] = {1.0F, 0.5F};
    const struct
    {
        const char* what;
        UInt32 property;
        UInt32 size;
        const void* data;
    } cases[] = {
        {"enable", kEnable, 4, &integer},
        {"level", kLevel, 8, gains},
        {"state", kState, 4, &integer},
    };
    for (const auto& [what, property, size, aligned] : cases) {
        SCOPED_TRACE(what);
        AudioDriverPlugInDeviceSetProperty(kDevice, nullptr, 0, 1, property, size, aligned);
        const std::string expected = PlatformCalls::GetSent().back().data;
        for (UInt32 distance = size; distance < size + 4; ++distance) {
            unsigned char* const data = page.GetEnd() - distance;
            std::memcpy(data, aligned, size);

            EXPECT_EQ(
                AudioDriverPlugInDeviceSetProperty(kDevice, nullptr, 0, 1, property, size, data),
                0);

            EXPECT_EQ(PlatformCalls::GetSent().back().data, expected);
        }
    }
}

TEST_F(Dispatch, TimeStampIsNeverRead)
{
    const auto* const nowhere = reinterpret_cast<const AudioTimeStamp*>(1);
    const UInt32 value = 1;

    EXPECT_EQ(AudioDriverPlugInDeviceSetProperty(kDevice, nowhere, 0, 1, kEnable, 4, &value), 0);

    EXPECT_THAT(PlatformCalls::GetSent(), SizeIs(1));
}

} // namespace
