// NotificationRows.cpp - what do clients and names cost beside boost::signals2, Poco, Qt and GLib?
//
// "broadcast" calls N clients with one ready notification; the time is that of one client.
// "register" registers the 65th client of a name and unregisters it. "known-name" interns a name
// that is in a table of 10,000.

#include "Rows.h"

#include <QX/QX.h>

#include <boost/signals2/signal.hpp>
#include <glib.h>

#ifdef QX_PEER_POCO
#include <Poco/NObserver.h>
#include <Poco/Notification.h>
#include <Poco/NotificationCenter.h>
#endif
#ifdef QX_PEER_QT
#include <QObject>
#endif

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace rows {
namespace {

using QX::LNotification;
using QX::LNotificationCenter;
using QX::LNotificationClient;
using QX::LNotificationDistributor;
using QX::RCPtr;

constexpr const char* kName = "benchmark.broadcast";

class LCounter : public QX::LNotificationReceiver
{
public:
    void HandleNotification(const RCPtr<LNotificationDistributor>&,
                            const QX::ConstRCPtr<LNotification>&) override
    {
        benchmark::DoNotOptimize(++mCount);
    }
    QX::int32 ForceUnregisterNotification(const RCPtr<LNotificationDistributor>& distributor,
                                          const char* id) override
    {
        return distributor->UnregisterNotificationClient(RCPtr<LNotificationClient>(this), id);
    }

private:
    long mCount = 0;
};

RCPtr<LNotificationCenter> MakeCenter(int clients)
{
    RCPtr<LNotificationCenter> center = LNotificationCenter::Create("benchmark");
    for (int number = 0; number < clients; ++number) {
        center->RegisterNotificationClient(RCPtr<LNotificationClient>(new LCounter), kName, 0);
    }
    return center;
}

using Signal = boost::signals2::signal<void(const std::shared_ptr<int>&)>;

std::shared_ptr<Signal> MakeSignal(int clients)
{
    auto signal = std::make_shared<Signal>();
    for (int number = 0; number < clients; ++number) {
        signal->connect([count = 0L](const std::shared_ptr<int>&) mutable {
            benchmark::DoNotOptimize(++count);
        });
    }
    return signal;
}

#ifdef QX_PEER_POCO
class PocoMessage : public Poco::Notification
{};

struct PocoClient
{
    void Handle(const Poco::AutoPtr<PocoMessage>&) { benchmark::DoNotOptimize(++count); }
    long count = 0;
};

using PocoObserver = Poco::NObserver<PocoClient, PocoMessage>;

struct PocoClients
{
    explicit PocoClients(int count)
        : clients(static_cast<std::size_t>(count))
    {
        for (PocoClient& client : clients) {
            center.addObserver(PocoObserver(client, &PocoClient::Handle));
        }
    }

    Poco::NotificationCenter center;
    std::deque<PocoClient> clients;
};
#endif

void AddBroadcast(int clients)
{
    const std::string row = "broadcast." + std::to_string(clients);
    AddRow(row, "QX", clients, [clients] {
        return [center = MakeCenter(clients), message = LNotification::Create(kName, nullptr)] {
            center->DeliverNotificationAllClients(message);
        };
    });
    AddRow(row, "signals2", clients, [clients] {
        return [signal = MakeSignal(clients), message = std::make_shared<int>(1)] {
            (*signal)(message);
        };
    });
#ifdef QX_PEER_POCO
    AddRow(row, "Poco", clients, [clients] {
        return [peer = std::make_shared<PocoClients>(clients),
                message = Poco::Notification::Ptr(new PocoMessage)] {
            peer->center.postNotification(message);
        };
    });
#endif
}

void AddRegister()
{
    AddRow("register", "QX", 1, [] {
        return [center = MakeCenter(64), client = RCPtr<LNotificationClient>(new LCounter)] {
            center->RegisterNotificationClient(client, kName, 0);
            center->UnregisterNotificationClient(client, kName);
        };
    });
    AddRow("register", "signals2", 1, [] {
        return [signal = MakeSignal(64)] {
            signal->connect([](const std::shared_ptr<int>&) {}).disconnect();
        };
    });
#ifdef QX_PEER_POCO
    AddRow("register", "Poco", 1, [] {
        auto client = std::make_shared<PocoClient>();
        return [peer = std::make_shared<PocoClients>(64), client] {
            peer->center.addObserver(PocoObserver(*client, &PocoClient::Handle));
            peer->center.removeObserver(PocoObserver(*client, &PocoClient::Handle));
        };
    });
#endif
#ifdef QX_PEER_QT
    AddRow("register", "Qt", 1, [] {
        auto sender = std::make_shared<QObject>();
        for (int number = 0; number < 64; ++number) {
            QObject::connect(sender.get(), &QObject::objectNameChanged, sender.get(), [] {});
        }
        return [sender] {
            QObject::disconnect(
                QObject::connect(sender.get(), &QObject::objectNameChanged, sender.get(), [] {}));
        };
    });
#endif
}

template <class Intern>
void AddKnownName(const char* library, Intern intern)
{
    AddRow("known-name", library, 1, [intern] {
        std::vector<std::string> names;
        for (int number = 0; number < 10000; ++number) {
            names.push_back("org.qxaudio.notification." + std::to_string(number));
            benchmark::DoNotOptimize(intern(names.back().c_str()));
        }
        return [intern, names, next = std::size_t{0}]() mutable {
            benchmark::DoNotOptimize(intern(names[next].c_str()));
            next = (next + 157) % names.size();
        };
    });
}

} // namespace

void AddNotificationRows()
{
    for (const int clients : {1, 8, 64}) {
        AddBroadcast(clients);
    }
    AddRegister();
    AddKnownName("QX", [](const char* name) { return LNotification::GetNotificationID(name); });
    AddKnownName("GLib", [](const char* name) { return g_quark_from_string(name); });
}

} // namespace rows
