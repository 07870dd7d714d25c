#pragma once

#include "geometry/zylvertexshape.h"
#include "math/msbarray.h"
#include "tools/vptrvector.h"

#include <cstdlib>
#include <memory>

namespace geometry
{
/// The knots of a curve, numbers of the type of its vertices: double beside doubles, else float.
/// Copies share them until one is given others.
class ZYL_EXPORT KnotVector : private VGArray
{
public:
    KnotVector() = default;
    KnotVector(const void* knots, unsigned bytes) { duplicate(knots, bytes); }

    using VGArray::isEmpty;
    /// In bytes.
    using VGArray::size;
    void* data() const { return VGArray::data(); }
    template <class S>
    S* as() const
    {
        return static_cast<S*>(data());
    }

    /// Keeps the knots that fit; others are unset. Without memory it is empty, and the result
    /// false.
    bool resize(unsigned bytes);
    /// Nothing happens for a null or empty source. False if there is no memory.
    bool duplicate(const void* knots, unsigned bytes);
    void clear() { *this = KnotVector(); }

    /// Bytes of a knot beside vertices of a type, the low bits of a flags word.
    static unsigned itemSize(unsigned type)
    {
        return (type & GVector::typeMask) == GVector::Double ? 8 : 4;
    }
    static math::MSBArray encode_knots(unsigned type, const void* knots, unsigned count);
    /// Reads at most `count` knots and returns how many.
    static unsigned decode_knots(const math::MSBArray& bytes, unsigned type, void* knots,
                                 unsigned count);
};

/// A B-spline curve over control points, whose last number is a weight if they are homogeneous.
///
/// Copies share vertices and knots. `elevate` works on a copy of them if the vertices are shared.
class ZYL_EXPORT NurbsCurve : public virtual VertexShape
{
public:
    NurbsCurve() = default;
    /// Shares the points and copies as many knots as go with them, unless null.
    NurbsCurve(int curveOrder, const GVectorArray& points, const void* curveKnots = nullptr);
    NurbsCurve(const NurbsCurve& other) = default;
    NurbsCurve& operator=(const NurbsCurve& other) = default;
    ~NurbsCurve() override;

    /// Raises the order, to 2 + times at least, without changing the curve, which ends clamped.
    /// Missing knots are clamped ones. What is no curve, or has points that are no real numbers,
    /// stays as it is.
    void elevate(int times);

    int order = 2;
    KnotVector knots; // none, or as many as vertices and order together
};

ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const NurbsCurve& curve);
/// Leaves the curve as it was, with the stream's status set, where the stream holds no curve.
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, NurbsCurve& curve);

/// A curve on its way to be drawn or evaluated: borrowed arrays, which `check` replaces by its own
/// where they don't do. Those live as long as the record.
template <class S>
struct ZYL_EXPORT BasicNurbsCurveInfo {
    int count = 0; // control points
    const S* knots = nullptr;
    const S* points = nullptr;
    int knotCount = 0;

    BasicNurbsCurveInfo() = default;
    BasicNurbsCurveInfo(int pointCount, const S* curveKnots, const S* curvePoints, int knotsThere)
        : count(pointCount), knots(curveKnots), points(curvePoints), knotCount(knotsThere)
    {
    }

    /// Makes the curve fit to be evaluated. With both low bits of `flags` it is periodic: its first
    /// order - 1 points follow once more, over uniform knots. Otherwise missing knots are made,
    /// uniform ones with bit 0 and else clamped.
    ///
    /// Warns and returns false with too few points. False also with fewer knots than the curve
    /// takes, and without memory.
    bool check(int order, int bytesPerPoint, unsigned flags);

private:
    struct Free {
        void operator()(S* block) const { std::free(block); }
    };
    using Block = std::unique_ptr<S, Free>;

    bool makePeriodic(int order, int bytesPerPoint);
    static Block allocate(qint64 bytes);

    Block m_knots, m_points;
};
using NurbsCurveInfo = BasicNurbsCurveInfo<float>;
using DNurbsCurveInfo = BasicNurbsCurveInfo<double>;
extern template struct BasicNurbsCurveInfo<float>;
extern template struct BasicNurbsCurveInfo<double>;

/// A vector that owns its items and stores them by their stream operators. Copies hold items of
/// their own.
template <class T>
class ZYL_EXPORT NurbsVector : public VPtrVector<T>
{
public:
    NurbsVector() { this->setAutoDelete(true); }
    NurbsVector(const NurbsVector& other) : NurbsVector() { copy(other); }
    NurbsVector& operator=(const NurbsVector& other)
    {
        if (&other != this) {
            this->clear();
            copy(other);
        }
        return *this;
    }

    using VPtrVector<T>::read;
    using VPtrVector<T>::write;

protected:
    using typename VPtrCollection::Item;
    QDataStream& read(QDataStream& stream, Item& item) override;
    QDataStream& write(QDataStream& stream, Item item) const override;

private:
    void copy(const NurbsVector& other)
    {
        if (!this->resize(other.size()))
            return;
        for (unsigned i = 0; i < other.size(); ++i)
            if (other[i])
                this->insert(i, new T(*other[i]));
    }
};

class ZYL_EXPORT NurbsCurveVector : public NurbsVector<NurbsCurve>
{
};
extern template class NurbsVector<NurbsCurve>;
} // namespace geometry
