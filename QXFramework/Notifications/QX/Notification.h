// Notification.h - the message of the notification system: an interned name and a payload.
//
//     const char* id = LNotification::GetNotificationID("track.changed");
//     RCPtr<LNotification> message = LNotification::Create("track.changed", payload);
//     message->GetID() == id; // names are compared as pointers
//
// With reuse enabled a notification whose last holder lets go is parked without its payload, and
// Create hands it out again: last parked, first reused.
#pragma once

#include <QX/RCPtr.h>
#include <QX/RCPtrArray.h>
#include <QX/StringArray.h>
#include <QX/Types.h>

#include <atomic>

namespace QX {

class Mutex;

/// The name of the idle notification that each queue delivers on request. It is a name, not an ID:
/// compare with GetNotificationID(NID_IDLE).
inline constexpr const char* NID_IDLE = "NID_IDLE";

class QX_API LNotification : public virtual LRefCountedObject
{
public:
    /// Returns the table of all names ever used. It only grows, and each entry keeps its
    /// characters at one address until the process exits: those addresses are the IDs.
    ///
    /// Threads: while nobody else uses new names. Nobody but GetNotificationID changes the table.
    static StringArrayT<char, unsigned short>& GetNotificationIDs();

    /// Returns the ID of `name`, entering a new name into the table; null for a null or empty
    /// name. An ID is its own name, so passing one back returns it. The cost of a known name does
    /// not depend on the number of names.
    ///
    /// Threads: any.
    static const char* GetNotificationID(const char* name);

    /// Returns a notification with that name and payload, parked or new.
    ///
    /// A null or empty name gives null, except that a parked notification is handed out under the
    /// name that it had before.
    ///
    /// Threads: any.
    static RCPtr<LNotification> Create(const char* name, const RCPtr<LRefCountedObject>& data);

    /// As Create, but never a parked notification.
    static RCPtr<LNotification> CreateInternal(const char* name,
                                               const RCPtr<LRefCountedObject>& data);

    /// Switches reuse on or off (off at start); off also releases all parked notifications.
    ///
    /// Threads: while no other thread creates or releases notifications.
    static void SetNotificationReuseEnable(bool enable);

    /// Drops the payload of `notification` and, with reuse enabled, parks it. For the framework
    /// only: RemoveReference calls it on behalf of the last holder.
    static void NotificationIsAvailable(LNotification& notification);

    /// Gives the notification another name.
    ///
    /// Fails: kResultFailure while it is posted, kResultOutOfRange for a null or empty name.
    int32 SetName(const char* name);

    /// Gives the notification another payload, which may be null.
    ///
    /// Fails: kResultFailure while it is posted.
    int32 SetData(const RCPtr<LRefCountedObject>& data);

    const char* GetID() const noexcept { return mNotificationID; }
    const RCPtr<LRefCountedObject>& GetData() const noexcept { return mData; }

    /// True from posting until delivery or a flush has finished.
    bool IsPosted() const noexcept { return mIsPosted.load(std::memory_order_relaxed) != 0; }
    /// For queues only.
    void SetPosted(bool posted) noexcept { mIsPosted.store(posted, std::memory_order_relaxed); }
    /// Marks the notification as posted and returns true, or returns false if it is posted
    /// already: of several posters one succeeds. The caller's reference is nobody else's. For
    /// queues only.
    bool TryMarkPosted() noexcept;

    /// Parks a notification that loses its last holder while reuse is enabled.
    int32 RemoveReference() override;

protected:
    // An automatic notification would leave its address on the stack of parked ones.
    LNotification();
    ~LNotification() override;

private:
    friend class NotificationStatics;

    static Mutex sMutex; ///< guards the stack of parked notifications and nothing else
    static RCPtrArray<LNotification, 1, 0> sAvailableNotificationsStack; ///< top at the end
    static std::atomic<uint32> sIsNotificationReuseEnabled;

    const char* mNotificationID = nullptr; ///< owned by the name table
    RCPtr<LRefCountedObject> mData;
    std::atomic<uint32> mIsPosted = 0;
    std::atomic<uint32> mIsRecycling = 0; ///< keeps parking from running inside itself
};

template <>
QX_API const RCPtr<LNotification> RCPtr<LNotification>::Null;

} // namespace QX
