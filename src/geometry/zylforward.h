#pragma once

#include "toolkit/zylexport.h"

/// The value types' names, for headers that only pass them on. Float and double twins are one
/// template.
///
/// Visibility stands here too: the aliases fix it, and with it that of every template over them.
namespace geometry
{
template <class S>
struct ZYL_EXPORT Vector2;
template <class S>
struct ZYL_EXPORT Vector3;
template <class S>
struct ZYL_EXPORT Vector4;
template <class S>
struct ZYL_EXPORT Matrix3;
template <class S>
struct ZYL_EXPORT Matrix4;
template <class S>
struct ZYL_EXPORT BasicQuaternion;
template <class S>
struct ZYL_EXPORT Box2;
template <class S>
struct ZYL_EXPORT Box3;
template <class S>
struct ZYL_EXPORT Ray2;
template <class S>
struct ZYL_EXPORT Ray3;
template <class S>
struct ZYL_EXPORT BasicPlane;

using Vector2i = Vector2<int>;
using Vector2f = Vector2<float>;
using Vector2d = Vector2<double>;
using Vector3f = Vector3<float>;
using Vector3d = Vector3<double>;
using Vector4f = Vector4<float>;
using Vector4d = Vector4<double>;
using Matrix3f = Matrix3<float>;
using Matrix3d = Matrix3<double>;
using Matrix4f = Matrix4<float>;
using Matrix4d = Matrix4<double>;
using Quaternion = BasicQuaternion<float>;
using DQuaternion = BasicQuaternion<double>;
using Box2i = Box2<int>;
using Box2f = Box2<float>;
using Box2d = Box2<double>;
using Box3f = Box3<float>;
using Box3d = Box3<double>;
using Ray2f = Ray2<float>;
using Ray2d = Ray2<double>;
using Ray3f = Ray3<float>;
using Ray3d = Ray3<double>;
using Plane = BasicPlane<float>;
using DPlane = BasicPlane<double>;
} // namespace geometry
