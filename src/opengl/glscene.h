#pragma once

#include "action/actiondict.h"
#include "kernel/vobject.h"
#include "kernel/vobjectfinder.h"
#include "opengl/glfont.h"
#include "opengl/glmaterial.h"
#include "opengl/globject.h"
#include "opengl/gltexture.h"
#include "toolkit/qmemarray.h"

#include <string_view>

class GL_Light;
class GL_Manipulator;
class GL_Traversal;
class GL_Viewer;
class VFormatIO;
class VSceneIO;
struct GL_RenderEvent;

/// A document: the tree of nodes, what they share, the lights, the actions that drive them, and the
/// selection.
///
/// Filled by hand or by a format's reader; `init` makes it usable in the GL context that is
/// current. It owns everything but the selection. Used by one thread, the one with the context.
class ZYL_EXPORT GL_Scene : public VObject, public VObjectFinder
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;
    bool signal_emit(int id, VUObject* o) override;
    bool property_op(int id, int op, VVariant* value) override;

    static const geometry::Vector4f defaultAmbient;

    enum Flag : unsigned {
        AutoPlay = 1u << 0,
        LoopPlay = 1u << 1,
        FileMask = 0xFFFF, ///< what is taken from files
        Changed = 1u << 31
    };

    GL_Scene();
    ~GL_Scene() override;

    // Content

    GL_TextureList& textures() { return m_textures; }
    const GL_TextureList& textures() const { return m_textures; }
    GL_MaterialList& materials() { return m_materials; }
    const GL_MaterialList& materials() const { return m_materials; }
    GL_FontList& fonts() { return m_fonts; }
    const GL_FontList& fonts() const { return m_fonts; }
    /// Nodes that are drawn only through references.
    GL_ObjectList& library() { return m_library; }
    const GL_ObjectList& library() const { return m_library; }
    GL_ObjectList& objects() { return m_objects; }
    const GL_ObjectList& objects() const { return m_objects; }
    /// Its members are `GL_Light`s.
    GL_ObjectList& lights() { return m_lights; }
    const GL_ObjectList& lights() const { return m_lights; }
    action::ActionDict& actions() { return m_actions; }
    const action::ActionDict& actions() const { return m_actions; }
    /// The length of the animation; 0 without one.
    double timeLength() const { return m_timeLength; }
    void setTimeLength(double length) { m_timeLength = length; }
    unsigned flags() const { return m_flags; }
    void setFlags(unsigned flags) { m_flags = flags; }
    void setFileFlags(unsigned flags) { m_flags = (m_flags & ~FileMask) | (flags & FileMask); }
    bool isChanged() const { return m_flags & Changed; }
    void setChanged(bool changed);

    // Properties
    VColor background() const { return m_background; }
    void setBackground(VColor color) { m_background = color; }
    VColor ambient() const { return m_ambient; }
    void setAmbient(VColor color) { m_ambient = color; }
    bool autoPlay() const { return m_flags & AutoPlay; }
    void setAutoPlay(bool on);
    bool loopPlay() const { return m_flags & LoopPlay; }
    void setLoopPlay(bool on);

    /// Empties everything but colours, time length and flags.
    void clear();
    // Append what the lists don't hold yet.
    void mergeTexture(const GL_TextureList& list);
    void mergeMaterial(const GL_MaterialList& list);
    void mergeFont(const GL_FontList& list);
    void mergeLibrary(const GL_ObjectList& list);
    void mergeObjects(const GL_ObjectList& list);
    void mergeLights(const GL_ObjectList& list);
    // Do nothing: shapes may still use them.
    void removeTexture(GL_Texture*) {}
    void removeMaterial(GL_Material*) {}
    void removeFont(GL_Font*) {}
    // Remove a node, deleting it if its list deletes, and whatever points at it or below it:
    // connections, references, selection.
    void removeLibObj(GL_Object* object);
    void removeModel(GL_Object* object);
    void removeLight(GL_Light* light);
    /// Deletes the selected nodes, and what points at them.
    void deleteObjects();

    // Names

    /// What a path leads to: "textures/NAME", "materials/NAME", "lights/NAME", "library/PATH",
    /// "objects/PATH", or a plain path of objects; slashes in front are passed over. Or null.
    ZYLObject* findObject(const char* path) override;
    /// The shortest such path that leads back to the object, or with `full` the one with a first
    /// word; null when there is none. Doesn't look into an object that isn't the scene's.
    QCString pathOf(const ZYLObject* object, bool full = false) const;
    // The first of that name, or null.
    GL_Texture* findTexture(const char* name) const;
    GL_Material* findMaterial(const char* name) const;
    /// At the top level of the library.
    GL_Object* findLibObj(const char* name) const;

    /// While it lives, what is looked up by name or by path is found in constant time, and in
    /// return names stay as they are and lists only grow at their ends. For reading and writing.
    class ZYL_EXPORT Lookup
    {
    public:
        explicit Lookup(const GL_Scene& scene);
        ~Lookup();
        Lookup(const Lookup&) = delete;
        Lookup& operator=(const Lookup&) = delete;

    private:
        const GL_Scene* m_scene; // null inside of another one
    };

    // Drawing, in the current context

    /// Sets the GL state that drawing takes for granted.
    void initialize();
    void init();
    /// Calls `init` of everything.
    void createObjects();
    /// How many passes a frame takes; a material raises it.
    int passes() const { return m_passes; }
    void raisePasses(int passes);
    /// All zeros for a scene without objects and lights.
    void bounds(geometry::Box3f& box) const;
    void draw(GL_Viewer* viewer);
    void hit(GL_Viewer* viewer);
    /// As `hit`; a `GL_Traversal` that kept names of its own is left in `traversal`.
    void hit(GL_Viewer* viewer, GL_Traversal& traversal);
    /// The node of a path of selection names. Warns and returns null without one.
    GL_Object* identify(unsigned* path, unsigned n);
    /// Two lights that stand in the eye, for a scene that has none.
    void setEnvLights(bool on);

    // Selection

    const GL_ObjectList& selection() const { return m_selection; }
    void setSelection(GL_Object* object);
    void setSelections(const GL_ObjectList& list);
    void selectObject(GL_Object* object, bool select);
    bool isSelected(const GL_Object* object) const;
    void clearSelection();
    /// The node with handles.
    GL_Object* currentObject() const { return m_currentObject; }
    void setCurrentObject(GL_Object* object);
    /// The part of a single pick, such as a vertex, or -1.
    int currentPart() const { return m_currentPart; }
    void setCurrentPart(int part) { m_currentPart = part; }
    GL_Manipulator* manipulator() const { return m_manipulator; }
    /// Takes ownership, and sets the current object as its target.
    void setManipulator(GL_Manipulator* manipulator);

    // Animation

    /// Hands the value to each action that is connected to `valueChanged`. True if any of them took
    /// it, or the scene was changed before.
    bool evaluate(int key, double value);
    void valueChanged(int key, double value); // signal

    // Files

    /// The bytes show in every array that shares these.
    bool write(QMemArray<char> array, const char* format) const;
    bool read(QMemArray<char> array, const char* format);
    // The body of the native binary form: 0, or negative for failure. What was read before stays.
    int write(VSceneIO& io) const;
    int read(VSceneIO& io);
    /// With the request's `VZylStream`, which must be there.
    int write(QDataStream& stream, VFormatIO& io) const;
    int read(QDataStream& stream, VFormatIO& io);
    /// To be called after reading: lets actions find each other, and makes the selection agree with
    /// the selected bits, which count at the top level alone.
    void finishReading();

private:
    struct Meta;
    struct Names;
    static VMetaObject* metaObj;

    void forget(const action::ReceiverSet& gone);
    void remove(GL_Object* object, GL_ObjectList& list);
    void drawObjects(GL_RenderEvent& e);
    void drawLights(GL_RenderEvent& e);
    template <class T>
    T* find(const VPtrList<T>& list, std::string_view name) const;
    GL_Object* findPath(const GL_ObjectList& list, const char* path) const;

    GL_TextureList m_textures;
    GL_MaterialList m_materials;
    GL_FontList m_fonts;
    GL_ObjectList m_library;
    GL_ObjectList m_objects;
    GL_ObjectList m_lights;
    action::ActionDict m_actions;
    double m_timeLength = 0;
    VColor m_background = VColor(0u);
    VColor m_ambient;
    unsigned m_flags = 0;
    GL_ObjectList m_selection; // doesn't own
    GL_Object* m_currentObject = nullptr;
    int m_currentPart = -1;
    int m_passes = 1;
    GL_Manipulator* m_manipulator = nullptr;
    mutable Names* m_names = nullptr; // of the outermost `Lookup`
};
