// VariantSetterTest.cpp - what each setter stores, refuses and releases.

#include <QX/Variant.h>

#include "VariantTestSupport.h"

#include <atomic>
#include <limits>
#include <type_traits>

namespace {

// A text that strlen measures as gText* says, without that much memory.
std::atomic<const char*> gText{nullptr};
std::atomic<size_t> gTextLength{0};

} // namespace

extern "C" size_t __real_strlen(const char* text);
extern "C" size_t __wrap_strlen(const char* text);
extern "C" size_t __wrap_strlen(const char* text)
{
    return text == gText ? gTextLength.load() : __real_strlen(text);
}

namespace QX {
namespace {

static_assert(!std::is_copy_constructible_v<Variant> && !std::is_copy_assignable_v<Variant>);
static_assert(!std::is_move_constructible_v<Variant> && !std::is_move_assignable_v<Variant>);
static_assert(std::has_virtual_destructor_v<Variant>);
static_assert(sizeof(Variant) == (sizeof(void*) == 4 ? 20 : 24));
static_assert(sizeof(Variant::Type) == 4);
static_assert(std::is_same_v<std::underlying_type_t<Variant::Type>, uint32>);
static_assert(Variant::kEmpty == 0 && Variant::kBool == 1 && Variant::kInt32 == 2 &&
              Variant::kInt64 == 3 && Variant::kFloat == 4 && Variant::kDouble == 5 &&
              Variant::kPointer == 6 && Variant::kConstPointer == 7 && Variant::kBuffer == 8 &&
              Variant::kString == 9 && Variant::kConstBuffer == 10);

const char kSixteen[] = "0123456789abcdef";

TEST(Variant, PointerIsInTheFirstWordOfTheValueField)
{
    char memory[3] = {};
    const int64 ones = -1;
    Variant value;
    value.Set(Variant::kInt64, &ones, 8);
    value.SetPointer(memory, 3);
    unsigned char expected[8] = {};
    const void* const pointer = memory;
    std::memcpy(expected, &pointer, sizeof pointer);

    EXPECT_EQ(std::memcmp(reinterpret_cast<const unsigned char*>(&value) + sizeof(void*), expected,
                          sizeof expected),
              0);
}

TEST(VariantSet, ScalarsNeedExactlyTheirSize)
{
    const struct
    {
        const char* what;
        Variant::Type type;
        uint32 size;
    } rows[] = {
        {"bool", Variant::kBool, 1},     {"int32", Variant::kInt32, 4},
        {"int64", Variant::kInt64, 8},   {"float", Variant::kFloat, 4},
        {"double", Variant::kDouble, 8},
    };
    for (const auto& row : rows) {
        for (uint32 size = 0; size <= 16; ++size) {
            SCOPED_TRACE(std::string(row.what) + " of " + std::to_string(size) + " bytes");
            Variant value;
            value.Set("before");

            const Variant::Type result = value.Set(row.type, kSixteen, size);

            const bool fits = size == row.size;
            EXPECT_EQ(result, fits ? row.type : Variant::kEmpty);
            EXPECT_EQ(value.GetType(), result);
            EXPECT_EQ(Contents(value), fits ? Bytes(kSixteen, kSixteen + size) : Bytes());
        }
    }
}

TEST(VariantSet, AScalarLeavesTheRestOfTheFieldZero)
{
    Variant value;
    SetScalar(value, Variant::kInt64, int64{-1});

    SetScalar(value, Variant::kBool, true);

    const unsigned char expected[8] = {1};
    EXPECT_EQ(std::memcmp(reinterpret_cast<const unsigned char*>(&value) + sizeof(void*), expected,
                          sizeof expected),
              0);
}

TEST(VariantSet, PointerTypesBecomeAnOwnedCopy)
{
    const struct
    {
        const char* what;
        Variant::Type asked;
        Variant::Type made;
    } rows[] = {
        {"pointer", Variant::kPointer, Variant::kBuffer},
        {"const pointer", Variant::kConstPointer, Variant::kBuffer},
        {"buffer", Variant::kBuffer, Variant::kBuffer},
        {"const buffer", Variant::kConstBuffer, Variant::kConstBuffer},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        unsigned char memory[16] = {1, 2, 3};
        Variant value;

        EXPECT_EQ(value.Set(row.asked, memory, 16), row.made);
        memory[0] = 99;

        EXPECT_EQ(value.GetType(), row.made);
        EXPECT_EQ(Contents(value), FromHex("010203 00000000000000000000000000"));
    }
}

TEST(VariantSet, AStringIgnoresTheSize)
{
    for (const uint32 size : {0u, 1u, 3u, 4u, 100u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(size);
        Variant value;

        EXPECT_EQ(value.Set(Variant::kString, "abc", size), Variant::kString);

        EXPECT_STREQ(value.GetCStr(), "abc");
        EXPECT_EQ(Contents(value), FromHex("61 62 63 00"));
    }
}

TEST(VariantSet, NothingToReadAndOtherTypesLeaveTheVariantEmpty)
{
    for (const uint32 type :
         {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 12u, 255u, 0x80000008u, 0xFFFFFFFFu}) {
        for (const uint32 size : {1u, 4u, 8u, 0xFFFFFFFFu}) {
            SCOPED_TRACE(testing::Message() << type << " of " << size << " bytes");
            const bool isType = type >= Variant::kBool && type <= Variant::kConstBuffer;
            Variant value;
            value.Set("before");

            EXPECT_EQ(
                value.Set(static_cast<Variant::Type>(type), isType ? nullptr : kSixteen, size),
                Variant::kEmpty);
            EXPECT_EQ(value.GetType(), Variant::kEmpty);
            EXPECT_EQ(Contents(value), Bytes());
        }
    }
    Variant value;
    value.Set("before");
    EXPECT_EQ(value.Set(nullptr), Variant::kEmpty);
    EXPECT_EQ(value.GetCStr(), nullptr);
    EXPECT_EQ(value.Set(Variant::kString, nullptr, 0), Variant::kEmpty);
    EXPECT_EQ(value.SetBuffer(nullptr, 1), Variant::kEmpty);
}

TEST(VariantSet, NoBytesMakeAnEmptyOwnedBuffer)
{
    for (const char* const data : {kSixteen, static_cast<const char*>(nullptr)}) {
        Variant value;

        EXPECT_EQ(value.SetBuffer(data, 0), 8u);
        EXPECT_EQ(value.GetType(), Variant::kBuffer);
        EXPECT_EQ(Contents(value), Bytes());
        EXPECT_EQ(value.Set(Variant::kPointer, data, 0), Variant::kBuffer);
        EXPECT_EQ(value.Set(Variant::kConstBuffer, data, 0), Variant::kConstBuffer);
        EXPECT_EQ(value.GetType(), Variant::kConstBuffer);
    }
}

#if __SIZEOF_SIZE_T__ > 4 // no text fills the address space of a 32-bit machine
TEST(VariantSet, ATextWhoseSizeDoesNotFitLeavesTheVariantEmpty)
{
    std::string journal;
    JournalVariant value(journal);
    value.Set("before");
    gText = kSixteen;
    gTextLength = std::numeric_limits<size_t>::max();
    EXPECT_EQ(value.Set(kSixteen), Variant::kEmpty);
    gTextLength = 0xFFFFFFFFu;
    EXPECT_EQ(value.Set(kSixteen), Variant::kEmpty);
    EXPECT_EQ(journal, "alloc 7 free 7 ");
    journal.clear();

    value.mFindsNoMemory = true;
    gTextLength = 0xFFFFFFFEu;
    EXPECT_EQ(value.Set(kSixteen), Variant::kEmpty);

    EXPECT_EQ(journal, "alloc 4294967295 ");
    gText = nullptr;
}
#endif

TEST(VariantSetPointer, StoresTheCallersMemory)
{
    char memory[5] = "abcd";
    uint32 size = 0;
    Variant value;
    value.Set("before");

    EXPECT_EQ(value.SetPointer(memory, 5), 6u);
    EXPECT_EQ(value.GetType(), Variant::kPointer);
    EXPECT_EQ(value.GetConstPointer(size), memory);
    EXPECT_EQ(size, 5u);

    EXPECT_EQ(value.SetConstPointer(memory + 1, 4), 7u);
    EXPECT_EQ(value.GetType(), Variant::kConstPointer);
    EXPECT_EQ(value.GetConstPointer(size), memory + 1);
    EXPECT_EQ(size, 4u);
}

TEST(VariantSetFromItself, EveryTypeIsMadeFromTheOwnBlock)
{
    const struct
    {
        const char* what;
        Variant::Type type;
        uint32 size;
        const char* expected;
    } rows[] = {
        {"bool", Variant::kBool, 1, "34"},
        {"int32", Variant::kInt32, 4, "34 35 36 37"},
        {"int64", Variant::kInt64, 8, "34 35 36 37 38 39 61 62"},
        {"float", Variant::kFloat, 4, "34 35 36 37"},
        {"double", Variant::kDouble, 8, "34 35 36 37 38 39 61 62"},
        {"pointer", Variant::kPointer, 2, "34 35"},
        {"buffer", Variant::kBuffer, 5, "34 35 36 37 38"},
        {"const buffer", Variant::kConstBuffer, 3, "34 35 36"},
        {"string", Variant::kString, 0, "34 35 36 37 38 39 61 62 63 64 65 66 00"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Variant value;
        value.Set(kSixteen);

        value.Set(row.type, value.GetCStr() + 4, row.size);

        EXPECT_EQ(Contents(value), FromHex(row.expected));
    }
}

TEST(VariantSetFromItself, AScalarIsMadeFromTheOwnScalar)
{
    uint32 size = 0;
    Variant value;
    SetScalar(value, Variant::kInt32, int32{0x61626364});

    EXPECT_EQ(value.Set(Variant::kInt32, value.GetConstPointer(size), 4), Variant::kInt32);
    EXPECT_EQ(value.GetInt32(), 0x61626364);
    value.Set(Variant::kFloat, value.GetConstPointer(size), 4);
    value.Set(Variant::kInt32, value.GetConstPointer(size), 4);
    EXPECT_EQ(value.GetInt32(), 0x61626364);
}

TEST(VariantSetFromItself, ABufferAndATextAreMadeFromTheOwnScalar)
{
    uint32 size = 0;
    Variant value;
    SetScalar(value, Variant::kInt32, ByOrder<int32>(0x00636261, 0x61626300));
    EXPECT_EQ(value.SetBuffer(value.GetConstPointer(size), 4), Variant::kBuffer);
    EXPECT_EQ(Contents(value), FromHex("61 62 63 00"));

    SetScalar(value, Variant::kInt32, ByOrder<int32>(0x00636261, 0x61626300));
    EXPECT_EQ(value.Set(static_cast<const char*>(value.GetConstPointer(size))), Variant::kString);
    EXPECT_STREQ(value.GetCStr(), "abc");
}

TEST(VariantSetFromItself, OneByteIsTakenFromTheOwnBlock)
{
    Variant value;
    value.Set("abcdefgh");
    uint32 size = 0;
    const auto* const own = static_cast<const char*>(value.GetConstPointer(size));

    EXPECT_EQ(value.SetBuffer(own + 1, 1), Variant::kBuffer);

    EXPECT_EQ(Contents(value), FromHex("62"));
}

TEST(VariantSetFromItself, ABlockAroundTheVariantIsCopiedAsItWas)
{
    struct
    {
        char before[4];
        Variant value;
        char after[4];
    } around = {{'a', 'b', 'c', 'd'}, {}, {'e', 'f', 'g', 'h'}};
    around.value.Set("text");
    const auto* const start = reinterpret_cast<const unsigned char*>(&around);
    const Bytes expected(start, start + sizeof around);

    around.value.SetBuffer(start, sizeof around);

    EXPECT_EQ(Contents(around.value), expected);
}

} // namespace
} // namespace QX
