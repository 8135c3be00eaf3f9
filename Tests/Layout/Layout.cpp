// Layout.cpp - names every class whose layout on the real target the table beside it fixes.

#include "DriverPlugIn/PlugInInfo.h"

#include <QX/Buffer.h>
#include <QX/Exception.h>
#include <QX/RCPtr.h>
#include <QX/Variant.h>

namespace QX {

template class Exception<std::logic_error>;
template class Exception<std::runtime_error>;
template class Exception<std::domain_error>;
template class Exception<std::out_of_range>;
template class RCPtr<LRefCountedObject>;
template class LBufferT<1, 0, 8>;
template class LBufferT<1, 128, 8>;

} // namespace QX

_PlugInInfo gPlugInInfo;
QX::SystemAllocator gAllocator;
QX::Variant gVariant;
