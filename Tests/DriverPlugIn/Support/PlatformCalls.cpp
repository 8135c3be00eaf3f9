// PlatformCalls.cpp - the functions that stand between the plug-in and the platform.

#include "DriverPlugIn/Support/PlatformCalls.h"

#include <QX/Exception.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <set>

namespace {

struct State
{
    bool isServerPresent = false;
    std::set<Call> failing;
    std::set<Call> throwing;
    std::map<Call, std::function<void()>> during;
    std::deque<SInt32> statuses;
    std::vector<std::string> journal;
    std::vector<SentMessage> sent;
    std::vector<_PlugInInfo> appended;
    std::vector<std::string> portNames;
    // What a remote port points at: its number.
    std::deque<int> ports;
    std::map<CFTypeRef, std::string> names;
    std::map<void*, std::size_t> blocks;
};

State gState;

// Plain words, because blocks are allocated before the constructors of this file have run.
bool gRecordsBlocks = false;
bool gPoisons = false;
std::size_t gRefusedSize = 0;
int gScansToHidden = 0;
int gRecordingDepth = 0;

/// While one lives, what is allocated is the recorder's and not the plug-in's.
class Recording
{
public:
    Recording() { ++gRecordingDepth; }
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;
    ~Recording() { --gRecordingDepth; }
};

std::string Describe(const void* pointer)
{
    return pointer == nullptr ? "null" : "set";
}

std::string Describe(CFStringRef string)
{
    char text[256] = "";
    CFStringGetCString(string, text, sizeof(text), kCFStringEncodingUTF8);
    return text;
}

std::string DescribeFourCharCode(SInt32 code)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += static_cast<char>(static_cast<UInt32>(code) >> shift & 0xFF);
    }
    return text;
}

/// Writes the call into the journal; true if it is to give null.
bool Begin(Call call, const std::string& entry)
{
    gState.journal.push_back(entry);
    if (const auto during = gState.during.extract(call)) {
        during.mapped()();
    }
    if (gState.throwing.count(call) != 0) {
        throw QX::Exception<std::runtime_error>("thrown below");
    }
    return gState.failing.count(call) != 0;
}

/// Tells whether this request for memory is the one to be refused.
bool IsRefused(std::size_t size)
{
    if (gRecordingDepth != 0 || gRefusedSize == 0 || size != gRefusedSize) {
        return false;
    }
    gRefusedSize = 0;
    return true;
}

/// Throws if a `new` of this size is to be refused.
void ThrowIfRefused(std::size_t size)
{
    if (IsRefused(size)) {
        throw std::bad_alloc();
    }
}

std::string GetName(const void* object)
{
    const auto found = gState.names.find(object);
    return found != gState.names.end() ? found->second : "a stranger";
}

template <class Ref>
Ref Name(Ref object, const char* name)
{
    if (object != nullptr) {
        gState.names[object] = name;
    }
    return object;
}

} // namespace

void PlatformCalls::Reset()
{
    gRecordsBlocks = false;
    gPoisons = false;
    gRefusedSize = 0;
    gScansToHidden = 0;
    gState = State();
}

void PlatformCalls::SetServerPresent(bool isPresent)
{
    gState.isServerPresent = isPresent;
}

void PlatformCalls::Fail(Call call)
{
    gState.failing.insert(call);
}

void PlatformCalls::Throw(Call call)
{
    gState.throwing.insert(call);
}

void PlatformCalls::Allow(Call call)
{
    gState.failing.erase(call);
    gState.throwing.erase(call);
}

void PlatformCalls::AllowAll()
{
    gState.failing.clear();
    gState.throwing.clear();
}

void PlatformCalls::RunDuring(Call call, std::function<void()> other)
{
    gState.during[call] = std::move(other);
}

void PlatformCalls::AnswerSends(std::deque<SInt32> statuses)
{
    gState.statuses = std::move(statuses);
}

void PlatformCalls::RefuseMemory(std::size_t size)
{
    gRefusedSize = size;
}

void PlatformCalls::PoisonAllocations()
{
    gPoisons = true;
}

void PlatformCalls::RecordBlocks()
{
    gRecordsBlocks = true;
}

void PlatformCalls::HideRecordsFromScan(int scan)
{
    gScansToHidden = scan;
}

const std::vector<std::string>& PlatformCalls::GetJournal()
{
    return gState.journal;
}

void PlatformCalls::ClearJournal()
{
    gState.journal.clear();
}

const std::vector<SentMessage>& PlatformCalls::GetSent()
{
    return gState.sent;
}

void PlatformCalls::ClearSent()
{
    gState.sent.clear();
}

const std::vector<_PlugInInfo>& PlatformCalls::GetAppended()
{
    return gState.appended;
}

const std::vector<std::string>& PlatformCalls::GetPortNames()
{
    return gState.portNames;
}

