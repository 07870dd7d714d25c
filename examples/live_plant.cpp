// A plant that runs: values such as a control system delivers fill its tanks, turn its pumps and
// light its lamps, through the actions of the scene file. Draws one picture a second of the plant's
// time.
//   live_plant SCENE FOLDER [SECONDS]

#include "window/offscreenviewer.h"

#include <zyl/all/kernel.h>
#include <zyl/all/opengl.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace
{
/// Three tanks in a row: water runs in, two pumps pass it on, and the last one empties when it is
/// full.
class Plant
{
public:
    void step(double seconds)
    {
        m_levels[0] += m_valve * 0.09 * seconds;
        for (int pump = 0; pump < 2; ++pump) {
            const double flow = m_levels[pump] > 0.35 ? 0.06 : 0;
            m_levels[pump] -= flow * seconds;
            m_levels[pump + 1] += flow * seconds;
            m_angles[pump] += flow * 6000 * seconds;
        }
        m_isEmptying = m_levels[2] > 0.9 || (m_isEmptying && m_levels[2] > 0.2);
        m_levels[2] -= m_isEmptying ? 0.2 * seconds : 0;
        m_valve = m_levels[0] > 0.8 ? 0.2 : 1;
    }

    void tell(GL_Scene& scene) const
    {
        for (int i = 0; i < 3; ++i) {
            scene.evaluate(10 + i, m_levels[i]);
            scene.evaluate(30 + i, m_levels[i] > 0.8   ? 4
                                   : m_levels[i] > 0.6 ? 3
                                   : m_levels[i] > 0.1 ? 2
                                                       : 1);
        }
        scene.evaluate(20, m_angles[0]);
        scene.evaluate(21, m_angles[1]);
        scene.evaluate(40, m_valve);
        scene.evaluate(50, 10 * m_levels[0]);
    }

private:
    double m_levels[3] = {0.55, 0.3, 0.1};
    double m_angles[2] = {};
    double m_valve = 1;
    bool m_isEmptying = false;
};
} // namespace

int main(int argc, char** argv)
{
    const VGlobal global;
    if (argc < 3) {
        std::fputs("usage: live_plant SCENE FOLDER [SECONDS]\n", stderr);
        return 2;
    }
    OffscreenViewer viewer(640, 480);
    GL_Scene scene;
    VSceneIO io(QString::fromLocal8Bit(argv[1]), nullptr);
    io.setScene(&scene);
    if (!io.read() || !viewer.isValid())
        return 1;
    viewer.setScene(&scene);
    viewer.setFlags(GL_Viewer::Textures, true);
    viewer.initialize();
    viewer.setZoom(1.2);
    for (int i = 0; i < 3; ++i)
        scene.evaluate(10 + i, 1); // the drawing shows full tanks
    Plant plant;
    const int seconds = argc > 3 ? std::atoi(argv[3]) : 12;
    for (int second = 0; second < seconds; ++second) {
        plant.tell(scene);
        const QString name = QString::asprintf("%s/plant_%02d.png", argv[2], second);
        if (!viewer.picture().save(name, "PNG"))
            return 1;
        for (int k = 0; k < 25; ++k)
            plant.step(0.04);
    }
    std::printf("%d pictures in %s\n", seconds, argv[2]);
    return 0;
}
