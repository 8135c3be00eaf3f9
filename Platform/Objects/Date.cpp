// Date.cpp - points in time.

#include "Objects/Date.h"

#include <functional>

namespace {

bool EqualDate(const Standin::Object* left, const Standin::Object* right)
{
    return static_cast<const __CFDate*>(left)->mTime == static_cast<const __CFDate*>(right)->mTime;
}

CFHashCode HashDate(const Standin::Object* object)
{
    return static_cast<CFHashCode>(
        std::hash<CFAbsoluteTime>()(static_cast<const __CFDate*>(object)->mTime));
}

} // namespace

const Standin::Type __CFDate::kType = {Standin::kDateType, "CFDate", &Standin::Destroy<__CFDate>,
                                       &EqualDate, &HashDate};

CFTypeID CFDateGetTypeID(void)
{
    return Standin::kDateType;
}

CFDateRef CFDateCreate(CFAllocatorRef, CFAbsoluteTime at)
{
    return Standin::Make<__CFDate>(at);
}

CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef theDate)
{
    return Standin::As<__CFDate>(theDate, "CFDateGetAbsoluteTime").mTime;
}
