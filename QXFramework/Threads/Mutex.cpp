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
    // Volatile, because it is read after the end of the object's life: by late releases that run
    // when the static mutexes are gone.
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