int PlatformCalls::CountPorts()
{
    return static_cast<int>(gState.ports.size());
}

// What the linker puts in the place of the wrapped functions, and the functions themselves.
extern "C" {

void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size);
void __real_free(void* block);
void __wrap_free(void* block);

decltype(CFArrayCreateMutable) __real_CFArrayCreateMutable, __wrap_CFArrayCreateMutable;
decltype(CFArrayAppendValue) __real_CFArrayAppendValue, __wrap_CFArrayAppendValue;
decltype(CFArrayRemoveValueAtIndex) __real_CFArrayRemoveValueAtIndex,
    __wrap_CFArrayRemoveValueAtIndex;
decltype(CFArrayGetCount) __real_CFArrayGetCount, __wrap_CFArrayGetCount;
decltype(CFStringCreateWithFormat) __real_CFStringCreateWithFormat, __wrap_CFStringCreateWithFormat;
decltype(CFDictionaryCreateMutable) __real_CFDictionaryCreateMutable,
    __wrap_CFDictionaryCreateMutable;
decltype(CFDictionaryAddValue) __real_CFDictionaryAddValue, __wrap_CFDictionaryAddValue;
decltype(CFNumberCreate) __real_CFNumberCreate, __wrap_CFNumberCreate;
decltype(CFDataCreate) __real_CFDataCreate, __wrap_CFDataCreate;
decltype(CFPropertyListCreateXMLData) __real_CFPropertyListCreateXMLData,
    __wrap_CFPropertyListCreateXMLData;
decltype(CFRelease) __real_CFRelease, __wrap_CFRelease;
decltype(CFMessagePortCreateRemote) __wrap_CFMessagePortCreateRemote;
decltype(CFMessagePortSendRequest) __wrap_CFMessagePortSendRequest;

#if __SIZEOF_SIZE_T__ == 8
void* __real__Znwm(std::size_t size);
void* __wrap__Znwm(std::size_t size);
void* __real__Znam(std::size_t size);
void* __wrap__Znam(std::size_t size);
#define REAL_NEW __real__Znwm
#define WRAP_NEW __wrap__Znwm
#define REAL_NEW_ARRAY __real__Znam
#define WRAP_NEW_ARRAY __wrap__Znam
#else
void* __real__Znwj(std::size_t size);
void* __wrap__Znwj(std::size_t size);
void* __real__Znaj(std::size_t size);
void* __wrap__Znaj(std::size_t size);
#define REAL_NEW __real__Znwj
#define WRAP_NEW __wrap__Znwj
#define REAL_NEW_ARRAY __real__Znaj
#define WRAP_NEW_ARRAY __wrap__Znaj
#endif

void* WRAP_NEW(std::size_t size)
{
    ThrowIfRefused(size);
    return REAL_NEW(size);
}

void* WRAP_NEW_ARRAY(std::size_t size)
{
    ThrowIfRefused(size);
    return REAL_NEW_ARRAY(size);
}

void* __wrap_malloc(std::size_t size)
{
    void* const block = IsRefused(size) ? nullptr : __real_malloc(size);
    if (block != nullptr && gPoisons) {
        std::memset(block, 0xA5, size);
    }
    if (gRecordsBlocks) {
        gState.blocks[block] = size;
        gState.journal.push_back("allocate " + std::to_string(size));
    }
    return block;
}

void __wrap_free(void* block)
{
    if (!gRecordsBlocks) {
        __real_free(block);
        return;
    }
    const auto found = gState.blocks.find(block);
    if (found != gState.blocks.end()) {
        gState.journal.push_back("free " + std::to_string(found->second));
        gState.blocks.erase(found);
    }
    __real_free(block);
}

CFMutableArrayRef __wrap_CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                              const CFArrayCallBacks* callBacks)
{
    const Recording recording;
    const bool fails =
        Begin(Call::kArrayCreate, "create array " + Describe(allocator) + " " +
                                      std::to_string(capacity) + " " + Describe(callBacks));
    return fails ? nullptr
                 : Name(__real_CFArrayCreateMutable(allocator, capacity, callBacks), "array");
}

void __wrap_CFArrayAppendValue(CFMutableArrayRef array, const void* value)
{
    const Recording recording;
    gState.journal.push_back("append " + Describe(value));
    if (value != nullptr) {
        _PlugInInfo record;
        std::memcpy(&record, value, sizeof(record));
        gState.appended.push_back(record);
    }
    __real_CFArrayAppendValue(array, value);
}

void __wrap_CFArrayRemoveValueAtIndex(CFMutableArrayRef array, CFIndex index)
{
    const Recording recording;
    gState.journal.push_back("remove " + std::to_string(index));
    __real_CFArrayRemoveValueAtIndex(array, index);
}

