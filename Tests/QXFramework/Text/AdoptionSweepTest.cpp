// AdoptionSweepTest.cpp - strings that adopt buffers, with each of their requests for memory
// refused.

#include "Support/FailureSweep.h"

#include "Support/StringTestSupport.h"

#include <QX/ConvertUTF.h>

#include <cstring>
#include <string>

namespace QX {
namespace {

using TestSupport::FailingHeap;
using TestSupport::SweepRefusals;
using TestSupport::SweepWith;
using TestSupport::SweptOperation;

/// Buffers to adopt, and a string.
struct Adoptions
{
    RCPtr<LIBuffer> buffer = BufferWith("abc");
    String text = "old";

    /// The text with its holders and its capacity if it is locked, and the buffer's bytes.
    std::string Describe() const
    {
        std::string seen(static_cast<std::string_view>(text));
        seen += " x" + std::to_string(text.GetBuffer()->GetReferenceCount());
        if (text.IsLocked()) {
            seen += " [" + std::to_string(text.GetBuffer()->GetSizeBytes()) + "]";
        }
        if (buffer != nullptr) {
            const auto* const bytes = static_cast<const char*>(buffer->GetRawPtr());
            std::string held(bytes, buffer->GetSizeBytes());
            for (char& character : held) {
                character = character == '\0' ? '.' : character;
            }
            seen += " (" + held.substr(0, 10) + ")";
        }
        return seen;
    }
};

// The string is then the only holder of a buffer that is exact.
void Adopt(Adoptions& adoptions)
{
    adoptions.text = String(BufferWith(std::string_view("abc\0", 4)));
    adoptions.buffer = nullptr;
}

TEST(AdoptionSweep, ABufferThatCannotBeAdoptedIsAsItWas)
{
    const SweptOperation<Adoptions> operations[] = {
        {.what = "of a text without an end",
         .run = [](Adoptions& adoptions) { adoptions.text = String(adoptions.buffer); },
         .done = "abc x2 (abc.)",
         .thrown = "old x1 (abc)",
         .least = 1},
        {.what = "of a text and its end",
         .prepare =
             [](Adoptions& adoptions) {
                 adoptions.buffer = BufferWith(std::string_view("abc\0", 4));
             },
         .run = [](Adoptions& adoptions) { adoptions.text = String(adoptions.buffer); },
         .done = "abc x2 (abc.)"},
        {.what = "of a text and more",
         .prepare =
             [](Adoptions& adoptions) {
                 adoptions.buffer = BufferWith(std::string_view("abc\0de", 6));
             },
         .run = [](Adoptions& adoptions) { adoptions.text = String(adoptions.buffer); },
         .done = "abc x2 (abc.)",
         .thrown = "old x1 (abc.de)",
         .least = 1},
        {.what = "of no bytes",
         .prepare = [](Adoptions& adoptions) { adoptions.buffer->SetSizeBytes(0); },
         .run = [](Adoptions& adoptions) { adoptions.text = String(adoptions.buffer); },
         .done = " x2 (.)",
         .thrown = "old x1 ()",
         .least = 1},
        {.what = "of the strings' own class, that grows",
         .prepare =
             [](Adoptions& adoptions) {
                 adoptions.buffer = LTextBuffer::Create(3, 0, false);
                 std::memcpy(adoptions.buffer->GetRawPtr(), "abc", 3);
             },
         .run = [](Adoptions& adoptions) { adoptions.text = String(adoptions.buffer); },
         .done = "abc x2 (abc.)",
         .thrown = "old x1 (abc)",
         .least = 1},
        {.what = "of the strings' own class, that is trimmed",
         .prepare =
             [](Adoptions& adoptions) {
                 adoptions.buffer = LTextBuffer::Create(300, 0, true);
                 std::memcpy(adoptions.buffer->GetRawPtr(), "abc", 3);
             },
         .run = [](Adoptions& adoptions) { adoptions.text = String(adoptions.buffer); },
         .done = "abc x2 (abc.)",
         .least = 1},
        {.what = "of what must not be shared",
         .prepare = [](Adoptions& adoptions) { adoptions.buffer->SetUnshareable(true); },
         .run = [](Adoptions& adoptions) { adoptions.text = String(adoptions.buffer); },
         .done = "abc x1 (abc)",
         .thrown = "old x1 (abc)",
         .least = 3},
        {.what = "of null",
         .prepare = [](Adoptions& adoptions) { adoptions.buffer = nullptr; },
         .run =
             [](Adoptions& adoptions) {
                 return String(adoptions.buffer).GetBuffer() == String::Empty.GetBuffer();
             },
         .done = "old x1"},
    };

    SweepWith<Adoptions, FailingHeap>(operations);
}

TEST(AdoptionSweep, AnAdoptedTextThatCannotChangeIsPutBack)
{
    const SweptOperation<Adoptions> operations[] = {
        {.what = "lock",
         .prepare = &Adopt,
         .run = [](Adoptions& adoptions) { adoptions.text.Lock(9); },
         .done = "abc x1 [9]",
         .thrown = "abc x1",
         .least = 1},
        {.what = "lock for less",
         .prepare = &Adopt,
         .run = [](Adoptions& adoptions) { adoptions.text.Lock(3); },
         .done = "ab x1 [3]",
         .thrown = "abc x1",
         .least = 1},
        {.what = "lock when shared",
         .prepare =
             [](Adoptions& adoptions) {
                 Adopt(adoptions);
                 adoptions.buffer = adoptions.text.GetBuffer();
             },
         .run = [](Adoptions& adoptions) { adoptions.text.Lock(9); },
         .done = "abc x1 [9] (abc.)",
         .thrown = "abc x2 (abc.)",
         .least = 3},
        {.what = "append",
         .prepare = &Adopt,
         .run = [](Adoptions& adoptions) { adoptions.text += adoptions.text; },
         .done = "abcabc x1",
         .thrown = "abc x1",
         .least = 1},
        {.what = "append when locked",
         .prepare =
             [](Adoptions& adoptions) {
                 Adopt(adoptions);
                 adoptions.text.Lock(5);
             },
         .run = [](Adoptions& adoptions) { adoptions.text += adoptions.text; },
         .done = "abcabc x1 [7]",
         .thrown = "abc x1 [5]",
         .least = 1},
        {.what = "release",
         .prepare =
             [](Adoptions& adoptions) {
                 Adopt(adoptions);
                 adoptions.text.Lock(9);
             },
         .run = [](Adoptions& adoptions) { return adoptions.text.Release() == 0; },
         .done = "abc x1",
         .thrown = "abc x1 [9]",
         .least = 1},
    };

    SweepWith<Adoptions, FailingHeap>(operations);
}

TEST(AdoptionSweep, ALongAdoptedTextThatCannotChangeKeepsItsCharacters)
{
    struct LongText
    {
        String text = String(BufferWith(std::string(2000, 'a')));

        std::string Describe() const
        {
            const std::string_view all(text);
            return std::to_string(all.size()) + (all[0] == 'a' ? " a" : " NUL");
        }
    };
    const SweptOperation<LongText> operations[] = {
        {.what = "append",
         .run = [](LongText& state) { state.text += '!'; },
         .done = "2001 a",
         .thrown = "2000 a",
         .least = 1},
    };

    SweepWith<LongText, FailingHeap>(operations);
}

TEST(AdoptionSweep, TheExportedConversionsNeedNoMemory)
{
    struct Units
    {
        UTF8 narrow[4] = {'a', 0xC3, 0xA9, 0};
        UTF16 wide[4] = {};
        UTF32 characters[4] = {};

        std::string Describe() const
        {
            return std::to_string(narrow[2]) + " " + std::to_string(wide[1]) + " " +
                   std::to_string(characters[1]);
        }
    };
    const SweptOperation<Units> operations[] = {
        {.what = "there and back",
         .run =
             [](Units& units) {
                 const UTF8* narrow = units.narrow;
                 UTF16* wide = units.wide;
                 UTF32* character = units.characters;
                 const UTF16* wideSource = units.wide;
                 const UTF32* source = units.characters;
                 UTF8* narrowTarget = units.narrow;
                 return ConvertUTF8toUTF16(&narrow, narrow + 3, &wide, wide + 4,
                                           lenientConversion) == conversionOK &&
                        ConvertUTF16toUTF32(&wideSource, wideSource + 2, &character, character + 4,
                                            lenientConversion) == conversionOK &&
                        ConvertUTF32toUTF8(&source, source + 2, &narrowTarget, narrowTarget + 4,
                                           lenientConversion) == conversionOK;
             },
         .done = "169 233 233"},
    };

    SweepRefusals<Units>(operations);
}

} // namespace
} // namespace QX
