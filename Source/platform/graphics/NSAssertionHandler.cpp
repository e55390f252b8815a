#include "platform/graphics/NSAssertionHandler.h"

namespace {

std::shared_ptr<NSAssertionHandler>& InstalledHandler() {
    thread_local std::shared_ptr<NSAssertionHandler> handler;
    return handler;
}

} // namespace

void NSAssertionHandler::handleFailureInMethod(const std::string& method, const void*, const std::string& file,
                                               int line, const std::string& description) {
    throw NSInternalInconsistencyException("*** Assertion failure in " + method + ", " + file + ":" +
                                           std::to_string(line) + ": " + description);
}

NSAssertionHandler& NSAssertionHandler::currentHandler() {
    static NSAssertionHandler standard;
    std::shared_ptr<NSAssertionHandler>& installed = InstalledHandler();
    return installed ? *installed : standard;
}

void NSAssertionHandler::setCurrentHandler(std::shared_ptr<NSAssertionHandler> handler) {
    InstalledHandler() = std::move(handler);
}
