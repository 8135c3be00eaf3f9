// FuzzArray.cpp - arbitrary operations on a smart-pointer array, against a standard vector.
//
// Three bytes are an operation and its two arguments; the operation's highest bit chooses the view.
// After each one the slots and the reference counts are those of the model.

#include <QX/RCPtrArray.h>

#include "FuzzCheck.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using QX::ConstRCPtr;
using QX::int32;
using QX::RCPtr;
using QX::uint32;

struct Item : virtual QX::LRefCountedObject
{};

constexpr uint32 kPoolSize = 4;
constexpr size_t kLargestModel = 300;

template <uint32 Grow, uint32 Init>
class Session
{
public:
    Session()
    {
        for (RCPtr<Item>& item : mPool) {
            item = RCPtr<Item>(new Item);
        }
    }

    void Run(uint8_t operation, uint8_t first, uint8_t second)
    {
        const bool isReadOnly = (operation & 0x80) != 0;
        switch (operation % 10) {
        case 0:
            InsertSlots(isReadOnly, first, CountFrom(second));
            break;
        case 1:
            InsertItem(isReadOnly, first, second);
            break;
        case 2:
            InsertOwnItem(isReadOnly, first, second);
            break;
        case 3:
            RemoveItem(isReadOnly, first, second);
            break;
        case 4:
            RemoveIntoOwnItem(first, second);
            break;
        case 5:
            RemoveLast(isReadOnly, second);
            break;
        case 6:
            Remove(isReadOnly, first, second);
            break;
        case 7:
            SetCount(isReadOnly, CountFrom(first));
            break;
        case 8:
            Swap(isReadOnly, first, second);
            break;
        default:
            AppendItself(isReadOnly);
            break;
        }
        Check();
    }

private:
    using Array = QX::RCPtrArray<Item, Grow, Init>;
    using ConstArray = QX::ConstRCPtrArray<Item, Grow, Init>;

    // The upper half of the bytes are counts that no memory holds.
    static uint32 CountFrom(uint8_t byte)
    {
        return byte < 0x80 ? byte % 32u : 0xFFFFFFFFu - (byte & 0x7Fu) * 0x1000000u;
    }
    static bool IsHuge(uint32 count) { return count > 0x1FFFFFFF; }

    RCPtr<Item> Pick(uint8_t byte) const
    {
        const uint32 index = byte % (kPoolSize + 1);
        return index == kPoolSize ? nullptr : mPool[index];
    }
    auto At(size_t index) { return mModel.begin() + static_cast<std::ptrdiff_t>(index); }
    int32 Count() const { return static_cast<int32>(mModel.size()); }

    void InsertSlots(bool isReadOnly, uint32 index, uint32 count)
    {
        if (!IsHuge(count) && mModel.size() + count > kLargestModel) {
            return;
        }
        const int32 result =
            isReadOnly ? mReadOnly.Insert(index, count) : mArray.Insert(index, count);
        if (count == 0) {
            FUZZ_CHECK(result == Count());
        } else if (index > mModel.size()) {
            FUZZ_CHECK(result == QX::kResultOutOfRange);
        } else if (IsHuge(count)) {
            FUZZ_CHECK(result == QX::kResultFailure);
        } else {
            mModel.insert(At(index), count, nullptr);
            FUZZ_CHECK(result == Count());
        }
    }

    void InsertItem(bool isReadOnly, uint32 index, uint8_t which)
    {
        if (mModel.size() >= kLargestModel) {
            return;
        }
        const RCPtr<Item> item = Pick(which);
        const int32 result =
            isReadOnly ? mReadOnly.InsertItem(index, item) : mArray.InsertItem(index, item);
        if (index > mModel.size()) {
            FUZZ_CHECK(result == QX::kResultOutOfRange);
            return;
        }
        mModel.insert(At(index), item.Get());
        FUZZ_CHECK(result == static_cast<int32>(index));
    }

    void InsertOwnItem(bool isReadOnly, uint32 index, uint8_t which)
    {
        if (mModel.empty() || mModel.size() >= kLargestModel || index > mModel.size()) {
            return;
        }
        const uint32 source = which % static_cast<uint32>(mModel.size());
        Item* const item = mModel[source];
        if (isReadOnly) {
            mReadOnly.InsertItem(index, *mReadOnly.GetAt(source));
        } else {
            mArray.InsertItem(index, *mArray.GetAt(source));
        }
        mModel.insert(At(index), item);
    }

