// ThrowingPlatform.cpp - the two platform calls that a bundle of the tests has inside.

#include <CoreFoundation/CoreFoundation.h>

#include <QX/Exception.h>

CFMessagePortRef CFMessagePortCreateRemote(CFAllocatorRef /*allocator*/, CFStringRef /*name*/)
{
    static int sPort;
    return reinterpret_cast<CFMessagePortRef>(&sPort);
}

CFDataRef CFDataCreate(CFAllocatorRef /*allocator*/, const UInt8* /*bytes*/, CFIndex /*length*/)
{
    throw QX::Exception<std::logic_error>("Logic Error : thrown inside");
}
