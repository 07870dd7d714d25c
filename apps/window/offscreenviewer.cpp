#include "window/offscreenviewer.h"

#include "window/pictures.h"

OffscreenViewer::OffscreenViewer(int width, int height) : m_context(width, height)
{
    if (isValid())
        reshape(m_context.width(), m_context.height());
}

OffscreenViewer::~OffscreenViewer() = default;

bool OffscreenViewer::resize(int width, int height)
{
    if (!m_context.resize(width, height))
        return false;
    reshape(m_context.width(), m_context.height());
    return true;
}

VImage OffscreenViewer::picture()
{
    VImage image;
    if (!isValid())
        return image;
    render();
    readPixels(image, 0, 0, m_context.width(), m_context.height());
    makeOpaque(image);
    return image;
}

void OffscreenViewer::makeCurrent()
{
    m_context.makeCurrent();
}
