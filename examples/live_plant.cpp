// A plant that runs: values such as a control system delivers fill its tanks, turn its pumps and
// light its lamps, through the actions of the scene file. Draws one picture a second.
//   live_plant SCENE FOLDER [SECONDS]

#include "window/offscreenviewer.h"

#include <zyl/all/kernel.h>
#include <zyl/all/opengl.h>

#include <cstdio>
#include <cstdlib>

namespace
{
/// Water runs into the first of three tanks, pumps pass it on, and the last one empties when full.
struct Plant {
    double levels[3] = {0.55, 0.3, 0.1};
    double angles[2] = {};
    double valve = 1;
    bool isEmptying = false;

    void step(double seconds)
    {
        levels[0] += valve * 0.09 * seconds;
        for (int pump = 0; pump < 2; ++pump) {
            const double flow = levels[pump] > 0.35 ? 0.06 : 0;
            levels[pump] -= flow * seconds;
            levels[pump + 1] += flow * seconds;
            angles[pump] += flow * 6000 * seconds;
        }
        isEmptying = levels[2] > (isEmptying ? 0.2 : 0.9);
        levels[2] -= isEmptying ? 0.2 * seconds : 0;
        valve = levels[0] > 0.8 ? 0.2 : 1;
    }

    void tell(GL_Scene& scene) const
    {
        for (int i = 0; i < 3; ++i) {
            const double level = levels[i];
            scene.evaluate(10 + i, level);
            scene.evaluate(30 + i, 1 + (level > 0.1) + (level > 0.6) + (level > 0.8));
        }
        scene.evaluate(20, angles[0]);
        scene.evaluate(21, angles[1]);
        scene.evaluate(40, valve);
        scene.evaluate(50, 10 * levels[0]);
    }
};
} // namespace

int main(int argc, char** argv)
{
    if (argc < 3)
        return 2;
    const VGlobal global;
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
}
