#pragma once

#include "geometry/zylbox.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylquaternion.h"
#include "kernel/zylobject.h"
#include "opengl/globject.h"
#include "tools/vmemarray.h"

class GL_Camera;
class GL_Scene;
class VContextMenuEvent;
class VImage;
class VMouseEvent;
class VTabletEvent;
class VWheelEvent;

/// A window's rectangle in pixels and the view volume that it shows.
struct ZYL_EXPORT GL_Viewport {
    int x = 0;
    int y = 0;
    int width = 100;
    int height = 100;
    double left = -1;
    double right = 1;
    double bottom = -1;
    double top = 1;
    double near = 0.1;
    double far = 4;
};

/// The camera and the mouse over one scene, without a window of its own.
///
/// A window layer derives from it: it makes a GL context current in `makeCurrent`, draws again
/// after `emitUpdate`, and calls `initialize`, `reshape`, `render` and `event`. Screen positions
/// are pixels from the lower left, so the layer flips y. Used by the thread with the context.
class ZYL_EXPORT GL_Viewer : public ZYLObject
{
public:
    static const VMetaClass metaClass;
    const VMetaClass* metaObject() const override;

    enum Flag : unsigned {
        Perspective = 1u << 0,
        Fog = 1u << 2,
        Textures = 1u << 3,
        Dither = 1u << 4,
        Antialias = 1u << 5, ///< eight jittered passes a frame
        Locked = 1u << 8,
        Quiet = 1u << 9,       ///< no update for the two colours
        HideShapes = 1u << 10, ///< draw only the frames of what is selected
        KeepView = 1u << 11,   ///< `initialize` keeps the view
        ShowAxis = 1u << 12
    };
    enum MouseMode { Select, View, Fly };

    static VColor m_boundColor;
    static VColor m_selectColor;
    static VColor m_handleColor;

    GL_Viewer();
    ~GL_Viewer() override;

    bool event(VEvent* event) override;

    GL_Scene* scene() const { return m_scene; }
    /// The scene stays the caller's.
    void setScene(GL_Scene* scene) { m_scene = scene; }
    const GL_Viewport& viewport() const { return m_viewport; }
    unsigned flags() const { return m_flags; }
    bool testFlags(unsigned mask) const { return m_flags & mask; }
    void setFlags(unsigned mask, bool on) { m_flags = on ? m_flags | mask : m_flags & ~mask; }
    void lockView() { m_flags ^= Locked; }
    int mouseMode() const { return m_mouseMode; }
    void setMouseMode(int mode) { m_mouseMode = mode; }
    int mouseAction() const { return m_mouseAction; }
    /// Words of the selection buffer at first; it grows, and stays as large as it had to be.
    int hitBufferSize() const { return m_hitBufferSize; }
    void setHitBufferSize(int size) { m_hitBufferSize = size; }

    // The view

    const geometry::Matrix4f& modelView() const { return m_modelView; }
    const geometry::Matrix4f& inverse() const { return m_inverse; }
    const geometry::Quaternion& orientation() const { return m_orientation; }
    const geometry::Vector3f& center() const { return m_center; }
    const geometry::Vector3f& scale() const { return m_scale; }
    double distance() const { return m_distance; }
    double fieldOfView() const { return m_fieldOfView; }
    double zoom() const { return m_zoom; }
    double pixelSize() const { return m_pixelSize; }
    double pixelDepth() const { return m_pixelDepth; }
    double diameter() const { return m_diameter; }
    VColor backColor() const { return m_backColor; }
    VColor ambientColor() const { return m_ambientColor; }

    // Each does nothing when that changes nothing, and asks for an update otherwise.
    /// 1 is perspective, 0 orthographic. Asks for no update.
    void setProjection(int projection);
    void setOrientation(const geometry::Quaternion& orientation);
    void setCenter(const geometry::Vector3f& center);
    void setScale(const geometry::Vector3f& scale);
    /// Degrees, from 2 to 175.
    void setFieldOfView(double degrees);
    /// From the eye to the centre; at most 114 diameters.
    void setDistance(double distance);
    void setZoom(double zoom);
    void setBackColor(VColor color);
    void setAmbientColor(VColor color);
    void setCamera(GL_Camera* camera);
    void translate(const geometry::Vector3f& offset);

    void top();
    void bottom();
    void front();
    void back();
    void left();
    void right();
    bool isTop() const;
    bool isBottom() const;
    bool isFront() const;
    bool isBack() const;
    bool isLeft() const;
    bool isRight() const;

    /// Looks at a box in the world from the present direction.
    void setBounds(const geometry::Box3f& box);
    /// As `setBounds`, for the box turned into the view.
    void fitToBounds(const geometry::Box3f& box);
    void fitView();
    void resetView();

    // Between screen, eye and world

