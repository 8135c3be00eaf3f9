// NameArray.h - the notification names as an array of strings that everybody can look at.
#pragma once

#include "NameStore.h"

#include <QX/Mutex.h>
#include <QX/StringArray.h>

namespace QX {

/// The strings are made when somebody looks: adding a name then costs no string, and few programs
/// look. Each lends its characters from the store, so that its CStr() is the address there.
///
/// Throws: std::bad_alloc out of every operation, with the names so far made into strings.
/// Threads: any number that look, while nobody adds to the store.
class NameArray final : public StringArrayT<char, unsigned short>
{
public:
    /// Both are used, not owned. Names are added to `names` under `mutex`.
    NameArray(const NameStore& names, Mutex& mutex)
        : mNames(names)
        , mMutex(mutex)
    {}

    // All that the inherited operations begin with.
    uint32 GetCount() const override { return UpToDate().Array::GetCount(); }
    String* GetPtr() override { return UpToDate().Array::GetPtr(); }
    const String* GetPtr() const override { return UpToDate().Array::GetPtr(); }
    String* GetAt(uint32 index) override { return UpToDate().Array::GetAt(index); }
    const String* GetAt(uint32 index) const override { return UpToDate().Array::GetAt(index); }
    int32 SetCount(uint32 count) override { return UpToDate().Array::SetCount(count); }

private:
    NameArray& UpToDate() const;
    void AddNewNames();

    const NameStore& mNames;
    Mutex& mMutex;
    NameStore::Place mPlace; ///< behind the last name that has a string
};

} // namespace QX
