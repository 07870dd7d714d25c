#include "opengl/gltraversal.h"

#include "opengl/glscene.h"

#include <GL/gl.h>
#include <qlogging.h>

#include <algorithm>
#include <cmath>

namespace
{
// Set in a scene that has been warned about; above the bits that files keep.
constexpr unsigned warnedFlag = 1u << 30;

// Own names are numbered from here on, so that they show in GL's records as what they are.
constexpr unsigned ownNameBase = 0x80000000u;

// Half the breadth in pixels that a line or point may have at the border of the view: the middle
// of a wide one may lie outside and its rim within.
constexpr float borderPixels = 16;

// By which a plane is moved outward, for what the matrices on both sides round off.
constexpr double slack = 1e-5;
} // namespace

GL_Traversal::GL_Traversal(GL_Scene* scene) : m_scene(scene) {}

void GL_Traversal::begin()
{
    m_levels.resize(16);
    glGetFloatv(GL_MODELVIEW_MATRIX, m_levels[0].matrix.m[0]);
    glGetFloatv(GL_PROJECTION_MATRIX, m_projection.m[0]);
    GLint viewport[4] = {};
    glGetIntegerv(GL_VIEWPORT, viewport);
    m_border = geometry::Vector2f(2 * borderPixels / float(std::max(viewport[2], 1)),
                                  2 * borderPixels / float(std::max(viewport[3], 1)));
}

void GL_Traversal::push(const geometry::Matrix4f& local)
{
    level(); // the first one
    if (m_top + 1 == m_levels.size())
        m_levels.resize(2 * m_levels.size());
    Level& next = m_levels[m_top + 1];
    next.matrix = local * m_levels[m_top].matrix;
    next.hasPlanes = false;
    ++m_top;
    glLoadMatrixf(next.matrix.m[0]);
}

void GL_Traversal::pop()
{
    --m_top;
    glLoadMatrixf(m_levels[m_top].matrix.m[0]);
}

bool GL_Traversal::isMirrored()
{
    return matrix().det3(0, 1, 2, 0, 1, 2) < 0;
}

void GL_Traversal::warnOnce(const char* function, const char* what, int limit)
{
    if (m_warned || (m_scene && (m_scene->flags() & warnedFlag)))
        return;
    m_warned = true;
    if (m_scene)
        m_scene->setFlags(m_scene->flags() | warnedFlag);
    qWarning("GL_Traversal::%s: Only %d %s are drawn", function, limit, what);
}

bool GL_Traversal::enter()
{
    if (m_depth >= depthLimit) {
        warnOnce("enter", "levels of nodes", depthLimit);
        return false;
    }
    ++m_depth;
    return true;
}

bool GL_Traversal::enterReference()
{
    if (m_references >= referenceLimit) {
        warnOnce("enterReference", "references behind one another", referenceLimit);
        return false;
    }
    if (m_budget == 0) {
        warnOnce("enterReference", "references at a time", referenceBudget);
        return false;
    }
    if (!enter())
        return false;
    --m_budget;
    ++m_references;
    return true;
}

void GL_Traversal::leaveReference()
{
    --m_references;
    leave();
}

void GL_Traversal::makePlanes(Level& level) const
{
    const geometry::Matrix4d clip =
        geometry::Matrix4d(level.matrix) * geometry::Matrix4d(m_projection);
    // A point p is within where -w <= x, y, z <= w holds of p * clip.
    const auto plane = [&clip](int column, double sign, double border) {
        geometry::Vector4d result;
        for (int i = 0; i < 4; ++i)
            result[i] = clip.m[i][3] * (1 + border) + sign * clip.m[i][column];
        const double length =
            std::sqrt(result.x * result.x + result.y * result.y + result.z * result.z);
        result = result / length; // a plane at infinity becomes no number, and keeps nothing out
        result.w += slack * std::abs(result.w);
        return geometry::Vector4f(result);
    };
    geometry::Vector4f sides[4];
    for (int i = 0; i < 4; ++i)
        sides[i] = plane(i / 2, i % 2 ? -1 : 1, i < 2 ? m_border.x : m_border.y);
    const auto lanes = [&sides](int component) {
        return Row(sides[0][component], sides[1][component], sides[2][component],
                   sides[3][component]);
    };
    level.planes.x = lanes(0);
    level.planes.y = lanes(1);
    level.planes.z = lanes(2);
    level.planes.w = lanes(3);
    level.planes.near = plane(2, 1, 0);
    level.planes.far = plane(2, -1, 0);
    level.hasPlanes = true;
}

void GL_Traversal::beginNames()
{
    GLint depth = 0;
    glGetIntegerv(GL_NAME_STACK_DEPTH, &depth);
    m_nameCount = depth;
}

/// Makes GL's name for a path.
int GL_Traversal::addOwnName(unsigned name, int before)
{
    m_ownNames.push_back({name, before});
    m_ownName = int(m_ownNames.size()) - 1;
    return m_ownName;
}

void GL_Traversal::pushName(unsigned name)
{
    if (m_nameCount < 0)
        beginNames();
    ++m_nameCount;
    if (m_nameCount <= nameLimit)
        glPushName(name);
    else if (m_nameCount == nameLimit + 1)
        glPushName(ownNameBase | unsigned(addOwnName(name, -1)));
    else
        glLoadName(ownNameBase | unsigned(addOwnName(name, m_ownName)));
}

void GL_Traversal::loadName(unsigned name)
{
    if (m_nameCount < 0)
        beginNames();
    if (m_nameCount <= nameLimit)
        glLoadName(name);
    else
        glLoadName(ownNameBase |
                   unsigned(addOwnName(name, m_ownNames[std::size_t(m_ownName)].before)));
}

void GL_Traversal::popName()
{
    if (m_nameCount > nameLimit)
        m_ownName = m_ownNames[std::size_t(m_ownName)].before;
    if (m_nameCount > nameLimit + 1)
        glLoadName(ownNameBase | unsigned(m_ownName));
    else
        glPopName();
    --m_nameCount;
}

std::vector<unsigned> GL_Traversal::expand(const unsigned* records, int hits) const
{
    std::vector<unsigned> result;
    std::vector<unsigned> path;
    for (; hits > 0; --hits) {
        const unsigned count = records[0];
        const unsigned* const names = records + 3;
        path.clear();
        // A node's private name may stand in that place too.
        if (count > unsigned(nameLimit) && names[nameLimit] - ownNameBase < m_ownNames.size())
            for (int at = int(names[nameLimit] - ownNameBase); at >= 0;
                 at = m_ownNames[std::size_t(at)].before)
                path.push_back(m_ownNames[std::size_t(at)].name);
        const unsigned shown = path.empty() ? count : unsigned(nameLimit);
        result.push_back(path.empty() ? count : count - 1 + unsigned(path.size()));
        result.insert(result.end(), records + 1, names + shown);
        result.insert(result.end(), path.rbegin(), path.rend());
        if (!path.empty())
            result.insert(result.end(), names + nameLimit + 1, names + count);
        records = names + count;
    }
    return result;
}
