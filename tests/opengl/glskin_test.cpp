#include "action/skincluster.h"

#include "opengl/glgroup.h"
#include "opengl/glmesh.h"
#include "opengl/glnurbsmesh.h"
#include "opengl/scenefixture.h"
#include "support/warnings.h"

using namespace scenetest;
using action::SkinCluster;
using geometry::Box3f;
using geometry::Matrix4f;
using geometry::Vector3f;
using geometry::Vector3fArray;

// Skins over nodes of a scene: their matrices, their vertices and their removal.

namespace
{
/// A strip from (0, 0) to (4, 1) of which the second joint, at (2, 0), takes the far half. It
/// stands somewhere itself and isn't of the joints' group.
const char* const strip =
    "Group { name \"all\"; children {"
    " Mesh { name \"strip\"; transform { translate { 0, 0, 5 }; scale { 2, 2, 2 }; };"
    "  vertices { { 0, 0, 0 }, { 0, 1, 0 }, { 2, 0, 0 }, { 2, 1, 0 }, { 4, 0, 0 }, { 4, 1, 0 } };"
    "  faces { { 0, 0, 2, 3, 1 }, { 0, 2, 4, 5, 3 } }; }"
    " Joint { name \"trunk\"; transform { translate { 0, 0, 5 }; scale { 2, 2, 2 }; }; children {"
    "  Joint { name \"tip\"; transform { translate { 2, 0, 0 }; }; } }; } }; }\n"
    "RotateAction { name \"turn\"; }\n"
    "SkinCluster { name \"skin\"; joints { \"/objects/all/trunk\", \"all/trunk/tip\" };"
    " influences { { 0, 0 }, { 1, 0 }, { 2, 0 }, { 2, 1 }, { 3, 1 }, { 4, 1 }, { 5, 1 } }; }\n"
    "connection { action \"turn\"; input 0; output { \"/objects/all/trunk/tip\" }; }\n"
    "connection { action \"skin\"; input 2; output { \"/objects/all/strip\" }; }\n"
    "connection { signal \"valueChanged(int,double)\"; receiver \"turn\";"
    " slot \"evaluate(int,double)\"; }\n"
    "connection { signal \"valueChanged(int,double)\"; receiver \"skin\";"
    " slot \"evaluate(int,double)\"; }\n";

// The far half turned by a quarter from x to y, about (2, 0).
const std::vector<Vector3f> straight = {{0, 0, 0}, {0, 1, 0}, {2, 0, 0},
                                        {2, 1, 0}, {4, 0, 0}, {4, 1, 0}};
const std::vector<Vector3f> upright = {{0, 0, 0}, {0, 1, 0}, {2, 0, 0},
                                       {1, 0, 0}, {2, 2, 0}, {1, 2, 0}};

template <class T>
T& node(GL_Scene& scene, const char* path)
{
    return *static_cast<T*>(scene.findObject(path));
}

void expectVertices(GL_Scene& scene, const std::vector<Vector3f>& wanted)
{
    const auto& vertices = node<GL_Mesh>(scene, "all/strip").vertices;
    ASSERT_EQ(vertices.size(), wanted.size());
    const auto* const points = reinterpret_cast<const Vector3f*>(vertices.data());
    for (unsigned i = 0; i < wanted.size(); ++i)
        EXPECT_NEAR((points[i] - wanted[i]).length(), 0, 1e-5) << "vertex " << i;
}
} // namespace

