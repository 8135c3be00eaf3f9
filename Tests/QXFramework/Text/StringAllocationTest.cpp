// StringAllocationTest.cpp - strings and extended variants on a heap that has no large blocks.

#include "QXFramework/Values/VariantTestSupport.h"
#include "Support/FailingHeap.h"

#include <functional>
#include <new>

namespace QX {
namespace {

using TestSupport::LimitedHeap;

TEST(StringExhaustedHeap, ChangesWithoutMemoryLeaveTheStringAsItWas)
{
    const std::string large(400, 'b');
    const String other(large.c_str());
    struct
    {
        const char* what;
        std::function<void(String&)> change;
    } const cases[] = {
        {"Assign", [&](String& text) { text.Assign(large.c_str(), String::kWholeText); }},
        {"Lock", [&](String& text) { text.Lock(500); }},
        {"append", [&](String& text) { text += other; }},
        {"append itself", [&](String& text) { text += text; }},
        {"insert at the front", [&](String& text) { text.Insert(0, other); }},
        {"insert characters", [&](String& text) { text.Insert(3, large.c_str(), 400); }},
        {"insert at the end", [&](String& text) { text.Insert(250, large.c_str(), 400); }},
        {"SetFormatted", [&](String& text) { text.SetFormatted("%s", large.c_str()); }},
        {"FormatNumber", [&](String& text) { text = String::FormatNumber(1, 400); }},
        {"construction", [&](String& text) { text = String(large.c_str()); }},
        {"from UTF-16", [&](String& text) { text = String(String16(large.c_str())); }},
        {"sum", [&](String& text) { text = text + other; }},
    };

    for (const bool isShared : {false, true}) {
        for (const auto& [what, change] : cases) {
            SCOPED_TRACE(testing::Message() << what << (isShared ? ", shared" : ""));
            const std::string before(250, 'a');
            String text(before.c_str());
            const String sharer(isShared ? text : String());
            const LIBuffer* const buffer = BufferOf(text);
            {
                const LimitedHeap limit(300);

                EXPECT_THROW(change(text), std::bad_alloc);
            }
            EXPECT_EQ(TextOf(text), before);
            EXPECT_EQ(BufferOf(text), buffer);
            EXPECT_EQ(Holders(text), isShared ? 2 : 1);
            EXPECT_FALSE(text.IsLocked());
        }
    }
}

TEST(StringExhaustedHeap, ALockedStringThatCannotGrowKeepsItsField)
{
    const std::string large(400, 'b');
    String text("abc");
    text.Lock(10);
    {
        const LimitedHeap limit(300);

        EXPECT_THROW(text += large.c_str(), std::bad_alloc);
    }
    EXPECT_EQ(TextOf(text), "abc");
    EXPECT_TRUE(text.IsLocked());
    EXPECT_EQ(text.GetBuffer()->GetSizeBytes(), 10u);
}

TEST(StringExhaustedHeap, AConversionWithoutMemoryLeavesTheBufferAlone)
{
    const String before("kept");
    RCPtr<LIBuffer> buffer = before.GetBuffer();
    const std::string large(400, 'b');
    {
        const LimitedHeap limit(300);

        EXPECT_THROW(String16::ConvertToCharType(buffer, large.c_str(), -1), std::bad_alloc);
    }
    EXPECT_EQ(buffer.Get(), BufferOf(before));
}

TEST(StringExhaustedHeap, AConversionThatCannotTrimItsResultThrows)
{
    const String16 wide(std::string(400, 'b').c_str());
    String text("kept");

    {
        const TestSupport::FailingHeap heap(3); // after the buffer and its block
        EXPECT_THROW(text = String(wide), std::bad_alloc);
        EXPECT_NE(heap.GetJournal().find("realloc 401"), std::string::npos) << heap.GetJournal();
    }

    EXPECT_EQ(TextOf(text), "kept");
}

TEST(StringExhaustedHeap, AVariantThatFindsNoMemoryIsEmpty)
{
    const std::string large(400, 'b');
    const RCPtr<LIBuffer> bytes = BufferWith(large);
    VariantEx text = OfText("abc");
    VariantEx buffer = OfText("abc");
    {
        const LimitedHeap limit(300);

        EXPECT_EQ(text.Set(large.c_str()), Variant::kEmpty);
        EXPECT_EQ(buffer.Set(bytes), Variant::kEmpty);
    }
    EXPECT_EQ(text.GetType(), Variant::kEmpty);
    EXPECT_EQ(buffer.GetType(), Variant::kEmpty);
}

TEST(StringExhaustedHeap, AVariantThatCannotCopyDataThatMustNotBeSharedIsEmpty)
{
    const VariantEx other = OfText(std::string(250, 'a').c_str());
    other.GetBuffer()->SetUnshareable(true);
    VariantEx variant = OfText("abc");
    {
        const LimitedHeap limit(200);

        EXPECT_EQ(variant.Set(other), Variant::kEmpty);
    }
    EXPECT_EQ(variant.GetType(), Variant::kEmpty);
}

TEST(StringExhaustedHeap, ARecordThatFindsNoMemoryFails)
{
    const VariantEx variant = OfText(std::string(250, 'a').c_str());
    RCPtr<LIBuffer> record;
    const LimitedHeap limit(255);

    EXPECT_EQ(variant.Serialize(record, 0), 0x80000008u);
}

TEST(StringExhaustedHeap, ARecordAfterAGapThatFindsNoMemoryFails)
{
    const VariantEx variant = OfText("abc");
    RCPtr<LIBuffer> record = BufferWith("x");
    const LimitedHeap limit(255);

    EXPECT_EQ(variant.Serialize(record, 400), 0x80000008u);
}

TEST(StringExhaustedHeap, ARecordForItsOwnBufferThatFindsNoMemoryChangesNothing)
{
    const VariantEx variant = OfText(std::string(250, 'a').c_str());
    RCPtr<LIBuffer> record = variant.GetBuffer();
    {
        const LimitedHeap limit(200);

        EXPECT_EQ(variant.Serialize(record, 2), 0x80000008u);
    }
    EXPECT_EQ(record, variant.GetBuffer());
    EXPECT_EQ(variant.GetString(), std::string(250, 'a'));
}

TEST(StringExhaustedHeap, ARecordGoesIntoABufferThatHasLostItsBytes)
{
    const VariantEx variant = OfText("abc");
    RCPtr<LIBuffer> record = BufferWith("x");
    {
        const LimitedHeap limit(255);
        variant.Serialize(record, 400);
    }

    EXPECT_EQ(variant.Serialize(record, 4), 16u);

    EXPECT_EQ(record->GetSizeBytes(), 20u);
    EXPECT_EQ(std::string(record->GetPtr<char>(0), 20),
              std::string("\0\0\0\0\x10\0\0\0\0\0\0\0\x09\0\0\0abc\0", 20));
}

} // namespace
} // namespace QX
