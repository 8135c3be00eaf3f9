// RefCountedObject.cpp - counting, and the defaults of a counted object.

#include <QX/RefCountedObject.h>

#include <QX/RCPtr.h>
#include <QX/ThrowSites.h>

#include <CoreServices/CoreServices.h>

namespace QX {
namespace {

// Keeps a counter raised for the life of the scope, also when an exception ends it.
class RaisedCounter
{
public:
    explicit RaisedCounter(int32& counter)
        : mCounter(counter)
    {
        IncrementAtomic(&mCounter);
    }
    ~RaisedCounter() { DecrementAtomic(&mCounter); }
    RaisedCounter(const RaisedCounter&) = delete;
    RaisedCounter& operator=(const RaisedCounter&) = delete;

private:
    int32& mCounter;
};

int32 Add(int32 value, int32 delta)
{
    return static_cast<int32>(static_cast<uint32>(value) + static_cast<uint32>(delta));
}

} // namespace

template <>
constinit const RCPtr<LRefCountedObject> RCPtr<LRefCountedObject>::Null{};

LRefCountedObject::~LRefCountedObject() = default;

LRefCountedObject& LRefCountedObject::operator=(const LRefCountedObject&)
{
    ThrowException<std::domain_error>("Invalid Assignment of RefCountedObject",
                                      ThrowSites::kRefCountedAssignment);
}

void LRefCountedObject::Undo(const RCPtr<LRefCountedObject>&, RCPtr<LRefCountedObject>&)
{
    ThrowException<std::logic_error>("Undo() not implemented for RefCountedObject",
                                     ThrowSites::kRefCountedUndo);
}

RCPtr<LRefCountedObject> LRefCountedObject::CreateCopy() const
{
    ThrowException<std::logic_error>("CreateCopy() not implemented for RefCountedObject",
                                     ThrowSites::kRefCountedCreateCopy);
}

int32 LRefCountedObject::AddReference()
{
    return Add(IncrementAtomic(&mReferenceCount), 1);
}

int32 LRefCountedObject::RemoveReference()
{
    // Relaxed loads, one of each: the pair need not be a snapshot (see the header). The number of
    // holders is read only if it matters: a load of a word that was just counted takes longer.
    const int32 contained = GetContainedReferenceCount();
    if (contained > 0 &&
        Add(__atomic_load_n(&mReferenceCount, __ATOMIC_RELAXED), -1) == contained &&
        __atomic_load_n(&mReleasingContained, __ATOMIC_RELAXED) == 0) {
        try {
            const RaisedCounter releasing(mReleasingContained);
            RemoveContainedReferences();
        } catch (...) {
            DropReference();
            throw;
        }
    }
    return DropReference();
}

// After the decrement another thread may delete the object, so nothing of it is read again.
int32 LRefCountedObject::DropReference()
{
    const int32 remaining = Add(DecrementAtomic(&mReferenceCount), -1);
    if (remaining == 0) {
        delete this;
    }
    return remaining;
}

int32 LRefCountedObject::RemoveContainedReferences()
{
    const bool onlyOneHolder = GetContainedReferenceCount() == 0 && GetReferenceCount() == 1;
    return onlyOneHolder ? kResultSuccess : kResultFailure;
}

bool LRefCountedObject::ModifyNumContainedReferences(int32 delta)
{
    const int32 before = GetContainedReferenceCount();
    return CompareAndSwap(static_cast<uint32>(before), static_cast<uint32>(Add(before, delta)),
                          reinterpret_cast<uint32*>(&mContainedReferenceCount)) != 0;
}

int32 LRefCountedObject::AddContainedReference()
{
    const int32 references = AddReference();
    ModifyNumContainedReferences(1);
    return references;
}

void LRefCountedObject::SetUnshareable(bool unshareable)
{
    if (unshareable && GetReferenceCount() >= 2) {
        ThrowException<std::runtime_error>("", ThrowSites::kRefCountedSetUnshareable);
    }
    __atomic_store_n(&mIsShareable, unshareable ? 0u : 1u, __ATOMIC_RELAXED);
}

} // namespace QX
