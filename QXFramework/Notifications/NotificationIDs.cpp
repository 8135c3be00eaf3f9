// NotificationIDs.cpp - the process-wide table of notification names.

#include "NameIndex.h"

#include <QX/Mutex.h>
#include <QX/Notification.h>

#include <atomic>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace QX {
namespace {

using Names = StringArrayT<char, unsigned short>;

// Finds known names, and has the lock that is held while a name is added. That lock may be taken
// inside the lock of the parked notifications, and no other lock is taken inside it.
struct Lookup
{
    explicit Lookup(Names& table);
    ~Lookup();
    Lookup(const Lookup&) = delete;
    Lookup& operator=(const Lookup&) = delete;

    Names& names; ///< the table, which is built before and ends after
    NameIndex index;
    Mutex mutex;
};

// Null before the lookup is built and after its end.
constinit std::atomic<Lookup*> gLookup = nullptr;
constinit bool gAreNamesGone = false;

// The strings of a table that has ended, which are never freed.
constinit const Names* gEndedNames = nullptr;

Lookup::Lookup(Names& table)
    : names(table)
{
    gLookup.store(this, std::memory_order_release);
}

Lookup::~Lookup()
{
    gLookup.store(nullptr, std::memory_order_relaxed);
    gAreNamesGone = true;
    // An ID is valid until the process exits, and static objects that are destroyed later still
    // pass IDs back, to unregister from what they registered for.
    if (names.GetCount() != 0) {
        gEndedNames = new (std::nothrow) Names(std::move(names));
    }
}

// After the end of the table no name is entered: an unknown name is its own ID.
const char* FindEnded(const char* name)
{
    const uint32 count = gEndedNames != nullptr ? gEndedNames->GetCount() : 0;
    for (uint32 index = 0; index < count; ++index) {
        const char* const id = gEndedNames->GetAt(index)->CStr();
        if (std::strcmp(id, name) == 0) {
            return id;
        }
    }
    return name;
}

// The empty strings are built before the table and so outlive all that uses names: a client makes
// strings while it unregisters at the process's exit.
Names MakeTable()
{
    static_cast<void>(StringT<char, unsigned short>::GetEmpty());
    static_cast<void>(StringT<unsigned short, char>::GetEmpty());
    return Names();
}

// The caller is inside the lock. If there is no memory, index and table stay as they are.
const char* AddName(Names& names, NameIndex& index, const char* name, uint32 hash)
{
    index.ReserveOne();
    const int32 place = names.AppendItem(StringT<char, unsigned short>(name));
    const char* const id = names.GetAt(static_cast<uint32>(place))->CStr();
    index.Add(id, hash);
    return id;
}

} // namespace

StringArrayT<char, unsigned short>& LNotification::GetNotificationIDs()
{
    // Built on first use, so that names work before and after the other static objects.
    static Names sNotificationIDs = MakeTable();
    // Built after the table, and so gone before it.
    static Lookup sLookup(sNotificationIDs);
    return sNotificationIDs;
}

const char* LNotification::GetNotificationID(const char* name)
{
    if (name == nullptr || *name == '\0') {
        return nullptr;
    }
    Lookup* lookup = gLookup.load(std::memory_order_acquire);
    if (lookup == nullptr) {
        if (gAreNamesGone) {
            return FindEnded(name);
        }
        GetNotificationIDs();
        lookup = gLookup.load(std::memory_order_acquire);
    }
    // Entries are unique, so searching by content finds an ID that is passed back as well.
    const std::string_view text(name);
    const uint32 hash = NameIndex::Hash(text);
    if (const char* const id = lookup->index.Find(text, hash)) {
        return id;
    }
    const MutexLock lock(lookup->mutex);
    const char* const id = lookup->index.Find(text, hash);
    return id != nullptr ? id : AddName(lookup->names, lookup->index, name, hash);
}

} // namespace QX
