#pragma once

#include "action/action.h"
#include "kernel/vdeclare.h"
#include "kernel/vevent.h"
#include "kernel/vformatdiagnostics.h"
#include "kernel/vmetaobject.h"
#include "opengl/glrenderevent.h"
#include "opengl/glscene.h"
#include "opengl/glshape.h"
#include "opengl/vsceneio.h"

#include <qbuffer.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

// Nodes and actions that tell what is asked of them, and scenes to and from bytes.
namespace scenetest
{
class Probe : public GL_Shape
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory() { return new Probe; }
    const VMetaClass* metaObject() const override { return &metaClass; }

    explicit Probe(const char* name = nullptr) { setName(name), ++alive; }
    ~Probe() override { --alive; }

    bool event(VEvent* event) override
    {
        auto* const action = dynamic_cast<VActionEvent*>(event);
        if (!action)
            return GL_Shape::event(event);
        details.push_back(action->detail());
        action->accept();
        return true;
    }
    void init(GL_Scene*) override { log.push_back(std::string("init ") + name()); }
    void draw(GL_RenderEvent* event) override
    {
        log.push_back(std::string(name()) + " " + std::to_string(event->pass));
        if (onDraw)
            onDraw(event);
    }
    void hit(GL_RenderEvent*) override { log.push_back(std::string("hit ") + name()); }
    bool shouldRender(GL_RenderEvent*) const override { return isShown; }
    void bounds(geometry::Box3f& box) const override { box = extent; }

    static inline int alive = 0;
    static inline std::vector<std::string> log;
    std::vector<int> details; // of the action events
    std::function<void(GL_RenderEvent*)> onDraw;
    geometry::Box3f extent;
    bool isShown = true;
};
inline const VMetaClass Probe::metaClass("GL_TestProbe", &Probe::factory, &GL_Shape::metaClass);

inline std::vector<std::string> takeLog()
{
    return std::exchange(Probe::log, {});
}

/// Hands its value on under the key, and by a signal.
class TestAction : public action::Action
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override { return staticMetaObject(); }
    bool signal_emit(int id, VUObject* o) override;

    explicit TestAction(const char* name = nullptr) { setName(name); }
    static action::Action* make() { return new TestAction; }

    bool evaluate(int key, double value) override
    {
        last = value;
        ++calls;
        if (const auto once = std::exchange(during, nullptr))
            once();
        told(key, value);
        return send(key, VActionEvent::Elapsed, &last) || accepts;
    }
    void told(int key, double value); // signal

    std::function<void()> during; // the next call
    double last = 0;
    int calls = 0;
    bool accepts = false;

private:
    struct Meta;
    static inline VMetaObject* metaObj = nullptr;
};

struct TestAction::Meta {
    static constexpr declare::Signals signalTable{
        declare::signal<&TestAction::told>("told(int,double)")};
};

inline VMetaObject* TestAction::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::TestAction", Action::staticMetaObject(),
                                      Meta::signalTable);
    return metaObj;
}

inline bool TestAction::signal_emit(int id, VUObject* o)
{
    return Meta::signalTable.invoke(this, id, o) || Action::signal_emit(id, o);
}

inline void TestAction::told(int key, double value)
{
    Meta::signalTable.send<&TestAction::told>(this, key, value);
}

template <class List, class T>
T* add(List& list, T* item)
{
    list.append(item);
    return item;
}

inline TestAction* addAction(GL_Scene& scene, const char* name)
{
    auto* const action = new TestAction(name);
    scene.actions().put(action);
    return action;
}

inline TestAction* testAction(GL_Scene& scene, const char* name)
{
    return static_cast<TestAction*>(scene.actions().find(name));
}

inline bool drive(const VObject& sender, const action::Action& receiver,
                  const char* signal = "2valueChanged(int,double)")
{
    return VObject::connect(&sender, signal, &receiver, "1evaluate(int,double)");
}

/// What a request was told, one line each: the kind and the text.
struct Told : VFormatDiagnostics {
    void report(Kind kind, const QString& what, const Place&) override
    {
        texts.push_back(std::to_string(kind) + " " + what.toStdString());
    }
    std::vector<std::string> texts;
};

/// Empty when the scene can't be written.
inline QByteArray saved(GL_Scene& scene, const char* format, VFormatDiagnostics* sink = nullptr)
{
    QBuffer buffer;
    buffer.open(VSceneIO::isTranslated(format) ? QIODevice::WriteOnly | QIODevice::Text
                                               : QIODevice::WriteOnly);
    VSceneIO io(&buffer, format);
    io.setScene(&scene);
    io.setDiagnostics(sink);
    return io.write() ? buffer.data() : QByteArray();
}
inline QByteArray asText(GL_Scene& scene, VFormatDiagnostics* sink = nullptr)
{
    return saved(scene, "ZYL ASCII", sink);
}
inline QByteArray asBinary(GL_Scene& scene, VFormatDiagnostics* sink = nullptr)
{
    return saved(scene, "ZYL BINARY", sink);
}

inline bool load(GL_Scene& scene, const QByteArray& bytes, VFormatDiagnostics* sink = nullptr)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    VSceneIO io(&buffer, "ZYL BINARY"); // the form is told by the first line
    io.setScene(&scene);
    io.setDiagnostics(sink);
    return io.read();
}

/// A text file of these statements.
inline QByteArray text(const char* statements)
{
    return QByteArray("// ZYL ASCII V1.0\n") + statements;
}
} // namespace scenetest
