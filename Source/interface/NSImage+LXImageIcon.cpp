#include "interface/NSImage+LXImageIcon.h"

#include <map>

#include "foundation/NSString+LXStringFileTypes.h"
#include "platform/files/UTType.h"
#include "platform/graphics/NSWorkspaceIcons.h"

namespace LXImage {

namespace {

constexpr uint32_t kGenericDocumentCode = 0x646f6375; // 'docu'

/// The workspace's icon for a type string: the type's MIME type, through GIO's icon
/// names and the icon theme. "'docu'" is the generic document. Null for a type the
/// registry does not know.
std::shared_ptr<NSImage> WorkspaceIconForFileType(const std::string& typeString) {
    if (LXString::OSType(typeString) == kGenericDocumentCode)
        return GenericDocumentIcon();
    std::optional<std::string> identifier = LXString::fileTypeIdentifier(typeString);
    if (!identifier || UTTypeIsDynamic(*identifier))
        return nullptr;
    std::optional<std::string> mime = UTTypeCopyPreferredTagWithClass(*identifier, UTTagClass::MIMEType);
    if (!mime)
        return UTTypeConformsTo(*identifier, kUTTypeFolder) ? IconForNames({"folder"}) : nullptr;
    return IconForContentType(*mime);
}

} // namespace

std::shared_ptr<NSImage> iconForFileType(const std::string* typeString) {
    static std::map<std::string, std::shared_ptr<NSImage>> cache;
    if (!typeString)
        return nullptr;
    if (auto cached = cache.find(*typeString); cached != cache.end())
        return cached->second;
    std::shared_ptr<NSImage> icon = WorkspaceIconForFileType(*typeString);
    if (!icon)
        icon = WorkspaceIconForFileType("'docu'");
    if (!icon)
        return nullptr;
    std::shared_ptr<NSImage> copy = icon->copy();
    copy->setSize(NSMakeSize(512.0, 512.0));
    cache.emplace(*typeString, copy);
    return copy;
}

} // namespace LXImage
