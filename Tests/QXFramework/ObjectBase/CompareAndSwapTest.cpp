// CompareAndSwapTest.cpp - a contained count that changes between its reading and the swap.
//
// The program replaces CompareAndSwap, so that the change happens at exactly that moment.

#include <QX/RCPtr.h>
#include <QX/RefCountedObject.h>

#include <CoreServices/CoreServices.h>

#include <gtest/gtest.h>

extern "C" {
Boolean __real_CompareAndSwap(UInt32 oldValue, UInt32 newValue, UInt32* address);
Boolean __wrap_CompareAndSwap(UInt32 oldValue, UInt32 newValue, UInt32* address);
}

namespace {

int gSwaps = 0;
int gInterferences = 0;

} // namespace

Boolean __wrap_CompareAndSwap(UInt32 oldValue, UInt32 newValue, UInt32* address)
{
    ++gSwaps;
    if (gInterferences > 0) {
        --gInterferences;
        IncrementAtomic(reinterpret_cast<SInt32*>(address));
    }
    return __real_CompareAndSwap(oldValue, newValue, address);
}

namespace {

class InterruptedSwap : public testing::Test
{
protected:
    InterruptedSwap()
    {
        gSwaps = 0;
        gInterferences = 0;
    }

    const QX::RCPtr<QX::LRefCountedObject> object{new QX::LRefCountedObject};
};

TEST_F(InterruptedSwap, IsMadeOnceWhenNothingInterferes)
{
    EXPECT_TRUE(object->ModifyNumContainedReferences(4));

    EXPECT_EQ(gSwaps, 1);
    EXPECT_EQ(object->GetContainedReferenceCount(), 4);
    object->ModifyNumContainedReferences(-4);
}

TEST_F(InterruptedSwap, FailsAfterOneTryAndChangesNothing)
{
    gInterferences = 1;

    EXPECT_FALSE(object->ModifyNumContainedReferences(4));

    EXPECT_EQ(gSwaps, 1);
    EXPECT_EQ(object->GetContainedReferenceCount(), 1) << "only the interference counts";
    object->ModifyNumContainedReferences(-1);
}

TEST_F(InterruptedSwap, DoesNotKeepAddContainedReferenceFromAddingTheReference)
{
    gInterferences = 1;

    const QX::int32 references = object->AddContainedReference();

    EXPECT_EQ(references, 2);
    EXPECT_EQ(gSwaps, 1);
    EXPECT_EQ(object->GetReferenceCount(), 2);
    EXPECT_EQ(object->GetContainedReferenceCount(), 1) << "only the interference counts";
    object->ModifyNumContainedReferences(-1);
    object->RemoveReference();
}

} // namespace
