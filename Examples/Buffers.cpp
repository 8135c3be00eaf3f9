// Buffers.cpp - blocks of bytes: shared, copied, and one with an allocator of its own.

#include <QX/QX.h>
#include <iostream>

/// Counts the blocks that are in use.
class CountingAllocator final : public QX::IAllocator
{
public:
    void* Alloc(QX::uint32 size) override { return Count(mSystem->Alloc(size)); }
    void* Calloc(QX::uint32 count, QX::uint32 size) override
    {
        return Count(mSystem->Calloc(count, size));
    }
    void* Realloc(void* block, QX::uint32 size) override { return mSystem->Realloc(block, size); }
    void Free(void* block) override
    {
        mBlocks -= block != nullptr;
        mSystem->Free(block);
    }
    int GetBlocks() const { return mBlocks; }

private:
    void* Count(void* block)
    {
        mBlocks += block != nullptr;
        return block;
    }

    QX::IAllocator* const mSystem = QX::GetSystemAllocator();
    int mBlocks = 0;
};

static CountingAllocator gAllocator;

static QX::IAllocator* GetCountingAllocator()
{
    return &gAllocator;
}

int main()
{
    const QX::RCPtr<QX::LIBuffer> buffer = QX::LByteBuffer::Create(4, 0, true);
    buffer->FillN('x', 1, -1);
    if (buffer->FillN('y', 2, 3) == QX::kResultOutOfRange) {
        std::cout << "three bytes do not fit at 2\n";
    }
    const auto end = buffer->CreateCopy(3, 2); // "xx" and a zero
    std::cout << end->GetPtr<char>(0) << ", " << (end->GetPtr<QX::uint32>(0) == nullptr) << "\n";

    {
        QX::BufferT<16, 0, 8, char*, &GetCountingAllocator> own(5, 0, true);
        std::cout << own.GetSizeBytes() << " of " << own.GetAllocatedSize() << " bytes, "
                  << gAllocator.GetBlocks() << " block\n";
    }
    std::cout << gAllocator.GetBlocks() << " blocks\n";
}
