#include "opengl/glstate.h"

#include "opengl/nodestage.h"

using geometry::Vector4f;
using testing::ElementsAre;
using testing::IsEmpty;

class GL_StateTest : public NodeStage
{
};

TEST_F(GL_StateTest, AsksOnceAndSendsOnlyChanges)
{
    GL_State state;
    GLRecorder gl;
    EXPECT_FALSE(state.isEnabled(GL_State::Lighting));
    EXPECT_FALSE(state.isEnabled(GL_State::Lighting));
    state.setEnabled(GL_State::Lighting, false);
    state.setEnabled(GL_State::Lighting, true);
    state.setEnabled(GL_State::Lighting, true);
    state.setEnabled(GL_State::Blend, false); // not known before
    EXPECT_TRUE(state.isEnabled(GL_State::Lighting));
    EXPECT_THAT(gl.take(), ElementsAre("glIsEnabled(GL_LIGHTING)", "glEnable(GL_LIGHTING)",
                                       "glDisable(GL_BLEND)"));
    state.setPolygonMode(GL_FILL);
    state.setPolygonMode(GL_FILL);
    state.setShadeModel(GL_FLAT);
    state.setShadeModel(GL_SMOOTH);
    state.setFrontFace(GL_CW);
    state.setFrontFace(GL_CW);
    EXPECT_THAT(gl.take(),
                ElementsAre("glPolygonMode(GL_FRONT_AND_BACK, GL_FILL)", "glShadeModel(GL_FLAT)",
                            "glShadeModel(GL_SMOOTH)", "glFrontFace(GL_CW)"));
    state.forget();
    state.setPolygonMode(GL_FILL);
    state.setEnabled(GL_State::Lighting, true);
    EXPECT_THAT(gl.take(),
                ElementsAre("glPolygonMode(GL_FRONT_AND_BACK, GL_FILL)", "glEnable(GL_LIGHTING)"));
    glDisable(GL_LIGHTING);
}

TEST_F(GL_StateTest, KnowsEachFacesMaterial)
{
    const Vector4f red(1, 0, 0, 1);
    GL_State state;
    GLRecorder gl;
    state.setMaterial(GL_FRONT, GL_DIFFUSE, red);
    state.setMaterial(GL_FRONT, GL_DIFFUSE, red);
    state.setMaterial(GL_FRONT, GL_AMBIENT, red);
    state.setMaterial(GL_FRONT_AND_BACK, GL_DIFFUSE, red); // the back isn't red yet
    state.setMaterial(GL_BACK, GL_DIFFUSE, red);
    state.setShininess(GL_BACK, 3);
    state.setShininess(GL_FRONT_AND_BACK, 3);
    state.setShininess(GL_FRONT, 3);
    EXPECT_THAT(gl.take(), ElementsAre("glMaterialfv(GL_FRONT, GL_DIFFUSE, {1, 0, 0, 1})",
                                       "glMaterialfv(GL_FRONT, GL_AMBIENT, {1, 0, 0, 1})",
                                       "glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {1, 0, 0, 1})",
                                       "glMaterialf(GL_BACK, GL_SHININESS, 3)",
                                       "glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, 3)"));
    state.forgetMaterials();
    state.setMaterial(GL_BACK, GL_DIFFUSE, red);
    EXPECT_EQ(gl.count("glMaterialfv"), 1);
}

TEST_F(GL_StateTest, GivesBackWhatWasBorrowed)
{
    glColor4f(0.25f, 0.5f, 0.75f, 1);
    glNormal3f(0, 1, 0);
    glTexCoord2f(0.5f, 0.25f);
    GL_State state;
    state.borrow();
    state.hideBackFaces();
    glColor4f(1, 1, 1, 1);
    glNormal3f(1, 0, 0);
    glTexCoord2f(0, 0);
    state.borrow(); // what stands isn't what was borrowed
    GLRecorder gl;
    state.settle();
    EXPECT_THAT(gl.take(),
                ElementsAre("glDisable(GL_CULL_FACE)", "glColor4fv({0.25, 0.5, 0.75, 1})",
                            "glNormal3fv({0, 1, 0})", "glTexCoord4fv({0.5, 0.25, 0, 1})"));
    state.settle();
    EXPECT_THAT(gl.take(), IsEmpty());
    glTexCoord2f(0, 0);
}

TEST_F(GL_StateTest, KeepsCullingThatWasAskedFor)
{
    GL_State state;
    state.hideBackFaces();
    state.setEnabled(GL_State::CullFace, true);
    state.settle();
    EXPECT_TRUE(glIsEnabled(GL_CULL_FACE));
}

TEST_F(GL_StateTest, TellsWhetherCoveredSurfacesCanShow)
{
    const auto hides = [] { return GL_State().hidesCovered(); };
    EXPECT_TRUE(hides());
    const GLenum revealing[] = {GL_CLIP_PLANE3, GL_STENCIL_TEST, GL_POLYGON_STIPPLE,
                                GL_COLOR_LOGIC_OP};
    for (const GLenum which : revealing) {
        glEnable(which);
        EXPECT_FALSE(hides()) << which;
        glDisable(which);
    }
    glDisable(GL_DEPTH_TEST);
    EXPECT_FALSE(hides());
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_GREATER);
    EXPECT_FALSE(hides());
    glDepthFunc(GL_LESS);
    glDepthMask(0);
    EXPECT_FALSE(hides());
    glDepthMask(1);
    glFrontFace(GL_CW);
    EXPECT_FALSE(hides());
    glFrontFace(GL_CCW);
    EXPECT_TRUE(hides());
}
