#pragma once

#include <memory>
#include <stdexcept>
#include <string>

/// What the standard assertion handler raises: a programming error, not a runtime
/// failure, so nothing in lxkit catches it.
class NSInternalInconsistencyException : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

/// Reports failed programming-error assertions. The standard handler raises
/// NSInternalInconsistencyException with the description; tests install their own
/// handler to observe the report, and may return, after which the asserting code goes on.
class NSAssertionHandler {
public:
    virtual ~NSAssertionHandler() = default;

    /// `method` names the operation, `object` the receiver (may be null); `file` is the
    /// source file's name, "<Unknown File>" when it cannot be formed.
    virtual void handleFailureInMethod(const std::string& method, const void* object, const std::string& file,
                                       int line, const std::string& description);

    /// The calling thread's handler: the one installed, else the standard one.
    static NSAssertionHandler& currentHandler();
    /// Installs a handler for the calling thread; null puts the standard one back.
    static void setCurrentHandler(std::shared_ptr<NSAssertionHandler> handler);
};
