#pragma once

#include "action/action.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylvector.h"
#include "kernel/vconnect.h"
#include "kernel/vevent.h"
#include "kernel/vformatio.h"
#include "kernel/vzylstream.h"
#include "kernel/zylobject.h"
#include "tools/vcolor.h"

#include <qbuffer.h>
#include <qdatastream.h>

#include <functional>
#include <string>
#include <vector>

/// Takes events as a node does, and keeps what came.
struct Receiver : ZYLObject {
    explicit Receiver(bool takes = true) : accepts(takes) {}

    bool event(VEvent* event) override
    {
        auto& action = *static_cast<VActionEvent*>(event);
        codes.push_back(action.code());
        details.push_back(action.detail());
        if (during)
            during();
        if (!accepts)
            return false;
        take(action);
        action.accept();
        return true;
    }

    void take(VActionEvent& event)
    {
        switch (event.code()) {
        case VActionEvent::Elapsed:
            elapsed.push_back(*event.value<double>());
            break;
        case VActionEvent::TransformBefore:
            last = *event.value<geometry::Matrix4f>();
            matrix = last * matrix;
            break;
        case VActionEvent::GetTransform:
            *event.value<geometry::Matrix4f>() = matrix;
            break;
        case VActionEvent::AddColor:
            added = *event.value<geometry::Vector4f>();
            break;
        case VActionEvent::GetColor:
            *event.value<VColor>() = color;
            break;
        case VActionEvent::SetColor:
            color = *event.value<VColor>();
            break;
        case VActionEvent::SetText:
            texts.push_back(event.value<QString>()->toStdString());
            break;
        case VActionEvent::SetCamera:
            camera = event.value<ZYLObject>();
            break;
        }
    }

    bool accepts;
    std::function<void()> during;
    std::vector<int> codes, details;
    std::vector<double> elapsed;
    std::vector<std::string> texts;
    geometry::Matrix4f matrix, last;
    geometry::Vector4f added;
    VColor color;
    ZYLObject* camera = nullptr;
};

/// Sends each value on to the receivers of the key, as an elapsed time.
struct Relay : action::Action {
    bool evaluate(int key, double value) override
    {
        return send(key, VActionEvent::Elapsed, &value);
    }
};

struct Request : VFormatIO {
    bool read() override { return false; }
    bool write() override { return false; }
};

/// A request in one of the two forms, on bytes in memory.
struct Form {
    explicit Form(bool isBinary, const QByteArray& bytes = QByteArray()) : binary(isBinary)
    {
        buffer.setData(bytes);
        buffer.open(bytes.isNull() ? QIODevice::WriteOnly : QIODevice::ReadOnly);
        io.setIODevice(&buffer);
        data.setDevice(&buffer);
        if (binary)
            stream.setDataStream(&data);
    }

    bool binary;
    QBuffer buffer;
    Request io;
    VZylStream stream{&io};
    QDataStream data;
};

/// What an action, scheme or dictionary writes.
template <class T>
QByteArray written(const T& object, bool binary)
{
    Form form(binary);
    form.io << object;
    return form.buffer.data();
}

/// Reads an action from the statements of its block, or from its bytes.
template <class A>
void readAction(A& object, const QByteArray& bytes, bool binary)
{
    Form form(binary, binary ? bytes : bytes + '}');
    if (binary) {
        form.io >> object;
        return;
    }
    VZylBlock block(form.stream);
    EXPECT_GT(block.read(), 0);
    form.io >> object;
}
