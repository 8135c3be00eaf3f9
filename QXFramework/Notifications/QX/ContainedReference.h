// ContainedReference.h - a counted reference of an object to itself, given back once.
#pragma once

#include <QX/RefCountedObject.h>

#include <utility>

namespace QX {

/// Remembers that a reference to an object, held by one of its own parts, is counted as contained.
///
/// The count comes after the reference and goes before it, and goes once, whichever of several ways
/// of dismantling the object comes first.
class ContainedReference
{
public:
    /// Counts the reference of `holder`.
    void Count(LRefCountedObject& object, const void* holder)
    {
        mHolder = holder;
        object.ModifyNumContainedReferences(1);
    }

    /// Takes the count back. Nothing happens if it is not the reference of `holder` that is
    /// counted, or no longer.
    void GiveBack(LRefCountedObject& object, const void* holder)
    {
        if (mHolder == holder && std::exchange(mHolder, nullptr) != nullptr) {
            object.ModifyNumContainedReferences(-1);
        }
    }

    /// Returns what is still counted, which the caller then gives back.
    ContainedReference Take() noexcept { return std::exchange(*this, ContainedReference()); }

private:
    const void* mHolder = nullptr; ///< null if none is counted; only compared
};

} // namespace QX
