#include "geometry/zylvector.h"

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

template Vector3<float>::Vector3(VColor);
template Vector3<double>::Vector3(VColor);
template Vector4<float>::Vector4(VColor);
template Vector4<double>::Vector4(VColor);
template Vector3<float>::operator VColor() const;
template Vector3<double>::operator VColor() const;
template Vector4<float>::operator VColor() const;
template Vector4<double>::operator VColor() const;
} // namespace geometry
