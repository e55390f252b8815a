#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include <sys/types.h>

#include "platform/core/ErrorOr.h"
#include "platform/core/PropertyList.h"

class DeliveryThread;
class GDBusXPCConnection;

/// The viewer's side of the frame service: starts `lxframed` on a socket pair (or
/// connects to one that listens), sends requests and cancels, and hands every reply to
/// a handler in the order the service sent them. Handlers run on the client's own
/// delivery thread. A movie read in place (`NSData::dataWithContentsOfFile`) travels as
/// a read-only descriptor of its file, never copied; a sealed memfd as itself; other
/// bytes over a few MiB as a new sealed memfd.
class LXFrameServiceClient {
public:
    using ReplyHandler = std::function<void(const PropertyDictionary& reply)>;
    /// Told once, with the reason, when the service can no longer be reached.
    using DisconnectHandler = std::function<void(const std::string& reason)>;

    /// Starts the service at `servicePath` on one end of a new socket pair.
    static ErrorOr<std::unique_ptr<LXFrameServiceClient>>
    spawnService(const std::string& servicePath, ReplyHandler onReply, DisconnectHandler onDisconnect = {});
    /// Connects to a service listening on a GDBus address.
    static ErrorOr<std::unique_ptr<LXFrameServiceClient>>
    connectToAddress(const std::string& address, ReplyHandler onReply, DisconnectHandler onDisconnect = {});
    ~LXFrameServiceClient();

    /// Sends the request. A request that D-Bus cannot carry (an array over 64 MiB or a
    /// message over 128 MiB, which only arises where a memfd could not be made or
    /// from huge values other than the movie) is not sent, and the error says why.
    ErrorOr<bool> processRequest(const PropertyDictionary& request);
    void cancelRequest();
    bool isConnected() const;
    /// The spawned service's process, or 0.
    pid_t servicePid() const { return m_servicePid; }

private:
    LXFrameServiceClient();
    static ErrorOr<std::unique_ptr<LXFrameServiceClient>>
    connectStream(std::unique_ptr<LXFrameServiceClient> client, int socket, const std::string& address);
    std::string exitReason();
    /// Collects the spawned service's exit status if it ends within `patience`; call
    /// with the reap mutex held.
    bool reapService(std::chrono::milliseconds patience);

    std::unique_ptr<DeliveryThread> m_delivery;
    std::shared_ptr<GDBusXPCConnection> m_connection;
    ReplyHandler m_onReply;
    DisconnectHandler m_onDisconnect;
    pid_t m_servicePid = 0;
    std::mutex m_reapMutex;
    bool m_reaped = false;
    int m_exitStatus = 0;
};
