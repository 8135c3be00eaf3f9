// RCPtrArrayModel.h - a smart-pointer array changed beside a standard vector, from a sequence of
// bytes.
//
// Three bytes are an operation and its two arguments; the operation's highest bit chooses the view.
// After each one the slots and the reference counts are those of the model. The views read and
// write the same slots under different types. A compiler that takes them for different objects
// keeps stale pointers in registers, so this is worth most when optimised.
#pragma once

#include "Support/Witness.h"

#include <QX/RCPtrArray.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace QX {

template <uint32 Grow, uint32 Init>
class RCPtrArrayModel
{
public:
    RCPtrArrayModel()
    {
        for (RCPtr<Item>& item : mPool) {
            item = TestSupport::MakeWitness('A');
        }
    }

    /// Runs all operations and returns "", or what was wrong after which operation.
    std::string Run(std::span<const unsigned char> bytes)
    {
        for (; bytes.size() >= 3; bytes = bytes.subspan(3)) {
            mIsReadOnly = (bytes[0] & 0x80) != 0;
            Apply(bytes[0], bytes[1], bytes[2]);
            Check();
            if (mDifference != nullptr) {
                return "operation " + std::to_string(bytes[0]) + " with " +
                       std::to_string(bytes[1]) + ", " + std::to_string(bytes[2]) + ": " +
                       mDifference;
            }
        }
        return "";
    }

private:
    using Item = TestSupport::Witness;
    using Array = RCPtrArray<Item, Grow, Init>;
    using ConstArray = ConstRCPtrArray<Item, Grow, Init>;

    static constexpr uint32 kPoolSize = 4;
    static constexpr std::size_t kLargestModel = 300;

    void Apply(unsigned operation, unsigned first, unsigned second)
    {
        if ((operation & 0x40) != 0) {
            return ApplyWithOthers(operation % 4, first, second);
        }
        switch (operation % 10) {
        case 0:
            return InsertSlots(first, CountFrom(second));
        case 1:
            return InsertItem(first, Pick(second));
        case 2:
            return InsertOwnItem(first, second);
        case 3:
            return RemoveItem(first, Pick(second));
        case 4:
            return RemoveIntoOwnItem(first, second);
        case 5:
            return RemoveLast(Pick(second));
        case 6:
            return Remove(first, second);
        case 7:
            return SetCount(CountFrom(first));
        case 8:
            return Swap(first, second);
        default:
            return AppendItself();
        }
    }

    void ApplyWithOthers(unsigned operation, unsigned first, unsigned second)
    {
        switch (operation) {
        case 0:
            return AssignThroughBothViews(first, second);
        case 1:
            return AppendItem(Pick(second));
        case 2:
            return AppendOther(first % 5, second);
        default:
            return CopyOther(first % 16, second);
        }
    }

    void Expect(bool holds, const char* what)
    {
        if (!holds && mDifference == nullptr) {
            mDifference = what;
        }
    }
    void ExpectResult(int32 result, std::size_t expected)
    {
        Expect(result == static_cast<int32>(expected), "the result differs");
    }

    // The upper half of the bytes are counts that no memory holds.
    static uint32 CountFrom(unsigned byte)
    {
        return byte < 0x80 ? byte % 32u : 0xFFFFFFFFu - (byte & 0x7Fu) * 0x1000000u;
    }
    static bool IsHuge(uint32 count) { return count > 0x1FFFFFFF; }

    RCPtr<Item> Pick(unsigned byte) const
    {
        const uint32 index = byte % (kPoolSize + 1);
        return index == kPoolSize ? nullptr : mPool[index];
    }
    auto At(std::size_t index) { return mModel.begin() + static_cast<std::ptrdiff_t>(index); }

    void InsertSlots(uint32 index, uint32 count)
    {
        if (!IsHuge(count) && mModel.size() + count > kLargestModel) {
            return;
        }
        const int32 result =
            mIsReadOnly ? mReadOnly.Insert(index, count) : mArray.Insert(index, count);
        if (count != 0 && index > mModel.size()) {
            return Expect(result == kResultOutOfRange, "an index after the end was accepted");
        }
        if (IsHuge(count)) {
            return Expect(result == kResultFailure, "a huge count was accepted");
        }
        if (count != 0) {
            mModel.insert(At(index), count, nullptr);
        }
        ExpectResult(result, mModel.size());
    }