    geometry::Vector3f worldToEye(const geometry::Vector3f& v) const;
    float worldToEyeZ(const geometry::Vector3f& v) const;
    geometry::Vector3f eyeToWorld(const geometry::Vector3f& v) const;
    geometry::Vector3f eyeVector() const;
    geometry::Vector3f eyePosition() const;
    /// The pixel on the plane of the centre; z is the distance.
    geometry::Vector3f screenToTarget(int x, int y) const;
    /// The point under a pixel at depth `z` in the eye's space, where points in front have
    /// negative z.
    geometry::Vector3f screenToEye(int x, int y, float z) const;
    /// The inverse. Fatal for a point in the plane of the eye.
    void eyeToScreen(int& x, int& y, const geometry::Vector3f& v) const;
    geometry::Vector3f worldVector(const geometry::Vector2i& from,
                                   const geometry::Vector2i& to) const;
    /// At the depth of `point`.
    geometry::Vector3f worldVector(const geometry::Vector2i& from, const geometry::Vector2i& to,
                                   const geometry::Vector3f& point) const;
    /// In the space of `object`, at the depth of its `point`.
    geometry::Vector3f localVector(const GL_Object* object, const geometry::Vector2i& from,
                                   const geometry::Vector2i& to,
                                   const geometry::Vector3f& point) const;
    /// The ray under a pixel, in the world.
    void boreVector(int x, int y, geometry::Vector3f& origin, geometry::Vector3f& direction) const;
    /// A point of the trackball, of length 1.
    geometry::Vector3f spherePoint(const geometry::Vector2i& position) const;
    /// The rotation that a drag over the trackball makes.
    geometry::Quaternion turn(const geometry::Vector2i& from, const geometry::Vector2i& to) const;

    // Pictures

    /// Reads a rectangle of the front buffer.
    void readPixels(VImage& image, int x, int y, int width, int height);
    /// Draws into a feedback buffer of `size` floats; returns how many were used, or a negative
    /// number if they were too few.
    int renderFeedback(float* buffer, int x, int y, int width, int height, int size);
    /// The same with a buffer as large as it takes, which the caller frees with `free`.
    bool readFeedback(float*& data, int& count, int& size, int x, int y, int width, int height);
    /// Draws a rectangle's outline inverted, so that drawing it twice leaves no trace.
    void drawLasso(const geometry::Vector2i& a, const geometry::Vector2i& b);
    /// The nodes that show in the rectangle between two corners.
    GL_ObjectList lasso(int x0, int y0, int x1, int y1);

    virtual void initialize();
    virtual void reshape(int width, int height);
    /// The nodes that show in a rectangle with its lower left corner at (x, y), front ones not
    /// before others; one that shows by several parts comes several times.
    virtual GL_ObjectList select(int x, int y, int width, int height);
    /// The nearest node within three pixels, or null.
    virtual GL_Object* pick(int x, int y);
    virtual void makeCurrent();
    virtual void render();
    virtual void emitUpdate();
    virtual void emitSelectionChanged();
    /// Chooses among the records of a selection buffer.
    virtual GL_Object* processHits(const VMemArray<unsigned>& buffer, int hits);
    virtual void mousePressEvent(VMouseEvent* event);
    virtual void mouseReleaseEvent(VMouseEvent* event);
    virtual void mouseDoubleClickEvent(VMouseEvent* event);
    virtual void mouseMoveEvent(VMouseEvent* event);
    virtual void wheelEvent(VWheelEvent* event);
    virtual void tabletEvent(VTabletEvent* event);
    virtual void contextMenuEvent(VContextMenuEvent* event);

protected:
    void draw(const GL_Viewport& viewport);
    void drawAnti(const GL_Viewport& viewport);
    void updateProjection();
    void updateTransform();
    /// Draws for selection; returns the count of records, negative if they don't fit in memory.
    int selectHits(VMemArray<unsigned>& buffer, int x, int y, int width, int height);

private:
    GL_Viewport m_viewport;
    geometry::Matrix4f m_modelView;
    geometry::Matrix4f m_inverse;
    geometry::Quaternion m_orientation;
    geometry::Vector3f m_center;
    geometry::Vector3f m_scale = geometry::Vector3f(1, 1, 1);
    double m_distance = 1;
    double m_fieldOfView = 45;
    double m_zoom = 1;
    double m_pixelSize = 0;
    double m_pixelDepth = 0;
    double m_originX = 0;
    double m_originY = 0;
    double m_diameter = 2;
    unsigned m_flags = Perspective;
    VColor m_backColor = VColor(0xFF000000u);
    VColor m_ambientColor;
    GL_Scene* m_scene = nullptr;
    int m_hitBufferSize = 512;
    int m_mouseMode = Select;
    int m_mouseAction = 0;
    geometry::Vector2i m_pressPosition;
    geometry::Vector2i m_lastPosition;
};
