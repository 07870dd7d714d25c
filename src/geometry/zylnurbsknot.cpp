#include "geometry/zylnurbsknot.h"

#include "geometry/zylbspline_p.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace geometry
{
namespace
{
constexpr float tolerance = 1e-5f;

bool isEqual(float knot, float breakpoint)
{
    return std::abs(knot - breakpoint) < tolerance;
}

/// How often a knot of that multiplicity is to be inserted to end a Bezier segment.
int debt(int order, int multiplicity)
{
    return std::max(order - 1 - multiplicity, 0);
}

/// The affine combinations that this takes.
int factorsFor(int order, int multiplicity)
{
    const int missing = debt(order, multiplicity);
    return missing * (missing + 1) / 2;
}

void mix(int dim, float factor, const float* a, const float* b, float* out)
{
    for (int k = 0; k < dim; ++k)
        out[k] = (1 - factor) * a[k] + factor * b[k];
}

void move(int dim, float* to, const float* from, int points)
{
    if (to != from)
        std::memmove(to, from, std::size_t(points) * std::size_t(dim) * sizeof(float));
}
} // namespace

void NurbsKnot::clear()
{
    VMemBuffer::clear();
    m_factors.reset();
    m_last = nullptr;
    m_extra = 0;
    m_factorCount = 0;
    m_hasIdle = false;
}

bool NurbsKnot::setValue(int order, int count, const float* knots)
{
    clear();
    m_order = order;
    m_count = count;
    m_knots = knots;
    if (order >= 2 && count / 2 >= order && knots && bspline::areKnots(count, knots) &&
        breakpoints() && factors())
        return true;
    clear();
    return false;
}

bool NurbsKnot::breakpoints()
{
    const int points = m_count - m_order;
    int end = points;
    while (end < m_count && isEqual(m_knots[end], m_knots[points]))
        ++end;
    const float start = m_knots[m_order - 1];
    int next = m_order;
    while (next < end && isEqual(m_knots[next], start))
        ++next;
    if (next > points)
        return false; // the curve has no width
    m_start = next - 1;
    int first = m_order - 1;
    while (first > 0 && isEqual(m_knots[first - 1], start))
        --first;
    if (!append({start, next - first}))
        return false;
    qint64 needed = factorsFor(m_order, next - first);
    m_hasIdle = m_start >= m_order;
    for (int i = next; i < end; ++i) {
        Breakpoint* const current = VMemBuffer::end() - 1;
        // The end of the curve is no further than its own knot, however near the next ones are.
        if (isEqual(m_knots[i], current->value) || i > points) {
            needed -= factorsFor(m_order, current->multiplicity);
            ++current->multiplicity;
            needed += factorsFor(m_order, current->multiplicity);
            m_hasIdle = m_hasIdle || current->multiplicity >= m_order;
        } else {
            needed += factorsFor(m_order, 1);
            if (!append({m_knots[i], 1}))
                return false;
        }
    }
    m_last = VMemBuffer::end() - 1;
    m_extra = debt(m_order, begin()->multiplicity);
    m_factorCount = int(std::min<qint64>(needed, std::numeric_limits<int>::max()));
    return needed == m_factorCount;
}

/// Writes the factors in the order in which `insert` uses them: from the last breakpoint down, and
/// for each by insertions. An insertion mixes neighbours, the factor telling the part of the
/// second.
bool NurbsKnot::factors()
{
    if (m_factorCount == 0)
        return true;
    m_factors.reset(new (std::nothrow) float[std::size_t(m_factorCount)]);
    if (!m_factors)
        return false;
    float* factor = m_factors.get();
    int end = m_start; // of the knots at a breakpoint
    for (const Breakpoint* b = begin() + 1; b <= m_last; ++b)
        end += b->multiplicity;
    for (const Breakpoint* b = m_last; b >= begin(); end -= b->multiplicity, --b) {
        const int missing = debt(m_order, b->multiplicity);
        for (int level = 1; level <= missing; ++level) {
            for (int i = 0; i <= missing - level; ++i) {
                const double low = m_knots[end - m_order + 1 + level + i];
                // Later breakpoints are ends of segments already, which takes as many knots as
                // matter here.
                const double high = b == m_last ? m_knots[end + 1 + i] : b[1].value;
                *factor++ = float((double(b->value) - low) / (high - low));
            }
        }
    }
    return true;
}

int NurbsKnot::multiplicityAt(int index) const
{
    return std::min((*this)[unsigned(index)].multiplicity, m_order - 1);
}

/// Closes up over points that lie before the curve, or between more equal knots than the degree.
void NurbsKnot::dropIdle(int dim, float* points) const
{
    const int degree = m_order - 1;
    int kept = 0, from = m_start - degree, end = m_start;
    const auto keepTo = [&](int last) {
        move(dim, points + std::ptrdiff_t(kept) * dim, points + std::ptrdiff_t(from) * dim,
             last + 1 - from);
        kept += last + 1 - from;
    };
    for (const Breakpoint* b = begin() + 1; b < m_last; ++b) {
        end += b->multiplicity;
        if (b->multiplicity > degree) {
            keepTo(end - b->multiplicity);
            from = end - degree + 1;
        }
    }
    keepTo(end);
}

void NurbsKnot::insert(int dim, float* points) const
{
    if (isEmpty() || dim < 1)
        return;
    if (m_hasIdle)
        dropIdle(dim, points);
    const int degree = m_order - 1, spans = spanCount();
    const auto at = [=](int i) { return points + std::ptrdiff_t(i) * dim; };
    const float* factor = m_factors.get();
    int end = degree; // the end point of a segment
    for (int j = 1; j < spans; ++j)
        end += multiplicityAt(j);

    // Whatever comes to stand behind the end of the last segment isn't needed.
    int missing = degree - multiplicityAt(spans);
    for (int level = 1; level <= missing; factor += missing - level + 1, ++level)
        for (int i = missing - level; i >= 0; --i)
            mix(dim, factor[i], at(end - missing + level + i - 1), at(end - missing + level + i),
                at(end - missing + level + i));

    // Each breakpoint's points move up to where their segment ends, and the gap below takes the
    // last point of each insertion. The first points go on to be those of the segment before.
    for (int j = spans - 1; j > 0; --j) {
        const int multiplicity = multiplicityAt(j), target = (j + 1) * degree;
        const int top = end - multiplicity;
        move(dim, at(target - multiplicity), at(top), multiplicity + 1);
        missing = degree - multiplicity;
        for (int level = 1; level <= missing; factor += missing - level + 1, ++level) {
            for (int i = missing - level; i >= 0; --i)
                mix(dim, factor[i], at(top - missing + level + i - 1),
                    at(top - missing + level + i), at(top - missing + level + i));
            std::copy_n(at(top), dim, at(target - multiplicity - level));
        }
        end = top;
    }

    // At the start nothing is kept of what the insertions make before it.
    missing = degree - multiplicityAt(0);
    for (int level = 1; level <= missing; factor += missing - level + 1, ++level)
        for (int i = 0; i <= missing - level; ++i)
            mix(dim, factor[i], at(i), at(i + 1), at(i));
}
} // namespace geometry