    void InsertItem(uint32 index, const RCPtr<Item>& item)
    {
        if (mModel.size() >= kLargestModel) {
            return;
        }
        const int32 result =
            mIsReadOnly ? mReadOnly.InsertItem(index, item) : mArray.InsertItem(index, item);
        if (index > mModel.size()) {
            return Expect(result == kResultOutOfRange, "an index after the end was accepted");
        }
        mModel.insert(At(index), item.Get());
        ExpectResult(result, index);
    }

    void InsertOwnItem(uint32 index, unsigned which)
    {
        if (mModel.empty() || mModel.size() >= kLargestModel || index > mModel.size()) {
            return;
        }
        const uint32 source = which % static_cast<uint32>(mModel.size());
        Item* const item = mModel[source];
        if (mIsReadOnly) {
            mReadOnly.InsertItem(index, *mReadOnly.GetAt(source));
        } else {
            mArray.InsertItem(index, *mArray.GetAt(source));
        }
        mModel.insert(At(index), item);
    }

    void AppendItem(const RCPtr<Item>& item)
    {
        if (mModel.size() >= kLargestModel) {
            return;
        }
        ExpectResult(mIsReadOnly ? mReadOnly.AppendItem(item) : mArray.AppendItem(item),
                     mModel.size());
        mModel.push_back(item.Get());
    }

    void RemoveItem(uint32 index, RCPtr<Item> removed)
    {
        const Item* const former = removed.Get();
        ConstRCPtr<Item> readOnly = removed;
        try {
            const int32 result = mIsReadOnly ? mReadOnly.RemoveItem(index, readOnly)
                                             : mArray.RemoveItem(index, removed);
            if (index >= mModel.size()) {
                return Expect(false, "an index after the end was accepted");
            }
            Expect((mIsReadOnly ? readOnly.Get() : removed.Get()) == mModel[index],
                   "another object was removed");
            mModel.erase(At(index));
            ExpectResult(result, mModel.size());
        } catch (const std::out_of_range&) {
            Expect(index >= mModel.size() && removed.Get() == former && readOnly.Get() == former,
                   "the removal was refused");
        }
    }

    void RemoveIntoOwnItem(uint32 index, unsigned which)
    {
        if (index >= mModel.size()) {
            return;
        }
        const uint32 target = which % static_cast<uint32>(mModel.size());
        const int32 result = mArray.RemoveItem(index, *mArray.GetAt(target));
        mModel[target] = nullptr;
        std::swap(mModel[target], mModel[index]);
        mModel.erase(At(index));
        ExpectResult(result, mModel.size());
    }

    void RemoveLast(RCPtr<Item> removed)
    {
        ConstRCPtr<Item> readOnly = removed;
        const int32 result =
            mIsReadOnly ? mReadOnly.RemoveLast(readOnly) : mArray.RemoveLast(removed);
        const Item* const got = mIsReadOnly ? readOnly.Get() : removed.Get();
        if (mModel.empty()) {
            return Expect(result == kResultFailure && got == nullptr, "nothing was removed");
        }
        Expect(got == mModel.back(), "another object was removed");
        mModel.pop_back();
        ExpectResult(result, mModel.size());
    }

    void Remove(uint32 index, uint32 count)
    {
        const std::size_t present = index < mModel.size() ? mModel.size() - index : 0;
        const std::size_t removed = std::min<std::size_t>(count, present);
        try {
            const int32 result =
                mIsReadOnly ? mReadOnly.Remove(index, count) : mArray.Remove(index, count);
            Expect(removed == count, "more was removed than there was");
            ExpectResult(result, mModel.size() - removed);
        } catch (const std::out_of_range&) {
            Expect(removed < count, "the removal was refused");
        }
        if (removed != 0) {
            mModel.erase(At(index), At(index + removed));
        }
    }

