#include "kernel/vevent.h"

#include "kernel/vcursor.h"
#include "kernel/vx11.h"

TEST(VKeyEvent, AModifierKeyTogglesItsOwnState)
{
    struct Row {
        int key, before, after;
    };
    for (const Row& row :
         {Row{65505, 0, 256}, Row{65506, 256, 0}, Row{65507, 0, 512}, Row{65508, 512 | 256, 256},
          Row{65513, 0, 1024}, Row{65514, 1024, 0}, Row{65511, 0, 2048}, Row{65512, 2048, 0},
          Row{'a', 256, 256}, Row{65509, 0, 0}})
        EXPECT_EQ(VKeyEvent(VEvent::KeyPress, row.key, row.before).stateAfter(), row.after)
            << row.key;
}

TEST(VMouseEvent, ItsButtonTogglesInTheStateAfter)
{
    const VMouseEvent press(VEvent::MouseButtonPress, geometry::Vector2i(3, 4), VEvent::LeftButton,
                            VEvent::MidButton | VEvent::ShiftButton);
    EXPECT_EQ(press.stateAfter(), VEvent::LeftButton | VEvent::MidButton | VEvent::ShiftButton);
    const VMouseEvent release(VEvent::MouseButtonRelease, geometry::Vector2i(3, 4),
                              VEvent::LeftButton, VEvent::LeftButton);
    EXPECT_EQ(release.stateAfter(), 0);
    EXPECT_TRUE(press.isAccepted());
}

TEST(VWheelEvent, HasOneType)
{
    EXPECT_EQ(VWheelEvent(geometry::Vector2i(0, 0), 120, 0, Zyl::Vertical).type(), 31);
}

TEST(VFocusEvent, ResetGoesBackOneReason)
{
    VFocusEvent::setReason(VFocusEvent::Popup);
    VFocusEvent::setReason(VFocusEvent::Tab);
    VFocusEvent::resetReason();
    EXPECT_EQ(VFocusEvent::reason(), VFocusEvent::Popup);
    VFocusEvent::setReason(VFocusEvent::Other);
    VFocusEvent::resetReason();
}

namespace
{
class FixedPointer : public VX11
{
public:
    bool pointerPosition(int& x, int& y) override
    {
        x = m_x;
        y = m_y;
        return true;
    }
    void setPointerPosition(int x, int y) override
    {
        m_x = x;
        m_y = y;
    }

private:
    int m_x = 30;
    int m_y = 40;
};
} // namespace

TEST(VCursor, EventsTakeTheirGlobalPositionFromIt)
{
    FixedPointer pointer;
    VX11* const before = VX11::setSubstitute(&pointer);
    const VWheelEvent wheel(geometry::Vector2i(1, 2), 120, 0, Zyl::Vertical);
    VCursor::setPos(-5, 7);
    const VContextMenuEvent menu(VContextMenuEvent::Mouse, geometry::Vector2i(1, 2), 0);
    VX11::setSubstitute(before);
    EXPECT_EQ(wheel.globalPos(), geometry::Vector2i(30, 40));
    EXPECT_EQ(wheel.pos(), geometry::Vector2i(1, 2));
    EXPECT_EQ(menu.globalPos(), geometry::Vector2i(-5, 7));
}
