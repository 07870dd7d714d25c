#include "support/glrecorder.h"

#include <GL/gl.h>
#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace
{
GLRecorder* active = nullptr;

struct Name {
    GLenum value;
    const char* text;
};

#define NAME(name)                                                                                 \
    Name                                                                                           \
    {                                                                                              \
        name, #name                                                                                \
    }
// clang-format off
constexpr Name modes[] = {
    NAME(GL_POINTS), NAME(GL_LINES), NAME(GL_LINE_LOOP), NAME(GL_LINE_STRIP), NAME(GL_TRIANGLES),
    NAME(GL_TRIANGLE_STRIP), NAME(GL_TRIANGLE_FAN), NAME(GL_QUADS), NAME(GL_QUAD_STRIP),
    NAME(GL_POLYGON)};

constexpr Name enumerants[] = {
    NAME(GL_ALPHA_TEST), NAME(GL_ALWAYS), NAME(GL_AMBIENT), NAME(GL_AMBIENT_AND_DIFFUSE),
    NAME(GL_AUTO_NORMAL), NAME(GL_BACK), NAME(GL_BLEND), NAME(GL_CCW), NAME(GL_CLAMP),
    NAME(GL_COLOR_ARRAY), NAME(GL_COLOR_LOGIC_OP), NAME(GL_COLOR_MATERIAL), NAME(GL_COMPILE),
    NAME(GL_CONSTANT_ATTENUATION), NAME(GL_CULL_FACE), NAME(GL_CW), NAME(GL_DECAL),
    NAME(GL_DEPTH_COMPONENT), NAME(GL_DEPTH_TEST), NAME(GL_DIFFUSE), NAME(GL_DITHER),
    NAME(GL_DST_ALPHA), NAME(GL_DST_COLOR), NAME(GL_EMISSION), NAME(GL_EXP2), NAME(GL_FASTEST),
    NAME(GL_FILL), NAME(GL_FLAT), NAME(GL_FLOAT), NAME(GL_FOG), NAME(GL_FOG_HINT), NAME(GL_FRONT),
    NAME(GL_FRONT_AND_BACK), NAME(GL_GREATER), NAME(GL_INVERT), NAME(GL_LESS),
    NAME(GL_LIGHT0), NAME(GL_LIGHT1), NAME(GL_LIGHT2), NAME(GL_LIGHT7), NAME(GL_LIGHTING),
    NAME(GL_LIGHT_MODEL_AMBIENT), NAME(GL_LIGHT_MODEL_TWO_SIDE), NAME(GL_LINE),
    NAME(GL_LINEAR), NAME(GL_LINEAR_ATTENUATION), NAME(GL_LINE_SMOOTH_HINT), NAME(GL_LINE_STIPPLE),
    NAME(GL_MODELVIEW), NAME(GL_MODULATE), NAME(GL_NEAREST), NAME(GL_NORMALIZE),
    NAME(GL_NORMAL_ARRAY), NAME(GL_OBJECT_LINEAR), NAME(GL_OBJECT_PLANE),
    NAME(GL_ONE_MINUS_DST_ALPHA), NAME(GL_ONE_MINUS_DST_COLOR), NAME(GL_ONE_MINUS_SRC_ALPHA),
    NAME(GL_ONE_MINUS_SRC_COLOR), NAME(GL_PERSPECTIVE_CORRECTION_HINT), NAME(GL_POINT),
    NAME(GL_POINT_SMOOTH_HINT), NAME(GL_POLYGON_OFFSET_FILL), NAME(GL_POLYGON_SMOOTH_HINT),
    NAME(GL_POSITION), NAME(GL_PROJECTION), NAME(GL_QUADRATIC_ATTENUATION), NAME(GL_REPEAT),
    NAME(GL_RGB), NAME(GL_RGBA), NAME(GL_S), NAME(GL_SHININESS), NAME(GL_SMOOTH), NAME(GL_SPECULAR),
    NAME(GL_SPOT_CUTOFF), NAME(GL_SPOT_DIRECTION), NAME(GL_SPOT_EXPONENT), NAME(GL_SRC_ALPHA),
    NAME(GL_SRC_ALPHA_SATURATE), NAME(GL_SRC_COLOR), NAME(GL_STENCIL_INDEX), NAME(GL_STENCIL_TEST),
    NAME(GL_T), NAME(GL_TEXTURE), NAME(GL_TEXTURE_2D), NAME(GL_TEXTURE_COORD_ARRAY),
    NAME(GL_TEXTURE_ENV), NAME(GL_TEXTURE_ENV_MODE), NAME(GL_TEXTURE_GEN_MODE),
    NAME(GL_TEXTURE_GEN_S), NAME(GL_TEXTURE_GEN_T), NAME(GL_TEXTURE_MAG_FILTER),
    NAME(GL_TEXTURE_MIN_FILTER), NAME(GL_TEXTURE_WRAP_S), NAME(GL_TEXTURE_WRAP_T),
    NAME(GL_UNPACK_ALIGNMENT), NAME(GL_UNSIGNED_BYTE), NAME(GL_UNSIGNED_INT),
    NAME(GL_VERTEX_ARRAY)};
// clang-format on
#undef NAME

// What the arguments are written as.

struct Mode {
    GLenum value;
    operator GLenum() const { return value; }
};
struct Enum {
    GLenum value;
    operator GLenum() const { return value; }
};
template <class T>
struct Array {
    const T* values;
    int count;
    operator const T*() const { return values; }
};
using Floats = Array<GLfloat>;
/// One value or four, by what is asked for.
Floats parameters(GLenum pname, const GLfloat* values)
{
    const GLenum single[] = {GL_SHININESS,          GL_SPOT_EXPONENT,
                             GL_SPOT_CUTOFF,        GL_CONSTANT_ATTENUATION,
                             GL_LINEAR_ATTENUATION, GL_QUADRATIC_ATTENUATION};
    const bool isSingle =
        std::find(std::begin(single), std::end(single), pname) != std::end(single);
    return {values, isSingle ? 1 : pname == GL_SPOT_DIRECTION ? 3 : 4};
}

template <std::size_t N>
std::string nameOf(const Name (&names)[N], GLenum value)
{
    for (const Name& name : names)
        if (name.value == value)
            return name.text;
    return std::to_string(value);
}

std::string written(Mode mode)
{
    return nameOf(modes, mode.value);
}
std::string written(Enum value)
{
    return nameOf(enumerants, value.value);
}
std::string written(double value)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%.6g", std::abs(value) < 1e-6 ? 0.0 : value);
    return text;
}
template <class T>
std::string written(Array<T> array)
{
    std::string text = "{";
    for (int i = 0; i < array.count; ++i)
        text += (i ? ", " : "") + written(double(array.values[i]));
    return text + "}";
}
/// Where memory lies is no matter of a test.
std::string written(const void* pointer)
{
    return pointer ? "data" : "null";
}

