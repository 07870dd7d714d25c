#include "opengl/glnurbsfile_p.h"

using geometry::GVector;
using geometry::KnotVector;

namespace nurbsfile
{
VMemArray<float> toFloats(const KnotVector& knots, unsigned flags)
{
    VMemArray<float> result;
    const unsigned count = knots.size() / KnotVector::itemSize(flags);
    const bool isDouble = (flags & GVector::typeMask) == GVector::Double;
    if (count == 0 || !result.resize(count))
        return result;
    for (unsigned i = 0; i < count; ++i)
        result.data()[i] = isDouble ? float(knots.as<double>()[i]) : knots.as<float>()[i];
    return result;
}

KnotVector toKnots(const VMemArray<float>& floats, unsigned flags)
{
    if ((flags & GVector::typeMask) != GVector::Double)
        return KnotVector(floats.data(), unsigned(floats.size() * sizeof(float)));
    const std::vector<double> wide(floats.begin(), floats.end());
    return KnotVector(wide.data(), unsigned(wide.size() * sizeof(double)));
}
} // namespace nurbsfile
