#pragma once

#include "kernel/streamrequest.h"
#include "opengl/globject.h"
#include "opengl/glrenderevent.h"
#include "support/text.h"
#include "window/offscreencontext.h"

#include <GL/gl.h>

#include <memory>
#include <string>
#include <vector>

/// A small lit space from -1 to 1, seen a little from above, and what is drawn in it.
class ShapeStage
{
public:
    static constexpr int size = 64;

    ShapeStage()
    {
        glViewport(0, 0, size, size);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(-1, 1, -1, 1, -10, 10);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        const GLfloat light[4] = {0.3f, 0.5f, 1, 0};
        glLightfv(GL_LIGHT0, GL_POSITION, light);
        for (const GLenum on : {GL_LIGHTING, GL_LIGHT0, GL_DEPTH_TEST, GL_NORMALIZE})
            glEnable(on);
        glRotatef(-50, 1, 0.2f, 0);
    }

    /// What `draw` leaves on black.
    template <class F>
    std::vector<unsigned char> picture(F draw)
    {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        draw();
        std::vector<unsigned char> pixels(std::size_t(size * size * 4));
        glReadPixels(0, 0, size, size, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        return pixels;
    }
    /// The names of the hit records that `draw` makes, each record in brackets.
    template <class F>
    std::string hits(F draw)
    {
        GLuint buffer[256];
        glSelectBuffer(256, buffer);
        glRenderMode(GL_SELECT);
        glInitNames();
        glPushName(7);
        event.traversal.setSelecting(true);
        draw();
        event.traversal.setSelecting(false);
        std::string text;
        const GLuint* at = buffer;
        for (int n = glRenderMode(GL_RENDER); n > 0; --n) {
            text += '[';
            for (GLuint i = 0; i < at[0]; ++i)
                text += (i > 0 ? " " : "") + std::to_string(at[3 + i]);
            text += ']';
            at += 3 + at[0];
        }
        return text;
    }

    OffscreenContext context{size, size};
    GL_RenderEvent event{nullptr, nullptr};
};

/// How many pixels differ by more than `tolerance` in a channel.
inline int differing(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b,
                     int tolerance)
{
    int count = 0;
    for (std::size_t i = 0; i < a.size(); i += 4) {
        bool same = true;
        for (std::size_t j = i; j < i + 4; ++j)
            same = same && std::abs(int(a[j]) - int(b[j])) <= tolerance;
        count += !same;
    }
    return count;
}

inline int covered(const std::vector<unsigned char>& picture)
{
    return differing(picture, std::vector<unsigned char>(picture.size()), 0);
}

// Both file forms of an object's own values.

inline void readText(ZYLObject& object, const std::string& statements)
{
    TextSource source(QByteArray::fromStdString(statements + " }"));
    EXPECT_GE(source.stream.readObject(object), 0);
}

/// With blanks squeezed.
inline std::string writtenText(const ZYLObject& object)
{
    TextTarget target;
    object.write(target.io);
    target.stream.sync();
    return QString::fromStdString(target.take())
        .simplified()
        .replace(text(" ;"), text(";"))
        .toStdString();
}

inline QByteArray writtenBinary(const ZYLObject& object)
{
    TextTarget target;
    QByteArray bytes;
    QDataStream data(&bytes, QIODevice::WriteOnly);
    target.stream.setDataStream(&data);
    object.write(target.io);
    return bytes;
}

inline QDataStream::Status readBinary(ZYLObject& object, const QByteArray& bytes)
{
    TextTarget target;
    QDataStream data(bytes);
    target.stream.setDataStream(&data);
    object.read(target.io);
    return data.status();
}

/// A node of a class, as a file has it after reading.
template <class T = GL_Object>
std::unique_ptr<T> makeNode(const char* className, const std::string& statements)
{
    std::unique_ptr<T> node(static_cast<T*>(VMetaClass::metaClass(className)->makeInstance()));
    readText(*node, statements);
    node->init(nullptr);
    return node;
}
