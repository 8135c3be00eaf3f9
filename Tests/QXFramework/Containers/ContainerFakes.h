// ContainerFakes.h - the smallest containers over the two interfaces.
#pragma once

#include <QX/Iterable.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <list>
#include <vector>

/// A linked list of int: everything that the interface does by itself is left as it is.
///
/// A handle is the address of an element, and the end is an element of its own.
class FakeList : public QX::IIterable<int>
{
public:
    FakeList() = default;
    FakeList(std::initializer_list<int> values)
        : mValues(values)
    {
        mValues.push_back(kEndValue);
    }

    QX::uint32 GetCount() const override
    {
        return mReportedCount != 0 ? mReportedCount : RealCount();
    }

    using IIterable::GetCurrent;
    int* GetCurrent(void* const& handle) override { return static_cast<int*>(handle); }

    void* OffsetIteratorHandle(void* const& handle, int offset) const override
    {
        ++mSteps;
        auto position = mValues.begin();
        while (&*position != handle) {
            ++position;
        }
        for (; offset > 0 && &*position != &mValues.back(); --offset) {
            ++position;
        }
        return const_cast<int*>(&*position);
    }

    void* GetIteratorHandleBegin() const override { return const_cast<int*>(&mValues.front()); }
    void* GetIteratorHandleEnd() const override { return const_cast<int*>(&mValues.back()); }
    int* GetEndElement() { return &mValues.back(); }

    QX::int32 SetCount(QX::uint32 count) override
    {
        ++mSetCounts;
        if (count > mLargestCount || count < mSmallestCount) {
            return static_cast<QX::int32>(RealCount());
        }
        mValues.pop_back();
        mValues.resize(count);
        mValues.push_back(kEndValue);
        return static_cast<QX::int32>(count);
    }

    QX::int32 Insert(QX::uint32 index, QX::uint32 count) override
    {
        if (index > RealCount()) {
            return QX::kResultOutOfRange;
        }
        mValues.insert(std::next(mValues.begin(), static_cast<int>(index)), count, 0);
        return static_cast<QX::int32>(RealCount());
    }

    QX::int32 Remove(QX::uint32 index, QX::uint32 count) override
    {
        const auto first = std::next(mValues.begin(), static_cast<int>(index));
        mValues.erase(first, std::next(first, static_cast<int>(count)));
        return static_cast<QX::int32>(RealCount());
    }

    int* GetPtr() override { return &mValues.front(); }
    const int* GetPtr() const override { return &mValues.front(); }

    std::vector<int> Values() const { return {mValues.begin(), std::prev(mValues.end())}; }

    QX::uint32 mReportedCount = 0; ///< what GetCount says; 0 for the truth
    QX::uint32 mLargestCount = 0xFFFFFFFF;
    QX::uint32 mSmallestCount = 0;
    QX::uint32 mSetCounts = 0;
    mutable QX::uint32 mSteps = 0;

private:
    static constexpr int kEndValue = -1;

    QX::uint32 RealCount() const { return static_cast<QX::uint32>(mValues.size() - 1); }

    std::list<int> mValues{kEndValue};
};

/// A contiguous array of int with what IArray leaves open.
class FakeArray : public QX::IArray<int>
{
public:
    FakeArray() = default;
    FakeArray(std::initializer_list<int> values)
        : mValues(values)
    {}

    QX::uint32 GetCount() const override { return static_cast<QX::uint32>(mValues.size()); }

    using IArray::GetAt;
    int* GetAt(QX::uint32 index) override
    {
        mLastIndex = index;
        return index < GetCount() ? IArray::GetAt(index) : &mElementAtBadIndex;
    }

    QX::int32 SetCount(QX::uint32 count) override
    {
        if (count > mLargestCount) {
            return static_cast<QX::int32>(GetCount());
        }
        mValues.resize(count);
        return static_cast<QX::int32>(count);
    }

    QX::int32 Insert(QX::uint32 index, QX::uint32 count) override
    {
        const auto old = static_cast<std::ptrdiff_t>(mValues.size());
        mValues.resize(mValues.size() + count);
        std::rotate(mValues.begin() + static_cast<int>(index), mValues.begin() + old,
                    mValues.end());
        return static_cast<QX::int32>(GetCount());
    }

    QX::int32 Remove(QX::uint32 index, QX::uint32 count) override
    {
        mLastIndex = index;
        if (index >= GetCount() || count > GetCount() - index) {
            return QX::kResultOutOfRange;
        }
        const auto first = mValues.begin() + static_cast<int>(index);
        mValues.erase(first, first + static_cast<int>(count));
        return static_cast<QX::int32>(GetCount());
    }

    using IArray::GetPtr;
    int* GetPtr() override { return mValues.data(); }

    std::vector<int> mValues;
    QX::uint32 mLargestCount = 0xFFFFFFFF;
    QX::uint32 mLastIndex = 0;
    int mElementAtBadIndex = 0;
};
