// Text: what a page of it costs the drawing thread, in milliseconds a frame.

#include "opengl/glfont.h"
#include "opengl/glscene.h"
#include "opengl/gltext2.h"
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

/// A hundred lines of a hundred printable characters in turn.
QString page()
{
    QString text;
    for (int i = 0; i < 10000; ++i) {
        text += QLatin1Char(char('!' + i % 94));
        if (i % 100 == 99)
            text += QLatin1Char('\n');
    }
    return text;
}
} // namespace

int main()
{
    const OffscreenContext context(width, height);
    if (!context.isValid()) {
        std::fprintf(stderr, "no context: %s\n", context.error());
        return 1;
    }
    GL_Scene scene;
    auto* const node = new GL_Text2;
    node->setText(page());
    scene.objects().append(node);
    PageViewer viewer(scene);
    std::vector<double> times;
    for (int i = 0; i < 40; ++i)
        times.push_back(1e3 * viewer.frame());
    std::vector<unsigned char> pixels(width * height);
    glReadPixels(0, 0, width, height, GL_LUMINANCE, GL_UNSIGNED_BYTE, pixels.data());
    if (std::count(pixels.begin(), pixels.end(), 0) > width * height * 19 / 20) {
        std::fprintf(stderr, "the page is empty\n");
        return 1;
    }
    bench::print("text_page_10000_ms", bench::median(times), 5);
}
