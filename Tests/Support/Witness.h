// Witness.h - a counted object that writes down what is done to it, for tests of order.
//
//     std::string journal;
//     QX::RCPtr<Witness> held(new Witness('a', journal));
//     held = nullptr;
//     journal; // "+a -a ~a "
//
// "+a" is a reference added, "-a" one removed, "=a" a copy made, "!a" the call of
// RemoveContainedReferences, "~a" the end. The copy of 'a' is called 'A'.
#pragma once

#include <QX/RCPtr.h>

#include <cctype>
#include <functional>
#include <string>

namespace TestSupport {

class Witness : public QX::LRefCountedObject
{
public:
    Witness(char name, std::string& journal)
        : mName(name)
        , mJournal(journal)
    {}
    ~Witness() override
    {
        Write('~');
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
    std::string& GetJournal() const { return mJournal; }

    /// What a test wants to happen at these two moments.
    std::function<QX::int32()> onDismantling;
    std::function<void()> onDestruction;
    /// A reference for the test's own chains and cycles.
    QX::RCPtr<Witness> next;

private:
    void Write(char sign) const { mJournal.append({sign, mName, ' '}); }

    char mName;
    std::string& mJournal;
};

} // namespace TestSupport
