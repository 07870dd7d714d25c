#include "opengl/glscene.h"

#include "kernel/vproperties.h"
#include "opengl/glgroup.h"
#include "opengl/gllight.h"
#include "opengl/glmanipulator.h"
#include "opengl/glreference.h"
#include "opengl/glrenderevent.h"
#include "opengl/glscenewalk_p.h"
#include "opengl/vsceneio.h"
#include "toolkit/qmemarraydevice.h"

#include <GL/gl.h>

#include <algorithm>
#include <unordered_set>

using geometry::Box3f;
using geometry::Vector3f;
using geometry::Vector4f;

struct GL_Scene::Meta {
    static constexpr declare::Signals signalTable{
        declare::signal<&GL_Scene::valueChanged>("valueChanged(int,double)")};

    static constexpr declare::Properties propertyTable{
        &metaObj, declare::property<&GL_Scene::background, &GL_Scene::setBackground>("background"),
        declare::property<&GL_Scene::ambient, &GL_Scene::setAmbient>("ambient"),
        declare::property<&GL_Scene::autoPlay, &GL_Scene::setAutoPlay>("autoPlay"),
        declare::property<&GL_Scene::loopPlay, &GL_Scene::setLoopPlay>("loopPlay")};
};
VMetaObject* GL_Scene::metaObj = nullptr;

VMetaObject* GL_Scene::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("GL_Scene", VObject::staticMetaObject(), Meta::signalTable,
                                      Meta::propertyTable);
    return metaObj;
}

VMetaObject* GL_Scene::metaObject() const
{
    return staticMetaObject();
}

bool GL_Scene::signal_emit(int id, VUObject* o)
{
    return Meta::signalTable.invoke(this, id, o) || VObject::signal_emit(id, o);
}

bool GL_Scene::property_op(int id, int op, VVariant* value)
{
    return Meta::propertyTable.operate(this, id, op, value) || VObject::property_op(id, op, value);
}

const Vector4f GL_Scene::defaultAmbient(0.2f, 0.2f, 0.2f, 1);

GL_Scene::GL_Scene() : m_ambient(defaultAmbient)
{
    for (VPtrCollection* list :
         {static_cast<VPtrCollection*>(&m_textures), static_cast<VPtrCollection*>(&m_materials),
          static_cast<VPtrCollection*>(&m_fonts), static_cast<VPtrCollection*>(&m_library),
          static_cast<VPtrCollection*>(&m_objects), static_cast<VPtrCollection*>(&m_lights)})
        list->setAutoDelete(true);
}

GL_Scene::~GL_Scene()
{
    delete m_manipulator;
    m_manipulator = nullptr;
    clear();
}

void GL_Scene::setChanged(bool changed)
{
    m_flags = changed ? m_flags | Changed : m_flags & ~Changed;
}

void GL_Scene::setAutoPlay(bool on)
{
    m_flags = on ? m_flags | AutoPlay : m_flags & ~AutoPlay;
}

void GL_Scene::setLoopPlay(bool on)
{
    m_flags = on ? m_flags | LoopPlay : m_flags & ~LoopPlay;
}

// Content

void GL_Scene::clear()
{
    clearSelection();
    m_currentPart = -1;
    m_actions.clear();
    m_lights.clear();
    m_objects.clear();
    m_library.clear();
    m_fonts.clear();
    m_materials.clear();
    m_textures.clear();
    setChanged(true);
}

namespace
{
template <class T>
void merge(VPtrList<T>& list, const VPtrList<T>& more)
{
    std::unordered_set<const T*> held(list.begin(), list.end());
    // By count, since the list may be merged into itself.
    unsigned left = more.count();
    for (auto it = more.begin(); left > 0; ++it, --left)
        if (held.insert(*it).second)
            list.append(*it);
}
} // namespace

void GL_Scene::mergeTexture(const GL_TextureList& list)
{
    merge(m_textures, list);
}

void GL_Scene::mergeMaterial(const GL_MaterialList& list)
{
    merge(m_materials, list);
}

void GL_Scene::mergeFont(const GL_FontList& list)
{
    merge(m_fonts, list);
}

void GL_Scene::mergeLibrary(const GL_ObjectList& list)
{
    merge<GL_Object>(m_library, list);
}

void GL_Scene::mergeObjects(const GL_ObjectList& list)
{
    merge<GL_Object>(m_objects, list);
}

