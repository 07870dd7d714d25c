#pragma once

#include "geometry/zylbox.h"
#include "opengl/glnamedobject.h"
#include "tools/vcolor.h"

class GL_Group;
class GL_Object;
class GL_Viewer;

/// Nodes in drawing order. Deletes them only with `autoDelete`.
class ZYL_EXPORT GL_ObjectList : public VPtrList<GL_Object>
{
public:
    GL_ObjectList() = default;
    GL_ObjectList(const GL_ObjectList& other);
    GL_ObjectList& operator=(const GL_ObjectList& other);
    ~GL_ObjectList() override;

    /// Null for a null or empty name.
    GL_Object* findName(const char* name) const;
    /// Follows names parted by "/" through groups. Slashes in front of a name are passed over, but
    /// a path that is empty or ends in one leads nowhere.
    GL_Object* findPath(const char* path) const;

    /// Draws the nodes that take part in the event's pass and can be seen.
    void draw(GL_RenderEvent* event) const;
    /// Calls `hit` of the nodes that can be hit, each under its name: `first` and up, in the place
    /// of the name that stands.
    void hit(GL_RenderEvent* event, unsigned first) const;

protected:
    Item newItem(Item item) override;
    void deleteItem(Item item) override;

private:
    friend class GL_Group;

    GL_Group* m_group = nullptr; // whose children these are; not copied
};

/// A node: something placed in a scene, that draws itself, answers a pick and tells its bounds.
class ZYL_EXPORT GL_Object : public GL_NamedObject
{
public:
    static const VMetaClass metaClass;
    const VMetaClass* metaObject() const override;

    /// The word is stored in files: its low 28 bits are a format.
    enum Flag : unsigned {
        ColorSourceMask = 0x3, ///< in a block: 0 own colour, 1 its layer colour, 2 its colour
        Bones = 1u << 1,       ///< of a joint: draw marker and bones
        Lit = 1u << 2,
        Selected = 1u << 3, ///< kept by the scene's selection
        StyleMask = 3u << 4,
        ShadingMask = 3u << 6,
        SmoothAngle = 1u << 8, ///< a mesh makes its normals by angle and not by group
        Clockwise = 1u << 9,
        CullFace = 1u << 10,
        StoredMask = 0x0FFFFFFF,
        BlockTarget = 1u << 30, ///< of a reference
        Rebuild = 1u << 31      ///< what is cached for drawing is stale
    };
    static constexpr int styleShift = 4;
    static constexpr int shadingShift = 6;

    GL_Object() = default;
    GL_Object(const GL_Object& other) = delete;
    GL_Object& operator=(const GL_Object& other) = delete;
    ~GL_Object() override;

    VColor color() const { return m_color; }
    void setColor(VColor color) { m_color = color; }
    unsigned flags() const { return m_flags; }
    void setFlags(unsigned flags) { m_flags = flags; }
    bool testFlags(unsigned mask) const { return m_flags & mask; }
    void setFlags(unsigned mask, bool on) { m_flags = on ? m_flags | mask : m_flags & ~mask; }
    bool isSelected() const { return m_flags & Selected; }
    GL_Group* parent() const { return m_parent; }

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    /// Multiplies the matrices from here to the root onto `matrix`; false when no node on the way
    /// has one.
    virtual bool hasTransform(geometry::Matrix4f& matrix) const;
    /// Sets `box` to what the node covers in its parent's space, before `init` not reliably.
    virtual void bounds(geometry::Box3f& box) const;
    /// Draws what can be picked, under the selection names that stand.
    virtual void hit(GL_RenderEvent* event);
    /// Whether the node takes part in the event's pass.
    virtual bool shouldRender(GL_RenderEvent* event) const;
    /// The node at the end of a path of `n` child indices below this one, or null.
    virtual GL_Object* identify(unsigned* path, unsigned n);
    /// Moves the node with the pointer; true if anything changed. Positions are pixels from the
    /// lower left.
    virtual bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
                      const geometry::Vector2i& to);

    // Drawing in the node's own space.

    /// A loop of `n` vertices around the z axis, starting on the y axis.
    static void drawCircle(float radius, float z, int n);
    static void drawBox(const geometry::Box3f& box);
    static void drawHandles(const geometry::Box3f& box);

    /// To be called after anything that changes what `bounds` tells. Costs nothing where those
    /// above know already.
    void boundsChanged();

protected:
    /// What is known of the node's extent, so that drawing and picking can pass over it.
    ///
    /// A class that draws and picks nothing outside of its bounds, selected or not, and calls
    /// `boundsChanged` whenever they change, may set `Stale` in its constructor; others are drawn
    /// always. `GL_Shape`, whose bounds are those given to `setShapeBounds`, `GL_Group` and
    /// `GL_Reference` do: a class derived from them that does otherwise sets `Unknown`. Empty
    /// bounds promise nothing.
    enum Extent : quint8 { Unknown, Stale, Measured };
    void setExtent(Extent extent) { m_extent = extent; }
    /// For nodes that many scenes hold very many of, and that use no vertex arrays but those that
    /// they leave to each other: see `GL_State::setArrays`.
    void setKeepsArrays(bool keeps) { m_keepsArrays = keeps; }

    /// Handles the events that read and change the node's matrix.
    bool transformEvent(VEvent* event, geometry::Matrix4f& transform);

private:
    friend class GL_Block;
    friend class GL_Group;
    friend class GL_Joint;
    friend class GL_ObjectList;
    friend class GL_Reference;
    friend class GL_Shape;
    friend class GL_Traversal;

    /// How the extent is measured, and told without the class registry.
    enum class Kind : quint8 { Plain, Shape, Group, Joint, Reference };

    GL_Object(Kind kind, Extent extent) : m_extent(extent), m_kind(kind) {}

    void measure() const;
    void setSphere(geometry::Vector3f center, float radius) const;
    void setSphere(const geometry::Vector3f& center, float radius,
                   const geometry::Matrix4f& transform) const;

    /// Counts the changes of all nodes' bounds and the nodes' deaths, so that what was computed
    /// from many nodes can tell whether it still holds.
    static unsigned m_changes;

    // Packed behind the base's name, so that a node stays small and a test whether it can be seen
    // stays within a cache line.
    VColor m_color = VColor(0xFFFFFFFFu);
    unsigned m_flags = 0;
    GL_Group* m_parent = nullptr;        // not owned
    mutable geometry::Vector3f m_center; // of a sphere around the bounds, in the parent's space
    mutable float m_radius = 0;          // infinite for what must not be passed over
    mutable Extent m_extent = Unknown;
    const Kind m_kind = Kind::Plain;
    bool m_keepsArrays = false;
};
