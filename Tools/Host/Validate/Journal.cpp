// Journal.cpp - events in shared memory, and calls as text.

#include "Tools/Host/Validate/Journal.h"

#include "Tools/Common/Text.h"
#include "Tools/Host/Session.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <new>
#include <sys/mman.h>

namespace Validate {
namespace {

using Host::Action;
using Tools::FormatText;

std::string DescribeSelector(UInt32 selector)
{
    const std::string code = Tools::FormatFourCharCode(selector);
    return code.empty() ? FormatText("0x%08llX", UInt64{selector}) : "'" + code + "'";
}

bool IsStream(Action action)
{
    return action == Action::kStreamInfo || action == Action::kStreamGet ||
           action == Action::kStreamSet;
}

std::string DescribeData(const Event& call)
{
    switch (call.action) {
    case Action::kInfo:
    case Action::kStreamInfo:
        return std::string(call.isSizeNull ? ", null size pointer" : "") +
               (call.isWritableNull ? ", null writable pointer" : "");
    case Action::kGet:
    case Action::kStreamGet:
        return (call.isSizeNull ? std::string(", null size pointer")
                                : FormatText(", room for %llu bytes", UInt64{call.size})) +
               (call.isDataNull ? ", null data pointer" : "");
    default:
        break;
    }
    constexpr std::size_t kMostShown = 16;
    const std::size_t shown = std::min({std::size_t{call.dataSize}, kMostShown, Event::kMostData});
    std::string text = FormatText(", %llu bytes", UInt64{call.size});
    if (call.isDataNull) {
        return text + ", null data pointer";
    }
    return text + (shown > 0 ? ": " + Tools::FormatHex(call.data, shown, " ") : "") +
           (shown < call.dataSize ? " ..." : "");
}

} // namespace

std::unique_ptr<Journal> Journal::Create()
{
    void* const memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        return nullptr;
    }
    // Fresh pages are zeros; values that are not written are not touched either.
    return std::unique_ptr<Journal>(new Journal(static_cast<Shared*>(memory)));
}

Journal::~Journal()
{
    munmap(mShared, sizeof(Shared));
}

Event& Journal::Add()
{
    const UInt32 index = mShared->count.fetch_add(1, std::memory_order_acq_rel);
    Event& event = mShared->events[index % kCapacity];
    event = Event{};
    event.nanoseconds = GetTime();
    return event;
}

const Event* Journal::FindLastCall() const
{
    for (UInt32 index = GetCount(); index > GetFirst(); --index) {
        if (!Get(index - 1).isMessage) {
            return &Get(index - 1);
        }
    }
    return nullptr;
}

UInt64 GetTime()
{
    const auto time = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<UInt64>(std::chrono::duration_cast<std::chrono::nanoseconds>(time).count());
}

void CopyText(char* field, std::size_t size, const std::string& text)
{
    const std::size_t length = std::min(size - 1, text.size());
    std::memcpy(field, text.data(), length);
    field[length] = '\0';
}

std::string DescribeCall(const Event& call)
{
    std::string text = Host::GetEntryPointName(call.action);
    text += FormatText("(device %llu", UInt64{call.device});
    if (call.action != Action::kOpen && call.action != Action::kClose) {
        text += FormatText(", channel %llu, ", UInt64{call.channel});
        if (!IsStream(call.action)) {
            text += call.isInput != 0 ? "input, " : "output, ";
        }
        text += DescribeSelector(call.selector) + DescribeData(call);
    }
    return text + ")";
}

} // namespace Validate
