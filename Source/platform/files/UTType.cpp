#include "platform/files/UTType.h"

#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <gio/gio.h>

#include "platform/core/GLibHandles.h"
#include "platform/core/GObjectRef.h"
#include "platform/files/UTTypeTable.h"

namespace {

std::string asciiLower(std::string_view text) {
    std::string lowered(text);
    for (char& byte : lowered)
        byte = g_ascii_tolower(byte);
    return lowered;
}

std::vector<std::string> splitList(const char* list) {
    std::vector<std::string> items;
    std::string_view rest(list);
    while (!rest.empty()) {
        const size_t comma = rest.find(',');
        items.emplace_back(rest.substr(0, comma));
        if (comma == std::string_view::npos)
            break;
        rest.remove_prefix(comma + 1);
    }
    return items;
}

struct TypeEntry {
    std::string identifier;
    std::vector<std::string> conformsTo;
    std::vector<std::string> extensions;
    std::vector<std::string> mimeTypes;
    std::vector<std::string> osTypes;

    const std::vector<std::string>& tags(UTTagClass tagClass) const {
        switch (tagClass) {
        case UTTagClass::FilenameExtension:
            return extensions;
        case UTTagClass::MIMEType:
            return mimeTypes;
        case UTTagClass::OSType:
            break;
        }
        return osTypes;
    }
};

using Index = std::unordered_map<std::string, std::vector<size_t>>;

// The table turned into lookups once; identifiers, extensions and MIME types are keyed in
// lower case, four-character codes exactly.
struct Registry {
    std::vector<TypeEntry> types;
    std::unordered_map<std::string, size_t> byIdentifier;
    Index byExtension;
    Index byMIMEType;
    Index byOSType;

    const Index& index(UTTagClass tagClass) const {
        switch (tagClass) {
        case UTTagClass::FilenameExtension:
            return byExtension;
        case UTTagClass::MIMEType:
            return byMIMEType;
        case UTTagClass::OSType:
            break;
        }
        return byOSType;
    }

    const TypeEntry* find(std::string_view identifier) const {
        const auto found = byIdentifier.find(asciiLower(identifier));
        return found == byIdentifier.end() ? nullptr : &types[found->second];
    }
};

const Registry& registry() {
    static const Registry loaded = [] {
        Registry registry;
        for (size_t row = 0; row < kUTTypeTableSize; ++row) {
            const UTTypeRecord& record = kUTTypeTable[row];
            TypeEntry entry{record.identifier, splitList(record.conformsTo), splitList(record.extensions),
                            splitList(record.mimeTypes), splitList(record.osTypes)};
            registry.byIdentifier.emplace(asciiLower(entry.identifier), row);
            for (const std::string& extension : entry.extensions)
                registry.byExtension[asciiLower(extension)].push_back(row);
            for (const std::string& mimeType : entry.mimeTypes)
                registry.byMIMEType[asciiLower(mimeType)].push_back(row);
            for (const std::string& code : entry.osTypes)
                registry.byOSType[code].push_back(row);
            registry.types.push_back(std::move(entry));
        }
        return registry;
    }();
    return loaded;
}

// Dynamic identifiers: "dyn." then one letter for the tag class and the tag's bytes in
// lower-case base 32 (RFC 4648 alphabet), which keeps them within the characters an
// identifier may hold and lets them convert back exactly.
constexpr std::string_view kDynamicPrefix = "dyn.";
constexpr std::string_view kBase32 = "abcdefghijklmnopqrstuvwxyz234567";

char letterForClass(UTTagClass tagClass) {
    switch (tagClass) {
    case UTTagClass::FilenameExtension:
        return 'e';
    case UTTagClass::MIMEType:
        return 'm';
    case UTTagClass::OSType:
        break;
    }
    return 'o';
}

std::string dynamicIdentifier(UTTagClass tagClass, std::string_view tag) {
    std::string identifier(kDynamicPrefix);
    identifier += letterForClass(tagClass);
    uint32_t buffer = 0;
    int bits = 0;
    for (const char byte : tag) {
        buffer = (buffer << 8) | static_cast<unsigned char>(byte);
        bits += 8;
        while (bits >= 5) {
            identifier += kBase32[(buffer >> (bits - 5)) & 31];
            bits -= 5;
        }
    }
    if (bits > 0)
        identifier += kBase32[(buffer << (5 - bits)) & 31];
    return identifier;
}

struct DynamicTag {
    UTTagClass tagClass;
    std::string tag;
};

std::optional<DynamicTag> decodeDynamic(std::string_view identifier) {
    if (identifier.size() < kDynamicPrefix.size() + 2 ||
        asciiLower(identifier.substr(0, 4)) != kDynamicPrefix)
        return std::nullopt;
    DynamicTag decoded;
    switch (identifier[4]) {
    case 'e':
        decoded.tagClass = UTTagClass::FilenameExtension;
        break;
    case 'm':
        decoded.tagClass = UTTagClass::MIMEType;
        break;
    case 'o':
        decoded.tagClass = UTTagClass::OSType;
        break;
    default:
        return std::nullopt;
    }
    uint32_t buffer = 0;
    int bits = 0;
    for (const char digit : identifier.substr(5)) {
        const size_t value = kBase32.find(digit);
        if (value == std::string_view::npos)
            return std::nullopt;
        buffer = (buffer << 5) | static_cast<uint32_t>(value);
        bits += 5;
        if (bits >= 8) {
            decoded.tag += static_cast<char>((buffer >> (bits - 8)) & 0xFF);
            bits -= 8;
        }
    }
    if (decoded.tag.empty())
        return std::nullopt;
    return decoded;
}

// shared-mime-info names each type it describes; an alias or a type it does not know gets
// only a made-up "… type" text from GIO, which is no description.
bool isRegisteredContentType(const std::string& contentType) {
    static const std::unordered_set<std::string> registered = [] {
        std::unordered_set<std::string> names;
        GList* list = g_content_types_get_registered();
        for (GList* item = list; item; item = item->next)
            names.emplace(static_cast<const char*>(item->data));
        g_list_free_full(list, g_free);
        return names;
    }();
    return registered.count(contentType) > 0;
}

std::optional<std::string> describeContentType(const std::string& contentType) {
    if (!isRegisteredContentType(contentType))
        return std::nullopt;
    GCharHandle description(g_content_type_get_description(contentType.c_str()));
    if (!description || !*description.get())
        return std::nullopt;
    return std::string(description.get());
}

std::optional<std::string> mimeTypeForDynamicTag(const DynamicTag& dynamic) {
    if (dynamic.tagClass == UTTagClass::MIMEType)
        return dynamic.tag;
    if (dynamic.tagClass != UTTagClass::FilenameExtension)
        return std::nullopt;
    const std::string name = "file." + dynamic.tag;
    gboolean uncertain = FALSE;
    GCharHandle guessed(g_content_type_guess(name.c_str(), nullptr, 0, &uncertain));
    if (!guessed || uncertain || g_content_type_is_unknown(guessed.get()))
        return std::nullopt;
    return std::string(guessed.get());
}

char32_t nextCodePoint(std::string_view text, size_t& offset) {
    const auto lead = static_cast<unsigned char>(text[offset++]);
    int extra = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
    char32_t value = extra == 3 ? lead & 0x07 : extra == 2 ? lead & 0x0F : extra == 1 ? lead & 0x1F : lead;
    for (; extra > 0 && offset < text.size(); --extra)
        value = (value << 6) | (static_cast<unsigned char>(text[offset++]) & 0x3F);
    return value;
}

} // namespace

