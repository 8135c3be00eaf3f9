// NotificationStatics.h - which static objects of the notification system can be used.
#pragma once

namespace QX {

/// Guards the use of the statics before they are built and at the process's exit, when names,
/// notifications and registrations may still be used by the static objects of other files.
class NotificationStatics
{
public:
    /// Whether notifications can be parked.
    static bool IsStackAlive() noexcept { return sIsStackAlive; }
    /// Whether distributors can enter and leave the process-wide list.
    static bool IsListAlive() noexcept { return sIsListAlive; }

    // Each is a static object behind the one that it winds up: built after it and destroyed before.
    struct StackGuard
    {
        StackGuard() noexcept { sIsStackAlive = true; }
        ~StackGuard();
    };
    struct ListGuard
    {
        ListGuard() noexcept { sIsListAlive = true; }
        ~ListGuard();
    };
    struct ManagerGuard
    {
        ~ManagerGuard();
    };

private:
    // Constant-initialised and never destroyed.
    static bool sIsStackAlive;
    static bool sIsListAlive;
};

} // namespace QX
