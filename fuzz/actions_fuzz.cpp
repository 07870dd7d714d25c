// A dictionary of actions in both of its forms. Whatever comes in must be written and read again as
// it was, and take values without end or harm.

#include "action/actiondict.h"
#include "geometry/zylnurbs.h"
#include "geometry/zylvectorarray.h"
#include "kernel/vevent.h"
#include "kernel/vformatio.h"
#include "kernel/vobjectfinder.h"
#include "kernel/vzylstream.h"
#include "kernel/zylobject.h"
#include "support.h"

#include <qbuffer.h>
#include <qdatastream.h>

using namespace action;

namespace
{
struct Request : VFormatIO {
    bool read() override { return false; }
    bool write() override { return false; }
};

/// A node that looks at what it is sent; as a curve, an arc.
struct Node : ZYLObject, geometry::NurbsCurve {
    Node()
    {
        const float points[] = {0, 0, 0, 1, 2, 3, 4, 0, 0};
        vertices = geometry::GVectorArray(points, 3, 3);
        order = 3;
    }
    bool event(VEvent* event) override
    {
        auto& action = *static_cast<VActionEvent*>(event);
        if (action.code() == VActionEvent::SetText)
            fuzz::require(action.value<QString>()->size() < (1 << 20));
        else if (action.code() == VActionEvent::GetVertices)
            *action.value<geometry::Vector3fArray>() = geometry::Vector3fArray(corners, 3);
        action.accept();
        return true;
    }

    static constexpr geometry::Vector3f corners[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
};

struct Finder : VObjectFinder {
    ZYLObject* findObject(const char*) override { return &node; }
    Node node;
};

/// A request on bytes in memory, in one of the forms.
struct Form {
    Form(QByteArray* bytes, bool binary, QIODevice::OpenMode mode) : buffer(bytes)
    {
        buffer.open(mode);
        io.setIODevice(&buffer);
        io.setContainer("finder", static_cast<VObjectFinder*>(&finder));
        data.setDevice(&buffer);
        if (binary)
            stream.setDataStream(&data);
    }
    Finder finder;
    QBuffer buffer;
    Request io;
    VZylStream stream{&io};
    QDataStream data;
};

void read(QByteArray bytes, bool binary, ActionDict& actions)
{
    Form form(&bytes, binary, QIODevice::ReadOnly);
    form.io >> actions;
    // The scene that a request finds objects in outlives its actions; this one doesn't.
    actions.forgetReceivers({&form.finder.node});
}

template <class T>
QByteArray written(const T& object, bool binary)
{
    QByteArray bytes;
    Form form(&bytes, binary, QIODevice::WriteOnly);
    form.io << object;
    return bytes;
}

void requireStable(const ActionDict& actions)
{
    ActionDict copy;
    read(written(actions, true), true, copy);
    for (QAsciiDictIterator<Action> it(actions); it.current(); ++it) {
        if (!*it.currentKey())
            continue; // no name, in the binary form
        const Action* const again = copy.find(it.currentKey());
        fuzz::require(again && written(*again, true) == written(**it, true));
    }
    ActionDict fromText;
    read(written(actions, false), false, fromText);
}

void play(ActionDict& actions)
{
    Finder finder;
    for (QAsciiDictIterator<Action> it(actions); it.current(); ++it)
        for (const int key : {-1, 0, 1, 2})
            it.current()->connect(key, &finder.node, key);
    for (QAsciiDictIterator<Action> it(actions); it.current(); ++it)
        for (const int key : {-7, -1, 0, 1, 5, 8})
            for (const double value : {0.0, 1.5, -1e300})
                it.current()->evaluate(key, value);
    actions.forgetReceivers({&finder.node});
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::silence();
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    for (const bool binary : {false, true}) {
        ActionDict actions;
        read(bytes, binary, actions);
        requireStable(actions);
        play(actions);
    }
    return 0;
}
