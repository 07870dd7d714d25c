#include "geometry/zylcrossings.h"

#include "geometry/zylcrossings_p.h"
#include "geometry/zylcurveorders_p.h"
#include "geometry/zylpathwalk_p.h"
#include "tools/vexception.h"

#include <qlogging.h>
#include <qstring.h>

#include <algorithm>
#include <memory>

namespace geometry
{
Crossings::Crossings(const Box2f& box)
    : m_xlo(box.min.x), m_ylo(box.min.y), m_xhi(box.max.x), m_yhi(box.max.y)
{
}

Crossings::~Crossings() = default;

Crossings* Crossings::findCrossings(PathIterator& path, const Box2f& box)
{
    std::unique_ptr<Crossings> crossings;
    if (path.windingRule() == EvenOddRule)
        crossings = std::make_unique<EvenOdd>(box);
    else
        crossings = std::make_unique<NonZero>(box);
    CrossingsVisitor visitor(*crossings, box);
    try {
        return walkPath(path, visitor) == WalkEnd::Done ? crossings.release() : nullptr;
    } catch (const QString&) {
        return nullptr; // a curve that isn't made of numbers
    } catch (const VException&) {
        return nullptr;
    }
}

Crossings* Crossings::findCrossings(const CurveVector& curves, const Box2f& box)
{
    auto crossings = std::make_unique<EvenOdd>(box);
    try {
        for (const Curve* curve : curves)
            if (curve && curve->accumulateCrossings(*crossings))
                return nullptr;
    } catch (const QString&) {
        return nullptr;
    } catch (const VException&) {
        return nullptr;
    }
    return crossings.release();
}

bool Crossings::accumulateLine(double x0, double y0, double x1, double y1)
{
    return y0 < y1 ? accumulateLine(x0, y0, x1, y1, Curve::Increasing)
                   : accumulateLine(x1, y1, x0, y0, Curve::Decreasing);
}

bool Crossings::accumulateLine(double x0, double y0, double x1, double y1, int direction)
{
    if (y0 >= m_yhi || y1 <= m_ylo || (x0 >= m_xhi && x1 >= m_xhi))
        return false;
    if (y0 == y1)
        return x0 >= m_xlo || x1 >= m_xlo;
    const double slope = (x1 - x0) / (y1 - y0);
    double xstart = x0, ystart = y0, xend = x1, yend = y1;
    if (y0 < m_ylo) {
        xstart = x0 + (m_ylo - y0) * slope;
        ystart = m_ylo;
    }
    if (m_yhi < y1) {
        xend = x0 + (m_yhi - y0) * slope;
        yend = m_yhi;
    }
    if (xstart >= m_xhi && xend >= m_xhi)
        return false;
    if (xstart > m_xlo || xend > m_xlo)
        return true;
    record(ystart, yend, direction);
    return false;
}

bool Crossings::accumulateQuad(double x0, double y0, const double* coords)
{
    switch (placeOf(x0, y0, coords, QuadSegment)) {
    case Place::Beside:
        return false;
    case Place::Left:
        recordEnds(y0, coords[3]);
        return false;
    case Place::Near:
        break;
    }
    double tmp[10];
    return pieces::ofPathQuad(tmp, x0, y0, coords, [this](const double* c, int direction) {
        const std::optional<Order2> piece = pieces::quadPiece(c, direction);
        return piece && piece->accumulateCrossings(*this);
    });
}

bool Crossings::accumulateCubic(double x0, double y0, const double* coords)
{
    switch (placeOf(x0, y0, coords, CubicSegment)) {
    case Place::Beside:
        return false;
    case Place::Left:
        recordEnds(y0, coords[5]);
        return false;
    case Place::Near:
        break;
    }
    double tmp[23];
    return pieces::ofPathCubic(tmp, x0, y0, coords, [this](const double* c, int direction) {
        const std::optional<Order3> piece = pieces::cubicPiece(c, direction);
        return piece && piece->accumulateCrossings(*this);
    });
}

bool Crossings::accumulateCurve(double x0, double y0, const double* coords, int degree)
{
    const Place place = placeOf(x0, y0, coords, degree);
    if (place == Place::Left)
        recordEnds(y0, coords[2 * degree - 1]);
    return place == Place::Near;
}

/// Where a curve stands by its points. Left means that none reaches the box's left side.
Crossings::Place Crossings::placeOf(double x0, double y0, const double* coords, int degree) const
{
    bool above = y0<m_ylo, below = y0> m_yhi, right = x0 > m_xhi, left = x0 < m_xlo;
    for (int i = 0; i < degree; ++i) {
        const double x = coords[2 * i], y = coords[2 * i + 1];
        above = above && y < m_ylo;
        below = below && y > m_yhi;
        right = right && x > m_xhi;
        left = left && x < m_xlo;
    }
    return above || below || right ? Place::Beside : left ? Place::Left : Place::Near;
}

/// Of an edge wholly on the left only the ends count: what it passes twice cancels out.
void Crossings::recordEnds(double y0, double y1)
{
    record(std::max(m_ylo, std::min(y0, y1)), std::min(m_yhi, std::max(y0, y1)),
           y0 <= y1 ? Curve::Increasing : Curve::Decreasing);
}

void Crossings::print() const
{
    settle();
    qDebug("Crossings [");
    qDebug("  bounds = [%g, %g]", m_ylo, m_yhi);
    for (int i = 0; i < m_limit; i += 2)
        qDebug("  [%g, %g]", m_yranges.data()[i], m_yranges.data()[i + 1]);
    qDebug("]");
}

// Where the number of passes changes between odd and even is all that counts, and a height that
// comes twice is none. So the ends can gather in any order and be sorted once: a path of many
// subpaths would take quadratic time otherwise.
void EvenOdd::record(double ystart, double yend, int direction)
{
    if (!(ystart < yend))
        return;
    // Path order lets each edge cancel the end of the one before.
    toggle(direction == Curve::Increasing ? ystart : yend);
    toggle(direction == Curve::Increasing ? yend : ystart);
}

void EvenOdd::toggle(double y)
{
    if (m_limit > 0 && m_yranges.data()[m_limit - 1] == y) {
        --m_limit;
        m_settled = std::min(m_settled, m_limit);
        return;
    }
    unsigned room = m_yranges.size();
    if (unsigned(m_limit) == room) {
        settle();
        // Sorting again pays off only after as many more ends have come.
        if (unsigned(m_limit) >= room / 2) {
            room = room ? 2 * room : firstRoom;
            if (!m_yranges.resize(room)) {
                m_limit = m_settled = 0;
                return;
            }
        }
    }
    m_yranges.data()[m_limit++] = y;
}

void EvenOdd::settle() const
{
    if (m_settled == m_limit)
        return;
    double* const ends = m_yranges.data();
    std::sort(ends, ends + m_limit);
    int kept = 0;
    for (int i = 0; i < m_limit; ++i) {
        if (kept > 0 && ends[kept - 1] == ends[i])
            --kept;
        else
            ends[kept++] = ends[i];
    }
    m_limit = m_settled = kept;
}

bool EvenOdd::covers(double ystart, double yend) const
{
    settle();
    return m_limit == 2 && m_yranges.data()[0] <= ystart && m_yranges.data()[1] >= yend;
}

void NonZero::record(double ystart, double yend, int direction)
{
    if (!(ystart < yend))
        return;
    int cur = 0;
    const double* ranges = m_yranges.data();
    while (cur < m_limit && ystart > ranges[cur + 1])
        cur += 2;
    if (cur < m_limit) {
        int rdir = crosscount(cur);
        double yrlo = ranges[cur], yrhi = ranges[cur + 1];
        if (yrhi == ystart && rdir == direction) {
            // The range goes on with this pair, and may run into the next.
            if (cur + 2 == m_limit) {
                m_yranges.data()[cur + 1] = yend;
                return;
            }
            remove(cur);
            ystart = yrlo;
            rdir = crosscount(cur);
            yrlo = ranges[cur];
            yrhi = ranges[cur + 1];
        }
        if (yend < yrlo) {
            insert(cur, ystart, yend, direction);
            return;
        }
        if (yend == yrlo && rdir == direction) {
            m_yranges.data()[cur] = ystart;
            return;
        }
        if (ystart < yrlo) {
            if (!insert(cur, ystart, yrlo, direction))
                return;
            cur += 2;
            ystart = yrlo;
        } else if (yrlo < ystart) {
            if (!insert(cur, yrlo, ystart, rdir))
                return;
            cur += 2;
        }
        const int newdir = rdir + direction;
        const double newend = std::min(yend, yrhi);
        if (newdir == 0) {
            remove(cur);
        } else {
            m_crosscounts[unsigned(cur) / 2] = newdir;
            m_yranges.data()[cur] = ystart;
            m_yranges.data()[cur + 1] = newend;
            cur += 2;
        }
        ystart = newend;
        if (newend < yrhi)
            insert(cur, newend, yrhi, rdir);
    }
    if (ystart < yend)
        insert(cur, ystart, yend, direction);
}

/// False, with no range left, if there is no memory.
bool NonZero::insert(int index, double lo, double hi, int direction)
{
    if (unsigned(m_limit) + 2 > m_yranges.size()) {
        // Ten numbers a time, and for long lists by a part of their length, which keeps the cost of
        // moving them in proportion.
        const unsigned room = unsigned(m_limit) + firstRoom + unsigned(m_limit) / 20 * 10;
        if (!m_yranges.resize(room) || !m_crosscounts.resize(room / 2)) {
            m_limit = 0;
            m_yranges.resize(0);
            return false;
        }
    }
    double* const ranges = m_yranges.data();
    int* const counts = m_crosscounts.data();
    std::copy_backward(ranges + index, ranges + m_limit, ranges + m_limit + 2);
    std::copy_backward(counts + index / 2, counts + m_limit / 2, counts + m_limit / 2 + 1);
    ranges[index] = lo;
    ranges[index + 1] = hi;
    counts[index / 2] = direction;
    m_limit += 2;
    return true;
}

void NonZero::remove(int index)
{
    double* const ranges = m_yranges.data();
    int* const counts = m_crosscounts.data();
    m_limit -= 2;
    std::copy(ranges + index + 2, ranges + m_limit + 2, ranges + index);
    std::copy(counts + index / 2 + 1, counts + m_limit / 2 + 1, counts + index / 2);
}

bool NonZero::covers(double ystart, double yend) const
{
    for (int cur = 0; cur < m_limit; cur += 2) {
        const double low = m_yranges.data()[cur], high = m_yranges.data()[cur + 1];
        if (high < ystart)
            continue;
        if (low > ystart)
            return false;
        if (high >= yend)
            return true;
        ystart = high;
    }
    return false;
}
} // namespace geometry
