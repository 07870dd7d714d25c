#include "kernel/vobject.h"

#include "kernel/thermometer.h"

using testing::ElementsAre;

TEST(VObject, DeliversInOrder)
{
    Thermometer sender, receiver;
    ASSERT_TRUE(VObject::connect(&sender, "2changed(int,double)", &receiver, "1show(int,double)"));
    ASSERT_TRUE(VObject::connect(&sender, "2changed(int,double)", &receiver, "1pick(int)"));
    sender.changed(3, 1.5);
    EXPECT_THAT(receiver.take(), ElementsAre("show 3 1.5", "pick 3"));
}
