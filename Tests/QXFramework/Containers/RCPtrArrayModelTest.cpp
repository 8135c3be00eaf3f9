// RCPtrArrayModelTest.cpp - random operations through all views against a standard vector.
//
// The views read and write the same slots under different types. A compiler that takes them for
// different objects keeps stale pointers in registers, so this is worth most when optimised.

#include "Support/Witness.h"

#include <QX/RCPtrArray.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <vector>

namespace {

using QX::ConstRCPtr;
using QX::int32;
using QX::RCPtr;
using QX::uint32;
using TestSupport::MakeWitness;
using TestSupport::Witness;

constexpr uint32 kPoolSize = 6;

template <uint32 Grow, uint32 Init>
class Model
{
public:
    explicit Model(uint32 seed)
        : mRandom(seed)
    {
        for (RCPtr<Witness>& item : mPool) {
            item = MakeWitness('A');
        }
    }

    void Step()
    {
        switch (mRandom() % 14) {
        case 0:
            InsertSlots();
            break;
        case 1:
        case 2:
            InsertItem();
            break;
        case 3:
        case 4:
            AppendItem();
            break;
        case 5:
            RemoveItem();
            break;
        case 6:
            RemoveLast();
            break;
        case 7:
            Remove();
            break;
        case 8:
            SetCount();
            break;
        case 9:
            Swap();
            break;
        case 10:
            AssignThroughBothViews();
            break;
        case 11:
            AppendOther();
            break;
        case 12:
            InsertOwnItem();
            break;
        default:
            CopyOther();
            break;
        }
    }

    void Check()
    {
        ASSERT_EQ(mArray.GetCount(), mModel.size());
        Witness* const* const slots = reinterpret_cast<Witness**>(mArray.GetPtr());
        for (uint32 index = 0; index < mModel.size(); ++index) {
            ASSERT_EQ(mArray.GetAt(index)->Get(), mModel[index]);
            ASSERT_EQ(mReadOnly.GetAt(index)->Get(), mModel[index]);
            ASSERT_EQ(slots[index], mModel[index]);
        }
        for (const RCPtr<Witness>& item : mPool) {
            const auto held = std::count(mModel.begin(), mModel.end(), item.Get());
            ASSERT_EQ(item->GetReferenceCount(), 1 + static_cast<int32>(held));
        }
    }

private:
    using Array = QX::RCPtrArray<Witness, Grow, Init>;
    using ConstArray = QX::ConstRCPtrArray<Witness, Grow, Init>;

    uint32 Below(size_t limit) { return static_cast<uint32>(mRandom() % limit); }
    uint32 Size() const { return static_cast<uint32>(mModel.size()); }
    auto At(uint32 index) { return mModel.begin() + static_cast<std::ptrdiff_t>(index); }
    bool IsReadOnlyNext() { return mRandom() % 2 != 0; }

    RCPtr<Witness> Any()
    {
        const uint32 index = Below(kPoolSize + 1);
        return index == kPoolSize ? nullptr : mPool[index];
    }

    void InsertSlots()
    {
        const uint32 index = Below(mModel.size() + 2);
        const uint32 count = Below(4);
        const int32 result =
            IsReadOnlyNext() ? mReadOnly.Insert(index, count) : mArray.Insert(index, count);
        if (count != 0 && index > Size()) {
            EXPECT_EQ(result, QX::kResultOutOfRange);
            return;
        }
        if (count != 0) {
            mModel.insert(At(index), count, nullptr);
        }
        EXPECT_EQ(result, static_cast<int32>(mModel.size()));
    }

    void InsertItem()
    {
        const uint32 index = Below(mModel.size() + 1);
        const RCPtr<Witness> item = Any();
        const int32 result =
            IsReadOnlyNext() ? mReadOnly.InsertItem(index, item) : mArray.InsertItem(index, item);
        mModel.insert(At(index), item.Get());
        EXPECT_EQ(result, static_cast<int32>(index));
    }

    void InsertOwnItem()
    {
        if (mModel.empty()) {
            return;
        }
        const uint32 source = Below(mModel.size());
        const uint32 index = Below(mModel.size() + 1);
        if (IsReadOnlyNext()) {
            mReadOnly.InsertItem(index, *mReadOnly.GetAt(source));
        } else {
            mArray.InsertItem(index, *mArray.GetAt(source));
        }
        Witness* const item = mModel[source];
        mModel.insert(At(index), item);
    }

    void AppendItem()
    {
        const RCPtr<Witness> item = Any();
        const int32 result =
            IsReadOnlyNext() ? mReadOnly.AppendItem(item) : mArray.AppendItem(item);
        EXPECT_EQ(result, static_cast<int32>(mModel.size()));
        mModel.push_back(item.Get());
    }

    void RemoveItem()
    {
        const uint32 index = Below(mModel.size() + 1);
        RCPtr<Witness> removed = Any();
        ConstRCPtr<Witness> readOnly = removed;
        const bool isReadOnly = IsReadOnlyNext();
        if (index == mModel.size()) {
            EXPECT_THROW(isReadOnly ? mReadOnly.RemoveItem(index, readOnly)
                                    : mArray.RemoveItem(index, removed),
                         std::out_of_range);
            return;
        }
        const int32 result =
            isReadOnly ? mReadOnly.RemoveItem(index, readOnly) : mArray.RemoveItem(index, removed);
        EXPECT_EQ(isReadOnly ? readOnly.Get() : removed.Get(), mModel[index]);
        mModel.erase(At(index));
        EXPECT_EQ(result, static_cast<int32>(mModel.size()));
    }

