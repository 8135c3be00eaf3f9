// NotificationIDs.cpp - the process-wide table of notification names.

#include "Notifications/NameIndex.h"

#include <QX/Mutex.h>
#include <QX/Notification.h>

#include <string_view>

namespace QX {
namespace {

// The names, what finds them, and the lock of both. The lock is a leaf: it is taken under the lock
// of the parked notifications at most, and nothing is taken under it.
struct NameTable
{
    NameTable() = default;
    ~NameTable();
    NameTable(const NameTable&) = delete;
    NameTable& operator=(const NameTable&) = delete;

    StringArrayT<char, unsigned short> names;
    NameIndex index;
    Mutex mutex;
};

constinit bool gIsNameTableGone = false;

NameTable::~NameTable()
{
    gIsNameTableGone = true;
}

// Built on first use, so that names work before and after the other statics.
NameTable& GetNameTable()
{
    static NameTable sTable;
    return sTable;
}

const char* AddName(NameTable& table, const char* name, uint32 hash)
{
    // Of the characters, not of a string that the caller may share: the entry owns its storage.
    const StringT<char, unsigned short> entry(name);
    // Memory ends long before the largest count of an array, which alone is refused.
    const auto index = static_cast<uint32>(table.names.AppendItem(entry));
    const char* const id = table.names.GetAt(index)->CStr();
    try {
        table.index.Add(id, hash);
    } catch (...) {
        StringT<char, unsigned short> removed;
        table.names.RemoveLast(removed);
        throw;
    }
    return id;
}

} // namespace

StringArrayT<char, unsigned short>& LNotification::GetNotificationIDs()
{
    return GetNameTable().names;
}

const char* LNotification::GetNotificationID(const char* name)
{
    // Static objects that are destroyed later still pass IDs back, to unregister from what they
    // registered for. Their characters are gone, but addresses are all that is compared.
    if (gIsNameTableGone) {
        return name;
    }
    if (name == nullptr || *name == '\0') {
        return nullptr;
    }
    NameTable& table = GetNameTable();
    if (table.index.IsPassedBack(name)) {
        return name;
    }
    // Entries are unique, so searching by content finds an ID that is passed back as well.
    const std::string_view text(name);
    const uint32 hash = NameIndex::Hash(text);
    if (const char* const id = table.index.Find(text, hash)) {
        if (id == name) {
            table.index.NotePassedBack(id);
        }
        return id;
    }
    const MutexLock lock(&table.mutex);
    const char* const id = table.index.Find(text, hash);
    return id != nullptr ? id : AddName(table, name, hash);
}

} // namespace QX
