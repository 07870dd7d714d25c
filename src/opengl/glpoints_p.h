#pragma once

#include "geometry/gvector.h"
#include "geometry/zylbox.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylvector.h"

#include <vector>

/// Reads vertices of any type and dimension as points in space: the last number of homogeneous
/// ones, and the fourth of any, is a weight; missing ones are 0. Floats of three are used where
/// they stand.
class GL_PointView
{
public:
    explicit GL_PointView(const geometry::GVectorArray& vertices);
    GL_PointView(const GL_PointView&) = delete;
    GL_PointView& operator=(const GL_PointView&) = delete;

    unsigned size() const { return m_size; }
    const geometry::Vector3f* data() const { return m_data; }
    const geometry::Vector3f& operator[](unsigned i) const { return m_data[i]; }
    /// Points that are no finite numbers count nowhere.
    geometry::Box3f bounds() const;

    /// As many as a view has.
    static unsigned count(const geometry::GVectorArray& vertices)
    {
        return vertices.type() == geometry::GVector::Bytes ? 0 : vertices.size();
    }
    /// Which number of a vertex is its weight, or -1.
    static int weightIndex(int dimension, unsigned flags);
    /// One vertex, of the flags word of its array.
    static geometry::Vector3f point(const float* numbers, int dimension, unsigned flags);
    // These change vertices for all who share the array. Weights stay.
    /// The vertex must be there.
    static void replace(geometry::GVectorArray& vertices, unsigned index,
                        const geometry::Vector3f& point);
    /// All vertices, by `count` points.
    static void replace(geometry::GVectorArray& vertices, const geometry::Vector3f* points);
    static void transform(geometry::GVectorArray& vertices, const geometry::Matrix4f& matrix);

private:
    const geometry::Vector3f* m_data = nullptr;
    unsigned m_size = 0;
    std::vector<geometry::Vector3f> m_own;
};
