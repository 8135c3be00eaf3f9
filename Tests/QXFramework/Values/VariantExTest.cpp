// VariantExTest.cpp - setting, sharing and serializing extended variants.

#include "Support/Threads.h"
#include "Support/Witness.h"

#include "VariantTestSupport.h"

#include <QX/Exception.h>

#include <concepts>
#include <stdexcept>

namespace QX {
namespace {

static_assert(std::copyable<VariantEx>);
static_assert(std::derived_from<VariantEx, IStringable>);

TEST(VariantEx, StartsEmpty)
{
    const VariantEx variant;

    EXPECT_EQ(variant.GetType(), Variant::kEmpty);
    EXPECT_EQ(variant, VariantEx::Empty);
}

TEST(VariantEx, PicksTheSetterOfItsArgument)
{
    const RCPtr<LIBuffer> buffer = BufferWith("abc");
    const ConstRCPtr<LIBuffer> reader = buffer;
    const unsigned char truth = 1;
    VariantEx variant;

    EXPECT_EQ(variant.Set("abc"), Variant::kString);
    EXPECT_EQ(variant.Set(String("abc")), Variant::kString);
    EXPECT_EQ(variant.Set(buffer), Variant::kBuffer);
    EXPECT_EQ(variant.Set(reader), Variant::kBuffer);
    EXPECT_EQ(variant.Set(Variant::kBool, &truth, 1), Variant::kBool);
    EXPECT_EQ(variant.Set(OfText("abc")), Variant::kString);
    EXPECT_EQ(variant.Set(nullptr), Variant::kEmpty);
}

/// What a class that derives from an extended variant can do.
class DerivedVariant : public VariantEx
{
public:
    using VariantEx::Adopt;
    using VariantEx::AllocBuffer;
};

TEST(VariantEx, GivesADerivedClassABufferOfZeros)
{
    // The heap gives a block of that size out again.
    LTextBuffer::Create(100, 0, true)->FillN('x', 0, -1);
    DerivedVariant variant;

    void* const block = variant.AllocBuffer(100);

    EXPECT_EQ(std::string(static_cast<const char*>(block), 100), std::string(100, '\0'));
    variant.Adopt(Variant::kBuffer, block, 100);
    EXPECT_EQ(variant.GetBuffer()->GetRawPtr(), block);
    EXPECT_EQ(variant.GetBuffer()->GetSizeBytes(), 100u);
}

TEST(VariantEx, SharesTheDataOfACopy)
{
    VariantEx variant = OfBytes("abc");

    VariantEx copy(variant);
    static_cast<char*>(PointerOf(copy))[0] = 'X';

    EXPECT_EQ(PointerOf(copy), PointerOf(variant));
    EXPECT_EQ(variant.GetBuffer()->GetReferenceCount(), 2);
    EXPECT_EQ(BytesOf(variant), "Xbc");
}

TEST(VariantEx, KeepsTheSharedDataUntilTheLastHolderIsSetAgain)
{
    VariantEx variant = OfText("abc");
    VariantEx copy;
    copy = variant;

    variant.Set("other");

    EXPECT_EQ(TextOf(copy.GetString()), "abc");
    EXPECT_EQ(TextOf(variant.GetString()), "other");
}

TEST(VariantEx, CopiesValuesOfEveryType)
{
    int target = 0;
    for (const VariantEx& variant :
         {VariantEx(), OfBool(2), OfInt32(-3), OfInt64(1LL << 40), OfFloat(2.5f), OfDouble(-0.1),
          OfPointer(&target, 4), OfBytes("abc"), OfBytes(""), OfText("abc"), OfText(""),
          OfConstBytes("abc")}) {
        SCOPED_TRACE(variant.GetType());
        VariantEx copy = OfText("before");

        EXPECT_EQ(copy.Set(variant), variant.GetType());

        EXPECT_EQ(copy, variant);
    }
}

TEST(VariantEx, LetsGoOfItsBufferWhateverItHoldsNext)
{
    const struct
    {
        const char* what;
        void (*set)(VariantEx&);
    } rows[] = {
        {"another value", [](VariantEx& variant) { variant.Set(OfInt32(5)); }},
        {"a scalar", [](VariantEx& variant) { variant.Set(Variant::kInt32, "wxyz", 4); }},
        {"nothing", [](VariantEx& variant) { variant.Set(static_cast<const char*>(nullptr)); }},
        {"a pointer", [](VariantEx& variant) { variant.SetPointer(nullptr, 4); }},
        {"another text", [](VariantEx& variant) { variant.Set(String("other")); }},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        VariantEx variant = OfBytes("abc");
        const RCPtr<LIBuffer> buffer = variant.GetBuffer();

        row.set(variant);

        EXPECT_EQ(buffer->GetReferenceCount(), 1);
    }
}

TEST(VariantEx, IsUnchangedWhenItIsSetToItself)
{
    VariantEx text = OfText("abc");
    const LIBuffer* const buffer = text.GetBuffer().Get();
    VariantEx number = OfInt32(42);

    EXPECT_EQ(text.Set(text), Variant::kString);
    EXPECT_EQ(number.Set(number), Variant::kInt32);

    EXPECT_EQ(text.GetBuffer().Get(), buffer);
    EXPECT_EQ(TextOf(text.GetString()), "abc");
    EXPECT_EQ(number.GetInt32(), 42);
}

TEST(VariantEx, SharesTheBufferOfAString)
{
    const String text("abc");
    VariantEx variant;

    EXPECT_EQ(variant.Set(text), Variant::kString);

    EXPECT_EQ(variant.GetBuffer().Get(), BufferOf(text));
    EXPECT_EQ(BytesOf(variant), std::string("abc", 4));
    EXPECT_EQ(variant.GetCStr(), text.CStr());
    EXPECT_EQ(BufferOf(variant.GetString()), BufferOf(text));
}

TEST(VariantEx, TakesTheTextOfALockedString)
{
    String text("ab");
    text.Lock(50);
    VariantEx variant;
    RCPtr<LIBuffer> record;

    EXPECT_EQ(variant.Set(text), Variant::kString);

    EXPECT_EQ(BytesOf(variant), std::string("ab", 3));
    EXPECT_EQ(variant.Serialize(record, 0), 15u);
    EXPECT_STREQ(variant.GetCStr(), "ab");
    EXPECT_TRUE(text.IsLocked());
}

TEST(VariantEx, CopiesTheBytesOfABuffer)
{
    const RCPtr<LIBuffer> buffer = BufferWith("abc");
    VariantEx variant;

    variant.Set(buffer);

    EXPECT_EQ(BytesOf(variant), "abc");
    EXPECT_NE(variant.GetBuffer().Get(), buffer.Get());
    EXPECT_EQ(buffer->GetReferenceCount(), 1);
}

TEST(VariantEx, IsEmptyAfterANullBuffer)
{
    VariantEx variant = OfBytes("abc");

    EXPECT_EQ(variant.Set(RCPtr<LIBuffer>()), Variant::kEmpty);

    EXPECT_EQ(variant.GetType(), Variant::kEmpty);
}

TEST(VariantEx, SharesNoBufferThatIsUnshareable)
{
    VariantEx copy;
    {
        const VariantEx variant = OfText("abc");
        variant.GetBuffer()->SetUnshareable(true);
        copy.Set(variant);
        EXPECT_NE(copy.GetBuffer().Get(), variant.GetBuffer().Get());
        EXPECT_EQ(variant.GetBuffer()->GetReferenceCount(), 1);
    }

    EXPECT_STREQ(copy.GetCStr(), "abc");
    EXPECT_EQ(TextOf(copy.GetString()), "abc");
}

// The fields of the base, which debuggers and derived classes see.
TEST(VariantEx, StoresTheAddressAndTheSizeOfItsBuffer)
{
    const String text("abc");
    const struct
    {
        const char* what;
        VariantEx variant;
        uint32 size;
        Variant::Type type;
    } rows[] = {
        {"a copy", OfBytes("ab"), 2, Variant::kBuffer},
        {"characters", OfText("abc"), 4, Variant::kString},
        {"a string", OfString(text), 4, Variant::kString},
        {"a buffer", OfBuffer(BufferWith("abcde")), 5, Variant::kBuffer},
        {"no bytes", OfBuffer(BufferWith("")), 0, Variant::kBuffer},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const void* const block = row.variant.GetBuffer()->GetRawPtr();
        unsigned char expected[16] = {};
        std::memcpy(expected, &block, sizeof block);
        std::memcpy(expected + 8, &row.size, 4);
        std::memcpy(expected + 12, &row.type, 4);

        EXPECT_EQ(std::memcmp(reinterpret_cast<const char*>(&row.variant) + sizeof(void*), expected,
                              sizeof expected),
                  0);
    }
}

TEST(VariantEx, LendsTheBufferOfBuffersAndStringsOnly)
{
    int target = 0;
    EXPECT_NE(OfText("abc").GetBuffer(), nullptr);
    EXPECT_NE(OfBytes("abc").GetBuffer(), nullptr);
    for (const VariantEx& variant : {VariantEx(), OfBool(1), OfInt32(1), OfInt64(1), OfFloat(1),
                                     OfDouble(1), OfPointer(&target, 4), OfConstBytes("abc")}) {
        SCOPED_TRACE(variant.GetType());
        try {
            variant.GetBuffer();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const Exception<std::runtime_error>& error) {
            EXPECT_STREQ(error.what(), "Runtime Error :  : Utilities/Storage/VariantEx : Line 293");
        }
    }
}

// A buffer that writes down what is done to it; "= " is a copy of its bytes.
class WitnessBuffer : public BufferT<1, 128, 8>, public LIBuffer, public TestSupport::Witness
{
public:
    static RCPtr<LIBuffer> Create(char name, std::string& journal)
    {
        return RCPtr<LIBuffer>(new WitnessBuffer(name, journal));
    }

