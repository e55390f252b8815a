#include "platform/graphics/NSShadow.h"

#include "platform/graphics/NSGraphicsContext.h"

void NSShadow::set() const {
    if (NSGraphicsContext* context = NSGraphicsContext::currentContext())
        context->setShadow(*this);
}
