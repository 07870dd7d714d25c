#include "opengl/gldisplaylist.h"

#include "opengl/nodestage.h"

using testing::ElementsAre;

class GL_DisplayListTest : public NodeStage
{
};

TEST_F(GL_DisplayListTest, RecordsAndCallsEachOfItsLists)
{
    GLRecorder gl;
    std::string base;
    {
        GL_DisplayList lists(GL_DisplayList::Lists, 3);
        base = std::to_string(lists.base());
        lists.open(2);
        glPointSize(3);
        lists.close();
        lists.call(2);
        const std::string third = std::to_string(lists.base() + 2);
        EXPECT_THAT(gl.take(),
                    ElementsAre("glGenLists(3)", "glNewList(" + third + ", GL_COMPILE)",
                                "glPointSize(3)", "glEndList()", "glCallList(" + third + ")"));
    }
    EXPECT_THAT(gl.take(), ElementsAre("glDeleteLists(" + base + ", 3)"));
}

TEST_F(GL_DisplayListTest, HoldsATextureInstead)
{
    GLRecorder gl;
    std::string base;
    {
        GL_DisplayList texture(GL_DisplayList::Texture, 1);
        base = std::to_string(texture.base());
        texture.open(0);
        texture.close();
        texture.call();
        EXPECT_THAT(gl.take(), ElementsAre("glGenTextures(1, data)",
                                           "glBindTexture(GL_TEXTURE_2D, " + base + ")",
                                           "glBindTexture(GL_TEXTURE_2D, " + base + ")"));
    }
    EXPECT_THAT(gl.take(), ElementsAre("glDeleteTextures(1, {" + base + "})"));
}