    void RemoveLast()
    {
        RCPtr<Witness> removed = Any();
        const int32 result = mArray.RemoveLast(removed);
        if (mModel.empty()) {
            EXPECT_EQ(result, QX::kResultFailure);
            EXPECT_EQ(removed, nullptr);
            return;
        }
        EXPECT_EQ(removed.Get(), mModel.back());
        mModel.pop_back();
        EXPECT_EQ(result, static_cast<int32>(mModel.size()));
    }

    void Remove()
    {
        const uint32 index = Below(mModel.size() + 1);
        const uint32 count = Below(mModel.size() - index + 1);
        const int32 result =
            IsReadOnlyNext() ? mReadOnly.Remove(index, count) : mArray.Remove(index, count);
        mModel.erase(At(index), At(index + count));
        EXPECT_EQ(result, static_cast<int32>(mModel.size()));
    }

    void SetCount()
    {
        const uint32 count = Below(24);
        EXPECT_EQ(IsReadOnlyNext() ? mReadOnly.SetCount(count) : mArray.SetCount(count),
                  static_cast<int32>(count));
        mModel.resize(count, nullptr);
    }

    void Swap()
    {
        const uint32 left = Below(mModel.size() + 1);
        const uint32 right = Below(mModel.size() + 1);
        if (left >= mModel.size() || right >= mModel.size()) {
            EXPECT_EQ(mArray.Swap(left, right), QX::kResultOutOfRange);
            return;
        }
        EXPECT_EQ(IsReadOnlyNext() ? mReadOnly.Swap(left, right) : mArray.Swap(left, right), 0);
        std::swap(mModel[left], mModel[right]);
    }

    void AssignThroughBothViews()
    {
        if (mModel.empty()) {
            return;
        }
        const uint32 index = Below(mModel.size());
        const RCPtr<Witness> first = Any();
        const RCPtr<Witness> second = Any();
        Witness** const slot = reinterpret_cast<Witness**>(mArray.GetPtr()) + index;
        *mArray.GetAt(index) = first;
        EXPECT_EQ(mReadOnly.GetAt(index)->Get(), first.Get());
        EXPECT_EQ(*slot, first.Get());
        *mReadOnly.GetAt(index) = second;
        EXPECT_EQ(mArray.GetAt(index)->Get(), second.Get());
        EXPECT_EQ(*slot, second.Get());
        mModel[index] = second.Get();
    }

    void AppendOther()
    {
        Array other;
        std::vector<Witness*> items(Below(5));
        for (Witness*& item : items) {
            const RCPtr<Witness> any = Any();
            other.AppendItem(any);
            item = any.Get();
        }
        const int32 result = IsReadOnlyNext()
                                 ? mReadOnly.Append(static_cast<const ConstArray&>(other))
                                 : mArray.Append(other);
        mModel.resize(mModel.size() + items.size(), nullptr);
        std::copy(items.begin(), items.end(), mModel.begin());
        EXPECT_EQ(result, static_cast<int32>(mModel.size()));
    }

    void CopyOther()
    {
        Array other;
        std::vector<Witness*> items(Below(12));
        for (Witness*& item : items) {
            const RCPtr<Witness> any = Any();
            other.AppendItem(any);
            item = any.Get();
        }
        const int32 result = IsReadOnlyNext()
                                 ? mReadOnly.Copy(static_cast<const ConstArray&>(other))
                                 : mArray.Copy(other);
        mModel = items;
        EXPECT_EQ(result, static_cast<int32>(mModel.size()));
    }

    std::mt19937 mRandom;
    std::array<RCPtr<Witness>, kPoolSize> mPool;
    Array mArray;
    ConstArray& mReadOnly = mArray;
    std::vector<Witness*> mModel;
};

template <uint32 Grow, uint32 Init>
void RunModel()
{
    for (uint32 seed = 0; seed < 10; ++seed) {
        SCOPED_TRACE(seed);
        Model<Grow, Init> model(seed);
        for (int step = 0; step < 500; ++step) {
            SCOPED_TRACE(step);
            model.Step();
            model.Check();
            if (testing::Test::HasFailure()) {
                return;
            }
        }
    }
}

TEST(RCPtrArrayModel, TheSmallOneBehavesAsAVector)
{
    RunModel<1, 0>();

    EXPECT_EQ(Witness::GetLiveCount(), 0);
}

TEST(RCPtrArrayModel, TheLargeOneBehavesAsAVector)
{
    RunModel<256, 256>();

    EXPECT_EQ(Witness::GetLiveCount(), 0);
}

TEST(RCPtrArrayModel, AnOddOneBehavesAsAVector)
{
    RunModel<3, 2>();

    EXPECT_EQ(Witness::GetLiveCount(), 0);
}

} // namespace