template <class R, class... P, class... A>
R forward(const char* name, R (*&real)(P...), A... arguments)
{
    if (!real)
        real = reinterpret_cast<R (*)(P...)>(dlsym(RTLD_NEXT, name));
    if (!real) {
        std::fprintf(stderr, "GLRecorder: no %s\n", name);
        std::abort();
    }
    if (GLRecorder::isActive()) {
        std::string text;
        ((text += (text.empty() ? "" : ", ") + written(arguments)), ...);
        GLRecorder::add(std::string(name) + '(' + text + ')');
    }
    return real(arguments...);
}
} // namespace

GLRecorder::GLRecorder() : m_outer(active)
{
    active = this;
}

GLRecorder::~GLRecorder()
{
    active = m_outer;
}

std::vector<std::string> GLRecorder::take()
{
    return std::exchange(m_calls, {});
}

std::vector<std::string> GLRecorder::take(std::initializer_list<const char*> functions)
{
    std::vector<std::string> calls;
    for (std::string& call : take()) {
        const std::string name = call.substr(0, call.find('('));
        if (std::find(functions.begin(), functions.end(), name) != functions.end())
            calls.push_back(std::move(call));
    }
    return calls;
}

int GLRecorder::count(const char* function) const
{
    const std::string start = std::string(function) + '(';
    return int(std::count_if(m_calls.begin(), m_calls.end(), [&start](const std::string& call) {
        return call.compare(0, start.size(), start) == 0;
    }));
}

void GLRecorder::add(std::string call)
{
    if (active)
        active->m_calls.push_back(std::move(call));
}

bool GLRecorder::isActive()
{
    return active != nullptr;
}

