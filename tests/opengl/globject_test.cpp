#include "opengl/globject.h"

#include "geometry/zylhmatrix.h"
#include "kernel/vevent.h"
#include "opengl/glgroup.h"
#include "opengl/glmaterial.h"
#include "opengl/nodefiles.h"
#include "opengl/nodestage.h"
#include "support/warnings.h"

using testing::ElementsAre;

namespace
{
template <class T>
T* named(const char* name)
{
    T* const object = new T;
    object->setName(name);
    return object;
}

/// root/{arm/{hand}, arm, "" , unnamed}
struct Tree {
    Tree()
    {
        root.setAutoDelete(true);
        group = named<GL_Group>("arm");
        hand = named<GL_Object>("hand");
        group->children().append(hand);
        root.append(new GL_Object);
        root.append(named<GL_Object>(""));
        root.append(group);
        root.append(named<GL_Object>("arm"));
        root.append(named<GL_Object>("leaf"));
    }
    GL_ObjectList root;
    GL_Group* group;
    GL_Object* hand;
};
} // namespace

TEST(GL_NamedObject, FindsTheFirstOfANameAndNoneWithoutOne)
{
    VPtrList<GL_NamedObject> list;
    list.setAutoDelete(true);
    list.append(new GL_NamedObject);
    list.append(named<GL_NamedObject>("a"));
    list.append(named<GL_NamedObject>("b"));
    list.append(named<GL_NamedObject>("b"));
    EXPECT_EQ(GL_NamedObject::find(list, "b"), list.at(2));
    EXPECT_EQ(GL_NamedObject::find(list, "B"), nullptr);
    EXPECT_EQ(GL_NamedObject::find(list, "unnamed"), nullptr); // what `name()` gives for none
    EXPECT_EQ(GL_NamedObject::find(list, nullptr), nullptr);
}

TEST(GL_ObjectList, FollowsPathsThroughGroups)
{
    const Tree tree;
    const struct {
        const char* path;
        const GL_Object* found;
    } cases[] = {{"arm", tree.group},     {"/arm", tree.group},
                 {"arm/hand", tree.hand}, {"//arm///hand", tree.hand},
                 {"leaf/hand", nullptr}, // no group
                 {"arm/hand/x", nullptr}, {"arm/", nullptr},
                 {"arm//", nullptr},      {"/", nullptr},
                 {"", nullptr},           {nullptr, nullptr},
                 {"arm/foot", nullptr},   {"ar", nullptr}};
    for (const auto& c : cases)
        EXPECT_EQ(tree.root.findPath(c.path), c.found) << (c.path ? c.path : "(null)");
    EXPECT_EQ(tree.root.findName(""), nullptr); // although one has that name
}

TEST(GL_ObjectList, TellsItsGroupOnly)
{
    GL_Group one, other;
    GL_Object* const child = new GL_Object;
    one.children().append(child);
    EXPECT_EQ(child->parent(), &one);
    GL_ObjectList copy(one.children());
    copy = one.children();
    EXPECT_EQ(child->parent(), &one);
    EXPECT_EQ(one.children().take(), child);
    other.children().append(child);
    EXPECT_EQ(child->parent(), &other);
}

TEST(GL_Object, WritesWhatIsNotTheDefault)
{
    GL_Object object;
    EXPECT_EQ(textOf(object), "");
    EXPECT_EQ(bytesOf(object), "030200"); // a zero has no octets, and the word is never left out
    object.setName("box");
    object.setColor(VColor(0xFF804020u));
    object.setFlags(0xC0000274u);
    EXPECT_EQ(textOf(object), "name \"box\";\ncolor 0xff804020;\nflags 0x274;\n");
    EXPECT_EQ(bytesOf(object), "131303626f78" // tag, printable string
                               "42020500ff804020"
                               "0302020274");
    throughFiles(object, [](const GL_Object& copy) {
        EXPECT_STREQ(copy.name(), "box");
        EXPECT_EQ(copy.color(), VColor(0xFF804020u));
        EXPECT_EQ(copy.flags(), 0x274u);
    });
    object.setName("");
    throughFiles(object, [](const GL_Object& copy) { EXPECT_STREQ(copy.name(nullptr), ""); });
}

