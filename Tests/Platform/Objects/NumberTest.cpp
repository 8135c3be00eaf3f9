// NumberTest.cpp - integers of 32 bits, and larger ones that were read from a document.

#include "Platform/PlatformTesting.h"

#include <csignal>
#include <cstring>

namespace {

using Number = Platform::LedgerTest;
using NumberDeathTest = Platform::LedgerTest;

TEST_F(Number, ReadsAndStoresExactlyFourBytesAtAnyAddress)
{
    // The bytes around the value would show if more were read or written.
    unsigned char memory[12];
    std::memset(memory, 0xEE, sizeof(memory));
    const UInt32 bits = 0xFFFFFFFE;
    std::memcpy(memory + 3, &bits, sizeof(bits));
    CFNumberRef number = CFNumberCreate(nullptr, kCFNumberSInt32Type, memory + 3);
    unsigned char stored[12];
    std::memset(stored, 0xEE, sizeof(stored));

    EXPECT_TRUE(CFNumberGetValue(number, kCFNumberSInt32Type, stored + 3));

    EXPECT_EQ(std::memcmp(stored, memory, sizeof(memory)), 0);
    CFRelease(number);
}

TEST_F(Number, TellsThatADocumentsIntegerDoesNotFit)
{
    struct
    {
        const char* document;
        bool fits;
        SInt32 stored;
    } const cases[] = {{"<integer>2147483647</integer>", true, 2147483647},
                       {"<integer>-2147483648</integer>", true, -2147483647 - 1},
                       {"<integer>2147483648</integer>", false, -2147483647 - 1},
                       {"<integer>4294967297</integer>", false, 1},
                       {"<integer>-4294967297</integer>", false, -1}};

    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.document);
        CFDataRef document = Platform::MakeData(entry.document);
        CFPropertyListRef number = CFPropertyListCreateFromXMLData(nullptr, document, 0, nullptr);
        ASSERT_NE(number, nullptr);
        SInt32 stored = 0;

        EXPECT_EQ(CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberSInt32Type, &stored),
                  entry.fits);

        EXPECT_EQ(stored, entry.stored);
        CFRelease(number);
        CFRelease(document);
    }
}

TEST_F(NumberDeathTest, MisuseStopsTheProgramWithAMessage)
{
    const SInt32 seven = 7;
    EXPECT_EXIT(CFNumberCreate(nullptr, kCFNumberSInt32Type, nullptr),
                testing::KilledBySignal(SIGABRT),
                "Platform: CFNumberCreate: the value's address is null");
    EXPECT_EXIT(CFNumberGetValue(nullptr, kCFNumberSInt32Type, nullptr),
                testing::KilledBySignal(SIGABRT), "Platform: CFNumberGetValue: the object is null");
    EXPECT_EXIT(CFNumberGetValue(CFNumberCreate(nullptr, kCFNumberSInt32Type, &seven),
                                 kCFNumberSInt32Type, nullptr),
                testing::KilledBySignal(SIGABRT),
                "Platform: CFNumberGetValue: the value's address is null");
}

} // namespace
