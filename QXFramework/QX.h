// QX.h - every public header of the framework.
#pragma once

#include <QX/Allocator.h>
#include <QX/Buffer.h>
#include <QX/ConvertUTF.h>
#include <QX/Exception.h>
#include <QX/FunctionReceiver.h>
#include <QX/Iterable.h>
#include <QX/Mutex.h>
#include <QX/Notification.h>
#include <QX/NotificationCenter.h>
#include <QX/NotificationClient.h>
#include <QX/NotificationDistributor.h>
#include <QX/NotificationQueue.h>
#include <QX/RCPtr.h>
#include <QX/RCPtrArray.h>
#include <QX/RCPtrQueue.h>
#include <QX/RefCountedObject.h>
#include <QX/String.h>
#include <QX/StringArray.h>
#include <QX/Stringable.h>
#include <QX/Types.h>
#include <QX/Variant.h>
#include <QX/VariantEx.h>
