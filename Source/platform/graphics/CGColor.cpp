#include "platform/graphics/CGColor.h"

CGColorRef CGColorCreate(const CGColorSpace* space, const double* components) {
    if (!space || !components || space->model() == CGColorSpaceModel::Pattern || space->numberOfComponents() == 0)
        return nullptr;
    std::vector<double> values(components, components + space->numberOfComponents() + 1);
    return std::make_shared<CGColor>(CGColorSpaceRetain(space), values, space->colorWithComponents(values.data()));
}

CGColorRef CGColorCreateWithPattern(const CGColorSpace* space, CGPatternRef pattern, const double* components) {
    if (!space || space->model() != CGColorSpaceModel::Pattern || !pattern || !components)
        return nullptr;
    return std::make_shared<CGColor>(CGColorSpaceRetain(space), std::vector<double>{components[0]},
                                     NSColor::colorWithPattern(std::move(pattern), components[0]));
}
