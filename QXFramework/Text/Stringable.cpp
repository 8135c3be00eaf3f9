// Stringable.cpp - the text of a counted object, defined in the lowest folder that has strings.

#include <QX/RefCountedObject.h>
#include <QX/String.h>

namespace QX {

StringT<char> LRefCountedObject::ToString() const
{
    return StringT<char>("PKN2QX17LRefCountedObjectE");
}

} // namespace QX
