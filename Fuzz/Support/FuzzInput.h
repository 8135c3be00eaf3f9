// FuzzInput.h - takes choices and bytes from a fuzz target's input, front to back.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// A cursor over an input. Behind the end there are only zeros, so that every input is a whole one.
class FuzzInput
{
public:
    FuzzInput(const uint8_t* data, size_t size)
        : mData(data)
        , mSize(size)
    {}

    bool IsEmpty() const { return mSize == 0; }

    uint8_t TakeByte()
    {
        if (mSize == 0) {
            return 0;
        }
        --mSize;
        return *mData++;
    }

    /// A number of four bytes, the first being the highest.
    uint32_t TakeWord()
    {
        uint32_t word = 0;
        for (int index = 0; index < 4; ++index) {
            word = word << 8 | TakeByte();
        }
        return word;
    }

    /// At most `count` bytes; `count` becomes how many there are.
    const uint8_t* TakeBytes(size_t& count)
    {
        count = std::min(count, mSize);
        const uint8_t* const bytes = mData;
        mData += count;
        mSize -= count;
        return bytes;
    }

private:
    const uint8_t* mData;
    size_t mSize;
};