CFIndex __wrap_CFArrayGetCount(CFArrayRef array)
{
    if (gScansToHidden > 0 && --gScansToHidden == 0) {
        return 0;
    }
    return __real_CFArrayGetCount(array);
}

CFStringRef __wrap_CFStringCreateWithFormat(CFAllocatorRef allocator, CFDictionaryRef options,
                                            CFStringRef format, ...)
{
    const Recording recording;
    va_list arguments;
    va_start(arguments, format);
    const char* const argument = va_arg(arguments, const char*);
    va_end(arguments);
    const bool fails = Begin(Call::kStringCreate, "create name " + Describe(allocator) + " " +
                                                      Describe(options) + " " + Describe(format));
    if (fails) {
        return nullptr;
    }
    return Name(__real_CFStringCreateWithFormat(allocator, options, format, argument), "name");
}

CFMessagePortRef __wrap_CFMessagePortCreateRemote(CFAllocatorRef allocator, CFStringRef name)
{
    const Recording recording;
    gState.portNames.push_back(Describe(name));
    const bool fails = Begin(Call::kPortOpen, "open port " + Describe(allocator));
    if (fails || !gState.isServerPresent) {
        return nullptr;
    }
    const int number = static_cast<int>(gState.ports.size()) + 1;
    return reinterpret_cast<CFMessagePortRef>(&gState.ports.emplace_back(number));
}

SInt32 __wrap_CFMessagePortSendRequest(CFMessagePortRef remote, SInt32 messageID, CFDataRef data,
                                       CFTimeInterval sendTimeout, CFTimeInterval receiveTimeout,
                                       CFStringRef replyMode, CFDataRef* returnData)
{
    const Recording recording;
    Begin(Call::kSend, "send " + DescribeFourCharCode(messageID));
    SentMessage message;
    message.port = remote;
    message.portNumber = remote != nullptr ? *reinterpret_cast<const int*>(remote) : 0;
    message.id = messageID;
    message.hasData = data != nullptr;
    if (data != nullptr) {
        message.data.assign(reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
                            static_cast<std::size_t>(CFDataGetLength(data)));
    }
    message.sendTimeoutSeconds = sendTimeout;
    message.receiveTimeoutSeconds = receiveTimeout;
    message.replyMode = replyMode;
    message.takesReply = returnData != nullptr;
    gState.sent.push_back(message);
    if (gState.statuses.empty()) {
        return kCFMessagePortSuccess;
    }
    const SInt32 status = gState.statuses.front();
    gState.statuses.pop_front();
    return status;
}

CFMutableDictionaryRef
__wrap_CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                 const CFDictionaryValueCallBacks* valueCallBacks)
{
    const Recording recording;
    const bool fails =
        Begin(Call::kDictionaryCreate, "create dictionary " + Describe(allocator) + " " +
                                           std::to_string(capacity) + " " + Describe(keyCallBacks) +
                                           " " + Describe(valueCallBacks));
    return fails ? nullptr
                 : Name(__real_CFDictionaryCreateMutable(allocator, capacity, keyCallBacks,
                                                         valueCallBacks),
                        "dictionary");
}

void __wrap_CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key,
                                 const void* value)
{
    const Recording recording;
    gState.journal.push_back("add " + GetName(value) + " as " +
                             Describe(static_cast<CFStringRef>(key)));
    __real_CFDictionaryAddValue(dictionary, key, value);
}

CFNumberRef __wrap_CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void* value)
{
    const Recording recording;
    const bool fails = Begin(Call::kNumberCreate, "create number " + Describe(allocator) + " " +
                                                      std::to_string(static_cast<int>(type)));
    return fails ? nullptr : Name(__real_CFNumberCreate(allocator, type, value), "number");
}

CFDataRef __wrap_CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length)
{
    const Recording recording;
    const bool fails = Begin(Call::kDataCreate,
                             "create data " + Describe(allocator) + " " + std::to_string(length));
    return fails ? nullptr : Name(__real_CFDataCreate(allocator, bytes, length), "data");
}

CFDataRef __wrap_CFPropertyListCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef list)
{
    const Recording recording;
    const bool fails = Begin(Call::kDocumentCreate,
                             "create document " + Describe(allocator) + " of " + GetName(list));
    return fails ? nullptr : Name(__real_CFPropertyListCreateXMLData(allocator, list), "document");
}

void __wrap_CFRelease(CFTypeRef object)
{
    const Recording recording;
    gState.journal.push_back("release " + GetName(object));
    gState.names.erase(object);
    __real_CFRelease(object);
}

} // extern "C"

std::vector<std::string> PlatformCalls::ReleaseLeftBehind()
{
    std::vector<std::string> names;
    for (const auto& [object, name] : gState.names) {
        names.push_back(name);
        __real_CFRelease(object);
    }
    gState.names.clear();
    return names;
}
