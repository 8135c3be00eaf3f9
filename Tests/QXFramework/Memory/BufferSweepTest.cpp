// BufferSweepTest.cpp - allocators and buffers with each of their requests for memory refused: the
// result is a null block, and a refused growth has cost the old one.

#include "Support/FailureSweep.h"

#include <QX/Buffer.h>

#include <cstring>
#include <memory>
#include <string>

namespace QX {
namespace {

using TestSupport::SweepRefusals;
using TestSupport::SweptOperation;

std::string Describe(IBuffer& buffer)
{
    std::string seen = std::to_string(buffer.GetSizeBytes());
    if (buffer.GetSizeBytes() == 0) {
        return seen; // with a block or without one, as the kind of the buffer has it
    }
    const auto* const bytes = static_cast<const char*>(buffer.GetRawPtr());
    if (bytes == nullptr) {
        return seen + " none";
    }
    // What a buffer gains without being asked for zeros is unknown.
    const uint32 known = std::min<uint32>(buffer.GetSizeBytes(), 3);
    return seen.append(" ").append(bytes, known);
}

/// A buffer of 3 bytes, "abc", and one that an operation makes.
template <class Buffer>
struct Buffers
{
    Buffer buffer{3, 0, true};
    std::unique_ptr<Buffer> made;

    Buffers() { std::memcpy(buffer.GetRawPtr(), "abc", 3); }

    // A buffer that has lost its bytes shows others where it had them.
    void Fill() { buffer.FillN('-', 0, 3); }

    std::string Describe()
    {
        std::string seen = QX::Describe(buffer);
        return made != nullptr ? seen + " > " + QX::Describe(*made) : seen;
    }
};

template <class Buffer>
void SweepBuffer()
{
    using State = Buffers<Buffer>;
    const SweptOperation<State> operations[] = {
        {.what = "construct, of zeros",
         .run =
             [](State& state) {
                 state.made = std::make_unique<Buffer>(3000, 0, true);
                 return state.made->FillN('x', 0, 3) == kResultSuccess;
             },
         .done = "3 abc > 3000 xxx",
         .failed = "3 abc > 3000 none",
         .thrown = "3 abc",
         .least = 2},
        {.what = "construct, with a reserve",
         .run =
             [](State& state) {
                 state.made = std::make_unique<Buffer>(3, 3000, false);
                 return state.made->FillN('x', 0, 3) == kResultSuccess;
             },
         .done = "3 abc > 3 xxx",
         .failed = "3 abc > 3 none",
         .thrown = "3 abc",
         .least = 3},
        {.what = "SetSizeBytes",
         .run =
             [](State& state) {
                 EXPECT_EQ(state.buffer.SetSizeBytes(3000), 3000);
                 state.Fill();
                 return state.buffer.GetRawPtr() != nullptr;
             },
         .done = "3000 ---",
         .failed = "3000 none",
         .least = 1},
        {.what = "SetSizeBytes of 0",
         .run = [](State& state) { return state.buffer.SetSizeBytes(0) == 0; },
         .done = "0"},
        {.what = "ResizeBytes to more",
         .run =
             [](State& state) {
                 const bool hadBytes = state.buffer.GetRawPtr() != nullptr;
                 state.buffer.ResizeBytes(3000);
                 if (!hadBytes) {
                     state.Fill();
                 }
                 return state.buffer.GetRawPtr() != nullptr;
             },
         .done = "3000 abc",
         .failed = "3000 none",
         .again = "3000 ---",
         .least = 1},
        {.what = "ResizeBytes to less",
         .prepare = [](State& state) { state.buffer.ResizeBytes(3000); },
         .run =
             [](State& state) {
                 const bool hadBytes = state.buffer.GetRawPtr() != nullptr;
                 state.buffer.ResizeBytes(3);
                 if (!hadBytes) {
                     state.Fill();
                 }
                 return state.buffer.GetRawPtr() != nullptr;
             },
         .done = "3 abc",
         .failed = "3 none",
         .again = "3 ---",
         .least = 1},
        {.what = "ResizeBytes to nothing",
         .run = [](State& state) { return state.buffer.ResizeBytes(0) == 0; },
         .done = "0"},
        {.what = "Resize to more units",
         .run =
             [](State& state) {
                 const bool hadBytes = state.buffer.GetRawPtr() != nullptr;
                 EXPECT_EQ(state.buffer.template Resize<unsigned short>(1500), 1500);
                 if (!hadBytes) {
                     state.Fill();
                 }
                 return state.buffer.GetRawPtr() != nullptr;
             },
         .done = "3000 abc",
         .failed = "3000 none",
         .again = "3000 ---",
         .least = 1},
        {.what = "TryResizeBytes to more",
         .run = [](State& state) { return state.buffer.TryResizeBytes(3000); },
         .done = "3000 abc",
         .failed = "3 abc",
         .least = 1},
        {.what = "TryResizeBytes to less",
         .prepare = [](State& state) { state.buffer.ResizeBytes(3000); },
         .run = [](State& state) { return state.buffer.TryResizeBytes(3); },
         .done = "3 abc",
         .least = 1},
        {.what = "TryResizeBytes of no block",
         .prepare = [](State& state) { state.buffer.SetSizeBytes(0); },
         .run =
             [](State& state) {
                 const bool isDone = state.buffer.TryResizeBytes(3000);
                 state.Fill();
                 return isDone;
             },
         .done = "3000 ---",
         .failed = "0",
         .least = 1},
        {.what = "fill",
         .run =
             [](State& state) {
                 return state.buffer.FillN('x', 1, 1) == kResultSuccess &&
                        state.buffer.FillW(0x7979, 1, 1) == kResultSuccess;
             },
         .done = "3 ayy"},
    };

    SweepRefusals<State>(operations);
}

TEST(BufferSweep, ARefusalStoresANullBlockAndKeepsWhatItCan)
{
    {
        SCOPED_TRACE("exact");
        SweepBuffer<BufferT<1, 0, 8>>();
    }
    {
        SCOPED_TRACE("of text");
        SweepBuffer<BufferT<1, 128, 8>>();
    }
    {
        SCOPED_TRACE("of pointers");
        SweepBuffer<BufferT<sizeof(void*), 0, 8, char**>>();
    }
    {
        SCOPED_TRACE("of a ring");
        SweepBuffer<BufferT<1024, 1024, 8, char**>>();
    }
}

/// A shared buffer of 3 bytes, "abc".
struct SharedBuffers
{
    RCPtr<LIBuffer> buffer = LTextBuffer::Create(3, 0, true);
    RCPtr<LIBuffer> other;

