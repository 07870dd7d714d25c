#include "opengl/glsweep.h"

#include "geometry/zylquaternion.h"
#include "kernel/vzylfields_p.h"
#include "opengl/glmeshcache_p.h"
#include "opengl/glpath_p.h"
#include "opengl/glrenderevent.h"
#include "opengl/gltessellator_p.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

using geometry::GVector;
using geometry::Matrix4f;
using geometry::Vector2f;
using geometry::Vector3f;
using zylfields::field;
using zylfields::filled;

namespace
{
constexpr int mostSteps = 1000;               // of a sweep
constexpr std::size_t mostCorners = 1u << 22; // of a solid

/// A path as it stands in files: not there when it has no segments.
template <class C>
struct PathField : zylfields::Field<C, geometry::GeneralPath> {
    static bool isWritten(const geometry::GeneralPath& path) { return !path.types.isEmpty(); }
};

template <class C>
constexpr PathField<C> pathField(const char* key, int tag, geometry::GeneralPath C::*member)
{
    return {{key, quint8(tag), member}};
}

/// One place of a sweep: where a point comes to, and where a direction.
struct Place {
    Matrix4f matrix;
    float t = 0; // the texture's second coordinate
    geometry::Vector4f color{1, 1, 1, 1};

    Vector3f turned(const Vector3f& v) const
    {
        return matrix.map(v) - Vector3f(matrix.m[3][0], matrix.m[3][1], matrix.m[3][2]);
    }
};

/// The surface that a path leaves behind on its way through the places. It faces to the right of
/// the path, or to the left if `flipped`. `wayAt` tells to where a point of the path moves at a
/// place.
template <class Way>
void addSides(GL_MeshCache& cache, const GL_Path& path, const std::vector<Place>& places,
              bool flipped, Way wayAt)
{
    const float scale = path.length() > 0 ? 1 / path.length() : 0;
    for (const GL_Path::Segment& segment : path.segments()) {
        const unsigned count = segment.end - segment.begin;
        std::vector<unsigned> before(count), now(count);
        for (std::size_t i = 0; i < places.size(); ++i) {
            const Place& place = places[i];
            cache.setColor(place.color);
            for (unsigned k = 0; k < count; ++k) {
                const GL_Path::Point& point = path.points()[segment.begin + k];
                Vector3f normal = cross(place.turned(point.along), wayAt(i, point.at));
                normal.normalize();
                now[k] = cache.corner(place.matrix.map(point.at), flipped ? -normal : normal,
                                      Vector2f(point.length * scale, place.t));
            }
            for (unsigned k = 0; i > 0 && k + 1 < count; ++k) {
                const unsigned quad[4] = {before[k], before[k + 1], now[k + 1], now[k]};
                for (int c = 0; c < 4; ++c)
                    cache.add(quad[flipped ? 3 - c : c]);
            }
            std::swap(before, now);
        }
    }
}

/// The area of the path at one place of the sweep, which shows to where the normal points.
void addCap(GL_MeshCache& cache, GL_Tessellator& tessellator, const GL_Path& path,
            const Place& place, const Vector3f& normal, bool reversed, geometry::WindingRule rule)
{
    geometry::Box3f box;
    for (const GL_Path::Point& point : path.points())
        box.include(point.at);
    const Vector3f size = box.max - box.min;
    std::vector<unsigned> corners;
    const auto flush = [&] {
        if (reversed)
            std::reverse(corners.begin(), corners.end());
        tessellator.addContour(corners.data(), unsigned(corners.size()));
        corners.clear();
    };
    tessellator.setWindingRule(rule);
    tessellator.beginPolygon();
    for (const GL_Path::Segment& segment : path.segments()) {
        if (segment.startsSubpath)
            flush();
        for (unsigned i = segment.begin; i + 1 < segment.end; ++i) {
            const Vector3f& p = path.points()[i].at;
            const Vector2f texture(size.x > 0 ? (p.x - box.min.x) / size.x : 0,
                                   size.y > 0 ? (p.y - box.min.y) / size.y : 0);
            corners.push_back(cache.corner(place.matrix.map(p), normal, texture));
        }
    }
    flush();
    tessellator.endPolygon();
}

/// Draws by the cache of a shape, which `fill` makes where there is none or it is stale.
template <class Fill>
void drawCached(GL_Shape& shape, std::unique_ptr<GL_MeshCache>& cache, GL_RenderEvent* event,
                Fill fill)
{
    if (shape.testFlags(GL_Object::Rebuild))
        cache.reset();
    shape.setFlags(GL_Object::Rebuild, false);
    if (!cache) {
        auto made = std::make_unique<GL_MeshCache>();
        made->begin(nullptr, 0, true, 0);
        fill(*made);
        made->end();
        cache = std::move(made);
    }
    cache->draw(event, shape, GL_MaterialVector());
}

/// How many places a sweep may take so that the solid stays of a size that can be drawn.
int placeCount(const GL_Path& path, int wanted)
{
    const std::size_t most = mostCorners / (path.points().size() + 1);
    return int(std::min<std::size_t>(std::size_t(wanted), std::max<std::size_t>(most, 2)));
}
} // namespace

