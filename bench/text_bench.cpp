// Text: what a page of it costs the drawing thread, in milliseconds a frame.

#include "opengl/glfont.h"
#include "opengl/glscene.h"
#include "opengl/gltext2.h"
#include "opengl/gltext3.h"
#include "opengl/glviewer.h"
#include "ratio.h"
#include "window/offscreencontext.h"

#include <GL/gl.h>

#include <cstdlib>
#include <ctime>

namespace
{
constexpr int width = 800, height = 600;

/// Other threads of the driver, which fill the pixels, don't count.
double threadSeconds()
{
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

class PageViewer : public GL_Viewer
{
public:
    explicit PageViewer(GL_Scene& scene)
    {
        setScene(&scene);
        reshape(width, height);
        initialize();
        fitView();
    }
    double frame()
    {
        const double start = threadSeconds();
        render();
        glFlush();
        const double spent = threadSeconds() - start;
        glFinish();
        return spent;
    }
};

/// Lines of a hundred printable characters in turn.
QString page(int lines)
{
    QString text;
    for (int i = 0; i < lines * 100; ++i) {
        text += QLatin1Char(char('!' + i % 94));
        if (i % 100 == 99)
            text += QLatin1Char('\n');
    }
    return text;
}

template <class T>
void measure(const char* name, int lines, double wanted)
{
    GL_Scene scene;
    auto* const node = new T;
    node->setText(page(lines));
    scene.objects().append(node);
    PageViewer viewer(scene);
    std::vector<double> times;
    for (int i = 0; i < 40; ++i)
        times.push_back(1e3 * viewer.frame());
    std::vector<unsigned char> pixels(width * height);
    glReadPixels(0, 0, width, height, GL_LUMINANCE, GL_UNSIGNED_BYTE, pixels.data());
    if (std::count(pixels.begin(), pixels.end(), 0) > width * height * 19 / 20)
        std::fprintf(stderr, "%s: the page is empty\n", name), std::abort();
    bench::print(name, bench::median(times), wanted);
}
} // namespace

int main()
{
    const OffscreenContext context(width, height);
    if (!context.isValid()) {
        std::fprintf(stderr, "no context: %s\n", context.error());
        return 1;
    }
    measure<GL_Text2>("text_page_10000_ms", 100, 5);
    measure<GL_Text3>("text_solid_1000_ms", 10, 20);
}
