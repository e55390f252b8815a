#pragma once

#include <memory>

#include "platform/core/NSGeometry.h"

/// The six numbers of an affine matrix: a point (x, y) maps to
/// (m11·x + m21·y + tX, m12·x + m22·y + tY).
struct NSAffineTransformStruct {
    double m11 = 1;
    double m12 = 0;
    double m21 = 0;
    double m22 = 1;
    double tX = 0;
    double tY = 0;
    friend bool operator==(const NSAffineTransformStruct&, const NSAffineTransformStruct&) = default;
};

/// A 2-D affine transform. Every operation is put in front of those added before it, so
/// the operation added last is the first to act on a point (as with cairo_matrix_translate):
/// translate(a), rotate(r), translate(-a) turns points about a.
class NSAffineTransform {
public:
    /// The identity.
    static std::shared_ptr<NSAffineTransform> transform();
    /// A copy of another transform (`initWithTransform:`).
    static std::shared_ptr<NSAffineTransform> transformWithTransform(const NSAffineTransform& other);

    NSAffineTransform() = default;
    explicit NSAffineTransform(NSAffineTransformStruct matrix) : m_matrix(matrix) {}

    void translateXBy(double x, double y);
    /// Counter-clockwise in a y-up space. The sine and cosine are not rounded, so a quarter
    /// turn keeps its tiny rounding error (cos 90° is 6.1e-17, not 0).
    void rotateByDegrees(double degrees);
    void rotateByRadians(double radians);
    void scaleXBy(double x, double y);
    void scaleBy(double scale) { scaleXBy(scale, scale); }

    /// The receiver acts first, then `other`.
    void appendTransform(const NSAffineTransform& other);
    /// `other` acts first, then the receiver.
    void prependTransform(const NSAffineTransform& other);
    /// Becomes its inverse; a singular matrix is left unchanged (there is no inverse).
    void invert();

    NSPoint transformPoint(NSPoint point) const;
    /// Maps a distance: the translation does not apply.
    NSSize transformSize(NSSize size) const;

    /// Appends the transform to the current drawing state, so that what is drawn next
    /// is mapped through it first. Does nothing without a current context.
    void concat() const;
    /// Replaces the current drawing state's transform by this one.
    void set() const;

    NSAffineTransformStruct transformStruct() const { return m_matrix; }
    void setTransformStruct(NSAffineTransformStruct matrix) { m_matrix = matrix; }

private:
    NSAffineTransformStruct m_matrix;
};