    using Witness::CreateCopy;
    RCPtr<LIBuffer> CreateCopy(uint32 length, uint32) const override
    {
        GetJournal() += "= ";
        return LTextBuffer::Create(length, 0, true);
    }

private:
    WitnessBuffer(char name, std::string& journal)
        : BufferT(1, 0, true)
        , Witness(name, journal)
    {}
};

TEST(VariantExOrder, ReleasesItsDataBeforeItSharesOtherDataAndAfterItCopiesABuffer)
{
    std::string journal;
    const VariantEx other = OfString(WitnessBuffer::Create('o', journal));
    const String text(WitnessBuffer::Create('t', journal));
    const RCPtr<LIBuffer> bytes = WitnessBuffer::Create('b', journal);
    const struct
    {
        const char* what;
        std::function<void(VariantEx&)> set;
        const char* journal;
    } rows[] = {
        {"a variant", [&](VariantEx& variant) { variant.Set(other); }, "-a ~a +o "},
        {"a string", [&](VariantEx& variant) { variant.Set(text); }, "-a ~a +t "},
        {"a buffer", [&](VariantEx& variant) { variant.Set(bytes); }, "= -a ~a "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        VariantEx variant = OfString(WitnessBuffer::Create('a', journal));
        journal.clear();

        row.set(variant);

        EXPECT_EQ(journal, row.journal);
    }
}

Bytes BytesOf(const RCPtr<LIBuffer>& buffer)
{
    const auto* const bytes = static_cast<const unsigned char*>(buffer->GetRawPtr());
    return Bytes(bytes, bytes + buffer->GetSizeBytes());
}

TEST(VariantExSerialize, WritesTheRecordAtTheOffset)
{
    const RCPtr<LIBuffer> kept = LTextBuffer::Create(24, 0, false);
    kept->FillN('z', 0, -1);
    kept->ResizeBytes(7);
    int target = 0;
    const struct
    {
        const char* what;
        VariantEx value;
        RCPtr<LIBuffer> out;
        uint32 offset;
        uint32 result;
        const char* bytes;
    } rows[] = {
        {"a new buffer of its size", OfInt32(0x01020304), nullptr, 4, 16,
         "00000000 10000000 00000000 02000000 04030201"},
        {"a smaller buffer, with zeros between", OfBool(1), BufferWith("xy"), 8, 13,
         "7879000000000000 0D000000 00000000 01000000 01"},
        {"a smaller buffer that keeps its block", OfBool(1), kept, 8, 13,
         "7A7A7A7A7A7A7A00 0D000000 00000000 01000000 01"},
        {"a larger buffer, which keeps its size", VariantEx(), BufferWith("xxxxxxxxxxxxxxxx"), 2,
         12, "7878 0C000000 00000000 00000000 7878"},
        {"an offset beyond 32 bits", OfInt32(1), BufferWith("kept"), 0xFFFFFFFF, kFailed,
         "6B657074"},
        {"a sum of just 2^32", OfInt32(1), BufferWith("kept"), 0xFFFFFFF0, kFailed, "6B657074"},
        {"a pointer without bytes", OfPointer(&target, 0), nullptr, 0, kFailed,
         "00000000 00000000 00000000"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        RCPtr<LIBuffer> out = row.out;

        EXPECT_EQ(row.value.Serialize(out, row.offset), row.result);

        EXPECT_EQ(BytesOf(out), FromHex(row.bytes));
        EXPECT_TRUE(row.out == nullptr || out == row.out);
    }
}

TEST(VariantExSerialize, MakesNoBufferForASumBeyond32Bits)
{
    RCPtr<LIBuffer> null;

    EXPECT_EQ(OfInt32(1).Serialize(null, 0xFFFFFFF0), kFailed);

    EXPECT_EQ(null, nullptr);
}

// Stays at 4 bytes, in a block of 64, and has no copies.
class FixedBuffer : public BufferT<1, 128, 8>, public LIBuffer
{
public:
    FixedBuffer()
        : BufferT(64, 0, true)
    {
        BufferT::ResizeBytes(4);
    }

    int32 ResizeBytes(uint32) override { return 4; }

    using LIBuffer::CreateCopy;
    RCPtr<LIBuffer> CreateCopy(uint32, uint32) const override { return nullptr; }
};

TEST(VariantExSerialize, RefusesABufferThatDoesNotGrow)
{
    for (const uint32 offset : {0u, 4u, 8u}) {
        SCOPED_TRACE(offset);
        RCPtr<LIBuffer> out(new FixedBuffer);

        EXPECT_EQ(OfInt32(-1).Serialize(out, offset), kFailed);

        EXPECT_EQ(std::string(static_cast<const char*>(out->GetRawPtr()), 64),
                  std::string(64, '\0'));
    }
}

TEST(VariantExSerialize, FailsWhenItsOwnBufferHasNoCopy)
{
    const VariantEx variant = OfString(RCPtr<LIBuffer>(new FixedBuffer));
    RCPtr<LIBuffer> out = variant.GetBuffer();

    EXPECT_EQ(variant.Serialize(out, 0), kFailed);

    EXPECT_EQ(out, variant.GetBuffer());
}

TEST(VariantExSerialize, WritesIntoACopyOfItsOwnBuffer)
{
    VariantEx variant = OfBytes("ab");
    RCPtr<LIBuffer> out = variant.GetBuffer();

    EXPECT_EQ(variant.Serialize(out, 0), 14u);

    EXPECT_NE(out.Get(), variant.GetBuffer().Get());
    EXPECT_EQ(BytesOf(variant), "ab");
    EXPECT_EQ(BytesOf(out), FromHex("0E000000 00000000 08000000 6162"));
}

TEST(VariantEx, OffersTheStaticFormsOfTheBase)
{
    unsigned char record[16];
    VariantEx variant;

    EXPECT_EQ(VariantEx::Serialize(OfInt32(7), record, 16), 16u);
    EXPECT_EQ(VariantEx::Deserialize(variant, record, 16), 0u);

    EXPECT_EQ(variant, OfInt32(7));
}

TEST(VariantExThreads, MayReadOneVariantAtOnce)
{
    const VariantEx text = OfText("42");
    const VariantEx bytes = OfBytes("abc");

    TestSupport::RunOnThreads(2, [&](std::size_t) {
        for (int round = 0; round < 200; ++round) {
            EXPECT_EQ(text.GetInt32(), 42);
            EXPECT_EQ(text.GetString().GetLength(), 2u);
            EXPECT_TRUE(bytes.GetBool());
            EXPECT_TRUE(bytes == bytes);
        }
    });
}

} // namespace
} // namespace QX
