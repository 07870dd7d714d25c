#include "opengl/gllight.h"
#include "opengl/glscene.h"
#include "opengl/glscenewalk_p.h"

#include <cstring>
#include <string>
#include <unordered_map>

namespace
{
constexpr unsigned fewItems = 8;

const char* nameOf(const GL_NamedObject* item)
{
    return item ? item->name(nullptr) : nullptr;
}
} // namespace

/// What a `Lookup` keeps. A list's table follows the list as it grows.
struct GL_Scene::Names {
    struct Table {
        const VLNode* last = nullptr; // the last one entered
        std::unordered_map<std::string_view, void*> items;
    };
    struct Place {
        const VGList* list;
        const GL_Object* parent;
    };

    template <class T>
    T* find(const VPtrList<T>& list, std::string_view name)
    {
        Table& table = tables[&list];
        const VLNode* node = table.last ? table.last->next : list.firstNode();
        for (; node; node = node->next) {
            if (const char* const text = nameOf(static_cast<T*>(node->item)))
                table.items.emplace(text, node->item);
            table.last = node;
        }
        const auto found = table.items.find(name);
        return found == table.items.end() ? nullptr : static_cast<T*>(found->second);
    }

    /// Enters where each object of the scene stands, once.
    void place(const GL_Scene& scene)
    {
        if (!places.empty())
            return;
        placeAll(scene.m_textures);
        placeAll(scene.m_materials);
        for (const GL_ObjectList* list : {&scene.m_objects, &scene.m_lights, &scene.m_library}) {
            placeNodes(*list, nullptr);
            walkNodes(*list, [this](GL_Object* node) {
                if (const GL_ObjectList* const children = childrenOf(node))
                    placeNodes(*children, node);
                return true;
            });
        }
    }

    template <class T>
    void placeAll(const VPtrList<T>& list)
    {
        for (const T* item : list)
            places.emplace(item, Place{&list, nullptr});
    }
    void placeNodes(const GL_ObjectList& list, const GL_Object* parent)
    {
        for (const GL_Object* item : list)
            places.emplace(item, Place{&list, parent});
    }

    std::unordered_map<const VGList*, Table> tables;
    std::unordered_map<const ZYLObject*, Place> places;
};

GL_Scene::Lookup::Lookup(const GL_Scene& scene) : m_scene(scene.m_names ? nullptr : &scene)
{
    if (m_scene)
        m_scene->m_names = new Names;
}

GL_Scene::Lookup::~Lookup()
{
    if (!m_scene)
        return;
    delete m_scene->m_names;
    m_scene->m_names = nullptr;
}

template <class T>
T* GL_Scene::find(const VPtrList<T>& list, std::string_view name) const
{
    if (m_names && list.count() > fewItems)
        return m_names->find(list, name);
    for (T* item : list) {
        const char* const text = nameOf(item);
        if (text && name == text)
            return item;
    }
    return nullptr;
}

GL_Texture* GL_Scene::findTexture(const char* name) const
{
    return name ? find(m_textures, name) : nullptr;
}

GL_Material* GL_Scene::findMaterial(const char* name) const
{
    return name ? find(m_materials, name) : nullptr;
}

GL_Object* GL_Scene::findLibObj(const char* name) const
{
    return name && *name ? find<GL_Object>(m_library, name) : nullptr;
}

/// As `GL_ObjectList::findPath`, by the tables of a `Lookup`.
GL_Object* GL_Scene::findPath(const GL_ObjectList& list, const char* path) const
{
    const GL_ObjectList* level = &list;
    for (;;) {
        path += std::strspn(path, "/");
        const std::size_t size = std::strcspn(path, "/");
        GL_Object* const found =
            size > 0 ? find<GL_Object>(*level, std::string_view(path, size)) : nullptr;
        path += size;
        if (!found || !*path)
            return found;
        level = childrenOf(found);
        if (!level)
            return nullptr;
    }
}

namespace
{
/// The first words of paths.
enum Root { Textures, Materials, Lights, Library, Objects, RootCount };
constexpr const char* rootNames[RootCount] = {"textures", "materials", "lights", "library",
                                              "objects"};

/// Which one a path begins with, before a slash or its end, or `RootCount`.
int rootOf(std::string_view path)
{
    const std::string_view word = path.substr(0, path.find('/'));
    int root = 0;
    while (root < RootCount && word != rootNames[root])
        ++root;
    return root;
}
} // namespace

ZYLObject* GL_Scene::findObject(const char* path)
{
    if (!path)
        return nullptr;
    path += std::strspn(path, "/");
    const int root = rootOf(path);
    const char* rest = path;
    if (root != RootCount) {
        rest += std::strlen(rootNames[root]);
        if (*rest++ != '/')
            return nullptr;
    }
    switch (root) {
    case Textures:
        return findTexture(rest);
    case Materials:
        return findMaterial(rest);
    case Lights:
        return *rest ? find<GL_Object>(m_lights, rest) : nullptr;
    case Library:
        return findPath(m_library, rest);
    default:
        return findPath(m_objects, rest);
    }
}

QCString GL_Scene::pathOf(const ZYLObject* object, bool full) const
{
    const Lookup lookup(*this);
    m_names->place(*this);
    std::vector<const char*> names;
    const VGList* list = nullptr;
    for (const ZYLObject* node = object; node || !list;) {
        const auto place = m_names->places.find(node);
        if (place == m_names->places.end())
            return QCString();
        list = place->second.list;
        const char* const name = nameOf(static_cast<const GL_NamedObject*>(node));
        const bool takesSlashes = list == &m_textures || list == &m_materials || list == &m_lights;
        if (!name || !*name || (!takesSlashes && std::strchr(name, '/')))
            return QCString();
        const ZYLObject* const first =
            list == &m_textures ? static_cast<ZYLObject*>(findTexture(name))
            : list == &m_materials
                ? static_cast<ZYLObject*>(findMaterial(name))
                : find<GL_Object>(static_cast<const GL_ObjectList&>(*list), name);
        if (first != node)
            return QCString();
        names.push_back(name);
        node = place->second.parent;
    }
    const int root = list == &m_textures                              ? Textures
                     : list == &m_materials                           ? Materials
                     : list == &m_lights                              ? Lights
                     : list == &m_library                             ? Library
                     : full || rootOf(names.back()) != int(RootCount) ? Objects
                                                                      : RootCount;
    std::string path = root != RootCount ? rootNames[root] : "";
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        if (!path.empty())
            path += '/';
        path += *name;
    }
    return QCString(path.c_str());
}