TEST(GL_Object, ReadsNamesOnlyInQuotes)
{
    GL_Object object;
    readText(object, "name box; color {255, 0, 0, 255}; flags 12;");
    EXPECT_EQ(object.name(nullptr), nullptr);
    EXPECT_EQ(object.color(), VColor(0xFFFF0000u));
    EXPECT_EQ(object.flags(), 12u);
}

TEST(GL_Object, StopsAtTheFlagsAndAtWhatItDoesNotKnow)
{
    GL_Object object;
    EXPECT_EQ(readBytes(object, "0302010513"), "13"); // what follows is the derived class's
    EXPECT_EQ(object.flags(), 5u);
    EXPECT_EQ(readBytes(object, "5503020106"), "5503020106");
    EXPECT_EQ(readBytes(object, "420205"), ""); // cut short
    EXPECT_EQ(object.color(), VColor(0xFFFFFFFFu));
    EXPECT_EQ(object.flags(), 5u);
}

TEST(GL_Object, ChangesItsColourByEvents)
{
    GL_Object object;
    VColor color(0xFF204060u);
    VActionEvent set(1013, &color);
    EXPECT_TRUE(object.event(&set));
    EXPECT_TRUE(set.isAccepted());
    geometry::Vector4f more(0.5f, 2, -1, -0.5f); // past both ends
    VActionEvent add(1011, &more);
    EXPECT_TRUE(object.event(&add));
    // 0x20 / 255 + 0.5, truncated; 1; 0; 0.5
    EXPECT_EQ(object.color(), VColor(0x7F9FFF00u));
    VColor told;
    VActionEvent get(1012, &told);
    EXPECT_TRUE(object.event(&get));
    EXPECT_EQ(told, object.color());
}

TEST(GL_Object, LeavesOtherEventsAndEmptyOnes)
{
    GL_Object object;
    geometry::Matrix4f matrix;
    VActionEvent transform(1004, &matrix), nothing(1013, nullptr), text(1015, &matrix);
    for (VActionEvent* event : {&transform, &nothing, &text}) {
        EXPECT_FALSE(object.event(event));
        EXPECT_FALSE(event->isAccepted());
    }
    WarningCatcher warnings;
    EXPECT_FALSE(object.event(nullptr));
    EXPECT_EQ(warnings.text(), QLatin1String("ZYLObject::event: Null events are not permitted"));
}

class GL_ObjectDrawing : public NodeStage
{
};

TEST_F(GL_ObjectDrawing, DrawsCirclesFromTheYAxis)
{
    GLRecorder gl;
    GL_Object::drawCircle(2, 0.5f, 4);
    EXPECT_THAT(gl.take(), ElementsAre("glBegin(GL_LINE_LOOP)", "glVertex3f(0, 2, 0.5)",
                                       "glVertex3f(2, 0, 0.5)", "glVertex3f(0, -2, 0.5)",
                                       "glVertex3f(-2, 0, 0.5)", "glEnd()"));
}

TEST_F(GL_ObjectDrawing, DrawsEveryEdgeAndCornerOfABox)
{
    const std::string c[] = {"glVertex3fv({1, 2, 3})", "glVertex3fv({1, 5, 3})",
                             "glVertex3fv({4, 5, 3})", "glVertex3fv({4, 2, 3})",
                             "glVertex3fv({4, 2, 6})", "glVertex3fv({4, 5, 6})",
                             "glVertex3fv({1, 5, 6})", "glVertex3fv({1, 2, 6})"};
    const geometry::Box3f box(1, 2, 3, 4, 5, 6);
    GLRecorder gl;
    GL_Object::drawBox(box);
    EXPECT_THAT(gl.take(), ElementsAre("glBegin(GL_LINE_LOOP)", c[0], c[1], c[2], c[3], c[4], c[5],
                                       c[6], c[7], "glEnd()", "glBegin(GL_LINES)", c[0], c[3], c[4],
                                       c[7], c[1], c[6], c[2], c[5], "glEnd()"));
    GL_Object::drawHandles(box);
    EXPECT_THAT(gl.take(), ElementsAre("glBegin(GL_POINTS)", c[0], c[1], c[2], c[3], c[4], c[5],
                                       c[6], c[7], "glEnd()"));
}
