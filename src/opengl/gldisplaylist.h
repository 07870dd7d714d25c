#pragma once

#include "toolkit/zylexport.h"

/// A block of display lists, or one texture object, in the GL context that is current.
class ZYL_EXPORT GL_DisplayList
{
public:
    enum Type { Lists = 0, Texture = 1 };

    explicit GL_DisplayList(Type type = Lists, int count = 1);
    ~GL_DisplayList();
    GL_DisplayList(const GL_DisplayList&) = delete;
    GL_DisplayList& operator=(const GL_DisplayList&) = delete;

    Type type() const { return m_type; }
    int count() const { return m_count; }
    /// The first GL name; 0 when there was none left.
    unsigned base() const { return m_base; }

    /// Starts to record list `index`, or binds the texture.
    void open(int index = 0);
    void close();
    void call(int index = 0) const;

private:
    Type m_type;
    int m_count;
    unsigned m_base = 0;
};