// GL_Extrude

struct GL_Extrude::Stored {
    static constexpr auto fields = std::tuple(pathField("shape", 0x80, &Extrude::shape),
                                              field("vector", 0x81, &Extrude::vector),
                                              field("slices", 0x82, &Extrude::slices, 5));
};

const VMetaClass GL_Extrude::metaClass("GL_Extrude", &GL_Extrude::factory, &GL_Shape::metaClass);

ZYLObject* GL_Extrude::factory()
{
    return new GL_Extrude;
}

const VMetaClass* GL_Extrude::metaObject() const
{
    return &metaClass;
}

GL_Extrude::GL_Extrude() = default;

GL_Extrude::~GL_Extrude() = default;

void GL_Extrude::setSlices(int count)
{
    slices = count;
    setFlags(Rebuild, true);
}

VFormatIO& GL_Extrude::read(VFormatIO& io)
{
    zylfields::read(GL_Shape::read(io), *this, Stored::fields);
    setFlags(Rebuild, true);
    return io;
}

VFormatIO& GL_Extrude::write(VFormatIO& io) const
{
    return zylfields::write(GL_Shape::write(io), *this, Stored::fields);
}

void GL_Extrude::init(GL_Scene*)
{
    geometry::Box3f box;
    Extrude::bounds(box);
    setShapeBounds(box);
}

void GL_Extrude::drawShape(GL_RenderEvent* event)
{
    drawCached(*this, m_cache, event, [this](GL_MeshCache& cache) {
        const GL_Path outline(shape, slices);
        if (outline.segments().empty())
            return;
        std::vector<Place> places(2);
        places[1].matrix.translate(vector);
        places[1].t = 1;
        // Seen against the vector an outline that turns clockwise has its outside on the left.
        const bool flipped = dot(outline.area(), vector) < 0;
        cache.beginRun(GL_QUADS, {}, false);
        addSides(cache, outline, places, flipped,
                 [this](std::size_t, const Vector3f&) { return vector; });
        cache.beginRun(GL_TRIANGLES, {}, false);
        GL_Tessellator tessellator(cache);
        const Vector3f up = normalize(vector);
        addCap(cache, tessellator, outline, places[0], -up, !flipped,
               geometry::WindingRule(shape.windingRule()));
        addCap(cache, tessellator, outline, places[1], up, flipped,
               geometry::WindingRule(shape.windingRule()));
    });
}

// GL_PathExtrude

