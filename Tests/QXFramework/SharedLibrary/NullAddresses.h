// NullAddresses.h - where RCPtr<T>::Null is for each of the framework's own types.
#pragma once

#include <QX/QX.h>

#include <array>

using NullAddresses = std::array<const void*, 7>;

/// As seen by the program or module that this is compiled into.
inline NullAddresses GetOwnNullAddresses()
{
    using Distributor = QX::LNotificationDistributor;
    return {
        &QX::RCPtr<QX::LRefCountedObject>::Null,
        &QX::RCPtr<QX::LNotification>::Null,
        &QX::RCPtr<QX::LNotificationCenter>::Null,
        &QX::RCPtr<Distributor>::Null,
        &QX::RCPtr<Distributor::LNotificationClientPool>::Null,
        &QX::RCPtr<Distributor::LNotificationRegisteredClientInfo>::Null,
        &QX::RCPtr<QX::LNotificationQueue::LPostingReceiver>::Null,
    };
}
