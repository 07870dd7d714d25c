#include "window/offscreenviewer.h"

#include "kernel/vimage.h"
#include "opengl/glcube.h"
#include "opengl/glscene.h"

namespace
{
void fill(GL_Scene& scene, VColor color)
{
    auto* const cube = new GL_Cube;
    cube->setColor(color);
    cube->setFlags(GL_Object::Lit, false);
    scene.objects().append(cube);
}

TEST(OffscreenViewer, PicturesAreOpaqueAndOfTheWantedSize)
{
    OffscreenViewer viewer(60, 40);
    ASSERT_TRUE(viewer.isValid()) << viewer.error();
    GL_Scene scene;
    fill(scene, VColor(10, 20, 30));
    scene.setBackground(VColor(0x00405060u));
    viewer.setScene(&scene);
    viewer.setProjection(0);
    viewer.initialize();
    for (const int width : {60, 90}) {
        ASSERT_TRUE(viewer.resize(width, 40));
        const VImage picture = viewer.picture();
        ASSERT_EQ(picture.width(), width);
        ASSERT_EQ(picture.height(), 40);
        EXPECT_EQ(picture.pixel(0, 0), 0xFF405060u);
        EXPECT_EQ(picture.pixel(width - 1, 39), 0xFF405060u);
        EXPECT_EQ(picture.pixel(width / 2, 20), 0xFF0A141Eu);
        EXPECT_EQ(viewer.pick(width / 2, 20), scene.objects().first());
    }
}

TEST(OffscreenViewer, SeveralDrawAndPickInTurns)
{
    OffscreenViewer first(40, 40), second(50, 50);
    ASSERT_TRUE(first.isValid() && second.isValid());
    GL_Scene red, blue;
    fill(red, VColor(255, 0, 0));
    fill(blue, VColor(0, 0, 255));
    first.setScene(&red);
    second.setScene(&blue);
    first.initialize();
    second.initialize();
    EXPECT_EQ(first.picture().pixel(20, 20), 0xFFFF0000u);
    EXPECT_EQ(second.picture().pixel(25, 25), 0xFF0000FFu);
    EXPECT_EQ(first.pick(20, 20), red.objects().first());
    EXPECT_EQ(first.picture().pixel(20, 20), 0xFFFF0000u);
}
} // namespace
