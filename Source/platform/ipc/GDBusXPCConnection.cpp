#include "platform/ipc/GDBusXPCConnection.h"

#include <gio/gunixfdlist.h>

#include "platform/core/GLibHandles.h"
#include "platform/ipc/DBusWireLimits.h"
#include "platform/ipc/PropertyListVariant.h"

std::shared_ptr<GDBusXPCConnection> GDBusXPCConnection::create(GObjectRef<GDBusConnection> connection) {
    auto made = std::shared_ptr<GDBusXPCConnection>(new GDBusXPCConnection(std::move(connection)));
    g_dbus_connection_set_exit_on_close(made->m_connection.get(), FALSE);
    return made;
}

GDBusXPCConnection::~GDBusXPCConnection() {
    unregister();
    if (m_closedSignal)
        g_signal_handler_disconnect(m_connection.get(), m_closedSignal);
    delete m_callbackTarget;
    if (m_deliveryContext)
        g_main_context_unref(m_deliveryContext);
}

void GDBusXPCConnection::resume() {
    if (m_registration || m_closed)
        return;
    // Callbacks hold the connection weakly: the GDBusConnection must not keep its own
    // wrapper alive.
    m_deliveryContext = g_main_context_ref_thread_default();
    m_callbackTarget = new std::weak_ptr<GDBusXPCConnection>(weak_from_this());
    m_closedSignal =
        g_signal_connect(m_connection.get(), "closed", G_CALLBACK(handleClosed), m_callbackTarget);
    if (g_dbus_connection_is_closed(m_connection.get()))
        m_closed = true;

    const auto& exported = exportedInterface();
    if (exported.name().empty())
        return;
    GError* rawError = nullptr;
    auto node =
        GDBusNodeInfoHandle(g_dbus_node_info_new_for_xml(exported.introspectionXML().c_str(), &rawError));
    GErrorHandle error(rawError);
    if (!node || !node->interfaces || !node->interfaces[0])
        return;
    static const GDBusInterfaceVTable vtable = {handleMethodCall, nullptr, nullptr, {}};
    m_registration =
        g_dbus_connection_register_object(m_connection.get(), exported.objectPath().c_str(),
                                          node->interfaces[0], &vtable, m_callbackTarget, nullptr, nullptr);
}

void GDBusXPCConnection::handleMethodCall(GDBusConnection*, const char*, const char*, const char*,
                                          const char* member, GVariant* parameters,
                                          GDBusMethodInvocation* invocation, gpointer target) {
    auto self = static_cast<std::weak_ptr<GDBusXPCConnection>*>(target)->lock();
    GUnixFDList* fds = g_dbus_message_get_unix_fd_list(g_dbus_method_invocation_get_message(invocation));
    NSXPCMessageFacts facts;
    facts.inlineBytes = g_variant_get_size(parameters);
    facts.breaksWireLimits = DBusWireLimitBreach(parameters).has_value();
    PropertyArray arguments;
    gsize count = g_variant_n_children(parameters);
    for (gsize i = 0; i < count; ++i) {
        auto child = AdoptVariant(g_variant_get_child_value(parameters, i));
        arguments.push_back(PropertyValueFromVariant(child.get(), fds));
    }
    // Every message is one-way; returning only releases the invocation (no reply goes
    // out for a call that expects none).
    g_dbus_method_invocation_return_value(invocation, nullptr);
    if (!self)
        return;
    const NSXPCMessage* message = self->exportedInterface().messageForMember(member);
    if (message && self->exportedObject())
        self->exportedObject()->receiveMessage(message->selector, arguments, facts);
}

void GDBusXPCConnection::handleClosed(GDBusConnection*, gboolean, GError*, gpointer target) {
    auto self = static_cast<std::weak_ptr<GDBusXPCConnection>*>(target)->lock();
    if (!self)
        return;
    self->m_closed = true;
    self->interruptSend();
    self->unregister();
    if (self->m_closedHandler)
        self->m_closedHandler();
}

void GDBusXPCConnection::unregister() {
    if (m_registration) {
        g_dbus_connection_unregister_object(m_connection.get(), m_registration);
        m_registration = 0;
    }
}

void GDBusXPCConnection::sendMessage(std::string_view selector, const PropertyArray& arguments) {
    // One-way: a message that cannot go out is lost, as one to a peer that has gone.
    (void)trySendMessage(selector, arguments);
}

