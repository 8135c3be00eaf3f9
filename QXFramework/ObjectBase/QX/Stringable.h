// Stringable.h - the two interfaces at the root of the framework's class tree.
//
// Threads, and what fails: the class that implements them says so.
#pragma once

#include <QX/StringFwd.h>
#include <QX/Types.h>

namespace QX {

class LRefCountedObject;
template <class T>
class RCPtr;

/// Something that can describe itself as text.
class QX_API IStringable
{
public:
    /// Returns the text.
    virtual StringT<char> ToString() const = 0;

protected:
    // Not virtual: no object is deleted through this interface, and the slot belongs to the
    // classes below.
    ~IStringable() = default;
};

/// Something that may be able to take a change back.
class QX_API IUndoable : public IStringable
{
public:
    /// Takes a change of this object back. The class that implements it says what the two objects
    /// mean; the default in LRefCountedObject throws.
    virtual void Undo(const RCPtr<LRefCountedObject>& object, RCPtr<LRefCountedObject>& result) = 0;

protected:
    ~IUndoable() = default;
};

} // namespace QX
