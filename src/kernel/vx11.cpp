#include "kernel/vx11.h"

#include "tools/postroutines.h"

#include <X11/Xlib.h>

namespace
{
class DisplayServer : public VX11
{
public:
    DisplayServer() : m_display(XOpenDisplay(nullptr)) {}
    ~DisplayServer() override
    {
        if (m_display)
            XCloseDisplay(m_display);
    }

    int bitmapBitOrder() override
    {
        return m_display ? BitmapBitOrder(m_display) : VX11::bitmapBitOrder();
    }

    bool pointerPosition(int& x, int& y) override
    {
        VX11::pointerPosition(x, y);
        if (!m_display)
            return false;
        Window root, child;
        int windowX, windowY;
        unsigned buttons;
        return XQueryPointer(m_display, DefaultRootWindow(m_display), &root, &child, &x, &y,
                             &windowX, &windowY, &buttons);
    }

    void setPointerPosition(int x, int y) override
    {
        if (!m_display)
            return;
        XWarpPointer(m_display, None, DefaultRootWindow(m_display), 0, 0, 0, 0, x, y);
        XFlush(m_display);
    }

    QStringList fontPath() override
    {
        QStringList path;
        int count = 0;
        char** const entries = m_display ? XGetFontPath(m_display, &count) : nullptr;
        for (int i = 0; entries && i < count; ++i)
            path.append(QString::fromLocal8Bit(entries[i]));
        if (entries)
            XFreeFontPath(entries);
        return path;
    }

private:
    Display* m_display;
};

VX11* substituted = nullptr;
DisplayServer* server = nullptr;

void closeServer()
{
    delete server;
    server = nullptr;
}
} // namespace

bool VX11::pointerPosition(int& x, int& y)
{
    x = y = 0;
    return false;
}

QStringList VX11::fontPath()
{
    return QStringList();
}

VX11* VX11::instance()
{
    if (substituted)
        return substituted;
    if (!server) {
        server = new DisplayServer;
        postroutines::add(&closeServer);
    }
    return server;
}

VX11* VX11::setSubstitute(VX11* substitute)
{
    VX11* const before = substituted;
    substituted = substitute;
    return before;
}
