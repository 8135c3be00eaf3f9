// NotificationIDs.cpp - the process-wide table of notification names.

#include "NameArray.h"
#include "NameIndex.h"
#include "NameStore.h"

#include <QX/Mutex.h>
#include <QX/Notification.h>

#include <string_view>

namespace QX {
namespace {

// The names, what finds them, the strings that show them, and the lock. The lock is a leaf: it is
// taken under the lock of the parked notifications at most, and nothing is taken under it.
struct NameTable
{
    NameTable() = default;
    ~NameTable();
    NameTable(const NameTable&) = delete;
    NameTable& operator=(const NameTable&) = delete;

    NameIndex index;
    NameStore names;
    Mutex mutex; ///< of the names, and of all additions
    NameArray array{names, mutex};
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

const char* AddName(NameTable& table, std::string_view name, uint32 hash)
{
    table.index.ReserveOne();
    const char* const id = table.names.Add(name);
    table.index.Add(id, hash);
    return id;
}

} // namespace

StringArrayT<char, unsigned short>& LNotification::GetNotificationIDs()
{
    return GetNameTable().array;
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
    return id != nullptr ? id : AddName(table, text, hash);
}

} // namespace QX
