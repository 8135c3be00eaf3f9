// Witness.h - a counted object that writes down what is done with it, for tests of order.
//
//     std::string journal;
//     QX::RCPtr<Witness> held(new Witness('a', journal));
//     held = nullptr;
//     journal; // "+a -a ~a "
//
// "+a" is a reference added, "-a" one removed, "=a" a copy made, "!a" the call of
// RemoveContainedReferences, "~a" the end. The copy of 'a' is called 'A'. A witness without a
// journal is only counted.
#pragma once

#include <QX/RCPtr.h>

#include <atomic>
#include <cctype>
#include <functional>
#include <string>

namespace TestSupport {

class Witness : public virtual QX::LRefCountedObject
{
public:
    explicit Witness(char name)
        : Witness(name, nullptr)
    {}
    Witness(char name, std::string& journal)
        : Witness(name, &journal)
    {}
    Witness(const Witness&) = delete;
    Witness& operator=(const Witness&) = delete;
    ~Witness() override
    {
        Write('~');
        --sLiveCount;
        if (onDestruction) {
            onDestruction();
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
    QX::int32 RemoveContainedReferences() override
    {
        Write('!');
        return onDismantling ? onDismantling() : LRefCountedObject::RemoveContainedReferences();
    }
    QX::RCPtr<QX::LRefCountedObject> CreateCopy() const override
    {
        Write('=');
        const auto copyName = static_cast<char>(std::toupper(static_cast<unsigned char>(mName)));
        return QX::RCPtr<QX::LRefCountedObject>(new Witness(copyName, mJournal));
    }

    char GetName() const { return mName; }
    std::string& GetJournal() const { return *mJournal; }

    /// Returns how many witnesses of the whole process are alive.
    static int GetLiveCount() { return sLiveCount; }

    /// What a test does when the contained references are removed and when the witness is
    /// destroyed.
    std::function<QX::int32()> onDismantling;
    std::function<void()> onDestruction;
    /// A reference for the test's own chains and cycles.
    QX::RCPtr<Witness> next;

private:
    Witness(char name, std::string* journal)
        : mName(name)
        , mJournal(journal)
    {
        ++sLiveCount;
    }

    void Write(char sign) const
    {
        if (mJournal != nullptr) {
            mJournal->append({sign, mName, ' '});
        }
    }

    const char mName;
    std::string* const mJournal;

    inline static std::atomic<int> sLiveCount = 0;
};

inline QX::RCPtr<Witness> MakeWitness(char name)
{
    return QX::RCPtr<Witness>(new Witness(name));
}

inline QX::RCPtr<Witness> MakeWitness(char name, std::string& journal)
{
    return QX::RCPtr<Witness>(new Witness(name, journal));
}

/// Returns the names of the witnesses in a container, '.' for null.
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

} // namespace TestSupport
