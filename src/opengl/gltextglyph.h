#pragma once

#include "geometry/zylbox.h"
#include "geometry/zylgeneralpath.h"
#include "geometry/zylvector.h"

#include <memory>
#include <utility>
#include <vector>

/// What a character looks like in a face. One em is the unit, the origin is on the baseline, and y
/// goes up.
class ZYL_EXPORT GL_Glyph
{
public:
    /// The outline as lines, and its inside as triangles.
    struct Shape {
        std::vector<geometry::Vector2f> points; ///< of the outlines, then where they cross
        std::vector<unsigned> ends;      ///< for each outline the number of points up to its end
        std::vector<unsigned> triangles; ///< three points each, counterclockwise
        /// Every outline has the inside at its left, so that walls along it face outward.
        bool isOriented = false;
    };

    /// The shape moved along z from 0 to 1.
    struct Solid {
        struct Vertex {
            geometry::Vector3f point, normal;
        };

        std::vector<Vertex> vertices;
        std::vector<unsigned> triangles; ///< the front first, which faces to z
        unsigned frontCount = 0;         ///< of the numbers in `triangles` that are the front's
        bool isClosed = false;
    };

    /// The most lines for a curve.
    static constexpr int mostSteps = 32;

    GL_Glyph(const geometry::GeneralPath2f& outline, float advance, unsigned index = 0);
    ~GL_Glyph();
    GL_Glyph(const GL_Glyph&) = delete;
    GL_Glyph& operator=(const GL_Glyph&) = delete;

    /// An upright box, which stands for what no font shows.
    static const GL_Glyph& box();

    /// Its number in the face.
    unsigned index() const { return m_index; }
    /// How far the next character is.
    float advance() const { return m_advance; }
    bool isBlank() const { return m_outline.types.isEmpty(); }
    const geometry::GeneralPath2f& outline() const { return m_outline; }
    /// Of the outline's control points; empty for a blank.
    const geometry::Box2f& bounds() const { return m_bounds; }
    // Made at the first call with so many lines for each curve, at least 2, and kept.
    const Shape& shape(int steps) const;
    const Solid& solid(int steps) const;

private:
    template <class T>
    using Kept = std::vector<std::pair<int, std::unique_ptr<T>>>; // by steps

    template <class T, class Make>
    static const T& kept(Kept<T>& all, int steps, Make make);
    void makeShape(Shape& shape, int steps) const;
    void makeSolid(Solid& solid, int steps) const;

    geometry::GeneralPath2f m_outline;
    geometry::Box2f m_bounds;
    float m_advance;
    unsigned m_index;
    mutable Kept<Shape> m_shapes;
    mutable Kept<Solid> m_solids;
};
