// Notification.h - the message of the notification system: an interned name and a payload.
//
//     const char* id = LNotification::GetNotificationID("track.changed");
//     RCPtr<LNotification> message = LNotification::Create("track.changed", payload);
//     message->GetID() == id; // names are compared as pointers
//
// With reuse enabled, a notification whose last holder drops it is parked without its payload, and
// Create hands it out again: last parked, first reused.
//
// Threads: a notification belongs to its holders until it is posted, and to the delivering thread
// while it is posted. A thread that sees IsPosted() return false also sees all that the delivering
// thread did with the notification before, and may change it again.
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
    /// Returns the table of all names ever used, in the order of their first use. It only grows,
    /// and each entry keeps its characters at one address until the process exits: those addresses
    /// are the IDs. Only GetNotificationID may change it.
    ///
    /// Threads: while no other thread uses a new name.
    static StringArrayT<char, unsigned short>& GetNotificationIDs();

    /// Returns the ID of `name`, entering a new name into the table; null for a null or empty
    /// name. An ID is its own name, so passing one back returns it, and it is valid until the
    /// process exits. The cost of a known name does not depend on the number of names.
    ///
    /// After the end of the table, in the destructors of static objects, a new name is returned as
    /// it is.
    ///
    /// Throws: std::bad_alloc for a new name; the table is unchanged. Threads: any.
    static const char* GetNotificationID(const char* name);

    /// Returns a notification with that name and payload, which may be null: a parked notification
    /// if there is one, or else a new one.
    ///
    /// A null or empty name gives null, unless a notification is parked: that one is handed out
    /// with the name that it had before and with `data`.
    ///
    /// Throws: std::bad_alloc; what CreateCopy throws for an unshareable payload, which is copied.
    /// A parked notification then stays parked, if there is memory for that.
    ///
    /// Threads: any.
    static RCPtr<LNotification> Create(const char* name, const RCPtr<LRefCountedObject>& data);

    /// As Create, but always a new notification; null for a null or empty name.
    static RCPtr<LNotification> CreateInternal(const char* name,
                                               const RCPtr<LRefCountedObject>& data);

    /// Switches reuse on or off (off at start); off also releases all parked notifications, those
    /// parked first before the others.
    ///
    /// Threads: while no other thread creates or releases notifications.
    static void SetNotificationReuseEnable(bool enable);

    /// Drops the payload of `notification` and, with reuse enabled, parks it. For the framework
    /// only: RemoveReference calls it for the last holder.
    ///
    /// Throws: std::bad_alloc, what CreateCopy throws for an unshareable notification, or what the
    /// payload's RemoveReference throws; it is not parked. Threads: that of the last holder.
    static void NotificationIsAvailable(LNotification& notification);

    /// Gives the notification another name and returns kResultSuccess.
    ///
    /// Fails: kResultFailure while it is posted, kResultOutOfRange for a null or empty name.
    /// Throws: as GetNotificationID. Nothing changes in any of these cases.
    ///
    /// Threads: a holder's, one at a time, and no other thread reads the ID meanwhile.
    int32 SetName(const char* name);

    /// Gives the notification another payload, which may be null, and returns kResultSuccess. The
    /// reference to the payload before is dropped.
    ///
    /// Fails: kResultFailure while it is posted. Throws: what CreateCopy throws for an unshareable
    /// payload. Nothing changes in either case. What the RemoveReference of the payload before
    /// throws passes too; the new payload is set then.
    ///
    /// Threads: a holder's, one at a time, and no other thread reads the payload meanwhile.
    int32 SetData(const RCPtr<LRefCountedObject>& data);

    /// Returns the ID. Threads: a holder's, while no other thread calls SetName.
    const char* GetID() const noexcept { return mNotificationID; }
    /// Returns the payload, or null. Threads: a holder's, while no other thread calls SetData; the
    /// reference is to the member, so copy it to keep the payload.
    const RCPtr<LRefCountedObject>& GetData() const noexcept { return mData; }

    /// Returns true from posting until delivery or a flush has finished.
    ///
    /// Threads: any holder's. Acquire: see the top of this file.
    bool IsPosted() const noexcept { return mIsPosted.load(std::memory_order_acquire) != 0; }

    /// For queues only. Threads: the delivering thread, or the only holder's. Release: what was
    /// done with the notification before comes before what a thread does that sees the mark.
    void SetPosted(bool posted) noexcept { mIsPosted.store(posted, std::memory_order_release); }

    /// Marks the notification as posted and returns true, or returns false if it is posted
    /// already: of several posters one succeeds. No other thread may use the caller's reference.
    /// For queues only. Threads: any holder's.
    bool TryMarkPosted() noexcept;

    /// Counts one holder less and returns the new number of holders. The notification that loses
    /// its last holder while reuse is enabled is parked, and the number is 1.
    ///
    /// Throws: as NotificationIsAvailable; the notification has ended then. Threads: any holder's.
    int32 RemoveReference() override;

protected:
    // An automatic notification would leave its address on the stack of parked ones.
    LNotification();
    ~LNotification() override;

private:
    /// Is built after the stack and destroyed before it.
    struct StackGuard
    {
        StackGuard() noexcept;
        ~StackGuard();
    };

    static bool IsReuseOn() noexcept;

    static Mutex sMutex; ///< guards the stack of parked notifications and nothing else
    static RCPtrArray<LNotification, 1, 0> sAvailableNotificationsStack; ///< top at the end
    static std::atomic<uint32> sIsNotificationReuseEnabled;
    /// False before the stack is built and after its end, when static objects of other files may
    /// still use notifications. Constant-initialised.
    static bool sIsStackAlive;
    static const StackGuard sStackGuard;

    const char* mNotificationID = nullptr; ///< owned by the name table
    RCPtr<LRefCountedObject> mData;
    std::atomic<uint32> mIsPosted = 0;    ///< 0 is stored with release and read with acquire
    std::atomic<uint32> mIsRecycling = 0; ///< keeps parking from running inside itself
};

template <>
QX_API const RCPtr<LNotification> RCPtr<LNotification>::Null;

} // namespace QX