void GL_Scene::mergeLights(const GL_ObjectList& list)
{
    merge<GL_Object>(m_lights, list);
}

// Removal

namespace
{
/// Adds a node and all below it. A node that is there already brings nothing more.
void collect(GL_Object* object, action::ReceiverSet& nodes)
{
    walkNodes(object, [&nodes](const GL_Object* node) { return nodes.insert(node).second; });
}
} // namespace

/// Takes whatever points at these nodes away from them.
void GL_Scene::forget(const action::ReceiverSet& gone)
{
    m_actions.forgetReceivers(gone);
    for (GL_ObjectList* list : {&m_library, &m_objects, &m_lights})
        walkNodes(*list, [&gone](GL_Object* node) {
            if (node->inherits(&GL_Reference::metaClass)) {
                auto* const reference = static_cast<GL_Reference*>(node);
                if (gone.count(reference->object()))
                    reference->setObject(nullptr);
            }
            return true;
        });
    for (VLNode* node = m_selection.firstNode(); node;) {
        auto* const object = static_cast<GL_Object*>(node->item);
        const bool isGone = gone.count(object) > 0;
        if (isGone)
            object->setFlags(GL_Object::Selected, false);
        node = isGone ? m_selection.erase(node) : node->next;
    }
    if (m_currentObject && gone.count(m_currentObject))
        setCurrentObject(nullptr);
    if (m_manipulator && m_manipulator->target() && gone.count(m_manipulator->target()))
        m_manipulator->setTarget(nullptr);
}

void GL_Scene::remove(GL_Object* object, GL_ObjectList& list)
{
    if (!object || list.findRef(object) < 0)
        return;
    action::ReceiverSet gone;
    collect(object, gone);
    forget(gone);
    list.removeRef(object);
}

void GL_Scene::removeLibObj(GL_Object* object)
{
    remove(object, m_library);
}

void GL_Scene::removeModel(GL_Object* object)
{
    if (object)
        remove(object, object->parent() ? object->parent()->children() : m_objects);
}

void GL_Scene::removeLight(GL_Light* light)
{
    if (light)
        remove(light, light->parent() ? light->parent()->children() : m_lights);
}

void GL_Scene::deleteObjects()
{
    // A node below another selected one goes with it.
    action::ReceiverSet gone, below;
    for (GL_Object* object : m_selection)
        walkNodes(object, [&](const GL_Object* node) {
            if (node != object)
                below.insert(node);
            return gone.insert(node).second || node == object; // below others all is there
        });
    action::ReceiverSet roots;
    std::unordered_set<GL_ObjectList*> lists{&m_objects, &m_lights};
    for (GL_Object* object : m_selection) {
        if (below.count(object) || !roots.insert(object).second)
            continue;
        if (GL_Group* const parent = object->parent())
            lists.insert(&parent->children());
    }
    setCurrentObject(nullptr);
    forget(gone);
    m_selection.clear();
    for (GL_ObjectList* list : lists)
        for (VLNode* node = list->firstNode(); node;)
            node =
                roots.count(static_cast<GL_Object*>(node->item)) ? list->erase(node) : node->next;
}

// Drawing

void GL_Scene::initialize()
{
    const Vector4f background(m_background);
    glClearColor(background.x, background.y, background.z, background.w);
    for (const GLenum hint : {GL_POLYGON_SMOOTH_HINT, GL_PERSPECTIVE_CORRECTION_HINT, GL_FOG_HINT,
                              GL_LINE_SMOOTH_HINT, GL_POINT_SMOOTH_HINT})
        glHint(hint, GL_FASTEST);
    glEnable(GL_DEPTH_TEST);
    const Vector4f ambient(m_ambient);
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, &ambient.x);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glShadeModel(GL_FLAT);
    glDisable(GL_LIGHTING);
    glDisable(GL_NORMALIZE);
    glPolygonOffset(-1, -1);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
}

void GL_Scene::init()
{
    initialize();
    createObjects();
}

void GL_Scene::createObjects()
{
    m_passes = 1;
    const auto initAll = [this](const auto& list) {
        for (auto* item : list)
            item->init(this);
    };
    initAll(m_textures);
    initAll(m_materials);
    initAll(m_fonts);
    initAll(m_library);
    initAll(m_objects);
    unsigned number = 0;
    for (GL_Object* light : m_lights) {
        static_cast<GL_Light*>(light)->setNumber(number++);
        light->init(this);
    }
}

