// Mutex.cpp - the framework's lock over the platform's critical regions.

#include <QX/Mutex.h>

namespace QX {

Mutex::Mutex()
    : mRegion(nullptr)
{
    if (MPCreateCriticalRegion(&mRegion) != noErr) {
        mRegion = nullptr;
    }
}

Mutex::~Mutex()
{
    if (mRegion != nullptr) {
        MPDeleteCriticalRegion(mRegion);
    }
    // Volatile, or the compiler would leave the store out: code that runs at the exit locks static
    // mutexes that are already destroyed.
    *const_cast<MPCriticalRegionID volatile*>(&mRegion) = nullptr;
}

void Mutex::Lock()
{
    if (mRegion != nullptr) {
        MPEnterCriticalRegion(mRegion, kDurationForever);
    }
}

void Mutex::Unlock()
{
    if (mRegion != nullptr) {
        MPExitCriticalRegion(mRegion);
    }
}

} // namespace QX
