#pragma once

#include <string>
#include <string_view>
#include <vector>

/// One message of a protocol: its selector in lxkit's naming, its D-Bus member name,
/// and how many dictionary arguments (`a{sv}`) it takes.
struct NSXPCMessage {
    std::string selector;
    std::string member;
    int dictionaryArguments = 0;
};

/// A protocol as the connection carries it: a D-Bus interface on an object path whose
/// methods are all one-way (annotated NoReply).
class NSXPCInterface {
public:
    NSXPCInterface() = default;
    NSXPCInterface(std::string name, std::string objectPath, std::vector<NSXPCMessage> messages)
        : m_name(std::move(name)), m_objectPath(std::move(objectPath)), m_messages(std::move(messages)) {}

    const std::string& name() const { return m_name; }
    const std::string& objectPath() const { return m_objectPath; }
    const std::vector<NSXPCMessage>& messages() const { return m_messages; }
    const NSXPCMessage* messageForSelector(std::string_view selector) const;
    const NSXPCMessage* messageForMember(std::string_view member) const;

    /// The D-Bus introspection document of the interface.
    std::string introspectionXML() const;

private:
    std::string m_name;
    std::string m_objectPath;
    std::vector<NSXPCMessage> m_messages;
};
