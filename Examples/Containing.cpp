// Containing.cpp - an object and its own part hold each other, and both are destroyed.

#include <QX/QX.h>
#include <iostream>

/// A part that keeps its owner alive while it works.
class LChannel : public QX::LRefCountedObject
{
public:
    explicit LChannel(const QX::RCPtr<QX::LRefCountedObject>& owner)
        : mOwner(owner)
    {}

private:
    const QX::RCPtr<QX::LRefCountedObject> mOwner;
};

class LMixer : public QX::LRefCountedObject
{
public:
    ~LMixer() override { std::cout << "the mixer is gone\n"; }

    void AddChannel()
    {
        mChannel = QX::RCPtr<LChannel>(new LChannel(QX::RCPtr<LMixer>(this)));
        ModifyNumContainedReferences(1); // one of my holders is a part of me
    }

    /// Runs when the last holder from outside lets go.
    QX::int32 RemoveContainedReferences() override
    {
        std::cout << "only the channel holds the mixer\n";
        ModifyNumContainedReferences(-1);
        mChannel = nullptr;
        return QX::kResultSuccess;
    }

private:
    QX::RCPtr<LChannel> mChannel;
};

int main()
{
    const QX::RCPtr<LMixer> mixer(new LMixer);
    mixer->AddChannel();
    std::cout << mixer->GetReferenceCount() << " holders, " << mixer->GetContainedReferenceCount()
              << " of them contained\n";
} // the only holder from outside lets go