    void SetCount(uint32 count)
    {
        const int32 result = mIsReadOnly ? mReadOnly.SetCount(count) : mArray.SetCount(count);
        if (IsHuge(count)) {
            return Expect(result == kResultFailure, "a huge count was accepted");
        }
        mModel.resize(count, nullptr);
        ExpectResult(result, count);
    }

    void Swap(uint32 left, uint32 right)
    {
        if (left >= mModel.size() || right >= mModel.size()) {
            return Expect(mArray.Swap(left, right) == kResultOutOfRange,
                          "an index after the end was accepted");
        }
        ExpectResult(mIsReadOnly ? mReadOnly.Swap(left, right) : mArray.Swap(left, right), 0);
        std::swap(mModel[left], mModel[right]);
    }

    void AppendItself()
    {
        if (mModel.size() * 2 > kLargestModel) {
            return;
        }
        const int32 result = mIsReadOnly ? mReadOnly.Append(mReadOnly) : mArray.Append(mArray);
        mModel.resize(mModel.size() * 2, nullptr);
        ExpectResult(result, mModel.size());
    }

    void AssignThroughBothViews(unsigned first, unsigned second)
    {
        if (mModel.empty()) {
            return;
        }
        const uint32 index = first % static_cast<uint32>(mModel.size());
        Item** const slot = reinterpret_cast<Item**>(mArray.GetPtr()) + index;
        *mArray.GetAt(index) = Pick(first);
        Expect(mReadOnly.GetAt(index)->Get() == Pick(first).Get() && *slot == Pick(first).Get(),
               "the read-only view has not changed");
        *mReadOnly.GetAt(index) = Pick(second);
        Expect(mArray.GetAt(index)->Get() == Pick(second).Get() && *slot == Pick(second).Get(),
               "the view with write access has not changed");
        mModel[index] = Pick(second).Get();
    }

    void Fill(Array& other, std::vector<Item*>& items, unsigned count, unsigned which) const
    {
        for (unsigned added = 0; added < count; ++added) {
            other.AppendItem(Pick(which + added));
            items.push_back(Pick(which + added).Get());
        }
    }

    void AppendOther(unsigned count, unsigned which)
    {
        if (mModel.size() + count > kLargestModel) {
            return;
        }
        Array other;
        std::vector<Item*> items;
        Fill(other, items, count, which);
        const ConstArray& readOnlyOther = other;
        const int32 result = mIsReadOnly ? mReadOnly.Append(readOnlyOther) : mArray.Append(other);
        mModel.resize(mModel.size() + count, nullptr);
        std::copy(items.begin(), items.end(), mModel.begin());
        ExpectResult(result, mModel.size());
    }

    void CopyOther(unsigned count, unsigned which)
    {
        Array other;
        mModel.clear();
        Fill(other, mModel, count, which);
        const ConstArray& readOnlyOther = other;
        ExpectResult(mIsReadOnly ? mReadOnly.Copy(readOnlyOther) : mArray.Copy(other), count);
    }

    void Check()
    {
        if (mArray.GetCount() != mModel.size()) {
            return Expect(false, "the count differs");
        }
        const Item* const* const slots = reinterpret_cast<Item**>(mArray.GetPtr());
        auto walk = mReadOnly.GetBegin();
        std::array<int32, kPoolSize> held{};
        for (uint32 index = 0; index < mModel.size(); ++index) {
            Expect(walk.GetCurrentMoveNext()->Get() == mModel[index] &&
                       mArray.GetAt(index)->Get() == mModel[index] && slots[index] == mModel[index],
                   "a slot differs");
            for (uint32 which = 0; which < kPoolSize; ++which) {
                held[which] += mPool[which].Get() == mModel[index] ? 1 : 0;
            }
        }
        Expect(walk == mReadOnly.GetEnd(), "the walk does not end at the end");
        for (uint32 which = 0; which < kPoolSize; ++which) {
            Expect(mPool[which]->GetReferenceCount() == 1 + held[which], "a count differs");
        }
    }

    std::array<RCPtr<Item>, kPoolSize> mPool;
    Array mArray;
    ConstArray& mReadOnly = mArray;
    std::vector<Item*> mModel;
    bool mIsReadOnly = false;
    const char* mDifference = nullptr;
};

} // namespace QX
