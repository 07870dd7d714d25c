#include "window/offscreencontext.h"

#include <GL/gl.h>

TEST(OffscreenContext, DrawsReadsAndChangesItsSize)
{
    OffscreenContext context(0, 5);
    ASSERT_TRUE(context.isValid()) << context.error();
    EXPECT_EQ(context.width(), 1);
    ASSERT_TRUE(context.resize(40, 30));
    glViewport(0, 0, 40, 30);
    glClearColor(1, 0.5f, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    glReadBuffer(GL_FRONT);
    unsigned char pixel[4] = {};
    glReadPixels(39, 29, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    EXPECT_EQ(pixel[0], 255);
    EXPECT_NEAR(pixel[1], 127.5, 1);
    EXPECT_EQ(pixel[2], 0);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}
