#pragma once

#include "opengl/glgroup.h"

#include <vector>

/// The children of a group, null for other nodes.
inline GL_ObjectList* childrenOf(GL_Object* object)
{
    return object->inherits(&GL_Group::metaClass) ? &static_cast<GL_Group*>(object)->children()
                                                  : nullptr;
}

/// Calls `visit` for each node of a list and, where it returns true, for those below; a node stands
/// before its children. `visit` may change nodes, but no lists. Depth costs no stack.
template <class Visit>
void walkNodes(const GL_ObjectList& list, Visit visit)
{
    std::vector<const VLNode*> path{list.firstNode()};
    while (!path.empty()) {
        const VLNode* const node = path.back();
        if (!node) {
            path.pop_back();
            continue;
        }
        path.back() = node->next;
        auto* const object = static_cast<GL_Object*>(node->item);
        if (!visit(object))
            continue;
        if (const GL_ObjectList* const children = childrenOf(object))
            path.push_back(children->firstNode());
    }
}

/// The same for one node and those below it.
template <class Visit>
void walkNodes(GL_Object* object, Visit visit)
{
    if (!visit(object))
        return;
    if (const GL_ObjectList* const children = childrenOf(object))
        walkNodes(*children, visit);
}
