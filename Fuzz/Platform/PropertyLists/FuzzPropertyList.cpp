// FuzzPropertyList.cpp - any bytes as a property-list document of the platform's.
//
// A document is refused with a reason, or gives an object that is written and read again without a
// difference: the second document has the bytes of the first. No object is left either way.

#include "FuzzCheck.h"

#include <CoreFoundation/CoreFoundation.h>
#include <Standin/LiveObjects.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

CFPropertyListRef Read(CFDataRef document, CFStringRef& error)
{
    return CFPropertyListCreateFromXMLData(nullptr, document, kCFPropertyListImmutable, &error);
}

/// A reason names the line that is wrong. `size` is the document's.
void CheckReason(CFStringRef error, std::size_t size)
{
    FUZZ_CHECK(error != nullptr);
    // The longest reason quotes a name of the document.
    std::vector<char> text(size + 128);
    FUZZ_CHECK(CFStringGetCString(error, text.data(), static_cast<CFIndex>(text.size()),
                                  kCFStringEncodingUTF8));
    FUZZ_CHECK(std::strncmp(text.data(), "line ", 5) == 0);
    CFRelease(error);
}

bool HasEqualBytes(CFDataRef left, CFDataRef right)
{
    return CFDataGetLength(left) == CFDataGetLength(right) &&
           std::memcmp(CFDataGetBytePtr(left), CFDataGetBytePtr(right),
                       static_cast<std::size_t>(CFDataGetLength(left))) == 0;
}

void CheckRoundTrip(CFPropertyListRef list)
{
    const CFDataRef document = CFPropertyListCreateXMLData(nullptr, list);
    FUZZ_CHECK(document != nullptr);
    CFStringRef error = nullptr;
    const CFPropertyListRef again = Read(document, error);
    FUZZ_CHECK(again != nullptr && error == nullptr);
    const CFDataRef second = CFPropertyListCreateXMLData(nullptr, again);
    FUZZ_CHECK(second != nullptr && HasEqualBytes(document, second));
    CFRelease(second);
    CFRelease(again);
    CFRelease(document);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const SInt32 liveBefore = StandinGetTotalLiveObjectCount();
    const CFDataRef document = CFDataCreate(nullptr, data, static_cast<CFIndex>(size));
    CFStringRef error = nullptr;

    const CFPropertyListRef list = Read(document, error);

    if (list == nullptr) {
        CheckReason(error, size);
    } else {
        FUZZ_CHECK(error == nullptr);
        CheckRoundTrip(list);
        CFRelease(list);
    }
    CFRelease(document);
    FUZZ_CHECK(StandinGetTotalLiveObjectCount() == liveBefore);
    return 0;
}