struct GL_PathExtrude::Stored {
    static constexpr auto fields = std::tuple(pathField("shape", 0x80, &PathExtrude::shape),
                                              pathField("path", 0x81, &PathExtrude::path),
                                              filled("colors", 0x82, &PathExtrude::colors),
                                              filled("transforms", 0x83, &PathExtrude::transforms),
                                              field("slices", 0x84, &PathExtrude::slices, 5),
                                              field("stacks", 0x85, &PathExtrude::stacks, 5));
};

const VMetaClass GL_PathExtrude::metaClass("GL_PathExtrude", &GL_PathExtrude::factory,
                                           &GL_Shape::metaClass);

ZYLObject* GL_PathExtrude::factory()
{
    return new GL_PathExtrude;
}

const VMetaClass* GL_PathExtrude::metaObject() const
{
    return &metaClass;
}

GL_PathExtrude::GL_PathExtrude() = default;

GL_PathExtrude::~GL_PathExtrude() = default;

void GL_PathExtrude::setSlices(int count)
{
    slices = count;
    setFlags(Rebuild, true);
}

void GL_PathExtrude::setStacks(int count)
{
    stacks = count;
    setFlags(Rebuild, true);
}

VFormatIO& GL_PathExtrude::read(VFormatIO& io)
{
    zylfields::read(GL_Shape::read(io), *this, Stored::fields);
    setFlags(Rebuild, true);
    return io;
}

VFormatIO& GL_PathExtrude::write(VFormatIO& io) const
{
    return zylfields::write(GL_Shape::write(io), *this, Stored::fields);
}

void GL_PathExtrude::init(GL_Scene*)
{
    geometry::Box3f box;
    PathExtrude::bounds(box);
    setShapeBounds(box);
}

void GL_PathExtrude::drawShape(GL_RenderEvent* event)
{
    drawCached(*this, m_cache, event, [this](GL_MeshCache& cache) {
        const GL_Path outline(shape, slices), way(path, stacks);
        if (outline.segments().empty() || way.segments().empty())
            return;
        if (colors.size() > 0)
            cache.setColors(nullptr, 0);

        // The frame is turned from each direction of the way to the next by the shortest turn, so
        // that the shape doesn't spin about it.
        const std::size_t most = std::size_t(placeCount(outline, 1 << 20));
        std::vector<Place> places;
        geometry::Quaternion turn;
        Vector3f direction(0, 0, 1);
        for (const GL_Path::Segment& segment : way.segments()) {
            for (unsigned i = segment.begin; i < segment.end && places.size() < most; ++i) {
                const GL_Path::Point& point = way.points()[i];
                if (i == segment.begin && i > 0 && !segment.startsSubpath)
                    continue;
                if (point.along != Vector3f()) {
                    turn = geometry::Quaternion().setValue(direction, point.along) * turn;
                    direction = point.along;
                }
                Matrix4f place;
                place.translate(point.at);
                place.rotate(turn);
                const unsigned step = unsigned(places.size());
                places.push_back({PathExtrude::transform(step) * place,
                                  way.length() > 0 ? point.length / way.length() : 0,
                                  PathExtrude::color(step)});
            }
        }
        const bool flipped = outline.area().z < 0;
        cache.beginRun(GL_QUADS, {}, false);
        addSides(cache, outline, places, flipped, [&places](std::size_t i, const Vector3f& p) {
            const Place& from = places[i == 0 ? 0 : i - 1];
            const Place& to = places[std::min(i + 1, places.size() - 1)];
            return to.matrix.map(p) - from.matrix.map(p);
        });
    });
}

// GL_Lathe

struct GL_Lathe::Stored {
    static constexpr auto fields = std::tuple(
        pathField("shape", 0x80, &Lathe::shape), field("axis", 0x81, &Lathe::axis),
        field("startAngle", 0x82, &Lathe::startAngle, 0.0f),
        field("sweepAngle", 0x83, &Lathe::sweepAngle, 360.0f),
        field("slices", 0x84, &Lathe::slices, 20), field("stacks", 0x85, &Lathe::stacks, 5));
};