ErrorOr<bool> GDBusXPCConnection::trySendMessage(std::string_view selector, const PropertyArray& arguments) {
    const auto& remote = remoteObjectInterface();
    const NSXPCMessage* message = remote.messageForSelector(selector);
    if (!message)
        return makeError("the peer's interface has no message " + std::string(selector));
    if (m_closed)
        return makeError("the connection is closed");
    uint64_t interruptionsBeforeSend;
    {
        std::lock_guard lock(m_sendMutex);
        interruptionsBeforeSend = m_interruptions;
    }
    auto fds = GObjectRef<GUnixFDList>::adopt(g_unix_fd_list_new());
    GVariantBuilder body;
    g_variant_builder_init(&body, G_VARIANT_TYPE_TUPLE);
    for (int i = 0; i < message->dictionaryArguments; ++i) {
        const PropertyDictionary* dictionary =
            i < static_cast<int>(arguments.size()) ? arguments[static_cast<size_t>(i)].dictionary() : nullptr;
        g_variant_builder_add_value(
            &body, VariantFromPropertyDictionary(dictionary ? *dictionary : PropertyDictionary{}, fds.get()));
    }
    auto bodyValue = AdoptVariant(g_variant_builder_end(&body));
    // GDBus would send an over-long array, and the peer's GDBus would take it or drop
    // the whole connection; refuse it here, where the sender can still be told.
    if (auto breach = DBusWireLimitBreach(bodyValue.get()))
        return makeError("the message is too large for D-Bus: " + *breach);
    auto call = GObjectRef<GDBusMessage>::adopt(g_dbus_message_new_method_call(
        nullptr, remote.objectPath().c_str(), remote.name().c_str(), message->member.c_str()));
    g_dbus_message_set_body(call.get(), bodyValue.get());
    if (g_unix_fd_list_get_length(fds.get()) > 0)
        g_dbus_message_set_unix_fd_list(call.get(), fds.get());
    g_dbus_message_set_flags(call.get(), G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED);
    GError* rawError = nullptr;
    if (!g_dbus_connection_send_message(m_connection.get(), call.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE,
                                        nullptr, &rawError)) {
        GErrorHandle error(rawError);
        return makeError(std::string("cannot send the message: ") +
                         (error ? error->message : "unknown error"));
    }

    waitUntilFlushed(interruptionsBeforeSend);
    return true;
}

// Waits until the message has left for the peer, so that a peer that stops reading
// holds up the sender instead of letting the outgoing queue grow without bound. The
// flush is started on the delivery thread, whose main context delivers its answer.
void GDBusXPCConnection::waitUntilFlushed(uint64_t interruptionsBeforeSend) {
    // On the delivery thread itself the flush could never be answered: its answer comes
    // through the very context that thread would be blocked in.
    if (!m_deliveryContext || m_closed || g_main_context_is_owner(m_deliveryContext))
        return;
    {
        std::lock_guard lock(m_sendMutex);
        if (!m_sendsWait)
            return;
    }
    auto wait = std::make_shared<FlushWait>();
    wait->connection = m_connection;
    {
        std::lock_guard lock(m_sendMutex);
        m_pendingFlush = wait;
        // An interruption that came while the message was being sent counts too.
        if (m_interruptions != interruptionsBeforeSend || m_closed || !m_sendsWait)
            wait->interrupted = true;
    }
    auto started = new std::shared_ptr<FlushWait>(wait);
    g_main_context_invoke_full(
        m_deliveryContext, G_PRIORITY_DEFAULT,
        [](gpointer data) -> gboolean {
            auto held = static_cast<std::shared_ptr<FlushWait>*>(data);
            g_dbus_connection_flush((*held)->connection.get(), nullptr,
                                    [](GObject*, GAsyncResult* result, gpointer data) {
                                        auto held = static_cast<std::shared_ptr<FlushWait>*>(data);
                                        g_dbus_connection_flush_finish((*held)->connection.get(), result,
                                                                       nullptr);
                                        (*held)->finish();
                                        delete held;
                                    },
                                    new std::shared_ptr<FlushWait>(*held));
            return G_SOURCE_REMOVE;
        },
        started, [](gpointer data) { delete static_cast<std::shared_ptr<FlushWait>*>(data); });

    {
        std::unique_lock lock(wait->mutex);
        wait->wakeup.wait(lock, [&] { return wait->done || wait->interrupted; });
    }
    std::lock_guard lock(m_sendMutex);
    m_pendingFlush.reset();
}

void GDBusXPCConnection::FlushWait::finish() {
    std::lock_guard lock(mutex);
    done = true;
    wakeup.notify_all();
}

void GDBusXPCConnection::FlushWait::interrupt() {
    std::lock_guard lock(mutex);
    interrupted = true;
    wakeup.notify_all();
}

void GDBusXPCConnection::interruptSend() {
    std::lock_guard lock(m_sendMutex);
    ++m_interruptions;
    if (m_pendingFlush)
        m_pendingFlush->interrupt();
}

void GDBusXPCConnection::stopWaitingForPeer() {
    std::lock_guard lock(m_sendMutex);
    m_sendsWait = false;
    ++m_interruptions;
    if (m_pendingFlush)
        m_pendingFlush->interrupt();
}

void GDBusXPCConnection::invalidate() {
    unregister();
    interruptSend();
    if (!g_dbus_connection_is_closed(m_connection.get()))
        g_dbus_connection_close_sync(m_connection.get(), nullptr, nullptr);
    m_closed = true;
}
