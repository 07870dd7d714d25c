#pragma once

#include "geometry/zylvectorarray.h"

class VFormatIO;

namespace action
{
/// A value over time, as keys of a time and a value in ascending order of their times.
///
/// Between two keys the curve is a cubic that passes through them with the slopes of a Catmull-Rom
/// spline, for which it needs a key more on either side: before the second and from the one before
/// the last key on there is no value, and fewer than four keys have none at all.
class ZYL_EXPORT AnimationCurve : public geometry::Vector2dArray
{
public:
    using geometry::Vector2dArray::Vector2dArray;
    AnimationCurve() = default;

    /// Puts the keys in order.
    void sort();

    /// Whether the keys are in order, and all numbers finite.
    bool isSound() const;
    /// Leaves out keys that aren't finite, and sorts, where that is called for.
    void makeSound();

    /// The index of the last key at or before `t`, of equal keys most often the first. -1 before
    /// the first key and without keys.
    int search(double t) const;

    /// Sets `y` to the value at `t` and returns 0; -1, with `y` as it was, where there is none.
    int evaluate(double t, double& y) const;

private:
    int find(double t) const;

    mutable int m_last = 0; // what `search` found: time goes by in small steps
};

/// The keys as an array of pairs: in the text form the value alone, without keyword. What is read
/// is made sound, and what can't be read leaves the curve as it was.
ZYL_EXPORT VFormatIO& operator<<(VFormatIO& io, const AnimationCurve& curve);
ZYL_EXPORT VFormatIO& operator>>(VFormatIO& io, AnimationCurve& curve);
} // namespace action
