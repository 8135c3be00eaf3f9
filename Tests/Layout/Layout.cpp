// Layout.cpp - names every class whose layout on the real target the table beside it fixes.

#include "DriverPlugIn/PlugInInfo.h"

#include "QXFramework/QX.h"

namespace QX {

template class Exception<std::logic_error>;
template class Exception<std::runtime_error>;
template class Exception<std::domain_error>;
template class Exception<std::out_of_range>;
template class RCPtr<LRefCountedObject>;
template class LBufferT<1, 0, 8>;
template class LBufferT<1, 128, 8>;
template class IteratorT<RCPtr<LNotification>>;
template class RCPtrArray<LNotification, 1, 0>;
template class StringArrayT<char, unsigned short>;
template class RCPtrQueue<LNotification, 256>;

} // namespace QX

_PlugInInfo gPlugInInfo;
QX::SystemAllocator gAllocator;
QX::Variant gVariant;
QX::VariantEx gVariantEx;
QX::String gString;
QX::String16 gString16;
QX::Mutex gMutex;
QX::RCPtr<QX::LNotificationCenter> gCenter;
QX::RCPtr<QX::LNotificationCenterManager> gManager;
QX::RCPtr<QX::LNotificationQueue::LPostingReceiver> gPostingReceiver;
QX::RCPtr<QX::LFunctionReceiver> gFunctionReceiver;
