// Containers.cpp - compiles every member of the containers, which are templates, in their folder.

#include <QX/Iterable.h>
#include <QX/RCPtrArray.h>
#include <QX/RCPtrQueue.h>
#include <QX/StringArray.h>

namespace QX {

template class IteratorT<RCPtr<LRefCountedObject>>;
template class RCPtrArray<LRefCountedObject, 1, 0>;
template class RCPtrQueue<LRefCountedObject, 256>;
template class StringArrayT<char, unsigned short>;

} // namespace QX
