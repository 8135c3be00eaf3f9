// MessagePort.h - the object that a CFMessagePortRef points to.
#pragma once

#include "Objects/Object.h"
#include "Ports/Connection.h"
#include "Ports/LocalPort.h"

#include <CoreFoundation/CFMessagePort.h>

#include <atomic>
#include <memory>
#include <string>

struct __CFMessagePort : Standin::Object
{
    static const Standin::Type kType;

    explicit __CFMessagePort(std::shared_ptr<Standin::Connection> connection);
    __CFMessagePort(std::string_view name, std::unique_ptr<Standin::LocalPort> receiver,
                    CFMessagePortCallBack callout, const CFMessagePortContext* context);
    ~__CFMessagePort();

    bool IsRemote() const { return mConnection != nullptr; }
    bool IsValid() const;
    /// Retains the context's info; the caller holds no lock.
    void RetainInfo();
    void Invalidate();
    CFRunLoopSourceRef CopySource();
    /// Takes one message and calls the callout; false if there is none.
    bool HandleOne();
    /// Makes a local port invalid in a forked child. Does not call the context's release.
    void CloseInChild();

    /// The connection of a remote port; null for a local one.
    const std::shared_ptr<Standin::Connection> mConnection;

    /// The name and the receiving end of a local port; empty and null if it has no name.
    const std::string mName;
    const std::unique_ptr<Standin::LocalPort> mReceiver;
    const CFMessagePortCallBack mCallout = nullptr;
    CFMessagePortContext mContext = {};
    /// The process that sent the message which was handed over last.
    std::atomic<SInt32> mSender{0};

private:
    std::atomic<bool> mIsInvalidated{false};
    /// The port's reference to its one source. The source holds the port in turn until the port
    /// is invalidated. The mutex of all ports guards it.
    CFRunLoopSourceRef mSource = nullptr;
};
