#include "geometry/gvectoroperation.h"

#include <algorithm>
#include <cmath>

namespace geometry
{
namespace
{
template <int N>
void assignPoint(float* to, const float* from)
{
    std::copy_n(from, N, to);
}

template <int N>
void subtractPlain(float* difference, const float* a, const float* b)
{
    for (int i = 0; i < N; ++i)
        difference[i] = a[i] - b[i];
}

template <int N>
void subtractRational(float* difference, const float* a, const float* b)
{
    const float weightA = a[N] == 0 ? 1 : a[N], weightB = b[N] == 0 ? 1 : b[N];
    for (int i = 0; i < N; ++i)
        difference[i] = a[i] / weightA - b[i] / weightB;
}

template <int N>
float dotProduct(const float* a, const float* b)
{
    float sum = 0;
    for (int i = 0; i < N; ++i)
        sum += a[i] * b[i];
    return sum;
}

template <int N>
float lengthOf(const float* v)
{
    return std::sqrt(dotProduct<N>(v, v));
}

template <int N>
void fill(GVectorOperation& operation, bool rational)
{
    operation.assign = rational ? &assignPoint<N + 1> : &assignPoint<N>;
    operation.subtract = rational ? &subtractRational<N> : &subtractPlain<N>;
    operation.dot = &dotProduct<N>;
    operation.length = &lengthOf<N>;
}
} // namespace

GVectorOperation::GVectorOperation(int dimension, bool rational)
{
    if (dimension == 2)
        fill<2>(*this, rational);
    else if (dimension == 3)
        fill<3>(*this, rational);
}
} // namespace geometry