void GL_Scene::raisePasses(int passes)
{
    m_passes = std::max(m_passes, passes);
}

void GL_Scene::bounds(Box3f& box) const
{
    if (m_objects.isEmpty() && m_lights.isEmpty()) {
        box.min = box.max = Vector3f();
        return;
    }
    box.makeEmpty();
    for (const GL_ObjectList* list : {&m_objects, &m_lights})
        for (const GL_Object* object : *list) {
            Box3f part;
            object->bounds(part);
            box.include(part);
        }
}

void GL_Scene::draw(GL_Viewer* viewer)
{
    GL_RenderEvent e(viewer, this);
    for (GL_Object* light : m_lights)
        if (light->shouldRender(&e))
            light->draw(&e);
    if (!m_objects.isEmpty())
        drawObjects(e);
    if (!m_lights.isEmpty())
        drawLights(e);
    if (m_manipulator && m_manipulator->target())
        m_manipulator->draw(&e);
}

void GL_Scene::drawObjects(GL_RenderEvent& e)
{
    if (m_passes <= 1) {
        m_objects.draw(&e);
        e.state.settle();
        return;
    }
    for (e.pass = 0; e.pass < m_passes; ++e.pass) {
        // What is transparent is blended over the rest, and hides nothing.
        const bool blends = e.pass == 1;
        if (blends) {
            e.state.setEnabled(GL_State::AlphaTest, false);
            glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
            e.state.setEnabled(GL_State::Blend, true);
            glDepthMask(GL_FALSE);
        }
        m_objects.draw(&e);
        e.state.settle();
        if (blends) {
            glDepthMask(GL_TRUE);
            e.state.setEnabled(GL_State::Blend, false);
        }
    }
}

void GL_Scene::drawLights(GL_RenderEvent& e)
{
    glPushAttrib(GL_CURRENT_BIT | GL_POINT_BIT);
    const bool blended = e.state.isEnabled(GL_State::Blend);
    e.state.setEnabled(GL_State::Blend, true);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    e.state.setEnabled(GL_State::Lighting, false);
    e.state.setEnabled(GL_State::Texture2D, false);
    for (GL_Object* light : m_lights)
        static_cast<GL_Light*>(light)->drawShape(&e);
    e.state.setEnabled(GL_State::Blend, blended);
    glPopAttrib();
}

void GL_Scene::hit(GL_Viewer* viewer)
{
    GL_Traversal traversal(this);
    hit(viewer, traversal);
}

void GL_Scene::hit(GL_Viewer* viewer, GL_Traversal& traversal)
{
    GL_RenderEvent e(viewer, this);
    e.traversal.setSelecting(true);
    const unsigned lightCount = m_lights.count();
    m_lights.hit(&e, 0);
    m_objects.hit(&e, lightCount);
    if (m_manipulator && m_manipulator->target()) {
        e.traversal.loadName(lightCount + m_objects.count());
        m_manipulator->hit(&e);
    }
    traversal = std::move(e.traversal);
}

GL_Object* GL_Scene::identify(unsigned* path, unsigned n)
{
    if (!path || n == 0) {
        qWarning("GL_Scene::identify: Null path are not permitted");
        return nullptr;
    }
    const unsigned lightCount = m_lights.count();
    const unsigned objectCount = m_objects.count();
    GL_Object* found = nullptr;
    if (path[0] < lightCount)
        found = m_lights.at(path[0]);
    else if (path[0] - lightCount < objectCount)
        found = m_objects.at(path[0] - lightCount);
    else if (path[0] - lightCount == objectCount && m_manipulator && m_manipulator->target())
        found = m_manipulator;
    return found ? found->identify(path + 1, n - 1) : nullptr;
}

void GL_Scene::setEnvLights(bool on)
{
    struct Lamp {
        GLenum light;
        float diffuse[4];
        float position[4];
    };
    static constexpr Lamp lamps[] = {
        {GL_LIGHT0, {1, 1, 1, 1}, {-2, 2, 3, 0}},
        {GL_LIGHT1, {0.6f, 0.6f, 0.6f, 1}, {3, -3, -0.5f, 0}},
    };
    if (!on) {
        glDisable(GL_LIGHT1);
        return;
    }
    static constexpr float black[] = {0, 0, 0, 1};
    for (const Lamp& lamp : lamps) {
        glLightfv(lamp.light, GL_AMBIENT, black);
        glLightfv(lamp.light, GL_DIFFUSE, lamp.diffuse);
        glLightfv(lamp.light, GL_POSITION, lamp.position);
        glEnable(lamp.light);
    }
}

