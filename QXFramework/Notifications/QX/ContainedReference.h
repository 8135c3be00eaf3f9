// ContainedReference.h - a counted reference of an object to itself, given back once.
#pragma once

#include <QX/RefCountedObject.h>

#include <utility>

namespace QX {

/// Remembers that a reference to an object, held by one of its own parts, is counted as contained.
///
/// The count is added after the reference. It is removed before the reference, and only once,
/// whichever of the calls that dismantle the object comes first. Who takes the count over may
/// remove it later, while holding the object.
///
/// Threads: one at a time, and no other that changes the object's number of contained references.
class ContainedReference
{
public:
    /// Counts the reference of `holder`.
    void Count(LRefCountedObject& object, const void* holder)
    {
        mHolder = holder;
        object.ModifyNumContainedReferences(1);
    }

    /// Removes the count of the reference of `holder`. Does nothing if that is not counted, or no
    /// longer.
    void GiveBack(LRefCountedObject& object, const void* holder)
    {
        if (mHolder == holder && std::exchange(mHolder, nullptr) != nullptr) {
            object.ModifyNumContainedReferences(-1);
        }
    }

    /// Hands the count over to the caller, who then gives it back.
    ContainedReference Take() noexcept { return std::exchange(*this, ContainedReference()); }

private:
    const void* mHolder = nullptr; ///< null if none is counted; only compared
};

} // namespace QX