    SharedBuffers() { std::memcpy(buffer->GetRawPtr(), "abc", 3); }

    std::string Describe()
    {
        std::string seen = QX::Describe(*buffer);
        seen += " x" + std::to_string(buffer->GetReferenceCount());
        return other != nullptr ? seen + " > " + QX::Describe(*other) : seen;
    }
};

bool HasBytes(const RCPtr<LIBuffer>& buffer)
{
    return buffer->GetRawPtr() != nullptr;
}

TEST(BufferSweep, ACopyWithoutMemoryHasNoBytesOrIsNotMade)
{
    using State = SharedBuffers;
    const SweptOperation<State> operations[] = {
        {.what = "Create",
         .run =
             [](State& state) {
                 state.other = LByteBuffer::Create(4, 0, true);
                 return state.other->FillN('x', 0, 4) == kResultSuccess;
             },
         .done = "3 abc x1 > 4 xxx",
         .failed = "3 abc x1 > 4 none",
         .thrown = "3 abc x1",
         .least = 2},
        {.what = "CreateCopy of a part",
         .run =
             [](State& state) {
                 state.other = state.buffer->CreateCopy(2, 1);
                 return HasBytes(state.other);
             },
         .done = "3 abc x1 > 2 bc",
         .failed = "3 abc x1 > 2 none",
         .thrown = "3 abc x1",
         .least = 2},
        {.what = "CreateCopy",
         .run =
             [](State& state) {
                 state.other = RCPtr<LIBuffer>::Downcast(state.buffer->CreateCopy());
                 return HasBytes(state.other);
             },
         .done = "3 abc x1 > 3 abc",
         .failed = "3 abc x1 > 3 none",
         .thrown = "3 abc x1",
         .least = 2},
        {.what = "Unshare",
         .prepare = [](State& state) { state.other = state.buffer; },
         .run =
             [](State& state) {
                 if (!HasBytes(state.other)) {
                     state.other = state.buffer;
                 }
                 state.other.Unshare();
                 return HasBytes(state.other);
             },
         .done = "3 abc x1 > 3 abc",
         .failed = "3 abc x1 > 3 none",
         .thrown = "3 abc x2 > 3 abc",
         .least = 2},
        {.what = "a pointer to an unshareable buffer",
         .prepare = [](State& state) { state.buffer->SetUnshareable(true); },
         .run =
             [](State& state) {
                 state.other = state.buffer;
                 return HasBytes(state.other);
             },
         .done = "3 abc x1 > 3 abc",
         .failed = "3 abc x1 > 3 none",
         .thrown = "3 abc x1",
         .least = 2},
    };

    SweepRefusals<State>(operations);
}

/// A block of SystemAllocator.
struct Block
{
    char* bytes = static_cast<char*>(GetSystemAllocator()->Alloc(4));
    char* made = nullptr;

    Block() { std::memcpy(bytes, "abc", 4); }
    ~Block()
    {
        GetSystemAllocator()->Free(bytes);
        GetSystemAllocator()->Free(made);
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

    std::string Describe() const
    {
        return std::string(bytes) + (made != nullptr ? " and another" : "");
    }
};

TEST(BufferSweep, TheAllocatorAnswersWithNull)
{
    const SweptOperation<Block> operations[] = {
        {.what = "Alloc",
         .run =
             [](Block& block) {
                 block.made = static_cast<char*>(GetSystemAllocator()->Alloc(9));
                 return block.made != nullptr;
             },
         .done = "abc and another",
         .failed = "abc",
         .least = 1},
        {.what = "Calloc",
         .run =
             [](Block& block) {
                 block.made = static_cast<char*>(GetSystemAllocator()->Calloc(3, 3));
                 return block.made != nullptr && block.made[8] == 0;
             },
         .done = "abc and another",
         .failed = "abc",
         .least = 1},
        {.what = "Realloc",
         .run =
             [](Block& block) {
                 void* const moved = GetSystemAllocator()->Realloc(block.bytes, 500);
                 if (moved != nullptr) {
                     block.bytes = static_cast<char*>(moved);
                 }
                 return moved != nullptr;
             },
         .done = "abc",
         .failed = "abc",
         .least = 1},
    };

    SweepRefusals<Block>(operations);
}

} // namespace
} // namespace QX
