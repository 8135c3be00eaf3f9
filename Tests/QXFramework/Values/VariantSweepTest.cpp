// VariantSweepTest.cpp - every operation of variants and extended variants with each of its
// requests for memory refused.

#include "Support/FailureSweep.h"

#include "VariantTestSupport.h"

#include <QX/Exception.h>

#include <cstring>
#include <stdexcept>
#include <string>

namespace QX {
namespace {

using TestSupport::CaughtText;
using TestSupport::FailingHeap;
using TestSupport::SweepRefusals;
using TestSupport::SweptOperation;

constexpr unsigned char kTextRecord[] = {16, 0, 0, 0, 0, 0, 0, 0, 9, 0, 0, 0, 'a', 'b', 'c', 0};
constexpr unsigned char kIntegerRecord[] = {16, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 7, 0, 0, 0};

/// A variant that holds "old", and what operations take and make.
template <class Value>
struct ValuesOf
{
    Value value;
    VariantEx other = OfText("abc");
    String text = "text";
    RCPtr<LIBuffer> bytes = BufferWith("abc");
    RCPtr<LIBuffer> record;
    String made;
    CaughtText caught;

    ValuesOf() { value.Set("old"); }

    /// "type: bytes", of a scalar its number, > the text made, (the record's bytes).
    std::string Describe() const
    {
        std::string seen = std::to_string(value.GetType()) + ": ";
        if (value.GetType() >= Variant::kBool && value.GetType() <= Variant::kDouble) {
            seen += std::to_string(value.GetInt32());
        } else {
            seen += TextOfData();
        }
        if (!made.IsEmpty()) {
            seen.append(" > ").append(std::string_view(made));
        }
        return seen + DescribeRecord() + caught.Get();
    }

    std::string TextOfData() const
    {
        std::string data = BytesOf(value);
        if (value.GetType() == Variant::kString && !data.empty() && data.back() == '\0') {
            data.pop_back();
        }
        return data;
    }

