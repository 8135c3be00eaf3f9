// Stringable.h - the two interfaces at the root of the framework's class tree.
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
    virtual StringT<char> ToString() const = 0;

protected:
    // Not virtual: nobody deletes through this interface, and the slot belongs to the classes
    // below.
    ~IStringable() = default;
};

/// Something that may be able to take a change back.
class QX_API IUndoable : public IStringable
{
public:
    /// The meaning of the two objects belongs to the class that implements it.
    virtual void Undo(const RCPtr<LRefCountedObject>& object, RCPtr<LRefCountedObject>& result) = 0;

protected:
    ~IUndoable() = default;
};

} // namespace QX
