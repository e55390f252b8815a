#include "platform/ipc/NSXPCInterface.h"

const NSXPCMessage* NSXPCInterface::messageForSelector(std::string_view selector) const {
    for (const auto& message : m_messages) {
        if (message.selector == selector)
            return &message;
    }
    return nullptr;
}

const NSXPCMessage* NSXPCInterface::messageForMember(std::string_view member) const {
    for (const auto& message : m_messages) {
        if (message.member == member)
            return &message;
    }
    return nullptr;
}

std::string NSXPCInterface::introspectionXML() const {
    std::string xml = "<node>\n  <interface name=\"" + m_name + "\">\n";
    for (const auto& message : m_messages) {
        xml += "    <method name=\"" + message.member + "\">\n";
        for (int i = 0; i < message.dictionaryArguments; ++i)
            xml += "      <arg type=\"a{sv}\" direction=\"in\"/>\n";
        xml += "      <annotation name=\"org.freedesktop.DBus.Method.NoReply\" value=\"true\"/>\n";
        xml += "    </method>\n";
    }
    xml += "  </interface>\n</node>\n";
    return xml;
}
