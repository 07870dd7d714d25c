#include "geometry/zylspline.h"

#include "geometry/zylhmatrix.h"

#include <algorithm>

namespace geometry
{
template <class S>
void Spline::evaluate(int order, int dim, const S* coefficients, Argument<S> t, S* out)
{
    if (order < 1 || dim < 1)
        return;
    std::copy_n(coefficients, dim, out);
    for (int i = 1; i < order; ++i) {
        coefficients += dim;
        for (int k = 0; k < dim; ++k)
            out[k] = out[k] * t + coefficients[k];
    }
}

template <class S>
void Spline::setHermit(Matrix4<S>& basis)
{
    basis = Matrix4<S>(2, -2, 1, 1, -3, 3, -2, -1, 0, 0, 1, 0, 1, 0, 0, 0);
}

template <class S>
void Spline::setCardinal(Argument<S> tension, Matrix4<S>& basis)
{
    const S s = (1 - tension) / 2;
    basis = Matrix4<S>(-s, 2 - s, s - 2, s, 2 * s, s - 3, 3 - 2 * s, -s, -s, 0, s, 0, 0, 1, 0, 0);
}

#define INSTANTIATE(S)                                                                             \
    template void Spline::evaluate(int, int, const S*, S, S*);                                     \
    template void Spline::setHermit(Matrix4<S>&);                                                  \
    template void Spline::setCardinal(S, Matrix4<S>&);
INSTANTIATE(float)
INSTANTIATE(double)
#undef INSTANTIATE
} // namespace geometry
