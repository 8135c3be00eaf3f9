// RCPtrInitTest.cpp - what an object sees of a smart pointer that takes a reference to it.

#include <QX/RCPtr.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>

namespace {

using QX::LRefCountedObject;
using QX::RCPtr;

class Watched : public LRefCountedObject
{
public:
    QX::int32 AddReference() override
    {
        if (onAddReference) {
            onAddReference();
        }
        return LRefCountedObject::AddReference();
    }
    RCPtr<LRefCountedObject> CreateCopy() const override
    {
        ++copies;
        return RCPtr<LRefCountedObject>(new Watched);
    }

    /// Runs before the reference is counted.
    std::function<void()> onAddReference;
    mutable int copies = 0;
};

/// Room for one smart pointer, which can be looked at while its constructor runs.
class Room
{
public:
    template <class Make>
    void Fill(Make make)
    {
        new (mBytes) RCPtr<LRefCountedObject>(make());
    }
    void Empty() { std::launder(reinterpret_cast<RCPtr<LRefCountedObject>*>(mBytes))->~RCPtr(); }

    const void* GetStored() const
    {
        const void* stored;
        std::memcpy(&stored, mBytes, sizeof(stored));
        return stored;
    }

private:
    alignas(RCPtr<LRefCountedObject>) unsigned char mBytes[sizeof(RCPtr<LRefCountedObject>)] = {};
};

TEST(RCPtrInit, StoresThePointerBeforeTheObjectIsAskedForAReference)
{
    using Base = RCPtr<LRefCountedObject>;
    const RCPtr<Watched> object(new Watched);
    const Base base = object;
    const void* const address = base.Get();
    const struct
    {
        const char* what;
        std::function<Base()> make;
    } rows[] = {
        {"from a raw pointer", [&] { return Base(object.Get()); }},
        {"from the same type", [&] { return Base(base); }},
        {"from a derived type", [&] { return Base(object); }},
        {"by a downcast", [&] { return Base::Downcast(object); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Room room;
        const void* seen = nullptr;
        object->onAddReference = [&] { seen = room.GetStored(); };

        room.Fill(row.make);

        EXPECT_EQ(seen, address);
        room.Empty();
    }
    object->onAddReference = nullptr;
}

TEST(RCPtrInit, AnAssignmentStoresThePointerBeforeTheObjectIsAskedForAReference)
{
    const RCPtr<Watched> object(new Watched);
    RCPtr<Watched> holder(new Watched);
    const Watched* seen = nullptr;
    object->onAddReference = [&] { seen = holder.Get(); };

    holder = object;

    EXPECT_EQ(seen, object.Get());
}

TEST(RCPtrInit, MakesNoCopyOfAnObjectThatItsNewReferenceMakesShareable)
{
    const RCPtr<Watched> first(new Watched);
    const RCPtr<Watched> second(new Watched);
    RCPtr<Watched> assigned;
    for (const RCPtr<Watched>& object : {std::cref(first), std::cref(second)}) {
        object->onAddReference = [&held = *object] { held.SetUnshareable(false); };
        object->SetUnshareable(true);
    }

    const RCPtr<Watched> constructed = first;
    assigned = second;

    EXPECT_EQ(constructed, first);
    EXPECT_EQ(assigned, second);
    EXPECT_EQ(first->copies + second->copies, 0);
}

TEST(RCPtrInit, CopiesAnObjectThatItsNewReferenceMakesUnshareable)
{
    const RCPtr<Watched> object(new Watched);
    object->onAddReference = [&] { object->SetUnshareable(true); };

    const RCPtr<Watched> constructed = object;

    EXPECT_NE(constructed, object);
    EXPECT_EQ(object->copies, 1);
    EXPECT_EQ(object->GetReferenceCount(), 1);
}

TEST(RCPtrInit, ARefusedReferenceChangesNothing)
{
    const RCPtr<Watched> object(new Watched);
    RCPtr<Watched> holder(new Watched);
    const RCPtr<Watched> before = holder;
    object->onAddReference = [] { throw std::length_error("no more holders"); };

    EXPECT_THROW(holder = object, std::length_error);
    EXPECT_THROW(RCPtr<Watched> copy(object), std::length_error);

    EXPECT_EQ(holder, before);
    EXPECT_EQ(before->GetReferenceCount(), 2);
    EXPECT_EQ(object->GetReferenceCount(), 1);
}

} // namespace
