#pragma once

#include "opengl/glscene.h"

#include <vector>

class VZylStream;

/// The connections of a scene, as both forms of its files tell them: the ends are names of actions
/// and paths of what they drive.
class GL_SceneConnections
{
public:
    /// A target of an action, by its path in the scene.
    struct Target {
        QCString path;
        int index;
    };
    /// A signal joined to a slot of an action. The texts are those of the two.
    struct Signal {
        const char* signature;
        const char* receiver;
        const char* member;
    };

    /// Ends that don't exist are told to the stream's diagnostics.
    GL_SceneConnections(GL_Scene& scene, VZylStream& stream) : m_scene(scene), m_stream(stream) {}

    // Reading

    /// Null when there is no such action.
    action::Action* source(const char* name);
    /// Warns when nothing stands at the path.
    void connect(action::Action& source, int key, const char* path, int index);
    /// A null or empty sender is the scene.
    void connect(const char* sender, const char* signal, const char* receiver, const char* member);

    // Writing

    /// The targets of a key that can be written. Warns about the others.
    std::vector<Target> targets(const action::Action& source, int key, bool fullPaths);
    /// What the signals of an action, or of the scene, are joined to.
    std::vector<Signal> signalsOf(const VObject& sender);
    /// The part of a list that is joined to actions, under this signature.
    void append(std::vector<Signal>& signals_, const char* signature, const VConnectionList* list);

private:
    GL_Scene& m_scene;
    VZylStream& m_stream;
};
