// NotificationStatics.h - whether the static objects of the notification system can be used.
#pragma once

namespace QX {

/// Guards the use of the statics at the process's exit, when notifications and registrations may
/// be released after the stack and the list have gone.
class NotificationStatics
{
public:
    static bool AreAlive() noexcept { return sAreAlive; }

    // Each is a static object behind the one that it winds up, and so destroyed before it.
    struct StackGuard
    {
        ~StackGuard();
    };
    struct ListGuard
    {
        ~ListGuard();
    };

private:
    static bool sAreAlive; ///< constant-initialised and never destroyed
};

} // namespace QX
