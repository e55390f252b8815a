#include "service/jobs/LXVideoFrameTransform.h"

#include "service/LXVideoFrameProtocols.h"

std::shared_ptr<NSAffineTransform> TransformForFrameOptions(const PropertyValue* transforms, NSSize frameSize) {
    const PropertyDictionary* options = transforms ? transforms->dictionary() : nullptr;
    if (!options || options->empty())
        return nullptr;

    auto readBool = [&](const char* key) {
        const PropertyValue* value = PropertyValueForKey(*options, key);
        return value ? value->boolValue().value_or(false) : false;
    };
    const PropertyValue* rotationValue = PropertyValueForKey(*options, LXVideoFrameKey::rotation);
    bool flipHorizontal = readBool(LXVideoFrameKey::flipHorizontal);
    bool flipVertical = readBool(LXVideoFrameKey::flipVertical);
    int32_t rotation = rotationValue ? rotationValue->intValue().value_or(0) : 0;

    auto transform = NSAffineTransform::transform();
    double width = frameSize.width;
    double height = frameSize.height;
    if (rotation != 0) {
        double angle = rotation;
        if (rotation == 90 || rotation == -90) {
            angle = -rotation;
            std::swap(width, height);
        }
        transform->translateXBy(width * 0.5, height * 0.5);
        transform->rotateByDegrees(angle);
        transform->translateXBy(width * -0.5, height * -0.5);
    }
    if (flipHorizontal) {
        transform->translateXBy(width, 0);
        transform->scaleXBy(-1, 1);
    }
    if (flipVertical) {
        transform->translateXBy(0, height);
        transform->scaleXBy(1, -1);
    }
    return transform;
}