const VMetaClass GL_Lathe::metaClass("GL_Lathe", &GL_Lathe::factory, &GL_Shape::metaClass);

ZYLObject* GL_Lathe::factory()
{
    return new GL_Lathe;
}

const VMetaClass* GL_Lathe::metaObject() const
{
    return &metaClass;
}

GL_Lathe::GL_Lathe() = default;

GL_Lathe::~GL_Lathe() = default;

void GL_Lathe::setSlices(int count)
{
    slices = count;
    setFlags(Rebuild, true);
}

void GL_Lathe::setStacks(int count)
{
    stacks = count;
    setFlags(Rebuild, true);
}

VFormatIO& GL_Lathe::read(VFormatIO& io)
{
    zylfields::read(GL_Shape::read(io), *this, Stored::fields);
    setFlags(Rebuild, true);
    return io;
}

VFormatIO& GL_Lathe::write(VFormatIO& io) const
{
    return zylfields::write(GL_Shape::write(io), *this, Stored::fields);
}

void GL_Lathe::init(GL_Scene*)
{
    geometry::Box3f box;
    Lathe::bounds(box);
    setShapeBounds(box);
}

void GL_Lathe::drawShape(GL_RenderEvent* event)
{
    drawCached(*this, m_cache, event, [this](GL_MeshCache& cache) {
        const GL_Path profile(shape, stacks);
        if (profile.segments().empty())
            return;
        Vector3f x, y, z;
        frame(x, y, z);
        const bool isFlat =
            shape.dimension() == 2 ||
            (shape.dimension() == 3 && (shape.vertices.flags() & GVector::homogeneous));
        const int steps = placeCount(profile, qBound(3, slices, mostSteps));
        const double sweep = qBound(-360.0, double(sweepAngle), 360.0);
        std::vector<Place> places;
        for (int i = 0; i <= steps; ++i) {
            // A full turn ends exactly where it began, or a gap would show.
            const double part = i == steps && std::abs(sweep) == 360 ? 0 : double(i) / steps;
            const double angle = startAngle + sweep * part;
            // What the axes of the profile come to.
            const Vector3f axes[3] = {isFlat ? x : Vector3f(1, 0, 0),
                                      isFlat ? z : Vector3f(0, 1, 0),
                                      isFlat ? y : Vector3f(0, 0, 1)};
            Place place;
            for (int row = 0; row < 3; ++row) {
                const Vector3f to = turned(x, y, z, axes[row], angle);
                for (int column = 0; column < 3; ++column)
                    place.matrix.m[row][column] = to[column];
            }
            place.t = float(i) / float(steps);
            places.push_back(place);
        }
        // The outside of a profile is away from the axis where it runs up.
        double area = 0;
        const auto& points = profile.points();
        const auto radius = [&](const Vector3f& p) {
            return isFlat ? double(p.x) : std::hypot(double(dot(p, x)), double(dot(p, y)));
        };
        const auto height = [&](const Vector3f& p) { return isFlat ? p.y : dot(p, z); };
        for (const GL_Path::Segment& segment : profile.segments())
            for (unsigned i = segment.begin; i + 1 < segment.end; ++i)
                area += (radius(points[i].at) + radius(points[i + 1].at)) *
                        double(height(points[i + 1].at) - height(points[i].at));
        const float sense = sweep < 0 ? -1 : 1;
        cache.beginRun(GL_QUADS, {}, false);
        addSides(cache, profile, places, (area > 0) == (sweep > 0),
                 [&](std::size_t i, const Vector3f& p) {
                     // A point on the axis goes nowhere, but has a side all the same.
                     const Vector3f at = places[i].matrix.map(p);
                     const Vector3f way = cross(z, at) * sense;
                     return isFlat || way == Vector3f()
                                ? places[i].turned(isFlat ? Vector3f(0, 0, 1) : y) * sense
                                : way;
                 });
    });
}