TEST(Skin, BendsAMeshBehindItsJointsInBothForms)
{
    GL_Scene first, copies[2];
    ASSERT_TRUE(load(first, text(strip)));
    ASSERT_TRUE(load(copies[0], asText(first)));
    ASSERT_TRUE(load(copies[1], asBinary(first)));
    for (GL_Scene* scene : {&first, &copies[0], &copies[1]}) {
        scene->init();
        auto& mesh = node<GL_Mesh>(*scene, "all/strip");
        mesh.setFlags(GL_Object::Rebuild, false);
        scene->evaluate(2, 90);
        expectVertices(*scene, upright);
        EXPECT_TRUE(mesh.testFlags(GL_Object::Rebuild));
        Box3f box;
        mesh.bounds(box);
        EXPECT_NEAR((box.min - Vector3f(0, 0, 5)).length(), 0, 1e-4);
        EXPECT_NEAR((box.max - Vector3f(4, 4, 5)).length(), 0, 1e-4);
        scene->bounds(box);
        EXPECT_NEAR(box.max.y, 4, 1e-4);

        // Saved while bent.
        GL_Scene bent;
        ASSERT_TRUE(load(bent, scene == &copies[1] ? asBinary(*scene) : asText(*scene)));
        bent.evaluate(2, -90); // its actions begin anew at 0
        expectVertices(bent, straight);
    }
}

TEST(Skin, OutlivesItsJointsAndNodes)
{
    GL_Scene scene;
    ASSERT_TRUE(load(scene, text(strip)));
    auto& group = node<GL_Group>(scene, "all");
    scene.evaluate(2, 90);
    expectVertices(scene, upright);
    scene.removeModel(&node<GL_Object>(scene, "all/trunk"));
    scene.evaluate(2, 45);
    expectVertices(scene, straight);
    const auto& skin = static_cast<const SkinCluster&>(*scene.actions().find("skin"));
    EXPECT_EQ(skin.joint(0), nullptr);
    EXPECT_EQ(skin.joint(1), nullptr);
    scene.removeModel(&group);
    EXPECT_TRUE(skin.connections(2)->isEmpty());
    scene.evaluate(2, 0);
}

TEST(Skin, TellsWhichJointsAreNotThere)
{
    GL_Scene scene;
    Told told;
    ASSERT_TRUE(load(scene, text("SkinCluster { name \"s\"; joints { \"gone\", \"\" }; }"), &told));
    EXPECT_THAT(told.texts,
                testing::ElementsAre(std::to_string(VFormatDiagnostics::UnresolvedName) + " gone"));
}

// Points that stand otherwise than a mesh's do: with weights, of a patch of its own, as doubles.
TEST(Vertices, AreSetAllAtOnceOrNotAtAll)
{
    const Vector3f points[] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    const float homogeneous[] = {0, 0, 0, 2, 0, 0, 0, 0, 1, 1, 1, 4};
    GL_TriangleMesh weighted;
    weighted.vertices = geometry::GVectorArray(homogeneous, 3, 4);
    const double shared[] = {0, 0, 0, 1, 1, 1};
    const float own[] = {2, 2, 2};
    GL_NurbsMesh patches;
    patches.vertices = geometry::GVectorArray(shared, 2, 3);
    geometry::NurbsFaceVector faces;
    auto* const face = new geometry::NurbsFace;
    face->vertices = geometry::GVectorArray(own, 1, 3);
    faces.resize(1);
    faces.insert(0, face);
    patches.setFaces(faces);

    for (GL_VertexShape* shape :
         {static_cast<GL_VertexShape*>(&weighted), static_cast<GL_VertexShape*>(&patches)}) {
        for (const int count : {2, 0}) {
            Vector3fArray few(points, count);
            VActionEvent event(VActionEvent::SetVertices, &few);
            EXPECT_FALSE(shape->event(&event));
            EXPECT_FALSE(event.isAccepted());
        }
        Vector3fArray all(points, 3), read;
        VActionEvent set(VActionEvent::SetVertices, &all), get(VActionEvent::GetVertices, &read);
        EXPECT_TRUE(shape->event(&set));
        ASSERT_TRUE(shape->event(&get));
        ASSERT_EQ(read.size(), 3u);
        for (unsigned i = 0; i < 3; ++i)
            EXPECT_EQ(read[i], points[i]);
        GL_Group group;
        EXPECT_FALSE(group.event(&get));
    }
    const auto* const numbers = reinterpret_cast<const float*>(weighted.vertices.data());
    EXPECT_EQ(numbers[0], 2); // twice the point, by its weight
    EXPECT_EQ(numbers[3], 2);
    EXPECT_EQ(numbers[11], 4);
}
