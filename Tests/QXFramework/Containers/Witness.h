// Witness.h - a counted object that writes down what happens to it.
#pragma once

#include <QX/RCPtr.h>
#include <QX/RefCountedObject.h>

#include <atomic>
#include <functional>
#include <string>
#include <utility>

/// Writes "+a", "-a" and "~a" (reference added, removed, object destroyed) for the name 'a'.
class Witness : public virtual QX::LRefCountedObject
{
public:
    explicit Witness(char name, std::string* journal = nullptr)
        : mName(name)
        , mJournal(journal)
    {
        ++sLiveCount;
    }
    Witness(const Witness&) = delete;
    Witness& operator=(const Witness&) = delete;

    ~Witness() override
    {
        Write('~');
        --sLiveCount;
        if (mOnDestroyed) {
            mOnDestroyed();
        }
    }

    QX::int32 AddReference() override
    {
        Write('+');
        return LRefCountedObject::AddReference();
    }

    QX::int32 RemoveReference() override
    {
        Write('-');
        return LRefCountedObject::RemoveReference();
    }

    char GetName() const { return mName; }

    void SetJournal(std::string* journal) { mJournal = journal; }

    /// `action` runs in the destructor, when the holder has already let go.
    void SetOnDestroyed(std::function<void()> action) { mOnDestroyed = std::move(action); }

    static int GetLiveCount() { return sLiveCount; }

private:
    void Write(char event)
    {
        if (mJournal != nullptr) {
            *mJournal += event;
            *mJournal += mName;
            *mJournal += ' ';
        }
    }

    char mName;
    std::string* mJournal;
    std::function<void()> mOnDestroyed;

    inline static std::atomic<int> sLiveCount = 0;
};

inline QX::RCPtr<Witness> MakeWitness(char name, std::string* journal = nullptr)
{
    return QX::RCPtr<Witness>(new Witness(name, journal));
}

/// Returns the names of the objects in a container, '.' for null.
template <class Container>
std::string NamesOf(const Container& container)
{
    std::string names;
    for (QX::uint32 index = 0; index < container.GetCount(); ++index) {
        const auto& item = *container.GetAt(index);
        names += item ? item->GetName() : '.';
    }
    return names;
}
