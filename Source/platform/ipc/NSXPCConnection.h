#pragma once

#include <memory>
#include <string_view>

#include "platform/core/PropertyList.h"
#include "platform/ipc/NSXPCInterface.h"

/// What the connection knows of an incoming message besides its arguments.
struct NSXPCMessageFacts {
    /// The bytes of the message's body, which data read from it keeps in memory until
    /// the last value that refers to it is gone (descriptors it carries not counted).
    size_t inlineBytes = 0;
    /// The message breaks D-Bus's own limits (an array over 64 MiB); it arrived only
    /// because GDBus is lenient, and must be refused.
    bool breaksWireLimits = false;
};

/// The object that receives a connection's incoming messages.
class NSXPCExportedObject {
public:
    virtual ~NSXPCExportedObject() = default;
    /// Called on the connection's delivery thread, one message at a time.
    virtual void receiveMessage(std::string_view selector, const PropertyArray& arguments,
                                const NSXPCMessageFacts& facts) = 0;
};

/// A connection to one peer. Incoming messages of the exported interface go to the
/// exported object on the delivery thread; `sendMessage` sends one-way messages of the
/// remote interface to the peer's exported object.
class NSXPCConnection {
public:
    virtual ~NSXPCConnection() = default;

    void setRemoteObjectInterface(NSXPCInterface interface) { m_remoteInterface = std::move(interface); }
    void setExportedInterface(NSXPCInterface interface) { m_exportedInterface = std::move(interface); }
    void setExportedObject(std::shared_ptr<NSXPCExportedObject> object) {
        m_exportedObject = std::move(object);
    }
    const NSXPCInterface& remoteObjectInterface() const { return m_remoteInterface; }
    const NSXPCInterface& exportedInterface() const { return m_exportedInterface; }
    const std::shared_ptr<NSXPCExportedObject>& exportedObject() const { return m_exportedObject; }

    /// Starts the delivery of incoming messages.
    virtual void resume() = 0;

    /// Sends one message of the remote interface. It never reports failure: a message
    /// to a peer that has gone is lost. To keep memory bounded, it waits while the peer
    /// has not taken the messages sent before; `interruptSend` (from any thread) ends
    /// that wait, and so does the peer going away.
    virtual void sendMessage(std::string_view selector, const PropertyArray& arguments) = 0;
    virtual void interruptSend() {}
    /// For a connection that no longer gets the replies: a wait in `sendMessage` ends
    /// now, and no later send waits, so a peer that stopped reading cannot hold up the
    /// sender once another connection has taken its place.
    virtual void stopWaitingForPeer() {}

    virtual bool isClosed() const = 0;

private:
    NSXPCInterface m_remoteInterface;
    NSXPCInterface m_exportedInterface;
    std::shared_ptr<NSXPCExportedObject> m_exportedObject;
};
