// VariantSweepTest.cpp - every operation of variants with each of its requests for memory refused:
// a setter that finds none leaves the variant empty.

#include "Support/FailureSweep.h"

#include <QX/Variant.h>

#include <string>

namespace QX {
namespace {

using TestSupport::SweepRefusals;
using TestSupport::SweptOperation;

// Records of the string "abc", the integer 7 and no bytes.
constexpr unsigned char kTextRecord[] = {16, 0, 0, 0, 0, 0, 0, 0, 9, 0, 0, 0, 'a', 'b', 'c', 0};
constexpr unsigned char kIntegerRecord[] = {16, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 7, 0, 0, 0};
constexpr unsigned char kBytesRecord[] = {15, 0, 0, 0, 0, 0, 0, 0, 8, 0, 0, 0, 'a', 'b', 'c'};
constexpr unsigned char kNoBytesRecord[] = {12, 0, 0, 0, 0, 0, 0, 0, 10, 0, 0, 0};

/// A variant that holds "old".
struct Values
{
    Variant value;
    uint32 size = 0;

    Values() { value.Set("old"); }

    /// "type: bytes", of a scalar its number.
    std::string Describe() const
    {
        const std::string type = std::to_string(value.GetType());
        if (value.GetType() >= Variant::kBool && value.GetType() <= Variant::kDouble) {
            return type + ": " + std::to_string(value.GetInt32());
        }
        uint32 length = 0;
        const auto* const bytes = static_cast<const char*>(value.GetConstPointer(length));
        return type + ": " + std::string(bytes, length - (value.GetCStr() != nullptr ? 1 : 0));
    }
};

using Operation = SweptOperation<Values>;

TEST(VariantSweep, ASetterThatFindsNoMemoryLeavesTheVariantEmpty)
{
    const Operation operations[] = {
        {.what = "a string",
         .run = [](Values& values) { values.value.Set("abc"); },
         .done = "9: abc",
         .thrown = "0: ",
         .least = 1},
        {.what = "a buffer",
         .run = [](Values& values) { values.value.SetBuffer("abc", 3); },
         .done = "8: abc",
         .thrown = "0: ",
         .least = 1},
        {.what = "an empty buffer",
         .run = [](Values& values) { values.value.SetBuffer("", 0); },
         .done = "8: ",
         .thrown = "0: ",
         .least = 1},
        {.what = "a constant buffer",
         .run = [](Values& values) { values.value.Set(Variant::kConstBuffer, "abc", 3); },
         .done = "10: abc",
         .thrown = "0: ",
         .least = 1},
        {.what = "a part of its own string",
         .run =
             [](Values& values) {
                 const char* const own = values.value.GetCStr();
                 values.value.Set(own != nullptr ? own + 1 : "again");
             },
         .done = "9: ld",
         .thrown = "0: ",
         .again = "9: again",
         .least = 2},
        {.what = "an integer",
         .run =
             [](Values& values) {
                 const int32 seven = 7;
                 values.value.Set(Variant::kInt32, &seven, 4);
             },
         .done = "2: 7"},
        {.what = "a pointer",
         .run = [](Values& values) { values.value.SetConstPointer("abc", 3); },
         .done = "7: abc"},
    };

    SweepRefusals<Values>(operations);
}

TEST(VariantSweep, ARecordThatFindsNoMemoryLeavesTheVariantEmpty)
{
    const Operation operations[] = {
        {.what = "of a string",
         .run =
             [](Values& values) {
                 return Variant::Deserialize(values.value, kTextRecord, 16) == 0;
             },
         .done = "9: abc",
         .thrown = "0: ",
         .least = 1},
        {.what = "of bytes",
         .run =
             [](Values& values) {
                 return Variant::Deserialize(values.value, kBytesRecord, 15) == 0;
             },
         .done = "8: abc",
         .thrown = "0: ",
         .least = 1},
        {.what = "of no bytes",
         .run =
             [](Values& values) {
                 return Variant::Deserialize(values.value, kNoBytesRecord, 12) == 0;
             },
         .done = "10: "},
        {.what = "of an integer",
         .run =
             [](Values& values) {
                 return Variant::Deserialize(values.value, kIntegerRecord, 16) == 0;
             },
         .done = "2: 7"},
    };

    SweepRefusals<Values>(operations);
}

TEST(VariantSweep, ReadingAVariantNeedsNoMemory)
{
    const Operation operations[] = {
        {.what = "getters",
         .run =
             [](Values& values) {
                 return values.value.GetBool() && values.value.GetInt32() == 3 &&
                        values.value.GetInt64() == 3 && values.value.GetFloat() == 3.0F &&
                        values.value.GetDouble() == 3.0 &&
                        values.value.GetPointer(values.size) != nullptr;
             },
         .done = "9: old"},
        {.what = "Serialize",
         .run =
             [](Values& values) {
                 unsigned char record[16];
                 return Variant::Serialize(values.value, record, 16) == 16;
             },
         .done = "9: old"},
    };

    SweepRefusals<Values>(operations);
}

} // namespace
} // namespace QX
