#pragma once

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

/// Owning handles for an XCB connection and for replies, which XCB allocates with malloc.
struct XcbConnectionDeleter {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using XcbConnection = std::unique_ptr<xcb_connection_t, XcbConnectionDeleter>;

struct XcbReplyDeleter {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply>
using XcbReply = std::unique_ptr<Reply, XcbReplyDeleter>;