    void RemoveItem(bool isReadOnly, uint32 index, uint8_t which)
    {
        RCPtr<Item> removed = Pick(which);
        ConstRCPtr<Item> readOnly = removed;
        try {
            const int32 result = isReadOnly ? mReadOnly.RemoveItem(index, readOnly)
                                            : mArray.RemoveItem(index, removed);
            FUZZ_CHECK(index < mModel.size());
            FUZZ_CHECK((isReadOnly ? readOnly.Get() : removed.Get()) == mModel[index]);
            mModel.erase(At(index));
            FUZZ_CHECK(result == Count());
        } catch (const std::out_of_range&) {
            FUZZ_CHECK(index >= mModel.size());
            FUZZ_CHECK(removed == Pick(which));
        }
    }

    void RemoveIntoOwnItem(uint32 index, uint8_t which)
    {
        if (index >= mModel.size()) {
            return;
        }
        const uint32 target = which % static_cast<uint32>(mModel.size());
        const int32 result = mArray.RemoveItem(index, *mArray.GetAt(target));
        mModel[target] = nullptr;
        std::swap(mModel[target], mModel[index]);
        mModel.erase(At(index));
        FUZZ_CHECK(result == Count());
    }

    void RemoveLast(bool isReadOnly, uint8_t which)
    {
        RCPtr<Item> removed = Pick(which);
        ConstRCPtr<Item> readOnly = removed;
        const int32 result =
            isReadOnly ? mReadOnly.RemoveLast(readOnly) : mArray.RemoveLast(removed);
        const Item* const got = isReadOnly ? readOnly.Get() : removed.Get();
        if (mModel.empty()) {
            FUZZ_CHECK(result == QX::kResultFailure && got == nullptr);
            return;
        }
        FUZZ_CHECK(got == mModel.back());
        mModel.pop_back();
        FUZZ_CHECK(result == Count());
    }

    void Remove(bool isReadOnly, uint32 index, uint32 count)
    {
        const size_t present = index < mModel.size() ? mModel.size() - index : 0;
        const size_t removed = std::min<size_t>(count, present);
        try {
            const int32 result =
                isReadOnly ? mReadOnly.Remove(index, count) : mArray.Remove(index, count);
            FUZZ_CHECK(removed == count);
            FUZZ_CHECK(result == static_cast<int32>(mModel.size() - removed));
        } catch (const std::out_of_range&) {
            FUZZ_CHECK(removed < count);
        }
        if (removed != 0) {
            mModel.erase(At(index), At(index + removed));
        }
    }

    void SetCount(bool isReadOnly, uint32 count)
    {
        const int32 result = isReadOnly ? mReadOnly.SetCount(count) : mArray.SetCount(count);
        if (IsHuge(count)) {
            FUZZ_CHECK(result == QX::kResultFailure);
            return;
        }
        mModel.resize(count, nullptr);
        FUZZ_CHECK(result == Count());
    }

    void Swap(bool isReadOnly, uint32 left, uint32 right)
    {
        if (left >= mModel.size() || right >= mModel.size()) {
            FUZZ_CHECK(mArray.Swap(left, right) == QX::kResultOutOfRange);
            return;
        }
        FUZZ_CHECK((isReadOnly ? mReadOnly.Swap(left, right) : mArray.Swap(left, right)) == 0);
        std::swap(mModel[left], mModel[right]);
    }

    void AppendItself(bool isReadOnly)
    {
        if (mModel.size() * 2 > kLargestModel) {
            return;
        }
        const int32 result = isReadOnly ? mReadOnly.Append(mReadOnly) : mArray.Append(mArray);
        mModel.resize(mModel.size() * 2, nullptr);
        FUZZ_CHECK(result == Count());
    }

    void Check()
    {
        FUZZ_CHECK(mArray.GetCount() == mModel.size());
        auto walk = mReadOnly.GetBegin();
        std::array<int32, kPoolSize> held{};
        for (uint32 index = 0; index < mModel.size(); ++index) {
            FUZZ_CHECK(walk.GetCurrentMoveNext()->Get() == mModel[index]);
            FUZZ_CHECK(mArray.GetAt(index)->Get() == mModel[index]);
            for (uint32 which = 0; which < kPoolSize; ++which) {
                held[which] += mPool[which].Get() == mModel[index] ? 1 : 0;
            }
        }
        FUZZ_CHECK(walk == mReadOnly.GetEnd());
        for (uint32 which = 0; which < kPoolSize; ++which) {
            FUZZ_CHECK(mPool[which]->GetReferenceCount() == 1 + held[which]);
        }
    }

    std::array<RCPtr<Item>, kPoolSize> mPool;
    Array mArray;
    ConstArray& mReadOnly = mArray;
    std::vector<Item*> mModel;
};

template <uint32 Grow, uint32 Init>
void RunSession(const uint8_t* data, size_t size)
{
    Session<Grow, Init> session;
    for (size_t offset = 0; offset + 3 <= size; offset += 3) {
        session.Run(data[offset], data[offset + 1], data[offset + 2]);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    RunSession<1, 0>(data, size);
    RunSession<8, 4>(data, size);
    return 0;
}
