// RefCountedObject.h - the counted base class of every shared object.
//
// An LRefCountedObject knows how many holders it has and deletes itself when the last one lets go.
// Its holders are RCPtr and ConstRCPtr (RCPtr.h); it lives on the heap and nowhere else.
//
//     RCPtr<LIBuffer> bytes = LByteBuffer::Create(64, 0, true); // one holder
//     RCPtr<LIBuffer> alias = bytes;                            // two holders, one object
//     alias.Unshare();                                          // one holder each, equal bytes
//
// Some objects are reachable from themselves: a center owns clients that point back at the center.
// Such a reference is also counted as contained, so that the object knows whether only its own
// members still hold it.
//
// Threads: holders may come and go on several threads at once. What else an object has is protected
// by its own class, or not at all.
#pragma once

#include <QX/Stringable.h>
#include <QX/Types.h>

namespace QX {

class QX_API LRefCountedObject : public IUndoable
{
public:
    /// Makes an object with no holder that may be shared.
    LRefCountedObject() noexcept = default;
    /// A copy starts as a new object does: the source's counts and mark are not copied.
    LRefCountedObject(const LRefCountedObject&) noexcept
        : LRefCountedObject()
    {}
    /// Throws: Exception<std::domain_error>, always, also for self-assignment.
    LRefCountedObject& operator=(const LRefCountedObject&);

    // Slot order is fixed; append only.

    /// Returns "PKN2QX17LRefCountedObjectE", whatever the dynamic type is.
    StringT<char> ToString() const override;

    /// For classes that can take a change back, which override it: takes back what made this object
    /// of `object`, and hands over the object before it in `result`.
    ///
    /// Throws: Exception<std::logic_error>, unless overridden.
    void Undo(const RCPtr<LRefCountedObject>& object, RCPtr<LRefCountedObject>& result) override;

    /// Counts one more holder and returns the new number of holders.
    ///
    /// Threads: any thread that holds a reference, or has just made the object. Atomic, no lock.
    virtual int32 AddReference();

    /// Counts one holder less and returns the new number of holders; after 0 the object is gone.
    ///
    /// If the caller's is the only reference from outside, RemoveContainedReferences runs first
    /// and breaks the cycle. That test reads the two counts one after the other, and another thread
    /// may change them in between. If the last two holders let go at the same moment, both may miss
    /// that they are the last, and the cycle stays. If a contained reference goes meanwhile, one of
    /// several holders may look like the last one. The test decides when a cycle is broken, never
    /// when the object is deleted: the decrement alone decides that.
    ///
    /// Throws: what RemoveContainedReferences throws, after the reference has been dropped.
    /// Threads: as AddReference; the destructor runs on the thread that drops the last reference.
    virtual int32 RemoveReference();

    /// Drops the references that this object's own members hold on it.
    ///
    /// RemoveReference calls it when only they and the caller's are left, and ignores the result.
    /// Releases that happen inside do not call it again.
    ///
    /// The default has none to drop: it returns kResultSuccess for an object with one holder and
    /// no contained reference, and kResultFailure otherwise.
    ///
    /// Threads: the one that releases.
    virtual int32 RemoveContainedReferences();

    /// Returns a new object with equal contents and counts of its own.
    ///
    /// Copyable classes override it. The object that they return must be shareable, as the copy
    /// constructor makes it: the first smart pointers to it would copy an unshareable one without
    /// end. The smart pointer that asks for the copy must stay where it is meanwhile. For a slot of
    /// an array that means that the array must not change; only insertions into it allow that.
    ///
    /// Throws: Exception<std::logic_error>, unless overridden.
    /// Threads: any that holds a reference, while no other changes the contents.
    virtual RCPtr<LRefCountedObject> CreateCopy() const;

    virtual ~LRefCountedObject();

    /// Changes the number of contained references by `delta` and returns true, or returns false
    /// with nothing changed if another thread changed it in between. It tries once.
    ///
    /// Threads: as AddReference.
    bool ModifyNumContainedReferences(int32 delta);

    /// Counts one more holder, by AddReference, and tries to count it as contained, by
    /// ModifyNumContainedReferences. If that one attempt fails, only the holder is counted. Returns
    /// the new number of holders.
    ///
    /// Threads: as AddReference.
    int32 AddContainedReference();

    /// Marks the object as one that only a single holder may have: from then on every further
    /// smart pointer to it takes a private copy. `false` takes the mark away and always succeeds.
    ///
    /// Throws: Exception<std::runtime_error> if `unshareable` is true and there are two or more
    /// holders; nothing changes.
    /// Threads: only while no other thread copies a pointer to the object; the count is tested and
    /// the mark set in two steps.
    void SetUnshareable(bool unshareable);

    /// Returns the number of holders. What their other owners wrote into the object before they
    /// let go is visible to a caller who finds itself the only holder.
    int32 GetReferenceCount() const noexcept
    {
        return __atomic_load_n(&mReferenceCount, __ATOMIC_ACQUIRE);
    }
    /// Returns how many of the holders are members of this object itself.
    int32 GetContainedReferenceCount() const noexcept
    {
        return __atomic_load_n(&mContainedReferenceCount, __ATOMIC_RELAXED);
    }
    /// Returns whether the object is without the mark that SetUnshareable sets.
    bool IsShareable() const noexcept
    {
        return __atomic_load_n(&mIsShareable, __ATOMIC_RELAXED) != 0;
    }

private:
    int32 DropReference();

    // All four words change atomically only, and are read by relaxed or acquire loads.
    int32 mReferenceCount = 0;
    int32 mContainedReferenceCount = 0;
    int32 mReleasingContained = 0; ///< non-zero while RemoveReference runs the dismantling
    uint32 mIsShareable = 1;
};

} // namespace QX
