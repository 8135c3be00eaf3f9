// NumberTest.cpp - numbers, data and dates.

#include "Platform/PlatformTesting.h"

#include <cmath>
#include <csignal>
#include <cstring>

namespace {

using Number = Platform::LedgerTest;
using NumberDeathTest = Platform::LedgerTest;
using Data = Platform::LedgerTest;
using DataDeathTest = Platform::LedgerTest;

TEST_F(Number, ReadsExactlyFourBytesForASigned32BitInteger)
{
    // The bytes around the value would show in the result if more were read.
    unsigned char memory[12];
    std::memset(memory, 0xEE, sizeof memory);
    const UInt32 bits = 0xFFFFFFFE;
    std::memcpy(memory + 3, &bits, sizeof bits);

    CFNumberRef number = CFNumberCreate(nullptr, kCFNumberSInt32Type, memory + 3);

    SInt64 value = 0;
    EXPECT_TRUE(CFNumberGetValue(number, kCFNumberSInt64Type, &value));
    EXPECT_EQ(value, -2);
    EXPECT_EQ(CFNumberGetType(number), kCFNumberSInt32Type);
    CFRelease(number);
}

TEST_F(Number, KeepsItsTypeByWidth)
{
    const SInt64 memory[2] = {1, 0};
    struct
    {
        CFNumberType given;
        CFNumberType kept;
    } const cases[] = {
        {kCFNumberSInt8Type, kCFNumberSInt8Type},
        {kCFNumberCharType, kCFNumberSInt8Type},
        {kCFNumberSInt16Type, kCFNumberSInt16Type},
        {kCFNumberShortType, kCFNumberSInt16Type},
        {kCFNumberIntType, kCFNumberSInt32Type},
        {kCFNumberCFIndexType, kCFNumberSInt32Type},
        {kCFNumberSInt64Type, kCFNumberSInt64Type},
        {kCFNumberLongLongType, kCFNumberSInt64Type},
        {kCFNumberFloat32Type, kCFNumberFloat32Type},
        {kCFNumberFloatType, kCFNumberFloat32Type},
        {kCFNumberFloat64Type, kCFNumberFloat64Type},
        {kCFNumberDoubleType, kCFNumberFloat64Type},
        {kCFNumberLongType, sizeof(long) == 4 ? kCFNumberSInt32Type : kCFNumberSInt64Type}};

    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.given);
        CFNumberRef number = CFNumberCreate(nullptr, entry.given, memory);

        EXPECT_EQ(CFNumberGetType(number), entry.kept);
        EXPECT_EQ(CFNumberIsFloatType(number),
                  entry.kept == kCFNumberFloat32Type || entry.kept == kCFNumberFloat64Type);
        CFRelease(number);
    }
}

TEST_F(Number, SaysWhenAConversionLosesSomething)
{
    const SInt64 large = 0x100000001;
    const Float64 half = 2.5;
    const Float64 whole = 7.0;
    const Float64 huge = 1e300;
    CFNumberRef integer = CFNumberCreate(nullptr, kCFNumberSInt64Type, &large);
    CFNumberRef fraction = CFNumberCreate(nullptr, kCFNumberFloat64Type, &half);
    CFNumberRef seven = CFNumberCreate(nullptr, kCFNumberFloat64Type, &whole);
    CFNumberRef beyond = CFNumberCreate(nullptr, kCFNumberFloat64Type, &huge);
    SInt32 narrow = 0;
    SInt64 wide = 0;
    Float32 single = 0;

    EXPECT_FALSE(CFNumberGetValue(integer, kCFNumberSInt32Type, &narrow));
    EXPECT_EQ(narrow, 1);
    EXPECT_FALSE(CFNumberGetValue(fraction, kCFNumberSInt32Type, &narrow));
    EXPECT_EQ(narrow, 2);
    EXPECT_TRUE(CFNumberGetValue(seven, kCFNumberSInt32Type, &narrow));
    EXPECT_EQ(narrow, 7);
    EXPECT_TRUE(CFNumberGetValue(fraction, kCFNumberFloat32Type, &single));
    EXPECT_EQ(single, 2.5f);
    EXPECT_FALSE(CFNumberGetValue(beyond, kCFNumberSInt64Type, &wide));
    EXPECT_EQ(wide, 0x7FFFFFFFFFFFFFFF);
    EXPECT_FALSE(CFNumberGetValue(beyond, kCFNumberFloat32Type, &single));
    EXPECT_TRUE(std::isinf(single));

    for (CFNumberRef number : {integer, fraction, seven, beyond}) {
        CFRelease(number);
    }
}

TEST_F(Number, EveryNumberIsAnObjectOfItsOwn)
{
    const SInt32 value = 3;
    CFNumberRef one = CFNumberCreate(nullptr, kCFNumberSInt32Type, &value);
    CFNumberRef other = CFNumberCreate(nullptr, kCFNumberSInt32Type, &value);

    EXPECT_NE(one, other);
    EXPECT_TRUE(CFEqual(one, other));
    CFRelease(one);
    CFRelease(other);
}

TEST_F(NumberDeathTest, MisuseStopsTheProgramWithAMessage)
{
    EXPECT_EXIT(CFNumberCreate(nullptr, kCFNumberSInt32Type, nullptr),
                testing::KilledBySignal(SIGABRT), "Platform: CFNumberCreate: the value's address");
    EXPECT_EXIT(CFNumberGetValue(nullptr, kCFNumberSInt32Type, nullptr),
                testing::KilledBySignal(SIGABRT), "Platform: CFNumberGetValue: the object is null");
}

TEST_F(Data, CopiesItsBytes)
{
    std::string bytes("a\0b", 3);
    CFDataRef data = Platform::MakeData(bytes);

    bytes[0] = 'x';

    EXPECT_EQ(CFDataGetLength(data), 3);
    EXPECT_EQ(Platform::BytesOf(data), std::string("a\0b", 3));
    CFRelease(data);
}

TEST_F(Data, OfNoBytesIsAnObjectLikeAnyOther)
{
    CFDataRef data = CFDataCreate(nullptr, nullptr, 0);

    ASSERT_NE(data, nullptr);
    EXPECT_EQ(CFDataGetLength(data), 0);
    EXPECT_NE(CFDataGetBytePtr(data), nullptr);
    CFRelease(data);
}

TEST_F(DataDeathTest, MisuseStopsTheProgramWithAMessage)
{
    EXPECT_EXIT(CFDataCreate(nullptr, nullptr, 1), testing::KilledBySignal(SIGABRT),
                "Platform: CFDataCreate: the bytes are null and the length is not 0");
    EXPECT_EXIT(CFDataCreate(nullptr, nullptr, -1), testing::KilledBySignal(SIGABRT),
                "Platform: CFDataCreate: the length is negative");
}

} // namespace
