// NotificationIDs.cpp - the process-wide table of notification names.

#include "NameIndex.h"

#include <QX/Mutex.h>
#include <QX/Notification.h>

#include <new>
#include <string_view>

namespace QX {
namespace {

using Names = StringArrayT<char, unsigned short>;

constinit bool gAreNamesGone = false;

// What answers for known names, and the lock under which names are added. The lock is a leaf: it is
// taken under the lock of the parked notifications at most, and nothing is taken under it.
struct Lookup
{
    Lookup() = default;
    ~Lookup() { gAreNamesGone = true; }
    Lookup(const Lookup&) = delete;
    Lookup& operator=(const Lookup&) = delete;

    NameIndex index;
    Mutex mutex;
};

Lookup& GetLookup()
{
    static Lookup sLookup;
    return sLookup;
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
    if (place < 0) {
        throw std::bad_alloc();
    }
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
    GetLookup();
    return sNotificationIDs;
}

const char* LNotification::GetNotificationID(const char* name)
{
    if (name == nullptr || *name == '\0') {
        return nullptr;
    }
    // Static objects that are destroyed later still pass IDs back, to unregister from what they
    // registered for. Their characters are gone, but addresses are all that is compared.
    if (gAreNamesGone) {
        return name;
    }
    Names& names = GetNotificationIDs();
    Lookup& lookup = GetLookup();
    // Entries are unique, so searching by content finds an ID that is passed back as well.
    const std::string_view text(name);
    const uint32 hash = NameIndex::Hash(text);
    if (const char* const id = lookup.index.Find(text, hash)) {
        return id;
    }
    const MutexLock lock(lookup.mutex);
    const char* const id = lookup.index.Find(text, hash);
    return id != nullptr ? id : AddName(names, lookup.index, name, hash);
}

} // namespace QX
