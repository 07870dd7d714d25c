#pragma once

#include "geometry/zylhmatrix.h"

class GL_Viewer;

// What the marks of lights, cameras and manipulators have in common.
namespace glyph
{
/// The length of one pixel at a point of the world. Marks are drawn by it, so that they show in
/// every view, however large the scene.
float pixelSize(const GL_Viewer* viewer, const geometry::Vector3f& point);
/// Likewise for a point of this z in the eye's space.
float pixelSizeAt(const GL_Viewer* viewer, float eyeZ);

/// A matrix from its rows.
geometry::Matrix4f frame(const geometry::Vector3f& x, const geometry::Vector3f& y,
                         const geometry::Vector3f& z, const geometry::Vector3f& origin);
/// A matrix that turns z to the direction (or not at all, if that is zero) and moves to the origin.
geometry::Matrix4f along(const geometry::Vector3f& direction,
                         const geometry::Vector3f& origin = geometry::Vector3f());

/// The first three numbers of a row: where an axis goes, or the origin.
geometry::Vector3f row(const geometry::Matrix4f& matrix, int row);

void vertex(const geometry::Vector3f& point);
void line(const geometry::Vector3f& from, const geometry::Vector3f& to);
/// A pointed arrow along z from the origin.
void arrow(float length);

/// A push of GL's matrix until the end of the scope.
class Space
{
public:
    explicit Space(const geometry::Vector3f& origin);
    explicit Space(const geometry::Matrix4f& matrix);
    ~Space();
    Space(const Space&) = delete;
    Space& operator=(const Space&) = delete;
};
} // namespace glyph
