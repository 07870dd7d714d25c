#include "kernel/vevent.h"
#include "opengl/shapestage.h"
#include "support/glrecorder.h"

using geometry::Box3f;

/// Scenes are read, moved, measured and written by programs that have no GL context at all.
TEST(WithoutContext, NodesLiveUntilTheyAreDrawn)
{
    const struct {
        const char* className;
        const char* values;
    } nodes[] = {
        {"GL_Mesh",
         "vertices { { 0, 0, 0 }, { 1, 0, 0 }, { 1, 1, 0 } }; faces { { 0, 0, 1, 2 } };"},
        {"GL_IndexedShape", "vertices { { 0, 0, 0 }, { 1, 1, 0 } }; shapes { { 0, 1, 0, 1 } };"},
        {"GL_TriangleMesh",
         "vertices { { 0, 0, 0 }, { 1, 0, 0 }, { 1, 1, 0 } }; faces { { 0, 0, 1, 2 } };"},
        {"GL_NurbsMesh", "faces { { vertices { { 0, 0, 0 }, { 1, 0, 0 }, { 0, 1, 0 }, { 1, 1, 0 } "
                         "}; orderU 2; orderV 2; } };"},
        {"GL_NurbsSurface", "vertices { { 0, 0, 0 }, { 1, 0, 0 }, { 0, 1, 0 }, { 1, 1, 0 } }; "
                            "countU 2; orderU 2; orderV 2;"},
        {"GL_NurbsCurve", "order 3; vertices { { 0, 0, 0 }, { 1, 0, 0 }, { 1, 1, 0 } };"},
        {"GL_Polyline", "vertices { { 0, 0, 0 }, { 1, 1, 0 } };"},
        {"GL_Extrude", "shape { flags 0x20002; vertices { { 0, 0 }, { 1, 0 }, { 1, 1 } }; types { "
                       "0, 1, 1, -1 }; }; vector { 0, 0, 0.5 };"},
        {"GL_PathExtrude",
         "shape { flags 0x20002; vertices { { 0, 0 }, { 0.5, 0.5 } }; types { 0, 1 }; }; path { "
         "flags 0x30002; vertices { { 0, 0, 0 }, { 0, 0, 1 } }; types { 0, 1 }; };"},
        {"GL_Lathe", "shape { flags 0x20002; vertices { { 0, 0 }, { 1, 1 } }; types { 0, 1 }; };"},
        {"GL_Rain", "number 5;"},
    };
    GLRecorder recorder;
    for (const auto& n : nodes) {
        SCOPED_TRACE(n.className);
        const auto node = makeNode(n.className, n.values);
        geometry::Matrix4f up;
        up.translate(0, 0, 1);
        VActionEvent move(VActionEvent::TransformAfter, &up);
        node->event(&move);
        Box3f box;
        node->bounds(box);
        EXPECT_FALSE(box.isEmpty());
        EXPECT_FALSE(writtenText(*node).empty());
        EXPECT_FALSE(writtenBinary(*node).isEmpty());
    }
    EXPECT_THAT(recorder.take(), testing::IsEmpty());
}
