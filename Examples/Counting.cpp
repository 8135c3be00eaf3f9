// Counting.cpp - an object lives as long as it has a holder.

#include <QX/QX.h>
#include <iostream>

class LMeter : public QX::LRefCountedObject
{
public:
    ~LMeter() override { std::cout << "the meter is gone\n"; }
};

int main()
{
    QX::RCPtr<LMeter> meter(new LMeter);          // one holder
    const QX::ConstRCPtr<LMeter> display = meter; // two holders, one object
    std::cout << display->GetReferenceCount() << " holders\n";
    meter = nullptr;
    std::cout << display->GetReferenceCount() << " holder\n";
} // the last holder lets go
