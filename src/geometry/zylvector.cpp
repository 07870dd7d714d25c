#include "geometry/zylvector.h"

#include "geometry/numberstream_p.h"
#include "tools/vcolor.h"

namespace geometry
{
namespace
{
template <class S>
S fromChannel(int channel)
{
    return S(channel) * S(0.003921569f);
}

template <class S>
int toChannel(S value)
{
    const int channel = toNumber<int>(value * 255);
    return channel < 0 ? 0 : channel > 255 ? 255 : channel;
}
} // namespace

template <class S>
Vector3<S>::Vector3(VColor color)
    : x(fromChannel<S>(color.red())), y(fromChannel<S>(color.green())),
      z(fromChannel<S>(color.blue()))
{
}

template <class S>
Vector3<S>::operator VColor() const
{
    return VColor(toChannel(x), toChannel(y), toChannel(z));
}

template <class S>
Vector4<S>::Vector4(VColor color) : Vector4(Vector3<S>(color), fromChannel<S>(color.alpha()))
{
}

template <class S>
Vector4<S>::operator VColor() const
{
    return VColor(toChannel(x), toChannel(y), toChannel(z), toChannel(w));
}

template <class V, class S>
QDataStream& operator<<(QDataStream& stream, const VectorArithmetic<V, S>& v)
{
    return writeNumbers(stream, &v.self().x, sizeof(V) / sizeof(S));
}

template <class V, class S>
QDataStream& operator>>(QDataStream& stream, VectorArithmetic<V, S>& v)
{
    return readNumbers(stream, &static_cast<V&>(v).x, sizeof(V) / sizeof(S));
}

template Vector3<float>::Vector3(VColor);
template Vector3<double>::Vector3(VColor);
template Vector4<float>::Vector4(VColor);
template Vector4<double>::Vector4(VColor);
template Vector3<float>::operator VColor() const;
template Vector3<double>::operator VColor() const;
template Vector4<float>::operator VColor() const;
template Vector4<double>::operator VColor() const;
template QDataStream& operator<<(QDataStream&, const VectorArithmetic<Vector2i, int>&);
template QDataStream& operator>>(QDataStream&, VectorArithmetic<Vector2i, int>&);
template QDataStream& operator<<(QDataStream&, const VectorArithmetic<Vector2f, float>&);
template QDataStream& operator>>(QDataStream&, VectorArithmetic<Vector2f, float>&);
template QDataStream& operator<<(QDataStream&, const VectorArithmetic<Vector2d, double>&);
template QDataStream& operator>>(QDataStream&, VectorArithmetic<Vector2d, double>&);
template QDataStream& operator<<(QDataStream&, const VectorArithmetic<Vector3f, float>&);
template QDataStream& operator>>(QDataStream&, VectorArithmetic<Vector3f, float>&);
template QDataStream& operator<<(QDataStream&, const VectorArithmetic<Vector3d, double>&);
template QDataStream& operator>>(QDataStream&, VectorArithmetic<Vector3d, double>&);
template QDataStream& operator<<(QDataStream&, const VectorArithmetic<Vector4f, float>&);
template QDataStream& operator>>(QDataStream&, VectorArithmetic<Vector4f, float>&);
template QDataStream& operator<<(QDataStream&, const VectorArithmetic<Vector4d, double>&);
template QDataStream& operator>>(QDataStream&, VectorArithmetic<Vector4d, double>&);
} // namespace geometry
