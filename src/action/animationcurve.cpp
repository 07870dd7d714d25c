#include "action/animationcurve.h"

#include "action/animationcurve_p.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylspline.h"
#include "kernel/vzylstream.h"
#include "tools/vsort.h"

#include <qdatastream.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace action
{
using geometry::Vector2d;

namespace
{
int compareTimes(const void* a, const void* b, void*)
{
    const double p = static_cast<const Vector2d*>(a)->x, q = static_cast<const Vector2d*>(b)->x;
    return p < q ? -1 : p > q ? 1 : 0;
}

bool isFinite(const Vector2d& key)
{
    return std::isfinite(key.x) && std::isfinite(key.y);
}

/// Takes the values at four keys to the cubic between the middle two.
const geometry::Matrix4d& cardinalBasis()
{
    static const geometry::Matrix4d basis = [] {
        geometry::Matrix4d result;
        geometry::Spline::setCardinal(0, result);
        return result;
    }();
    return basis;
}
} // namespace

void AnimationCurve::sort()
{
    VSort::qsort(data(), size(), sizeof(Vector2d), &compareTimes, nullptr);
}

bool AnimationCurve::isSound() const
{
    return std::all_of(begin(), end(), isFinite) &&
           std::is_sorted(begin(), end(),
                          [](const Vector2d& a, const Vector2d& b) { return a.x < b.x; });
}

void AnimationCurve::makeSound()
{
    if (isSound())
        return;
    detach();
    resize(unsigned(std::stable_partition(begin(), end(), isFinite) - begin()));
    sort();
}

int AnimationCurve::find(double t) const
{
    const Vector2d* const keys = data();
    const Vector2d key(t, 0);
    const void* const found =
        VSort::findSpan(&key, keys, int(size()), sizeof(Vector2d), &compareTimes, nullptr);
    // As numbers, for it may be the place before the first key.
    const auto offset = std::intptr_t(found) - std::intptr_t(keys);
    const int index = int(offset / std::intptr_t(sizeof(Vector2d)));
    return index > 0 && keys[index - 1].x == t ? index - 1 : index;
}

int AnimationCurve::search(double t) const
{
    const int count = int(size());
    if (count == 0 || std::isnan(t))
        return -1;
    // Inside of a span every search finds the same, so the last one and the next need none. At a
    // key itself it depends on its equals.
    const Vector2d* const keys = data();
    for (int i = m_last; i < m_last + 2 && i + 1 < count; ++i)
        if (keys[i].x < t && t < keys[i + 1].x)
            return m_last = i;
    const int index = find(t);
    m_last = std::max(index, 0);
    return index;
}

int AnimationCurve::evaluate(double t, double& y) const
{
    const int i = search(t);
    if (i <= 0 || i >= int(size()) - 2)
        return -1;
    const Vector2d* const keys = data() + i;
    const double width = keys[1].x - keys[0].x;
    const double u = width > 0 ? (t - keys[0].x) / width : 0;
    const geometry::Vector4d c =
        cardinalBasis() * geometry::Vector4d(keys[-1].y, keys[0].y, keys[1].y, keys[2].y);
    y = ((c.x * u + c.y) * u + c.z) * u + c.w;
    return 0;
}

bool readCurve(VZylStream& stream, AnimationCurve& curve)
{
    AnimationCurve fresh;
    if (QDataStream* const data = stream.dataStream())
        readCurve(*data, fresh);
    else if (stream.read(static_cast<VMemArray<Vector2d>&>(fresh)) < 0)
        return false;
    fresh.makeSound();
    curve = fresh;
    return true;
}

void readCurve(QDataStream& data, AnimationCurve& curve)
{
    AnimationCurve fresh;
    data >> static_cast<geometry::Vector2dArray&>(fresh);
    fresh.makeSound();
    curve = fresh;
}

VFormatIO& operator<<(VFormatIO& io, const AnimationCurve& curve)
{
    if (VZylStream* const stream = VZylStream::get(io)) {
        if (QDataStream* const data = stream->dataStream())
            *data << static_cast<const geometry::Vector2dArray&>(curve);
        else
            stream->write(static_cast<const VMemArray<Vector2d>&>(curve));
    }
    return io;
}

VFormatIO& operator>>(VFormatIO& io, AnimationCurve& curve)
{
    if (VZylStream* const stream = VZylStream::get(io))
        readCurve(*stream, curve);
    return io;
}
} // namespace action
