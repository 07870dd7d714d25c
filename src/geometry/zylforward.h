#pragma once

/// The value types' names, for headers that only pass them on. Float and double twins are one
/// template.
namespace geometry
{
template <class S>
struct Vector2;
template <class S>
struct Vector3;
template <class S>
struct Vector4;
template <class S>
struct Matrix3;
template <class S>
struct Matrix4;
template <class S>
struct BasicQuaternion;
template <class S>
struct Box2;
template <class S>
struct Box3;
template <class S>
struct Ray2;
template <class S>
struct Ray3;
template <class S>
struct BasicPlane;

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
