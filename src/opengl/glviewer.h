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
    /// What the pressed button does as the mouse moves.
    enum MouseAction {
        NoAction = 0,
        Pressed = 1, ///< in mode `Select`; the first move makes it `SelectBand`
        Orbit = 2,
        Pan = 4,
        Zoom = 5,
        FieldOfView = 6,
        Drag = 7, ///< moves what is selected
        Dolly = 8,
        LookAround = 9,
        SelectBand = 10,
        ZoomBand = 11
    };

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
    /// Words of the selection buffer at first; it grows, and stays as large as it had to be until
    /// the size is set. Without any nothing is picked.
    int hitBufferSize() const { return m_hitBufferSize; }
    void setHitBufferSize(int size);

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
    /// From the eye to the centre; at most 114 diameters. Far and near plane follow, the near one
    /// at a tenth of the far one.
    void setDistance(double distance);
    void setZoom(double zoom);
    void setBackColor(VColor color);
    void setAmbientColor(VColor color);
    /// Looks through a camera, which stays the caller's; null changes nothing.
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

    /// Looks at a box in the world from the present direction. One without extent, or one that
    /// numbers can't span, counts as two units long.
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
    /// The inverse, to the nearest pixel. Fatal in perspective for a point in the plane of the eye.
    void eyeToScreen(int& x, int& y, const geometry::Vector3f& v) const;
    geometry::Vector3f worldVector(const geometry::Vector2i& from,
                                   const geometry::Vector2i& to) const;
    /// At the depth of `point`.
    geometry::Vector3f worldVector(const geometry::Vector2i& from, const geometry::Vector2i& to,
                                   const geometry::Vector3f& point) const;
    /// In the space of `object`, at the depth of its `point`; zero if its matrix is singular.
    geometry::Vector3f localVector(const GL_Object* object, const geometry::Vector2i& from,
                                   const geometry::Vector2i& to,
                                   const geometry::Vector3f& point) const;
    /// The ray under a pixel, in the world: from the eye, or in an orthographic view from the near
    /// plane, through the plane of the centre. The direction has length 1, or 0 where both planes
    /// are one.
    void boreVector(int x, int y, geometry::Vector3f& origin, geometry::Vector3f& direction) const;
    /// A point of the trackball, of length 1.
    geometry::Vector3f spherePoint(const geometry::Vector2i& position) const;
    /// The rotation that a drag over the trackball makes. The ball fills the smaller side of the
    /// window, and falls off in a second sheet around.
    geometry::Quaternion turn(const geometry::Vector2i& from, const geometry::Vector2i& to) const;

    // Pictures

    /// Reads a rectangle of the front buffer with its lower left corner at (x, y), into a new image
    /// of 32 bits with the top row first. Its top bytes are what the buffer has for alpha.
    void readPixels(VImage& image, int x, int y, int width, int height);
    /// Draws into a feedback buffer of `size` floats; returns how many were used, or a negative
    /// number if they were too few.
    int renderFeedback(float* buffer, int x, int y, int width, int height, int size);
    /// The same with a buffer as large as it takes, which the caller frees with `free`. False, with
    /// null, when there is no feedback or no memory for it.
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
    /// Chooses among the records of a selection buffer: a handle of the manipulator before all
    /// else, then what is nearest, then the longest path. Keeps which handle, or which part of the
    /// node, that is.
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
    /// Draws the mean of eight pictures, each with the edges of the volume moved by up to half a
    /// pixel of the plane of the centre. In perspective these edges lie in the near plane, where
    /// that is several pixels: the picture gets soft.
    void drawAnti(const GL_Viewport& viewport);
    void updateProjection();
    void updateTransform();
    /// Draws for selection; returns the count of records, negative if they don't fit in memory. The
    /// buffer holds as many of them as fit then.
    int selectHits(VMemArray<unsigned>& buffer, int x, int y, int width, int height);
    /// Multiplies the matrix onto GL's current one that spreads a rectangle of pixels over all of
    /// the view.
    static void pickMatrix(int x, int y, int width, int height, const GL_Viewport& viewport);

private:
    void setView(const geometry::Quaternion& orientation);
    bool isView(const geometry::Quaternion& orientation) const;
    void setPlanes();
    geometry::Box3f sceneBounds() const;
    void loadVolume(const GL_Viewport& viewport) const;
    double depthScale(double z) const;
    geometry::Vector3f eyeDifference(const geometry::Vector2i& from, const geometry::Vector2i& to,
                                     double scale) const;
    int hitsIn(const char* operation, int x, int y, int width, int height);

    geometry::Vector2i clampToWindow(const geometry::Vector2i& position) const;
    void pressOn(GL_Object* object, int modifiers);
    void dragSelection(const geometry::Vector2i& from, const geometry::Vector2i& to);
    void lookAround(const geometry::Vector2i& from, const geometry::Vector2i& to);
    void dolly(double pixels);
    void zoomTo(const geometry::Vector2i& corner);
    void selectTo(const geometry::Vector2i& corner, int modifiers);

    GL_Viewport m_viewport;
    geometry::Matrix4f m_modelView;
    geometry::Matrix4f m_inverse;
    geometry::Quaternion m_orientation;
    geometry::Vector3f m_center;
    geometry::Vector3f m_scale = geometry::Vector3f(1, 1, 1);
    double m_distance = 1;
    double m_fieldOfView = 45;
    double m_zoom = 1;
    // On the plane of the centre, in the window of the default viewport.
    double m_pixelSize = 0.02;
    double m_pixelDepth = 0.04;
    double m_originX = -1;
    double m_originY = -1;
    double m_diameter = 2;
    unsigned m_flags = Perspective;
    VColor m_backColor = VColor(0xFF000000u);
    VColor m_ambientColor = VColor(0xFF333333u); // GL_Scene::defaultAmbient
    GL_Scene* m_scene = nullptr;
    int m_hitBufferSize = 512;
    int m_mouseMode = Select;
    int m_mouseAction = 0;
    geometry::Vector2i m_pressPosition;
    geometry::Vector2i m_lastPosition;
    VMemArray<unsigned> m_hitBuffer; // kept from pick to pick
};
