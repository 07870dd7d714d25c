#include "opengl/glsceneconnections_p.h"

#include "kernel/vmetaobject.h"
#include "kernel/vzylstream.h"

#include <qlogging.h>

#include <string>

using action::Action;

namespace
{
constexpr auto skipped = VFormatDiagnostics::SkippedConnection;

// The indices of the first signal and slot that aren't every object's. Those in front are no
// business of files.
int firstSignal()
{
    return VObject::staticMetaObject()->numSignals(true);
}
int firstSlot()
{
    return VObject::staticMetaObject()->numSlots(true);
}

void warnNotFound(const char* what)
{
    qWarning("connect: Cannot find %s", what);
}
} // namespace

// Reading

Action* GL_SceneConnections::source(const char* name)
{
    Action* const action = m_scene.actions().find(name ? name : "");
    if (!action)
        m_stream.report(skipped, QString::fromLocal8Bit(name));
    return action;
}

void GL_SceneConnections::connect(Action& source, int key, const char* path, int index)
{
    if (const ZYLObject* const target = m_scene.findObject(path))
        source.connect(key, target, index);
    else
        warnNotFound(path);
}

void GL_SceneConnections::connect(const char* sender, const char* signal, const char* receiver,
                                  const char* member)
{
    const VObject* const from =
        sender && *sender ? static_cast<const VObject*>(source(sender)) : &m_scene;
    const Action* const to = source(receiver);
    if (!from || !to)
        return;
    // A ring of signals would have no end, so they are joined to slots alone.
    const QCString emitted = VObject::normalizeSignalSlot(signal ? signal : "");
    const QCString called = VObject::normalizeSignalSlot(member ? member : "");
    const auto isCommon = [](int index, int first) { return index >= 0 && index < first; };
    if (isCommon(from->metaObject()->findSignal(emitted, true), firstSignal()) ||
        isCommon(to->metaObject()->findSlot(called, true), firstSlot()))
        m_stream.report(skipped, QString::fromLocal8Bit(emitted.data()));
    else
        VObject::connect(from, (std::string("2") + emitted.data()).c_str(), to,
                         (std::string("1") + called.data()).c_str());
}

// Writing

std::vector<GL_SceneConnections::Target> GL_SceneConnections::targets(const Action& source, int key,
                                                                      bool fullPaths)
{
    std::vector<Target> result;
    const action::ConnectionList* const list = source.connections(key);
    if (!list)
        return result;
    for (const action::Connection* connection : *list) {
        const QCString path = m_scene.pathOf(connection->receiver(), fullPaths);
        if (!path.isNull()) {
            result.push_back({path, connection->index()});
            continue;
        }
        // The receiver may be gone, and is not looked at.
        const std::string what = std::string("a receiver of ") + source.name();
        warnNotFound(what.c_str());
    }
    return result;
}

std::vector<GL_SceneConnections::Signal> GL_SceneConnections::signalsOf(const VObject& sender)
{
    std::vector<Signal> result;
    const VMetaObject* const meta = sender.metaObject();
    const int count = meta->numSignals(true);
    for (int index = firstSignal(); index < count; ++index)
        if (const VConnectionList* const list = sender.receivers(index))
            append(result, meta->signal(index, true)->name, list);
    return result;
}

void GL_SceneConnections::append(std::vector<Signal>& signals_, const char* signature,
                                 const VConnectionList* list)
{
    for (const VConnection* connection : *list) {
        const Action* const receiver =
            connection->memberType() == VConnection::Slot &&
                    connection->object()->inherits(Action::staticMetaObject())
                ? static_cast<const Action*>(connection->object())
                : nullptr;
        const char* const name = receiver ? receiver->name(nullptr) : nullptr;
        if (name && m_scene.actions().find(name) == receiver)
            signals_.push_back({signature, name, connection->memberName()});
        else
            m_stream.report(skipped, QString::fromLocal8Bit(name ? name : "function"));
    }
}