// Selection

void GL_Scene::setSelection(GL_Object* object)
{
    clearSelection();
    if (!object)
        return;
    object->setFlags(GL_Object::Selected, true);
    m_selection.append(object);
    setCurrentObject(object);
}

void GL_Scene::setSelections(const GL_ObjectList& list)
{
    const GL_ObjectList chosen(list); // which may be the selection itself
    clearSelection();
    m_selection = chosen;
    for (GL_Object* object : m_selection)
        object->setFlags(GL_Object::Selected, true);
    setCurrentObject(m_selection.getFirst());
}

void GL_Scene::selectObject(GL_Object* object, bool select)
{
    if (!object)
        return;
    object->setFlags(GL_Object::Selected, select);
    if (select) {
        if (!isSelected(object))
            m_selection.append(object);
        return;
    }
    while (m_selection.removeRef(object))
        continue; // a list given to `setSelections` can hold it twice
    if (object == m_currentObject)
        setCurrentObject(m_selection.getFirst());
}

bool GL_Scene::isSelected(const GL_Object* object) const
{
    return object && m_selection.containsRef(object) > 0;
}

void GL_Scene::clearSelection()
{
    setCurrentObject(nullptr);
    for (GL_Object* object : m_selection)
        object->setFlags(GL_Object::Selected, false);
    m_selection.clear();
}

void GL_Scene::setCurrentObject(GL_Object* object)
{
    m_currentObject = object;
    if (m_manipulator && m_manipulator != object)
        m_manipulator->setTarget(object);
}

void GL_Scene::setManipulator(GL_Manipulator* manipulator)
{
    if (manipulator == m_manipulator)
        return;
    if (m_currentObject && m_currentObject == m_manipulator)
        m_currentObject = nullptr;
    delete m_manipulator;
    m_manipulator = manipulator;
    setCurrentObject(m_currentObject);
}

// Animation

bool GL_Scene::evaluate(int key, double value)
{
    static const int signal = staticMetaObject()->findSignal("valueChanged(int,double)");
    static const VMetaObject* const actionClass = action::Action::staticMetaObject();
    VConnectionList* const list = receivers(signal);
    if (!list || list->isEmpty())
        return false;
    // Each one that is there now, whatever the actions do to the list.
    const quint64 last = list->lastSerial();
    quint64 called = 0;
    VConnectionList::Walk walk(list);
    while (const VConnection* const connection = walk.next(&called)) {
        if (called > last)
            break;
        if (connection->isCall() || !connection->object()->inherits(actionClass))
            continue;
        if (static_cast<action::Action*>(connection->object())->evaluate(key, value))
            m_flags |= Changed;
    }
    return isChanged();
}

void GL_Scene::valueChanged(int key, double value)
{
    Meta::signalTable.send<&GL_Scene::valueChanged>(this, key, value);
}

// Files

bool GL_Scene::write(QMemArray<char> array, const char* format) const
{
    QMemArrayDevice device(array);
    QIODevice::OpenMode mode = QIODevice::WriteOnly | QIODevice::Truncate;
    if (VSceneIO::isTranslated(format))
        mode |= QIODevice::Text;
    if (!device.open(mode))
        return false;
    VSceneIO io(&device, format);
    io.setScene(const_cast<GL_Scene*>(this));
    return io.write();
}

bool GL_Scene::read(QMemArray<char> array, const char* format)
{
    QMemArrayDevice device(array);
    if (!device.open(QIODevice::ReadOnly))
        return false;
    VSceneIO io(&device, format);
    io.setScene(this);
    return io.read();
}

void GL_Scene::finishReading()
{
    m_actions.resolve();
    std::unordered_set<const GL_Object*> selected(m_selection.begin(), m_selection.end());
    for (GL_ObjectList* list : {&m_objects, &m_lights})
        for (GL_Object* object : *list)
            if (object->isSelected() && selected.insert(object).second)
                m_selection.append(object);
    for (GL_ObjectList* list : {&m_library, &m_objects, &m_lights})
        walkNodes(*list, [&selected](GL_Object* node) {
            if (node->isSelected() && !selected.count(node))
                node->setFlags(GL_Object::Selected, false);
            return true;
        });
    if (!m_currentObject)
        setCurrentObject(m_selection.getFirst());
    setChanged(true);
}
