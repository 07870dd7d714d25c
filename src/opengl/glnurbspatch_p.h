#pragma once

#include "geometry/zylnurbs.h"
#include "opengl/glmeshcache_p.h"
#include "opengl/glrenderevent.h"
#include "tools/vmemarray.h"

#include <array>
#include <memory>
#include <vector>

class GLUnurbs;

/// What the sampling of a surface hangs on: where it stands, and the view.
struct GL_NurbsView {
    explicit GL_NurbsView(GL_RenderEvent* event);
    bool operator==(const GL_NurbsView& other) const
    {
        return modelView == other.modelView && projection == other.projection &&
               viewport == other.viewport;
    }

    geometry::Matrix4f modelView;
    geometry::Matrix4f projection;
    std::array<int, 4> viewport{0, 0, 100, 100};
};

/// GLU's measures, with the values that it starts with.
struct GL_NurbsSampling {
    float tolerance = 50;            // pixels
    float parametricTolerance = 0.5; // pixels
    int stepU = 100;                 // a unit of the parameters
    int stepV = 100;
};

/// One B-spline surface as GLU takes it.
class GL_NurbsPatch
{
public:
    /// Vertices of any type and dimension, and knots or none, which stands for clamped ones. False
    /// where that is no surface.
    bool set(const geometry::GVectorArray& vertices, int orderU, int orderV, int countU, int countV,
             const VMemArray<float>& knotsU, const VMemArray<float>& knotsV);
    /// Each control point's. Without them the texture covers the patch once.
    void setTexture(std::vector<geometry::Vector2f> texture) { m_texture = std::move(texture); }
    /// They stay the caller's.
    void setTrims(const geometry::NurbsCurveVector* trims) { m_trims = trims; }

private:
    friend class GL_NurbsTessellator;

    int orderU() const { return int(m_knotsU.size()) - m_countU; }
    int orderV() const { return int(m_knotsV.size()) - m_countV; }

    int m_countU = 0;
    int m_countV = 0;
    int m_width = 3; // numbers of a point: 4 with a weight
    std::vector<float> m_knotsU, m_knotsV;
    std::vector<float> m_points;
    std::vector<geometry::Vector2f> m_texture;
    const geometry::NurbsCurveVector* m_trims = nullptr;
};

/// Cuts patches up by GLU and adds them to a cache. No GL context is needed.
class GL_NurbsTessellator
{
public:
    /// So many patches at most share what a shape may take.
    GL_NurbsTessellator(GL_MeshCache& cache, const GL_NurbsView& view,
                        const GL_NurbsSampling& sampling, unsigned patches);
    ~GL_NurbsTessellator();
    GL_NurbsTessellator(const GL_NurbsTessellator&) = delete;
    GL_NurbsTessellator& operator=(const GL_NurbsTessellator&) = delete;

    void add(GL_NurbsPatch& patch);
    /// Adds what was cut up since the last call, as runs of one look.
    void endRun(const GL_MeshCache::Look& look, bool transparent);

private:
    struct Callbacks;
    struct DeleteRenderer {
        void operator()(GLUnurbs* renderer) const;
    };

    void limit(const GL_NurbsPatch& patch);
    void addTrim(const geometry::NurbsCurve& trim);
    void endFigure();

    GL_MeshCache& m_cache;
    std::unique_ptr<GLUnurbs, DeleteRenderer> m_renderer;
    const GL_NurbsView m_view;
    const GL_NurbsSampling m_sampling;
    const double m_mostCells; // a patch
    // Of the open figure
    unsigned m_mode = 0;
    geometry::Vector3f m_normal;
    geometry::Vector2f m_texture;
    std::vector<unsigned> m_corners;
    // Since the last run
    std::vector<unsigned> m_triangles, m_quads;
};

/// What was cut up for the views of late: a surface may be seen from several places in a frame,
/// through references and in other windows.
class GL_NurbsCache
{
public:
    void clear() { m_entries.clear(); }

    /// Draws what `fill` adds to a tessellator, asking that only for a view that is new. It adds so
    /// many patches at most.
    template <class Fill>
    void draw(GL_RenderEvent* event, GL_Shape& shape, const GL_MaterialVector& materials,
              const GL_NurbsSampling& sampling, unsigned patches, Fill fill)
    {
        const GL_NurbsView view(event);
        if (!find(view)) {
            Entry entry{view, std::make_unique<GL_MeshCache>()};
            entry.cache->begin(nullptr, 0, true, 0);
            {
                GL_NurbsTessellator tessellator(*entry.cache, view, sampling, patches);
                fill(tessellator);
            }
            entry.cache->end();
            insert(std::move(entry));
        }
        drawFirst(event, shape, materials);
    }

private:
    struct Entry {
        GL_NurbsView view;
        std::unique_ptr<GL_MeshCache> cache;
    };

    /// Brings the view's entry to the front, if there is one.
    bool find(const GL_NurbsView& view);
    void insert(Entry entry);
    void drawFirst(GL_RenderEvent* event, GL_Shape& shape, const GL_MaterialVector& materials);

    std::vector<Entry> m_entries; // the one drawn last comes first
};
