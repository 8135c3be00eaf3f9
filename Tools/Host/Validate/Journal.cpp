// Journal.cpp - events in shared memory, and calls as text.

#include "Tools/Host/Validate/Journal.h"

#include "Tools/Common/Time.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <sys/mman.h>

namespace Validate {
namespace {

/// The bytes that are kept of an event's data.
std::size_t CountKept(const Event& event)
{
    return std::min(std::size_t{event.dataSize}, Event::kMostData);
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
    event.nanoseconds = Tools::GetTime();
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

void CopyText(char* field, std::size_t size, const std::string& text)
{
    const std::size_t length = std::min(size - 1, text.size());
    std::memcpy(field, text.data(), length);
    field[length] = '\0';
}

std::string DescribeCall(const Event& call)
{
    return Recording::DescribeCall(call, call.data, CountKept(call));
}

Recording::Events TakeEvents(const Journal& journal)
{
    Recording::Events events;
    for (UInt32 index = journal.GetFirst(); index < journal.GetCount(); ++index) {
        const Event& event = journal.Get(index);
        events.push_back({static_cast<const Recording::EventFacts&>(event),
                          event.thrown,
                          "",
                          {event.data, event.data + CountKept(event)}});
    }
    return events;
}

} // namespace Validate
