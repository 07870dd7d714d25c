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
