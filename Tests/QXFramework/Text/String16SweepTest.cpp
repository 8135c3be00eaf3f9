// String16SweepTest.cpp - 16-bit strings and conversions between the widths, with each of their
// requests for memory refused.

#include "Support/FailureSweep.h"

#include "Support/StringTestSupport.h"

#include <cstring>
#include <string>

namespace QX {
namespace {

using TestSupport::SweepRefusals;
using TestSupport::SweptOperation;

// The first half of a pair without the second.
constexpr unsigned short kUnpaired[] = {'a', 0xD83D, 'b', 0};
constexpr unsigned short kNew[] = {'n', 'e', 'w', 0};

struct Texts
{
    String16 text = Wide(u"abcdef");
    String16 sharer;
    String16 madeWide;
    String made;
    RCPtr<LIBuffer> buffer = BufferWith("kept");
    RCPtr<LIBuffer> wideBuffer = Wide(u"kept").GetBuffer();

    /// "text x holders [capacity if locked] > what was made (the buffer, if it has changed)".
    std::string Describe() const
    {
        std::string seen(static_cast<std::string_view>(String(text)));
        seen += " x" + std::to_string(text.GetBuffer()->GetReferenceCount());
        if (text.IsLocked()) {
            seen += " [" + std::to_string(text.GetBuffer()->GetSizeBytes() / 2) + "]";
        }
        if (!madeWide.IsEmpty()) {
            seen.append(" > ").append(std::string_view(String(madeWide)));
        }
        if (!made.IsEmpty()) {
            seen.append(" > ").append(std::string_view(made));
        }
        const char* const bytes = buffer->GetPtr<char>(0);
        if (std::string_view(bytes, 4) != "kept") {
            seen.append(" (").append(bytes).append(")");
        }
        const String converted(wideBuffer->GetPtr<unsigned short>(0));
        if (converted != "kept") {
            seen.append(" (").append(std::string_view(converted)).append(")");
        }
        return seen;
    }
};

void Share(Texts& texts)
{
    texts.sharer = texts.text;
}

void Lock(Texts& texts)
{
    texts.text.Lock(10);
}

TEST(String16Sweep, AStringThatCannotBeMadeIsNotMade)
{
    const SweptOperation<Texts> operations[] = {
        {.what = "of units",
         .run = [](Texts& texts) { texts.madeWide = String16(kNew); },
         .done = "abcdef x1 > new",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "of one unit",
         .run = [](Texts& texts) { texts.madeWide = String16(kNew[0]); },
         .done = "abcdef x1 > n",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "as a copy",
         .run = [](Texts& texts) { texts.madeWide = String16(texts.text); },
         .done = "abcdef x2 > abcdef"},
        {.what = "as a copy of a locked one",
         .prepare = &Lock,
         .run = [](Texts& texts) { texts.madeWide = String16(texts.text); },
         .done = "abcdef x1 [10] > abcdef",
         .thrown = "abcdef x1 [10]",
         .least = 2},
        {.what = "in reverse",
         .run = [](Texts& texts) { texts.madeWide = texts.text.Reverse(); },
         .done = "abcdef x1 > fedcba",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "of an integer",
         .run = [](Texts& texts) { texts.madeWide = String16::FormatNumber(-1234, 2); },
         .done = "abcdef x1 > -12.34",
         .thrown = "abcdef x1",
         .least = 5},
    };

    SweepRefusals<Texts>(operations);
}

TEST(String16Sweep, AStringThatCannotChangeIsAsItWas)
{
    const SweptOperation<Texts> operations[] = {
        {.what = "assign",
         .run = [](Texts& texts) { texts.text.Assign(kNew, 2); },
         .done = "ne x1",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "assign when locked",
         .prepare = &Lock,
         .run = [](Texts& texts) { texts.text.Assign(kNew, 2); },
         .done = "ne x1 [10]"},
        {.what = "assign a locked string",
         .prepare =
             [](Texts& texts) {
                 texts.madeWide = Wide(u"made");
                 texts.madeWide.Lock(9);
             },
         .run = [](Texts& texts) { texts.text = texts.madeWide; },
         .done = "made x1 > made",
         .thrown = "abcdef x1 > made",
         .least = 2},
        {.what = "lock",
         .run = [](Texts& texts) { texts.text.Lock(300); },
         .done = "abcdef x1 [300]",
         .thrown = "abcdef x1",
         .least = 1},
        {.what = "lock a shared string",
         .prepare = &Share,
         .run = [](Texts& texts) { texts.text.Lock(0); },
         .done = "abcdef x1 [7]",
         .thrown = "abcdef x2",
         .least = 2},
        {.what = "release",
         .prepare = [](Texts& texts) { texts.text.Lock(300); },
         .run = [](Texts& texts) { return texts.text.Release() == 0; },
         .done = "abcdef x1",
         .least = 1},
    };

    SweepRefusals<Texts>(operations);
}

TEST(String16Sweep, AConversionWithoutMemoryThrowsAndConvertsNothing)
{
    const SweptOperation<Texts> operations[] = {
        {.what = "a string to 8 bits",
         .run = [](Texts& texts) { texts.made = String(texts.text); },
         .done = "abcdef x1 > abcdef",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "an unpaired unit to 8 bits",
         .run = [](Texts& texts) { texts.made = String(kUnpaired); },
         .done = "abcdef x1 > a\xEF\xBF\xBD"
                 "b",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "a string to 16 bits",
         .run = [](Texts& texts) { texts.madeWide = String16(String::Empty + "new"); },
         .done = "abcdef x1 > new",
         .thrown = "abcdef x1",
         .least = 4},
        {.what = "characters to 16 bits",
         .run = [](Texts& texts) { texts.madeWide = String16("new"); },
         .done = "abcdef x1 > new",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "units into a buffer",
         .run = [](Texts& texts) { return String::ConvertToCharType(texts.buffer, kNew, -1) == 0; },
         .done = "abcdef x1 (new)",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "wide characters into a buffer of 8 bits",
         .run =
             [](Texts& texts) { return String::ConvertToCharType(texts.buffer, L"new", -1) == 0; },
         .done = "abcdef x1 (new)",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "a text that is much shorter than its conversion could be",
         .run =
             [](Texts& texts) {
                 return String::ConvertToCharType(
                            texts.buffer, L"01234567890123456789012345678901234567890123456789",
                            -1) == 0;
             },
         .done = "abcdef x1 (01234567890123456789012345678901234567890123456789)",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "characters into a buffer of 16 bits",
         .run =
             [](Texts& texts) {
                 return String16::ConvertToCharType(texts.wideBuffer, "new", -1) == 0;
             },
         .done = "abcdef x1 (new)",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "wide characters into a buffer of 16 bits",
         .run =
             [](Texts& texts) {
                 return String16::ConvertToCharType(texts.wideBuffer, L"new", -1) == 0;
             },
         .done = "abcdef x1 (new)",
         .thrown = "abcdef x1",
         .least = 2},
    };

    SweepRefusals<Texts>(operations);
}

} // namespace
} // namespace QX