std::optional<std::string>
UTTypeCreatePreferredIdentifierForTag(UTTagClass tagClass, std::string_view tag,
                                      std::optional<std::string_view> conformingTo) {
    if (tag.empty())
        return std::nullopt;
    const Registry& types = registry();
    const Index& index = types.index(tagClass);
    const auto found = index.find(tagClass == UTTagClass::OSType ? std::string(tag) : asciiLower(tag));
    if (found != index.end()) {
        for (const size_t row : found->second) {
            const std::string& identifier = types.types[row].identifier;
            if (!conformingTo || UTTypeConformsTo(identifier, *conformingTo))
                return identifier;
        }
    }
    return dynamicIdentifier(tagClass, tag);
}

std::optional<std::string> UTTypeCopyPreferredTagWithClass(std::string_view identifier, UTTagClass tagClass) {
    if (const auto dynamic = decodeDynamic(identifier)) {
        if (dynamic->tagClass == tagClass)
            return dynamic->tag;
        return std::nullopt;
    }
    const TypeEntry* entry = registry().find(identifier);
    if (!entry || entry->tags(tagClass).empty())
        return std::nullopt;
    return entry->tags(tagClass).front();
}

std::optional<std::string> UTTypeCopyDescription(std::string_view identifier) {
    if (const auto dynamic = decodeDynamic(identifier)) {
        const auto mimeType = mimeTypeForDynamicTag(*dynamic);
        return mimeType ? describeContentType(*mimeType) : std::nullopt;
    }
    const TypeEntry* entry = registry().find(identifier);
    if (!entry)
        return std::nullopt;
    for (const std::string& mimeType : entry->mimeTypes) {
        if (auto description = describeContentType(mimeType))
            return description;
    }
    return std::nullopt;
}

bool UTTypeConformsTo(std::string_view identifier, std::string_view conformsTo) {
    if (asciiLower(identifier) == asciiLower(conformsTo))
        return true;
    if (decodeDynamic(identifier))
        return UTTypeConformsTo(kUTTypeData, conformsTo);
    const TypeEntry* entry = registry().find(identifier);
    if (!entry)
        return false;
    for (const std::string& parent : entry->conformsTo) {
        if (UTTypeConformsTo(parent, conformsTo))
            return true;
    }
    return false;
}

bool UTTypeIsDynamic(std::string_view identifier) {
    return decodeDynamic(identifier).has_value();
}

std::optional<std::string> UTTypeIdentifierForContentType(std::string_view contentType) {
    if (contentType.empty())
        return std::nullopt;
    const Registry& types = registry();
    if (const auto found = types.byMIMEType.find(asciiLower(contentType)); found != types.byMIMEType.end())
        return types.types[found->second.front()].identifier;
    // shared-mime-info may answer with an alias of a name the table lists.
    const std::string type(contentType);
    for (const TypeEntry& entry : types.types) {
        for (const std::string& mimeType : entry.mimeTypes) {
            if (g_content_type_equals(type.c_str(), mimeType.c_str()))
                return entry.identifier;
        }
    }
    return dynamicIdentifier(UTTagClass::MIMEType, contentType);
}

std::optional<std::string> UTCreateStringForOSType(OSType code) {
    if (code == 0)
        return std::nullopt;
    std::string characters;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto byte = static_cast<unsigned char>((code >> shift) & 0xFF);
        if (byte < 0x80) {
            characters += static_cast<char>(byte);
        } else {
            characters += static_cast<char>(0xC0 | (byte >> 6));
            characters += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return characters;
}

OSType UTGetOSTypeFromString(std::string_view fourCharacters) {
    OSType code = 0;
    int count = 0;
    for (size_t offset = 0; offset < fourCharacters.size();) {
        const char32_t character = nextCodePoint(fourCharacters, offset);
        if (character > 0xFF || ++count > 4)
            return 0;
        code = (code << 8) | static_cast<OSType>(character);
    }
    return count == 4 ? code : 0;
}