// The functions, each with its parameters and with what is written of them.
#define FORWARD(Result, name, parameters_, ...)                                                    \
    extern "C" __attribute__((visibility("default"))) Result name parameters_                      \
    {                                                                                              \
        static Result(*real) parameters_ = nullptr;                                                \
        return forward(#name, real, __VA_ARGS__);                                                  \
    }

#define FORWARD_PLAIN(Result, name)                                                                \
    extern "C" __attribute__((visibility("default"))) Result name()                                \
    {                                                                                              \
        static Result (*real)() = nullptr;                                                         \
        return forward(#name, real);                                                               \
    }

// clang-format off
FORWARD(void, glBegin, (GLenum mode), Mode{mode})
FORWARD_PLAIN(void, glEnd)
FORWARD(void, glVertex2d, (GLdouble x, GLdouble y), x, y)
FORWARD(void, glVertex2f, (GLfloat x, GLfloat y), x, y)
FORWARD(void, glVertex2i, (GLint x, GLint y), x, y)
FORWARD(void, glVertex3d, (GLdouble x, GLdouble y, GLdouble z), x, y, z)
FORWARD(void, glVertex3f, (GLfloat x, GLfloat y, GLfloat z), x, y, z)
FORWARD(void, glVertex3fv, (const GLfloat* v), Floats{v, 3})
FORWARD(void, glVertex4fv, (const GLfloat* v), Floats{v, 4})
FORWARD(void, glNormal3f, (GLfloat x, GLfloat y, GLfloat z), x, y, z)
FORWARD(void, glNormal3fv, (const GLfloat* v), Floats{v, 3})
FORWARD(void, glTexCoord2f, (GLfloat s, GLfloat t), s, t)
FORWARD(void, glTexCoord2fv, (const GLfloat* v), Floats{v, 2})
FORWARD(void, glTexCoord4fv, (const GLfloat* v), Floats{v, 4})
FORWARD(void, glColor3f, (GLfloat r, GLfloat g, GLfloat b), r, g, b)
FORWARD(void, glColor4f, (GLfloat r, GLfloat g, GLfloat b, GLfloat a), r, g, b, a)
FORWARD(void, glColor4fv, (const GLfloat* v), Floats{v, 4})
FORWARD(void, glRectf, (GLfloat x1, GLfloat y1, GLfloat x2, GLfloat y2), x1, y1, x2, y2)

FORWARD(void, glMatrixMode, (GLenum mode), Enum{mode})
FORWARD_PLAIN(void, glPushMatrix)
FORWARD_PLAIN(void, glPopMatrix)
FORWARD_PLAIN(void, glLoadIdentity)
FORWARD(void, glLoadMatrixf, (const GLfloat* m), Floats{m, 16})
FORWARD(void, glMultMatrixf, (const GLfloat* m), Floats{m, 16})
FORWARD(void, glTranslatef, (GLfloat x, GLfloat y, GLfloat z), x, y, z)
FORWARD(void, glRotatef, (GLfloat angle, GLfloat x, GLfloat y, GLfloat z), angle, x, y, z)
FORWARD(void, glScalef, (GLfloat x, GLfloat y, GLfloat z), x, y, z)
FORWARD(void, glOrtho, (GLdouble l, GLdouble r, GLdouble b, GLdouble t, GLdouble n, GLdouble f), l, r, b, t, n, f)
FORWARD(void, glFrustum, (GLdouble l, GLdouble r, GLdouble b, GLdouble t, GLdouble n, GLdouble f), l, r, b, t, n, f)
FORWARD(void, glViewport, (GLint x, GLint y, GLsizei w, GLsizei h), x, y, w, h)

FORWARD(void, glEnable, (GLenum which), Enum{which})
FORWARD(void, glDisable, (GLenum which), Enum{which})
FORWARD(GLboolean, glIsEnabled, (GLenum which), Enum{which})
FORWARD(void, glGetFloatv, (GLenum name, GLfloat* values), Enum{name}, values)
FORWARD(void, glGetIntegerv, (GLenum name, GLint* values), Enum{name}, values)
FORWARD(void, glPushAttrib, (GLbitfield mask), mask)
FORWARD_PLAIN(void, glPopAttrib)
FORWARD(void, glPolygonMode, (GLenum face, GLenum mode), Enum{face}, Enum{mode})
FORWARD(void, glPolygonOffset, (GLfloat factor, GLfloat units), factor, units)
FORWARD(void, glShadeModel, (GLenum mode), Enum{mode})
FORWARD(void, glFrontFace, (GLenum mode), Enum{mode})
FORWARD(void, glCullFace, (GLenum mode), Enum{mode})
FORWARD(void, glPointSize, (GLfloat size), size)
FORWARD(void, glLineWidth, (GLfloat width), width)
FORWARD(void, glLineStipple, (GLint factor, GLushort pattern), factor, pattern)
FORWARD(void, glHint, (GLenum target, GLenum mode), Enum{target}, Enum{mode})
FORWARD(void, glBlendFunc, (GLenum source, GLenum destination), Enum{source}, Enum{destination})
FORWARD(void, glAlphaFunc, (GLenum function, GLclampf reference), Enum{function}, reference)
FORWARD(void, glDepthFunc, (GLenum function), Enum{function})
FORWARD(void, glDepthMask, (GLboolean on), on)
FORWARD(void, glStencilMask, (GLuint mask), mask)
FORWARD(void, glColorMask, (GLboolean r, GLboolean g, GLboolean b, GLboolean a), r, g, b, a)
FORWARD(void, glClearColor, (GLclampf r, GLclampf g, GLclampf b, GLclampf a), r, g, b, a)
FORWARD(void, glClear, (GLbitfield mask), mask)
FORWARD(void, glPixelStorei, (GLenum name, GLint value), Enum{name}, value)
FORWARD(void, glReadPixels, (GLint x, GLint y, GLsizei w, GLsizei h, GLenum format, GLenum type, void* data), x, y, w, h, Enum{format}, Enum{type}, data)
FORWARD(void, glDrawPixels, (GLsizei w, GLsizei h, GLenum format, GLenum type, const void* data), w, h, Enum{format}, Enum{type}, data)
FORWARD(void, glRasterPos2i, (GLint x, GLint y), x, y)

FORWARD(void, glMaterialf, (GLenum face, GLenum name, GLfloat value), Enum{face}, Enum{name}, value)
FORWARD(void, glMaterialfv, (GLenum face, GLenum name, const GLfloat* v), Enum{face}, Enum{name}, parameters(name, v))
FORWARD(void, glLightf, (GLenum light, GLenum name, GLfloat value), Enum{light}, Enum{name}, value)
FORWARD(void, glLightfv, (GLenum light, GLenum name, const GLfloat* v), Enum{light}, Enum{name}, parameters(name, v))
FORWARD(void, glLightModeli, (GLenum name, GLint value), Enum{name}, value)
FORWARD(void, glLightModelfv, (GLenum name, const GLfloat* v), Enum{name}, Floats{v, 4})
FORWARD(void, glFogf, (GLenum name, GLfloat value), Enum{name}, value)
FORWARD(void, glFogi, (GLenum name, GLint value), Enum{name}, value)
FORWARD(void, glFogfv, (GLenum name, const GLfloat* v), Enum{name}, v)

FORWARD(GLuint, glGenLists, (GLsizei count), count)
FORWARD(void, glDeleteLists, (GLuint list, GLsizei count), list, count)
FORWARD(void, glNewList, (GLuint list, GLenum mode), list, Enum{mode})
FORWARD_PLAIN(void, glEndList)
FORWARD(void, glCallList, (GLuint list), list)
FORWARD(void, glGenTextures, (GLsizei count, GLuint* names), count, names)
FORWARD(void, glDeleteTextures, (GLsizei count, const GLuint* names), count, Array<GLuint>{names, count})
FORWARD(void, glBindTexture, (GLenum target, GLuint name), Enum{target}, name)
FORWARD(void, glTexParameteri, (GLenum target, GLenum name, GLint value), Enum{target}, Enum{name}, Enum{GLenum(value)})
FORWARD(void, glTexEnvi, (GLenum target, GLenum name, GLint value), Enum{target}, Enum{name}, Enum{GLenum(value)})
FORWARD(void, glTexGeni, (GLenum coordinate, GLenum name, GLint value), Enum{coordinate}, Enum{name}, Enum{GLenum(value)})
FORWARD(void, glTexGenfv, (GLenum coordinate, GLenum name, const GLfloat* v), Enum{coordinate}, Enum{name}, Floats{v, 4})

FORWARD(void, glEnableClientState, (GLenum array), Enum{array})
FORWARD(void, glDisableClientState, (GLenum array), Enum{array})
FORWARD(void, glVertexPointer, (GLint size, GLenum type, GLsizei stride, const void* data), size, Enum{type}, stride, data)
FORWARD(void, glNormalPointer, (GLenum type, GLsizei stride, const void* data), Enum{type}, stride, data)
FORWARD(void, glColorPointer, (GLint size, GLenum type, GLsizei stride, const void* data), size, Enum{type}, stride, data)
FORWARD(void, glTexCoordPointer, (GLint size, GLenum type, GLsizei stride, const void* data), size, Enum{type}, stride, data)
FORWARD(void, glDrawArrays, (GLenum mode, GLint first, GLsizei count), Mode{mode}, first, count)
FORWARD(void, glDrawElements, (GLenum mode, GLsizei count, GLenum type, const void* indices), Mode{mode}, count, Enum{type}, indices)
FORWARD(void, glArrayElement, (GLint index), index)

FORWARD_PLAIN(void, glInitNames)
FORWARD(void, glPushName, (GLuint name), name)
FORWARD(void, glLoadName, (GLuint name), name)
FORWARD_PLAIN(void, glPopName)
FORWARD(void, glSelectBuffer, (GLsizei size, GLuint* buffer), size, buffer)
FORWARD(GLint, glRenderMode, (GLenum mode), mode)
// clang-format on
