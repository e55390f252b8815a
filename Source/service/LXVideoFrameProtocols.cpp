#include "service/LXVideoFrameProtocols.h"

const NSXPCInterface& LXVideoFrameServiceInterface() {
    static const NSXPCInterface interface("io.lxkit.VideoFrameService1", "/io/lxkit/VideoFrameService",
                                          {{"cancelRequest", "CancelRequest", 0},
                                           {"processRequest", "ProcessRequest", 1}});
    return interface;
}

const NSXPCInterface& LXVideoFrameClientInterface() {
    static const NSXPCInterface interface("io.lxkit.VideoFrameClient1", "/io/lxkit/VideoFrameClient",
                                          {{"processReply", "ProcessReply", 1}});
    return interface;
}
