#include "opengl/glmanipulator.h"
#include "opengl/glscene.h"
#include "opengl/gltraversal.h"
#include "opengl/glviewer.h"

#include <GL/gl.h>
#include <qlogging.h>

#include <algorithm>
#include <limits>

namespace
{
struct Hit {
    unsigned count = 0;
    unsigned minDepth = 0;
    unsigned maxDepth = 0;
    const unsigned* names = nullptr;

    /// Below a node of the other's path, or at its end.
    bool isBelow(const Hit& other) const
    {
        return count > other.count && std::equal(other.names, other.names + other.count, names);
    }
    /// Nearer than the other, or below it. Of two that lie equally near the later counts, unless it
    /// reaches further back.
    bool isBetter(const Hit& other) const
    {
        return minDepth < other.minDepth ||
               (minDepth == other.minDepth && maxDepth <= other.maxDepth) || isBelow(other);
    }
};

/// Walks the records of a selection buffer that are whole and name something: the first `hits`
/// records or, if that is negative because the buffer overflowed, all.
class HitRecords
{
public:
    HitRecords(const VMemArray<unsigned>& buffer, int hits)
        : m_next(buffer.begin()), m_end(buffer.end()),
          m_left(hits < 0 ? buffer.size() : unsigned(hits))
    {
    }

    bool next(Hit& hit)
    {
        do {
            if (m_left == 0 || m_end - m_next < 3 || std::size_t(m_end - m_next) - 3 < m_next[0])
                return false;
            hit = Hit{m_next[0], m_next[1], m_next[2], m_next + 3};
            m_next = hit.names + hit.count;
            --m_left;
        } while (hit.count == 0);
        return true;
    }

private:
    const unsigned* m_next;
    const unsigned* m_end;
    unsigned m_left;
};

GL_Object* identify(GL_Scene* scene, const Hit& hit, unsigned count)
{
    // Paths are only read.
    return scene->identify(const_cast<unsigned*>(hit.names), count);
}

/// The last name of a path, when it names a part of the node and not the node itself. The index of
/// a child in its group is a last name, too, but part of nothing.
int partOf(GL_Scene* scene, const Hit& hit, const GL_Object* object)
{
    if (hit.count < 2 || !object || identify(scene, hit, hit.count - 1) != object)
        return -1;
    return int(hit.names[hit.count - 1]);
}

/// Doubles the buffer; on failure it stays as it is.
bool grow(VMemArray<unsigned>& buffer)
{
    const unsigned size = std::max(buffer.size(), 32u);
    VMemArray<unsigned> larger;
    if (size > unsigned(std::numeric_limits<int>::max()) / 2 || !larger.resize(2 * size))
        return false;
    buffer = larger;
    return true;
}
} // namespace

void GL_Viewer::pickMatrix(int x, int y, int width, int height, const GL_Viewport& viewport)
{
    const double w = width;
    const double h = height;
    const double sx = viewport.width / w;
    const double sy = viewport.height / h;
    const double tx = (2 * (double(viewport.x) - x) + viewport.width - w) / w;
    const double ty = (2 * (double(viewport.y) - y) + viewport.height - h) / h;
    const double matrix[16] = {sx, 0, 0, 0, 0, sy, 0, 0, 0, 0, 1, 0, tx, ty, 0, 1};
    glMultMatrixd(matrix);
}

int GL_Viewer::selectHits(VMemArray<unsigned>& buffer, int x, int y, int width, int height)
{
    if (width < 1 || height < 1)
        return 0;
    makeCurrent();
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    pickMatrix(x, y, width, height, m_viewport);
    loadVolume(m_viewport);
    glMatrixMode(GL_MODELVIEW);
    glLoadMatrixf(&m_modelView.m[0][0]);
    for (;;) {
        GL_Traversal traversal(m_scene);
        glSelectBuffer(int(buffer.size()), buffer.data());
        glRenderMode(GL_SELECT);
        glInitNames();
        glPushName(0);
        if (m_scene)
            m_scene->hit(this, traversal);
        glPopName();
        const int hits = glRenderMode(GL_RENDER);
        if (hits >= 0 && traversal.hasOwnNames()) {
            const std::vector<unsigned> whole = traversal.expand(buffer.data(), hits);
            if (buffer.size() < whole.size() && !buffer.resize(unsigned(whole.size())))
                return -1;
            std::copy(whole.begin(), whole.end(), buffer.begin());
        }
        if (hits >= 0 || !grow(buffer))
            return hits;
    }
}

/// Fills the kept buffer; 0 without a scene or buffer. Warns in the name of `operation`.
int GL_Viewer::hitsIn(const char* operation, int x, int y, int width, int height)
{
    if (m_hitBufferSize <= 0 || !m_scene)
        return 0;
    const unsigned size = unsigned(m_hitBufferSize);
    if (m_hitBuffer.size() < size && !m_hitBuffer.resize(size))
        qFatal("%s::%s: unable to allocate hit buffer.\n", className(), operation);
    const int hits = selectHits(m_hitBuffer, x, y, width, height);
    if (hits < 0)
        qWarning("%s::%s: hit buffer overflowed\n", className(), operation);
    return hits;
}

GL_ObjectList GL_Viewer::select(int x, int y, int width, int height)
{
    GL_ObjectList found;
    HitRecords records(m_hitBuffer, hitsIn("select", x, y, width, height));
    for (Hit hit; records.next(hit);)
        if (GL_Object* const object = identify(m_scene, hit, hit.count))
            found.append(object);
    return found;
}

GL_ObjectList GL_Viewer::lasso(int x0, int y0, int x1, int y1)
{
    const auto [left, right] = std::minmax(x0, x1);
    const auto [bottom, top] = std::minmax(y0, y1);
    return select(left, bottom, right - left + 1, top - bottom + 1);
}

GL_Object* GL_Viewer::pick(int x, int y)
{
    const int hits = hitsIn("pick", x - 3, y - 3, 6, 6);
    return hits > 0 ? processHits(m_hitBuffer, hits) : nullptr;
}

GL_Object* GL_Viewer::processHits(const VMemArray<unsigned>& buffer, int hits)
{
    if (!m_scene)
        return nullptr;
    const unsigned manipulatorName = m_scene->lights().count() + m_scene->objects().count();
    Hit best;
    bool bestIsHandle = false;
    HitRecords records(buffer, hits);
    for (Hit hit; records.next(hit);) {
        const bool isHandle = hit.names[0] >= manipulatorName;
        const bool wins = isHandle ? !bestIsHandle || hit.minDepth < best.minDepth
                                   : !bestIsHandle && (best.count == 0 || hit.isBetter(best));
        if (wins) {
            best = hit;
            bestIsHandle = isHandle;
        }
    }
    if (best.count == 0)
        return nullptr;

    GL_Object* const object = identify(m_scene, best, best.count);
    if (!bestIsHandle) {
        const bool single = m_scene->selection().count() < 2;
        m_scene->setCurrentPart(single ? partOf(m_scene, best, object) : -1);
    }
    // A node that is pressed itself isn't dragged by the handle picked before.
    if (GL_Manipulator* const manipulator = m_scene->manipulator()) {
        const bool hasHandle = bestIsHandle && best.count > 1;
        manipulator->setHandle(hasHandle ? int(best.names[best.count - 1]) : -1);
    }
    return object;
}
