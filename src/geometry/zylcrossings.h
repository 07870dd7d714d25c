#pragma once

#include "geometry/zylforward.h"
#include "tools/vmemarray.h"

namespace geometry
{
class CurveVector;
class PathIterator;

/// What the edges of a path do left of a box: the ranges of y that they pass there.
///
/// No edge may come into the box. While that holds, a height of the box is inside the path where
/// the ranges say so.
class ZYL_EXPORT Crossings
{
public:
    explicit Crossings(const Box2f& box);
    Crossings(const Crossings&) = delete;
    Crossings& operator=(const Crossings&) = delete;
    virtual ~Crossings();

    /// Enters an edge left of the box. Nothing happens unless `ystart` is below `yend`.
    virtual void record(double ystart, double yend, int direction) = 0;
    /// Whether the ranges cover all from `ystart` to `yend`.
    virtual bool covers(double ystart, double yend) const = 0;

    /// A new object with a whole path's crossings, its subpaths closed; the caller deletes it. Null
    /// when an edge comes into the box. A level closing edge isn't seen.
    static Crossings* findCrossings(PathIterator& path, const Box2f& box);
    /// The same of monotonic pieces, always by the even-odd rule.
    static Crossings* findCrossings(const CurveVector& curves, const Box2f& box);

    // Each enters one edge, and returns true if it comes into the box instead.
    bool accumulateLine(double x0, double y0, double x1, double y1);
    /// From the top to the bottom.
    bool accumulateLine(double x0, double y0, double x1, double y1, int direction);
    /// `coords` holds the points after the first.
    bool accumulateQuad(double x0, double y0, const double* coords);
    bool accumulateCubic(double x0, double y0, const double* coords);
    /// A curve of any degree. One that isn't clearly beside the box counts as coming into it.
    bool accumulateCurve(double x0, double y0, const double* coords, int degree);

    double xlo() const { return m_xlo; }
    double ylo() const { return m_ylo; }
    double xhi() const { return m_xhi; }
    double yhi() const { return m_yhi; }

    bool isEmpty() const
    {
        settle();
        return m_limit == 0;
    }
    /// How many numbers of `ranges` are used, two to a range.
    int limit() const
    {
        settle();
        return m_limit;
    }
    const double* ranges() const
    {
        settle();
        return m_yranges.data();
    }
    /// Debug text of the ranges.
    void print() const;

protected:
    virtual void settle() const {}
    static constexpr int firstRoom = 10;

    // A subclass may leave ranges unordered until somebody asks.
    mutable int m_limit = 0;
    mutable VMemArray<double> m_yranges;

private:
    enum class Place { Beside, Left, Near };
    Place placeOf(double x0, double y0, const double* coords, int degree) const;
    void recordEnds(double y0, double y1);

    double m_xlo, m_ylo, m_xhi, m_yhi;
};

/// Crossings by the even-odd rule: ranges that are passed an odd number of times.
class ZYL_EXPORT EvenOdd : public Crossings
{
public:
    using Crossings::Crossings;

    void record(double ystart, double yend, int direction) override;
    /// Only by a single range.
    bool covers(double ystart, double yend) const override;

protected:
    void settle() const override;

private:
    void toggle(double y);

    mutable int m_settled = 0;
};

/// Crossings by the non-zero rule: ranges with the sum of their directions.
class ZYL_EXPORT NonZero : public Crossings
{
public:
    using Crossings::Crossings;

    void record(double ystart, double yend, int direction) override;
    bool covers(double ystart, double yend) const override;
    /// The sum of a range, by the index of its lower number.
    int crosscount(int index) const { return m_crosscounts[unsigned(index) / 2]; }

private:
    bool insert(int index, double lo, double hi, int direction);
    void remove(int index);

    VMemArray<int> m_crosscounts;
};
} // namespace geometry