    std::string DescribeRecord() const
    {
        if (record == nullptr) {
            return {};
        }
        const auto* const start = static_cast<const char*>(record->GetRawPtr());
        if (start == nullptr) {
            return " (none)";
        }
        std::string seen(start, record->GetSizeBytes());
        for (char& character : seen) {
            character = character < ' ' ? '.' : character;
        }
        return " (" + seen + ")";
    }
};

using Values = ValuesOf<VariantEx>;
using Operation = SweptOperation<Values>;

template <class Value, class... Source>
bool Sets(ValuesOf<Value>& values, Source&&... source)
{
    return values.value.Set(source...) != Variant::kEmpty;
}

// An extended variant asks for its buffer and then for the bytes; a variant asks for bytes only.
template <class Value>
void SweepSetters(int requests)
{
    using State = ValuesOf<Value>;
    const SweptOperation<State> operations[] = {
        {.what = "a string",
         .run = [](State& values) { return Sets(values, "abc"); },
         .done = "9: abc",
         .failed = "0: ",
         .thrown = "0: ",
         .least = requests},
        {.what = "bytes",
         .run = [](State& values) { return values.value.SetBuffer("abc", 3) == 8; },
         .done = "8: abc",
         .failed = "0: ",
         .thrown = "0: ",
         .least = requests},
        {.what = "no bytes",
         .run = [](State& values) { return values.value.SetBuffer("", 0) == 8; },
         .done = "8: ",
         .thrown = "0: ",
         .least = 1},
        {.what = "constant bytes",
         .run = [](State& values) { return Sets(values, Variant::kConstBuffer, "abc", 3u); },
         .done = "10: abc",
         .failed = "0: ",
         .thrown = "0: ",
         .least = requests},
        {.what = "a part of its own string",
         .run =
             [](State& values) {
                 const char* const own = values.value.GetCStr();
                 return Sets(values, own != nullptr ? own + 1 : "again");
             },
         .done = "9: ld",
         .failed = "0: ",
         .thrown = "0: ",
         .again = "9: again",
         .least = 1 + requests},
        {.what = "a pointer",
         .run = [](State& values) { return values.value.SetConstPointer("abc", 3) == 7; },
         .done = "7: abc"},
        {.what = "the record of a string",
         .run =
             [](State& values) {
                 // The result is 0 for every record that was accepted; only the type shows whether
                 // its bytes were stored.
                 return Variant::Deserialize(values.value, kTextRecord, 16) == 0 &&
                        values.value.GetType() == Variant::kString;
             },
         .done = "9: abc",
         .failed = "0: ",
         .thrown = "0: ",
         .least = requests},
        {.what = "the record of an integer",
         .run =
             [](State& values) {
                 return Variant::Deserialize(values.value, kIntegerRecord, 16) == 0;
             },
         .done = "2: 7"},
        {.what = "its own record",
         .run =
             [](State& values) {
                 unsigned char record[16];
                 return Variant::Serialize(values.value, record, 16) == 16;
             },
         .done = "9: old"},
    };

    SweepRefusals<State>(operations);
}

TEST(VariantSweep, ASetterOfBytesThatFindsNoMemoryLeavesTheVariantEmpty)
{
    {
        SCOPED_TRACE("a variant");
        SweepSetters<Variant>(1);
    }
    {
        SCOPED_TRACE("an extended variant");
        SweepSetters<VariantEx>(2);
    }
}

TEST(VariantSweep, AVariantThatHasFoundNoMemoryHoldsNone)
{
    VariantEx value;
    const long blocks = TestSupport::CountLiveBlocks();
    Variant::Type type = Variant::kString;
    {
        const FailingHeap heap(2); // the bytes; the buffer itself is the first
        type = value.Set("abc");
    }

    EXPECT_EQ(type, Variant::kEmpty);
    EXPECT_EQ(TestSupport::CountLiveBlocks(), blocks);
}

TEST(VariantSweep, ASetterOfAnObjectTakesItOrThrows)
{
    const Operation operations[] = {
        {.what = "a variant",
         .run = [](Values& values) { return Sets(values, values.other); },
         .done = "9: abc"},
        {.what = "a string",
         .run = [](Values& values) { return Sets(values, values.text); },
         .done = "9: text"},
        {.what = "a locked string",
         .prepare = [](Values& values) { values.text.Lock(20); },
         .run = [](Values& values) { return Sets(values, values.text); },
         .done = "9: text",
         .thrown = "9: old",
         .least = 2},
        {.what = "characters that become a string",
         .run = [](Values& values) { return Sets(values, String("made")); },
         .done = "9: made",
         .thrown = "9: old",
         .least = 2},
        {.what = "a buffer",
         .run = [](Values& values) { return Sets(values, values.bytes); },
         .done = "8: abc",
         .failed = "0: ",
         .thrown = "9: old",
         .least = 2},
        {.what = "its own buffer",
         .prepare =
             [](Values& values) {
                 values.value.SetBuffer("own", 3);
                 values.bytes = BufferWith("own");
             },
         .run =
             [](Values& values) {
                 return values.value.GetType() == Variant::kEmpty
                            ? Sets(values, values.bytes)
                            : Sets(values, values.value.GetBuffer());
             },
         .done = "8: own",
         .failed = "0: ",
         .thrown = "8: own",
         .least = 2},
        {.what = "a variant whose buffer must not be shared",
         .prepare = [](Values& values) { values.other.GetBuffer()->SetUnshareable(true); },
         .run = [](Values& values) { return Sets(values, values.other); },
         .done = "9: abc",
         .failed = "0: ",
         .thrown = "0: ",
         .least = 2},
        {.what = "a copy of one whose buffer must not be shared",
         .prepare = [](Values& values) { values.other.GetBuffer()->SetUnshareable(true); },
         .run =
             [](Values& values) {
                 const VariantEx copy(values.other);
                 return copy.GetType() == Variant::kString &&
                        std::strcmp(copy.GetCStr(), "abc") == 0;
             },
         .done = "9: old",
         .failed = "9: old",
         .thrown = "9: old",
         .least = 2},
    };

    SweepRefusals<Values>(operations);
}

TEST(VariantSweep, ARecordThatFindsNoMemoryFailsOrThrows)
{
    const Operation operations[] = {
        {.what = "in a new buffer",
         .run =
             [](Values& values) { return values.value.Serialize(values.record, 2) != 0x80000008u; },
         .done = "9: old (..............old.)",
         .failed = "9: old (none)",
         .thrown = "9: old",
         .least = 2},
        {.what = "in a buffer that grows",
         .prepare = [](Values& values) { values.record = BufferWith("xy"); },
         .run =
             [](Values& values) { return values.value.Serialize(values.record, 2) != 0x80000008u; },
         .done = "9: old (xy............old.)",
         .failed = "9: old (none)",
         .again = "9: old (..............old.)",
         .least = 1},
        {.what = "in a buffer that grows, after a gap",
         .prepare = [](Values& values) { values.record = BufferWith("xy"); },
         .run =
             [](Values& values) { return values.value.Serialize(values.record, 4) != 0x80000008u; },
         .done = "9: old (xy..............old.)",
         .failed = "9: old (none)",
         .again = "9: old (................old.)",
         .least = 1},
        {.what = "in a buffer that fits",
         .prepare = [](Values& values) { values.record = BufferWith("0123456789ABCDEF"); },
         .run =
             [](Values& values) { return values.value.Serialize(values.record, 0) != 0x80000008u; },
         .done = "9: old (............old.)"},
        {.what = "in its own buffer",
         .prepare = [](Values& values) { values.record = values.value.GetBuffer(); },
         .run =
             [](Values& values) { return values.value.Serialize(values.record, 2) != 0x80000008u; },
         .done = "9: old (ol............old.)",
         .failed = "9: old (old.)",
         .thrown = "9: old (old.)",
         .least = 2},
    };

    SweepRefusals<Values>(operations);
}

TEST(VariantSweep, ATextThatFindsNoMemoryIsNotMade)
{
    const Operation operations[] = {
        {.what = "of a string",
         .run = [](Values& values) { values.made = values.value.GetString(); },
         .done = "9: old > old"},
        {.what = "of a string whose end was taken away",
         .prepare = [](Values& values) { std::memcpy(PointerOf(values.value), "oldx", 4); },
         .run = [](Values& values) { values.made = values.value.GetString(); },
         .done = "9: oldx > oldx",
         .thrown = "9: oldx",
         .least = 2},
        {.what = "of a truth",
         .prepare = [](Values& values) { values.value = OfBool(1); },
         .run = [](Values& values) { values.made = values.value.GetString(); },
         .done = "1: 1 > true",
         .thrown = "1: 1",
         .least = 2},
        {.what = "of an integer",
         .prepare = [](Values& values) { values.value = OfInt32(-42); },
         .run = [](Values& values) { values.made = values.value.ToString(); },
         .done = "2: -42 > -42",
         .thrown = "2: -42",
         .least = 2},
        {.what = "of a float",
         .prepare = [](Values& values) { values.value = OfFloat(2.5F); },
         .run = [](Values& values) { values.made = values.value.GetString(); },
         .done = "4: 3 > 2.500000",
         .thrown = "4: 3",
         .least = 2},
        {.what = "of a pointer",
         .prepare = [](Values& values) { values.value = OfPointer(nullptr, 0); },
         .run = [](Values& values) { values.made = values.value.GetString(); },
         .done = "6:  > 0",
         .thrown = "6: ",
         .least = 2},
        {.what = "in XML",
         .prepare = [](Values& values) { values.value = OfText("a<b"); },
         .run = [](Values& values) { values.made = values.value.GetXMLString(); },
         .done = "9: a<b > a&lt;b",
         .thrown = "9: a<b",
         .least = 3},
    };

    SweepRefusals<Values>(operations);
}

TEST(VariantSweep, ReadingATextWithoutAnEndThrowsIfThereIsNoMemory)
{
    static constexpr auto takeEndAway = [](Values& values) {
        std::memcpy(PointerOf(values.value), "true", 4);
        std::memcpy(PointerOf(values.other), "7.5\x39", 4);
    };
    const Operation operations[] = {
        {.what = "GetBool",
         .prepare = takeEndAway,
         .run = [](Values& values) { return values.value.GetBool(); },
         .done = "9: true",
         .thrown = "9: true",
         .least = 2},
        {.what = "GetInt32",
         .prepare = takeEndAway,
         .run = [](Values& values) { return values.other.GetInt32() == 7; },
         .done = "9: true",
         .thrown = "9: true",
         .least = 2},
        {.what = "GetInt64",
         .prepare = takeEndAway,
         .run = [](Values& values) { return values.other.GetInt64() == 7; },
         .done = "9: true",
         .thrown = "9: true",
         .least = 2},
        {.what = "GetFloat",
         .prepare = takeEndAway,
         .run = [](Values& values) { return values.other.GetFloat() == 7.59F; },
         .done = "9: true",
         .thrown = "9: true",
         .least = 2},
        {.what = "GetDouble",
         .prepare = takeEndAway,
         .run = [](Values& values) { return values.other.GetDouble() == 7.59; },
         .done = "9: true",
         .thrown = "9: true",
         .least = 2},
        {.what = "order",
         .prepare = takeEndAway,
         .run = [](Values& values) { return values.other < values.value; },
         .done = "9: true",
         .thrown = "9: true",
         .least = 4},
        {.what = "equality",
         .prepare = takeEndAway,
         .run = [](Values& values) { return !(values.value == values.other); },
         .done = "9: true"},
        {.what = "GetBuffer of an integer",
         .prepare = [](Values& values) { values.value = OfInt32(7); },
         .run =
             [](Values& values) {
                 values.caught.Catch<std::runtime_error>([&] { values.value.GetBuffer(); });
             },
         .done = "2: 7Runtime Error :  : Utilities/Storage/VariantEx : Line 293",
         .thrown = "2: 7",
         .least = 1},
    };

    SweepRefusals<Values>(operations);
}

} // namespace
} // namespace QX
